// Our readers and writers against ImageMagick's: every corpus file is decoded by both,
// and what our writers produce is identified and decoded by it. These tests need the
// tool and skip without it; the checked-in corpus table keeps the readers honest then.
#include "files/format_settings.h"
#include "files/jpeg_format.h"
#include "files/png_format.h"
#include "files/raster_common.h"
#include "files/registry.h"
#include "files/tiff_format.h"
#include "store/bitmap.h"
#include "support/file_helpers.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

using namespace nemu;

namespace {

#define REQUIRE_IMAGEMAGICK()                                                                                \
    if (!ToolAvailable("convert") || !ToolAvailable("identify") || !ToolAvailable("compare"))                \
    GTEST_SKIP() << "ImageMagick (convert, identify, compare) is not installed"

// ImageMagick's decoding as straight 8-bit RGBA, premultiplied by our rule.
std::vector<uint32_t> DecodeWithImageMagick(const std::string& path, int* status) {
    std::vector<uint8_t> rgba = RunCommand("convert '" + path + "' -depth 8 rgba:- 2>/dev/null", status);
    std::vector<uint32_t> pixels(rgba.size() / 4);
    for (size_t i = 0; i < pixels.size(); i++) {
        uint32_t a = rgba[i * 4 + 3];
        pixels[i] = a << 24 | uint32_t(Premultiply(rgba[i * 4], a)) << 16 |
                    uint32_t(Premultiply(rgba[i * 4 + 1], a)) << 8 | Premultiply(rgba[i * 4 + 2], a);
    }
    return pixels;
}

int LargestDifference(const std::vector<uint32_t>& a, const uint32_t* b) {
    int most = 0;
    for (size_t i = 0; i < a.size(); i++)
        for (int k = 0; k < 32; k += 8)
            most = std::max(most, std::abs(int((a[i] >> k) & 255) - int((b[i] >> k) & 255)));
    return most;
}

// How far two decoders may part. Lossless files agree exactly, but: 16-bit samples
// (rgb16, rgba16, the 16-bit grey and alpha of gray-alpha.png, the 16-bit colour map
// of a TIFF palette) may round their last bit either way; a TIFF with premultiplied alpha is unpremultiplied
// by ImageMagick and premultiplied again here; JPEG decoders may use other IDCTs and CMYK conversions.
int Tolerance(const std::string& file) {
    if (file.find("cmyk") != std::string::npos) return 3;
    if (file.find(".jpg") != std::string::npos || file.find("jpeg.tif") != std::string::npos) return 2;
    for (const char* part : {"16", "premultiplied", "gray-alpha.png", "palette.tif"})
        if (file.find(part) != std::string::npos) return 1;
    return 0;
}

Bitmap* Sample(int w, int h) {
    Bitmap* b = NewBitmap(w, h);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) {
            uint32_t a = x < w / 2 ? 255 : uint32_t(40 + y * 200 / h);
            b->Pixels[y * w + x] = a << 24 | uint32_t(Premultiply(uint32_t(x * 255 / w), a)) << 16 |
                                   uint32_t(Premultiply(uint32_t(y * 255 / h), a)) << 8 | Premultiply(128, a);
        }
    return b;
}

} // namespace

TEST(FormatsInterop, EveryCorpusFileDecodesAsImageMagickDecodesIt) {
    REQUIRE_IMAGEMAGICK();
    std::ifstream table(SourceDataPath("corpus.txt"));
    std::string line;
    int checked = 0;
    while (std::getline(table, line)) {
        std::istringstream words(line);
        std::string file, result;
        int w = 0, h = 0;
        if (line.empty() || line[0] == '#' || !(words >> file >> result >> w >> h) || result != "load")
            continue;
        std::string path = SourceDataPath(file);
        int status = 0;
        std::vector<uint32_t> theirs = DecodeWithImageMagick(path, &status);
        ASSERT_EQ(status, 0) << file;
        ASSERT_EQ(theirs.size(), size_t(w) * h) << file;
        Bitmap* ours = NewBitmap(w, h);
        ASSERT_EQ(LoadImageFile(path.c_str(), ours, 0), 0) << file;
        EXPECT_LE(LargestDifference(theirs, ours->Pixels), Tolerance(file)) << file;
        FreeBitmap(ours);
        checked++;
    }
    EXPECT_GE(checked, 25);
}

TEST(FormatsInterop, ImageMagickReadsWhatWeWrite) {
    REQUIRE_IMAGEMAGICK();
    Bitmap* b = Sample(48, 32);
    struct Case {
        int Mode;
        const char* File;
        const char* Format;
        int Tolerance;
        bool Alpha;
    } cases[] = {
        {28, "ours.png", "PNG", 0, true},
        {256, "ours-straight.tif", "TIFF", 1, true},
        {7, "ours.jpg", "JPEG", 3, false},
        {256, "ours-jpeg.tif", "TIFF", 3, false},
    };
    PngOptions.Palette = 5;
    JPegPower = 100;
    for (const Case& c : cases) {
        FileFormat = c.Mode;
        TiffOption = c.File == std::string("ours-jpeg.tif") ? TIFF_JPEG : TIFF_RGB_A;
        std::string path = TestPath(c.File);
        ASSERT_EQ(SaveImageAs(path.c_str(), b), 0) << c.File;
        int status = 0;
        std::vector<uint8_t> id =
            RunCommand("identify -format '%m %w %h' '" + path + "' 2>/dev/null", &status);
        EXPECT_EQ(std::string(id.begin(), id.end()), std::string(c.Format) + " 48 32") << c.File;
        std::vector<uint32_t> theirs = DecodeWithImageMagick(path, &status);
        ASSERT_EQ(theirs.size(), 48u * 32) << c.File;
        // Without alpha in the file, the premultiplied colour is written as it stands.
        std::vector<uint32_t> expected(b->Pixels, b->Pixels + 48 * 32);
        if (!c.Alpha)
            for (uint32_t& p : expected) p |= 0xff000000;
        // ImageMagick premultiplied here, so straight files differ by the rounding of
        // unpremultiplying and premultiplying again.
        EXPECT_LE(LargestDifference(theirs, expected.data()), c.Tolerance + (c.Alpha ? 1 : 0)) << c.File;
    }
    // compare measures the JPEG against a lossless copy.
    PngOptions.Palette = 4;
    FileFormat = 28;
    std::string reference = TestPath("reference.png");
    ASSERT_EQ(SaveImageAs(reference.c_str(), b), 0);
    int status = 0;
    std::vector<uint8_t> out = RunCommand(
        "compare -metric RMSE '" + TestPath("ours.jpg") + "' '" + reference + "' null: 2>&1", &status);
    std::string text(out.begin(), out.end());
    double normalised = 1;
    size_t open = text.find('(');
    ASSERT_NE(open, std::string::npos) << text;
    normalised = std::stod(text.substr(open + 1));
    EXPECT_LT(normalised, 0.01) << text;
    FreeBitmap(b);
}
