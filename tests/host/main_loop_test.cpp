#include "host/main_loop.h"

#include "host/remote.h"
#include "host/tablet.h"
#include "host_fixture.h"
#include "paint/colour.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "support/temp_files.h"
#include "ui/catalog.h"
#include "ui/main_settings.h"
#include "ui/settings.h"
#include "ui/sys_colours.h"

#include <algorithm>
#include <sys/stat.h>

using namespace nemu;

TEST(MainLoop, PressAndReleaseInOneDrainStopAtThePress) {
    HeadlessHost host(200, 200, 100, 100, 20, 20);
    QueueButton(WM_LBUTTONDOWN, 30, 30);
    QueueButton(WM_LBUTTONUP, 30, 30);
    EXPECT_GT(PumpAndDispatch(1), 0);
    EXPECT_EQ(ButtonEdge, 1);
    EXPECT_EQ(LeftPressed, 1);
    EXPECT_EQ(LeftHeld, 1);
    EXPECT_EQ(HeadlessPending(), 1); // the release waits for the next round
    PumpAndDispatch(0);
    EXPECT_EQ(ButtonEdge, -1);
    EXPECT_EQ(LeftHeld, 0);
}

TEST(MainLoop, ScoreIsMinusOneForMovesAlone) {
    HeadlessHost host(200, 200, 100, 100, 20, 20);
    HeadlessQueuePointer(1, 1);
    HeadlessQueuePointer(2, 2);
    EXPECT_EQ(PumpAndDispatch(1), -1);
    HeadlessQueuePointer(3, 3);
    HeadlessQueueKey('K', 0, true);
    HeadlessQueuePointer(4, 4);
    EXPECT_EQ(PumpAndDispatch(1), 1); // -1, then a key adds 2, and later moves change nothing
    EXPECT_EQ(PumpAndDispatch(1), 0);
}

TEST(MainLoop, SecondButtonDuringAStrokeIsIgnoredByTheTools) {
    HeadlessHost host(200, 200, 100, 100, 20, 20);
    QueueButton(WM_LBUTTONDOWN, 30, 30);
    PumpAndDispatch(1);
    QueueButton(WM_RBUTTONDOWN, 31, 31);
    PumpAndDispatch(0);
    EXPECT_EQ(RightHeld, 0);
    EXPECT_EQ(RightPressed, 0);
    EXPECT_EQ(ButtonEdge, 0);
}

TEST(MainLoop, PointerStateFollowsThePageAndPressPosition) {
    HeadlessHost host(200, 200, 100, 100, 20, 30);
    QueueButton(WM_LBUTTONDOWN, 25, 37);
    PumpAndDispatch(1);
    EXPECT_EQ(WindowPointerX, 25);
    EXPECT_EQ(PointerX, 5);
    EXPECT_EQ(PointerY, 7);
    EXPECT_EQ(PressFX, PointerFX);
    EXPECT_EQ(PressureHigh, 255);
    EXPECT_EQ(PressureLow, 0);
}

TEST(MainLoop, StillPointerReportsLastSpeedPressureThenFull) {
    PointerFX = 10 << 16;
    PointerFY = 10 << 16;
    SpeedPressure(); // the pointer moved: remembered
    SpeedPressureValue = 100;
    EXPECT_EQ(SpeedPressure(), 100);
    EXPECT_EQ(SpeedPressure(), 255);
    ToolInvertPressure = 1;
    EXPECT_EQ(SpeedPressure(), 255); // the first still pass of a new run keeps the last value
    EXPECT_EQ(SpeedPressure(), 0);
}

TEST(MainLoop, PressureOfAMouseIsItsSpeedAndOfATabletMeasured) {
    HeadlessHost host(200, 200, 100, 100, 20, 20);
    ToolUsesPressure = 1;
    ToolUsesSpeed = 1;
    QueueButton(WM_LBUTTONDOWN, 30, 30);
    MainLoopPass();
    EXPECT_EQ(PressureHigh, PressureLow); // a mouse: speed stands in for both
    EXPECT_EQ(StrokePressure, PressureHigh);
    TabletPacket p;
    p.X = 40 << 16;
    p.Y = 40 << 16;
    p.Pressure = 512;
    p.PressureMax = 1023;
    HeadlessQueueTablet(p);
    HeadlessQueuePointer(40, 40);
    MainLoopPass();
    EXPECT_EQ(PressureHigh, 128); // (512 * 255 + 511) / 1023 through the identity curve
    EXPECT_EQ(PressureLow, 128);
    EXPECT_EQ(StrokePressure, 128);
}

namespace {
int IdleRuns = 0;
// Counts its runs, and makes the user press a key so that the idle wait ends.
void CountIdle() {
    IdleRuns++;
    HeadlessQueueKey('Q', 0, true);
}
} // namespace

TEST(MainLoop, IdleRowsNeverRunDuringAStrokeAndRunWhenIdle) {
    HeadlessHost host(200, 200, 100, 100, 20, 20);
    IdleRefreshTable[3].Function = CountIdle;
    QueueButton(WM_LBUTTONDOWN, 30, 30);
    MainLoopPass();
    ASSERT_EQ(LeftHeld, 1);
    // A stroke that lasts over a second: each pass sleeps for the next message.
    double start = PlatformSeconds();
    while (PlatformSeconds() - start < 0.7) {
        HeadlessQueuePointer(31, 31);
        MainLoopPass();
        PageVersion++;
    }
    EXPECT_EQ(IdleRuns, 0);
    QueueButton(WM_LBUTTONUP, 31, 31);
    MainLoopPass();
    // Idle now: the wait runs the row once its half second has passed, then a key ends it.
    PageVersion++;
    MainLoopPass();
    EXPECT_EQ(IdleRuns, 1);
    EXPECT_EQ(IdleRefreshTable[3].LastSum, PageVersion);
    IdleRefreshTable[3].Function = nullptr;
}

TEST(MainLoop, CloseRequestDuringAStrokeQuitsAtTheEndOfThePass) {
    HeadlessHost host(200, 200, 100, 100, 20, 20);
    QueueButton(WM_LBUTTONDOWN, 30, 30);
    MainLoopPass();
    QueueNative(WM_CLOSE);
    HeadlessQueuePointer(32, 32);
    MainLoopPass();
    EXPECT_EQ(QuitFlag, 1);
    EXPECT_EQ(CloseRequest, 0);
}

TEST(MainLoop, StrokeReachesThePageAndTheScreenAndEndsAtTheRelease) {
    HeadlessHost host(200, 200, 100, 100, 40, 50);
    ClearBitmap(Page, 0xFFFFFFFF);
    RefreshAll();
    APen = 0xFFFF0000;
    RoundPen.PressureOn = RoundPen.SpeedOn = 0;
    SetPen(PenRound);
    SetPenSize(0); // one pixel
    SelectToolMode(TOOL_FREEHAND);
    HeadlessQueuePointer(45, 55);
    QueueButton(WM_LBUTTONDOWN, 45, 55);
    HeadlessQueuePointer(46, 55);
    HeadlessQueuePointer(48, 57);
    for (int i = 0; i < 4 && HeadlessPending(); i++) MainLoopPass();
    QueueButton(WM_LBUTTONUP, 48, 57);
    HeadlessQueuePointer(60, 60); // after the release: nothing more is painted
    for (int i = 0; i < 4 && HeadlessPending(); i++) MainLoopPass();
    EXPECT_EQ(Page->Pixels[5 * 100 + 5], 0xFFFF0000u);
    EXPECT_EQ(Page->Pixels[7 * 100 + 8], 0xFFFF0000u);
    EXPECT_EQ(Page->Pixels[10 * 100 + 20], 0xFFFFFFFFu);
    EXPECT_EQ(ScreenPixel(45, 55), 0xFFFF0000u);
    EXPECT_EQ(ScreenPixel(48, 57), 0xFFFF0000u);
    EXPECT_EQ(ScreenPixel(60, 60), 0xFFFF0000u); // only the ghost of the one-pixel pen
}

TEST(MainLoop, HooksAndInputLock) {
    HeadlessHost host(200, 200, 100, 100, 20, 20);
    static int ended = 0;
    SetPointerHook([]() { return 0; }, []() { ended++; });
    ToolIsPassive = 1;
    QueueButton(WM_LBUTTONDOWN, 30, 30);
    MainLoopPass();
    EXPECT_EQ(Page->Pixels[10 * 100 + 10], 0u); // the hook took the tool phase
    SetPointerHook(nullptr, nullptr);
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(ToolIsPassive, 0);
    SetPointerShape(0);
    LockInput();
    EXPECT_EQ(HeadlessPointerShape(), 2);
    HeadlessSetQualifiers(QUAL_SHIFT | QUAL_CTRL);
    HeadlessQueueKey(VK_SHIFT, 0);
    PumpAndDispatch(0);
    EXPECT_EQ(InputLocked, 0);
    EXPECT_EQ(HeadlessPointerShape(), 0); // the shape from before the lock
}

TEST(MainLoop, SpaceEndsADisplayHold) {
    HeadlessHost host(200, 200, 100, 100, 20, 20);
    ClearBitmap(Page, 0xFF00FF00);
    DisplayHold = 1;
    HeadlessQueueKey('X', 'x');
    PumpAndDispatch(1);
    EXPECT_EQ(DisplayHold, 1);
    HeadlessQueueKey(VK_SPACE, ' ');
    PumpAndDispatch(1);
    EXPECT_EQ(DisplayHold, 0);
    EXPECT_EQ(ScreenPixel(25, 25), 0xFF00FF00u);
}

TEST(MainLoop, MainPanelPositionIsClampedToTheScreen) {
    HeadlessHost host(1024, 768, 100, 100, 20, 20);
    ConfigSet("Main", "WIN_X", "5000");
    ConfigSet("Main", "WIN_Y", "-40");
    ReadMainSettings();
    EXPECT_EQ(MainPanelX, 896);
    EXPECT_EQ(MainPanelY, 0);
    ConfigSet("Main", "WIN_X", "");
    ConfigSet("Main", "Mouse", "9");
    ReadMainSettings();
    EXPECT_EQ(MainPanelX, (1024 - 128) / 2);
    EXPECT_EQ(MouseStyle, 3);
    LoadProfile(nullptr);
}

TEST(Startup, InterfaceColoursAreLimitedKeptAndGiveTheSurround) {
    HeadlessHost host(200, 200, 50, 50, 20, 20);
    uint32_t saved[SC_COUNT];
    std::copy(SysColour, SysColour + SC_COUNT, saved);
    ConfigSet("SysColors", "LAYOUTBACKGROUNDCOLOR", "1 2 300");
    ConfigSet("SysColors", "INFOAREACOLOR", "-4 5 6");
    ReadSysColours();
    EXPECT_EQ(SysColour[SC_LAYOUTBACKGROUND], 0xFF0102FFu);
    EXPECT_EQ(SysColour[SC_INFOAREA], 0xFF000506u);
    EXPECT_EQ(SysColour[SC_TITLEBAR], saved[SC_TITLEBAR]) << "a missing key keeps the colour held";
    EXPECT_EQ(ScreenPixel(2, 2), 0xFF0102FFu) << "the surround is repainted at once";
    LoadProfile(nullptr);
    SaveSysColours();
    char text[32];
    ConfigGet("SysColors", "INFOAREACOLOR", text, "", sizeof text);
    EXPECT_STREQ(text, "0 5 6");
    ConfigGet("SysColors", SysColourKey(SC_COLORPENTEXTBOX), text, "", sizeof text);
    EXPECT_STREQ(text, "0 0 0");
    LoadProfile(nullptr);
    std::copy(saved, saved + SC_COUNT, SysColour);
}

TEST(Startup, BadMachineFilesGiveTheDefaults) {
    static const char binary[] = "\x01\x02\x00\xff\xfe binary\n\x00\x00[STARTUP\nBORDER=0\n";
    const std::string bad[] = {"", std::string(binary, sizeof binary - 1), "BORDER=0\n"};
    for (const std::string& text : bad) {
        std::string dir = std::string(std::getenv("XDG_CONFIG_HOME")) + "/nemu";
        SetupPlaces();
        CloseConfig(MachineConfig);
        MachineConfig = nullptr;
        WriteFile(dir + "/Nemu.INI", text);
        ASSERT_EQ(SetupPlaces(), 1);
        char value[64];
        StartupGet("BORDER", value, "1", sizeof value);
        EXPECT_STREQ(value, "1");
        CloseConfig(MachineConfig);
        MachineConfig = nullptr;
    }
    EXPECT_EQ(TempDir, std::string(std::getenv("XDG_CACHE_HOME")) + "/nemu/");
    EXPECT_EQ(HomePath("a/b"), HomeDir + "/a/b");
    EXPECT_EQ(HomePath("/abs"), "/abs");
}

TEST(Startup, FirstStartWritesTheMachineFileAndALuminanceTable) {
    std::string ini = std::string(std::getenv("XDG_CONFIG_HOME")) + "/nemu/Nemu.INI";
    std::remove(ini.c_str());
    SetupPlaces();
    EXPECT_NE(ReadFile(ini).find("[STARTUP]"), std::string::npos);
    CloseConfig(MachineConfig);
    MachineConfig = nullptr;
    BuildLumaTables();
    EXPECT_EQ((LumaRed[255] + LumaGreen[255] + LumaBlue[255]) >> 16, 255u);
    EXPECT_EQ((LumaRed[0] + LumaGreen[128] + LumaBlue[0]) >> 16, 75u);
}

TEST(Startup, AppStartBuildsAPlacedPageAndCleanupLeavesNothing) {
    uint32_t before = MemoryInUse;
    SetupPlaces();
    StartPageWidth = 320;
    StartPageHeight = 200;
    ASSERT_EQ(AppStart(), 0);
    EXPECT_EQ(PageWidth, 320);
    EXPECT_EQ(PageNotReady, 0);
    EXPECT_EQ(APen, 0xFFFF0000u);
    EXPECT_EQ(PageX, (1024 - 320) / 2);
    EXPECT_STRNE(RemoteSocketPath(), "");
    EXPECT_EQ(ScreenPixel(PageX, PageY), 0u); // a cleared page, shown as it is
    Cleanup();
    Cleanup(); // twice is harmless
    EXPECT_EQ(MemoryInUse, before);
    EXPECT_EQ(Screen, nullptr);
    // A first start takes the default profile, in a folder of its own.
    EXPECT_STREQ(LastConfig, DefaultProfileName);
    ASSERT_NE(CurrentConfig, nullptr);
    EXPECT_EQ(CurrentConfig->Path, ProfilePath(DefaultProfileName));
    struct stat st;
    EXPECT_EQ(stat((HomeDir + "/configs").c_str(), &st), 0);
    LoadProfile(nullptr);
    LastConfig[0] = 0;
    CloseConfig(MachineConfig);
    MachineConfig = nullptr;
    CatalogFreeAll();
}
