// The settings the Pens panel shows, as a table: which pens have each, its range, and
// where it is kept.
#include "paint/pens.h"
#include "ui/panel_pens.h"

#include <algorithm>

namespace nemu {

namespace {
bool Media(int32_t pen) { return pen >= PenPencil && pen <= PenWater; }
bool WetPen(int32_t pen) { return pen >= PenAirbrush && pen <= PenWater; }

int32_t* SizeOf(int32_t p) { return Media(p) ? &MediaPens[p].Size : nullptr; }
int32_t* RadiusOf(int32_t p) { return p == PenRound ? &RoundPen.PenRadius : nullptr; }
int32_t* MaxSizeOf(int32_t p) { return p == PenRound ? &RoundPen.PenMaxSize : nullptr; }
int32_t* PowerOf(int32_t p) {
    return Media(p) ? &MediaPens[p].Power : p == PenPointe ? &PointePen.Power : p == PenBrush ? &BrushPen.Power : nullptr;
}
int32_t* StepOf(int32_t p) { return Media(p) ? &MediaPens[p].Step : p == PenBrush ? &BrushPen.Step : nullptr; }
int32_t* AutoStepOf(int32_t p) {
    return Media(p) ? &MediaPens[p].AutoStep : p == PenBrush ? &BrushPen.AutoStep : nullptr;
}
// The water colour stores no strength of its own: its line keeps the constant 100.
int32_t* StrengthOf(int32_t p) { return WetPen(p) && p != PenWet ? &MediaPens[p].Strength : nullptr; }
int32_t* BristleOf(int32_t p) { return p == PenOil || p == PenWater ? &MediaPens[p].Bristle : nullptr; }
int32_t* KeepWetOf(int32_t p) { return WetPen(p) ? &MediaPens[p].Continuous : nullptr; }
int32_t* MarginOf(int32_t p) { return p == PenBrush ? &BrushPen.Margin : nullptr; }

// The switches every pen has, wherever its record keeps them.
int32_t* PressureOf(int32_t p) {
    return p == PenRound ? &RoundPen.PressureOn : p == PenPointe ? &PointePen.PressureOn
           : Media(p)    ? &MediaPens[p].PressureOn : p == PenBrush ? &BrushPen.PressureOn : nullptr;
}
int32_t* SpeedOf(int32_t p) {
    return p == PenRound ? &RoundPen.SpeedOn : p == PenPointe ? &PointePen.SpeedOn
           : Media(p)    ? &MediaPens[p].SpeedOn : p == PenBrush ? &BrushPen.SpeedOn : nullptr;
}
int32_t* SpeedScaleOf(int32_t p) {
    return p == PenRound ? &RoundPen.SpeedScale : p == PenPointe ? &PointePen.SpeedScale
           : Media(p)    ? &MediaPens[p].SpeedScale : p == PenBrush ? &BrushPen.SpeedScale : nullptr;
}
// The round pen has no invert switch.
int32_t* InvertOf(int32_t p) {
    return p == PenPointe ? &PointePen.Invert : Media(p) ? &MediaPens[p].Invert : p == PenBrush ? &BrushPen.Invert
                                                                                                : nullptr;
}
} // namespace

// In page order: sliders and the cycle stack in rows, the check boxes flow three to a row,
// the speed scale stands last.
const PenValue PenValues[PenValueCount] = {
    {10, PV_SLIDER, 3724, 3753, 0, 100, false, RadiusOf},
    {12, PV_SLIDER, 3713, 3742, 3, 100, false, SizeOf},
    {14, PV_SLIDER, 3725, 3754, 0, 100, false, MaxSizeOf},
    {16, PV_SLIDER, 3714, 3743, 1, 100, true, PowerOf},
    {18, PV_SLIDER, 3715, 3744, 0, 999, false, StepOf},
    {20, PV_SLIDER, 3721, 3750, 1, 100, false, StrengthOf},
    {22, PV_SLIDER, 3726, 3755, 0, 20, false, MarginOf},
    {24, PV_CYCLE, 3722, 3751, 0, 3, false, BristleOf},
    {30, PV_CHECK, 3710, 3739, 0, 1, false, PressureOf},
    {31, PV_CHECK, 3711, 3740, 0, 1, false, SpeedOf},
    {32, PV_CHECK, 3717, 3746, 0, 1, false, InvertOf},
    {33, PV_CHECK, 3716, 3745, 0, 1, false, AutoStepOf},
    {34, PV_CHECK, 3723, 3752, 0, 1, false, KeepWetOf},
    {40, PV_NUMBER, 3712, 3741, 1, 999, false, SpeedScaleOf},
};

int32_t PenValueShown(const PenValue& v, int32_t stored) {
    const int32_t shown = v.Percent ? (stored * 100 + 127) / 255 : stored;
    return std::clamp(shown, v.Min, v.Max);
}

int32_t PenValueStored(const PenValue& v, int32_t shown) {
    shown = std::clamp(shown, v.Min, v.Max);
    return v.Percent ? (shown * 255 + 49) / 100 : shown;
}

void ResetOnePen(int32_t pen) {
    const PenSettings media[8] = {MediaPens[0], MediaPens[1], MediaPens[2], MediaPens[3],
                                  MediaPens[4], MediaPens[5], MediaPens[6], MediaPens[7]};
    const RoundPenSettings round = RoundPen;
    const PointeSettings pointe = PointePen;
    const BrushPenSettings brush = BrushPen;
    ResetPenSettings();
    for (int32_t p = 0; p < 8; p++)
        if (p != pen) MediaPens[p] = media[p];
    if (pen != PenRound) RoundPen = round;
    if (pen != PenPointe) PointePen = pointe;
    if (pen != PenBrush) BrushPen = brush;
}

} // namespace nemu
