// The project: one stack of layers over one time line, at the page's size. Tools paint on
// the Page only; the page is a working copy of one image of one layer (the current image
// of the current layer), and moving to another image or layer first writes the page back
// (FlushPage) and then loads the target (SelectLayerImage, SelectImage).
//
// A plain layer keeps one picture, packed into one cache block, shown for every image of
// its range (a hold). A clip layer keeps one image per position of its range in a tile
// clip. Layer pixels never stay unpacked in memory: only the page, the mixer buffers and
// the 64-pixel thumbnails do.
//
// Between commands: the current layer is never hidden; CurrentImage lies in its range;
// a clip layer's clip holds LastImage - FirstImage + 1 images and ClipIndex is the
// page's image.
#pragma once
#include <cstddef>
#include <cstdint>

namespace nemu {

struct Bitmap;
struct CacheFile;
struct Clip;

// A plain record: the stack is moved with block copies and an undo step holds a layer by
// copying it whole. PackedData, Thumbnail and Clip belong to whichever copy sits in
// Layers or in an undo or clipboard slot, never to two at once.
struct Layer {
    uint32_t Stamp;                    // clock of the last access: how recently the layer was used
    int32_t PackedSize;                // bytes of the packed picture; 0 is an empty (all zero) picture
    CacheFile* PackedData;             // the packed picture of a plain layer, or null
    int32_t Width, Height;             // page size at creation
    int32_t Density;                   // 0..255, 255 opaque
    uint32_t Id;                       // unique while the program runs; scripts address layers by it
    Bitmap* Thumbnail;                 // the current image fitted into 64 pixels, or null
    uint32_t Flags;                    // LayerHidden, LayerPelure; other bits are kept and saved
    char Name[128];                    // empty shows as message 8100
    nemu::Clip* Clip;                  // the images of a clip layer; null for a plain layer
    uint32_t Reserved;                 // kept zero
    int32_t FirstImage, LastImage;     // place on the time line, both inclusive
    int32_t ClipIndex;                 // CurrentImage - FirstImage while current (0 for a plain layer)
    int32_t PelureBefore, PelureAfter; // onion images shown; a negative count looks the other way
};

constexpr uint32_t LayerHidden = 1;
constexpr uint32_t LayerPelure = 2; // onion skin on
constexpr int32_t ThumbnailSide = 64;
constexpr int32_t LayerNameMax = 64; // what a name request allows

// ---- Project state ---------------------------------------------------------------------------------------
extern double FrameRate;          // images per second
extern Layer* Layers;             // stack order: 0 is the top
extern int32_t LayerCount;        // never below 1 once InitLayers has run
extern int32_t LayerCapacity;     // records usable in Layers; one more is allocated
extern int32_t CurrentLayer;      // index into Layers
extern int32_t CurrentImage;      // position on the shared time line
extern uint32_t StoredSerial;     // PageVersion at the last flush; -1 forces the next one
extern uint32_t ChangeCounter;    // structural changes and flushes that matter to a save
extern uint32_t SavedCounter;     // ChangeCounter at the last save or load
extern Layer* VideoLayer;         // the read-only layer under the stack, or null
extern int32_t CurrentDensity;    // the current layer's Density, for paint and display
extern uint32_t NextLayerId;      // never reset while the program runs
extern char ProjectName[1024];    // for the title bar and om_getprojectname
extern uint32_t ImageChangeCount; // bumped by each image change, for the preview
extern uint32_t PluginImageCount; // the same, for the plug-in side
extern uint32_t PageLayerId;      // the layer whose image the page holds; a flush goes there

// Views of the model that panels keep (layer list, time line, gadgets) learn of changes
// through this hook, which the time-line window installs; until then changes are only
// made, not drawn.
enum ProjectEvent {
    EventLayerList,   // the layer list needs drawing anew
    EventTimeline,    // the time strip needs drawing anew
    EventScrollLayer, // value: a layer index to bring into view
    EventScrollImage, // value: an image to bring into view
    EventImageCounter,
    EventDensityGadget, // value: the percentage to show
    EventNavigator,
    EventSelectionCleared,
};
extern void (*ProjectViewHook)(ProjectEvent event, int32_t value);
void NotifyView(ProjectEvent event, int32_t value = 0);

// A text request of the toolkit: fills buffer (size bytes) under the message and returns
// 1, or 0 when cancelled. Until the toolkit installs it there is nobody to ask, and the
// request gives an empty text, which names a layer "Untitled".
extern int (*AskTextHook)(uint32_t message, char* buffer, int size);
int AskText(uint32_t message, char* buffer, int size);

// ---- Life cycle ------------------------------------------------------------------------------------------
// After the page exists: the first layer, empty and unnamed. 0 without memory.
int InitLayers();
// Frees every layer, the video layer, the undo slots and the layer clipboard.
void FreeLayers();
// Back to one empty layer (Algorithms of the project reset). 0 when the user says no.
int ResetProject(const char* name, int quiet, int keepNothing);
// Rebuilds every page-sized buffer at the new size; 1, 0 (refused), or -1 when only a
// smaller page could be had.
int ChangePageSize(int32_t width, int32_t height, int keepContents);
void SetProjectName(const char* path);

// ---- The stack -------------------------------------------------------------------------------------------
// A new empty layer above (before) or under the current one; selected when select is set.
Layer* CreateLayer(const char* name, int before, int select, int32_t firstImage, int quiet);
// The user's NewLayer: named by the user, at CurrentImage, undoable. 1 or 0.
int NewLayerCommand();
// The same with the name given (null: asked).
int NewLayerNamed(const char* name);
// Takes any layer but the current one out of the stack; 0 when refused.
int RemoveLayer(int32_t index, int quiet, int keepData);
Layer* GetLayer(int32_t index);
Layer* FindLayerById(uint32_t id);
int32_t LayerIndexById(uint32_t id); // -1 when there is none
// Copies the name (message 8100 for an empty one) into buffer of 128 bytes; 0 out of range.
int LayerName(int32_t index, char* buffer);
const char* ShownName(const Layer* layer); // the name or message 8100
bool LayerPresent(const Layer* layer, int32_t image);
int32_t LayerPercent(int32_t density); // the density as the user sees it

// ---- Images ----------------------------------------------------------------------------------------------
// Makes the current layer hold what the page shows. Non-zero on success; on failure the
// page stays dirty and nothing else changes.
int FlushPage();
// The central change: flush, then make layerIndex current at image (clamped into its
// range) and load the page. The layer, or null when the flush failed.
Layer* SelectLayerImage(int32_t layerIndex, int32_t image, int quiet);
// Another image of the current layer. Bit 0 of flags: no redisplay. 1, or 0.
int SelectImage(int32_t image, int flags);
// The pixels of a layer's image into bitmap (of the page's size). 1, or 0 when they could
// not be had (the bitmap is then unchanged, or cleared when the store failed).
int LoadLayerImage(Bitmap* bitmap, Layer* layer, int32_t image);
// Composites a layer's image over bitmap at the layer's density.
int OverLayerImage(Layer* layer, Bitmap* bitmap, int32_t image);
// Packs bitmap into a plain layer's cache block. 1, or 0 without memory or cache.
int StorePlainImage(Layer* layer, const Bitmap* bitmap);

// The plain picture's code: one run-length run over all its pixels, where a control byte
// of -128 is a run of 129. Each returns 1 when the code covers count pixels exactly; a
// damaged code never reads or writes out of bounds, and UnpackPlain clears what it left.
int UnpackPlain(const uint8_t* code, size_t size, uint32_t* pixels, size_t count);
int OverPlain(const uint8_t* code, size_t size, uint32_t* pixels, size_t count, int density);

// A plain layer's picture taken a stretch of pixels at a time, its code read from the cache
// as the stretches need it: composing a stack band by band keeps each band in the
// processor's cache while every layer goes over it, and no layer's code is taken out whole.
struct PlainStream;
// A stream over a layer's picture of count pixels; null without memory, or when the layer
// has no packed picture in the cache.
PlainStream* OpenPlainStream(const Layer* layer, size_t count);
void ClosePlainStream(PlainStream* stream);
// The next n pixels of the picture: copied into pixels when density is below 0, otherwise
// blended over them at that density. 0 when the cache could not be read, or the code is
// damaged: then what the stretch holds is undefined, and the caller starts again the whole
// way. The last stretch also finds whether the code ends where the pixels do.
int StreamPlain(PlainStream* stream, uint32_t* pixels, size_t n, int density);

// ---- Record moves: the array alone, without selection or undo --------------------------------------------
// CurrentLayer keeps to its record, except in LiftRecord of the current layer itself,
// where it is left on a neighbour for the caller to select.
void MoveRecord(int32_t from, int32_t to);         // the record at from ends at index to
int LiftRecord(int32_t index, Layer* into);        // takes the record out, data and all
int PutRecord(int32_t index, const Layer* record); // 0 without memory
// Image positions run from 0 to MaxImagePosition: a script's huge count is limited there.
constexpr int32_t MaxImagePosition = 999999;
int32_t ClampImage(int64_t image);

// ---- Record helpers --------------------------------------------------------------------------------------
// Frees what a record owns (clip, packed picture, thumbnail) and clears those fields.
void FreeLayerData(Layer* layer);
// A new thumbnail of bitmap, or a cleared one when bitmap is null; null without memory.
Bitmap* MakeThumbnail(const Bitmap* bitmap);
// Replaces the layer's thumbnail by one made from bitmap; keeps the old one without memory.
void ReplaceThumbnail(Layer* layer, const Bitmap* bitmap);
// Copies the page into the undo page and empties the dirty box: undo does not cross a
// change of image.
void RefreshUndoPage();
// Where the page's pixels go when the current layer changes: the mixer rebuild and the
// screen. Called by every selection.
void Redisplay();

} // namespace nemu
