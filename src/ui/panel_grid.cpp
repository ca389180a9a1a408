// The Grid panel: the grid's switch, its steps and its origin, and the safe-area frames
// that share its command group. Section Grid keeps the grid itself (StepX, StepY, OriginX,
// OriginY) beside the panel's place, so that a grid set up once is there next session.
#include "paint/tools.h"
#include "project/compose.h"
#include "ui/catalog.h"
#include "ui/command_handlers.h"
#include "ui/panel_rows.h"
#include "ui/panel_slot.h"
#include "ui/panels.h"
#include "ui/settings.h"

#include <algorithm>

namespace nemu {

namespace {
enum GridId : int32_t { IdOn = 1, IdStepX, IdStepY, IdOriginX, IdOriginY, IdSafeArea };
constexpr int16_t PanelW = 190, PanelH = 100;
constexpr int32_t MaxStep = 32767, MinOrigin = -32768, MaxOrigin = 32767; // what 16.16 pixels hold

Gadget Rows[16];
StringInfo StepXInfo, StepYInfo, OriginXInfo, OriginYInfo;
char StepXText[8], StepYText[8], OriginXText[8], OriginYText[8];

const char* Msg(uint32_t id) { return MsgGet(nullptr, id); }

int32_t GridGadget(GuiWindow* w, Gadget* g, int32_t code);

GuiWindow* BuildGrid() {
    RowTable t{Rows, int32_t(sizeof Rows / sizeof Rows[0])};
    t.Clear();
    AddTitleRows(t, Msg(6240));
    Gadget& on = AddButton(t, IdOn, 8, 24, 91, 42, GK_TOGGLE, Msg(6241), Msg(6246));
    on.Command = "ActiveGrid";
    Gadget& safe = AddButton(t, IdSafeArea, 98, 24, PanelW - 9, 42, GK_TOGGLE, Msg(6245), Msg(6249));
    safe.Command = "SafeArea";
    AddNumber(t, StepXInfo, StepXText, sizeof StepXText, IdStepX, 58, 52, 91, 1, MaxStep, Msg(6242), Msg(6247));
    AddNumber(t, StepYInfo, StepYText, sizeof StepYText, IdStepY, PanelW - 42, 52, PanelW - 9, 1, MaxStep,
              Msg(6243), Msg(6247));
    AddNumber(t, OriginXInfo, OriginXText, sizeof OriginXText, IdOriginX, 58, 76, 91, MinOrigin, MaxOrigin,
              Msg(6244), Msg(6248));
    AddNumber(t, OriginYInfo, OriginYText, sizeof OriginYText, IdOriginY, PanelW - 42, 76, PanelW - 9, MinOrigin,
              MaxOrigin, Msg(6250), Msg(6248));
    GuiWindow* w = WindowFromRows(PanelW, PanelH, Rows);
    if (w) w->OnGadget = GridGadget;
    return w;
}

void SyncGrid(GuiWindow* w) {
    RowSelect(w, IdOn, GridOn != 0);
    RowSelect(w, IdSafeArea, SafeAreaShown);
    NumberSet(w, IdStepX, GridStepX);
    NumberSet(w, IdStepY, GridStepY);
    NumberSet(w, IdOriginX, GridOriginX);
    NumberSet(w, IdOriginY, GridOriginY);
}

PanelSlot Slot{"Grid", BuildGrid, SyncGrid};

int32_t GridGadget(GuiWindow* w, Gadget* g, int32_t code) {
    if (!g) return 0;
    const int32_t id = g->Id;
    if (id == IdOn && code == GC_CLICK) {
        CmdActiveGrid();
    } else if (id == IdSafeArea && code == GC_CLICK) {
        CmdSafeArea();
    } else if (id >= IdStepX && id <= IdOriginY && g->String) {
        const int32_t v = g->String->IntValue;
        if (id == IdStepX) GridStepX = std::clamp(v, 1, MaxStep);
        if (id == IdStepY) GridStepY = std::clamp(v, 1, MaxStep);
        if (id == IdOriginX) GridOriginX = std::clamp(v, MinOrigin, MaxOrigin);
        if (id == IdOriginY) GridOriginY = std::clamp(v, MinOrigin, MaxOrigin);
        SaveGridSettings();
    }
    SyncGrid(w); // the switches show what the commands made of them
    return 0;
}
} // namespace

void OpenGrid() { PanelOpen(Slot); }

GuiWindow* GridPanel() { return PanelWindow(Slot); }

PanelSlot& GridSlot() { return Slot; }

void LoadGridSettings() {
    GridStepX = std::clamp(ConfigGetInt("Grid", "StepX", 16), 1, MaxStep);
    GridStepY = std::clamp(ConfigGetInt("Grid", "StepY", 16), 1, MaxStep);
    GridOriginX = std::clamp(ConfigGetInt("Grid", "OriginX", 0), MinOrigin, MaxOrigin);
    GridOriginY = std::clamp(ConfigGetInt("Grid", "OriginY", 0), MinOrigin, MaxOrigin);
}

void SaveGridSettings() {
    ConfigSetInt("Grid", "StepX", GridStepX);
    ConfigSetInt("Grid", "StepY", GridStepY);
    ConfigSetInt("Grid", "OriginX", GridOriginX);
    ConfigSetInt("Grid", "OriginY", GridOriginY);
}

void RefreshGridPanel() {
    if (GuiWindow* w = PanelWindow(Slot)) SyncGrid(w);
}

} // namespace nemu
