// The undo label, the routing between page and layer steps, and the page's exchange.
#include "store/undo.h"

#include "host/main_loop.h"
#include "paint/tools.h"
#include "project/layer_undo.h"
#include "store/bitmap.h"
#include "ui/catalog.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace nemu {

char UndoLabel[UndoLabelSize] = "";
uint32_t UndoIsLayerStep = 0;
void (*UndoLabelHook)(const char* label) = nullptr;

static void ShowLabel() {
    if (UndoLabelHook) UndoLabelHook(UndoLabel);
}

void SetUndoLabel(int layerStep, const char* text) {
    ++PageVersion;
    UndoIsLayerStep = layerStep ? 1 : 0;
    char label[UndoLabelSize];
    const char* undo = MsgGet(nullptr, 3220);
    if (text && *text)
        std::snprintf(label, sizeof label, "%s %s", undo, text);
    else
        std::snprintf(label, sizeof label, "%s", undo);
    if (std::strcmp(label, UndoLabel) == 0) return;
    std::memcpy(UndoLabel, label, sizeof label);
    ShowLabel();
}

void MarkPageChanged() {
    SetUndoLabel(0, nullptr);
}

// Replaces the prefix from by to when the label begins with it; 1 when it did.
static int SwapPrefix(const char* from, const char* to) {
    size_t n = std::strlen(from);
    if (n == 0 || std::strncmp(UndoLabel, from, n) != 0) return 0;
    char label[UndoLabelSize];
    std::snprintf(label, sizeof label, "%s%s", to, UndoLabel + n);
    std::memcpy(UndoLabel, label, sizeof label);
    return 1;
}

void ToggleUndoLabel() {
    ++PageVersion;
    if (!UndoLabel[0]) return;
    const char* undo = MsgGet(nullptr, 3220);
    const char* redo = MsgGet(nullptr, 3221);
    if (SwapPrefix(undo, redo) || SwapPrefix(redo, undo)) ShowLabel();
}

void Undo() {
    if (UndoIsLayerStep) {
        LayerUndo();
        ToggleUndoLabel();
        return;
    }
    // The box is clamped, not grown: the margin of one pixel belongs to the commit.
    if (Page && BackPage && Page->Width == BackPage->Width && Page->Height == BackPage->Height) {
        DirtyBox& box = DirtyRect;
        box.MinX = std::max(box.MinX, 0);
        box.MinY = std::max(box.MinY, 0);
        box.MaxX = std::min(box.MaxX, Page->Width - 1);
        box.MaxY = std::min(box.MaxY, Page->Height - 1);
        if (box.Valid && box.MinX <= box.MaxX && box.MinY <= box.MaxY) {
            int w = box.MaxX - box.MinX + 1, h = box.MaxY - box.MinY + 1;
            SwapRectRaw(BackPage, box.MinX, box.MinY, Page, box.MinX, box.MinY, w, h);
            RefreshPageRect(box.MinX, box.MinY, w, h);
        }
    }
    if (AfterUndoHook) AfterUndoHook();
    ToggleUndoLabel();
}

} // namespace nemu
