// The two painting tools of the pointer: the dot (one dab a pass) and freehand (the
// pointer's path smoothed into quadratic arcs between the midpoints of its samples).
//
// Sections: shared; dot; freehand.
#include "host/main_loop.h"
#include "paint/colour.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "store/undo.h"

#include <algorithm>

namespace nemu {

// ---- Shared ------------------------------------------------------------------------------------------

namespace {
// A press clears the wet buffer unless the pen keeps its paint between strokes.
void ClearWetForStroke() {
    if (WetMode && WetKeep == 0) ClearWet();
}

// The brush outline that BrushGhostInStroke keeps on the screen while painting.
void ShowStrokeGhost() {
    if (!ToolState.BrushGhostInStroke) return;
    const int32_t mode = ToolState.BrushGhostMode;
    ToolState.BrushGhostMode = 2;
    ShowGhost(PointerX, PointerY);
    ToolState.BrushGhostMode = mode;
}

// 16.16 pointer position to the 24.8 position of the stamp's top left.
int32_t StampCorner248(int64_t v, int32_t handle) {
    return int32_t(std::clamp<int64_t>((v - (int64_t(handle) << 16)) >> 8, INT32_MIN, INT32_MAX));
}
} // namespace

// ---- Dot ------------------------------------------------------------------------------------------------

void ToolPoint() {
    ConstrainPointer();
    Stamp* stamp = CurrentStamp;
    if (!stamp) return;
    const int64_t fx = int64_t(PointerFX) - (int64_t(stamp->HandleX) << 16);
    const int64_t fy = int64_t(PointerFY) - (int64_t(stamp->HandleY) << 16);
    const bool pressed = LeftPressed || RightPressed;
    if (pressed) {
        ShiftArmed = 0;
        // The range stroke starts here once the colour ranges exist.
        ClearWetForStroke();
    }
    const bool paints = PointMode == POINT_SINGLE ? pressed : (LeftHeld || RightHeld);
    if (!paints) {
        MoveGhost(PointerX, PointerY);
        ClearWetForStroke();
        StrokeColourPicked = 0;
        return;
    }
    HideGhost(stamp);
    const bool left = PointMode == POINT_SINGLE ? LeftPressed != 0 : LeftHeld != 0;
    const uint32_t colour = left ? APen : BPen;
    const int32_t useBPen = left ? 0 : 1;
    const int32_t x32 = int32_t(std::clamp<int64_t>(fx, INT32_MIN, INT32_MAX));
    const int32_t y32 = int32_t(std::clamp<int64_t>(fy, INT32_MIN, INT32_MAX));
    if (PaintRoundStroke(x32, y32, x32, y32, colour, useBPen, 1, PressureLow, PressureLow, PressureHigh,
                         PressureHigh)) {
        const int32_t x = x32 >> 16, y = y32 >> 16;
        AddDirty(x, y, x + stamp->Width, y + stamp->Height);
        MarkPageChanged();
        StampAndShow(stamp, Page, x, y, colour, useBPen, PressureHigh);
        FlushRefresh();
    }
    stamp->GhostFlags = 0;
    ShowStrokeGhost();
}

// ---- Freehand ---------------------------------------------------------------------------------------------

namespace {
bool StrokeButtonHeld() {
    return Freehand.StrokeButton == 1 ? LeftHeld != 0 : RightHeld != 0;
}

void StartFreehand() {
    FreehandRecord& f = Freehand;
    ToolState.ToolPhase = 1;
    f.StrokeButton = LeftPressed ? 1 : 2;
    ShiftArmed = 0;
    StrokeColourPicked = 0;
    // The range stroke starts here once the colour ranges exist.
    f.FirstSegment = 1;
    f.Prev0X = f.Prev1X = PointerFX;
    f.Prev0Y = f.Prev1Y = PointerFY;
    f.PrevHigh0 = f.PrevHigh1 = PressureHigh;
    f.PrevLow0 = f.PrevLow1 = PressureLow;
    ClearWetForStroke();
}

// The arc from Prev0 through Prev1 to the midpoint of Prev1 and the pointer, whose
// pressures are the means of Prev1's and the pointer's. Returns the midpoint's values.
void PaintArcToMidpoint(int32_t* mx, int32_t* my, int32_t* high, int32_t* low) {
    FreehandRecord& f = Freehand;
    Stamp* stamp = CurrentStamp;
    *mx = int32_t((int64_t(f.Prev1X) + PointerFX) / 2);
    *my = int32_t((int64_t(f.Prev1Y) + PointerFY) / 2);
    *high = (f.PrevHigh1 + PressureHigh) / 2;
    *low = (f.PrevLow1 + PressureLow) / 2;
    if (!stamp) return;
    const int32_t p[6] = {
        StampCorner248(f.Prev0X, stamp->HandleX), StampCorner248(f.Prev0Y, stamp->HandleY),
        StampCorner248(f.Prev1X, stamp->HandleX), StampCorner248(f.Prev1Y, stamp->HandleY),
        StampCorner248(*mx, stamp->HandleX),      StampCorner248(*my, stamp->HandleY),
    };
    const int32_t size[3] = {f.PrevLow0, f.PrevLow1, *low};
    const int32_t op[3] = {f.PrevHigh0, f.PrevHigh1, *high};
    const bool left = f.StrokeButton == 1;
    PaintCurve(stamp, p, left ? APen : BPen, left ? 0 : 1, f.FirstSegment, size, op);
    f.FirstSegment = 0;
}
} // namespace

void ToolFreehand() {
    ConstrainPointer();
    FreehandRecord& f = Freehand;
    int32_t& phase = ToolState.ToolPhase;
    if (!LeftHeld && !RightHeld && phase == 0) {
        MoveGhost(PointerX, PointerY);
        return;
    }
    HideGhost(CurrentStamp);
    int32_t mx, my, high, low;
    if (LeftPressed || RightPressed) {
        // A press always opens a stroke: the main loop keeps a second button's press from
        // the tools, so a phase still set here is a stroke whose release was never seen.
        StartFreehand();
    } else if (phase == 1 && StrokeButtonHeld()) {
        // The second sample becomes the first control point.
        f.Prev1X = PointerFX, f.Prev1Y = PointerFY;
        f.PrevHigh1 = PressureHigh, f.PrevLow1 = PressureLow;
        phase = 2;
    } else if (phase == 2 && StrokeButtonHeld()) {
        PaintArcToMidpoint(&mx, &my, &high, &low);
        f.Prev0X = mx, f.Prev0Y = my, f.PrevHigh0 = high, f.PrevLow0 = low;
        f.Prev1X = PointerFX, f.Prev1Y = PointerFY;
        f.PrevHigh1 = PressureHigh, f.PrevLow1 = PressureLow;
        // The next colour of a range comes here once the colour ranges exist.
        if (CurrentStamp) CurrentStamp->GhostFlags = 0;
    } else if (phase > 0 && !StrokeButtonHeld()) {
        PaintArcToMidpoint(&mx, &my, &high, &low);
        phase = 0;
        ClearWetForStroke();
    }
    if (phase > 0) ShowStrokeGhost();
}

} // namespace nemu
