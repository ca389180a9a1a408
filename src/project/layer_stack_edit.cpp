// Editing the stack: duplicating, deleting, moving and renaming layers, and their density.
//
// Sections: helpers; duplicate; delete; move; rename and density.
#include "host/main_loop.h"
#include "project/compose.h"
#include "project/layer_edit.h"
#include "project/layer_undo.h"
#include "store/tile_store.h"
#include "ui/catalog.h"
#include "ui/requests.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace nemu {

// ---- Helpers ---------------------------------------------------------------------------------------------

// The label of a step that names its layer: message id formed with the shown name.
static void FormLabel(char* label, size_t size, uint32_t message, const Layer* layer) {
    std::snprintf(label, size, MsgGet(nullptr, message), ShownName(layer));
}

// Shared copies of all images of source into a new clip; null (with message shown) on failure.
static Clip* CopyClip(Clip* source, const char* name) {
    Clip* copy = NewClipSized(name, source->Width, source->Height);
    if (!copy) {
        AlertMsg(8161);
        return nullptr;
    }
    for (int32_t i = 0; i < source->ImageCount; i++) {
        if (!source->Ops.CopyImage(source, i, copy, copy->ImageCount)) {
            copy->Ops.Free(copy);
            AlertMsg(8161);
            return nullptr;
        }
    }
    return copy;
}

// ---- Duplicate -------------------------------------------------------------------------------------------

int DuplicateLayer(const char* name) {
    if (!Layers || !FlushPage()) return 0;
    const Layer source = Layers[CurrentLayer]; // a view only: the data stays with the layer
    Layer* made = CreateLayer(name, 0, 0, source.FirstImage, 1);
    if (!made) return 0;
    made->Density = source.Density;
    made->Flags = source.Flags;
    made->PelureBefore = source.PelureBefore;
    made->PelureAfter = source.PelureAfter;
    made->FirstImage = source.FirstImage;
    made->LastImage = source.LastImage;
    bool ok;
    if (source.Clip) {
        made->Clip = CopyClip(source.Clip, made->Name);
        ok = made->Clip != nullptr;
    } else {
        ok = StorePlainImage(made, Page);
        if (ok)
            ReplaceThumbnail(made, Page);
        else
            AlertMsg(1000);
    }
    int32_t index = LayerIndexById(made->Id);
    if (!ok) {
        Layer failed;
        LiftRecord(index, &failed);
        FreeLayerData(&failed);
        return 0;
    }
    ClearLayerUndo();
    char label[256];
    FormLabel(label, sizeof label, 8220, &source);
    UndoIndex = index;
    RecordLayerUndo(6, label);
    ChangeCounter++;
    SelectLayerImage(index, CurrentImage, 0);
    return 1;
}

int DuplicateLayerById(uint32_t id, const char* name) {
    int32_t index = LayerIndexById(id);
    if (index < 0) return 0;
    if (index != CurrentLayer && !SelectLayerImage(index, CurrentImage, 1)) return 0;
    return DuplicateLayer(name);
}

// ---- Delete ----------------------------------------------------------------------------------------------

// The layer to show once index is gone: the nearest visible one under it, else above it.
static int32_t NextVisible(int32_t index) {
    for (int32_t i = index + 1; i < LayerCount; i++)
        if (!(Layers[i].Flags & LayerHidden)) return i;
    for (int32_t i = index - 1; i >= 0; i--)
        if (!(Layers[i].Flags & LayerHidden)) return i;
    return -1;
}

int DeleteCurrentLayer() {
    if (!Layers || !FlushPage()) return 0;
    ClearLayerUndo();
    const int32_t index = CurrentLayer;
    char label[256];
    FormLabel(label, sizeof label, 8219, &Layers[index]);
    int32_t next = NextVisible(index);
    if (next < 0) {
        // Nothing else to show: an empty layer takes the place of the deleted one, and
        // the step exchanges the two records.
        Layer* made = CreateLayer(MsgGet(nullptr, 8100), 0, 0, CurrentImage, 1);
        if (!made) return 0;
        uint32_t madeId = made->Id;
        LiftRecord(index, &UndoLayer);
        UndoLayerId = madeId;
        RecordLayerUndo(2, label);
        next = LayerIndexById(madeId);
    } else {
        uint32_t nextId = Layers[next].Id;
        LiftRecord(index, &UndoLayer);
        UndoIndex = index;
        SelectionLength = 0;
        RecordLayerUndo(6, label);
        next = LayerIndexById(nextId);
    }
    ChangeCounter++;
    // The page was stored: the reload must not write it into the layer that took its index.
    StoredSerial = PageVersion;
    CurrentLayer = next;
    SelectLayerImage(next, CurrentImage, 0);
    return 1;
}

int DeleteLayerById(uint32_t id) {
    int32_t index = LayerIndexById(id);
    if (index < 0) return 0;
    if (index == CurrentLayer) return LayerCount >= 2 ? DeleteCurrentLayer() : 0;
    uint32_t formerId = Layers[CurrentLayer].Id;
    int32_t image = CurrentImage;
    if (!SelectLayerImage(index, image, 1)) return 0;
    int deleted = DeleteCurrentLayer();
    int32_t former = LayerIndexById(formerId);
    if (former >= 0) SelectLayerImage(former, image, 0);
    return deleted;
}

// ---- Move ------------------------------------------------------------------------------------------------

// The final index of the current layer when it goes before index to; -1 for no move.
static int32_t MoveTarget(int32_t from, int32_t to) {
    if (from != CurrentLayer || !GetLayer(from)) return -1;
    to = std::clamp(to, 0, LayerCount);
    int32_t final = to > from ? to - 1 : to;
    return final == from ? -1 : final;
}

void MoveLayer(int32_t from, int32_t to, int quiet) {
    int32_t final = MoveTarget(from, to);
    if (final >= 0) {
        MoveRecord(from, final);
        ChangeCounter++;
    }
    if (!quiet) NotifyView(EventLayerList);
    Redisplay();
}

void MoveLayerCommand(int32_t to) {
    int32_t from = CurrentLayer;
    if (MoveTarget(from, to) >= 0) {
        ClearLayerUndo();
        UndoIndex = from;
        UndoLayerId = Layers[from].Id;
        RecordLayerUndoMsg(5, 8216);
    }
    MoveLayer(from, to, 0);
}

// ---- Rename and density ----------------------------------------------------------------------------------

int RenameLayer(int32_t index, const char* name) {
    Layer* layer = GetLayer(index);
    if (!layer) return 0;
    char asked[LayerNameMax];
    if (!name) {
        std::strncpy(asked, layer->Name, sizeof asked - 1);
        asked[sizeof asked - 1] = 0;
        if (!AskText(8265, asked, sizeof asked)) return 0;
        name = asked;
    }
    char fresh[128];
    std::strncpy(fresh, name, sizeof fresh - 1);
    fresh[sizeof fresh - 1] = 0;
    if (std::strcmp(fresh, layer->Name) == 0) return 0;
    ClearLayerUndo();
    std::memcpy(UndoName, layer->Name, sizeof UndoName);
    std::memcpy(layer->Name, fresh, sizeof fresh);
    UndoLayerId = layer->Id;
    RecordLayerUndoMsg(7, 8210);
    ChangeCounter++;
    NotifyView(EventLayerList);
    return 1;
}

int RenameLayerById(uint32_t id, const char* name) {
    return RenameLayer(LayerIndexById(id), name);
}

int32_t SetLayerDensity(int32_t percent) {
    return SetLayerDensityById(GetLayer(CurrentLayer) ? Layers[CurrentLayer].Id : 0, percent);
}

int32_t SetLayerDensityById(uint32_t id, int32_t percent) {
    Layer* layer = FindLayerById(id);
    if (!layer) return -1;
    int64_t density = (int64_t(std::clamp(percent, -1000, 1000)) * 255 + 50) / 100;
    int32_t former = (layer->Density * 100 + 127) / 255;
    layer->Density = int32_t(std::clamp<int64_t>(density, 0, 255));
    if (layer == &Layers[CurrentLayer]) SetCurrentDensity(layer->Density);
    ChangeCounter++;
    Redisplay();
    return former;
}

} // namespace nemu
