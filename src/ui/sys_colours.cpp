// The interface colours: one row per colour, with its key and its catalog message.
#include "ui/sys_colours.h"

#include "host/screen.h"
#include "ui/catalog.h"
#include "ui/settings.h"

#include <cstdio>

namespace nemu {

namespace {

constexpr const char* Section = "SysColors";
constexpr uint32_t OpaqueBlack = 0xFF000000;

struct SysColourRow {
    const char* Key;
    uint32_t Message; // the catalog's default
};

const SysColourRow Rows[SC_COUNT] = {
    {"INFOAREACOLOR", 101},           {"INFOAREATEXTCOLOR", 102},     {"BACKGROUNDCOLOR", 103},
    {"LAYOUTBACKGROUNDCOLOR", 104},   {"DRAGBUTTONCOLOR", 105},       {"DRAGBUTTONSELECTCOLOR", 106},
    {"STATBUTTONCOLOR", 107},         {"STATBUTTONSELECTCOLOR", 108}, {"ACTIONBUTTONCOLOR", 109},
    {"ACTIONBUTTONSELECTCOLOR", 110}, {"DIALOGBUTTONCOLOR", 111},     {"DIALOGBUTTONSELECTCOLOR", 112},
    {"TITLEBARCOLOR", 113},           {"TITLEBARDESELECTCOLOR", 114}, {"SYSBUTTONCOLOR", 115},
    {"COLORPENTEXTBOXCOLOR", 116},
};

// "r g b" of a colour word.
void RgbText(uint32_t c, char* text, size_t size) {
    std::snprintf(text, size, "%u %u %u", (c >> 16) & 255, (c >> 8) & 255, c & 255);
}

uint8_t Channel(int v) {
    return uint8_t(v < 0 ? 0 : v > 255 ? 255 : v);
}

uint32_t FromRgb(const int rgb[3]) {
    return OpaqueBlack | uint32_t(Channel(rgb[0])) << 16 | uint32_t(Channel(rgb[1])) << 8 | Channel(rgb[2]);
}

// The screen draws the surround itself; it learns the colour from here.
void GiveSurroundToScreen() {
    if (!Screen || Screen->FillColour == SysColour[SC_LAYOUTBACKGROUND]) return;
    Screen->FillColour = SysColour[SC_LAYOUTBACKGROUND];
    RepaintSurround(0, 0, Screen->Width, Screen->Height);
}

} // namespace

// The colours of the shipped catalog, which a program without one draws with.
uint32_t SysColour[SC_COUNT] = {
    0xFFE8E8E8, 0xFF141414, 0xFFB2B2B2, 0xFF5C5C60, 0xFF9698A2, 0xFF6C80A8, 0xFFC4C4C4, 0xFFECC870,
    0xFFCCCCCC, 0xFF969696, 0xFFC0CADA, 0xFF8496B8, 0xFF38588C, 0xFF808080, 0xFFC85448, 0xFF000000,
};

const char* SysColourKey(int index) {
    return index >= 0 && index < SC_COUNT ? Rows[index].Key : "";
}

void LoadSysColoursFromCatalog() {
    for (int i = 0; i < SC_COUNT; i++) {
        int rgb[3];
        if (std::sscanf(MsgGet(nullptr, Rows[i].Message), "%d %d %d", &rgb[0], &rgb[1], &rgb[2]) == 3)
            SysColour[i] = FromRgb(rgb);
    }
}

void ReadSysColours() {
    for (int i = 0; i < SC_COUNT; i++) {
        char held[32];
        RgbText(SysColour[i], held, sizeof held);
        int rgb[3];
        ConfigGetColour(Section, Rows[i].Key, rgb, held);
        SysColour[i] = FromRgb(rgb);
    }
    GiveSurroundToScreen();
}

void SaveSysColours() {
    for (int i = 0; i < SC_COUNT; i++) {
        char text[32];
        RgbText(SysColour[i], text, sizeof text);
        ConfigSet(Section, Rows[i].Key, text);
    }
}

} // namespace nemu
