// The pointe's anti-aliased line: one step per pixel of the major axis, the weight split
// between the two pixels the minor coordinate falls between. There is no stepping and no
// dab; each pixel is blended where it stands.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "host/main_loop.h"
#include "paint/pens.h"
#include "paint/stamp_kernels.h"
#include "paint/tools.h"

namespace nemu {

namespace {
// c + (t - c) * k / 255, truncated towards zero.
inline int Towards(int c, int t, int k) {
    return c + (t - c) * k / 255;
}

void BlendColour(uint32_t& p, uint32_t colour, int k) {
    p = Pack(Towards(ChA(p), 255, k), Towards(ChR(p), ChR(colour), k), Towards(ChG(p), ChG(colour), k),
             Towards(ChB(p), ChB(colour), k));
}
void BlendErase(uint32_t& p, uint32_t, int k) {
    p = Pack(Towards(ChA(p), 0, k), Towards(ChR(p), 0, k), Towards(ChG(p), 0, k), Towards(ChB(p), 0, k));
}
void BlendReplace(uint32_t& p, uint32_t colour, int k) {
    int a = ChA(p);
    p = Pack(a, Towards(ChR(p), ChR(colour) * a / 255, k), Towards(ChG(p), ChG(colour) * a / 255, k),
             Towards(ChB(p), ChB(colour) * a / 255, k));
}

using Blend = void (*)(uint32_t& p, uint32_t colour, int k);

Blend LineBlend(int32_t useBPen) {
    if (useBPen) return BlendErase;
    switch (DrawMode) {
    case 0:
    case 1:
        return BlendColour;
    case 15:
        return BlendErase;
    case 16:
        return BlendReplace;
    default:
        return nullptr;
    }
}

struct LineBox {
    int64_t X0 = INT64_MAX, Y0 = INT64_MAX, X1 = INT64_MIN, Y1 = INT64_MIN;
};

void Plot(Bitmap* page, int64_t x, int64_t y, int k, uint32_t colour, Blend blend, LineBox& box) {
    if (k <= 0 || x < 0 || y < 0 || x >= page->Width || y >= page->Height) return;
    blend(page->Pixels[size_t(y) * page->Width + size_t(x)], colour, k);
    box.X0 = std::min(box.X0, x), box.X1 = std::max(box.X1, x);
    box.Y0 = std::min(box.Y0, y), box.Y1 = std::max(box.Y1, y);
}
} // namespace

int PaintPointeLine(int32_t fx0, int32_t fy0, int32_t fx1, int32_t fy1, uint32_t colour, int32_t useBPen,
                    int32_t first, int32_t op0, int32_t op1) {
    Blend blend = LineBlend(useBPen);
    if (!blend) return 1;
    Bitmap* page = Page;
    if (!page) return 0;
    if (!useBPen) colour = RangeColour(255, colour);
    op0 = std::clamp(op0, 0, 255) * std::clamp(Power, 0, 255) / 255;
    op1 = std::clamp(op1, 0, 255) * std::clamp(Power, 0, 255) / 255;
    const double x0 = fx0 / 65536.0, y0 = fy0 / 65536.0, x1 = fx1 / 65536.0, y1 = fy1 / 65536.0;
    const bool xMajor = std::fabs(x1 - x0) >= std::fabs(y1 - y0);
    const double a0 = xMajor ? x0 : y0, a1 = xMajor ? x1 : y1, b0 = xMajor ? y0 : x0, b1 = xMajor ? y1 : x1;
    const int64_t i0 = int64_t(std::floor(a0)), i1 = int64_t(std::floor(a1));
    const int64_t n = std::llabs(i1 - i0), dir = i1 >= i0 ? 1 : -1;
    const int64_t pageMajor = xMajor ? page->Width : page->Height;
    const double slope = n ? (b1 - b0) / double(i1 - i0) : 0;
    LineBox box;
    // Steps off the page along the major axis are skipped outright.
    int64_t from = first ? 0 : 1, to = n;
    if (dir > 0)
        from = std::max(from, -1 - i0), to = std::min(to, pageMajor - i0);
    else
        from = std::max(from, i0 - pageMajor), to = std::min(to, i0 + 1);
    for (int64_t s = from; s <= to; ++s) {
        int64_t a = i0 + dir * s;
        double b = b0 + slope * double(a - i0);
        double bf = std::floor(b);
        int w = int((1 - (b - bf)) * 255 + 0.5);
        int op = n ? int(op0 + (op1 - op0) * s / n) : op0;
        int64_t bi = int64_t(bf);
        int k0 = w * op / 255, k1 = (255 - w) * op / 255;
        if (xMajor)
            Plot(page, a, bi, k0, colour, blend, box), Plot(page, a, bi + 1, k1, colour, blend, box);
        else
            Plot(page, bi, a, k0, colour, blend, box), Plot(page, bi + 1, a, k1, colour, blend, box);
    }
    if (box.X0 <= box.X1) {
        AddDirtyAndMark(int32_t(box.X0), int32_t(box.Y0), int32_t(box.X1), int32_t(box.Y1));
        RefreshPageRect(int32_t(box.X0), int32_t(box.Y0), int32_t(box.X1 - box.X0 + 1),
                        int32_t(box.Y1 - box.Y0 + 1));
    }
    return 0;
}

} // namespace nemu
