// The toolkit's font: fontconfig finds the file of the family, FreeType opens it at the
// size of the interface scale, and each glyph is rasterised once into the cache.
//
// Sections: the glyph cache; opening and closing; measuring; drawing.
#include "ui/font.h"

#include "host/platform.h"
#include "store/bitmap.h"
#include "ui/catalog.h"
#include "ui/font_builtin.h"
#include "ui/settings.h"
#include "ui/ui_scale.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include <fontconfig/fontconfig.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <unordered_map>

namespace nemu {

uint64_t FontRasterCount = 0;

// The font's em in pixels at scale 1: DejaVu Sans's ascent and descent then fill 13.
constexpr int FontPixelsAtScale1 = 11;
constexpr const char* DefaultFontFamily = "DejaVu Sans";
// Catalog message said once when the built-in font stands in.
constexpr uint32_t MsgFontMissing = 1120;

// ---- The glyph cache -------------------------------------------------------------------------

struct Glyph {
    int16_t Left, Top; // bitmap corner from the pen, pixels; Top above the baseline
    int16_t Width, Height;
    int16_t Advance; // pixels
    uint8_t* Alpha;  // Width * Height coverage, null for blank glyphs
    bool Ready;
};

static FT_Library Library = nullptr;
static FT_Face Face = nullptr;
static int32_t LineHeight = 13, Baseline = 10;
static bool BuiltIn = true;
static bool MissingSaid = false;
static Glyph Ascii[128];
static std::unordered_map<uint32_t, Glyph>* Others = nullptr;

static void FreeGlyph(Glyph& g) {
    std::free(g.Alpha);
    g = Glyph{};
}

static void ClearCache() {
    for (Glyph& g : Ascii) FreeGlyph(g);
    if (Others) {
        for (auto& entry : *Others) std::free(entry.second.Alpha);
        delete Others;
        Others = nullptr;
    }
}

// The built-in font's glyph, scaled by whole pixels (nearest) to the interface scale.
static void MakeBuiltInGlyph(uint32_t cp, Glyph& g) {
    const BuiltinGlyph* b = BuiltinGlyphFor(cp);
    g.Ready = true;
    g.Advance = int16_t(UiPx(b->Advance));
    g.Left = int16_t(UiPx(b->Left));
    g.Top = int16_t(UiPx(b->Top));
    g.Width = int16_t(UiPx(b->Width));
    g.Height = int16_t(UiPx(b->Height));
    if (g.Width < 1 || g.Height < 1) return;
    g.Alpha = static_cast<uint8_t*>(std::malloc(size_t(g.Width) * g.Height));
    if (!g.Alpha) return;
    for (int y = 0; y < g.Height; y++)
        for (int x = 0; x < g.Width; x++) {
            int sx = UiUnit(x), sy = UiUnit(y);
            g.Alpha[y * g.Width + x] = BuiltinGlyphBit(b, sx, sy) ? 255 : 0;
        }
}

static void MakeFreeTypeGlyph(uint32_t cp, Glyph& g) {
    g.Ready = true;
    FT_UInt index = FT_Get_Char_Index(Face, cp);
    if (!index && cp != ' ') index = FT_Get_Char_Index(Face, 0xFFFD);
    if (FT_Load_Glyph(Face, index, FT_LOAD_DEFAULT | FT_LOAD_TARGET_LIGHT) != 0 ||
        FT_Render_Glyph(Face->glyph, FT_RENDER_MODE_NORMAL) != 0)
        return;
    FontRasterCount++;
    FT_GlyphSlot slot = Face->glyph;
    g.Advance = int16_t((slot->advance.x + 32) >> 6);
    g.Left = int16_t(slot->bitmap_left);
    g.Top = int16_t(slot->bitmap_top);
    g.Width = int16_t(slot->bitmap.width);
    g.Height = int16_t(slot->bitmap.rows);
    if (g.Width < 1 || g.Height < 1) return;
    g.Alpha = static_cast<uint8_t*>(std::malloc(size_t(g.Width) * g.Height));
    if (!g.Alpha) {
        g.Width = g.Height = 0;
        return;
    }
    for (int y = 0; y < g.Height; y++)
        std::memcpy(g.Alpha + size_t(y) * g.Width, slot->bitmap.buffer + ptrdiff_t(y) * slot->bitmap.pitch,
                    size_t(g.Width));
}

static const Glyph& GlyphFor(uint32_t cp) {
    static Glyph blank{};
    Glyph* g = nullptr;
    if (cp < 128) {
        g = &Ascii[cp];
    } else {
        if (!Others) Others = new (std::nothrow) std::unordered_map<uint32_t, Glyph>;
        if (!Others) return blank;
        g = &(*Others)[cp];
    }
    if (!g->Ready) {
        if (cp == '\t') cp = ' '; // tabs are drawn as blanks
        if (BuiltIn)
            MakeBuiltInGlyph(cp, *g);
        else
            MakeFreeTypeGlyph(cp, *g);
    }
    return *g;
}

// ---- Opening and closing ----------------------------------------------------------------------

// The font file fontconfig picks for the family. A configuration of its own, freed here,
// so that nothing of fontconfig stays behind between openings.
static std::string FindFontFile(const char* family) {
    std::string found;
    FcConfig* config = FcInitLoadConfigAndFonts();
    if (!config) return found;
    FcPattern* pattern = FcNameParse(reinterpret_cast<const FcChar8*>(family));
    if (pattern) {
        FcConfigSubstitute(config, pattern, FcMatchPattern);
        FcDefaultSubstitute(pattern);
        FcResult result;
        FcPattern* match = FcFontMatch(config, pattern, &result);
        FcChar8* file = nullptr;
        if (match && FcPatternGetString(match, FC_FILE, 0, &file) == FcResultMatch && file)
            found = reinterpret_cast<const char*>(file);
        if (match) FcPatternDestroy(match);
        FcPatternDestroy(pattern);
    }
    FcConfigDestroy(config);
    return found;
}

static bool OpenFreeType(const char* family) {
    std::string file = FindFontFile(family);
    if (file.empty()) return false;
    if (!Library && FT_Init_FreeType(&Library) != 0) return false;
    if (FT_New_Face(Library, file.c_str(), 0, &Face) != 0) {
        Face = nullptr;
        return false;
    }
    int pixels = (FontPixelsAtScale1 * UiScaleHalves + 1) / 2;
    if (!FT_IS_SCALABLE(Face) || FT_Set_Pixel_Sizes(Face, 0, FT_UInt(pixels)) != 0) {
        FT_Done_Face(Face);
        Face = nullptr;
        return false;
    }
    return true;
}

int FontOpen() {
    FontClose();
    LineHeight = UiPx(FontLineUnits);
    char family[256];
    ConfigGet("Interface", "Font", family, DefaultFontFamily, sizeof family);
    if (!*family) std::strcpy(family, DefaultFontFamily);
    const char* forced = std::getenv("NEMU_FONT"); // a test can force the built-in font with "none"
    if (forced && *forced) std::snprintf(family, sizeof family, "%s", forced);
    BuiltIn = !(forced && std::strcmp(forced, "none") == 0) ? !OpenFreeType(family) : true;
    if (BuiltIn) {
        Baseline = UiPx(FontBaselineUnits);
        if (!MissingSaid) {
            MissingSaid = true;
            const char* text = MsgGet(nullptr, MsgFontMissing);
            Warning("%s (%s)", *text ? text : "no interface font found; using the built-in one", family);
        }
        return 0;
    }
    // The font's own ascent and descent, centred in the line.
    int ascent = int((Face->size->metrics.ascender + 63) >> 6);
    int descent = int((-Face->size->metrics.descender + 63) >> 6);
    Baseline = (LineHeight - ascent - descent) / 2 + ascent;
    if (Baseline > LineHeight) Baseline = LineHeight;
    return 1;
}

void FontClose() {
    ClearCache();
    if (Face) FT_Done_Face(Face);
    Face = nullptr;
    if (Library) FT_Done_FreeType(Library);
    Library = nullptr;
    BuiltIn = true;
}

bool FontIsBuiltIn() {
    return BuiltIn;
}
int32_t FontLineHeight() {
    return LineHeight;
}
int32_t FontBaseline() {
    return Baseline;
}

// ---- Measuring -----------------------------------------------------------------------------------

// Decodes one UTF-8 character at text[*i], advancing *i; bytes that are not valid UTF-8
// stand for themselves (Latin-1), so any name can be shown.
static uint32_t NextChar(const char* text, int32_t length, int32_t* i) {
    auto u = [&](int32_t k) { return uint32_t(uint8_t(text[k])); };
    uint32_t c = u(*i);
    int extra = c >= 0xF0 && c < 0xF5 ? 3 : c >= 0xE0 && c < 0xF0 ? 2 : c >= 0xC2 && c < 0xE0 ? 1 : 0;
    if (extra && *i + extra < length) {
        uint32_t cp = c & (0x3Fu >> extra);
        bool ok = true;
        for (int k = 1; k <= extra && ok; k++) {
            ok = (u(*i + k) & 0xC0) == 0x80;
            cp = cp << 6 | (u(*i + k) & 0x3F);
        }
        if (ok) {
            *i += extra + 1;
            return cp;
        }
    }
    *i += 1;
    return c;
}

static int32_t Length(const char* text, int32_t length) {
    return length < 0 ? int32_t(std::strlen(text)) : length;
}

int32_t TextWidth(const char* text, int32_t length) {
    if (!text) return 0;
    int32_t n = Length(text, length), w = 0;
    for (int32_t i = 0; i < n && text[i];) w += GlyphFor(NextChar(text, n, &i)).Advance;
    return w;
}

int32_t TextOffsetAt(const char* text, int32_t x) {
    if (!text) return 0;
    int32_t n = Length(text, -1), pen = 0;
    for (int32_t i = 0; i < n;) {
        int32_t at = i;
        int32_t adv = GlyphFor(NextChar(text, n, &i)).Advance;
        if (x < pen + adv / 2) return at;
        pen += adv;
    }
    return n;
}

// ---- Drawing --------------------------------------------------------------------------------------

static inline uint32_t BlendCoverage(uint32_t d, uint32_t c, uint32_t a) {
    uint32_t out = d & 0xFF000000u;
    for (int s = 0; s < 24; s += 8) {
        uint32_t dc = (d >> s) & 255, cc = (c >> s) & 255;
        out |= ((cc * a + dc * (255 - a) + 127) / 255) << s;
    }
    return out;
}

int32_t DrawText(Bitmap* bitmap, int32_t x, int32_t y, const char* text, int32_t length, uint32_t colour,
                 int32_t cx1, int32_t cy1, int32_t cx2, int32_t cy2) {
    if (!bitmap || !text) return x;
    if (cx1 < 0) cx1 = 0;
    if (cy1 < 0) cy1 = 0;
    if (cx2 >= bitmap->Width) cx2 = bitmap->Width - 1;
    if (cy2 >= bitmap->Height) cy2 = bitmap->Height - 1;
    int32_t n = Length(text, length);
    int32_t base = y + Baseline;
    for (int32_t i = 0; i < n && text[i];) {
        const Glyph& g = GlyphFor(NextChar(text, n, &i));
        if (g.Alpha && x <= cx2) {
            int gx = x + g.Left, gy = base - g.Top;
            int x0 = gx < cx1 ? cx1 - gx : 0, y0 = gy < cy1 ? cy1 - gy : 0;
            int x1 = gx + g.Width - 1 > cx2 ? cx2 - gx : g.Width - 1;
            int y1 = gy + g.Height - 1 > cy2 ? cy2 - gy : g.Height - 1;
            for (int r = y0; r <= y1; r++) {
                uint32_t* d = bitmap->Pixels + size_t(gy + r) * bitmap->Width + gx;
                const uint8_t* a = g.Alpha + size_t(r) * g.Width;
                for (int k = x0; k <= x1; k++) {
                    if (a[k] == 0) continue;
                    d[k] = a[k] == 255 ? (colour & 0xFFFFFFu) | (d[k] & 0xFF000000u)
                                       : BlendCoverage(d[k], colour, a[k]);
                }
            }
        }
        x += g.Advance;
    }
    return x;
}

} // namespace nemu
