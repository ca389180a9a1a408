// The panels of ui/panels.h as a group: their settings at start and exit, closing them
// all, and showing a change of pen in those that stand.
#include "ui/panels.h"

#include "paint/panto.h"
#include "paint/pens.h"
#include "ui/panel_slot.h"
#include "ui/settings.h"

namespace nemu {

namespace {
// The order the panels are loaded in is the order they stack in at start.
PanelSlot* const* AllSlots() {
    static PanelSlot* const slots[] = {&ToolsSlot(), &PensSlot(), &PressureSlot(), &NewProjectSlot(),
                                       &PageSizeSlot(), &GridSlot(), &ClockSlot(), nullptr};
    return slots;
}
} // namespace

void LoadPanels() {
    PenChangedHook = RefreshPenPanels;
    PantoX = ConfigGetInt("Tools", "PantoX", 0);
    PantoY = ConfigGetInt("Tools", "PantoY", 0);
    LoadGridSettings();
    for (PanelSlot* const* s = AllSlots(); *s; s++) PanelLoad(**s);
}

void SavePanels() {
    for (PanelSlot* const* s = AllSlots(); *s; s++) PanelSave(**s);
    SaveGridSettings();
    ConfigSetInt("Tools", "PantoX", PantoX);
    ConfigSetInt("Tools", "PantoY", PantoY);
}

void ClosePanels() {
    for (PanelSlot* const* s = AllSlots(); *s; s++) PanelClose(**s);
}

void RefreshPenPanels() {
    if (GuiWindow* w = PanelWindow(ToolsSlot())) ToolsSlot().Sync(w);
    if (GuiWindow* w = PanelWindow(PensSlot())) PensFollowPen(w);
}

} // namespace nemu
