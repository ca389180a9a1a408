// The run-length code of packed pictures, and the shared pack buffer.
//
// A unit is a signed control byte c: 0 to 127 is followed by c + 1 literal pixels, 4 bytes
// each in memory order; -1 to -127 by one pixel repeated 1 - c times; -128 is skipped.
// The encoder never makes a unit longer than 124 pixels. A tile is packed row by row
// (no unit crosses a row); a base picture is packed as one run over all its pixels.
#pragma once
#include <cstddef>
#include <cstdint>

namespace nemu {

struct Bitmap;

// One buffer for packed data, shared by everything that packs pictures. It only grows;
// nothing may keep a pointer to it across a call that may grow it.
extern uint8_t* PackBuffer;
extern size_t PackBufferSize;
// The buffer at size bytes or more, or null (size then 0) without memory. Growing does
// not keep the old contents.
uint8_t* GetPackBuffer(size_t size);
void FreePackBuffer();

constexpr int32_t TileSide = 64;
// Room for the packed form of any tile: 64 rows of one 64-pixel literal unit.
constexpr size_t TilePackBytes = 24576;

// Upper bound of the packed size of count pixels in one run.
size_t PackBound(size_t count);
// Packs count pixels as one run; returns the bytes written.
size_t PackRun(const uint32_t* pixels, size_t count, uint8_t* out);
// Packs the w by h rectangle at (x, y) of bitmap row by row; returns the bytes written.
// A rectangle with no pixels packs to 0 bytes. Rows of a tile take a faster path that
// gives the same bytes as PackRun over each row.
size_t PackRect(const Bitmap* bitmap, int x, int y, int w, int h, uint8_t* out);

// Decoders. Each returns 1 when the code covers its pixels exactly, 0 when it is damaged
// (short, a unit crossing a row, or bytes left over); what was decoded before the damage
// is kept. Nothing is ever read or written outside the given bounds.
int UnpackRect(const uint8_t* code, size_t size, Bitmap* bitmap, int x, int y, int w, int h);
int UnpackRun(const uint8_t* code, size_t size, uint32_t* pixels, size_t count);
// Blends the rows over the rectangle of bitmap with premultiplied pixels at density d.
int OverRect(const uint8_t* code, size_t size, Bitmap* bitmap, int x, int y, int w, int h, int density);
// Whether the code decodes to exactly w by h pixels, row by row.
int CheckRect(const uint8_t* code, size_t size, int w, int h);

// The rounded-up product of two bytes that all blending uses: never 0 for two non-zero
// values, and x for 255 and x.
inline uint32_t MulUp(uint32_t a, uint32_t b) {
    return (a * b + 254) / 255;
}

// ---- Pixels ---------------------------------------------------------------------------
// The same products two bytes at a time, and the blend of a layer pixel that both the
// tile store and the stack's composition use.

// MulUp of two bytes at once: the bytes sit in the low halves of two 16-bit lanes
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
    d = d > 255 ? 255 : d;
    uint32_t a = MulUp(d, l >> 24);
    if (a == 0) return b;
    uint32_t scaled = d >= 255 ? l : ScalePixel(l, d);
    if ((b >> 24) == 0) return scaled;
    return ScaleAddPixel(b, 255 - a, scaled);
}

// One pixel s over t at density d (clamped to 0..255), premultiplied.
inline uint32_t OverPixel(uint32_t t, uint32_t s, int density) {
    return AddLayerPixel(t, s, uint32_t(density < 0 ? 0 : density));
}

} // namespace nemu
