// The body of a deep picture or of a project layer (DBOD, and LDLT deltas): the rows of
// one image, uncompressed (0), run-length coded (1) or as one LZW stream (8), in the
// pixel layout that the file's DPEL chunks describe.
#pragma once
#include <cstdint>
#include <cstdio>

namespace nemu {

struct Bitmap;

// Where each channel lies in a file's pixel. A file without DPEL is taken to hold the
// pixels of memory: blue, green, red, alpha, premultiplied.
struct PixelLayout {
    int32_t Bits = 32;                                 // bits of one pixel so far: a second DPEL adds to them
    int32_t Red = 16, Green = 8, Blue = 0, Alpha = 24; // bit offsets, -1 when absent
    bool Premultiplied = true;                         // the alpha element is of type 17
    bool Seen = false;                                 // a DPEL has been read
};

// Reads a DPEL body: a u32 count, then per element a u16 type and a u16 width in bits.
// Offsets add up over all DPEL chunks of a file. Types 1, 2, 3 are red, green and blue,
// 4, 9 and 17 alpha (17 premultiplied); others only take room. Only 8-bit elements on a
// byte boundary can be read; wider ones count as absent. False when the body is short.
bool ParsePixelLayout(const uint8_t* body, uint32_t size, PixelLayout* layout);
// The pixel's size in bytes, or 0 when the layout can't be read (not whole bytes, none,
// or more than 32).
int LayoutBytes(const PixelLayout& layout);
// True when file pixels are memory's pixels, byte for byte.
bool LayoutIsMemory(const PixelLayout& layout);

// Converts count file pixels to memory's premultiplied pixels: absent colours are 0, an
// absent alpha 255.
void ConvertPixels(const uint8_t* in, int count, const PixelLayout& layout, uint32_t* out);

// The fewest body bytes that can hold a width by height image in this compression. A
// header that claims more pixels than its body could ever give is a lie, and nothing is
// allocated for it.
int64_t MinBodyBytes(int compression, int bytesPerPixel, int width, int height);

enum BodyResult {
    BodyDone = 1,     // every row that the target can hold was decoded
    BodyShort = 0,    // the body or the file ended first; the rows before stay
    BodyDamaged = -1, // the code can't be decoded (LZW out of step)
    BodyUnknown = -2, // a compression or pixel size this reader doesn't know
    BodyNoMemory = -3,
};

// Decodes `size` bytes of body from the file's position into target, the file's image
// being width by height pixels: rows and columns beyond the target are dropped, and
// target pixels beyond the image are left alone. With convert, pixels go through
// ConvertPixels; without, they must be 4 bytes and are kept as the file has them (deltas
// and tiles are combined before conversion). The file is left somewhere in the body.
BodyResult DecodeDeepBody(FILE* file, int64_t size, int compression, const PixelLayout& layout, int width,
                          int height, Bitmap* target, bool convert);

} // namespace nemu
