// Composition: the stack flattened at one image, onion images and their fading, the
// mixer's buffers and the display's combination of three pictures, and backgrounds.
// Expected pixels are worked out by hand from Mul(x, y) = (x * y + 254) / 255.
#include "project_fixture.h"

#include "project/blend.h"

#include <random>

using namespace nemu;
using nemu::test::ProjectTest;

namespace {

constexpr uint32_t Blue = 0xFF0000FF, Green = 0xFF00FF00, HalfRed = 0x80800000, White = 0xFFFFFFFF;

// A top layer (index 0) holding HalfRed and a bottom layer (index 1) holding Blue.
struct TwoLayers : ProjectTest {
    void SetUp() override {
        ProjectTest::SetUp();
        Paint(HalfRed);
        AddLayer("bottom", 0, 0);
        Paint(Blue);
        ASSERT_EQ(FlushPage(), 1);
    }
};

// A clip layer of 8 images where image i is transparent but for opaque white at (i, 0):
// the onion strength of an image reads as the alpha at its column.
struct OnionLayer : ProjectTest {
    int32_t Index = 0;
    void SetUp() override {
        ProjectTest::SetUp();
        Index = AddLayer("onion", 0, 7);
        ASSERT_EQ(MakeAnim(Index, 1), 1);
        for (int32_t t = 0; t < 8; t++) {
            ASSERT_EQ(SelectImage(t, 1), 1);
            Paint(0);
            PaintPixel(t, 0, White);
        }
        ASSERT_EQ(SelectImage(3, 1), 1);
    }
    std::vector<uint32_t> Strengths(bool current) {
        Bitmap* buffer = NewBitmap(PageWidth, PageHeight);
        ClearBitmap(buffer, 0x12345678);
        bool drawn = false;
        DrawOnionImages(&Layers[Index], buffer, 3, current, &drawn);
        std::vector<uint32_t> alpha;
        for (int x = 0; x < 8; x++) alpha.push_back(drawn ? buffer->Pixels[x] >> 24 : 999);
        FreeBitmap(buffer);
        return alpha;
    }
};

} // namespace

TEST_F(TwoLayers, FullDensityIsOver) {
    EXPECT_EQ(Composed(0), 0xFF80007Fu);
}

TEST_F(TwoLayers, ATopLayerAtHalfDensity) {
    Layers[0].Density = 128;
    // a = Mul(128, 128) = 65: blue Mul(190, 255) = 190, red Mul(128, 128) = 65.
    EXPECT_EQ(Composed(0), 0xFF4100BEu);
}

TEST_F(TwoLayers, ABottomLayerAtHalfDensityIsLoadedScaled) {
    Layers[1].Density = 128;
    // Blue scaled: 0x80000080; then red over it: blue 0 + Mul(127, 128) = 64, alpha 192.
    EXPECT_EQ(Composed(0), 0xC0800040u);
}

TEST_F(TwoLayers, HiddenAbsentAndTheCurrentLayerAlone) {
    Layers[0].Flags |= LayerHidden;
    EXPECT_EQ(Composed(0), Blue);
    Layers[0].Flags = 0;
    Layers[0].FirstImage = Layers[0].LastImage = 5;
    EXPECT_EQ(Composed(0), Blue);
    EXPECT_EQ(Composed(5), HalfRed); // the bottom layer is absent there
    EXPECT_EQ(Composed(9), 0u);      // nothing at all: cleared
    Layers[0].FirstImage = Layers[0].LastImage = 0;
    ShowAllLayers = false;
    ASSERT_NE(SelectLayerImage(0, 0, 1), nullptr);
    EXPECT_EQ(Composed(0), HalfRed);
}

TEST_F(TwoLayers, ComposeFlushesThePageFirst) {
    PaintPixel(2, 1, Green);
    EXPECT_EQ(Composed(0, false, 2, 1), 0xFF807F00u); // red over the new green
}

TEST_F(TwoLayers, ColourAndCheckBackgrounds) {
    Layers[1].Flags |= LayerHidden;
    BGP1 = 0xFF0000FF;
    BGP2 = 0xFF00FF00;
    SetBackgroundMode(1);
    EXPECT_EQ(DisplayFlags & BackgroundBits, BackgroundColourBit);
    EXPECT_EQ(Composed(0, true), 0xFF80007Fu);
    EXPECT_EQ(Composed(0, false), HalfRed); // without background, the alpha stays
    // Check cells of 16 from the bitmap's corner.
    ASSERT_EQ(ChangePageSize(40, 40, 0), 1);
    SetBackgroundMode(2);
    EXPECT_EQ(Composed(0, true, 0, 0), BGP1);
    EXPECT_EQ(Composed(0, true, 16, 0), BGP2);
    EXPECT_EQ(Composed(0, true, 0, 16), BGP2);
    EXPECT_EQ(Composed(0, true, 16, 16), BGP1);
    EXPECT_EQ(Composed(0, true, 33, 2), BGP1);
}

TEST_F(TwoLayers, BackgroundModesCycleAndOnlyARealChangeMarksTheProject) {
    SetBackgroundMode(0);
    SavedCounter = 5;
    SetBackgroundMode(0);
    EXPECT_EQ(SavedCounter, 5u);
    NextBackgroundMode();
    EXPECT_EQ(BackgroundMode(), 1);
    EXPECT_EQ(SavedCounter, uint32_t(-1));
    NextBackgroundMode();
    EXPECT_EQ(BackgroundMode(), 2);
    NextBackgroundMode();
    EXPECT_EQ(BackgroundMode(), 0);
    NextBackgroundMode();
    EXPECT_EQ(BackgroundMode(), 1);
}

TEST_F(TwoLayers, GetLayerImageByIdRefusesUnknownIdsAndAbsentImages) {
    Bitmap* b = NewBitmap(PageWidth, PageHeight);
    EXPECT_EQ(GetLayerImageById(b, 9999, 0), 0);
    EXPECT_EQ(GetLayerImageById(b, IdOf(0), 1), 0);
    EXPECT_EQ(GetLayerImageById(b, IdOf(0), 0), 1);
    EXPECT_EQ(b->Pixels[0], HalfRed);
    FreeBitmap(b);
}

// ---- Onion images ---------------------------------------------------------------------------------------

TEST_F(OnionLayer, StrengthsFadeByTwoThirdsFromAHalf) {
    Layers[Index].PelureBefore = -2;
    Layers[Index].PelureAfter = 3;
    // t = 3: images 2 and 4 at 127, 1 and 5 at 84, 6 at 56; the own image is not drawn.
    EXPECT_EQ(Strengths(false), (std::vector<uint32_t>{0, 84, 127, 0, 127, 84, 56, 0}));
    // The whole pixel is the white scaled: all four bytes equal the strength.
    Bitmap* buffer = NewClearBitmap(PageWidth, PageHeight);
    bool drawn = true;
    DrawOnionImages(&Layers[Index], buffer, 3, false, &drawn);
    EXPECT_EQ(buffer->Pixels[6], 0x38383838u);
    FreeBitmap(buffer);
    EXPECT_EQ(Layers[Index].Density, 255); // put back
}

TEST_F(OnionLayer, TheCurrentLayerOverItsImageStartsAtTwoThirds) {
    Layers[Index].PelureBefore = -2;
    Layers[Index].PelureAfter = 2;
    PelureMode = 1;
    EXPECT_EQ(Strengths(true), (std::vector<uint32_t>{0, 113, 170, 0, 170, 113, 0, 0}));
    // Other layers, and the current one in mode 0, start at a half.
    EXPECT_EQ(Strengths(false), (std::vector<uint32_t>{0, 84, 127, 0, 127, 84, 0, 0}));
    PelureMode = 0;
    EXPECT_EQ(Strengths(true), (std::vector<uint32_t>{0, 84, 127, 0, 127, 84, 0, 0}));
}

TEST_F(OnionLayer, ANegativeCountLooksTheOtherWay) {
    Layers[Index].PelureBefore = 2; // positive: forward
    Layers[Index].PelureAfter = -1; // negative: backward
    EXPECT_EQ(Strengths(false), (std::vector<uint32_t>{0, 0, 127, 0, 127, 84, 0, 0}));
}

TEST_F(OnionLayer, ImagesOutsideTheRangeAreLeftOutWithoutStoppingTheFade) {
    Layers[Index].PelureBefore = -3;
    Layers[Index].PelureAfter = 4;
    // Images -1 .. 7 asked; t = 3 with before 3 reaches image 0, after 4 reaches 7.
    EXPECT_EQ(Strengths(false), (std::vector<uint32_t>{56, 84, 127, 0, 127, 84, 56, 37}));
    Layers[Index].PelureAfter = 6; // images 8 and 9 do not exist; nothing else changes
    EXPECT_EQ(Strengths(false), (std::vector<uint32_t>{56, 84, 127, 0, 127, 84, 56, 37}));
}

TEST_F(OnionLayer, DensityZeroStopsAtOnce) {
    Layers[Index].PelureBefore = -7;
    Layers[Index].PelureAfter = 7;
    Layers[Index].Density = 1; // a half of 1 is 0
    EXPECT_EQ(Strengths(false), std::vector<uint32_t>(8, 999));
    Layers[Index].Density = 0;
    EXPECT_EQ(Strengths(false), std::vector<uint32_t>(8, 999));
}

TEST_F(OnionLayer, AHeldLayerAtDensityZeroContributesNothing) {
    ProjectTest::TearDown();
    MakeProject(8, 4);
    Paint(Blue);
    Layers[0].LastImage = 5;
    Layers[0].Density = 0;
    Layers[0].Flags |= LayerPelure;
    Layers[0].PelureBefore = -2;
    Layers[0].PelureAfter = 2;
    AddLayer("under", 0, 5);
    EXPECT_EQ(Composed(2), 0u);
    RebuildMix(false);
    // The held layer above is still wanted, but its onion stops at once and its own
    // picture adds zeros.
    EXPECT_TRUE(NeedAbove);
    for (int i = 0; i < 32; i++) EXPECT_EQ(MixerA->Pixels[i], 0u);
}

// ---- The mixer and the display
// -----------------------------------------------------------------------------

TEST(MixRows, TwoAndThreePicturesByHand) {
    uint32_t out;
    auto mix = [&](uint32_t a, uint32_t p, uint32_t c, uint32_t d, uint32_t bits) {
        MixRow(&a, &p, &c, &out, 1, d, bits);
        return out;
    };
    // A fully transparent top over a zero page shows the bottom unchanged.
    EXPECT_EQ(mix(0, 0, 0xFF123456, 255, MixBothBit), 0xFF123456u);
    EXPECT_EQ(mix(0, 0, 0x40102030, 90, MixBothBit), 0x40102030u);
    EXPECT_EQ(mix(0xFF010203, Green, Blue, 255, MixBothBit), 0xFF010203u);
    // k = Mul(127, 255) = 127: green 127, red 128, alpha 255.
    EXPECT_EQ(mix(HalfRed, Green, Blue, 255, MixBothBit), 0xFF807F00u);
    // k = Mul(127, 128) = 64; R.a = 192, so blue gets Mul(63, 255) = 63.
    EXPECT_EQ(mix(HalfRed, Green, Blue, 128, MixBothBit), 0xFF80403Fu);
    // Top transparent: the page scaled by d, then over the bottom.
    EXPECT_EQ(mix(0, Green, Blue, 128, MixBothBit), 0xFF00807Fu);
    // A over the page at d.
    EXPECT_EQ(mix(HalfRed, Green, 0, 128, MixAboveBit), 0xC0804000u);
    EXPECT_EQ(mix(0, Green, 0, 128, MixAboveBit), 0x80008000u);
    EXPECT_EQ(mix(0, Green, 0, 255, MixAboveBit), Green);
    // The page at d over C: the same as a transparent top of three.
    EXPECT_EQ(mix(0, Green, Blue, 128, MixBelowBit), 0xFF00807Fu);
    EXPECT_EQ(mix(0, 0, Blue, 128, MixBelowBit), Blue);
    // Neither: the page scaled.
    EXPECT_EQ(mix(0, Green, 0, 128, 0), 0x80008000u);
}

TEST(MixRows, RowsGiveExactlyThePixelFormsBrokenPixelsIncluded) {
    std::mt19937 rng(31);
    auto pixel = [&] {
        uint32_t a = rng() % 3 == 0 ? 0 : rng() % 3 == 0 ? 255 : rng() % 256;
        uint32_t p = a << 24 | (rng() % (a + 1)) << 16 | (rng() % (a + 1)) << 8 | rng() % (a + 1);
        return rng() % 40 == 0 ? uint32_t(rng()) : p;
    };
    for (int round = 0; round < 600; round++) {
        int32_t n = 1 + int32_t(rng() % 37);
        uint32_t d = round % 4 == 0 ? 255 : rng() % 256;
        uint32_t bits = (const uint32_t[]){0, MixAboveBit, MixBelowBit, MixBothBit}[round % 4];
        std::vector<uint32_t> a(n), p(n), c(n), out(n);
        for (int32_t i = 0; i < n; i++) a[i] = pixel(), p[i] = pixel(), c[i] = pixel();
        MixRow(a.data(), p.data(), c.data(), out.data(), n, d, bits);
        for (int32_t i = 0; i < n; i++)
            ASSERT_EQ(out[i], MixPixel(a[i], p[i], c[i], d, bits)) << "round " << round << " pixel " << i;
    }
}

TEST_F(ProjectTest, TheMixerBitsFollowWhatLiesAboveAndUnder) {
    Paint(HalfRed);
    AddLayer("middle", 0, 0);
    Paint(Green);
    AddLayer("bottom", 0, 0);
    Paint(Blue);
    ASSERT_NE(SelectLayerImage(1, 0, 1), nullptr);
    EXPECT_EQ(DisplayFlags & (MixBits | MixRebuiltBit), MixBothBit | MixRebuiltBit);
    EXPECT_EQ(MixerA->Pixels[0], HalfRed);
    EXPECT_EQ(MixerC->Pixels[0], Blue);
    ASSERT_NE(SelectLayerImage(0, 0, 1), nullptr);
    EXPECT_EQ(DisplayFlags & MixBits, MixBelowBit);
    ASSERT_NE(SelectLayerImage(2, 0, 1), nullptr);
    EXPECT_EQ(DisplayFlags & MixBits, MixAboveBit);
    // A holds red over green.
    EXPECT_EQ(MixerA->Pixels[0], 0xFF807F00u);
    ShowAllLayers = false;
    RebuildMix(false);
    EXPECT_EQ(DisplayFlags & MixBits, 0u);
    SafeAreaShown = true;
    RebuildMix(false);
    EXPECT_EQ(DisplayFlags & MixBits, MixAboveBit);
}

TEST_F(ProjectTest, DisplayRectCombinesAndPutsTheCheckOnThePage) {
    ASSERT_EQ(ChangePageSize(40, 20, 0), 1);
    Paint(HalfRed);
    AddLayer("bottom", 0, 0);
    Paint(0);
    PaintPixel(20, 3, Blue);
    ASSERT_NE(SelectLayerImage(1, 0, 1), nullptr);
    BGP1 = 0xFF111111;
    BGP2 = 0xFF222222;
    SetBackgroundMode(2);
    Bitmap* target = NewClearBitmap(64, 64);
    DisplayRect(Page, 16, 0, target, 3, 5, 10, 10, 16, 0);
    // Page (16, 0) is in the second cell: red over BGP2.
    EXPECT_EQ(target->Pixels[5 * 64 + 3], BehindPixel(HalfRed, 0xFF222222));
    EXPECT_EQ(target->Pixels[(5 + 3) * 64 + 3 + 4], 0xFF80007Fu); // page (20, 3): red over blue
    // The same page position drawn elsewhere on the target has the same cell.
    DisplayRect(Page, 16, 0, target, 40, 40, 1, 1, 16, 0);
    EXPECT_EQ(target->Pixels[40 * 64 + 40], target->Pixels[5 * 64 + 3]);
    // Outside the target nothing is written, and nothing crashes.
    DisplayRect(Page, -5, -5, target, 60, 60, 100, 100, -5, -5);
    DisplayRect(Page, 0, 0, target, 0, 0, 0, 10, 0, 0);
    FreeBitmap(target);
}

TEST_F(ProjectTest, TheScreenHookCombinesTheBuffersWithTheCurrentDensity) {
    Paint(HalfRed);
    AddLayer("middle", 0, 0);
    Paint(Green);
    AddLayer("bottom", 0, 0);
    Paint(Blue);
    ASSERT_NE(SelectLayerImage(1, 0, 1), nullptr);
    SetLayerDensity(50);
    ASSERT_EQ(OnionCompose, ComposeWithMixer);
    Bitmap* strip = NewBitmap(8, 2);
    ASSERT_EQ(OnionCompose(0, 0, 8, 2, strip), 1);
    EXPECT_EQ(strip->Pixels[0], 0xFF80403Fu);
    EXPECT_EQ(OnionCompose(4, 3, 8, 2, strip), 0); // past the page
    FreeBitmap(strip);
}

TEST_F(ProjectTest, WithoutMemoryForBufferCTheCurrentLayerShowsAlone) {
    Paint(HalfRed);
    AddLayer("bottom", 0, 0);
    ASSERT_NE(SelectLayerImage(0, 0, 1), nullptr);
    DropMixer();
    // No bitmap of this size can be made.
    int32_t w = PageWidth, h = PageHeight;
    PageWidth = PageHeight = 1 << 20;
    testing::internal::CaptureStderr();
    EXPECT_EQ(EnsureMixer(2, 0), nullptr);
    EXPECT_EQ(EnsureMixer(1, 0), nullptr);
    std::string said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find(" Not enough memory for layer C"), std::string::npos);
    // B's failure reads as A's.
    EXPECT_NE(said.find(" Not enough memory for layer A"), std::string::npos);
    testing::internal::CaptureStderr();
    RebuildMix(false);
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(ShowAllLayers);
    EXPECT_EQ(DisplayFlags & MixBits, 0u);
    PageWidth = w, PageHeight = h;
    EXPECT_EQ(EnsureMixer(1, 0), PageBase);
}

TEST_F(ProjectTest, SafeAreaFramesAreWhiteThenBlackInside) {
    ASSERT_EQ(ChangePageSize(200, 100, 0), 1);
    Bitmap* b = NewClearBitmap(200, 100);
    DrawSafeArea(b);
    auto at = [&](int x, int y) { return b->Pixels[y * 200 + x]; };
    // Outer frame inset 10, 5; inner 20, 10; corner radius 100 / 40 = 2.
    EXPECT_EQ(at(100, 5), 0xFFFFFFFFu);
    EXPECT_EQ(at(100, 6), 0xFF000000u);
    EXPECT_EQ(at(10, 50), 0xFFFFFFFFu);
    EXPECT_EQ(at(11, 50), 0xFF000000u);
    EXPECT_EQ(at(100, 10), 0xFFFFFFFFu);
    EXPECT_EQ(at(20, 50), 0xFFFFFFFFu);
    EXPECT_EQ(at(100, 50), 0u);
    EXPECT_EQ(at(10, 5), 0u); // the corner is rounded off
    FreeBitmap(b);
}
