// A layer's place and length on the time line: the range as a drag of its ends makes it,
// stretching, shifting, and the onion images it shows.
//
// Sections: new clips for a range; the range; stretch, onion and shift.
#include "host/main_loop.h"
#include "project/compose.h"
#include "project/layer_edit.h"
#include "project/layer_undo.h"
#include "store/tile_store.h"
#include "ui/catalog.h"
#include "ui/requests.h"

#include <algorithm>

namespace nemu {

// ---- New clips for a range -------------------------------------------------------------------------------

// The clip of first..last from a clip at oldFirst: each new image the nearest old one, by
// position (held at the ends) or, with resample, by proportion.
static Clip* RangeClip(Clip* old, int32_t oldFirst, int32_t first, int32_t last, bool resample,
                       const char* name) {
    Clip* made = NewClipSized(name, old->Width, old->Height);
    if (!made) return nullptr;
    const int64_t count = int64_t(last) - first + 1, oldCount = old->ImageCount;
    for (int64_t i = 0; i < count; i++) {
        int64_t from = resample ? (2 * i + 1) * oldCount / (2 * count) : first + i - oldFirst;
        from = std::clamp<int64_t>(from, 0, oldCount - 1);
        if (!old->Ops.CopyImage(old, int32_t(from), made, made->ImageCount)) {
            made->Ops.Free(made);
            return nullptr;
        }
    }
    return made;
}

// A clip range change without resampling. One end changed: a step of images (kind 1),
// with the cut images kept; both ends: the whole clip is kept (kind 8).
static int ChangeClipRange(Layer* layer, int32_t first, int32_t last) {
    const int32_t oldFirst = layer->FirstImage, oldLast = layer->LastImage, count = layer->Clip->ImageCount;
    Clip* made = RangeClip(layer->Clip, oldFirst, first, last, false, layer->Clip->Name);
    if (!made) {
        AlertMsg(8169);
        return 0;
    }
    const bool startOnly = last == oldLast, endOnly = first == oldFirst;
    Clip* cut = nullptr;
    int32_t index = 0, extent = 0, shift = 0;
    if (startOnly || endOnly) {
        cut = NewClipSized(MsgGet(nullptr, 8214), layer->Clip->Width, layer->Clip->Height);
        // The images that went: from the start, or after the new end.
        int32_t from = startOnly ? 0 : std::max(0, last - oldFirst + 1);
        int32_t to = startOnly ? std::min(count, first - oldFirst) : count;
        bool ok = cut != nullptr;
        for (int32_t i = from; ok && i < to; i++)
            ok = layer->Clip->Ops.CopyImage(layer->Clip, i, cut, cut->ImageCount);
        if (!ok) {
            if (cut) cut->Ops.Free(cut);
            made->Ops.Free(made);
            AlertMsg(8169);
            return 0;
        }
        // The images that came, in the new clip.
        int32_t added = startOnly ? std::max(0, oldFirst - first) : std::max(0, last - oldLast);
        index = startOnly ? 0 : made->ImageCount - added;
        extent = added;
        shift = oldFirst - first;
    }
    ClearLayerUndo();
    UndoLayerId = layer->Id;
    if (cut) {
        layer->Clip->Ops.Free(layer->Clip);
        UndoClip = cut;
        UndoIndex = index;
        UndoExtent = extent;
        UndoShift = shift;
        layer->Clip = made;
        RecordLayerUndoMsg(1, 8215);
    } else {
        UndoClip = layer->Clip;
        UndoShift = oldFirst - first;
        layer->Clip = made;
        RecordLayerUndoMsg(8, 8215);
    }
    return 1;
}

int SetLayerRange(int32_t index, int32_t first, int32_t last, int resample) {
    Layer* layer = GetLayer(index);
    if (!layer) return 0;
    first = ClampImage(first);
    last = ClampImage(last);
    if (last < first) return 0;
    if (first == layer->FirstImage && last == layer->LastImage) return 1;
    if (!FlushPage()) return 0;
    if (layer->Clip && resample && layer->Clip->ImageCount > 1) {
        Clip* made = RangeClip(layer->Clip, layer->FirstImage, first, last, true, layer->Clip->Name);
        if (!made) {
            AlertMsg(8168);
            return 0;
        }
        ClearLayerUndo();
        UndoLayerId = layer->Id;
        UndoClip = layer->Clip;
        UndoShift = layer->FirstImage - first;
        layer->Clip = made;
        RecordLayerUndoMsg(8, 8213);
    } else if (layer->Clip) {
        if (!ChangeClipRange(layer, first, last)) return 0;
    } else {
        ClearLayerUndo();
        UndoLayerId = layer->Id;
        UndoIndex = layer->FirstImage;
        UndoExtent = layer->LastImage;
        RecordLayerUndoMsg(3, 8212);
    }
    layer->FirstImage = first;
    layer->LastImage = last;
    ChangeCounter++;
    // What the page showed is in the store; the reload takes the image at the new place.
    StoredSerial = PageVersion;
    SelectLayerImage(CurrentLayer, CurrentImage, 0);
    return 1;
}

int StretchLayer(uint32_t id, int fromEnd, int32_t delta, int mode) {
    int32_t index = LayerIndexById(id);
    if (index < 0) return 0;
    const Layer* layer = &Layers[index];
    int64_t first = layer->FirstImage, last = layer->LastImage;
    if (fromEnd)
        last = std::max(last + delta, first);
    else
        first = std::clamp<int64_t>(first + delta, 0, last);
    return SetLayerRange(index, ClampImage(first), ClampImage(last), mode);
}

int SetLayerOnion(uint32_t id, int32_t before, int32_t after) {
    Layer* layer = FindLayerById(id);
    if (!layer) return 0;
    layer->PelureBefore = std::clamp(before, -7, 7);
    layer->PelureAfter = std::clamp(after, -7, 7);
    if (layer->PelureBefore || layer->PelureAfter)
        layer->Flags |= LayerPelure;
    else
        layer->Flags &= ~LayerPelure;
    ChangeCounter++;
    Redisplay();
    return 1;
}

int ShiftLayer(uint32_t id, int32_t firstImage) {
    Layer* layer = FindLayerById(id);
    if (!layer || firstImage < 0 || !FlushPage()) return 0;
    int32_t length = layer->LastImage - layer->FirstImage;
    firstImage = std::min(firstImage, MaxImagePosition - length);
    if (firstImage == layer->FirstImage) return 1;
    ClearLayerUndo();
    UndoLayerId = layer->Id;
    UndoIndex = layer->FirstImage;
    layer->FirstImage = firstImage;
    layer->LastImage = firstImage + length;
    RecordLayerUndoMsg(4, 8216);
    ChangeCounter++;
    StoredSerial = PageVersion;
    SelectLayerImage(CurrentLayer, CurrentImage, 0);
    return 1;
}

} // namespace nemu
