// The undo label, the commits, the page's exchange and the routing of the undo command.
//
// Sections: label; commits; undo; page size.
#include "store/undo.h"

#include "host/main_loop.h"
#include "paint/draw_modes.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "store/bitmap.h"
#include "ui/catalog.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace nemu {

char UndoLabel[UndoLabelSize] = "";
uint32_t UndoIsLayerStep = 0;
void (*UndoLabelHook)(const char* label) = nullptr;
int (*LayerUndoHook)() = nullptr;

// ---- Label ---------------------------------------------------------------------------------------

static void ShowLabel() {
    if (UndoLabelHook) UndoLabelHook(UndoLabel);
}

void SetUndoLabel(int layerStep, const char* text) {
    ++PageVersion;
    UndoIsLayerStep = layerStep ? 1 : 0;
    const char* undo = MsgGet(nullptr, 3220);
    // Every row a pen paints comes here: the usual case, the plain label standing
    // already, must cost no formatting.
    if ((!text || !*text) && std::strcmp(UndoLabel, undo) == 0) return;
    char label[UndoLabelSize];
    if (text && *text)
        std::snprintf(label, sizeof label, "%s %s", undo, text);
    else
        std::snprintf(label, sizeof label, "%s", undo);
    if (std::strcmp(label, UndoLabel) == 0) return;
    std::memcpy(UndoLabel, label, sizeof label);
    DirtyLabelCount = 0;
    ShowLabel();
}

void MarkPageChanged() {
    SetUndoLabel(0, nullptr);
}

// Replaces the prefix `from` by `to` when the label begins with it; true when it did.
static bool SwapPrefix(const char* from, const char* to) {
    size_t n = std::strlen(from);
    if (n == 0 || std::strncmp(UndoLabel, from, n) != 0) return false;
    char label[UndoLabelSize];
    std::snprintf(label, sizeof label, "%s%s", to, UndoLabel + n);
    std::memcpy(UndoLabel, label, sizeof label);
    return true;
}

void ToggleUndoLabel() {
    ++PageVersion;
    if (!UndoLabel[0]) return;
    const char* undo = MsgGet(nullptr, 3220);
    const char* redo = MsgGet(nullptr, 3221);
    if (SwapPrefix(undo, redo) || SwapPrefix(redo, undo)) ShowLabel();
}

// ---- Commits --------------------------------------------------------------------------------------

// BackPage is an undo copy only while it has the page's size; between a change of page
// size and its new BackPage (or without memory for one) undo is off.
static bool BackPageUsable() {
    return BackPage && Page && BackPage->Width == Page->Width && BackPage->Height == Page->Height;
}

// The dirty box grown by `grow` and clamped to the page; false when it misses the page.
static bool ClampedBox(int32_t grow, int32_t* x0, int32_t* y0, int32_t* x1, int32_t* y1) {
    if (!Page) return false;
    int64_t l = int64_t(DirtyRect.MinX) - grow, t = int64_t(DirtyRect.MinY) - grow;
    int64_t r = int64_t(DirtyRect.MaxX) + grow, b = int64_t(DirtyRect.MaxY) + grow;
    l = std::max<int64_t>(l, 0), t = std::max<int64_t>(t, 0);
    r = std::min<int64_t>(r, Page->Width - 1), b = std::min<int64_t>(b, Page->Height - 1);
    if (l > r || t > b) return false;
    *x0 = int32_t(l), *y0 = int32_t(t), *x1 = int32_t(r), *y1 = int32_t(b);
    return true;
}

void BeginStrokeCommit() {
    if (DirtyRect.Valid) {
        int32_t x0, y0, x1, y1;
        if (BackPageUsable() && ClampedBox(1, &x0, &y0, &x1, &y1))
            CopyRectRaw(Page, x0, y0, BackPage, x0, y0, x1 - x0 + 1, y1 - y0 + 1);
        if (AfterCommitHook) AfterCommitHook();
        DirtyRect.Valid = 0;
    }
    SetUndoLabel(0, nullptr);
}

void SnapshotBackPage() {
    ++PreviewStale;
    if (BackPageUsable()) CopyBitmap(Page, BackPage);
    DirtyRect.MinX = DirtyRect.MaxX = PointerX;
    DirtyRect.MinY = DirtyRect.MaxY = PointerY;
    DirtyRect.Valid = 0;
    if (WetMode) ClearWet();
}

void CommitPage() {
    if (WetKeep == 1) MustCommit = 1;
    BeginStrokeCommit();
    if (WetMode) ClearWet();
}

void CommitWholePage() {
    if (Page) AddDirtyAndMark(0, 0, Page->Width, Page->Height);
    CommitPage();
}

// ---- Undo --------------------------------------------------------------------------------------------

int PageUndoPending() {
    int32_t x0, y0, x1, y1;
    return DirtyRect.Valid && BackPageUsable() && ClampedBox(0, &x0, &y0, &x1, &y1) ? 1 : 0;
}

void UndoPage() {
    int32_t x0, y0, x1, y1;
    // Clamped, not grown: the margin of a pixel belongs to the commit. The clamped box is
    // kept, so that the redo exchanges exactly the same pixels.
    if (DirtyRect.Valid && ClampedBox(0, &x0, &y0, &x1, &y1)) {
        DirtyRect.MinX = x0, DirtyRect.MinY = y0, DirtyRect.MaxX = x1, DirtyRect.MaxY = y1;
        if (BackPageUsable()) {
            SwapRectRaw(BackPage, x0, y0, Page, x0, y0, x1 - x0 + 1, y1 - y0 + 1);
            RefreshPageRect(x0, y0, x1 - x0 + 1, y1 - y0 + 1);
        }
    }
    if (AfterUndoHook) AfterUndoHook();
}

void Undo() {
    if (UndoIsLayerStep) {
        if (LayerUndoHook) LayerUndoHook();
    } else {
        UndoPage();
    }
    ToggleUndoLabel();
}

void UndoCommand() {
    if (!BackPage) return;
    MustCommit = 1;
    ++PreviewStale;
    Undo();
}

// ---- Page size -------------------------------------------------------------------------------------------

void PageSizeChanged() {
    CancelTool(ToolMode);
    ToolState.ToolPhase = 0;
    if (SparePage && Page && (SparePage->Width != Page->Width || SparePage->Height != Page->Height))
        DropSpare();
    DirtyRect = DirtyBox();
    WetRect = WetBox();
    MustCommit = 1;
}

} // namespace nemu
