// Draw modes: what a dab does to the page. `DrawMode`, with the stamp's Kind, the pen's
// PenKind and AntiAlias, selects a stamp function and a refresh function; this module
// holds that selection, the pixel arithmetic and the tables the arithmetic uses.
//
// Pixels are premultiplied 0xAARRGGBB. All blending goes through Mul: the magnitude of
// d * a / 255 rounded up, so a faint dab always moves a channel by at least one and every
// blend reaches its target at strength 255.
#pragma once
#include <cstdint>

namespace nemu {

struct Bitmap;
struct Stamp;

// ---- Selection state ------------------------------------------------------------------
extern int32_t DrawMode;  // 0..17, 10 unused
extern int32_t PenKind;   // 0 soft dab, 1 chalk dither, 2 pencil dither (set by the pens)
extern int32_t AntiAlias; // the anti-alias switch

// ---- Tables -------------------------------------------------------------------------------
// MulTable[(d + 256) * 256 + a] = sign(d) * ((|d| * a + 254) / 255), d in -256..255.
extern int16_t MulTable[512 * 256];
// DivTable[a * 256 + c] = (255 * c / a) & 255, 0 for a 0: un-premultiplies a channel.
extern uint8_t DivTable[256 * 256];
// Grey = (LumaTable[0][r] + LumaTable[1][g] + LumaTable[2][b]) >> 16.
extern uint32_t LumaTable[3][256];
void BuildDrawTables(); // done at load; calling it again is harmless

inline int Mul(int d, int a) {
    return MulTable[((d + 256) << 8) + a];
}
inline int Div(int c, int a) {
    return DivTable[(a << 8) + c];
}
inline int Lerp(int c, int t, int k) {
    return (c + Mul(t - c, k)) & 255;
}
inline int Luma(int r, int g, int b) {
    return int((LumaTable[0][r] + LumaTable[1][g] + LumaTable[2][b]) >> 16);
}
// (x + 127) / 255, truncating towards zero as the reciprocal multiply with a sign fix does.
inline int Round255(int x) {
    return (x + 127) / 255;
}

// ---- Functions a selection returns ----------------------------------------------------------
// Blends one dab with top left (x, y) into page. opacity 0..255.
using StampFn = void (*)(Stamp* stamp, Bitmap* page, int32_t x, int32_t y, uint32_t colour, int32_t useBPen,
                         int32_t opacity);
// Brings a page rectangle up to date (the wet pens recompute it) and shows it.
using RefreshFn = void (*)(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h);

StampFn SelectStamp(Stamp* stamp, int32_t useBPen);
StampFn SelectDryStamp(Stamp* stamp, int32_t useBPen);
RefreshFn SelectRefresh(Stamp* stamp, int32_t useBPen);

// Sets DrawMode; the two spare-page modes need a spare page, and some modes rebuild the
// tables their colour depends on. Returns 0, or -1 when the mode cannot be selected.
int SetDrawMode(int32_t mode);
extern void (*DrawModeLabelHook)(int32_t mode); // the tool bar relabels gadget 31
// Key commands: each selects its mode, or its partner when the mode is already current.
void DrawModeColor();
void DrawModeMerge();
void DrawModeTint();
void DrawModeSmooth();
void DrawModeSmear();
void DrawModeShade();
void DrawModeGrain();
void DrawModeBehind();
void DrawModeAlpha();
// Script name to mode number, -1 when unknown. Names are compared without regard to case.
int32_t DrawModeByName(const char* name);
// Catalog message of a mode's name, 0 for an unused number.
uint32_t DrawModeMessage(int32_t mode);
// The modes in the order the draw-mode popup lists them (its entries are messages 3100 on).
extern const int32_t DrawModePopupOrder[17];

// The colour hook of every colour stamp (ranges colour filled shapes, not strokes).
uint32_t RangeColour(int32_t opacity, uint32_t colour);

// ---- Colour-derived tables, rebuilt when APen or the mode changes ------------------------------
extern uint32_t ColorizeRamp[256]; // grey level to colour, from APen
void MakeColorizeRamp();
extern int32_t TintSextant; // -1: APen is grey, `tint` does nothing
extern int32_t TintFrac;    // position inside the sextant, 16.16
void MakeTintHue();
extern uint32_t OilColorTable[512]; // indexed by d + 256, d in -256..255
void MakeOilColorTable(uint32_t colour);

// ---- Dab state shared with the pens --------------------------------------------------------------
extern int32_t GrainBits;     // 0..7, depth of `grain`
extern uint32_t ChalkSeed;    // the dither's generator, kept between stamps
extern uint32_t PickedColour; // the `impress` colour of the stroke
extern uint32_t WetColour;    // colour the wet refresh paints with
extern uint8_t WetLut[256];   // wet coverage to strength, built by the pens
extern int32_t AltAirbrush;   // the airbrush accumulates additively

// Mean of the four channels of bitmap under the stamp's mask at (x, y), truncating.
uint32_t AverageUnder(const Stamp* stamp, int32_t x, int32_t y, const Bitmap* bitmap);

// Plain copy of a page rectangle to the screen: the refresh of every dry mode.
void CopyToScreen(Bitmap* page, int32_t x, int32_t y, int32_t w, int32_t h);

} // namespace nemu
