// Pointer events to native messages: XInput 2 master-pointer events when the server has
// the extension (their source device says whether a tablet made them), core events
// otherwise.
#include "host/x11_platform.h"

#include <X11/extensions/XInput2.h>
#include <cmath>

namespace nemu {

namespace {
struct PointerState {
    bool Xi2 = false;
    int Opcode = -1; // XInput's major opcode, which its generic events carry
};
PointerState P;
} // namespace

// Win32 mouse-message flags in the low half of WParam: buttons held and qualifiers.
enum : uint32_t { MK_LBUTTON = 1, MK_RBUTTON = 2, MK_SHIFT = 4, MK_CONTROL = 8, MK_MBUTTON = 16 };

static int ClampCoord(double v) {
    if (!(v > -32768.0)) return -32768; // NaN too
    if (v > 32767.0) return 32767;
    return int(std::floor(v));
}

// Buttons held after the event, as a bit set with bit 0 for button 1.
static uint32_t ButtonsAfter(uint32_t before, int type, int button) {
    if (button < 1 || button > 32) return before;
    uint32_t bit = 1u << (button - 1);
    if (type == ButtonPress) return before | bit;
    if (type == ButtonRelease) return before & ~bit;
    return before;
}

static uintptr_t MouseFlags(uint32_t buttons) {
    uint32_t q = X11Qualifiers();
    uint32_t f = 0;
    if (buttons & 1) f |= MK_LBUTTON;
    if (buttons & 2) f |= MK_MBUTTON;
    if (buttons & 4) f |= MK_RBUTTON;
    if (q & 2) f |= MK_SHIFT;
    if (q & 4) f |= MK_CONTROL;
    return f;
}

// One pointer event, whichever way it came: type is MotionNotify, ButtonPress or
// ButtonRelease; positions are in the window and on the screen.
static void PointerMessage(int type, int button, uint32_t buttons, double wx, double wy, double rx,
                           double ry) {
    NativeMsg m;
    m.WParam = MouseFlags(buttons);
    m.LParam = MakePositionWord(ClampCoord(wx), ClampCoord(wy));
    if (type == MotionNotify) {
        m.Message = WM_MOUSEMOVE;
    } else if (button == 4 || button == 5) {
        // The wheel: one notch of 120, up positive; its position is on the screen, as the
        // wheel message has always carried it. Horizontal wheels (6, 7) are not reported.
        if (type != ButtonPress) return;
        int delta = button == 4 ? 120 : -120;
        m.Message = WM_MOUSEWHEEL;
        m.WParam = (uintptr_t(uint16_t(int16_t(delta))) << 16) | (m.WParam & 0xFFFF);
        m.LParam = MakePositionWord(ClampCoord(rx), ClampCoord(ry));
    } else if (button >= 1 && button <= 3) {
        static const uint32_t Down[3] = {WM_LBUTTONDOWN, WM_MBUTTONDOWN, WM_RBUTTONDOWN};
        static const uint32_t Up[3] = {WM_LBUTTONUP, WM_MBUTTONUP, WM_RBUTTONUP};
        m.Message = type == ButtonPress ? Down[button - 1] : Up[button - 1];
    } else {
        return;
    }
    X11Queue(m);
}

bool X11OpenPointer() {
    P = PointerState{};
    int event = 0, error = 0;
    if (!X11.NoXi2 && XQueryExtension(X11.Dpy, "XInputExtension", &P.Opcode, &event, &error)) {
        int major = 2, minor = 0;
        P.Xi2 = XIQueryVersion(X11.Dpy, &major, &minor) == Success && major >= 2;
    }
    if (!P.Xi2) {
        XWindowAttributes attr;
        if (!XGetWindowAttributes(X11.Dpy, X11.Win, &attr)) return false;
        XSelectInput(X11.Dpy, X11.Win,
                     attr.your_event_mask | ButtonPressMask | ButtonReleaseMask | PointerMotionMask);
        return true;
    }
    unsigned char bits[XIMaskLen(XI_HierarchyChanged)] = {};
    XIEventMask mask = {XIAllMasterDevices, int(sizeof bits), bits};
    XISetMask(bits, XI_Motion);
    XISetMask(bits, XI_ButtonPress);
    XISetMask(bits, XI_ButtonRelease);
    XISelectEvents(X11.Dpy, X11.Win, &mask, 1);
    unsigned char rootBits[XIMaskLen(XI_HierarchyChanged)] = {};
    XIEventMask rootMask = {XIAllDevices, int(sizeof rootBits), rootBits};
    XISetMask(rootBits, XI_HierarchyChanged);
    XISetMask(rootBits, XI_DeviceChanged);
    XISelectEvents(X11.Dpy, X11.Root, &rootMask, 1);
    X11ScanTablets();
    return true;
}

void X11ClosePointer() {
    X11ClearTablets();
    P = PointerState{};
}

void X11HandleCorePointer(XEvent* e) {
    if (e->type == MotionNotify) {
        const XMotionEvent& m = e->xmotion;
        if (m.window != X11.Win) return;
        X11TrackState(m.state);
        PointerMessage(MotionNotify, 0, (m.state >> 8) & 31, m.x, m.y, m.x_root, m.y_root);
        return;
    }
    const XButtonEvent& b = e->xbutton;
    if (b.window != X11.Win) return;
    X11TrackState(b.state);
    PointerMessage(b.type, int(b.button), ButtonsAfter((b.state >> 8) & 31, b.type, int(b.button)), b.x, b.y,
                   b.x_root, b.y_root);
}

void X11HandlePointerLeave(XEvent* e) {
    const XCrossingEvent& c = e->xcrossing;
    // A drag that leaves the window goes on out there; only a free pointer goes away.
    if (c.window != X11.Win || c.mode != NotifyNormal ||
        (c.state & (Button1Mask | Button2Mask | Button3Mask)))
        return;
    NativeMsg m;
    m.Message = WM_MOUSEMOVE;
    m.WParam = MouseFlags(0);
    m.LParam = MakePositionWord(PointerAwayCoord, PointerAwayCoord);
    X11Queue(m);
}

static uint32_t MaskBits(const XIButtonState& state) {
    uint32_t bits = 0;
    // Bit n of the mask is button n; bit 0 means nothing.
    for (int n = 1; n <= 32 && n < state.mask_len * 8; n++)
        if (XIMaskIsSet(state.mask, n)) bits |= 1u << (n - 1);
    return bits;
}

static void OnDeviceEvent(const XIDeviceEvent* ev) {
    if (ev->event != X11.Win) return;
    if (ev->time) X11.LastTime = ev->time;
    X11TrackState(unsigned(ev->mods.effective));
    int type = ev->evtype == XI_Motion        ? MotionNotify
               : ev->evtype == XI_ButtonPress ? ButtonPress
                                              : ButtonRelease;
    int button = type == MotionNotify ? 0 : ev->detail;
    uint32_t buttons = ButtonsAfter(MaskBits(ev->buttons), type, button);
    // The packet goes first, so that it is there when the message asks for it.
    if (TabletDevice* tablet = X11FindTablet(ev->sourceid)) {
        TabletPacket packet;
        MakeTabletPacket(tablet, ev->valuators.mask, ev->valuators.mask_len, ev->valuators.values, ev->root_x,
                         ev->root_y, buttons, &packet);
        X11QueuePacket(packet);
    }
    PointerMessage(type, button, buttons, ev->event_x, ev->event_y, ev->root_x, ev->root_y);
}

void X11HandleGeneric(XEvent* e) {
    XGenericEventCookie* cookie = &e->xcookie;
    if (!P.Xi2 || cookie->extension != P.Opcode) return;
    if (!XGetEventData(X11.Dpy, cookie)) return;
    switch (cookie->evtype) {
    case XI_Motion:
    case XI_ButtonPress:
    case XI_ButtonRelease:
        OnDeviceEvent(static_cast<const XIDeviceEvent*>(cookie->data));
        break;
    case XI_DeviceChanged:
        // A master takes on each slave's axes in turn; only a real change needs a scan.
        if (static_cast<const XIDeviceChangedEvent*>(cookie->data)->reason != XIDeviceChange) break;
        [[fallthrough]];
    case XI_HierarchyChanged:
        if (X11ScanTablets()) {
            NativeMsg m;
            m.Message = WT_INFOCHANGE;
            X11Queue(m);
        }
        break;
    default:
        break;
    }
    XFreeEventData(X11.Dpy, cookie);
}

} // namespace nemu
