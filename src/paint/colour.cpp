#include "paint/colour.h"

namespace nemu {

uint32_t APen = 0xFFFF0000;
uint32_t BPen = 0xFF000000;

} // namespace nemu
