// PNG through libpng. Every colour type and depth is read (palette, grey, 16 bits,
// interlaced, transparency chunks) into premultiplied pixels; the writer puts 24 bits
// (palette setting b24, alpha dropped) or 32 bits with straight alpha.
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
// palette: 4 writes 24 bits, anything else 32 until the colour quantiser exists.
int WritePngStream(FILE* file, const Bitmap* bitmap, int palette);

} // namespace nemu
