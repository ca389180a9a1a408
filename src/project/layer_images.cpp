// A layer's pixels: the packed picture of a plain layer, loading and compositing any
// layer's image, the flush of the page, and the two selections that move the page from
// one image to another.
//
// Sections: the plain picture's code; plain store and loads; thumbnails and the undo
// page; flush; selection.
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

// ---- The plain picture's code ------------------------------------------------------------------
// One run-length run over all the pixels of the picture, so that a unit may cross rows.
// The encoder is the store's; this decoder reads a control byte of -128 as a run of 129
// pixels, which the encoder never writes but older pictures may hold.

// Walks the units of code over count pixels, handing each to the sink as it is decoded.
// 1 when the code covers the pixels exactly; what a damaged code leaves is cleared.
template <typename Sink>
__attribute__((always_inline)) inline int DecodePlain(const uint8_t* code, size_t size, uint32_t* pixels,
                                                      size_t count, Sink& sink) {
    size_t at = 0, done = 0;
    while (done < count && at < size) {
        int c = int8_t(code[at++]);
        if (c < 0) {
            size_t n = size_t(1 - c);
            if (size - at < 4 || n > count - done) break;
            uint32_t pixel;
            std::memcpy(&pixel, code + at, 4);
            at += 4;
            sink.Run(pixels + done, pixel, n);
            done += n;
        } else {
            size_t n = size_t(c) + 1;
            if ((size - at) / 4 < n || n > count - done) break;
            sink.Literal(pixels + done, code + at, n);
            at += 4 * n;
            done += n;
        }
    }
    sink.Finish();
    if (done == count && at == size) return 1;
    if (done < count) sink.Missing(pixels + done, count - done);
    return 0;
}

struct CopySink {
    void Run(uint32_t* d, uint32_t pixel, size_t n) {
        for (size_t i = 0; i < n; i++) d[i] = pixel;
    }
    void Literal(uint32_t* d, const uint8_t* s, size_t n) { std::memcpy(d, s, 4 * n); }
    void Missing(uint32_t* d, size_t n) { std::memset(d, 0, 4 * n); }
    void Finish() {}
};

// Blends units as they come. Painted pictures code mostly as short units (soft edges repeat
// a pixel two or three times), and a blend loop per unit of three pixels is all set-up:
// so consecutive short units gather in a small span, blended in one vector pass when a
// transparent or long run, or the span's end, comes. Transparent runs cost nothing.
struct OverSink {
    static constexpr size_t SpanPixels = 256;
    static constexpr size_t LongRun = 16;
    uint32_t Density;
    uint32_t* SpanStart = nullptr; // where the gathered pixels go
    size_t SpanCount = 0;
    alignas(32) uint32_t Span[SpanPixels];

    __attribute__((always_inline)) void Flush() {
        if (SpanCount)
            AddLayerRowInline(SpanStart, reinterpret_cast<const uint8_t*>(Span), SpanCount, Density);
        SpanCount = 0;
    }
    // Room for n more pixels that continue the span at d.
    __attribute__((always_inline)) void Open(uint32_t* d, size_t n) {
        if (SpanCount && (SpanCount + n > SpanPixels || SpanStart + SpanCount != d)) Flush();
        if (!SpanCount) SpanStart = d;
    }
    __attribute__((always_inline)) void Run(uint32_t* d, uint32_t pixel, size_t n) {
        if ((pixel >> 24) == 0 || n >= LongRun) {
            Flush();
            AddLayerRunInline(d, pixel, n, Density);
            return;
        }
        Open(d, n);
        for (size_t i = 0; i < n; i++) Span[SpanCount + i] = pixel;
        SpanCount += n;
    }
    __attribute__((always_inline)) void Literal(uint32_t* d, const uint8_t* s, size_t n) {
        Open(d, n);
        std::memcpy(Span + SpanCount, s, 4 * n);
        SpanCount += n;
    }
    void Missing(uint32_t*, size_t) {}
    void Finish() { Flush(); }
};

int UnpackPlain(const uint8_t* code, size_t size, uint32_t* pixels, size_t count) {
    CopySink sink;
    return DecodePlain(code, size, pixels, count, sink);
}

// Built twice, for plain and for wide vector units, with the blends inlined.
__attribute__((target_clones("avx2", "default"))) int OverPlain(const uint8_t* code, size_t size,
                                                                uint32_t* pixels, size_t count, int density) {
    OverSink sink;
    sink.Density = uint32_t(density < 0 ? 0 : density > 255 ? 255 : density);
    return DecodePlain(code, size, pixels, count, sink);
}

// ---- Plain store and loads --------------------------------------------------------------------------

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

// ---- Thumbnails and the undo page ----------------------------------------------------------------------

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

// ---- Flush ----------------------------------------------------------------------------------------------

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

// ---- Selection ------------------------------------------------------------------------------------------

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
