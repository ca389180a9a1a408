// The zoom window's view: state, the shown part of the page, and the pointer's mapping
// through it. The pixels are zoom_render.cpp's.
#include "host/zoom.h"

#include "host/main_loop.h"
#include "ui/window.h"

#include <algorithm>

namespace nemu {

GuiWindow* ZoomWindow = nullptr;
int32_t ZoomOn = 0;
int32_t ZoomClosing = 0;
int32_t ZoomCaptured = 0;
int32_t ZoomLeft = 0, ZoomTop = 0;
int32_t ZoomWidth = 0, ZoomHeight = 0;
int32_t ZoomOffsetX = 0, ZoomOffsetY = 0;
int32_t ZoomFactor = ZoomDefaultFactor;
int32_t ZoomInsetX = 4, ZoomInsetY = 19;
int32_t ZoomAreaW = 0, ZoomAreaH = 0;
void (*ZoomShowHook)(int32_t x, int32_t y, int32_t w, int32_t h) = nullptr;

// ---- The view ------------------------------------------------------------------------------------------

int32_t ZoomClampFactor(int32_t factor) {
    if (factor >= -1 && factor <= 1) return 1;
    return std::clamp(factor, ZoomMinFactor, ZoomMaxFactor);
}

int32_t ZoomPagePixelsIn(int32_t area, int32_t factor) {
    if (area <= 0) return 0;
    // A partly shown block at the far edge counts: it is drawn, clipped.
    return factor > 0 ? (area + factor - 1) / factor : area * -factor;
}

// Page pixels that fill the area whole, which bounds how far the view may go.
static int32_t FullPixelsIn(int32_t area, int32_t factor) {
    if (area <= 0) return 0;
    return factor > 0 ? area / factor : area * -factor;
}

// One axis: the corner clamped so the area stays on the page, the count shown, and the
// offset that centres a page smaller than the area.
static void FitViewAxis(int32_t area, int32_t page, int32_t factor, int32_t* corner, int32_t* shown,
                        int32_t* offset) {
    int32_t full = FullPixelsIn(area, factor);
    *corner = std::clamp(*corner, 0, std::max(0, page - full));
    *shown = std::min(page - *corner, ZoomPagePixelsIn(area, factor));
    if (*shown < 0) *shown = 0;
    int32_t drawn = factor > 0 ? *shown * factor : (*shown + -factor - 1) / -factor;
    *offset = *corner == 0 && drawn < area ? (area - drawn) / 2 : 0;
}

// The page size the view was fitted to: a refresh after the page changed size fits again.
int32_t ZoomFittedWidth = 0, ZoomFittedHeight = 0;

void ZoomSetView(int32_t factor, int32_t left, int32_t top) {
    ZoomFittedWidth = PageWidth, ZoomFittedHeight = PageHeight;
    ZoomFactor = ZoomClampFactor(factor);
    ZoomLeft = left;
    ZoomTop = top;
    FitViewAxis(ZoomAreaW, PageWidth, ZoomFactor, &ZoomLeft, &ZoomWidth, &ZoomOffsetX);
    FitViewAxis(ZoomAreaH, PageHeight, ZoomFactor, &ZoomTop, &ZoomHeight, &ZoomOffsetY);
}

int ZoomCenterOn(int32_t px, int32_t py) {
    int32_t oldLeft = ZoomLeft, oldTop = ZoomTop;
    ZoomSetView(ZoomFactor, px - FullPixelsIn(ZoomAreaW, ZoomFactor) / 2,
                py - FullPixelsIn(ZoomAreaH, ZoomFactor) / 2);
    return ZoomLeft != oldLeft || ZoomTop != oldTop;
}

// ---- Mapping -----------------------------------------------------------------------------------------------

// The window may have been deleted under the zoom's feet: look for it in the list.
bool ZoomShown() {
    if (!ZoomOn || !ZoomWindow) return false;
    for (const GuiWindow* w = WindowListHead; w; w = w->Next)
        if (w == ZoomWindow) return w->Open != 0;
    return false;
}

static bool ZoomMaps() {
    return !ZoomClosing && ZoomShown();
}

bool ZoomHolds(int32_t x, int32_t y) {
    if (!ZoomMaps()) return false;
    int32_t ax = ZoomWindow->Left + ZoomInsetX, ay = ZoomWindow->Top + ZoomInsetY;
    return x >= ax && y >= ay && x < ax + ZoomAreaW && y < ay + ZoomAreaH;
}

// One axis of the mapping, in 16.16: the screen position less the picture's origin,
// divided by the factor (or multiplied by the reduction), plus the view's corner.
static int32_t MapAxis(int32_t f, int32_t origin, int32_t corner) {
    int64_t rel = int64_t(f) - int64_t(origin) * 65536;
    int64_t page = ZoomFactor > 0 ? rel / ZoomFactor : rel * -ZoomFactor;
    page += int64_t(corner) * 65536;
    return int32_t(std::clamp<int64_t>(page, INT32_MIN, INT32_MAX));
}

int ZoomScreenToPage(int32_t fx, int32_t fy, int32_t* px, int32_t* py) {
    if (!ZoomMaps()) return 0;
    if (!ZoomCaptured && !ZoomHolds(fx >> 16, fy >> 16)) return 0;
    *px = MapAxis(fx, ZoomWindow->Left + ZoomInsetX + ZoomOffsetX, ZoomLeft);
    *py = MapAxis(fy, ZoomWindow->Top + ZoomInsetY + ZoomOffsetY, ZoomTop);
    return 1;
}

void ZoomTrackButton(int32_t edge, int32_t x, int32_t y) {
    if (edge > 0) {
        if (ZoomHolds(x, y)) ZoomCaptured = 1;
    } else if (edge < 0) {
        // Every release ends the capture: a pointer that leaves the zoom after a stroke
        // inside it is back on the page.
        ZoomCaptured = 0;
    }
}

void ZoomFollow(int32_t px, int32_t py) {
    if (!ZoomAutoCenter || !ZoomMaps() || ZoomCaptured || ZoomHolds(WindowPointerX, WindowPointerY)) return;
    if (ZoomCenterOn(px, py)) ZoomRedraw();
}

} // namespace nemu
