// The time line's selection of images, and copy, cut and paste through the layer
// clipboard.
//
// Every change to a clip's images is made by ExchangeImages, which builds the new clip
// beside the old one and swaps it in only when it is whole; the images that went out are
// the undo step's clip.
//
// Sections: selection; building clips; clipboard.
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

// ---- Selection -------------------------------------------------------------------------------------------

int32_t SelectionStart = 0;
int32_t SelectionLength = 0;
Layer* LayerClipboard = nullptr;

bool SelectionRange(int32_t* first, int32_t* last) {
    if (SelectionLength == 0) return false;
    int64_t a = SelectionStart,
            b = int64_t(SelectionStart) + SelectionLength + (SelectionLength > 0 ? -1 : 0);
    *first = ClampImage(std::min(a, b));
    *last = ClampImage(std::max(a, b));
    return true;
}

// The selection limited to the current layer's range; false when nothing of it is left.
bool SelectedInLayer(const Layer* layer, int32_t* first, int32_t* last) {
    if (!layer || !SelectionRange(first, last)) return false;
    *first = std::max(*first, layer->FirstImage);
    *last = std::min(*last, layer->LastImage);
    return *first <= *last;
}

void SelectImages(int32_t start, int32_t length) {
    Layer* layer = GetLayer(CurrentLayer);
    if (!layer) return;
    int64_t s = start, n = length;
    if (n >= 1 && s < layer->FirstImage) {
        n -= layer->FirstImage - s;
        s = layer->FirstImage;
    }
    if (n >= 1 && s + n - 1 > layer->LastImage) n = layer->LastImage - s + 1;
    if (n < 1 || s > layer->LastImage) {
        SelectionLength = 0;
        NotifyView(EventTimeline);
        return;
    }
    SelectionStart = int32_t(s);
    SelectionLength = int32_t(n);
    SelectImage(std::max(SelectionStart, layer->FirstImage), 0);
}

void SelectAllImages() {
    if (Layer* layer = GetLayer(CurrentLayer))
        SelectImages(layer->FirstImage, layer->LastImage - layer->FirstImage + 1);
}

// ---- Building clips --------------------------------------------------------------------------------------

// A clip of count shared copies of bitmap, or null.
Clip* RepeatedPicture(const Bitmap* bitmap, int32_t count, const char* name) {
    Clip* clip = NewClip(name);
    if (!clip) return nullptr;
    bool ok = clip->Ops.InsertImage(clip, bitmap, -1, 0);
    for (int32_t i = 1; ok && i < count; i++) ok = clip->Ops.DuplicateImage(clip, 0);
    if (!ok) {
        clip->Ops.Free(clip);
        return nullptr;
    }
    return clip;
}

// A clip of shared copies of images [from, to] of source, or null.
static Clip* CopiedImages(Clip* source, int32_t from, int32_t to, const char* name) {
    Clip* clip = NewClipSized(name, source->Width, source->Height);
    if (!clip) return nullptr;
    for (int32_t i = from; i <= to; i++) {
        if (!source->Ops.CopyImage(source, i, clip, clip->ImageCount)) {
            clip->Ops.Free(clip);
            return nullptr;
        }
    }
    return clip;
}

// Ends an edit of the current layer's images: the page is in the store (or was only used
// as scratch), so the reload must not write it back.
void Reload() {
    StoredSerial = PageVersion;
    SelectLayerImage(CurrentLayer, CurrentImage, 0);
}

void NameClip(Clip* clip, uint32_t message) {
    std::strncpy(clip->Name, MsgGet(nullptr, message), sizeof clip->Name - 1);
    clip->Name[sizeof clip->Name - 1] = 0;
}

// ---- Clipboard -------------------------------------------------------------------------------------------

void FreeLayerClipboard() {
    if (!LayerClipboard) return;
    FreeLayerData(LayerClipboard);
    delete LayerClipboard;
    LayerClipboard = nullptr;
}

// A clipboard record of the selection [first, last] of the current layer, or null.
static Layer* CopySelection(Layer* layer, int32_t first, int32_t last, uint32_t name, uint32_t failure) {
    Layer* copy = new (std::nothrow) Layer{};
    if (!copy) {
        AlertMsg(1000);
        return nullptr;
    }
    std::strncpy(copy->Name, MsgGet(nullptr, name), sizeof copy->Name - 1);
    copy->Width = PageWidth, copy->Height = PageHeight;
    copy->Density = layer->Density;
    copy->FirstImage = first, copy->LastImage = last;
    bool ok;
    if (layer->Clip) {
        copy->Clip =
            CopiedImages(layer->Clip, first - layer->FirstImage, last - layer->FirstImage, copy->Name);
        ok = copy->Clip != nullptr;
        if (!ok) AlertMsg(failure);
    } else {
        ok = StorePlainImage(copy, Page);
        if (!ok) AlertMsg(1000);
    }
    if (!ok) {
        FreeLayerData(copy);
        delete copy;
        return nullptr;
    }
    return copy;
}

int LayerCopy() {
    Layer* layer = GetLayer(CurrentLayer);
    int32_t first, last;
    if (!SelectedInLayer(layer, &first, &last) || !FlushPage()) return 0;
    FreeLayerClipboard();
    LayerClipboard = CopySelection(layer, first, last, 8207, 8165);
    return LayerClipboard != nullptr;
}

// Cut from a plain layer: the hold gets shorter, and the whole former layer is the step.
static int CutPlain(Layer* layer, int32_t first, int32_t last) {
    LayerClipboard = CopySelection(layer, first, last, 8207, 8166);
    if (!LayerClipboard) return 0;
    UndoLayer = *layer;
    UndoLayer.PackedData = nullptr, UndoLayer.PackedSize = 0, UndoLayer.Thumbnail = nullptr;
    if (!StorePlainImage(&UndoLayer, Page) || !(UndoLayer.Thumbnail = MakeThumbnail(Page))) {
        ClearLayerUndo();
        AlertMsg(1000);
        return 0;
    }
    UndoLayerId = layer->Id;
    layer->LastImage -= last - first + 1;
    if (layer->LastImage < layer->FirstImage) {
        // Nothing of the hold is left: one empty image stays.
        layer->LastImage = layer->FirstImage;
        ClearBitmap(Page, 0);
        if (StorePlainImage(layer, Page)) ReplaceThumbnail(layer, Page);
    }
    RecordLayerUndoMsg(2, 8208);
    return 1;
}

int LayerCut() {
    Layer* layer = GetLayer(CurrentLayer);
    int32_t first, last;
    if (!SelectedInLayer(layer, &first, &last) || !FlushPage()) return 0;
    FreeLayerClipboard();
    ClearLayerUndo();
    SelectionLength = 0;
    if (!layer->Clip) {
        int cut = CutPlain(layer, first, last);
        Reload();
        return cut;
    }
    if (first == layer->FirstImage && last == layer->LastImage) {
        // All the images: the layer goes, and the undo brings it back whole.
        LayerClipboard = CopySelection(layer, first, last, 8208, 8166);
        return DeleteCurrentLayer();
    }
    LayerClipboard = CopySelection(layer, first, last, 8208, 8166);
    Clip* out = NewClip(MsgGet(nullptr, 8208));
    int32_t index = first - layer->FirstImage;
    if (!LayerClipboard || !out || !ExchangeImages(layer, index, last - first + 1, &out)) {
        if (out) out->Ops.Free(out);
        FreeLayerClipboard();
        AlertMsg(8166);
        return 0;
    }
    UndoClip = out;
    UndoLayerId = layer->Id;
    UndoIndex = index;
    UndoExtent = 0;
    UndoShift = 0;
    layer->LastImage = layer->FirstImage + layer->Clip->ImageCount - 1;
    RecordLayerUndoMsg(1, 8208);
    Reload();
    return 1;
}

int LayerPaste(int replace) {
    Layer* layer = GetLayer(CurrentLayer);
    if (!layer || !LayerClipboard) return 0;
    Layer* board = LayerClipboard;
    if (!layer->Clip) {
        // A plain layer takes the clipboard's first picture as a change of the page, which
        // the page's own undo takes back.
        SnapshotBackPage();
        LoadLayerImage(Page, board, board->FirstImage);
        AddDirtyAndMark(0, 0, PageWidth - 1, PageHeight - 1);
        MarkPageChanged();
        RefreshPageRect(0, 0, PageWidth, PageHeight);
        return 1;
    }
    if (!FlushPage()) return 0;
    ClearLayerUndo();
    int32_t count = board->Clip ? board->Clip->ImageCount : board->LastImage - board->FirstImage + 1;
    int32_t first, last, index, removed = 0;
    if (SelectedInLayer(layer, &first, &last)) {
        index = first - layer->FirstImage;
        removed = last - first + 1;
    } else {
        index = CurrentImage - layer->FirstImage + (replace ? 0 : 1);
        removed = replace ? 1 : 0;
    }
    if (int64_t(layer->LastImage) - removed + count > MaxImagePosition) {
        AlertMsg(8167);
        return 0;
    }
    Clip* incoming;
    if (board->Clip) {
        incoming = CopiedImages(board->Clip, 0, count - 1, MsgGet(nullptr, 8209));
    } else {
        // The page serves as scratch for the picture; Reload puts the layer's image back.
        LoadLayerImage(Page, board, board->FirstImage);
        incoming = RepeatedPicture(Page, count, MsgGet(nullptr, 8209));
    }
    bool ok = incoming && ExchangeImages(layer, index, removed, &incoming);
    if (!ok) {
        if (incoming) incoming->Ops.Free(incoming);
        AlertMsg(8167);
        Reload();
        return 0;
    }
    UndoClip = incoming;
    UndoLayerId = layer->Id;
    UndoIndex = index;
    UndoExtent = count;
    UndoShift = 0;
    layer->LastImage = layer->FirstImage + layer->Clip->ImageCount - 1;
    RecordLayerUndoMsg(1, 8209);
    SelectionLength = 0;
    Reload();
    return 1;
}

} // namespace nemu
