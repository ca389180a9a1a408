// A page rectangle through the mixer's buffers to a target: the combination of the page
// at the current density with what lies above (A) and under (C) it, then the background
// and the display table. This is all the work of a screen refresh while painting, so it
// costs the same under any number of layers.
//
// Sections: the band loop; the screen's hook. The pixels themselves are MixPixels'
// (project/mix_rows.cpp), which puts the background behind in the same pass.
#include "host/main_loop.h"
#include "host/screen.h"
#include "project/blend.h"
#include "project/compose.h"
#include "project/layers.h"
#include "project/mixer.h"
#include "store/bitmap.h"

#include <algorithm>
#include <cstring>

namespace nemu {

// ---- The band loop ---------------------------------------------------------------------------------------

static Bitmap* ScanBuffer = nullptr; // 16 rows as wide as the page
constexpr int32_t BandRows = 16;

void FreeDisplayBuffers() {
    FreeBitmap(ScanBuffer);
    ScanBuffer = nullptr;
}

static Bitmap* EnsureScanBuffer(int32_t width) {
    if (ScanBuffer && ScanBuffer->Width >= width) return ScanBuffer;
    Bitmap* made = NewBitmap(std::max(width, PageWidth), BandRows);
    if (!made) return nullptr;
    FreeBitmap(ScanBuffer);
    ScanBuffer = made;
    return made;
}

// The buffers the mixer bits ask for, when they are there at the page's size.
static uint32_t UsableBits() {
    uint32_t bits = DisplayFlags & MixBits;
    auto sized = [](const Bitmap* b) { return b && b->Width == PageWidth && b->Height == PageHeight; };
    if ((bits & (MixBothBit | MixAboveBit)) && !sized(MixerA)) return 0;
    if ((bits & (MixBothBit | MixBelowBit)) && !sized(MixerC)) return 0;
    return bits;
}

static uint32_t* RowOf(const Bitmap* b, int32_t x, int32_t y) {
    return b ? b->Pixels + size_t(y) * size_t(b->Width) + size_t(x) : nullptr;
}

// The buffers' part of an area of w by h page pixels at (x, y).
static MixArea Area(int32_t x, int32_t y, int32_t w, int32_t h) {
    MixArea area;
    area.Above = RowOf(MixerA, x, y), area.AboveStride = MixerA ? size_t(MixerA->Width) : 0;
    area.Below = RowOf(MixerC, x, y), area.BelowStride = MixerC ? size_t(MixerC->Width) : 0;
    area.Width = w, area.Height = h, area.X = x, area.Y = y;
    return area;
}

static uint32_t DisplayDensity() {
    return uint32_t(CurrentDensity < 0 ? 0 : CurrentDensity > 255 ? 255 : CurrentDensity);
}

void DisplayRect(const Bitmap* source, int32_t x, int32_t y, Bitmap* target, int32_t tx, int32_t ty,
                 int32_t width, int32_t height, int32_t aboveX, int32_t aboveY) {
    if (!source || !target) return;
    // Clip all four rectangles together: source, target, and the buffers at aboveX, aboveY.
    int32_t left = std::max({0, -x, -tx, -aboveX}), top = std::max({0, -y, -ty, -aboveY});
    x += left, tx += left, aboveX += left, width -= left;
    y += top, ty += top, aboveY += top, height -= top;
    width = std::min({width, source->Width - x, target->Width - tx, PageWidth - aboveX});
    height = std::min({height, source->Height - y, target->Height - ty, PageHeight - aboveY});
    if (width < 1 || height < 1) return;
    // Rows go straight to the target, unless it is one of the pictures being read: then a
    // band is worked out whole before any of it is written.
    const bool direct = target != source && target != MixerA && target != MixerC;
    Bitmap* scan = direct ? nullptr : EnsureScanBuffer(width);
    if (!direct && !scan) return;
    const uint32_t bits = UsableBits(), d = DisplayDensity();
    const Backdrop back = DisplayBackdrop();
    const bool tables = DisplayFlags & DisplayTableBit;
    for (int32_t band = 0; band < height; band += BandRows) {
        int32_t rows = std::min(BandRows, height - band);
        MixArea area = Area(aboveX, aboveY + band, width, rows);
        area.Page = RowOf(source, x, y + band), area.PageStride = size_t(source->Width);
        area.Out = direct ? RowOf(target, tx, ty + band) : scan->Pixels;
        area.OutStride = size_t(direct ? target->Width : scan->Width);
        MixPixels(area, d, bits, back);
        for (int32_t r = 0; tables && r < rows; r++)
            ThroughMonitorRow(area.Out + size_t(r) * area.OutStride, width);
        if (!direct) CopyRectRaw(scan, 0, 0, target, tx, ty + band, width, rows);
    }
}

// ---- The screen's hook -----------------------------------------------------------------------------------

// The screen composes the page with the buffers, and its background, through this.
int ComposeWithMixer(int px, int py, int w, int h, Bitmap* dst) {
    const uint32_t bits = UsableBits();
    if (!bits || !Page || !dst || px < 0 || py < 0 || w > dst->Width || h > dst->Height ||
        px + w > PageWidth || py + h > PageHeight || Page->Width != PageWidth || Page->Height != PageHeight)
        return 0;
    MixArea area = Area(px, py, w, h);
    area.Page = RowOf(Page, px, py), area.PageStride = size_t(Page->Width);
    area.Out = dst->Pixels, area.OutStride = size_t(dst->Width);
    MixPixels(area, DisplayDensity(), bits, DisplayBackdrop());
    return 1;
}

} // namespace nemu
