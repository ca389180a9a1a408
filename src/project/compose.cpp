// Flattening the stack, backgrounds, and the switches of the editing view.
//
// Sections: state; loading a layer into a buffer; the stack at one image; background.
#include "project/compose.h"

#include "host/main_loop.h"
#include "host/screen.h"
#include "project/blend.h"
#include "project/layers.h"
#include "store/bitmap.h"

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

int ComposeImage(Bitmap* bitmap, int32_t image, bool withBackground) {
    if (!bitmap || bitmap->Width != PageWidth || bitmap->Height != PageHeight) return 0;
    if (!FlushPage()) return 0;
    bool drawn = false;
    if (ShowAllLayers) {
        if (withBackground && Visible(VideoLayer, image)) AddLayerToBuffer(VideoLayer, bitmap, image, &drawn);
        for (int32_t i = LayerCount - 1; i >= 0; i--)
            if (Visible(&Layers[i], image)) AddLayerToBuffer(&Layers[i], bitmap, image, &drawn);
    } else if (Layer* current = GetLayer(CurrentLayer); LayerPresent(current, image)) {
        AddLayerToBuffer(current, bitmap, image, &drawn);
    }
    if (!drawn) ClearBitmap(bitmap, 0);
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
