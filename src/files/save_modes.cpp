#include "files/save_modes.h"

#include "files/format_settings.h"
#include "files/image_modules.h"
#include "files/jpeg_format.h"
#include "files/png_format.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <strings.h>

namespace nemu {

const SaveModeRow SaveModeTable[] = {
    {0, {"ombrix", "dip", "deep"}, ".dip", nullptr},
    {1, {"omdc"}, nullptr, nullptr},
    {2, {"ilbm", "lbm", "iff"}, ".iff", nullptr},
    {3, {"tga", "vst", "targa"}, ".tga", nullptr},
    {4, {"rendition", "6rn"}, ".6RN", nullptr},
    {5, {"ilbm12"}, ".iff", nullptr},
    {7, {"jpeg", "jpg", "jif"}, ".jpg", WriteJpeg},
    {13, {"gif"}, ".gif", nullptr},
    {15, {"Sun", "Ras"}, ".ras", nullptr},
    {16, {}, ".ras", nullptr},
    {20, {"ilbm8"}, ".iff", nullptr},
    {21, {"bmp", "windows"}, ".bmp", nullptr},
    {22, {"pcx"}, ".pcx", nullptr},
    {23, {"softimage", "pic"}, ".pic", nullptr},
    {25, {"avi"}, ".avi", nullptr},
    {26, {"fli", "flc"}, ".flc", nullptr},
    {28, {"png"}, ".png", WritePng},
    {29, {"psd", "photoshop"}, ".psd", nullptr},
};
const int SaveModeCount = int(sizeof SaveModeTable / sizeof SaveModeTable[0]);

const SaveModeRow* FindSaveMode(int mode) {
    for (const SaveModeRow& row : SaveModeTable)
        if (row.Mode == mode) return &row;
    return nullptr;
}

namespace {

// ---- Reading the words ------------------------------------------------------------------

bool StartsWith(const char* word, const char* start) {
    return strncasecmp(word, start, std::strlen(start)) == 0;
}

// Keywords are tried in table order, but the ILBM variants before plain "ilbm", which
// begins them.
int ModeForWord(const char* word) {
    for (const char* first : {"ilbm12", "ilbm8"})
        if (StartsWith(word, first)) return first[4] == '1' ? 5 : 20;
    for (const SaveModeRow& row : SaveModeTable)
        for (const char* keyword : row.Keywords)
            if (keyword && StartsWith(word, keyword)) return row.Mode;
    return ModuleModeForWord(word);
}

std::string NextWord(const char** text) {
    const char* p = *text;
    while (*p == ' ' || *p == '\t') p++;
    const char* start = p;
    while (*p && *p != ' ' && *p != '\t') p++;
    *text = p;
    return std::string(start, p);
}

bool IsNumber(const std::string& word) {
    size_t i = word[0] == '-' || word[0] == '+';
    return i < word.size() &&
           std::all_of(word.begin() + long(i), word.end(), [](char c) { return std::isdigit(c); });
}

struct PaletteWord {
    const char* Start;
    int PaletteOptions::*Field;
    int Value;
};

const PaletteWord PaletteWords[] = {
    {"b24", &PaletteOptions::Palette, 4},     {"b32", &PaletteOptions::Palette, 5},
    {"quant", &PaletteOptions::Palette, 2},   {"loca", &PaletteOptions::Palette, 3},
    {"glob", &PaletteOptions::Palette, 2},    {"fix", &PaletteOptions::Palette, 0},
    {"user", &PaletteOptions::Palette, 1},    {"dither", &PaletteOptions::Dither, 1},
    {"nodither", &PaletteOptions::Dither, 0}, {"mat", &PaletteOptions::Dither, 2},
    {"tram", &PaletteOptions::Dither, 2},
};

void TakePaletteWords(const char* rest, PaletteOptions* options) {
    for (std::string word = NextWord(&rest); !word.empty(); word = NextWord(&rest)) {
        if (std::isdigit(uint8_t(word[0]))) {
            options->Colors = std::clamp(std::atoi(word.c_str()), 16, 256);
            continue;
        }
        for (const PaletteWord& p : PaletteWords)
            if (StartsWith(word.c_str(), p.Start)) {
                options->*p.Field = p.Value;
                break;
            }
    }
}

// ---- Each mode's options ------------------------------------------------------------------

struct ModeOptions {
    int Mode;
    PaletteOptions* Palette; // the palette fields of the mode, if any
    int PresetPalette;       // what the palette field is set to before the words, -1 for nothing
    void (*Take)(const char* rest);
};

void TakeTga(const char* rest) {
    // Only a number counts: anything else leaves run-length as it was.
    std::string word = NextWord(&rest);
    if (!word.empty() && IsNumber(word)) TGACompression = std::atoi(word.c_str()) != 0;
}

void TakeJpeg(const char* rest) {
    std::string word = NextWord(&rest);
    if (!word.empty() && IsNumber(word)) JPegPower = std::clamp(std::atoi(word.c_str()), 1, 100);
}

void TakeSun(const char* rest) {
    FileFormat = std::atoi(NextWord(&rest).c_str()) == 32 ? 16 : 15;
}

const ModeOptions ModeOptionTable[] = {
    {28, &PngOptions, 5, nullptr},   {21, &BmpOptions, 4, nullptr},  {2, &IlbmOptions, 4, nullptr},
    {20, &IlbmOptions, -1, nullptr}, {13, &GifOptions, -1, nullptr}, {22, &PcxOptions, -1, nullptr},
    {26, &FliOptions, -1, nullptr},  {3, nullptr, -1, TakeTga},      {7, nullptr, -1, TakeJpeg},
    {15, nullptr, -1, TakeSun},
};

const ModeOptions* OptionsOf(int mode) {
    for (const ModeOptions& o : ModeOptionTable)
        if (o.Mode == mode) return &o;
    return nullptr;
}

// ---- Writing the text ---------------------------------------------------------------------

const char* const PaletteNames[] = {"fix ", "user ", "global ", "local ", "b24 ", "b32 "};
const char* const DitherNames[] = {"nodither ", "dither ", "mat "};

std::string PaletteText(const PaletteOptions& o) {
    std::string text = PaletteNames[std::clamp(o.Palette, 0, 5)];
    text += DitherNames[std::clamp(o.Dither, 0, 2)];
    // A count of colours only means something where there is a palette.
    if (o.Palette < 4) text += std::to_string(o.Colors) + " ";
    return text;
}

} // namespace

namespace {

// The reply of the modes that carry their palette choice; empty for the others.
std::string PaletteModeText(int mode) {
    static const struct {
        int Mode;
        const char* Name;
        const PaletteOptions* Options;
    } PaletteModes[] = {{2, "ilbm ", &IlbmOptions}, {13, "gif ", &GifOptions}, {21, "bmp ", &BmpOptions},
                        {22, "pcx ", &PcxOptions},  {26, "flc ", &FliOptions}, {28, "png ", &PngOptions}};
    for (const auto& p : PaletteModes)
        if (p.Mode == mode) return p.Name + PaletteText(*p.Options);
    return {};
}

std::string PlainModeText(int mode) {
    switch (mode) {
    case 0:
        return "deep";
    case 3:
        return "tga " + std::to_string(TGACompression) + " ";
    case 7:
        return "jpeg " + std::to_string(JPegPower) + " ";
    case 15:
        return "sun 24";
    case 16:
        return "sun 32";
    case 25:
        return "avi ";
    }
    const SaveModeRow* row = FindSaveMode(mode);
    if (row && row->Keywords[0]) return row->Keywords[0];
    return "Mode=" + std::to_string(mode) + " ";
}

} // namespace

void GetSaveModeText(char* buffer, size_t size) {
    if (!buffer || !size) return;
    std::string text = PaletteModeText(FileFormat);
    if (text.empty()) text = PlainModeText(FileFormat);
    std::snprintf(buffer, size, "%s", text.c_str());
}

int SetSaveModeText(const char* text) {
    if (!text) return -1;
    while (*text == ' ' || *text == '\t') text++;
    if (strncasecmp(text, "mode=", 5) == 0) {
        text += 5;
        std::string number = NextWord(&text);
        if (number.empty() || !IsNumber(number)) return -1;
        FileFormat = std::atoi(number.c_str());
        return 0;
    }
    const char* rest = text;
    std::string word = NextWord(&rest);
    if (word.empty()) return -1;
    int mode = ModeForWord(word.c_str());
    if (mode < 0) return -1;
    FileFormat = mode;
    if (mode >= FIRST_MODULE_MODE) {
        if (const ImageModule* module = ModuleForMode(mode); module && module->Options) module->Options(rest);
        return 0;
    }
    if (const ModeOptions* o = OptionsOf(mode)) {
        if (o->Palette && o->PresetPalette >= 0) o->Palette->Palette = o->PresetPalette;
        if (o->Palette) TakePaletteWords(rest, o->Palette);
        if (o->Take) o->Take(rest);
    }
    return 0;
}

} // namespace nemu
