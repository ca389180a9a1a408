#include "files/format_settings.h"

#include "ui/settings.h"

#include <algorithm>
#include <string>

namespace nemu {

int FileFormat = 0;
int SaveMode = 0;
int Stretch = 0;
int TGACompression = 1;
int JPegPower = 100;
int TiffOption = 2;
PaletteOptions GifOptions{2, 1, 256};
PaletteOptions FliOptions{0, 2, 256};
PaletteOptions BmpOptions{4, 0, 256};
PaletteOptions PcxOptions{3, 1, 256};
PaletteOptions PngOptions{3, 0, 255};
PaletteOptions IlbmOptions{4, 0, 256};
int NoOverwriteAsk = 0;

namespace {

constexpr const char* Section = "IO";

struct PaletteKeys {
    const char* Prefix;
    PaletteOptions* Options;
    PaletteOptions Default;
};

const PaletteKeys PaletteTable[] = {
    {"Gif", &GifOptions, {2, 1, 256}}, {"Fli", &FliOptions, {0, 2, 256}}, {"BMP", &BmpOptions, {4, 0, 256}},
    {"PCX", &PcxOptions, {3, 1, 256}}, {"PNG", &PngOptions, {3, 0, 255}}, {"Ilbm", &IlbmOptions, {4, 0, 256}},
};

struct IntKey {
    const char* Key;
    int* Value;
    int Default, Low, High;
};

const IntKey IntTable[] = {
    {"FileFormat", &FileFormat, 0, 0, 0x7fffffff},
    {"SaveMode", &SaveMode, 0, 0, 2},
    {"Stretch", &Stretch, 0, 0, 1},
    {"TGACompression", &TGACompression, 1, 0, 1},
    {"JPeg_power", &JPegPower, 100, 1, 100},
    {"Tiff_Option", &TiffOption, 2, 0, 4},
};

std::string Key(const char* prefix, const char* field) {
    return std::string(prefix) + "_" + field;
}

} // namespace

void LoadFormatSettings() {
    for (const IntKey& k : IntTable)
        *k.Value = std::clamp(ConfigGetInt(Section, k.Key, k.Default), k.Low, k.High);
    for (const PaletteKeys& p : PaletteTable) {
        PaletteOptions& o = *p.Options;
        o.Palette =
            std::clamp(ConfigGetInt(Section, Key(p.Prefix, "Palette").c_str(), p.Default.Palette), 0, 5);
        o.Dither = std::clamp(ConfigGetInt(Section, Key(p.Prefix, "Dither").c_str(), p.Default.Dither), 0, 2);
        o.Colors =
            std::clamp(ConfigGetInt(Section, Key(p.Prefix, "Colors").c_str(), p.Default.Colors), 16, 256);
    }
}

void SaveFormatSettings() {
    for (const IntKey& k : IntTable) ConfigSetInt(Section, k.Key, *k.Value);
    for (const PaletteKeys& p : PaletteTable) {
        ConfigSetInt(Section, Key(p.Prefix, "Palette").c_str(), p.Options->Palette);
        ConfigSetInt(Section, Key(p.Prefix, "Dither").c_str(), p.Options->Dither);
        ConfigSetInt(Section, Key(p.Prefix, "Colors").c_str(), p.Options->Colors);
    }
}

} // namespace nemu
