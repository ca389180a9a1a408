// Script commands that draw on the page.
#include "host/main_loop.h"
#include "script/command_families.h"
#include "script/screen_seam.h"
#include "store/bitmap.h"

#include <algorithm>

namespace nemu {

// om_writepixel x y r g b a: the bytes as the page keeps them, premultiplied. Each is
// limited to 0..255 and a colour to its alpha, so that no blend later meets a pixel
// brighter than it is opaque.
static void WritePixel(CommandRequest*, const char* args) {
    ReadArgs(args, 6);
    int x = ArgInt[0], y = ArgInt[1];
    if (!Page || x < 0 || y < 0 || x >= Page->Width || y >= Page->Height) return;
    uint32_t a = uint32_t(std::clamp(ArgInt[5], 0, 255));
    uint32_t r = uint32_t(std::clamp(ArgInt[2], 0, int(a)));
    uint32_t g = uint32_t(std::clamp(ArgInt[3], 0, int(a)));
    uint32_t b = uint32_t(std::clamp(ArgInt[4], 0, int(a)));
    Page->Pixels[size_t(y) * size_t(Page->Width) + size_t(x)] = a << 24 | r << 16 | g << 8 | b;
    // FIXME: through AddDirtyAndMark once the tools keep the dirty box, so undo sees it.
    PageVersion++;
    ShowPageArea(x, y, 1, 1);
}

const ScriptCommand DrawingCommands[] = {
    {"om_writepixel", WritePixel},
    {nullptr, nullptr},
};

} // namespace nemu
