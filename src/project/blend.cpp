// Row forms of the compose arithmetic. The loops are written without branches so that
// the compiler can run them on vector units; a second build for processors with 8-lane
// 32-bit multiplies is chosen at load time. Each gives exactly the pixel forms of the
// header, which the tests compare them with.
#include "project/blend.h"

#include <cstring>

namespace nemu {

#define NEMU_VECTOR_CLONES __attribute__((target_clones("avx2", "default")))

NEMU_VECTOR_CLONES void AddLayerRow(uint32_t* dst, const uint8_t* src, size_t n, uint32_t d) {
    AddLayerRowInline(dst, src, n, d > 255 ? 255 : d);
}

NEMU_VECTOR_CLONES void AddLayerRun(uint32_t* dst, uint32_t pixel, size_t n, uint32_t d) {
    AddLayerRunInline(dst, pixel, n, d > 255 ? 255 : d);
}

NEMU_VECTOR_CLONES void ScaleRow(uint32_t* dst, const uint32_t* src, size_t n, uint32_t d) {
    if (d >= 255) {
        if (dst != src) std::memmove(dst, src, n * 4);
        return;
    }
    for (size_t i = 0; i < n; i++) dst[i] = ScalePixel(src[i], d);
}

} // namespace nemu
