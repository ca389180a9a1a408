#include "files/run_length.h"

#include "store/tile_pack.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace nemu {

namespace {

inline uint32_t GetPixel(const uint8_t* in) {
    return uint32_t(in[0]) | uint32_t(in[1]) << 8 | uint32_t(in[2]) << 16 | uint32_t(in[3]) << 24;
}

} // namespace

size_t PackRowBound(size_t count) {
    return PackBound(count) + 1;
}

size_t PackRow(const uint32_t* pixels, size_t count, uint32_t after, uint8_t* out) {
    size_t size = PackRun(pixels, count, out);
    if (count == 0 || pixels[count - 1] != after) return size;
    // Only the last unit can hold the last pixel; when it is a literal of two or more,
    // its last pixel becomes a literal of its own.
    size_t last = 0;
    for (size_t at = 0; at < size;) {
        last = at;
        int c = int8_t(out[at]);
        at += 1 + (c == -128 ? 0 : c < 0 ? 4 : size_t(c + 1) * 4);
    }
    int c = int8_t(out[last]);
    if (c < 1) return size;
    out[last] = uint8_t(c - 1);
    std::memmove(out + size - 3, out + size - 4, 4);
    out[size - 4] = 0;
    return size + 1;
}

int64_t ProjectFlushAt(int width) {
    return std::max<int64_t>(0, (32512 - int64_t(width)) * 4);
}

int64_t DeepFlushAt(int width) {
    return std::max<int64_t>(0, (16384 - int64_t(width)) * 8);
}

int64_t WriteRunRows(const ByteSink& sink, const uint32_t* pixels, int width, int height, int64_t flushAt) {
    if (width < 1 || height < 0) return -1;
    size_t rowBound = PackRowBound(size_t(width));
    size_t capacity = std::max(RUN_BUFFER_SIZE, rowBound);
    auto* buffer = static_cast<uint8_t*>(std::malloc(capacity));
    if (!buffer) return -1;
    int64_t total = 0;
    size_t used = 0;
    bool failed = false;
    auto flush = [&] {
        if (used && sink.Write(sink.User, buffer, used) != 0) failed = true;
        total += int64_t(used);
        used = 0;
    };
    for (int y = 0; y < height && !failed; y++) {
        const uint32_t* row = pixels + size_t(y) * size_t(width);
        // The image's last pixel has no neighbour that is ours to read.
        uint32_t after = y + 1 < height ? row[width] : ~row[width - 1];
        // Never reached with the flush limits of the two writers; it only guards
        // against a limit that lets the buffer fill past one more row.
        if (used + rowBound > capacity) flush();
        used += PackRow(row, size_t(width), after, buffer + used);
        if (int64_t(used) > flushAt) flush();
    }
    if (!failed) flush();
    std::free(buffer);
    return failed ? -1 : total;
}

size_t RunUnpack(RunUnpacker* state, const uint8_t* in, size_t size, size_t* used, uint32_t* out,
                 size_t room) {
    RunUnpacker& s = *state;
    size_t pos = 0, produced = 0;
    // Gathers one pixel, across input pieces if need be; false when the input ran out.
    auto takePixel = [&](uint32_t* pixel) {
        if (s.PartialBytes == 0 && size - pos >= 4) {
            *pixel = GetPixel(in + pos);
            pos += 4;
            return true;
        }
        while (s.PartialBytes < 4 && pos < size) s.Partial[s.PartialBytes++] = in[pos++];
        if (s.PartialBytes < 4) return false;
        s.PartialBytes = 0;
        *pixel = GetPixel(s.Partial);
        return true;
    };
    while (produced < room) {
        if (s.Left == 0) {
            if (pos >= size) break;
            int c = int8_t(in[pos++]);
            if (c == -128) continue;
            s.Repeat = c < 0;
            s.Left = s.Repeat ? uint32_t(1 - c) : uint32_t(c + 1);
            s.HavePixel = false;
            continue;
        }
        if (s.Repeat) {
            if (!s.HavePixel) {
                if (!takePixel(&s.Pixel)) break;
                s.HavePixel = true;
            }
            size_t n = std::min<size_t>(s.Left, room - produced);
            std::fill_n(out + produced, n, s.Pixel);
            produced += n;
            s.Left -= uint32_t(n);
            continue;
        }
        uint32_t pixel;
        if (!takePixel(&pixel)) break;
        out[produced++] = pixel;
        s.Left--;
    }
    *used = pos;
    return produced;
}

} // namespace nemu
