// The run-length code of a plain layer's picture: decoding it into a bitmap, and blending
// it over one as it is decoded.
#include "project/blend.h"
#include "project/layers.h"
#include "store/cache_file.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace nemu {

// ---- The plain picture's code ----------------------------------------------------------------------------
// One run-length run over all the pixels of the picture, so that a unit may cross rows.
// The encoder is the store's; this decoder reads a control byte of -128 as a run of 129
// pixels, which the encoder never writes but older pictures may hold.

// Walks the units of code over count pixels, handing each to the sink as it is decoded.
// 1 when the code covers the pixels exactly; what a damaged code leaves is cleared.
template <typename Sink>
__attribute__((always_inline)) inline int DecodePlain(const uint8_t* code, size_t size, uint32_t* pixels,
                                                      size_t count, Sink& sink) {
    size_t at = 0, done = 0;
    while (done < count && at < size) {
        int c = int8_t(code[at++]);
        if (c < 0) {
            size_t n = size_t(1 - c);
            if (size - at < 4 || n > count - done) break;
            uint32_t pixel;
            std::memcpy(&pixel, code + at, 4);
            at += 4;
            sink.Run(pixels + done, pixel, n);
            done += n;
        } else {
            size_t n = size_t(c) + 1;
            if ((size - at) / 4 < n || n > count - done) break;
            sink.Literal(pixels + done, code + at, n, size - at);
            at += 4 * n;
            done += n;
        }
    }
    sink.Finish();
    if (done == count && at == size) return 1;
    if (done < count) sink.Missing(pixels + done, count - done);
    return 0;
}

struct CopySink {
    void Run(uint32_t* d, uint32_t pixel, size_t n) {
        for (size_t i = 0; i < n; i++) d[i] = pixel;
    }
    void Literal(uint32_t* d, const uint8_t* s, size_t n, size_t) { std::memcpy(d, s, 4 * n); }
    void Missing(uint32_t* d, size_t n) { std::memset(d, 0, 4 * n); }
    void Finish() {}
};

// Blends units as they come. Painted pictures code mostly as short units (soft edges repeat
// a pixel two or three times), and a blend loop per unit of three pixels is all set-up:
// so consecutive short units gather in a small span, blended in one vector pass when a
// transparent or long run, or the span's end, comes. Transparent runs cost nothing.
// Pixels go into the span 32 bytes at a time, past the unit's end into the slack, which
// the next unit writes over: most units take one move that way.
struct OverSink {
    static constexpr size_t SpanPixels = 256;
    static constexpr size_t LongRun = 16;
    static constexpr size_t Move = 8; // pixels in one 32-byte move
    uint32_t Density;
    uint32_t* SpanStart = nullptr; // where the gathered pixels go
    size_t SpanCount = 0;
    alignas(32) uint32_t Span[SpanPixels + Move];

    __attribute__((always_inline)) void Flush() {
        if (SpanCount) AddLayerRow(SpanStart, reinterpret_cast<const uint8_t*>(Span), SpanCount, Density);
        SpanCount = 0;
    }
    // Room for n more pixels that continue the span at d.
    __attribute__((always_inline)) void Open(uint32_t* d, size_t n) {
        if (SpanCount && (SpanCount + n > SpanPixels || SpanStart + SpanCount != d)) Flush();
        if (!SpanCount) SpanStart = d;
    }
    __attribute__((always_inline)) void Run(uint32_t* d, uint32_t pixel, size_t n) {
        if ((pixel >> 24) == 0) return; // the span after it starts anew anyway
        if (n >= LongRun) {
            Flush();
            AddLayerRun(d, pixel, n, Density);
            return;
        }
        Open(d, n);
        uint32_t eight[Move] = {pixel, pixel, pixel, pixel, pixel, pixel, pixel, pixel};
        for (size_t i = 0; i < n; i += Move) std::memcpy(Span + SpanCount + i, eight, sizeof eight);
        SpanCount += n;
    }
    // readable: the bytes of code from s on.
    __attribute__((always_inline)) void Literal(uint32_t* d, const uint8_t* s, size_t n, size_t readable) {
        Open(d, n);
        if (readable >= 4 * (n + Move))
            for (size_t i = 0; i < n; i += Move) std::memcpy(Span + SpanCount + i, s + 4 * i, 4 * Move);
        else
            std::memcpy(Span + SpanCount, s, 4 * n);
        SpanCount += n;
    }
    void Missing(uint32_t*, size_t) {}
    void Finish() { Flush(); }
};

// ---- Streams ---------------------------------------------------------------------------------------------

struct PlainStream {
    static constexpr size_t Window = 16384;             // code bytes read from the cache at a time
    static constexpr size_t LongestUnit = 1 + 4 * 128;  // a control byte and 128 literal pixels
    static constexpr size_t Slack = 4 * OverSink::Move; // what a move may read past the last byte
    CacheReader Reader;
    size_t At = 0, End = 0; // the bytes of Code not yet decoded
    uint32_t RunPixel = 0;  // a unit cut by the end of a stretch: what is left of it
    size_t RunLeft = 0, LiteralLeft = 0;
    size_t Done = 0, Count = 0; // pixels decoded, of all
    alignas(32) uint8_t Code[Window + LongestUnit + Slack];

    // At least want bytes held, or all that is left of the code. false on a failed read.
    bool Hold(size_t want) {
        if (End - At >= want || Reader.Left == 0) return true;
        std::memmove(Code, Code + At, End - At);
        End -= At, At = 0;
        int32_t n = ReadCacheReader(&Reader, Code + End, int32_t(Window + LongestUnit - End));
        if (n < 0) return false;
        End += size_t(n);
        return true;
    }

    // The next n pixels through the sink, units cut at the stretch's end carried over.
    template <typename Sink> bool Decode(uint32_t* pixels, size_t n, Sink& sink) {
        size_t pos = 0;
        if (RunLeft) {
            size_t k = std::min(RunLeft, n);
            sink.Run(pixels, RunPixel, k);
            RunLeft -= k, pos += k;
        }
        if (LiteralLeft && pos < n) {
            size_t k = std::min(LiteralLeft, n - pos);
            if (!Hold(4 * k) || End - At < 4 * k) return false;
            sink.Literal(pixels + pos, Code + At, k, End - At + Slack);
            At += 4 * k, LiteralLeft -= k, pos += k;
        }
        while (pos < n) {
            if (!Hold(LongestUnit) || At == End) return false;
            int c = int8_t(Code[At++]);
            size_t length = c < 0 ? size_t(1 - c) : size_t(c) + 1;
            // A unit may not pass the picture's end, nor its bytes the code's.
            if (length > Count - (Done + pos) || End - At < (c < 0 ? 4 : 4 * length)) return false;
            size_t k = std::min(length, n - pos);
            if (c < 0) {
                std::memcpy(&RunPixel, Code + At, 4);
                At += 4;
                sink.Run(pixels + pos, RunPixel, k);
                RunLeft = length - k;
            } else {
                sink.Literal(pixels + pos, Code + At, k, End - At + Slack);
                At += 4 * k;
                LiteralLeft = length - k;
            }
            pos += k;
        }
        sink.Finish();
        Done += n;
        // The last stretch: the code must end with the picture.
        return Done < Count || (At == End && Reader.Left == 0);
    }
};

PlainStream* OpenPlainStream(const Layer* layer, size_t count) {
    if (!layer || layer->Clip || !layer->PackedData || layer->PackedSize <= 0) return nullptr;
    auto* stream = new (std::nothrow) PlainStream;
    if (!stream) return nullptr;
    if (!OpenCacheReader(&stream->Reader, layer->PackedData, layer->PackedSize)) {
        delete stream;
        return nullptr;
    }
    stream->Count = count;
    return stream;
}

void ClosePlainStream(PlainStream* stream) {
    delete stream;
}

int StreamPlain(PlainStream* stream, uint32_t* pixels, size_t n, int density) {
    if (!stream || n > stream->Count - stream->Done) return 0;
    if (density < 0) {
        CopySink sink;
        return stream->Decode(pixels, n, sink);
    }
    OverSink sink;
    sink.Density = uint32_t(density > 255 ? 255 : density);
    return stream->Decode(pixels, n, sink);
}

int UnpackPlain(const uint8_t* code, size_t size, uint32_t* pixels, size_t count) {
    CopySink sink;
    return DecodePlain(code, size, pixels, count, sink);
}

int OverPlain(const uint8_t* code, size_t size, uint32_t* pixels, size_t count, int density) {
    OverSink sink;
    sink.Density = uint32_t(density < 0 ? 0 : density > 255 ? 255 : density);
    return DecodePlain(code, size, pixels, count, sink);
}

} // namespace nemu
