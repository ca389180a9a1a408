// The window list: making, linking, opening, hiding, deleting, moving and stacking.
//
// Sections: state; the list; making and freeing; the frame; opening and closing; moving
// and stacking; hide all and show all; places in the settings.
#include "ui/window.h"

#include "host/input.h"
#include "host/screen.h"
#include "store/bitmap.h"
#include "ui/gadget.h"
#include "ui/requests.h"
#include "ui/settings.h"
#include "ui/ui_scale.h"

#include <cstdlib>
#include <cstring>

namespace nemu {

// ---- State -------------------------------------------------------------------------------------

GuiWindow* WindowListHead = nullptr;
GuiWindow* WindowListTail = nullptr;
GuiWindow* CurrentWindow = nullptr;
GuiWindow* ModalWindow = nullptr;
Bitmap* Backdrop = nullptr;
int32_t WindowMagnet = 1;
int32_t SpawnX = -1, SpawnY = -1;
int32_t DragLimit = 250000; // until the settings are read
int32_t ModalDepth = 0;
uint32_t WindowSerialCounter = 0;
int32_t WorkAreaX = 0, WorkAreaY = 0, WorkAreaW = 0, WorkAreaH = 0;
void (*WindowToBrushHook)(const Bitmap* surface) = nullptr;
void (*ToolbarShowHook)() = nullptr;

// How much of a window must stay on the screen, in layout units: opening pulls back one
// whose corner lies beyond these, and a move never leaves less than the second pair.
constexpr int32_t OpenKeepX = 30, OpenKeepY = 20;
constexpr int32_t MoveKeepX = 10, MoveKeepY = 5;
// The inset of the label area from each side.
constexpr int32_t ClipInset = 4;

// The fixed grey bevel of simple frames, outer to inner.
constexpr uint32_t SimpleLight = 0xFFFFFFFF, SimpleLight2 = 0xFFDDDDDD, SimpleFill = 0xFFAAAAAA,
                   SimpleDark = 0xFF333333, SimpleDark2 = 0xFF666666;

// ---- The list -----------------------------------------------------------------------------------

GuiWindow* WindowAt(int x, int y) {
    for (GuiWindow* w = WindowListTail; w; w = w->Prev)
        if (w->Open && x >= w->Left && x < w->Right && y >= w->Top && y < w->Bottom) return w;
    return nullptr;
}

bool WindowInList(const GuiWindow* window) {
    if (!window) return false;
    for (GuiWindow* w = WindowListHead; w; w = w->Next)
        if (w == window) return true;
    return false;
}

void WindowUnlink(GuiWindow* window) {
    if (!WindowInList(window)) return;
    (window->Prev ? window->Prev->Next : WindowListHead) = window->Next;
    (window->Next ? window->Next->Prev : WindowListTail) = window->Prev;
    window->Next = window->Prev = nullptr;
    if (CurrentWindow == window) CurrentWindow = WindowListHead;
    if (ModalWindow == window) ModalWindow = nullptr;
    if (ActiveGadgetWindow == window) {
        // The field leaves with its window: no handler is left to tell.
        if (ActiveGadget && ActiveGadget->String) {
            std::free(ActiveGadget->String->UndoText);
            ActiveGadget->String->UndoText = nullptr;
            ActiveGadget->String->Cursor = -1;
        }
        ActiveGadget = nullptr;
        ActiveGadgetWindow = nullptr;
    }
}

static void LinkAtTail(GuiWindow* window) {
    window->Prev = WindowListTail;
    window->Next = nullptr;
    (WindowListTail ? WindowListTail->Next : WindowListHead) = window;
    WindowListTail = window;
}

static void LinkAtHead(GuiWindow* window) {
    window->Next = WindowListHead;
    window->Prev = nullptr;
    (WindowListHead ? WindowListHead->Prev : WindowListTail) = window;
    WindowListHead = window;
}

// Keeps every backdrop window nearer the head than any other window.
static void SortBackdrops() {
    for (bool moved = true; moved;) {
        moved = false;
        bool seenOther = false;
        for (GuiWindow* w = WindowListHead; w; w = w->Next) {
            if (!(w->Flags & WINDOW_BACKDROP)) {
                seenOther = true;
            } else if (seenOther) {
                WindowUnlink(w);
                LinkAtHead(w);
                moved = true;
                break;
            }
        }
    }
}

void WindowLink(GuiWindow* window) {
    if (!window || WindowInList(window)) return;
    LinkAtTail(window);
    if (window->Flags & WINDOW_BACKDROP) SortBackdrops();
}

// ---- Making and freeing --------------------------------------------------------------------------

static void PlaceNew(GuiWindow* w) {
    int sw = Screen ? Screen->Width : 0, sh = Screen ? Screen->Height : 0;
    int x, y;
    if (SpawnX > 0 && SpawnX < sw && SpawnY > 0 && SpawnY < sh) {
        x = SpawnX - int(w->Width) / 2;
        y = SpawnY - int(w->Height) / 2;
        if (y < 0) y = 0;
    } else {
        x = (sw - int(w->Width)) / 2;
        y = (sh - int(w->Height)) / 2;
    }
    w->Left = x;
    w->Top = y;
    w->Right = x + int(w->Width);
    w->Bottom = y + int(w->Height);
}

static GuiWindow* MakeWindow(int32_t layoutW, int32_t layoutH, int32_t pixelW, int32_t pixelH,
                             uint32_t flags) {
    if (pixelW < 1 || pixelH < 1 || pixelW > 16384 || pixelH > 16384) return nullptr;
    auto* w = static_cast<GuiWindow*>(std::calloc(1, sizeof(GuiWindow)));
    if (!w) return nullptr;
    w->Surface = NewBitmap(pixelW, pixelH);
    if (!w->Surface) {
        std::free(w);
        return nullptr;
    }
    w->Width = uint32_t(pixelW);
    w->Height = uint32_t(pixelH);
    w->LayoutWidth = layoutW;
    w->LayoutHeight = layoutH;
    w->Flags = flags;
    w->Serial = ++WindowSerialCounter;
    w->ClipLeft = w->ClipTop = UiPx(ClipInset);
    w->ClipWidth = pixelW - 2 * UiPx(ClipInset);
    w->ClipHeight = pixelH - 2 * UiPx(ClipInset);
    w->MinWidth = w->MinHeight = UiPx(40);
    PlaceNew(w);
    if (!(flags & WINDOW_KEEP_STRING)) StringDeactivate();
    WindowDrawFrame(w);
    WindowLink(w);
    return w;
}

GuiWindow* WindowNew(int32_t width, int32_t height, uint32_t flags) {
    return MakeWindow(width, height, UiPx(width), UiPx(height), flags);
}

GuiWindow* WindowNewPixels(int32_t width, int32_t height, uint32_t flags) {
    return MakeWindow(UiUnit(width), UiUnit(height), width, height, flags);
}

GuiWindow* WindowFromRows(int32_t width, int32_t height, Gadget* rows) {
    GuiWindow* w = WindowNew(width, height, 0);
    if (!w) return nullptr;
    w->Gadgets = rows;
    w->OnEdgePress = WindowEdgePress;
    w->PointerAt = WindowPointerAt;
    WindowLayoutRows(w);
    WindowDrawRows(w);
    return w;
}

void WindowDelete(GuiWindow* window) {
    if (!WindowInList(window)) return;
    if (HelpBubbleWindow && window != HelpBubbleWindow) CloseHelpBubble();
    WindowHide(window);
    WindowUnlink(window);
    DynGadgetsFree(window);
    FreeBitmap(window->Surface);
    std::free(window);
}

void WindowDeleteAll() {
    while (WindowListTail) WindowDelete(WindowListTail);
    ModalWindow = nullptr;
    CurrentWindow = nullptr;
}

// ---- The frame ------------------------------------------------------------------------------------

// A one-unit outline of a layout rectangle, inclusive.
static void Outline(Bitmap* s, int l, int t, int r, int b, uint32_t top, uint32_t bottom) {
    int px1 = UiPx(l), py1 = UiPx(t), px2 = UiPx(r + 1) - 1, py2 = UiPx(b + 1) - 1, n = UiLine();
    FillBox(s, px1, py1, px2, py1 + n - 1, top);
    FillBox(s, px1, py1, px1 + n - 1, py2, top);
    FillBox(s, px1, py2 - n + 1, px2, py2, bottom);
    FillBox(s, px2 - n + 1, py1, px2, py2, bottom);
}

void WindowDrawFrame(GuiWindow* w) {
    if (!w || !w->Surface) return;
    Bitmap* s = w->Surface;
    int r = w->LayoutWidth - 1, b = w->LayoutHeight - 1;
    if (w->Flags & WINDOW_SIMPLE_FRAME) {
        ClearBitmap(s, SimpleFill);
        Outline(s, 0, 0, r, b, SimpleLight, SimpleDark);
        Outline(s, 1, 1, r - 1, b - 1, SimpleLight2, SimpleDark2);
        return;
    }
    ClearBitmap(s, BACKGROUNDCOLOR);
    Outline(s, 0, 0, r, b, LightColour(BACKGROUNDCOLOR), 0xFF000000);
    Outline(s, 1, 1, r - 1, b - 1, 0xFFFFFFFF, DarkColour(BACKGROUNDCOLOR));
}

// ---- Opening and closing ----------------------------------------------------------------------------

// Pulls a window that lies beyond the screen's edges back so that a part can be grabbed.
static void PullOnScreen(GuiWindow* w) {
    if (!Screen) return;
    int maxX = Screen->Width - UiPx(OpenKeepX), maxY = Screen->Height - UiPx(OpenKeepY);
    int minX = UiPx(OpenKeepX) - int(w->Width), minY = 0;
    if (w->Left > maxX || w->Top > maxY || w->Left < minX || w->Top < minY) {
        int x = w->Left > maxX ? maxX : w->Left < minX ? minX : w->Left;
        int y = w->Top > maxY ? maxY : w->Top < minY ? minY : w->Top;
        w->Left = x;
        w->Top = y;
        w->Right = x + int(w->Width);
        w->Bottom = y + int(w->Height);
    }
}

void WindowOpen(GuiWindow* window) {
    if (!WindowInList(window) || window->Open) return;
    // Opening one window opens every closed one: a hidden stack comes back whole.
    for (GuiWindow* w = WindowListTail; w; w = w->Prev) {
        PullOnScreen(w);
        if (!w->Open) {
            w->Open = 1;
            WindowRefresh(w);
        }
    }
    if ((window->Flags & WINDOW_BACKDROP) && window != WindowListHead) {
        WindowUnlink(window);
        LinkAtHead(window);
        SortBackdrops();
        RepaintScreenRect(window->Left, window->Top, int(window->Width), int(window->Height));
    }
    if (window->Flags & WINDOW_RAISE_FLASH) WindowToFront(window, 1);
}

void WindowHide(GuiWindow* window) {
    if (!WindowInList(window)) return;
    if (ModalWindow == window) ModalWindow = nullptr;
    if (!window->Open) return;
    window->Open = 0;
    RestoreBehind(window, window->Left, window->Top, int(window->Width), int(window->Height));
}

// ---- Moving and stacking -------------------------------------------------------------------------------

void WindowMove(GuiWindow* window, int32_t x, int32_t y) {
    if (!WindowInList(window)) return;
    if (Screen) {
        int maxX = Screen->Width - UiPx(MoveKeepX), minX = UiPx(MoveKeepX) - int(window->Width);
        int maxY = Screen->Height - UiPx(MoveKeepY), minY = UiPx(MoveKeepY) - int(window->Height);
        x = x > maxX ? maxX : x < minX ? minX : x;
        y = y > maxY ? maxY : y < minY ? minY : y;
    }
    if (x == window->Left && y == window->Top) return;
    int ox = window->Left, oy = window->Top;
    window->Left = x;
    window->Top = y;
    window->Right = x + int(window->Width);
    window->Bottom = y + int(window->Height);
    if (!window->Open) return;
    WindowRefresh(window);
    // Only the strips the window uncovered need the page and the windows below.
    int w = int(window->Width), h = int(window->Height);
    int dx = x - ox, dy = y - oy;
    if (dx >= w || -dx >= w || dy >= h || -dy >= h) {
        RestoreBehind(window, ox, oy, w, h);
        return;
    }
    if (dy > 0) RestoreBehind(window, ox, oy, w, dy);
    if (dy < 0) RestoreBehind(window, ox, oy + h + dy, w, -dy);
    int top = dy > 0 ? oy + dy : oy, rows = h - (dy > 0 ? dy : -dy);
    if (dx > 0) RestoreBehind(window, ox, top, dx, rows);
    if (dx < 0) RestoreBehind(window, ox + w + dx, top, -dx, rows);
}

static void FlashDragBar(GuiWindow* window) {
    Gadget* bar = WindowGadgetById(window, GADGET_DRAG);
    if (!bar) return;
    for (GuiWindow* w = WindowListTail; w; w = w->Prev)
        if (!w->Open) WindowOpen(w);
    int x, y, gw, gh;
    GadgetPixelRect(bar, &x, &y, &gw, &gh);
    for (int pass = 0; pass < 2; pass++) {
        InvertBox(window->Surface, x, y, x + gw - 1, y + gh - 1);
        WindowRefreshRect(window, x, y, gw, gh);
        GuiSleepTicks(2);
        InvertBox(window->Surface, x, y, x + gw - 1, y + gh - 1);
        WindowRefreshRect(window, x, y, gw, gh);
        GuiSleepTicks(2);
        WaitEvent(0);
        if (!WindowInList(window)) return;
    }
}

void WindowToFront(GuiWindow* window, int flash) {
    if (!WindowInList(window) || (window->Flags & WINDOW_BACKDROP)) return;
    if (window != WindowListTail) {
        WindowUnlink(window);
        LinkAtTail(window);
        if (window->Open) WindowRefresh(window);
    }
    if (flash) FlashDragBar(window);
}

void WindowToBack(GuiWindow* window) {
    if (!WindowInList(window) || window == WindowListHead) return;
    WindowUnlink(window);
    LinkAtHead(window);
    SortBackdrops();
    if (window->Open) RepaintScreenRect(window->Left, window->Top, int(window->Width), int(window->Height));
}

// ---- Hide all and show all
// ---------------------------------------------------------------------------------

int WindowHideAll() {
    int n = 0;
    for (GuiWindow* w = WindowListTail; w;) {
        GuiWindow* below = w->Prev;
        if (w->Open) {
            WindowHide(w);
            n++;
        }
        w = below;
    }
    return n;
}

int WindowShowAll() {
    if (ToolbarShowHook) ToolbarShowHook();
    int n = 0;
    for (GuiWindow* w = WindowListHead; w; w = w->Next)
        if (!w->Open) {
            PullOnScreen(w);
            w->Open = 1;
            WindowRefresh(w);
            n++;
        }
    return n;
}

void WindowToggleAll() {
    bool anyOpen = false;
    for (GuiWindow* w = WindowListHead; w; w = w->Next) anyOpen = anyOpen || w->Open;
    if (anyOpen)
        WindowHideAll();
    else
        WindowShowAll();
}

// ---- Places in the settings
// -----------------------------------------------------------------------------------

int WindowLoadPlace(GuiWindow* window, const char* section) {
    if (!WindowInList(window) || !section) return 0;
    char x[32], y[32];
    ConfigGet(section, "WIN_X", x, "", sizeof x);
    ConfigGet(section, "WIN_Y", y, "", sizeof y);
    if (!*x || !*y) return 0;
    // A place from another screen, or absurd numbers, still leaves the window on this one.
    long px = std::strtol(x, nullptr, 10), py = std::strtol(y, nullptr, 10);
    int sw = Screen ? Screen->Width : 0, sh = Screen ? Screen->Height : 0;
    long maxX = sw - long(window->Width), maxY = sh - long(window->Height);
    px = px > maxX ? maxX : px;
    py = py > maxY ? maxY : py;
    px = px < 0 ? 0 : px;
    py = py < 0 ? 0 : py;
    WindowMove(window, int32_t(px), int32_t(py));
    return 1;
}

void WindowSavePlace(const GuiWindow* window, const char* section) {
    if (!WindowInList(window) || !section) return;
    ConfigSetInt(section, "WIN_X", window->Left);
    ConfigSetInt(section, "WIN_Y", window->Top);
    ConfigSetOn(section, "Display", window->Open != 0);
}

} // namespace nemu
