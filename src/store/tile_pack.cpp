// Run-length packing. Sections: the pack buffer, the encoder, the decoders (one walk over
// the code with a sink per use: copy, blend, check), the blend of one pixel.
#include "store/tile_pack.h"

#include "store/bitmap.h"

#include <bit>
#include <cstdlib>
#include <cstring>

namespace nemu {

// ---- Pack buffer ------------------------------------------------------------------------

uint8_t* PackBuffer = nullptr;
size_t PackBufferSize = 0;

uint8_t* GetPackBuffer(size_t size) {
    if (size <= PackBufferSize && PackBuffer) return PackBuffer;
    std::free(PackBuffer);
    PackBuffer = static_cast<uint8_t*>(std::malloc(size ? size : 1));
    PackBufferSize = PackBuffer ? size : 0;
    return PackBuffer;
}

void FreePackBuffer() {
    std::free(PackBuffer);
    PackBuffer = nullptr;
    PackBufferSize = 0;
}

// ---- Encoder ----------------------------------------------------------------------------

constexpr size_t MaxUnit = 124;

size_t PackBound(size_t count) {
    return count * 4 + (count + MaxUnit - 1) / MaxUnit;
}

static uint32_t Load(const uint8_t* p) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}

// A repeat for two or more equal pixels; otherwise a literal of the pixels that differ
// from their right neighbour. The last pixel counts as differing from whatever follows,
// so that the code of a span depends on its own pixels only: equal tiles pack equal.
static uint8_t* PackSpan(const uint32_t* p, size_t count, uint8_t* out) {
    size_t i = 0;
    while (i < count) {
        size_t limit = count - i < MaxUnit ? count - i : MaxUnit;
        size_t same = 1;
        while (same < limit && p[i + same] == p[i]) same++;
        if (same >= 2) {
            *out++ = uint8_t(int8_t(1 - int(same)));
            std::memcpy(out, p + i, 4);
            out += 4;
            i += same;
            continue;
        }
        size_t n = 0;
        while (n < limit && (i + n + 1 == count || p[i + n] != p[i + n + 1])) n++;
        *out++ = uint8_t(n - 1);
        std::memcpy(out, p + i, n * 4);
        out += n * 4;
        i += n;
    }
    return out;
}

// The same code for a span of at most 64 pixels, the row of a tile, without a branch per
// pixel: bit k of a mask tells whether pixel k equals pixel k + 1, so a repeat is a run of
// ones and a literal ends at the next one. No unit can reach 124 pixels here.
static uint8_t* PackShortSpan(const uint32_t* p, size_t count, uint8_t* out) {
    uint64_t equal = 0;
    for (size_t k = 0; k + 1 < count; k++) equal |= uint64_t(p[k] == p[k + 1]) << k;
    size_t i = 0;
    while (i < count) {
        uint64_t ahead = equal >> i;
        if (ahead & 1) {
            size_t same = size_t(std::countr_one(ahead)) + 1;
            *out++ = uint8_t(int8_t(1 - int(same)));
            std::memcpy(out, p + i, 4);
            out += 4;
            i += same;
        } else {
            size_t n = ahead ? size_t(std::countr_zero(ahead)) : count - i;
            *out++ = uint8_t(n - 1);
            std::memcpy(out, p + i, n * 4);
            out += n * 4;
            i += n;
        }
    }
    return out;
}

size_t PackRun(const uint32_t* pixels, size_t count, uint8_t* out) {
    return size_t(PackSpan(pixels, count, out) - out);
}

size_t PackRect(const Bitmap* bitmap, int x, int y, int w, int h, uint8_t* out) {
    uint8_t* p = out;
    auto pack = w <= 64 ? PackShortSpan : PackSpan;
    for (int row = 0; row < h; row++)
        p = pack(bitmap->Pixels + size_t(y + row) * bitmap->Width + x, size_t(w), p);
    return size_t(p - out);
}

// ---- Decoders ---------------------------------------------------------------------------

template <class Sink>
static int DecodeRows(const uint8_t* code, size_t size, size_t w, size_t h, Sink& sink) {
    const uint8_t* p = code;
    const uint8_t* end = code + size;
    for (size_t row = 0; row < h; row++) {
        size_t x = 0;
        while (x < w) {
            if (p == end) return 0;
            int c = int8_t(*p++);
            if (c == -128) continue;
            size_t n = size_t(c < 0 ? 1 - c : c + 1);
            size_t need = c < 0 ? 4 : n * 4;
            if (n > w - x || size_t(end - p) < need) return 0;
            if (c < 0)
                sink.Fill(row, x, Load(p), n);
            else
                sink.Copy(row, x, p, n);
            p += need;
            x += n;
        }
    }
    return p == end;
}

struct CopySink {
    uint32_t* Base;
    size_t Stride;
    void Fill(size_t row, size_t x, uint32_t pixel, size_t n) {
        uint32_t* d = Base + row * Stride + x;
        for (size_t i = 0; i < n; i++) d[i] = pixel;
    }
    void Copy(size_t row, size_t x, const uint8_t* src, size_t n) {
        std::memcpy(Base + row * Stride + x, src, n * 4);
    }
};

struct OverSink {
    uint32_t* Base;
    size_t Stride;
    int Density;
    void Fill(size_t row, size_t x, uint32_t pixel, size_t n) {
        uint32_t* d = Base + row * Stride + x;
        for (size_t i = 0; i < n; i++) d[i] = OverPixel(d[i], pixel, Density);
    }
    void Copy(size_t row, size_t x, const uint8_t* src, size_t n) {
        uint32_t* d = Base + row * Stride + x;
        for (size_t i = 0; i < n; i++) d[i] = OverPixel(d[i], Load(src + 4 * i), Density);
    }
};

struct CheckSink {
    void Fill(size_t, size_t, uint32_t, size_t) {}
    void Copy(size_t, size_t, const uint8_t*, size_t) {}
};

static bool RectInside(const Bitmap* b, int x, int y, int w, int h) {
    return b && x >= 0 && y >= 0 && w >= 0 && h >= 0 && x <= b->Width - w && y <= b->Height - h;
}

int UnpackRect(const uint8_t* code, size_t size, Bitmap* bitmap, int x, int y, int w, int h) {
    if (!RectInside(bitmap, x, y, w, h)) return 0;
    CopySink sink{bitmap->Pixels + size_t(y) * bitmap->Width + x, size_t(bitmap->Width)};
    return DecodeRows(code, size, size_t(w), size_t(h), sink);
}

int UnpackRun(const uint8_t* code, size_t size, uint32_t* pixels, size_t count) {
    CopySink sink{pixels, count};
    return DecodeRows(code, size, count, 1, sink);
}

int OverRect(const uint8_t* code, size_t size, Bitmap* bitmap, int x, int y, int w, int h, int density) {
    if (!RectInside(bitmap, x, y, w, h)) return 0;
    OverSink sink{bitmap->Pixels + size_t(y) * bitmap->Width + x, size_t(bitmap->Width),
                  density < 0     ? 0
                  : density > 255 ? 255
                                  : density};
    return DecodeRows(code, size, size_t(w), size_t(h), sink);
}

int CheckRect(const uint8_t* code, size_t size, int w, int h) {
    if (w < 0 || h < 0) return 0;
    CheckSink sink;
    return DecodeRows(code, size, size_t(w), size_t(h), sink);
}

} // namespace nemu
