// Keys: keysyms to the virtual-key numbers the program compares against, text through
// the input method, and the live state of the qualifier keys.
//
// Sections: keysym tables; UTF-8; input method; qualifier state; key events.
#include "host/x11_platform.h"

#include <X11/XKBlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <cstdlib>
#include <cstring>

namespace nemu {

// ---- Keysym tables ----------------------------------------------------------------------

struct KeyRow {
    uint32_t Keysym;
    uint32_t Vk;
};

// Keys with a fixed number. Punctuation follows the US positions, the ones the numbers
// were made for; letters, digits, F-keys and keypad digits go by range below.
static const KeyRow KeyTable[] = {
    {XK_BackSpace, VK_BACK},
    {XK_Tab, VK_TAB},
    {XK_ISO_Left_Tab, VK_TAB},
    {XK_Clear, 12},
    {XK_Return, VK_RETURN},
    {XK_KP_Enter, VK_RETURN},
    {XK_Shift_L, VK_SHIFT},
    {XK_Shift_R, VK_SHIFT},
    {XK_Control_L, VK_CONTROL},
    {XK_Control_R, VK_CONTROL},
    {XK_Alt_L, VK_MENU},
    {XK_Alt_R, VK_MENU},
    {XK_Meta_L, VK_MENU},
    {XK_Meta_R, VK_MENU},
    {XK_ISO_Level3_Shift, VK_MENU},
    {XK_Pause, VK_PAUSE},
    {XK_Break, 3},
    {XK_Caps_Lock, VK_CAPITAL},
    {XK_Shift_Lock, VK_CAPITAL},
    {XK_Escape, VK_ESCAPE},
    {XK_space, VK_SPACE},
    {XK_KP_Space, VK_SPACE},
    {XK_Prior, VK_PRIOR},
    {XK_KP_Prior, VK_PRIOR},
    {XK_Next, VK_NEXT},
    {XK_KP_Next, VK_NEXT},
    {XK_End, VK_END},
    {XK_KP_End, VK_END},
    {XK_Home, VK_HOME},
    {XK_KP_Home, VK_HOME},
    {XK_Left, VK_LEFT},
    {XK_KP_Left, VK_LEFT},
    {XK_Up, VK_UP},
    {XK_KP_Up, VK_UP},
    {XK_Right, VK_RIGHT},
    {XK_KP_Right, VK_RIGHT},
    {XK_Down, VK_DOWN},
    {XK_KP_Down, VK_DOWN},
    {XK_Begin, 12},
    {XK_KP_Begin, 12},
    {XK_Select, 41},
    {XK_Print, 44},
    {XK_Sys_Req, 44},
    {XK_Execute, 43},
    {XK_Insert, VK_INSERT},
    {XK_KP_Insert, VK_INSERT},
    {XK_Delete, VK_DELETE},
    {XK_KP_Delete, VK_DELETE},
    {XK_Help, 47},
    {XK_Super_L, 91},
    {XK_Super_R, 92},
    {XK_Menu, 93},
    {XK_KP_Tab, VK_TAB},
    {XK_KP_Multiply, VK_MULTIPLY},
    {XK_KP_Add, VK_ADD},
    {XK_KP_Separator, 108},
    {XK_KP_Subtract, VK_SUBTRACT},
    {XK_KP_Decimal, VK_DECIMAL},
    {XK_KP_Divide, VK_DIVIDE},
    {XK_KP_Equal, VK_OEM_PLUS},
    {XK_Num_Lock, 144},
    {XK_Scroll_Lock, 145},
    {XK_semicolon, VK_OEM_1},
    {XK_colon, VK_OEM_1},
    {XK_equal, VK_OEM_PLUS},
    {XK_plus, VK_OEM_PLUS},
    {XK_comma, VK_OEM_COMMA},
    {XK_minus, VK_OEM_MINUS},
    {XK_underscore, VK_OEM_MINUS},
    {XK_period, VK_OEM_PERIOD},
    {XK_greater, VK_OEM_PERIOD},
    {XK_slash, VK_OEM_2},
    {XK_question, VK_OEM_2},
    {XK_grave, VK_OEM_3},
    {XK_asciitilde, VK_OEM_3},
    {XK_bracketleft, VK_OEM_4},
    {XK_braceleft, VK_OEM_4},
    {XK_backslash, VK_OEM_5},
    {XK_bar, VK_OEM_5},
    {XK_bracketright, VK_OEM_6},
    {XK_braceright, VK_OEM_6},
    {XK_apostrophe, VK_OEM_7},
    {XK_quotedbl, VK_OEM_7},
    {XK_less, 226}, // the extra key of ISO boards
};

uint32_t KeysymToVirtualKey(uint32_t keysym) {
    if (keysym >= XK_a && keysym <= XK_z) return 'A' + (keysym - XK_a);
    if (keysym >= XK_A && keysym <= XK_Z) return 'A' + (keysym - XK_A);
    if (keysym >= XK_0 && keysym <= XK_9) return '0' + (keysym - XK_0);
    if (keysym >= XK_F1 && keysym <= XK_F24) return VK_F1 + (keysym - XK_F1);
    if (keysym >= XK_KP_0 && keysym <= XK_KP_9) return VK_NUMPAD0 + (keysym - XK_KP_0);
    for (const KeyRow& row : KeyTable)
        if (row.Keysym == keysym) return row.Vk;
    return 0;
}

uint32_t KeysymToUnicode(uint32_t keysym) {
    if ((keysym >= 0x20 && keysym <= 0x7E) || (keysym >= 0xA0 && keysym <= 0xFF)) return keysym;
    if (keysym >= 0x1000100 && keysym <= 0x110FFFF) return keysym - 0x1000000;
    if (keysym >= XK_KP_0 && keysym <= XK_KP_9) return '0' + (keysym - XK_KP_0);
    switch (keysym) {
    case XK_BackSpace:
        return 8;
    case XK_Tab:
    case XK_KP_Tab:
    case XK_ISO_Left_Tab:
        return 9;
    case XK_Return:
    case XK_KP_Enter:
        return 13;
    case XK_Escape:
        return 27;
    case XK_KP_Space:
        return ' ';
    case XK_KP_Multiply:
        return '*';
    case XK_KP_Add:
        return '+';
    case XK_KP_Separator:
        return ',';
    case XK_KP_Subtract:
        return '-';
    case XK_KP_Decimal:
        return '.';
    case XK_KP_Divide:
        return '/';
    case XK_KP_Equal:
        return '=';
    default:
        return 0;
    }
}

// ---- UTF-8 ------------------------------------------------------------------------------------

size_t Utf8Next(const char* text, size_t length, uint32_t* cp) {
    static const uint32_t Least[4] = {0, 0x80, 0x800, 0x10000};
    const auto* s = reinterpret_cast<const unsigned char*>(text);
    *cp = Utf8Invalid;
    if (!length) return 0;
    unsigned c = s[0];
    int extra = c < 0x80 ? 0 : (c & 0xE0) == 0xC0 ? 1 : (c & 0xF0) == 0xE0 ? 2 : (c & 0xF8) == 0xF0 ? 3 : -1;
    if (extra < 0 || length <= size_t(extra)) return 1;
    uint32_t v = extra == 0 ? c : c & (0x3Fu >> extra);
    for (int k = 1; k <= extra; k++) {
        unsigned b = s[k];
        if ((b & 0xC0) != 0x80) return 1;
        v = (v << 6) | (b & 0x3F);
    }
    if (v < Least[extra] || v > 0x10FFFF || (v >= 0xD800 && v <= 0xDFFF)) return 1;
    *cp = v;
    return size_t(extra) + 1;
}

int DecodeUtf8(const char* text, size_t length, uint32_t* out, int max) {
    int n = 0;
    for (size_t i = 0; i < length && n < max;) {
        uint32_t cp = 0;
        i += Utf8Next(text + i, length - i, &cp);
        if (cp != Utf8Invalid) out[n++] = cp;
    }
    return n;
}

// ---- Input method -------------------------------------------------------------------------------

namespace {
struct KeyState {
    XIM Im = nullptr;
    XIC Ic = nullptr;
    bool DetectableRepeat = false;
    unsigned State = 0;              // modifier bits of the X state word
    unsigned AltMask = Mod1Mask;     // the modifier bit that Alt sets on this server
    unsigned char KeyMods[256] = {}; // modifier bits each key code sets
    unsigned char Down[32] = {};     // key codes held, a bit each
};
KeyState K;
} // namespace

// The input method server went away: its handles are dead, text comes from keysyms.
static void OnImDestroyed(XIM, XPointer, XPointer) {
    K.Im = nullptr;
    K.Ic = nullptr;
}

static void ReadModifierMap() {
    std::memset(K.KeyMods, 0, sizeof K.KeyMods);
    K.AltMask = Mod1Mask;
    XModifierKeymap* map = XGetModifierMapping(X11.Dpy);
    if (!map) return;
    for (int mod = 0; mod < 8; mod++)
        for (int k = 0; k < map->max_keypermod; k++) {
            KeyCode code = map->modifiermap[mod * map->max_keypermod + k];
            if (!code) continue;
            K.KeyMods[code] |= (unsigned char)(1u << mod);
            KeySym sym = XkbKeycodeToKeysym(X11.Dpy, code, 0, 0);
            if (mod >= 3 && (sym == XK_Alt_L || sym == XK_Alt_R || sym == XK_Meta_L)) K.AltMask = 1u << mod;
        }
    XFreeModifiermap(map);
}

static void OpenInputMethod() {
    XSetLocaleModifiers("");
    K.Im = XOpenIM(X11.Dpy, nullptr, nullptr, nullptr);
    if (!K.Im) {
        // A configured input method that does not answer: use the built-in one.
        XSetLocaleModifiers("@im=none");
        K.Im = XOpenIM(X11.Dpy, nullptr, nullptr, nullptr);
    }
    if (!K.Im) return;
    XIMCallback destroy = {nullptr, OnImDestroyed};
    XSetIMValues(K.Im, XNDestroyCallback, &destroy, nullptr);
    XIMStyles* styles = nullptr;
    XIMStyle style = 0;
    if (!XGetIMValues(K.Im, XNQueryInputStyle, &styles, nullptr) && styles) {
        for (XIMStyle want :
             {XIMStyle(XIMPreeditNothing | XIMStatusNothing), XIMStyle(XIMPreeditNone | XIMStatusNone)})
            for (unsigned i = 0; i < styles->count_styles && !style; i++)
                if (styles->supported_styles[i] == want) style = want;
        XFree(styles);
    }
    if (style)
        K.Ic = XCreateIC(K.Im, XNInputStyle, style, XNClientWindow, X11.Win, XNFocusWindow, X11.Win, nullptr);
    if (!K.Ic) {
        XCloseIM(K.Im);
        K.Im = nullptr;
        return;
    }
    long filter = 0;
    if (!XGetICValues(K.Ic, XNFilterEvents, &filter, nullptr) && filter) {
        XWindowAttributes attr;
        if (XGetWindowAttributes(X11.Dpy, X11.Win, &attr))
            XSelectInput(X11.Dpy, X11.Win, attr.your_event_mask | filter);
    }
}

bool X11OpenInput() {
    K = KeyState{};
    Bool supported = False;
    // Held keys repeat as presses alone, as the program expects, where the server can.
    XkbSetDetectableAutoRepeat(X11.Dpy, True, &supported);
    K.DetectableRepeat = supported;
    ReadModifierMap();
    OpenInputMethod();
    return true;
}

void X11CloseInput() {
    if (K.Ic) XDestroyIC(K.Ic);
    if (K.Im) XCloseIM(K.Im);
    K = KeyState{};
}

// ---- Qualifier state ----------------------------------------------------------------------------

static const unsigned ModifierBits =
    ShiftMask | LockMask | ControlMask | Mod1Mask | Mod2Mask | Mod3Mask | Mod4Mask | Mod5Mask;

void X11TrackState(unsigned int state) {
    K.State = state & ModifierBits;
}

uint32_t X11Qualifiers() {
    uint32_t q = 0;
    if (K.State & ShiftMask) q |= 2;
    if (K.State & ControlMask) q |= 4;
    if (K.State & K.AltMask) q |= 8;
    return q;
}

static bool IsDown(unsigned code) {
    return K.Down[code >> 3] & (1u << (code & 7));
}

static void SetDown(unsigned code, bool down) {
    if (down)
        K.Down[code >> 3] |= (unsigned char)(1u << (code & 7));
    else
        K.Down[code >> 3] &= (unsigned char)~(1u << (code & 7));
}

// The state word of a key event is from before it; a modifier key changes it at once.
static void TrackModifierKey(unsigned code, bool press) {
    unsigned mods = K.KeyMods[code] & ~unsigned(LockMask); // locks toggle, the event says when
    if (!mods) return;
    if (press) {
        K.State |= mods;
        return;
    }
    unsigned still = 0;
    for (unsigned c = 0; c < 256; c++)
        if (c != code && IsDown(c)) still |= K.KeyMods[c];
    K.State = (K.State & ~mods) | (still & mods);
}

void X11FocusChanged(bool in) {
    if (K.Ic) {
        if (in)
            XSetICFocus(K.Ic);
        else
            XUnsetICFocus(K.Ic);
    }
    if (!in) return;
    // Keys may have gone up or down while another window had them.
    char keys[32];
    XQueryKeymap(X11.Dpy, keys);
    std::memcpy(K.Down, keys, sizeof K.Down);
    Window root, child;
    int rx, ry, wx, wy;
    unsigned mask = 0;
    if (XQueryPointer(X11.Dpy, X11.Win, &root, &child, &rx, &ry, &wx, &wy, &mask)) X11TrackState(mask);
}

void X11KeymapChanged(XMappingEvent* event) {
    XRefreshKeyboardMapping(event);
    if (event->request == MappingModifier || event->request == MappingKeyboard) ReadModifierMap();
}

// ---- Key events -------------------------------------------------------------------------------

// The number of a key: a Latin letter or digit on any level of the key wins, so that the
// letter keys keep their numbers under other layouts; then the key's first keysym; the
// keypad goes by the keysym Num Lock chose.
static uint32_t EventVirtualKey(XKeyEvent* e, KeySym resolved) {
    if (IsKeypadKey(resolved)) return KeysymToVirtualKey(uint32_t(resolved));
    for (int level = 0; level < 4; level++) {
        uint32_t vk = KeysymToVirtualKey(uint32_t(XLookupKeysym(e, level)));
        if ((vk >= 'A' && vk <= 'Z') || (vk >= '0' && vk <= '9')) return vk;
    }
    uint32_t vk = KeysymToVirtualKey(uint32_t(XLookupKeysym(e, 0)));
    return vk ? vk : KeysymToVirtualKey(uint32_t(resolved));
}

// The text a press makes, as code points; returns how many.
static int PressText(XKeyEvent* e, KeySym* resolved, uint32_t* out, int max) {
    char small[64];
    char* text = small;
    int size = int(sizeof small);
    int n = 0;
    *resolved = NoSymbol;
    if (K.Ic) {
        Status status = 0;
        n = Xutf8LookupString(K.Ic, e, text, size, resolved, &status);
        char* big = nullptr;
        if (status == XBufferOverflow && n > 0 && n < 65536) {
            big = static_cast<char*>(std::malloc(size_t(n) + 1));
            if (big) n = Xutf8LookupString(K.Ic, e, big, n + 1, resolved, &status);
            text = big;
        }
        if (status != XLookupChars && status != XLookupBoth) n = 0;
        if (status != XLookupKeySym && status != XLookupBoth) *resolved = XLookupKeysym(e, 0);
        int count = text ? DecodeUtf8(text, size_t(n > 0 ? n : 0), out, max) : 0;
        std::free(big);
        return count;
    }
    n = XLookupString(e, text, size, resolved, nullptr);
    if (n == 1) {
        out[0] = static_cast<unsigned char>(text[0]); // Latin-1 is the first 256 code points
        return 1;
    }
    uint32_t u = KeysymToUnicode(uint32_t(*resolved));
    if (!u) return 0;
    out[0] = u;
    return 1;
}

// A release that the server made up for auto-repeat comes just before the press it pairs
// with, at the same time; only servers without detectable repeat send these.
static bool IsRepeatRelease(XKeyEvent* e) {
    if (K.DetectableRepeat || !XEventsQueued(X11.Dpy, QueuedAfterReading)) return false;
    XEvent next;
    XPeekEvent(X11.Dpy, &next);
    return next.type == KeyPress && next.xkey.keycode == e->keycode && next.xkey.time == e->time;
}

void X11HandleKey(XEvent* event) {
    XKeyEvent* e = &event->xkey;
    X11TrackState(e->state);
    unsigned code = e->keycode & 255;
    NativeMsg m;
    if (event->type == KeyRelease) {
        if (IsRepeatRelease(e)) return;
        KeySym sym = NoSymbol;
        XLookupString(e, nullptr, 0, &sym, nullptr);
        TrackModifierKey(code, false);
        SetDown(code, false);
        uint32_t vk = EventVirtualKey(e, sym);
        if (!vk) return;
        m.Message = WM_KEYUP;
        m.WParam = vk;
        m.LParam = intptr_t(uint32_t(0xC0000001u | (code << 16))); // previous state down, now up
        X11Queue(m);
        return;
    }
    uint32_t chars[32];
    KeySym sym = NoSymbol;
    int count = PressText(e, &sym, chars, 32);
    bool repeat = IsDown(code);
    SetDown(code, true);
    TrackModifierKey(code, true);
    uint32_t vk = EventVirtualKey(e, sym);
    if (vk) {
        m.Message = WM_KEYDOWN;
        m.WParam = vk;
        m.LParam = intptr_t(uint32_t(1u | (code << 16) | (repeat ? 1u << 30 : 0)));
        X11Queue(m);
    }
    for (int i = 0; i < count; i++) {
        // Delete edits text through its key number; as a character it would act twice.
        if (chars[i] == 127 && vk == VK_DELETE) continue;
        NativeMsg c;
        c.Message = WM_CHAR;
        c.WParam = chars[i];
        c.LParam = intptr_t(uint32_t(1u | (code << 16)));
        X11Queue(c);
    }
}

} // namespace nemu
