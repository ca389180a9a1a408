// Wet paint: coverage saturates, the page is recomputed from the undo copy, paint laid too
// heavily fades back, and the buffer is cleared within the page.
#include "paint/colour.h"
#include "paint/stamp_kernels.h"
#include "paint_fixture.h"

namespace nemu {
namespace {

using test::MaskStampOf;

class WetPaint : public test::PaintPage {
  protected:
    void SetUp() override {
        MakePage(6, 6, 0xFF000000);
        DrawMode = 0;
    }
    void Use(int32_t pen, int32_t strength = 100) {
        MediaPens[pen].Strength = strength;
        MediaPens[pen].Size = 3;
        ASSERT_EQ(SetPen(pen), 0);
    }
};

TEST_F(WetPaint, LutShapesOfThePens) {
    Use(PenAirbrush, 50);
    EXPECT_EQ(WetLut[255], 127);
    EXPECT_EQ(WetLut[40], 0); // 40^3 / 65025 = 0
    Use(PenWet);
    EXPECT_EQ(WetLut[169], 127);
    EXPECT_EQ(WetLut[170], 128);
    EXPECT_EQ(WetLut[255], 43);
    Use(PenOil, 80);
    EXPECT_EQ(WetLut[10], 81); // floor(10 * 80 * 0.102)
    EXPECT_EQ(WetLut[25], 204);
    Use(PenWater);
    EXPECT_EQ(WetLut[170], 200);
    EXPECT_EQ(WetLut[255], 115);
    Use(PenAirbrush, 0); // out of range: the default strength
    EXPECT_EQ(WetLut[255], 255);
}

TEST_F(WetPaint, CoverageGrowsByTheShareLeftAndSaturates) {
    Use(PenAirbrush);
    APen = 0xFFFF0000;
    Stamp* s = MaskStampOf(1, 1, {128});
    StampFn fn = SelectStamp(s, 0);
    ASSERT_EQ(fn, WetMixStamp);
    fn(s, Page, 2, 2, APen, 0, 255);
    EXPECT_EQ(WetBuffer[2 * 6 + 2], 128);
    fn(s, Page, 2, 2, APen, 0, 255); // 128 + Mul(127, 128) = 192
    EXPECT_EQ(WetBuffer[2 * 6 + 2], 192);
    for (int i = 0; i < 40; ++i) fn(s, Page, 2, 2, APen, 0, 255);
    EXPECT_EQ(WetBuffer[2 * 6 + 2], 255);
    EXPECT_EQ(Page->Pixels[2 * 6 + 2], 0xFF000000u); // the page waits for the refresh
    SelectRefresh(s, 0)(Page, 0, 0, 6, 6);
    EXPECT_EQ(Page->Pixels[2 * 6 + 2], 0xFFFF0000u);
    FreeStamp(s);
}

TEST_F(WetPaint, PageIsRecomputedFromTheUndoCopySoRepeatsDoNotPileUp) {
    Use(PenWet);
    WetBuffer[7] = 100;
    WetColour = 0xFF00FF00;
    WetSoftColor(Page, 0, 0, 6, 6);
    uint32_t once = Page->Pixels[7];
    WetSoftColor(Page, 0, 0, 6, 6);
    EXPECT_EQ(Page->Pixels[7], once);
    // k = WetLut[100] = 75: green 0 + Mul(255, 75) = 75, alpha stays 255
    EXPECT_EQ(once, 0xFF004B00u);
    WetBuffer[7] = 255; // too much water: WetLut 43, the paint fades back
    WetSoftColor(Page, 0, 0, 6, 6);
    EXPECT_EQ(Page->Pixels[7], 0xFF002B00u);
}

TEST_F(WetPaint, AlternativeAirbrushAddsOutright) {
    Use(PenAirbrush);
    AltAirbrush = 1;
    Stamp* s = MaskStampOf(1, 1, {100});
    StampFn fn = SelectStamp(s, 0);
    ASSERT_EQ(fn, WetAddStamp);
    fn(s, Page, 0, 0, APen, 0, 255);
    fn(s, Page, 0, 0, APen, 0, 255);
    EXPECT_EQ(WetBuffer[0], 200);
    fn(s, Page, 0, 0, APen, 0, 255);
    EXPECT_EQ(WetBuffer[0], 255);
    AltAirbrush = 0;
    FreeStamp(s);
}

TEST_F(WetPaint, RightButtonErasesWithoutTheDryThreshold) {
    Use(PenWet);
    ClearBitmap(BackPage, 0xFFFFFFFF);
    Stamp* s = MaskStampOf(1, 1, {255});
    EXPECT_EQ(SelectRefresh(s, 1), WetErase);
    WetBuffer[0] = 255, WetBuffer[1] = 60; // k 43 and 45
    WetErase(Page, 0, 0, 2, 1);
    EXPECT_EQ(Page->Pixels[0], 0xD4D4D4D4u); // Mul(255, 212)
    EXPECT_EQ(Page->Pixels[1], 0xD2D2D2D2u); // Mul(255, 210)
    FreeStamp(s);
}

TEST_F(WetPaint, OilLightsTheUpperLeftEdge) {
    Use(PenOil);
    APen = 0xFF804020;
    MakeOilColorTable(APen);
    WetBuffer[2 * 6 + 2] = 255; // a single wet pixel
    WetBuffer[1 * 6 + 1] = 0, WetBuffer[3 * 6 + 3] = 0;
    WetOilColor(Page, 0, 0, 6, 6);
    // d = 0 - 0 + 255 -> black at full strength
    EXPECT_EQ(Page->Pixels[2 * 6 + 2], 0xFF000000u);
    WetBuffer[3 * 6 + 3] = 255; // d = 0 - 510 + 255 = -255: the plain colour
    WetOilColor(Page, 0, 0, 6, 6);
    EXPECT_EQ(Page->Pixels[2 * 6 + 2], 0xFF804020u);
    // the rim is never recomputed
    WetBuffer[0] = 255;
    WetOilColor(Page, 0, 0, 6, 6);
    EXPECT_EQ(Page->Pixels[0], 0xFF000000u);
}

TEST_F(WetPaint, ModesOutsideTheWetSetFallBackToDryStamps) {
    Use(PenWet);
    Stamp* s = MaskStampOf(1, 1, {255});
    DrawMode = 4;
    EXPECT_NE(SelectStamp(s, 0), WetMixStamp);
    EXPECT_EQ(SelectRefresh(s, 0), CopyToScreen);
    DrawMode = 14;
    EXPECT_EQ(SelectRefresh(s, 0), WetBehind);
    FreeBitmap(BackPage);
    BackPage = nullptr; // without an undo copy wet paint cannot be recomputed: dry stamps
    DrawMode = 0;
    EXPECT_NE(SelectStamp(s, 0), WetMixStamp);
    FreeStamp(s);
}

TEST_F(WetPaint, ClearWetSortsAndClampsItsBox) {
    std::memset(WetBuffer, 9, 36);
    WetRect = {};
    ExtendWetRect(4, 4, 100, 100);
    ExtendWetRect(-50, 3, 1, -7);
    ClearWet();
    EXPECT_EQ(WetRect.Set, 0);
    for (int i = 0; i < 36; ++i) EXPECT_EQ(WetBuffer[i], 0) << i;
    EXPECT_EQ(WetBuffer[36], 0); // the slack after the page was never touched
}

} // namespace
} // namespace nemu
