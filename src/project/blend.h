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

// Each byte of p scaled by d.
inline uint32_t ScalePixel(uint32_t p, uint32_t d) {
    return MulByte(p & 255, d) | MulByte((p >> 8) & 255, d) << 8 | MulByte((p >> 16) & 255, d) << 16 |
           MulByte(p >> 24, d) << 24;
}

// Each byte of b scaled by k, plus the same byte of s, wrapping.
inline uint32_t ScaleAddPixel(uint32_t b, uint32_t k, uint32_t s) {
    uint32_t r = 0;
    for (int shift = 0; shift < 32; shift += 8)
        r |= ((MulByte((b >> shift) & 255, k) + ((s >> shift) & 255)) & 255) << shift;
    return r;
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

// ---- Rows ---------------------------------------------------------------------------------------
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
