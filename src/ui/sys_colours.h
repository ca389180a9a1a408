// The interface colours: sixteen opaque colours that every panel and gadget is drawn
// with. Their defaults come from the catalog (the translator's or the user's theme);
// the user's own choice is kept in section SysColors of the settings, each key a text
// "red green blue".
#pragma once
#include <cstdint>

namespace nemu {

// Which colour, in the order of the catalog's messages 101 to 116.
enum SysColourIndex : int {
    SC_INFOAREA,
    SC_INFOAREATEXT,
    SC_BACKGROUND,
    SC_LAYOUTBACKGROUND, // the surround of the page
    SC_DRAGBUTTON,
    SC_DRAGBUTTONSELECT,
    SC_STATBUTTON,
    SC_STATBUTTONSELECT,
    SC_ACTIONBUTTON,
    SC_ACTIONBUTTONSELECT,
    SC_DIALOGBUTTON,
    SC_DIALOGBUTTONSELECT,
    SC_TITLEBAR,
    SC_TITLEBARDESELECT,
    SC_SYSBUTTON,
    SC_COLORPENTEXTBOX,
    SC_COUNT
};

extern uint32_t SysColour[SC_COUNT]; // 0xFFRRGGBB each

// The settings key of a colour, as it stands in section SysColors.
const char* SysColourKey(int index);
// Takes every colour from its catalog message; a message missing or not three numbers
// keeps the colour held, which at first is that of the shipped catalog.
void LoadSysColoursFromCatalog();
// Reads section SysColors over what is held; each number is limited to 0..255. A changed
// surround colour is given to the screen at once.
void ReadSysColours();
// Writes every colour to section SysColors.
void SaveSysColours();

} // namespace nemu
