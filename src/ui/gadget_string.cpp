// String and number fields: the keys that edit them, the caret and selection, and the
// clipboard. Activation, commit and clicks are in gadget_field.cpp.
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
#include "ui/string_keys.h"
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

} // namespace nemu
