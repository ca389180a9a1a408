// Refill: the fill's writer run once more over the last fill mask, with the first or the
// second paint colour. It is the operation behind the Refill command and behind
// om_redo, which despite its name redoes nothing: the page's redo is a second undo.
//
// The mask and the writer belong to the fill. WetRect's flag says a mask is there (the
// mask shares its byte plane with wet paint); the fill installs RefillAreaHook to write
// it. Until the fill is built no mask can exist, and Refill says so with message 1435.
#pragma once
#include <cstdint>

namespace nemu {

// FIXME(fill): installed by the fill: writes the mask over WetRect with the colour of
// useBPen (0 APen, else BPen) through the draw mode, density and ranges, as a fill
// writes, and marks the page changed. 1 when it wrote, 0 when there was nothing to fill.
extern int (*RefillAreaHook)(int32_t useBPen);

// Fills the last mask again with APen (useBPen 0) or BPen. The stroke before is made
// final first, so that one undo takes back the refill alone. 1 done; 0 with message
// 1435 when there is no mask to fill.
int Refill(int32_t useBPen);

} // namespace nemu
