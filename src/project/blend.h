// The pixel arithmetic of composition, shared by the layer loads, the stack compose,
// onion skins and the display. Pixels are premultiplied 0xAARRGGBB, and every product is
// the rounded-up Mul of the draw modes: (x * y + 254) / 255, never 0 for two non-zero
// bytes and y for 255 and y.
//
// A layer at density d adds to a picture B, pixel by pixel (L its pixel):
//   a = Mul(d, L.a); a == 0 leaves B;
//   B.a == 0 gives Mul(d) of the four bytes of L;
//   otherwise each byte is Mul(B, 255 - a) + Mul(d, L).
// At d = 255 an opaque L replaces B whole. Bytes wrap as the blend loops' bytes do.
#pragma once
#include <cstddef>
#include <cstdint>

namespace nemu {

// For every x, y up to 255, v = x * y + 254 is below 65280, where v / 255 equals
// (v + 1 + (v >> 8)) >> 8: a form without division that vector units take.
inline uint32_t MulByte(uint32_t x, uint32_t y) {
    uint32_t v = x * y + 254;
    return (v + 1 + (v >> 8)) >> 8;
}

// MulByte of two bytes at once: the bytes sit in the low halves of two 16-bit lanes
// (mask 00FF00FF), and each lane holds its product, which stays below 65536 through the
// whole form, so the lanes never spill into each other.
inline uint32_t MulLanes(uint32_t lanes, uint32_t k) {
    uint32_t v = lanes * k + 0x00FE00FEu;
    return ((v + 0x00010001u + ((v >> 8) & 0x00FF00FFu)) >> 8) & 0x00FF00FFu;
}

// Each byte of p scaled by d.
inline uint32_t ScalePixel(uint32_t p, uint32_t d) {
    return MulLanes(p & 0x00FF00FFu, d) | MulLanes((p >> 8) & 0x00FF00FFu, d) << 8;
}

// Each byte of b scaled by k, plus the same byte of s, wrapping.
inline uint32_t ScaleAddPixel(uint32_t b, uint32_t k, uint32_t s) {
    uint32_t even = (MulLanes(b & 0x00FF00FFu, k) + (s & 0x00FF00FFu)) & 0x00FF00FFu;
    uint32_t odd = (MulLanes((b >> 8) & 0x00FF00FFu, k) + ((s >> 8) & 0x00FF00FFu)) & 0x00FF00FFu;
    return even | odd << 8;
}

// Layer pixel l at density d added to b.
inline uint32_t AddLayerPixel(uint32_t b, uint32_t l, uint32_t d) {
    uint32_t a = MulByte(d, l >> 24);
    if (a == 0) return b;
    uint32_t scaled = d >= 255 ? l : ScalePixel(l, d);
    if ((b >> 24) == 0) return scaled;
    return ScaleAddPixel(b, 255 - a, scaled);
}

// Pixel p shown over the opaque colour g: c + Mul(g.c, 255 - a), alpha 255. A channel
// can pass 255 only in a pixel brighter than it is opaque; it is held at 255.
inline uint32_t BehindPixel(uint32_t p, uint32_t g) {
    uint32_t a = p >> 24;
    if (a == 0) return g;
    if (a == 255) return p;
    uint32_t r = 0xFF000000u;
    for (int shift = 0; shift < 24; shift += 8) {
        uint32_t c = MulByte((g >> shift) & 255, 255 - a) + ((p >> shift) & 255);
        r |= (c > 255 ? 255 : c) << shift;
    }
    return r;
}

// ---- Inline row forms, for loops that are built for vector units themselves ------------------------------
template <bool Full> inline void AddLayerRowForm(uint32_t* dst, const uint8_t* src, size_t n, uint32_t d) {
    for (size_t i = 0; i < n; i++) {
        uint32_t l;
        __builtin_memcpy(&l, src + 4 * i, 4);
        uint32_t b = dst[i];
        uint32_t a = Full ? l >> 24 : MulByte(d, l >> 24);
        uint32_t scaled = Full ? l : ScalePixel(l, d);
        uint32_t mixed = ScaleAddPixel(b, 255 - a, scaled);
        uint32_t r = (b >> 24) == 0 ? scaled : mixed;
        dst[i] = a == 0 ? b : r;
    }
}

// At full density a pixel scaled by 255 is itself: the loop without the scaling.
inline void AddLayerRowInline(uint32_t* dst, const uint8_t* src, size_t n, uint32_t d) {
    if (d >= 255)
        AddLayerRowForm<true>(dst, src, n, 255);
    else
        AddLayerRowForm<false>(dst, src, n, d);
}

inline void AddLayerRunInline(uint32_t* dst, uint32_t pixel, size_t n, uint32_t d) {
    // The run's own bytes are blended once; only the picture underneath varies.
    uint32_t a = MulByte(d, pixel >> 24);
    if (a == 0) return;
    uint32_t scaled = ScalePixel(pixel, d);
    if (a == 255) {
        for (size_t i = 0; i < n; i++) dst[i] = scaled;
        return;
    }
    uint32_t k = 255 - a;
    for (size_t i = 0; i < n; i++) {
        uint32_t b = dst[i];
        uint32_t mixed = ScaleAddPixel(b, k, scaled);
        dst[i] = (b >> 24) == 0 ? scaled : mixed;
    }
}

// ---- Rows ------------------------------------------------------------------------------------------------
// n layer pixels (unaligned bytes in memory order) added to dst at density d.
void AddLayerRow(uint32_t* dst, const uint8_t* src, size_t n, uint32_t d);
// One layer pixel repeated n times, added to dst at density d: the blend of a run unit.
void AddLayerRun(uint32_t* dst, uint32_t pixel, size_t n, uint32_t d);
// dst = Mul(d) of each byte of src (in place when they are the same).
void ScaleRow(uint32_t* dst, const uint32_t* src, size_t n, uint32_t d);
// Every pixel of dst over the opaque background: g0 where ((x + shift) & 16) is clear
// and g1 where it is set, x counting from x0. A colour background passes g0 twice.
void BehindRow(uint32_t* dst, size_t n, int32_t x0, uint32_t g0, uint32_t g1);

} // namespace nemu
