// The video layer: a read-only clip under the whole stack, outside Layers.
#include "host/main_loop.h"
#include "project/compose.h"
#include "project/layer_edit.h"
#include "project/layer_undo.h"
#include "store/bitmap.h"
#include "store/tile_store.h"
#include "ui/requests.h"

#include <cstdio>
#include <cstring>
#include <new>

namespace nemu {

Clip* (*OpenVideoClipHook)(const char* path, int a, int b, int fields, int d) = nullptr;
int (*AskVideoFileHook)(char* path, int size) = nullptr;
VideoSource VideoLayerSource = {};

int OpenVideoLayer(const char* path, int a, int b, int fields, int d) {
    Clip* clip = path && OpenVideoClipHook ? OpenVideoClipHook(path, a, b, fields, d) : nullptr;
    Layer* layer = clip && clip->ImageCount > 0 ? new (std::nothrow) Layer{} : nullptr;
    if (!layer) {
        if (clip) clip->Ops.Free(clip);
        AlertMsg(10206);
        return 0;
    }
    DeleteVideoLayer();
    ClearLayerUndo();
    layer->Width = PageWidth;
    layer->Height = PageHeight;
    layer->Density = 255;
    const char* slash = std::strrchr(path, '/');
    std::strncpy(layer->Name, slash ? slash + 1 : path, sizeof layer->Name - 1);
    layer->Clip = clip;
    layer->FirstImage = 0;
    layer->LastImage = clip->ImageCount - 1;
    VideoLayer = layer;
    std::snprintf(VideoLayerSource.Path, sizeof VideoLayerSource.Path, "%s", path);
    VideoLayerSource.A = a, VideoLayerSource.B = b, VideoLayerSource.Fields = fields, VideoLayerSource.D = d;
    Redisplay();
    return 1;
}

void SelectVideoLayer() {
    char path[4096];
    if (AskVideoFileHook && AskVideoFileHook(path, sizeof path)) OpenVideoLayer(path, 0, 0, 0, 0);
}

void ToggleVideoLayer() {
    if (!VideoLayer) return;
    VideoLayer->Flags ^= LayerHidden;
    Redisplay();
}

void DeleteVideoLayer() {
    if (!VideoLayer) return;
    if (UndoKind == 10) ClearLayerUndo();
    FreeLayerData(VideoLayer);
    delete VideoLayer;
    VideoLayer = nullptr;
    Redisplay();
}

int ShiftVideoLayer(int32_t firstImage) {
    if (!VideoLayer || firstImage < 0) return 0;
    int32_t length = VideoLayer->LastImage - VideoLayer->FirstImage;
    if (firstImage > MaxImagePosition - length) firstImage = MaxImagePosition - length;
    ClearLayerUndo();
    UndoIndex = VideoLayer->FirstImage;
    VideoLayer->FirstImage = firstImage;
    VideoLayer->LastImage = firstImage + length;
    RecordLayerUndoMsg(10, 8216);
    Redisplay();
    return 1;
}

} // namespace nemu
