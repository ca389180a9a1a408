// Exact results of the dry draw modes on tiny pages, expected bytes worked out by hand
// from each mode's formula.
#include "paint/colour.h"
#include "paint/panto.h"
#include "paint/stamp_kernels.h"
#include "paint_fixture.h"

namespace nemu {
namespace {

using test::MaskStampOf;

class DrawStamps : public test::PaintPage {
  protected:
    void SetUp() override {
        MakePage(4, 4, 0x80402010, false);
        Pen = PenAirbrush;
        PenKind = 0;
        DrawMode = 0;
        WetMode = 0;
    }
    // One 1 by 1 dab of mask m through the selected function at (1, 1).
    uint32_t Dab(uint8_t m, uint32_t colour, int op, int useBPen = 0) {
        Stamp* s = MaskStampOf(1, 1, {m});
        SelectStamp(s, useBPen)(s, Page, 1, 1, colour, useBPen, op);
        FreeStamp(s);
        return At(1, 1);
    }
};

TEST_F(DrawStamps, SoftColourBlendsTowardsTheColourAndOpaqueAlpha) {
    // k = 100: a 0x80 + ceil(127 * 100 / 255) = 0xB2, r 0x40 + ceil(191 * 100 / 255) = 0x8B,
    // g 0x20 - ceil(32 * 100 / 255) = 0x13, b 0x10 - ceil(16 * 100 / 255) = 0x09.
    EXPECT_EQ(Dab(100, 0xFFFF0000, 255), 0xB28B1309u);
    ClearBitmap(Page, 0x80402010);
    EXPECT_EQ(Dab(100, 0xFFFF0000, 128), 0x9A67190Cu); // k = Mul(100, 128) = 51
    ClearBitmap(Page, 0x80402010);
    EXPECT_EQ(Dab(255, 0xFF00FF00, 255), 0xFF00FF00u);
    EXPECT_EQ(At(0, 0), 0x80402010u); // nothing outside the dab
    ClearBitmap(Page, 0x80402010);
    EXPECT_EQ(Dab(0, 0xFF00FF00, 255), 0x80402010u);
}

TEST_F(DrawStamps, HardColourWritesWhereverTheMaskIsSet) {
    Pen = PenRound;
    AntiAlias = 0;
    EXPECT_EQ(Dab(1, 0xFF123456, 10), 0xFF123456u);
}

TEST_F(DrawStamps, SmearTakesTheMaskedAverageAsAPremultipliedTarget) {
    DrawMode = 6;
    Page->Pixels[5] = 0x80402010, Page->Pixels[6] = 0x00000000; // (1,1) and (2,1)
    Stamp* s = MaskStampOf(2, 1, {255, 200});
    // average over both pixels: (0x40, 0x20, 0x10, 0x08); Soft4 reaches it at k 255 and
    // moves (2,1) by Mul(d, 200).
    SelectStamp(s, 0)(s, Page, 1, 1, APen, 0, 255);
    EXPECT_EQ(At(1, 1), 0x40201008u);
    EXPECT_EQ(At(2, 1), 0x331A0D07u); // ceil(64 * 200 / 255) = 51 = 0x33 ...
    FreeStamp(s);
}

TEST_F(DrawStamps, EraseClearsFromStrength250AndScalesBelow) {
    ClearBitmap(Page, 0xFFFFFFFF);
    EXPECT_EQ(Dab(250, APen, 255, 1), 0u);
    ClearBitmap(Page, 0xFFFFFFFF);
    EXPECT_EQ(Dab(249, APen, 255, 1), 0x06060606u); // Mul(255, 6): about 2 percent stays
    DrawMode = 15;
    ClearBitmap(Page, 0xFFFFFFFF);
    EXPECT_EQ(Dab(249, APen, 255), 0x06060606u);
}

TEST_F(DrawStamps, RightButtonErasesWhateverTheModeAndIgnoresTheColour) {
    for (int mode : {0, 3, 8, 11, 14, 16}) {
        DrawMode = mode;
        ClearBitmap(Page, 0xFF808080);
        EXPECT_EQ(Dab(255, 0xFF00FF00, 255, 1), 0u) << mode;
    }
    Pen = PenChalk;
    PenKind = 1;
    ClearBitmap(Page, 0xFF808080);
    Stamp* s = MaskStampOf(1, 1, {255});
    StampFn erase = SelectStamp(s, 1);
    for (int i = 0; i < 20; ++i) erase(s, Page, 1, 1, 0xFF00FF00, 1, 255);
    EXPECT_EQ(At(1, 1), 0u); // the chalk eraser hits sooner or later, and only erases
    FreeStamp(s);
}

TEST_F(DrawStamps, BehindFillsOnlyTheTransparentShare) {
    DrawMode = 14;
    ClearBitmap(Page, 0x40201008);
    // t = Mul(200, 255 - 64) = 150: alpha 64 + 150, red 0x20 + 0, green 0x10 + Mul(255, 150)
    EXPECT_EQ(Dab(200, 0xFF00FF00, 255), 0xD620A608u);
    ClearBitmap(Page, 0xFF102030);
    EXPECT_EQ(Dab(255, 0xFF00FF00, 255), 0xFF102030u); // opaque pixels are left alone
    ClearBitmap(Page, 0);
    EXPECT_EQ(Dab(255, 0xFF00FF00, 255), 0xFF00FF00u);
}

TEST_F(DrawStamps, ReplaceRepaintsColourAndKeepsTransparency) {
    DrawMode = 16;
    ClearBitmap(Page, 0x80404040);
    // target red Mul(255, 128) = 128, others 0; k 128
    EXPECT_EQ(Dab(128, 0xFFFF0000, 255), 0x80611F1Fu);
}

TEST_F(DrawStamps, SpareMergeMixesWithRounding) {
    SparePage = NewBitmap(4, 4);
    ClearBitmap(SparePage, 0xFF804020);
    ASSERT_EQ(SetDrawMode(2), 0);
    ClearBitmap(Page, 0);
    // Round255(100 * s): 0xFF -> 0x64, 0x80 -> 0x32, 0x40 -> 0x19, 0x20 -> 0x0D
    EXPECT_EQ(Dab(100, APen, 255), 0x6432190Du);
    ClearBitmap(Page, 0);
    EXPECT_EQ(Dab(255, APen, 255), 0xFF804020u);
}

TEST_F(DrawStamps, SpareModesCannotBeSelectedWithoutASparePage) {
    DrawMode = 0;
    EXPECT_EQ(SetDrawMode(2), -1);
    EXPECT_EQ(SetDrawMode(13), -1);
    EXPECT_EQ(DrawMode, 0);
    EXPECT_EQ(SetDrawMode(10), -1);
    EXPECT_EQ(SetDrawMode(18), -1);
}

TEST_F(DrawStamps, PantoCopiesFromTheOffsetAndClipsAtTheSource) {
    DrawMode = 17;
    At(3, 2) = 0xFF0000FF;
    PantoX = 2, PantoY = 1;
    EXPECT_EQ(Dab(255, APen, 255), 0xFF0000FFu);
    Stamp* s = MaskStampOf(1, 1, {255});
    SelectStamp(s, 0)(s, Page, 3, 3, APen, 0, 255); // source (5, 4) lies outside
    EXPECT_EQ(At(3, 3), 0x80402010u);
    FreeStamp(s);
}

TEST_F(DrawStamps, ShadeAndLightStepOnceAndKeepPremultipliedForm) {
    DrawMode = 9;
    ClearBitmap(Page, 0x80407F00);
    for (int i = 0; i < 300; ++i) Dab(255, APen, 3);
    EXPECT_EQ(At(1, 1), 0x80808080u); // each channel stops at alpha
    DrawMode = 8;
    Dab(255, APen, 255);
    EXPECT_EQ(At(1, 1), 0x807F7F7Fu);
    for (int i = 0; i < 300; ++i) Dab(9, APen, 255);
    EXPECT_EQ(At(1, 1), 0x80000000u);
}

TEST_F(DrawStamps, ColorizeMapsTheGreyOfThePlainColourThroughTheRamp) {
    APen = 0xFF804020;
    ASSERT_EQ(SetDrawMode(3), 0); // builds the ramp
    ClearBitmap(Page, 0xFF646464);
    EXPECT_EQ(Dab(1, APen, 255), 0xFF955535u); // grey 100 -> ramp[100]
    ClearBitmap(Page, 0x80323232);
    EXPECT_EQ(Dab(1, APen, 255), 0x804B2B1Bu); // plain 99 -> ramp[99] * 128 / 255
    ClearBitmap(Page, 0x00000000);
    EXPECT_EQ(Dab(255, APen, 255), 0u);
}

TEST_F(DrawStamps, TintPlacesTheMiddleChannelByTheSextant) {
    DrawMode = 12;
    ClearBitmap(Page, 0xFFC86432); // 200, 100, 50
    TintSextant = 2, TintFrac = 0;
    EXPECT_EQ(Dab(1, APen, 255), 0xFF32C832u);
    ClearBitmap(Page, 0xFFC86432);
    TintSextant = 3, TintFrac = 32768; // v = 75, odd sextant: mid = hi - v
    EXPECT_EQ(Dab(1, APen, 255), 0xFF327DC8u);
    TintSextant = -1;
    ClearBitmap(Page, 0xFFC86432);
    EXPECT_EQ(Dab(255, APen, 255), 0xFFC86432u);
}

TEST_F(DrawStamps, GrainKeepsOpaqueAlphaAndSkipsTransparentPixels) {
    DrawMode = 11;
    std::srand(7);
    for (uint32_t start : {0xFF8899AAu, 0x80406080u, 0x00000000u}) {
        for (int i = 0; i < 50; ++i) {
            ClearBitmap(Page, start);
            uint32_t p = Dab(255, APen, 255);
            int a = int(p >> 24);
            if (start >> 24 == 255) EXPECT_EQ(a, 255);
            if (start == 0) EXPECT_EQ(p, 0u);
            for (int sh = 0; sh < 24; sh += 8) EXPECT_LE(int((p >> sh) & 255), a);
            for (int sh = 0; sh < 32; sh += 8) EXPECT_EQ((p >> sh) & 15, (p >> sh & 255) == 255 ? 15u : 0u);
        }
    }
}

TEST_F(DrawStamps, SmoothAndBlurAverageTheNeighboursInsideThePage) {
    MakePage(5, 5, 0);
    At(1, 2) = 0x10, At(3, 2) = 0x20, At(2, 1) = 0x30, At(2, 3) = 0x40, At(2, 2) = 0x80;
    Stamp* s = MaskStampOf(1, 1, {255});
    DrawMode = 4;
    Bitmap* saved = NewBitmap(5, 5);
    CopyBitmap(Page, saved);
    SelectStamp(s, 0)(s, Page, 2, 2, APen, 0, 255);
    EXPECT_EQ(At(2, 2), 122u); // (16 + 32 + 48 + 64 + 60 * 128 + 31) >> 6
    CopyBitmap(saved, Page);
    DrawMode = 5;
    SelectStamp(s, 0)(s, Page, 2, 2, APen, 0, 255);
    EXPECT_EQ(At(2, 2), 58u); // (16 + 32 + 48 + 64 + 128 + 2) / 5
    // The rim has no neighbours and is never touched.
    SelectStamp(s, 0)(s, Page, 0, 2, APen, 0, 255);
    EXPECT_EQ(At(0, 2), 0u);
    FreeBitmap(saved);
    FreeStamp(s);
}

TEST_F(DrawStamps, ShiftArmsOnTheFirstStampAndCarriesPixelsAfter) {
    MakePage(4, 1, 0);
    At(0, 0) = 0xFF0000FF, At(1, 0) = 0xFF00FF00;
    DrawMode = 7;
    AntiAlias = 0;
    Stamp* s = MaskStampOf(1, 1, {255}, 1);
    StampFn fn = SelectStamp(s, 0);
    ShiftArmed = 0;
    fn(s, Page, 0, 0, APen, 0, 255); // picks up the blue pixel
    EXPECT_EQ(ShiftArmed, 1);
    EXPECT_EQ(At(0, 0), 0xFF0000FFu);
    fn(s, Page, 1, 0, APen, 0, 255); // each stamp puts down what the last one lifted
    EXPECT_EQ(At(1, 0), 0xFF0000FFu);
    fn(s, Page, 2, 0, APen, 0, 255);
    EXPECT_EQ(At(2, 0), 0xFF00FF00u);
    EXPECT_EQ(s->Under->Pixels[0], 0u);
    FreeStamp(s);
}

TEST_F(DrawStamps, ShiftNearTheEdgeArmsOnlyTheClippedPart) {
    MakePage(2, 2, 0xFF112233);
    DrawMode = 7;
    Stamp* s = MaskStampOf(2, 2, {255, 255, 255, 255});
    ClearBitmap(s->Under, 0xDEADBEEF);
    ShiftArmed = 0;
    SelectStamp(s, 0)(s, Page, 1, 1, APen, 0, 255);
    EXPECT_EQ(s->Under->Pixels[0], 0xFF112233u);
    EXPECT_EQ(s->Under->Pixels[1], 0xDEADBEEFu);
    EXPECT_EQ(s->Under->Pixels[3], 0xDEADBEEFu);
    FreeStamp(s);
}

TEST_F(DrawStamps, ImpressTakesItsColourOnceAStrokeFromTheSparePage) {
    SparePage = NewBitmap(4, 4);
    ClearBitmap(SparePage, 0x80402010);
    ASSERT_EQ(SetDrawMode(13), 0);
    StrokeColourPicked = 0;
    ClearBitmap(Page, 0);
    EXPECT_EQ(Dab(255, APen, 255), 0xFF7F3F1Fu); // 255 * c / 128, made opaque
    ClearBitmap(SparePage, 0xFF00FF00);
    EXPECT_EQ(Dab(255, APen, 255), 0xFF7F3F1Fu); // still the stroke's first colour
    StrokeColourPicked = 0;
    EXPECT_EQ(Dab(255, APen, 255), 0xFF00FF00u);
    ClearBitmap(SparePage, 0);
    StrokeColourPicked = 0;
    EXPECT_EQ(Dab(255, 0xFF00FF00, 255), APen); // nothing on the spare page: the pen colour
}

TEST_F(DrawStamps, KeyCommandsToggleBetweenPartners) {
    DrawMode = 0;
    DrawModeBehind();
    EXPECT_EQ(DrawMode, 16);
    DrawModeBehind();
    EXPECT_EQ(DrawMode, 14);
    DrawModeColor();
    EXPECT_EQ(DrawMode, 0);
    DrawModeColor();
    EXPECT_EQ(DrawMode, 1);
    DrawModeAlpha();
    DrawModeAlpha();
    EXPECT_EQ(DrawMode, 17);
    DrawModeMerge(); // no spare page: nothing happens
    EXPECT_EQ(DrawMode, 17);
    EXPECT_EQ(DrawModeByName("TRANS"), 2);
    EXPECT_EQ(DrawModeByName("hue"), 12);
    EXPECT_EQ(DrawModeByName("nothing"), -1);
    EXPECT_EQ(DrawModeMessage(16), 3202u);
}

TEST_F(DrawStamps, CustomBrushStampsReadTheBrushPixels) {
    Stamp* s = NewStamp(1, 1, 1);
    s->Mask[0] = 255;
    s->Image->Pixels[0] = 0x80400000; // half-transparent red
    s->Kind = 3;
    Pen = PenBrush;
    ClearBitmap(Page, 0xFF0000FF);
    SelectStamp(s, 0)(s, Page, 1, 1, APen, 0, 255); // BrushOver
    // Mul(0xFF, 127) + 0x80 alpha; red Mul(0, 127) + 0x40; blue Mul(0xFF, 127)
    EXPECT_EQ(At(1, 1), 0xFF40007Fu);
    DrawMode = 1;
    ClearBitmap(Page, 0xFF0000FF);
    SelectStamp(s, 0)(s, Page, 1, 1, 0xFF00FF00, 0, 255); // ShapeColor, k = brush alpha 128
    EXPECT_EQ(At(1, 1), 0xFF00807Fu);
    DrawMode = 16;
    ClearBitmap(Page, 0x80000080);
    SelectStamp(s, 0)(s, Page, 1, 1, APen, 0,
                      255); // BrushReplace: red target Mul(Div(0x40, 0x80), 0x80) = 64
    EXPECT_EQ(At(1, 1), 0x8021003Fu);
    FreeStamp(s);
}

} // namespace
} // namespace nemu
