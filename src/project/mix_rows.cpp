// The display's rows: the page at the current density combined with the mixer's buffers
// above and under it, and put over the background, all in one pass over the pixels. This
// is the whole cost of showing a stroke under a stack, so it runs on vector units; the
// pixel-by-pixel form stays beside it as the reference, and NEMU_PLAIN_KERNELS=1 forces it.
#include "paint/stamp_kernels.h"
#include "project/blend.h"
#include "project/compose.h"
#include "project/pixel_lanes.h"

#include <cstring>

namespace nemu {

// ---- The reference ---------------------------------------------------------------------------------------

uint32_t MixPixel(uint32_t above, uint32_t page, uint32_t below, uint32_t d, uint32_t bits) {
    d = d > 255 ? 255 : d;
    if (bits & MixBothBit) return ThreePictures(above, page, below, d);
    if (bits & MixAboveBit) return TwoPictures(above, 255, page, d);
    if (bits & MixBelowBit) return TwoPictures(page, d, below, 255);
    return ScalePixel(page, d);
}

// The two colours of a row: g0 where (x & 16) is clear, g1 where it is set.
static void RowColours(const Backdrop& back, int32_t y, uint32_t* g0, uint32_t* g1) {
    bool swap = back.Kind == Backdrop::Check && (y & 16);
    *g0 = swap ? back.Second : back.First;
    *g1 = back.Kind == Backdrop::Check && !swap ? back.Second : back.First;
}

void MixPixelsPlain(const MixArea& area, uint32_t d, uint32_t bits, const Backdrop& back) {
    const bool a = bits & (MixBothBit | MixAboveBit), c = bits & (MixBothBit | MixBelowBit);
    for (int32_t j = 0; j < area.Height; j++) {
        const uint32_t* above = a ? area.Above + size_t(j) * area.AboveStride : nullptr;
        const uint32_t* page = area.Page + size_t(j) * area.PageStride;
        const uint32_t* below = c ? area.Below + size_t(j) * area.BelowStride : nullptr;
        uint32_t* out = area.Out + size_t(j) * area.OutStride;
        uint32_t g0, g1;
        RowColours(back, area.Y + j, &g0, &g1);
        for (int32_t i = 0; i < area.Width; i++) {
            uint32_t r = MixPixel(a ? above[i] : 0, page[i], c ? below[i] : 0, d, bits);
            if (back.Kind != Backdrop::None) r = BehindPixel(r, ((area.X + i) & 16) ? g1 : g0);
            out[i] = r;
        }
    }
}

// ---- The vector forms ------------------------------------------------------------------------------------

namespace mix8 {
using namespace lanes;

enum MixCase { MixNone, MixAbove, MixBelow, MixBoth };

// The forms of MixPixel, eight pixels at a time. d is the density in every lane, dd the
// same paired. A vector whose pictures are wholly transparent or wholly opaque where that
// settles the answer skips the products: each shortcut gives what the full form gives
// there, broken pixels included.
template <int Case, bool Full> NEMU_WIDE V MixLanes(V t, V m, V b, V d, V dd) {
    if constexpr (Case == MixNone) {
        return Full ? m : Scale(m, dd);
    } else if constexpr (Case == MixAbove) { // TwoPictures(t, 255, m, d)
        V under = Full ? m : Select(Transparent(m), m, Scale(m, dd));
        if (NoneOpaque(t)) return under;
        V kt = Through(t);
        V over = ScaleAdd(m, Full ? kt : MulHalves(kt, dd), t);
        return Select(AllThrough(kt), under, over);
    } else if constexpr (Case == MixBelow) { // TwoPictures(m, d, b, 255)
        if constexpr (Full) {
            // Nothing of b shows through an opaque page.
            if (AllOpaque(m)) return m;
            return Select(Transparent(m), b, ScaleAdd(b, Through(m), m));
        }
        V a = MulHalves(d, Alpha(m));
        V over = ScaleAdd(b, Pair(_mm256_sub_epi32(Splat(255), a)), Scale(m, dd));
        return Select(IsZero(a), b, over);
    } else { // ThreePicturesForm<Full>
        // No shortcuts here: under a stack the pictures are mostly in between, where a test
        // that seldom pays costs more in missed guesses than the products it could skip. An
        // opaque top comes out as itself (it lets nothing through), and r is 0 wherever its
        // alpha is, so the plain form's selects on t and r come out of the two sums.
        V alone = _mm256_andnot_si256(Transparent(m), Full ? m : Scale(m, dd));
        V kt = Through(t);
        V through = ScaleAdd(m, Full ? kt : MulHalves(kt, dd), t);
        V r = Select(AllThrough(kt), alone, through);
        return ScaleAdd(b, Through(r), r);
    }
}

// The backdrop behind the vectors of a row, one after the other: G1 in the lanes whose x
// has bit 4 set. A plain colour needs no lanes of x.
struct BackdropLanes {
    V G0, G1, G0Even, G0Odd, G1Even, G1Odd, X;
    bool Plain;
    NEMU_WIDE void StartRow(const Backdrop& back, int32_t x, int32_t y) {
        uint32_t g0, g1;
        RowColours(back, y, &g0, &g1);
        G0 = Splat(g0), G1 = Splat(g1);
        G0Even = Even(G0), G0Odd = Odd(G0), G1Even = Even(G1), G1Odd = Odd(G1);
        X = _mm256_add_epi32(Splat(uint32_t(x)), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
        Plain = g0 == g1;
    }
    NEMU_WIDE V Over(V p) const {
        if (Plain) return Behind(p, G0, G0Even, G0Odd);
        V first = IsZero(_mm256_and_si256(X, Splat(16)));
        return Behind(p, Select(first, G0, G1), Select(first, G0Even, G1Even), Select(first, G0Odd, G1Odd));
    }
    NEMU_WIDE void Skip(int32_t n) { X = _mm256_add_epi32(X, Splat(uint32_t(n))); }
};

template <int Case, bool Full, bool Back>
NEMU_WIDE V MixVector(const uint32_t* above, const uint32_t* page, const uint32_t* below, V d, V dd,
                      const BackdropLanes& back) {
    V t = Case == MixAbove || Case == MixBoth ? Load(above) : V{};
    V b = Case == MixBelow || Case == MixBoth ? Load(below) : V{};
    V r = MixLanes<Case, Full>(t, Load(page), b, d, dd);
    // Nothing of the backdrop shows through opaque pixels.
    if constexpr (Back)
        if (!AllOpaque(r)) r = back.Over(r);
    return r;
}

template <int Case, bool Full, bool Back>
NEMU_WIDE void MixRowLanes(const uint32_t* above, const uint32_t* page, const uint32_t* below, uint32_t* out,
                           int32_t n, V d, V dd, BackdropLanes& back) {
    constexpr bool A = Case == MixAbove || Case == MixBoth, C = Case == MixBelow || Case == MixBoth;
    int32_t i = 0;
    for (; i + N <= n; i += N, back.Skip(N))
        Store(out + i, MixVector<Case, Full, Back>(A ? above + i : nullptr, page + i, C ? below + i : nullptr,
                                                   d, dd, back));
    if (i == n) return;
    // The last few pixels: when out is apart from what is read, a last whole vector that
    // ends with the row works out some pixels again, to the same values.
    if (n >= N && out != page && (!A || out != above) && (!C || out != below)) {
        back.Skip(n - N - i);
        i = n - N;
        Store(out + i, MixVector<Case, Full, Back>(A ? above + i : nullptr, page + i, C ? below + i : nullptr,
                                                   d, dd, back));
        return;
    }
    // Otherwise through the same lanes, padded.
    uint32_t t[N] = {}, m[N] = {}, b[N] = {}, r[N];
    const size_t rest = size_t(n - i) * 4;
    if (A) std::memcpy(t, above + i, rest);
    std::memcpy(m, page + i, rest);
    if (C) std::memcpy(b, below + i, rest);
    Store(r, MixVector<Case, Full, Back>(t, m, b, d, dd, back));
    std::memcpy(out + i, r, rest);
}

template <int Case, bool Full, bool Back>
NEMU_WIDE void MixAreaLanes(const MixArea& area, uint32_t d, const Backdrop& backdrop) {
    constexpr bool A = Case == MixAbove || Case == MixBoth, C = Case == MixBelow || Case == MixBoth;
    const V dv = Splat(d), dd = Pair(dv);
    BackdropLanes back;
    for (int32_t j = 0; j < area.Height; j++) {
        // Rows lie a page's width apart, too far for the processor to guess the next one:
        // it is asked for while this one is worked on.
        if (j + MixAhead < area.Height) {
            if (A) PrefetchRow(area.Above + size_t(j + MixAhead) * area.AboveStride, area.Width);
            PrefetchRow(area.Page + size_t(j + MixAhead) * area.PageStride, area.Width);
            if (C) PrefetchRow(area.Below + size_t(j + MixAhead) * area.BelowStride, area.Width);
        }
        if constexpr (Back) back.StartRow(backdrop, area.X, area.Y + j);
        MixRowLanes<Case, Full, Back>(A ? area.Above + size_t(j) * area.AboveStride : nullptr,
                                      area.Page + size_t(j) * area.PageStride,
                                      C ? area.Below + size_t(j) * area.BelowStride : nullptr,
                                      area.Out + size_t(j) * area.OutStride, area.Width, dv, dd, back);
    }
}

template <int Case> NEMU_WIDE void MixByForm(const MixArea& area, uint32_t d, const Backdrop& back) {
    const bool on = back.Kind != Backdrop::None;
    if (d >= 255) {
        if (on)
            MixAreaLanes<Case, true, true>(area, 255, back);
        else
            MixAreaLanes<Case, true, false>(area, 255, back);
    } else {
        if (on)
            MixAreaLanes<Case, false, true>(area, d, back);
        else
            MixAreaLanes<Case, false, false>(area, d, back);
    }
}

} // namespace mix8

// ---- Sixteen at a time -----------------------------------------------------------------------------------
// The three-picture case on 512-bit units: the same sums as MixLanes<MixBoth>, the row's
// end taken by a mask rather than a vector worked twice.

namespace mix16 {
using namespace lanes::x16;

template <bool Full> NEMU_WIDER W Three(W t, W m, W b, W dd) {
    W alone = _mm512_maskz_mov_epi32(Mask(~Transparent(m)), Full ? m : Scale(m, dd));
    W kt = Through(t);
    W r = _mm512_mask_mov_epi32(ScaleAdd(m, Full ? kt : MulHalves(kt, dd), t), Transparent(t), alone);
    return ScaleAdd(b, Through(r), r);
}

// The backdrop of a row, as BackdropLanes has it, sixteen lanes at a time.
struct BackLanes {
    W G0, G1, G0Even, G0Odd, G1Even, G1Odd, X;
    bool Plain;
    NEMU_WIDER void StartRow(const Backdrop& back, int32_t x, int32_t y) {
        uint32_t g0, g1;
        RowColours(back, y, &g0, &g1);
        G0 = Splat(g0), G1 = Splat(g1);
        G0Even = Even(G0), G0Odd = Odd(G0), G1Even = Even(G1), G1Odd = Odd(G1);
        X = _mm512_add_epi32(Splat(uint32_t(x)),
                             _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
        Plain = g0 == g1;
    }
    NEMU_WIDER W Over(W p) const {
        if (Plain) return Behind(p, G0, G0Even, G0Odd);
        Mask second = _mm512_test_epi32_mask(X, Splat(16));
        return Behind(p, _mm512_mask_mov_epi32(G0, second, G1), _mm512_mask_mov_epi32(G0Even, second, G1Even),
                      _mm512_mask_mov_epi32(G0Odd, second, G1Odd));
    }
    NEMU_WIDER void Skip() { X = _mm512_add_epi32(X, Splat(N)); }
};

template <bool Full, bool Back>
NEMU_WIDER void ThreeArea(const MixArea& area, uint32_t d, const Backdrop& backdrop) {
    const W dd = Splat(d | d << 16);
    BackLanes back;
    for (int32_t j = 0; j < area.Height; j++) {
        const uint32_t* t = area.Above + size_t(j) * area.AboveStride;
        const uint32_t* m = area.Page + size_t(j) * area.PageStride;
        const uint32_t* b = area.Below + size_t(j) * area.BelowStride;
        uint32_t* out = area.Out + size_t(j) * area.OutStride;
        if (j + MixAhead < area.Height) {
            PrefetchRow(t + MixAhead * area.AboveStride, area.Width);
            PrefetchRow(m + MixAhead * area.PageStride, area.Width);
            PrefetchRow(b + MixAhead * area.BelowStride, area.Width);
        }
        if constexpr (Back) back.StartRow(backdrop, area.X, area.Y + j);
        // Each vector is read whole before it is written, so out may be one of the three.
        for (int32_t i = 0; i < area.Width; i += N) {
            const Mask k = First(area.Width - i);
            W r = Three<Full>(Load(t + i, k), Load(m + i, k), Load(b + i, k), dd);
            if constexpr (Back) {
                // Nothing of the backdrop shows through opaque pixels.
                if ((Opaque(r) & k) != k) r = back.Over(r);
                back.Skip();
            }
            Store(out + i, k, r);
        }
    }
}

NEMU_WIDER_KERNEL void MixThree(const MixArea& area, uint32_t d, const Backdrop& back) {
    const bool on = back.Kind != Backdrop::None;
    if (d >= 255)
        on ? ThreeArea<true, true>(area, 255, back) : ThreeArea<true, false>(area, 255, back);
    else
        on ? ThreeArea<false, true>(area, d, back) : ThreeArea<false, false>(area, d, back);
}
} // namespace mix16

int32_t WiderLanes = -1;

static bool UseWiderLanes() {
    return WiderLanes != 0 && lanes::x16::HasLanes();
}

namespace {
NEMU_WIDE_KERNEL void MixPixelsWide(const MixArea& area, uint32_t d, uint32_t bits, const Backdrop& back) {
    if ((bits & MixBothBit) && UseWiderLanes()) return mix16::MixThree(area, d, back);
    if (bits & MixBothBit)
        mix8::MixByForm<mix8::MixBoth>(area, d, back);
    else if (bits & MixAboveBit)
        mix8::MixByForm<mix8::MixAbove>(area, d, back);
    else if (bits & MixBelowBit)
        mix8::MixByForm<mix8::MixBelow>(area, d, back);
    else
        mix8::MixByForm<mix8::MixNone>(area, d, back);
}
} // namespace

bool MixPixelsFast(const MixArea& area, uint32_t d, uint32_t bits, const Backdrop& back) {
    if (!lanes::HasWideLanes()) return false;
    if (area.Width > 0 && area.Height > 0) MixPixelsWide(area, d > 255 ? 255 : d, bits, back);
    return true;
}

void MixPixels(const MixArea& area, uint32_t d, uint32_t bits, const Backdrop& back) {
    d = d > 255 ? 255 : d;
    if (area.Width < 1 || area.Height < 1) return;
    if (UsePlainKernels() || !lanes::HasWideLanes())
        MixPixelsPlain(area, d, bits, back);
    else
        MixPixelsWide(area, d, bits, back);
}

void MixRow(const uint32_t* above, const uint32_t* page, const uint32_t* below, uint32_t* out, int32_t n,
            uint32_t d, uint32_t bits) {
    MixArea area;
    area.Above = above, area.Page = page, area.Below = below, area.Out = out;
    area.Width = n, area.Height = 1;
    MixPixels(area, d, bits);
}

} // namespace nemu
