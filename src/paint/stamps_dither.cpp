// Chalk and pencil: the dab's mask is dithered into the scratch mask Mask2, which the
// kernel of the draw mode then applies. Chalk sets a pixel at full strength where a
// random number falls below op * m; pencil spreads each hit over its neighbours as well,
// which gives the grainy, slightly blurred line of graphite.
#include <cstring>

#include "paint/draw_modes.h"
#include "paint/stamp_kernels.h"
#include "paint/tools.h"

namespace nemu {

uint32_t ChalkSeed = 4657;

// Add a constant, rotate the low 16 bits right by 5.
uint32_t NextChalk() {
    uint32_t r = (ChalkSeed + 25953) & 0xFFFF;
    r = ((r >> 5) | (r << 11)) & 0xFFFF;
    ChalkSeed = r;
    return r;
}

namespace {
struct FormKernel {
    MaskKernel Kernel;
    bool FlatChalk; // chalk writes these at full strength; the others take the opacity
};

// Indexed by DitherForm. Shift has no mask kernel: it needs the stamp's Under.
const FormKernel FormKernels[] = {
    {SoftColorMask, true},   {SpareSoftMask, true},    {nullptr, true},
    {SoftBehindMask, false}, {SoftReplaceMask, false}, {SoftEraseMask, false},
    {SoftPantoMask, true},   {ColorizeMask, true},     {TintMask, true},
};

void ApplyForm(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t op, DitherForm form) {
    const FormKernel& f = FormKernels[int(form)];
    if (form == DitherForm::Shift)
        ShiftMask(s, s->Mask2, page, x, y, op, false);
    else
        f.Kernel(s->Mask2, s->Width, s->Width, s->Height, page, x, y, colour, op);
}
} // namespace

void ChalkStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t op, DitherForm form) {
    const size_t n = size_t(s->Width) * s->Height;
    const uint32_t strength = uint32_t(op);
    for (size_t i = 0; i < n; ++i) {
        uint8_t m = s->Mask[i];
        s->Mask2[i] = (m && NextChalk() < strength * m) ? 255 : 0;
    }
    ApplyForm(s, page, x, y, colour, FormKernels[int(form)].FlatChalk ? 255 : op, form);
}

// A hit adds 5 to its own pixel and 1 to each of its four neighbours; the sum becomes a
// strength in fifths of the opacity, full from 5 up.
void PencilStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t op, DitherForm form) {
    const int32_t w = s->Width, h = s->Height;
    uint8_t* m2 = s->Mask2;
    std::memset(m2, 0, size_t(w) * h);
    const uint32_t strength = uint32_t(op);
    for (int32_t j = 1; j < h - 1; ++j)
        for (int32_t i = 1; i < w - 1; ++i) {
            size_t p = size_t(j) * w + i;
            uint8_t m = s->Mask[p];
            if (!m || NextChalk() >= strength * m) continue;
            m2[p] += 5;
            m2[p - 1] += 1, m2[p + 1] += 1, m2[p - w] += 1, m2[p + w] += 1;
        }
    static const int fifths[6] = {0, 51, 102, 153, 204, 255};
    for (size_t p = 0, n = size_t(w) * h; p < n; ++p)
        if (m2[p]) m2[p] = uint8_t((op * fifths[m2[p] < 5 ? m2[p] : 5]) >> 8);
    ApplyForm(s, page, x, y, colour, 255, form);
}

} // namespace nemu
