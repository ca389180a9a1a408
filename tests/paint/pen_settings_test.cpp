// The Pens and Pressure sections, and the response curves.
#include "paint_fixture.h"
#include "ui/settings.h"

namespace nemu {
namespace {

class PenSettingsIo : public test::PaintPage {
  protected:
    void SetUp() override { MakePage(4, 4); }
    void TearDown() override {
        delete CurrentConfig;
        CurrentConfig = nullptr;
        PaintPage::TearDown();
    }
};

TEST_F(PenSettingsIo, NumbersAreClampedAndWordsThatAreNotNumbersKeepTheirDefault) {
    ConfigSet("Pens", "Airbrush", "1 0 5000 2 -7 abc 1 0 99 0");
    ConfigSet("Pens", "Pen", "0 1 0 250 x");
    ConfigSet("Pens", "Oil", "1 1 25 15 128 0 0 0 4 50 9");
    ConfigSet("Pens", "Pointe", "1 1 25 0");
    LoadPensSettings();
    const PenSettings& a = MediaPens[PenAirbrush];
    EXPECT_EQ(a.SpeedOn, 0);
    EXPECT_EQ(a.SpeedScale, 999);
    EXPECT_EQ(a.Size, 3);
    EXPECT_EQ(a.Power, 0);
    EXPECT_EQ(a.Step, 0); // "abc"
    EXPECT_EQ(a.Preset, 11);
    EXPECT_EQ(a.Strength, 100); // out of range: default, not clamped
    EXPECT_EQ(RoundPen.SpeedScale, 1);
    EXPECT_EQ(RoundPen.PenRadius, 100);
    EXPECT_EQ(RoundPen.PenMaxSize, 0);
    EXPECT_EQ(MediaPens[PenOil].Strength, 50);
    EXPECT_EQ(MediaPens[PenOil].Bristle, 3);
    EXPECT_EQ(MediaPens[PenOil].Continuous, 0); // missing: default
    EXPECT_EQ(PointePen.Power, 1);
    EXPECT_EQ(Pen, PenRound); // no Selected key
}

TEST_F(PenSettingsIo, WrittenSettingsReadBackTheSame) {
    MediaPens[PenWet].Size = 42;
    MediaPens[PenWet].Continuous = 1;
    MediaPens[PenWet].Strength = 60; // not stored for the wet pen: it writes 100
    MediaPens[PenWater].Bristle = 2;
    MediaPens[PenChalk].Profile[7] = 0xAB;
    RoundPen.PenMaxSize = 17;
    BrushPen.Margin = 12;
    ASSERT_EQ(SetPen(PenWater), 0);
    SavePensSettings();
    char line[128];
    ConfigGet("Pens", "Wet", line, "", sizeof line);
    EXPECT_STREQ(line, "1 1 25 42 128 0 1 0 4 100 0 1");
    ResetPenSettings();
    Pen = PenRound;
    LoadPensSettings();
    EXPECT_EQ(Pen, PenWater);
    EXPECT_EQ(MediaPens[PenWet].Size, 42);
    EXPECT_EQ(MediaPens[PenWet].Continuous, 1);
    EXPECT_EQ(MediaPens[PenWet].Strength, 100);
    EXPECT_EQ(MediaPens[PenWater].Bristle, 2);
    EXPECT_EQ(MediaPens[PenChalk].Profile[7], 0xAB);
    EXPECT_EQ(RoundPen.PenMaxSize, 17);
    EXPECT_EQ(BrushPen.Margin, 12);
}

TEST_F(PenSettingsIo, DamagedCurvesAndUnknownPensKeepWhatTheyHad) {
    std::string hex(128, 'f');
    ConfigSet("Pens", "Chalk_Curve", hex.c_str());
    hex[5] = 'z';
    ConfigSet("Pens", "Pencil_Curve", hex.c_str());
    ConfigSet("Pens", "Oil_Curve", "ffff");
    ConfigSet("Pens", "Selected", "crayon");
    LoadPensSettings();
    EXPECT_EQ(MediaPens[PenChalk].Profile[0], 0xFF);
    EXPECT_EQ(MediaPens[PenPencil].Profile[1], 4);
    EXPECT_EQ(MediaPens[PenOil].Profile[1], 4);
    EXPECT_EQ(Pen, PenRound);
    ConfigSet("Pens", "Selected", "Chalk");
    LoadPensSettings();
    EXPECT_EQ(Pen, PenChalk);
}

TEST_F(PenSettingsIo, CurvesWithTheControlOnTheDiagonalAreTheIdentity) {
    uint8_t t[256];
    for (int c : {0, 128, 252}) {
        MakeCurve(c, c, t);
        for (int i = 0; i < 256; ++i) ASSERT_EQ(t[i], i) << c << " " << i;
    }
}

TEST_F(PenSettingsIo, CurvesBendTowardsTheirControlPointAndStayInRange) {
    uint8_t t[256];
    MakeCurve(0, 252, t); // steep start: the curve lies above the diagonal
    EXPECT_EQ(t[0], 0);
    EXPECT_GT(t[64], 64);
    for (int i = 1; i < 256; ++i) EXPECT_GE(t[i] + 1, t[i - 1]) << i;
    MakeCurve(252, 0, t);
    EXPECT_LT(t[128], 128);
    EXPECT_EQ(t[255], std::clamp(2 * t[254] - t[253], 0, 255));
}

TEST_F(PenSettingsIo, PressureSectionBuildsBothCurves) {
    ConfigSet("Pressure", "PressureX", "999");
    ConfigSet("Pressure", "PressureY", "-3");
    ConfigSet("Pressure", "SpeedX", "64");
    ConfigSet("Pressure", "SpeedY", "64");
    LoadPressureSettings();
    EXPECT_EQ(PressureX, 255);
    EXPECT_EQ(PressureY, 0);
    uint8_t t[256];
    MakeCurve(255, 0, t);
    EXPECT_EQ(0, std::memcmp(t, PressureCurve, 256));
    EXPECT_EQ(SpeedCurve[100], 100);
    SavePressureSettings();
    EXPECT_EQ(ConfigGetInt("Pressure", "PressureX", -1), 255);
}

} // namespace
} // namespace nemu
