// The NewProject and PageSize panels. Both show the list of page sizes with a width and a
// height to take from it or type in. NewProject adds the frame rate and starts a new,
// empty project; PageSize changes the size of the project in hand, keeping its picture
// scaled when asked to.
#include "host/main_loop.h"
#include "host/screen.h"
#include "project/layers.h"
#include "project/page_size.h"
#include "ui/catalog.h"
#include "ui/gadget_paint.h"
#include "ui/panel_rows.h"
#include "ui/panel_slot.h"
#include "ui/panels.h"
#include "ui/requests.h"
#include "ui/ui_scale.h"

#include <algorithm>
#include <cstdio>

namespace nemu {

namespace {
enum SizeId : int32_t {
    IdList = 1,
    IdScroll = 2,
    IdWidth = 3,
    IdHeight = 4,
    IdRate = 5,
    IdKeep = 6,
    IdOk = 7,
    IdCancel = 8,
};
constexpr int32_t ListRows = 8;
constexpr int16_t ListRowH = 15, ListTop = 38, ListW = 262, ScrollW = 16;
constexpr int16_t ListBottom = ListTop + ListRows * ListRowH + 1;
constexpr int16_t PanelW = 8 + ListW + 2 + ScrollW + 8, PanelH = ListBottom + 84;
constexpr double MaxRate = 1000.0;

const char* Msg(uint32_t id) { return MsgGet(nullptr, id); }

// What one of the two panels holds: its rows, its fields and the row picked in the list.
struct SizePanel {
    bool NewProject = false; // else the page size of the project in hand
    Gadget Rows[16] = {};
    ScrollerInfo Scroll = {};
    StringInfo Width = {}, Height = {}, Rate = {};
    char WidthText[8] = {}, HeightText[8] = {}, RateText[12] = {};
    int32_t Picked = -1;
    PanelSlot* Slot = nullptr;
};
SizePanel NewPanel, SizePanelState;

SizePanel& PanelOf(GuiWindow* w) { return w == PanelWindow(*NewPanel.Slot) ? NewPanel : SizePanelState; }

void DrawList(GuiWindow* w, SizePanel& p) {
    Gadget* g = WindowGadgetById(w, IdList);
    if (!g || !w->Surface) return;
    Bitmap* s = w->Surface;
    UiFill(s, g->Left + 1, g->Top + 1, g->Right - 1, g->Bottom - 1, INFOAREACOLOR);
    UiBevel(s, g->Left, g->Top, g->Right, g->Bottom, DarkColour(BACKGROUNDCOLOR), LightColour(BACKGROUNDCOLOR));
    for (int32_t r = 0; r < ListRows; r++) {
        const int32_t index = p.Scroll.YPos + r;
        char label[300];
        if (!PageSizeLabel(index, label, sizeof label)) break;
        const int32_t top = g->Top + 1 + r * ListRowH;
        uint32_t ink = INFOAREATEXTCOLOR;
        if (index == p.Picked) {
            UiFill(s, g->Left + 1, top, g->Right - 1, top + ListRowH - 1, DRAGBUTTONSELECTCOLOR);
            ink = 0xFF000000;
        }
        UiText(s, g->Left + 5, top + 1, label, ink, g->Left + 1, top, g->Right - 2, top + ListRowH - 1);
    }
    GadgetShow(w, g);
}

void ShowFields(GuiWindow* w, SizePanel& p, int32_t width, int32_t height, double rate) {
    NumberSet(w, IdWidth, width);
    NumberSet(w, IdHeight, height);
    if (Gadget* r = WindowGadgetById(w, IdRate)) {
        p.Rate.FloatValue = rate;
        SetStringFloat(w, r);
    }
}

void Pick(GuiWindow* w, SizePanel& p, int32_t index) {
    if (index < 0 || index >= PageSizeCount) return;
    p.Picked = index;
    const PageSizeEntry& e = PageSizes[index];
    ShowFields(w, p, e.Width, e.Height, e.Rate);
    DrawList(w, p);
}

// The size asked for: NewProject starts an empty project, PageSize changes the size of
// this one. Either way the page is placed anew and the panel closes.
void Apply(GuiWindow* w, SizePanel& p) {
    const int32_t width = p.Width.IntValue, height = p.Height.IntValue;
    const double rate = std::clamp(p.Rate.FloatValue, 0.01, MaxRate);
    const bool keep = !p.NewProject && (WindowGadgetById(w, IdKeep)->Flags & GF_SELECTED);
    int result;
    if (p.NewProject) {
        if (ChangeCounter != SavedCounter && !AskYesNo(Msg(8113), Msg(1001), Msg(1002))) return;
        if (width != PageWidth || height != PageHeight)
            result = ChangePageSize(width, height, 0);
        else
            result = ResetProject(nullptr, 1, 0);
        if (result == 0) return;
        FrameRate = rate;
        SetProjectName(nullptr);
        SavedCounter = ChangeCounter;
    } else {
        if (width == PageWidth && height == PageHeight) {
            PanelCloseWindow(w);
            return;
        }
        result = ChangePageSize(width, height, keep ? 1 : 0);
        if (result == 0) return;
    }
    PlacePage(1);
    RefreshAll();
    PanelCloseWindow(w);
}

int32_t SizeGadget(GuiWindow* w, Gadget* g, int32_t code) {
    if (!g) return 0;
    SizePanel& p = PanelOf(w);
    if (g->Id == IdList && code == GC_PRESS) {
        const int32_t row = (UiUnit(WindowPointerY - w->Top) - g->Top - 1) / ListRowH;
        if (row >= 0 && row < ListRows) Pick(w, p, p.Scroll.YPos + row);
    } else if (g->Id == IdScroll) {
        DrawList(w, p);
    } else if ((g->Id == IdWidth || g->Id == IdHeight || g->Id == IdRate) && p.Picked >= 0) {
        // A size typed in is no longer the one picked in the list.
        const PageSizeEntry& e = PageSizes[p.Picked];
        if (e.Width != p.Width.IntValue || e.Height != p.Height.IntValue || (p.NewProject && e.Rate != p.Rate.FloatValue)) {
            p.Picked = -1;
            DrawList(w, p);
        }
    } else if (g->Id == IdOk && code == GC_CLICK) {
        Apply(w, p);
    } else if (g->Id == IdCancel && code == GC_CLICK) {
        PanelCloseWindow(w);
    }
    return 0;
}

// The wheel over the panel scrolls the list: it comes as the key up or down with no text.
constexpr int32_t WheelUp = 38, WheelDown = 40, WheelRows = 3;

int32_t SizeKey(const char*, int32_t* length, int32_t, GuiWindow* w, int32_t keycode, uint32_t) {
    if (*length != 0 || (keycode != WheelUp && keycode != WheelDown)) return 0;
    SizePanel& p = PanelOf(w);
    const int32_t last = std::max(0, PageSizeCount - ListRows);
    p.Scroll.YPos = std::clamp(p.Scroll.YPos + (keycode == WheelUp ? -WheelRows : WheelRows), 0, last);
    if (Gadget* bar = WindowGadgetById(w, IdScroll)) GadgetRefresh(bar, w);
    DrawList(w, p);
    return 1;
}

GuiWindow* Build(SizePanel& p) {
    LoadPageSizes(); // the built-in rows follow the display and the spare page
    RowTable t{p.Rows, int32_t(sizeof p.Rows / sizeof p.Rows[0])};
    t.Clear();
    AddTitleRows(t, Msg(p.NewProject ? 6164 : 6165));
    Gadget& list = AddButton(t, IdList, 8, ListTop, 8 + ListW - 1, ListBottom, GK_AREA, Msg(6172), Msg(6173));
    list.LabelFlags = LF_ABOVE;
    p.Scroll = ScrollerInfo{};
    p.Scroll.YTotal = std::max(PageSizeCount, 1);
    p.Scroll.YVisible = ListRows;
    p.Scroll.OnDrag = [](GuiWindow* w, Gadget* g, void*) {
        if (w->OnGadget) w->OnGadget(w, g, GC_PRESS);
    };
    Gadget& bar = t.Add();
    bar.Left = 8 + ListW + 2, bar.Top = ListTop, bar.Right = bar.Left + ScrollW - 1, bar.Bottom = ListBottom;
    bar.Id = IdScroll;
    bar.Scroller = &p.Scroll;
    const int16_t y = ListBottom + 8;
    AddNumber(t, p.Width, p.WidthText, sizeof p.WidthText, IdWidth, 60, y, 113, 1, MaxPageSide, Msg(6166),
              Msg(6174));
    AddNumber(t, p.Height, p.HeightText, sizeof p.HeightText, IdHeight, 180, y, 233, 1, MaxPageSide, Msg(6167),
              Msg(6175));
    const int16_t y2 = int16_t(y + 22);
    if (p.NewProject) {
        AddNumber(t, p.Rate, p.RateText, sizeof p.RateText, IdRate, 60, y2, 113, 0, int32_t(MaxRate), Msg(6168),
                  Msg(6176));
        p.Rate.StrFlags = STR_DECIMAL;
    } else {
        AddButton(t, IdKeep, 160, y2, 178, int16_t(y2 + 15), GK_CHECKBOX | GF_SELECTED, Msg(6169), Msg(6177));
    }
    const int16_t y3 = int16_t(y2 + 26);
    AddButton(t, IdOk, 8, y3, 101, int16_t(y3 + 19), GK_DIALOG_BUTTON, Msg(p.NewProject ? 6170 : 6171),
              Msg(p.NewProject ? 6178 : 6179));
    AddButton(t, IdCancel, PanelW - 102, y3, PanelW - 9, int16_t(y3 + 19), GK_DIALOG_BUTTON, Msg(1006), Msg(6180));
    GuiWindow* w = WindowFromRows(PanelW, PanelH, p.Rows);
    if (w) {
        w->OnGadget = SizeGadget;
        w->OnKey = SizeKey;
    }
    return w;
}

// Opening shows the page's own size, picked in the list when it is one of its rows.
void Sync(GuiWindow* w) {
    SizePanel& p = PanelOf(w);
    p.Picked = -1;
    for (int32_t i = 0; i < PageSizeCount && p.Picked < 0; i++)
        if (PageSizes[i].Width == PageWidth && PageSizes[i].Height == PageHeight &&
            (!p.NewProject || PageSizes[i].Rate == FrameRate))
            p.Picked = i;
    p.Scroll.YPos = std::clamp(p.Picked - ListRows / 2, 0, std::max(0, PageSizeCount - ListRows));
    if (Gadget* bar = WindowGadgetById(w, IdScroll)) GadgetRefresh(bar, w);
    ShowFields(w, p, PageWidth, PageHeight, FrameRate);
    DrawList(w, p);
}

PanelSlot NewSlot{"NewProject", [] { return Build(NewPanel); }, Sync};
PanelSlot SizeSlot{"PageSize", [] { return Build(SizePanelState); }, Sync};
const bool SlotsSet = (NewPanel.NewProject = true, NewPanel.Slot = &NewSlot, SizePanelState.Slot = &SizeSlot, true);
} // namespace

void OpenNewProject() { PanelOpen(NewSlot); }
void OpenProjectSize() { PanelOpen(SizeSlot); }
GuiWindow* NewProjectPanel() { return PanelWindow(NewSlot); }
GuiWindow* PageSizePanel() { return PanelWindow(SizeSlot); }
PanelSlot& NewProjectSlot() { return NewSlot; }
PanelSlot& PageSizeSlot() { return SizeSlot; }

} // namespace nemu
