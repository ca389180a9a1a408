// A layer's place and length on the time line: the range as a drag of its ends makes it,
// stretching, shifting, and the onion images it shows.
//
// Sections: new clips for a range; the range; stretch, onion and shift.
#include "host/main_loop.h"
#include "project/compose.h"
#include "project/image_edit_parts.h"
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

// count shared copies of image index of clip, in a new clip; null without memory.
static Clip* RepeatedImage(Clip* clip, int32_t index, int32_t count) {
    Clip* made = NewClipSized(clip->Name, clip->Width, clip->Height);
    for (int32_t i = 0; made && i < count; i++) {
        if (!clip->Ops.CopyImage(clip, index, made, made->ImageCount)) {
            made->Ops.Free(made);
            made = nullptr;
        }
    }
    return made;
}

// One end moved: images held from the end image are added there, or the images beyond
// the new end go, in place. The step (kind 1) holds the images that went, and undoing it
// takes out the ones that came.
static int MoveOneEnd(Layer* layer, int32_t first, int32_t last) {
    const int32_t oldFirst = layer->FirstImage, oldLast = layer->LastImage, count = layer->Clip->ImageCount;
    const bool atStart = first != oldFirst;
    const int32_t added = atStart ? oldFirst - first : last - oldLast; // below 0: images go
    const int32_t index = atStart ? 0 : (added > 0 ? count : count + added);
    Clip* incoming = nullptr;
    if (added > 0 && !(incoming = RepeatedImage(layer->Clip, atStart ? 0 : count - 1, added))) {
        AlertMsg(8169);
        return 0;
    }
    if (!ExchangeImages(layer, index, added < 0 ? -added : 0, &incoming)) {
        if (incoming) incoming->Ops.Free(incoming);
        AlertMsg(8169);
        return 0;
    }
    NameClip(incoming, 8214);
    ClearLayerUndo();
    UndoLayerId = layer->Id;
    UndoClip = incoming;
    UndoIndex = index;
    UndoExtent = added > 0 ? added : 0;
    UndoShift = oldFirst - first;
    RecordLayerUndoMsg(1, 8215);
    return 1;
}

// A clip range change without resampling. One end changed: done in place (MoveOneEnd);
// both ends: a new clip of the images at their places, and the step keeps the whole
// former clip (kind 8).
static int ChangeClipRange(Layer* layer, int32_t first, int32_t last) {
    if (first == layer->FirstImage || last == layer->LastImage) return MoveOneEnd(layer, first, last);
    Clip* made = RangeClip(layer->Clip, layer->FirstImage, first, last, false, layer->Clip->Name);
    if (!made) {
        AlertMsg(8169);
        return 0;
    }
    ClearLayerUndo();
    UndoLayerId = layer->Id;
    UndoClip = layer->Clip;
    UndoShift = layer->FirstImage - first;
    layer->Clip = made;
    RecordLayerUndoMsg(8, 8215);
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
