// The layer undo step: recording, clearing, and the exchange that undoes each kind.
//
// Sections: state and recording; exchanging images; the kinds; undo.
#include "project/layer_undo.h"

#include "host/main_loop.h"
#include "project/layer_edit.h"
#include "store/bitmap.h"
#include "store/tile_store.h"
#include "store/undo.h"
#include "ui/catalog.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace nemu {

// ---- State and recording ---------------------------------------------------------------------------------

int32_t UndoKind = NoLayerUndo;
uint32_t UndoLayerId = 0;
int32_t UndoIndex = 0;
int32_t UndoExtent = 0;
int32_t UndoShift = 0;
Layer UndoLayer = {};
Clip* UndoClip = nullptr;
char UndoName[128] = "";

void ClearLayerUndo() {
    FreeLayerData(&UndoLayer);
    std::memset(&UndoLayer, 0, sizeof UndoLayer);
    if (UndoClip) UndoClip->Ops.Free(UndoClip);
    UndoClip = nullptr;
    UndoName[0] = 0;
    UndoKind = NoLayerUndo;
    UndoLayerId = 0;
    UndoIndex = UndoExtent = UndoShift = 0;
}

void RecordLayerUndo(int32_t kind, const char* label) {
    UndoKind = kind;
    // A new label is no change of the page: a page that was stored stays stored.
    bool stored = StoredSerial == PageVersion;
    SetUndoLabel(kind != 0, label);
    if (stored) StoredSerial = PageVersion;
}

void RecordLayerUndoMsg(int32_t kind, uint32_t message) {
    RecordLayerUndo(kind, MsgGet(nullptr, message));
}

// ---- Exchanging images -----------------------------------------------------------------------------------

// Appends shared copies of images [from, to) of source to target. 1, or 0.
static int AppendImages(Clip* source, int32_t from, int32_t to, Clip* target) {
    for (int32_t i = from; i < to; i++)
        if (!source->Ops.CopyImage(source, i, target, target->ImageCount)) return 0;
    return 1;
}

// The exchange touches only the images that change places: the ones that go out are
// copied first (sharing their tiles), which is the one step that may run out of memory;
// then they are dropped and the incoming ones are moved into their place, which cannot fail.
int ExchangeImages(Layer* layer, int32_t index, int32_t extent, Clip** other) {
    if (!layer || !layer->Clip || !other) return 0;
    Clip* clip = layer->Clip;
    Clip* held = *other;
    int32_t heldCount = held ? held->ImageCount : 0;
    if (index < 0 || extent < 0 || index > clip->ImageCount || extent > clip->ImageCount - index) return 0;
    if (clip->ImageCount - extent + heldCount < 1) return 0; // a clip layer keeps one image at least
    if (held && (held->Width != clip->Width || held->Height != clip->Height)) return 0;
    Clip* taken = NewClipSized(held ? held->Name : clip->Name, clip->Width, clip->Height);
    if (!taken || !AppendImages(clip, index, index + extent, taken)) {
        if (taken) taken->Ops.Free(taken);
        return 0;
    }
    DeleteImages(clip, index, extent);
    if (held) {
        MoveImages(held, 0, heldCount, clip, index);
        held->Ops.Free(held);
    }
    *other = taken;
    return 1;
}

// ---- The kinds -------------------------------------------------------------------------------------------

static Layer* StepLayer() {
    return FindLayerById(UndoLayerId);
}

static void FitRange(Layer* layer) {
    if (layer->Clip) layer->LastImage = layer->FirstImage + layer->Clip->ImageCount - 1;
}

static int UndoImages() {
    Layer* layer = StepLayer();
    int32_t count = UndoClip ? UndoClip->ImageCount : 0;
    if (!layer || !ExchangeImages(layer, UndoIndex, UndoExtent, &UndoClip)) return 0;
    UndoExtent = count;
    layer->FirstImage = std::max(0, layer->FirstImage + UndoShift);
    UndoShift = -UndoShift;
    FitRange(layer);
    return 1;
}

static int UndoRecord() {
    int32_t index = LayerIndexById(UndoLayerId);
    if (index < 0 || UndoLayer.Id == 0) return 0;
    std::swap(Layers[index], UndoLayer);
    UndoLayerId = Layers[index].Id;
    return 1;
}

static int UndoRange() {
    Layer* layer = StepLayer();
    if (!layer || UndoIndex < 0 || UndoExtent < UndoIndex) return 0;
    std::swap(layer->FirstImage, UndoIndex);
    std::swap(layer->LastImage, UndoExtent);
    return 1;
}

static int ShiftInTime(Layer* layer) {
    if (!layer || UndoIndex < 0) return 0;
    int32_t length = layer->LastImage - layer->FirstImage;
    std::swap(layer->FirstImage, UndoIndex);
    layer->LastImage = layer->FirstImage + length;
    return 1;
}

static int UndoShiftLayer() {
    return ShiftInTime(StepLayer());
}

static int UndoVideoShift() {
    return ShiftInTime(VideoLayer);
}

static int UndoMove() {
    int32_t index = LayerIndexById(UndoLayerId);
    if (index < 0 || UndoIndex < 0 || UndoIndex >= LayerCount) return 0;
    MoveRecord(index, UndoIndex);
    UndoIndex = index;
    return 1;
}

static int UndoPresence() {
    if (UndoLayer.Id == 0) {
        if (UndoIndex < 0 || UndoIndex >= LayerCount || LayerCount < 2) return 0;
        if (!LiftRecord(UndoIndex, &UndoLayer)) return 0;
        return 1;
    }
    if (!PutRecord(UndoIndex, &UndoLayer)) return 0;
    std::memset(&UndoLayer, 0, sizeof UndoLayer);
    return 1;
}

static int UndoRename() {
    Layer* layer = StepLayer();
    if (!layer) return 0;
    char name[128];
    std::memcpy(name, layer->Name, sizeof name);
    std::memcpy(layer->Name, UndoName, sizeof name);
    std::memcpy(UndoName, name, sizeof name);
    return 1;
}

static int UndoClipSwap() {
    Layer* layer = StepLayer();
    if (!layer || !layer->Clip || !UndoClip) return 0;
    std::swap(layer->Clip, UndoClip);
    layer->FirstImage = std::max(0, layer->FirstImage + UndoShift);
    UndoShift = -UndoShift;
    FitRange(layer);
    return 1;
}

static int UndoReverse() {
    Layer* layer = StepLayer();
    if (!layer || !layer->Clip) return 0;
    return ReverseImages(layer->Clip, UndoIndex, UndoExtent);
}

using UndoFn = int (*)();
static const UndoFn UndoKinds[] = {
    nullptr,      UndoImages, UndoRecord,   UndoRange,   UndoShiftLayer, UndoMove,
    UndoPresence, UndoRename, UndoClipSwap, UndoReverse, UndoVideoShift,
};

// ---- Undo ------------------------------------------------------------------------------------------------

int LayerUndo() {
    if (UndoKind < 1 || UndoKind >= int32_t(std::size(UndoKinds)) || !Layers) return 0;
    if (!FlushPage()) return 0;
    uint32_t currentId = Layers[CurrentLayer].Id;
    if (!UndoKinds[UndoKind]()) return 0;
    ChangeCounter++;
    // The current layer may have moved, gone or come back: follow it by its id, and when it
    // came back (kind 6) make it current.
    int32_t current = LayerIndexById(currentId);
    if (UndoKind == 6 && UndoLayer.Id == 0) current = std::min(UndoIndex, LayerCount - 1);
    if (current < 0) current = std::min(CurrentLayer, LayerCount - 1);
    // What the page showed is stored; the reload must not write it into a layer that now
    // holds other pixels.
    StoredSerial = PageVersion;
    CurrentLayer = current;
    SelectLayerImage(current, CurrentImage, 0);
    return 1;
}

} // namespace nemu
