// The one door to the operating system and the window system.
//
// Everything above the host layer sees the window system only through this header.
// Events arrive as native messages numbered as the logic knows them (the classic
// window-message numbers, with their parameter words), whatever back end made them:
// X11 for users, headless (an in-memory screen and an event queue) for tests and batch.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace nemu {

struct Bitmap;

enum NativeMessage : uint32_t {
    WM_CREATE = 1,
    WM_DESTROY = 2,
    WM_MOVE = 3,   // LParam: position word of the client area's corner on the screen
    WM_SIZE = 5,   // LParam: low half client width, high half client height; WParam 1: minimized, size 0
    WM_PAINT = 15, // WParam/LParam: invalid rectangle, see PaintRect
    WM_CLOSE = 16,
    WM_QUERYENDSESSION = 17,
    WM_GETMINMAXINFO = 36,
    WM_DISPLAYCHANGE = 126, // LParam: the screen's new width and height as a position word
    WM_KEYDOWN = 256,       // WParam: virtual-key number
    WM_KEYUP = 257,
    WM_CHAR = 258,      // WParam: the character, a Unicode code point
    WM_TIMER = 275,     // WParam: timer id
    WM_MOUSEMOVE = 512, // LParam: position word, low half column, high half row (signed 16 bits each)
    WM_LBUTTONDOWN = 513,
    WM_LBUTTONUP = 514,
    WM_RBUTTONDOWN = 516,
    WM_RBUTTONUP = 517,
    WM_MBUTTONDOWN = 519,
    WM_MBUTTONUP = 520,
    WM_MOUSEWHEEL = 522, // WParam high half: signed delta, 120 a notch; LParam: position word
    WM_DROPFILES = 563,  // Text: NUL-separated file names
    WM_QUERYNEWPALETTE = 783,
    WM_DDE_INITIATE = 992,
    WM_DDE_TERMINATE = 993,
    WM_DDE_ACK = 996,
    WM_DDE_DATA = 997,
    WM_DDE_REQUEST = 998, // Text: command text; WParam: the client id to answer
    WM_DDE_EXECUTE = 1000,
    WM_WAKE = 1024, // posted to wake the loop, carries nothing
    WT_INFOCHANGE = 32758,
};

// Win32 virtual-key numbers that other parts compare against.
enum VirtualKey : uint32_t {
    VK_BACK = 8,
    VK_TAB = 9,
    VK_RETURN = 13,
    VK_SHIFT = 16,
    VK_CONTROL = 17,
    VK_MENU = 18,
    VK_PAUSE = 19,
    VK_CAPITAL = 20,
    VK_ESCAPE = 27,
    VK_SPACE = 32,
    VK_PRIOR = 33,
    VK_NEXT = 34,
    VK_END = 35,
    VK_HOME = 36,
    VK_LEFT = 37,
    VK_UP = 38,
    VK_RIGHT = 39,
    VK_DOWN = 40,
    VK_INSERT = 45,
    VK_DELETE = 46,
    // '0'..'9' are 48..57 and 'A'..'Z' are 65..90, as their characters.
    VK_NUMPAD0 = 96,
    VK_MULTIPLY = 106,
    VK_ADD = 107,
    VK_SUBTRACT = 109,
    VK_DECIMAL = 110,
    VK_DIVIDE = 111,
    VK_F1 = 112, // F1..F12 are 112..123
    VK_OEM_1 = 186,
    VK_OEM_PLUS = 187,
    VK_OEM_COMMA = 188,
    VK_OEM_MINUS = 189,
    VK_OEM_PERIOD = 190,
    VK_OEM_2 = 191,
    VK_OEM_3 = 192,
    VK_OEM_4 = 219,
    VK_OEM_5 = 220,
    VK_OEM_6 = 221,
    VK_OEM_7 = 222,
};

// A native message. Text is owned by the message (malloc'd) and handed over with it.
struct NativeMsg {
    uint32_t Message = 0;
    uintptr_t WParam = 0;
    intptr_t LParam = 0;
    uint32_t Time = 0;    // milliseconds, monotonic
    char* Text = nullptr; // dropped file names or a remote command text
    size_t TextLength = 0;
};

// Where the pointer is taken to be while it is not over the window: before it first comes,
// and after it leaves with no button held. Far off any page, so that no brush preview
// stands at a place the pointer never was.
constexpr int PointerAwayCoord = -16384;
constexpr int32_t PointerAwayFixed = int32_t(uint32_t(PointerAwayCoord) << 16 | 0x8000u);

// Position word as the native messages carry it: column in the low 16 bits, row in the high.
inline intptr_t MakePositionWord(int x, int y) {
    return intptr_t(uint32_t(uint16_t(int16_t(x))) | (uint32_t(uint16_t(int16_t(y))) << 16));
}

// One tablet packet. Positions are screen coordinates in 16.16 with a true fraction.
struct TabletPacket {
    uint32_t Cursor = 0;  // cursor index: bit 0 ignored, 0 is the pen tip, 2 the second (eraser) end
    uint32_t Buttons = 0; // bit set of pressed buttons, bit 0 the tip
    int32_t X = 0, Y = 0; // 16.16 screen position
    int32_t Pressure = 0; // raw pressure in the device's own range
    int32_t PressureMin = 0, PressureMax = 0; // the device's pressure axis
    int32_t Azimuth = 0, Altitude = 0;        // tenths of a degree, 0 when the device has none
};

enum PlatformBackend { BACKEND_HEADLESS = 0, BACKEND_X11 = 1 };

// ---- Opening and closing ----------------------------------------------------------
// Opens the main window (or the headless screen) of the given client size; 0 for the
// size means the back end's choice (the full screen). Returns 1 on success.
int PlatformOpen(PlatformBackend backend, int width, int height);
void PlatformClose();
// The number of the signal (SIGINT or SIGTERM) that asked the program to end since the
// platform opened, else 0. It stays set until the platform closes: long work and the
// runs of many commands look at it at their break checks and stop there.
int PlatformStopSignal();
PlatformBackend PlatformKind();
bool PlatformIsOpen();

// ---- Events -------------------------------------------------------------------------
// Takes one message off the queue without blocking; false when there is none.
bool PlatformPeek(NativeMsg* msg);
// Blocks until a message is there (timer messages included); returns it.
// A back end that can never deliver another message returns a WM_CLOSE.
void PlatformGetMessage(NativeMsg* msg);
// Posts a message to the main window's queue (it wakes a blocked PlatformGetMessage).
void PlatformPost(const NativeMsg& msg);
// A periodic timer that delivers WM_TIMER with WParam id.
void PlatformSetTimer(uint32_t id, uint32_t periodMs);
void PlatformKillTimer(uint32_t id);
// Frees what a message owns.
void PlatformFreeMsg(NativeMsg* msg);
// Live state of the qualifier keys: bit 2 shift, 4 control, 8 alt.
uint32_t PlatformQualifiers();
// Milliseconds since an arbitrary start, monotonic.
uint32_t PlatformTicks();
double PlatformSeconds();

// Other descriptors the event wait also watches (the remote-command socket). The
// callback runs on the main thread from inside PlatformPeek or PlatformGetMessage and may
// post messages.
using WatchCallback = void (*)(int fd, void* user);
void PlatformWatchFd(int fd, WatchCallback callback, void* user);
void PlatformUnwatchFd(int fd);
// Which readiness of a watched descriptor runs its callback: readable (the default) and
// writable (for output that had to wait). A hang-up or error runs it whatever is chosen.
void PlatformWatchFdEvents(int fd, bool read, bool write);
// Runs the callback of a watched descriptor once PlatformSeconds reaches at, ready or not,
// and again at each later wait until the deadline is moved; 0 for none. It is how the
// owner gives up on a peer that went quiet.
void PlatformWatchFdDeadline(int fd, double at);

// ---- Tablet -------------------------------------------------------------------------
// Whether a pressure device is known to the back end.
bool PlatformTabletPresent();
// Takes up to max pending packets, oldest first; returns how many.
int PlatformTabletPackets(TabletPacket* out, int max);

// ---- Screen output ------------------------------------------------------------------
// Shows a rectangle of a 32-bit bitmap at (dx, dy) of the window, one to one.
void PlatformBlit(const Bitmap* bitmap, int sx, int sy, int dx, int dy, int w, int h);
// Makes what was blitted visible (a no-op where blits are immediate).
void PlatformFlush();
// What the window shows at (x, y) of its client area, 0xAARRGGBB, as the back end last
// drew it; false when the back end keeps no copy of its window (X11 without shared
// memory) or the point lies outside it. Tests and scripts read the display with it.
bool PlatformReadPixel(int x, int y, uint32_t* colour);
void PlatformScreenSize(int* width, int* height); // the whole display
void PlatformClientSize(int* width, int* height); // the main window
void PlatformClientOrigin(int* x, int* y);        // client area on the display

// Pointer shapes by the program's numbers: 0 normal, 1 tool cross, 2 busy, 6 and 7 the
// alternative tool pointers, -1 none.
void PlatformSetPointerShape(int shape);
void PlatformWarpPointer(int x, int y); // window coordinates

void PlatformSetTitle(const char* title);
void PlatformIconify();
void PlatformSetFullScreen(bool on);
void PlatformRaise();
void PlatformLower();
void PlatformBeep();
uint32_t PlatformDoubleClickTime(); // milliseconds
int PlatformDpi();                  // the desktop's stated resolution, 0 when unknown

// ---- Clipboard ----------------------------------------------------------------------
int PlatformClipboardSetText(const char* text);
// Returns a malloc'd copy or null.
char* PlatformClipboardGetText();
int PlatformClipboardSetImage(const Bitmap* bitmap);
// Returns a new Bitmap or null.
Bitmap* PlatformClipboardGetImage();

// ---- Boxes of last resort -----------------------------------------------------------
// A message box that needs none of the program's own windows: on X11 it is shown on the
// terminal, in batch mode on standard error.
void PlatformMessageBox(const char* text, const char* caption);
// A console warning, "WARNING : " and the formatted text on one line. It goes to standard
// error, so that standard output carries only what batch runs print as replies.
void Warning(const char* format, ...) __attribute__((format(printf, 1, 2)));
// A two-answer box of last resort; returns 1 for the first answer. Without anyone to ask
// (headless) it returns the second, the cautious one.
int PlatformAsk(const char* text, const char* first, const char* second);

// ---- Headless back end --------------------------------------------------------------
// The in-memory screen that blits land in; null unless the headless back end is open.
Bitmap* HeadlessScreen();
// Queues a message as if the window system had sent it.
void HeadlessQueue(const NativeMsg& msg);
void HeadlessQueuePointer(int x, int y, uint32_t message = WM_MOUSEMOVE);
void HeadlessQueueKey(uint32_t vk, uint32_t character, bool release = false);
void HeadlessQueueTablet(const TabletPacket& packet);
void HeadlessSetQualifiers(uint32_t qualifiers);
void HeadlessSetTabletPresent(bool present);
int HeadlessPending(); // messages waiting in the queue
// When set, the first blocking wait that finds the queue empty posts one WM_CLOSE (timers
// and watched descriptors do not count as something to do), so a batch run always ends.
void HeadlessCloseWhenIdle(bool on);
// The shape the program last asked for (after the Mouse mapping), -1 for none yet.
int HeadlessPointerShape();

} // namespace nemu
