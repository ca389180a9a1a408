// The zoom's view, its pointer mapping and its two scaling kernels, on a window record
// made by hand so that only the screen layer is under test.
#include "host/zoom.h"

#include "host_fixture.h"
#include "project/compose.h"
#include "ui/window.h"

#include <random>
#include <vector>

using namespace nemu;

namespace {

// Keeps every global the zoom tests touch, and a window of its own at the tail of the list.
struct ZoomFixture : ::testing::Test {
    HeadlessHost Host{320, 240, 100, 80, 10, 10};
    GuiWindow Window{};
    uint32_t SavedFlags = DisplayFlags, SavedBack = BackColour, SavedBack2 = BackColour2;
    int32_t SavedOpacity = PageOpacity;

    void SetUp() override {
        Window.Left = 150, Window.Top = 20;
        Window.Width = 4 + 120 + 4, Window.Height = 19 + 90 + 4;
        Window.Right = Window.Left + int32_t(Window.Width), Window.Bottom = Window.Top + int32_t(Window.Height);
        Window.Surface = NewClearBitmap(int32_t(Window.Width), int32_t(Window.Height));
        Window.Open = 1;
        Window.Prev = WindowListTail;
        (WindowListTail ? WindowListTail->Next : WindowListHead) = &Window;
        WindowListTail = &Window;
        ZoomWindow = &Window;
        ZoomInsetX = 4, ZoomInsetY = 19, ZoomAreaW = 120, ZoomAreaH = 90;
        ZoomOn = 1;
        ZoomSetView(4, 0, 0);
    }
    void TearDown() override {
        (Window.Prev ? Window.Prev->Next : WindowListHead) = nullptr;
        WindowListTail = Window.Prev;
        FreeBitmap(Window.Surface);
        ZoomWindow = nullptr;
        ZoomOn = ZoomCaptured = ZoomClosing = ZoomAutoCenter = 0;
        ZoomFactor = ZoomDefaultFactor;
        ZoomLeft = ZoomTop = 0;
        ZoomMarkWidth = ZoomMarkHeight = 0;
        ZoomFreeBuffers();
        DisplayFlags = SavedFlags, BackColour = SavedBack, BackColour2 = SavedBack2, PageOpacity = SavedOpacity;
    }
    uint32_t Surface(int x, int y) const { return Window.Surface->Pixels[size_t(y) * Window.Width + x]; }
};

void FillRandom(Bitmap* b, uint32_t seed) {
    std::mt19937 rng(seed);
    for (int i = 0; i < b->Width * b->Height; i++) {
        uint32_t a = rng() & 255, v = rng();
        // Premultiplied: no channel above alpha.
        uint32_t r = (v & 255) * a / 255, g = ((v >> 8) & 255) * a / 255, bl = ((v >> 16) & 255) * a / 255;
        b->Pixels[i] = a << 24 | r << 16 | g << 8 | bl;
    }
}

} // namespace

TEST_F(ZoomFixture, ViewIsClampedToThePageAndCentresASmallOne) {
    ZoomSetView(4, 90, 70); // 30 by 22 page pixels fill the area: the corner can't pass 70, 58
    EXPECT_EQ(ZoomLeft, 70);
    EXPECT_EQ(ZoomTop, 58);
    EXPECT_EQ(ZoomWidth, 30);
    EXPECT_EQ(ZoomHeight, 22);
    EXPECT_EQ(ZoomOffsetX, 0);
    ZoomSetView(-2, 5, 5); // reduced, the whole page fits: 50 by 40 in the middle of 120 by 90
    EXPECT_EQ(ZoomLeft, 0);
    EXPECT_EQ(ZoomWidth, 100);
    EXPECT_EQ(ZoomOffsetX, 35);
    EXPECT_EQ(ZoomOffsetY, 25);
    ZoomSetView(7, -3, 0); // a partly shown block at the right edge still counts
    EXPECT_EQ(ZoomLeft, 0);
    EXPECT_EQ(ZoomWidth, 18); // 120 / 7 = 17 whole blocks and a part
    EXPECT_EQ(ZoomClampFactor(0), 1);
    EXPECT_EQ(ZoomClampFactor(-1), 1);
    EXPECT_EQ(ZoomClampFactor(1000), ZoomMaxFactor);
    EXPECT_EQ(ZoomClampFactor(-1000), ZoomMinFactor);
    EXPECT_EQ(ZoomCenterOn(50, 40), 1);
    EXPECT_EQ(ZoomLeft, 50 - 120 / 7 / 2);
}

TEST_F(ZoomFixture, ReplicationPutsEachPagePixelInItsBlock) {
    ClearBitmap(Page, 0xFF102030);
    Page->Pixels[3 * Page->Width + 2] = 0xFFAA0000;
    ZoomSetView(3, 1, 1);
    ZoomRect r = ZoomRender(Page, 0, 0, 0, 0, PageWidth, PageHeight, Window.Surface);
    EXPECT_EQ(r.X, 4);
    EXPECT_EQ(r.Y, 19);
    EXPECT_EQ(r.W, 120);
    EXPECT_EQ(r.H, 90);
    // Page (2, 3) is the second column and third row of the view: surface 4 + 3, 19 + 6.
    for (int y = 19 + 6; y < 19 + 9; y++)
        for (int x = 4 + 3; x < 4 + 6; x++) EXPECT_EQ(Surface(x, y), 0xFFAA0000u) << x << "," << y;
    EXPECT_EQ(Surface(4 + 2, 19 + 6), 0xFF102030u);
    EXPECT_EQ(Surface(4 + 6, 19 + 8), 0xFF102030u);
    EXPECT_EQ(Surface(3, 19), 0u); // the frame's column is left alone
}

TEST_F(ZoomFixture, FastKernelWritesTheBytesOfThePlainOneAtEveryFactor) {
    FillRandom(Page, 7);
    BackColour = 0xFF102030, BackColour2 = 0xFF405060;
    const struct {
        uint32_t Flags;
        int32_t Opacity;
    } looks[] = {{33, 255}, {DISPLAY_OVER_CHECK, 255}, {DISPLAY_OVER_COLOUR, 140}, {DISPLAY_UNMULTIPLY, 255}};
    const int32_t factors[] = {2, 3, 5, 16, -2, -3, -7};
    const int32_t rects[][4] = {{0, 0, 100, 80}, {-5, -7, 20, 30}, {13, 9, 1, 1}, {37, 41, 60, 60}, {99, 79, 5, 5}};
    Bitmap* other = NewClearBitmap(int32_t(Window.Width), int32_t(Window.Height));
    ASSERT_NE(other, nullptr);
    for (const auto& look : looks)
        for (int32_t f : factors)
            for (int corner = 0; corner < 3; corner++) {
                DisplayFlags = look.Flags, PageOpacity = look.Opacity;
                ZoomSetView(f, corner * 17, corner * 11);
                for (const auto& rc : rects) {
                    ClearBitmap(Window.Surface, 0);
                    ClearBitmap(other, 0);
                    // The plain form takes the clipped rectangle, as ShowPageRect gives it.
                    int x = std::max(rc[0], 0), y = std::max(rc[1], 0);
                    int w = std::min(rc[0] + rc[2], 100) - x, h = std::min(rc[1] + rc[3], 80) - y;
                    ZoomRect a = ZoomRender(Page, x, y, x, y, w, h, Window.Surface);
                    ZoomRect b = ZoomRenderPlain(Page, x, y, x, y, w, h, other);
                    ASSERT_EQ(a.X, b.X);
                    ASSERT_EQ(a.W, b.W);
                    ASSERT_EQ(a.H, b.H);
                    ASSERT_EQ(0, std::memcmp(Window.Surface->Pixels, other->Pixels,
                                             size_t(other->Width) * other->Height * 4))
                        << "flags " << look.Flags << " factor " << f << " corner " << corner << " rect " << rc[0];
                }
            }
    FreeBitmap(other);
}

TEST_F(ZoomFixture, CheckBoardStaysAnchoredOnThePageWhenMagnified) {
    DisplayFlags = DISPLAY_OVER_CHECK;
    BackColour = 0xFF000011, BackColour2 = 0xFF000022;
    ClearBitmap(Page, 0);
    ZoomSetView(2, 8, 0);
    ZoomRender(Page, 0, 0, 0, 0, PageWidth, PageHeight, Window.Surface);
    // Page x 15 is the last of the first square, 16 the first of the second.
    EXPECT_EQ(Surface(4 + (15 - 8) * 2, 19), 0xFF000011u);
    EXPECT_EQ(Surface(4 + (16 - 8) * 2, 19), 0xFF000022u);
}

TEST_F(ZoomFixture, ShowPageRectRefreshesTheZoomAndOnlyWhatItShows) {
    int shown = 0;
    static int* counter;
    counter = &shown;
    ZoomShowHook = [](int32_t, int32_t, int32_t, int32_t) { ++*counter; };
    ClearBitmap(Page, 0xFF00FF00);
    ZoomSetView(4, 0, 0);
    ShowPageRect(Page, 50, 50, Screen, 50, 50, 10, 10); // outside the 30 by 22 shown
    EXPECT_EQ(shown, 0);
    EXPECT_EQ(Surface(4, 19), 0u);
    ShowPageRect(Page, 2, 2, Screen, 2, 2, 3, 3);
    EXPECT_EQ(shown, 1);
    EXPECT_EQ(Surface(4 + 8, 19 + 8), 0xFF00FF00u);
    EXPECT_EQ(Surface(4 + 7, 19 + 8), 0u);
    Window.Open = 0; // a closed zoom is left alone
    ShowPageRect(Page, 0, 0, Screen, 0, 0, 1, 1);
    EXPECT_EQ(shown, 1);
    ZoomShowHook = nullptr;
}

TEST_F(ZoomFixture, PointerMapsThroughThePictureAndThePressCapturesIt) {
    ZoomSetView(4, 20, 10);
    const int ox = Window.Left + 4, oy = Window.Top + 19;
    int32_t px, py;
    ScreenToPage((ox + 9) << 16, (oy + 5) << 16, &px, &py);
    EXPECT_EQ(px, (20 << 16) + (9 << 16) / 4);
    EXPECT_EQ(py, (10 << 16) + (5 << 16) / 4);
    // Outside the picture (the title bar) the page's own mapping holds.
    ScreenToPage((ox + 9) << 16, (Window.Top + 3) << 16, &px, &py);
    EXPECT_EQ(px, (ox + 9 - PageX) << 16);
    // A press inside keeps mapping through the zoom when the stroke leaves it.
    ZoomTrackButton(1, ox + 1, oy + 1);
    EXPECT_EQ(ZoomCaptured, 1);
    ScreenToPage((ox - 8) << 16, (oy) << 16, &px, &py);
    EXPECT_EQ(px, (20 << 16) - (8 << 16) / 4);
    ZoomTrackButton(-1, ox - 8, oy);
    EXPECT_EQ(ZoomCaptured, 0);
    // The navigator multiplies.
    ZoomSetView(-3, 0, 0);
    ScreenToPage((ox + ZoomOffsetX + 10) << 16, (oy + ZoomOffsetY + 4) << 16, &px, &py);
    EXPECT_EQ(px, 30 << 16);
    EXPECT_EQ(py, 12 << 16);
    // A zoom that is closing maps nothing.
    ZoomClosing = 1;
    ScreenToPage((ox + 10) << 16, (oy + 4) << 16, &px, &py);
    EXPECT_EQ(px, (ox + 10 - PageX) << 16);
}

TEST_F(ZoomFixture, AutoCenterFollowsThePointerOutsideTheZoom) {
    ZoomSetView(4, 0, 0);
    ZoomFollow(60, 50);
    EXPECT_EQ(ZoomLeft, 0); // off by default
    ZoomAutoCenter = 1;
    WindowPointerX = 5, WindowPointerY = 5;
    ZoomFollow(60, 50);
    EXPECT_EQ(ZoomLeft, 60 - 15);
    EXPECT_EQ(ZoomTop, 50 - 11);
    WindowPointerX = int16_t(Window.Left + 10), WindowPointerY = int16_t(Window.Top + 30);
    ZoomFollow(5, 5); // the pointer is inside the zoom: the view stays
    EXPECT_EQ(ZoomLeft, 45);
}

TEST_F(ZoomFixture, NavigatorOutlinesTheMagnifiedView) {
    ClearBitmap(Page, 0xFF000000);
    ZoomMarkLeft = 20, ZoomMarkTop = 10, ZoomMarkWidth = 30, ZoomMarkHeight = 22;
    ZoomSetView(-2, 0, 0);
    ZoomRedraw();
    int ox = 4 + ZoomOffsetX, oy = 19 + ZoomOffsetY;
    EXPECT_EQ(Surface(ox + 10, oy + 5), ZoomMarkColour);
    EXPECT_EQ(Surface(ox + 10 + 14, oy + 5 + 10), ZoomMarkColour); // 49/2, 31/2: the far corner
    EXPECT_EQ(Surface(ox + 12, oy + 7), 0xFF000000u);
    // A refresh inside the frame keeps the frame.
    ShowPageRect(Page, 18, 8, Screen, 18, 8, 10, 10);
    EXPECT_EQ(Surface(ox + 10, oy + 5), ZoomMarkColour);
}
