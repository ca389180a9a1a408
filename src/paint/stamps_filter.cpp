// Kernels that work on the page's own colours: colorize, tint, shade, light, grain,
// smooth and blur, shift, and the colours that smear and impress take from a picture.
//
// Index: colorize and tint - shade and light - grain - smooth and blur - shift - picked colours.
#include <algorithm>
#include <cstdlib>

#include "host/main_loop.h"
#include "paint/colour.h"
#include "paint/draw_modes.h"
#include "paint/stamp_kernels.h"
#include "paint/tools.h"

namespace nemu {

int32_t GrainBits = 4;
uint32_t PickedColour = 0;

// ---- Colorize and tint ------------------------------------------------------------------------------

// The grey of the plain colour picks a ramp entry, premultiplied again by the pixel's alpha.
void ColorizeMask(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x,
                  int32_t y, uint32_t, int32_t) {
    ForMask(mask, stride, w, h, page, x, y, [&](uint32_t& p, int, int, int) {
        int a = ChA(p);
        if (!a) return;
        uint32_t c = ColorizeRamp[Luma(Div(ChR(p), a), Div(ChG(p), a), Div(ChB(p), a))];
        p = Pack(a, Mul(ChR(c), a), Mul(ChG(c), a), Mul(ChB(c), a));
    });
}

// Keeps each pixel's lightness and saturation (its largest and smallest channel) and moves
// its hue to the pen's: the middle channel is placed by the fraction inside the sextant.
void TintMask(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x, int32_t y,
              uint32_t, int32_t) {
    if (TintSextant < 0) return;
    const int s = TintSextant % 6;
    const int64_t frac = TintFrac;
    ForMask(mask, stride, w, h, page, x, y, [&](uint32_t& p, int, int, int) {
        int r = ChR(p), g = ChG(p), b = ChB(p);
        int hi = std::max(r, std::max(g, b)), lo = std::min(r, std::min(g, b));
        int v = int(((hi - lo) * frac) >> 16);
        int mid = (s & 1) ? hi - v : lo + v;
        static const int8_t order[6][3] = {{0, 1, 2}, {1, 0, 2}, {2, 0, 1}, {2, 1, 0}, {1, 2, 0}, {0, 2, 1}};
        const int level[3] = {hi, mid, lo};
        p = Pack(ChA(p), level[order[s][0]], level[order[s][1]], level[order[s][2]]);
    });
}

// ---- Shade and light: one step a dab, opacity plays no part -------------------------------------------

void ShadeMask(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x, int32_t y,
               uint32_t, int32_t) {
    ForMask(mask, stride, w, h, page, x, y, [&](uint32_t& p, int, int, int) {
        int r = ChR(p), g = ChG(p), b = ChB(p);
        p = Pack(ChA(p), r - (r > 0), g - (g > 0), b - (b > 0));
    });
}

// Stops at the pixel's alpha, so the premultiplied form stays valid.
void LightMask(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x, int32_t y,
               uint32_t, int32_t) {
    ForMask(mask, stride, w, h, page, x, y, [&](uint32_t& p, int, int, int) {
        int a = ChA(p), r = ChR(p), g = ChG(p), b = ChB(p);
        p = Pack(a, r + (r < a), g + (g < a), b + (b < a));
    });
}

// ---- Grain ---------------------------------------------------------------------------------------------

// Each channel's low bits are compared with a noise value and the channel rounded to a
// coarser step up or down accordingly: an ordered-looking dither made from noise.
void GrainMask(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x, int32_t y,
               uint32_t, int32_t) {
    DabClip c;
    if (!ClipDab(w, h, x, y, page->Width, page->Height, c)) return;
    const int bits = std::clamp<int>(GrainBits, 0, 7);
    const int low = 255 >> bits, high = ~low & 255, step = low + 1;
    for (int32_t j = 0; j < c.H; ++j) {
        const uint8_t* m = mask + size_t(c.Sy + j) * stride + c.Sx;
        uint32_t* p = page->Pixels + size_t(c.Dy + j) * page->Width + c.Dx;
        uint32_t r = uint32_t(std::rand());
        for (int32_t i = 0; i < c.W; ++i) {
            int a = ChA(p[i]);
            if (!m[i] || !a) continue;
            r = (((r & 0xFFFF) >> 11) | (r << 5)) - 22191u;
            int t = int(r) & low;
            auto grain = [&](int v) { return (v & low) > t ? (v & high) + step : v & high; };
            if (a != 255) a = std::min(255, grain(a));
            p[i] = Pack(a, std::min(a, grain(ChR(p[i]))), std::min(a, grain(ChG(p[i]))),
                        std::min(a, grain(ChB(p[i]))));
        }
    }
}

// ---- Smooth and blur -------------------------------------------------------------------------------------

// The results go to Under first so that every pixel reads its neighbours as they were;
// the page's rim is left out since it lacks neighbours.
void SmoothMask(Stamp* s, const uint8_t* mask, Bitmap* page, int32_t x, int32_t y, bool blur) {
    if (!s->Under || page->Width < 3 || page->Height < 3) return;
    DabClip c;
    if (!ClipDab(s->Width, s->Height, x - 1, y - 1, page->Width - 2, page->Height - 2, c)) return;
    c.Dx += 1, c.Dy += 1; // the clip ran on the page's inside
    const int32_t pw = page->Width;
    uint32_t* under = s->Under->Pixels;
    for (int32_t j = 0; j < c.H; ++j) {
        const uint8_t* m = mask + size_t(c.Sy + j) * s->Width + c.Sx;
        uint32_t* u = under + size_t(c.Sy + j) * s->Width + c.Sx;
        const uint32_t* p = page->Pixels + size_t(c.Dy + j) * pw + c.Dx;
        for (int32_t i = 0; i < c.W; ++i) {
            u[i] = 0;
            if (!m[i]) continue;
            uint32_t v = 0;
            for (int sh = 0; sh < 32; sh += 8) {
                auto ch = [&](const uint32_t* q) { return int((*q >> sh) & 255); };
                int around = ch(p + i - 1) + ch(p + i + 1) + ch(p + i - pw) + ch(p + i + pw);
                int r = blur ? (around + ch(p + i) + 2) / 5 : (around + 60 * ch(p + i) + 31) >> 6;
                v |= uint32_t(r) << sh;
            }
            u[i] = v;
        }
    }
    for (int32_t j = 0; j < c.H; ++j) {
        const uint32_t* u = under + size_t(c.Sy + j) * s->Width + c.Sx;
        uint32_t* p = page->Pixels + size_t(c.Dy + j) * pw + c.Dx;
        for (int32_t i = 0; i < c.W; ++i)
            if (u[i]) p[i] = u[i];
    }
}

// ---- Shift: the dab carries page pixels along the stroke --------------------------------------------------

void ShiftMask(Stamp* s, const uint8_t* mask, Bitmap* page, int32_t x, int32_t y, int32_t op, bool hard) {
    if (!s->Under) return;
    DabClip c;
    if (!ClipDab(s->Width, s->Height, x, y, page->Width, page->Height, c)) return;
    const bool arming = !ShiftArmed;
    ShiftArmed = 1;
    for (int32_t j = 0; j < c.H; ++j) {
        const uint8_t* m = mask + size_t(c.Sy + j) * s->Width + c.Sx;
        uint32_t* u = s->Under->Pixels + size_t(c.Sy + j) * s->Width + c.Sx;
        uint32_t* p = page->Pixels + size_t(c.Dy + j) * page->Width + c.Dx;
        for (int32_t i = 0; i < c.W; ++i) {
            if (arming) {
                u[i] = p[i];
            } else if (hard) {
                if (m[i]) std::swap(u[i], p[i]);
            } else {
                uint32_t old = p[i];
                int k = op == 255 ? m[i] : Mul(m[i], op);
                if (k)
                    p[i] = Pack(Lerp(ChA(old), ChA(u[i]), k), Lerp(ChR(old), ChR(u[i]), k),
                                Lerp(ChG(old), ChG(u[i]), k), Lerp(ChB(old), ChB(u[i]), k));
                u[i] = old;
            }
        }
    }
}

// ---- Colours taken from a picture
// ----------------------------------------------------------------------------

uint32_t AverageUnder(const Stamp* stamp, int32_t x, int32_t y, const Bitmap* bitmap) {
    DabClip c;
    if (!bitmap || !ClipDab(stamp->Width, stamp->Height, x, y, bitmap->Width, bitmap->Height, c)) return 0;
    uint64_t sum[4] = {}, n = 0;
    for (int32_t j = 0; j < c.H; ++j) {
        const uint8_t* m = stamp->Mask + size_t(c.Sy + j) * stamp->Width + c.Sx;
        const uint32_t* p = bitmap->Pixels + size_t(c.Dy + j) * bitmap->Width + c.Dx;
        for (int32_t i = 0; i < c.W; ++i) {
            if (!m[i]) continue;
            for (int k = 0; k < 4; ++k) sum[k] += (p[i] >> (8 * k)) & 255;
            ++n;
        }
    }
    if (!n) return 0;
    uint32_t v = 0;
    for (int k = 0; k < 4; ++k) v |= uint32_t(sum[k] / n) << (8 * k);
    return v;
}

// Taken once a stroke from the spare page and made opaque, so that the whole stroke
// prints in one plain colour.
uint32_t ImpressColour(const Stamp* s, int32_t x, int32_t y) {
    if (StrokeColourPicked) return PickedColour;
    uint32_t c = AverageUnder(s, x + s->Width / 2, y + s->Height / 2, SparePage);
    int a = ChA(c);
    if (a == 0)
        c = APen;
    else if (a != 255)
        c = Pack(255, std::min(255, 255 * ChR(c) / a), std::min(255, 255 * ChG(c) / a),
                 std::min(255, 255 * ChB(c) / a));
    PickedColour = c;
    StrokeColourPicked = 1;
    return c;
}

} // namespace nemu
