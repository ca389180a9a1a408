// Wet paint. A wet stamp only raises the coverage in WetBuffer; the refresh then
// recomputes each pixel from BackPage and the coverage (through WetLut), so paint laid
// over and over saturates instead of piling up, and a stroke can be redone in place.
//
// Index: stamps - pixel formulas - refresh driver - refresh functions.
#include <algorithm>

#include "host/main_loop.h"
#include "paint/draw_modes.h"
#include "paint/panto.h"
#include "paint/pens.h"
#include "paint/stamp_kernels.h"
#include "paint/tools.h"

namespace nemu {

uint32_t WetColour = 0xFFFF0000;
uint8_t WetLut[256];
int32_t AltAirbrush = 0;

// ---- Stamps ---------------------------------------------------------------------------------------

namespace {
template <class F> void ForWet(Stamp* s, Bitmap* page, int32_t x, int32_t y, F f) {
    if (!WetBuffer || page->Width != PageWidth || page->Height != PageHeight) return;
    DabClip c;
    if (!ClipDab(s->Width, s->Height, x, y, page->Width, page->Height, c)) return;
    for (int32_t j = 0; j < c.H; ++j) {
        const uint8_t* m = s->Mask + size_t(c.Sy + j) * s->Width + c.Sx;
        uint8_t* w = WetBuffer + size_t(c.Dy + j) * page->Width + c.Dx;
        for (int32_t i = 0; i < c.W; ++i)
            if (m[i]) w[i] = uint8_t(f(int(w[i]), int(m[i])));
    }
    ExtendWetRect(c.Dx, c.Dy, c.Dx + c.W - 1, c.Dy + c.H - 1);
}
} // namespace

// Coverage grows towards 255 by the dab's share of what is left, like layers of glaze.
void WetMixStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t, int32_t op) {
    WetColour = colour;
    if (op == 255)
        ForWet(s, page, x, y, [](int w, int m) { return w + Mul(255 - w, m); });
    else
        ForWet(s, page, x, y, [op](int w, int m) { return w + Mul(255 - w, Mul(m, op)); });
}

// The alternative airbrush adds the dab's strength outright, capped.
void WetAddStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t, int32_t op) {
    WetColour = colour;
    ForWet(s, page, x, y, [op](int w, int m) { return std::min(255, w + Mul(m, op)); });
}

// `impress` with a wet pen: the stroke's colour comes from the spare page, once.
void WetImpressStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t, int32_t useBPen, int32_t op) {
    bool fresh = !StrokeColourPicked;
    uint32_t c = ImpressColour(s, x, y);
    if (fresh && (Pen == PenOil || Pen == PenWater)) MakeOilColorTable(c);
    WetMixStamp(s, page, x, y, c, useBPen, op);
}

// ---- Pixel formulas: b is the BackPage pixel, k the strength from WetLut ------------------------------

namespace {
inline uint32_t SoftTowards(uint32_t b, uint32_t colour, int k) {
    if (k == 255) return colour;
    return Pack(Lerp(ChA(b), 255, k), Lerp(ChR(b), ChR(colour), k), Lerp(ChG(b), ChG(colour), k),
                Lerp(ChB(b), ChB(colour), k));
}
inline uint32_t MixTruncating(uint32_t b, uint32_t s, int k) {
    if (k == 255) return s;
    uint32_t v = 0;
    for (int sh = 0; sh < 32; sh += 8)
        v |= uint32_t(((int((s >> sh) & 255) * k + int((b >> sh) & 255) * (255 - k)) / 255) & 255) << sh;
    return v;
}
inline bool Behind(uint32_t b, uint32_t colour, int k, uint32_t& out) {
    int a = ChA(b);
    int t = Mul(k, 255 - a);
    if (!t) return false;
    out = t == 255 ? colour
                   : Pack(a + t, ChR(b) + Mul(ChR(colour), t), ChG(b) + Mul(ChG(colour), t),
                          ChB(b) + Mul(ChB(colour), t));
    return true;
}
inline uint32_t Replace(uint32_t b, uint32_t colour, int k) {
    int a = ChA(b);
    return Pack(a, Lerp(ChR(b), Mul(ChR(colour), a), k), Lerp(ChG(b), Mul(ChG(colour), a), k),
                Lerp(ChB(b), Mul(ChB(colour), a), k));
}

// The embossed edge of oil paint: the slope of the coverage seen from the upper left.
inline uint32_t OilColourAt(const uint8_t* w, int32_t pw) {
    int d = int(w[-pw - 1]) - 2 * int(w[pw + 1]) + int(w[0]);
    return OilColorTable[std::clamp(d, -255, 255) + 256];
}

// ---- Refresh driver -------------------------------------------------------------------------------------

// Recomputes the rectangle (clipped to the page, `inset` pixels inside its rim) from
// BackPage into page, then shows it. f(b, k, wet, px, py, out) returns false to leave a
// pixel as it is.
template <class F> void WetRefresh(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h, int inset, F f) {
    Bitmap* back = BackPage;
    if (WetBuffer && back && back->Width == page->Width && back->Height == page->Height &&
        page->Width == PageWidth && page->Height == PageHeight) {
        DabClip c;
        if (ClipDab(w, h, x - inset, y - inset, page->Width - 2 * inset, page->Height - 2 * inset, c)) {
            c.Dx += inset, c.Dy += inset;
            const int32_t pw = page->Width;
            for (int32_t j = 0; j < c.H; ++j) {
                size_t row = size_t(c.Dy + j) * pw + c.Dx;
                const uint8_t* wet = WetBuffer + row;
                const uint32_t* b = back->Pixels + row;
                uint32_t* p = page->Pixels + row;
                for (int32_t i = 0; i < c.W; ++i) {
                    int k = WetLut[wet[i]];
                    uint32_t out;
                    if (k && f(b[i], k, wet + i, c.Dx + i, c.Dy + j, out)) p[i] = out;
                }
            }
        }
    }
    CopyToScreen(page, x, y, w, h);
}
} // namespace

// ---- Refresh functions
// -------------------------------------------------------------------------------------

void WetSoftColor(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h) {
    const uint32_t colour = WetColour;
    WetRefresh(page, x, y, w, h, 0, [&](uint32_t b, int k, const uint8_t*, int, int, uint32_t& out) {
        out = SoftTowards(b, colour, k);
        return true;
    });
}

void WetOilColor(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h) {
    const int32_t pw = page->Width;
    WetRefresh(page, x, y, w, h, 1, [&](uint32_t b, int k, const uint8_t* wet, int, int, uint32_t& out) {
        out = SoftTowards(b, OilColourAt(wet, pw), k);
        return true;
    });
}

void WetSpareMix(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h) {
    const Bitmap* spare = SparePage;
    if (!spare || spare->Width != page->Width || spare->Height != page->Height)
        return CopyToScreen(page, x, y, w, h);
    WetRefresh(page, x, y, w, h, 0, [&](uint32_t b, int k, const uint8_t*, int px, int py, uint32_t& out) {
        out = MixTruncating(b, spare->Pixels[size_t(py) * spare->Width + px], k);
        return true;
    });
}

void WetSoftPanto(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h) {
    const Bitmap* back = BackPage;
    const int64_t ox = PantoX, oy = PantoY;
    WetRefresh(page, x, y, w, h, 0, [&](uint32_t b, int k, const uint8_t*, int px, int py, uint32_t& out) {
        int64_t sx = px + ox, sy = py + oy;
        if (sx < 0 || sy < 0 || sx >= back->Width || sy >= back->Height) return false;
        out = MixTruncating(b, back->Pixels[size_t(sy) * back->Width + size_t(sx)], k);
        return true;
    });
}

void WetShade(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h) {
    WetRefresh(page, x, y, w, h, 0, [](uint32_t b, int k, const uint8_t*, int, int, uint32_t& out) {
        out = Pack(ChA(b), std::max(0, ChR(b) - k), std::max(0, ChG(b) - k), std::max(0, ChB(b) - k));
        return true;
    });
}

void WetLight(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h) {
    WetRefresh(page, x, y, w, h, 0, [](uint32_t b, int k, const uint8_t*, int, int, uint32_t& out) {
        int a = ChA(b);
        out = Pack(a, std::min(a, ChR(b) + k), std::min(a, ChG(b) + k), std::min(a, ChB(b) + k));
        return true;
    });
}

void WetBehind(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h) {
    const uint32_t colour = WetColour;
    WetRefresh(page, x, y, w, h, 0, [&](uint32_t b, int k, const uint8_t*, int, int, uint32_t& out) {
        return Behind(b, colour, k, out);
    });
}

void WetOilBehind(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h) {
    const int32_t pw = page->Width;
    WetRefresh(page, x, y, w, h, 1, [&](uint32_t b, int k, const uint8_t* wet, int, int, uint32_t& out) {
        return Behind(b, OilColourAt(wet, pw), k, out);
    });
}

// Unlike the dry eraser there is no threshold: wet erasing fades smoothly to nothing.
void WetErase(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h) {
    WetRefresh(page, x, y, w, h, 0, [](uint32_t b, int k, const uint8_t*, int, int, uint32_t& out) {
        out = k == 255 ? 0
                       : Pack(Mul(ChA(b), 255 - k), Mul(ChR(b), 255 - k), Mul(ChG(b), 255 - k),
                              Mul(ChB(b), 255 - k));
        return true;
    });
}

void WetReplace(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h) {
    const uint32_t colour = WetColour;
    WetRefresh(page, x, y, w, h, 0, [&](uint32_t b, int k, const uint8_t*, int, int, uint32_t& out) {
        out = Replace(b, colour, k);
        return true;
    });
}

void WetOilReplace(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h) {
    const int32_t pw = page->Width;
    WetRefresh(page, x, y, w, h, 1, [&](uint32_t b, int k, const uint8_t* wet, int, int, uint32_t& out) {
        out = Replace(b, OilColourAt(wet, pw), k);
        return true;
    });
}

} // namespace nemu
