// Flattening of the quadratic arcs of a stroke, shared by the stepped and the round pens.
// Points are 24.8 pixel positions, six words: start, control, end.
#pragma once
#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace nemu {

// A curve this many halvings deep is flat at any scale the page can show; the bound keeps
// absurd coordinates from splitting without end.
constexpr int MaxCurveSplitDepth = 16;

// Flat when the control point lies within half a pixel-ish of the chord: twice the cross
// product (taken at 1/16 of the scale) at most the chord's longer side.
inline bool CurveFlatEnough(const int64_t* p) {
    int64_t dx = p[4] - p[0], dy = p[5] - p[1];
    __int128 cross = __int128((p[2] - p[0]) >> 4) * (dy >> 4) - __int128((p[3] - p[1]) >> 4) * (dx >> 4);
    if (cross < 0) cross = -cross;
    return 2 * cross <= std::max(std::llabs(dx), std::llabs(dy));
}

// de Casteljau at the middle, truncating as the integer form does; a and b are the halves.
template <class T> inline void SplitThree(const T* c, T* a, T* b, int stride = 1) {
    for (int k = 0; k < stride; ++k) {
        T q1 = (c[k] + c[stride + k]) >> 1, r1 = (c[stride + k] + c[2 * stride + k]) >> 1, m = (q1 + r1) >> 1;
        a[k] = c[k], a[stride + k] = q1, a[2 * stride + k] = m;
        b[k] = m, b[stride + k] = r1, b[2 * stride + k] = c[2 * stride + k];
    }
}

} // namespace nemu
