// The run-length code of a plain layer's picture: decoding it into a bitmap, and blending
// it over one as it is decoded.
#include "project/blend.h"
#include "project/layers.h"

#include <cstring>

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
            sink.Literal(pixels + done, code + at, n);
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
    void Literal(uint32_t* d, const uint8_t* s, size_t n) { std::memcpy(d, s, 4 * n); }
    void Missing(uint32_t* d, size_t n) { std::memset(d, 0, 4 * n); }
    void Finish() {}
};

// Blends units as they come. Painted pictures code mostly as short units (soft edges repeat
// a pixel two or three times), and a blend loop per unit of three pixels is all set-up:
// so consecutive short units gather in a small span, blended in one vector pass when a
// transparent or long run, or the span's end, comes. Transparent runs cost nothing.
struct OverSink {
    static constexpr size_t SpanPixels = 256;
    static constexpr size_t LongRun = 16;
    uint32_t Density;
    uint32_t* SpanStart = nullptr; // where the gathered pixels go
    size_t SpanCount = 0;
    alignas(32) uint32_t Span[SpanPixels];

    __attribute__((always_inline)) void Flush() {
        if (SpanCount)
            AddLayerRowInline(SpanStart, reinterpret_cast<const uint8_t*>(Span), SpanCount, Density);
        SpanCount = 0;
    }
    // Room for n more pixels that continue the span at d.
    __attribute__((always_inline)) void Open(uint32_t* d, size_t n) {
        if (SpanCount && (SpanCount + n > SpanPixels || SpanStart + SpanCount != d)) Flush();
        if (!SpanCount) SpanStart = d;
    }
    __attribute__((always_inline)) void Run(uint32_t* d, uint32_t pixel, size_t n) {
        if ((pixel >> 24) == 0 || n >= LongRun) {
            Flush();
            AddLayerRunInline(d, pixel, n, Density);
            return;
        }
        Open(d, n);
        for (size_t i = 0; i < n; i++) Span[SpanCount + i] = pixel;
        SpanCount += n;
    }
    __attribute__((always_inline)) void Literal(uint32_t* d, const uint8_t* s, size_t n) {
        Open(d, n);
        std::memcpy(Span + SpanCount, s, 4 * n);
        SpanCount += n;
    }
    void Missing(uint32_t*, size_t) {}
    void Finish() { Flush(); }
};

int UnpackPlain(const uint8_t* code, size_t size, uint32_t* pixels, size_t count) {
    CopySink sink;
    return DecodePlain(code, size, pixels, count, sink);
}

// Built twice, for plain and for wide vector units, with the blends inlined.
__attribute__((target_clones("avx2", "default"))) int OverPlain(const uint8_t* code, size_t size,
                                                                uint32_t* pixels, size_t count, int density) {
    OverSink sink;
    sink.Density = uint32_t(density < 0 ? 0 : density > 255 ? 255 : density);
    return DecodePlain(code, size, pixels, count, sink);
}

} // namespace nemu
