// Internal to the host layer: the table of operations each back end provides.
#pragma once
#include "host/platform.h"

namespace nemu {

struct PlatformOps {
    const char* Name;
    int (*Open)(int width, int height);
    void (*Close)();
    bool (*Peek)(NativeMsg* msg);
    // Waits until a message may be there or timeoutMs passes (-1 forever); the caller
    // peeks afterwards. Watched descriptors and the wake pipe are polled too.
    void (*Wait)(int timeoutMs);
    void (*Post)(const NativeMsg& msg);
    uint32_t (*Qualifiers)();
    bool (*TabletPresent)();
    int (*TabletPackets)(TabletPacket* out, int max);
    void (*Blit)(const Bitmap* bitmap, int sx, int sy, int dx, int dy, int w, int h);
    void (*Flush)();
    void (*ScreenSize)(int* width, int* height);
    void (*ClientSize)(int* width, int* height);
    void (*ClientOrigin)(int* x, int* y);
    void (*SetPointerShape)(int shape);
    void (*WarpPointer)(int x, int y);
    void (*SetTitle)(const char* title);
    void (*Iconify)();
    void (*SetFullScreen)(bool on);
    void (*Raise)();
    void (*Lower)();
    void (*Beep)();
    int (*ClipboardSetText)(const char* text);
    char* (*ClipboardGetText)();
    int (*ClipboardSetImage)(const Bitmap* bitmap);
    Bitmap* (*ClipboardGetImage)();
    uint32_t (*DoubleClickTime)(); // milliseconds; null: the common default
    // What the window shows at a point, where the back end keeps a copy of what it drew;
    // null, or false, where it does not.
    bool (*ReadPixel)(int x, int y, uint32_t* colour);
    int (*Dpi)(); // the display's resolution as the desktop states it; 0 when unknown
};

const PlatformOps* HeadlessOps();
#if NEMU_HAVE_X11
const PlatformOps* X11Ops();
#endif

// Shared by the back ends: the descriptors to watch besides the window system's own, and
// the self-pipe that signals and posts write to. Polls them all together with extraFd
// (-1 for none) for at most timeoutMs; runs the callbacks of ready descriptors. Returns
// true when extraFd is readable.
bool PollWatched(int extraFd, int timeoutMs);
// Queues a close request when SIGINT or SIGTERM arrived; true if one did.
bool TakeSignalClose();
void WakeWaiters();
bool PlatformHasTimers();
bool PlatformHasWatches();

} // namespace nemu
