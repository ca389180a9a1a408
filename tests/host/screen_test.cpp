#include "host/screen.h"

#include "host_fixture.h"
#include "ui/window.h"

using namespace nemu;

namespace {

void FillPage(uint32_t colour) {
    ClearBitmap(Page, colour);
}

} // namespace

TEST(Compose, OverColourFollowsThePremultipliedFormula) {
    // Channel = pixel + ceil(background * (255 - a) / 255); alpha becomes 255.
    EXPECT_EQ(OverColour(0x80402010, 0xFF005F9F), 0xFF405060u);
    // red 0x40 + 0; green 0x20 + ceil(0x5F * 127 / 255) = 0x20 + 0x30; blue 0x10 + ceil(0x9F * 127 / 255) =
    // 0x10 + 0x50
    EXPECT_EQ(OverColour(0x00000000, 0xFF123456), 0xFF123456u); // transparent: the background whole
    EXPECT_EQ(OverColour(0xFFABCDEF, 0xFF123456), 0xFFABCDEFu); // opaque: the pixel whole
    EXPECT_EQ(OverColour(0x01000000, 0xFFFFFFFF), 0xFFFEFEFEu); // 255 * 254 / 255 rounds up to 254 exactly
}

TEST(Compose, UnmultiplyAndOpacityScaling) {
    EXPECT_EQ(UnmultiplyPixel(0x80402010),
              0x807F3F1Fu); // 255*0x40/128 = 127, 255*0x20/128 = 63, 255*16/128 = 31
    EXPECT_EQ(UnmultiplyPixel(0xFF402010), 0xFF402010u);
    EXPECT_EQ(UnmultiplyPixel(0x00402010), 0x00402010u);
    EXPECT_EQ(ScaleByOpacity(0xFF804020, 128), 0x80412111u); // ceil(x * 128 / 255) per byte
    EXPECT_EQ(ScaleByOpacity(0xFF804020, 255), 0xFF804020u);
    EXPECT_EQ(ScaleByOpacity(0xFF804020, 0), 0u);
}

TEST(Compose, CheckBoardIsAnchoredOnThePage) {
    HeadlessHost host(200, 120, 64, 48, 37, 21);
    DisplayFlags = DISPLAY_OVER_CHECK;
    BackColour = 0xFF000011;
    BackColour2 = 0xFF000022;
    FillPage(0); // fully transparent: every pixel shows its square
    ShowPageRect(Page, 0, 0, Screen, 0, 0, PageWidth, PageHeight);
    for (int y = 0; y < PageHeight; y += 3)
        for (int x = 0; x < PageWidth; x += 5) {
            bool second = ((x + ((y & 16) ? 16 : 0)) & 16) != 0;
            ASSERT_EQ(ScreenPixel(PageX + x, PageY + y), second ? 0xFF000022u : 0xFF000011u) << x << "," << y;
        }
    // Moving the page moves the pattern with it.
    PageX += 5;
    ShowPageRect(Page, 0, 0, Screen, 0, 0, PageWidth, PageHeight);
    EXPECT_EQ(ScreenPixel(PageX + 0, PageY), 0xFF000011u);
    EXPECT_EQ(ScreenPixel(PageX + 16, PageY), 0xFF000022u);
    EXPECT_EQ(ScreenPixel(PageX + 16, PageY + 16), 0xFF000011u);
}

TEST(Compose, PartialAlphaOverColourAndOverCheck) {
    HeadlessHost host(100, 100, 40, 40, 10, 10);
    FillPage(0x80402010);
    DisplayFlags = DISPLAY_OVER_COLOUR;
    BackColour = 0xFF005F9F;
    ShowPageRect(Page, 0, 0, Screen, 0, 0, 40, 40);
    EXPECT_EQ(ScreenPixel(10, 10), 0xFF405060u);
    EXPECT_EQ(ScreenPixel(49, 49), 0xFF405060u);
    DisplayFlags = DISPLAY_OVER_CHECK;
    BackColour2 = 0xFFFFFFFF;
    ShowPageRect(Page, 0, 0, Screen, 0, 0, 40, 40);
    EXPECT_EQ(ScreenPixel(10 + 16, 10), 0xFFBF9F8Fu); // each channel + ceil(255 * 127 / 255) = + 0x7F
}

TEST(Compose, OpacityScalesThePageBeforeTheBackground) {
    HeadlessHost host(100, 100, 40, 40, 10, 10);
    FillPage(0xFF804020);
    PageOpacity = 128;
    DisplayFlags = 33; // no background: the scaled pixels themselves
    ShowPageRect(Page, 0, 0, Screen, 0, 0, 40, 40);
    EXPECT_EQ(ScreenPixel(10, 10), 0x80412111u);
    DisplayFlags = DISPLAY_OVER_COLOUR;
    BackColour = 0xFF000000;
    ShowPageRect(Page, 0, 0, Screen, 0, 0, 40, 40);
    // Strips of 16 rows: the rows beyond the first strip are composed the same way.
    EXPECT_EQ(ScreenPixel(10, 10), 0xFF412111u);
    EXPECT_EQ(ScreenPixel(49, 49), 0xFF412111u);
    EXPECT_EQ(ScreenPixel(20, 10 + 17), 0xFF412111u);
}

TEST(Compose, Mode2UnmultipliesAndMonitorTablesApplyLast) {
    HeadlessHost host(100, 100, 20, 20, 10, 10);
    FillPage(0x80402010);
    DisplayFlags = DISPLAY_UNMULTIPLY;
    ShowPageRect(Page, 0, 0, Screen, 0, 0, 20, 20);
    EXPECT_EQ(ScreenPixel(15, 15), 0x807F3F1Fu);
    // An inverting red table, after the background.
    for (int i = 0; i < 256; i++) MonitorRed[i] = uint8_t(255 - i);
    DisplayFlags = DISPLAY_OVER_COLOUR | DISPLAY_MONITOR;
    BackColour = 0xFF005F9F;
    ShowPageRect(Page, 0, 0, Screen, 0, 0, 20, 20);
    EXPECT_EQ(ScreenPixel(15, 15), 0xFFBF5060u);
}

TEST(Screen, NegativeCornerShowsThePartInsideThePage) {
    HeadlessHost host(100, 100, 20, 20, 10, 10);
    FillPage(0xFF00FF00);
    ClearBitmap(HeadlessScreen(), 0);
    ShowPageRect(Page, -5, -3, Screen, -5, -3, 10, 10);
    EXPECT_EQ(ScreenPixel(10, 10), 0xFF00FF00u);
    EXPECT_EQ(ScreenPixel(14, 16), 0xFF00FF00u);
    EXPECT_EQ(ScreenPixel(15, 10), 0u);
    EXPECT_EQ(ScreenPixel(10, 17), 0u);
    EXPECT_EQ(ScreenPixel(9, 9), 0u);
    ShowPageRect(Page, 18, 18, Screen, 18, 18, 10, 10); // cut at the page's edge
    EXPECT_EQ(ScreenPixel(29, 29), 0xFF00FF00u);
    EXPECT_EQ(ScreenPixel(30, 30), 0u);
}

TEST(Screen, NothingIsDrawnUnderAWindow) {
    HeadlessHost host(100, 100, 60, 60, 10, 10);
    GuiWindow panel{};
    panel.Left = 20;
    panel.Top = 20;
    panel.Right = 40;
    panel.Bottom = 35;
    panel.Open = 1;
    WindowListHead = WindowListTail = &panel;
    ClearBitmap(HeadlessScreen(), 0);
    FillPage(0xFF0000FF);
    // Wholly under the panel: nothing at all.
    ShowPageRect(Page, 12, 12, Screen, 12, 12, 5, 5);
    for (int y = 20; y < 35; y++)
        for (int x = 20; x < 40; x++) ASSERT_EQ(ScreenPixel(x, y), 0u);
    // Across it: the four pieces around it, and still nothing under it.
    ShowPageRect(Page, 0, 0, Screen, 0, 0, 60, 60);
    EXPECT_EQ(ScreenPixel(19, 25), 0xFF0000FFu);
    EXPECT_EQ(ScreenPixel(40, 25), 0xFF0000FFu);
    EXPECT_EQ(ScreenPixel(30, 19), 0xFF0000FFu);
    EXPECT_EQ(ScreenPixel(30, 35), 0xFF0000FFu);
    EXPECT_EQ(ScreenPixel(30, 25), 0u);
    ShowPagePixel(Screen, 0xFFFFFFFF, 15, 15); // page (15,15) is screen (25,25): under it
    EXPECT_EQ(ScreenPixel(25, 25), 0u);
    panel.Open = 0; // a closed window in the list hides nothing
    ShowPageRect(Page, 0, 0, Screen, 0, 0, 60, 60);
    EXPECT_EQ(ScreenPixel(30, 25), 0xFF0000FFu);
    WindowListHead = WindowListTail = nullptr;
}

TEST(Screen, DisplayHoldShowsNothingAndItsEndRefreshesAll) {
    HeadlessHost host(100, 100, 20, 20, 10, 10);
    ClearBitmap(HeadlessScreen(), 0);
    FillPage(0xFF112233);
    DisplayHold = 1;
    ShowPageRect(Page, 0, 0, Screen, 0, 0, 20, 20);
    ShowPagePixel(Screen, 0xFFFFFFFF, 0, 0);
    RepaintSurround(0, 0, 100, 100);
    EXPECT_EQ(ScreenPixel(10, 10), 0u);
    EXPECT_EQ(ScreenPixel(0, 0), 0u);
    EXPECT_EQ(SetPointerShape(2), PointerShape);
    EXPECT_NE(HeadlessPointerShape(), 2);
    EndDisplayHold();
    EXPECT_EQ(DisplayHold, 0);
    EXPECT_EQ(ScreenPixel(10, 10), 0xFF112233u);
    EXPECT_EQ(ScreenPixel(0, 0), Screen->FillColour);
}

TEST(Screen, PageFrameIsASunkenBevel) {
    HeadlessHost host(100, 100, 20, 10, 30, 40);
    Border = 1;
    RefreshAll();
    // Left of the page, outward from it: black, dark grey, grey.
    EXPECT_EQ(ScreenPixel(29, 45), 0xFF000000u);
    EXPECT_EQ(ScreenPixel(28, 45), 0xFF333333u);
    EXPECT_EQ(ScreenPixel(27, 45), 0xFF666666u);
    EXPECT_EQ(ScreenPixel(26, 45), Screen->FillColour);
    // Right of it: white, light grey, grey.
    EXPECT_EQ(ScreenPixel(50, 45), 0xFFFFFFFFu);
    EXPECT_EQ(ScreenPixel(51, 45), 0xFFDDDDDDu);
    EXPECT_EQ(ScreenPixel(52, 45), 0xFFAAAAAAu);
    EXPECT_EQ(ScreenPixel(53, 45), Screen->FillColour);
    EXPECT_EQ(ScreenPixel(40, 39), 0xFF000000u);
    EXPECT_EQ(ScreenPixel(40, 50), 0xFFFFFFFFu);
    Border = 0;
    RefreshAll();
    EXPECT_EQ(ScreenPixel(29, 45), Screen->FillColour);
}

TEST(Screen, InversePreviewPixelStaysVisible) {
    HeadlessHost host(100, 100, 20, 20, 10, 10);
    FillPage(0xFF808080);
    ShowInverse(Screen, 3, 4);
    EXPECT_EQ(ScreenPixel(13, 14), ~((0xFF808080u & 0xCFCFCFCFu) | 0x0F0F0F0Fu));
    ShowPagePixel(Screen, 0xFF123456, 19, 19);
    EXPECT_EQ(ScreenPixel(29, 29), 0xFF123456u);
    ShowPagePixel(Screen, 0xFFFFFFFF, 20, 5); // outside the page
    EXPECT_NE(ScreenPixel(30, 15), 0xFFFFFFFFu);
}

TEST(Screen, PlacementKeepsMarginsOrCentresSmallSpare) {
    HeadlessHost host(400, 300, 100, 100, 0, 0);
    PageX = -1000;
    PageY = 5000;
    EXPECT_EQ(PlacePage(0), 1);
    EXPECT_EQ(PageX, 20);
    EXPECT_EQ(PageY, 300 - 20 - 100);
    EXPECT_EQ(PlacePage(0), 0);
    EXPECT_EQ(PlacePage(1), 1);
    EXPECT_EQ(PageX, 150);
    ResizePageBuffers(380, 500); // 20 spare: centred; taller than the screen: no gap at either end
    PlacePage(1);
    EXPECT_EQ(PageX, 10);
    EXPECT_EQ(PageY, -100);
    PageY = -1000; // too far up: pulled down to end 20 short of the bottom
    PlacePage(0);
    EXPECT_EQ(PageY, 300 - 20 - 500);
    int32_t px, py;
    ScreenToPage((PageX + 3) * 65536 + 0x8000, (PageY + 4) * 65536, &px, &py);
    EXPECT_EQ(px, 3 * 65536 + 0x8000);
    EXPECT_EQ(py, 4 * 65536);
}

TEST(Screen, ToolPointerFollowsTheMouseSetting) {
    HeadlessHost host(100, 100, 20, 20, 10, 10);
    int expected[4] = {1, 0, 6, 7};
    for (int style = 0; style < 4; style++) {
        MouseStyle = style;
        SetPointerShape(0);
        EXPECT_EQ(SetPointerShape(1), 0);
        EXPECT_EQ(HeadlessPointerShape(), expected[style]);
    }
    InputLocked = 1;
    EXPECT_EQ(SetPointerShape(2), 1);
    EXPECT_EQ(PointerShape, 1);
    InputLocked = 0;
}

TEST(Screen, ResizeAndExposeRepaint) {
    HeadlessHost host(100, 100, 20, 20, 10, 10);
    FillPage(0xFF445566);
    ClearBitmap(HeadlessScreen(), 0);
    QueueNative(WM_PAINT, uintptr_t(MakePositionWord(30, 30)), MakePositionWord(5, 5));
    DrainInput();
    EXPECT_EQ(ScreenPixel(10, 10), 0xFF445566u);
    EXPECT_EQ(ScreenPixel(4, 4), Screen->FillColour); // grown by one to the left and top
    EXPECT_EQ(ScreenPixel(40, 40), 0u);               // outside the exposed rectangle
    QueueNative(WM_SIZE, 0, MakePositionWord(80, 60));
    DrainInput();
    EXPECT_EQ(Screen->Width, 80);
    EXPECT_EQ(Screen->Height, 60);
}
