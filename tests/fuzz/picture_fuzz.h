// What the picture fuzzers share: the bytes become a file in memory, read by the same
// stream reader that files go through, into a small bitmap that crops the picture.
#pragma once
#include "files/raster_common.h"
#include "store/bitmap.h"

#include <cstdint>
#include <cstdio>

inline int FuzzPictureReader(const uint8_t* data, size_t size, int (*read)(FILE*, nemu::Bitmap*)) {
    if (size == 0) return 0;
    FILE* file = fmemopen(const_cast<uint8_t*>(data), size, "rb");
    if (!file) return 0;
    static nemu::Bitmap* bitmap = nemu::NewClearBitmap(97, 61);
    read(file, bitmap);
    nemu::ClearFileError();
    std::fclose(file);
    return 0;
}
