// The interface colours: one row per colour with its settings key and the catalog message
// of its default, read from and written to section SysColors as "red green blue".
#include "ui/catalog.h"
#include "ui/gadget.h"
#include "ui/settings.h"

#include <cstdio>

namespace nemu {

uint32_t INFOAREACOLOR = 0xFFE8E8E8, INFOAREATEXTCOLOR = 0xFF141414, BACKGROUNDCOLOR = 0xFFB2B2B2,
         LAYOUTBACKGROUNDCOLOR = 0xFF5C5C60, DRAGBUTTONCOLOR = 0xFF9698A2, DRAGBUTTONSELECTCOLOR = 0xFF6C80A8,
         STATBUTTONCOLOR = 0xFFC4C4C4, STATBUTTONSELECTCOLOR = 0xFFECC870, ACTIONBUTTONCOLOR = 0xFFCCCCCC,
         ACTIONBUTTONSELECTCOLOR = 0xFF969696, DIALOGBUTTONCOLOR = 0xFFC0CADA,
         DIALOGBUTTONSELECTCOLOR = 0xFF8496B8, TITLEBARCOLOR = 0xFF38588C, TITLEBARDESELECTCOLOR = 0xFF808080,
         SYSBUTTONCOLOR = 0xFFC85448, COLORPENTEXTBOXCOLOR = 0xFF000000;

static const struct {
    const char* Key;
    uint32_t* Colour;
    uint32_t DefaultMessage;
} SysColourRows[] = {
    {"INFOAREACOLOR", &INFOAREACOLOR, 101},
    {"INFOAREATEXTCOLOR", &INFOAREATEXTCOLOR, 102},
    {"BACKGROUNDCOLOR", &BACKGROUNDCOLOR, 103},
    {"LAYOUTBACKGROUNDCOLOR", &LAYOUTBACKGROUNDCOLOR, 104},
    {"DRAGBUTTONCOLOR", &DRAGBUTTONCOLOR, 105},
    {"DRAGBUTTONSELECTCOLOR", &DRAGBUTTONSELECTCOLOR, 106},
    {"STATBUTTONCOLOR", &STATBUTTONCOLOR, 107},
    {"STATBUTTONSELECTCOLOR", &STATBUTTONSELECTCOLOR, 108},
    {"ACTIONBUTTONCOLOR", &ACTIONBUTTONCOLOR, 109},
    {"ACTIONBUTTONSELECTCOLOR", &ACTIONBUTTONSELECTCOLOR, 110},
    {"DIALOGBUTTONCOLOR", &DIALOGBUTTONCOLOR, 111},
    {"DIALOGBUTTONSELECTCOLOR", &DIALOGBUTTONSELECTCOLOR, 112},
    {"TITLEBARCOLOR", &TITLEBARCOLOR, 113},
    {"TITLEBARDESELECTCOLOR", &TITLEBARDESELECTCOLOR, 114},
    {"SYSBUTTONCOLOR", &SYSBUTTONCOLOR, 115},
    {"COLORPENTEXTBOXCOLOR", &COLORPENTEXTBOXCOLOR, 116},
};

static bool ParseRgb(const char* text, uint32_t* colour) {
    int r, g, b;
    if (std::sscanf(text, "%d %d %d", &r, &g, &b) != 3) return false;
    auto clamp = [](int v) { return uint32_t(v < 0 ? 0 : v > 255 ? 255 : v); };
    *colour = 0xFF000000u | clamp(r) << 16 | clamp(g) << 8 | clamp(b);
    return true;
}

void LoadSysColors() {
    for (const auto& row : SysColourRows) {
        ParseRgb(MsgGet(nullptr, row.DefaultMessage), row.Colour);
        char value[64];
        ConfigGet("SysColors", row.Key, value, "", sizeof value);
        ParseRgb(value, row.Colour);
    }
}

void SaveSysColors() {
    for (const auto& row : SysColourRows) {
        char value[64];
        uint32_t c = *row.Colour;
        std::snprintf(value, sizeof value, "%u %u %u", (c >> 16) & 255, (c >> 8) & 255, c & 255);
        ConfigSet("SysColors", row.Key, value);
    }
}

uint32_t LightColour(uint32_t c) {
    uint32_t out = c & 0xFF000000u;
    for (int s = 0; s < 24; s += 8) {
        uint32_t v = ((c >> s) & 255) + 64;
        out |= (v > 255 ? 255 : v) << s;
    }
    return out;
}

uint32_t DarkColour(uint32_t c) {
    uint32_t out = c & 0xFF000000u;
    for (int s = 0; s < 24; s += 8) {
        uint32_t v = (c >> s) & 255;
        out |= (v < 64 ? 0 : v - 64) << s;
    }
    return out;
}

} // namespace nemu
