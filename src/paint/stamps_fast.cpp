// The vector form of the soft colour kernels, four pixels at a time in 16-bit lanes.
// It computes exactly what Mul's table holds: |d| * k + 254 divided by 255 with the
// identity x / 255 = (x + 1 + (x >> 8)) >> 8, exact for 0 <= x < 65535, then the sign of
// d put back. The plain loops stay beside it; NEMU_PLAIN_KERNELS=1 forces them.
#include <cstdlib>
#include <cstring>

#include "paint/draw_modes.h"
#include "paint/stamp_kernels.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace nemu {

int32_t PlainKernels = -1; // -1: ask the environment; 0 or 1: forced

bool UsePlainKernels() {
    if (PlainKernels < 0) {
        const char* v = std::getenv("NEMU_PLAIN_KERNELS");
        PlainKernels = (v && *v && *v != '0') ? 1 : 0;
    }
    return PlainKernels != 0;
}

#if defined(__SSE2__)
namespace {
// ceil-rounded x * k / 255 for x, k in 0..255 in every lane.
inline __m128i MulUp(__m128i x, __m128i k) {
    __m128i v = _mm_add_epi16(_mm_mullo_epi16(x, k), _mm_set1_epi16(254));
    v = _mm_add_epi16(_mm_add_epi16(v, _mm_set1_epi16(1)), _mm_srli_epi16(v, 8));
    return _mm_srli_epi16(v, 8);
}

// c + Mul(t - c, k) in every lane.
inline __m128i LerpLanes(__m128i c, __m128i t, __m128i k) {
    __m128i d = _mm_sub_epi16(t, c);
    __m128i sign = _mm_srai_epi16(d, 15);
    __m128i mag = _mm_sub_epi16(_mm_xor_si128(d, sign), sign);
    __m128i q = MulUp(mag, k);
    return _mm_add_epi16(c, _mm_sub_epi16(_mm_xor_si128(q, sign), sign));
}
} // namespace

bool LerpMaskFast(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x,
                  int32_t y, uint32_t target, int32_t op) {
    DabClip c;
    if (!ClipDab(w, h, x, y, page->Width, page->Height, c)) return true;
    const __m128i zero = _mm_setzero_si128();
    const __m128i t16 = _mm_unpacklo_epi8(_mm_set1_epi32(int32_t(target)), zero);
    const __m128i op16 = _mm_set1_epi16(int16_t(op));
    const int tc[4] = {ChB(target), ChG(target), ChR(target), ChA(target)};
    for (int32_t j = 0; j < c.H; ++j) {
        const uint8_t* m = mask + size_t(c.Sy + j) * stride + c.Sx;
        uint32_t* p = page->Pixels + size_t(c.Dy + j) * page->Width + c.Dx;
        int32_t i = 0;
        for (; i + 4 <= c.W; i += 4) {
            uint32_t m4;
            std::memcpy(&m4, m + i, 4);
            if (!m4) continue;
            if (m4 == 0xFFFFFFFFu && op == 255) {
                p[i] = p[i + 1] = p[i + 2] = p[i + 3] = target;
                continue;
            }
            __m128i mv = _mm_cvtsi32_si128(int32_t(m4));
            mv = _mm_unpacklo_epi8(mv, mv);
            mv = _mm_unpacklo_epi16(mv, mv); // each mask byte four times, one per channel
            __m128i klo = _mm_unpacklo_epi8(mv, zero), khi = _mm_unpackhi_epi8(mv, zero);
            if (op != 255) klo = MulUp(klo, op16), khi = MulUp(khi, op16);
            __m128i px = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
            __m128i lo = LerpLanes(_mm_unpacklo_epi8(px, zero), t16, klo);
            __m128i hi = LerpLanes(_mm_unpackhi_epi8(px, zero), t16, khi);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(p + i), _mm_packus_epi16(lo, hi));
        }
        for (; i < c.W; ++i) {
            if (!m[i]) continue;
            int k = op == 255 ? m[i] : Mul(m[i], op);
            uint32_t v = p[i], r = 0;
            for (int ch = 0; ch < 4; ++ch)
                r |= uint32_t(Lerp(int((v >> (8 * ch)) & 255), tc[ch], k)) << (8 * ch);
            p[i] = r;
        }
    }
    return true;
}
#else
bool LerpMaskFast(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t) {
    return false;
}
#endif

} // namespace nemu
