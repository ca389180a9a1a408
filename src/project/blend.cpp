// Row forms of the compose arithmetic: the plain loops of the header's pixel forms, and
// their vector forms, eight pixels at a time, which give exactly the same bytes.
#include "project/blend.h"

#include "paint/stamp_kernels.h"
#include "project/pixel_lanes.h"

#include <cstring>

namespace nemu {

// ---- The plain loops -------------------------------------------------------------------------------------

void AddLayerRowPlain(uint32_t* dst, const uint8_t* src, size_t n, uint32_t d) {
    AddLayerRowInline(dst, src, n, d > 255 ? 255 : d);
}

void AddLayerRunPlain(uint32_t* dst, uint32_t pixel, size_t n, uint32_t d) {
    AddLayerRunInline(dst, pixel, n, d > 255 ? 255 : d);
}

void ScaleRowPlain(uint32_t* dst, const uint32_t* src, size_t n, uint32_t d) {
    if (d >= 255) {
        if (dst != src) std::memmove(dst, src, n * 4);
        return;
    }
    for (size_t i = 0; i < n; i++) dst[i] = ScalePixel(src[i], d);
}

// ---- The vector forms ------------------------------------------------------------------------------------

bool lanes::HasWideLanes() {
    static const bool has = __builtin_cpu_supports("avx2");
    return has;
}

bool lanes::x16::HasLanes() {
    static const bool has = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw");
    return has;
}

namespace {
using namespace lanes;

// AddLayerPixel: s is the layer's pixel scaled by the density, whose alpha is the a of
// the form. A layer that is transparent in all eight lanes leaves dst as it is, and an
// opaque one replaces it.
template <bool Full> NEMU_WIDE void AddLayerLanes(uint32_t* dst, V l, V dd, V mask, bool whole) {
    V s = Full ? l : Scale(l, dd);
    if (NoneOpaque(s)) return;
    V r = s;
    if (!AllOpaque(s)) {
        V b = whole ? Load(dst) : _mm256_maskload_epi32(reinterpret_cast<const int*>(dst), mask);
        V k = Through(s);
        r = Select(AllThrough(k), b, Select(Transparent(b), s, ScaleAdd(b, k, s)));
    }
    if (whole)
        Store(dst, r);
    else
        _mm256_maskstore_epi32(reinterpret_cast<int*>(dst), mask, r);
}

// The lanes of the first n pixels, for a vector that passes the end of a row.
NEMU_WIDE V FirstLanes(size_t n) {
    return _mm256_cmpgt_epi32(Splat(uint32_t(n)), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
}

template <bool Full>
NEMU_WIDE void AddLayerRowLanes(uint32_t* dst, const uint8_t* src, size_t n, uint32_t d) {
    const V dd = Pair(Splat(d)), all = Splat(0xFFFFFFFFu);
    size_t i = 0;
    for (; i + N <= n; i += N)
        AddLayerLanes<Full>(dst + i, _mm256_loadu_si256(reinterpret_cast<const V*>(src + 4 * i)), dd, all,
                            true);
    if (i == n) return;
    V mask = FirstLanes(n - i);
    V l = _mm256_maskload_epi32(reinterpret_cast<const int*>(src + 4 * i), mask);
    AddLayerLanes<Full>(dst + i, l, dd, mask, false);
}

NEMU_WIDE_KERNEL void AddLayerRowWide(uint32_t* dst, const uint8_t* src, size_t n, uint32_t d) {
    if (d >= 255)
        AddLayerRowLanes<true>(dst, src, n, 255);
    else
        AddLayerRowLanes<false>(dst, src, n, d);
}

// The run's own bytes are scaled once; only the picture underneath varies.
NEMU_WIDE_KERNEL void AddLayerRunWide(uint32_t* dst, uint32_t pixel, size_t n, uint32_t d) {
    const uint32_t scaled = ScalePixel(pixel, d);
    if ((scaled >> 24) == 0) return;
    const V s = Splat(scaled), k = Through(s);
    const bool opaque = (scaled >> 24) == 255;
    size_t i = 0;
    for (; i + N <= n; i += N) {
        if (opaque) {
            Store(dst + i, s);
            continue;
        }
        V b = Load(dst + i);
        Store(dst + i, Select(Transparent(b), s, ScaleAdd(b, k, s)));
    }
    if (i == n) return;
    V mask = FirstLanes(n - i);
    V b = _mm256_maskload_epi32(reinterpret_cast<const int*>(dst + i), mask);
    V r = opaque ? s : Select(Transparent(b), s, ScaleAdd(b, k, s));
    _mm256_maskstore_epi32(reinterpret_cast<int*>(dst + i), mask, r);
}

NEMU_WIDE_KERNEL void ScaleRowWide(uint32_t* dst, const uint32_t* src, size_t n, uint32_t d) {
    const V dd = Pair(Splat(d));
    size_t i = 0;
    for (; i + N <= n; i += N) Store(dst + i, Scale(Load(src + i), dd));
    if (i == n) return;
    V mask = FirstLanes(n - i);
    V p = _mm256_maskload_epi32(reinterpret_cast<const int*>(src + i), mask);
    _mm256_maskstore_epi32(reinterpret_cast<int*>(dst + i), mask, Scale(p, dd));
}
} // namespace

bool AddLayerRowFast(uint32_t* dst, const uint8_t* src, size_t n, uint32_t d) {
    if (!HasWideLanes()) return false;
    if (n) AddLayerRowWide(dst, src, n, d > 255 ? 255 : d);
    return true;
}

bool AddLayerRunFast(uint32_t* dst, uint32_t pixel, size_t n, uint32_t d) {
    if (!HasWideLanes()) return false;
    if (n) AddLayerRunWide(dst, pixel, n, d > 255 ? 255 : d);
    return true;
}

bool ScaleRowFast(uint32_t* dst, const uint32_t* src, size_t n, uint32_t d) {
    if (!HasWideLanes()) return false;
    if (d >= 255) return ScaleRowPlain(dst, src, n, 255), true;
    if (n) ScaleRowWide(dst, src, n, d);
    return true;
}

void AddLayerRow(uint32_t* dst, const uint8_t* src, size_t n, uint32_t d) {
    if (UsePlainKernels() || !AddLayerRowFast(dst, src, n, d)) AddLayerRowPlain(dst, src, n, d);
}

void AddLayerRun(uint32_t* dst, uint32_t pixel, size_t n, uint32_t d) {
    if (UsePlainKernels() || !AddLayerRunFast(dst, pixel, n, d)) AddLayerRunPlain(dst, pixel, n, d);
}

void ScaleRow(uint32_t* dst, const uint32_t* src, size_t n, uint32_t d) {
    if (UsePlainKernels() || !ScaleRowFast(dst, src, n, d)) ScaleRowPlain(dst, src, n, d);
}

} // namespace nemu
