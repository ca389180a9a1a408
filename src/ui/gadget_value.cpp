// Gadgets that change a value by holding or dragging: the arrows of a number field, the
// value drag, the scroller's knob and pages, and the tab bar.
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "ui/gadget.h"
#include "ui/gadget_paint.h"
#include "ui/ui_scale.h"

#include <algorithm>

namespace nemu {

// ---- Number arrows ------------------------------------------------------------------------------

static bool StillHeld(GuiWindow* window) {
    WaitEvent(0); // one event at a time: what follows the release stays queued
    return LeftHeld && !QuitFlag && WindowInList(window);
}

static bool Bump(GuiWindow* window, Gadget* field, int step) {
    StringInfo* si = field->String;
    int32_t v = std::clamp(si->IntValue + step, si->Min, si->Max);
    if (v == si->IntValue) return false;
    si->IntValue = v;
    SetStringInt(window, field);
    if (window->OnGadget) window->OnGadget(window, field, GC_RETURN);
    return WindowInList(window);
}

void ButtonBumpInt(GuiWindow* window, Gadget* arrow, Gadget* field, int direction) {
    (void)arrow;
    if (!WindowInList(window) || !field || !field->String) return;
    int sign = direction < 0 ? -1 : 1;
    if (!Bump(window, field, sign)) return;
    // A pause, then +1 ten times, then +2 each tick until the release.
    for (int i = 0; i < 5; i++) {
        GuiSleepTicks(4);
        if (!StillHeld(window)) return;
    }
    for (int i = 0; i < 10; i++) {
        if (!Bump(window, field, sign)) return;
        GuiSleepTicks(2);
        if (!StillHeld(window)) return;
    }
    while (Bump(window, field, 2 * sign)) {
        GuiSleepTicks(1);
        if (!StillHeld(window)) return;
    }
}

// ---- Value drag ----------------------------------------------------------------------------------

int32_t AdjustStringInt(GuiWindow* window, Gadget* g, int32_t step) {
    if (!g || !g->String) return step;
    StringInfo* si = g->String;
    int64_t wanted = int64_t(si->IntValue) + step;
    int32_t v = int32_t(std::clamp<int64_t>(wanted, si->Min, si->Max));
    int32_t unused = int32_t(wanted - v);
    if (v != si->IntValue) {
        si->IntValue = v;
        SetStringInt(window, g);
    }
    return unused;
}

int32_t AdjustStringFloat(GuiWindow* window, Gadget* g, int32_t step) {
    if (!g || !g->String) return step;
    StringInfo* si = g->String;
    si->FloatValue = std::clamp(si->FloatValue + step / 10.0, double(si->Min), double(si->Max));
    SetStringFloat(window, g);
    return step; // the decimal field keeps where it stands when the drag is aborted
}

void ValueDrag(GuiWindow* window, Gadget* g, ValueAdjustFn adjust, void (*idle)(GuiWindow* window)) {
    if (!WindowInList(window) || !g || !adjust) return;
    GadgetSelect(window, g);
    int former = SetPointerShape(TabletActive ? POINTER_NORMAL : POINTER_DRAG_VALUE);
    int startX = WindowPointerX, startY = WindowPointerY;
    int64_t total = 0;
    bool right = RightHeld && !LeftHeld;
    bool aborted = false;
    while ((LeftHeld || RightHeld) && !QuitFlag) {
        int code = WaitEvent(1);
        if (!WindowInList(window)) return;
        if (code == 4 && !KeyIsRelease(EventKeyCode) &&
            (EventKeyCode == int32_t(VK_ESCAPE) || EventKeyCode == int32_t(VK_SPACE))) {
            aborted = true;
            break;
        }
        int dx = WindowPointerX - startX;
        int step = right ? dx * 2 : dx / 4;
        if (step == 0) continue;
        int32_t unused = adjust(window, g, step);
        if (!WindowInList(window)) return;
        total += step - unused;
        if (!TabletActive) PlatformWarpPointer(startX, startY);
        // The warp arrives as a move; reading it here keeps it from counting as a step.
        WaitEvent(0);
        if (idle) idle(window);
        if (!WindowInList(window)) return;
    }
    if (aborted && total) adjust(window, g, int32_t(-total));
    SetPointerShape(former);
    if (WindowInList(window)) GadgetDeselect(window, g);
}

// ---- Scroller --------------------------------------------------------------------------------------

int32_t ScrollerPress(GuiWindow* window, Gadget* g, int32_t code) {
    (void)code;
    ScrollerInfo* sc = g->Scroller;
    if (!sc) return 0;
    bool vertical = sc->YTotal > 0;
    int bar = vertical ? g->Bottom - g->Top - 1 : g->Right - g->Left - 1;
    int32_t& pos = vertical ? sc->YPos : sc->XPos;
    int32_t total = vertical ? sc->YTotal : sc->XTotal, visible = vertical ? sc->YVisible : sc->XVisible;
    int range = std::max(0, total - visible);
    int knob, at;
    ScrollerKnob(bar, total, visible, pos, &knob, &at);
    auto unitAt = [&]() {
        int p = vertical ? WindowPointerY - window->Top : WindowPointerX - window->Left;
        return UiUnit(p) - (vertical ? g->Top : g->Left) - 1;
    };
    int u = unitAt();
    if (u < at || u >= at + knob) {
        // Outside the knob: a page towards the pointer.
        pos = std::clamp(pos + (u < at ? -visible : visible), 0, range);
        GadgetRefresh(g, window);
        if (sc->OnDrag) sc->OnDrag(window, g, sc->UserData);
    } else {
        int grab = u - at;
        while (LeftHeld && !QuitFlag) {
            if (sc->OnIdle ? sc->OnIdle(window, g, sc->UserData) != 0 : true) WaitEvent(1);
            if (!WindowInList(window)) return 0;
            int free = bar - knob;
            int p = free > 0 ? int(int64_t(unitAt() - grab) * range / free) : 0;
            p = std::clamp(p, 0, range);
            if (p != pos) {
                pos = p;
                GadgetRefresh(g, window);
                if (sc->OnDrag) sc->OnDrag(window, g, sc->UserData);
                if (!WindowInList(window)) return 0;
            }
        }
    }
    if (WindowInList(window) && sc->OnDone) sc->OnDone(window, g, sc->UserData);
    return 0;
}

// ---- Tabs --------------------------------------------------------------------------------------------

static int TabAt(const Gadget* g, int unitX) {
    const TabsInfo* tabs = g->Tabs;
    int x = g->Left;
    for (int i = 0; i < tabs->Count; i++) {
        const char* label = tabs->Labels && tabs->Labels[i] ? tabs->Labels[i] : "";
        int w = UiTextWidth(label) + 10;
        if (unitX >= x && unitX < x + w) return i;
        x += w;
    }
    return -1;
}

int32_t TabsPress(GuiWindow* window, Gadget* g) {
    TabsInfo* tabs = g->Tabs;
    int start = tabs->Current;
    for (;;) {
        int t = TabAt(g, UiUnit(WindowPointerX - window->Left));
        if (t >= 0 && t != tabs->Current) {
            tabs->Current = t;
            GadgetRefresh(g, window);
        }
        if (!LeftHeld || QuitFlag) break;
        WaitEvent(1);
        if (!WindowInList(window)) return 0;
    }
    if (tabs->Current != start && g->OnTab) g->OnTab(window, g);
    return 0;
}

} // namespace nemu
