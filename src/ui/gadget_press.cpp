// Pressing a gadget row: the press feedback, waiting for the release, auto-repeat, the
// toggles and cycles, the system gadgets of the title bar, and the right button's help.
//
// Every loop here runs events, so the window may vanish under it: each pass checks that
// the window is still in the list and never touches the row after that test fails.
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "ui/gadget.h"
#include "ui/gadget_paint.h"
#include "ui/requests.h"
#include "ui/ui_scale.h"

#include <algorithm>
#include <vector>

namespace nemu {

// Auto-repeat: a first wait of five polls of 4 ticks, then a step every 4 ticks.
constexpr int RepeatFirstPolls = 5, RepeatFirstTicks = 4, RepeatTicks = 2;
constexpr int MaxCycleChoices = 64;

static void SetFeedback(GuiWindow* window, Gadget* g, bool on) {
    if (!WindowInList(window)) return;
    if (on) {
        if (g->Flags & GF_NO_FEEDBACK) return;
        FeedbackGadget = g;
        FeedbackWindow = window;
    } else {
        if (FeedbackGadget != g || FeedbackWindow != window) return;
        FeedbackGadget = nullptr;
        FeedbackWindow = nullptr;
    }
    GadgetRefresh(g, window);
}

static bool ButtonDown(int32_t code) {
    return code == 1 ? LeftHeld != 0 : RightHeld != 0;
}

// The row under the pointer in window, or null.
static Gadget* GadgetUnderPointer(GuiWindow* window) {
    if (!WindowInList(window) || !window->Open) return nullptr;
    int x = WindowPointerX - window->Left, y = WindowPointerY - window->Top;
    if (x < 0 || y < 0 || x >= int(window->Width) || y >= int(window->Height)) return nullptr;
    return WindowGadgetAt(x, y, window);
}

// Waits for the release of the button of code, showing the feedback only while the
// pointer stays on the row. True when it was released over the row.
static bool AwaitRelease(GuiWindow* window, Gadget* g, int32_t code) {
    for (;;) {
        if (QuitFlag || !WindowInList(window)) return false;
        if (!LeftHeld && !RightHeld) break;
        int e = WaitEvent(1);
        if (!WindowInList(window)) return false;
        if ((code == 1 && e == -1) || (code == 2 && e == -2) || (!LeftHeld && !RightHeld)) break;
        bool over = GadgetUnderPointer(window) == g;
        if (over != (FeedbackGadget == g)) SetFeedback(window, g, over);
    }
    bool over = GadgetUnderPointer(window) == g;
    SetFeedback(window, g, false);
    return over;
}

// Polls for ticks of 20 ms while the button stays down; false once it is released.
static bool HeldFor(GuiWindow* window, int32_t code, int ticks) {
    for (int i = 0; i < ticks; i++) {
        WaitEvent(0); // one event at a time: what follows the release stays queued
        if (!WindowInList(window) || !ButtonDown(code) || QuitFlag) return false;
        GuiSleepTicks(1);
    }
    return ButtonDown(code) && WindowInList(window);
}

static int32_t Repeat(GuiWindow* window, Gadget* g, int32_t code) {
    if (g->OnPress && g->OnPress(window, g, code)) return 0;
    GadgetHandler handler = window->OnGadget;
    if (handler) handler(window, g, code);
    bool held = true;
    for (int i = 0; i < RepeatFirstPolls && held; i++)
        held = HeldFor(window, code, RepeatFirstTicks / RepeatFirstPolls + 1);
    while (held && WindowInList(window)) {
        if (window->OnGadget) window->OnGadget(window, g, code);
        held = HeldFor(window, code, RepeatTicks);
    }
    if (!WindowInList(window)) return 0;
    if (window->OnGadget) window->OnGadget(window, g, -code);
    SetFeedback(window, g, false);
    if (WindowInList(window) && g->OnRelease) g->OnRelease(window, g, code);
    return 0;
}

// A cycle row offers its choices in a popup under it; the choice picked becomes current.
static bool CycleChoose(GuiWindow* window, Gadget* g) {
    TabsInfo* tabs = g->Tabs;
    if (!tabs || tabs->Count < 1 || !tabs->Labels) return false;
    int n = std::min(tabs->Count, MaxCycleChoices);
    std::vector<PopupItem> items(size_t(n) + 1, PopupItem{});
    for (int i = 0; i < n; i++) {
        items[size_t(i)].Text = tabs->Labels[i] ? tabs->Labels[i] : "";
        items[size_t(i)].Id = i;
        if (i == tabs->Current) items[size_t(i)].ItemFlags = POPUP_CHECKED;
    }
    int x, y, w, h;
    GadgetPixelRect(g, &x, &y, &w, &h);
    PopupItem* picked =
        PopupAt(items.data(), tabs->Current, POPUP_BELOW, window->Left + x, window->Top + y, w, h);
    if (!picked || !WindowInList(window)) return false;
    tabs->Current = picked->Id;
    GadgetRefresh(g, window);
    return true;
}

static void CycleStep(GuiWindow* window, Gadget* g) {
    TabsInfo* tabs = g->Tabs;
    if (!tabs || tabs->Count < 1) return;
    tabs->Current = (tabs->Current + 1) % tabs->Count;
    GadgetRefresh(g, window);
}

static void DepthAction(GuiWindow* window) {
    if (window->Next)
        WindowToFront(window, 0);
    else
        WindowToBack(window);
}

static int32_t CloseAction(GuiWindow* window) {
    if (window->OnCloseGadget)
        window->OnCloseGadget(window);
    else if (window->OnClose)
        window->OnClose(window);
    else
        WindowDelete(window);
    return 1;
}

// A click: the release came over the row.
static int32_t Clicked(GuiWindow* window, Gadget* g, int32_t code) {
    if (g->Id == GADGET_DEPTH) {
        DepthAction(window);
        return 0;
    }
    if (g->Id == GADGET_CLOSE) return CloseAction(window);
    if (g->Flags & GF_CYCLE) {
        bool changed = code == 1 ? CycleChoose(window, g) : (CycleStep(window, g), true);
        if (!changed || !WindowInList(window)) return 0;
    } else if ((g->Flags & GF_TOGGLE) && !((g->Flags & GF_LOCKED) && (g->Flags & GF_SELECTED))) {
        g->Flags ^= GF_SELECTED;
        GadgetRefresh(g, window);
    }
    if (g->OnRelease) {
        uint32_t r = g->OnRelease(window, g, code);
        if (r) return int32_t(r);
        if (!WindowInList(window)) return 0;
    }
    return window->OnGadget ? window->OnGadget(window, g, -code) : 0;
}

static int32_t PressButtonRow(GuiWindow* window, Gadget* g, int32_t code) {
    if (g->Scroller) return ScrollerPress(window, g, code);
    if (g->Tabs && !(g->Flags & GF_CYCLE)) return TabsPress(window, g);
    SetFeedback(window, g, true);
    if (g->Flags & (GF_IMMEDIATE | GF_MARKED)) {
        SetFeedback(window, g, false);
        return window->OnGadget ? window->OnGadget(window, g, code) : 0;
    }
    if (g->Flags & GF_REPEAT) return Repeat(window, g, code);
    if (!AwaitRelease(window, g, code)) return 0;
    return Clicked(window, g, code);
}

int32_t GadgetPress(GuiWindow* window, Gadget* g, int32_t code) {
    if (!g || !WindowInList(window)) return 0;
    if (ActiveGadget && ActiveGadget != g) {
        StringDeactivate();
        if (!WindowInList(window)) return 0;
    }
    CurrentWindow = window;
    if (!ButtonDown(code)) return 0;
    if (g->OnPress && g->OnPress(window, g, code)) return 0;
    if (!WindowInList(window)) return 0;
    if (code == 1) {
        if (g->Id == GADGET_DRAG) {
            WindowDrag(window);
            if (WindowInList(window) && window->OnGadget && window->OnMove) window->OnGadget(window, g, 0);
            return 0;
        }
        if (g->Id == GADGET_SIZE) {
            WindowResizeDrag(window, EDGE_RIGHT | EDGE_BOTTOM);
            return 0;
        }
        if ((g->Flags & GF_STRING) && g->String) {
            if (g->String->StrFlags & STR_READONLY)
                PlatformBeep();
            else
                StringClick(g, window);
            return 0;
        }
        return PressButtonRow(window, g, 1);
    }
    if ((g->Flags & GF_STRING) && g->String) return StringMenu(window, g);
    if (!(g->Flags & GF_RIGHT)) {
        HelpBubble(window, g);
        while (RightHeld && !QuitFlag && WindowInList(window)) WaitEvent(1);
        CloseHelpBubble();
        return 0;
    }
    return PressButtonRow(window, g, 2);
}

} // namespace nemu
