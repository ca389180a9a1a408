// The pens: their settings records and defaults, selecting a pen and its size, and the
// wet buffer's life cycle.
//
// Index: records - defaults - ApplyPen - selection and size commands - wet buffer.
#include "paint/pens.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "host/main_loop.h"
#include "paint/colour.h"
#include "paint/tools.h"
#include "store/bitmap.h"
#include "ui/requests.h"

namespace nemu {

int32_t Pen = PenRound;
int32_t Power = 255;
int32_t Step = 0;
uint8_t Profile[64];
PenSettings MediaPens[8];
RoundPenSettings RoundPen;
PointeSettings PointePen;
BrushPenSettings BrushPen;
WetBox WetRect;
void (*PenChangedHook)() = nullptr;

// ---- Defaults ------------------------------------------------------------------------------------

namespace {
struct PenRow {
    int32_t Kind;                        // PenKind: 0 soft, 1 chalk, 2 pencil
    bool Wet;                            // paints through WetBuffer
    int32_t Size, Power, Step, AutoStep; // defaults of pens 2 to 7
};
const PenRow PenRows[10] = {
    {0, false, 0, 255, 0, 0}, {0, false, 0, 255, 0, 0}, {2, false, 5, 128, 0, 1}, {1, false, 5, 128, 0, 1},
    {0, true, 12, 128, 0, 1}, {0, true, 12, 128, 0, 1}, {0, true, 15, 128, 0, 0}, {0, true, 15, 128, 0, 0},
    {0, false, 0, 255, 0, 0}, {0, false, 0, 255, 0, 0},
};
} // namespace

void ResetPenSettings() {
    for (int32_t pen = PenPencil; pen <= PenWater; ++pen) {
        PenSettings& s = MediaPens[pen];
        s = PenSettings();
        s.PressureOn = 1, s.SpeedOn = 1, s.SpeedScale = 25, s.Invert = 0, s.Preset = 4;
        s.Size = PenRows[pen].Size, s.Power = PenRows[pen].Power, s.Step = PenRows[pen].Step;
        s.AutoStep = PenRows[pen].AutoStep;
        s.Strength = 100;
        for (int i = 0; i < 64; ++i) s.Profile[i] = uint8_t(i * 4);
    }
    // The round pen's largest size is 0 until the user sets one, so a size from speed could
    // only make it thinner than the ghost shows: a mouse paints it at its own size, and
    // speed drives it once it is switched on.
    RoundPen = {1, 0, 25, 3, 0};
    PointePen = {1, 1, 25, 255, 0};
    BrushPen = {1, 1, 25, 255, 0, 1, 0, 0};
}

namespace {
const bool DefaultsSet = (ResetPenSettings(), true);
} // namespace

// ---- ApplyPen -------------------------------------------------------------------------------------------

void BuildWetLut() {
    if (Pen < PenAirbrush || Pen > PenWater) return;
    const PenSettings& s = MediaPens[Pen];
    const int strength = (s.Strength >= 1 && s.Strength <= 100) ? s.Strength : 100;
    for (int i = 0; i < 256; ++i) {
        int v = 0;
        switch (Pen) {
        case PenAirbrush:
            v = ((i * i * i) / 65025 * strength) / 100;
            break;
        case PenWet:
            v = i < 170 ? (128 * i) / 170 : (298 - i) & 255;
            break;
        case PenOil:
            v = i < 25 ? int(std::floor(i * strength * 0.102)) : (strength * 255) / 100;
            break;
        case PenWater:
            v = i < 170 ? (200 * i) / 170 : (370 - i) & 255;
            break;
        }
        WetLut[i] = uint8_t(std::clamp(v, 0, 255));
    }
}

int InstallStamp(Stamp* stamp) {
    if (CurrentStamp) FreeStamp(CurrentStamp);
    if (!stamp) {
        CurrentStamp = FallbackStamp();
        AlertMsg(1000);
        return -1;
    }
    CurrentStamp = stamp;
    return 0;
}

int ApplyPen() {
    CancelTool(ToolMode);
    if (Pen < 0 || Pen > 9) Pen = PenRound;
    PenKind = PenRows[Pen].Kind;
    WetMode = PenRows[Pen].Wet ? 1 : 0;
    if (WetKeep != 2) WetKeep = 0;
    MustCommit = 1;
    int result = 0;
    auto take = [](int32_t pressure, int32_t speed, int32_t scale, int32_t invert) {
        ToolUsesPressure = pressure, ToolUsesSpeed = speed, SpeedScale = scale, ToolInvertPressure = invert;
    };
    if (Pen == PenRound) {
        take(RoundPen.PressureOn, RoundPen.SpeedOn, RoundPen.SpeedScale, 0);
        Power = 255, Step = 0;
        result = MakeRoundStamp(RoundPen.PenRadius);
    } else if (Pen == PenPointe) {
        take(PointePen.PressureOn, PointePen.SpeedOn, PointePen.SpeedScale, PointePen.Invert);
        Power = PointePen.Power, Step = 0;
        result = MakePointeStamp();
    } else if (Pen <= PenWater) {
        const PenSettings& s = MediaPens[Pen];
        take(s.PressureOn, s.SpeedOn, s.SpeedScale, s.Invert);
        Power = s.Power;
        Step = s.AutoStep ? s.Size / 5 : s.Step;
        std::memcpy(Profile, s.Profile, sizeof Profile);
        if (WetMode && WetKeep != 2) WetKeep = s.Continuous ? 1 : 0;
        BuildWetLut();
        if ((Pen == PenOil || Pen == PenWater) && s.Bristle)
            result = MakeBristleStamp(s.Bristle * 2);
        else
            result = MakePenStamp();
        if (Pen == PenOil || Pen == PenWater) MakeOilColorTable(APen);
    } else {
        // The custom and text brushes build their own stamps; only their switches live here.
        take(BrushPen.PressureOn, BrushPen.SpeedOn, BrushPen.SpeedScale, BrushPen.Invert);
        Power = BrushPen.Power, Step = BrushPen.Step;
        if (!CurrentStamp) result = InstallStamp(FallbackStamp());
    }
    if (PenChangedHook) PenChangedHook();
    return result;
}

// ---- Selection and size commands -------------------------------------------------------------------------

int SetPen(int32_t pen) {
    if (pen < 0 || pen > 9) return -1;
    Pen = pen;
    return ApplyPen();
}

void ToolPen() {
    SetPen(PenRound);
}
void ToolPropPencil() {
    SetPen(PenPointe);
}
void ToolPencil() {
    SetPen(PenPencil);
}
void ToolChalk() {
    SetPen(PenChalk);
}
void ToolAirBrush() {
    SetPen(PenAirbrush);
}
void ToolWaterColor() {
    SetPen(PenWet);
}
void ToolOil() {
    SetPen(PenOil);
}
void ToolGouache() {
    SetPen(PenWater);
}

int SetPenSize(int32_t r) {
    if (Pen == PenRound)
        RoundPen.PenRadius = std::clamp(r, 0, 100);
    else if (Pen >= PenPencil && Pen <= PenWater)
        MediaPens[Pen].Size = std::clamp(r, 3, 100);
    else
        return -1;
    return ApplyPen();
}

int32_t SizeGadgetRadius(int32_t gadgetId) {
    static const int32_t ids[6] = {14, 15, 16, 54, 55, 56};
    static const int32_t round[6] = {0, 1, 3, 4, 5, 3};
    static const int32_t media[6] = {3, 4, 5, 6, 5, 3};
    for (int i = 0; i < 6; ++i)
        if (ids[i] == gadgetId) return Pen >= PenPencil && Pen <= PenWater ? media[i] : round[i];
    return -1;
}

namespace {
int32_t CurrentSize() {
    return Pen == PenRound ? RoundPen.PenRadius : MediaPens[Pen].Size;
}
bool SizedPen() {
    return Pen == PenRound || (Pen >= PenPencil && Pen <= PenWater);
}
} // namespace

void IncreaseToolsSize() {
    if (SizedPen()) SetPenSize(CurrentSize() + 1);
}
void IncreaseToolsSize2() {
    IncreaseToolsSize();
}
void DecreaseToolsSize() {
    if (SizedPen()) SetPenSize(CurrentSize() - 1);
}
void DecreaseToolsSize2() {
    if (Pen != PenRound) return;
    RoundPen.PenMaxSize = std::clamp(RoundPen.PenMaxSize - 1, 0, 100);
    ApplyPen();
}

void StepProfilePreset(int32_t pen, int32_t dir) {
    if (pen < PenPencil || pen > PenWater) return;
    int32_t& preset = MediaPens[pen].Preset;
    preset = ((preset + dir) % 12 + 12) % 12;
}

int ApplyProfilePreset(int32_t pen) {
    if (pen < PenPencil || pen > PenWater) return -1;
    PenSettings& s = MediaPens[pen];
    std::memcpy(s.Profile, ProfilePresets[std::clamp(s.Preset, 0, 11)], sizeof s.Profile);
    return pen == Pen ? ApplyPen() : 0;
}

// ---- Wet buffer ------------------------------------------------------------------------------------------

void ExtendWetRect(int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
    if (!WetRect.Set) {
        WetRect.X0 = x0, WetRect.Y0 = y0, WetRect.X1 = x1, WetRect.Y1 = y1, WetRect.Set = 1;
        return;
    }
    if (WetRect.X0 > WetRect.X1) std::swap(WetRect.X0, WetRect.X1);
    if (WetRect.Y0 > WetRect.Y1) std::swap(WetRect.Y0, WetRect.Y1);
    WetRect.X0 = std::min(WetRect.X0, std::min(x0, x1)), WetRect.X1 = std::max(WetRect.X1, std::max(x0, x1));
    WetRect.Y0 = std::min(WetRect.Y0, std::min(y0, y1)), WetRect.Y1 = std::max(WetRect.Y1, std::max(y0, y1));
}

void ClearWet() {
    if (!WetRect.Set) return;
    WetRect.Set = 0;
    if (!WetBuffer || PageWidth < 1 || PageHeight < 1) return;
    int32_t x0 = std::min(WetRect.X0, WetRect.X1), x1 = std::max(WetRect.X0, WetRect.X1);
    int32_t y0 = std::min(WetRect.Y0, WetRect.Y1), y1 = std::max(WetRect.Y0, WetRect.Y1);
    x0 = std::max(x0, 0), y0 = std::max(y0, 0);
    x1 = std::min(x1, PageWidth - 1), y1 = std::min(y1, PageHeight - 1);
    for (int32_t y = y0; y <= y1 && x0 <= x1; ++y)
        std::memset(WetBuffer + size_t(y) * PageWidth + x0, 0, size_t(x1 - x0 + 1));
}

} // namespace nemu
