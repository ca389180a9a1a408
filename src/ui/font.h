// The toolkit's font: a real font drawn through FreeType, found by family with fontconfig
// (DejaVu Sans unless the setting Font of section Interface names another), at the size
// that gives the design's line of 13 pixels at scale 1. Glyphs are rasterised once per
// size into a cache, so drawing a panel again costs only blending. When no font file can
// be found or opened, a built-in bitmap font stands in, and the program says so once.
#pragma once
#include <cstdint>

namespace nemu {

struct Bitmap;

constexpr int32_t FontLineUnits = 13;     // a text line, in layout units
constexpr int32_t FontBaselineUnits = 10; // baseline below the top of the line

// Opens the font for the current interface scale; 1 with a real font, 0 with the built-in
// one. Safe to call again after the scale or the family changed.
int FontOpen();
void FontClose();
bool FontIsBuiltIn();
// Pixel metrics of the font in force.
int32_t FontLineHeight(); // pixels of one line
int32_t FontBaseline();   // pixels from the top of a line to the baseline
// Width in pixels of the first length bytes of UTF-8 text (-1: up to the terminator).
int32_t TextWidth(const char* text, int32_t length = -1);
// Draws text with the top of its line at pixel (x, y) of the bitmap, clipped to the
// rectangle (cx1, cy1)-(cx2, cy2) inclusive; returns the pen's x after the text.
int32_t DrawText(Bitmap* bitmap, int32_t x, int32_t y, const char* text, int32_t length, uint32_t colour,
                 int32_t cx1, int32_t cy1, int32_t cx2, int32_t cy2);
// The byte offset in text of the character whose middle lies nearest to pixel x.
int32_t TextOffsetAt(const char* text, int32_t x);
// Glyphs rasterised since start (a redraw of cached text adds none).
extern uint64_t FontRasterCount;

} // namespace nemu
