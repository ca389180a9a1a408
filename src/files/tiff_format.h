// TIFF through libtiff, the image module of save mode 256. Anything libtiff can turn
// into colour is read: grey, palette, RGB, CMYK, YCbCr, 1 to 16 bits, strips or tiles,
// any compression it has. The writer's options are those of TiffOptionNames; libtiff's
// complaints go to our own handlers, never to the console.
#pragma once
#include <cstdio>

namespace nemu {

struct Bitmap;
struct ImageModule;

extern const ImageModule TiffModule;

// Options by index, the value of TiffOption.
enum TiffOptionIndex { TIFF_8BITS, TIFF_8BITS_OPT, TIFF_RGB_A, TIFF_RGBA, TIFF_JPEG };
extern const char* const TiffOptionNames[5]; // "8 Bits", "8 Bits opt", "RGB+A", "RGBA", "Jpeg"

// 0 when libtiff can open the file's first picture; its size and bits a pixel.
int TestTiff(const char* path, int* width, int* height, int* depth);
int ReadTiff(const char* path, Bitmap* bitmap);
int ReadTiffStream(FILE* file, Bitmap* bitmap);
// Writes by TiffOption: RGB+A with straight alpha, RGBA with premultiplied alpha, both
// LZW-compressed; Jpeg as JPEG-compressed colour at JPegPower. The two 8-bit options
// wait for the colour quantiser and fail.
int WriteTiff(const char* path, const Bitmap* bitmap);
int WriteTiffStream(FILE* file, const Bitmap* bitmap, int option, int quality);

} // namespace nemu
