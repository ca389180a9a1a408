// The event loops of the windows: the modal loop, the main loop's presses and keys over
// modeless windows, idle work (help bubbles, the caret's blink, idle ticks), closing at a
// point, and the notices sent down the list.
//
// Every call out may remove any window, so each loop re-checks list membership after it.
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "ui/gadget.h"
#include "ui/requests.h"

#include <unistd.h>

namespace nemu {

constexpr double BubbleDelay = 0.45; // seconds of rest on a gadget before its bubble opens
constexpr double CaretPeriod = 0.5;

void GuiSleepTicks(int ticks) {
    if (PlatformKind() == BACKEND_HEADLESS || ticks < 1) return;
    usleep(useconds_t(ticks) * 20000);
}

int WaitMouse(int wait) {
    switch (WaitEvent(wait)) {
    case 1:
        return 1;
    case -1:
        return 2;
    case 2:
        return 3;
    case -2:
        return 4;
    default:
        return 0;
    }
}

// ---- Help bubbles and the caret while idle --------------------------------------------------------

static GuiWindow* HoverWindow = nullptr;
static Gadget* HoverGadget = nullptr;
static double HoverSince = 0;
static double LastCaretPhase = -1;

static Gadget* RowAtPointer(GuiWindow* window) {
    if (!window || !window->Open) return nullptr;
    int x = WindowPointerX - window->Left, y = WindowPointerY - window->Top;
    if (x < 0 || y < 0 || x >= int(window->Width) || y >= int(window->Height)) return nullptr;
    return WindowGadgetAt(x, y, window);
}

// Opens the bubble of the row the pointer has rested on, or closes one the pointer left.
static void BubbleIdle(GuiWindow* only) {
    GuiWindow* window = only ? only : WindowAt(WindowPointerX, WindowPointerY);
    if (window == HelpBubbleWindow) return;
    Gadget* g = RowAtPointer(window);
    if (HelpBubbleWindow) {
        if (g != HoverGadget || window != HoverWindow)
            CloseHelpBubble();
        else
            return;
    }
    double now = PlatformSeconds();
    if (g != HoverGadget || window != HoverWindow) {
        HoverGadget = g;
        HoverWindow = window;
        HoverSince = now;
        return;
    }
    if (g && now - HoverSince >= BubbleDelay) HelpBubble(window, g);
}

static void BlinkCaret() {
    if (!ActiveGadget || !WindowInList(ActiveGadgetWindow) || !ActiveGadget->String) return;
    double phase = (PlatformSeconds() - ActiveGadget->String->LastActivity) / CaretPeriod;
    double step = double(int64_t(phase));
    if (step == LastCaretPhase) return;
    LastCaretPhase = step;
    GadgetRefresh(ActiveGadget, ActiveGadgetWindow);
}

void WindowIdle() {
    if (!LeftHeld && !RightHeld) BubbleIdle(nullptr);
    BlinkCaret();
    TickWindows(nullptr);
}

// ---- Keys ------------------------------------------------------------------------------------------------

// A key for the active field; 1 when the field took it. In a modal loop (modal) Return
// and Tab only commit; elsewhere they also move to the next field. *result gets the
// handler's answer to a commit.
static int FieldKey(const char* text, int32_t length, int32_t keycode, uint32_t qualifiers, bool modal,
                    int32_t* result) {
    Gadget* g = ActiveGadget;
    GuiWindow* window = ActiveGadgetWindow;
    if (!g || !WindowInList(window)) return 0;
    int r = StringKey(text, length, g, window, keycode, qualifiers);
    if (r == 0) return 1;
    bool back = r == 2 && (qualifiers & QUAL_SHIFT);
    int32_t code = modal || r == 1 ? GC_RETURN : back ? GC_BACKTAB : GC_TAB;
    *result = StringCommitResult(g, window, code);
    if (!modal && !ActiveGadget && WindowInList(window)) StringAdvance(window, g, back ? -1 : 1);
    return 1;
}

int WindowKey(const char* text, int32_t length, int32_t keycode, uint32_t qualifiers) {
    if (KeyIsRelease(keycode)) return 0;
    int32_t result = 0;
    if (FieldKey(text, length, keycode, qualifiers, false, &result)) return 1;
    GuiWindow* window = WindowAt(WindowPointerX, WindowPointerY);
    if (window && window->OnKey) {
        int32_t n = length;
        return window->OnKey(text, &n, 0, window, keycode, qualifiers) != 0;
    }
    return 0;
}

// ---- Presses --------------------------------------------------------------------------------------------

static int32_t PressWindow(GuiWindow* window, int x, int y, int code) {
    int lx = x - window->Left, ly = y - window->Top;
    Gadget* g = WindowGadgetAt(lx, ly, window);
    if (g) return GadgetPress(window, g, code);
    if (ActiveGadget) StringDeactivate();
    if (WindowInList(window) && code == 1 && window->OnEdgePress) window->OnEdgePress(window, lx, ly);
    return 0;
}

int WindowPressAt(int x, int y, int code) {
    GuiWindow* window = WindowAt(x, y);
    if (!window) return 0;
    if (HelpBubbleWindow) CloseHelpBubble();
    if (window == HelpBubbleWindow) return 1;
    PressWindow(window, x, y, code);
    return 1;
}

static void WaitOutButtons() {
    while ((LeftHeld || RightHeld) && !QuitFlag) WaitEvent(1);
}

// ---- The modal loop
// ----------------------------------------------------------------------------------------

int32_t ModalLoop(GuiWindow* window) {
    if (!WindowInList(window)) return 0;
    int savedShape = SetPointerShape(0);
    ModalDepth++;
    GuiWindow* previous = ModalWindow;
    ModalWindow = window;
    BusyEnd();
    if (!window->Open) WindowOpen(window);
    int32_t result = 0;
    bool inside = true;
    while (!result && !QuitFlag && WindowInList(window)) {
        int code = WaitEvent((window->Notify & 4) ? 0 : 10);
        if (!WindowInList(window)) break;
        bool over = WindowPointerX >= window->Left && WindowPointerX < window->Right &&
                    WindowPointerY >= window->Top && WindowPointerY < window->Bottom;
        if (over && !inside) SetPointerShape(0);
        inside = over;
        if (code == 6 && !LeftHeld && !RightHeld) {
            BubbleIdle(window);
            BlinkCaret();
            if (WindowInList(window) && window->OnGadget && (window->Notify & NOTIFY_IDLE))
                result = window->OnGadget(window, nullptr, GC_IDLE);
        }
        if (code == 1 || code == 2 || code == -1 || code == -2 || code == 4) CloseHelpBubble();
        if (code == 4 && !KeyIsRelease(EventKeyCode)) {
            // Escape means nothing to a field: it goes to the window, which cancels.
            bool escape = EventKeyLength == 1 && EventKeyText[0] == 27;
            if (ActiveGadget && ActiveGadgetWindow == window && !escape) {
                FieldKey(EventKeyText, EventKeyLength, EventKeyCode, EventKeyQualifiers, true, &result);
            } else if (window->OnKey) {
                int32_t n = EventKeyLength;
                result = window->OnKey(EventKeyText, &n, 0, window, EventKeyCode, EventKeyQualifiers);
            }
        }
        if (code == 1 || code == 2) {
            if (over) {
                result = PressWindow(window, WindowPointerX, WindowPointerY, code);
            } else {
                PlatformBeep();
                WaitOutButtons();
            }
        }
        if (!result && WindowInList(window) && (window->Notify & 4) && window->OnGadget)
            result = window->OnGadget(window, nullptr, GC_IDLE);
    }
    if (ModalWindow == window || !WindowInList(ModalWindow))
        ModalWindow = WindowInList(previous) ? previous : nullptr;
    ModalDepth--;
    SetPointerShape(savedShape);
    return WindowInList(window) ? result : 0;
}

// ---- Closing and notices ----------------------------------------------------------------------------------

void WindowCloseAt(int x, int y) {
    GuiWindow* window = ModalWindow ? ModalWindow : WindowAt(x, y);
    if (!WindowInList(window)) return;
    if (window->OnClose)
        window->OnClose(window);
    else
        WindowDelete(window);
}

void BroadcastKey(const char* text, int32_t length, int32_t keycode, uint32_t qualifiers) {
    for (GuiWindow* w = WindowListTail; w;) {
        GuiWindow* below = w->Prev;
        if (w->OnKey) {
            int32_t n = length;
            w->OnKey(text, &n, 0, w, keycode, qualifiers);
        }
        w = WindowInList(below) ? below : nullptr;
    }
}

void NotifyWindows(GuiWindow* window) {
    if (window) {
        if (WindowInList(window) && window->OnGadget) window->OnGadget(window, nullptr, GC_NOTICE);
        return;
    }
    for (GuiWindow* w = WindowListTail; w;) {
        GuiWindow* below = w->Prev;
        if ((w->Notify & NOTIFY_NOTICES) && w->OnGadget) w->OnGadget(w, nullptr, GC_NOTICE);
        w = WindowInList(below) ? below : nullptr;
    }
}

void TickWindows(GuiWindow* window) {
    if (window) {
        if (WindowInList(window) && window->OnGadget) window->OnGadget(window, nullptr, GC_IDLE);
        return;
    }
    for (GuiWindow* w = WindowListTail; w;) {
        GuiWindow* below = w->Prev;
        if ((w->Notify & NOTIFY_IDLE) && w->OnGadget) w->OnGadget(w, nullptr, GC_IDLE);
        w = WindowInList(below) ? below : nullptr;
    }
}

} // namespace nemu
