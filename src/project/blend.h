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
#include "store/tile_pack.h"

#include <cstddef>
#include <cstdint>

namespace nemu {

// For every x, y up to 255, v = x * y + 254 is below 65280, where v / 255 equals
// (v + 1 + (v >> 8)) >> 8: a form without division that vector units take.
inline uint32_t MulByte(uint32_t x, uint32_t y) {
    uint32_t v = x * y + 254;
    return (v + 1 + (v >> 8)) >> 8;
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

// ---- The display's pixel forms ---------------------------------------------------------------------------
// Written as selects between forms that are all worked out, so that each keeps the exact
// form of its case, broken pixels included.

// Top t at density dt over bottom b at density db.
inline uint32_t TwoPictures(uint32_t t, uint32_t dt, uint32_t b, uint32_t db) {
    uint32_t a = MulByte(dt, t >> 24);
    uint32_t under = db < 255 && (b >> 24) != 0 ? ScalePixel(b, db) : b;
    uint32_t k = MulByte(db, 255 - a);
    uint32_t over = ScaleAddPixel(b, k, dt >= 255 ? t : ScalePixel(t, dt));
    return a == 0 ? under : over;
}

// A (t) over the page m at density d over C (b). At full density Mul(x, 255) is x, and
// the products by d drop out.
template <bool Full> inline uint32_t ThreePicturesForm(uint32_t t, uint32_t m, uint32_t b, uint32_t d) {
    uint32_t ta = t >> 24;
    // The page is scaled by its density and by what A lets through in one product.
    uint32_t through = ScaleAddPixel(m, Full ? 255 - ta : MulByte(255 - ta, d), t);
    uint32_t alone = (m >> 24) ? (Full ? m : ScalePixel(m, d)) : 0;
    uint32_t r = ta == 0 ? alone : through;
    uint32_t ra = r >> 24;
    uint32_t onBottom = ra == 0 ? b : ScaleAddPixel(b, 255 - ra, r);
    return ta >= 255 ? t : onBottom;
}

inline uint32_t ThreePictures(uint32_t t, uint32_t m, uint32_t b, uint32_t d) {
    return d >= 255 ? ThreePicturesForm<true>(t, m, b, 255) : ThreePicturesForm<false>(t, m, b, d);
}

// ---- Plain row forms -------------------------------------------------------------------------------------
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
// Each has a vector form where the processor has one, and the plain loops above beside it
// (the ...Plain functions), which NEMU_PLAIN_KERNELS=1 forces and the tests hold the vector
// forms to.

// n layer pixels (unaligned bytes in memory order) added to dst at density d.
void AddLayerRow(uint32_t* dst, const uint8_t* src, size_t n, uint32_t d);
void AddLayerRowPlain(uint32_t* dst, const uint8_t* src, size_t n, uint32_t d);
// One layer pixel repeated n times, added to dst at density d: the blend of a run unit.
void AddLayerRun(uint32_t* dst, uint32_t pixel, size_t n, uint32_t d);
void AddLayerRunPlain(uint32_t* dst, uint32_t pixel, size_t n, uint32_t d);
// dst = Mul(d) of each byte of src (in place when they are the same).
void ScaleRow(uint32_t* dst, const uint32_t* src, size_t n, uint32_t d);
void ScaleRowPlain(uint32_t* dst, const uint32_t* src, size_t n, uint32_t d);
// The vector forms, whatever the switch says; false when this processor has none.
bool AddLayerRowFast(uint32_t* dst, const uint8_t* src, size_t n, uint32_t d);
bool AddLayerRunFast(uint32_t* dst, uint32_t pixel, size_t n, uint32_t d);
bool ScaleRowFast(uint32_t* dst, const uint32_t* src, size_t n, uint32_t d);

// ---- The display's pixels --------------------------------------------------------------------------------
// What the display puts behind the page: nothing, the colour First, or the check of First
// and Second in cells of 16 pixels anchored on the page: Second where
// ((x + (y & 16)) & 16) is set.
struct Backdrop {
    enum : int32_t { None, Colour, Check };
    int32_t Kind = None;
    uint32_t First = 0, Second = 0;
};

// Width by Height display pixels. Each picture's row pointer steps by its own stride, in
// pixels. X, Y is the page position of the first pixel, which anchors the check. Above and
// Below may be null when the mixer bits do not read them; Out may be one of the three
// pictures (the same pixels), or apart from all of them.
struct MixArea {
    const uint32_t* Above = nullptr;
    const uint32_t* Page = nullptr;
    const uint32_t* Below = nullptr;
    uint32_t* Out = nullptr;
    size_t AboveStride = 0, PageStride = 0, BelowStride = 0, OutStride = 0;
    int32_t Width = 0, Height = 0, X = 0, Y = 0;
};

// One pixel of the display, before the backdrop: the page at density d combined with A
// above and C below by the mixer bits of project/compose.h (MixAboveBit, MixBelowBit,
// MixBothBit); with none of them, the page scaled by d.
uint32_t MixPixel(uint32_t above, uint32_t page, uint32_t below, uint32_t d, uint32_t bits);
// Every pixel of the area through MixPixel, then put over the backdrop.
void MixPixels(const MixArea& area, uint32_t d, uint32_t bits, const Backdrop& backdrop = {});
// The same pixel by pixel through MixPixel and BehindPixel: the reference the vector form
// is held to, and what NEMU_PLAIN_KERNELS=1 runs.
void MixPixelsPlain(const MixArea& area, uint32_t d, uint32_t bits, const Backdrop& backdrop = {});
// The three-picture case runs sixteen pixels at a time where the processor allows (-1);
// 0 keeps it to eight, as on processors without the wider units. Tests hold both forms
// to the reference.
extern int32_t WiderLanes;
// The vector form, whatever the switch says; false when this processor has none.
bool MixPixelsFast(const MixArea& area, uint32_t d, uint32_t bits, const Backdrop& backdrop = {});
// How many rows ahead MixPixels asks for the rows it will read: they lie a page's width
// apart, too far for the processor to guess the next one.
constexpr int32_t MixAhead = 4;
inline void PrefetchRow(const uint32_t* row, int32_t n) {
    const char* p = reinterpret_cast<const char*>(row);
    for (int32_t at = 0; at < n * 4; at += 64) __builtin_prefetch(p + at);
    __builtin_prefetch(p + n * 4 - 1);
}
// One row of n pixels, over nothing: MixPixels for the simplest case.
void MixRow(const uint32_t* above, const uint32_t* page, const uint32_t* below, uint32_t* out, int32_t n,
            uint32_t d, uint32_t bits);

} // namespace nemu
