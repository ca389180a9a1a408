// Reads any bytes as a TIFF file.
#include "files/tiff_format.h"
#include "picture_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return FuzzPictureReader(data, size, nemu::ReadTiffStream);
}
