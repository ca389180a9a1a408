// The PNG, JPEG and TIFF modules: the checked-in corpus against its table of results and
// pixel hashes, the common rules of the readers, and round trips through our writers.
#include "files/format_settings.h"
#include "files/jpeg_format.h"
#include "files/png_format.h"
#include "files/raster_common.h"
#include "files/registry.h"
#include "files/tiff_format.h"
#include "store/bitmap.h"
#include "support/file_helpers.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

using namespace nemu;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

namespace {

constexpr uint32_t Sentinel = 0x5a6b7c8d;

struct CorpusRow {
    std::string File;
    bool Loads;
    int Width, Height;
    std::string Hash;
};

std::string TablePath() {
    return SourceDataPath("corpus.txt");
}

std::vector<CorpusRow> ReadTable() {
    std::vector<CorpusRow> rows;
    std::ifstream in(TablePath());
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream words(line);
        CorpusRow row;
        std::string result;
        words >> row.File >> result >> row.Width >> row.Height >> row.Hash;
        row.Loads = result == "load";
        rows.push_back(row);
    }
    return rows;
}

// Loads a corpus file the way the program does: its size from the registry, then the
// dispatch. Failures print their alert; the test keeps that off the log.
Bitmap* LoadCorpusFile(const CorpusRow& row, int* result) {
    std::string path = SourceDataPath(row.File);
    int w = 32, h = 32;
    if (row.Loads) EXPECT_GE(SniffFormat(path.c_str(), &w, &h), 0) << row.File;
    Bitmap* b = NewBitmap(w, h);
    ClearBitmap(b, Sentinel);
    CaptureStderr();
    *result = LoadImageFile(path.c_str(), b, 0);
    GetCapturedStderr();
    return b;
}

Bitmap* Sample(int w, int h, bool withAlpha) {
    Bitmap* b = NewBitmap(w, h);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) {
            uint32_t a = withAlpha ? uint32_t((x * 37 + y * 11) % 256) : 255;
            uint32_t r = Premultiply(uint32_t(x * 255 / w), a), g = Premultiply(uint32_t(y * 255 / h), a),
                     bl = Premultiply(uint32_t((x ^ y) * 7 & 255), a);
            b->Pixels[y * w + x] = a << 24 | r << 16 | g << 8 | bl;
        }
    return b;
}

// The mean difference of the bytes of two bitmaps of one size.
double MeanDifference(const Bitmap* a, const Bitmap* b) {
    double sum = 0;
    for (int i = 0; i < a->Width * a->Height; i++)
        for (int k = 0; k < 32; k += 8)
            sum += std::abs(int((a->Pixels[i] >> k) & 255) - int((b->Pixels[i] >> k) & 255));
    return sum / (a->Width * a->Height * 4.0);
}

// The largest difference of any byte of two bitmaps of one size.
int MaxDifference(const Bitmap* a, const Bitmap* b) {
    int most = 0;
    for (int i = 0; i < a->Width * a->Height; i++)
        for (int k = 0; k < 32; k += 8)
            most = std::max(most, std::abs(int((a->Pixels[i] >> k) & 255) - int((b->Pixels[i] >> k) & 255)));
    return most;
}

// What a pixel becomes through a file with straight alpha.
uint32_t ThroughStraight(uint32_t p) {
    uint32_t a = p >> 24, out = a << 24;
    for (int k = 0; k < 24; k += 8) out |= uint32_t(Premultiply(Unpremultiply((p >> k) & 255, a), a)) << k;
    return out;
}

struct FormatsTest : testing::Test {
    uint32_t Start = MemoryInUse;
    void TearDown() override { EXPECT_EQ(MemoryInUse, Start); }
};

} // namespace

TEST_F(FormatsTest, CorpusGivesItsResultsAndPixelHashes) {
    std::vector<CorpusRow> rows = ReadTable();
    ASSERT_GE(rows.size(), 30u);
    bool update = std::getenv("NEMU_UPDATE_CORPUS") != nullptr;
    std::ostringstream table;
    table << "# file, result, size and pixel hash of every file under tests/data that the\n"
             "# picture readers must load or must refuse. NEMU_UPDATE_CORPUS=1 rewrites it.\n";
    for (CorpusRow& row : rows) {
        int result = 0;
        Bitmap* b = LoadCorpusFile(row, &result);
        EXPECT_EQ(result, row.Loads ? 0 : -1) << row.File;
        std::string hash = row.Loads ? PixelHash(b) : "-";
        if (row.Loads) {
            EXPECT_EQ(b->Width, row.Width) << row.File;
            EXPECT_EQ(b->Height, row.Height) << row.File;
            if (!update) EXPECT_EQ(hash, row.Hash) << row.File;
        }
        table << row.File << " " << (row.Loads ? "load" : "fail") << " " << b->Width << " " << b->Height
              << " " << hash << "\n";
        FreeBitmap(b);
    }
    if (update) std::ofstream(TablePath()) << table.str();
}

TEST_F(FormatsTest, PicturesWithoutAlphaAreOpaque) {
    for (const char* file :
         {"png/rgb.png", "png/gray8.png", "png/palette.png", "png/rgb16.png", "jpeg/rgb.jpg", "jpeg/cmyk.jpg",
          "tiff/lzw.tif", "tiff/palette.tif", "tiff/jpeg.tif"}) {
        int result = 0;
        Bitmap* b = LoadCorpusFile({file, true, 0, 0, ""}, &result);
        ASSERT_EQ(result, 0) << file;
        for (int i = 0; i < b->Width * b->Height; i++)
            ASSERT_EQ(b->Pixels[i] >> 24, 255u) << file << " pixel " << i;
        FreeBitmap(b);
    }
}

TEST_F(FormatsTest, StraightAlphaIsPremultipliedOnLoad) {
    for (const char* file :
         {"png/rgba.png", "png/gray-alpha.png", "png/palette-trns.png", "tiff/rgba-straight.tif"}) {
        int result = 0;
        Bitmap* b = LoadCorpusFile({file, true, 0, 0, ""}, &result);
        ASSERT_EQ(result, 0);
        int translucent = 0;
        for (int i = 0; i < b->Width * b->Height; i++) {
            uint32_t p = b->Pixels[i], a = p >> 24;
            translucent += a < 255;
            for (int k = 0; k < 24; k += 8) ASSERT_LE((p >> k) & 255, a) << file << " pixel " << i;
        }
        EXPECT_GT(translucent, 0) << file;
        FreeBitmap(b);
    }
}

TEST_F(FormatsTest, ReadersCropToTheBitmapOrFillItsCorner) {
    for (const char* file : {"png/rgb.png", "png/interlaced.png", "jpeg/progressive.jpg", "tiff/tiles.tif"}) {
        std::string path = SourceDataPath(file);
        Bitmap* full = NewBitmap(24, 16);
        ASSERT_EQ(LoadImageFile(path.c_str(), full, 0), 0) << file;
        Bitmap* small = NewBitmap(10, 5);
        ASSERT_EQ(LoadImageFile(path.c_str(), small, 0), 0) << file;
        Bitmap* large = NewBitmap(40, 30);
        ClearBitmap(large, Sentinel);
        ASSERT_EQ(LoadImageFile(path.c_str(), large, 0), 0) << file;
        for (int y = 0; y < 30; y++)
            for (int x = 0; x < 40; x++) {
                if (x < 10 && y < 5) ASSERT_EQ(small->Pixels[y * 10 + x], full->Pixels[y * 24 + x]) << file;
                uint32_t expected = x < 24 && y < 16 ? full->Pixels[y * 24 + x] : Sentinel;
                ASSERT_EQ(large->Pixels[y * 40 + x], expected) << file << " at " << x << "," << y;
            }
        FreeBitmap(full);
        FreeBitmap(small);
        FreeBitmap(large);
    }
}

TEST_F(FormatsTest, HeaderTestsGiveSizeAndDepthWithoutReading) {
    int w = 0, h = 0, d = 0;
    EXPECT_EQ(TestPng(SourceDataPath("png/rgba16.png").c_str(), &w, &h, &d), 0);
    EXPECT_EQ(w * 1000 + h, 24016);
    EXPECT_EQ(d, 64);
    EXPECT_EQ(TestPng(SourceDataPath("png/gray1.png").c_str(), &w, &h, &d), 0);
    EXPECT_EQ(d, 1);
    EXPECT_EQ(TestJpeg(SourceDataPath("jpeg/cmyk.jpg").c_str(), &w, &h, &d), 0);
    EXPECT_EQ(d, 32);
    EXPECT_EQ(TestTiff(SourceDataPath("tiff/palette.tif").c_str(), &w, &h, &d), 0);
    EXPECT_EQ(w * 1000 + h, 24016);
    // The header of a picture too large to read is still only a header.
    EXPECT_EQ(TestPng(SourceDataPath("png/huge.png").c_str(), &w, &h, &d), 0);
    EXPECT_EQ(w, 100000);
    for (const char* other : {"png/not-png.png", "jpeg/rgb.jpg", "tiff/lzw.tif"})
        EXPECT_NE(TestPng(SourceDataPath(other).c_str(), &w, &h, &d), 0) << other;
    EXPECT_NE(TestJpeg(SourceDataPath("png/rgb.png").c_str(), &w, &h, &d), 0);
    EXPECT_NE(TestTiff(SourceDataPath("tiff/not-tiff.tif").c_str(), &w, &h, &d), 0);
    EXPECT_NE(TestTiff(SourceDataPath("tiff/bad-offset.tif").c_str(), &w, &h, &d), 0);
}

TEST_F(FormatsTest, DamagedFilesFailWithTheirMessageAndKeepWhatWasRead) {
    Bitmap* b = NewBitmap(24, 16);
    ClearBitmap(b, Sentinel);
    EXPECT_EQ(ReadPng(SourceDataPath("png/truncated.png").c_str(), b), -1);
    EXPECT_EQ(LastFileError.Message, 2350u);
    ClearFileError();
    EXPECT_EQ(ReadJpeg(SourceDataPath("jpeg/truncated.jpg").c_str(), b), -1);
    EXPECT_EQ(LastFileError.Message, 2366u);
    EXPECT_NE(b->Pixels[0], Sentinel) << "the rows before the cut are kept";
    ClearFileError();
    EXPECT_EQ(ReadPng(SourceDataPath("png/huge.png").c_str(), b), -1);
    EXPECT_EQ(LastFileError.Message, 2350u) << "refused by the header's limits, before any row";
    ClearFileError();
    EXPECT_EQ(ReadTiff(TestPath("missing.tif").c_str(), b), -1);
    EXPECT_EQ(LastFileError.Message, 2364u);
    ClearFileError();
    FreeBitmap(b);
}

TEST_F(FormatsTest, PngWritesStraightAlphaOr24Bits) {
    Bitmap* b = Sample(37, 23, true);
    std::string path = TestPath("out.png");
    PngOptions.Palette = 5;
    ASSERT_EQ(WritePng(path.c_str(), b), 0);
    Bitmap* back = NewBitmap(37, 23);
    ASSERT_EQ(ReadPng(path.c_str(), back), 0);
    for (int i = 0; i < 37 * 23; i++) ASSERT_EQ(back->Pixels[i], ThroughStraight(b->Pixels[i])) << i;

    // 24 bits drop alpha and keep the premultiplied colour as it is in memory.
    PngOptions.Palette = 4;
    ASSERT_EQ(WritePng(path.c_str(), b), 0);
    int w, h, d;
    ASSERT_EQ(TestPng(path.c_str(), &w, &h, &d), 0);
    EXPECT_EQ(d, 24);
    ASSERT_EQ(ReadPng(path.c_str(), back), 0);
    for (int i = 0; i < 37 * 23; i++) ASSERT_EQ(back->Pixels[i], b->Pixels[i] | 0xff000000) << i;

    // Too many colours for a palette, and no quantiser yet: kept whole in 32 bits.
    PngOptions.Palette = 3;
    CaptureStdout();
    ASSERT_EQ(WritePng(path.c_str(), b), 0);
    EXPECT_NE(GetCapturedStdout().find("WARNING : PNG"), std::string::npos);
    ASSERT_EQ(TestPng(path.c_str(), &w, &h, &d), 0);
    EXPECT_EQ(d, 32);
    FreeBitmap(b);
    FreeBitmap(back);
}

TEST_F(FormatsTest, PngPalettesHoldFewColoursExactly) {
    const uint32_t colours[] = {0xff000000, 0xffffffff, 0x80400020, 0x00000000, 0xff123456};
    Bitmap* b = NewBitmap(13, 7);
    Bitmap* back = NewBitmap(13, 7);
    std::string path = TestPath("palette.png");
    int w, h, d;
    struct Case {
        int Colours, Depth;
    } cases[] = {{2, 1}, {4, 2}, {5, 4}};
    for (const Case& c : cases) {
        for (int i = 0; i < 13 * 7; i++) b->Pixels[i] = colours[(i * 7 + i / 13) % c.Colours];
        for (int palette : {2, 3}) {
            PngOptions = {palette, 0, 16};
            CaptureStdout();
            ASSERT_EQ(WritePng(path.c_str(), b), 0);
            EXPECT_EQ(GetCapturedStdout(), "") << "no warning where the palette suffices";
            ASSERT_EQ(TestPng(path.c_str(), &w, &h, &d), 0);
            EXPECT_EQ(d, c.Depth) << c.Colours << " colours";
            std::vector<uint8_t> bytes = ReadBytes(path);
            EXPECT_EQ(bytes[25], 3) << "colour type palette";
            ASSERT_EQ(ReadPng(path.c_str(), back), 0);
            for (int i = 0; i < 13 * 7; i++) ASSERT_EQ(back->Pixels[i], ThroughStraight(b->Pixels[i])) << i;
        }
    }
    // The fixed and user palettes need the quantiser; so do more colours than allowed.
    PngOptions = {0, 0, 256};
    CaptureStdout();
    ASSERT_EQ(WritePng(path.c_str(), b), 0);
    EXPECT_NE(GetCapturedStdout(), "");
    PngOptions = {3, 0, 4};
    CaptureStdout();
    ASSERT_EQ(WritePng(path.c_str(), b), 0);
    EXPECT_NE(GetCapturedStdout(), "");
    ASSERT_EQ(TestPng(path.c_str(), &w, &h, &d), 0);
    EXPECT_EQ(d, 32);
    FreeBitmap(b);
    FreeBitmap(back);
}

TEST_F(FormatsTest, JpegQualityComesFromItsSetting) {
    Bitmap* b = Sample(64, 48, false);
    std::string best = TestPath("best.jpg"), worst = TestPath("worst.jpg");
    JPegPower = 100;
    ASSERT_EQ(WriteJpeg(best.c_str(), b), 0);
    JPegPower = 5;
    ASSERT_EQ(WriteJpeg(worst.c_str(), b), 0);
    EXPECT_LT(ReadBytes(worst).size() * 2, ReadBytes(best).size());
    Bitmap* back = NewBitmap(64, 48);
    ASSERT_EQ(ReadJpeg(best.c_str(), back), 0);
    EXPECT_LE(MeanDifference(back, b), 1.0) << "quality 100 stays close";
    CaptureStdout();
    EXPECT_EQ(WriteJpeg(TestPath("no/such/folder.jpg").c_str(), b), -1);
    EXPECT_EQ(GetCapturedStdout(), "can't open " + TestPath("no/such/folder.jpg") + "\n");
    EXPECT_EQ(LastFileError.Message, 2363u);
    ClearFileError();
    FreeBitmap(b);
    FreeBitmap(back);
}

TEST_F(FormatsTest, TiffOptionsDecideAlphaAndCompression) {
    Bitmap* b = Sample(40, 30, true);
    Bitmap* back = NewBitmap(40, 30);
    std::string path = TestPath("out.tif");

    TiffOption = TIFF_RGBA; // premultiplied, exact
    ASSERT_EQ(WriteTiff(path.c_str(), b), 0);
    ASSERT_EQ(ReadTiff(path.c_str(), back), 0);
    EXPECT_EQ(MaxDifference(back, b), 0);

    TiffOption = TIFF_RGB_A; // straight: libtiff premultiplies by rounding to nearest
    ASSERT_EQ(WriteTiff(path.c_str(), b), 0);
    ASSERT_EQ(ReadTiff(path.c_str(), back), 0);
    EXPECT_LE(MaxDifference(back, b), 1);

    TiffOption = TIFF_JPEG;
    JPegPower = 100;
    Bitmap* opaque = Sample(40, 30, false);
    ASSERT_EQ(WriteTiff(path.c_str(), opaque), 0);
    ASSERT_EQ(ReadTiff(path.c_str(), back), 0);
    EXPECT_LE(MeanDifference(back, opaque), 1.0);

    // The 8-bit options need the quantiser: they fail and leave no file behind.
    std::string eight = TestPath("eight.tif");
    TiffOption = TIFF_8BITS_OPT;
    CaptureStdout();
    EXPECT_EQ(WriteTiff(eight.c_str(), b), -1);
    EXPECT_NE(GetCapturedStdout().find("8 Bits opt"), std::string::npos);
    EXPECT_FALSE(FileExists(eight));
    ClearFileError();
    FreeBitmap(b);
    FreeBitmap(opaque);
    FreeBitmap(back);
}
