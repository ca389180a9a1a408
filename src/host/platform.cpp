// Back-end selection, and what every back end shares: timers, watched descriptors,
// the signal pipe and the clock.
#include "host/platform.h"
#include "host/platform_ops.h"

#include <cerrno>
#include <cstdarg>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <algorithm>
#include <vector>

namespace nemu {

static const PlatformOps* Ops = nullptr;
static PlatformBackend Kind = BACKEND_HEADLESS;

struct Watch {
    int Fd;
    WatchCallback Callback;
    void* User;
    short Events;
    double Deadline; // PlatformSeconds at which the callback runs ready or not; 0 for none
};
static std::vector<Watch> Watches;

struct Timer {
    uint32_t Id;
    uint32_t Period;
    double Due;
};
static std::vector<Timer> Timers;

static int WakePipe[2] = {-1, -1};
static volatile sig_atomic_t SignalClose = 0;
// The signal that asked the program to end; unlike SignalClose it is not taken by the
// close request, so that work already under way sees it at its break checks.
static volatile sig_atomic_t StopSignal = 0;

static void OnSignal(int number) {
    SignalClose = 1;
    StopSignal = number;
    if (WakePipe[1] >= 0) {
        char c = 1;
        ssize_t r = write(WakePipe[1], &c, 1);
        (void)r;
    }
}

static void OpenWakePipe() {
    if (WakePipe[0] >= 0) return;
    if (pipe2(WakePipe, O_NONBLOCK | O_CLOEXEC) != 0) {
        WakePipe[0] = WakePipe[1] = -1;
        return;
    }
    struct sigaction sa = {};
    sa.sa_handler = OnSignal;
    sigemptyset(&sa.sa_mask);
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
    signal(SIGPIPE, SIG_IGN);
}

static void CloseWakePipe() {
    if (WakePipe[0] < 0) return;
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
    close(WakePipe[0]);
    close(WakePipe[1]);
    WakePipe[0] = WakePipe[1] = -1;
}

void WakeWaiters() {
    if (WakePipe[1] >= 0) {
        char c = 0;
        ssize_t r = write(WakePipe[1], &c, 1);
        (void)r;
    }
}

bool TakeSignalClose() {
    if (!SignalClose) return false;
    SignalClose = 0;
    NativeMsg m;
    m.Message = WM_CLOSE;
    Ops->Post(m);
    return true;
}

// The wait shortened so that it ends by the earliest deadline of a watch.
static int UntilDeadline(int timeoutMs) {
    double first = 0;
    for (const auto& w : Watches)
        if (w.Deadline > 0 && (first == 0 || w.Deadline < first)) first = w.Deadline;
    if (first == 0) return timeoutMs;
    double ms = (first - PlatformSeconds()) * 1000.0;
    int until = ms <= 0 ? 0 : ms > 1e9 ? 1000000000 : int(ms) + 1;
    return timeoutMs < 0 ? until : std::min(timeoutMs, until);
}

static bool DeadlinePassed(const Watch& w, double now) {
    return w.Deadline > 0 && now >= w.Deadline;
}

bool PollWatched(int extraFd, int timeoutMs) {
    std::vector<pollfd> fds;
    fds.reserve(Watches.size() + 2);
    if (WakePipe[0] >= 0) fds.push_back({WakePipe[0], POLLIN, 0});
    if (extraFd >= 0) fds.push_back({extraFd, POLLIN, 0});
    for (const auto& w : Watches) fds.push_back({w.Fd, w.Events, 0});
    int n = poll(fds.data(), fds.size(), UntilDeadline(timeoutMs));
    if (n < 0) return false;
    bool extraReady = false;
    size_t i = 0;
    if (WakePipe[0] >= 0) {
        if (fds[i].revents) {
            char buf[64];
            while (read(WakePipe[0], buf, sizeof buf) > 0) {
            }
        }
        i++;
    }
    if (extraFd >= 0) {
        extraReady = fds[i].revents != 0;
        i++;
    }
    // Callbacks may add or remove watches, so run them from a copy of what was ready; a
    // descriptor closed and opened again on the way is another watch, told by its User.
    std::vector<Watch> ready;
    double now = PlatformSeconds();
    for (size_t k = 0; i + k < fds.size(); k++)
        if (fds[i + k].revents || DeadlinePassed(Watches[k], now)) ready.push_back(Watches[k]);
    for (const auto& w : ready) {
        bool still = false;
        for (const auto& cur : Watches)
            if (cur.Fd == w.Fd && cur.Callback == w.Callback && cur.User == w.User) still = true;
        if (still) w.Callback(w.Fd, w.User);
    }
    return extraReady;
}

int PlatformStopSignal() {
    return StopSignal;
}

int PlatformOpen(PlatformBackend backend, int width, int height) {
    if (Ops) return 1;
    SignalClose = StopSignal = 0;
    OpenWakePipe();
    const PlatformOps* ops = nullptr;
    if (backend == BACKEND_HEADLESS) ops = HeadlessOps();
#if NEMU_HAVE_X11
    else ops = X11Ops();
#endif
    if (!ops) return 0;
    if (!ops->Open(width, height)) return 0;
    Ops = ops;
    Kind = backend;
    return 1;
}

void PlatformClose() {
    if (!Ops) return;
    Ops->Close();
    Ops = nullptr;
    Timers.clear();
    Watches.clear();
    CloseWakePipe();
    SignalClose = StopSignal = 0;
}

PlatformBackend PlatformKind() { return Kind; }
bool PlatformIsOpen() { return Ops != nullptr; }

double PlatformSeconds() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

uint32_t PlatformTicks() { return uint32_t(uint64_t(PlatformSeconds() * 1000.0)); }

// Delivers one due timer as WM_TIMER, as window systems do: only when nothing else waits.
static bool TakeDueTimer(NativeMsg* msg) {
    double now = PlatformSeconds();
    for (auto& t : Timers) {
        if (now >= t.Due) {
            // Missed periods are not made up; the next one is a whole period away.
            t.Due = now + t.Period / 1000.0;
            *msg = NativeMsg{};
            msg->Message = WM_TIMER;
            msg->WParam = t.Id;
            msg->Time = PlatformTicks();
            return true;
        }
    }
    return false;
}

static int MsUntilNextTimer() {
    if (Timers.empty()) return -1;
    double now = PlatformSeconds(), next = 1e300;
    for (const auto& t : Timers) next = std::min(next, t.Due);
    double ms = (next - now) * 1000.0;
    if (ms <= 0) return 0;
    return int(ms) + 1;
}

bool PlatformPeek(NativeMsg* msg) {
    if (!Ops) return false;
    TakeSignalClose();
    if (Ops->Peek(msg)) return true;
    PollWatched(-1, 0); // a watched descriptor may have posted something
    if (Ops->Peek(msg)) return true;
    return TakeDueTimer(msg);
}

void PlatformGetMessage(NativeMsg* msg) {
    for (;;) {
        if (PlatformPeek(msg)) return;
        Ops->Wait(MsUntilNextTimer());
    }
}

void PlatformPost(const NativeMsg& msg) {
    if (!Ops) return;
    Ops->Post(msg);
}

void PlatformSetTimer(uint32_t id, uint32_t periodMs) {
    for (auto& t : Timers)
        if (t.Id == id) {
            t.Period = periodMs;
            t.Due = PlatformSeconds() + periodMs / 1000.0;
            return;
        }
    Timers.push_back({id, periodMs, PlatformSeconds() + periodMs / 1000.0});
}

void PlatformKillTimer(uint32_t id) {
    for (size_t i = 0; i < Timers.size(); i++)
        if (Timers[i].Id == id) {
            Timers.erase(Timers.begin() + long(i));
            return;
        }
}

bool PlatformHasTimers() { return !Timers.empty(); }
bool PlatformHasWatches() { return !Watches.empty(); }

void PlatformFreeMsg(NativeMsg* msg) {
    std::free(msg->Text);
    msg->Text = nullptr;
    msg->TextLength = 0;
}

void PlatformWatchFd(int fd, WatchCallback callback, void* user) {
    PlatformUnwatchFd(fd);
    Watches.push_back({fd, callback, user, POLLIN, 0});
}

void PlatformWatchFdDeadline(int fd, double at) {
    for (auto& w : Watches)
        if (w.Fd == fd) w.Deadline = at;
}

void PlatformWatchFdEvents(int fd, bool read, bool write) {
    for (auto& w : Watches)
        if (w.Fd == fd) w.Events = short((read ? POLLIN : 0) | (write ? POLLOUT : 0));
}

void PlatformUnwatchFd(int fd) {
    for (size_t i = 0; i < Watches.size(); i++)
        if (Watches[i].Fd == fd) {
            Watches.erase(Watches.begin() + long(i));
            return;
        }
}

uint32_t PlatformQualifiers() { return Ops ? Ops->Qualifiers() : 0; }
bool PlatformTabletPresent() { return Ops && Ops->TabletPresent(); }
int PlatformTabletPackets(TabletPacket* out, int max) { return Ops ? Ops->TabletPackets(out, max) : 0; }

void PlatformBlit(const Bitmap* bitmap, int sx, int sy, int dx, int dy, int w, int h) {
    if (Ops) Ops->Blit(bitmap, sx, sy, dx, dy, w, h);
}
bool PlatformReadPixel(int x, int y, uint32_t* colour) {
    return Ops && Ops->ReadPixel && Ops->ReadPixel(x, y, colour);
}
void PlatformFlush() {
    if (Ops) Ops->Flush();
}
void PlatformScreenSize(int* width, int* height) {
    if (Ops) Ops->ScreenSize(width, height);
    else *width = *height = 0;
}
void PlatformClientSize(int* width, int* height) {
    if (Ops) Ops->ClientSize(width, height);
    else *width = *height = 0;
}
void PlatformClientOrigin(int* x, int* y) {
    if (Ops) Ops->ClientOrigin(x, y);
    else *x = *y = 0;
}
void PlatformSetPointerShape(int shape) {
    if (Ops) Ops->SetPointerShape(shape);
}
void PlatformWarpPointer(int x, int y) {
    if (Ops) Ops->WarpPointer(x, y);
}
void PlatformSetTitle(const char* title) {
    if (Ops) Ops->SetTitle(title);
}
void PlatformIconify() {
    if (Ops) Ops->Iconify();
}
void PlatformSetFullScreen(bool on) {
    if (Ops) Ops->SetFullScreen(on);
}
void PlatformRaise() {
    if (Ops) Ops->Raise();
}
void PlatformLower() {
    if (Ops) Ops->Lower();
}
void PlatformBeep() {
    if (Ops) Ops->Beep();
}
int PlatformDpi() { return Ops && Ops->Dpi ? Ops->Dpi() : 0; }
uint32_t PlatformDoubleClickTime() { return Ops && Ops->DoubleClickTime ? Ops->DoubleClickTime() : 500; }

int PlatformClipboardSetText(const char* text) { return Ops ? Ops->ClipboardSetText(text) : 0; }
char* PlatformClipboardGetText() { return Ops ? Ops->ClipboardGetText() : nullptr; }
int PlatformClipboardSetImage(const Bitmap* bitmap) { return Ops ? Ops->ClipboardSetImage(bitmap) : 0; }
Bitmap* PlatformClipboardGetImage() { return Ops ? Ops->ClipboardGetImage() : nullptr; }

void Warning(const char* format, ...) {
    char text[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    std::fprintf(stderr, "WARNING : %s\n", text);
    std::fflush(stderr);
}

void PlatformMessageBox(const char* text, const char* caption) {
    std::fprintf(stderr, "%s: %s\n", caption ? caption : "Nemu", text ? text : "");
    std::fflush(stderr);
}

int PlatformAsk(const char* text, const char* first, const char* second) {
    std::fprintf(stderr, "Nemu: %s [%s/%s] -> %s\n", text ? text : "", first ? first : "", second ? second : "",
                 second ? second : "");
    std::fflush(stderr);
    return 0;
}

} // namespace nemu
