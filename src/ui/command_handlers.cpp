// Handlers of the command table for the program, the tools, the colours, the modes, undo
// and the spare page. Each cancels the tool's previews before it changes anything a
// preview was drawn with.
#include "ui/command_handlers.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "paint/colour.h"
#include "paint/draw_modes.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "project/compose.h"
#include "store/bitmap.h"
#include "store/undo.h"
#include "ui/panels.h"
#include "ui/settings.h"

#include <algorithm>
#include <utility>

namespace nemu {

// ---- Clipboard and program -----------------------------------------------------------------------

void CmdSaveImageToClipboard() {
    if (Page) PlatformClipboardSetImage(Page);
}

// The picture goes into the page's corner, cropped, as a change of the page that undo
// takes back.
void CmdLoadImageFromClipboard() {
    if (!Page) return;
    Bitmap* picture = PlatformClipboardGetImage();
    if (!picture) return;
    CancelTool(ToolMode);
    SnapshotBackPage();
    const int w = std::min(picture->Width, PageWidth), h = std::min(picture->Height, PageHeight);
    CopyRectClipped(picture, 0, 0, Page, 0, 0, w, h);
    FreeBitmap(picture);
    if (w < 1 || h < 1) return;
    AddDirtyAndMark(0, 0, w - 1, h - 1);
    MarkPageChanged();
    RefreshPageRect(0, 0, w, h);
}

void CmdQuit() {
    AskQuit();
}

// ---- Tools -------------------------------------------------------------------------------------------

void CmdSelectDraw() {
    SelectToolMode(TOOL_FREEHAND);
}
void CmdSelectPoint() {
    SelectToolMode(TOOL_DOT);
}
void CmdSelectLine() {
    SelectToolMode(TOOL_LINE);
}

void CmdActiveGrid() {
    CancelTool(ToolMode);
    GridOn = GridOn ? 0 : 1;
    RefreshGridPanel();
}

void CmdSafeArea() {
    SafeAreaShown = !SafeAreaShown;
    RefreshGridPanel();
    Redisplay();
}

// Automatic, always the whole brush, always an outline, and round again.
constexpr int32_t BrushGhostModeCount = 3;
void CmdDisplayBrushMode() {
    CancelTool(ToolMode);
    ToolState.BrushGhostMode = (ToolState.BrushGhostMode + 1) % BrushGhostModeCount;
}

// The pens from the round pen to gouache, with wrap. The custom brush and the text brush
// are reached through a brush of their own, which stepping cannot make.
static void StepPen(int32_t direction) {
    constexpr int32_t PenSlots = PenText + 1;
    int32_t next = Pen;
    do next = ((next + direction) % PenSlots + PenSlots) % PenSlots;
    while (next >= PenBrush);
    SetPen(next);
}
void CmdPreviousTool() {
    StepPen(-1);
}
void CmdNextTool() {
    StepPen(1);
}

// The four tool pointers in turn; the choice is kept in the settings.
constexpr int32_t MouseStyleCount = 4;
void CmdNextCursorShape() {
    MouseStyle = (MouseStyle + 1) % MouseStyleCount;
    ConfigSetInt("Main", "Mouse", MouseStyle);
    if (PointerShape == 1) {
        SetPointerShape(0); // the same shape again would change nothing on the screen
        SetPointerShape(1);
    }
}

// ---- Colours and modes -----------------------------------------------------------------------------

// Wet paint kept over strokes must not mix into the new colour: the next press commits.
void CmdSwapABPen() {
    CancelTool(ToolMode);
    std::swap(APen, BPen);
    ColourChanged();
    MustCommit = 1;
}

void CmdSelectAntiAlias() {
    CancelTool(ToolMode);
    AntiAlias = AntiAlias ? 0 : 1;
}

// ---- Undo and the spare ------------------------------------------------------------------------------

void CmdUndo() {
    CancelTool(ToolMode);
    UndoCommand();
}

void CmdResetUndo() {
    CancelTool(ToolMode);
    CommitPage();
}

void CmdCopyToSpare() {
    CancelTool(ToolMode);
    CopyToSpare(1);
}

void CmdSwapSpare() {
    CancelTool(ToolMode);
    SwapSpare();
}

} // namespace nemu
