// Pen tablets through XInput 2: which slave pointers report pressure, and the packets
// made from their events for the tablet merge.
//
// Sections: conversions; packets; devices.
#include "host/x11_platform.h"

#include <X11/Xatom.h>
#include <X11/extensions/XInput2.h>
#include <cctype>
#include <climits>
#include <cmath>

namespace nemu {

namespace {
struct TabletState {
    std::vector<TabletDevice> Devices;
    std::deque<TabletPacket> Packets; // oldest first, the newest TabletQueueLimit kept
};
TabletState T;
} // namespace

// ---- Conversions ------------------------------------------------------------------------

int32_t CoordToFixed(double value) {
    double f = std::floor(value * 65536.0);
    if (!(f >= double(INT32_MIN))) return f < 0 ? INT32_MIN : 0; // NaN gives 0
    if (f > double(INT32_MAX)) return INT32_MAX;
    return int32_t(f);
}

static bool IsWholeInt(double v) {
    return std::floor(v) == v && std::fabs(v) < 2147483647.0;
}

void ScalePressure(double value, double min, double max, TabletPacket* packet) {
    packet->Pressure = packet->PressureMin = packet->PressureMax = 0;
    double range = max - min;
    if (!(range > 0) || !std::isfinite(range) || !std::isfinite(value)) return;
    double v = value < min ? min : value > max ? max : value;
    if (range >= 255 && IsWholeInt(min) && IsWholeInt(max)) {
        packet->Pressure = int32_t(std::lround(v));
        packet->PressureMin = int32_t(min);
        packet->PressureMax = int32_t(max);
        return;
    }
    packet->Pressure = int32_t(std::lround((v - min) / range * 65535.0));
    packet->PressureMax = 65535;
}

void TiltToOrientation(double tiltX, double tiltY, int32_t* azimuth, int32_t* altitude) {
    const double pi = 3.14159265358979323846;
    auto clampTilt = [](double t) {
        return !std::isfinite(t) ? 0.0 : t > 89.9 ? 89.9 : t < -89.9 ? -89.9 : t;
    };
    // The pen's top leans by tan(tilt) in each direction for a unit of height.
    double ax = std::tan(clampTilt(tiltX) * pi / 180), ay = std::tan(clampTilt(tiltY) * pi / 180);
    double lean = std::hypot(ax, ay);
    *altitude = int32_t(std::lround(std::atan2(1.0, lean) * 1800.0 / pi));
    if (lean == 0) {
        *azimuth = 0;
        return;
    }
    double az = std::atan2(ax, -ay) * 1800.0 / pi; // screen rows grow downward
    int32_t a = int32_t(std::lround(az < 0 ? az + 3600.0 : az));
    *azimuth = a >= 3600 ? a - 3600 : a;
}

double TiltDegrees(double value, const TabletAxis& axis) {
    if (std::fabs(axis.Min) <= 90 && std::fabs(axis.Max) <= 90) return value;
    double half = (axis.Max - axis.Min) / 2;
    if (!(half > 0)) return 0;
    return (value - (axis.Min + axis.Max) / 2) / half * 60.0;
}

bool IsEraserName(const char* name) {
    static const char Word[] = "eraser";
    for (const char* p = name; p && *p; p++) {
        size_t k = 0;
        while (Word[k] && p[k] && std::tolower(static_cast<unsigned char>(p[k])) == Word[k]) k++;
        if (!Word[k]) return true;
    }
    return false;
}

// ---- Packets ------------------------------------------------------------------------------

static double AxisValue(const TabletDevice& d, const TabletAxis& axis) {
    if (axis.Number < 0 || size_t(axis.Number) >= d.Last.size()) return axis.Min;
    return d.Last[size_t(axis.Number)];
}

void MakeTabletPacket(TabletDevice* device, const unsigned char* mask, int maskBytes, const double* values,
                      double rootX, double rootY, uint32_t buttons, TabletPacket* packet) {
    // Values come packed, one for each set bit of the mask in order.
    int k = 0;
    for (int bit = 0; bit < maskBytes * 8; bit++) {
        if (!(mask[bit >> 3] & (1u << (bit & 7)))) continue;
        double v = values[k++];
        if (size_t(bit) < device->Last.size()) device->Last[size_t(bit)] = v;
    }
    *packet = TabletPacket{};
    packet->Cursor = device->Eraser ? 2 : 0;
    packet->Buttons = buttons;
    packet->X = CoordToFixed(rootX);
    packet->Y = CoordToFixed(rootY);
    ScalePressure(AxisValue(*device, device->Pressure), device->Pressure.Min, device->Pressure.Max, packet);
    if (device->TiltX.Number >= 0 && device->TiltY.Number >= 0)
        TiltToOrientation(TiltDegrees(AxisValue(*device, device->TiltX), device->TiltX),
                          TiltDegrees(AxisValue(*device, device->TiltY), device->TiltY), &packet->Azimuth,
                          &packet->Altitude);
}

void X11QueuePacket(const TabletPacket& packet) {
    if (T.Packets.size() >= TabletQueueLimit) T.Packets.pop_front();
    T.Packets.push_back(packet);
}

bool X11TabletPresent() {
    return !T.Devices.empty();
}

int X11TabletPackets(TabletPacket* out, int max) {
    int n = 0;
    while (n < max && !T.Packets.empty()) {
        out[n++] = T.Packets.front();
        T.Packets.pop_front();
    }
    return n;
}

// ---- Devices ------------------------------------------------------------------------------

// A device property that names the tool (the Wacom driver sets one) may say eraser even
// where the device name does not.
static bool ToolTypeIsEraser(int id) {
    Atom type = None;
    int format = 0;
    unsigned long count = 0, after = 0;
    unsigned char* data = nullptr;
    X11Trap();
    Status s = XIGetProperty(X11.Dpy, id, X11.Atoms[A_WACOM_TOOL_TYPE], 0, 1, False, XA_ATOM, &type, &format,
                             &count, &after, &data);
    bool failed = X11Untrap() != 0;
    bool eraser = !failed && s == Success && data && type == XA_ATOM && format == 32 && count == 1 &&
                  Atom(reinterpret_cast<unsigned long*>(data)[0]) == X11.Atoms[A_ERASER];
    if (data) XFree(data);
    return eraser;
}

static bool SameDevices(const std::vector<TabletDevice>& a, const std::vector<TabletDevice>& b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); i++)
        if (a[i].Id != b[i].Id || a[i].Name != b[i].Name || a[i].Eraser != b[i].Eraser ||
            a[i].Pressure.Number != b[i].Pressure.Number || a[i].Pressure.Max != b[i].Pressure.Max)
            return false;
    return true;
}

bool X11ScanTablets() {
    int count = 0;
    X11Trap();
    XIDeviceInfo* info = XIQueryDevice(X11.Dpy, XIAllDevices, &count);
    X11Untrap();
    std::vector<TabletDevice> found;
    for (int i = 0; info && i < count; i++) {
        const XIDeviceInfo& dev = info[i];
        if (dev.use != XISlavePointer) continue;
        TabletDevice d;
        d.Id = dev.deviceid;
        d.Name = dev.name ? dev.name : "";
        int valuators = 0;
        for (int c = 0; c < dev.num_classes; c++) {
            if (dev.classes[c]->type != XIValuatorClass) continue;
            const auto* v = reinterpret_cast<const XIValuatorClassInfo*>(dev.classes[c]);
            if (v->number < 0 || v->number >= 256) continue;
            TabletAxis axis;
            axis.Number = v->number, axis.Min = v->min, axis.Max = v->max;
            if (v->label == X11.Atoms[A_ABS_PRESSURE])
                d.Pressure = axis;
            else if (v->label == X11.Atoms[A_ABS_TILT_X])
                d.TiltX = axis;
            else if (v->label == X11.Atoms[A_ABS_TILT_Y])
                d.TiltY = axis;
            if (v->number + 1 > valuators) {
                valuators = v->number + 1;
                d.Last.resize(size_t(valuators), 0.0);
            }
            d.Last[size_t(v->number)] = v->value;
        }
        if (d.Pressure.Number < 0) continue;
        d.Eraser = IsEraserName(d.Name.c_str()) || ToolTypeIsEraser(d.Id);
        found.push_back(std::move(d));
    }
    if (info) XIFreeDeviceInfo(info);
    bool changed = !SameDevices(found, T.Devices);
    T.Devices = std::move(found);
    return changed;
}

TabletDevice* X11FindTablet(int deviceId) {
    for (auto& d : T.Devices)
        if (d.Id == deviceId) return &d;
    return nullptr;
}

void X11ClearTablets() {
    T = TabletState{};
}

} // namespace nemu
