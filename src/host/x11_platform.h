// Internal to the X11 back end: its shared state and the pieces its files call in one
// another. Only src/host/x11_*.cpp and the back end's own tests include this header.
//
// Sections: state record; window and events (x11_platform.cpp, x11_events.cpp,
// x11_window.cpp); keys (x11_keymap.cpp, x11_keys.cpp); pointer and tablet
// (x11_pointer.cpp, x11_tablet.cpp); blit (x11_blit.cpp); selections, clipboard and
// drops (x11_selection.cpp, x11_clipboard.cpp, x11_dnd.cpp).
#pragma once
#include "host/platform.h"

#include <X11/Xlib.h>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace nemu {

// ---- State --------------------------------------------------------------------------
// Atoms interned once at open; the names are in AtomNames (x11_platform.cpp).
enum X11AtomIndex {
    A_WM_PROTOCOLS,
    A_WM_DELETE_WINDOW,
    A_NET_WM_PING,
    A_NET_WM_NAME,
    A_NET_WM_PID,
    A_UTF8_STRING,
    A_NET_WM_STATE,
    A_NET_WM_STATE_FULLSCREEN,
    A_NET_WM_STATE_MAXIMIZED_VERT,
    A_NET_WM_STATE_MAXIMIZED_HORZ,
    A_NET_SUPPORTING_WM_CHECK,
    A_CLIPBOARD,
    A_TARGETS,
    A_TIMESTAMP,
    A_MULTIPLE,
    A_TEXT,
    A_TEXT_PLAIN_UTF8,
    A_IMAGE_PNG,
    A_INCR,
    A_NEMU_SELECTION,
    A_NEMU_DROP,
    A_XdndAware,
    A_XdndEnter,
    A_XdndPosition,
    A_XdndStatus,
    A_XdndLeave,
    A_XdndDrop,
    A_XdndFinished,
    A_XdndSelection,
    A_XdndTypeList,
    A_XdndActionCopy,
    A_TEXT_URI_LIST,
    A_ABS_PRESSURE,
    A_ABS_TILT_X,
    A_ABS_TILT_Y,
    A_WACOM_TOOL_TYPE,
    A_ERASER,
    A_COUNT
};

struct X11State {
    Display* Dpy = nullptr;
    int ScreenNumber = 0;
    Window Root = 0;
    Window Win = 0;        // the one top-level window
    Visual* Vis = nullptr; // the window's visual
    int Depth = 0;
    Colormap Map = 0; // ours to free when not the screen's default
    bool OwnMap = false;
    GC Gc = nullptr;
    Atom Atoms[A_COUNT] = {};
    int Width = 0, Height = 0;             // client size
    int OriginX = 0, OriginY = 0;          // client origin on the screen
    int ScreenWidth = 0, ScreenHeight = 0; // the root window
    bool Mapped = false;
    bool Iconic = false;                 // last WM_SIZE said minimized
    int SentWidth = -1, SentHeight = -1; // last size given by WM_SIZE
    bool FullScreen = false;
    bool ManualFullScreen = false; // no window manager: done by moving the window
    int SavedX = 0, SavedY = 0, SavedWidth = 0, SavedHeight = 0;
    Time LastTime = CurrentTime; // latest server time seen, for selections
    std::deque<NativeMsg> Queue; // translated messages not yet peeked
    // An exposed area still growing while the server says more Expose events follow.
    bool PaintOpen = false;
    int PaintX1 = 0, PaintY1 = 0, PaintX2 = 0, PaintY2 = 0;
    Cursor Cursors[12] = {}; // one per row of the shape table
    int Shape = -1;
    // Errors: the handler keeps the first code while a trap is set.
    int TrapDepth = 0;
    int TrappedError = 0;
    bool NoShm = false; // NEMU_X11_NOSHM: use XPutImage
    bool NoXi2 = false; // NEMU_X11_NOXI2: core pointer events only
};
extern X11State X11;

// Most messages the internal queue holds; beyond this the oldest pointer move (or the
// oldest message) makes room, so a flood can never grow memory without bound.
constexpr size_t X11QueueLimit = 4096;

// Queues a translated message; it takes over msg.Text.
void X11Queue(NativeMsg msg);
void X11QueueMessage(uint32_t message, uintptr_t wParam, intptr_t lParam);
// Handles one event of the connection: translation into messages, and the protocol
// traffic (selections, drops, pings) that never becomes one.
void X11HandleEvent(XEvent* event);
// Catches the X errors of the calls in between; X11Untrap syncs and returns the first
// error code seen (0 for none).
void X11Trap();
int X11Untrap();
// Waits at most timeoutMs for the connection to be readable; true if it is or events
// are already buffered. Watched descriptors are served meanwhile.
bool X11WaitReadable(int timeoutMs);

// Window management (x11_window.cpp): the table's rows of the same names.
void X11SetPointerShape(int shape);
void X11WarpPointer(int x, int y);
void X11SetTitle(const char* title);
void X11Iconify();
void X11SetFullScreen(bool on);
void X11Raise();
void X11Lower();
void X11Beep();
uint32_t X11DoubleClickTime();
int X11Dpi();
// Whether a window manager that knows the EWMH hints runs now.
bool X11HasWindowManager();
// Re-reads the window manager's state of the window after it changed.
void X11WindowStateChanged();
// Re-reads where the client area lies on the screen.
void X11UpdateOrigin();

// ---- Keys (x11_keymap.cpp, x11_keys.cpp) --------------------------------------------------------------
// The Win32 virtual-key number of a keysym, 0 for keys that have none.
uint32_t KeysymToVirtualKey(uint32_t keysym);
// Unicode of a keysym when no input method is there to say it; 0 for none.
uint32_t KeysymToUnicode(uint32_t keysym);
// The code point at the start of UTF-8 text and the bytes it takes (at least 1);
// Utf8Invalid for a malformed, overlong or surrogate sequence, which takes one byte.
constexpr uint32_t Utf8Invalid = 0xFFFFFFFF;
size_t Utf8Next(const char* text, size_t length, uint32_t* cp);
// Code points of UTF-8 text, at most max of them; malformed bytes are skipped.
int DecodeUtf8(const char* text, size_t length, uint32_t* out, int max);
bool X11OpenInput();
void X11CloseInput();
void X11HandleKey(XEvent* event);
void X11FocusChanged(bool in);
void X11KeymapChanged(XMappingEvent* event);
// Folds the modifier bits of an event's state word into the qualifier state.
void X11TrackState(unsigned int state);
uint32_t X11Qualifiers();

// ---- Pointer (x11_pointer.cpp) and tablet (x11_tablet.cpp) ---------------------------------
bool X11OpenPointer(); // XInput 2 when the server has it, else core events
void X11ClosePointer();
void X11HandleCorePointer(XEvent* event);
// The pointer left the window with no button held: it is taken to be far away.
void X11HandlePointerLeave(XEvent* event);
void X11HandleGeneric(XEvent* event);

// One axis of a device: its valuator number (-1 when absent) and range.
struct TabletAxis {
    int Number = -1;
    double Min = 0, Max = 0;
};

// A slave pointer that reports pressure.
struct TabletDevice {
    int Id = 0;
    std::string Name;
    bool Eraser = false; // the pen's second end
    TabletAxis Pressure, TiltX, TiltY;
    std::vector<double> Last; // each valuator's latest value: events carry only changes
};

// 16.16 fixed point of a coordinate that X gives as a double (exact for FP3232 values
// of screen size): the floor of value * 65536, kept inside 32 bits.
int32_t CoordToFixed(double value);
// Fills Pressure, PressureMin and PressureMax of a packet from a valuator value and its
// axis range. Ranges too narrow for integers (0 to 1) are spread over 0 to 65535.
void ScalePressure(double value, double min, double max, TabletPacket* packet);
// Azimuth and altitude in tenths of a degree from tilt angles in degrees: azimuth
// clockwise from the top of the screen, altitude 900 for an upright pen.
void TiltToOrientation(double tiltX, double tiltY, int32_t* azimuth, int32_t* altitude);
// Tilt angle in degrees of a tilt valuator: values are degrees when the axis spans at
// most 90 each way, otherwise the range is taken as 60 degrees each way.
double TiltDegrees(double value, const TabletAxis& axis);
bool IsEraserName(const char* name);
// Builds a packet from an event's valuators (mask of maskBytes bytes, values packed in
// the order of the set bits), remembering them in device->Last.
void MakeTabletPacket(TabletDevice* device, const unsigned char* mask, int maskBytes, const double* values,
                      double rootX, double rootY, uint32_t buttons, TabletPacket* packet);
// Re-reads the devices; true when the set of tablets changed.
bool X11ScanTablets();
TabletDevice* X11FindTablet(int deviceId);
void X11QueuePacket(const TabletPacket& packet);
void X11ClearTablets();
bool X11TabletPresent();
int X11TabletPackets(TabletPacket* out, int max);
constexpr size_t TabletQueueLimit = 256;

// ---- Blit (x11_blit.cpp) -------------------------------------------------------------------
// How a visual wants its pixels: bits per pixel (16, 24 or 32), byte order, and masks.
struct PixelLayout {
    int BitsPerPixel = 32;
    bool MsbFirst = false;
    uint32_t RedMask = 0xFF0000, GreenMask = 0xFF00, BlueMask = 0xFF;
};
// True when the bitmap's own bytes are already what the layout wants.
bool IsNativeLayout(const PixelLayout& layout);
// Writes count pixels of a bitmap row in the layout; alpha is dropped.
void ConvertPixels(const uint32_t* src, uint8_t* dst, int count, const PixelLayout& layout);
bool X11OpenBlit();
void X11CloseBlit();
void X11Blit(const Bitmap* bitmap, int sx, int sy, int dx, int dy, int w, int h);
void X11Flush();
void X11ShmCompleted();
int X11ShmCompletionType(); // the event number of a finished shared-memory put, -1 without
bool X11ShmActive();        // whether the shared image is in use
// A pixel of the shared image, which holds what was last put at each place of the window.
bool X11ReadPixel(int x, int y, uint32_t* colour);

// ---- Selections, clipboard and drops -----------------------------------------------------
// A malloc'd block of bytes that frees itself; growing it fails with false, never throws.
struct ByteBuffer {
    uint8_t* Data = nullptr;
    size_t Size = 0;
    ByteBuffer() = default;
    ByteBuffer(const ByteBuffer&) = delete;
    ByteBuffer& operator=(const ByteBuffer&) = delete;
    ~ByteBuffer() { Clear(); }
    bool Assign(const void* data, size_t size);
    void Swap(ByteBuffer& other);
    void Clear();
};

// Largest selection the back end sends or takes in one property.
constexpr size_t SelectionLimit = 64u << 20;
// Reads a property of format 8 (taking it away when remove is set); false when it is
// absent, incremental, larger than maxBytes, or of another format.
bool X11ReadProperty(Window window, Atom property, size_t maxBytes, bool remove, ByteBuffer* out, Atom* type);
// Reads a list of atoms, at most maxAtoms of them.
bool X11ReadAtoms(Window window, Atom property, size_t maxAtoms, std::vector<Atom>* out);
// Asks the owner of a selection for it in the given form and waits about a second for
// the answer, handling other events meanwhile. Returns 1 with the data, 0 when the owner
// refused or sent what cannot be read, -1 when no answer came.
int X11ConvertSelection(Atom selection, Atom target, size_t maxBytes, ByteBuffer* out, Atom* type);
// The most one property can carry to another client on this server.
size_t X11PropertyLimit();
void X11HandleSelectionRequest(XSelectionRequestEvent* request);
void X11HandleSelectionClear(XSelectionClearEvent* clear);
// Clipboard (x11_clipboard.cpp): what we own, answered on request.
bool X11AnswerClipboard(Window requestor, Atom target, Atom property);
void X11ClipboardLost();
void X11CloseClipboard();
int X11ClipboardSetText(const char* text);
char* X11ClipboardGetText();
int X11ClipboardSetImage(const Bitmap* bitmap);
Bitmap* X11ClipboardGetImage();
// PNG in memory for the clipboard: straight alpha outside, premultiplied inside.
bool EncodeClipboardPng(const Bitmap* bitmap, ByteBuffer* out);
Bitmap* DecodeClipboardPng(const uint8_t* data, size_t size);

// Drops: the XDND client messages and the selection that carries the names.
void X11OpenDnd();
void X11HandleDndMessage(XClientMessageEvent* message);
bool X11HandleDndSelection(XSelectionEvent* event); // false when not a drop's answer
void X11CheckDndTimeout();
void X11CloseDnd();
// Local paths of the file: URIs of a text/uri-list, each ending with a NUL, and one more
// NUL after the last; empty when none is usable. Other hosts than localhost and
// hostname are refused, as are malformed escapes and names with a NUL.
std::string DecodeUriList(const char* data, size_t size, const char* hostname);

} // namespace nemu
