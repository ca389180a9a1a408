// Pen records, dab shapes and the pen commands.
#include <cmath>

#include "paint_fixture.h"

namespace nemu {
namespace {

class Pens : public test::PaintPage {
  protected:
    void SetUp() override { MakePage(8, 8, 0); }
    uint8_t MaskAt(int x, int y) const { return CurrentStamp->Mask[y * CurrentStamp->Width + x]; }
};

TEST_F(Pens, DefaultsOfEveryPen) {
    EXPECT_EQ(MediaPens[PenAirbrush].Size, 12);
    EXPECT_EQ(MediaPens[PenWet].AutoStep, 1);
    EXPECT_EQ(MediaPens[PenChalk].Size, 5);
    EXPECT_EQ(MediaPens[PenOil].Size, 15);
    EXPECT_EQ(MediaPens[PenWater].AutoStep, 0);
    for (int p = PenPencil; p <= PenWater; ++p) {
        EXPECT_EQ(MediaPens[p].Power, 128);
        EXPECT_EQ(MediaPens[p].SpeedScale, 25);
        EXPECT_EQ(MediaPens[p].Preset, 4);
        EXPECT_EQ(MediaPens[p].Profile[10], 40);
    }
    EXPECT_EQ(RoundPen.PenRadius, 3);
    EXPECT_EQ(PointePen.Power, 255);
}

TEST_F(Pens, ApplyPenCopiesTheSwitchesIntoThePressureStep) {
    MediaPens[PenChalk].PressureOn = 0;
    MediaPens[PenChalk].SpeedOn = 1;
    MediaPens[PenChalk].SpeedScale = 77;
    MediaPens[PenChalk].Invert = 1;
    ASSERT_EQ(SetPen(PenChalk), 0);
    EXPECT_EQ(ToolUsesPressure, 0);
    EXPECT_EQ(ToolUsesSpeed, 1);
    EXPECT_EQ(SpeedScale, 77);
    EXPECT_EQ(ToolInvertPressure, 1);
    EXPECT_EQ(PenKind, 1);
    EXPECT_EQ(WetMode, 0);
    ASSERT_EQ(SetPen(PenOil), 0);
    EXPECT_EQ(WetMode, 1);
    EXPECT_EQ(CurrentStamp->Kind, 4);
}

TEST_F(Pens, AutoStepIsAFifthOfTheSizeTruncated) {
    ASSERT_EQ(SetPen(PenAirbrush), 0);
    for (int size : {3, 4}) {
        SetPenSize(size);
        EXPECT_EQ(Step, 0) << size;
    }
    SetPenSize(14);
    EXPECT_EQ(Step, 2);
    MediaPens[PenAirbrush].AutoStep = 0;
    MediaPens[PenAirbrush].Step = 7;
    ApplyPen();
    EXPECT_EQ(Step, 7);
}

TEST_F(Pens, SizesAreClampedToTheSlider) {
    ASSERT_EQ(SetPen(PenPencil), 0);
    EXPECT_EQ(SetPenSize(500), 0);
    EXPECT_EQ(MediaPens[PenPencil].Size, 100);
    EXPECT_EQ(CurrentStamp->Width, 201);
    SetPenSize(-4);
    EXPECT_EQ(MediaPens[PenPencil].Size, 3);
    DecreaseToolsSize();
    EXPECT_EQ(MediaPens[PenPencil].Size, 3);
    IncreaseToolsSize();
    EXPECT_EQ(MediaPens[PenPencil].Size, 4);
    EXPECT_EQ(SizeGadgetRadius(54), 6);
    ASSERT_EQ(SetPen(PenRound), 0);
    SetPenSize(0);
    EXPECT_EQ(RoundPen.PenRadius, 0);
    EXPECT_EQ(SizeGadgetRadius(16), 3);
    EXPECT_EQ(SizeGadgetRadius(17), -1);
    RoundPen.PenMaxSize = 0;
    DecreaseToolsSize2();
    EXPECT_EQ(RoundPen.PenMaxSize, 0);
}

TEST_F(Pens, RoundStampsByTheMidpointCircle) {
    ASSERT_EQ(MakeRoundStamp(0), 0);
    EXPECT_EQ(CurrentStamp->Width, 1);
    EXPECT_EQ(MaskAt(0, 0), 255);
    ASSERT_EQ(MakeRoundStamp(1), 0);
    const uint8_t plus[9] = {0, 255, 0, 255, 255, 255, 0, 255, 0};
    for (int i = 0; i < 9; ++i) EXPECT_EQ(CurrentStamp->Mask[i], plus[i]) << i;
    EXPECT_EQ(CurrentStamp->Kind, 1);
    EXPECT_EQ(CurrentStamp->Radius, 1);
    ASSERT_EQ(MakeRoundStamp(3), 0);
    // Rows of half widths 3, 3, 2, 1 from the centre out: a 7 by 7 disc of 37 pixels.
    int n = 0;
    for (int i = 0; i < 49; ++i) n += CurrentStamp->Mask[i] == 255;
    EXPECT_EQ(n, 37);
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 7; ++x) EXPECT_EQ(MaskAt(x, y), MaskAt(6 - x, y)) << x << "," << y;
}

TEST_F(Pens, SoftDabFollowsTheProfileFromCentreToRim) {
    ASSERT_EQ(SetPen(PenAirbrush), 0);
    SetPenSize(12); // n = 25, R = 11
    ASSERT_EQ(CurrentStamp->Width, 25);
    // The centre takes the mean of the profile's last 64 / 11 entries (242.31), scaled by
    // power 128: floor(121.63)
    EXPECT_EQ(MaskAt(12, 12), 121);
    EXPECT_EQ(MaskAt(12 + 11, 12), 0); // distance R: outside
    EXPECT_EQ(MaskAt(0, 0), 0);
    for (int d = 1; d < 11; ++d) EXPECT_LE(MaskAt(12 + d, 12), MaskAt(12 + d - 1, 12)) << d;
    for (int y = 0; y < 25; ++y)
        for (int x = 0; x < 25; ++x) {
            EXPECT_EQ(MaskAt(x, y), MaskAt(24 - x, y));
            EXPECT_EQ(MaskAt(x, y), MaskAt(y, x));
        }
}

TEST_F(Pens, ProfileResamplingBoxFiltersDownAndInterpolatesUp) {
    uint8_t line[64];
    for (int i = 0; i < 64; ++i) line[i] = uint8_t(i * 4);
    double t[64] = {};
    ResampleProfile(line, 4, 255, t); // four boxes of 16 entries: means 30, 94, 158, 222
    EXPECT_DOUBLE_EQ(t[3], 30);
    EXPECT_DOUBLE_EQ(t[0], 222);
    double u[126] = {};
    ResampleProfile(line, 126, 255, u); // linear, step 1/2
    EXPECT_DOUBLE_EQ(u[125], 0);
    EXPECT_DOUBLE_EQ(u[124], 2);
    EXPECT_DOUBLE_EQ(u[0], 250);
    ResampleProfile(ProfilePresets[9], 3, 255, t); // box of 21.33 entries with partial ends
    EXPECT_GT(t[0], 0);
}

TEST_F(Pens, PointeIsOnePixelOfItsPower) {
    PointePen.Power = 77;
    ASSERT_EQ(SetPen(PenPointe), 0);
    EXPECT_EQ(CurrentStamp->Width, 1);
    EXPECT_EQ(MaskAt(0, 0), 77);
}

TEST_F(Pens, BristleDabsStayInsideTheDab) {
    std::srand(3);
    MediaPens[PenOil].Bristle = 2;
    MediaPens[PenOil].Power = 255;
    for (int i = 0; i < 64; ++i) MediaPens[PenOil].Profile[i] = 255;
    ASSERT_EQ(SetPen(PenOil), 0);
    const int n = CurrentStamp->Width;
    int set = 0;
    for (int i = 0; i < n * n; ++i) set += CurrentStamp->Mask[i] != 0;
    EXPECT_GT(set, n); // many bristles
    EXPECT_EQ(MaskAt(0, 0), 0);
}

TEST_F(Pens, AStampThatCannotBeMadeLeavesOnePixel) {
    EXPECT_EQ(InstallStamp(nullptr), -1);
    ASSERT_NE(CurrentStamp, nullptr);
    EXPECT_EQ(CurrentStamp->Width, 1);
    EXPECT_EQ(CurrentStamp->Height, 1);
    EXPECT_EQ(NewStamp(1 << 20, 1 << 20, 0), nullptr); // refused, not attempted
    // Painting with it works.
    Pen = PenAirbrush;
    WetMode = 0;
    SelectStamp(CurrentStamp, 0)(CurrentStamp, Page, 2, 2, 0xFFFFFFFF, 0, 255);
    EXPECT_EQ(At(2, 2), 0xFFFFFFFFu);
}

} // namespace
} // namespace nemu

namespace nemu {
namespace {

class PenPresets : public test::PaintPage {
  protected:
    void SetUp() override { MakePage(4, 4, 0); }
};

TEST_F(PenPresets, PresetsWrapAndApplyTheirRow) {
    ASSERT_EQ(SetPen(PenChalk), 0);
    MediaPens[PenChalk].Preset = 11;
    StepProfilePreset(PenChalk, 1);
    EXPECT_EQ(MediaPens[PenChalk].Preset, 0);
    StepProfilePreset(PenChalk, -1);
    StepProfilePreset(PenChalk, -1);
    EXPECT_EQ(MediaPens[PenChalk].Preset, 10);
    ASSERT_EQ(ApplyProfilePreset(PenChalk), 0);
    EXPECT_EQ(MediaPens[PenChalk].Profile[0], 0x7D);
    EXPECT_EQ(Profile[3], 0xF5); // the current pen took it at once
    EXPECT_EQ(DrawModePopupOrder[2], 16);
}

TEST_F(PenPresets, StampAndShowPaintsAndQueuesItsRectangle) {
    ASSERT_EQ(SetPen(PenRound), 0);
    StampAndShow(CurrentStamp, Page, 0, 0, 0xFFFFFFFF, 0, 255);
    EXPECT_EQ(At(3, 3), 0xFFFFFFFFu); // radius 3: the disc's centre
    EXPECT_EQ(At(0, 0), 0u);
    FlushRefresh();
}

} // namespace
} // namespace nemu
