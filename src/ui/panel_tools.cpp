// The Tools panel: the eight pens, the size of the pen in use, how the dot paints, the
// end values of a line, and the panto offset. A pen's right button opens its page of the
// Pens panel. Section Tools also holds the values it edits (LineP1, LineP2, PointMode).
#include "paint/panto.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "ui/catalog.h"
#include "ui/panel_rows.h"
#include "ui/panel_slot.h"
#include "ui/panels.h"
#include "ui/settings.h"

#include <algorithm>

namespace nemu {

namespace {
// Gadget ids. The pens are 1 to 8 (pen = id - 1); 23 and 26 are the panto offset.
enum ToolsId : int32_t {
    IdFirstPen = 1,
    IdSize = 10, // and 11, its field
    IdDot = 12,
    IdLineStart = 14, // and 15
    IdLineEnd = 16,   // and 17
    IdPantoX = 23,
    IdPantoY = 26,
    IdPens = 30,
    IdCurves = 31,
};
constexpr int32_t PenButtons = 8;
constexpr int16_t PanelW = ToolsHomeWidth, PanelH = ToolsHomeBottom - HomeTop;
constexpr int16_t ValueX = 72, ValueW = 90; // sliders start right of their labels

struct PenButton {
    uint32_t Label, Help;
    const char* Command;
};
const PenButton PenButtonRows[PenButtons] = {
    {3701, 3730, "ToolPen"},      {3702, 3731, "ToolPropPencil"}, {3703, 3732, "ToolPencil"},
    {3704, 3733, "ToolChalk"},    {3705, 3734, "ToolAirBrush"},   {3706, 3735, "ToolWaterColor"},
    {3707, 3736, "ToolOil"},      {3708, 3737, "ToolGouache"},
};

Gadget Rows[40];
SliderState Size, LineStart, LineEnd;
StringInfo PantoXInfo, PantoYInfo;
char PantoXText[8], PantoYText[8];
const char* DotNames[2];
TabsInfo DotTabs;

// Line ends are kept 0..255 and shown in percent.
int32_t ToPercent(int32_t v) { return (v * 100 + 127) / 255; }
int32_t FromPercent(int32_t p) { return (p * 255 + 50) / 100; }

int32_t PenSize() {
    if (Pen == PenRound) return RoundPen.PenRadius;
    if (Pen >= PenPencil && Pen <= PenWater) return MediaPens[Pen].Size;
    return 0;
}

const char* Msg(uint32_t id) { return MsgGet(nullptr, id); }

int32_t ToolsGadget(GuiWindow* w, Gadget* g, int32_t code);

GuiWindow* BuildTools() {
    RowTable t{Rows, int32_t(sizeof Rows / sizeof Rows[0])};
    t.Clear();
    AddTitleRows(t, Msg(3770));
    for (int i = 0; i < PenButtons; i++) {
        const int16_t l = int16_t(i % 2 ? 106 : 8), top = int16_t(24 + (i / 2) * 21);
        Gadget& g = AddButton(t, IdFirstPen + i, l, top, int16_t(l + 95), int16_t(top + 18),
                              GF_STAT | GF_RIGHT, Msg(PenButtonRows[i].Label), Msg(PenButtonRows[i].Help));
        g.Command = PenButtonRows[i].Command;
    }
    Gadget& sep = t.Add();
    sep.Left = 6, sep.Top = 112, sep.Right = PanelW - 7, sep.Bottom = 114;
    sep.Id = 9998, sep.Flags = GF_INERT | GF_HSEPARATOR;
    AddSlider(t, Size, IdSize, ValueX, 120, ValueW, 0, 100, Msg(3713), Msg(3784));
    DotNames[0] = Msg(3772), DotNames[1] = Msg(3773);
    DotTabs = TabsInfo{0, 2, DotNames};
    Gadget& dot = AddButton(t, IdDot, ValueX, 140, PanelW - 9, 157, GK_CYCLE, nullptr, Msg(3779));
    dot.Tabs = &DotTabs;
    Gadget& dotLabel = AddLabel(t, 8, 142, ValueX - 12, Msg(3771));
    dotLabel.LabelFlags = LF_RIGHT_IN;
    AddSlider(t, LineStart, IdLineStart, ValueX, 162, ValueW, 0, 100, Msg(3774), Msg(3780));
    AddSlider(t, LineEnd, IdLineEnd, ValueX, 182, ValueW, 0, 100, Msg(3775), Msg(3781));
    AddNumber(t, PantoXInfo, PantoXText, sizeof PantoXText, IdPantoX, ValueX, 204, ValueX + 39, -9999, 9999,
              Msg(3776), Msg(3782));
    AddNumber(t, PantoYInfo, PantoYText, sizeof PantoYText, IdPantoY, PanelW - 49, 204, PanelW - 9, -9999, 9999,
              Msg(3777), Msg(3782));
    Gadget& sep2 = t.Add();
    sep2 = sep;
    sep2.Top = 226, sep2.Bottom = 228, sep2.Id = 9997;
    AddButton(t, IdPens, 8, 234, 101, 253, GK_BUTTON, Msg(3778), Msg(3783));
    AddButton(t, IdCurves, 108, 234, PanelW - 9, 253, GK_BUTTON, Msg(3727), Msg(3756));
    GuiWindow* w = WindowFromRows(PanelW, PanelH, Rows);
    if (w) w->OnGadget = ToolsGadget;
    return w;
}

void SyncTools(GuiWindow* w) {
    for (int i = 0; i < PenButtons; i++) RowSelect(w, IdFirstPen + i, Pen == i);
    SliderSet(w, IdSize, PenSize());
    if (Gadget* dot = WindowGadgetById(w, IdDot)) {
        DotTabs.Current = PointMode == POINT_SINGLE ? 1 : 0;
        GadgetRefresh(dot, w);
    }
    SliderSet(w, IdLineStart, ToPercent(LineP1));
    SliderSet(w, IdLineEnd, ToPercent(LineP2));
    NumberSet(w, IdPantoX, PantoX);
    NumberSet(w, IdPantoY, PantoY);
}

PanelSlot Slot{"Tools", BuildTools, SyncTools, {HomeMargin, HomeTop}};

int32_t ToolsGadget(GuiWindow* w, Gadget* g, int32_t code) {
    if (!g) return 0;
    const int32_t id = g->Id;
    if (id >= IdFirstPen && id < IdFirstPen + PenButtons) {
        if (code == GC_CLICK) {
            SetPen(id - IdFirstPen); // the pens' hook shows the choice
            SyncTools(w);
        } else if (code == GC_RIGHT_CLICK) {
            OpenPensAt(id - IdFirstPen);
        }
        return 0;
    }
    if (IsSlider(g, IdSize)) {
        SetPenSize(SliderTake(w, g));
        SliderSet(w, IdSize, PenSize()); // pens without a size, or a size under their least
        SavePensSettings();
    } else if (IsSlider(g, IdLineStart) || IsSlider(g, IdLineEnd)) {
        const int32_t v = FromPercent(SliderTake(w, g));
        (IsSlider(g, IdLineStart) ? LineP1 : LineP2) = v;
        SaveToolSettings();
    } else if (id == IdDot && (code == GC_CLICK || code == GC_RIGHT_CLICK)) {
        PointMode = DotTabs.Current == 1 ? POINT_SINGLE : POINT_CONTINUE;
        SaveToolSettings();
    } else if ((id == IdPantoX || id == IdPantoY) && g->String) {
        (id == IdPantoX ? PantoX : PantoY) = g->String->IntValue;
        ConfigSetInt("Tools", id == IdPantoX ? "PantoX" : "PantoY", g->String->IntValue);
    } else if (id == IdPens && code == GC_CLICK) {
        OpenPens();
    } else if (id == IdCurves && code == GC_CLICK) {
        OpenPressure();
    }
    return 0;
}
} // namespace

void OpenTools() {
    PenChangedHook = RefreshPenPanels;
    PanelOpen(Slot);
}

GuiWindow* ToolsPanel() { return PanelWindow(Slot); }

PanelSlot& ToolsSlot() { return Slot; }

} // namespace nemu
