// The round pen's exact-area strokes and the pointe's line.
#include <climits>
#include <cmath>

#include "paint_fixture.h"

namespace nemu {
namespace {

class RoundStrokes : public test::PaintPage {
  protected:
    void SetUp() override {
        MakePage(60, 40, 0);
        ASSERT_EQ(SetPen(PenRound), 0);
        AntiAlias = 1;
    }
    // Painting white over transparent black with SoftColor leaves alpha equal to coverage.
    double Area() const {
        double sum = 0;
        for (int i = 0; i < 60 * 40; ++i) sum += (Page->Pixels[i] >> 24) / 255.0;
        return sum;
    }
    int Alpha(int x, int y) { return int(At(x, y) >> 24); }
    // Stamp top left for a disc centred on the middle of pixel (x, y).
    static int32_t Top(double c, int r) { return int32_t(std::lround((c - r - 0.5) * 65536)); }
};

TEST_F(RoundStrokes, RadiusFollowsTheSizeValue) {
    SetPenSize(10);
    RoundPen.PenMaxSize = 20;
    EXPECT_DOUBLE_EQ(RoundPenRadius(0), 10);
    EXPECT_DOUBLE_EQ(RoundPenRadius(-255), 10);
    EXPECT_DOUBLE_EQ(RoundPenRadius(-51), 2);
    EXPECT_DOUBLE_EQ(RoundPenRadius(255), 20);
    EXPECT_DOUBLE_EQ(RoundPenRadius(51), 12);
    EXPECT_DOUBLE_EQ(RoundPenRadius(100000), 20); // absurd pressure is clamped
    RoundPen.PenMaxSize = 0;
    EXPECT_DOUBLE_EQ(RoundPenRadius(255), 0.6); // shrinks to the minimum
    SetPenSize(0);
    EXPECT_DOUBLE_EQ(RoundPenRadius(0), 0.6);
}

TEST_F(RoundStrokes, CapsuleCoverageIsItsArea) {
    SetPenSize(5);
    const double r = 5, len = 30;
    EXPECT_EQ(PaintRoundStroke(Top(10.5, 5), Top(20.5, 5), Top(40.5, 5), Top(20.5, 5), 0xFFFFFFFF, 0, 1, 0, 0,
                               255, 255),
              0);
    EXPECT_NEAR(Area(), M_PI * r * r + 2 * r * len, 0.3);
    EXPECT_EQ(Alpha(25, 20), 255);
    EXPECT_EQ(Alpha(25, 16), 255);
    EXPECT_EQ(Alpha(25, 27), 0);
    // Symmetric about the axis of the stroke.
    for (int x = 0; x < 60; ++x)
        for (int d = 1; d < 8; ++d) EXPECT_NEAR(Alpha(x, 20 - d), Alpha(x, 20 + d), 1) << x << " " << d;
}

TEST_F(RoundStrokes, TaperedCapsulesAndSinglePoints) {
    SetPenSize(10);
    RoundPen.PenMaxSize = 0;
    // Sizes -255 and -51: radii 10 and 2; the hull of the two discs.
    PaintRoundStroke(Top(15.5, 10), Top(20.5, 10), Top(45.5, 10), Top(20.5, 10), 0xFFFFFFFF, 0, 1, -255, -51,
                     255, 255);
    EXPECT_EQ(Alpha(15, 29), 255);
    EXPECT_EQ(Alpha(45, 24), 0);
    EXPECT_EQ(Alpha(45, 20), 255);
    ClearBitmap(Page, 0);
    PaintRoundStroke(Top(30.5, 10), Top(20.5, 10), Top(30.7, 10), Top(20.7, 10), 0xFFFFFFFF, 0, 1, -128, -128,
                     255, 255);
    double r = 10 * 128 / 255.0;
    EXPECT_NEAR(Area(), M_PI * r * r, 0.3); // same pixel: one disc
}

TEST_F(RoundStrokes, LaterSegmentsLeaveTheStartDiscToThePreviousOne) {
    SetPenSize(4);
    PaintRoundStroke(Top(10.5, 4), Top(20.5, 4), Top(30.5, 4), Top(20.5, 4), 0xFFFFFFFF, 0, 0, 0, 0, 255,
                     255);
    EXPECT_EQ(Alpha(8, 20), 0); // inside the start disc
    EXPECT_EQ(Alpha(20, 20), 255);
    EXPECT_EQ(Alpha(33, 20), 255);        // the end disc is painted
    EXPECT_NEAR(Area(), 2 * 4 * 20, 0.3); // the end's half disc makes up for the start's
}

TEST_F(RoundStrokes, WithoutAntiAliasCoverageIsThresholded) {
    SetPenSize(5);
    AntiAlias = 0;
    // Sizes 0: the disc stamp steps exactly, so the area path declines.
    EXPECT_NE(PaintRoundStroke(0, 0, 10 << 16, 0, 0xFFFFFFFF, 0, 1, 0, 0, 255, 255), 0);
    RoundPen.PenMaxSize = 9;
    EXPECT_EQ(PaintRoundStroke(Top(10.5, 5), Top(20.5, 5), Top(40.5, 5), Top(20.5, 5), 0xFFFFFFFF, 0, 1, 128,
                               128, 255, 255),
              0);
    for (int i = 0; i < 60 * 40; ++i) EXPECT_TRUE(Page->Pixels[i] == 0 || Page->Pixels[i] == 0xFFFFFFFF) << i;
    EXPECT_GT(Area(), 0);
}

TEST_F(RoundStrokes, ModesWithoutASpanAreSteppedAndTheRightButtonErases) {
    SetPenSize(5);
    DrawMode = 4;
    EXPECT_EQ(PaintRoundStroke(0, 0, 10 << 16, 0, 0xFFFFFFFF, 0, 1, 0, 0, 255, 255), -1);
    ClearBitmap(Page, 0xFF808080);
    EXPECT_EQ(PaintRoundStroke(Top(10.5, 5), Top(20.5, 5), Top(40.5, 5), Top(20.5, 5), 0xFFFFFFFF, 1, 1, 0, 0,
                               255, 255),
              0);
    EXPECT_EQ(At(25, 20), 0u);
    EXPECT_EQ(At(25, 30), 0xFF808080u);
}

TEST_F(RoundStrokes, FarAwayAndAbsurdStrokesChangeNothing) {
    SetPenSize(50);
    EXPECT_EQ(PaintRoundStroke(INT32_MIN, INT32_MIN, INT32_MIN + 5, INT32_MAX, 0xFFFFFFFF, 0, 1, INT32_MAX,
                               INT32_MIN, INT32_MAX, INT32_MIN),
              0);
    EXPECT_EQ(CountNot(0), 0u);
    const int32_t p[6] = {INT32_MAX, INT32_MAX, INT32_MIN, 0, INT32_MAX, INT32_MIN};
    const int32_t sizes[3] = {INT32_MIN, 0, INT32_MAX}, ops[3] = {255, 255, 255};
    EXPECT_EQ(PaintCurve(CurrentStamp, p, 0xFFFFFFFF, 0, 1, sizes, ops), 0);
}

TEST_F(RoundStrokes, CurvesPaintEachPixelOnce) {
    SetPenSize(3);
    // An arc in 24.8 around the page's middle; painted in one pass, a soft colour
    // would show double coverage where pieces overlap.
    const int32_t p[6] = {10 << 8, 30 << 8, 30 << 8, 0, 50 << 8, 30 << 8};
    const int32_t sizes[3] = {0, 0, 0}, ops[3] = {255, 255, 255};
    EXPECT_EQ(PaintCurve(CurrentStamp, p, 0x80808080, 0, 1, sizes, ops), 0);
    int full = 0;
    for (int i = 0; i < 60 * 40; ++i) {
        uint32_t a = Page->Pixels[i] >> 24;
        EXPECT_TRUE(a == 0 || (Page->Pixels[i] & 0xFF) <= a);
        full += a == 0x80;
    }
    EXPECT_GT(full, 40);
}

class PointeLine : public test::PaintPage {
  protected:
    void SetUp() override {
        MakePage(20, 10, 0);
        ASSERT_EQ(SetPen(PenPointe), 0);
    }
};

TEST_F(PointeLine, SplitsEachStepBetweenTwoPixels) {
    AntiAlias = 0;
    EXPECT_NE(PaintRoundStroke(0, 0, 5 << 16, 0, 0xFFFFFFFF, 0, 1, 0, 0, 255, 255), 0);
    AntiAlias = 1;
    const int32_t y = (2 << 16) + 0x4000; // a quarter of the way to row 3
    EXPECT_EQ(PaintRoundStroke(1 << 16, y, 10 << 16, y, 0xFFFFFFFF, 0, 1, 0, 0, 255, 255), 0);
    for (int x = 1; x <= 10; ++x) {
        EXPECT_EQ(At(x, 2), 0xBFBFBFBFu) << x; // weight 191
        EXPECT_EQ(At(x, 3), 0x40404040u) << x; // weight 64
    }
    EXPECT_EQ(At(11, 2), 0u);
    EXPECT_EQ(At(0, 2), 0u);
}

TEST_F(PointeLine, PowerScalesTheOpacityAndTheRightButtonErases) {
    AntiAlias = 1;
    PointePen.Power = 128;
    ApplyPen();
    EXPECT_EQ(PaintRoundStroke(0, 5 << 16, 0, 8 << 16, 0xFFFFFFFF, 0, 1, 0, 0, 255, 255), 0);
    EXPECT_EQ(At(0, 6), 0x80808080u); // full weight, op 255 * 128 / 255
    ClearBitmap(Page, 0xFFFFFFFF);
    EXPECT_EQ(PaintRoundStroke(0, 5 << 16, 0, 8 << 16, 0xFF00FF00, 1, 1, 0, 0, 255, 255), 0);
    EXPECT_EQ(At(0, 6), 0x7F7F7F7Fu); // 255 - 255 * 128 / 255
    EXPECT_EQ(PaintRoundStroke(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX, 0xFF00FF00, 0, 1, 0, 0, 255, 255),
              0);
}

} // namespace
} // namespace nemu
