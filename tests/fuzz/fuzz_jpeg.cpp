// Reads any bytes as a JPEG file.
#include "files/jpeg_format.h"
#include "picture_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    return FuzzPictureReader(data, size, nemu::ReadJpegStream);
}
