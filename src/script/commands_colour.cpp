// Script commands of colours and pens.
#include "host/main_loop.h"
#include "script/command_families.h"
#include "script/screen_seam.h"
#include "store/bitmap.h"

namespace nemu {

// Colours are answered as the page keeps them: "r g b a", premultiplied.
static void ReplyColour(CommandRequest* request, uint32_t c) {
    ReplyFormat(request, "%d %d %d %d", int(c >> 16 & 255), int(c >> 8 & 255), int(c & 255), int(c >> 24));
}

// om_getpixel x y: a pixel of the page; outside it, "0 0 0 0".
static void GetPixel(CommandRequest* request, const char* args) {
    ReadArgs(args, 2);
    int x = ArgInt[0], y = ArgInt[1];
    uint32_t c = 0;
    if (Page && x >= 0 && y >= 0 && x < Page->Width && y < Page->Height)
        c = Page->Pixels[size_t(y) * size_t(Page->Width) + size_t(x)];
    ReplyColour(request, c);
}

// om_getpixeldisplay x y: what the display shows at that page position, panels and
// background included.
static void GetPixelDisplay(CommandRequest* request, const char* args) {
    ReadArgs(args, 2);
    ReplyColour(request, DisplayPixelAt(ArgInt[0], ArgInt[1]));
}

const ScriptCommand ColourCommands[] = {
    {"om_getpixel", GetPixel},
    {"om_getpixeldisplay", GetPixelDisplay},
    {nullptr, nullptr},
};

} // namespace nemu
