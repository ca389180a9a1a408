// The zoom's pixels: a page rectangle composed by the screen's rules, then scaled onto the
// window's surface, by replication when magnifying and by sampling when reducing.
//
// Sections: scratch rows; the plain reference; the fast kernel; refresh and redraw; the
// navigator's frame.
//
// Surface column c shows page column ZoomLeft + (c - o) / f for a factor f > 0 and
// ZoomLeft + (c - o) * n for a factor -n, where o = ZoomInsetX + ZoomOffsetX; rows alike.
// Both kernels compose every page pixel with the same call of ComposeRows, at its own page
// position, so the check-board stays anchored on the page and both give the same bytes.
#include "host/zoom.h"

#include "host/main_loop.h"
#include "host/screen.h"
#include "store/bitmap.h"
#include "ui/window.h"

#include <algorithm>
#include <cstring>

namespace nemu {

int32_t ZoomMarkLeft = 0, ZoomMarkTop = 0, ZoomMarkWidth = 0, ZoomMarkHeight = 0;
constexpr uint32_t ZoomSurroundColour = 0xFF5A5A5A; // until the screen gives its own

// ---- Scratch rows ----------------------------------------------------------------------------------------

static Bitmap* ZoomRows = nullptr; // composed page rows, StripRows high
static Bitmap* ZoomOnePixel = nullptr;

void ZoomFreeBuffers() {
    FreeBitmap(ZoomRows);
    FreeBitmap(ZoomOnePixel);
    ZoomRows = ZoomOnePixel = nullptr;
}

static Bitmap* EnsureRows(int32_t width) {
    if (ZoomRows && ZoomRows->Width >= width) return ZoomRows;
    Bitmap* made = NewBitmap(std::max(width, PageWidth), StripRows);
    if (!made) return nullptr;
    FreeBitmap(ZoomRows);
    ZoomRows = made;
    return made;
}

// ---- The view's geometry for one refresh -----------------------------------------------------------------

// The page rectangle clipped to the shown part, and the surface span it covers, clipped to
// the area and the target.
struct ZoomSpan {
    int32_t X0, X1, Y0, Y1;     // page, half-open
    int32_t C0, C1, R0, R1;     // surface, half-open
    int32_t OriginX, OriginY;   // surface position of page pixel (ZoomLeft, ZoomTop)
};

// First surface index whose page pixel is at or after page index p (relative to the corner).
static int32_t FirstCell(int32_t p) {
    if (ZoomFactor > 0) return p * ZoomFactor;
    int32_t n = -ZoomFactor;
    return (p + n - 1) / n;
}

static bool SpanOf(int32_t px, int32_t py, int32_t w, int32_t h, const Bitmap* target, ZoomSpan* s) {
    s->X0 = std::max(px, ZoomLeft), s->X1 = std::min(px + w, ZoomLeft + ZoomWidth);
    s->Y0 = std::max(py, ZoomTop), s->Y1 = std::min(py + h, ZoomTop + ZoomHeight);
    if (s->X0 >= s->X1 || s->Y0 >= s->Y1) return false;
    s->OriginX = ZoomInsetX + ZoomOffsetX, s->OriginY = ZoomInsetY + ZoomOffsetY;
    int32_t areaR = std::min(ZoomInsetX + ZoomAreaW, target->Width);
    int32_t areaB = std::min(ZoomInsetY + ZoomAreaH, target->Height);
    s->C0 = std::max(s->OriginX + FirstCell(s->X0 - ZoomLeft), std::max(ZoomInsetX, 0));
    s->C1 = std::min(s->OriginX + FirstCell(s->X1 - ZoomLeft), areaR);
    s->R0 = std::max(s->OriginY + FirstCell(s->Y0 - ZoomTop), std::max(ZoomInsetY, 0));
    s->R1 = std::min(s->OriginY + FirstCell(s->Y1 - ZoomTop), areaB);
    return s->C0 < s->C1 && s->R0 < s->R1;
}

static int32_t PageAtCell(int32_t cell, int32_t origin, int32_t corner) {
    return ZoomFactor > 0 ? corner + (cell - origin) / ZoomFactor : corner + (cell - origin) * -ZoomFactor;
}

static ZoomRect RectOf(const ZoomSpan& s) {
    return ZoomRect{s.C0, s.R0, s.C1 - s.C0, s.R1 - s.R0};
}

// ---- The plain reference ------------------------------------------------------------------------------------

ZoomRect ZoomRenderPlain(const Bitmap* bitmap, int32_t sx, int32_t sy, int32_t px, int32_t py, int32_t w,
                         int32_t h, Bitmap* target) {
    ZoomSpan s;
    if (!bitmap || !target || !SpanOf(px, py, w, h, target, &s)) return ZoomRect{0, 0, 0, 0};
    if (!ZoomOnePixel && !(ZoomOnePixel = NewBitmap(1, 1))) return ZoomRect{0, 0, 0, 0};
    for (int32_t r = s.R0; r < s.R1; r++) {
        int32_t y = PageAtCell(r, s.OriginY, ZoomTop);
        for (int32_t c = s.C0; c < s.C1; c++) {
            int32_t x = PageAtCell(c, s.OriginX, ZoomLeft);
            ComposeRows(bitmap, sx + x - px, sy + y - py, x, y, 1, 1, ZoomOnePixel);
            target->Pixels[size_t(r) * target->Width + c] = ZoomOnePixel->Pixels[0];
        }
    }
    return RectOf(s);
}

// ---- The fast kernel ------------------------------------------------------------------------------------------

// Magnified: each composed page row is spread across once, then copied down its block.
static void RenderReplicated(const Bitmap* bitmap, int32_t sx, int32_t sy, int32_t px, int32_t py,
                             const ZoomSpan& s, Bitmap* target) {
    const int32_t f = ZoomFactor;
    const int32_t firstX = PageAtCell(s.C0, s.OriginX, ZoomLeft);
    const int32_t lastX = PageAtCell(s.C1 - 1, s.OriginX, ZoomLeft);
    const int32_t firstY = PageAtCell(s.R0, s.OriginY, ZoomTop);
    const int32_t lastY = PageAtCell(s.R1 - 1, s.OriginY, ZoomTop);
    const int32_t cols = lastX - firstX + 1;
    Bitmap* rows = EnsureRows(cols);
    if (!rows) return;
    for (int32_t y0 = firstY; y0 <= lastY; y0 += StripRows) {
        int32_t n = std::min(StripRows, lastY - y0 + 1);
        ComposeRows(bitmap, sx + firstX - px, sy + y0 - py, firstX, y0, cols, n, rows);
        for (int32_t j = 0; j < n; j++) {
            int32_t y = y0 + j;
            int32_t top = std::max(s.R0, s.OriginY + (y - ZoomTop) * f);
            int32_t bottom = std::min(s.R1, s.OriginY + (y - ZoomTop + 1) * f);
            const uint32_t* src = rows->Pixels + size_t(j) * rows->Width;
            uint32_t* out = target->Pixels + size_t(top) * target->Width;
            for (int32_t c = s.C0; c < s.C1;) {
                int32_t i = PageAtCell(c, s.OriginX, ZoomLeft) - firstX;
                int32_t end = std::min(s.C1, s.OriginX + (i + firstX - ZoomLeft + 1) * f);
                std::fill(out + c, out + end, src[i]);
                c = end;
            }
            for (int32_t r = top + 1; r < bottom; r++)
                std::memcpy(target->Pixels + size_t(r) * target->Width + s.C0, out + s.C0,
                            size_t(s.C1 - s.C0) * 4);
        }
    }
}

// Reduced: each shown row composes the page run it samples, and keeps every n-th pixel.
static void RenderSampled(const Bitmap* bitmap, int32_t sx, int32_t sy, int32_t px, int32_t py, const ZoomSpan& s,
                          Bitmap* target) {
    const int32_t n = -ZoomFactor;
    const int32_t firstX = PageAtCell(s.C0, s.OriginX, ZoomLeft);
    const int32_t cols = (s.C1 - s.C0 - 1) * n + 1;
    Bitmap* rows = EnsureRows(cols);
    if (!rows) return;
    for (int32_t r = s.R0; r < s.R1; r++) {
        int32_t y = PageAtCell(r, s.OriginY, ZoomTop);
        ComposeRows(bitmap, sx + firstX - px, sy + y - py, firstX, y, cols, 1, rows);
        uint32_t* out = target->Pixels + size_t(r) * target->Width;
        for (int32_t c = s.C0, i = 0; c < s.C1; c++, i += n) out[c] = rows->Pixels[i];
    }
}

ZoomRect ZoomRender(const Bitmap* bitmap, int32_t sx, int32_t sy, int32_t px, int32_t py, int32_t w, int32_t h,
                    Bitmap* target) {
    ZoomSpan s;
    if (!bitmap || !target || !SpanOf(px, py, w, h, target, &s)) return ZoomRect{0, 0, 0, 0};
    if (ZoomFactor > 0)
        RenderReplicated(bitmap, sx, sy, px, py, s, target);
    else
        RenderSampled(bitmap, sx, sy, px, py, s, target);
    return RectOf(s);
}

// ---- Refresh and redraw ----------------------------------------------------------------------------------------

static void DrawMark(Bitmap* surface, ZoomRect clip);

void ZoomRefreshPage(const Bitmap* bitmap, int32_t sx, int32_t sy, int32_t px, int32_t py, int32_t w, int32_t h) {
    if (!ZoomShown() || !ZoomWindow->Surface) return;
    if (ZoomFittedWidth != PageWidth || ZoomFittedHeight != PageHeight) return ZoomRedraw();
    ZoomRect done = ZoomRender(bitmap, sx, sy, px, py, w, h, ZoomWindow->Surface);
    if (done.W < 1 || done.H < 1) return;
    DrawMark(ZoomWindow->Surface, done);
    if (ZoomShowHook) ZoomShowHook(done.X, done.Y, done.W, done.H);
}

void ZoomRedraw() {
    if (!ZoomShown() || !ZoomWindow->Surface) return;
    Bitmap* surface = ZoomWindow->Surface;
    int32_t x0 = std::max(ZoomInsetX, 0), y0 = std::max(ZoomInsetY, 0);
    int32_t x1 = std::min(ZoomInsetX + ZoomAreaW, surface->Width);
    int32_t y1 = std::min(ZoomInsetY + ZoomAreaH, surface->Height);
    if (x0 >= x1 || y0 >= y1) return;
    uint32_t fill = Screen ? Screen->FillColour : ZoomSurroundColour;
    for (int32_t r = y0; r < y1; r++) {
        uint32_t* row = surface->Pixels + size_t(r) * surface->Width;
        std::fill(row + x0, row + x1, fill);
    }
    ZoomSetView(ZoomFactor, ZoomLeft, ZoomTop); // the page may have changed size
    if (Page && !PageNotReady) ZoomRender(Page, ZoomLeft, ZoomTop, ZoomLeft, ZoomTop, ZoomWidth, ZoomHeight, surface);
    DrawMark(surface, ZoomRect{x0, y0, x1 - x0, y1 - y0});
    if (ZoomShowHook) ZoomShowHook(x0, y0, x1 - x0, y1 - y0);
}

// ---- The navigator's frame ---------------------------------------------------------------------------------------

// The outline of the magnified view's page rectangle, in surface pixels, drawn only where
// it falls inside clip (the part just rendered), so a refresh never leaves a hole in it.
static void DrawMark(Bitmap* surface, ZoomRect clip) {
    if (ZoomFactor >= 0 || ZoomMarkWidth < 1 || ZoomMarkHeight < 1) return;
    int32_t n = -ZoomFactor;
    int32_t ox = ZoomInsetX + ZoomOffsetX, oy = ZoomInsetY + ZoomOffsetY;
    int32_t l = ox + (ZoomMarkLeft - ZoomLeft) / n, t = oy + (ZoomMarkTop - ZoomTop) / n;
    int32_t r = ox + (ZoomMarkLeft + ZoomMarkWidth - 1 - ZoomLeft) / n;
    int32_t b = oy + (ZoomMarkTop + ZoomMarkHeight - 1 - ZoomTop) / n;
    int32_t cx0 = std::max({clip.X, ZoomInsetX, 0}), cy0 = std::max({clip.Y, ZoomInsetY, 0});
    int32_t cx1 = std::min({clip.X + clip.W, ZoomInsetX + ZoomAreaW, surface->Width});
    int32_t cy1 = std::min({clip.Y + clip.H, ZoomInsetY + ZoomAreaH, surface->Height});
    auto put = [&](int32_t x, int32_t y) {
        if (x >= cx0 && x < cx1 && y >= cy0 && y < cy1)
            surface->Pixels[size_t(y) * surface->Width + x] = ZoomMarkColour;
    };
    for (int32_t x = std::max(l, cx0); x <= std::min(r, cx1 - 1); x++) put(x, t), put(x, b);
    for (int32_t y = std::max(t, cy0); y <= std::min(b, cy1 - 1); y++) put(l, y), put(r, y);
}

} // namespace nemu
