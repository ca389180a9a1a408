// Taking windows to the screen: a piece of a surface clipped by the windows above it, and
// the repainting of what lies behind a window that moved or closed. Both go through the
// screen's one walk around the window list.
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "store/bitmap.h"
#include "ui/window.h"

#include <algorithm>

namespace nemu {

static void SurfaceToScreen(int x, int y, int w, int h, void* user) {
    auto* window = static_cast<GuiWindow*>(user);
    int cx = std::max(x, 0), cy = std::max(y, 0);
    int cw = std::min(x + w, int(Screen->Width)) - cx, ch = std::min(y + h, int(Screen->Height)) - cy;
    if (cw < 1 || ch < 1) return;
    int sx = cx - window->Left, sy = cy - window->Top;
    if (window->OnExpose && window->OnExpose(window, sx, sy, cw, ch)) return;
    BlitToScreen(window->Surface, sx, sy, Screen, cx, cy, cw, ch);
}

void WindowRefreshRect(GuiWindow* window, int32_t x, int32_t y, int32_t w, int32_t h) {
    if (!Screen || DisplayHold > 0 || !WindowInList(window) || !window->Open || !window->Surface) return;
    ClipNegativeCorner(x, x, w);
    ClipNegativeCorner(y, y, h);
    w = std::min(w, int32_t(window->Width) - x);
    h = std::min(h, int32_t(window->Height) - y);
    if (w < 1 || h < 1) return;
    ScreenClipWalk(window->Left + x, window->Top + y, w, h, window->Next, SurfaceToScreen, window);
    PlatformFlush();
}

void WindowRefresh(GuiWindow* window) {
    if (window) WindowRefreshRect(window, 0, 0, int32_t(window->Width), int32_t(window->Height));
}

static void BackdropToScreen(int x, int y, int w, int h, void*) {
    int cx = std::max(x, 0), cy = std::max(y, 0);
    int cw = std::min({x + w, int(Screen->Width), int(Backdrop->Width)}) - cx;
    int ch = std::min({y + h, int(Screen->Height), int(Backdrop->Height)}) - cy;
    if (cw > 0 && ch > 0) BlitToScreen(Backdrop, cx, cy, Screen, cx, cy, cw, ch);
}

// What lies under every window: the backdrop picture, or the page and its surround.
static void PaintUnderWindows(int32_t x, int32_t y, int32_t w, int32_t h) {
    if (Backdrop) {
        ScreenClipWalk(x, y, w, h, WindowListHead, BackdropToScreen, nullptr);
        PlatformFlush();
    } else {
        RestoreScreenRect(x, y, w, h);
    }
}

static void RefreshWindowsUpTo(GuiWindow* last, int32_t x, int32_t y, int32_t w, int32_t h) {
    for (GuiWindow* win = WindowListHead; win; win = win->Next) {
        if (win->Open) {
            int l = std::max(x, win->Left), t = std::max(y, win->Top);
            int r = std::min(x + w, win->Right), b = std::min(y + h, win->Bottom);
            if (l < r && t < b) WindowRefreshRect(win, l - win->Left, t - win->Top, r - l, b - t);
        }
        if (win == last) break;
    }
}

void RestoreBehind(GuiWindow* window, int32_t x, int32_t y, int32_t w, int32_t h) {
    if (!Screen || w < 1 || h < 1) return;
    PaintUnderWindows(x, y, w, h);
    // The windows above this one were never covered; those below and itself are redrawn.
    RefreshWindowsUpTo(WindowInList(window) ? window : nullptr, x, y, w, h);
}

void RepaintScreenRect(int32_t x, int32_t y, int32_t w, int32_t h) {
    if (!Screen || w < 1 || h < 1) return;
    PaintUnderWindows(x, y, w, h);
    RefreshWindowsUpTo(nullptr, x, y, w, h);
}

} // namespace nemu
