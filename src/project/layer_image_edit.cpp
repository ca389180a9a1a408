// Inserting, clearing and reversing the images of a layer.
//
// Sections: insert; clear; reverse.
#include "host/main_loop.h"
#include "paint/colour.h"
#include "paint/tools.h"
#include "project/compose.h"
#include "project/image_edit_parts.h"
#include "project/layer_edit.h"
#include "project/layer_undo.h"
#include "store/bitmap.h"
#include "store/tile_store.h"
#include "store/undo.h"
#include "ui/catalog.h"
#include "ui/requests.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace nemu {

// ---- Insert ----------------------------------------------------------------------------------------------

// count images behind the current one: copies of it, or empty ones.
static int InsertInClip(Layer* layer, int32_t count, bool empty) {
    int32_t current = CurrentImage - layer->FirstImage;
    if (current < 0 || current >= layer->Clip->ImageCount) return 0;
    if (!FlushPage()) return 0;
    Clip* incoming;
    if (empty) {
        ClearBitmap(Page, 0);
        incoming = RepeatedPicture(Page, count, MsgGet(nullptr, 8206));
    } else {
        incoming = NewClip(MsgGet(nullptr, 8206));
        for (int32_t i = 0; incoming && i < count; i++) {
            if (!layer->Clip->Ops.CopyImage(layer->Clip, current, incoming, incoming->ImageCount)) {
                incoming->Ops.Free(incoming);
                incoming = nullptr;
            }
        }
    }
    if (!incoming || !ExchangeImages(layer, current + 1, 0, &incoming)) {
        if (incoming) incoming->Ops.Free(incoming);
        AlertMsg(8164);
        Reload();
        return 0;
    }
    ClearLayerUndo();
    NameClip(incoming, 8206);
    UndoClip = incoming;
    UndoLayerId = layer->Id;
    UndoIndex = current + 1;
    UndoExtent = count;
    UndoShift = 0;
    layer->LastImage = layer->FirstImage + layer->Clip->ImageCount - 1;
    RecordLayerUndoMsg(1, 8206);
    StoredSerial = PageVersion;
    CurrentImage++;
    SelectLayerImage(CurrentLayer, CurrentImage, 0);
    return 1;
}

static int InsertInto(int32_t index, int32_t count, bool empty) {
    Layer* layer = GetLayer(index);
    if (!layer || count < 1) return 0;
    count = std::min({count, MaxInsertCount, MaxImagePosition - layer->LastImage});
    if (count < 1) return 0;
    if (layer->Clip) {
        if (index != CurrentLayer && !SelectLayerImage(index, CurrentImage, 1)) return 0;
        return InsertInClip(&Layers[index], count, empty);
    }
    // A plain layer holds one picture: a longer hold is all an insertion can make.
    if (!FlushPage()) return 0;
    ClearLayerUndo();
    UndoLayerId = layer->Id;
    UndoIndex = layer->FirstImage;
    UndoExtent = layer->LastImage;
    layer->LastImage += count;
    RecordLayerUndoMsg(3, 8212);
    ChangeCounter++;
    if (index == CurrentLayer) CurrentImage++;
    SelectLayerImage(CurrentLayer, CurrentImage, 0);
    return 1;
}

int InsertImages(int32_t index, int32_t count) {
    return InsertInto(index, count, false);
}

int InsertEmptyImages(int32_t count) {
    return InsertInto(CurrentLayer, count, true);
}

// ---- Clear -----------------------------------------------------------------------------------------------

int ClearImages(int useBackgroundPen) {
    Layer* layer = GetLayer(CurrentLayer);
    if (!layer || !Page) return 0;
    const uint32_t colour = useBackgroundPen ? BPen : 0;
    int32_t first, last;
    if (layer->Clip && SelectedInLayer(layer, &first, &last)) {
        if (!FlushPage()) return 0;
        ClearBitmap(Page, colour);
        int32_t count = last - first + 1, index = first - layer->FirstImage;
        Clip* incoming = RepeatedPicture(Page, count, MsgGet(nullptr, 8202));
        if (!incoming || !ExchangeImages(layer, index, count, &incoming)) {
            if (incoming) incoming->Ops.Free(incoming);
            AlertMsg(1000);
            Reload();
            return 0;
        }
        ClearLayerUndo();
        NameClip(incoming, 8202);
        UndoClip = incoming;
        UndoLayerId = layer->Id;
        UndoIndex = index;
        UndoExtent = count;
        UndoShift = 0;
        RecordLayerUndoMsg(1, 8203);
        Reload();
        return 1;
    }
    // One picture: a change of the page like a stroke over all of it, undone by the page.
    SnapshotBackPage();
    ClearBitmap(Page, colour);
    AddDirtyAndMark(0, 0, PageWidth - 1, PageHeight - 1);
    ClearLayerUndo();
    RecordLayerUndoMsg(0, 8202);
    RefreshPageRect(0, 0, PageWidth, PageHeight);
    return 1;
}

// ---- Reverse ---------------------------------------------------------------------------------------------

int ReverseImages(Clip* clip, int32_t first, int32_t last) {
    if (!clip || first < 0 || last >= clip->ImageCount || last <= first) return 0;
    for (int32_t i = 0; i < (last - first + 1) / 2; i++)
        if (!clip->Ops.MoveImage(clip, first + i, clip, last - i)) return 0;
    return 1;
}

int ReverseSelection(uint32_t id, int32_t start, int32_t length) {
    int32_t index = LayerIndexById(id);
    Layer* layer = GetLayer(index);
    if (!layer || !layer->Clip || length == 0) return 0;
    int64_t a = start, b = int64_t(start) + length + (length > 0 ? -1 : 0);
    int32_t first = int32_t(std::max<int64_t>(std::min(a, b), layer->FirstImage));
    int32_t last = int32_t(std::min<int64_t>(std::max(a, b), layer->LastImage));
    if (last - first < 1) return 0;
    if (index == CurrentLayer && !FlushPage()) return 0;
    ClearLayerUndo();
    if (!ReverseImages(layer->Clip, first - layer->FirstImage, last - layer->FirstImage)) return 0;
    UndoLayerId = id;
    UndoIndex = first - layer->FirstImage;
    UndoExtent = last - layer->FirstImage;
    RecordLayerUndoMsg(9, 8211);
    ChangeCounter++;
    SelectLayerImage(index, CurrentImage, 0);
    return 1;
}

} // namespace nemu
