// The headless back end: an in-memory screen that blits land in, and an event queue
// that tests and batch runs fill. It makes no window and needs no display.
#include "host/platform.h"
#include "host/platform_ops.h"
#include "store/bitmap.h"

#include <cstdlib>
#include <cstring>
#include <deque>

namespace nemu {

namespace {

struct HeadlessState {
    Bitmap* Screen = nullptr;
    std::deque<NativeMsg> Queue;
    std::deque<TabletPacket> Packets;
    uint32_t Qualifiers = 0;
    bool TabletPresent = false;
    bool CloseWhenIdle = false;
    int PointerShape = -1;
    char* ClipText = nullptr;
    Bitmap* ClipImage = nullptr;
};
HeadlessState H;

constexpr int DefaultWidth = 1024, DefaultHeight = 768;

int Open(int width, int height) {
    if (width <= 0 || height <= 0) {
        width = DefaultWidth;
        height = DefaultHeight;
    }
    H.Screen = NewClearBitmap(width, height);
    if (!H.Screen) return 0;
    NativeMsg m;
    m.Message = WM_SIZE;
    m.LParam = MakePositionWord(width, height);
    H.Queue.push_back(m);
    m.Message = WM_PAINT;
    m.LParam = MakePositionWord(0, 0);
    m.WParam = uintptr_t(MakePositionWord(width, height));
    H.Queue.push_back(m);
    return 1;
}

void Close() {
    for (auto& m : H.Queue) PlatformFreeMsg(&m);
    FreeBitmap(H.Screen);
    FreeBitmap(H.ClipImage);
    std::free(H.ClipText);
    H = HeadlessState{};
}

bool Peek(NativeMsg* msg) {
    if (H.Queue.empty()) return false;
    *msg = H.Queue.front();
    H.Queue.pop_front();
    return true;
}

void Post(const NativeMsg& msg) {
    NativeMsg m = msg;
    if (!m.Time) m.Time = PlatformTicks();
    H.Queue.push_back(m);
}

void Wait(int timeoutMs) {
    if (!H.Queue.empty()) return;
    if (H.CloseWhenIdle) {
        // A batch run has nothing more to say: ask to close, once.
        H.CloseWhenIdle = false;
        NativeMsg m;
        m.Message = WM_CLOSE;
        Post(m);
        return;
    }
    PollWatched(-1, timeoutMs);
}

uint32_t Qualifiers() { return H.Qualifiers; }
bool TabletPresent() { return H.TabletPresent; }

int TabletPackets(TabletPacket* out, int max) {
    int n = 0;
    while (n < max && !H.Packets.empty()) {
        out[n++] = H.Packets.front();
        H.Packets.pop_front();
    }
    return n;
}

void Blit(const Bitmap* bitmap, int sx, int sy, int dx, int dy, int w, int h) {
    if (!H.Screen) return;
    CopyRectClipped(bitmap, sx, sy, H.Screen, dx, dy, w, h);
}

void Flush() {}

bool ReadPixel(int x, int y, uint32_t* colour) {
    if (!H.Screen || x < 0 || y < 0 || x >= H.Screen->Width || y >= H.Screen->Height) return false;
    *colour = H.Screen->Pixels[size_t(y) * size_t(H.Screen->Width) + size_t(x)];
    return true;
}
void ScreenSize(int* width, int* height) {
    *width = H.Screen ? H.Screen->Width : 0;
    *height = H.Screen ? H.Screen->Height : 0;
}
void ClientSize(int* width, int* height) { ScreenSize(width, height); }
void ClientOrigin(int* x, int* y) { *x = *y = 0; }
void SetPointerShape(int shape) { H.PointerShape = shape; }
void WarpPointer(int x, int y) { HeadlessQueuePointer(x, y); }
void SetTitle(const char*) {}
void Iconify() {}
void SetFullScreen(bool) {}
void Raise() {}
void Lower() {}
void Beep() {}

int ClipboardSetText(const char* text) {
    char* copy = strdup(text ? text : "");
    if (!copy) return 0;
    std::free(H.ClipText);
    H.ClipText = copy;
    return 1;
}

char* ClipboardGetText() { return H.ClipText ? strdup(H.ClipText) : nullptr; }

int ClipboardSetImage(const Bitmap* bitmap) {
    Bitmap* copy = NewBitmap(bitmap->Width, bitmap->Height);
    if (!copy) return 0;
    CopyBitmap(bitmap, copy);
    FreeBitmap(H.ClipImage);
    H.ClipImage = copy;
    return 1;
}

Bitmap* ClipboardGetImage() {
    if (!H.ClipImage) return nullptr;
    Bitmap* copy = NewBitmap(H.ClipImage->Width, H.ClipImage->Height);
    if (copy) CopyBitmap(H.ClipImage, copy);
    return copy;
}

const PlatformOps Table = {
    "headless", Open, Close, Peek, Wait, Post, Qualifiers, TabletPresent, TabletPackets, Blit, Flush,
    ScreenSize, ClientSize, ClientOrigin, SetPointerShape, WarpPointer, SetTitle, Iconify, SetFullScreen,
    Raise, Lower, Beep, ClipboardSetText, ClipboardGetText, ClipboardSetImage, ClipboardGetImage, nullptr,
    ReadPixel, nullptr,
};

} // namespace

const PlatformOps* HeadlessOps() { return &Table; }

Bitmap* HeadlessScreen() { return H.Screen; }

void HeadlessQueue(const NativeMsg& msg) { Post(msg); }

void HeadlessQueuePointer(int x, int y, uint32_t message) {
    NativeMsg m;
    m.Message = message;
    m.LParam = MakePositionWord(x, y);
    Post(m);
}

void HeadlessQueueKey(uint32_t vk, uint32_t character, bool release) {
    NativeMsg m;
    m.Message = release ? WM_KEYUP : WM_KEYDOWN;
    m.WParam = vk;
    Post(m);
    if (!release && character) {
        m.Message = WM_CHAR;
        m.WParam = character;
        Post(m);
    }
}

void HeadlessQueueTablet(const TabletPacket& packet) {
    H.TabletPresent = true;
    H.Packets.push_back(packet);
}

void HeadlessSetQualifiers(uint32_t qualifiers) { H.Qualifiers = qualifiers; }
void HeadlessSetTabletPresent(bool present) { H.TabletPresent = present; }
int HeadlessPending() { return int(H.Queue.size()); }
void HeadlessCloseWhenIdle(bool on) { H.CloseWhenIdle = on; }
int HeadlessPointerShape() { return H.PointerShape; }

} // namespace nemu
