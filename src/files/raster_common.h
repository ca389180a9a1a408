// What the still-picture modules share: the bounds on sizes read from files, the
// conversions between our premultiplied pixels and the interleaved rows of the file
// libraries, and the record of the last failure, which the format registry reports.
#pragma once
#include "files/safe_file.h"
#include "store/tile_pack.h"

#include <cstdint>
#include <cstdio>

namespace nemu {

struct Bitmap;

// No side of a picture in a file may exceed this, nor its area MAX_IMAGE_PIXELS: beyond
// them a header is taken as damaged before anything is allocated for it.
constexpr int MAX_IMAGE_SIDE = 32767;
constexpr uint64_t MAX_IMAGE_PIXELS = uint64_t(1) << 28;
bool ImageSizeValid(uint64_t width, uint64_t height);

// The last failure of a reader or writer: a catalog message and the detail that the
// library or the system gave. Readers and writers set it and return -1; the caller
// shows it with ReportFileError.
struct FileError {
    uint32_t Message = 0; // 0 when nothing failed
    char Detail[256] = {};
};
extern FileError LastFileError;
void ClearFileError();
void SetFileError(uint32_t message, const char* format, ...) __attribute__((format(printf, 2, 3)));
// Alerts "path, message, detail" and clears the record; nothing when it is empty.
void ReportFileError(const char* path);

// Premultiplication rounds up, as all blending does (MulUp), so that no colour with
// some alpha vanishes; its undoing truncates, and keeps a damaged pixel whose colour
// exceeds its alpha at white rather than wrapping it.
inline uint8_t Premultiply(uint32_t c, uint32_t a) {
    return uint8_t(MulUp(c, a));
}
inline uint8_t Unpremultiply(uint32_t c, uint32_t a) {
    if (a == 0) return 0;
    uint32_t v = 255 * c / a;
    return uint8_t(v > 255 ? 255 : v);
}

// Interleaved 8-bit rows as the libraries give and take them.
enum class RowOrder { RGB, RGBA, BGRA };

// Stores `width` pixels of a row into row y of the bitmap, cropped to its width. RGB
// rows get alpha 255; straight alpha is premultiplied.
void StoreRow(Bitmap* bitmap, int y, const uint8_t* row, int width, RowOrder order, bool straightAlpha);
// Fetches row y of the bitmap, its whole width. RGB drops alpha and keeps the
// premultiplied colour; with straightAlpha the colour is unpremultiplied.
void FetchRow(const Bitmap* bitmap, int y, uint8_t* row, RowOrder order, bool straightAlpha);

// Opens a file for a reader, setting message 2364 (can't open) on failure.
FILE* OpenForReading(const char* path);
// Opens a picture file for a writer through the safe writer: the file named is replaced
// only when CloseWritten commits it, so a failed or killed save leaves the old one whole.
// `readable` lets the writer read back what it wrote. Message 2363 (can't create) on
// failure.
FILE* OpenForWriting(SafeFile* safe, const char* path, bool readable = false);
// Ends a written file: when `ok`, commits it (message 2365 if that fails); otherwise
// abandons it. 0 when the file is in place.
int CloseWritten(SafeFile* safe, bool ok);

} // namespace nemu
