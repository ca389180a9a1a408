// The project's state and the stack of layers: start and end, making and removing
// layers, finding them, and the reset of the project.
//
// Sections: state; records; the stack; life cycle; reset.
#include "project/layers.h"

#include "host/main_loop.h"
#include "host/screen.h"
#include "project/compose.h"
#include "project/layer_edit.h"
#include "project/layer_undo.h"
#include "project/mixer.h"
#include "store/bitmap.h"
#include "store/cache_file.h"
#include "store/tile_store.h"
#include "store/undo.h"
#include "ui/catalog.h"
#include "ui/requests.h"

#include <cstdlib>
#include <cstring>

namespace nemu {

// ---- State -----------------------------------------------------------------------------------------------

double FrameRate = 30.0;
Layer* Layers = nullptr;
int32_t LayerCount = 0;
int32_t LayerCapacity = 0;
int32_t CurrentLayer = 0;
int32_t CurrentImage = 0;
uint32_t StoredSerial = 0;
uint32_t ChangeCounter = 0;
uint32_t SavedCounter = 0;
Layer* VideoLayer = nullptr;
int32_t CurrentDensity = 255;
uint32_t NextLayerId = 1;
char ProjectName[1024] = "";
uint32_t ImageChangeCount = 0;
uint32_t PluginImageCount = 0;
uint32_t PageLayerId = 0;
void (*ProjectViewHook)(ProjectEvent event, int32_t value) = nullptr;
int (*AskTextHook)(uint32_t message, char* buffer, int size) = nullptr;

void NotifyView(ProjectEvent event, int32_t value) {
    if (ProjectViewHook) ProjectViewHook(event, value);
}

int AskText(uint32_t message, char* buffer, int size) {
    if (size < 1) return 0;
    buffer[0] = 0;
    if (!AskTextHook) return 1;
    int answered = AskTextHook(message, buffer, size);
    buffer[size - 1] = 0;
    return answered;
}

// ---- Records ---------------------------------------------------------------------------------------------

static void CopyName(char* to, const char* from) {
    std::strncpy(to, from ? from : "", 127);
    to[127] = 0;
}

const char* ShownName(const Layer* layer) {
    return layer && layer->Name[0] ? layer->Name : MsgGet(nullptr, 8100);
}

bool LayerPresent(const Layer* layer, int32_t image) {
    return layer && layer->FirstImage <= image && image <= layer->LastImage;
}

int32_t LayerPercent(int32_t density) {
    return (density * 100 + 128) / 255;
}

void FreeLayerData(Layer* layer) {
    if (!layer) return;
    if (layer->Clip) layer->Clip->Ops.Free(layer->Clip);
    if (layer->PackedData) RemoveCacheFile(layer->PackedData);
    FreeBitmap(layer->Thumbnail);
    layer->Clip = nullptr;
    layer->PackedData = nullptr;
    layer->PackedSize = 0;
    layer->Thumbnail = nullptr;
}

Layer* GetLayer(int32_t index) {
    if (!Layers || index < 0 || index >= LayerCount) return nullptr;
    return &Layers[index];
}

int32_t LayerIndexById(uint32_t id) {
    for (int32_t i = 0; Layers && i < LayerCount; i++)
        if (Layers[i].Id == id) return i;
    return -1;
}

Layer* FindLayerById(uint32_t id) {
    int32_t index = LayerIndexById(id);
    return index < 0 ? nullptr : &Layers[index];
}

int LayerName(int32_t index, char* buffer) {
    Layer* layer = GetLayer(index);
    if (!layer || !buffer) return 0;
    CopyName(buffer, ShownName(layer));
    return 1;
}

void SetProjectName(const char* path) {
    std::strncpy(ProjectName, path ? path : "", sizeof ProjectName - 1);
    ProjectName[sizeof ProjectName - 1] = 0;
}

// ---- The stack -------------------------------------------------------------------------------------------

// Room for one more record. The array always has one record beyond the capacity.
static int GrowLayers() {
    if (LayerCount < LayerCapacity - 1) return 1;
    int32_t capacity = LayerCapacity + 8;
    Layer* grown = static_cast<Layer*>(std::calloc(size_t(capacity) + 1, sizeof(Layer)));
    if (!grown) return 0;
    if (Layers) std::memcpy(grown, Layers, sizeof(Layer) * size_t(LayerCount));
    std::free(Layers);
    Layers = grown;
    LayerCapacity = capacity;
    return 1;
}

// A fresh record: empty picture, page size, full density, a new id.
static int MakeRecord(Layer* layer, const char* name, int32_t firstImage) {
    std::memset(layer, 0, sizeof *layer);
    layer->Thumbnail = MakeThumbnail(nullptr);
    if (!layer->Thumbnail) return 0;
    layer->Width = PageWidth;
    layer->Height = PageHeight;
    layer->Density = 255;
    layer->Id = NextLayerId++;
    CopyName(layer->Name, name);
    layer->Stamp = ClipClock();
    layer->FirstImage = layer->LastImage = firstImage;
    return 1;
}

Layer* CreateLayer(const char* name, int before, int select, int32_t firstImage, int quiet) {
    if (!GrowLayers()) {
        AlertMsg(1000);
        return nullptr;
    }
    char asked[LayerNameMax + 1];
    if (!name) {
        if (!AskText(8266, asked, sizeof asked)) return nullptr;
        name = asked;
    }
    TrimCache(); // the cache is about to be used
    Layer record;
    if (!MakeRecord(&record, name, ClampImage(firstImage))) {
        AlertMsg(1000);
        return nullptr;
    }
    // Above the current layer it takes the current index, which moves the current one down.
    int32_t index = before ? CurrentLayer : CurrentLayer + 1;
    PutRecord(index, &record);
    index = LayerIndexById(record.Id);
    if (!quiet) NotifyView(EventLayerList);
    if (!select) return &Layers[index];
    ChangeCounter++;
    return SelectLayerImage(index, record.FirstImage, quiet);
}

int NewLayerCommand() {
    return NewLayerNamed(nullptr);
}

int NewLayerNamed(const char* name) {
    int32_t image = CurrentImage;
    Layer* layer = CreateLayer(name, 1, 1, image, 1);
    if (!layer) {
        Alert("error: Can't create a new layer");
        return 0;
    }
    layer->FirstImage = layer->LastImage = image;
    NotifyView(EventScrollImage, image);
    ClearLayerUndo();
    UndoIndex = CurrentLayer;
    RecordLayerUndoMsg(6, 8218);
    NotifyView(EventLayerList);
    NotifyView(EventTimeline);
    return 1;
}

int RemoveLayer(int32_t index, int quiet, int keepData) {
    if (index == CurrentLayer || !GetLayer(index)) return 0;
    Layer removed;
    LiftRecord(index, &removed);
    if (!keepData) FreeLayerData(&removed);
    ChangeCounter++;
    SelectLayerImage(CurrentLayer, CurrentImage, quiet);
    return 1;
}

// ---- Record moves ----------------------------------------------------------------------------------------

int32_t ClampImage(int64_t image) {
    return int32_t(image < 0 ? 0 : image > MaxImagePosition ? MaxImagePosition : image);
}

void MoveRecord(int32_t from, int32_t to) {
    if (!GetLayer(from) || !GetLayer(to) || from == to) return;
    Layer record = Layers[from];
    if (from < to)
        std::memmove(&Layers[from], &Layers[from + 1], sizeof(Layer) * size_t(to - from));
    else
        std::memmove(&Layers[to + 1], &Layers[to], sizeof(Layer) * size_t(from - to));
    Layers[to] = record;
    if (CurrentLayer == from)
        CurrentLayer = to;
    else if (from < CurrentLayer && CurrentLayer <= to)
        CurrentLayer--;
    else if (to <= CurrentLayer && CurrentLayer < from)
        CurrentLayer++;
}

int LiftRecord(int32_t index, Layer* into) {
    if (!GetLayer(index) || !into) return 0;
    *into = Layers[index];
    std::memmove(&Layers[index], &Layers[index + 1], sizeof(Layer) * size_t(LayerCount - index - 1));
    LayerCount--;
    std::memset(&Layers[LayerCount], 0, sizeof(Layer));
    if (CurrentLayer > index || CurrentLayer >= LayerCount)
        CurrentLayer = CurrentLayer > 0 ? CurrentLayer - 1 : 0;
    return 1;
}

int PutRecord(int32_t index, const Layer* record) {
    if (!record || !GrowLayers()) return 0;
    if (index < 0) index = 0;
    if (index > LayerCount) index = LayerCount;
    std::memmove(&Layers[index + 1], &Layers[index], sizeof(Layer) * size_t(LayerCount - index));
    Layers[index] = *record;
    if (LayerCount > 0 && index <= CurrentLayer) CurrentLayer++;
    LayerCount++;
    return 1;
}

// ---- Life cycle ------------------------------------------------------------------------------------------

int InitLayers() {
    if (Layers) return 1;
    LayerCapacity = 8;
    LayerCount = 0;
    CurrentLayer = 0;
    CurrentImage = 0;
    CurrentDensity = 255;
    Layers = static_cast<Layer*>(std::calloc(size_t(LayerCapacity) + 1, sizeof(Layer)));
    if (!Layers) return 0;
    if (!MakeRecord(&Layers[0], "", 0)) {
        std::free(Layers);
        Layers = nullptr;
        return 0;
    }
    LayerCount = 1;
    StoredSerial = PageVersion;
    PageLayerId = Layers[0].Id;
    MixerB = Page;
    OnionCompose = ComposeWithMixer;
    LayerUndoHook = LayerUndo;
    return 1;
}

void FreeLayers() {
    for (int32_t i = 0; Layers && i < LayerCount; i++) FreeLayerData(&Layers[i]);
    std::free(Layers);
    Layers = nullptr;
    LayerCount = LayerCapacity = 0;
    CurrentLayer = CurrentImage = 0;
    PageLayerId = 0;
    DeleteVideoLayer();
    ClearLayerUndo();
    FreeLayerClipboard();
    FreeDisplayBuffers();
    if (OnionCompose == ComposeWithMixer) OnionCompose = nullptr;
    if (LayerUndoHook == LayerUndo) LayerUndoHook = nullptr;
    DisplayFlags &= ~MixBits;
}

// ---- Reset -----------------------------------------------------------------------------------------------

int ResetProject(const char* name, int quiet, int keepNothing) {
    if (!quiet && !AskYesNo(MsgGet(nullptr, 8113), MsgGet(nullptr, 1001), MsgGet(nullptr, 1002))) return 0;
    FreeLayerClipboard();
    if (Page) ClearBitmap(Page, 0);
    SelectionStart = SelectionLength = 0;
    ChangeCounter++;
    if (keepNothing || !Layers) return 1;
    ClearLayerUndo();
    // Nothing of the old page may be written back into the layer that stays.
    StoredSerial = PageVersion;
    CurrentLayer = 0;
    for (int32_t i = LayerCount - 1; i > 0; i--) {
        FreeLayerData(&Layers[i]);
        std::memset(&Layers[i], 0, sizeof(Layer));
    }
    LayerCount = 1;
    Layer* first = &Layers[0];
    FreeLayerData(first);
    if (Page) ClearBitmap(Page, 0);
    RefreshUndoPage();
    Layer fresh;
    if (MakeRecord(&fresh, name, 0)) {
        *first = fresh;
    } else {
        // Without a thumbnail the layer still works; the list shows it blank.
        first->Width = PageWidth, first->Height = PageHeight, first->Density = 255;
        first->Flags = 0, first->Id = NextLayerId++;
        first->ClipIndex = first->FirstImage = first->LastImage = 0;
        CopyName(first->Name, name);
    }
    CurrentDensity = 255;
    DeleteVideoLayer();
    CurrentImage = 0;
    StoredSerial = PageVersion;
    PageLayerId = first->Id;
    NotifyView(EventTimeline);
    NotifyView(EventLayerList);
    SetShowAllLayers(true);
    return 1;
}

} // namespace nemu
