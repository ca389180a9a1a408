// Keys: key events to key and character messages, text through the input method, and
// the live state of the qualifier keys.
//
// Sections: input method; qualifier state; key events.
#include "host/x11_platform.h"

#include <X11/XKBlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>
#include <cstdlib>
#include <cstring>

namespace nemu {

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
        // Shift and Tab types nothing through the input method; the key map knows it as a
        // tab with Shift, as the plain lookup gives it.
        if (count == 0 && max > 0 && *resolved == XK_ISO_Left_Tab) {
            out[0] = KeysymToUnicode(XK_ISO_Left_Tab);
            count = 1;
        }
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
