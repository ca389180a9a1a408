// Sections: layout; the body's bytes; the three row decoders; the decode.
#include "files/deep_body.h"

#include "files/iff_chunks.h"
#include "files/lzw.h"
#include "files/raster_common.h"
#include "store/bitmap.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace nemu {

// ---- Layout ---------------------------------------------------------------------------------

bool ParsePixelLayout(const uint8_t* body, uint32_t size, PixelLayout* layout) {
    PixelLayout& l = *layout;
    if (!l.Seen) {
        // The offsets start out absent at the first DPEL; the default only stands for files
        // that have none.
        l = PixelLayout{0, -1, -1, -1, -1, false, true};
    }
    if (size < 4) return false;
    uint32_t count = GetU32(body);
    uint32_t fit = (size - 4) / 4;
    for (uint32_t i = 0; i < count && i < fit; i++) {
        uint32_t type = GetU16(body + 4 + 4 * i), width = GetU16(body + 6 + 4 * i);
        int32_t offset = width == 8 && l.Bits % 8 == 0 ? l.Bits : -1;
        switch (type) {
        case 1:
            l.Red = offset;
            break;
        case 2:
            l.Green = offset;
            break;
        case 3:
            l.Blue = offset;
            break;
        case 4:
        case 9:
        case 17:
            l.Alpha = offset;
            l.Premultiplied = type == 17;
            break;
        }
        // Past 32 bytes nothing is readable anyway; the cap keeps the sum from wrapping.
        l.Bits = std::min<int32_t>(l.Bits + int32_t(width), 1 << 20);
    }
    return count <= fit;
}

int LayoutBytes(const PixelLayout& l) {
    if (l.Bits <= 0 || l.Bits % 8 != 0 || l.Bits > 256) return 0;
    return l.Bits / 8;
}

bool LayoutIsMemory(const PixelLayout& l) {
    return l.Bits == 32 && l.Blue == 0 && l.Green == 8 && l.Red == 16 && l.Alpha == 24 && l.Premultiplied;
}

void ConvertPixels(const uint8_t* in, int count, const PixelLayout& l, uint32_t* out) {
    if (LayoutIsMemory(l)) {
        std::memcpy(out, in, size_t(count) * 4);
        return;
    }
    const int bytes = LayoutBytes(l);
    const int r = l.Red / 8, g = l.Green / 8, b = l.Blue / 8, a = l.Alpha / 8;
    for (int i = 0; i < count; i++, in += bytes) {
        uint32_t rv = l.Red >= 0 ? in[r] : 0, gv = l.Green >= 0 ? in[g] : 0, bv = l.Blue >= 0 ? in[b] : 0;
        uint32_t av = l.Alpha >= 0 ? in[a] : 255;
        if (!l.Premultiplied && av != 255) {
            rv = Premultiply(rv, av);
            gv = Premultiply(gv, av);
            bv = Premultiply(bv, av);
        }
        out[i] = av << 24 | rv << 16 | gv << 8 | bv;
    }
}

int64_t MinBodyBytes(int compression, int bytesPerPixel, int width, int height) {
    const int64_t w = width, h = height, n = bytesPerPixel;
    switch (compression) {
    case 0:
        return w * h * n;
    case 1:
        // At best one repeat unit (a control byte and a pixel) gives 128 pixels.
        return ((w * h + 127) / 128) * (1 + n);
    case 8:
        // A 9-bit code gives at most one string, and no string is longer than the table.
        return (w * h * n / (LZW_MAX_CODES - LZW_FIRST_FREE + 1)) * 9 / 8;
    }
    return 0;
}

// ---- The body's bytes --------------------------------------------------------------------------

namespace {

constexpr size_t BufferSize = 128 * 1024;

// The body read through one buffer; Short once the file or the body ran out.
struct BodyBytes {
    FILE* File;
    int64_t Left; // body bytes not yet read from the file
    uint8_t* Buffer;
    size_t Have = 0, At = 0;
    bool Short = false;

    bool Fill() {
        if (At < Have) return true;
        if (Left <= 0) return false;
        size_t want = size_t(std::min<int64_t>(Left, int64_t(BufferSize)));
        Have = std::fread(Buffer, 1, want, File);
        At = 0;
        Left -= int64_t(Have);
        if (Have < want) Left = 0, Short = true;
        return Have > 0;
    }
    bool Byte(uint8_t* b) {
        if (!Fill()) return false;
        *b = Buffer[At++];
        return true;
    }
    // Exactly n bytes into out, else false.
    bool Take(uint8_t* out, size_t n) {
        while (n > 0) {
            if (!Fill()) return false;
            size_t k = std::min(n, Have - At);
            std::memcpy(out, Buffer + At, k);
            At += k, out += k, n -= k;
        }
        return true;
    }
};

// ---- The three row decoders --------------------------------------------------------------------

struct RunState {
    uint32_t Left = 0;
    bool Repeat = false;
    uint8_t Pixel[32];
};

// Run-length units of n-byte pixels. A unit may go on into the next row: only our own
// writer keeps units within rows, and nothing is lost by reading them across.
bool RunRow(BodyBytes& in, RunState& s, int n, uint8_t* row, int width) {
    int x = 0;
    while (x < width) {
        if (s.Left == 0) {
            uint8_t byte;
            if (!in.Byte(&byte)) return false;
            int c = int8_t(byte);
            if (c == -128) continue;
            s.Repeat = c < 0;
            s.Left = s.Repeat ? uint32_t(1 - c) : uint32_t(c + 1);
            if (s.Repeat && !in.Take(s.Pixel, size_t(n))) return false;
        }
        int k = int(std::min<uint32_t>(s.Left, uint32_t(width - x)));
        uint8_t* out = row + size_t(x) * size_t(n);
        if (s.Repeat) {
            if (n == 4) {
                uint32_t p;
                std::memcpy(&p, s.Pixel, 4);
                for (int i = 0; i < k; i++) std::memcpy(out + 4 * i, &p, 4);
            } else {
                for (int i = 0; i < k; i++) std::memcpy(out + size_t(i) * size_t(n), s.Pixel, size_t(n));
            }
        } else if (!in.Take(out, size_t(k) * size_t(n))) {
            return false;
        }
        s.Left -= uint32_t(k);
        x += k;
    }
    return true;
}

// One LZW stream over all rows; false at the end of the input, *damaged when the code
// itself is wrong.
bool LzwRow(BodyBytes& in, LzwReader& reader, uint8_t* row, size_t bytes, bool* damaged) {
    size_t done = 0;
    while (done < bytes) {
        if (!in.Fill()) return false;
        size_t used = 0;
        done += LzwDecode(&reader, in.Buffer + in.At, in.Have - in.At, &used, row + done, bytes - done);
        in.At += used;
        if (reader.Error || (reader.Done && done < bytes)) {
            *damaged = reader.Error;
            return false;
        }
    }
    return true;
}

} // namespace

// ---- The decode --------------------------------------------------------------------------------

BodyResult DecodeDeepBody(FILE* file, int64_t size, int compression, const PixelLayout& layout, int width,
                          int height, Bitmap* target, bool convert) {
    const int n = LayoutBytes(layout);
    if (n == 0 || (!convert && n != 4) || (compression != 0 && compression != 1 && compression != 8))
        return BodyUnknown;
    if (width < 1 || height < 1 || !target) return BodyDone;
    const size_t rowBytes = size_t(width) * size_t(n);
    auto* buffer = static_cast<uint8_t*>(std::malloc(BufferSize));
    auto* row = static_cast<uint8_t*>(std::malloc(rowBytes));
    auto* lzw = compression == 8 ? new (std::nothrow) LzwReader : nullptr;
    if (!buffer || !row || (compression == 8 && !lzw)) {
        std::free(buffer);
        std::free(row);
        delete lzw;
        return BodyNoMemory;
    }
    if (lzw) LzwReaderReset(lzw);
    BodyBytes in{file, size, buffer};
    RunState run;
    bool damaged = false;
    const int rows = std::min(height, target->Height), columns = std::min(width, target->Width);
    int y = 0;
    for (; y < rows; y++) {
        bool ok = compression == 0   ? in.Take(row, rowBytes)
                  : compression == 1 ? RunRow(in, run, n, row, width)
                                     : LzwRow(in, *lzw, row, rowBytes, &damaged);
        if (!ok) break;
        uint32_t* out = target->Pixels + size_t(y) * size_t(target->Width);
        if (convert)
            ConvertPixels(row, columns, layout, out);
        else
            std::memcpy(out, row, size_t(columns) * 4);
    }
    std::free(buffer);
    std::free(row);
    delete lzw;
    if (y == rows) return BodyDone;
    return damaged ? BodyDamaged : BodyShort;
}

} // namespace nemu
