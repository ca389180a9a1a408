// Stroke bookkeeping: stamps, the dirty box and the refresh door.
#include "paint/tools.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "host/main_loop.h"
#include "store/bitmap.h"
#include "store/undo.h"

namespace nemu {

Stamp* CurrentStamp = nullptr;
DirtyBox DirtyRect;
uint32_t DirtyCount = 0;
uint32_t DirtyLabelCount = 0;
int32_t ShiftArmed = 0;
int32_t StrokeColourPicked = 0;
int32_t WetMode = 0;
int32_t MustCommit = 0;
int32_t AbortDrawing = 0;
void (*ShowPageRectFn)(int32_t x, int32_t y, int32_t w, int32_t h) = nullptr;

namespace {
uint8_t FallbackMask[1] = {255};
uint8_t FallbackMask2[1] = {0};
uint32_t FallbackUnderPixel[3 * 1 + 4]; // one pixel plus the guard rows a Bitmap promises
Bitmap FallbackUnder;
Stamp Fallback;

uint32_t MaskBytes(const Stamp* stamp) {
    return uint32_t(stamp->Width) * uint32_t(stamp->Height);
}
} // namespace

Stamp* FallbackStamp() {
    Fallback = Stamp();
    FallbackUnder.Width = FallbackUnder.Height = 1;
    FallbackUnder.Pixels = FallbackUnderPixel;
    FallbackMask[0] = 255;
    Fallback.Width = Fallback.Height = 1;
    Fallback.Mask = FallbackMask;
    Fallback.Mask2 = FallbackMask2;
    Fallback.Under = &FallbackUnder;
    Fallback.Kind = 4;
    return &Fallback;
}

Stamp* NewStamp(int32_t w, int32_t h, int asBrush) {
    if (w < 1 || h < 1 || int64_t(w) * h > (int64_t(1) << 28)) return nullptr;
    Stamp* stamp = new (std::nothrow) Stamp();
    if (!stamp) return nullptr;
    stamp->Width = w;
    stamp->Height = h;
    stamp->HandleX = w / 2;
    stamp->HandleY = h / 2;
    stamp->GhostX = PointerX;
    stamp->GhostY = PointerY;
    size_t n = size_t(w) * size_t(h);
    stamp->Mask = static_cast<uint8_t*>(std::calloc(n, 1));
    stamp->Mask2 = static_cast<uint8_t*>(std::calloc(n, 1));
    stamp->Under = NewClearBitmap(w, h);
    if (asBrush) stamp->Image = NewClearBitmap(w, h);
    if (!stamp->Mask || !stamp->Mask2 || !stamp->Under || (asBrush && !stamp->Image)) {
        FreeStamp(stamp);
        return nullptr;
    }
    MemoryAdd(2 * MaskBytes(stamp));
    return stamp;
}

void FreeStamp(Stamp* stamp) {
    if (!stamp || stamp == &Fallback) return;
    if (stamp->Mask && stamp->Mask2 && stamp->Under) MemorySub(2 * MaskBytes(stamp));
    std::free(stamp->Mask);
    std::free(stamp->Mask2);
    if (stamp->Under) FreeBitmap(stamp->Under);
    if (stamp->Image) FreeBitmap(stamp->Image);
    delete stamp;
}

void AddDirty(int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
    if (x0 > x1) std::swap(x0, x1);
    if (y0 > y1) std::swap(y0, y1);
    if (!DirtyRect.Valid) {
        DirtyRect.MinX = x0, DirtyRect.MaxX = x1, DirtyRect.MinY = y0, DirtyRect.MaxY = y1;
    } else {
        DirtyRect.MinX = std::min(DirtyRect.MinX, x0);
        DirtyRect.MaxX = std::max(DirtyRect.MaxX, x1);
        DirtyRect.MinY = std::min(DirtyRect.MinY, y0);
        DirtyRect.MaxY = std::max(DirtyRect.MaxY, y1);
    }
    ++DirtyRect.Valid;
    ++DirtyCount;
    ++DirtyLabelCount;
    ++PreviewStale;
}

void AddDirtyAndMark(int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
    AddDirty(x0, y0, x1, y1);
    MarkPageChanged();
}

void RefreshPageRect(int32_t x, int32_t y, int32_t w, int32_t h) {
    if (!Page) return;
    int32_t x1 = std::min<int64_t>(int64_t(x) + w, Page->Width);
    int32_t y1 = std::min<int64_t>(int64_t(y) + h, Page->Height);
    x = std::max(x, 0);
    y = std::max(y, 0);
    if (x >= x1 || y >= y1) return;
    if (ShowPageRectFn) ShowPageRectFn(x, y, x1 - x, y1 - y);
}

} // namespace nemu
