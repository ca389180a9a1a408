// String and number fields: activation, the keys that edit them, the caret and selection,
// the clipboard, commit with the number rules, and the right button's edit menu.
//
// Buffer is UTF-8 and Cursor, FirstVisible and the selection anchor are byte offsets that
// always stand on a character boundary.
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "ui/catalog.h"
#include "ui/font.h"
#include "ui/gadget.h"
#include "ui/requests.h"
#include "ui/ui_scale.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace nemu {

Gadget* ActiveGadget = nullptr;
GuiWindow* ActiveGadgetWindow = nullptr;

constexpr int MaxKeyBytes = 1023;  // bytes of one key event taken
constexpr int MaxPasteBytes = 255; // bytes taken from the clipboard
constexpr int DoubleClickSlop = 4; // pixels
constexpr int OffString = 1000000; // a pixel position past any text: caret at the end
// Control characters that edit.
constexpr char KeySelectAll = 1, KeyCopy = 3, KeyBackspace = 8, KeyTab = 9, KeyReturn = 13, KeyPaste = 22,
               KeyCut = 24, KeyUndo = 26, KeyEscape = 27, KeyDelete = 127;

static int Len(const StringInfo* si) {
    return int(std::strlen(si->Buffer));
}

static int PrevChar(const char* t, int i) {
    if (i <= 0) return 0;
    i--;
    while (i > 0 && (uint8_t(t[i]) & 0xC0) == 0x80) i--;
    return i;
}

static int NextChar(const char* t, int i) {
    if (!t[i]) return i;
    i++;
    while (t[i] && (uint8_t(t[i]) & 0xC0) == 0x80) i++;
    return i;
}

static bool HasSelection(const StringInfo* si) {
    return si->SelectAnchor >= 0 && si->SelectAnchor != si->Cursor;
}

static void DeleteRange(StringInfo* si, int a, int b) {
    if (a > b) std::swap(a, b);
    int n = Len(si);
    a = std::clamp(a, 0, n), b = std::clamp(b, 0, n);
    std::memmove(si->Buffer + a, si->Buffer + b, size_t(n - b + 1));
    si->Cursor = a;
    si->SelectAnchor = -1;
}

static void DeleteSelection(StringInfo* si) {
    if (HasSelection(si)) DeleteRange(si, si->SelectAnchor, si->Cursor);
    si->SelectAnchor = -1;
}

static bool Accepts(const StringInfo* si, const char* c, int n, int at) {
    if (n == 1 && uint8_t(c[0]) < 32) return false;
    if (!(si->StrFlags & (STR_INTEGER | STR_DECIMAL))) return true;
    if (n != 1) return false;
    char ch = c[0];
    if (ch >= '0' && ch <= '9') return true;
    if ((ch == '-' || ch == '+') && at == 0) return true;
    return (si->StrFlags & STR_DECIMAL) && ch == '.';
}

static void Insert(StringInfo* si, const char* c, int n) {
    if (!Accepts(si, c, n, si->Cursor)) return;
    DeleteSelection(si);
    int len = Len(si);
    if (len + n >= int(si->MaxLen)) return;
    std::memmove(si->Buffer + si->Cursor + n, si->Buffer + si->Cursor, size_t(len - si->Cursor + 1));
    std::memcpy(si->Buffer + si->Cursor, c, size_t(n));
    si->Cursor += n;
}

static void CopySelection(const StringInfo* si) {
    if (!HasSelection(si)) return;
    int a = std::min(si->SelectAnchor, si->Cursor), b = std::max(si->SelectAnchor, si->Cursor);
    std::string text(si->Buffer + a, size_t(b - a));
    PlatformClipboardSetText(text.c_str());
}

static void SwapUndo(StringInfo* si) {
    if (!si->UndoText) return;
    std::string now = si->Buffer;
    std::snprintf(si->Buffer, si->MaxLen, "%s", si->UndoText);
    std::free(si->UndoText);
    si->UndoText = strdup(now.c_str());
    si->Cursor = Len(si);
    si->SelectAnchor = -1;
}

static int FeedText(Gadget* g, GuiWindow* window, const char* text, int length, uint32_t qualifiers);

static void Paste(Gadget* g, GuiWindow* window) {
    char* clip = PlatformClipboardGetText();
    if (!clip) return;
    int n = 0;
    while (clip[n] && clip[n] != KeyPaste && n < MaxPasteBytes) n++;
    // A character cut in half by the limit is dropped whole.
    while (n > 0 && (uint8_t(clip[n]) & 0xC0) == 0x80) n = PrevChar(clip, n);
    std::string piece(clip, size_t(n));
    std::free(clip);
    for (char& c : piece)
        if (c == '\n' || c == '\r' || c == '\t') c = ' ';
    DeleteSelection(g->String);
    FeedText(g, window, piece.c_str(), int(piece.size()), 0);
}

// Processes the characters of one key event; 1 Return, 2 Tab, else 0.
static int FeedText(Gadget* g, GuiWindow* window, const char* text, int length, uint32_t qualifiers) {
    StringInfo* si = g->String;
    bool whole = qualifiers & (QUAL_SHIFT | 1);
    for (int i = 0; i < length && i < MaxKeyBytes;) {
        char c = text[i];
        int n = NextChar(text, i) - i;
        if (n < 1) n = 1;
        i += n;
        switch (c) {
        case KeyUndo:
            SwapUndo(si);
            break;
        case KeyCut:
            if (HasSelection(si)) {
                CopySelection(si);
                DeleteSelection(si);
            }
            break;
        case KeyCopy:
            CopySelection(si);
            break;
        case KeyEscape:
            break;
        case KeySelectAll:
            si->SelectAnchor = 0;
            si->Cursor = Len(si);
            break;
        case KeyReturn:
            return 1;
        case KeyTab:
            return 2;
        case KeyPaste:
            Paste(g, window);
            break;
        case KeyBackspace:
            if (HasSelection(si))
                DeleteSelection(si);
            else
                DeleteRange(si, whole ? 0 : PrevChar(si->Buffer, si->Cursor), si->Cursor);
            break;
        case KeyDelete:
            if (HasSelection(si))
                DeleteSelection(si);
            else
                DeleteRange(si, si->Cursor, whole ? Len(si) : NextChar(si->Buffer, si->Cursor));
            break;
        default:
            Insert(si, text + i - n, n);
            break;
        }
    }
    return 0;
}

static void MoveCaret(StringInfo* si, int32_t keycode, uint32_t qualifiers) {
    bool extend = qualifiers & QUAL_SHIFT;
    if (extend && si->SelectAnchor < 0) si->SelectAnchor = si->Cursor;
    if (!extend) si->SelectAnchor = -1;
    int n = Len(si);
    if (keycode == int32_t(VK_HOME)) si->Cursor = 0;
    if (keycode == int32_t(VK_END)) si->Cursor = n;
    if (keycode == int32_t(VK_LEFT)) si->Cursor = PrevChar(si->Buffer, si->Cursor);
    if (keycode == int32_t(VK_RIGHT)) si->Cursor = NextChar(si->Buffer, si->Cursor);
}

int StringKey(const char* text, int32_t length, Gadget* g, GuiWindow* window, int32_t keycode,
              uint32_t qualifiers) {
    if (!g || !g->String || !g->String->Buffer || !WindowInList(window) || KeyIsRelease(keycode)) return 0;
    StringInfo* si = g->String;
    if (si->OnKeyFilter && si->OnKeyFilter(text, length, g, window, keycode, qualifiers)) return 0;
    if (si->Cursor < 0) return 0;
    int result = 0;
    if (length > 0 && text) {
        result = FeedText(g, window, text, length, qualifiers);
    } else if (keycode == int32_t(VK_HOME) || keycode == int32_t(VK_END) || keycode == int32_t(VK_LEFT) ||
               keycode == int32_t(VK_RIGHT)) {
        MoveCaret(si, keycode, qualifiers);
    } else {
        return 0;
    }
    si->Cursor = std::clamp(si->Cursor, 0, Len(si));
    if (!result && si->OnEdit) {
        int before = Len(si);
        si->OnEdit(g, window);
        if (!WindowInList(window)) return 0;
        si->Cursor = std::clamp(si->Cursor - (before - Len(si)), 0, Len(si));
    }
    si->LastActivity = PlatformSeconds();
    GadgetRefresh(g, window);
    return result;
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
