// The Pens panel: one page a pen, chosen in the column at the left. A page holds the
// values its pen has (panel_pens_values.cpp), and for the media pens the dab's profile,
// drawn with the pointer or taken from the twelve presets. Every change goes into the
// pen's record, the Pens section of the settings, and, for the pen in use, its dab.
#include "host/main_loop.h"
#include "paint/pens.h"
#include "ui/catalog.h"
#include "ui/gadget_paint.h"
#include "ui/panel_graph.h"
#include "ui/panel_pens.h"
#include "ui/panel_rows.h"
#include "ui/panel_slot.h"
#include "ui/panels.h"

#include <algorithm>
#include <cstdlib>

namespace nemu {

namespace {
enum PensId : int32_t {
    IdFirstPage = 1, // pages 1..9 are pens 0..8
    IdProfile = 50,
    IdPreset = 51,
    IdPresetDown = 52,
    IdPresetUp = 53,
    IdPresetApply = 54,
    IdDefault = 60,
    IdClose = 700,
};
constexpr int32_t Pages = 9;
constexpr int32_t ProfileCells = 64;
constexpr int16_t PanelW = 344, PanelH = 376;
constexpr int16_t PageX = 100, ValueX = 178, ValueW = 100, RowStep = 21, Top = 26;
constexpr int16_t CheckColumn = 80, CheckBoxX = 60; // check boxes: columns, and the box in its column

Gadget Rows[64];
SliderState Sliders[PenValueCount];
StringInfo Numbers[PenValueCount];
char NumberTexts[PenValueCount][8];
const char* BristleNames[4];
TabsInfo BristleTabs;
StringInfo PresetInfo;
char PresetText[8];
int32_t PagePen = PenRound;
int32_t LastCellX = -1, LastCellY = -1; // the last cell of a profile drag

const char* Msg(uint32_t id) { return MsgGet(nullptr, id); }
bool HasProfile(int32_t pen) { return pen >= PenPencil && pen <= PenWater; }

int32_t PensGadget(GuiWindow* w, Gadget* g, int32_t code);

// The rows of the page of pen: the pen column, the pen's values, its profile, the buttons.
void BuildPage(int32_t pen) {
    RowTable t{Rows, int32_t(sizeof Rows / sizeof Rows[0])};
    t.Clear();
    AddTitleRows(t, Msg(3700));
    for (int i = 0; i < Pages; i++) {
        const int16_t top = int16_t(Top + i * RowStep);
        AddButton(t, IdFirstPage + i, 8, top, 89, int16_t(top + 18), GF_STAT, Msg(3701 + uint32_t(i)),
                  Msg(3730 + uint32_t(i)))
            .Flags |= pen == i ? GF_SELECTED : 0;
    }
    int16_t y = Top;
    int checks = 0;
    for (int i = 0; i < PenValueCount; i++) {
        const PenValue& v = PenValues[i];
        if (!v.Field(pen)) continue;
        if (v.Kind != PV_CHECK && checks) {
            y = int16_t(y + RowStep), checks = 0;
        }
        if (v.Kind == PV_SLIDER) {
            AddSlider(t, Sliders[i], v.Id, ValueX, y, ValueW, v.Min, v.Max, Msg(v.Label), Msg(v.Help));
        } else if (v.Kind == PV_NUMBER) {
            AddNumber(t, Numbers[i], NumberTexts[i], sizeof NumberTexts[i], v.Id, ValueX, y, ValueX + 39, v.Min,
                      v.Max, Msg(v.Label), Msg(v.Help));
        } else if (v.Kind == PV_CYCLE) {
            for (int b = 0; b < 4; b++) BristleNames[b] = Msg(3765 + uint32_t(b));
            BristleTabs = TabsInfo{0, 4, BristleNames};
            Gadget& c = AddButton(t, v.Id, ValueX, y, ValueX + ValueW - 1, int16_t(y + 17), GK_CYCLE, nullptr,
                                  Msg(v.Help));
            c.Tabs = &BristleTabs;
            AddLabel(t, PageX, int16_t(y + 2), ValueX - PageX - 8, Msg(v.Label)).LabelFlags = LF_RIGHT_IN;
        } else {
            const int16_t x = int16_t(PageX + (checks % 3) * CheckColumn + CheckBoxX);
            if (checks && checks % 3 == 0) y = int16_t(y + RowStep);
            AddButton(t, v.Id, x, y, int16_t(x + 18), int16_t(y + 15), GK_CHECKBOX, Msg(v.Label), Msg(v.Help));
            checks++;
            continue;
        }
        y = int16_t(y + RowStep);
    }
    if (checks) y = int16_t(y + RowStep);
    if (HasProfile(pen)) {
        const int16_t side = ProfileCells * CellUnits + 2, top = int16_t(y + 16);
        Gadget& area = AddButton(t, IdProfile, PageX + 8, top, int16_t(PageX + 8 + side - 1),
                                 int16_t(top + side - 1), GK_AREA, Msg(3718), Msg(3793));
        area.LabelFlags = LF_ABOVE;
        const int16_t px = int16_t(PageX + side + 24);
        AddNumber(t, PresetInfo, PresetText, sizeof PresetText, IdPreset, px, top, int16_t(px + 43), 0, 11, nullptr,
                  Msg(3748));
        PresetInfo.StrFlags |= STR_READONLY;
        AddLabel(t, px, int16_t(top - 14), 60, Msg(3719));
        AddButton(t, IdPresetDown, px, int16_t(top + 20), int16_t(px + 20), int16_t(top + 37), GK_BUTTON, nullptr,
                  Msg(3759))
            .Image = &IconArrowLeft;
        AddButton(t, IdPresetUp, int16_t(px + 23), int16_t(top + 20), int16_t(px + 43), int16_t(top + 37),
                  GK_BUTTON, nullptr, Msg(3760))
            .Image = &IconArrowRight;
        AddButton(t, IdPresetApply, px, int16_t(top + 42), int16_t(px + 43), int16_t(top + 61), GK_BUTTON,
                  Msg(3720), Msg(3749));
    }
    AddButton(t, IdDefault, 8, PanelH - 30, 89, PanelH - 11, GK_BUTTON, Msg(3763), Msg(3764));
    AddButton(t, IdClose, PanelW - 90, PanelH - 30, PanelW - 9, PanelH - 11, GK_DIALOG_BUTTON, Msg(3728),
              Msg(3757));
}

void ShowProfile(GuiWindow* w) {
    if (!HasProfile(PagePen)) return;
    DrawGraph(w, WindowGadgetById(w, IdProfile), MediaPens[PagePen].Profile, ProfileCells, -1, -1);
}

void SyncPens(GuiWindow* w) {
    for (int i = 0; i < PenValueCount; i++) {
        const PenValue& v = PenValues[i];
        const int32_t* field = v.Field(PagePen);
        if (!field) continue;
        const int32_t shown = PenValueShown(v, *field);
        if (v.Kind == PV_SLIDER) {
            SliderSet(w, v.Id, shown);
        } else if (v.Kind == PV_NUMBER) {
            NumberSet(w, v.Id, shown);
        } else if (v.Kind == PV_CHECK) {
            RowSelect(w, v.Id, shown != 0);
        } else if (Gadget* c = WindowGadgetById(w, v.Id)) {
            BristleTabs.Current = shown;
            GadgetRefresh(c, w);
        }
    }
    if (HasProfile(PagePen)) NumberSet(w, IdPreset, MediaPens[PagePen].Preset);
    ShowProfile(w);
}

// A value of the page's pen changed: the dab of the pen in use is made anew, and the
// settings keep it.
void PenChanged() {
    if (PagePen == Pen) ApplyPen();
    SavePensSettings();
}

void ShowPage(GuiWindow* w, int32_t pen) {
    if (ActiveGadgetWindow == w) StringDeactivate();
    if (!WindowInList(w)) return;
    PagePen = pen;
    BuildPage(pen);
    WindowLayoutRows(w);
    WindowDrawFrame(w);
    WindowDrawRows(w);
    SyncPens(w);
    WindowRefresh(w);
}

void ProfileStep(GuiWindow* w, Gadget*, int32_t cx, int32_t cy) {
    uint8_t* profile = MediaPens[PagePen].Profile;
    const int32_t value = cy * 255 / (ProfileCells - 1);
    // A fast drag skips cells: the ones between get the straight line from the last.
    if (LastCellX < 0 || LastCellX == cx) {
        profile[cx] = uint8_t(value);
    } else {
        const int32_t from = LastCellY * 255 / (ProfileCells - 1), dir = cx > LastCellX ? 1 : -1;
        const int32_t n = std::abs(cx - LastCellX);
        for (int32_t k = 1; k <= n; k++)
            profile[LastCellX + k * dir] = uint8_t(from + (value - from) * k / n);
    }
    LastCellX = cx, LastCellY = cy;
    ShowProfile(w);
}

int32_t PensGadget(GuiWindow* w, Gadget* g, int32_t code) {
    if (!g) return 0;
    const int32_t id = g->Id;
    if (id >= IdFirstPage && id < IdFirstPage + Pages) {
        if (code == GC_CLICK) ShowPage(w, id - IdFirstPage);
        return 0;
    }
    for (int i = 0; i < PenValueCount; i++) {
        const PenValue& v = PenValues[i];
        int32_t* field = v.Field(PagePen);
        if (!field || !(id == v.Id || (v.Kind == PV_SLIDER && id == v.Id + 1))) continue;
        int32_t shown;
        if (v.Kind == PV_SLIDER)
            shown = SliderTake(w, g);
        else if (v.Kind == PV_NUMBER)
            shown = g->String ? g->String->IntValue : *field;
        else if (v.Kind == PV_CHECK)
            shown = (g->Flags & GF_SELECTED) ? 1 : 0;
        else
            shown = BristleTabs.Current;
        *field = PenValueStored(v, shown);
        PenChanged();
        return 0;
    }
    if (id == IdProfile && code == GC_PRESS) {
        LastCellX = LastCellY = -1;
        if (GraphTrack(w, g, ProfileCells, ProfileCells, ProfileStep)) PenChanged();
    } else if ((id == IdPresetDown || id == IdPresetUp) && code == GC_CLICK) {
        StepProfilePreset(PagePen, id == IdPresetUp ? 1 : -1);
        NumberSet(w, IdPreset, MediaPens[PagePen].Preset);
        SavePensSettings();
    } else if (id == IdPresetApply && code == GC_CLICK) {
        ApplyProfilePreset(PagePen);
        SavePensSettings();
        ShowProfile(w);
    } else if (id == IdDefault && code == GC_CLICK) {
        ResetOnePen(PagePen);
        PenChanged();
        if (WindowInList(w)) SyncPens(w);
    } else if (id == IdClose && code == GC_CLICK) {
        PanelCloseWindow(w);
    }
    return 0;
}

GuiWindow* BuildPens() {
    BuildPage(PagePen);
    GuiWindow* w = WindowFromRows(PanelW, PanelH, Rows);
    if (w) w->OnGadget = PensGadget;
    return w;
}

PanelSlot Slot{"Pens", BuildPens, SyncPens, PanelHome{int16_t(ToolsHomeWidth + 2 * HomeMargin), HomeTop}};
} // namespace

void OpenPensAt(int32_t pen) {
    PenChangedHook = RefreshPenPanels;
    pen = std::clamp(pen, int32_t(PenRound), int32_t(PenBrush));
    if (GuiWindow* w = PanelWindow(Slot); w && pen != PagePen) ShowPage(w, pen);
    PagePen = pen;
    PanelOpen(Slot);
}

void PensFollowPen(GuiWindow* w) {
    if (Pen >= PenRound && Pen <= PenBrush && Pen != PagePen)
        ShowPage(w, Pen);
    else
        SyncPens(w);
}

void OpenPens() { OpenPensAt(Pen >= PenRound && Pen <= PenBrush ? Pen : PenRound); }
GuiWindow* PensPanel() { return PanelWindow(Slot); }
PanelSlot& PensSlot() { return Slot; }

} // namespace nemu
