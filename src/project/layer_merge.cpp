// Making a plain layer into an animation, merging a layer into the current one, and
// merging the whole display into one layer.
//
// Sections: make animation; the merge's pixels; merge a layer; merge the display.
#include "host/main_loop.h"
#include "paint/draw_modes.h"
#include "paint/tools.h"
#include "project/blend.h"
#include "project/compose.h"
#include "project/layer_edit.h"
#include "project/layer_undo.h"
#include "script/command_host.h"
#include "store/bitmap.h"
#include "store/cache_file.h"
#include "store/tile_store.h"
#include "store/undo.h"
#include "ui/catalog.h"
#include "ui/requests.h"

#include <algorithm>
#include <vector>

namespace nemu {

// ---- Make animation --------------------------------------------------------------------------------------

// A full copy of layer whose picture is bitmap, for an undo slot; 0 without memory.
static int CopyPlainLayer(const Layer* layer, const Bitmap* picture, Layer* copy) {
    *copy = *layer;
    copy->PackedData = nullptr, copy->PackedSize = 0, copy->Clip = nullptr;
    copy->Thumbnail = MakeThumbnail(picture);
    if (copy->Thumbnail && StorePlainImage(copy, picture)) return 1;
    FreeLayerData(copy);
    return 0;
}

int MakeAnim(int32_t index, int quiet) {
    Layer* layer = GetLayer(index);
    if (!layer) return 0;
    if (layer->Clip) return 1;
    ClearLayerUndo();
    if (!SelectLayerImage(index, CurrentImage, quiet)) return 0;
    layer = &Layers[CurrentLayer];
    Clip* clip = NewClip(layer->Name);
    if (!clip) {
        AlertMsg(8161);
        return 0;
    }
    Layer former;
    if (!CopyPlainLayer(layer, Page, &former)) {
        clip->Ops.Free(clip);
        AlertMsg(1000);
        return 0;
    }
    // Every image of the former hold shares the tiles of the first.
    bool ok = clip->Ops.InsertImage(clip, Page, -1, 1);
    for (int32_t i = layer->FirstImage + 1; ok && i <= layer->LastImage; i++)
        ok = clip->Ops.DuplicateImage(clip, 0);
    if (!ok) {
        clip->Ops.Free(clip);
        FreeLayerData(&former);
        AlertMsg(8162);
        return 0;
    }
    UndoLayer = former;
    UndoLayerId = layer->Id;
    if (layer->PackedData) RemoveCacheFile(layer->PackedData);
    layer->PackedData = nullptr;
    layer->PackedSize = 0;
    layer->Clip = clip;
    layer->ClipIndex = CurrentImage - layer->FirstImage;
    RecordLayerUndoMsg(2, 8200);
    ChangeCounter++;
    if (!quiet) NotifyView(EventLayerList);
    return 1;
}

int EnsureAnim(int32_t index) {
    Layer* layer = GetLayer(index);
    return layer && (layer->Clip || MakeAnim(index, 1));
}

// ---- The merge's pixels ----------------------------------------------------------------------------------

static uint32_t MergeOver(uint32_t c, uint32_t o, uint32_t d) {
    return AddLayerPixel(c, o, d);
}
static uint32_t MergeBehind(uint32_t c, uint32_t o, uint32_t d) {
    return AddLayerPixel(ScalePixel(o, d), c, 255);
}
static uint32_t MergeErase(uint32_t c, uint32_t o, uint32_t d) {
    return ScalePixel(c, 255 - MulByte(d, o >> 24));
}
static uint32_t MergeReplace(uint32_t c, uint32_t o, uint32_t d) {
    return MulByte(d, o >> 24) ? ScalePixel(o, d) : c;
}

using MergeFn = uint32_t (*)(uint32_t, uint32_t, uint32_t);
// By draw mode: behind puts the other layer under, erase cuts the current one by it,
// replace puts it in place; every other mode lays it over.
static const MergeFn MergeFns[18] = {
    MergeOver, MergeOver, MergeOver, MergeOver, MergeOver, MergeOver,   MergeOver,  MergeOver,    MergeOver,
    MergeOver, MergeOver, MergeOver, MergeOver, MergeOver, MergeBehind, MergeErase, MergeReplace, MergeOver,
};

uint32_t MergePixel(uint32_t current, uint32_t other, uint32_t d, int32_t drawMode) {
    MergeFn fn = drawMode >= 0 && drawMode < 18 ? MergeFns[drawMode] : MergeOver;
    return fn(current, other, d > 255 ? 255 : d);
}

static void MergeBitmap(Bitmap* into, const Bitmap* other, uint32_t d) {
    size_t n = size_t(into->Width) * size_t(into->Height);
    for (size_t i = 0; i < n; i++)
        into->Pixels[i] = MergePixel(into->Pixels[i], other->Pixels[i], d, DrawMode);
}

// ---- Merge a layer ---------------------------------------------------------------------------------------

// The images of both layers over the span of both, merged into a new clip, or null.
static Clip* MergedClip(Layer* current, Layer* other, int32_t first, int32_t last, Bitmap* work,
                        Bitmap* picture) {
    Clip* clip = NewClip(current->Name);
    if (!clip) return nullptr;
    bool otherLoaded = false;
    for (int32_t t = first; t <= last; t++) {
        if (LayerPresent(current, t)) {
            if (!LoadLayerImage(work, current, t)) ClearBitmap(work, 0);
        } else {
            ClearBitmap(work, 0);
        }
        if (LayerPresent(other, t)) {
            // A plain layer's picture is the same for every image: loaded once.
            if (other->Clip || !otherLoaded) {
                if (!LoadLayerImage(picture, other, t)) ClearBitmap(picture, 0);
                otherLoaded = true;
            }
            MergeBitmap(work, picture, uint32_t(other->Density));
        }
        if (UserBreak || !clip->Ops.InsertImage(clip, work, clip->ImageCount - 1, 0)) {
            UserBreak = 0;
            clip->Ops.Free(clip);
            return nullptr;
        }
    }
    return clip;
}

int MergeLayerInto(int32_t index) {
    Layer* other = GetLayer(index);
    Layer* current = GetLayer(CurrentLayer);
    if (!other || !current || index == CurrentLayer || !FlushPage()) return 0;
    Bitmap* picture = NewBitmap(PageWidth, PageHeight);
    if (!picture) {
        AlertMsg(1000);
        return 0;
    }
    if (!current->Clip && !other->Clip && current->FirstImage == other->FirstImage &&
        current->LastImage == other->LastImage) {
        // One picture into another: a change of the page, which the page's undo takes back.
        SnapshotBackPage();
        if (!LoadLayerImage(picture, other, other->FirstImage)) ClearBitmap(picture, 0);
        MergeBitmap(Page, picture, uint32_t(other->Density));
        FreeBitmap(picture);
        AddDirtyAndMark(0, 0, PageWidth - 1, PageHeight - 1);
        MarkPageChanged();
        Redisplay();
        return 1;
    }
    Bitmap* work = NewBitmap(PageWidth, PageHeight);
    int32_t first = std::min(current->FirstImage, other->FirstImage);
    int32_t last = std::max(current->LastImage, other->LastImage);
    ClearLayerUndo();
    Clip* clip = work ? MergedClip(current, other, first, last, work, picture) : nullptr;
    FreeBitmap(work);
    FreeBitmap(picture);
    if (!clip) {
        AlertMsg(8170);
        return 0;
    }
    // The merged layer is a new one in the current one's place; the old record is the step.
    Layer made = Layers[CurrentLayer];
    made.Id = NextLayerId++;
    made.PackedData = nullptr, made.PackedSize = 0;
    made.Thumbnail = MakeThumbnail(nullptr);
    made.Clip = clip;
    made.FirstImage = first;
    made.LastImage = first + clip->ImageCount - 1;
    UndoLayer = Layers[CurrentLayer];
    Layers[CurrentLayer] = made;
    UndoLayerId = made.Id;
    RecordLayerUndoMsg(2, 8217);
    ChangeCounter++;
    StoredSerial = PageVersion;
    SelectLayerImage(CurrentLayer, CurrentImage, 0);
    return 1;
}

int MergeLayerById(uint32_t id) {
    return MergeLayerInto(LayerIndexById(id));
}

// ---- Merge the display -----------------------------------------------------------------------------------

int MergeDisplay() {
    if (!ShowAllLayers || LayerCount < 2 || !Layers) return 0;
    if (!AskYesNo(MsgGet(nullptr, 8111), MsgGet(nullptr, 1001), MsgGet(nullptr, 1002))) return 0;
    return MergeDisplayNow();
}

int MergeDisplayNow() {
    if (!ShowAllLayers || LayerCount < 2 || !Layers) return 0;
    int32_t first = INT32_MAX, last = -1;
    bool animation = false;
    for (int32_t i = 0; i < LayerCount; i++) {
        const Layer& layer = Layers[i];
        if (layer.Flags & LayerHidden) continue;
        if (last >= 0 && (layer.FirstImage != first || layer.LastImage != last)) animation = true;
        animation |= layer.Clip != nullptr;
        first = std::min(first, layer.FirstImage);
        last = std::max(last, layer.LastImage);
    }
    if (!FlushPage()) return 0;
    if (!animation) last = first;
    Bitmap* work = NewBitmap(PageWidth, PageHeight);
    Clip* clip = work ? NewClip("Display") : nullptr;
    for (int32_t t = first; clip && t <= last; t++) {
        bool stop =
            UserBreak && AskYesNo(MsgGet(nullptr, 8110), MsgGet(nullptr, 1001), MsgGet(nullptr, 1002));
        UserBreak = 0;
        if (stop || !ComposeImage(work, t, false) ||
            !clip->Ops.InsertImage(clip, work, clip->ImageCount - 1, 0)) {
            clip->Ops.Free(clip);
            clip = nullptr;
            if (!stop) AlertMsg(1000);
            FreeBitmap(work);
            return 0;
        }
    }
    if (!clip) {
        FreeBitmap(work);
        AlertMsg(1000);
        return 0;
    }
    // Not undoable: what the step held may name layers that are about to go.
    ClearLayerUndo();
    const uint32_t currentId = Layers[CurrentLayer].Id;
    for (int32_t i = LayerCount - 1; i >= 0; i--) {
        if (Layers[i].Id == currentId || (Layers[i].Flags & LayerHidden)) continue;
        Layer gone;
        LiftRecord(i, &gone);
        FreeLayerData(&gone);
    }
    Layer* made = CreateLayer(MsgGet(nullptr, 8101), 0, 0, first, 1);
    if (!made) {
        clip->Ops.Free(clip);
        FreeBitmap(work);
        return 0;
    }
    const uint32_t madeId = made->Id;
    made->FirstImage = first;
    made->LastImage = last;
    if (animation) {
        made->Clip = clip;
    } else {
        clip->Ops.ReadImage(clip, work, 0);
        clip->Ops.Free(clip);
        if (StorePlainImage(made, work)) ReplaceThumbnail(made, work);
    }
    FreeBitmap(work);
    Layer old;
    LiftRecord(LayerIndexById(currentId), &old);
    FreeLayerData(&old);
    ChangeCounter++;
    StoredSerial = PageVersion;
    CurrentLayer = LayerIndexById(madeId);
    SelectLayerImage(CurrentLayer, first, 0);
    return 1;
}

} // namespace nemu
