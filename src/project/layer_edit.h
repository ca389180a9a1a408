// Editing the stack and the images of its layers. Each operation records one layer undo
// step (project/layer_undo) and ends by selecting the current layer again, which loads
// the page and rebuilds the display.
//
// Operations that build a new clip build it whole before touching the layer: without
// memory the stack stays as it was.
#pragma once
#include <cstdint>

#include "project/layers.h"

namespace nemu {

// ---- The time line's selection of images -----------------------------------------------------------------
// Positive length: images Start .. Start + Length - 1; negative: Start + Length .. Start;
// 0: none. Cleared whenever the current layer changes.
extern int32_t SelectionStart;
extern int32_t SelectionLength;
// The first and last selected image; false when there is no selection.
bool SelectionRange(int32_t* first, int32_t* last);
void SelectImages(int32_t start, int32_t length);
void SelectAllImages();

// Copied images: a layer record holding either a clip (a copy from a clip layer) or a
// packed picture (a copy from a plain layer), with the copied range; null when empty.
extern Layer* LayerClipboard;
void FreeLayerClipboard();

// ---- Layers ----------------------------------------------------------------------------------------------
int DuplicateLayer(const char* name);
int DuplicateLayerById(uint32_t id, const char* name);
int DeleteCurrentLayer();
int DeleteLayerById(uint32_t id);
// Moves the current layer (from) so that it lands before index to (0..LayerCount).
void MoveLayer(int32_t from, int32_t to, int quiet);
void MoveLayerCommand(int32_t to);
// name null: asked of the user. 1 when the name changed.
int RenameLayer(int32_t index, const char* name);
int RenameLayerById(uint32_t id, const char* name);
// Returns the former percentage (-1 for an unknown id).
int32_t SetLayerDensity(int32_t percent);
int32_t SetLayerDensityById(uint32_t id, int32_t percent);
int MakeAnim(int32_t index, int quiet);
int EnsureAnim(int32_t index);
int MergeLayerInto(int32_t index);
int MergeLayerById(uint32_t id);
// Asks first; MergeDisplayNow is the work once the user said yes. Not undoable.
int MergeDisplay();
int MergeDisplayNow();
// A layer's new range, as a drag of its ends gives it; resample stretches a clip's images
// over the new length instead of adding or cutting images.
int SetLayerRange(int32_t index, int32_t first, int32_t last, int resample);
int StretchLayer(uint32_t id, int fromEnd, int32_t delta, int mode);
// The onion images a layer shows, each count -7..7 (a negative one looks the other way);
// the onion is on while either count is not 0. 0 for an unknown id.
int SetLayerOnion(uint32_t id, int32_t before, int32_t after);
int ShiftLayer(uint32_t id, int32_t firstImage);

// ---- Images ----------------------------------------------------------------------------------------------
int LayerCopy();
int LayerCut();
int LayerPaste(int replace);
constexpr int32_t MaxInsertCount = 999999;
int InsertImages(int32_t index, int32_t count);
// The InsertImage command: count empty images behind the current one.
int InsertEmptyImages(int32_t count);
int ClearImages(int useBackgroundPen);
int ReverseSelection(uint32_t id, int32_t start, int32_t length);
// Exchanges images first..last of a clip pairwise from both ends.
int ReverseImages(Clip* clip, int32_t first, int32_t last);

// ---- The video layer -------------------------------------------------------------------------------------
// A read-only clip under the stack that plays a video file. Opening one needs the video
// reader; without it the open fails with message 10206 and nothing changes.
int OpenVideoLayer(const char* path, int a, int b, int fields, int d);
// What the open video layer was opened with, for the project file to reopen it.
struct VideoSource {
    char Path[2048];
    int32_t A, B, Fields, D;
};
extern VideoSource VideoLayerSource;
void SelectVideoLayer();
void ToggleVideoLayer();
void DeleteVideoLayer();
// The video module's door: a clip of the file's frames (fields doubles them), or null.
extern Clip* (*OpenVideoClipHook)(const char* path, int a, int b, int fields, int d);
// Moves the video layer in time (undo kind 10).
int ShiftVideoLayer(int32_t firstImage);
// The file requester's door for SelectVideoLayer: fills path and returns 1, or 0.
extern int (*AskVideoFileHook)(char* path, int size);

// ---- Merging ---------------------------------------------------------------------------------------------
// One pixel of another layer (at its density d) merged into the current layer's pixel by
// the draw mode in force.
uint32_t MergePixel(uint32_t current, uint32_t other, uint32_t d, int32_t drawMode);

} // namespace nemu
