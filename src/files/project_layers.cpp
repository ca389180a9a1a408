// Reading the layers of a project: a layer's first image (DBOD), and its further images in
// the clip's own stream form (SRAW) or as deltas (LDLT).
//
// A file of the page's size in memory's pixels is native: its tiles go into the layer's
// clip as they stand and are never unpacked. Any other file is read at its own size: its
// images are kept as the file has them in a clip of the file's size, where the links
// between images and tiles resolve, and each is converted and then scaled or cropped into
// the layer.
//
// Sections: buffers; the layer; the first image; further images; the end of a layer.
#include "files/iff_chunks.h"
#include "files/image_import.h"
#include "files/lzw.h"
#include "files/project_reader.h"
#include "host/main_loop.h"
#include "paint/draw_modes.h"
#include "project/layers.h"
#include "store/bitmap.h"
#include "store/cache_file.h"
#include "store/scale.h"
#include "store/tile_pack.h"
#include "store/tile_store.h"
#include "ui/requests.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace nemu {

// ---- Buffers ---------------------------------------------------------------------------------

// A picture of the size in slot, made or remade as needed (cleared when made); null
// without memory.
static Bitmap* Ensure(Bitmap*& slot, int32_t width, int32_t height) {
    if (!slot || slot->Width != width || slot->Height != height) {
        FreeBitmap(slot);
        slot = NewClearBitmap(width, height);
    }
    return slot;
}

static void FreeFileClip(ProjectReader& r) {
    if (r.FileClip) r.FileClip->Ops.Free(r.FileClip);
    r.FileClip = nullptr;
}

void FreeReaderBuffers(ProjectReader& r) {
    FreeFileClip(r);
    for (Bitmap** b : {&r.FileImage, &r.Converted, &r.Delta, &r.Scratch}) {
        FreeBitmap(*b);
        *b = nullptr;
    }
}

static Layer* ReadingLayer(ProjectReader& r) {
    return r.LayersRead > 0 ? FindLayerById(r.LayerId) : nullptr;
}

static int64_t BodyBytesInFile(const ProjectReader& r) {
    return std::min<int64_t>(r.BodySize, r.FileSize - r.BodyStart);
}

// Ends the load for a body that could not be decoded whole.
static int BodyFailed(ProjectReader& r, BodyResult result) {
    return StopLoad(r, result == BodyShort ? 2366 : result == BodyNoMemory ? 1000 : 2350);
}

// ---- The layer -------------------------------------------------------------------------------

// The new layer, current and holding the page. The first of a replacing load takes the
// place of the whole project; the first of an adding load goes above the current layer;
// every later one goes under the one read before it.
static Layer* BeginLayer(ProjectReader& r, const char* name) {
    const int32_t first = ClampImage(int32_t(GetU32(r.Head + 4)));
    Layer* layer;
    if (r.LayersRead == 0 && r.Replace) {
        ResetProject(name, 1, 0);
        layer = &Layers[0];
    } else {
        if (!FlushPage()) {
            AlertMsg(1000);
            return nullptr;
        }
        layer = CreateLayer(name, r.LayersRead == 0, 0, first, 1);
        if (!layer) return nullptr;
        CurrentLayer = LayerIndexById(layer->Id);
        layer = &Layers[CurrentLayer];
        PageLayerId = layer->Id;
        if (r.LayersRead == 0) r.FirstIndex = CurrentLayer;
    }
    layer->FirstImage = layer->LastImage = first;
    layer->ClipIndex = 0;
    CurrentImage = first;
    if (uint32_t flags = GetU32(r.Head + 28)) layer->Flags = flags;
    r.ClipCount = 0;
    if (r.HaveHead) {
        layer->Density = int32_t(std::min<uint32_t>(GetU32(r.Head + 16), 255));
        r.ClipCount = int32_t(std::min<uint32_t>(GetU32(r.Head + 12), MaxImagePosition + 1));
        if (r.ClipCount == 0) layer->LastImage = std::max(first, ClampImage(int32_t(GetU32(r.Head + 8))));
    }
    layer->PelureBefore = r.PelureBefore;
    layer->PelureAfter = r.PelureAfter;
    r.LayerId = layer->Id;
    r.LayersRead++;
    r.HaveHead = r.HaveName = false;
    return layer;
}

// The layer's image as the file has it, into a page-sized target that was cleared:
// converted to memory's pixels, then scaled or cropped.
static bool ShowFileImage(ProjectReader& r, Bitmap* target) {
    const Bitmap* source = r.FileImage;
    if (LayoutBytes(r.Layout) == 4 && !LayoutIsMemory(r.Layout)) {
        for (int32_t y = 0; y < source->Height; y++) {
            size_t at = size_t(y) * size_t(source->Width);
            ConvertPixels(reinterpret_cast<const uint8_t*>(source->Pixels + at), source->Width, r.Layout,
                          r.Converted->Pixels + at);
        }
        source = r.Converted;
    }
    if (r.Scale) return ScaleBitmap(source, target, AntiAlias != 0) != 0;
    CopyRectRaw(source, 0, 0, target, 0, 0, std::min(source->Width, target->Width),
                std::min(source->Height, target->Height));
    return true;
}

// ---- The first image -------------------------------------------------------------------------

int ReadLayerBody(ProjectReader& r) {
    if (!r.HaveGlobal || !r.HaveLocation) return StopLoad(r, 2350);
    const int bytes = LayoutBytes(r.Layout);
    if (bytes == 0 || (r.Compression != 0 && r.Compression != 1 && r.Compression != 8))
        return StopLoad(r, 2350);
    if (r.LayersRead > 0) FinishLayer(r);
    r.Native = LayoutIsMemory(r.Layout) && r.FileWidth == PageWidth && r.FileHeight == PageHeight;
    if (!r.Native) {
        // Pictures of the file's size are made only for a body that can fill them, counting
        // the bytes the file really holds rather than what its size field claims.
        if (MinBodyBytes(r.Compression, bytes, r.FileWidth, r.FileHeight) > BodyBytesInFile(r))
            return StopLoad(r, 2350);
        if (!Ensure(r.FileImage, r.FileWidth, r.FileHeight) ||
            (!LayoutIsMemory(r.Layout) && !Ensure(r.Converted, r.FileWidth, r.FileHeight)))
            return StopLoad(r, 1000);
    }
    char name[128];
    if (r.HaveName)
        std::memcpy(name, r.Name, sizeof name);
    else
        LayerNameFromFile(r.Path, r.LayersRead + 1, name, sizeof name);
    if (!BeginLayer(r, name)) return StopLoad(r, 0);
    ClearBitmap(Page, 0);
    if (r.FileImage) ClearBitmap(r.FileImage, 0);
    BodyResult result;
    if (r.Native) {
        result = DecodeDeepBody(r.File, BodyBytesInFile(r), r.Compression, r.Layout, r.FileWidth,
                                r.FileHeight, Page, true);
    } else {
        result = DecodeDeepBody(r.File, BodyBytesInFile(r), r.Compression, r.Layout, r.FileWidth,
                                r.FileHeight, r.FileImage, bytes != 4);
        if (!ShowFileImage(r, Page) && result == BodyDone) result = BodyNoMemory;
    }
    // The page now differs from the (empty) layer: the next flush stores it.
    PageVersion++;
    return result == BodyDone ? 0 : BodyFailed(r, result);
}

// ---- Further images ------------------------------------------------------------------------------

// A plain layer becomes a clip layer of one image, the page's.
static bool EnsureClip(Layer* layer) {
    if (layer->Clip) return true;
    if (PageLayerId != layer->Id) return false;
    Clip* clip = NewClip(layer->Name);
    if (!clip || !clip->Ops.InsertImage(clip, Page, -1, 0)) {
        if (clip) clip->Ops.Free(clip);
        return false;
    }
    if (layer->PackedData) RemoveCacheFile(layer->PackedData);
    layer->PackedData = nullptr;
    layer->PackedSize = 0;
    layer->Clip = clip;
    layer->ClipIndex = 0;
    layer->LastImage = layer->FirstImage;
    ReplaceThumbnail(layer, Page);
    // The page is stored: no flush needs to store it again.
    StoredSerial = PageVersion;
    return true;
}

// The images at the file's size start with the first image, as the file has it.
static bool EnsureFileClip(ProjectReader& r) {
    if (r.FileClip) return true;
    r.FileClip = NewClipSized("", r.FileWidth, r.FileHeight);
    if (r.FileClip && r.FileClip->Ops.InsertImage(r.FileClip, r.FileImage, -1, 0)) return true;
    FreeFileClip(r);
    return false;
}

static bool Append(Clip* clip, const Bitmap* image) {
    return clip->Ops.InsertImage(clip, image, clip->ImageCount - 1, 0) != 0;
}

// The two old forms of a stored image that only the reader knows: a whole image as one
// run (tag 1) or as LZW (tag 0), each behind a block that is skipped.
static int ReadOldForm(ProjectReader& r, Bitmap* target) {
    auto* body = static_cast<uint8_t*>(std::malloc(r.BodySize ? r.BodySize : 1));
    if (!body) return StopLoad(r, 1000);
    size_t size = r.BodySize;
    bool ok = std::fread(body, 1, size, r.File) == size && size >= 12;
    uint32_t tag = ok ? GetU32(body) : 0;
    uint64_t at = 4;
    if (ok) at += 4 + uint64_t(GetU32(body + 4));
    if (ok && tag == 0) at += 4;
    ok = ok && (tag == 0 || tag == 1) && at + 4 <= size;
    uint64_t length = ok ? GetU32(body + at) : 0;
    at += 4;
    ok = ok && at + length <= size;
    const size_t count = size_t(target->Width) * size_t(target->Height);
    if (ok && tag == 1) ok = UnpackRun(body + at, size_t(length), target->Pixels, count) != 0;
    if (ok && tag == 0)
        ok = UnpackLzw(body + at, size_t(length), reinterpret_cast<uint8_t*>(target->Pixels), count * 4) >= 0;
    std::free(body);
    return ok ? 0 : StopLoad(r, 2350);
}

// What SRAW and LDLT need before an image can be added to the layer.
static Layer* LayerForImage(ProjectReader& r) {
    Layer* layer = ReadingLayer(r);
    if (!layer || r.ClipCount == 0) {
        // An image with no layer to go to ends the load, as the file's end would.
        r.Result = -1;
        return nullptr;
    }
    if (r.CutShort) {
        StopLoad(r, 2366);
        return nullptr;
    }
    if (layer->LastImage >= MaxImagePosition || (!r.Native && LayoutBytes(r.Layout) != 4)) {
        StopLoad(r, 2350);
        return nullptr;
    }
    if (!EnsureClip(layer) || (!r.Native && !EnsureFileClip(r)) ||
        !Ensure(r.Scratch, PageWidth, PageHeight)) {
        StopLoad(r, 1000);
        return nullptr;
    }
    return layer;
}

// The image at the file's size, last in FileClip and in FileImage, into the layer.
static int AddFileImage(ProjectReader& r, Layer* layer) {
    r.FileClip->Ops.ReadImage(r.FileClip, r.FileImage, r.FileClip->ImageCount - 1);
    ClearBitmap(r.Scratch, 0);
    if (!ShowFileImage(r, r.Scratch)) return StopLoad(r, 1000);
    if (!Append(layer->Clip, r.Scratch)) return StopLoad(r, 3333);
    return 0;
}

static void ImageAdded(Layer* layer) {
    layer->LastImage = layer->FirstImage + layer->Clip->ImageCount - 1;
}

int ReadStoredImage(ProjectReader& r) {
    Layer* layer = LayerForImage(r);
    if (!layer) return -1;
    Clip* clip = layer->Clip;
    if (r.Native) {
        int got = clip->Ops.ReadStream(clip, clip->ImageCount, r.File, r.BodySize);
        if (got < 0) return StopLoad(r, 2350);
        if (got == 0) {
            if (ReadOldForm(r, r.Scratch) < 0) return -1;
            if (!Append(clip, r.Scratch)) return StopLoad(r, 3333);
        }
        r.RunningValid = false;
        ImageAdded(layer);
        return 0;
    }
    // A link to a whole earlier image is shared in the layer too.
    uint8_t peek[8] = {};
    int64_t start = ftello(r.File);
    bool peeked = std::fread(peek, 1, 8, r.File) == 8 && fseeko(r.File, start, SEEK_SET) == 0;
    Clip* files = r.FileClip;
    int got = peeked ? files->Ops.ReadStream(files, files->ImageCount, r.File, r.BodySize) : -1;
    if (got < 0) return StopLoad(r, 2350);
    if (got == 0) {
        if (ReadOldForm(r, r.FileImage) < 0) return -1;
        if (!Append(files, r.FileImage)) return StopLoad(r, 1000);
    }
    uint32_t linked = GetU32(peek + 4);
    if (got > 0 && GetU32(peek) == 2 && linked < uint32_t(clip->ImageCount)) {
        if (!clip->Ops.CopyImage(clip, int(linked), clip, clip->ImageCount)) return StopLoad(r, 3333);
        files->Ops.ReadImage(files, r.FileImage, files->ImageCount - 1);
    } else if (AddFileImage(r, layer) < 0) {
        return -1;
    }
    ImageAdded(layer);
    return 0;
}

int ReadDeltaImage(ProjectReader& r) {
    Layer* layer = LayerForImage(r);
    if (!layer) return -1;
    Clip* clip = layer->Clip;
    // The delta is added to the image before, byte for byte, as the file has it.
    Bitmap* running = r.Native ? r.Scratch : r.FileImage;
    if (r.Native && !r.RunningValid) {
        ClearBitmap(running, 0);
        clip->Ops.ReadImage(clip, running, clip->ImageCount - 1);
    }
    if (!Ensure(r.Delta, running->Width, running->Height)) return StopLoad(r, 1000);
    BodyResult result = DecodeDeepBody(r.File, BodyBytesInFile(r), r.Compression, r.Layout, r.FileWidth,
                                       r.FileHeight, r.Delta, false);
    if (result != BodyDone) return BodyFailed(r, result);
    size_t count = size_t(running->Width) * size_t(running->Height);
    for (size_t i = 0; i < count; i++) running->Pixels[i] ^= r.Delta->Pixels[i];
    if (r.Native) {
        if (!Append(clip, running)) return StopLoad(r, 3333);
        r.RunningValid = true;
    } else {
        if (!Append(r.FileClip, r.FileImage)) return StopLoad(r, 1000);
        if (AddFileImage(r, layer) < 0) return -1;
    }
    ImageAdded(layer);
    return 0;
}

// ---- The end of a layer ------------------------------------------------------------------------------

void FinishLayer(ProjectReader& r) {
    Layer* layer = ReadingLayer(r);
    // A clip of one image has no further image to make it a clip; it stays one all the same.
    if (layer && r.ClipCount > 0 && !layer->Clip && !EnsureClip(layer)) AlertMsg(1000);
    FreeFileClip(r);
    r.RunningValid = false;
}

} // namespace nemu
