// The layer undo: one step, separate from the page's pixel undo, that every layer
// operation records. Each kind is undone by an exchange, so the same call redoes it.
//
// | kind | recorded by                          | undone by                                            |
// |------|--------------------------------------|------------------------------------------------------|
// | 0    | Clear of a plain layer               | the page's own undo (not a layer step)               |
// | 1    | changes to the images of a clip      | images [UndoIndex, UndoIndex + UndoExtent) of the    |
// |      |                                      | layer exchanged with all of UndoClip; FirstImage     |
// |      |                                      | moved back by UndoShift                              |
// | 2    | make animation, cut, merge, delete   | the layer UndoLayerId and UndoLayer exchange records |
// | 3    | a plain layer's range changed        | FirstImage, LastImage <-> UndoIndex, UndoExtent      |
// | 4    | layer shifted in time                | FirstImage <-> UndoIndex, LastImage moved along      |
// | 5    | layer moved in the stack             | moved back to UndoIndex                              |
// | 6    | layer added or deleted               | lifted into UndoLayer, or put back at UndoIndex      |
// | 7    | rename                               | Name <-> UndoName                                    |
// | 8    | clip replaced                        | Clip <-> UndoClip, FirstImage moved by UndoShift     |
// | 9    | images reversed                      | the same exchanges again                             |
// | 10   | video layer shifted in time          | as 4, on the video layer                             |
#pragma once
#include <cstdint>

#include "project/layers.h"

namespace nemu {

constexpr int32_t NoLayerUndo = -1;

extern int32_t UndoKind; // NoLayerUndo when there is no step
extern uint32_t UndoLayerId;
extern int32_t UndoIndex;  // an image or layer index
extern int32_t UndoExtent; // a count or a last image
extern int32_t UndoShift;
extern Layer UndoLayer; // a whole layer record; Id 0 when empty
extern Clip* UndoClip;
extern char UndoName[128];

// Frees what the step holds and forgets it.
void ClearLayerUndo();
// Records the step whose fields the caller has set: kind, and the label shown after the
// undo prefix (the message text, or a formatted one).
void RecordLayerUndo(int32_t kind, const char* label);
void RecordLayerUndoMsg(int32_t kind, uint32_t message);
// Undoes (or redoes) the recorded step. 1 when something changed.
int LayerUndo();

// Exchanges images [index, index + extent) of the layer's clip with all the images of
// other, building both new clips before anything changes. 1, or 0 (nothing changed).
int ExchangeImages(Layer* layer, int32_t index, int32_t extent, Clip** other);

} // namespace nemu
