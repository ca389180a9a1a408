// String and number fields: activation, commit with the number rules, moving between
// fields, clicks with the pointer, writing values in, and the right button's edit menu.
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "ui/catalog.h"
#include "ui/font.h"
#include "ui/gadget.h"
#include "ui/requests.h"
#include "ui/string_keys.h"
#include "ui/ui_scale.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace nemu {

constexpr int DoubleClickSlop = 4; // pixels

static int Len(const StringInfo* si) {
    return int(std::strlen(si->Buffer));
}

// ---- Activation and commit ------------------------------------------------------------------------

void StringActivate(Gadget* g, GuiWindow* window, int32_t pixelX) {
    if (!g || !g->String || !g->String->Buffer || !WindowInList(window) || g->String->MaxLen < 1) return;
    if (ActiveGadget && ActiveGadget != g) {
        StringDeactivate();
        pixelX = OffString;
        if (!WindowInList(window)) return;
    }
    StringInfo* si = g->String;
    if (si->StrFlags & STR_READONLY) return;
    si->LastActivity = PlatformSeconds();
    if (ActiveGadget != g) {
        if (si->StrFlags & STR_INTEGER) std::snprintf(si->Buffer, si->MaxLen, "%d", si->IntValue);
        if (si->StrFlags & STR_DECIMAL) std::snprintf(si->Buffer, si->MaxLen, "%.2f", si->FloatValue);
        si->Buffer[si->MaxLen - 1] = 0;
        std::free(si->UndoText);
        si->UndoText = strdup(si->Buffer);
        si->FirstVisible = 0;
    }
    int gx, gy, gw, gh;
    GadgetPixelRect(g, &gx, &gy, &gw, &gh);
    int x = pixelX - gx - UiPx(3);
    int offset =
        x >= OffString / 2 ? Len(si) : int(TextOffsetAt(si->Buffer + si->FirstVisible, x) + si->FirstVisible);
    si->Cursor = std::clamp(offset, 0, Len(si));
    si->SelectAnchor = -1;
    ActiveGadget = g;
    ActiveGadgetWindow = window;
    GadgetRefresh(g, window);
}

void StringCommit(Gadget* g, GuiWindow* window, int32_t code) {
    StringCommitResult(g, window, code);
}

int32_t StringCommitResult(Gadget* g, GuiWindow* window, int32_t code) {
    if (!g || !g->String || !g->String->Buffer) return 0;
    StringInfo* si = g->String;
    if (si->StrFlags & STR_INTEGER) {
        const char* p = si->Buffer;
        bool negative = *p == '-';
        if (*p == '-' || *p == '+') p++;
        while (*p == '0' && p[1]) p++;
        long v = std::strtol(p, nullptr, 10);
        if (negative) v = -v;
        if (si->Min < si->Max || si->Min != 0) v = std::clamp<long>(v, si->Min, si->Max);
        si->IntValue = int32_t(v);
        std::snprintf(si->Buffer, si->MaxLen, "%d", si->IntValue);
    } else if (si->StrFlags & STR_DECIMAL) {
        si->FloatValue = std::atof(si->Buffer);
        std::snprintf(si->Buffer, si->MaxLen, "%.2f", si->FloatValue);
    }
    si->Cursor = -1;
    si->SelectAnchor = -1;
    std::free(si->UndoText);
    si->UndoText = nullptr;
    if (ActiveGadget == g) {
        ActiveGadget = nullptr;
        ActiveGadgetWindow = nullptr;
    }
    if (!WindowInList(window)) return 0;
    GadgetRefresh(g, window);
    return window->OnGadget ? window->OnGadget(window, g, code) : 0;
}

void StringDeactivate() {
    if (ActiveGadget) StringCommit(ActiveGadget, ActiveGadgetWindow, GC_DRAG_DONE);
}

int StringAdvance(GuiWindow* window, Gadget* from, int direction) {
    if (!WindowInList(window) || !window->Gadgets) return 0;
    Gadget* rows = window->Gadgets;
    int count = 0, at = -1;
    for (Gadget* g = rows; g->Id != 0; g++, count++)
        if (g == from) at = count;
    if (at < 0) return 0;
    for (int i = at + direction; i >= 0 && i < count; i += direction) {
        Gadget* g = rows + i;
        if ((g->Flags & GF_STRING) && g->String && !(g->String->StrFlags & STR_READONLY) &&
            !(g->Flags & GF_HIDDEN)) {
            StringActivate(g, window, OffString);
            if (ActiveGadget == g) {
                g->String->SelectAnchor = 0; // a field reached by Tab is selected whole
                GadgetRefresh(g, window);
            }
            return 1;
        }
    }
    return 0;
}

// ---- Clicks --------------------------------------------------------------------------------------------

void StringClick(Gadget* g, GuiWindow* window) {
    if (!g || !g->String || !WindowInList(window)) return;
    static uint32_t lastTime = 0;
    static int lastX = -100, lastY = -100;
    static const Gadget* lastGadget = nullptr;
    uint32_t now = PlatformTicks();
    int px = WindowPointerX - window->Left, py = WindowPointerY - window->Top;
    bool twice = lastGadget == g && now - lastTime < PlatformDoubleClickTime() &&
                 std::abs(px - lastX) < DoubleClickSlop && std::abs(py - lastY) < DoubleClickSlop;
    lastTime = now, lastX = px, lastY = py, lastGadget = g;
    StringActivate(g, window, px);
    if (ActiveGadget != g) return;
    StringInfo* si = g->String;
    if (twice) {
        si->SelectAnchor = 0;
        si->Cursor = Len(si);
        GadgetRefresh(g, window);
        return;
    }
    int anchor = si->Cursor;
    while (LeftHeld && !QuitFlag) {
        WaitEvent(1);
        if (!WindowInList(window) || ActiveGadget != g) return;
        int gx, gy, gw, gh;
        GadgetPixelRect(g, &gx, &gy, &gw, &gh);
        int x = WindowPointerX - window->Left - gx - UiPx(3);
        int at =
            std::clamp(int(TextOffsetAt(si->Buffer + si->FirstVisible, x) + si->FirstVisible), 0, Len(si));
        if (at != si->Cursor) {
            si->Cursor = at;
            si->SelectAnchor = at == anchor ? -1 : anchor;
            GadgetRefresh(g, window);
        }
    }
}

void SetStringInt(GuiWindow* window, Gadget* g) {
    if (!g || !g->String || !g->String->Buffer || (g->String->StrFlags & STR_READONLY)) return;
    StringInfo* si = g->String;
    if (si->StrFlags & STR_FIXED)
        std::snprintf(si->Buffer, si->MaxLen, "%*d", int(si->MaxLen) - 1, si->IntValue);
    else
        std::snprintf(si->Buffer, si->MaxLen, "%d", si->IntValue);
    if (si->Cursor > Len(si)) si->Cursor = Len(si);
    GadgetRefresh(g, window);
}

void SetStringFloat(GuiWindow* window, Gadget* g) {
    if (!g || !g->String || !g->String->Buffer || (g->String->StrFlags & STR_READONLY)) return;
    std::snprintf(g->String->Buffer, g->String->MaxLen, "%.2f", g->String->FloatValue);
    if (g->String->Cursor > Len(g->String)) g->String->Cursor = Len(g->String);
    GadgetRefresh(g, window);
}

// ---- The edit menu
// -----------------------------------------------------------------------------------------

int32_t StringMenu(GuiWindow* window, Gadget* g) {
    StringInfo* si = g->String;
    if (!si || !si->Buffer) return 0;
    bool readOnly = si->StrFlags & STR_READONLY;
    if (!readOnly && ActiveGadget != g) StringActivate(g, window, OffString);
    if (!WindowInList(window)) return 0;
    bool canUndo = si->UndoText && std::strcmp(si->UndoText, si->Buffer) != 0;
    uint32_t off = POPUP_DISABLED;
    PopupItem items[] = {
        {MsgGet(nullptr, 7410), 0, KeyUndo, nullptr, nullptr, nullptr, (!canUndo || readOnly) ? off : 0},
        {"", 0, POPUP_SEPARATOR, nullptr, nullptr, nullptr, 0},
        {MsgGet(nullptr, 7411), 0, KeyCut, nullptr, nullptr, nullptr, readOnly ? off : 0},
        {MsgGet(nullptr, 7412), 0, KeyCopy, nullptr, nullptr, nullptr, 0},
        {MsgGet(nullptr, 7413), 0, KeyPaste, nullptr, nullptr, nullptr, readOnly ? off : 0},
        {MsgGet(nullptr, 7414), 0, KeyDelete, nullptr, nullptr, nullptr, readOnly ? off : 0},
        {"", 0, POPUP_SEPARATOR, nullptr, nullptr, nullptr, 0},
        {MsgGet(nullptr, 7415), 0, KeySelectAll, nullptr, nullptr, nullptr, 0},
        {nullptr, 0, 0, nullptr, nullptr, nullptr, 0},
    };
    while (RightHeld && !QuitFlag) WaitEvent(1); // the menu opens on the release
    PopupItem* picked = PopupMenu(items, 0);
    if (!picked || !WindowInList(window) || ActiveGadget != g) return 0;
    if (picked->Id == KeyDelete) {
        // Delete takes the whole text: the backspace and delete pair, both to the ends.
        const char all[] = {KeyBackspace, char(KeyDelete)};
        StringKey(all, 2, g, window, 0, QUAL_SHIFT | 1);
        return 0;
    }
    char key = char(picked->Id);
    StringKey(&key, 1, g, window, 0, 0);
    return 0;
}

} // namespace nemu
