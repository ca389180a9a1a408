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
#include "ui/catalog.h"
#include "ui/command_handlers.h"
#include "ui/file_requester.h"
#include "ui/requests.h"

#include <cstdlib>
#include <cstring>
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

// The requester's title of each save mode; a mode without one says "Save picture".
static uint32_t SaveTitle(int mode) {
    static const struct {
        int Mode;
        uint32_t Title;
    } Titles[] = {{0, 2748},  {1, 2751},  {2, 2758},  {3, 2752}, {23, 2763},
                  {25, 2765}, {26, 2764}, {28, 2767}, {29, 2768}};
    for (const auto& row : Titles)
        if (row.Mode == mode) return row.Title;
    return 20430;
}

// The page in the current save mode, the mode's extension added to a name without it.
void CmdSaveImage() {
    char path[PathSize] = {};
    if (!RequestFile(SaveTitle(FileFormat), path, sizeof path, 1) || !path[0]) return;
    const SaveModeRow* row = FindSaveMode(FileFormat);
    if (row && row->Extension) {
        const size_t n = std::strlen(path), e = std::strlen(row->Extension);
        if ((n < e || strcasecmp(path + n - e, row->Extension) != 0) && n + e < sizeof path)
            std::memcpy(path + n, row->Extension, e + 1);
    }
    if (MayOverwrite(path) != 0) return;
    CancelTool(ToolMode);
    SaveImageAs(path, Page);
}

} // namespace nemu
