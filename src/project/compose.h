// Composition of the stack: flattening it at one image (ComposeImage), the editing view
// (RebuildMix fills the mixer's buffers above and under the current layer, with the onion
// images and the safe-area frames), and the push of a page rectangle through those
// buffers and the background to a target (DisplayRect). The pixel forms are in
// project/blend.h.
#pragma once
#include "project/blend.h"

#include <cstdint>

namespace nemu {

struct Bitmap;
struct Layer;

// ---- DisplayFlags bits of the composition (the word itself is the screen's) ------------------------------
constexpr uint32_t BackgroundColourBit = 0x0004; // behind the page: BGP1
constexpr uint32_t BackgroundCheckBit = 0x2000;  // behind the page: a check of BGP1 and BGP2
constexpr uint32_t BackgroundBits = BackgroundColourBit | BackgroundCheckBit;
constexpr uint32_t MixRebuiltBit = 0x0020; // set by every rebuild of the mixer
constexpr uint32_t MixAboveBit = 0x0080;   // only buffer A is in use
constexpr uint32_t MixBelowBit = 0x0100;   // only buffer C is in use
constexpr uint32_t MixBothBit = 0x0400;    // A and C are in use
constexpr uint32_t MixBits = MixAboveBit | MixBelowBit | MixBothBit;
constexpr uint32_t MixClearedBits = 0x07F0; // what a rebuild clears before it sets its own
constexpr uint32_t DisplayTableBit = 0x1000;

// ---- State -----------------------------------------------------------------------------------------------
// The two background colours are the screen's own, under the names the layers use.
extern uint32_t& BGP1;
extern uint32_t& BGP2;
extern bool ShowAllLayers; // off shows the current layer alone
extern int32_t PelureMode; // 0: a layer's onion images under its own image; 1: over it
extern bool SafeAreaShown; // the safe-area frames are drawn above everything
extern bool NeedAbove;     // what the last rebuild found: buffer A in use
extern bool NeedBelow;     // and buffer C

// ---- Stack -----------------------------------------------------------------------------------------------
// The whole stack at one image flattened into bitmap (of the page's size), with the
// background behind it when withBackground is set. 1, or 0 when the page could not be
// flushed first.
int ComposeImage(Bitmap* bitmap, int32_t image, bool withBackground);
int ComposeCurrent(Bitmap* bitmap, bool withBackground);
// A layer's image by id; 0 when there is no such layer or it is absent at that image.
int GetLayerImageById(Bitmap* bitmap, uint32_t id, int32_t image);
// bitmap's pixels shown over the background in force; x0, y0 is the bitmap's position on
// the page, which anchors the check.
void ApplyBackground(Bitmap* bitmap, int32_t x0, int32_t y0);
// The background in force, as the display's pixels take it.
Backdrop DisplayBackdrop();
// The density of the current layer for painting and display.
void SetCurrentDensity(int32_t density);

// A layer's image into a buffer: loaded and scaled by its density when the buffer is empty
// (*drawn clear), blended over it otherwise. *drawn is set.
void AddLayerToBuffer(Layer* layer, Bitmap* buffer, int32_t image, bool* drawn);

// ---- Editing view ----------------------------------------------------------------------------------------
// Fills buffers A and C for the current layer and image and sets the mixer bits; with
// show set, the page is shown anew.
void RebuildMix(bool show);
// RebuildMix and the screen: what every selection ends with.
void Redisplay();
void SetShowAllLayers(bool on);
// The start of the program's layer display: every layer shown, the mixer filled.
void SetLayerMode();
void DisplayAllLayer(); // toggles
void LayerTogglePelureMode();
// The onion images of a layer around image t over buffer; *drawn says whether the buffer
// holds anything yet, and is set once something is drawn.
void DrawOnionImages(Layer* layer, Bitmap* buffer, int32_t t, bool current, bool* drawn);
// The two safe-area frames of a width by height picture into bitmap.
void DrawSafeArea(Bitmap* bitmap);

// ---- Display ---------------------------------------------------------------------------------------------
// width by height pixels of source from (x, y) composed with the mixer buffers (read at
// aboveX, aboveY) and the background, into target at (tx, ty). In bands of 16 rows.
void DisplayRect(const Bitmap* source, int32_t x, int32_t y, Bitmap* target, int32_t tx, int32_t ty,
                 int32_t width, int32_t height, int32_t aboveX, int32_t aboveY);
// The screen's compose hook: w by h page pixels at (px, py) combined with the buffers into
// dst from (0, 0), over the background in force. 0 when the mixer has nothing to add.
int ComposeWithMixer(int px, int py, int w, int h, Bitmap* dst);
// Frees the scan buffer; for a change of page size and the way down.
void FreeDisplayBuffers();

// ---- Background ------------------------------------------------------------------------------------------
// 0 none, 1 colour, 2 check. Only a real change redraws and marks the project changed.
void SetBackgroundMode(int mode);
void NextBackgroundMode();
int BackgroundMode();
// Sets a background colour (0 BGP1, 1 BGP2); the display is rebuilt when it shows it.
void SetBackgroundColour(int which, uint32_t colour);

} // namespace nemu
