// The two paint colours, the palette banks, colour stepping and the colour pick.
#pragma once
#include <cstdint>

namespace nemu {

// The paint colours as 0xAARRGGBB with alpha 255; APen paints, BPen is the second colour.
extern uint32_t APen, BPen;

} // namespace nemu
