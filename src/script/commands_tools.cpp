// Script commands of the tools' settings: choosing a pen and its size, the pens' power
// and radial profiles, the pressure curves, and the grid.
//
// Sections: pens; power; profiles; pressure curves; grid.
#include "host/main_loop.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "script/command_families.h"
#include "ui/panels.h"

#include <algorithm>
#include <cstdio>

namespace nemu {

// ---- Pens -------------------------------------------------------------------------------------------------

// Selects `pen` with the size given; a size outside the pen's slider is brought inside it.
static void SelectPen(int32_t pen, const char* args) {
    ReadArgs(args, 1);
    Pen = pen;
    SetPenSize(ArgInt[0]);
}

static void RoundPenCommand(CommandRequest*, const char* args) {
    SelectPen(PenRound, args);
}
static void AirbrushCommand(CommandRequest*, const char* args) {
    SelectPen(PenAirbrush, args);
}
static void ChalkCommand(CommandRequest*, const char* args) {
    SelectPen(PenChalk, args);
}
static void PencilCommand(CommandRequest*, const char* args) {
    SelectPen(PenPencil, args);
}
// The one-pixel pen has no size: the number is read and has no effect.
static void PointeCommand(CommandRequest*, const char*) {
    SetPen(PenPointe);
}

// ---- Power
// -------------------------------------------------------------------------------------------------

// Power as the pens' panel shows it: a percent of 1 to 100, which becomes 3 to 255.
static int32_t PowerFromPercent(int32_t percent) {
    return (std::clamp(percent, 1, 100) * 255 + 49) / 100;
}

static void ApplyIfCurrent(int32_t pen) {
    if (Pen == pen) ApplyPen();
}

template <int32_t PenNumber> static void MediaPower(CommandRequest*, const char* args) {
    ReadArgs(args, 1);
    MediaPens[PenNumber].Power = PowerFromPercent(ArgInt[0]);
    ApplyIfCurrent(PenNumber);
}
static void BrushPower(CommandRequest*, const char* args) {
    ReadArgs(args, 1);
    BrushPen.Power = PowerFromPercent(ArgInt[0]);
    ApplyIfCurrent(PenBrush);
}
static void PointePower(CommandRequest*, const char* args) {
    ReadArgs(args, 1);
    PointePen.Power = PowerFromPercent(ArgInt[0]);
    ApplyIfCurrent(PenPointe);
}

// ---- Profiles
// -------------------------------------------------------------------------------------------------

// om_airspline a b: the radial profile becomes the response curve with control point
// (a, b), 0..255 each, read from the rim (entry 0) to the centre (entry 63).
template <int32_t PenNumber> static void ProfileSpline(CommandRequest*, const char* args) {
    ReadArgs(args, 2);
    uint8_t curve[256];
    MakeCurve(std::clamp(ArgInt[0], 0, 255), std::clamp(ArgInt[1], 0, 255), curve);
    for (int i = 0; i < 64; ++i) MediaPens[PenNumber].Profile[i] = curve[i * 255 / 63];
    ApplyIfCurrent(PenNumber);
}

// om_airprofile index value: one entry of the radial profile, index 0 (the rim) to 63
// (the centre), value 0..255. An index outside the profile changes nothing.
template <int32_t PenNumber> static void ProfileEntry(CommandRequest* request, const char* args) {
    ReadArgs(args, 2);
    if (ArgInt[0] < 0 || ArgInt[0] > 63) {
        ReplyError(request, -1);
        return;
    }
    MediaPens[PenNumber].Profile[ArgInt[0]] = uint8_t(std::clamp(ArgInt[1], 0, 255));
    ApplyIfCurrent(PenNumber);
}

// ---- Pressure curves
// -------------------------------------------------------------------------------------------

// om_pressureprofile x y speed: the control point of the pressure curve, or with speed
// not 0 of the speed curve; 0..255 each.
static void PressureProfile(CommandRequest*, const char* args) {
    ReadArgs(args, 3);
    const int32_t x = std::clamp(ArgInt[0], 0, 255), y = std::clamp(ArgInt[1], 0, 255);
    if (ArgInt[2]) {
        SpeedX = x, SpeedY = y;
        MakeCurve(x, y, SpeedCurve);
    } else {
        PressureX = x, PressureY = y;
        MakeCurve(x, y, PressureCurve);
    }
}

// ---- Grid
// ------------------------------------------------------------------------------------------------------

// om_grid sx sy ox oy: steps and origin of the grid, which is then on; a step below 1
// turns it off and keeps the grid as it was. Without text: the grid, "sx sy ox oy".
static void Grid(CommandRequest* request, const char* args) {
    if (ArgsEmpty(args)) {
        ReplyFormat(request, "%d %d %d %d", GridStepX, GridStepY, GridOriginX, GridOriginY);
        return;
    }
    int sx = 0, sy = 0, ox = GridOriginX, oy = GridOriginY;
    if (std::sscanf(args, "%d %d %d %d", &sx, &sy, &ox, &oy) < 2 || sx < 1 || sy < 1) {
        GridOn = 0;
        RefreshGridPanel();
        return;
    }
    // A step wider than any page is no grid anyone can use; it is kept within 16.16.
    GridStepX = std::min(sx, 32767), GridStepY = std::min(sy, 32767);
    GridOriginX = std::clamp(ox, -32768, 32767), GridOriginY = std::clamp(oy, -32768, 32767);
    GridOn = 1;
    RefreshGridPanel();
}

const ScriptCommand ToolCommands[] = {
    {"om_pen", RoundPenCommand},
    {"om_inkpen", RoundPenCommand},
    {"om_aeropen", AirbrushCommand},
    {"om_airpen", AirbrushCommand},
    {"om_chalkpen", ChalkCommand},
    {"om_chalk", ChalkCommand},
    {"om_pencil", PencilCommand},
    {"om_point", PointeCommand},
    {"om_airpower", MediaPower<PenAirbrush>},
    {"om_aeropower", MediaPower<PenAirbrush>},
    {"om_chalkpower", MediaPower<PenChalk>},
    {"om_pencilpower", MediaPower<PenPencil>},
    {"om_brushpower", BrushPower},
    {"om_pointpower", PointePower},
    {"om_airspline", ProfileSpline<PenAirbrush>},
    {"om_aerospline", ProfileSpline<PenAirbrush>},
    {"om_chalkspline", ProfileSpline<PenChalk>},
    {"om_pencilspline", ProfileSpline<PenPencil>},
    {"om_airprofile", ProfileEntry<PenAirbrush>},
    {"om_aeroprofile", ProfileEntry<PenAirbrush>},
    {"om_chalkprofile", ProfileEntry<PenChalk>},
    {"om_pencilprofile", ProfileEntry<PenPencil>},
    {"om_pressureprofile", PressureProfile},
    {"om_grid", Grid},
    {nullptr, nullptr},
};

} // namespace nemu
