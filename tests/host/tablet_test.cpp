#include "host/tablet.h"

#include "host_fixture.h"
#include "paint/tool_fixture.h"
#include "support/temp_files.h"
#include "ui/settings.h"

using namespace nemu;

namespace {
struct Merged {
    int32_t X = 0, Y = 0, High = -1, Low = -1, Azimuth = 0, Altitude = 0, Flag = 0;
    int Result = 0;
};
Merged Merge() {
    Merged m;
    m.Result = TabletMerge(&m.X, &m.Y, &m.High, &m.Low, nullptr, &m.Azimuth, &m.Altitude, &m.Flag);
    return m;
}
} // namespace

TEST(Tablet, WithoutATabletNoPressureIsKnown) {
    HeadlessHost host(100, 100, 20, 20, 10, 10);
    Merged m = Merge();
    EXPECT_EQ(m.High, 255);
    EXPECT_EQ(m.Low, 0);
    EXPECT_EQ(m.Flag, 0);
    ForceTablet = 1;
    m = Merge();
    EXPECT_EQ(m.Flag, 1);
    EXPECT_EQ(m.High, 255);
    EXPECT_EQ(m.Low, 0);
}

TEST(Tablet, PacketsGiveMeasuredPressureAndTenRecordsBridgeAGap) {
    HeadlessHost host(100, 100, 20, 20, 10, 10);
    TabletPacket p;
    p.X = (12 << 16) + 0x1234;
    p.Y = 7 << 16;
    p.PressureMin = 100;
    p.PressureMax = 1123;
    p.Altitude = 300;
    struct Case {
        int32_t Raw, Expected;
    } cases[] = {{50, 0}, {100, 0}, {612, 128}, {1123, 255}, {5000, 255}};
    for (const Case& c : cases) {
        p.Pressure = c.Raw;
        HeadlessQueueTablet(p);
        Merged m = Merge();
        EXPECT_EQ(m.High, c.Expected) << c.Raw;
        EXPECT_EQ(m.Low, c.Expected) << c.Raw;
        EXPECT_EQ(m.Flag, 1);
        EXPECT_EQ(m.X, (12 << 16) + 0x1234);
        EXPECT_EQ(m.Altitude, 600);
    }
    p.Pressure = 612;
    HeadlessQueueTablet(p);
    Merge();
    for (int i = 0; i < 10; i++) {
        Merged m = Merge();
        EXPECT_EQ(m.High, 128) << i;
        EXPECT_EQ(m.Low, 128) << i;
    }
    Merged eleventh = Merge();
    EXPECT_EQ(eleventh.High, 255);
    EXPECT_EQ(eleventh.Low, 0);
}

// ---- Through the main loop to the paint -----------------------------------------------------------

namespace {
using nemu::test::Red;
using nemu::test::ToolHost;
using nemu::test::White;

// A tablet sample at page position (x, y) with raw pressure on a 0..1023 axis, then the
// record it rides on, one pass.
void PenAt(uint32_t message, int x, int y, int32_t raw, uint32_t cursor = 0) {
    TabletPacket p;
    p.X = (x + nemu::test::PageLeft) << 16;
    p.Y = (y + nemu::test::PageTop) << 16;
    p.Pressure = raw;
    p.PressureMax = 1023;
    p.Cursor = cursor;
    HeadlessQueueTablet(p);
    ToolHost::Send(message, x, y);
}

// The one-pixel pen in `stamp` mode takes the dab's opacity as it is given.
void OpacityPen() {
    PointePen.PressureOn = 1;
    SetPen(PenPointe);
    SetDrawMode(1);
}

// White towards red by the opacity o.
uint32_t RedAt(int o) {
    uint32_t gb = uint32_t(255 - Mul(255, o));
    return 0xFFFF0000u | gb << 8 | gb;
}
} // namespace

TEST(TabletStroke, PressureSetsTheDabsOpacity) {
    ToolHost host;
    OpacityPen();
    SelectToolMode(TOOL_DOT);
    PenAt(WM_LBUTTONDOWN, 5, 5, 512); // (512 * 255 + 511) / 1023 = 128
    EXPECT_EQ(PressureHigh, 128);
    EXPECT_EQ(ToolHost::At(5, 5), RedAt(128));
    PenAt(WM_MOUSEMOVE, 9, 5, 1023);
    EXPECT_EQ(ToolHost::At(9, 5), RedAt(255));
    PenAt(WM_LBUTTONUP, 9, 5, 0);
    // The response curve lies between the device and the pen.
    MakeCurve(255, 0, PressureCurve);
    PenAt(WM_LBUTTONDOWN, 12, 5, 512);
    EXPECT_EQ(PressureHigh, PressureCurve[128]);
    EXPECT_EQ(ToolHost::At(12, 5), RedAt(PressureCurve[128]));
    PenAt(WM_LBUTTONUP, 12, 5, 0);
}

TEST(TabletStroke, AFreehandStrokeFadesAsThePenLifts) {
    ToolHost host;
    OpacityPen();
    const int raw[] = {1023, 1023, 800, 600, 400, 200, 0};
    PenAt(WM_LBUTTONDOWN, 2, 5, raw[0]);
    for (int i = 1; i < 7; i++) PenAt(WM_MOUSEMOVE, 2 + 5 * i, 5, raw[i]);
    PenAt(WM_LBUTTONUP, 32, 5, 0);
    EXPECT_EQ(ToolHost::At(2, 5), RedAt(255));
    for (int x = 8; x < 31; x++) EXPECT_LE(ToolHost::At(x, 5) & 0xFF, ToolHost::At(x + 1, 5) & 0xFF) << x;
    EXPECT_GT(ToolHost::At(30, 5) & 0xFF, 200u);
}

TEST(TabletStroke, PressureSetsTheRoundPensSize) {
    ToolHost host;
    RoundPen.PressureOn = 1;
    RoundPen.PenMaxSize = 8;
    SetPen(PenRound);
    SetPenSize(1);
    SelectToolMode(TOOL_DOT);
    PenAt(WM_LBUTTONDOWN, 10, 10, 1023); // size 255: the radius grows to PenMaxSize
    PenAt(WM_LBUTTONUP, 10, 10, 0);
    EXPECT_EQ(ToolHost::At(10, 16), Red);
    EXPECT_EQ(ToolHost::At(10, 19), White);
    PenAt(WM_LBUTTONDOWN, 30, 10, 0); // size 0: the pen's own radius
    PenAt(WM_LBUTTONUP, 30, 10, 0);
    EXPECT_EQ(ToolHost::At(30, 11), Red);
    EXPECT_EQ(ToolHost::At(30, 13), White);
}

TEST(TabletStroke, TheSecondEndPaintsAsTheRightButton) {
    ToolHost host;
    OpacityPen();
    SelectToolMode(TOOL_DOT);
    PenAt(WM_LBUTTONDOWN, 5, 5, 1023, 2);
    EXPECT_EQ(RightHeld, 1);
    EXPECT_EQ(LeftHeld, 0);
    EXPECT_EQ(ToolHost::At(5, 5), 0u); // the second colour of a pen removes paint
    PenAt(WM_LBUTTONUP, 5, 5, 0, 2);
    EXPECT_EQ(RightHeld, 0);
}

TEST(TabletStroke, WithTabletNoThePenIsAMouse) {
    ToolHost host;
    OpacityPen();
    SelectToolMode(TOOL_DOT);
    TabletDisabled = 1;
    PenAt(WM_LBUTTONDOWN, 5, 5, 300);
    EXPECT_EQ(PressureHigh, 255);
    EXPECT_EQ(TabletActive, 0);
    EXPECT_EQ(ToolHost::At(5, 5), Red);
}

TEST(TabletStroke, ADeviceChangeReadsTheAxesAgain) {
    ToolHost host;
    ToolUsesPressure = 1;
    PenAt(WM_MOUSEMOVE, 5, 5, 100);
    EXPECT_EQ(LastCursor, 0);
    EXPECT_EQ(NormalRange, 1023);
    QueueNative(WT_INFOCHANGE);
    DrainInput();
    EXPECT_EQ(LastCursor, -1);
    TabletPacket p;
    p.Pressure = 2048;
    p.PressureMin = 0;
    p.PressureMax = 4096; // a device of another range
    HeadlessQueueTablet(p);
    ToolHost::Move(6, 5);
    EXPECT_EQ(NormalRange, 4096);
    EXPECT_EQ(PressureHigh, 128);
}

// ---- The start-up keys ------------------------------------------------------------------------------

namespace {
struct SeenAtStart {
    int32_t Force = -1, Disabled = -1, Mode = -1, PenNumber = -1, Radius = -1, Flag = -1, High = -1;
    bool CurvesStraight = false;
};
SeenAtStart Seen;

void LookAtStart() {
    Seen.Force = ForceTablet;
    Seen.Disabled = TabletDisabled;
    Seen.Mode = ToolMode;
    Seen.PenNumber = Pen;
    Seen.Radius = RoundPen.PenRadius;
    Seen.CurvesStraight = true;
    for (int i = 0; i < 256; i++) Seen.CurvesStraight &= PressureCurve[i] == i && SpeedCurve[i] == i;
    TabletPacket p;
    p.Pressure = 10;
    p.PressureMax = 1023;
    HeadlessQueueTablet(p);
    HeadlessQueuePointer(5, 5);
    MainLoopPass();
    Seen.Flag = TabletActive;
    Seen.High = PressureHigh;
    QuitFlag = 1;
}
} // namespace

TEST(TabletStart, MachineKeysForceAndRefuseTheTablet) {
    // A whole start and end of the program: all it set is put back for the tests after.
    const SpineState spine;
    const nemu::test::PaintState paint;
    const int32_t width = StartPageWidth, height = StartPageHeight;
    ASSERT_EQ(SetupPlaces(), 1);
    CloseConfig(MachineConfig);
    MachineConfig = nullptr;
    std::string ini = std::string(std::getenv("XDG_CONFIG_HOME")) + "/nemu/Nemu.INI";
    WriteFile(ini, "[STARTUP]\nForceTablet=Yes\nTablet=NO\n");
    StartBackend = BACKEND_HEADLESS;
    StartPageWidth = 64, StartPageHeight = 48;
    HeadlessCloseWhenIdle(true);
    AfterStartHook = LookAtStart;
    EXPECT_EQ(ProgramStart(""), 0);
    EXPECT_EQ(Seen.Force, 1);
    EXPECT_EQ(Seen.Disabled, 1);
    EXPECT_EQ(Seen.Flag, 1);   // every record claims a tablet
    EXPECT_EQ(Seen.High, 255); // and none is read
    // The start tool and pen, and the curves from their start values.
    EXPECT_EQ(Seen.Mode, TOOL_FREEHAND);
    EXPECT_EQ(Seen.PenNumber, PenRound);
    EXPECT_EQ(Seen.Radius, 3);
    EXPECT_TRUE(Seen.CurvesStraight);
    unlink(ini.c_str());
    AfterStartHook = nullptr;
    HeadlessCloseWhenIdle(false);
    StartPageWidth = width, StartPageHeight = height;
    spine.Restore();
    paint.Restore();
}
