#include "files/raster_common.h"

#include "store/bitmap.h"
#include "ui/catalog.h"
#include "ui/requests.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>

namespace nemu {

FileError LastFileError;

bool ImageSizeValid(uint64_t width, uint64_t height) {
    return width >= 1 && height >= 1 && width <= MAX_IMAGE_SIDE && height <= MAX_IMAGE_SIDE &&
           width * height <= MAX_IMAGE_PIXELS;
}

void ClearFileError() {
    LastFileError = FileError{};
}

void SetFileError(uint32_t message, const char* format, ...) {
    // The first failure is the cause; what follows from it only repeats it.
    if (LastFileError.Message) return;
    LastFileError.Message = message;
    va_list args;
    va_start(args, format);
    std::vsnprintf(LastFileError.Detail, sizeof LastFileError.Detail, format, args);
    va_end(args);
}

void ReportFileError(const char* path) {
    if (!LastFileError.Message) return;
    char text[1024];
    std::snprintf(text, sizeof text, "%s\n%s\n%s", path ? path : "", MsgGet(nullptr, LastFileError.Message),
                  LastFileError.Detail);
    ClearFileError();
    Alert(text);
}

void StoreRow(Bitmap* bitmap, int y, const uint8_t* row, int width, RowOrder order, bool straightAlpha) {
    int n = std::min(width, bitmap->Width);
    uint32_t* out = bitmap->Pixels + size_t(y) * size_t(bitmap->Width);
    for (int x = 0; x < n; x++) {
        uint32_t r, g, b, a = 255;
        switch (order) {
        case RowOrder::RGB:
            r = row[0], g = row[1], b = row[2];
            row += 3;
            break;
        case RowOrder::RGBA:
            r = row[0], g = row[1], b = row[2], a = row[3];
            row += 4;
            break;
        default:
            b = row[0], g = row[1], r = row[2], a = row[3];
            row += 4;
            break;
        }
        if (straightAlpha && a != 255) {
            r = Premultiply(r, a);
            g = Premultiply(g, a);
            b = Premultiply(b, a);
        }
        out[x] = a << 24 | r << 16 | g << 8 | b;
    }
}

void FetchRow(const Bitmap* bitmap, int y, uint8_t* row, RowOrder order, bool straightAlpha) {
    const uint32_t* in = bitmap->Pixels + size_t(y) * size_t(bitmap->Width);
    for (int x = 0; x < bitmap->Width; x++) {
        uint32_t p = in[x];
        uint32_t a = p >> 24, r = (p >> 16) & 255, g = (p >> 8) & 255, b = p & 255;
        if (straightAlpha && order != RowOrder::RGB && a != 255) {
            r = Unpremultiply(r, a);
            g = Unpremultiply(g, a);
            b = Unpremultiply(b, a);
        }
        switch (order) {
        case RowOrder::RGB:
            row[0] = uint8_t(r), row[1] = uint8_t(g), row[2] = uint8_t(b);
            row += 3;
            break;
        case RowOrder::RGBA:
            row[0] = uint8_t(r), row[1] = uint8_t(g), row[2] = uint8_t(b), row[3] = uint8_t(a);
            row += 4;
            break;
        default:
            row[0] = uint8_t(b), row[1] = uint8_t(g), row[2] = uint8_t(r), row[3] = uint8_t(a);
            row += 4;
            break;
        }
    }
}

FILE* OpenForReading(const char* path) {
    FILE* file = std::fopen(path, "rb");
    if (!file) SetFileError(2364, "%s", std::strerror(errno));
    return file;
}

FILE* OpenForWriting(SafeFile* safe, const char* path, bool readable) {
    FILE* file = OpenSafeFile(safe, path, readable);
    if (!file) SetFileError(2363, "%s", std::strerror(errno));
    return file;
}

int CloseWritten(SafeFile* safe, bool ok) {
    if (!ok) {
        AbandonSafeFile(safe);
        return -1;
    }
    if (CommitSafeFile(safe) == 0) return 0;
    SetFileError(2365, "%s", std::strerror(errno ? errno : EIO));
    return -1;
}

} // namespace nemu
