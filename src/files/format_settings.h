// The format settings of section IO: the save mode and each format's options, kept in
// globals while the program runs and in the profile between runs.
#pragma once

namespace nemu {

// A limited-colour format's palette choice.
struct PaletteOptions {
    int Palette; // 0 fix, 1 user, 2 global, 3 local, 4 b24 (no palette), 5 b32
    int Dither;  // 0 none, 1 dither, 2 matrix
    int Colors;  // 16 to 256
};

extern int FileFormat;     // the save mode
extern int SaveMode;       // what a file panel's save command takes by default, 2 the brush
extern int Stretch;        // scale a loaded picture to the page
extern int TGACompression; // run-length Targa
extern int JPegPower;      // JPEG quality, 1 to 100
extern int TiffOption;     // the TIFF module's choice, an index into TiffOptionNames
extern PaletteOptions GifOptions, FliOptions, BmpOptions, PcxOptions, PngOptions, IlbmOptions;
// Set by scripts that overwrite files without being asked.
extern int NoOverwriteAsk;

// Reads section IO, each key by its default when missing, and keeps the values in range.
void LoadFormatSettings();
void SaveFormatSettings();

} // namespace nemu
