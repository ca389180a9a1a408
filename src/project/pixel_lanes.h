// The pixel forms of project/blend.h on 256-bit vector units, eight pixels at a time, for
// the row kernels that want them fast. A processor without them runs the plain forms.
//
// A pixel is a 32-bit lane. For the products its bytes are split into two 16-bit lanes
// each, the even bytes (blue, red) and the odd ones (green, alpha), where x * k + 255 never
// passes 65280 and so never leaves its lane. There Mul(x, k) = (x * k + 254) / 255 is
// ((x * k + 255) * 257) >> 16, exact for every x and k up to 255: the high half of the
// product by 257.
//
// Everything here is inlined into functions that carry the same target; none may be called
// from code that runs before the processor has been asked (HasWideLanes).
#pragma once
#include <cstdint>
#include <immintrin.h>

namespace nemu::lanes {

#define NEMU_WIDE inline __attribute__((target("avx2"), always_inline))
#define NEMU_WIDE_KERNEL __attribute__((target("avx2")))

using V = __m256i;
constexpr int N = 8; // pixels in a vector

// Whether this processor has the 256-bit integer units.
bool HasWideLanes();

NEMU_WIDE V Load(const uint32_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const V*>(p));
}
NEMU_WIDE void Store(uint32_t* p, V v) {
    _mm256_storeu_si256(reinterpret_cast<V*>(p), v);
}
NEMU_WIDE V Splat(uint32_t x) {
    return _mm256_set1_epi32(int32_t(x));
}
NEMU_WIDE V Select(V mask, V yes, V no) {
    return _mm256_blendv_epi8(no, yes, mask);
}
NEMU_WIDE V IsZero(V x) {
    return _mm256_cmpeq_epi32(x, _mm256_setzero_si256());
}
NEMU_WIDE V Alpha(V p) {
    return _mm256_srli_epi32(p, 24);
}
// Lanes whose pixel has alpha 0.
NEMU_WIDE V Transparent(V p) {
    return IsZero(_mm256_and_si256(p, Splat(0xFF000000u)));
}
// Whether every pixel of the vector has alpha 0, or every one alpha 255: pictures are made
// mostly of such stretches, where most of a form has nothing to do.
NEMU_WIDE bool NoneOpaque(V p) {
    return _mm256_testz_si256(p, Splat(0xFF000000u));
}
NEMU_WIDE bool AllOpaque(V p) {
    return _mm256_testc_si256(p, Splat(0xFF000000u));
}

// Mul(x, k) in every 16-bit lane, for x and k up to 255.
NEMU_WIDE V MulHalves(V x, V k) {
    V v = _mm256_add_epi16(_mm256_mullo_epi16(x, k), _mm256_set1_epi16(255));
    return _mm256_mulhi_epu16(v, _mm256_set1_epi16(257));
}

// A per-pixel factor up to 255, held in the low bits of its lane, in both its halves.
NEMU_WIDE V Pair(V k) {
    return _mm256_or_si256(k, _mm256_slli_epi32(k, 16));
}

// 255 - alpha of each pixel, in both halves of its lane: the share a pixel lets through.
NEMU_WIDE V Through(V p) {
    const V spread = _mm256_setr_epi8(3, -1, 3, -1, 7, -1, 7, -1, 11, -1, 11, -1, 15, -1, 15, -1, //
                                      3, -1, 3, -1, 7, -1, 7, -1, 11, -1, 11, -1, 15, -1, 15, -1);
    return _mm256_sub_epi16(Splat(0x00FF00FFu), _mm256_shuffle_epi8(p, spread));
}

// The even and odd bytes of p, each in the low half of a 16-bit lane.
NEMU_WIDE V Even(V p) {
    return _mm256_and_si256(p, Splat(0x00FF00FFu));
}
NEMU_WIDE V Odd(V p) {
    return _mm256_srli_epi16(p, 8);
}
// Bytes back from the two halves.
NEMU_WIDE V Join(V even, V odd) {
    return _mm256_or_si256(even, _mm256_slli_epi16(odd, 8));
}

// Each byte of p scaled by its pixel's paired factor k.
NEMU_WIDE V Scale(V p, V k) {
    return Join(MulHalves(Even(p), k), MulHalves(Odd(p), k));
}

// Each byte of b scaled by k, plus the same byte of s, wrapping as bytes do.
NEMU_WIDE V ScaleAdd(V b, V k, V s) {
    return _mm256_add_epi8(Scale(b, k), s);
}

// Lanes whose share let through (from Through) is whole: the transparent pixels.
NEMU_WIDE V AllThrough(V k) {
    return _mm256_cmpeq_epi32(k, Splat(0x00FF00FFu));
}

// p over the colours g (whose even and odd bytes are gEven, gOdd), lane by lane: g where p
// is transparent; otherwise each byte p.c + Mul(g.c, 255 - a), held at 255, and alpha 255
// (BehindPixel).
NEMU_WIDE V Behind(V p, V g, V gEven, V gOdd) {
    V k = Through(p);
    V under = Join(MulHalves(gEven, k), MulHalves(gOdd, k));
    V over = _mm256_or_si256(_mm256_adds_epu8(under, p), Splat(0xFF000000u));
    return Select(AllThrough(k), g, over);
}

// ---- Sixteen pixels at a time -----------------------------------------------------------------------------
// The same forms on 512-bit units, for the one kernel whose cost is the whole cost of
// painting under a stack: the display's three-picture mix. Selects and the ends of rows
// go through masks, one bit a pixel.
namespace x16 {

#define NEMU_WIDER inline __attribute__((target("avx512f,avx512bw"), always_inline))
#define NEMU_WIDER_KERNEL __attribute__((target("avx512f,avx512bw")))

using W = __m512i;
using Mask = __mmask16;
constexpr int N = 16;

// Whether this processor (and its system) has the 512-bit units with their byte and word
// forms.
bool HasLanes();

// The first n pixels of sixteen, n up to 16.
inline Mask First(int32_t n) {
    return Mask(n >= N ? 0xFFFFu : (1u << n) - 1);
}
// Pixels outside the mask read as 0 and are left alone when stored.
NEMU_WIDER W Load(const uint32_t* p, Mask k) {
    return _mm512_maskz_loadu_epi32(k, p);
}
NEMU_WIDER void Store(uint32_t* p, Mask k, W v) {
    _mm512_mask_storeu_epi32(p, k, v);
}
NEMU_WIDER W Splat(uint32_t x) {
    return _mm512_set1_epi32(int32_t(x));
}
NEMU_WIDER Mask Transparent(W p) {
    return _mm512_testn_epi32_mask(p, Splat(0xFF000000u));
}
NEMU_WIDER Mask Opaque(W p) {
    return _mm512_cmpge_epu32_mask(p, Splat(0xFF000000u));
}
NEMU_WIDER W MulHalves(W x, W k) {
    W v = _mm512_add_epi16(_mm512_mullo_epi16(x, k), _mm512_set1_epi16(255));
    return _mm512_mulhi_epu16(v, _mm512_set1_epi16(257));
}
NEMU_WIDER W Through(W p) {
    const W spread = _mm512_set4_epi32(int32_t(0xFF0FFF0Fu), int32_t(0xFF0BFF0Bu), int32_t(0xFF07FF07u),
                                       int32_t(0xFF03FF03u));
    return _mm512_sub_epi16(Splat(0x00FF00FFu), _mm512_shuffle_epi8(p, spread));
}
NEMU_WIDER W Even(W p) {
    return _mm512_and_si512(p, Splat(0x00FF00FFu));
}
NEMU_WIDER W Odd(W p) {
    return _mm512_srli_epi16(p, 8);
}
NEMU_WIDER W Join(W even, W odd) {
    return _mm512_or_si512(even, _mm512_slli_epi16(odd, 8));
}
NEMU_WIDER W Scale(W p, W k) {
    return Join(MulHalves(Even(p), k), MulHalves(Odd(p), k));
}
NEMU_WIDER W ScaleAdd(W b, W k, W s) {
    return _mm512_add_epi8(Scale(b, k), s);
}
// BehindPixel, with g's even and odd bytes given.
NEMU_WIDER W Behind(W p, W g, W gEven, W gOdd) {
    W k = Through(p);
    W under = Join(MulHalves(gEven, k), MulHalves(gOdd, k));
    W over = _mm512_or_si512(_mm512_adds_epu8(under, p), Splat(0xFF000000u));
    return _mm512_mask_mov_epi32(over, Transparent(p), g);
}

} // namespace x16
} // namespace nemu::lanes
