// The program's one picture type: 32-bit premultiplied pixels (byte 0 blue, 1 green,
// 2 red, 3 alpha; a colour word reads 0xAARRGGBB), rows without padding, and two guard
// rows plus 16 bytes after the last row so that filters may run past the bottom.
// Also the hand-kept memory account of every pixel store.
#pragma once
#include <cstdint>

namespace nemu {

struct Bitmap {
    int32_t Width = 0;      // pixels per row, also the row stride
    int32_t Height = 0;     // rows
    uint8_t RedByte = 2;    // byte positions: written, never consulted
    uint8_t GreenByte = 1;
    uint8_t BlueByte = 0;
    uint8_t AlphaByte = 3;
    uint32_t* Pixels = nullptr; // row 0 first, left pixel first
    uint32_t Reserved[6] = {};  // zero at creation, read by nothing
};

// Sum of the sizes of all pixel stores in use, what the memory display shows.
extern uint32_t MemoryInUse;
void MemoryAdd(uint32_t n);
void MemorySub(uint32_t n);

// The amount a bitmap of this size adds to MemoryInUse.
uint32_t BitmapAccount(int32_t width, int32_t height);

Bitmap* NewBitmap(int32_t width, int32_t height);
Bitmap* NewClearBitmap(int32_t width, int32_t height);
Bitmap* InitBitmap(Bitmap* record, int32_t width, int32_t height, uint32_t* pixels);
int FreeBitmap(Bitmap* bitmap);

// Called when a pixel block cannot be had, before the one retry. The cache file sets it
// to its trimming function; until then nothing can be given back.
extern void (*LowMemoryHook)();

void ClearBitmap(Bitmap* bitmap, uint32_t colour);
void FillBox(Bitmap* bitmap, int x1, int y1, int x2, int y2, uint32_t colour);
void FillBoxInside(Bitmap* bitmap, int x1, int y1, int x2, int y2, uint32_t colour, int left, int top,
                   int right, int bottom);
void InvertBox(Bitmap* bitmap, int x1, int y1, int x2, int y2);
void DrawLine(Bitmap* bitmap, int x1, int y1, int x2, int y2, uint32_t colour);
void DrawHLine(Bitmap* bitmap, int x1, int y, int x2, uint32_t colour);
void DrawDisc(Bitmap* bitmap, int cx, int cy, int radius, uint32_t colour);

void CopyRectRaw(const Bitmap* src, int sx, int sy, Bitmap* dst, int dx, int dy, int w, int h);
int CopyRect(const Bitmap* src, int sx, int sy, Bitmap* dst, int dx, int dy, int w, int h);
int CopyRectClipped(const Bitmap* src, int sx, int sy, Bitmap* dst, int dx, int dy, int w, int h);
int CopyRectInside(const Bitmap* src, int sx, int sy, Bitmap* dst, int dx, int dy, int w, int h, int left,
                   int top, int right, int bottom);
int CopyRectMasked(const Bitmap* src, int sx, int sy, Bitmap* dst, int dx, int dy, int w, int h);
// Writes colour wherever the mask byte is not zero. maskPlane is w-stride bytes of the
// brush (maskWidth wide); -1 when there is no mask.
int StampMask(const uint8_t* maskPlane, int maskWidth, int sx, int sy, Bitmap* dst, int dx, int dy, int w,
              int h, uint32_t colour);
void SwapRectRaw(Bitmap* a, int ax, int ay, Bitmap* b, int bx, int by, int w, int h);
void CopyBitmap(const Bitmap* src, Bitmap* dst);
void SwapBitmapPixels(Bitmap* a, Bitmap* b);

void MirrorBitmapX(Bitmap* bitmap);
void MirrorBitmapY(Bitmap* bitmap);
Bitmap* RotateBitmap(const Bitmap* bitmap);
int RotateBitmapInto(const Bitmap* src, Bitmap* dst);

// The clipping step every rectangle operation shares: a negative corner moves to 0, the
// size shrinks by as much, and the paired corner moves along with it.
inline void ClipNegativeCorner(int& corner, int& paired, int& size) {
    if (corner < 0) {
        paired -= corner;
        size += corner;
        corner = 0;
    }
}

void FillWords(uint32_t* pointer, uint32_t count, uint32_t word);
int ClearWords(uint32_t* pointer, uint32_t count);
void CopyWords(const uint32_t* from, uint32_t* to, uint32_t count);

} // namespace nemu
