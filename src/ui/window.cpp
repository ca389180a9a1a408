// The window list: making, linking, opening, hiding, deleting, moving and stacking.
//
// Sections: state; the list; making and freeing; the frame. Opening, closing, moving
// and stacking are in window_stack.cpp.
#include "ui/window.h"

#include "ui/window_list.h"

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

void LinkAtTail(GuiWindow* window) {
    window->Prev = WindowListTail;
    window->Next = nullptr;
    (WindowListTail ? WindowListTail->Next : WindowListHead) = window;
    WindowListTail = window;
}

void LinkAtHead(GuiWindow* window) {
    window->Next = WindowListHead;
    window->Prev = nullptr;
    (WindowListHead ? WindowListHead->Prev : WindowListTail) = window;
    WindowListHead = window;
}

// Keeps every backdrop window nearer the head than any other window.
void SortBackdrops() {
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

} // namespace nemu
