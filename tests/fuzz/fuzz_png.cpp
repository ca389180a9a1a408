// Reads any bytes as a PNG file.
#include "files/png_format.h"
#include "picture_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return FuzzPictureReader(data, size, nemu::ReadPngStream);
}
