#include "files/jpeg_format.h"

#include "files/format_settings.h"
#include "files/raster_common.h"
#include "store/bitmap.h"

#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <new>
// jpeglib.h needs FILE and size_t declared first.
#include <jerror.h>
#include <jpeglib.h>

namespace nemu {

namespace {

// The progressive and multi-scan decoders keep a whole picture of coefficients; a
// header that asks for more than this fails instead of taking the machine's memory.
constexpr long JpegMemoryLimit = 512L << 20;

// The error manager, extended with the jump back into our code.
struct JpegError {
    jpeg_error_mgr Manager;
    jmp_buf Jump;
    bool Truncated = false;
    char Message[JMSG_LENGTH_MAX] = {};
};

[[noreturn]] void OnJpegError(j_common_ptr info) {
    auto* error = reinterpret_cast<JpegError*>(info->err);
    error->Manager.format_message(info, error->Message);
    std::longjmp(error->Jump, 1);
}

// Warnings (level -1) about corrupt data are taken in silence, but a file that ends
// early is remembered: the reader then fails, keeping what it decoded.
void OnJpegMessage(j_common_ptr info, int level) {
    auto* error = reinterpret_cast<JpegError*>(info->err);
    if (level < 0) {
        if (error->Manager.msg_code == JWRN_JPEG_EOF) error->Truncated = true;
        error->Manager.num_warnings++;
    }
}

void InstallErrors(JpegError* error) {
    jpeg_std_error(&error->Manager);
    error->Manager.error_exit = OnJpegError;
    error->Manager.emit_message = OnJpegMessage;
}

// The decompressor with its buffers, where the jump can find them.
struct JpegReadJob {
    jpeg_decompress_struct Info;
    JpegError Error;
    uint8_t* Row = nullptr;
    uint8_t* Colour = nullptr;
};

// CMYK as Adobe writes it is stored inverted: the bytes are the ink's complements.
void CmykToRgb(const uint8_t* in, uint8_t* out, int width, bool inverted) {
    for (int x = 0; x < width; x++, in += 4, out += 3) {
        uint32_t c = in[0], m = in[1], y = in[2], k = in[3];
        if (!inverted) c = 255 - c, m = 255 - m, y = 255 - y, k = 255 - k;
        out[0] = uint8_t((c * k + 127) / 255);
        out[1] = uint8_t((m * k + 127) / 255);
        out[2] = uint8_t((y * k + 127) / 255);
    }
}

void DecodeRows(JpegReadJob* job, Bitmap* bitmap) {
    jpeg_decompress_struct& info = job->Info;
    jpeg_read_header(&info, TRUE);
    if (!ImageSizeValid(info.image_width, info.image_height)) {
        std::snprintf(job->Error.Message, sizeof job->Error.Message, "picture too large");
        std::longjmp(job->Error.Jump, 1);
    }
    bool cmyk = info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK;
    info.out_color_space = cmyk ? JCS_CMYK : JCS_RGB;
    jpeg_start_decompress(&info);
    int width = int(info.output_width);
    job->Row = static_cast<uint8_t*>(std::malloc(size_t(width) * info.output_components));
    if (cmyk) job->Colour = static_cast<uint8_t*>(std::malloc(size_t(width) * 3));
    if (!job->Row || (cmyk && !job->Colour)) {
        std::snprintf(job->Error.Message, sizeof job->Error.Message, "out of memory");
        std::longjmp(job->Error.Jump, 1);
    }
    int rows = std::min(int(info.output_height), bitmap->Height);
    for (int y = 0; y < rows; y++) {
        JSAMPROW row = job->Row;
        if (jpeg_read_scanlines(&info, &row, 1) != 1) break;
        if (cmyk) CmykToRgb(job->Row, job->Colour, width, info.saw_Adobe_marker);
        StoreRow(bitmap, y, cmyk ? job->Colour : job->Row, width, RowOrder::RGB, false);
    }
    // The rows below the bitmap are not wanted: the rest of the file is left unread.
    if (rows == int(info.output_height)) jpeg_finish_decompress(&info);
}

} // namespace

int TestJpeg(const char* path, int* width, int* height, int* depth) {
    FILE* file = std::fopen(path, "rb");
    if (!file) return -1;
    uint8_t magic[3] = {};
    bool marked =
        std::fread(magic, 1, 3, file) == 3 && magic[0] == 0xFF && magic[1] == 0xD8 && magic[2] == 0xFF;
    volatile int result = -1;
    if (marked) {
        std::rewind(file);
        jpeg_decompress_struct info;
        JpegError error;
        InstallErrors(&error);
        info.err = &error.Manager;
        jpeg_create_decompress(&info);
        if (!setjmp(error.Jump)) {
            jpeg_stdio_src(&info, file);
            jpeg_read_header(&info, TRUE);
            if (width) *width = int(info.image_width);
            if (height) *height = int(info.image_height);
            if (depth) *depth = 8 * info.num_components;
            result = 0;
        }
        jpeg_destroy_decompress(&info);
    }
    std::fclose(file);
    return result;
}

int ReadJpegStream(FILE* file, Bitmap* bitmap) {
    auto* job = new (std::nothrow) JpegReadJob;
    if (!job) {
        SetFileError(1000, "JPEG");
        return -1;
    }
    InstallErrors(&job->Error);
    job->Info.err = &job->Error.Manager;
    jpeg_create_decompress(&job->Info);
    job->Info.mem->max_memory_to_use = JpegMemoryLimit;
    int result = 0;
    if (setjmp(job->Error.Jump)) {
        SetFileError(2350, "JPEG: %s", job->Error.Message);
        result = -1;
    } else {
        jpeg_stdio_src(&job->Info, file);
        DecodeRows(job, bitmap);
        if (job->Error.Truncated) {
            SetFileError(2366, "JPEG");
            result = -1;
        }
    }
    jpeg_destroy_decompress(&job->Info);
    std::free(job->Row);
    std::free(job->Colour);
    delete job;
    return result;
}

// The open step speaks for itself on the console, as it always has.
static void SayCannotOpen(const char* path) {
    std::printf("can't open %s\n", path);
}

int ReadJpeg(const char* path, Bitmap* bitmap) {
    FILE* file = OpenForReading(path);
    if (!file) {
        SayCannotOpen(path);
        return -1;
    }
    int result = ReadJpegStream(file, bitmap);
    std::fclose(file);
    return result;
}

int WriteJpegStream(FILE* file, const Bitmap* bitmap, int quality) {
    struct Job {
        jpeg_compress_struct Info;
        JpegError Error;
        uint8_t* Row = nullptr;
    };
    auto* job = new (std::nothrow) Job;
    if (!job) {
        SetFileError(1000, "JPEG");
        return -1;
    }
    InstallErrors(&job->Error);
    job->Info.err = &job->Error.Manager;
    jpeg_create_compress(&job->Info);
    int result = 0;
    if (setjmp(job->Error.Jump)) {
        SetFileError(2365, "JPEG: %s", job->Error.Message);
        result = -1;
    } else {
        jpeg_compress_struct& info = job->Info;
        jpeg_stdio_dest(&info, file);
        info.image_width = JDIMENSION(bitmap->Width);
        info.image_height = JDIMENSION(bitmap->Height);
        info.input_components = 3;
        info.in_color_space = JCS_RGB;
        jpeg_set_defaults(&info);
        jpeg_set_quality(&info, std::clamp(quality, 1, 100), TRUE);
        // Whoever asks for this much quality wants the colour's edges too: no halving
        // of the colour planes.
        if (quality >= HighJpegQuality) info.comp_info[0].h_samp_factor = info.comp_info[0].v_samp_factor = 1;
        jpeg_start_compress(&info, TRUE);
        job->Row = static_cast<uint8_t*>(std::malloc(size_t(bitmap->Width) * 3));
        if (!job->Row) {
            std::snprintf(job->Error.Message, sizeof job->Error.Message, "out of memory");
            std::longjmp(job->Error.Jump, 1);
        }
        for (int y = 0; y < bitmap->Height; y++) {
            FetchRow(bitmap, y, job->Row, RowOrder::RGB, false);
            JSAMPROW row = job->Row;
            jpeg_write_scanlines(&info, &row, 1);
        }
        jpeg_finish_compress(&info);
    }
    jpeg_destroy_compress(&job->Info);
    std::free(job->Row);
    delete job;
    return result;
}

int WriteJpeg(const char* path, const Bitmap* bitmap) {
    SafeFile safe;
    FILE* file = OpenForWriting(&safe, path);
    if (!file) {
        SayCannotOpen(path);
        return -1;
    }
    int result = WriteJpegStream(file, bitmap, JPegPower);
    return CloseWritten(&safe, result == 0);
}

} // namespace nemu
