// The X11 back end: opening and closing the connection and the window, the queue of
// translated messages, and the operation table.
//
// Sections: errors; queue; open and close; peek and wait; table.
#include "host/x11_platform.h"
#include "host/platform.h"

#include "host/platform_ops.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace nemu {

X11State X11;

static const char* const AtomNames[] = {
    "WM_PROTOCOLS",
    "WM_DELETE_WINDOW",
    "_NET_WM_PING",
    "_NET_WM_NAME",
    "_NET_WM_PID",
    "UTF8_STRING",
    "_NET_WM_STATE",
    "_NET_WM_STATE_FULLSCREEN",
    "_NET_WM_STATE_MAXIMIZED_VERT",
    "_NET_WM_STATE_MAXIMIZED_HORZ",
    "_NET_SUPPORTING_WM_CHECK",
    "CLIPBOARD",
    "TARGETS",
    "TIMESTAMP",
    "MULTIPLE",
    "TEXT",
    "text/plain;charset=utf-8",
    "image/png",
    "INCR",
    "NEMU_SELECTION",
    "NEMU_DROP",
    "XdndAware",
    "XdndEnter",
    "XdndPosition",
    "XdndStatus",
    "XdndLeave",
    "XdndDrop",
    "XdndFinished",
    "XdndSelection",
    "XdndTypeList",
    "XdndActionCopy",
    "text/uri-list",
    "Abs Pressure",
    "Abs Tilt X",
    "Abs Tilt Y",
    "Wacom Tool Type",
    "ERASER",
};
static_assert(sizeof AtomNames / sizeof AtomNames[0] == A_COUNT, "one name for each atom");

// ---- Errors ----------------------------------------------------------------------------
// Xlib's own handler ends the process on any error. Requests that touch other clients'
// windows (drops, selections) fail whenever those clients go away, so errors are kept
// and reported instead; a trap lets the caller see the one its calls caused.

static XErrorHandler OldErrorHandler = nullptr;

static int OnXError(Display*, XErrorEvent* error) {
    if (X11.TrapDepth > 0) {
        if (!X11.TrappedError) X11.TrappedError = error->error_code;
        return 0;
    }
    Warning("X error %d from request %d.%d", error->error_code, error->request_code, error->minor_code);
    return 0;
}

void X11Trap() {
    if (X11.TrapDepth++ == 0) X11.TrappedError = 0;
}

int X11Untrap() {
    XSync(X11.Dpy, False);
    int code = X11.TrappedError;
    if (--X11.TrapDepth == 0) X11.TrappedError = 0;
    return code;
}

// ---- Queue -----------------------------------------------------------------------------

void X11Queue(NativeMsg msg) {
    if (!msg.Time) msg.Time = PlatformTicks();
    auto& q = X11.Queue;
    if (q.size() >= X11QueueLimit) {
        auto victim = q.begin();
        for (auto it = q.begin(); it != q.end(); ++it)
            if (it->Message == WM_MOUSEMOVE) {
                victim = it;
                break;
            }
        PlatformFreeMsg(&*victim);
        q.erase(victim);
    }
    q.push_back(msg);
}

void X11QueueMessage(uint32_t message, uintptr_t wParam, intptr_t lParam) {
    NativeMsg m;
    m.Message = message;
    m.WParam = wParam;
    m.LParam = lParam;
    X11Queue(m);
}

// ---- Open and close -----------------------------------------------------------------------

static bool EnvOn(const char* name) {
    const char* v = std::getenv(name);
    return v && *v && std::strcmp(v, "0") != 0;
}

// The default visual when it is true colour; else the best 24-bit true-colour one.
static bool ChooseVisual() {
    Display* d = X11.Dpy;
    Visual* def = DefaultVisual(d, X11.ScreenNumber);
    int depth = DefaultDepth(d, X11.ScreenNumber);
    if (def->c_class == TrueColor && depth >= 15) {
        X11.Vis = def;
        X11.Depth = depth;
        X11.Map = DefaultColormap(d, X11.ScreenNumber);
        return true;
    }
    XVisualInfo info;
    if (!XMatchVisualInfo(d, X11.ScreenNumber, 24, TrueColor, &info)) return false;
    X11.Vis = info.visual;
    X11.Depth = 24;
    X11.Map = XCreateColormap(d, X11.Root, info.visual, AllocNone);
    X11.OwnMap = true;
    return true;
}

static void SetWindowProperties(bool fillScreen) {
    Display* d = X11.Dpy;
    Atom protocols[2] = {X11.Atoms[A_WM_DELETE_WINDOW], X11.Atoms[A_NET_WM_PING]};
    XSetWMProtocols(d, X11.Win, protocols, 2);
    XClassHint* cls = XAllocClassHint();
    if (cls) {
        cls->res_name = const_cast<char*>("nemu");
        cls->res_class = const_cast<char*>("Nemu");
        XSetClassHint(d, X11.Win, cls);
        XFree(cls);
    }
    XSizeHints* size = XAllocSizeHints();
    if (size) {
        size->flags = PSize | (fillScreen ? PPosition : 0);
        size->width = X11.Width;
        size->height = X11.Height;
        XSetWMNormalHints(d, X11.Win, size);
        XFree(size);
    }
    XWMHints* hints = XAllocWMHints();
    if (hints) {
        hints->flags = InputHint | StateHint;
        hints->input = True;
        hints->initial_state = NormalState;
        XSetWMHints(d, X11.Win, hints);
        XFree(hints);
    }
    long pid = long(getpid());
    XChangeProperty(d, X11.Win, X11.Atoms[A_NET_WM_PID], XA_CARDINAL, 32, PropModeReplace,
                    reinterpret_cast<unsigned char*>(&pid), 1);
    if (fillScreen) {
        // Asked to fill the screen: a window manager fits it to the work area.
        Atom state[2] = {X11.Atoms[A_NET_WM_STATE_MAXIMIZED_VERT], X11.Atoms[A_NET_WM_STATE_MAXIMIZED_HORZ]};
        XChangeProperty(d, X11.Win, X11.Atoms[A_NET_WM_STATE], XA_ATOM, 32, PropModeReplace,
                        reinterpret_cast<unsigned char*>(state), 2);
    }
}

static void Close();

static int Open(int width, int height) {
    if (X11.Dpy) return 1;
    Display* d = XOpenDisplay(nullptr);
    if (!d) {
        Warning("cannot open the X display %s", std::getenv("DISPLAY") ? std::getenv("DISPLAY") : "(unset)");
        return 0;
    }
    X11.Dpy = d;
    X11.NoShm = EnvOn("NEMU_X11_NOSHM");
    X11.NoXi2 = EnvOn("NEMU_X11_NOXI2");
    OldErrorHandler = XSetErrorHandler(OnXError);
    X11.ScreenNumber = DefaultScreen(d);
    X11.Root = RootWindow(d, X11.ScreenNumber);
    X11.ScreenWidth = DisplayWidth(d, X11.ScreenNumber);
    X11.ScreenHeight = DisplayHeight(d, X11.ScreenNumber);
    XInternAtoms(d, const_cast<char**>(AtomNames), A_COUNT, False, X11.Atoms);
    if (!ChooseVisual()) {
        Warning("the X display has no true-colour visual");
        Close();
        return 0;
    }
    bool fillScreen = width <= 0 || height <= 0;
    if (fillScreen) {
        width = X11.ScreenWidth;
        height = X11.ScreenHeight;
    }
    width = width > 32767 ? 32767 : width;
    height = height > 32767 ? 32767 : height;
    X11.Width = width;
    X11.Height = height;

    XSetWindowAttributes attr = {};
    // No background: the program paints every pixel itself, so the server never clears
    // what is about to be drawn, and a resize keeps the old picture at the top left.
    attr.background_pixmap = None;
    attr.border_pixel = 0;
    attr.colormap = X11.Map;
    attr.bit_gravity = NorthWestGravity;
    attr.event_mask = ExposureMask | StructureNotifyMask | KeyPressMask | KeyReleaseMask | FocusChangeMask |
                      PropertyChangeMask | LeaveWindowMask;
    X11.Win =
        XCreateWindow(d, X11.Root, 0, 0, unsigned(width), unsigned(height), 0, X11.Depth, InputOutput,
                      X11.Vis, CWBackPixmap | CWBorderPixel | CWColormap | CWBitGravity | CWEventMask, &attr);
    if (!X11.Win) {
        Close();
        return 0;
    }
    XGCValues gcv = {};
    gcv.graphics_exposures = False;
    X11.Gc = XCreateGC(d, X11.Win, GCGraphicsExposures, &gcv);
    XSelectInput(d, X11.Root, StructureNotifyMask);
    SetWindowProperties(fillScreen);
    X11SetTitle("Nemu");
    if (!X11OpenInput() || !X11OpenPointer() || !X11OpenBlit()) {
        Close();
        return 0;
    }
    X11OpenDnd();
    XMapWindow(d, X11.Win);
    XFlush(d);

    // The program sizes its screen from the first WM_SIZE, before the window shows.
    X11.SentWidth = width;
    X11.SentHeight = height;
    X11QueueMessage(WM_SIZE, 0, MakePositionWord(width, height));
    return 1;
}

static void Close() {
    if (!X11.Dpy) return;
    Display* d = X11.Dpy;
    X11CloseDnd();
    X11CloseClipboard();
    X11CloseBlit();
    X11ClosePointer();
    X11CloseInput();
    for (Cursor& c : X11.Cursors)
        if (c) XFreeCursor(d, c);
    if (X11.Gc) XFreeGC(d, X11.Gc);
    if (X11.Win) XDestroyWindow(d, X11.Win);
    if (X11.OwnMap) XFreeColormap(d, X11.Map);
    XCloseDisplay(d);
    XSetErrorHandler(OldErrorHandler);
    OldErrorHandler = nullptr;
    for (auto& m : X11.Queue) PlatformFreeMsg(&m);
    X11 = X11State{};
}

// ---- Peek and wait ---------------------------------------------------------------------------

// Translates one event at a time and only while nothing is queued, so that the live
// qualifier state stays that of the message being handed out.
static bool Peek(NativeMsg* msg) {
    if (!X11.Dpy) return false;
    X11CheckDndTimeout();
    while (X11.Queue.empty() && XPending(X11.Dpy) > 0) {
        XEvent e;
        XNextEvent(X11.Dpy, &e);
        X11HandleEvent(&e);
    }
    if (X11.Queue.empty()) return false;
    *msg = X11.Queue.front();
    X11.Queue.pop_front();
    return true;
}

bool X11WaitReadable(int timeoutMs) {
    if (XEventsQueued(X11.Dpy, QueuedAfterFlush) > 0) return true;
    return PollWatched(ConnectionNumber(X11.Dpy), timeoutMs);
}

static void Wait(int timeoutMs) {
    if (!X11.Dpy || !X11.Queue.empty()) return;
    X11WaitReadable(timeoutMs);
}

static void Post(const NativeMsg& msg) {
    X11Queue(msg);
    WakeWaiters();
}

// ---- Table --------------------------------------------------------------------------------------

static void ScreenSize(int* w, int* h) {
    *w = X11.ScreenWidth;
    *h = X11.ScreenHeight;
}
static void ClientSize(int* w, int* h) {
    *w = X11.Width;
    *h = X11.Height;
}
static void ClientOrigin(int* x, int* y) {
    *x = X11.OriginX;
    *y = X11.OriginY;
}

static const PlatformOps Table = {
    "x11",
    Open,
    Close,
    Peek,
    Wait,
    Post,
    X11Qualifiers,
    X11TabletPresent,
    X11TabletPackets,
    X11Blit,
    X11Flush,
    ScreenSize,
    ClientSize,
    ClientOrigin,
    X11SetPointerShape,
    X11WarpPointer,
    X11SetTitle,
    X11Iconify,
    X11SetFullScreen,
    X11Raise,
    X11Lower,
    X11Beep,
    X11ClipboardSetText,
    X11ClipboardGetText,
    X11ClipboardSetImage,
    X11ClipboardGetImage,
    X11DoubleClickTime,
    X11ReadPixel,
    X11Dpi,
};

const PlatformOps* X11Ops() {
    return &Table;
}

} // namespace nemu
