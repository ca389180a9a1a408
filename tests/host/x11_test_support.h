// Shared by the X11 back end's tests: a fixture that skips without a display and keeps
// the tests that share one display from running at the same time (they move the one
// pointer and stack windows at the same place), bounded message pumps, and xdotool.
//
// A server resets when its last client leaves, and refuses connections meanwhile; each
// test therefore first waits for a connection of its own (Other), and holding it keeps
// the server from resetting under the test.
#pragma once
// Before Xlib, whose macros (None, Bool) would break the test framework's own names.
#include <gtest/gtest.h>

#include "host/platform.h"
#include "host/platform_ops.h"
#include "host/x11_platform.h"

#include <cctype>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <signal.h>
#include <spawn.h>
#include <string>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace nemu::x11test {

// A message as seen by a test, its text copied out.
struct Seen {
    NativeMsg Msg;
    std::string Text;
};

inline int PositionX(intptr_t word) {
    return int16_t(uint32_t(word) & 0xFFFF);
}
inline int PositionY(intptr_t word) {
    return int16_t(uint32_t(word) >> 16);
}

// Opens no window: for tests that set the scene first.
class X11Bare : public ::testing::Test {
  protected:
    void SetUp() override {
        const char* display = std::getenv("DISPLAY");
        if (!display || !*display) GTEST_SKIP() << "DISPLAY is not set: the X11 back end needs an X server";
        std::string path = "/tmp/nemu-x11-test-";
        for (const char* p = display; *p; p++)
            path += std::isalnum(static_cast<unsigned char>(*p)) ? *p : '_';
        path += ".lock";
        LockFd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        ASSERT_GE(LockFd, 0);
        ASSERT_EQ(flock(LockFd, LOCK_EX), 0);
        double deadline = PlatformSeconds() + 20;
        while (!(Other = XOpenDisplay(nullptr)) && PlatformSeconds() < deadline) usleep(20000);
        ASSERT_NE(Other, nullptr) << "cannot connect to the X server " << display;
    }

    void TearDown() override {
        PlatformClose();
        if (Other) XCloseDisplay(Other);
        if (LockFd >= 0) close(LockFd);
    }

    void OpenWindow(int width = 320, int height = 240) {
        ASSERT_EQ(PlatformOpen(BACKEND_X11, width, height), 1);
    }

    // Takes messages, waiting as needed, until one satisfies want or seconds pass.
    bool PumpUntil(const std::function<bool(const NativeMsg&)>& want, double seconds = 10) {
        double deadline = PlatformSeconds() + seconds;
        while (PlatformSeconds() < deadline) {
            NativeMsg m;
            while (PlatformPeek(&m)) {
                Seen s{m, m.Text ? std::string(m.Text, m.TextLength) : std::string()};
                s.Msg.Text = nullptr;
                Log.push_back(s); // first, so that want may count what came
                bool hit = want(m);
                PlatformFreeMsg(&m);
                if (hit) return true;
            }
            X11Ops()->Wait(20);
        }
        return false;
    }

    bool PumpUntilMessage(uint32_t message, double seconds = 10) {
        return PumpUntil([&](const NativeMsg& m) { return m.Message == message; }, seconds);
    }

    // Waits for the first WM_PAINT, after which the window is on the screen.
    void WaitShown() { ASSERT_TRUE(PumpUntilMessage(WM_PAINT)) << "the window was never exposed"; }

    // The logged messages of one number, in order.
    std::vector<NativeMsg> Logged(uint32_t message) const {
        std::vector<NativeMsg> out;
        for (const auto& s : Log)
            if (s.Msg.Message == message) out.push_back(s.Msg);
        return out;
    }

    int LockFd = -1;
    Display* Other = nullptr; // a second client, as other programs are
    std::vector<Seen> Log;
};

// Opens a 320 by 240 window and waits until it shows.
class X11Test : public X11Bare {
  protected:
    void SetUp() override {
        X11Bare::SetUp();
        if (IsSkipped() || HasFatalFailure()) return;
        OpenWindow();
        if (HasFatalFailure()) return;
        WaitShown();
    }
};

// What an owner of a selection sends back to a request: the property that holds the
// answer, or None for a refusal.
inline void AnswerRequest(Display* d, const XSelectionRequestEvent& r, Atom property) {
    XSelectionEvent reply = {};
    reply.type = SelectionNotify;
    reply.requestor = r.requestor;
    reply.selection = r.selection;
    reply.target = r.target;
    reply.time = r.time;
    reply.property = property;
    XSendEvent(d, r.requestor, False, NoEventMask, reinterpret_cast<XEvent*>(&reply));
    XFlush(d);
}

// Runs xdotool with the given arguments and waits (bounded) for it to end; true when it
// ran and succeeded.
inline bool RunXdotool(const std::vector<std::string>& args) {
    std::vector<char*> argv;
    std::string name = "xdotool";
    argv.push_back(name.data());
    std::vector<std::string> copy = args;
    for (auto& a : copy) argv.push_back(a.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    if (posix_spawnp(&pid, "xdotool", nullptr, nullptr, argv.data(), environ) != 0) return false;
    double deadline = PlatformSeconds() + 20;
    int status = 0;
    for (;;) {
        pid_t r = waitpid(pid, &status, WNOHANG);
        if (r == pid) break;
        if (r < 0 || PlatformSeconds() > deadline) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            return false;
        }
        usleep(5000);
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace nemu::x11test
