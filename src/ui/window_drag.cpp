// Moving and resizing windows with the pointer: the drag bar's drag (opaque for small
// windows, an outline for large ones), the magnet that snaps edges together, and the
// edges and corners of resizable windows.
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "store/bitmap.h"
#include "ui/gadget.h"
#include "ui/ui_scale.h"

#include <algorithm>
#include <cstdlib>

namespace nemu {

// Layout units: how near an edge snaps, how much two windows must overlap to snap side by
// side, the resize edges and corner limbs.
constexpr int32_t SnapDistance = 3, SnapOverlap = 5, EdgeWidth = 3, CornerLimb = 10;
// A press with fewer moves than this is a click: it raises the window.
constexpr int ClickSteps = 5;

// ---- The outline ------------------------------------------------------------------------------------

static void FrameStrip(int x, int y, int w, int h, uint32_t colour) {
    if (!Screen || w < 1 || h < 1) return;
    static uint32_t row[4096];
    int cw = std::min(w, 4096);
    std::fill(row, row + cw, colour);
    Bitmap strip;
    InitBitmap(&strip, cw, 1, row);
    for (int j = 0; j < h; j++) BlitToScreen(&strip, 0, 0, Screen, x, y + j, cw, 1);
}

void DrawDragFrame(int32_t x, int32_t y, int32_t w, int32_t h) {
    // A dark line outside a light one shows on any picture.
    FrameStrip(x, y, w, 1, 0xFF000000);
    FrameStrip(x, y + h - 1, w, 1, 0xFF000000);
    FrameStrip(x, y, 1, h, 0xFF000000);
    FrameStrip(x + w - 1, y, 1, h, 0xFF000000);
    FrameStrip(x + 1, y + 1, w - 2, 1, 0xFFFFFFFF);
    FrameStrip(x + 1, y + h - 2, w - 2, 1, 0xFFFFFFFF);
    FrameStrip(x + 1, y + 1, 1, h - 2, 0xFFFFFFFF);
    FrameStrip(x + w - 2, y + 1, 1, h - 2, 0xFFFFFFFF);
    PlatformFlush();
}

void EraseDragFrame(int32_t x, int32_t y, int32_t w, int32_t h) {
    RepaintScreenRect(x, y, w, 2);
    RepaintScreenRect(x, y + h - 2, w, 2);
    RepaintScreenRect(x, y, 2, h);
    RepaintScreenRect(x + w - 2, y, 2, h);
}

// ---- Snapping ------------------------------------------------------------------------------------------

// One axis: the window spans [pos, pos + size); others' spans are offered as edges.
struct AxisSnap {
    int32_t Best;
    int32_t Result;
    void Offer(int32_t edge, int32_t mine, int32_t pos, bool orEqual) {
        int32_t d = std::abs(edge - mine);
        if (d < Best || (orEqual && d == Best)) {
            Best = d;
            Result = pos + (edge - mine);
        }
    }
};

void WindowSnap(GuiWindow* window, int32_t* x, int32_t* y) {
    if (!window || !WindowMagnet || ModalWindow || !Screen) return;
    int32_t W = int32_t(window->Width), H = int32_t(window->Height);
    int32_t ax = WorkAreaX, ay = WorkAreaY, aw = WorkAreaW, ah = WorkAreaH;
    if (aw <= 0 || ah <= 0) ax = 0, ay = 0, aw = Screen->Width, ah = Screen->Height;
    AxisSnap sx{UiPx(SnapDistance), *x}, sy{UiPx(SnapDistance), *y};
    // The work area's edges win only when strictly nearer.
    sx.Offer(ax, *x, *x, false);
    sx.Offer(ax + aw, *x + W, *x, false);
    sy.Offer(ay, *y, *y, false);
    sy.Offer(ay + ah, *y + H, *y, false);
    int32_t tol = UiPx(SnapOverlap);
    for (GuiWindow* o = WindowListHead; o; o = o->Next) {
        if (o == window || !o->Open || o == HelpBubbleWindow) continue;
        // Side by side only when they overlap along the other axis.
        if (o->Top - tol < *y + H && o->Bottom + tol > *y) {
            sx.Offer(o->Right, *x, *x, true);
            sx.Offer(o->Left, *x, *x, true);
            sx.Offer(o->Left, *x + W, *x, true);
            sx.Offer(o->Right, *x + W, *x, true);
        }
        if (o->Left - tol < *x + W && o->Right + tol > *x) {
            sy.Offer(o->Bottom, *y, *y, true);
            sy.Offer(o->Top, *y, *y, true);
            sy.Offer(o->Top, *y + H, *y, true);
            sy.Offer(o->Bottom, *y + H, *y, true);
        }
    }
    *x = sx.Result;
    *y = sy.Result;
}

// ---- The drag bar
// -------------------------------------------------------------------------------------------

static void PointerInScreen(int* x, int* y) {
    int w = Screen ? Screen->Width : 0, h = Screen ? Screen->Height : 0;
    *x = std::clamp(int(WindowPointerX), 0, std::max(0, w - 1));
    *y = std::clamp(int(WindowPointerY), 0, std::max(0, h - 1));
}

int WindowDrag(GuiWindow* window) {
    if (!WindowInList(window)) return 0;
    if (CtrlHeld) WindowToFront(window, 0);
    int px, py;
    PointerInScreen(&px, &py);
    int offX = px - window->Left, offY = py - window->Top;
    int W = int(window->Width), H = int(window->Height);
    bool opaque = int64_t(W) * H <= DragLimit;
    int x = window->Left, y = window->Top, steps = 0;
    const int startLeft = x, startTop = y;
    bool outline = false;
    for (;;) {
        int code = WaitEvent(1);
        if (!WindowInList(window)) return 0;
        if (code == 4 && EventKeyLength == 1 && EventKeyText[0] == 'g' && !KeyIsRelease(EventKeyCode)) {
            // The panel picked up as a brush, pixel for pixel.
            if (outline) EraseDragFrame(x, y, W, H);
            if (WindowToBrushHook) WindowToBrushHook(window->Surface);
            return 0;
        }
        // The position the event left comes first: a release may arrive together with
        // the last moves.
        PointerInScreen(&px, &py);
        int nx = px - offX, ny = py - offY;
        WindowSnap(window, &nx, &ny);
        if (window->OnMove) window->OnMove(window, &nx, &ny);
        if (!WindowInList(window)) return 0;
        if (nx != x || ny != y) {
            if (opaque) {
                WindowMove(window, nx, ny);
                x = window->Left, y = window->Top;
            } else {
                if (outline) EraseDragFrame(x, y, W, H);
                x = nx, y = ny;
                DrawDragFrame(x, y, W, H);
                outline = true;
            }
            steps++;
        }
        if (code == -1 || !LeftHeld || QuitFlag) break;
    }
    if (outline) {
        EraseDragFrame(x, y, W, H);
        WindowMove(window, x, y);
    }
    // A click raises the window: few steps that took it hardly anywhere.
    int moved = std::abs(x - startLeft) + std::abs(y - startTop);
    if (steps < ClickSteps && moved < ClickSteps) WindowToFront(window, 0);
    return steps > 0;
}

// ---- Edges and resizing
// -------------------------------------------------------------------------------------

int WindowEdgeMask(const GuiWindow* window, int32_t x, int32_t y) {
    if (!window || !(window->Flags & WINDOW_RESIZABLE)) return 0;
    int W = int(window->Width), H = int(window->Height), e = UiPx(EdgeWidth), c = UiPx(CornerLimb);
    if (x < 0 || y < 0 || x >= W || y >= H) return 0;
    bool l = x < e, r = x >= W - e, t = y < e, b = y >= H - e;
    if (t || b) l = l || x < c, r = r || x >= W - c;
    if (l || r) t = t || y < c, b = b || y >= H - c;
    return (l ? EDGE_LEFT : 0) | (r ? EDGE_RIGHT : 0) | (t ? EDGE_TOP : 0) | (b ? EDGE_BOTTOM : 0);
}

uint32_t WindowPointerAt(GuiWindow* window, int32_t x, int32_t y) {
    static const struct {
        int Mask;
        uint32_t Shape;
    } Shapes[] = {{EDGE_LEFT | EDGE_TOP, POINTER_SIZE_NWSE},
                  {EDGE_RIGHT | EDGE_BOTTOM, POINTER_SIZE_NWSE},
                  {EDGE_RIGHT | EDGE_TOP, POINTER_SIZE_NESW},
                  {EDGE_LEFT | EDGE_BOTTOM, POINTER_SIZE_NESW},
                  {EDGE_LEFT, POINTER_SIZE_WE},
                  {EDGE_RIGHT, POINTER_SIZE_WE},
                  {EDGE_TOP, POINTER_SIZE_NS},
                  {EDGE_BOTTOM, POINTER_SIZE_NS}};
    int mask = WindowEdgeMask(window, x, y);
    for (const auto& s : Shapes)
        if (s.Mask == mask) return s.Shape;
    return window ? window->DefaultPointer : POINTER_NORMAL;
}

int32_t WindowEdgePress(GuiWindow* window, int32_t x, int32_t y) {
    int mask = WindowEdgeMask(window, x, y);
    if (!mask) return 0;
    WindowResizeDrag(window, mask);
    return 1;
}

int WindowResize(GuiWindow* window, int32_t w, int32_t h) {
    if (!WindowInList(window)) return 0;
    w = std::max(w, window->MinWidth);
    h = std::max(h, window->MinHeight);
    if (w == int32_t(window->Width) && h == int32_t(window->Height)) return 1;
    Bitmap* surface = NewBitmap(w, h);
    if (!surface) return 0;
    int ox = window->Left, oy = window->Top, ow = int(window->Width), oh = int(window->Height);
    FreeBitmap(window->Surface);
    window->Surface = surface;
    window->Width = uint32_t(w);
    window->Height = uint32_t(h);
    window->Right = window->Left + w;
    window->Bottom = window->Top + h;
    window->LayoutWidth = UiUnit(w);
    window->LayoutHeight = UiUnit(h);
    window->ClipWidth = w - 2 * window->ClipLeft;
    window->ClipHeight = h - 2 * window->ClipTop;
    WindowDrawFrame(window);
    WindowLayoutRows(window);
    WindowDrawRows(window);
    if (window->Open) {
        RestoreBehind(window, ox, oy, ow, oh);
        WindowRefresh(window);
    }
    return 1;
}

void WindowResizeDrag(GuiWindow* window, int mask) {
    if (!WindowInList(window) || !mask) return;
    int px, py;
    PointerInScreen(&px, &py);
    const int l0 = window->Left, t0 = window->Top, r0 = window->Right, b0 = window->Bottom;
    int x = l0, y = t0, w = r0 - l0, h = b0 - t0;
    bool changed = false, outline = false;
    int startX = px, startY = py;
    for (;;) {
        int code = WaitEvent(1);
        if (!WindowInList(window)) return;
        if (code == -1 || !LeftHeld || QuitFlag) break;
        PointerInScreen(&px, &py);
        int dx = px - startX, dy = py - startY;
        int l = l0, t = t0, r = r0, b = b0;
        if (mask & EDGE_LEFT) l = std::min(l0 + dx, r0 - window->MinWidth);
        if (mask & EDGE_RIGHT) r = std::max(r0 + dx, l0 + window->MinWidth);
        if (mask & EDGE_TOP) t = std::min(t0 + dy, b0 - window->MinHeight);
        if (mask & EDGE_BOTTOM) b = std::max(b0 + dy, t0 + window->MinHeight);
        if (l == x && t == y && r - l == w && b - t == h) continue;
        if (outline) EraseDragFrame(x, y, w, h);
        x = l, y = t, w = r - l, h = b - t;
        changed = true;
        if (window->OnResize) {
            int phase = int64_t(w) * h > DragLimit ? 2 : 1;
            GuiWindow* now = window->OnResize(window, &x, &y, &w, &h, phase);
            if (!now) return;
            window = now;
        }
        DrawDragFrame(x, y, w, h);
        outline = true;
    }
    if (outline) EraseDragFrame(x, y, w, h);
    if (!changed || !WindowInList(window)) return;
    if (window->OnResize) {
        window->OnResize(window, &x, &y, &w, &h, 0);
        return;
    }
    if (WindowResize(window, w, h)) WindowMove(window, x, y);
}

} // namespace nemu
