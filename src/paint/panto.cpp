#include "paint/panto.h"

namespace nemu {

int32_t PantoX = 0, PantoY = 0;

} // namespace nemu
