#include "files/run_length.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace nemu {

namespace {

inline void PutPixel(uint8_t* out, uint32_t pixel) {
    out[0] = uint8_t(pixel);
    out[1] = uint8_t(pixel >> 8);
    out[2] = uint8_t(pixel >> 16);
    out[3] = uint8_t(pixel >> 24);
}

inline uint32_t GetPixel(const uint8_t* in) {
    return uint32_t(in[0]) | uint32_t(in[1]) << 8 | uint32_t(in[2]) << 16 | uint32_t(in[3]) << 24;
}

} // namespace

// Every literal unit but the last of a run is full or followed by a repeat, and a
// repeat of r >= 2 pixels costs 5 <= 4r - 3 bytes, so nothing exceeds 4 bytes a pixel
// plus one control byte per 124 pixels, plus the last unit's.
size_t RunPackBound(size_t count) {
    return count * 4 + count / RUN_LIMIT + 2;
}

size_t PackRun(const uint32_t* pixels, size_t count, uint32_t after, uint8_t* out) {
    uint8_t* start = out;
    size_t i = 0;
    // The right neighbour of pixel k, which for the last one lies past the run.
    auto next = [&](size_t k) { return k + 1 < count ? pixels[k + 1] : after; };
    while (i < count) {
        size_t limit = std::min<size_t>(RUN_LIMIT, count - i);
        uint32_t pixel = pixels[i];
        size_t same = 1;
        while (same < limit && pixels[i + same] == pixel) same++;
        if (same >= 2) {
            *out++ = uint8_t(int8_t(1 - int(same)));
            PutPixel(out, pixel);
            out += 4;
            i += same;
            continue;
        }
        size_t differ = 0;
        while (differ < limit && pixels[i + differ] != next(i + differ)) differ++;
        // Only a row's last pixel can equal its memory neighbour here: it goes alone.
        if (differ == 0) differ = 1;
        *out++ = uint8_t(differ - 1);
        for (size_t k = 0; k < differ; k++, out += 4) PutPixel(out, pixels[i + k]);
        i += differ;
    }
    return size_t(out - start);
}

int64_t ProjectFlushAt(int width) {
    return std::max<int64_t>(0, (32512 - int64_t(width)) * 4);
}

int64_t DeepFlushAt(int width) {
    return std::max<int64_t>(0, (16384 - int64_t(width)) * 8);
}

int64_t WriteRunRows(const ByteSink& sink, const uint32_t* pixels, int width, int height, int64_t flushAt) {
    if (width < 1 || height < 0) return -1;
    size_t rowBound = RunPackBound(size_t(width));
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
        used += PackRun(row, size_t(width), after, buffer + used);
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

int64_t UnpackRun(const uint8_t* in, size_t size, uint32_t* out, size_t count) {
    RunUnpacker state;
    size_t used = 0;
    size_t produced = RunUnpack(&state, in, size, &used, out, count);
    return produced == count ? int64_t(used) : -1;
}

} // namespace nemu
