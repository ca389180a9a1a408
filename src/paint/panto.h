// Panto: painting with a copy of the page taken at an offset from the brush.
#pragma once
#include <cstdint>

namespace nemu {

// Offset from the drawn point to the source point (keys of the same names in section Tools).
extern int32_t PantoX, PantoY;

} // namespace nemu
