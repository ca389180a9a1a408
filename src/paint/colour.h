// The two paint colours, the palette banks, colour stepping and the colour pick.
#pragma once
#include <cstdint>

namespace nemu {

// The paint colours as 0xAARRGGBB with alpha 255; APen paints, BPen is the second colour.
extern uint32_t APen, BPen;

// Must follow every change of APen: rebuilds the tables of the draw modes that are made
// from it (the colorize ramp, the tint hue, the oil colours of a wet pen).
void ColourChanged();

} // namespace nemu
