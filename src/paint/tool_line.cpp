// The line (rubber band from the press, painted at the release, or at every pass while
// Ctrl is held: the comb) and the drag that sets the pen's size.
#include "host/main_loop.h"
#include "paint/colour.h"
#include "paint/pens.h"
#include "paint/tools.h"

#include <algorithm>
#include <cmath>

namespace nemu {

// ---- Line -------------------------------------------------------------------------------------------------

namespace {
void PaintShapeLine() {
    Stamp* stamp = CurrentStamp;
    if (!stamp) return;
    ShiftArmed = 0;
    StrokeColourPicked = 0;
    const bool left = ToolState.ShapeButton != 2;
    auto corner = [](int64_t v, int32_t handle) {
        return int32_t(std::clamp<int64_t>(v - (int64_t(handle) << 16), INT32_MIN, INT32_MAX));
    };
    PaintLine(stamp, corner(ToolState.StartFX, stamp->HandleX), corner(ToolState.StartFY, stamp->HandleY),
              corner(PointerFX, stamp->HandleX), corner(PointerFY, stamp->HandleY), left ? APen : BPen,
              left ? 0 : 1, 1, -LineP1, -LineP2, LineP1, LineP2);
    // A left line takes the next colour of a range here once the colour ranges exist.
}
} // namespace

void ToolLine() {
    ToolStateRecord& t = ToolState;
    if (t.LineGhostOn) {
        EraseXorLine(t.StartFX >> 16, t.StartFY >> 16, t.CursorX, t.CursorY);
        t.LineGhostOn = 0;
    }
    t.CursorX = PointerX, t.CursorY = PointerY;
    MoveGhost(PointerX, PointerY);
    const bool held = LeftHeld || RightHeld;
    if ((LeftPressed || RightPressed) && t.ToolPhase == 0) {
        t.ToolPhase = 1;
        t.ShapeButton = LeftPressed + 2 * RightPressed;
        t.StartFX = PointerFX, t.StartFY = PointerFY;
        if (WetMode && WetKeep == 0) ClearWet();
        return;
    }
    if (t.ToolPhase || held) ConstrainToPoint(t.StartFX, t.StartFY);
    if (held && !CtrlHeld) {
        // The preview ends where the constrained pointer is, and is erased from there.
        t.CursorX = PointerX, t.CursorY = PointerY;
        DrawXorLine(t.StartFX >> 16, t.StartFY >> 16, t.CursorX, t.CursorY);
        t.LineGhostOn = 1;
        t.ToolPhase = 1;
        return;
    }
    if ((t.ToolPhase && ButtonEdge) || (held && CtrlHeld)) {
        // The ghost would be painted over and then shown again from a page that has the
        // line: it goes first and comes back at the next pass.
        HideGhost(CurrentStamp);
        PaintShapeLine();
        t.ToolPhase = 0;
    }
}

// ---- Size by a drag
// -------------------------------------------------------------------------------------------

void ToolDragSize() {
    ToolStateRecord& t = ToolState;
    if (t.EllipseGhostOn) EraseXorCircle(t.AnchorX, t.AnchorY, DragRadius);
    if (t.CrossGhostOn) EraseCrossGhost(t.AnchorX, t.AnchorY);
    t.EllipseGhostOn = t.CrossGhostOn = 0;
    const bool held = LeftHeld || RightHeld;
    if ((LeftPressed || RightPressed) && t.ToolPhase == 0) {
        t.ToolPhase = 1;
        t.AnchorX = PointerX, t.AnchorY = PointerY;
        DragRadius = 0;
    }
    if (t.ToolPhase == 1 && held) {
        const double dx = double(PointerX) - t.AnchorX, dy = double(PointerY) - t.AnchorY;
        DragRadius = int32_t(std::min(100.0, std::floor(std::sqrt(dx * dx + dy * dy))));
        DrawXorCircle(t.AnchorX, t.AnchorY, DragRadius);
        DrawCrossGhost(t.AnchorX, t.AnchorY);
        t.EllipseGhostOn = t.CrossGhostOn = 1;
        return;
    }
    if (t.ToolPhase == 1) {
        t.ToolPhase = 0;
        const int32_t back = PreviousToolMode;
        SetPenSize(DragRadius);
        SelectToolMode(back);
    }
}

} // namespace nemu
