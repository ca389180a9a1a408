// Where the pointer may go: the Shift lock to an axis or a diagonal, and the grid.
#include "host/main_loop.h"
#include "paint/tools.h"

#include <algorithm>
#include <cstdlib>

namespace nemu {

int32_t LockAxis = 0;
int32_t LockFX = 0, LockFY = 0;
int32_t GridOn = 0;
int32_t GridStepX = 16, GridStepY = 16;
int32_t GridOriginX = 0, GridOriginY = 0;

// ---- Shift lock ---------------------------------------------------------------------------------------

namespace {
enum Axis : int32_t { AXIS_FREE = 0, AXIS_UNDECIDED = 1, AXIS_X = 2, AXIS_Y = 3, AXIS_DOWN = 4, AXIS_UP = 5 };

// Which way a move of (dx, dy) pixels from the lock point goes. Inside the square of 16
// pixels nothing is decided; then the slope picks the nearest of the eight directions,
// the borders lying at tan(22.5) = 0.414 and tan(67.5) = 2.414.
int32_t DecideAxis(int64_t dx, int64_t dy) {
    const int64_t ax = std::llabs(dx), ay = std::llabs(dy);
    if (ax < 16 && ay < 16) return AXIS_UNDECIDED;
    if (ay * 1000 < ax * 414) return AXIS_X;
    if (dx == 0 || ay * 1000 >= ax * 2414) return AXIS_Y;
    return (dx < 0) == (dy < 0) ? AXIS_DOWN : AXIS_UP;
}

int32_t Fit(int64_t v) {
    return int32_t(std::clamp<int64_t>(v, INT32_MIN, INT32_MAX));
}

void ApplyAxis(int32_t axis, int32_t fx, int32_t fy) {
    const int64_t dx = int64_t(PointerFX) - fx;
    switch (axis) {
    case AXIS_X:
        PointerFY = fy;
        break;
    case AXIS_Y:
        PointerFX = fx;
        break;
    case AXIS_DOWN:
        PointerFY = Fit(fy + dx);
        break;
    case AXIS_UP:
        PointerFY = Fit(fy - dx);
        break;
    default:
        return;
    }
    PointerX = int16_t(PointerFX >> 16);
    PointerY = int16_t(PointerFY >> 16);
}

int64_t PixelsFrom(int32_t f, int16_t pointer) {
    return int64_t(pointer) - (f >> 16);
}
} // namespace

void ConstrainPointer() {
    if (!ShiftHeld) {
        LockAxis = AXIS_FREE;
        return;
    }
    if (LockAxis == AXIS_FREE) {
        LockFX = PointerFX, LockFY = PointerFY;
        LockAxis = AXIS_UNDECIDED;
        return;
    }
    if (LockAxis == AXIS_UNDECIDED)
        LockAxis = DecideAxis(PixelsFrom(LockFX, PointerX), PixelsFrom(LockFY, PointerY));
    ApplyAxis(LockAxis, LockFX, LockFY);
}

void ConstrainToPoint(int32_t fx, int32_t fy) {
    if (!ShiftHeld) return;
    ApplyAxis(DecideAxis(PixelsFrom(fx, PointerX), PixelsFrom(fy, PointerY)), fx, fy);
}

// ---- Grid
// --------------------------------------------------------------------------------------------------

namespace {
// The nearest grid line to v; the remainder is taken towards minus infinity, so that
// points left of the origin round to their nearest line too.
int64_t SnapAxis(int64_t v, int64_t origin, int64_t step) {
    if (step < 1) return v;
    int64_t u = v - origin + step / 2;
    int64_t r = u % step;
    if (r < 0) r += step;
    return u - r + origin;
}
} // namespace

void SnapToGrid(int32_t* fx, int32_t* fy) {
    if (!GridOn) return;
    // Pixels stay within what a 16.16 word holds.
    auto snap = [](int32_t f, int32_t origin, int32_t step) {
        int64_t v = std::clamp<int64_t>(SnapAxis(f >> 16, origin, step), -32768, 32767);
        return int32_t(uint32_t(v) << 16 | 0x7FFF);
    };
    *fx = snap(*fx, GridOriginX, GridStepX);
    *fy = snap(*fy, GridOriginY, GridStepY);
}

int32_t SnapHandle(int32_t h, int32_t step) {
    if (!GridOn || step < 1) return h;
    int64_t u = int64_t(h) + step / 2;
    return int32_t(u - u % step);
}

} // namespace nemu
