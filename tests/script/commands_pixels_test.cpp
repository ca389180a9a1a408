// om_writepixel, om_getpixel and om_getpixeldisplay.
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "script/command_host.h"
#include "store/bitmap.h"

#include "support/run_script.h"

#include <gtest/gtest.h>
#include <string>

using namespace nemu;

namespace {

struct PixelCommandsTest : ::testing::Test {
    void SetUp() override {
        Page = NewClearBitmap(8, 4);
        ASSERT_NE(Page, nullptr);
        PageWidth = 8;
        PageHeight = 4;
    }
    void TearDown() override {
        FreeBitmap(Page);
        Page = nullptr;
        ScreenClose();
        PlatformClose();
    }
};

} // namespace

TEST_F(PixelCommandsTest, WrittenBytesReadBackExactly) {
    uint32_t version = PageVersion;
    EXPECT_EQ(RunScript("[om_writepixel 1 2 10 20 30 255] [om_getpixel 1 2]"), "[][10 20 30 255]");
    EXPECT_EQ(Page->Pixels[2 * 8 + 1], 0xFF0A141Eu);
    EXPECT_NE(PageVersion, version);
    EXPECT_EQ(RunScript("om_getpixel 0 0"), "0 0 0 0");
}

TEST_F(PixelCommandsTest, ThePixelIsWrittenAsGivenWithEachValueAByte) {
    // A colour above its alpha is not premultiplied, but it is what was asked for.
    RunScript("om_writepixel 0 0 300 -5 40 128");
    EXPECT_EQ(RunScript("om_getpixel 0 0"), "255 0 40 128");
    RunScript("om_writepixel 3 1 999 999 999 999");
    EXPECT_EQ(RunScript("om_getpixel 3 1"), "255 255 255 255");
    // The alpha left out reads 0; the colour stays.
    RunScript("om_writepixel 4 1 255 0 0");
    EXPECT_EQ(Page->Pixels[1 * 8 + 4], 0x00FF0000u);
}

TEST_F(PixelCommandsTest, OutsideThePageNothingIsWrittenAndZeroIsRead) {
    for (const char* at : {"-1 0", "0 -1", "8 0", "0 4", "2147483647 2147483647", "-1e30 1e30"}) {
        RunScript(std::string("om_writepixel ") + at + " 1 1 1 255");
        EXPECT_EQ(RunScript(std::string("om_getpixel ") + at), "0 0 0 0") << at;
    }
    for (int i = 0; i < 32; i++) EXPECT_EQ(Page->Pixels[i], 0u);
    FreeBitmap(Page);
    Page = nullptr;
    EXPECT_EQ(RunScript("[om_writepixel 0 0 1 1 1 255] [om_getpixel 0 0]"), "[][0 0 0 0]");
}

TEST_F(PixelCommandsTest, DisplayPixelIsWhatTheScreenShowsAtThatPagePosition) {
    ASSERT_EQ(PlatformOpen(BACKEND_HEADLESS, 40, 30), 1);
    ASSERT_EQ(ScreenOpen(), 1);
    // A page not placed shows nowhere.
    RunScript("om_writepixel 1 2 10 20 30 255");
    EXPECT_EQ(RunScript("om_getpixeldisplay 1 2"), "0 0 0 0");
    PageX = 10;
    PageNotReady = 0; // as after start-up, so a full redraw shows the page
    PageY = 5;
    RunScript("om_writepixel 1 2 10 20 30 255");
    EXPECT_EQ(RunScript("om_getpixeldisplay 1 2"), "10 20 30 255");
    EXPECT_EQ(HeadlessScreen()->Pixels[7 * 40 + 11], 0xFF0A141Eu);
    // While the display is held nothing reaches the screen, until a full redraw.
    DisplayHold = 1;
    RunScript("om_writepixel 2 2 1 2 3 255");
    EXPECT_EQ(RunScript("om_getpixeldisplay 2 2"), "0 0 0 0");
    DisplayHold = 0;
    RunScript("om_resetdisplay");
    EXPECT_EQ(RunScript("om_getpixeldisplay 2 2"), "1 2 3 255");
    // Page positions off the screen read as nothing.
    EXPECT_EQ(RunScript("om_getpixeldisplay -11 0"), "0 0 0 0");
    EXPECT_EQ(RunScript("om_getpixeldisplay 30 0"), "0 0 0 0");
    EXPECT_EQ(RunScript("om_getpixeldisplay -2147483647 -2147483647"), "0 0 0 0");
}
