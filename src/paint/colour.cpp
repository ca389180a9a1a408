#include "paint/colour.h"

#include "paint/draw_modes.h"
#include "paint/tools.h"

namespace nemu {

uint32_t APen = 0xFFFF0000;
uint32_t BPen = 0xFF000000;

void ColourChanged() {
    if (DrawMode == 3) MakeColorizeRamp();
    if (DrawMode == 12) MakeTintHue();
    if (WetMode) MakeOilColorTable(APen);
}

} // namespace nemu
