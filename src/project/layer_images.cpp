// A layer's pixels: the packed picture of a plain layer, loading and compositing any
// layer's image, the flush of the page, and the two selections that move the page from
// one image to another.
//
// Sections: plain store and loads; thumbnails and the undo page; flush; selection.
#include "host/main_loop.h"
#include "paint/tools.h"
#include "project/blend.h"
#include "project/compose.h"
#include "project/layer_edit.h"
#include "project/layers.h"
#include "store/bitmap.h"
#include "store/cache_file.h"
#include "store/reduce.h"
#include "store/tile_pack.h"
#include "store/tile_store.h"
#include "ui/requests.h"

#include <cstring>

namespace nemu {

// ---- Plain store and loads -------------------------------------------------------------------------------

static size_t PixelCount(const Bitmap* bitmap) {
    return size_t(bitmap->Width) * size_t(bitmap->Height);
}

static bool PageSized(const Bitmap* bitmap) {
    return bitmap && bitmap->Width == PageWidth && bitmap->Height == PageHeight;
}

int StorePlainImage(Layer* layer, const Bitmap* bitmap) {
    if (!layer || !bitmap) return 0;
    size_t count = PixelCount(bitmap);
    // The exact size from a dry run would cost a second pass; the bound costs nothing and
    // the buffer is shared and kept.
    size_t bound = PackBound(count);
    if (bound > size_t(INT32_MAX)) return 0;
    uint8_t* buffer = GetPackBuffer(bound);
    if (!buffer) return 0;
    size_t size = PackRun(bitmap->Pixels, count, buffer);
    layer->Stamp = ClipClock();
    if (!layer->PackedData) {
        CacheFile* data = NewCacheFileData(buffer, int32_t(size), 0);
        if (!data) return 0;
        layer->PackedData = data;
    } else if (!PutCacheFileData(layer->PackedData, buffer, int32_t(size), 0)) {
        return 0;
    }
    layer->PackedSize = int32_t(size);
    return 1;
}

// The packed picture of a plain layer in the pack buffer, or null (*failed says whether the
// cache, rather than memory, let us down).
static const uint8_t* FetchPlain(Layer* layer, bool* storeFailed) {
    *storeFailed = false;
    uint8_t* buffer = GetPackBuffer(size_t(layer->PackedSize));
    if (!buffer) return nullptr;
    if (!layer->PackedData || !GetCacheFileData(layer->PackedData, buffer, layer->PackedSize)) {
        *storeFailed = true;
        return nullptr;
    }
    return buffer;
}

int LoadLayerImage(Bitmap* bitmap, Layer* layer, int32_t image) {
    if (!layer || !bitmap) return 0;
    layer->Stamp = ClipClock();
    if (layer->Clip) {
        // An image that holds no picture yet reads as empty, not as what the bitmap held.
        ClipImage* held = FindImage(layer->Clip, image - layer->FirstImage);
        if (!held || !held->Link) ClearBitmap(bitmap, 0);
        layer->Clip->Ops.ReadImage(layer->Clip, bitmap, image - layer->FirstImage);
        return 1;
    }
    if (layer->PackedSize == 0) {
        ClearBitmap(bitmap, 0);
        return 1;
    }
    if (!PageSized(bitmap)) return 0;
    bool storeFailed;
    const uint8_t* code = FetchPlain(layer, &storeFailed);
    if (!code) {
        if (storeFailed) ClearBitmap(bitmap, 0);
        return 0;
    }
    return UnpackPlain(code, size_t(layer->PackedSize), bitmap->Pixels, PixelCount(bitmap));
}

int OverLayerImage(Layer* layer, Bitmap* bitmap, int32_t image) {
    if (!layer || !bitmap) return 0;
    layer->Stamp = ClipClock();
    if (layer->Clip)
        return layer->Clip->Ops.OverImage(layer->Clip, bitmap, image - layer->FirstImage, layer->Density);
    if (layer->PackedSize == 0) return 1;
    if (!PageSized(bitmap)) return 0;
    bool storeFailed;
    const uint8_t* code = FetchPlain(layer, &storeFailed);
    if (!code) return 0;
    return OverPlain(code, size_t(layer->PackedSize), bitmap->Pixels, PixelCount(bitmap), layer->Density);
}

// ---- Thumbnails and the undo page ------------------------------------------------------------------------

Bitmap* MakeThumbnail(const Bitmap* bitmap) {
    if (bitmap) return ReduceBitmap(bitmap, ThumbnailSide);
    int32_t w, h;
    FitSize(PageWidth > 0 ? PageWidth : 1, PageHeight > 0 ? PageHeight : 1, ThumbnailSide, &w, &h);
    return NewClearBitmap(w, h);
}

void ReplaceThumbnail(Layer* layer, const Bitmap* bitmap) {
    Bitmap* thumbnail = MakeThumbnail(bitmap);
    if (!thumbnail) return;
    FreeBitmap(layer->Thumbnail);
    layer->Thumbnail = thumbnail;
}

// A clip image's thumbnail is its stored base picture: the same reduction, already made.
static void ThumbnailFromClip(Layer* layer, int32_t index) {
    int32_t w, h;
    FitSize(layer->Clip->Width, layer->Clip->Height, ThumbnailSide, &w, &h);
    Bitmap* thumbnail = NewBitmap(w, h);
    if (!thumbnail) return;
    layer->Clip->Ops.ReadBase(layer->Clip, index, thumbnail);
    FreeBitmap(layer->Thumbnail);
    layer->Thumbnail = thumbnail;
}

void RefreshUndoPage() {
    if (Page && BackPage && Page->Width == BackPage->Width && Page->Height == BackPage->Height)
        CopyBitmap(Page, BackPage);
    DirtyRect.Valid = 0;
}

// ---- Flush -----------------------------------------------------------------------------------------------

int FlushPage() {
    if (!Page || !GetLayer(CurrentLayer)) return 0;
    // The page goes back to the layer it was loaded from, wherever the stack has put it.
    Layer* layer = PageLayerId ? FindLayerById(PageLayerId) : GetLayer(CurrentLayer);
    if (!layer) {
        // That layer is gone, and what the page showed went with it.
        StoredSerial = PageVersion;
        return 1;
    }
    if (StoredSerial == PageVersion) {
        layer->Stamp = ClipClock();
        return 1;
    }
    if (layer->Clip) {
        if (layer->Clip->ImageCount < 1) return 0;
        if (!layer->Clip->Ops.StoreImage(layer->Clip, Page, layer->ClipIndex, 0)) return 0;
        ThumbnailFromClip(layer, layer->ClipIndex);
    } else {
        layer->Stamp = ClipClock();
        if (!StorePlainImage(layer, Page)) return 0;
        ReplaceThumbnail(layer, Page);
    }
    layer->Stamp = ClipClock();
    RefreshUndoPage();
    StoredSerial = PageVersion;
    ChangeCounter++;
    return 1;
}

// ---- Selection -------------------------------------------------------------------------------------------

static int32_t ClampToRange(const Layer* layer, int32_t image) {
    if (image < layer->FirstImage) return layer->FirstImage;
    if (image > layer->LastImage) return layer->LastImage;
    return image;
}

static void LoadPageFrom(Layer* layer) {
    LoadLayerImage(Page, layer, CurrentImage);
    layer->ClipIndex = layer->Clip ? CurrentImage - layer->FirstImage : 0;
    if (layer->Clip)
        ThumbnailFromClip(layer, layer->ClipIndex);
    else
        ReplaceThumbnail(layer, Page);
}

Layer* SelectLayerImage(int32_t layerIndex, int32_t image, int quiet) {
    Layer* target = GetLayer(layerIndex);
    if (!target || !Page) return nullptr;
    if (layerIndex != CurrentLayer || target->Id != PageLayerId) {
        SelectionLength = 0;
        NotifyView(EventSelectionCleared);
    }
    NotifyView(EventScrollLayer, layerIndex);
    if (!FlushPage()) return nullptr;
    CurrentLayer = layerIndex;
    Layer* layer = &Layers[layerIndex];
    layer->Flags &= ~LayerHidden;
    CurrentImage = ClampToRange(layer, image);
    NotifyView(EventImageCounter, CurrentImage);
    if (!quiet) NotifyView(EventLayerList);
    LoadPageFrom(layer);
    PageLayerId = layer->Id;
    SetCurrentDensity(layer->Density);
    RefreshUndoPage();
    StoredSerial = PageVersion;
    if (!quiet) {
        NotifyView(EventScrollImage, CurrentImage);
        NotifyView(EventTimeline);
    }
    Redisplay();
    NotifyView(EventNavigator);
    return layer;
}

int SelectImage(int32_t image, int flags) {
    Layer* layer = GetLayer(CurrentLayer);
    if (!layer || !Page) return 0;
    image = ClampToRange(layer, image);
    if (!FlushPage()) return 0;
    CurrentImage = image;
    // A plain layer shows the same picture for every image: the page stays as it is.
    if (layer->Clip) LoadPageFrom(layer);
    RefreshUndoPage();
    StoredSerial = PageVersion;
    if (!(flags & 1)) {
        NotifyView(EventImageCounter, CurrentImage);
        NotifyView(EventScrollImage, CurrentImage);
        NotifyView(EventTimeline);
        Redisplay();
    }
    ImageChangeCount++;
    PluginImageCount++;
    return 1;
}

} // namespace nemu
