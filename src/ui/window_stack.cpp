// Opening, closing, moving and stacking windows; hiding and showing them all for the
// middle button; and their places in the settings.
#include "host/input.h"
#include "host/screen.h"
#include "store/bitmap.h"
#include "ui/gadget.h"
#include "ui/settings.h"
#include "ui/ui_scale.h"
#include "ui/window.h"
#include "ui/window_list.h"

#include <cstdlib>

namespace nemu {

// How much of a window must stay on the screen, in layout units: opening pulls back one
// whose corner lies beyond these, and a move never leaves less than the second pair.
constexpr int32_t OpenKeepX = 30, OpenKeepY = 20;
constexpr int32_t MoveKeepX = 10, MoveKeepY = 5;

// ---- Opening and closing ----------------------------------------------------------------------------

// Pulls a window that lies beyond the screen's edges back so that a part can be grabbed.
static void PullOnScreen(GuiWindow* w) {
    if (!Screen) return;
    int maxX = Screen->Width - UiPx(OpenKeepX), maxY = Screen->Height - UiPx(OpenKeepY);
    int minX = UiPx(OpenKeepX) - int(w->Width), minY = 0;
    if (w->Left > maxX || w->Top > maxY || w->Left < minX || w->Top < minY) {
        int x = w->Left > maxX ? maxX : w->Left < minX ? minX : w->Left;
        int y = w->Top > maxY ? maxY : w->Top < minY ? minY : w->Top;
        w->Left = x;
        w->Top = y;
        w->Right = x + int(w->Width);
        w->Bottom = y + int(w->Height);
    }
}

void WindowOpen(GuiWindow* window) {
    if (!WindowInList(window) || window->Open) return;
    // Opening one window opens every closed one: a hidden stack comes back whole.
    for (GuiWindow* w = WindowListTail; w; w = w->Prev) {
        PullOnScreen(w);
        if (!w->Open) {
            w->Open = 1;
            WindowRefresh(w);
        }
    }
    if ((window->Flags & WINDOW_BACKDROP) && window != WindowListHead) {
        WindowUnlink(window);
        LinkAtHead(window);
        SortBackdrops();
        RepaintScreenRect(window->Left, window->Top, int(window->Width), int(window->Height));
    }
    if (window->Flags & WINDOW_RAISE_FLASH) WindowToFront(window, 1);
}

void WindowHide(GuiWindow* window) {
    if (!WindowInList(window)) return;
    if (ModalWindow == window) ModalWindow = nullptr;
    if (!window->Open) return;
    window->Open = 0;
    RestoreBehind(window, window->Left, window->Top, int(window->Width), int(window->Height));
}

// ---- Moving and stacking -------------------------------------------------------------------------------

void WindowMove(GuiWindow* window, int32_t x, int32_t y) {
    if (!WindowInList(window)) return;
    if (Screen) {
        int maxX = Screen->Width - UiPx(MoveKeepX), minX = UiPx(MoveKeepX) - int(window->Width);
        int maxY = Screen->Height - UiPx(MoveKeepY), minY = UiPx(MoveKeepY) - int(window->Height);
        x = x > maxX ? maxX : x < minX ? minX : x;
        y = y > maxY ? maxY : y < minY ? minY : y;
    }
    if (x == window->Left && y == window->Top) return;
    int ox = window->Left, oy = window->Top;
    window->Left = x;
    window->Top = y;
    window->Right = x + int(window->Width);
    window->Bottom = y + int(window->Height);
    if (!window->Open) return;
    WindowRefresh(window);
    // Only the strips the window uncovered need the page and the windows below.
    int w = int(window->Width), h = int(window->Height);
    int dx = x - ox, dy = y - oy;
    if (dx >= w || -dx >= w || dy >= h || -dy >= h) {
        RestoreBehind(window, ox, oy, w, h);
        return;
    }
    if (dy > 0) RestoreBehind(window, ox, oy, w, dy);
    if (dy < 0) RestoreBehind(window, ox, oy + h + dy, w, -dy);
    int top = dy > 0 ? oy + dy : oy, rows = h - (dy > 0 ? dy : -dy);
    if (dx > 0) RestoreBehind(window, ox, top, dx, rows);
    if (dx < 0) RestoreBehind(window, ox + w + dx, top, -dx, rows);
}

static void FlashDragBar(GuiWindow* window) {
    Gadget* bar = WindowGadgetById(window, GADGET_DRAG);
    if (!bar) return;
    for (GuiWindow* w = WindowListTail; w; w = w->Prev)
        if (!w->Open) WindowOpen(w);
    int x, y, gw, gh;
    GadgetPixelRect(bar, &x, &y, &gw, &gh);
    for (int pass = 0; pass < 2; pass++) {
        InvertBox(window->Surface, x, y, x + gw - 1, y + gh - 1);
        WindowRefreshRect(window, x, y, gw, gh);
        GuiSleepTicks(2);
        InvertBox(window->Surface, x, y, x + gw - 1, y + gh - 1);
        WindowRefreshRect(window, x, y, gw, gh);
        GuiSleepTicks(2);
        WaitEvent(0);
        if (!WindowInList(window)) return;
    }
}

void WindowToFront(GuiWindow* window, int flash) {
    if (!WindowInList(window) || (window->Flags & WINDOW_BACKDROP)) return;
    if (window != WindowListTail) {
        WindowUnlink(window);
        LinkAtTail(window);
        if (window->Open) WindowRefresh(window);
    }
    if (flash) FlashDragBar(window);
}

void WindowToBack(GuiWindow* window) {
    if (!WindowInList(window) || window == WindowListHead) return;
    WindowUnlink(window);
    LinkAtHead(window);
    SortBackdrops();
    if (window->Open) RepaintScreenRect(window->Left, window->Top, int(window->Width), int(window->Height));
}

// ---- Hide all and show all
// ---------------------------------------------------------------------------------

int WindowHideAll() {
    int n = 0;
    for (GuiWindow* w = WindowListTail; w;) {
        GuiWindow* below = w->Prev;
        if (w->Open) {
            WindowHide(w);
            n++;
        }
        w = below;
    }
    return n;
}

int WindowShowAll() {
    if (ToolbarShowHook) ToolbarShowHook();
    int n = 0;
    for (GuiWindow* w = WindowListHead; w; w = w->Next)
        if (!w->Open) {
            PullOnScreen(w);
            w->Open = 1;
            WindowRefresh(w);
            n++;
        }
    return n;
}

void WindowToggleAll() {
    bool anyOpen = false;
    for (GuiWindow* w = WindowListHead; w; w = w->Next) anyOpen = anyOpen || w->Open;
    if (anyOpen)
        WindowHideAll();
    else
        WindowShowAll();
}

// ---- Places in the settings
// -----------------------------------------------------------------------------------

int WindowLoadPlace(GuiWindow* window, const char* section) {
    if (!WindowInList(window) || !section) return 0;
    char x[32], y[32];
    ConfigGet(section, "WIN_X", x, "", sizeof x);
    ConfigGet(section, "WIN_Y", y, "", sizeof y);
    if (!*x || !*y) return 0;
    // A place from another screen, or absurd numbers, still leaves the window on this one.
    long px = std::strtol(x, nullptr, 10), py = std::strtol(y, nullptr, 10);
    int sw = Screen ? Screen->Width : 0, sh = Screen ? Screen->Height : 0;
    long maxX = sw - long(window->Width), maxY = sh - long(window->Height);
    px = px > maxX ? maxX : px;
    py = py > maxY ? maxY : py;
    px = px < 0 ? 0 : px;
    py = py < 0 ? 0 : py;
    WindowMove(window, int32_t(px), int32_t(py));
    return 1;
}

void WindowSavePlace(const GuiWindow* window, const char* section) {
    if (!WindowInList(window) || !section) return;
    ConfigSetInt(section, "WIN_X", window->Left);
    ConfigSetInt(section, "WIN_Y", window->Top);
    ConfigSetOn(section, "Display", window->Open != 0);
}

} // namespace nemu
