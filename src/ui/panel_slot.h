// What every panel of ui/panels.h shares: a slot that holds its window while it stands,
// the settings section it keeps its place in, and the functions that make and refresh it.
//
// A closed panel is deleted rather than hidden: a hidden window stays in the window list,
// and opening any window opens every hidden one again. The slot keeps the place the panel
// stood at, so that it opens there again and the settings get it at exit.
#pragma once
#include <cstdint>

namespace nemu {

struct GuiWindow;

// Where a panel first opens, before it has a place of its own: the panels that stay open
// while painting stand by the right edge of the screen, out of the page's way; the ones
// that ask and go are centred.
struct PanelHome {
    int16_t FromRight = -1; // layout units from the right edge to the panel's right; -1: centred
    int16_t FromTop = 0;    // layout units from the top edge
};

// The homes of the panels that stand by the right edge: Tools at the top, Pressure under
// it and Pens to its left, clear of the menu bar.
constexpr int16_t HomeMargin = 8, HomeTop = 40;
constexpr int16_t ToolsHomeWidth = 210, ToolsHomeBottom = HomeTop + 262;

struct PanelSlot {
    const char* Section;         // settings section: WIN_X, WIN_Y, Display
    GuiWindow* (*Build)();       // makes the window, not opened; null when out of memory
    void (*Sync)(GuiWindow* w);  // shows the state the panel edits; may be null
    PanelHome Home = {};         // where it first opens
    GuiWindow* Window = nullptr; // while it stands (checked against the list and Serial)
    uint32_t Serial = 0;
    bool Placed = false; // X, Y hold a place (from the settings or the last close)
    int32_t X = 0, Y = 0;
};

// The slot's window while it is in the window list, else null.
GuiWindow* PanelWindow(PanelSlot& slot);
// Makes the window if need be, places it, refreshes it, opens and raises it. Null when
// it could not be made (message 1000 shown).
GuiWindow* PanelOpen(PanelSlot& slot);
// Remembers the place and deletes the window.
void PanelClose(PanelSlot& slot);
// OnClose of every panel window: finds the slot by window and closes it.
void PanelCloseWindow(GuiWindow* window);
// Reads WIN_X, WIN_Y; opens the panel when Display is on.
void PanelLoad(PanelSlot& slot);
// Writes WIN_X, WIN_Y (the window's, or the kept place) and Display.
void PanelSave(PanelSlot& slot);
// Registers the slot, so that PanelCloseWindow finds it; idempotent.
void PanelRegister(PanelSlot& slot);

// The slots of the panels, each defined beside its panel.
PanelSlot& ToolsSlot();
PanelSlot& PensSlot();
PanelSlot& PressureSlot();
PanelSlot& NewProjectSlot();
PanelSlot& PageSizeSlot();
PanelSlot& GridSlot();
PanelSlot& ClockSlot();
// The Pens panel turns to the page of the pen in use after a change of pen.
void PensFollowPen(GuiWindow* window);

} // namespace nemu
