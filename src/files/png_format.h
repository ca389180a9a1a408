// PNG through libpng. Every colour type and depth is read (palette, grey, 16 bits,
// interlaced, transparency chunks) into premultiplied pixels. The writer follows the PNG
// palette setting: b24 drops alpha, b32 keeps it straight, and a global or local
// palette is written exactly when the picture has no more colours than it allows.
#pragma once
#include <cstdio>

namespace nemu {

struct Bitmap;

// 0 when the file starts with PNG's signature and header; its size and bits a pixel.
int TestPng(const char* path, int* width, int* height, int* depth);
// Reads into the bitmap's corner, cropped; 0, or -1 with LastFileError set.
int ReadPng(const char* path, Bitmap* bitmap);
int ReadPngStream(FILE* file, Bitmap* bitmap);
// Writes by the PNG palette setting; 0, or -1 with LastFileError set.
int WritePng(const char* path, const Bitmap* bitmap);
// palette is a palette field's value, colours the most a palette may hold. A picture
// with more colours, or the fixed and user palettes, need the colour quantiser, which
// doesn't exist yet: they are written with 32 bits, with a warning.
int WritePngStream(FILE* file, const Bitmap* bitmap, int palette, int colours);

} // namespace nemu
