#include "host/tablet.h"

#include "host_fixture.h"

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
