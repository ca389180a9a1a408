// The clipboard between two processes: one of ours sets, another of ours takes; owners
// that never answer or answer nonsense cost a bounded wait and nothing else.
#include "host/x11_test_support.h"
#include "store/bitmap.h"

#include <X11/Xatom.h>
#include <csignal>
#include <cstring>
#include <poll.h>

using namespace nemu;
using namespace nemu::x11test;

namespace {

// A child process that runs body, then tells the parent it is ready and lives until
// killed (30 s at most). The parent gets the child's id once it is ready, or -1.
pid_t StartOwner(const std::function<bool()>& body, const std::function<void()>& serve) {
    int fds[2];
    if (pipe(fds) != 0) return -1;
    pid_t pid = fork();
    if (pid == 0) {
        close(fds[0]);
        if (!body()) _exit(2);
        ssize_t w = write(fds[1], "1", 1);
        (void)w;
        serve();
        _exit(0); // no test framework, no leak check: the parent judges
    }
    close(fds[1]);
    pollfd p = {fds[0], POLLIN, 0};
    char c = 0;
    bool ready = pid > 0 && poll(&p, 1, 20000) > 0 && read(fds[0], &c, 1) == 1;
    close(fds[0]);
    if (!ready && pid > 0) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        return -1;
    }
    return pid;
}

void StopOwner(pid_t pid) {
    kill(pid, SIGTERM);
    int status = 0;
    waitpid(pid, &status, 0);
}

// Our own back end as the owner: serves requests by running its event loop.
void ServeWithBackEnd() {
    double end = PlatformSeconds() + 30;
    while (PlatformSeconds() < end) {
        NativeMsg m;
        while (PlatformPeek(&m)) {
            bool close = m.Message == WM_CLOSE; // SIGTERM arrives as one
            PlatformFreeMsg(&m);
            if (close) {
                PlatformClose();
                return;
            }
        }
        X11Ops()->Wait(50);
    }
}

TEST_F(X11Bare, TextGoesFromOneOfOurProcessesToAnother) {
    const char* text = "Gr\xC3\xBC\xC3\x9F"
                       "e \xE2\x9C\x93 line\nnext";
    pid_t owner = StartOwner(
        [&] { return PlatformOpen(BACKEND_X11, 100, 100) == 1 && PlatformClipboardSetText(text) == 1; },
        ServeWithBackEnd);
    ASSERT_GT(owner, 0);
    ASSERT_NO_FATAL_FAILURE(OpenWindow());
    char* got = PlatformClipboardGetText();
    ASSERT_NE(got, nullptr);
    EXPECT_STREQ(got, text);
    free(got);
    EXPECT_EQ(PlatformClipboardGetImage(), nullptr); // it holds text only
    StopOwner(owner);
}

TEST_F(X11Bare, PictureGoesFromOneOfOurProcessesToAnother) {
    Bitmap* picture = NewBitmap(3, 2);
    ASSERT_NE(picture, nullptr);
    const uint32_t pixels[6] = {0xFF102030, 0x80402010, 0x00000000, 0x01010000, 0xFEFEFDFC, 0x40004000};
    std::memcpy(picture->Pixels, pixels, sizeof pixels);
    pid_t owner = StartOwner(
        [&] { return PlatformOpen(BACKEND_X11, 100, 100) == 1 && PlatformClipboardSetImage(picture) == 1; },
        ServeWithBackEnd);
    ASSERT_GT(owner, 0);
    ASSERT_NO_FATAL_FAILURE(OpenWindow());
    Bitmap* got = PlatformClipboardGetImage();
    ASSERT_NE(got, nullptr);
    ASSERT_EQ(got->Width, 3);
    ASSERT_EQ(got->Height, 2);
    for (int i = 0; i < 6; i++) EXPECT_EQ(got->Pixels[i], pixels[i]) << "pixel " << i;
    FreeBitmap(got);
    EXPECT_EQ(PlatformClipboardGetText(), nullptr); // it holds a picture only
    StopOwner(owner);
    FreeBitmap(picture);
}

TEST_F(X11Test, OwnClipboardIsReadDirectlyAndLostToAnotherOwner) {
    ASSERT_EQ(PlatformClipboardSetText("first"), 1);
    char* got = PlatformClipboardGetText();
    ASSERT_NE(got, nullptr);
    EXPECT_STREQ(got, "first");
    free(got);
    Bitmap* dot = NewBitmap(1, 1);
    ASSERT_NE(dot, nullptr);
    dot->Pixels[0] = 0xFF00FF00;
    ASSERT_EQ(PlatformClipboardSetImage(dot), 1);
    EXPECT_EQ(PlatformClipboardGetText(), nullptr); // a picture replaced the text
    Bitmap* back = PlatformClipboardGetImage();
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(back->Pixels[0], 0xFF00FF00u);
    FreeBitmap(back);
    FreeBitmap(dot);

    // Another client takes the clipboard and never answers; a close request that comes
    // during the wait is kept for the program.
    Window silent = XCreateSimpleWindow(Other, DefaultRootWindow(Other), 0, 0, 1, 1, 0, 0, 0);
    XSetSelectionOwner(Other, XInternAtom(Other, "CLIPBOARD", False), silent, CurrentTime);
    XEvent e = {};
    e.xclient.type = ClientMessage;
    e.xclient.window = X11.Win;
    e.xclient.message_type = XInternAtom(Other, "WM_PROTOCOLS", False);
    e.xclient.format = 32;
    e.xclient.data.l[0] = long(XInternAtom(Other, "WM_DELETE_WINDOW", False));
    XSendEvent(Other, X11.Win, False, NoEventMask, &e);
    XSync(Other, False);
    double start = PlatformSeconds();
    EXPECT_EQ(PlatformClipboardGetText(), nullptr);
    EXPECT_LT(PlatformSeconds() - start, 5.0); // one wait of about a second, not forever
    EXPECT_TRUE(PumpUntilMessage(WM_CLOSE, 5));
}

// An owner written against the raw protocol that answers every request wrongly.
void ServeNonsense(Display* d) {
    Atom incr = XInternAtom(d, "INCR", False), png = XInternAtom(d, "image/png", False);
    double end = PlatformSeconds() + 30;
    while (PlatformSeconds() < end) {
        while (XPending(d)) {
            XEvent e;
            XNextEvent(d, &e);
            if (e.type != SelectionRequest) continue;
            XSelectionRequestEvent& r = e.xselectionrequest;
            if (r.target == png) {
                const char junk[] = "\x89PNG\r\n\x1a\n but then nothing sensible";
                XChangeProperty(d, r.requestor, r.property, png, 8, PropModeReplace,
                                reinterpret_cast<const unsigned char*>(junk), int(sizeof junk));
            } else if (r.target == XA_STRING) {
                long words[3] = {1, 2, 3}; // text in the wrong format
                XChangeProperty(d, r.requestor, r.property, XA_STRING, 32, PropModeReplace,
                                reinterpret_cast<unsigned char*>(words), 3);
            } else {
                long size = 1 << 30; // "too big, comes in pieces"
                XChangeProperty(d, r.requestor, r.property, incr, 32, PropModeReplace,
                                reinterpret_cast<unsigned char*>(&size), 1);
            }
            AnswerRequest(d, r, r.property);
        }
        pollfd p = {ConnectionNumber(d), POLLIN, 0};
        poll(&p, 1, 50);
    }
}

TEST_F(X11Bare, NonsenseFromAnOwnerIsRefused) {
    Display* d = nullptr;
    Window w = 0;
    pid_t owner = StartOwner(
        [&] {
            d = XOpenDisplay(nullptr);
            if (!d) return false;
            w = XCreateSimpleWindow(d, DefaultRootWindow(d), 0, 0, 1, 1, 0, 0, 0);
            Atom clipboard = XInternAtom(d, "CLIPBOARD", False);
            XSetSelectionOwner(d, clipboard, w, CurrentTime);
            return XGetSelectionOwner(d, clipboard) == w;
        },
        [&] { ServeNonsense(d); });
    ASSERT_GT(owner, 0);
    ASSERT_NO_FATAL_FAILURE(OpenWindow());
    // Each answer is read and refused (0), not waited out (-1).
    ByteBuffer data;
    Atom type = None;
    Atom clipboard = X11.Atoms[A_CLIPBOARD];
    EXPECT_EQ(X11ConvertSelection(clipboard, X11.Atoms[A_UTF8_STRING], SelectionLimit, &data, &type), 0);
    EXPECT_EQ(X11ConvertSelection(clipboard, XA_STRING, SelectionLimit, &data, &type), 0);
    EXPECT_EQ(PlatformClipboardGetText(), nullptr);
    EXPECT_EQ(PlatformClipboardGetImage(), nullptr); // it came, but is no picture
    StopOwner(owner);
}

} // namespace
