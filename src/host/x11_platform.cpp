// The X11 back end. FIXME: not written yet; opening it fails, so the program runs headless.
#include "host/platform_ops.h"

namespace nemu {
const PlatformOps* X11Ops() { return nullptr; }
} // namespace nemu
