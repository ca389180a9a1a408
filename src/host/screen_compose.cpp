// The compose rules of the display: what a page pixel looks like on the screen.
//
// Page colours are premultiplied, so showing a pixel over a background g is
// c + Mul(g.c, 255 - a) per channel, with alpha 255, with the paint engine's Mul, which
// rounds up: (x * y + 254) / 255. The rows run through the composition's own row kernel
// (project/blend.h), which also combines the mixer's buffers.
#include "host/screen.h"

#include "paint/draw_modes.h"
#include "project/blend.h"
#include "project/compose.h"
#include "store/bitmap.h"

#include <cstddef>
#include <cstring>

namespace nemu {

uint32_t DisplayFlags = 33;
uint32_t BackColour = 0xFF005F9F;
uint32_t BackColour2 = 0xFF4F8FBF;
int32_t PageOpacity = 255;
uint8_t MonitorRed[256], MonitorGreen[256], MonitorBlue[256], MonitorAlpha[256];
int (*OnionCompose)(int px, int py, int w, int h, Bitmap* dst) = nullptr;

// The monitor profile fills these; until it has, they pass everything through.
static struct MonitorIdentity {
    MonitorIdentity() {
        for (int i = 0; i < 256; i++)
            MonitorRed[i] = MonitorGreen[i] = MonitorBlue[i] = MonitorAlpha[i] = uint8_t(i);
    }
} MonitorIdentityInit;

uint32_t OverColour(uint32_t p, uint32_t g) {
    return BehindPixel(p, g);
}

uint32_t CheckColourAt(int px, int py) {
    // Squares of 16 pixels, anchored on the page so that they move with it.
    return ((px + ((py & 16) ? 16 : 0)) & 16) ? BackColour2 : BackColour;
}

uint32_t UnmultiplyPixel(uint32_t p) {
    uint32_t a = p >> 24;
    if (a == 0 || a == 255) return p;
    uint32_t out = p & 0xFF000000u;
    for (int shift = 0; shift < 24; shift += 8)
        out |= uint32_t(Div(int((p >> shift) & 255), int(a))) << shift;
    return out;
}

uint32_t ScaleByOpacity(uint32_t p, int opacity) {
    return ScalePixel(p, uint32_t(opacity < 0 ? 0 : opacity > 255 ? 255 : opacity));
}

static inline uint32_t ThroughMonitor(uint32_t p) {
    return uint32_t(MonitorBlue[p & 255]) | uint32_t(MonitorGreen[(p >> 8) & 255]) << 8 |
           uint32_t(MonitorRed[(p >> 16) & 255]) << 16 | uint32_t(MonitorAlpha[p >> 24]) << 24;
}

void ThroughMonitorRow(uint32_t* row, int n) {
    for (int i = 0; i < n; i++) row[i] = ThroughMonitor(row[i]);
}

bool ComposeNeeded() {
    return PageOpacity < 255 || BackgroundMode() != 0 ||
           (DisplayFlags & (DISPLAY_MONITOR | DISPLAY_UNMULTIPLY)) ||
           ((DisplayFlags & DISPLAY_ONION) && OnionCompose);
}

void ComposeRows(const Bitmap* src, int sx, int sy, int px, int py, int w, int h, Bitmap* dst) {
    bool monitor = (DisplayFlags & DISPLAY_MONITOR) != 0;
    bool unmultiply = BackgroundMode() == 0 && (DisplayFlags & DISPLAY_UNMULTIPLY);
    int opacity = PageOpacity < 0 ? 0 : PageOpacity > 255 ? 255 : PageOpacity;
    // The mixer's hook puts the background behind in the same pass; without it the page is
    // scaled by its opacity and put over the background in one pass, from the source
    // straight into the strip.
    bool onion = (DisplayFlags & DISPLAY_ONION) && OnionCompose && OnionCompose(px, py, w, h, dst);
    if (!onion) {
        MixArea area;
        area.Page = src->Pixels + std::size_t(sy) * src->Width + sx;
        area.PageStride = std::size_t(src->Width);
        area.Out = dst->Pixels;
        area.OutStride = std::size_t(dst->Width);
        area.Width = w, area.Height = h, area.X = px, area.Y = py;
        Backdrop back = DisplayBackdrop();
        if (back.Kind != Backdrop::None || opacity < 255)
            MixPixels(area, uint32_t(opacity), 0, back);
        else
            for (int r = 0; r < h; r++)
                std::memcpy(area.Out + std::size_t(r) * area.OutStride,
                            area.Page + std::size_t(r) * area.PageStride, std::size_t(w) * 4);
    }
    for (int r = 0; r < h && (unmultiply || monitor); r++) {
        uint32_t* d = dst->Pixels + std::size_t(r) * dst->Width;
        if (unmultiply)
            for (int i = 0; i < w; i++) d[i] = UnmultiplyPixel(d[i]);
        if (monitor) ThroughMonitorRow(d, w);
    }
}

} // namespace nemu
