// Dry colour kernels: plain colour, spare page, panto, erase, behind and replace, each over
// a coverage mask, and the custom-brush forms that also read the brush's own pixels.
//
// Index: clipping - colour - spare and panto - erase - behind - replace - brush stamps.
#include <algorithm>

#include "host/main_loop.h"
#include "paint/draw_modes.h"
#include "paint/panto.h"
#include "paint/stamp_kernels.h"
#include "paint/tools.h"

namespace nemu {

bool ClipDab(int32_t w, int32_t h, int32_t x, int32_t y, int32_t bw, int32_t bh, DabClip& c) {
    int64_t x0 = std::max<int64_t>(x, 0), y0 = std::max<int64_t>(y, 0);
    int64_t x1 = std::min<int64_t>(int64_t(x) + w, bw), y1 = std::min<int64_t>(int64_t(y) + h, bh);
    if (x0 >= x1 || y0 >= y1) return false;
    c.Dx = int32_t(x0), c.Dy = int32_t(y0);
    c.Sx = int32_t(x0 - x), c.Sy = int32_t(y0 - y);
    c.W = int32_t(x1 - x0), c.H = int32_t(y1 - y0);
    return true;
}

namespace {
inline int Strength(int m, int op) {
    return op == 255 ? m : Mul(m, op);
}

// Lerp of the colour channels towards `target`, and of alpha towards `alphaTarget`.
inline uint32_t LerpPixel(uint32_t p, uint32_t target, int alphaTarget, int k) {
    return Pack(Lerp(ChA(p), alphaTarget, k), Lerp(ChR(p), ChR(target), k), Lerp(ChG(p), ChG(target), k),
                Lerp(ChB(p), ChB(target), k));
}

// (255 - k) * p + k * s per channel, rounded by Round255.
inline uint32_t MixPixel(uint32_t p, uint32_t s, int k) {
    int r[4];
    for (int i = 0; i < 4; ++i) {
        int a = int((p >> (8 * i)) & 255), b = int((s >> (8 * i)) & 255);
        r[i] = Round255((255 - k) * a + k * b);
    }
    return Pack(r[3], r[2], r[1], r[0]);
}

// k 0 leaves p, 255 copies s, anything between mixes.
inline void MixInto(uint32_t& p, uint32_t s, int k) {
    if (k == 255)
        p = s;
    else if (k)
        p = MixPixel(p, s, k);
}

inline uint32_t ScalePixel(uint32_t p, int f) {
    return Pack(Mul(ChA(p), f), Mul(ChR(p), f), Mul(ChG(p), f), Mul(ChB(p), f));
}
} // namespace

// ---- Colour -----------------------------------------------------------------------------------

void HardColorMask(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x,
                   int32_t y, uint32_t colour, int32_t) {
    ForMask(mask, stride, w, h, page, x, y, [&](uint32_t& p, int, int, int) { p = colour; });
}

void SoftColorPlain(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x,
                    int32_t y, uint32_t colour, int32_t op) {
    ForMask(mask, stride, w, h, page, x, y, [&](uint32_t& p, int m, int, int) {
        int k = Strength(m, op);
        if (k == 255)
            p = colour;
        else if (k)
            p = LerpPixel(p, colour, 255, k);
    });
}

void Soft4Plain(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x, int32_t y,
                uint32_t colour, int32_t op) {
    ForMask(mask, stride, w, h, page, x, y, [&](uint32_t& p, int m, int, int) {
        int k = Strength(m, op);
        if (k == 255)
            p = colour;
        else if (k)
            p = LerpPixel(p, colour, ChA(colour), k);
    });
}

// With an opaque colour the alpha target of SoftColor is the colour's own alpha, so both
// soft kernels are one lerp of all four channels, which has a vector form.
void SoftColorMask(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x,
                   int32_t y, uint32_t colour, int32_t op) {
    if (ChA(colour) == 255 && !UsePlainKernels() && LerpMaskFast(mask, stride, w, h, page, x, y, colour, op))
        return;
    SoftColorPlain(mask, stride, w, h, page, x, y, colour, op);
}

void Soft4Mask(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x, int32_t y,
               uint32_t colour, int32_t op) {
    if (!UsePlainKernels() && LerpMaskFast(mask, stride, w, h, page, x, y, colour, op)) return;
    Soft4Plain(mask, stride, w, h, page, x, y, colour, op);
}

// ---- Spare page and panto -----------------------------------------------------------------------

void SpareSoftMask(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x,
                   int32_t y, uint32_t, int32_t op) {
    Bitmap* spare = SparePage;
    if (!spare || spare == page) return;
    int32_t sw = spare->Width;
    ForMask(mask, stride, w, h, page, x, y, [&](uint32_t& p, int m, int i, int j) {
        int32_t px = x + i, py = y + j;
        if (px >= sw || py >= spare->Height) return;
        MixInto(p, spare->Pixels[size_t(py) * sw + px], Strength(m, op));
    });
}

void SpareHardMask(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x,
                   int32_t y, uint32_t, int32_t) {
    Bitmap* spare = SparePage;
    if (!spare || spare == page) return;
    ForMask(mask, stride, w, h, page, x, y, [&](uint32_t& p, int, int i, int j) {
        int32_t px = x + i, py = y + j;
        if (px < spare->Width && py < spare->Height) p = spare->Pixels[size_t(py) * spare->Width + px];
    });
}

// The source is the page itself, shifted by the panto offset; pixels painted earlier in
// the same dab are read in their new state, as the rows run top to bottom.
void SoftPantoMask(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x,
                   int32_t y, uint32_t, int32_t op) {
    int64_t ox = PantoX, oy = PantoY;
    ForMask(mask, stride, w, h, page, x, y, [&](uint32_t& p, int m, int i, int j) {
        int64_t sx = int64_t(x) + i + ox, sy = int64_t(y) + j + oy;
        if (sx < 0 || sy < 0 || sx >= page->Width || sy >= page->Height) return;
        MixInto(p, page->Pixels[size_t(sy) * page->Width + size_t(sx)], Strength(m, op));
    });
}

// ---- Erase --------------------------------------------------------------------------------------

// From strength 250 up the pixel is cleared outright, so that a hard eraser leaves no
// faint rest behind.
void SoftEraseMask(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x,
                   int32_t y, uint32_t, int32_t op) {
    ForMask(mask, stride, w, h, page, x, y, [&](uint32_t& p, int m, int, int) {
        int k = Strength(m, op);
        if (k >= 250)
            p = 0;
        else if (k)
            p = ScalePixel(p, 255 - k);
    });
}

void HardEraseMask(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x,
                   int32_t y, uint32_t, int32_t) {
    ForMask(mask, stride, w, h, page, x, y, [&](uint32_t& p, int, int, int) { p = 0; });
}

// ---- Behind: paint only where the page is still transparent --------------------------------------

void SoftBehindMask(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x,
                    int32_t y, uint32_t colour, int32_t op) {
    ForMask(mask, stride, w, h, page, x, y, [&](uint32_t& p, int m, int, int) {
        int a = ChA(p);
        int t = Mul(Strength(m, op), 255 - a);
        if (t == 255)
            p = colour;
        else if (t)
            p = Pack(a + t, ChR(p) + Mul(ChR(colour), t), ChG(p) + Mul(ChG(colour), t),
                     ChB(p) + Mul(ChB(colour), t));
    });
}

// ---- Replace: repaint the colour, keep the transparency ----------------------------------------------

void SoftReplaceMask(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x,
                     int32_t y, uint32_t colour, int32_t op) {
    ForMask(mask, stride, w, h, page, x, y, [&](uint32_t& p, int m, int, int) {
        int k = Strength(m, op);
        if (!k) return;
        int a = ChA(p);
        p = Pack(a, Lerp(ChR(p), Mul(ChR(colour), a), k), Lerp(ChG(p), Mul(ChG(colour), a), k),
                 Lerp(ChB(p), Mul(ChB(colour), a), k));
    });
}

// ---- Custom brush stamps: mask and image together -----------------------------------------------------

namespace {
template <class F> void ForBrush(Stamp* s, Bitmap* page, int32_t x, int32_t y, F f) {
    if (!s->Image) return;
    const uint32_t* image = s->Image->Pixels;
    ForMask(s->Mask, s->Width, s->Width, s->Height, page, x, y,
            [&](uint32_t& p, int m, int i, int j) { f(p, m, image[size_t(j) * s->Width + i], i, j); });
}
} // namespace

void ShapeColorStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t op) {
    ForBrush(s, page, x, y, [&](uint32_t& p, int, uint32_t b, int, int) {
        int k = Strength(ChA(b), op);
        if (k == 255)
            p = colour;
        else if (k)
            p = Pack(Mul(ChA(p), 255 - k) + k, Lerp(ChR(p), ChR(colour), k), Lerp(ChG(p), ChG(colour), k),
                     Lerp(ChB(p), ChB(colour), k));
    });
}

// The brush's own colours over the page; sums are capped, as rounding up on both terms
// can pass 255 by one.
void BrushOverStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, int32_t op) {
    auto over = [](int p, int keep, int add) { return std::min(255, Mul(p, keep) + add); };
    ForBrush(s, page, x, y, [&](uint32_t& p, int, uint32_t b, int, int) {
        int sa = ChA(b);
        if (op == 255) {
            if (sa > 254)
                p = b;
            else if (sa)
                p = Pack(over(ChA(p), 255 - sa, sa), over(ChR(p), 255 - sa, ChR(b)),
                         over(ChG(p), 255 - sa, ChG(b)), over(ChB(p), 255 - sa, ChB(b)));
            return;
        }
        int f = Mul(sa, op);
        if (f == 255)
            p = b;
        else
            p = Pack(over(ChA(p), 255 - f, f), over(ChR(p), 255 - f, Mul(ChR(b), op)),
                     over(ChG(p), 255 - f, Mul(ChG(b), op)), over(ChB(p), 255 - f, Mul(ChB(b), op)));
    });
}

void SpareThroughAlphaStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, int32_t op) {
    Bitmap* spare = SparePage;
    if (!spare || spare == page) return;
    ForBrush(s, page, x, y, [&](uint32_t& p, int, uint32_t b, int i, int j) {
        int32_t px = x + i, py = y + j;
        if (px >= spare->Width || py >= spare->Height) return;
        MixInto(p, spare->Pixels[size_t(py) * spare->Width + px], Strength(ChA(b), op));
    });
}

void BrushBehindStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, int32_t op) {
    ForBrush(s, page, x, y, [&](uint32_t& p, int, uint32_t b, int, int) {
        int a = ChA(p);
        int f = Mul(op, 255 - a);
        if (f == 255)
            p = b;
        else if (f)
            p = Pack(std::min(255, a + Mul(ChA(b), f)), std::min(255, ChR(p) + Mul(ChR(b), f)),
                     std::min(255, ChG(p) + Mul(ChG(b), f)), std::min(255, ChB(p) + Mul(ChB(b), f)));
    });
}

// The brush's plain colour, premultiplied again by the page's alpha.
void BrushReplaceStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, int32_t op) {
    ForBrush(s, page, x, y, [&](uint32_t& p, int m, uint32_t b, int, int) {
        int sa = ChA(b);
        int k = Mul(Strength(m, op), sa);
        if (!k) return;
        int a = ChA(p);
        p = Pack(a, Lerp(ChR(p), Mul(Div(ChR(b), sa), a), k), Lerp(ChG(p), Mul(Div(ChG(b), sa), a), k),
                 Lerp(ChB(p), Mul(Div(ChB(b), sa), a), k));
    });
}

} // namespace nemu
