// The tool state machine: the table of modes with their handlers and cancellers, the
// choice of a mode, and the cancel that every change of pen, draw mode or tool runs first.
//
// Sections: state; the mode table; running and selecting; cancelling.
#include "host/main_loop.h"
#include "host/screen.h"
#include "paint/tools.h"

#include <cstddef>

namespace nemu {

// ---- State ------------------------------------------------------------------------------------------

ToolStateRecord ToolState;
FreehandRecord Freehand;
int32_t PointMode = POINT_CONTINUE;
int32_t LineP1 = 255, LineP2 = 255;
int32_t PreviousToolMode = TOOL_FREEHAND;
int32_t DragRadius = 0;

// ---- The mode table ------------------------------------------------------------------------------------

namespace {
// A shape's rubber line runs from its first point to the cursor of the last preview.
void EraseShapeLine(int32_t& shown) {
    if (!shown) return;
    EraseXorLine(ToolState.StartFX >> 16, ToolState.StartFY >> 16, ToolState.CursorX, ToolState.CursorY);
    shown = 0;
}

void CancelDot() {
    if (ToolState.ToolVariant) EraseShapeLine(ToolState.MoveGhostOn);
}

void CancelFreehand() {
    if (!ToolState.ToolVariant) return;
    if (ToolState.ToolPhase == 2) EraseShapeLine(ToolState.LineGhostOn);
    // The filled form's polygon preview is wiped here too, once the fills have it.
}

void CancelSizeDrag() {
    if (ToolState.EllipseGhostOn) EraseXorCircle(ToolState.AnchorX, ToolState.AnchorY, DragRadius);
    if (ToolState.CrossGhostOn) EraseCrossGhost(ToolState.AnchorX, ToolState.AnchorY);
    ToolState.EllipseGhostOn = ToolState.CrossGhostOn = 0;
}

void CancelLine() {
    EraseShapeLine(ToolState.LineGhostOn);
    // The polyline form's polygon preview is wiped here too, once the shapes have it.
}

struct ToolModeRow {
    int32_t Mode;
    void (*Handler)();
    // What a cancel erases beyond the brush ghost; null when the mode shows nothing else.
    void (*Cancel)();
};

// The modes whose handlers exist. The shapes, fills, picks, custom commands and the move
// of the image add their rows as they come; a mode without a row runs ToolPoint.
const ToolModeRow ToolModes[] = {
    {TOOL_DOT, ToolPoint, CancelDot},   {TOOL_FREEHAND, ToolFreehand, CancelFreehand},
    {14, ToolDragSize, CancelSizeDrag}, {15, ToolDragSize, CancelSizeDrag},
    {16, ToolDragSize, CancelSizeDrag}, {TOOL_LINE, ToolLine, CancelLine},
    {54, ToolDragSize, CancelSizeDrag}, {55, ToolDragSize, CancelSizeDrag},
    {56, ToolDragSize, CancelSizeDrag},
};

const ToolModeRow* FindMode(int32_t mode) {
    for (const ToolModeRow& row : ToolModes)
        if (row.Mode == mode) return &row;
    return nullptr;
}

constexpr int32_t FirstMode = 1, LastMode = 57;
} // namespace

// ---- Running and selecting --------------------------------------------------------------------------------

void RunToolMode() {
    const ToolModeRow* row = FindMode(ToolMode);
    (row ? row->Handler : ToolPoint)();
}

int SelectToolMode(int32_t mode) {
    if (mode < FirstMode || mode > LastMode) return -1;
    if (PointerHook) SetPointerHook(nullptr, nullptr);
    CancelTool(ToolMode);
    ToolMode = mode;
    ToolState.ToolPhase = 0;
    ToolState.CommitAllowed = 1;
    return 0;
}

void BeginDragSize() {
    if (ToolMode >= 14 && ToolMode <= 16) return;
    const int32_t previous = ToolMode;
    SelectToolMode(TOOL_SIZE_DRAG);
    PreviousToolMode = previous;
    SetPointerShape(4);
}

// ---- Cancelling
// --------------------------------------------------------------------------------------------

void CancelTool(int32_t mode) {
    HideGhost(CurrentStamp);
    const ToolModeRow* row = FindMode(mode);
    if (row && row->Cancel) row->Cancel();
}

} // namespace nemu
