// The X11 back end against a real server: the window's life, its messages, and the blit
// read back from the screen.
#include "host/x11_test_support.h"
#include "store/bitmap.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>

using namespace nemu;
using namespace nemu::x11test;

namespace {

TEST_F(X11Bare, OpensWithSizeThenPaintAndClosesCleanly) {
    ASSERT_NO_FATAL_FAILURE(OpenWindow(320, 240));
    EXPECT_EQ(PlatformKind(), BACKEND_X11);
    int w = 0, h = 0;
    PlatformClientSize(&w, &h);
    EXPECT_EQ(w, 320);
    EXPECT_EQ(h, 240);
    ASSERT_NO_FATAL_FAILURE(WaitShown());
    auto sizes = Logged(WM_SIZE);
    ASSERT_FALSE(sizes.empty());
    EXPECT_EQ(sizes[0].LParam, MakePositionWord(320, 240));
    EXPECT_EQ(sizes[0].WParam, 0u);
    // The first paint covers the whole window, given as corner and size.
    NativeMsg paint = Logged(WM_PAINT)[0];
    EXPECT_EQ(paint.LParam, MakePositionWord(0, 0));
    EXPECT_EQ(intptr_t(paint.WParam), MakePositionWord(320, 240));

    XTextProperty name = {};
    ASSERT_TRUE(XGetWMName(Other, X11.Win, &name));
    EXPECT_STREQ(reinterpret_cast<char*>(name.value), "Nemu");
    XFree(name.value);
    int sw = 0, sh = 0;
    PlatformScreenSize(&sw, &sh);
    EXPECT_EQ(sw, DisplayWidth(Other, DefaultScreen(Other)));
    EXPECT_EQ(sh, DisplayHeight(Other, DefaultScreen(Other)));

    PlatformClose();
    EXPECT_FALSE(PlatformIsOpen());
    EXPECT_EQ(X11.Dpy, nullptr);
    // And again: nothing of the first run stands in the way.
    ASSERT_NO_FATAL_FAILURE(OpenWindow(200, 100));
    PlatformClientSize(&w, &h);
    EXPECT_EQ(w, 200);
}

TEST_F(X11Bare, SizeZeroFillsTheScreen) {
    ASSERT_NO_FATAL_FAILURE(OpenWindow(0, 0));
    int w = 0, h = 0, sw = 0, sh = 0;
    PlatformClientSize(&w, &h);
    PlatformScreenSize(&sw, &sh);
    EXPECT_EQ(w, sw);
    EXPECT_EQ(h, sh);
}

// Fills the window with black, blits a pattern partly outside both the bitmap and the
// window, and reads the screen back.
void CheckBlitReadsBack() {
    Bitmap* black = NewClearBitmap(320, 240);
    ASSERT_NE(black, nullptr);
    PlatformBlit(black, 0, 0, 0, 0, 320, 240);
    FreeBitmap(black);

    Bitmap* pattern = NewBitmap(64, 48);
    ASSERT_NE(pattern, nullptr);
    for (int y = 0; y < 48; y++)
        for (int x = 0; x < 64; x++)
            pattern->Pixels[y * 64 + x] = (uint32_t(x * 3) << 24) | (uint32_t(x * 4) << 16) |
                                          (uint32_t(y * 5) << 8) | uint32_t((x * 7 + y * 3) & 255);
    // From bitmap column -5 (clipped), to window column 290: 35 columns reach the window.
    PlatformBlit(pattern, -5, 10, 290, 200, 70, 60);
    // Twice to the same place, which must wait for the server to read the first.
    PlatformBlit(pattern, 0, 0, 10, 10, 64, 48);
    PlatformBlit(pattern, 0, 0, 12, 10, 64, 48);
    PlatformFlush();

    XSync(X11.Dpy, False);
    XImage* shot = XGetImage(X11.Dpy, X11.Win, 0, 0, 320, 240, AllPlanes, ZPixmap);
    ASSERT_NE(shot, nullptr);
    auto expect = [&](int wx, int wy) -> uint32_t {
        if (wx >= 12 && wx < 76 && wy >= 10 && wy < 58) return pattern->Pixels[(wy - 10) * 64 + (wx - 12)];
        if (wx >= 10 && wx < 12 && wy >= 10 && wy < 58) return pattern->Pixels[(wy - 10) * 64 + (wx - 10)];
        // The first blit: dx 290 took source column 0 once clipped by 5; rows 10.. to 47.
        if (wx >= 295 && wy >= 200 && wy < 238) return pattern->Pixels[(wy - 200 + 10) * 64 + (wx - 295)];
        return 0;
    };
    int bad = 0;
    for (int y = 0; y < 240; y++)
        for (int x = 0; x < 320; x++) {
            uint32_t got = uint32_t(XGetPixel(shot, x, y)) & 0xFFFFFF, want = expect(x, y) & 0xFFFFFF;
            if (got != want && bad++ < 5)
                ADD_FAILURE() << "pixel " << x << "," << y << ": " << std::hex << got << " not " << want;
        }
    EXPECT_EQ(bad, 0);
    XDestroyImage(shot);
    FreeBitmap(pattern);
}

TEST_F(X11Test, BlitThroughSharedMemoryReadsBackExactly) {
    CheckBlitReadsBack();
    EXPECT_TRUE(X11ShmActive());
}

TEST_F(X11Bare, BlitThroughPlainRequestsReadsBackExactly) {
    setenv("NEMU_X11_NOSHM", "1", 1);
    ASSERT_NO_FATAL_FAILURE(OpenWindow(320, 240));
    ASSERT_NO_FATAL_FAILURE(WaitShown());
    CheckBlitReadsBack();
    EXPECT_FALSE(X11ShmActive());
}

TEST_F(X11Test, SharedImageFollowsTheWindowSize) {
    Bitmap* white = NewBitmap(400, 300);
    ASSERT_NE(white, nullptr);
    ClearBitmap(white, 0xFFFFFFFF);
    XResizeWindow(X11.Dpy, X11.Win, 400, 300);
    ASSERT_TRUE(PumpUntil(
        [](const NativeMsg& m) { return m.Message == WM_SIZE && m.LParam == MakePositionWord(400, 300); }));
    PlatformBlit(white, 0, 0, 0, 0, 400, 300);
    XSync(X11.Dpy, False);
    XImage* shot = XGetImage(X11.Dpy, X11.Win, 399, 299, 1, 1, AllPlanes, ZPixmap);
    ASSERT_NE(shot, nullptr);
    EXPECT_EQ(XGetPixel(shot, 0, 0) & 0xFFFFFF, 0xFFFFFFu);
    XDestroyImage(shot);
    FreeBitmap(white);
}

// A client message as a window manager or a drag source sends it.
void SendClient(Display* d, Window to, Atom type, long l0, long l1 = 0, long l2 = 0, long l3 = 0,
                long l4 = 0) {
    XEvent e = {};
    e.xclient.type = ClientMessage;
    e.xclient.window = to;
    e.xclient.message_type = type;
    e.xclient.format = 32;
    e.xclient.data.l[0] = l0, e.xclient.data.l[1] = l1, e.xclient.data.l[2] = l2;
    e.xclient.data.l[3] = l3, e.xclient.data.l[4] = l4;
    XSendEvent(d, to, False, NoEventMask, &e);
    XFlush(d);
}

TEST_F(X11Test, DeleteRequestBecomesCloseAndPingIsAnswered) {
    Display* wm = Other;
    Atom protocols = XInternAtom(wm, "WM_PROTOCOLS", False);
    Window root = DefaultRootWindow(wm);
    XSelectInput(wm, root, SubstructureNotifyMask);
    SendClient(wm, X11.Win, protocols, long(XInternAtom(wm, "_NET_WM_PING", False)), 4242, long(X11.Win));
    SendClient(wm, X11.Win, protocols, long(XInternAtom(wm, "WM_DELETE_WINDOW", False)), CurrentTime);
    EXPECT_TRUE(PumpUntilMessage(WM_CLOSE));
    // The ping comes back on the root with its time intact.
    bool pong = false;
    double deadline = PlatformSeconds() + 10;
    while (!pong && PlatformSeconds() < deadline) {
        XEvent e;
        while (!pong && XPending(wm)) {
            XNextEvent(wm, &e);
            pong = e.type == ClientMessage && e.xclient.window == root && e.xclient.data.l[1] == 4242;
        }
        if (!pong) usleep(10000);
    }
    EXPECT_TRUE(pong);
}

TEST_F(X11Test, MovesAndScreenChangesAreReported) {
    XMoveWindow(X11.Dpy, X11.Win, 50, 30);
    ASSERT_TRUE(PumpUntil(
        [](const NativeMsg& m) { return m.Message == WM_MOVE && m.LParam == MakePositionWord(50, 30); }));
    int x = 0, y = 0;
    PlatformClientOrigin(&x, &y);
    EXPECT_EQ(x, 50);
    EXPECT_EQ(y, 30);

    // A new screen size arrives as the root's configuration.
    Window root = DefaultRootWindow(Other);
    XEvent e = {};
    e.xconfigure.type = ConfigureNotify;
    e.xconfigure.event = root;
    e.xconfigure.window = root;
    e.xconfigure.width = 1600;
    e.xconfigure.height = 1200;
    XSendEvent(Other, root, False, StructureNotifyMask, &e);
    XFlush(Other);
    ASSERT_TRUE(PumpUntilMessage(WM_DISPLAYCHANGE));
    EXPECT_EQ(Logged(WM_DISPLAYCHANGE).back().LParam, MakePositionWord(1600, 1200));
    int sw = 0, sh = 0;
    PlatformScreenSize(&sw, &sh);
    EXPECT_EQ(sw, 1600);
    EXPECT_EQ(sh, 1200);

    // Made-up sizes for our own window, or nonsense for the screen, change nothing.
    e.xconfigure.width = -7;
    XSendEvent(Other, root, False, StructureNotifyMask, &e);
    e.xconfigure.event = e.xconfigure.window = X11.Win;
    e.xconfigure.width = 100000;
    e.xconfigure.height = 3;
    XSendEvent(Other, X11.Win, False, StructureNotifyMask, &e);
    XSync(Other, False);
    PumpUntil([](const NativeMsg&) { return false; }, 0.3);
    PlatformScreenSize(&sw, &sh);
    EXPECT_EQ(sw, 1600);
    int w = 0, h = 0;
    PlatformClientSize(&w, &h);
    EXPECT_EQ(w, 320);
    EXPECT_EQ(h, 240);
}

TEST_F(X11Test, FullScreenWithoutWindowManagerCoversTheScreenAndComesBack) {
    if (X11HasWindowManager()) GTEST_SKIP() << "a window manager runs on this display; this test wants none";
    int sw = 0, sh = 0;
    PlatformScreenSize(&sw, &sh);
    PlatformSetFullScreen(true);
    ASSERT_TRUE(PumpUntil(
        [&](const NativeMsg& m) { return m.Message == WM_SIZE && m.LParam == MakePositionWord(sw, sh); }));
    PlatformSetFullScreen(false);
    ASSERT_TRUE(PumpUntil(
        [](const NativeMsg& m) { return m.Message == WM_SIZE && m.LParam == MakePositionWord(320, 240); }));
}

TEST_F(X11Test, HiddenWindowIsMinimizedAndShownAgainRestored) {
    XUnmapWindow(Other, X11.Win);
    XFlush(Other);
    ASSERT_TRUE(PumpUntilMessage(WM_SIZE));
    EXPECT_EQ(Log.back().Msg.WParam, 1u);
    EXPECT_EQ(Log.back().Msg.LParam, 0);
    XMapWindow(Other, X11.Win);
    XFlush(Other);
    ASSERT_TRUE(PumpUntilMessage(WM_SIZE));
    EXPECT_EQ(Log.back().Msg.WParam, 0u);
    EXPECT_EQ(Log.back().Msg.LParam, MakePositionWord(320, 240));
}

// A stand-in window manager: it proves itself by a check window and hears the requests
// that clients send to the root.
TEST_F(X11Test, FullScreenAsksTheWindowManager) {
    Window root = DefaultRootWindow(Other);
    Window check = XCreateSimpleWindow(Other, root, 0, 0, 1, 1, 0, 0, 0);
    Atom checkAtom = XInternAtom(Other, "_NET_SUPPORTING_WM_CHECK", False);
    long id = long(check);
    XChangeProperty(Other, root, checkAtom, XA_WINDOW, 32, PropModeReplace,
                    reinterpret_cast<unsigned char*>(&id), 1);
    XChangeProperty(Other, check, checkAtom, XA_WINDOW, 32, PropModeReplace,
                    reinterpret_cast<unsigned char*>(&id), 1);
    XSelectInput(Other, root, SubstructureRedirectMask);
    XSync(Other, False);
    ASSERT_TRUE(X11HasWindowManager());
    PlatformSetFullScreen(true);
    Atom state = XInternAtom(Other, "_NET_WM_STATE", False);
    Atom full = XInternAtom(Other, "_NET_WM_STATE_FULLSCREEN", False);
    bool heard = false;
    double deadline = PlatformSeconds() + 10;
    while (!heard && PlatformSeconds() < deadline) {
        while (!heard && XPending(Other)) {
            XEvent e;
            XNextEvent(Other, &e);
            heard = e.type == ClientMessage && e.xclient.window == X11.Win &&
                    e.xclient.message_type == state && e.xclient.data.l[0] == 1 &&
                    Atom(e.xclient.data.l[1]) == full;
        }
        if (!heard) usleep(10000);
    }
    EXPECT_TRUE(heard);
    XDeleteProperty(Other, root, checkAtom);
    XDestroyWindow(Other, check);
    XSync(Other, False);
    EXPECT_FALSE(X11HasWindowManager());
}

TEST_F(X11Test, WindowOperationsChangeWhatOtherClientsSee) {
    PlatformSetTitle("Nemu - picture.png");
    for (int shape : {0, 1, 2, 6, 7, -1, 99}) PlatformSetPointerShape(shape);
    PlatformWarpPointer(40, 50);
    PlatformRaise();
    PlatformLower();
    PlatformBeep();
    PlatformIconify();
    EXPECT_GE(PlatformDoubleClickTime(), 100u);
    XSync(X11.Dpy, False);
    Display* other = Other;
    Atom type;
    int format;
    unsigned long count, after;
    unsigned char* data = nullptr;
    ASSERT_EQ(XGetWindowProperty(other, X11.Win, XInternAtom(other, "_NET_WM_NAME", False), 0, 64, False,
                                 XInternAtom(other, "UTF8_STRING", False), &type, &format, &count, &after,
                                 &data),
              Success);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(data), count), "Nemu - picture.png");
    XFree(data);
    Window root, child;
    int rx, ry, wx, wy;
    unsigned mask;
    XQueryPointer(other, X11.Win, &root, &child, &rx, &ry, &wx, &wy, &mask);
    EXPECT_EQ(wx, 40);
    EXPECT_EQ(wy, 50);
}

TEST_F(X11Bare, PostedMessagesWakeTheWaitAndTheQueueStaysBounded) {
    ASSERT_NO_FATAL_FAILURE(OpenWindow());
    NativeMsg m;
    m.Message = WM_WAKE;
    PlatformPost(m);
    NativeMsg got;
    PlatformGetMessage(&got); // must not block: something is queued
    // The size message of the opening comes first.
    while (got.Message != WM_WAKE) PlatformGetMessage(&got);
    EXPECT_EQ(got.Message, uint32_t(WM_WAKE));

    for (size_t i = 0; i < X11QueueLimit + 100; i++) {
        NativeMsg move;
        move.Message = WM_MOUSEMOVE;
        PlatformPost(move);
    }
    NativeMsg close;
    close.Message = WM_CLOSE;
    PlatformPost(close);
    EXPECT_LE(X11.Queue.size(), X11QueueLimit);
    EXPECT_EQ(X11.Queue.back().Message, uint32_t(WM_CLOSE));
}

} // namespace
