// The editing view: what lies above and under the current layer, in the mixer's buffers,
// with onion images and the safe-area frames.
//
// Sections: needs; onion images; safe area; the rebuild.
#include "host/main_loop.h"
#include "host/screen.h"
#include "paint/tools.h"
#include "project/compose.h"
#include "project/layers.h"
#include "project/mixer.h"
#include "store/bitmap.h"

#include <algorithm>
#include <cstdlib>

namespace nemu {

// ---- Needs -----------------------------------------------------------------------------------------------

static bool Wanted(const Layer* layer, int32_t t) {
    return layer && !(layer->Flags & LayerHidden) && LayerPresent(layer, t);
}

static bool OnionOn(const Layer* layer) {
    return layer && (layer->Flags & LayerPelure) && (layer->PelureBefore || layer->PelureAfter);
}

static void WorkOutNeeds(int32_t c, int32_t t, bool* above, bool* below) {
    const Layer* current = GetLayer(c);
    bool wantedAbove = false, wantedBelow = false;
    for (int32_t i = 0; i < LayerCount; i++) {
        if (i == c || !Wanted(&Layers[i], t)) continue;
        (i < c ? wantedAbove : wantedBelow) = true;
    }
    *above = (ShowAllLayers && wantedAbove) || (PelureMode == 1 && OnionOn(current)) || SafeAreaShown;
    *below =
        (PelureMode == 0 && OnionOn(current)) || (ShowAllLayers && (Wanted(VideoLayer, t) || wantedBelow));
}

// ---- Onion images ----------------------------------------------------------------------------------------

void DrawOnionImages(Layer* layer, Bitmap* buffer, int32_t t, bool current, bool* drawn) {
    const int32_t saved = layer->Density;
    const int32_t before = std::abs(layer->PelureBefore), after = std::abs(layer->PelureAfter);
    const int32_t n = std::max(before, after);
    // The current layer's onion over its own image starts stronger: two thirds rather than
    // a half, so that it stays readable through the picture it lies on.
    int32_t strength = current && PelureMode == 1 ? 2 * saved / 3 : saved / 2;
    const struct {
        int32_t Count, Direction;
    } sides[2] = {{before, layer->PelureBefore >= 0 ? 1 : -1}, {after, layer->PelureAfter >= 0 ? 1 : -1}};
    for (int32_t k = 1; k <= n && strength > 0; k++) {
        layer->Density = strength;
        for (const auto& side : sides) {
            int32_t image = t + side.Direction * k;
            if (k > side.Count || !LayerPresent(layer, image)) continue;
            if (!*drawn) {
                ClearBitmap(buffer, 0);
                *drawn = true;
            }
            OverLayerImage(layer, buffer, image);
        }
        strength = 2 * strength / 3;
    }
    layer->Density = saved;
}

// A layer of the stack with its onion images, under or over its own image by PelureMode.
static void DrawStackLayer(Layer* layer, Bitmap* buffer, int32_t t, bool* drawn) {
    if (PelureMode == 1) AddLayerToBuffer(layer, buffer, t, drawn);
    if (OnionOn(layer)) DrawOnionImages(layer, buffer, t, false, drawn);
    if (PelureMode == 0) AddLayerToBuffer(layer, buffer, t, drawn);
}

// ---- Safe area -------------------------------------------------------------------------------------------

static void Plot(Bitmap* b, int32_t x, int32_t y, uint32_t colour) {
    if (x >= 0 && y >= 0 && x < b->Width && y < b->Height)
        b->Pixels[size_t(y) * size_t(b->Width) + x] = colour;
}

// The outline of a rectangle with corners (x0, y0), (x1, y1) rounded by radius r.
static void RoundFrame(Bitmap* b, int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t r,
                       uint32_t colour) {
    if (x1 < x0 || y1 < y0) return;
    r = std::max(0, std::min({r, (x1 - x0) / 2, (y1 - y0) / 2}));
    for (int32_t x = x0 + r; x <= x1 - r; x++) Plot(b, x, y0, colour), Plot(b, x, y1, colour);
    for (int32_t y = y0 + r; y <= y1 - r; y++) Plot(b, x0, y, colour), Plot(b, x1, y, colour);
    // Corner arcs by the midpoint rule, one octant mirrored into each corner.
    int32_t cx0 = x0 + r, cx1 = x1 - r, cy0 = y0 + r, cy1 = y1 - r;
    int32_t x = r, y = 0, err = 1 - r;
    while (x >= y) {
        const int32_t dx[2] = {x, y}, dy[2] = {y, x};
        for (int i = 0; i < 2; i++) {
            Plot(b, cx1 + dx[i], cy1 + dy[i], colour);
            Plot(b, cx0 - dx[i], cy1 + dy[i], colour);
            Plot(b, cx1 + dx[i], cy0 - dy[i], colour);
            Plot(b, cx0 - dx[i], cy0 - dy[i], colour);
        }
        y++;
        if (err < 0) {
            err += 2 * y + 1;
        } else {
            x--;
            err += 2 * (y - x) + 1;
        }
    }
}

void DrawSafeArea(Bitmap* bitmap) {
    if (!bitmap) return;
    const int32_t w = bitmap->Width, h = bitmap->Height, r = std::min(w, h) / 40;
    for (int divisor : {20, 10}) {
        int32_t ix = w / divisor, iy = h / divisor;
        RoundFrame(bitmap, ix, iy, w - 1 - ix, h - 1 - iy, r, 0xFFFFFFFFu);
        RoundFrame(bitmap, ix + 1, iy + 1, w - 2 - ix, h - 2 - iy, r - 1, 0xFF000000u);
    }
}

// ---- The rebuild -----------------------------------------------------------------------------------------

// Makes sure the needed buffers exist; when one cannot be had the whole stack goes first,
// then the onion and frames, leaving the current layer alone on the screen.
static void EnsureNeededBuffers(int32_t c, int32_t t) {
    for (int attempt = 0;; attempt++) {
        WorkOutNeeds(c, t, &NeedAbove, &NeedBelow);
        if (attempt == 2) NeedAbove = NeedBelow = false;
        bool ok = (!NeedAbove || EnsureMixer(0, 0)) && (!NeedBelow || EnsureMixer(2, 0));
        if (ok) return;
        if (attempt == 0 && ShowAllLayers) {
            ShowAllLayers = false;
            NotifyView(EventLayerList);
        } else {
            attempt = 1;
        }
    }
}

void RebuildMix(bool show) {
    if (!Layers || !Page || PageWidth < 1 || PageHeight < 1) return;
    int former = SetPointerShape(2);
    const int32_t c = CurrentLayer, t = CurrentImage;
    Layer* current = &Layers[c];
    EnsureNeededBuffers(c, t);

    if (NeedBelow) {
        bool drawn = false;
        if (ShowAllLayers) {
            if (Wanted(VideoLayer, t)) AddLayerToBuffer(VideoLayer, MixerC, t, &drawn);
            for (int32_t i = LayerCount - 1; i > c; i--)
                if (Wanted(&Layers[i], t)) DrawStackLayer(&Layers[i], MixerC, t, &drawn);
        }
        if (PelureMode == 0 && OnionOn(current)) DrawOnionImages(current, MixerC, t, true, &drawn);
        NeedBelow = drawn;
    }
    if (NeedAbove) {
        bool drawn = false;
        if (PelureMode == 1 && OnionOn(current)) DrawOnionImages(current, MixerA, t, true, &drawn);
        if (ShowAllLayers)
            for (int32_t i = c - 1; i >= 0; i--)
                if (Wanted(&Layers[i], t)) DrawStackLayer(&Layers[i], MixerA, t, &drawn);
        if (SafeAreaShown) {
            if (!drawn) ClearBitmap(MixerA, 0);
            drawn = true;
            DrawSafeArea(MixerA);
        }
        NeedAbove = drawn;
    }

    MixerB = Page;
    DisplayFlags &= ~MixClearedBits;
    if (NeedAbove && NeedBelow)
        DisplayFlags |= MixBothBit;
    else if (NeedAbove)
        DisplayFlags |= MixAboveBit;
    else if (NeedBelow)
        DisplayFlags |= MixBelowBit;
    DisplayFlags |= MixRebuiltBit;
    if (show) RefreshPageRect(0, 0, PageWidth, PageHeight);
    SetPointerShape(former);
}

void Redisplay() {
    RebuildMix(true);
}

} // namespace nemu
