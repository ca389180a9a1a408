// The pixel kernels behind the stamp functions, shared by the dab stamps, the round pen's
// spans and the wet refreshes. Internal to the paint engine.
//
// A kernel takes a coverage mask of w by h bytes (rows `stride` apart) whose top left lies
// at page pixel (x, y); it clips against the page and skips coverage 0.
#pragma once
#include <cstddef>
#include <cstdint>

#include "store/bitmap.h"

namespace nemu {

struct Stamp;

// The part of a w by h rectangle at (x, y) that lies inside a bw by bh target: source
// offset (Sx, Sy), target offset (Dx, Dy) and size.
struct DabClip {
    int32_t Sx = 0, Sy = 0, Dx = 0, Dy = 0, W = 0, H = 0;
};
bool ClipDab(int32_t w, int32_t h, int32_t x, int32_t y, int32_t bw, int32_t bh, DabClip& c);

inline int ChB(uint32_t p) {
    return int(p & 255);
}
inline int ChG(uint32_t p) {
    return int((p >> 8) & 255);
}
inline int ChR(uint32_t p) {
    return int((p >> 16) & 255);
}
inline int ChA(uint32_t p) {
    return int(p >> 24);
}
inline uint32_t Pack(int a, int r, int g, int b) {
    return (uint32_t(a & 255) << 24) | (uint32_t(r & 255) << 16) | (uint32_t(g & 255) << 8) |
           uint32_t(b & 255);
}

// Calls f(pixel, m, i, j) for every pixel of the clipped mask with m not 0; i, j are the
// offsets inside the mask.
template <class F>
inline void ForMask(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x,
                    int32_t y, F f) {
    DabClip c;
    if (!ClipDab(w, h, x, y, page->Width, page->Height, c)) return;
    for (int32_t j = 0; j < c.H; ++j) {
        const uint8_t* m = mask + size_t(c.Sy + j) * stride + c.Sx;
        uint32_t* p = page->Pixels + size_t(c.Dy + j) * page->Width + c.Dx;
        for (int32_t i = 0; i < c.W; ++i)
            if (m[i]) f(p[i], int(m[i]), c.Sx + i, c.Sy + j);
    }
}

using MaskKernel = void (*)(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page,
                            int32_t x, int32_t y, uint32_t colour, int32_t op);

// ---- Colour, spare, panto, erase, behind, replace --------------------------------------------
void HardColorMask(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);
void SoftColorMask(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);
void Soft4Mask(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);
void SpareSoftMask(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);
void SpareHardMask(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);
void SoftPantoMask(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);
void SoftEraseMask(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);
void HardEraseMask(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);
void SoftBehindMask(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);
void SoftReplaceMask(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);
// ---- Filters: colour argument and opacity are not used ---------------------------------------
void ColorizeMask(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);
void TintMask(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);
void ShadeMask(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);
void LightMask(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);
void GrainMask(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);

// The plain forms of the kernels that have a fast form, and the switch between them:
// NEMU_PLAIN_KERNELS=1 in the environment, or PlainKernels set by a test.
extern int32_t PlainKernels;
bool UsePlainKernels();
void SoftColorPlain(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);
void Soft4Plain(const uint8_t*, int32_t, int32_t, int32_t, Bitmap*, int32_t, int32_t, uint32_t, int32_t);
// Lerps every channel of the clipped pixels towards `target` by Mul(m, op); false when the
// machine has no vector form, and the caller runs the plain loop.
bool LerpMaskFast(const uint8_t* mask, int32_t stride, int32_t w, int32_t h, Bitmap* page, int32_t x,
                  int32_t y, uint32_t target, int32_t op);

// ---- Stamps that need the stamp itself (its Image or Under) ----------------------------------
void ShapeColorStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t op);
void BrushOverStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, int32_t op);
void SpareThroughAlphaStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, int32_t op);
void BrushBehindStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, int32_t op);
void BrushReplaceStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, int32_t op);
// `shift`: the first stamp of a stroke fills Under; later ones exchange with it.
void ShiftMask(Stamp* s, const uint8_t* mask, Bitmap* page, int32_t x, int32_t y, int32_t op, bool hard);
void SmoothMask(Stamp* s, const uint8_t* mask, Bitmap* page, int32_t x, int32_t y, bool blur);
// The impress colour of the stroke, taken once from the spare page.
uint32_t ImpressColour(const Stamp* s, int32_t x, int32_t y);
// Chalk and pencil: the dither, then the flat or soft kernel.
enum class DitherForm { Color, Spare, Shift, Behind, Replace, Erase, Panto, Colorize, Tint };
void ChalkStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t op, DitherForm form);
void PencilStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t op, DitherForm form);
// One step of the dither's generator.
uint32_t NextChalk();

// ---- Wet pens: stamps raise WetBuffer, refreshes recompute Page from BackPage --------------------
void WetMixStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t useBPen, int32_t op);
void WetAddStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t useBPen, int32_t op);
void WetImpressStamp(Stamp* s, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t useBPen,
                     int32_t op);
void WetSoftColor(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h);
void WetOilColor(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h);
void WetSpareMix(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h);
void WetSoftPanto(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h);
void WetShade(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h);
void WetLight(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h);
void WetBehind(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h);
void WetOilBehind(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h);
void WetErase(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h);
void WetReplace(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h);
void WetOilReplace(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h);

} // namespace nemu
