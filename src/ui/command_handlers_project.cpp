// Handlers of the command table for layers, images and files: the user commands over the
// operations of the project, with the questions the user command asks (a count of images,
// a file name, whether to drop unsaved work).
#include "files/format_settings.h"
#include "files/image_import.h"
#include "files/project_file.h"
#include "files/registry.h"
#include "files/save_modes.h"
#include "host/main_loop.h"
#include "paint/tools.h"
#include "project/compose.h"
#include "project/layer_edit.h"
#include "project/layers.h"
#include "store/bitmap.h"
#include "ui/catalog.h"
#include "ui/command_handlers.h"
#include "ui/file_requester.h"
#include "ui/requests.h"

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <strings.h>

namespace nemu {

// ---- Images ------------------------------------------------------------------------------------------

// How many images to add, asked under message 8340; an empty answer (nobody to ask, or
// the field left empty) is one image. 0 when cancelled or not a number.
static int32_t AskImageCount() {
    char text[16];
    if (!AskText(8340, text, sizeof text)) return 0;
    if (!text[0]) return 1;
    char* end = nullptr;
    long count = std::strtol(text, &end, 10);
    if (end == text || count < 1) return 0;
    return count > MaxInsertCount ? MaxInsertCount : int32_t(count);
}

void CmdInsertImage() {
    CancelTool(ToolMode);
    if (int32_t count = AskImageCount()) InsertEmptyImages(count);
}

void CmdDuplicateImage() {
    CancelTool(ToolMode);
    if (int32_t count = AskImageCount()) InsertImages(CurrentLayer, count);
}

void CmdClear() {
    CancelTool(ToolMode);
    ClearImages(0);
}

static void StepImage(int32_t delta) {
    const Layer* layer = GetLayer(CurrentLayer);
    if (!layer) return;
    const int32_t image = CurrentImage + delta;
    if (image < layer->FirstImage || image > layer->LastImage) return;
    CancelTool(ToolMode);
    SelectImage(image, 0);
}
void CmdLayerNextImage() {
    StepImage(1);
}
void CmdLayerPrevImage() {
    StepImage(-1);
}
void CmdLayerFirstImage() {
    if (const Layer* layer = GetLayer(CurrentLayer)) StepImage(layer->FirstImage - CurrentImage);
}
void CmdLayerLastImage() {
    if (const Layer* layer = GetLayer(CurrentLayer)) StepImage(layer->LastImage - CurrentImage);
}

void CmdLayerCut() {
    CancelTool(ToolMode);
    LayerCut();
}
void CmdLayerCopy() {
    LayerCopy();
}
void CmdLayerPaste() {
    CancelTool(ToolMode);
    LayerPaste(0);
}
void CmdLayerSelectAll() {
    SelectAllImages();
}
void CmdLayerReverseSelection() {
    const Layer* layer = GetLayer(CurrentLayer);
    if (!layer) return;
    CancelTool(ToolMode);
    ReverseSelection(layer->Id, SelectionStart, SelectionLength);
}

// ---- Layers ------------------------------------------------------------------------------------------

void CmdNewLayer() {
    CancelTool(ToolMode);
    NewLayerCommand();
}

// Index 0 is the top of the stack: the layer above has the lower index.
static void StepLayer(int32_t delta) {
    const int32_t index = CurrentLayer + delta;
    if (index < 0 || index >= LayerCount) return;
    CancelTool(ToolMode);
    SelectLayerImage(index, CurrentImage, 0);
}
void CmdPrevLayer() {
    StepLayer(-1);
}
void CmdNextLayer() {
    StepLayer(1);
}

void CmdLayerMakeAnim() {
    CancelTool(ToolMode);
    MakeAnim(CurrentLayer, 0);
}
void CmdLayerDuplicate() {
    CancelTool(ToolMode);
    DuplicateLayer(nullptr);
}
void CmdLayerRename() {
    RenameLayer(CurrentLayer, nullptr);
}
void CmdLayerDelete() {
    CancelTool(ToolMode);
    DeleteCurrentLayer();
}
void CmdLayerMergeDisplay() {
    CancelTool(ToolMode);
    MergeDisplay();
}

// ---- Display -----------------------------------------------------------------------------------------

void CmdDisplayAllLayer() {
    CancelTool(ToolMode);
    DisplayAllLayer();
}
void CmdLayerTogglePelureMode() {
    CancelTool(ToolMode);
    LayerTogglePelureMode();
}
void CmdToggleBackgroundMode() {
    CancelTool(ToolMode);
    NextBackgroundMode();
}
void CmdToggleVideoLayer() {
    CancelTool(ToolMode);
    ToggleVideoLayer();
}
void CmdDeleteVideoLayer() {
    CancelTool(ToolMode);
    DeleteVideoLayer();
}
void CmdSelectVideoLayer() {
    CancelTool(ToolMode);
    SelectVideoLayer();
}

// ---- Files -------------------------------------------------------------------------------------------

constexpr size_t PathSize = 4096;

// Work that a load would lose: structural changes since the last save, or paint not yet
// written back to the layer.
static bool ProjectChanged() {
    return ChangeCounter != SavedCounter || PageVersion != StoredSerial;
}

// The file is chosen first, so that a cancelled requester asks nothing; then unsaved work
// is a question (the cautious answer keeps it).
void CmdLoadProject() {
    char path[PathSize] = {};
    if (!RequestFile(20150, path, sizeof path, 0) || !path[0]) return;
    if (ProjectChanged() && !AskYesNo(MsgGet(nullptr, 10236), MsgGet(nullptr, 1005), MsgGet(nullptr, 1006)))
        return;
    CancelTool(ToolMode);
    LoadProject(path, 1, 0);
}

void CmdSaveProject() {
    CancelTool(ToolMode);
    SaveProject();
}

void CmdImportImage() {
    char path[PathSize] = {};
    if (!RequestFile(2702, path, sizeof path, 0) || !path[0]) return;
    CancelTool(ToolMode);
    ImportFile(path);
}

struct SaveTitle {
    int Mode;
    uint32_t Title;
};

// The requester's title of each save mode; a mode without one says what the command saves.
static uint32_t TitleFor(const SaveTitle* titles, size_t count, uint32_t otherwise) {
    for (size_t i = 0; i < count; ++i)
        if (titles[i].Mode == FileFormat) return titles[i].Title;
    return otherwise;
}

// Asks for a file name to save to in the current save mode, adds the mode's extension to a
// name without it, and asks before a file is replaced. False when the user stopped.
static bool AskSavePath(uint32_t title, char* path, size_t size) {
    path[0] = 0;
    if (!RequestFile(title, path, size, 1) || !path[0]) return false;
    const SaveModeRow* row = FindSaveMode(FileFormat);
    if (row && row->Extension) {
        const size_t n = std::strlen(path), e = std::strlen(row->Extension);
        if ((n < e || strcasecmp(path + n - e, row->Extension) != 0) && n + e < size)
            std::memcpy(path + n, row->Extension, e + 1);
    }
    return MayOverwrite(path) == 0;
}

// The page in the current save mode.
void CmdSaveImage() {
    static const SaveTitle Titles[] = {{0, 2748},  {1, 2751},  {2, 2758},  {3, 2752}, {23, 2763},
                                       {25, 2765}, {26, 2764}, {28, 2767}, {29, 2768}};
    char path[PathSize];
    if (!AskSavePath(TitleFor(Titles, std::size(Titles), 20430), path, sizeof path)) return;
    CancelTool(ToolMode);
    SaveImageAs(path, Page);
}

// The stack as it shows, flattened over its background, in the current save mode. The
// modes that write every image of an animation answer through their writer, which
// reports what it cannot do.
void CmdSaveSequence() {
    static const SaveTitle Titles[] = {{25, 2395}, {26, 2399}, {13, 2392}, {0, 2390}};
    char path[PathSize];
    if (!AskSavePath(TitleFor(Titles, std::size(Titles), 20431), path, sizeof path)) return;
    CancelTool(ToolMode);
    Bitmap* shown = NewBitmap(PageWidth, PageHeight);
    if (!shown) {
        AlertMsg(2384);
        return;
    }
    if (ComposeCurrent(shown, true)) SaveImageAs(path, shown);
    FreeBitmap(shown);
}

} // namespace nemu
