// Events of the connection to native messages: the window's size, place, exposure and
// close request, and the dispatch of everything else to the back end's other parts.
#include "host/x11_platform.h"

#include <algorithm>

namespace nemu {

static Time EventTime(const XEvent* e) {
    switch (e->type) {
    case KeyPress:
    case KeyRelease:
        return e->xkey.time;
    case ButtonPress:
    case ButtonRelease:
        return e->xbutton.time;
    case MotionNotify:
        return e->xmotion.time;
    case PropertyNotify:
        return e->xproperty.time;
    default:
        return CurrentTime;
    }
}

static void SendSize() {
    bool iconic = !X11.Mapped;
    if (iconic) {
        if (X11.Iconic) return;
        X11.Iconic = true;
        X11QueueMessage(WM_SIZE, 1 /* minimized */, 0);
        return;
    }
    if (!X11.Iconic && X11.SentWidth == X11.Width && X11.SentHeight == X11.Height) return;
    X11.Iconic = false;
    X11.SentWidth = X11.Width;
    X11.SentHeight = X11.Height;
    X11QueueMessage(WM_SIZE, 0, MakePositionWord(X11.Width, X11.Height));
}

static bool SaneSize(int w, int h) {
    return w >= 1 && h >= 1 && w <= 32767 && h <= 32767;
}

static void OnConfigure(const XConfigureEvent& e) {
    if (e.window == X11.Root) {
        if (!SaneSize(e.width, e.height)) return;
        if (e.width == X11.ScreenWidth && e.height == X11.ScreenHeight) return;
        X11.ScreenWidth = e.width;
        X11.ScreenHeight = e.height;
        X11QueueMessage(WM_DISPLAYCHANGE, uintptr_t(X11.Depth), MakePositionWord(e.width, e.height));
        return;
    }
    if (e.window != X11.Win) return;
    // Any client may send a made-up one; only the server's own says the size.
    if (!e.send_event && SaneSize(e.width, e.height)) {
        X11.Width = e.width;
        X11.Height = e.height;
        if (X11.Mapped) SendSize();
    }
    int oldX = X11.OriginX, oldY = X11.OriginY;
    X11UpdateOrigin();
    if (oldX != X11.OriginX || oldY != X11.OriginY)
        X11QueueMessage(WM_MOVE, 0, MakePositionWord(X11.OriginX, X11.OriginY));
}

// Expose events come in runs (count says how many follow); the run becomes one WM_PAINT of
// the rectangle that holds them all, as a window system with invalid regions would send.
static void OnExpose(const XExposeEvent& e) {
    int x2 = e.x + e.width, y2 = e.y + e.height;
    if (!X11.PaintOpen) {
        X11.PaintOpen = true;
        X11.PaintX1 = e.x, X11.PaintY1 = e.y, X11.PaintX2 = x2, X11.PaintY2 = y2;
    } else {
        X11.PaintX1 = std::min(X11.PaintX1, e.x);
        X11.PaintY1 = std::min(X11.PaintY1, e.y);
        X11.PaintX2 = std::max(X11.PaintX2, x2);
        X11.PaintY2 = std::max(X11.PaintY2, y2);
    }
    if (e.count > 0) return;
    X11.PaintOpen = false;
    X11QueueMessage(WM_PAINT,
                    uintptr_t(MakePositionWord(X11.PaintX2 - X11.PaintX1, X11.PaintY2 - X11.PaintY1)),
                    MakePositionWord(X11.PaintX1, X11.PaintY1));
}

static void OnClientMessage(XClientMessageEvent* e) {
    if (e->format != 32) return;
    if (e->message_type == X11.Atoms[A_WM_PROTOCOLS]) {
        Atom what = Atom(e->data.l[0]);
        if (what == X11.Atoms[A_WM_DELETE_WINDOW]) {
            X11QueueMessage(WM_CLOSE, 0, 0);
        } else if (what == X11.Atoms[A_NET_WM_PING]) {
            // The window manager asks whether we still answer; give the message back.
            XClientMessageEvent reply = *e;
            reply.window = X11.Root;
            XSendEvent(X11.Dpy, X11.Root, False, SubstructureNotifyMask | SubstructureRedirectMask,
                       reinterpret_cast<XEvent*>(&reply));
            XFlush(X11.Dpy);
        }
        return;
    }
    X11HandleDndMessage(e);
}

void X11HandleEvent(XEvent* e) {
    if (XFilterEvent(e, None)) return; // the input method took it
    Time t = EventTime(e);
    if (t != CurrentTime) X11.LastTime = t;
    switch (e->type) {
    case KeyPress:
    case KeyRelease:
        X11HandleKey(e);
        return;
    case ButtonPress:
    case ButtonRelease:
    case MotionNotify:
        X11HandleCorePointer(e);
        return;
    case GenericEvent:
        X11HandleGeneric(e);
        return;
    case LeaveNotify:
        X11HandlePointerLeave(e);
        return;
    case FocusIn:
    case FocusOut:
        if (e->xfocus.window == X11.Win) X11FocusChanged(e->type == FocusIn);
        return;
    case Expose:
        if (e->xexpose.window == X11.Win) OnExpose(e->xexpose);
        return;
    case ConfigureNotify:
        OnConfigure(e->xconfigure);
        return;
    case MapNotify:
        if (e->xmap.window != X11.Win) return;
        X11.Mapped = true;
        SendSize();
        return;
    case UnmapNotify:
        if (e->xunmap.window != X11.Win) return;
        X11.Mapped = false;
        SendSize();
        return;
    case MappingNotify:
        X11KeymapChanged(&e->xmapping);
        return;
    case ClientMessage:
        OnClientMessage(&e->xclient);
        return;
    case SelectionRequest:
        X11HandleSelectionRequest(&e->xselectionrequest);
        return;
    case SelectionClear:
        X11HandleSelectionClear(&e->xselectionclear);
        return;
    case SelectionNotify:
        X11HandleDndSelection(&e->xselection);
        return;
    default:
        if (e->type == X11ShmCompletionType()) X11ShmCompleted();
        return;
    }
}

} // namespace nemu
