// Script commands of colours, pixels read back, the draw mode and anti-aliasing.
#include "host/main_loop.h"
#include "paint/colour.h"
#include "paint/draw_modes.h"
#include "paint/tools.h"
#include "script/command_families.h"
#include "script/screen_seam.h"
#include "store/bitmap.h"

#include <algorithm>

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

// A change of the paint colour: what shows it goes first, the tables made from it are
// built again, and wet paint kept over strokes must not mix into the new colour.
static void SetPaintColour(uint32_t& pen, const char* args) {
    ReadArgs(args, 3);
    CancelTool(ToolMode);
    auto level = [](int32_t v) { return uint32_t(std::clamp(v, 0, 255)); };
    pen = 0xFF000000u | level(ArgInt[0]) << 16 | level(ArgInt[1]) << 8 | level(ArgInt[2]);
    ColourChanged();
    MustCommit = 1;
}

// om_setapen r g b, om_setbpen r g b: each limited to 0..255, opaque.
static void SetAPen(CommandRequest*, const char* args) {
    SetPaintColour(APen, args);
}
static void SetBPen(CommandRequest*, const char* args) {
    SetPaintColour(BPen, args);
}
static void GetAPen(CommandRequest* request, const char*) {
    ReplyColour(request, APen);
}
static void GetBPen(CommandRequest* request, const char*) {
    ReplyColour(request, BPen);
}

// om_setdrawmode name: a name of the draw modes, in any case. An unknown name, or a mode
// that needs a spare page when there is none, changes nothing and answers ERROR -1.
static void SetDrawModeByName(CommandRequest* request, const char* args) {
    char name[WordSize];
    if (!ReadWordOrQuoted(args, name, sizeof name) || SetDrawMode(DrawModeByName(name)) != 0)
        ReplyError(request, -1);
}

static void SetAntiAlias(int32_t on) {
    CancelTool(ToolMode);
    AntiAlias = on;
}
static void AliasOn(CommandRequest*, const char*) {
    SetAntiAlias(1);
}
static void AliasOff(CommandRequest*, const char*) {
    SetAntiAlias(0);
}

const ScriptCommand ColourCommands[] = {
    {"om_getpixel", GetPixel},
    {"om_getpixeldisplay", GetPixelDisplay},
    {"om_setapen", SetAPen},
    {"om_setbpen", SetBPen},
    {"om_getapen", GetAPen},
    {"om_getbpen", GetBPen},
    {"om_setdrawmode", SetDrawModeByName},
    {"om_aliason", AliasOn},
    {"om_aliasoff", AliasOff},
    {nullptr, nullptr},
};

} // namespace nemu
