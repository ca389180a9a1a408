// Bitmap records, the memory account, and the rectangle operations with their exact
// (and deliberately different) clipping rules.
#include "store/bitmap.h"

#include "ui/catalog.h"
#include "ui/requests.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace nemu {

uint32_t MemoryInUse = 0;
void (*LowMemoryHook)() = nullptr;

void MemoryAdd(uint32_t n) { MemoryInUse += n; }
void MemorySub(uint32_t n) { MemoryInUse -= n; }

uint32_t BitmapAccount(int32_t width, int32_t height) {
    return uint32_t((uint64_t(height) + 2) * uint64_t(width) * 4 + 40);
}

// Bytes of the pixel block, guard rows and the 16 spare bytes included; 0 when the size
// cannot be represented.
static size_t PixelBlockBytes(int32_t width, int32_t height) {
    uint64_t words = (uint64_t(height) + 2) * uint64_t(width);
    uint64_t bytes = words * 4 + 16;
    if (bytes > (uint64_t(1) << 40)) return 0;
    return size_t(bytes);
}

Bitmap* NewBitmap(int32_t width, int32_t height) {
    if (width < 1 || height < 1) return nullptr;
    size_t bytes = PixelBlockBytes(width, height);
    if (!bytes) return nullptr;
    Bitmap* b = new (std::nothrow) Bitmap;
    if (!b) return nullptr;
    void* block = std::malloc(bytes);
    if (!block && LowMemoryHook) {
        LowMemoryHook();
        block = std::malloc(bytes);
    }
    if (!block) {
        delete b;
        return nullptr;
    }
    b->Width = width;
    b->Height = height;
    b->Pixels = static_cast<uint32_t*>(block);
    MemoryAdd(BitmapAccount(width, height));
    return b;
}

Bitmap* NewClearBitmap(int32_t width, int32_t height) {
    Bitmap* b = NewBitmap(width, height);
    if (b) ClearBitmap(b, 0);
    return b;
}

Bitmap* InitBitmap(Bitmap* record, int32_t width, int32_t height, uint32_t* pixels) {
    if (!record || !pixels || width < 1 || height < 1) return nullptr;
    *record = Bitmap{};
    record->Width = width;
    record->Height = height;
    record->Pixels = pixels;
    return record;
}

int FreeBitmap(Bitmap* bitmap) {
    if (!bitmap) return 0;
    MemorySub(BitmapAccount(bitmap->Width, bitmap->Height));
    std::free(bitmap->Pixels);
    delete bitmap;
    return 1;
}

void FillWords(uint32_t* pointer, uint32_t count, uint32_t word) {
    for (uint32_t i = 0; i < count; i++) pointer[i] = word;
}

int ClearWords(uint32_t* pointer, uint32_t count) {
    if (count == 0) return -1;
    std::memset(pointer, 0, size_t(count) * 4);
    return 0;
}

void CopyWords(const uint32_t* from, uint32_t* to, uint32_t count) {
    std::memmove(to, from, size_t(count) * 4);
}

static uint32_t* At(const Bitmap* b, int x, int y) { return b->Pixels + size_t(y) * b->Width + x; }

void ClearBitmap(Bitmap* bitmap, uint32_t colour) {
    FillWords(bitmap->Pixels, uint32_t(bitmap->Width) * uint32_t(bitmap->Height), colour);
}

void FillBox(Bitmap* bitmap, int x1, int y1, int x2, int y2, uint32_t colour) {
    if (x1 > x2) std::swap(x1, x2);
    if (y1 > y2) std::swap(y1, y2);
    if (x2 < 0 || y2 < 0 || x1 >= bitmap->Width || y1 >= bitmap->Height) return;
    if (x1 < 0) x1 = 0;
    if (y1 < 0) y1 = 0;
    if (x2 >= bitmap->Width) x2 = bitmap->Width - 1;
    if (y2 >= bitmap->Height) y2 = bitmap->Height - 1;
    for (int y = y1; y <= y2; y++) FillWords(At(bitmap, x1, y), uint32_t(x2 - x1 + 1), colour);
}

void FillBoxInside(Bitmap* bitmap, int x1, int y1, int x2, int y2, uint32_t colour, int left, int top,
                   int right, int bottom) {
    if (x2 < left || y2 < top || x1 > right || y1 > bottom) return;
    if (x1 < left) x1 = left;
    if (y1 < top) y1 = top;
    if (x2 > right) x2 = right;
    if (y2 > bottom) y2 = bottom;
    FillBox(bitmap, x1, y1, x2, y2, colour);
}

void InvertBox(Bitmap* bitmap, int x1, int y1, int x2, int y2) {
    if (y1 > y2) std::swap(y1, y2);
    if (x2 < 0 || y2 < 0 || x1 >= bitmap->Width || y1 >= bitmap->Height || x1 > x2) return;
    if (x1 < 0) x1 = 0;
    if (y1 < 0) y1 = 0;
    if (x2 >= bitmap->Width) x2 = bitmap->Width - 1;
    if (y2 >= bitmap->Height) y2 = bitmap->Height - 1;
    for (int y = y1; y <= y2; y++) {
        uint32_t* p = At(bitmap, x1, y);
        for (int x = x1; x <= x2; x++) *p++ ^= 0x00FFFFFFu;
    }
}

void DrawLine(Bitmap* bitmap, int x1, int y1, int x2, int y2, uint32_t colour) {
    int dx = x2 - x1, dy = y2 - y1;
    int sx = x2 > x1 ? 1 : -1, sy = y2 > y1 ? 1 : -1;
    int adx = dx < 0 ? -dx : dx, ady = dy < 0 ? -dy : dy;
    bool xMajor = adx >= ady;
    int major = xMajor ? adx : ady, minor = xMajor ? ady : adx;
    int error = 2 * minor - major;
    int x = x1, y = y1;
    for (int i = 0; i <= major; i++) {
        *At(bitmap, x, y) = colour;
        if (error >= 0) {
            x += sx;
            y += sy;
            error += 2 * minor - 2 * major;
        } else {
            if (xMajor) x += sx;
            else y += sy;
            error += 2 * minor;
        }
    }
}

void DrawHLine(Bitmap* bitmap, int x1, int y, int x2, uint32_t colour) {
    if (y < 0 || y >= bitmap->Height) return;
    if (x1 > x2) std::swap(x1, x2);
    if (x1 < 0) x1 = 0;
    if (x2 > bitmap->Width - 1) x2 = bitmap->Width - 1;
    if (x2 <= x1) return;
    FillWords(At(bitmap, x1, y), uint32_t(x2 - x1), colour);
}

void DrawDisc(Bitmap* bitmap, int cx, int cy, int radius, uint32_t colour) {
    if (radius < 0) return;
    auto plot = [&](int x, int y) {
        if (x >= 0 && y >= 0 && x < bitmap->Width && y < bitmap->Height) *At(bitmap, x, y) = colour;
    };
    if (radius == 0) {
        plot(cx, cy);
        return;
    }
    if (radius == 1) {
        plot(cx, cy);
        plot(cx - 1, cy);
        plot(cx + 1, cy);
        plot(cx, cy - 1);
        plot(cx, cy + 1);
        return;
    }
    int x = 0, y = radius, d = 2 - 2 * radius;
    while (x <= y) {
        DrawHLine(bitmap, cx - y, cy + x, cx + y, colour);
        DrawHLine(bitmap, cx - y, cy - x, cx + y, colour);
        if (d < 1) {
            d += 4 * x + 6;
        } else {
            DrawHLine(bitmap, cx - x, cy + y, cx + x, colour);
            DrawHLine(bitmap, cx - x, cy - y, cx + x, colour);
            d += 4 * (x - y) + 10;
            y--;
        }
        x++;
    }
}

void CopyRectRaw(const Bitmap* src, int sx, int sy, Bitmap* dst, int dx, int dy, int w, int h) {
    if (h < 1 || w < 1) return;
    for (int r = 0; r < h; r++) CopyWords(At(src, sx, sy + r), At(dst, dx, dy + r), uint32_t(w));
}

// Clips a target rectangle against dst as CopyRect does; false when nothing is left.
static bool ClipToTarget(const Bitmap* dst, int& sx, int& sy, int& dx, int& dy, int& w, int& h) {
    if (dx >= dst->Width || dy >= dst->Height) return false;
    if (dx + w > dst->Width) w = dst->Width - dx;
    if (dy + h > dst->Height) h = dst->Height - dy;
    ClipNegativeCorner(dx, sx, w);
    ClipNegativeCorner(dy, sy, h);
    return w >= 1 && h >= 1;
}

int CopyRect(const Bitmap* src, int sx, int sy, Bitmap* dst, int dx, int dy, int w, int h) {
    if (!ClipToTarget(dst, sx, sy, dx, dy, w, h)) return -1;
    CopyRectRaw(src, sx, sy, dst, dx, dy, w, h);
    return 0;
}

int CopyRectClipped(const Bitmap* src, int sx, int sy, Bitmap* dst, int dx, int dy, int w, int h) {
    ClipNegativeCorner(sx, dx, w);
    ClipNegativeCorner(sy, dy, h);
    if (w < 1 || h < 1) return -1;
    if (sx + w > src->Width) w = src->Width - sx;
    if (sy + h > src->Height) h = src->Height - sy;
    if (w < 1 || h < 1) return -1;
    return CopyRect(src, sx, sy, dst, dx, dy, w, h);
}

int CopyRectInside(const Bitmap* src, int sx, int sy, Bitmap* dst, int dx, int dy, int w, int h, int left,
                   int top, int right, int bottom) {
    if (dx > right || dy > bottom || dx + w - 1 < left || dy + h - 1 < top) return -1;
    if (dx < left) {
        sx += left - dx;
        w -= left - dx;
        dx = left;
    }
    if (dy < top) {
        sy += top - dy;
        h -= top - dy;
        dy = top;
    }
    if (dx + w - 1 > right) w = right - dx + 1;
    if (dy + h - 1 > bottom) h = bottom - dy + 1;
    if (w < 1 || h < 1) return -1;
    CopyRectRaw(src, sx, sy, dst, dx, dy, w, h);
    return 0;
}

int CopyRectMasked(const Bitmap* src, int sx, int sy, Bitmap* dst, int dx, int dy, int w, int h) {
    if (!ClipToTarget(dst, sx, sy, dx, dy, w, h)) return -1;
    for (int r = 0; r < h; r++) {
        const uint32_t* s = At(src, sx, sy + r);
        uint32_t* d = At(dst, dx, dy + r);
        for (int i = 0; i < w; i++)
            if (s[i]) d[i] = s[i];
    }
    return 0;
}

int StampMask(const uint8_t* maskPlane, int maskWidth, int sx, int sy, Bitmap* dst, int dx, int dy, int w,
              int h, uint32_t colour) {
    if (!maskPlane) return -1;
    if (!ClipToTarget(dst, sx, sy, dx, dy, w, h)) return -1;
    for (int r = 0; r < h; r++) {
        const uint8_t* m = maskPlane + size_t(sy + r) * maskWidth + sx;
        uint32_t* d = At(dst, dx, dy + r);
        for (int i = 0; i < w; i++)
            if (m[i]) d[i] = colour;
    }
    return 0;
}

void SwapRectRaw(Bitmap* a, int ax, int ay, Bitmap* b, int bx, int by, int w, int h) {
    for (int r = 0; r < h; r++) {
        uint32_t* p = At(a, ax, ay + r);
        uint32_t* q = At(b, bx, by + r);
        for (int i = 0; i < w; i++) std::swap(p[i], q[i]);
    }
}

void CopyBitmap(const Bitmap* src, Bitmap* dst) {
    if (!src || !dst || src->Width != dst->Width || src->Height != dst->Height) return;
    CopyWords(src->Pixels, dst->Pixels, uint32_t(src->Width) * uint32_t(src->Height));
}

void SwapBitmapPixels(Bitmap* a, Bitmap* b) {
    uint32_t n = uint32_t(a->Width) * uint32_t(a->Height);
    for (uint32_t i = 0; i < n; i++) std::swap(a->Pixels[i], b->Pixels[i]);
}

void MirrorBitmapX(Bitmap* bitmap) {
    for (int y = 0; y < bitmap->Height; y++) {
        uint32_t* row = At(bitmap, 0, y);
        for (int i = 0, j = bitmap->Width - 1; i < j; i++, j--) std::swap(row[i], row[j]);
    }
}

void MirrorBitmapY(Bitmap* bitmap) {
    for (int i = 0, j = bitmap->Height - 1; i < j; i++, j--) {
        uint32_t* a = At(bitmap, 0, i);
        uint32_t* b = At(bitmap, 0, j);
        for (int x = 0; x < bitmap->Width; x++) std::swap(a[x], b[x]);
    }
}

int RotateBitmapInto(const Bitmap* src, Bitmap* dst) {
    if (!src) return 0;
    // Clockwise: source (x, y) lands at (H - 1 - y, x); the first row becomes the last column.
    int H = src->Height;
    for (int y = 0; y < H; y++) {
        const uint32_t* s = At(src, 0, y);
        for (int x = 0; x < src->Width; x++) *At(dst, H - 1 - y, x) = s[x];
    }
    return 1;
}

Bitmap* RotateBitmap(const Bitmap* bitmap) {
    Bitmap* r = NewClearBitmap(bitmap->Height, bitmap->Width);
    if (!r) {
        Alert(MsgGet(nullptr, 1000));
        return nullptr;
    }
    RotateBitmapInto(bitmap, r);
    return r;
}

} // namespace nemu
