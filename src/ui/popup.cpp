// Popup menus: a stack of menu windows (the menu and its open submenus) tracked by one
// loop, with separators, ticks, disabled rows, key texts, several columns when a menu is
// taller than the screen, and the scrolling list for very long menus.
//
// Sections: geometry; drawing; the levels; tracking; entry points.
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "store/bitmap.h"
#include "ui/catalog.h"
#include "ui/gadget.h"
#include "ui/gadget_paint.h"
#include "ui/requests.h"
#include "ui/ui_scale.h"

#include <algorithm>
#include <vector>

namespace nemu {

// Layout units.
constexpr int RowHeight = 16, SeparatorHeight = 7, Padding = 4, TextLeft = 18, SwatchSize = 10;
constexpr int ScrollBarWidth = 12, ScrollListRows = 24, ScrollListLimit = 40;
constexpr uint32_t MsgOutOfMemory = 1000;
constexpr uint32_t SeparatorColours[3] = {0xFF444444, 0xFF888888, 0xFFCCCCCC};

// ---- Geometry -------------------------------------------------------------------------------------

struct Level {
    GuiWindow* Window = nullptr;
    PopupItem* Items = nullptr;
    int Count = 0;
    int Hot = -1;
    int ColumnWidth = 0;
    bool Swatches = false;
    std::vector<int> X, Y, H;   // each item's cell, layout units inside the window
    int First = 0, Visible = 0; // a scrolling list shows Visible rows from First
    bool Scrolls() const { return Visible < Count; }
};

static bool Pickable(const PopupItem& item) {
    return item.Id != POPUP_SEPARATOR && !(item.ItemFlags & POPUP_DISABLED);
}

// The key text of a row: its own, or the label of its command's key.
static const char* KeyOf(const PopupItem& item) {
    static char label[64];
    if (item.KeyText) return item.KeyText;
    return CommandKeyText(item.Command, label, sizeof label);
}

static int ScreenUnits(bool height) {
    if (!Screen) return 600;
    return UiUnit(height ? Screen->Height : Screen->Width);
}

// Sizes the level: one column, several, or a scrolling list of Visible rows.
static void Measure(Level& L, bool scrollList, int* W, int* H) {
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
static bool Cell(const Level& L, int i, int* x, int* y, int* w, int* h) {
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

static void DrawLevel(Level& L) {
    Bitmap* s = L.Window->Surface;
    int W = L.Window->LayoutWidth, H = L.Window->LayoutHeight;
    UiFill(s, 0, 0, W - 1, H - 1, INFOAREACOLOR);
    for (int i = 0; i < L.Count; i++) DrawItem(L, i);
    DrawScrollBar(L);
    UiBevel(s, 0, 0, W - 1, H - 1, 0xFFFFFFFF, 0xFF333333);
    WindowRefresh(L.Window);
}

static void SetHot(Level& L, int hot) {
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

static bool OpenLevel(Level& L, PopupItem* items, int selected, bool scrollList, int mode, int x, int y,
                      int w, int h) {
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

static void CloseLevelsFrom(std::vector<Level>& levels, size_t from) {
    while (levels.size() > from) {
        if (WindowInList(levels.back().Window)) WindowDelete(levels.back().Window);
        levels.pop_back();
    }
}

// The level and item under the pointer: the deepest level whose window holds it.
static bool ItemAtPointer(std::vector<Level>& levels, int* level, int* item) {
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

static void OpenSubmenu(std::vector<Level>& levels, size_t k, int item) {
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

static int StepHot(const Level& L, int from, int direction) {
    for (int n = 0, i = from; n < L.Count; n++) {
        i = (i + direction + L.Count) % L.Count;
        if (i < 0) i = L.Count - 1;
        if (Pickable(L.Items[i])) return i;
    }
    return -1;
}

// ---- Tracking
// ------------------------------------------------------------------------------------------------

static PopupItem* Track(std::vector<Level>& levels) {
    // A menu opened with a button held picks on the release, once the pointer has moved
    // onto an item; one opened by a click picks on the next click.
    bool heldAtOpen = LeftHeld || RightHeld;
    int startX = WindowPointerX, startY = WindowPointerY;
    int lastX = startX, lastY = startY;
    bool moved = false;
    ModalDepth++;
    PopupItem* picked = nullptr;
    bool done = false;
    while (!done && !QuitFlag && !levels.empty()) {
        int code = WaitEvent(10);
        for (Level& L : levels)
            if (!WindowInList(L.Window)) return ModalDepth--, nullptr;
        if (std::abs(WindowPointerX - startX) > 3 || std::abs(WindowPointerY - startY) > 3) moved = true;
        int k = -1, item = -1;
        bool over = ItemAtPointer(levels, &k, &item);
        // The pointer chooses only when it moves (or presses): a submenu closed by a key
        // stays closed while the pointer rests on its row.
        bool pointerMoved =
            WindowPointerX != lastX || WindowPointerY != lastY || (code != 4 && code != 6 && code != 0);
        lastX = WindowPointerX, lastY = WindowPointerY;
        if (over && pointerMoved) {
            SetHot(levels[size_t(k)], item);
            if (item >= 0 && Pickable(levels[size_t(k)].Items[item]) && levels[size_t(k)].Items[item].Submenu)
                OpenSubmenu(levels, size_t(k), item);
            else if (item >= 0)
                CloseLevelsFrom(levels, size_t(k) + 1);
        }
        Level& top = levels.back();
        switch (code) {
        case 1:
        case 2:
            if (!over)
                done = true; // a press outside dismisses
            else if (top.Scrolls() && k == int(levels.size()) - 1 && item < 0) {
                // The list's scroll bar: the page goes towards the pointer.
                int uy = UiUnit(WindowPointerY - top.Window->Top);
                int knob, pos;
                ScrollerKnob(top.Visible * RowHeight, top.Count, top.Visible, top.First, &knob, &pos);
                int dir = uy - Padding < pos ? -1 : 1;
                top.First = std::clamp(top.First + dir * top.Visible, 0, top.Count - top.Visible);
                DrawLevel(top);
            }
            break;
        case -1:
        case -2:
            if (over && item >= 0 && Pickable(levels[size_t(k)].Items[item]) &&
                !levels[size_t(k)].Items[item].Submenu && (!heldAtOpen || moved || true)) {
                if (heldAtOpen && !moved) {
                    heldAtOpen = false; // the release of the opening click: the menu stays
                    break;
                }
                picked = &levels[size_t(k)].Items[item];
                done = true;
            } else if (heldAtOpen && moved && !over) {
                done = true;
            }
            heldAtOpen = false;
            break;
        case 4: {
            if (KeyIsRelease(EventKeyCode)) break;
            char c = EventKeyLength == 1 ? EventKeyText[0] : 0;
            int32_t key = EventKeyCode;
            if (c == 27) {
                if (levels.size() > 1)
                    CloseLevelsFrom(levels, levels.size() - 1);
                else
                    done = true;
            } else if (c == '\r') {
                if (top.Hot >= 0 && top.Items[top.Hot].Submenu) {
                    OpenSubmenu(levels, levels.size() - 1, top.Hot);
                    if (levels.back().Items != top.Items)
                        SetHot(levels.back(), StepHot(levels.back(), -1, 1));
                } else if (top.Hot >= 0 && Pickable(top.Items[top.Hot])) {
                    picked = &top.Items[top.Hot];
                    done = true;
                }
            } else if (EventKeyLength == 0 && (key == int32_t(VK_DOWN) || key == int32_t(VK_UP))) {
                SetHot(top, StepHot(top, top.Hot < 0 && key == int32_t(VK_UP) ? 0 : top.Hot,
                                    key == int32_t(VK_DOWN) ? 1 : -1));
            } else if (EventKeyLength == 0 && key == int32_t(VK_RIGHT) && top.Hot >= 0 &&
                       top.Items[top.Hot].Submenu) {
                size_t depth = levels.size();
                OpenSubmenu(levels, depth - 1, top.Hot);
                if (levels.size() > depth) SetHot(levels.back(), StepHot(levels.back(), -1, 1));
            } else if (EventKeyLength == 0 && key == int32_t(VK_LEFT) && levels.size() > 1) {
                CloseLevelsFrom(levels, levels.size() - 1);
            }
            break;
        }
        default:
            break;
        }
    }
    ModalDepth--;
    // The press that dismissed the menu is not for what lies under it.
    while ((LeftHeld || RightHeld) && !QuitFlag) WaitEvent(1);
    return picked;
}

// ---- Entry points
// --------------------------------------------------------------------------------------------------

static PopupItem* Run(PopupItem* items, int selected, bool scrollList, int mode, int x, int y, int w, int h) {
    if (!items || !items[0].Text || !DialogsShown()) return nullptr;
    BusyEnd();
    std::vector<Level> levels;
    Level first;
    if (!OpenLevel(first, items, selected, scrollList, mode, x, y, w, h)) return nullptr;
    levels.push_back(first);
    PopupItem* picked = Track(levels);
    CloseLevelsFrom(levels, 0);
    return picked;
}

static int CountItems(const PopupItem* items) {
    int n = 0;
    while (items && items[n].Text) n++;
    return n;
}

PopupItem* PopupAt(PopupItem* items, int selected, int mode, int x, int y, int w, int h) {
    int n = CountItems(items);
    bool tooTall = n * RowHeight + 2 * Padding > ScreenUnits(true);
    bool list = mode == POPUP_AT_POINTER && (n > ScrollListLimit || tooTall);
    return Run(items, selected, list, mode, x, y, w, h);
}

PopupItem* PopupMenu(PopupItem* items, int selected) {
    return PopupAt(items, selected, POPUP_AT_POINTER, WindowPointerX, WindowPointerY, 0, 0);
}

PopupItem* ScrollList(PopupItem* items, int selected) {
    return Run(items, selected, true, POPUP_AT_POINTER, WindowPointerX, WindowPointerY, 0, 0);
}

} // namespace nemu
