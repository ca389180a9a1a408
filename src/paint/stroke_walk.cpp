// Stepping a stroke into dabs: the segment walker, the refresh queue, and the straight
// and curved strokes of the stepped pens.
//
// Index: refresh queue - step counter - WalkStroke - PaintLine - PaintCurve.
#include <algorithm>
#include <cstdlib>

#include "host/main_loop.h"
#include "paint/curve_split.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "store/bitmap.h"
#include "store/undo.h"

namespace nemu {

int32_t StepCount = 0;

// ---- Refresh queue ------------------------------------------------------------------------------

namespace {
struct PendingRefresh {
    RefreshFn Fn = nullptr;
    Bitmap* Target = nullptr;
    int64_t X0 = 0, Y0 = 0, X1 = 0, Y1 = 0; // exclusive right and bottom
    int32_t Count = 0;
};
PendingRefresh Pending;
} // namespace

void FlushRefresh() {
    if (!Pending.Count) return;
    Pending.Count = 0;
    Bitmap* page = Pending.Target ? Pending.Target : Page;
    if (!page || !Pending.Fn) return;
    int64_t x0 = std::max<int64_t>(Pending.X0, 0), y0 = std::max<int64_t>(Pending.Y0, 0);
    int64_t x1 = std::min<int64_t>(Pending.X1, page->Width), y1 = std::min<int64_t>(Pending.Y1, page->Height);
    if (x0 < x1 && y0 < y1) Pending.Fn(page, int32_t(x0), int32_t(y0), int32_t(x1 - x0), int32_t(y1 - y0));
}

namespace {
void QueueRefreshOn(Bitmap* page, RefreshFn fn, int64_t x, int64_t y, int64_t w, int64_t h) {
    if (!fn || w <= 0 || h <= 0) return;
    if (Pending.Count && (Pending.Fn != fn || Pending.Target != page)) FlushRefresh();
    if (!Pending.Count) {
        Pending.Fn = fn, Pending.Target = page;
        Pending.X0 = x, Pending.Y0 = y, Pending.X1 = x + w, Pending.Y1 = y + h;
    } else {
        Pending.X0 = std::min(Pending.X0, x), Pending.Y0 = std::min(Pending.Y0, y);
        Pending.X1 = std::max(Pending.X1, x + w), Pending.Y1 = std::max(Pending.Y1, y + h);
    }
    if (++Pending.Count >= 32) FlushRefresh();
}
} // namespace

void QueueRefresh(RefreshFn fn, int32_t x, int32_t y, int32_t w, int32_t h) {
    QueueRefreshOn(Page, fn, x, y, w, h);
}

void StampAndShow(Stamp* stamp, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t useBPen,
                  int32_t op) {
    if (!stamp || !page) return;
    SelectStamp(stamp, useBPen)(stamp, page, x, y, colour, useBPen, std::clamp(op, 0, 255));
    QueueRefreshOn(page, SelectRefresh(stamp, useBPen), x, y, stamp->Width, stamp->Height);
}

// ---- Step counter ----------------------------------------------------------------------------------

namespace {
// The counter after k more path pixels in which no dab is drawn (they lie off the page):
// each pixel counts down, and below zero a dab is due and the count starts at Step again.
void SkipSteps(int64_t k, int32_t step) {
    if (k <= 0) return;
    int64_t untilDab = std::max<int64_t>(StepCount, 0) + 1;
    if (k < untilDab) {
        StepCount -= int32_t(k);
        return;
    }
    StepCount = int32_t(step - (k - untilDab) % (int64_t(step) + 1));
}
} // namespace

// ---- WalkStroke ---------------------------------------------------------------------------------------

void WalkStroke(Stamp* stamp, int32_t x0, int32_t y0, int32_t x1, int32_t y1, Bitmap* page, uint32_t colour,
                int32_t useBPen, int32_t first, int32_t op0, int32_t op1) {
    if (first) StepCount = 0;
    op0 = std::clamp(op0, 0, 255), op1 = std::clamp(op1, 0, 255);
    if (AbortDrawing || !stamp || !page) return;
    const int32_t step = std::max(Step, 0);
    StampFn dab = SelectStamp(stamp, useBPen);
    RefreshFn refresh = SelectRefresh(stamp, useBPen);
    const int32_t sw = stamp->Width, sh = stamp->Height;

    if (x0 == x1 && y0 == y1) {
        if (--StepCount < 0 && first) {
            dab(stamp, page, x0, y0, colour, useBPen, op0);
            QueueRefreshOn(page, refresh, x0, y0, sw, sh);
            StepCount = step;
        }
        FlushRefresh();
        return;
    }

    // The line is walked by its major axis; the minor coordinate of pixel i is the nearest
    // to the ideal line, which is what the error loop of Bresenham gives.
    const int64_t dx = int64_t(x1) - x0, dy = int64_t(y1) - y0;
    const bool xMajor = std::llabs(dx) >= std::llabs(dy);
    const int64_t major = xMajor ? std::llabs(dx) : std::llabs(dy),
                  minor = xMajor ? std::llabs(dy) : std::llabs(dx);
    const int64_t majorStart = xMajor ? x0 : y0, minorStart = xMajor ? y0 : x0;
    const int64_t majorSign = (xMajor ? dx : dy) < 0 ? -1 : 1, minorSign = (xMajor ? dy : dx) < 0 ? -1 : 1;
    const int64_t n = major + 1;
    const int64_t opStep = (int64_t(op1 - op0) << 16) / n;

    // Only pixels whose dab can touch the page are walked; the rest just count down.
    const int64_t lo = -int64_t(xMajor ? sw : sh) + 1, hi = int64_t(xMajor ? page->Width : page->Height) - 1;
    int64_t iLo = majorSign > 0 ? lo - majorStart : majorStart - hi;
    int64_t iHi = majorSign > 0 ? hi - majorStart : majorStart - lo;
    const int64_t counted = first ? 0 : 1;
    iLo = std::max(iLo, counted), iHi = std::min(iHi, n - 1);
    if (iLo > iHi) {
        SkipSteps(n - counted, step);
        FlushRefresh();
        return;
    }
    SkipSteps(iLo - counted, step);

    int64_t boxX0 = 0, boxY0 = 0, boxX1 = 0, boxY1 = 0;
    bool boxOpen = false, stamped = false;
    auto flushBox = [&]() {
        if (boxOpen && stamped)
            QueueRefreshOn(page, refresh, boxX0 - 2, boxY0 - 2, boxX1 - boxX0 + sw + 4,
                           boxY1 - boxY0 + sh + 4);
        boxOpen = stamped = false;
    };
    for (int64_t i = iLo; i <= iHi; ++i) {
        int64_t a = majorStart + majorSign * i;
        int64_t b = minorStart + minorSign * ((2 * i * minor + major) / (2 * major));
        int64_t px = xMajor ? a : b, py = xMajor ? b : a;
        if (!boxOpen) boxX0 = boxX1 = px, boxY0 = boxY1 = py, boxOpen = true;
        boxX0 = std::min(boxX0, px), boxX1 = std::max(boxX1, px);
        boxY0 = std::min(boxY0, py), boxY1 = std::max(boxY1, py);
        if (--StepCount < 0) {
            int32_t op = std::max<int32_t>(0, int32_t(op0 + ((i * opStep) >> 16)));
            dab(stamp, page, int32_t(px), int32_t(py), colour, useBPen, op);
            stamped = true;
            StepCount = step;
        }
        if (((i + 1) & 31) == 0) flushBox();
        if (AbortDrawing) break;
    }
    flushBox();
    SkipSteps(n - 1 - iHi, step);
    FlushRefresh();
}

// ---- PaintLine -------------------------------------------------------------------------------------------

int PaintLine(Stamp* stamp, int32_t fx0, int32_t fy0, int32_t fx1, int32_t fy1, uint32_t colour,
              int32_t useBPen, int32_t first, int32_t size0, int32_t size1, int32_t op0, int32_t op1) {
    if (!stamp) return -1;
    if (stamp == CurrentStamp &&
        !PaintRoundStroke(fx0, fy0, fx1, fy1, colour, useBPen, first, size0, size1, op0, op1))
        return 0;
    int32_t x0 = fx0 >> 16, y0 = fy0 >> 16, x1 = fx1 >> 16, y1 = fy1 >> 16;
    WalkStroke(stamp, x0, y0, x1, y1, Page, colour, useBPen, first, op0, op1);
    AddDirty(std::min(x0, x1), std::min(y0, y1), std::max(x0, x1) + stamp->Width,
             std::max(y0, y1) + stamp->Height);
    MarkPageChanged();
    return 0;
}

// ---- PaintCurve -------------------------------------------------------------------------------------------

namespace {
struct CurvePiece {
    int64_t P[6];
    int32_t Op[3];
};

template <class F> void Flatten(const CurvePiece& c, int depth, F& piece) {
    if (depth >= MaxCurveSplitDepth || CurveFlatEnough(c.P)) {
        piece(c);
        return;
    }
    CurvePiece a, b;
    SplitThree(c.P, a.P, b.P, 2);
    SplitThree(c.Op, a.Op, b.Op);
    Flatten(a, depth + 1, piece);
    Flatten(b, depth + 1, piece);
}

inline int32_t Pixel(int64_t v) {
    return int32_t(std::clamp<int64_t>(v >> 8, INT32_MIN / 2, INT32_MAX / 2));
}
} // namespace

int PaintCurve(Stamp* stamp, const int32_t p[6], uint32_t colour, int32_t useBPen, int32_t first,
               const int32_t size[3], const int32_t op[3]) {
    if (!stamp) return -1;
    if (stamp == CurrentStamp && (stamp->Kind == 1 || Pen == PenPointe) &&
        !PaintRoundCurve(p, colour, useBPen, first, size, op))
        return 0;
    CurvePiece whole;
    for (int k = 0; k < 6; ++k) whole.P[k] = p[k];
    for (int k = 0; k < 3; ++k) whole.Op[k] = op[k];
    bool isFirst = first != 0;
    auto piece = [&](const CurvePiece& c) {
        int32_t x0 = Pixel(c.P[0]), y0 = Pixel(c.P[1]), x1 = Pixel(c.P[4]), y1 = Pixel(c.P[5]);
        AddDirty(std::min(x0, x1) - 1, std::min(y0, y1) - 1, std::max(x0, x1) + stamp->Width + 1,
                 std::max(y0, y1) + stamp->Height + 1);
        MarkPageChanged();
        WalkStroke(stamp, x0, y0, x1, y1, Page, colour, useBPen, isFirst, c.Op[0], c.Op[2]);
        isFirst = false;
    };
    Flatten(whole, 0, piece);
    return 0;
}

} // namespace nemu
