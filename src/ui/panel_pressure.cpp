// The Pressure panel: the curves through which tablet pressure and pointer speed reach
// the pens. Each graph is 64 cells square; a press or drag puts the curve's one control
// point at four times the cell under the pointer, and MakeCurve draws the table anew.
#include "host/main_loop.h"
#include "paint/pens.h"
#include "ui/catalog.h"
#include "ui/panel_graph.h"
#include "ui/panel_rows.h"
#include "ui/panel_slot.h"
#include "ui/panels.h"

namespace nemu {

namespace {
enum PressureId : int32_t { IdPressureGraph = 1, IdSpeedGraph = 2, IdPressureStraight = 3, IdSpeedStraight = 4 };
constexpr int32_t Cells = 64;    // cells across and down a graph
constexpr int32_t CellStep = 4;  // a cell is four steps of the control point's 0..255
constexpr int16_t GraphSide = Cells * CellUnits + 2;
constexpr int16_t GraphTop = 38, Margin = 10, Gap = 16;
constexpr int16_t PanelW = Margin * 2 + GraphSide * 2 + Gap, PanelH = GraphTop + GraphSide + 36;

Gadget Rows[12];

const char* Msg(uint32_t id) { return MsgGet(nullptr, id); }

struct Curve {
    int32_t* X;
    int32_t* Y;
    uint8_t* Table;
    const char* KeyX;
    const char* KeyY;
};
Curve CurveOf(int32_t graphId) {
    if (graphId == IdSpeedGraph) return {&SpeedX, &SpeedY, SpeedCurve, "SpeedX", "SpeedY"};
    return {&PressureX, &PressureY, PressureCurve, "PressureX", "PressureY"};
}

void ShowCurve(GuiWindow* w, int32_t graphId) {
    const Curve c = CurveOf(graphId);
    DrawGraph(w, WindowGadgetById(w, graphId), c.Table, 256, *c.X / CellStep, *c.Y / CellStep);
}

void SetPoint(GuiWindow* w, int32_t graphId, int32_t x, int32_t y) {
    const Curve c = CurveOf(graphId);
    *c.X = x, *c.Y = y;
    MakeCurve(x, y, c.Table);
    SavePressureSettings();
    ShowCurve(w, graphId);
}

void TrackStep(GuiWindow* w, Gadget* area, int32_t cx, int32_t cy) {
    SetPoint(w, area->Id, cx * CellStep, cy * CellStep);
}

int32_t PressureGadget(GuiWindow* w, Gadget* g, int32_t code) {
    if (!g) return 0;
    if ((g->Id == IdPressureGraph || g->Id == IdSpeedGraph) && code == GC_PRESS)
        GraphTrack(w, g, Cells, Cells, TrackStep);
    else if (g->Id == IdPressureStraight && code == GC_CLICK)
        SetPoint(w, IdPressureGraph, 0, 0);
    else if (g->Id == IdSpeedStraight && code == GC_CLICK)
        SetPoint(w, IdSpeedGraph, 0, 0);
    return 0;
}

GuiWindow* BuildPressure() {
    RowTable t{Rows, int32_t(sizeof Rows / sizeof Rows[0])};
    t.Clear();
    AddTitleRows(t, Msg(3785));
    const uint32_t names[2] = {3710, 3711}, helps[2] = {3786, 3787};
    for (int i = 0; i < 2; i++) {
        const int16_t l = int16_t(Margin + i * (GraphSide + Gap));
        Gadget& g = AddButton(t, IdPressureGraph + i, l, GraphTop, int16_t(l + GraphSide - 1),
                              int16_t(GraphTop + GraphSide - 1), GK_AREA, Msg(names[i]), Msg(helps[i]));
        g.LabelFlags = LF_ABOVE;
        AddButton(t, IdPressureStraight + i, l, int16_t(GraphTop + GraphSide + 8), int16_t(l + GraphSide - 1),
                  int16_t(GraphTop + GraphSide + 27), GK_BUTTON, Msg(3788), Msg(3789));
    }
    GuiWindow* w = WindowFromRows(PanelW, PanelH, Rows);
    if (w) w->OnGadget = PressureGadget;
    return w;
}

void SyncPressure(GuiWindow* w) {
    ShowCurve(w, IdPressureGraph);
    ShowCurve(w, IdSpeedGraph);
}

PanelSlot Slot{"Pressure", BuildPressure, SyncPressure, PanelHome{HomeMargin, int16_t(ToolsHomeBottom + HomeMargin)}};
} // namespace

void OpenPressure() { PanelOpen(Slot); }
GuiWindow* PressurePanel() { return PanelWindow(Slot); }
PanelSlot& PressureSlot() { return Slot; }

} // namespace nemu
