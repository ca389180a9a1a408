// Sections: names; loading a picture; the project's fallback; importing; the page.
#include "files/image_import.h"

#include "files/format_settings.h"
#include "files/project_file.h"
#include "files/raster_common.h"
#include "files/recent_files.h"
#include "files/registry.h"
#include "host/main_loop.h"
#include "host/screen.h"
#include "paint/draw_modes.h"
#include "paint/tools.h"
#include "project/layer_undo.h"
#include "project/layers.h"
#include "project/page_size.h"
#include "store/bitmap.h"
#include "store/scale.h"
#include "store/undo.h"
#include "ui/catalog.h"
#include "ui/requests.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/stat.h>

namespace nemu {

// ---- Names ----------------------------------------------------------------------------------

static std::string BaseName(const char* path) {
    const char* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

void LayerNameFromFile(const char* path, int number, char* name, int size) {
    std::string base = BaseName(path);
    if (base.size() > 50) base = base.substr(base.size() - 50);
    size_t n = base.size();
    if (n >= 5 && base[n - 5] == '.')
        base.resize(n - 5);
    else if (n >= 4 && base[n - 4] == '.')
        base.resize(n - 4);
    std::snprintf(name, size_t(size), "%s-%d", base.c_str(), number);
}

void PictureLayerName(const char* path, char* name, int size) {
    std::string base = BaseName(path);
    size_t n = base.size();
    if (n >= 4 && base[n - 4] == '.') base.resize(n - 4);
    std::snprintf(name, size_t(size), "%s", base.c_str());
}

void ReportUnknownFile(const char* path) {
    // A file that was known but refused says why.
    if (LastFileError.Message) {
        ReportFileError(path);
        return;
    }
    struct stat info;
    char text[4600];
    if (stat(path, &info) != 0)
        std::snprintf(text, sizeof text, "%s\n%s", path,
                      errno ? std::strerror(errno) : MsgGet(nullptr, 2367));
    else
        std::snprintf(text, sizeof text, "%s\n%s", path, MsgGet(nullptr, 2355));
    Alert(text);
}

// ---- Loading a picture ------------------------------------------------------------------------

int LoadPictureScaled(const char* path, Bitmap* target, int width, int height, int stretch) {
    if (!target) return -1;
    if (!stretch || (width == target->Width && height == target->Height))
        return LoadImageFile(path, target, 0);
    if (!ImageSizeValid(uint64_t(width), uint64_t(height))) {
        ReportUnknownFile(path);
        return -1;
    }
    Bitmap* full = NewClearBitmap(width, height);
    if (!full) {
        AlertMsg(1000);
        return -1;
    }
    int result = LoadImageFile(path, full, 0);
    // A picture that failed half way is still shown as far as it came.
    if (!ScaleBitmap(full, target, AntiAlias != 0)) {
        AlertMsg(1000);
        result = -1;
    }
    FreeBitmap(full);
    return result;
}

// ---- The project's fallback ----------------------------------------------------------------------

int LoadPictureProject(const char* path, int allowResize, int scaleToPage, int replace) {
    int width = 0, height = 0;
    if (SniffFormat(path, &width, &height) < 0) {
        ReportUnknownFile(path);
        return -1;
    }
    // Moving pictures come in as clip layers once a sequence reader is there; until then
    // their first image is what the registry can load.
    char name[128];
    LayerNameFromFile(path, 1, name, sizeof name);
    if (replace) {
        if (allowResize && (width != PageWidth || height != PageHeight)) {
            // The page's display settings are the user's, not the file's.
            const uint32_t kept = DisplayFlags & 0x3006;
            int changed = ChangePageSize(width, height, 0);
            DisplayFlags = (DisplayFlags & ~0x3006u) | kept;
            if (changed != 1) return -1;
        }
        ResetProject(name, 1, 0);
        Layers[0].Density = 255;
    } else {
        if (!FlushPage()) return -1;
        if (!CreateLayer(name, 1, 1, CurrentImage, 1)) return -1;
        ClearLayerUndo();
    }
    ClearBitmap(Page, 0);
    int result = LoadPictureScaled(path, Page, width, height, scaleToPage);
    PageVersion++;
    SelectLayerImage(CurrentLayer, CurrentImage, 0);
    if (replace) SavedCounter = ChangeCounter;
    AddRecentFile(path);
    return result;
}

// ---- Importing ------------------------------------------------------------------------------------

int ImportFile(const char* path) {
    int width = 0, height = 0;
    int type = path ? SniffFormat(path, &width, &height) : -1;
    if (type < 0) {
        if (path) ReportUnknownFile(path);
        return -1;
    }
    if (type == FILE_PROJECT) return ReadProject(path, 0, Stretch, 0);
    char name[128];
    PictureLayerName(path, name, sizeof name);
    int32_t image = CurrentImage;
    if (!FlushPage() || !CreateLayer(name, 1, 1, image, 1)) return -1;
    // The layer's step is recorded as a new layer's is; the page's undo, which the load
    // sets, then takes the picture away.
    ClearLayerUndo();
    UndoIndex = CurrentLayer;
    RecordLayerUndoMsg(6, 8218);
    SnapshotBackPage();
    int result = LoadPictureScaled(path, Page, width, height, Stretch);
    AddDirtyAndMark(0, 0, PageWidth - 1, PageHeight - 1);
    RefreshPageRect(0, 0, PageWidth, PageHeight);
    NotifyView(EventLayerList);
    NotifyView(EventTimeline);
    AddRecentFile(path);
    return result;
}

// ---- The page -------------------------------------------------------------------------------------

int LoadPictureToPage(const char* path, int stretch) {
    int width = 0, height = 0;
    int type = path ? SniffFormat(path, &width, &height) : -1;
    if (type < 0 || type == FILE_PROJECT) {
        if (path) ReportUnknownFile(path);
        return -1;
    }
    SnapshotBackPage();
    int result = LoadPictureScaled(path, Page, width, height, stretch);
    AddDirtyAndMark(0, 0, PageWidth - 1, PageHeight - 1);
    ClearLayerUndo();
    RecordLayerUndoMsg(0, 2702);
    RefreshPageRect(0, 0, PageWidth, PageHeight);
    return result;
}

} // namespace nemu
