// JPEG through libjpeg: grey, colour and CMYK files, baseline or progressive, are read;
// colour files are written at the quality of JPeg_power. The library's failures come
// back by a long jump out of its error manager, never by an exit.
#pragma once
#include <cstdio>

namespace nemu {

struct Bitmap;

// From this quality on, the colour planes keep their full resolution.
constexpr int HighJpegQuality = 90;

// 0 when the file is a JPEG whose header can be read; its size and bits a pixel.
int TestJpeg(const char* path, int* width, int* height, int* depth);
// Reads into the bitmap's corner, cropped; 0, or -1 with LastFileError set. A file that
// ends early keeps the rows it had and gives -1.
int ReadJpeg(const char* path, Bitmap* bitmap);
int ReadJpegStream(FILE* file, Bitmap* bitmap);
// Writes 24 bits at quality JPegPower (alpha dropped, premultiplied colour kept).
int WriteJpeg(const char* path, const Bitmap* bitmap);
int WriteJpegStream(FILE* file, const Bitmap* bitmap, int quality);

} // namespace nemu
