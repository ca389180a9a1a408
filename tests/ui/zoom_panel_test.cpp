// The Zoom panel, headless: it opens over the page and shows it magnified, a stroke made
// inside it lands on the page where the zoom says, the buttons step the factor and turn
// the navigator on and off, and section Zoom goes back and forth.
#include "ui/zoom_panel.h"

#include "host/host_fixture.h"
#include "host/zoom.h"
#include "paint/colour.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "script/command_host.h"
#include "ui/settings.h"
#include "ui/ui_scale.h"
#include "ui/window.h"

#include <cstring>

using namespace nemu;

namespace {

struct ZoomPanelTest : ::testing::Test {
    HeadlessHost Host{800, 600, 200, 150, 20, 20};
    ConfigFile* SavedConfig = CurrentConfig;

    void SetUp() override {
        CurrentConfig = new ConfigFile;
        ClearBitmap(Page, 0xFFFFFFFF);
    }
    void TearDown() override {
        ZoomClose();
        ZoomFreeBuffers();
        ZoomAutoCenter = 0;
        ZoomFactor = ZoomDefaultFactor;
        delete CurrentConfig;
        CurrentConfig = SavedConfig;
    }
    // The screen position of page pixel (px, py) as the zoom shows it (the block's middle).
    void OnZoom(int px, int py, int* x, int* y) const {
        *x = ZoomWindow->Left + ZoomInsetX + ZoomOffsetX + (px - ZoomLeft) * ZoomFactor + ZoomFactor / 2;
        *y = ZoomWindow->Top + ZoomInsetY + ZoomOffsetY + (py - ZoomTop) * ZoomFactor + ZoomFactor / 2;
    }
};

std::string RunText(const char* text) {
    CommandRequest request;
    request.Text = text;
    RunCommandText(&request);
    return request.Reply;
}

} // namespace

TEST_F(ZoomPanelTest, OpensOverThePageAndShowsItMagnified) {
    Page->Pixels[60 * 200 + 100] = 0xFF00AA00;
    ASSERT_EQ(ZoomOpen(4, 100, 60), 1);
    ASSERT_TRUE(ZoomShown());
    EXPECT_EQ(ZoomInsetX, UiPx(4));
    EXPECT_EQ(ZoomInsetY, UiPx(19));
    int x, y;
    OnZoom(100, 60, &x, &y);
    EXPECT_EQ(ScreenPixel(x, y), 0xFF00AA00u);
    EXPECT_EQ(ScreenPixel(x + ZoomFactor, y), 0xFFFFFFFFu);
    // A change of the page reaches the zoom through the screen's refresh.
    Page->Pixels[61 * 200 + 101] = 0xFFAA0000;
    ShowPageRect(Page, 101, 61, Screen, 101, 61, 1, 1);
    OnZoom(101, 61, &x, &y);
    EXPECT_EQ(ScreenPixel(x, y), 0xFFAA0000u);
    EXPECT_EQ(RunText("om_zoom"), "1 4 " + std::to_string(ZoomLeft) + " " + std::to_string(ZoomTop) + " " +
                                  std::to_string(ZoomWidth) + " " + std::to_string(ZoomHeight));
    EXPECT_EQ(RunText("[om_zoom 0]").substr(0, 3), "[0 ");
    EXPECT_FALSE(ZoomShown());
}

TEST_F(ZoomPanelTest, AStrokeInsideTheZoomLandsWhereTheZoomShows) {
    ASSERT_EQ(ZoomOpen(4, 100, 75), 1);
    APen = 0xFFFF0000;
    RoundPen.PressureOn = RoundPen.SpeedOn = 0;
    SetPen(PenRound);
    SetPenSize(0);
    SelectToolMode(TOOL_FREEHAND);
    int x, y;
    OnZoom(90, 70, &x, &y);
    HeadlessQueuePointer(x, y);
    QueueButton(WM_LBUTTONDOWN, x, y);
    HeadlessQueuePointer(x + 1, y);
    for (int i = 0; i < 4 && HeadlessPending(); i++) MainLoopPass();
    QueueButton(WM_LBUTTONUP, x + 1, y);
    for (int i = 0; i < 4 && HeadlessPending(); i++) MainLoopPass();
    EXPECT_EQ(Page->Pixels[70 * 200 + 90], 0xFFFF0000u);
    EXPECT_EQ(ZoomCaptured, 0);
    // The page's own place under the zoom was not painted: nothing else is red.
    int red = 0;
    for (int i = 0; i < 200 * 150; i++) red += Page->Pixels[i] == 0xFFFF0000u;
    EXPECT_LE(red, 2);
}

TEST_F(ZoomPanelTest, StepsAndNavigator) {
    ASSERT_EQ(ZoomOpen(4, 100, 75), 1);
    ZoomStepFactor(1);
    EXPECT_EQ(ZoomFactor, 6);
    ZoomStepFactor(-1);
    ZoomStepFactor(-1);
    EXPECT_EQ(ZoomFactor, 3);
    EXPECT_EQ(ZoomNextStep(32, 1), 32);
    EXPECT_EQ(ZoomNextStep(2, -1), -2);
    int32_t left = ZoomLeft, top = ZoomTop, w = ZoomWidth;
    ZoomNavigator(1);
    EXPECT_LT(ZoomFactor, 0);
    EXPECT_EQ(ZoomWidth, PageWidth); // the whole page
    EXPECT_EQ(ZoomMarkLeft, left);
    EXPECT_EQ(ZoomMarkWidth, w);
    // The frame is on the screen where the magnified view stood.
    int n = -ZoomFactor;
    int fx = ZoomWindow->Left + ZoomInsetX + ZoomOffsetX + left / n;
    int fy = ZoomWindow->Top + ZoomInsetY + ZoomOffsetY + top / n;
    EXPECT_EQ(ScreenPixel(fx, fy), ZoomMarkColour);
    ZoomNavigator(0);
    EXPECT_EQ(ZoomFactor, 3);
    EXPECT_NEAR(ZoomLeft, left, 1);
}

TEST_F(ZoomPanelTest, SettingsGoBackAndForth) {
    ParseConfigText(CurrentConfig, "[Zoom]\nDisplay=on\nWin_W=300\nWin_H=200\nFactor=8\nWIN_X=40\nWIN_Y=50\n");
    LoadZoomSettings();
    ASSERT_TRUE(ZoomShown());
    EXPECT_EQ(ZoomFactor, 8);
    EXPECT_EQ(ZoomWindow->Left, 40);
    EXPECT_EQ(ZoomWindow->Top, 50);
    EXPECT_EQ(int32_t(ZoomWindow->Width), UiPx(300));
    ZoomStepFactor(1);
    SaveZoomSettings();
    char value[32];
    ConfigGet("Zoom", "Factor", value, "", sizeof value);
    EXPECT_STREQ(value, "12");
    ConfigGet("Zoom", "Display", value, "", sizeof value);
    EXPECT_STREQ(value, "on");
    ZoomClose();
    SaveZoomSettings();
    ConfigGet("Zoom", "Display", value, "", sizeof value);
    EXPECT_STREQ(value, "off");
}
