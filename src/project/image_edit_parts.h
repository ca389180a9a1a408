// What the editing of images shares between its files; not for use elsewhere.
#pragma once
#include <cstdint>

namespace nemu {

struct Bitmap;
struct Clip;
struct Layer;

// The selection limited to the layer's range; false when nothing of it is left.
bool SelectedInLayer(const Layer* layer, int32_t* first, int32_t* last);
// A clip of count shared copies of bitmap, or null.
Clip* RepeatedPicture(const Bitmap* bitmap, int32_t count, const char* name);
// Ends an edit of the current layer's images: the page is in the store (or was only used
// as scratch), so the reload must not write it back.
void Reload();
void NameClip(Clip* clip, uint32_t message);

} // namespace nemu
