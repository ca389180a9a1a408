// Reduction of a picture to fit in a small square, for the base pictures of stored images
// and for thumbnails.
#pragma once
#include <cstdint>

namespace nemu {

struct Bitmap;

// The size that width by height takes when scaled to fit in fit by fit pixels with its
// aspect kept: unchanged when it fits already, never below 1.
void FitSize(int32_t width, int32_t height, int32_t fit, int32_t* fitWidth, int32_t* fitHeight);
// A new bitmap of FitSize, each pixel the average of the source pixels it covers (a box
// filter: premultiplied pixels average correctly as they are). Null without memory.
Bitmap* ReduceBitmap(const Bitmap* source, int32_t fit);

} // namespace nemu
