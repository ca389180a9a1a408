// The main window's dealings with the window manager and the pointer: shapes, warp,
// title, iconify, full screen, stacking, bell, where the client area lies.
#include "host/x11_platform.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <X11/cursorfont.h>
#include <cstdlib>
#include <cstring>

namespace nemu {

// The program's pointer numbers and the cursor-font glyphs that show them.
struct ShapeRow {
    int Shape;
    unsigned Glyph;
};
static const ShapeRow ShapeTable[] = {
    {0, XC_left_ptr},          // the normal arrow
    {1, XC_crosshair},         // the tool pointer
    {2, XC_watch},             // busy
    {6, XC_tcross},            // the thin tool cross
    {7, XC_pencil},            // the pen
    {5, XC_sb_h_double_arrow}, // dragging a value sideways
    {8, XC_sb_h_double_arrow}, // a panel's left or right edge
    {9, XC_sb_v_double_arrow}, // its top or bottom edge
    {10, XC_top_right_corner}, // the corners that resize along the other diagonal
    {11, XC_bottom_right_corner},
};

void X11SetPointerShape(int shape) {
    if (!X11.Dpy || shape == X11.Shape) return;
    X11.Shape = shape;
    for (size_t i = 0; i < sizeof ShapeTable / sizeof ShapeTable[0]; i++) {
        if (ShapeTable[i].Shape != shape) continue;
        Cursor& c = X11.Cursors[i];
        if (!c) c = XCreateFontCursor(X11.Dpy, ShapeTable[i].Glyph);
        if (c) XDefineCursor(X11.Dpy, X11.Win, c);
        XFlush(X11.Dpy);
        return;
    }
    // None set, or a number without a glyph: the desktop's own pointer.
    XUndefineCursor(X11.Dpy, X11.Win);
    XFlush(X11.Dpy);
}

void X11WarpPointer(int x, int y) {
    if (!X11.Dpy) return;
    XWarpPointer(X11.Dpy, None, X11.Win, 0, 0, 0, 0, x, y);
    XFlush(X11.Dpy);
}

void X11SetTitle(const char* title) {
    if (!X11.Dpy) return;
    const char* t = title ? title : "";
    int n = int(std::strlen(t));
    // The UTF-8 name for window managers that read it, the plain one for the others.
    XChangeProperty(X11.Dpy, X11.Win, X11.Atoms[A_NET_WM_NAME], X11.Atoms[A_UTF8_STRING], 8, PropModeReplace,
                    reinterpret_cast<const unsigned char*>(t), n);
    XStoreName(X11.Dpy, X11.Win, t);
    XFlush(X11.Dpy);
}

void X11Iconify() {
    if (!X11.Dpy) return;
    XIconifyWindow(X11.Dpy, X11.Win, X11.ScreenNumber);
    XFlush(X11.Dpy);
}

void X11Raise() {
    if (!X11.Dpy) return;
    XRaiseWindow(X11.Dpy, X11.Win);
    XFlush(X11.Dpy);
}

void X11Lower() {
    if (!X11.Dpy) return;
    XLowerWindow(X11.Dpy, X11.Win);
    XFlush(X11.Dpy);
}

void X11Beep() {
    if (!X11.Dpy) return;
    XBell(X11.Dpy, 0);
    XFlush(X11.Dpy);
}

// A window manager proves it runs by a check window that names itself; a property left
// on the root by one that has gone does not count.
bool X11HasWindowManager() {
    Atom check = X11.Atoms[A_NET_SUPPORTING_WM_CHECK];
    Atom type;
    int format;
    unsigned long count, after;
    unsigned char* data = nullptr;
    Window w = 0;
    if (XGetWindowProperty(X11.Dpy, X11.Root, check, 0, 1, False, XA_WINDOW, &type, &format, &count, &after,
                           &data) == Success &&
        data && format == 32 && count == 1)
        w = Window(reinterpret_cast<unsigned long*>(data)[0]);
    if (data) XFree(data);
    if (!w) return false;
    data = nullptr;
    Window again = 0;
    X11Trap();
    if (XGetWindowProperty(X11.Dpy, w, check, 0, 1, False, XA_WINDOW, &type, &format, &count, &after,
                           &data) == Success &&
        data && format == 32 && count == 1)
        again = Window(reinterpret_cast<unsigned long*>(data)[0]);
    if (data) XFree(data);
    bool bad = X11Untrap() != 0;
    return !bad && again == w;
}

void X11SetFullScreen(bool on) {
    if (!X11.Dpy || on == X11.FullScreen) return;
    X11.FullScreen = on;
    Atom state = X11.Atoms[A_NET_WM_STATE], full = X11.Atoms[A_NET_WM_STATE_FULLSCREEN];
    if (X11HasWindowManager()) {
        X11.ManualFullScreen = false;
        if (!X11.Mapped) {
            // Not shown yet: the manager reads the state when it maps the window.
            XChangeProperty(X11.Dpy, X11.Win, state, XA_ATOM, 32, on ? PropModeAppend : PropModeReplace,
                            reinterpret_cast<unsigned char*>(&full), on ? 1 : 0);
        } else {
            XEvent e = {};
            e.xclient.type = ClientMessage;
            e.xclient.window = X11.Win;
            e.xclient.message_type = state;
            e.xclient.format = 32;
            e.xclient.data.l[0] = on ? 1 : 0; // add or remove
            e.xclient.data.l[1] = long(full);
            e.xclient.data.l[3] = 1; // a normal application asks
            XSendEvent(X11.Dpy, X11.Root, False, SubstructureNotifyMask | SubstructureRedirectMask, &e);
        }
    } else if (on) {
        // Nobody manages the windows: cover the screen by hand, and remember the place.
        X11.ManualFullScreen = true;
        X11.SavedX = X11.OriginX, X11.SavedY = X11.OriginY;
        X11.SavedWidth = X11.Width, X11.SavedHeight = X11.Height;
        XMoveResizeWindow(X11.Dpy, X11.Win, 0, 0, unsigned(X11.ScreenWidth), unsigned(X11.ScreenHeight));
        XRaiseWindow(X11.Dpy, X11.Win);
    } else if (X11.ManualFullScreen) {
        X11.ManualFullScreen = false;
        XMoveResizeWindow(X11.Dpy, X11.Win, X11.SavedX, X11.SavedY, unsigned(X11.SavedWidth),
                          unsigned(X11.SavedHeight));
    }
    XFlush(X11.Dpy);
}

void X11WindowStateChanged() {
    if (X11.ManualFullScreen) return;
    // The window manager may change the state itself (a key of its own, a menu).
    std::vector<Atom> state;
    X11ReadAtoms(X11.Win, X11.Atoms[A_NET_WM_STATE], 64, &state);
    bool full = false;
    for (Atom a : state) full |= a == X11.Atoms[A_NET_WM_STATE_FULLSCREEN];
    X11.FullScreen = full;
}

void X11UpdateOrigin() {
    Window child;
    int x = 0, y = 0;
    X11Trap();
    Bool ok = XTranslateCoordinates(X11.Dpy, X11.Win, X11.Root, 0, 0, &x, &y, &child);
    if (X11Untrap() == 0 && ok) {
        X11.OriginX = x;
        X11.OriginY = y;
    }
}

// The desktop's resource for the time between the clicks of a double click.
uint32_t X11DoubleClickTime() {
    if (!X11.Dpy) return 500;
    const char* v = XGetDefault(X11.Dpy, "nemu", "multiClickTime");
    if (!v) return 500;
    char* end = nullptr;
    long ms = std::strtol(v, &end, 10);
    return end != v && ms >= 100 && ms <= 5000 ? uint32_t(ms) : 500;
}

// The desktop's font resolution (Xft.dpi), which high-density screens set; 0 when unset.
int X11Dpi() {
    if (!X11.Dpy) return 0;
    const char* v = XGetDefault(X11.Dpy, "Xft", "dpi");
    if (!v) return 0;
    double dpi = std::strtod(v, nullptr);
    return dpi >= 30 && dpi <= 1000 ? int(dpi + 0.5) : 0;
}

} // namespace nemu
