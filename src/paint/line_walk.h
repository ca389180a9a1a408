// The pixels of a straight line, as the error loop of Bresenham picks them: along the
// major axis one pixel a step, the minor coordinate the nearest to the ideal line (a tie
// goes forward). Pixel i is computed directly, so a line of any length visits only the
// steps that can fall inside a clip box, and two walks of one line always agree.
#pragma once
#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace nemu {

// Calls visit(x, y) for each pixel of the line from (x0, y0) to (x1, y1) inside the box
// [bx0, bx1] by [by0, by1] (inclusive), in order from the first end.
template <class F>
void WalkLinePixels(int64_t x0, int64_t y0, int64_t x1, int64_t y1, int64_t bx0, int64_t by0, int64_t bx1,
                    int64_t by1, F&& visit) {
    if (bx0 > bx1 || by0 > by1) return;
    const int64_t dx = x1 - x0, dy = y1 - y0;
    const bool xMajor = std::llabs(dx) >= std::llabs(dy);
    const int64_t major = xMajor ? std::llabs(dx) : std::llabs(dy);
    const int64_t minor = xMajor ? std::llabs(dy) : std::llabs(dx);
    const int64_t a0 = xMajor ? x0 : y0, b0 = xMajor ? y0 : x0;
    const int64_t aSign = (xMajor ? dx : dy) < 0 ? -1 : 1, bSign = (xMajor ? dy : dx) < 0 ? -1 : 1;
    const int64_t lo = xMajor ? bx0 : by0, hi = xMajor ? bx1 : by1;
    const int64_t mlo = xMajor ? by0 : bx0, mhi = xMajor ? by1 : bx1;
    // The steps whose major coordinate lies in the box.
    int64_t iLo = aSign > 0 ? lo - a0 : a0 - hi, iHi = aSign > 0 ? hi - a0 : a0 - lo;
    iLo = std::max<int64_t>(iLo, 0), iHi = std::min(iHi, major);
    for (int64_t i = iLo; i <= iHi; ++i) {
        // 2 * i * minor stays far inside 64 bits for coordinates of 32 bits.
        int64_t b = major ? b0 + bSign * ((2 * i * minor + major) / (2 * major)) : b0;
        if (b < mlo || b > mhi) continue;
        int64_t a = a0 + aSign * i;
        if (xMajor)
            visit(a, b);
        else
            visit(b, a);
    }
}

} // namespace nemu
