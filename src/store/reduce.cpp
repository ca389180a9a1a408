// Box-filter reduction. Every source pixel falls in exactly one target box, so one pass
// over the source rows adds each pixel once into its column's sums.
#include "store/reduce.h"

#include "store/bitmap.h"

#include <cstdlib>
#include <cstring>

namespace nemu {

void FitSize(int32_t width, int32_t height, int32_t fit, int32_t* fitWidth, int32_t* fitHeight) {
    *fitWidth = width;
    *fitHeight = height;
    if (width <= fit && height <= fit) return;
    int64_t longer = width > height ? width : height;
    int64_t w = (int64_t(width) * fit + longer / 2) / longer;
    int64_t h = (int64_t(height) * fit + longer / 2) / longer;
    *fitWidth = int32_t(w < 1 ? 1 : w > fit ? fit : w);
    *fitHeight = int32_t(h < 1 ? 1 : h > fit ? fit : h);
}

// First source index of target cell i of n over size source pixels.
static int64_t CellStart(int64_t i, int64_t n, int64_t size) {
    return i * size / n;
}

Bitmap* ReduceBitmap(const Bitmap* source, int32_t fit) {
    if (!source || fit < 1) return nullptr;
    int32_t w, h;
    FitSize(source->Width, source->Height, fit, &w, &h);
    Bitmap* target = NewBitmap(w, h);
    if (!target) return nullptr;
    if (w == source->Width && h == source->Height) {
        std::memcpy(target->Pixels, source->Pixels, size_t(w) * size_t(h) * 4);
        return target;
    }
    uint64_t* sums = static_cast<uint64_t*>(std::calloc(size_t(w) * 4, sizeof(uint64_t)));
    if (!sums) {
        FreeBitmap(target);
        return nullptr;
    }
    for (int32_t ty = 0; ty < h; ty++) {
        int64_t y0 = CellStart(ty, h, source->Height), y1 = CellStart(ty + 1, h, source->Height);
        std::memset(sums, 0, size_t(w) * 4 * sizeof(uint64_t));
        for (int64_t y = y0; y < y1; y++) {
            const uint32_t* row = source->Pixels + size_t(y) * size_t(source->Width);
            for (int32_t tx = 0; tx < w; tx++) {
                int64_t x0 = CellStart(tx, w, source->Width), x1 = CellStart(tx + 1, w, source->Width);
                uint64_t* s = sums + size_t(tx) * 4;
                for (int64_t x = x0; x < x1; x++) {
                    uint32_t p = row[x];
                    s[0] += p & 255;
                    s[1] += (p >> 8) & 255;
                    s[2] += (p >> 16) & 255;
                    s[3] += p >> 24;
                }
            }
        }
        uint32_t* out = target->Pixels + size_t(ty) * size_t(w);
        for (int32_t tx = 0; tx < w; tx++) {
            uint64_t area = uint64_t(y1 - y0) *
                            uint64_t(CellStart(tx + 1, w, source->Width) - CellStart(tx, w, source->Width));
            const uint64_t* s = sums + size_t(tx) * 4;
            uint32_t p = 0;
            for (int c = 0; c < 4; c++) p |= uint32_t((s[c] + area / 2) / area) << (8 * c);
            out[tx] = p;
        }
    }
    std::free(sums);
    return target;
}

} // namespace nemu
