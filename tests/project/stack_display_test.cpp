// The screen under a stack, end to end: rectangles of the page through the window walk,
// the strips, the mixer's hook and the backdrop reach the headless screen exactly as the
// pixel forms say, at any density, with or without the vector form.
#include "project_fixture.h"

#include "host/platform.h"
#include "paint/stamp_kernels.h"
#include "project/blend.h"

#include <random>

using namespace nemu;
using nemu::test::ProjectTest;

namespace {

constexpr int32_t ShownX = 7, ShownY = 5; // the page's place on the screen

struct StackOnScreen : ProjectTest {
    void SetUp() override {
        MakeProject(70, 41);
        ASSERT_EQ(PlatformOpen(BACKEND_HEADLESS, 90, 60), 1);
        ASSERT_EQ(ScreenOpen(), 1);
        PageNotReady = 0, PageX = ShownX, PageY = ShownY;
        // Three layers of soft random paint, the bottom one half opaque at most, so that the
        // backdrop shows through all three.
        std::mt19937 rng(77);
        for (int layer = 0; layer < 3; layer++) {
            if (layer) AddLayer("layer", 0, 0);
            for (int32_t i = 0; i < PageWidth * PageHeight; i++) {
                uint32_t a = rng() % 3 == 0 ? 0 : rng() % 4 == 0 ? 255 : rng() % 256;
                if (layer == 2) a /= 2;
                auto c = [&] { return rng() % (a + 1); };
                Page->Pixels[i] = a << 24 | c() << 16 | c() << 8 | c();
            }
            AddDirtyAndMark(0, 0, PageWidth - 1, PageHeight - 1);
        }
        ASSERT_NE(SelectLayerImage(1, 0, 1), nullptr);
        ASSERT_EQ(DisplayFlags & MixBits, MixBothBit);
    }
    void TearDown() override {
        ScreenClose();
        PlatformClose();
        ProjectTest::TearDown();
    }
    // What the screen must show for page pixel (x, y).
    static uint32_t Expected(int32_t x, int32_t y) {
        size_t i = size_t(y) * size_t(PageWidth) + size_t(x);
        uint32_t p = MixPixel(MixerA->Pixels[i], Page->Pixels[i], MixerC->Pixels[i], uint32_t(CurrentDensity),
                              DisplayFlags & MixBits);
        return BehindPixel(p, CheckColourAt(x, y));
    }
};

TEST_F(StackOnScreen, EveryRectangleShowsThePixelForms) {
    BGP1 = 0xFF203040, BGP2 = 0xFFE0D0C0;
    SetBackgroundMode(2);
    std::mt19937 rng(5);
    for (int round = 0; round < 24; round++) {
        PlainKernels = round % 2;
        SetLayerDensity(round % 3 == 0 ? 100 : round % 3 == 1 ? 50 : 1);
        int32_t x = int32_t(rng() % 60) - 5, y = int32_t(rng() % 40) - 5;
        int32_t w = 1 + int32_t(rng() % 40), h = 1 + int32_t(rng() % 35);
        ClearBitmap(HeadlessScreen(), 0);
        ShowPageRect(Page, x, y, Screen, x, y, w, h);
        for (int32_t py = std::max(y, 0); py < std::min(y + h, PageHeight); py++)
            for (int32_t px = std::max(x, 0); px < std::min(x + w, PageWidth); px++)
                ASSERT_EQ(HeadlessScreen()->Pixels[size_t(py + ShownY) * 90 + size_t(px + ShownX)],
                          Expected(px, py))
                    << "round " << round << " pixel " << px << ", " << py << " plain " << PlainKernels;
    }
    PlainKernels = -1;
}

} // namespace
