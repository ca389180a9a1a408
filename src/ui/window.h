// The program's own windows. A panel, a dialog, a popup menu and a progress box are all a
// GuiWindow: an off-screen Bitmap of its own at a place on the screen, held in one doubly
// linked list whose head is the bottom of the stack and whose tail is the top. This header
// is the window half of the toolkit: the record, the list and its stacking rules, opening,
// closing, moving, refreshing, the modal loop and the pointer's meeting with a window.
// The controls inside are Gadget rows (ui/gadget.h).
//
// Units. The surface and the screen rectangle are in screen pixels. Gadget rows, and the
// sizes given to WindowNew and WindowFromRows, are layout units: the pixels of interface
// scale 1, multiplied by the scale of ui/ui_scale.h when drawn. A window keeps both sizes.
//
// Every function accepts a null or stale window (one no longer in the list) and then does
// nothing, so a handler may find its window gone after any call that runs an event loop.
#pragma once
#include <cstdint>

namespace nemu {

struct Bitmap;
struct Gadget;
struct GuiWindow;

// ---- Window flags -----------------------------------------------------------------------------
constexpr uint32_t WINDOW_SIMPLE_FRAME = 1;    // fixed grey bevel instead of one from BACKGROUNDCOLOR
constexpr uint32_t WINDOW_KEEP_STRING = 2;     // opening it leaves the active string gadget alone (popups)
constexpr uint32_t WINDOW_BACKDROP = 4;        // stays below every other window, never raised
constexpr uint32_t WINDOW_RAISE_FLASH = 8;     // opening raises it and flashes its drag bar
constexpr uint32_t WINDOW_THIN_FRAME = 16;     // drag bar and system gadgets one pixel nearer the edge
constexpr uint32_t WINDOW_INACTIVE_TITLE = 32; // title bar in the inactive colour
constexpr uint32_t WINDOW_RESIZABLE = 64;      // has a size gadget; the edges react to the pointer

// Notify bits.
constexpr uint32_t NOTIFY_NOTICES = 1; // gets code 7 from NotifyWindows
constexpr uint32_t NOTIFY_IDLE = 6;    // gets code 6 idle ticks (bit 2 also: its modal loop polls)

// Handler codes that OnGadget sees.
constexpr int32_t GC_DRAG_DONE = 0; // drag finished, or a string left by clicking elsewhere
constexpr int32_t GC_PRESS = 1;     // left pressed or repeating (2: right)
constexpr int32_t GC_RIGHT_PRESS = 2;
constexpr int32_t GC_CLICK = -1; // left clicked (-2: right)
constexpr int32_t GC_RIGHT_CLICK = -2;
constexpr int32_t GC_RETURN = 4;
constexpr int32_t GC_TAB = 5;
constexpr int32_t GC_IDLE = 6;
constexpr int32_t GC_NOTICE = 7;
constexpr int32_t GC_BACKTAB = 8;

// Edge masks of a resize.
constexpr int EDGE_LEFT = 1, EDGE_RIGHT = 2, EDGE_TOP = 4, EDGE_BOTTOM = 8;

// Pointer shapes the windows ask for (the host's numbers).
constexpr uint32_t POINTER_NORMAL = 0;
constexpr uint32_t POINTER_DRAG_VALUE = 5;
constexpr uint32_t POINTER_SIZE_WE = 8, POINTER_SIZE_NS = 9;
constexpr uint32_t POINTER_SIZE_NESW = 10, POINTER_SIZE_NWSE = 11;

using GadgetHandler = int32_t (*)(GuiWindow* window, Gadget* gadget, int32_t code);
using WindowKeyHandler = int32_t (*)(const char* text, int32_t* length, int32_t zero, GuiWindow* window,
                                     int32_t keycode, uint32_t qualifiers);

struct GuiWindow {
    int32_t Left, Right, Top, Bottom;         // screen rectangle; Right = Left + Width, Bottom = Top + Height
    uint32_t Width, Height;                   // surface size in pixels
    Bitmap* Surface;                          // owned: the window's picture, copied to the screen
    Gadget* Gadgets;                          // not owned: the first rows, ended by id 0
    Gadget* DynGadgets;                       // owned: rows built at run time, ended by id 0
    uint32_t Flags;                           // WINDOW_ bits
    GuiWindow* Next;                          // towards the top of the stack
    GuiWindow* Prev;                          // towards the bottom
    GadgetHandler OnGadget;                   // non-zero result ends a modal loop with that value
    void (*OnClose)(GuiWindow* window);       // asked to close
    void (*OnCloseGadget)(GuiWindow* window); // the close gadget, before OnClose
    void (*OnMove)(GuiWindow* window, int32_t* x, int32_t* y); // proposed drag position; may change it
    // Before a piece (surface pixels) goes to the screen; non-zero: it did the copy itself.
    int32_t (*OnExpose)(GuiWindow* window, int32_t x, int32_t y, int32_t w, int32_t h);
    int32_t (*OnEdgePress)(GuiWindow* window, int32_t x, int32_t y); // press outside every gadget
    // During a resize drag with the proposed screen rectangle in pixels; phase 2 or 1 while
    // dragging (2 over the drag limit), 0 after the release. May return another window;
    // null ends the drag.
    GuiWindow* (*OnResize)(GuiWindow* window, int32_t* x, int32_t* y, int32_t* w, int32_t* h, int32_t phase);
    int32_t MinWidth, MinHeight; // pixel limits of a resize drag
    uint32_t Open;               // 1 while shown; a closed window may stay in the list
    uint32_t (*PointerAt)(GuiWindow* window, int32_t x, int32_t y); // pointer shape at a surface point
    uint32_t DefaultPointer;
    WindowKeyHandler OnKey; // keys when no string gadget is active; non-zero ends a modal loop
    void* PluginData;
    uint32_t Serial;                                  // running number from creation
    int32_t ClipWidth, ClipHeight, ClipLeft, ClipTop; // area labels may use, in pixels
    uint32_t Notify;                                  // NOTIFY_ bits
    // Beyond the classic record:
    int32_t LayoutWidth, LayoutHeight; // size in layout units (scale 1) that the rows refer to
    void* UserData;                    // the panel's own
};

// ---- Global state --------------------------------------------------------------------------
extern GuiWindow* WindowListHead; // bottom of the stack
extern GuiWindow* WindowListTail; // top
extern GuiWindow* CurrentWindow;  // the last window to receive a gadget event
extern GuiWindow* ModalWindow;    // the window of the innermost modal loop, or null
extern Bitmap* Backdrop;          // what lies behind all windows when set; else the page
extern int32_t WindowMagnet;      // setting "Magnet": drags snap to edges
extern int32_t SpawnX, SpawnY;    // inside the screen: new windows centre on it
extern int32_t DragLimit;         // pixels; larger windows drag as an outline
extern int32_t ModalDepth;        // nesting of modal loops
extern uint32_t WindowSerialCounter;
// The work area that window edges snap to (the main toolbar reports it); screen when w = 0.
extern int32_t WorkAreaX, WorkAreaY, WorkAreaW, WorkAreaH;
// Called when a drag asks to become a brush ("g"): the window's surface, to be copied.
extern void (*WindowToBrushHook)(const Bitmap* surface);
// Re-links and opens the toolbar on the middle button's show-all; set by the main panel.
extern void (*ToolbarShowHook)();

// ---- The list --------------------------------------------------------------------------------
// The topmost open window that holds the screen point, or null.
GuiWindow* WindowAt(int x, int y);
// Whether window is in the list (the test every loop makes after a call out).
bool WindowInList(const GuiWindow* window);
// A window of width by height layout units, framed, linked at the tail, closed; null when
// out of memory (the caller shows message 1000).
GuiWindow* WindowNew(int32_t width, int32_t height, uint32_t flags);
// The same with the surface size given in pixels (windows that show pixels one to one).
GuiWindow* WindowNewPixels(int32_t width, int32_t height, uint32_t flags);
// WindowNew, WindowLayoutRows and WindowDrawRows: the usual way to make a panel. Not opened.
GuiWindow* WindowFromRows(int32_t width, int32_t height, Gadget* rows);
void WindowOpen(GuiWindow* window);   // show it (and every closed window in the list)
void WindowHide(GuiWindow* window);   // stays in the list, Open = 0, screen restored
void WindowDelete(GuiWindow* window); // hide, unlink, free rows, surface and record
void WindowUnlink(GuiWindow* window);
void WindowLink(GuiWindow* window);                       // append at the tail (backdrops go to the head)
void WindowMove(GuiWindow* window, int32_t x, int32_t y); // clamped so a part stays on screen
void WindowToFront(GuiWindow* window, int flash);
void WindowToBack(GuiWindow* window);
int WindowHideAll(); // how many were hidden
int WindowShowAll(); // how many were shown
// The middle button: hides all windows if any is open, else shows them all.
void WindowToggleAll();
// Deletes every window (shutdown).
void WindowDeleteAll();
// Paints the frame and background of the surface again (after a colour change).
void WindowDrawFrame(GuiWindow* window);

// ---- Screen refresh ----------------------------------------------------------------------------
// Copies a piece of the surface (surface pixels) to the screen, clipped by the windows above.
void WindowRefreshRect(GuiWindow* window, int32_t x, int32_t y, int32_t w, int32_t h);
void WindowRefresh(GuiWindow* window); // the whole surface
// Repaints a screen rectangle from the page and the open windows below window (all open
// windows when window is null), leaving what windows above it cover.
void RestoreBehind(GuiWindow* window, int32_t x, int32_t y, int32_t w, int32_t h);
// Repaints a screen rectangle with everything: page, surround and every open window.
void RepaintScreenRect(int32_t x, int32_t y, int32_t w, int32_t h);

// ---- Events and loops ---------------------------------------------------------------------------
// WaitEvent's codes are in host/input.h. WaitMouse maps them for button-only loops:
// 1 left down, 2 left up, 3 right down, 4 right up, else 0.
int WaitMouse(int wait);
// Sleeps ticks of 20 ms (not on the headless screen, whose time is the queue's).
void GuiSleepTicks(int ticks);
// Runs a modal loop over window; the non-zero value that ended it, or 0 if it vanished.
int32_t ModalLoop(GuiWindow* window);
// The main loop's press over an open window (screen point, code 1 or 2); 1 when a window
// took it. Modeless windows are hit topmost first.
int WindowPressAt(int x, int y, int code);
// The main loop's key when a string gadget is active or a window wants keys; 1 if taken.
int WindowKey(const char* text, int32_t length, int32_t keycode, uint32_t qualifiers);
// Idle work of the main loop: help bubbles, the caret's blink, idle ticks.
void WindowIdle();
// Closes the modal window, else the topmost open window at the point (OnClose or delete).
void WindowCloseAt(int x, int y);
void BroadcastKey(const char* text, int32_t length, int32_t keycode, uint32_t qualifiers);
void NotifyWindows(GuiWindow* window); // code 7 to window, or to all with NOTIFY_NOTICES
void TickWindows(GuiWindow* window);   // code 6 to window, or to all with NOTIFY_IDLE

// ---- Drags ---------------------------------------------------------------------------------------
// The drag bar's press: moves the window with the pointer until release; 1 when it moved.
int WindowDrag(GuiWindow* window);
// The proposed place of a dragged window snapped to the work area and other windows.
void WindowSnap(GuiWindow* window, int32_t* x, int32_t* y);
// A press outside every gadget: starts a resize on the edges of a resizable window.
int32_t WindowEdgePress(GuiWindow* window, int32_t x, int32_t y);
int WindowEdgeMask(const GuiWindow* window, int32_t x, int32_t y); // EDGE_ bits at a surface point
uint32_t WindowPointerAt(GuiWindow* window, int32_t x, int32_t y);
void WindowResizeDrag(GuiWindow* window, int mask);
// Gives the window a surface of w by h pixels (within its limits), lays its rows out again
// and redraws it; 0 when out of memory (the window stays as it was).
int WindowResize(GuiWindow* window, int32_t w, int32_t h);
// The outline a large window drags as, drawn on the screen and taken off again.
void DrawDragFrame(int32_t x, int32_t y, int32_t w, int32_t h);
void EraseDragFrame(int32_t x, int32_t y, int32_t w, int32_t h);

// ---- Places in the settings -----------------------------------------------------------------------
// Moves the window to WIN_X, WIN_Y of section, pulled back onto the screen; 1 when the
// section had a place. WindowSavePlace writes them and Display (open or not).
int WindowLoadPlace(GuiWindow* window, const char* section);
void WindowSavePlace(const GuiWindow* window, const char* section);

} // namespace nemu
