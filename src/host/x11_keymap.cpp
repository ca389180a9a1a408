// Keysyms to the Win32 virtual-key numbers the program compares against, keysyms to
// characters where no input method says them, and UTF-8 to code points.
//
// Sections: keysym tables; UTF-8.
#include "host/x11_platform.h"

#include <X11/keysym.h>

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

} // namespace nemu
