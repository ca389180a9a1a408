// Writes the built-in font's table (src/ui/font_builtin_data.cpp) to standard output:
// printable ASCII of a font file rendered in one bit at the toolkit's scale-1 size.
// Usage: font_table /usr/share/fonts/truetype/dejavu/DejaVuSans.ttf > src/ui/font_builtin_data.cpp
#include <ft2build.h>
#include FT_FREETYPE_H

#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: font_table FONTFILE\n");
        return 2;
    }
    FT_Library lib;
    FT_Face face;
    if (FT_Init_FreeType(&lib) || FT_New_Face(lib, argv[1], 0, &face) || FT_Set_Pixel_Sizes(face, 0, 11)) {
        std::fprintf(stderr, "font_table: cannot open %s\n", argv[1]);
        return 1;
    }
    std::printf("// Made by tools/font_table.cpp from DejaVu Sans at 11 pixels; do not edit.\n"
                "#include \"ui/font_builtin.h\"\n\nnamespace nemu {\n\n"
                "static const BuiltinGlyph Glyphs[95] = {\n");
    for (unsigned c = 32; c < 127; c++) {
        FT_Load_Char(face, c, FT_LOAD_RENDER | FT_LOAD_TARGET_MONO | FT_LOAD_MONOCHROME);
        FT_GlyphSlot g = face->glyph;
        int w = int(g->bitmap.width), h = int(g->bitmap.rows);
        if (w > 16) w = 16;
        if (h > 13) h = 13;
        std::printf("    {%ld, %d, %d, %d, %d, {", (g->advance.x + 32) >> 6, g->bitmap_left, g->bitmap_top, w, h);
        for (int y = 0; y < 13; y++) {
            unsigned bits = 0;
            for (int x = 0; x < w && y < h; x++) {
                unsigned char byte = g->bitmap.buffer[y * g->bitmap.pitch + x / 8];
                if (byte & (0x80 >> (x % 8))) bits |= 1u << (15 - x);
            }
            std::printf("%s0x%04X", y ? ", " : "", bits);
        }
        std::printf("}}, // %c\n", c == '\\' ? '/' : char(c));
    }
    std::printf("};\n\nconst BuiltinGlyph* BuiltinGlyphFor(uint32_t cp) {\n"
                "    if (cp == '\\t') cp = ' ';\n"
                "    if (cp < 32 || cp > 126) cp = '?';\n"
                "    return &Glyphs[cp - 32];\n}\n\n} // namespace nemu\n");
    FT_Done_Face(face);
    FT_Done_FreeType(lib);
    return 0;
}
