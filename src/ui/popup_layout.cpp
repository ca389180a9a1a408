// The windows of popup menus: measuring a menu into one column, several, or a scrolling
// list; drawing its rows with ticks, swatches, keys and submenu arrows; placing it by
// mode and keeping it on the screen. The tracking loop is in popup.cpp.
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "store/bitmap.h"
#include "ui/catalog.h"
#include "ui/gadget.h"
#include "ui/gadget_paint.h"
#include "ui/popup_level.h"
#include "ui/requests.h"
#include "ui/ui_scale.h"

#include <algorithm>
#include <vector>

namespace nemu {

// Layout units.
constexpr int RowHeight = PopupRowHeight, Padding = PopupPadding;
constexpr int SeparatorHeight = 7, TextLeft = 18, SwatchSize = 10, ScrollBarWidth = 12, ScrollListRows = 24;
constexpr uint32_t MsgOutOfMemory = 1000;
constexpr uint32_t SeparatorColours[3] = {0xFF444444, 0xFF888888, 0xFFCCCCCC};

// ---- Geometry -------------------------------------------------------------------------------------

bool Pickable(const PopupItem& item) {
    return item.Id != POPUP_SEPARATOR && !(item.ItemFlags & POPUP_DISABLED);
}

// The key text of a row: its own, or the label of its command's key.
static const char* KeyOf(const PopupItem& item) {
    static char label[64];
    if (item.KeyText) return item.KeyText;
    return CommandKeyText(item.Command, label, sizeof label);
}

int ScreenUnits(bool height) {
    if (!Screen) return 600;
    return UiUnit(height ? Screen->Height : Screen->Width);
}

// Sizes the level: one column, several, or a scrolling list of Visible rows.
void Measure(Level& L, bool scrollList, int* W, int* H) {
    int text = 0, keys = 0;
    bool arrows = false;
    for (int i = 0; i < L.Count; i++) {
        const PopupItem& it = L.Items[i];
        text = std::max(text, UiTextWidth(it.Text));
        const char* k = KeyOf(it);
        if (k && *k)
            keys = std::max(keys, UiTextWidth(k) + 8);
        else if (it.Submenu)
            arrows = true;
        if (it.Colour) L.Swatches = true;
    }
    int width = text + 12 + std::max(keys, arrows ? 10 : 0) + 16 + (L.Swatches ? SwatchSize + 4 : 0);
    L.ColumnWidth = width;
    int maxH = ScreenUnits(true) - 2 * Padding;
    L.X.assign(size_t(L.Count), 0);
    L.Y.assign(size_t(L.Count), 0);
    L.H.assign(size_t(L.Count), RowHeight);
    if (scrollList) {
        L.Visible = std::min({L.Count, ScrollListRows, maxH / RowHeight});
        L.First = 0;
        for (int i = 0; i < L.Count; i++) L.Y[size_t(i)] = Padding + i * RowHeight;
        *W = width + ScrollBarWidth;
        *H = L.Visible * RowHeight + 2 * Padding;
        return;
    }
    L.Visible = L.Count;
    int x = 0, y = Padding, tallest = 0;
    for (int i = 0; i < L.Count; i++) {
        int h = L.Items[i].Id == POPUP_SEPARATOR ? SeparatorHeight : RowHeight;
        if (y + h > maxH + Padding && y > Padding) { // the column is full: flow into the next
            x += width;
            y = Padding;
        }
        L.X[size_t(i)] = x, L.Y[size_t(i)] = y, L.H[size_t(i)] = h;
        y += h;
        tallest = std::max(tallest, y);
    }
    *W = x + width;
    *H = tallest + Padding;
}

// The item's row on the window, in layout units; false when scrolled out of sight.
bool Cell(const Level& L, int i, int* x, int* y, int* w, int* h) {
    if (i < 0 || i >= L.Count) return false;
    if (L.Scrolls() && (i < L.First || i >= L.First + L.Visible)) return false;
    *x = L.X[size_t(i)] + 1;
    *y = L.Y[size_t(i)] - (L.Scrolls() ? L.First * RowHeight : 0);
    *w = L.ColumnWidth - 2;
    *h = L.H[size_t(i)];
    return true;
}

// ---- Drawing ------------------------------------------------------------------------------------------

static void DrawItem(Level& L, int i) {
    int x, y, w, h;
    if (!Cell(L, i, &x, &y, &w, &h)) return;
    Bitmap* s = L.Window->Surface;
    const PopupItem& it = L.Items[i];
    bool hot = i == L.Hot && Pickable(it);
    uint32_t fill = hot ? DRAGBUTTONSELECTCOLOR : INFOAREACOLOR;
    UiFill(s, x, y, x + w - 1, y + h - 1, fill);
    if (it.Id == POPUP_SEPARATOR) {
        int my = y + h / 2 - 1;
        for (int k = 0; k < 3; k++) UiFill(s, x + 4, my + k, x + w - 5, my + k, SeparatorColours[k]);
        return;
    }
    uint32_t ink = hot ? 0xFFFFFFFF : INFOAREATEXTCOLOR;
    int ty = y + (h - 13) / 2;
    if (it.ItemFlags & POPUP_CHECKED) DrawIcon(s, &IconTick, x + 5, y + (h - 8) / 2, ink);
    int tx = x + TextLeft;
    if (L.Swatches) {
        if (it.Colour) {
            UiFill(s, tx, y + 3, tx + SwatchSize - 1, y + 3 + SwatchSize - 1, it.Colour | 0xFF000000u);
            UiBevel(s, tx, y + 3, tx + SwatchSize - 1, y + 3 + SwatchSize - 1, 0xFF000000, 0xFF000000);
        }
        tx += SwatchSize + 4;
    }
    int right = x + w - 1;
    if (it.ItemFlags & POPUP_DISABLED) {
        UiText(s, tx + 1, ty + 1, it.Text, LightColour(fill), x, y, right, y + h - 1);
        UiText(s, tx, ty, it.Text, DarkColour(fill), x, y, right, y + h - 1);
    } else {
        UiText(s, tx, ty, it.Text, ink, x, y, right, y + h - 1);
    }
    if (GadgetDrawnHook) {
        // Menu rows are reported as rows too, numbered from 1, so tests pick them by text.
        Gadget row{};
        row.Id = i + 1;
        GuiWindow* win = L.Window;
        GadgetDrawnHook(win, &row, it.Text, win->Left + UiPx(x), win->Top + UiPx(y), UiPx(x + w) - UiPx(x),
                        UiPx(y + h) - UiPx(y));
    }
    const char* key = KeyOf(it);
    if (key && *key) {
        uint32_t keyInk = hot ? LightColour(fill) : DarkColour(DarkColour(fill));
        UiText(s, right - 8 - UiTextWidth(key), ty, key, keyInk, x, y, right, y + h - 1);
    } else if (it.Submenu) {
        DrawIcon(s, &IconArrowRight, right - 10, y + (h - 9) / 2, ink);
    }
}

static void DrawScrollBar(Level& L) {
    if (!L.Scrolls()) return;
    Bitmap* s = L.Window->Surface;
    int l = L.ColumnWidth, t = Padding, r = l + ScrollBarWidth - 3, b = t + L.Visible * RowHeight - 1;
    UiFill(s, l, t, r, b, DarkColour(INFOAREACOLOR));
    int knob, pos;
    ScrollerKnob(b - t + 1, L.Count, L.Visible, L.First, &knob, &pos);
    UiFill(s, l + 1, t + pos, r - 1, t + pos + knob - 1, DRAGBUTTONCOLOR);
    UiBevel(s, l + 1, t + pos, r - 1, t + pos + knob - 1, LightColour(DRAGBUTTONCOLOR),
            DarkColour(DRAGBUTTONCOLOR));
}

void DrawLevel(Level& L) {
    Bitmap* s = L.Window->Surface;
    int W = L.Window->LayoutWidth, H = L.Window->LayoutHeight;
    UiFill(s, 0, 0, W - 1, H - 1, INFOAREACOLOR);
    for (int i = 0; i < L.Count; i++) DrawItem(L, i);
    DrawScrollBar(L);
    UiBevel(s, 0, 0, W - 1, H - 1, 0xFFFFFFFF, 0xFF333333);
    WindowRefresh(L.Window);
}

void SetHot(Level& L, int hot) {
    if (hot == L.Hot) return;
    int old = L.Hot;
    L.Hot = hot;
    if (L.Scrolls() && hot >= 0) {
        int first = std::clamp(L.First, hot - L.Visible + 1, hot);
        if (first != L.First) {
            L.First = first;
            DrawLevel(L);
            return;
        }
    }
    for (int i : {old, hot}) {
        int x, y, w, h;
        if (!Cell(L, i, &x, &y, &w, &h)) continue;
        DrawItem(L, i);
        WindowRefreshRect(L.Window, UiPx(x), UiPx(y), UiPx(x + w) - UiPx(x), UiPx(y + h) - UiPx(y));
    }
}

// ---- The levels ------------------------------------------------------------------------------------------

// Places a window of w by h pixels by mode against the screen rectangle, kept on screen.
static void Place(GuiWindow* win, int mode, int x, int y, int w, int h, int pointerRowY) {
    int W = int(win->Width), H = int(win->Height);
    int sw = Screen ? Screen->Width : W, sh = Screen ? Screen->Height : H;
    int px = x, py = y;
    if (mode == POPUP_AT_POINTER) {
        px = x - UiPx(TextLeft);
        py = y - pointerRowY;
    } else if (mode == POPUP_BELOW) {
        py = y + h;
    } else if (mode == POPUP_ABOVE) {
        py = y - H;
    } else if (mode == POPUP_RIGHT) {
        px = x + w;
        if (px + W > sw) px = x - W; // turned to the left
    } else if (mode == POPUP_LEFT) {
        px = x - W;
    }
    px = std::clamp(px, 0, std::max(0, sw - W));
    py = std::clamp(py, 0, std::max(0, sh - H));
    win->Left = px, win->Top = py, win->Right = px + W, win->Bottom = py + H;
}

bool OpenLevel(Level& L, PopupItem* items, int selected, bool scrollList, int mode, int x, int y, int w,
               int h) {
    L.Items = items;
    L.Count = 0;
    while (items && items[L.Count].Text) L.Count++;
    if (L.Count == 0) return false;
    int W, H;
    Measure(L, scrollList, &W, &H);
    // A menu dropped from a gadget is at least as wide as the gadget.
    int under = UiUnit(w);
    if ((mode == POPUP_BELOW || mode == POPUP_ABOVE) && W == L.ColumnWidth && under > W)
        L.ColumnWidth = W = under;
    L.Window = WindowNew(W, H, WINDOW_SIMPLE_FRAME | WINDOW_KEEP_STRING);
    if (!L.Window) {
        AlertMsg(MsgOutOfMemory);
        return false;
    }
    selected = std::clamp(selected, 0, L.Count - 1);
    if (L.Scrolls()) L.First = std::clamp(selected - L.Visible / 2, 0, L.Count - L.Visible);
    int cx, cy, cw, ch;
    int rowY = Cell(L, selected, &cx, &cy, &cw, &ch) ? UiPx(cy) + UiPx(ch) / 2 : 0;
    Place(L.Window, mode, x, y, w, h, rowY);
    L.Hot = mode == POPUP_AT_POINTER && Pickable(items[selected]) ? selected : -1;
    DrawLevel(L);
    WindowOpen(L.Window);
    return true;
}

void CloseLevelsFrom(std::vector<Level>& levels, size_t from) {
    while (levels.size() > from) {
        if (WindowInList(levels.back().Window)) WindowDelete(levels.back().Window);
        levels.pop_back();
    }
}

// The level and item under the pointer: the deepest level whose window holds it.
bool ItemAtPointer(std::vector<Level>& levels, int* level, int* item) {
    for (int k = int(levels.size()) - 1; k >= 0; k--) {
        Level& L = levels[size_t(k)];
        GuiWindow* w = L.Window;
        if (!WindowInList(w)) continue;
        int px = WindowPointerX - w->Left, py = WindowPointerY - w->Top;
        if (px < 0 || py < 0 || px >= int(w->Width) || py >= int(w->Height)) continue;
        *level = k;
        *item = -1;
        int ux = UiUnit(px), uy = UiUnit(py);
        for (int i = 0; i < L.Count; i++) {
            int x, y, cw, ch;
            if (Cell(L, i, &x, &y, &cw, &ch) && ux >= x && ux < x + cw && uy >= y && uy < y + ch) *item = i;
        }
        return true;
    }
    return false;
}

void OpenSubmenu(std::vector<Level>& levels, size_t k, int item) {
    Level& L = levels[k];
    PopupItem* sub = L.Items[item].Submenu;
    if (levels.size() > k + 1 && levels[k + 1].Items == sub) return;
    CloseLevelsFrom(levels, k + 1);
    if (!sub || !Pickable(L.Items[item])) return;
    int x, y, w, h;
    if (!Cell(L, item, &x, &y, &w, &h)) return;
    GuiWindow* win = L.Window;
    Level child;
    if (OpenLevel(child, sub, 0, false, POPUP_RIGHT, win->Left + UiPx(x), win->Top + UiPx(y) - UiPx(Padding),
                  UiPx(x + w) - UiPx(x), 0))
        levels.push_back(child);
}

int StepHot(const Level& L, int from, int direction) {
    for (int n = 0, i = from; n < L.Count; n++) {
        i = (i + direction + L.Count) % L.Count;
        if (i < 0) i = L.Count - 1;
        if (Pickable(L.Items[i])) return i;
    }
    return -1;
}

} // namespace nemu
