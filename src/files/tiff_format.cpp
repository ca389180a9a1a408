// Sections: libtiff on a stdio file and its handlers; the header test; the reader; the
// writer; the module record.
#include "files/tiff_format.h"

#include "files/format_settings.h"
#include "files/image_modules.h"
#include "files/jpeg_format.h"
#include "files/raster_common.h"
#include "store/bitmap.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <strings.h>
#include <tiffio.h>

namespace nemu {

const char* const TiffOptionNames[5] = {"8 Bits", "8 Bits opt", "RGB+A", "RGBA", "Jpeg"};

namespace {

// The largest single block libtiff may take for a strip or tile of a file.
constexpr tmsize_t TiffMemoryLimit = tmsize_t(256) << 20;

// ---- libtiff on a stdio file --------------------------------------------------------

FILE* AsFile(thandle_t handle) {
    return static_cast<FILE*>(handle);
}

tmsize_t ReadProc(thandle_t handle, void* buffer, tmsize_t size) {
    return tmsize_t(std::fread(buffer, 1, size_t(size), AsFile(handle)));
}

tmsize_t WriteProc(thandle_t handle, void* buffer, tmsize_t size) {
    return tmsize_t(std::fwrite(buffer, 1, size_t(size), AsFile(handle)));
}

toff_t SeekProc(thandle_t handle, toff_t offset, int whence) {
    if (offset > toff_t(INT64_MAX) && whence == SEEK_SET) return toff_t(-1);
    if (fseeko(AsFile(handle), off_t(offset), whence) != 0) return toff_t(-1);
    return toff_t(ftello(AsFile(handle)));
}

// The caller owns the file and closes it.
int CloseProc(thandle_t) {
    return 0;
}

toff_t SizeProc(thandle_t handle) {
    FILE* file = AsFile(handle);
    off_t here = ftello(file);
    fseeko(file, 0, SEEK_END);
    off_t size = ftello(file);
    fseeko(file, here, SEEK_SET);
    return toff_t(size < 0 ? 0 : size);
}

int MapProc(thandle_t, void**, toff_t*) {
    return 0;
}
void UnmapProc(thandle_t, void*, toff_t) {}

// What libtiff said last, for the failure's detail.
struct TiffTalk {
    char Error[200] = {};
};

int OnTiffError(TIFF*, void* user, const char* module, const char* format, va_list args) {
    auto* talk = static_cast<TiffTalk*>(user);
    if (!talk || talk->Error[0]) return 1;
    char text[160];
    std::vsnprintf(text, sizeof text, format, args);
    std::snprintf(talk->Error, sizeof talk->Error, "%s: %s", module ? module : "TIFF", text);
    return 1;
}

// Unknown tags and the like: the picture is still read, and nobody needs telling.
int OnTiffWarning(TIFF*, void*, const char*, const char*, va_list) {
    return 1;
}

// Messages libtiff gives before it has a file of its own would reach stderr through the
// global handlers; those are turned off once.
void SilenceGlobalHandlers() {
    static bool done = false;
    if (done) return;
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    done = true;
}

TIFF* OpenTiffStream(FILE* file, const char* mode, TiffTalk* talk) {
    SilenceGlobalHandlers();
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (!options) return nullptr;
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, TiffMemoryLimit);
    TIFFOpenOptionsSetErrorHandlerExtR(options, OnTiffError, talk);
    TIFFOpenOptionsSetWarningHandlerExtR(options, OnTiffWarning, talk);
    TIFF* tif = TIFFClientOpenExt("tiff", mode, file, ReadProc, WriteProc, SeekProc, CloseProc, SizeProc,
                                  MapProc, UnmapProc, options);
    TIFFOpenOptionsFree(options);
    return tif;
}

} // namespace

// ---- Header test ----------------------------------------------------------------------

int TestTiff(const char* path, int* width, int* height, int* depth) {
    FILE* file = std::fopen(path, "rb");
    if (!file) return -1;
    uint8_t magic[4] = {};
    bool marked =
        std::fread(magic, 1, 4, file) == 4 &&
        ((magic[0] == 'I' && magic[1] == 'I' && (magic[2] == 42 || magic[2] == 43) && magic[3] == 0) ||
         (magic[0] == 'M' && magic[1] == 'M' && magic[2] == 0 && (magic[3] == 42 || magic[3] == 43)));
    int result = -1;
    if (marked) {
        std::rewind(file);
        TiffTalk talk;
        if (TIFF* tif = OpenTiffStream(file, "r", &talk)) {
            uint32_t w = 0, h = 0;
            uint16_t bits = 1, samples = 1;
            TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &w);
            TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &h);
            TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &bits);
            TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &samples);
            if (w && h) {
                if (width) *width = int(std::min<uint32_t>(w, INT32_MAX));
                if (height) *height = int(std::min<uint32_t>(h, INT32_MAX));
                if (depth) *depth = bits * samples;
                result = 0;
            }
            TIFFClose(tif);
        }
    }
    std::fclose(file);
    return result;
}

// ---- Reader ---------------------------------------------------------------------------

int ReadTiffStream(FILE* file, Bitmap* bitmap) {
    TiffTalk talk;
    TIFF* tif = OpenTiffStream(file, "r", &talk);
    if (!tif) {
        SetFileError(2350, "%s", talk.Error[0] ? talk.Error : "TIFF: not a TIFF file");
        return -1;
    }
    uint32_t width = 0, height = 0;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &height);
    // libtiff premultiplies straight alpha itself, rounding otherwise than we do, and
    // not at all for grey: the file is told to be premultiplied, and we do it.
    bool straight = false;
    uint16_t extras = 0;
    uint16_t* kinds = nullptr;
    if (TIFFGetField(tif, TIFFTAG_EXTRASAMPLES, &extras, &kinds) && extras >= 1 && extras <= 8 &&
        kinds[0] == EXTRASAMPLE_UNASSALPHA) {
        uint16_t associated[8];
        std::copy(kinds, kinds + extras, associated);
        associated[0] = EXTRASAMPLE_ASSOCALPHA;
        straight = TIFFSetField(tif, TIFFTAG_EXTRASAMPLES, extras, associated) != 0;
    }
    char why[1024] = {};
    TIFFRGBAImage image;
    int result = -1;
    if (!ImageSizeValid(width, height)) {
        SetFileError(2350, "TIFF: picture too large");
    } else if (!TIFFRGBAImageOK(tif, why) || !TIFFRGBAImageBegin(&image, tif, 0, why)) {
        SetFileError(2350, "TIFF: %s", why[0] ? why : talk.Error);
    } else {
        // Only the part that lands in the bitmap is decoded, top row first.
        image.req_orientation = ORIENTATION_TOPLEFT;
        uint32_t w = std::min<uint32_t>(width, uint32_t(bitmap->Width));
        uint32_t h = std::min<uint32_t>(height, uint32_t(bitmap->Height));
        auto* raster = static_cast<uint32_t*>(std::calloc(size_t(w) * h, 4));
        if (!raster) {
            SetFileError(1000, "TIFF");
        } else {
            int complete = TIFFRGBAImageGet(&image, raster, w, h);
            // A picture that broke off part way keeps what was decoded.
            for (uint32_t y = 0; y < h; y++)
                StoreRow(bitmap, int(y), reinterpret_cast<uint8_t*>(raster + size_t(y) * w), int(w),
                         RowOrder::RGBA, straight);
            std::free(raster);
            if (complete && !talk.Error[0])
                result = 0;
            else
                SetFileError(2350, "%s", talk.Error[0] ? talk.Error : "TIFF: damaged picture data");
        }
        TIFFRGBAImageEnd(&image);
    }
    TIFFClose(tif);
    return result;
}

int ReadTiff(const char* path, Bitmap* bitmap) {
    FILE* file = OpenForReading(path);
    if (!file) return -1;
    int result = ReadTiffStream(file, bitmap);
    std::fclose(file);
    return result;
}

// ---- Writer ---------------------------------------------------------------------------

namespace {

// The 8-bit options need the colour quantiser, which doesn't exist yet.
bool OptionAvailable(int option) {
    if (option != TIFF_8BITS && option != TIFF_8BITS_OPT) return true;
    std::printf("WARNING : TIFF : \"%s\" waits for the colour quantiser\n", TiffOptionNames[option]);
    SetFileError(2365, "TIFF: \"%s\" is not available yet", TiffOptionNames[option]);
    return false;
}

} // namespace

int WriteTiffStream(FILE* file, const Bitmap* bitmap, int option, int quality) {
    if (!OptionAvailable(option)) return -1;
    TiffTalk talk;
    TIFF* tif = OpenTiffStream(file, "w", &talk);
    if (!tif) {
        SetFileError(2365, "%s", talk.Error);
        return -1;
    }
    bool jpeg = option == TIFF_JPEG;
    int samples = jpeg ? 3 : 4;
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, uint32_t(bitmap->Width));
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, uint32_t(bitmap->Height));
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, samples);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tif, TIFFTAG_SOFTWARE, "Nemu");
    if (jpeg) {
        TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_JPEG);
        TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_YCBCR);
        TIFFSetField(tif, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        TIFFSetField(tif, TIFFTAG_JPEGQUALITY, std::clamp(quality, 1, 100));
        if (quality >= HighJpegQuality) TIFFSetField(tif, TIFFTAG_YCBCRSUBSAMPLING, 1, 1);
    } else {
        uint16_t extra = option == TIFF_RGBA ? EXTRASAMPLE_ASSOCALPHA : EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
        TIFFSetField(tif, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
        TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
        TIFFSetField(tif, TIFFTAG_EXTRASAMPLES, 1, &extra);
    }
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tif, 0));
    auto* row = static_cast<uint8_t*>(std::malloc(size_t(bitmap->Width) * 4));
    bool ok = row != nullptr;
    if (!row) SetFileError(1000, "TIFF");
    RowOrder order = jpeg ? RowOrder::RGB : RowOrder::RGBA;
    for (int y = 0; ok && y < bitmap->Height; y++) {
        FetchRow(bitmap, y, row, order, option == TIFF_RGB_A);
        ok = TIFFWriteScanline(tif, row, uint32_t(y), 0) >= 0;
    }
    if (ok) ok = TIFFFlush(tif) != 0;
    TIFFClose(tif);
    std::free(row);
    if (!ok) SetFileError(2365, "%s", talk.Error[0] ? talk.Error : "TIFF: write failed");
    return ok ? 0 : -1;
}

int WriteTiff(const char* path, const Bitmap* bitmap) {
    if (!OptionAvailable(TiffOption)) return -1;
    // libtiff reads back what it wrote when it links the directory.
    SafeFile safe;
    FILE* file = OpenForWriting(&safe, path, true);
    if (!file) return -1;
    int result = WriteTiffStream(file, bitmap, TiffOption, JPegPower);
    return CloseWritten(&safe, result == 0);
}

// ---- The module record ----------------------------------------------------------------

namespace {

// Takes one of the option names at the start of the words; longer names are tried
// before the names they begin with.
int TiffOptions(const char* words) {
    static const int Order[] = {TIFF_8BITS_OPT, TIFF_8BITS, TIFF_RGB_A, TIFF_RGBA, TIFF_JPEG};
    while (*words == ' ' || *words == '\t') words++;
    for (int index : Order) {
        const char* name = TiffOptionNames[index];
        if (strncasecmp(words, name, std::strlen(name)) == 0) {
            TiffOption = index;
            return 0;
        }
    }
    return -1;
}

} // namespace

const ImageModule TiffModule = {
    "Tiff V6.0", "TIFF",  "Tiff 6.0: ", ".tif",   "Tiff",    1,
    nullptr,     nullptr, TiffOptions,  ReadTiff, WriteTiff, TestTiff,
};

} // namespace nemu
