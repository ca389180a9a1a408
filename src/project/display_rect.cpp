// A page rectangle through the mixer's buffers to a target: the combination of the page
// at the current density with what lies above (A) and under (C) it, then the background
// and the display table. This is all the work of a screen refresh while painting, so it
// costs the same under any number of layers.
//
// Sections: the pixel forms; rows; the band loop; the screen's hook.
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

// ---- The pixel forms -------------------------------------------------------------------------------------
// Written as selects between forms that are all worked out, so that a row runs on vector
// units; each select keeps the exact form of its case, broken pixels included.

// Top t at density dt over bottom b at density db.
static inline uint32_t TwoPictures(uint32_t t, uint32_t dt, uint32_t b, uint32_t db) {
    uint32_t a = MulByte(dt, t >> 24);
    uint32_t under = db < 255 && (b >> 24) != 0 ? ScalePixel(b, db) : b;
    uint32_t k = MulByte(db, 255 - a);
    uint32_t over = ScaleAddPixel(b, k, dt >= 255 ? t : ScalePixel(t, dt));
    return a == 0 ? under : over;
}

// A (t) over the page m at density d over C (b). At full density Mul(x, 255) is x, and
// the products by d drop out.
template <bool Full>
static inline uint32_t ThreePicturesForm(uint32_t t, uint32_t m, uint32_t b, uint32_t d) {
    uint32_t ta = t >> 24;
    // The page is scaled by its density and by what A lets through in one product.
    uint32_t through = ScaleAddPixel(m, Full ? 255 - ta : MulByte(255 - ta, d), t);
    uint32_t alone = (m >> 24) ? (Full ? m : ScalePixel(m, d)) : 0;
    uint32_t r = ta == 0 ? alone : through;
    uint32_t ra = r >> 24;
    uint32_t onBottom = ra == 0 ? b : ScaleAddPixel(b, 255 - ra, r);
    return ta >= 255 ? t : onBottom;
}

static inline uint32_t ThreePictures(uint32_t t, uint32_t m, uint32_t b, uint32_t d) {
    return d >= 255 ? ThreePicturesForm<true>(t, m, b, 255) : ThreePicturesForm<false>(t, m, b, d);
}

// The scalar forms, for the tests to hold the rows to.
uint32_t MixPixel(uint32_t above, uint32_t page, uint32_t below, uint32_t d, uint32_t bits) {
    d = d > 255 ? 255 : d;
    if (bits & MixBothBit) return ThreePictures(above, page, below, d);
    if (bits & MixAboveBit) return TwoPictures(above, 255, page, d);
    if (bits & MixBelowBit) return TwoPictures(page, d, below, 255);
    return ScalePixel(page, d);
}

// ---- Rows ------------------------------------------------------------------------------------------------

__attribute__((target_clones("avx2", "default"))) void MixRow(const uint32_t* above, const uint32_t* page,
                                                              const uint32_t* below, uint32_t* out, int32_t n,
                                                              uint32_t d, uint32_t bits) {
    if (d > 255) d = 255;
    if (bits & MixBothBit) {
        if (d >= 255)
            for (int32_t i = 0; i < n; i++)
                out[i] = ThreePicturesForm<true>(above[i], page[i], below[i], 255);
        else
            for (int32_t i = 0; i < n; i++) out[i] = ThreePicturesForm<false>(above[i], page[i], below[i], d);
    } else if (bits & MixAboveBit) {
        for (int32_t i = 0; i < n; i++) out[i] = TwoPictures(above[i], 255, page[i], d);
    } else if (bits & MixBelowBit) {
        if (d >= 255)
            for (int32_t i = 0; i < n; i++) out[i] = TwoPictures(page[i], 255, below[i], 255);
        else
            for (int32_t i = 0; i < n; i++) out[i] = TwoPictures(page[i], d, below[i], 255);
    } else {
        ScaleRow(out, page, size_t(n), d);
    }
}

static inline uint32_t ThroughTables(uint32_t p) {
    return uint32_t(MonitorBlue[p & 255]) | uint32_t(MonitorGreen[(p >> 8) & 255]) << 8 |
           uint32_t(MonitorRed[(p >> 16) & 255]) << 16 | uint32_t(MonitorAlpha[p >> 24]) << 24;
}

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

static const uint32_t* RowOf(const Bitmap* b, int32_t x, int32_t y) {
    return b ? b->Pixels + size_t(y) * size_t(b->Width) + size_t(x) : nullptr;
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
    Bitmap* scan = EnsureScanBuffer(width);
    if (!scan) return;
    const uint32_t bits = UsableBits();
    const uint32_t d = uint32_t(CurrentDensity < 0 ? 0 : CurrentDensity > 255 ? 255 : CurrentDensity);
    const bool check = DisplayFlags & BackgroundCheckBit, colour = DisplayFlags & BackgroundColourBit;
    const bool tables = DisplayFlags & DisplayTableBit;
    for (int32_t band = 0; band < height; band += BandRows) {
        int32_t rows = std::min(BandRows, height - band);
        for (int32_t r = 0; r < rows; r++) {
            int32_t py = aboveY + band + r;
            uint32_t* out = scan->Pixels + size_t(r) * size_t(scan->Width);
            MixRow(RowOf(MixerA, aboveX, py), RowOf(source, x, y + band + r), RowOf(MixerC, aboveX, py), out,
                   width, d, bits);
            if (check) {
                bool swap = py & 16;
                BehindRow(out, size_t(width), aboveX, swap ? BGP2 : BGP1, swap ? BGP1 : BGP2);
            } else if (colour) {
                BehindRow(out, size_t(width), aboveX, BGP1, BGP1);
            }
            if (tables)
                for (int32_t i = 0; i < width; i++) out[i] = ThroughTables(out[i]);
        }
        CopyRectRaw(scan, 0, 0, target, tx, ty + band, width, rows);
    }
}

// ---- The screen's hook -----------------------------------------------------------------------------------

// The screen composes the page with the buffers through this, then puts its background
// behind the result.
int ComposeWithMixer(int px, int py, int w, int h, Bitmap* dst) {
    const uint32_t bits = UsableBits();
    if (!bits || !Page || !dst || px < 0 || py < 0 || w > dst->Width || h > dst->Height ||
        px + w > PageWidth || py + h > PageHeight || Page->Width != PageWidth || Page->Height != PageHeight)
        return 0;
    const uint32_t d = uint32_t(CurrentDensity < 0 ? 0 : CurrentDensity > 255 ? 255 : CurrentDensity);
    for (int32_t r = 0; r < h; r++) {
        uint32_t* out = dst->Pixels + size_t(r) * size_t(dst->Width);
        MixRow(RowOf(MixerA, px, py + r), RowOf(Page, px, py + r), RowOf(MixerC, px, py + r), out, w, d,
               bits);
    }
    return 1;
}

} // namespace nemu
