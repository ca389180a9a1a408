// Popup menus: a stack of menu windows (the menu and its open submenus) tracked by one
// loop, by the pointer and by the keys; and the entry points that open them.
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "ui/gadget.h"
#include "ui/popup_level.h"
#include "ui/requests.h"
#include "ui/ui_scale.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace nemu {

constexpr int RowHeight = PopupRowHeight, Padding = PopupPadding, ScrollListLimit = PopupScrollListLimit;

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
