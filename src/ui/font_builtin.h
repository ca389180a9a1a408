// The built-in font that stands in when no font file can be had: printable ASCII as one-bit
// glyphs for the layout size (a 13-pixel line, baseline 10), made once from DejaVu Sans by
// tools/font_table.cpp and kept as data, so the interface stays readable on any machine.
#pragma once
#include <cstdint>

namespace nemu {

struct BuiltinGlyph {
    int8_t Advance;
    int8_t Left, Top; // corner from the pen; Top above the baseline
    int8_t Width, Height;
    uint16_t Rows[13]; // bit 15 - x is pixel x of each row
};

// The glyph of a code point; characters outside the table get the box of '?'.
const BuiltinGlyph* BuiltinGlyphFor(uint32_t cp);
inline bool BuiltinGlyphBit(const BuiltinGlyph* g, int x, int y) {
    return x >= 0 && y >= 0 && x < g->Width && y < g->Height && x < 16 && y < 13 &&
           ((g->Rows[y] >> (15 - x)) & 1);
}

} // namespace nemu
