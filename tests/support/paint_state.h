// The paint engine's plain settings that tests change (the switches, the pens, the
// colours, the tool and its grid): taken when a fixture is made and put back when it goes,
// so that tests run in one process start alike.
#pragma once
#include "paint/colour.h"
#include "paint/draw_modes.h"
#include "paint/pens.h"
#include "paint/tools.h"

#include <cstring>

namespace nemu::test {

struct PaintState {
    int32_t Mode = DrawMode, Alias = AntiAlias, Keep = WetKeep, Wet = WetMode, Commit = MustCommit;
    int32_t CurrentPen = Pen, PenPower = Power, PenStep = Step, Alt = AltAirbrush, Grain = GrainBits;
    uint32_t A = APen, B = BPen;
    PenSettings Media[8];
    RoundPenSettings Round = RoundPen;
    PointeSettings Pointe = PointePen;
    BrushPenSettings Brush = BrushPen;
    int32_t Curves[4] = {PressureX, PressureY, SpeedX, SpeedY};
    int32_t Point = PointMode, P1 = LineP1, P2 = LineP2, Axis = LockAxis;
    int32_t Grid = GridOn, GridX = GridStepX, GridY = GridStepY, GridLeft = GridOriginX, GridTop = GridOriginY;
    int32_t GhostLimit = GhostAreaLimit;

    PaintState() { std::memcpy(Media, MediaPens, sizeof Media); }
    void Restore() const {
        DrawMode = Mode, AntiAlias = Alias, WetKeep = Keep, WetMode = Wet, MustCommit = Commit;
        Pen = CurrentPen, Power = PenPower, Step = PenStep, AltAirbrush = Alt, GrainBits = Grain;
        APen = A, BPen = B;
        std::memcpy(MediaPens, Media, sizeof Media);
        RoundPen = Round, PointePen = Pointe, BrushPen = Brush;
        PressureX = Curves[0], PressureY = Curves[1], SpeedX = Curves[2], SpeedY = Curves[3];
        PointMode = Point, LineP1 = P1, LineP2 = P2, LockAxis = Axis;
        GridOn = Grid, GridStepX = GridX, GridStepY = GridY, GridOriginX = GridLeft, GridOriginY = GridTop;
        GhostAreaLimit = GhostLimit;
        ToolState = ToolStateRecord();
        Freehand = FreehandRecord();
    }
};

} // namespace nemu::test
