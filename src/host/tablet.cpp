// Tablet merge: with no tablet every record says "no pressure known" (255 and 0); with
// one, the first waiting packet gives the true position and a pressure pair of two equal
// values, which the main loop takes as measured.
#include "host/tablet.h"

#include "host/main_loop.h"

#include <cstdint>

namespace nemu {

int32_t ForceTablet = 0;
int32_t TabletDisabled = 0;
int32_t HeldPressure = 0;
int32_t HeldCount = 0;
int32_t LastCursor = -1;
int32_t NormalBase = 0, NormalRange = 0;

// Packets taken at once; the rest of a burst is dropped, as the device reports far faster
// than records are made.
constexpr int PacketBurst = 32;
// Records without a packet that keep the last pressure, bridging gaps in the stream.
constexpr int32_t HeldRecords = 10;

void TabletInfoChanged() {
    LastCursor = -1;
}

// The pressure axis of the cursor in use. Each packet carries its device's axis, so a
// second tablet, the pen's other end, or a device that changed is read from the packet.
static void ReadAxes(const TabletPacket& p) {
    int64_t range = int64_t(p.PressureMax) - p.PressureMin;
    if (int32_t(p.Cursor) == LastCursor && p.PressureMin == NormalBase && range == NormalRange) return;
    NormalBase = p.PressureMin;
    NormalRange = range > 0 && range <= INT32_MAX ? int32_t(range) : 0;
    LastCursor = int32_t(p.Cursor);
}

// The raw pressure on 0..255 by a rounded multiply and divide; 0 without a range.
static int32_t RawPressure(const TabletPacket& p) {
    if (NormalRange <= 0) return 0;
    int64_t range = NormalRange;
    int64_t v = ((int64_t(p.Pressure) - NormalBase) * 255 + range / 2) / range;
    if (v < 0) return 0;
    if (v > 255) return 255;
    return int32_t(v);
}

int TabletMerge(int32_t* x, int32_t* y, int32_t* pressureHigh, int32_t* pressureLow, const NativeMsg* native,
                int32_t* azimuth, int32_t* altitude, int32_t* flag) {
    (void)native;
    *pressureHigh = 255;
    *pressureLow = 0;
    if (ForceTablet) *flag = 1;
    if (TabletDisabled || !PlatformTabletPresent()) return 0;

    TabletPacket packets[PacketBurst];
    int n = PlatformTabletPackets(packets, PacketBurst);
    if (n <= 0) {
        if (HeldCount > 0) {
            HeldCount--;
            *pressureHigh = *pressureLow = HeldPressure;
            *flag = 1;
        }
        return 0;
    }
    const TabletPacket& p = packets[0];
    int ox = 0, oy = 0;
    PlatformClientOrigin(&ox, &oy);
    auto fit = [](int64_t v) { return int32_t(v < INT32_MIN ? INT32_MIN : v > INT32_MAX ? INT32_MAX : v); };
    *x = fit(int64_t(p.X) - int64_t(ox) * 65536);
    *y = fit(int64_t(p.Y) - int64_t(oy) * 65536);
    ReadAxes(p);
    *azimuth = p.Azimuth;
    *altitude = 900 - p.Altitude;
    int32_t pressure = PressureCurve[RawPressure(p)];
    *pressureHigh = *pressureLow = HeldPressure = pressure;
    HeldCount = HeldRecords;
    *flag = 1;
    return int(p.Cursor & ~1u);
}

} // namespace nemu
