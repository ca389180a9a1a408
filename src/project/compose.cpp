// Flattening the stack, backgrounds, and the switches of the editing view.
//
// Sections: state; loading a layer into a buffer; the stack at one image; background.
#include "project/compose.h"

#include "host/main_loop.h"
#include "host/screen.h"
#include "project/blend.h"
#include "project/layers.h"
#include "store/bitmap.h"
#include "store/tile_store.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace nemu {

// ---- State -----------------------------------------------------------------------------------------------

uint32_t& BGP1 = BackColour;
uint32_t& BGP2 = BackColour2;
bool ShowAllLayers = true;
int32_t PelureMode = 0;
bool SafeAreaShown = false;
bool NeedAbove = false;
bool NeedBelow = false;

void SetCurrentDensity(int32_t density) {
    CurrentDensity = density < 0 ? 0 : density > 255 ? 255 : density;
    PageOpacity = CurrentDensity;
    NotifyView(EventDensityGadget, LayerPercent(CurrentDensity));
}

void SetShowAllLayers(bool on) {
    ShowAllLayers = on;
    Redisplay();
}

void SetLayerMode() {
    SetShowAllLayers(true);
}

void DisplayAllLayer() {
    SetShowAllLayers(!ShowAllLayers);
}

void LayerTogglePelureMode() {
    PelureMode = PelureMode ? 0 : 1;
    Redisplay();
}

// ---- Loading a layer into a buffer -----------------------------------------------------------------------

// The first picture into an empty buffer is loaded rather than blended, then scaled by its
// density; what follows is blended over it.
static void LoadScaledLayer(Layer* layer, Bitmap* buffer, int32_t image) {
    if (!LoadLayerImage(buffer, layer, image)) ClearBitmap(buffer, 0);
    if (layer->Density < 255) {
        size_t n = size_t(buffer->Width) * size_t(buffer->Height);
        ScaleRow(buffer->Pixels, buffer->Pixels, n, uint32_t(layer->Density < 0 ? 0 : layer->Density));
    }
}

void AddLayerToBuffer(Layer* layer, Bitmap* buffer, int32_t image, bool* drawn) {
    if (*drawn) {
        OverLayerImage(layer, buffer, image);
    } else {
        LoadScaledLayer(layer, buffer, image);
        *drawn = true;
    }
}

static bool Visible(const Layer* layer, int32_t image) {
    return layer && !(layer->Flags & LayerHidden) && LayerPresent(layer, image);
}

// ---- The stack at one image ------------------------------------------------------------------------------

// Consecutive plain layers go onto the picture band by band rather than one after the
// other over all of it: a band stays in the processor's cache while every layer of the
// run is laid over it, and each layer's code is read from the cache as the bands need it.
// Every pixel still meets the layers in the same order, so the bytes are the same.
constexpr int32_t ComposeBandRows = 32;

// A plain layer with its picture in the cache, or with an empty picture.
static bool Streamable(const Layer* layer) {
    return !layer->Clip && (layer->PackedSize == 0 || (layer->PackedSize > 0 && layer->PackedData));
}

// The run of layers from first to last (exclusive) laid onto bitmap; the first is loaded
// when load is set. false when a layer could not be read as it should be.
static bool ComposeRun(Layer* const* first, Layer* const* last, Bitmap* bitmap, bool load) {
    const size_t count = size_t(last - first), pixels = size_t(bitmap->Width) * size_t(bitmap->Height);
    auto** streams = static_cast<PlainStream**>(std::calloc(count, sizeof(PlainStream*)));
    bool ok = streams != nullptr;
    for (size_t k = 0; ok && k < count; k++) {
        first[k]->Stamp = ClipClock();
        if (first[k]->PackedSize > 0) ok = (streams[k] = OpenPlainStream(first[k], pixels)) != nullptr;
    }
    for (int32_t y = 0; ok && y < bitmap->Height; y += ComposeBandRows) {
        uint32_t* band = bitmap->Pixels + size_t(y) * size_t(bitmap->Width);
        const size_t n = size_t(std::min(ComposeBandRows, bitmap->Height - y)) * size_t(bitmap->Width);
        for (size_t k = 0; ok && k < count; k++) {
            const uint32_t density = uint32_t(std::clamp(first[k]->Density, 0, 255));
            if (k == 0 && load) {
                if (streams[k])
                    ok = StreamPlain(streams[k], band, n, -1);
                else
                    std::memset(band, 0, n * 4);
                if (density < 255) ScaleRow(band, band, n, density);
            } else if (streams[k]) {
                ok = StreamPlain(streams[k], band, n, int(density));
            }
        }
    }
    for (size_t k = 0; streams && k < count; k++) ClosePlainStream(streams[k]);
    std::free(streams);
    return ok;
}

// Each layer that goes onto the picture at this image, from the bottom up.
template <typename F> static void ForEachComposed(int32_t image, bool withBackground, F each) {
    if (ShowAllLayers) {
        if (withBackground && Visible(VideoLayer, image)) each(VideoLayer);
        for (int32_t i = LayerCount - 1; i >= 0; i--)
            if (Visible(&Layers[i], image)) each(&Layers[i]);
    } else if (Layer* current = GetLayer(CurrentLayer); LayerPresent(current, image)) {
        each(current);
    }
}

// Runs of plain layers band by band, other layers whole. false when a run failed; the
// picture is then to be made again layer after layer.
static bool ComposeInBands(Bitmap* bitmap, int32_t image, Layer* const* order, int32_t count) {
    bool drawn = false;
    for (int32_t i = 0; i < count;) {
        if (!Streamable(order[i])) {
            AddLayerToBuffer(order[i], bitmap, image, &drawn);
            i++;
            continue;
        }
        int32_t end = i;
        while (end < count && Streamable(order[end])) end++;
        if (!ComposeRun(order + i, order + end, bitmap, !drawn)) return false;
        drawn = true;
        i = end;
    }
    if (!drawn) ClearBitmap(bitmap, 0);
    return true;
}

int ComposeImage(Bitmap* bitmap, int32_t image, bool withBackground) {
    if (!bitmap || bitmap->Width != PageWidth || bitmap->Height != PageHeight) return 0;
    if (!FlushPage()) return 0;
    auto** order = static_cast<Layer**>(std::malloc(sizeof(Layer*) * size_t(LayerCount + 1)));
    int32_t count = 0;
    if (order) ForEachComposed(image, withBackground, [&](Layer* layer) { order[count++] = layer; });
    // Without memory for the list, or when a run could not be read, layer after layer over
    // the whole picture, which also gives a damaged layer its own way of failing.
    if (!order || !ComposeInBands(bitmap, image, order, count)) {
        bool drawn = false;
        ForEachComposed(image, withBackground,
                        [&](Layer* layer) { AddLayerToBuffer(layer, bitmap, image, &drawn); });
        if (!drawn) ClearBitmap(bitmap, 0);
    }
    std::free(order);
    if (withBackground) ApplyBackground(bitmap, 0, 0);
    return 1;
}

int ComposeCurrent(Bitmap* bitmap, bool withBackground) {
    return ComposeImage(bitmap, CurrentImage, withBackground);
}

int GetLayerImageById(Bitmap* bitmap, uint32_t id, int32_t image) {
    int32_t index = LayerIndexById(id);
    if (index < 0 || !LayerPresent(&Layers[index], image)) return 0;
    if (index == CurrentLayer && !FlushPage()) return 0;
    return LoadLayerImage(bitmap, &Layers[index], image);
}

// ---- Background ------------------------------------------------------------------------------------------

Backdrop DisplayBackdrop() {
    Backdrop back;
    // Both bits set: the check is the more telling, as on the screen.
    if (DisplayFlags & BackgroundCheckBit)
        back.Kind = Backdrop::Check;
    else if (DisplayFlags & BackgroundColourBit)
        back.Kind = Backdrop::Colour;
    back.First = BGP1, back.Second = BGP2;
    return back;
}

void ApplyBackground(Bitmap* bitmap, int32_t x0, int32_t y0) {
    if (!bitmap || !(DisplayFlags & BackgroundBits)) return;
    MixArea area;
    area.Page = area.Out = bitmap->Pixels;
    area.PageStride = area.OutStride = size_t(bitmap->Width);
    area.Width = bitmap->Width, area.Height = bitmap->Height, area.X = x0, area.Y = y0;
    MixPixels(area, 255, 0, DisplayBackdrop());
}

int BackgroundMode() {
    if (DisplayFlags & BackgroundCheckBit) return 2;
    if (DisplayFlags & BackgroundColourBit) return 1;
    return 0;
}

void SetBackgroundMode(int mode) {
    uint32_t flags = DisplayFlags & ~BackgroundBits;
    if (mode == 1) flags |= BackgroundColourBit;
    if (mode == 2) flags |= BackgroundCheckBit;
    if (flags == DisplayFlags) return;
    DisplayFlags = flags;
    SavedCounter = uint32_t(-1);
    NotifyView(EventTimeline);
    RebuildMix(true);
}

void NextBackgroundMode() {
    static const int next[3] = {1, 2, 0};
    SetBackgroundMode(next[BackgroundMode()]);
}

void SetBackgroundColour(int which, uint32_t colour) {
    uint32_t& slot = which ? BGP2 : BGP1;
    if (slot == colour) return;
    slot = colour;
    int mode = BackgroundMode();
    if (mode == 2 || (mode == 1 && which == 0)) RebuildMix(true);
}

} // namespace nemu
