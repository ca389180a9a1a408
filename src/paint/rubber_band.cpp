// Rubber bands: previews drawn on the screen only, never on the page. A preview pixel
// shows the inverse of the page pixel under it, and is erased by showing the page there
// again, so drawing twice or erasing twice leaves nothing behind.
//
// Sections: runs of pixels; lines; circles; the cross.
#include "host/main_loop.h"
#include "host/screen.h"
#include "paint/line_walk.h"
#include "paint/tools.h"

#include <cstdint>

namespace nemu {

// ---- Runs of pixels ------------------------------------------------------------------------------
// Erasing goes through the page's refresh, which costs a blit a call: neighbouring pixels
// of one row or one column are shown together.

namespace {
struct Run {
    int64_t X = 0, Y = 0, W = 0, H = 0; // W or H is 1, or both 0 when empty
    void Flush() {
        if (W > 0 && H > 0) RefreshPageRect(int32_t(X), int32_t(Y), int32_t(W), int32_t(H));
        W = H = 0;
    }
    void Add(int64_t x, int64_t y) {
        if (W > 0 && H == 1 && y == Y && (x == X + W || x == X - 1)) {
            X = std::min(X, x), W += 1;
            return;
        }
        if (W == 1 && H > 0 && x == X && (y == Y + H || y == Y - 1)) {
            Y = std::min(Y, y), H += 1;
            return;
        }
        Flush();
        X = x, Y = y, W = H = 1;
    }
};

void Invert(int64_t x, int64_t y) {
    ShowInverse(Screen, int(x), int(y));
}

// Only the page shows previews; the walk is bounded by it.
template <class F> void WalkOnPage(int32_t x0, int32_t y0, int32_t x1, int32_t y1, F&& visit) {
    WalkLinePixels(x0, y0, x1, y1, 0, 0, int64_t(PageWidth) - 1, int64_t(PageHeight) - 1, visit);
}
} // namespace

// ---- Lines ----------------------------------------------------------------------------------------

void DrawXorLine(int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
    if (!Screen) return;
    WalkOnPage(x0, y0, x1, y1, Invert);
}

void EraseXorLine(int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
    Run run;
    WalkOnPage(x0, y0, x1, y1, [&](int64_t x, int64_t y) { run.Add(x, y); });
    run.Flush();
}

// ---- Circles ------------------------------------------------------------------------------------------

namespace {
// The midpoint circle: each point of the eight octants, those on the page.
template <class F> void WalkCircle(int64_t cx, int64_t cy, int32_t r, F&& visit) {
    if (r < 0) return;
    auto put = [&](int64_t x, int64_t y) {
        if (x >= 0 && y >= 0 && x < PageWidth && y < PageHeight) visit(x, y);
    };
    int64_t x = r, y = 0, error = 1 - r;
    while (x >= y) {
        put(cx + x, cy + y), put(cx - x, cy + y), put(cx + x, cy - y), put(cx - x, cy - y);
        put(cx + y, cy + x), put(cx - y, cy + x), put(cx + y, cy - x), put(cx - y, cy - x);
        ++y;
        if (error < 0) {
            error += 2 * y + 1;
        } else {
            --x;
            error += 2 * (y - x) + 1;
        }
    }
}
} // namespace

void DrawXorCircle(int32_t cx, int32_t cy, int32_t r) {
    if (Screen) WalkCircle(cx, cy, r, Invert);
}

void EraseXorCircle(int32_t cx, int32_t cy, int32_t r) {
    WalkCircle(cx, cy, r, [](int64_t x, int64_t y) { RefreshPageRect(int32_t(x), int32_t(y), 1, 1); });
}

// ---- The cross --------------------------------------------------------------------------------------------

void DrawCrossGhost(int32_t x, int32_t y) {
    if (!Screen) return;
    if (x >= 0 && x < PageWidth)
        for (int32_t j = 0; j < PageHeight; ++j) Invert(x, j);
    if (y >= 0 && y < PageHeight)
        for (int32_t i = 0; i < PageWidth; ++i) Invert(i, y);
}

void EraseCrossGhost(int32_t x, int32_t y) {
    RefreshPageRect(x, 0, 1, PageHeight);
    RefreshPageRect(0, y, PageWidth, 1);
}

} // namespace nemu
