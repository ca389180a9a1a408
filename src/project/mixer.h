// The mixer: three page-sized pictures that let the screen show the whole stack while
// only the current layer is painted. A holds everything above the current layer, B is the
// page itself, and C everything under it. A and C are filled when the stack or the image
// changes (RebuildMix), never while a stroke runs.
#pragma once
#include <cstdint>

namespace nemu {

struct Bitmap;

extern Bitmap* MixerA; // above the current layer, or null
extern Bitmap* MixerB; // the page; the mixer never owns it
extern Bitmap* MixerC; // under the current layer, or null

// which: 0 for A, 1 for B, 2 for C. The buffer, made on demand at the page's size, or null.
// With ask set the user is asked first, and may refuse.
Bitmap* EnsureMixer(int which, int ask);
// Frees A and C and forgets B; for a change of page size.
void DropMixer();

} // namespace nemu
