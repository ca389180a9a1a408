// Scaling a whole picture to another size: the fast form picks the nearest pixel, the
// filtered form averages the source area that each pixel covers when it shrinks and
// interpolates between neighbours when it grows. Both work on premultiplied pixels, which
// average correctly as they are.
#pragma once

namespace nemu {

struct Bitmap;

// Scales all of source onto all of target. The filtered form needs two rows of work
// memory; 0 when it can't have them (target is then unchanged), else 1.
int ScaleBitmap(const Bitmap* source, Bitmap* target, bool filtered);

} // namespace nemu
