// Sections: libpng's jump point and handlers; the header test; the reader; the exact
// palette; the writer.
#include "files/png_format.h"

#include "files/format_settings.h"
#include "files/raster_common.h"
#include "store/bitmap.h"

#include <algorithm>
#include <csetjmp>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <png.h>

namespace nemu {

namespace {

// Everything a long jump out of libpng must find to clean up. It lives in memory, not
// in registers, so its fields keep their values across the jump.
struct PngJob {
    png_structp Png = nullptr;
    png_infop Info = nullptr;
    uint8_t* Rows = nullptr;
    char Message[200] = {};
};

[[noreturn]] void OnPngError(png_structp png, png_const_charp text) {
    auto* job = static_cast<PngJob*>(png_get_error_ptr(png));
    std::snprintf(job->Message, sizeof job->Message, "%s", text ? text : "libpng error");
    png_longjmp(png, 1);
}

// A recoverable oddity of the file, such as a bad ancillary chunk: nothing to report.
void OnPngWarning(png_structp, png_const_charp) {}

uint32_t BigWord(const uint8_t* p) {
    return uint32_t(p[0]) << 24 | p[1] << 16 | p[2] << 8 | p[3];
}

int ChannelsOf(int colourType) {
    switch (colourType) {
    case PNG_COLOR_TYPE_GRAY:
        return 1;
    case PNG_COLOR_TYPE_GRAY_ALPHA:
        return 2;
    case PNG_COLOR_TYPE_RGB:
        return 3;
    case PNG_COLOR_TYPE_RGB_ALPHA:
        return 4;
    case PNG_COLOR_TYPE_PALETTE:
        return 1;
    default:
        return 0;
    }
}

// Reads rows into the bitmap; the libpng structures exist and the jump point is set.
void ReadRows(PngJob* job, Bitmap* bitmap) {
    png_structp png = job->Png;
    png_infop info = job->Info;
    png_read_info(png, info);
    png_uint_32 width = 0, height = 0;
    int bitDepth = 0, colourType = 0, interlace = 0;
    png_get_IHDR(png, info, &width, &height, &bitDepth, &colourType, &interlace, nullptr, nullptr);
    if (!ImageSizeValid(width, height)) png_error(png, "picture too large");
    // Whatever the file holds becomes 8-bit blue, green, red, straight alpha.
    if (colourType == PNG_COLOR_TYPE_PALETTE) png_set_palette_to_rgb(png);
    if (colourType == PNG_COLOR_TYPE_GRAY && bitDepth < 8) png_set_expand_gray_1_2_4_to_8(png);
    if (png_get_valid(png, info, PNG_INFO_tRNS)) png_set_tRNS_to_alpha(png);
    if (bitDepth == 16) png_set_scale_16(png);
    if (colourType == PNG_COLOR_TYPE_GRAY || colourType == PNG_COLOR_TYPE_GRAY_ALPHA)
        png_set_gray_to_rgb(png);
    png_set_filler(png, 0xff, PNG_FILLER_AFTER);
    png_set_bgr(png);
    int passes = png_set_interlace_handling(png);
    png_read_update_info(png, info);
    size_t rowBytes = png_get_rowbytes(png, info);
    if (rowBytes != size_t(width) * 4) png_error(png, "unexpected row layout");
    int rows = int(height) < bitmap->Height ? int(height) : bitmap->Height;
    // An interlaced picture builds every row over seven passes, so the rows kept must
    // all stay in memory; the rows below the bitmap share one scratch row.
    size_t kept = passes > 1 ? size_t(rows) + 1 : 1;
    job->Rows = static_cast<uint8_t*>(std::malloc(kept * rowBytes));
    if (!job->Rows) {
        std::snprintf(job->Message, sizeof job->Message, "out of memory");
        png_longjmp(png, 2);
    }
    if (passes == 1) {
        // Rows below the bitmap are never decoded.
        for (int y = 0; y < rows; y++) {
            png_read_row(png, job->Rows, nullptr);
            StoreRow(bitmap, y, job->Rows, int(width), RowOrder::BGRA, true);
        }
        return;
    }
    std::memset(job->Rows, 0, kept * rowBytes);
    for (int pass = 0; pass < passes; pass++)
        for (png_uint_32 y = 0; y < height; y++)
            png_read_row(png, job->Rows + (y < png_uint_32(rows) ? y : png_uint_32(rows)) * rowBytes,
                         nullptr);
    for (int y = 0; y < rows; y++)
        StoreRow(bitmap, y, job->Rows + size_t(y) * rowBytes, int(width), RowOrder::BGRA, true);
}

} // namespace

int TestPng(const char* path, int* width, int* height, int* depth) {
    FILE* file = std::fopen(path, "rb");
    if (!file) return -1;
    uint8_t head[26];
    size_t got = std::fread(head, 1, sizeof head, file);
    std::fclose(file);
    if (got != sizeof head || png_sig_cmp(head, 0, 8) != 0 || std::memcmp(head + 12, "IHDR", 4) != 0)
        return -1;
    int channels = ChannelsOf(head[25]);
    if (!channels) return -1;
    // A side beyond what an int holds is no valid side: it stays too large, never wraps.
    if (width) *width = int(std::min<uint32_t>(BigWord(head + 16), INT32_MAX));
    if (height) *height = int(std::min<uint32_t>(BigWord(head + 20), INT32_MAX));
    if (depth) *depth = head[24] * channels;
    return 0;
}

int ReadPngStream(FILE* file, Bitmap* bitmap) {
    PngJob job;
    job.Png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &job, OnPngError, OnPngWarning);
    if (job.Png) job.Info = png_create_info_struct(job.Png);
    if (!job.Info) {
        png_destroy_read_struct(&job.Png, nullptr, nullptr);
        SetFileError(1000, "libpng");
        return -1;
    }
    int result = 0;
    int jumped = setjmp(png_jmpbuf(job.Png));
    if (jumped) {
        SetFileError(jumped == 2 ? 1000 : 2350, "PNG: %s", job.Message);
        result = -1;
    } else {
        png_init_io(job.Png, file);
        png_set_user_limits(job.Png, MAX_IMAGE_SIDE, MAX_IMAGE_SIDE);
        png_set_chunk_malloc_max(job.Png, 8 << 20);
        // Chunks we don't use are skipped unread: libpng would otherwise allocate a text
        // chunk's claimed length, up to 2 GB, before finding the file too short.
        static const png_byte Ignored[] = "bKGD\0cHRM\0eXIf\0gAMA\0hIST\0iCCP\0iTXt\0oFFs\0pCAL\0pHYs\0"
                                          "sBIT\0sCAL\0sPLT\0sRGB\0tEXt\0tIME\0zTXt";
        png_set_keep_unknown_chunks(job.Png, PNG_HANDLE_CHUNK_NEVER, nullptr, 0);
        png_set_keep_unknown_chunks(job.Png, PNG_HANDLE_CHUNK_NEVER, Ignored, int(sizeof Ignored / 5));
        ReadRows(&job, bitmap);
    }
    std::free(job.Rows);
    png_destroy_read_struct(&job.Png, &job.Info, nullptr);
    return result;
}

int ReadPng(const char* path, Bitmap* bitmap) {
    FILE* file = OpenForReading(path);
    if (!file) return -1;
    int result = ReadPngStream(file, bitmap);
    std::fclose(file);
    return result;
}

namespace {

// A palette that holds every colour of a picture exactly, for the palette settings
// that need no colour quantiser: one palette per image, or for all, when the picture
// has no more colours than the setting allows.
struct ExactPalette {
    static constexpr int Slots = 1024; // a power of two, four times the most colours
    int Count = 0;
    uint32_t Colours[256]; // premultiplied pixels, the translucent first
    uint32_t Keys[Slots];
    int16_t Index[Slots]; // -1 for an empty slot

    int Find(uint32_t pixel) const {
        for (uint32_t slot = (pixel * 2654435761u) >> 22;; slot = (slot + 1) & (Slots - 1)) {
            if (Index[slot] < 0 || Keys[slot] == pixel) return int(slot);
        }
    }
    void Rebuild() {
        std::fill_n(Index, Slots, int16_t(-1));
        for (int i = 0; i < Count; i++) {
            int slot = Find(Colours[i]);
            Keys[slot] = Colours[i];
            Index[slot] = int16_t(i);
        }
    }
};

// False when the picture has more than `most` colours.
bool MakeExactPalette(const Bitmap* bitmap, int most, ExactPalette* palette) {
    palette->Count = 0;
    palette->Rebuild();
    size_t pixels = size_t(bitmap->Width) * size_t(bitmap->Height);
    for (size_t i = 0; i < pixels; i++) {
        uint32_t p = bitmap->Pixels[i];
        int slot = palette->Find(p);
        if (palette->Index[slot] >= 0) continue;
        if (palette->Count == most) return false;
        palette->Keys[slot] = p;
        palette->Index[slot] = int16_t(palette->Count);
        palette->Colours[palette->Count++] = p;
    }
    // Entries past the transparency chunk are opaque, so the translucent ones go first.
    std::stable_partition(palette->Colours, palette->Colours + palette->Count,
                          [](uint32_t p) { return (p >> 24) != 255; });
    palette->Rebuild();
    return true;
}

int BitsFor(int colours) {
    return colours <= 2 ? 1 : colours <= 4 ? 2 : colours <= 16 ? 4 : 8;
}

void WritePaletteHeader(png_structp png, png_infop info, const Bitmap* bitmap, const ExactPalette& palette) {
    png_set_IHDR(png, info, png_uint_32(bitmap->Width), png_uint_32(bitmap->Height), BitsFor(palette.Count),
                 PNG_COLOR_TYPE_PALETTE, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_color colours[256];
    png_byte alphas[256];
    int translucent = 0;
    for (int i = 0; i < palette.Count; i++) {
        uint32_t p = palette.Colours[i], a = p >> 24;
        colours[i] = {Unpremultiply((p >> 16) & 255, a), Unpremultiply((p >> 8) & 255, a),
                      Unpremultiply(p & 255, a)};
        alphas[i] = png_byte(a);
        if (a != 255) translucent = i + 1;
    }
    png_set_PLTE(png, info, colours, palette.Count);
    if (translucent) png_set_tRNS(png, info, alphas, translucent, nullptr);
}

} // namespace

int WritePngStream(FILE* file, const Bitmap* bitmap, int palette, int colours) {
    auto* exact = new (std::nothrow) ExactPalette;
    if (!exact) {
        SetFileError(1000, "PNG");
        return -1;
    }
    bool indexed = false;
    if (palette < 4) {
        indexed =
            (palette == 2 || palette == 3) && MakeExactPalette(bitmap, std::clamp(colours, 2, 256), exact);
        if (!indexed) {
            std::printf("WARNING : PNG : more colours than the palette holds, and no colour quantiser yet; "
                        "written with 32 bits\n");
            palette = 5;
        }
    }
    bool alpha = palette != 4;
    PngJob job;
    job.Png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &job, OnPngError, OnPngWarning);
    if (job.Png) job.Info = png_create_info_struct(job.Png);
    if (!job.Info) {
        png_destroy_write_struct(&job.Png, nullptr);
        delete exact;
        SetFileError(1000, "libpng");
        return -1;
    }
    int result = 0;
    if (setjmp(png_jmpbuf(job.Png))) {
        SetFileError(2365, "PNG: %s", job.Message);
        result = -1;
    } else {
        png_init_io(job.Png, file);
        if (indexed)
            WritePaletteHeader(job.Png, job.Info, bitmap, *exact);
        else
            png_set_IHDR(job.Png, job.Info, png_uint_32(bitmap->Width), png_uint_32(bitmap->Height), 8,
                         alpha ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                         PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_write_info(job.Png, job.Info);
        // Indices go one to a byte; libpng packs them to the palette's depth.
        if (indexed) png_set_packing(job.Png);
        job.Rows = static_cast<uint8_t*>(std::malloc(size_t(bitmap->Width) * 4));
        if (!job.Rows) {
            std::snprintf(job.Message, sizeof job.Message, "out of memory");
            png_longjmp(job.Png, 1);
        }
        for (int y = 0; y < bitmap->Height; y++) {
            if (indexed) {
                const uint32_t* row = bitmap->Pixels + size_t(y) * size_t(bitmap->Width);
                for (int x = 0; x < bitmap->Width; x++)
                    job.Rows[x] = uint8_t(exact->Index[exact->Find(row[x])]);
            } else {
                FetchRow(bitmap, y, job.Rows, alpha ? RowOrder::RGBA : RowOrder::RGB, true);
            }
            png_write_row(job.Png, job.Rows);
        }
        png_write_end(job.Png, job.Info);
    }
    std::free(job.Rows);
    png_destroy_write_struct(&job.Png, &job.Info);
    delete exact;
    return result;
}

int WritePng(const char* path, const Bitmap* bitmap) {
    SafeFile safe;
    FILE* file = OpenForWriting(&safe, path);
    if (!file) return -1;
    int result = WritePngStream(file, bitmap, PngOptions.Palette, PngOptions.Colors);
    return CloseWritten(&safe, result == 0);
}

} // namespace nemu
