// The panels of the pens and the project: Tools (the pens and the tool switches), Pens
// (every pen's values and its dab profile, one page a pen), Pressure (the two response
// curves), NewProject and PageSize (a page size from the list, or typed in).
//
// Each panel is opened by its command: the command table, the menus and the tool bar's
// right button call the Open functions here. A panel keeps its place and whether it stood
// open in a settings section of its own (WIN_X, WIN_Y, Display); LoadPanels reopens at
// start the panels that were open at the last exit.
#pragma once
#include <cstdint>

namespace nemu {

struct GuiWindow;

// Shows the panel (made on first use), raised; a panel that stands already comes to the front.
void OpenTools();
void OpenPens();             // at the page of the current pen
void OpenPensAt(int32_t pen); // at the page of pen 0..8
void OpenPressure();
void OpenNewProject();  // the command NewProject
void OpenProjectSize(); // the PageSize panel
void OpenGrid();        // the grid's switch, steps and origin, and the safe area
void OpenClock();       // the time of day

// The windows of the panels while they stand, else null.
GuiWindow* ToolsPanel();
GuiWindow* PensPanel();
GuiWindow* PressurePanel();
GuiWindow* NewProjectPanel();
GuiWindow* PageSizePanel();
GuiWindow* GridPanel();
GuiWindow* ClockPanel();

// Section Grid's StepX, StepY, OriginX and OriginY: read at start (clamped to what a
// grid can be), written whenever the panel changes them.
void LoadGridSettings();
void SaveGridSettings();
// Shows the grid's state again in its panel, if it stands: after a key or a command.
void RefreshGridPanel();

// Start and exit: each panel's section is read (and the panels marked Display=on are
// opened) or written (WIN_X, WIN_Y of the panel or of its last place, Display).
void LoadPanels();
void SavePanels();
// Closes every panel (its place is kept for SavePanels).
void ClosePanels();

// Shows the pens' state again in the panels that stand: the pen chosen, its values.
// Installed as the pens' change hook by LoadPanels and by the first panel opened.
void RefreshPenPanels();

} // namespace nemu
