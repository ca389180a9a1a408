// The format registry: recognising files, the save-mode texts of om_savemode, the IO
// settings, the overwrite question and the dispatch of saving.
#include "files/format_settings.h"
#include "files/image_modules.h"
#include "files/raster_common.h"
#include "files/registry.h"
#include "files/save_modes.h"
#include "files/tiff_format.h"
#include "store/bitmap.h"
#include "support/file_helpers.h"
#include "ui/settings.h"

#include <gtest/gtest.h>

#include <string>

using namespace nemu;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

namespace {

std::string ModeText() {
    char buffer[128];
    GetSaveModeText(buffer, sizeof buffer);
    return buffer;
}

std::string Copy(const std::string& from, const std::string& name) {
    std::string to = TestPath(name);
    WriteBytes(to, ReadBytes(SourceDataPath(from)));
    return to;
}

} // namespace

TEST(Registry, SniffTrustsContentsOverNames) {
    int w = 0, h = 0;
    // A JPEG named .gif is a JPEG; a TIFF is found by its image module.
    EXPECT_EQ(SniffFormat(Copy("jpeg/rgb.jpg", "a.gif").c_str(), &w, &h), FILE_JPEG);
    EXPECT_EQ(w * 1000 + h, 24016);
    EXPECT_EQ(SniffFormat(Copy("png/interlaced.png", "picture.tif").c_str(), &w, &h), FILE_PNG);
    EXPECT_EQ(SniffFormat(Copy("tiff/big-endian.tif", "no-extension").c_str(), &w, &h), FIRST_MODULE_MODE);
    EXPECT_STREQ(FileTypeText(FIRST_MODULE_MODE), "TIFF");
    EXPECT_STREQ(FileTypeText(FILE_PNG), "PNG");
    EXPECT_STREQ(FileTypeText(FILE_PROJECT), "PROJECT");
    EXPECT_STREQ(FileTypeText(300), "???");
    // Nothing knows text, and a missing path is -1 with the size untouched.
    w = h = 7;
    EXPECT_EQ(SniffFormat(SourceDataPath("png/not-png.png").c_str(), &w, &h), -1);
    EXPECT_EQ(SniffFormat(TestPath("missing.png").c_str(), &w, &h), -1);
    EXPECT_EQ(w * 10 + h, 77);
}

TEST(Registry, FormsAreKnownByTypeAndWaitForTheirReaders) {
    // An ILBM or a project is recognised by its FORM type alone; until their readers
    // exist nothing can give their size, so they are unknown, as an unknown FORM is.
    for (const char* type : {"ILBM", "OMXP", "DEEP", "WHAT"}) {
        std::vector<uint8_t> form = {'F', 'O', 'R', 'M', 0, 0, 0, 4};
        form.insert(form.end(), type, type + 4);
        std::string path = TestPath(std::string("form-") + type);
        WriteBytes(path, form);
        EXPECT_EQ(SniffFormat(path.c_str(), nullptr, nullptr), -1) << type;
        Bitmap* b = NewBitmap(4, 4);
        CaptureStderr();
        EXPECT_EQ(LoadImageFile(path.c_str(), b, 0), -1);
        EXPECT_NE(GetCapturedStderr().find(path), std::string::npos) << "the failure names the file";
        FreeBitmap(b);
    }
}

TEST(Registry, LoadImageFileReportsMissingAndUnknownFiles) {
    Bitmap* b = NewBitmap(8, 8);
    std::string missing = TestPath("gone.png");
    CaptureStderr();
    EXPECT_EQ(LoadImageFile(missing.c_str(), b, 0), -1);
    std::string said = GetCapturedStderr();
    EXPECT_NE(said.find(missing + "\nNo such file"), std::string::npos) << said;
    CaptureStderr();
    EXPECT_EQ(LoadImageFile(SourceDataPath("tiff/not-tiff.tif").c_str(), b, 0), -1);
    EXPECT_NE(GetCapturedStderr().find("not-tiff.tif"), std::string::npos);
    // A damaged file of a known kind is reported too, with the library's reason.
    CaptureStderr();
    EXPECT_EQ(LoadImageFile(SourceDataPath("tiff/bad-tile-count.tif").c_str(), b, 0), -1);
    EXPECT_NE(GetCapturedStderr().find("tile"), std::string::npos);
    FreeBitmap(b);
}

TEST(SaveModes, KeywordsSetTheModeAndTheirOptions) {
    struct Case {
        const char* Text;
        int Mode;
        const char* Reply;
    } cases[] = {
        {"jpeg 75", 7, "jpeg 75 "},
        {"JPG 250", 7, "jpeg 100 "},
        {"tga 0", 3, "tga 0 "},
        {"tga 1", 3, "tga 1 "},
        {"tga non", 3, "tga 1 "}, // only a number changes run-length
        {"png b32", 28, "png b32 nodither "},
        {"png", 28, "png b32 nodither "},
        {"png local dither 128", 28, "png local dither 128 "},
        {"gif 300", 13, "gif global dither 256 "},
        {"gif 5 mat fix", 13, "gif fix mat 16 "},
        {"bmp", 21, "bmp b24 nodither "},
        {"windows quant tram", 21, "bmp global mat 256 "},
        {"  ilbm", 2, "ilbm b24 nodither "},
        {"ilbm12", 5, "ilbm12"},
        {"ilbm8 local", 20, "ilbm8"},
        {"iff user", 2, "ilbm user nodither 256 "},
        {"sun 32", 16, "sun 32"},
        {"Ras", 15, "sun 24"},
        {"flc loca", 26, "flc local mat 256 "},
        {"deep", 0, "deep"},
        {"omdc", 1, "omdc"},
        {"6rn", 4, "rendition"},
        {"avi", 25, "avi "},
        {"photoshop", 29, "psd"},
        {"mode=300", 300, "Mode=300 "},
        {"MODE=30", 30, "Mode=30 "},
        {"Tiff RGBA", 256, "Mode=256 "},
    };
    for (const Case& c : cases) {
        ASSERT_EQ(SetSaveModeText(c.Text), 0) << c.Text;
        EXPECT_EQ(FileFormat, c.Mode) << c.Text;
        EXPECT_EQ(ModeText(), c.Reply) << c.Text;
    }
    EXPECT_EQ(TiffOption, TIFF_RGBA);
    ASSERT_EQ(SetSaveModeText("tiff 8 bits opt"), 0);
    EXPECT_EQ(TiffOption, TIFF_8BITS_OPT);
    // What GetSaveModeText says, SetSaveModeText takes back.
    ASSERT_EQ(SetSaveModeText("pcx fix nodither 64"), 0);
    std::string reply = ModeText();
    PcxOptions = {3, 1, 256};
    ASSERT_EQ(SetSaveModeText(reply.c_str()), 0);
    EXPECT_EQ(PcxOptions.Palette * 1000 + PcxOptions.Dither * 100 + PcxOptions.Colors, 64);
}

TEST(SaveModes, UnknownWordsLeaveTheModeAlone) {
    FileFormat = 28;
    for (const char* text :
         std::initializer_list<const char*>{"bogus", "", "   ", "mode=", "mode=x", "d", nullptr})
        EXPECT_EQ(SetSaveModeText(text), -1);
    EXPECT_EQ(FileFormat, 28);
}

TEST(FormatSettings, DefaultsComeBackAndValuesStayInRange) {
    ConfigSet("IO", "JPeg_power", "500");
    ConfigSet("IO", "PNG_Colors", "3");
    ConfigSet("IO", "Gif_Palette", "9");
    LoadFormatSettings();
    EXPECT_EQ(JPegPower, 100);
    EXPECT_EQ(PngOptions.Colors, 16);
    EXPECT_EQ(GifOptions.Palette, 5);
    EXPECT_EQ(PngOptions.Palette, 3);
    EXPECT_EQ(BmpOptions.Palette, 4);
    EXPECT_EQ(FliOptions.Dither, 2);
    EXPECT_EQ(TGACompression, 1);
    FileFormat = 256;
    TiffOption = TIFF_JPEG;
    IlbmOptions.Colors = 32;
    SaveFormatSettings();
    char value[32];
    ConfigGet("IO", "FileFormat", value, "", sizeof value);
    EXPECT_STREQ(value, "256");
    ConfigGet("IO", "Ilbm_Colors", value, "", sizeof value);
    EXPECT_STREQ(value, "32");
    FileFormat = 0;
    LoadFormatSettings();
    EXPECT_EQ(FileFormat, 256);
    EXPECT_EQ(TiffOption, TIFF_JPEG);
}

TEST(Registry, MayOverwriteAsksOnlyForExistingFiles) {
    std::string path = TestPath("exists.png");
    EXPECT_EQ(MayOverwrite(path.c_str()), 0);
    WriteBytes(path, {1, 2, 3});
    CaptureStderr();
    // The headless answer is the second button, "no": the save stops.
    EXPECT_NE(MayOverwrite(path.c_str()), 0);
    EXPECT_NE(GetCapturedStderr(), "");
    NoOverwriteAsk = 1;
    CaptureStderr();
    EXPECT_EQ(MayOverwrite(path.c_str()), 0);
    EXPECT_EQ(GetCapturedStderr(), "");
}

TEST(Registry, SaveImageAsWritesInTheCurrentMode) {
    Bitmap* b = NewBitmap(5, 3);
    ClearBitmap(b, 0xff336699);
    TiffOption = TIFF_RGBA;
    PngOptions = {5, 0, 256};
    int w, h;
    struct Case {
        int Mode;
        const char* Name;
        int Type;
    } cases[] = {{28, "s.png", FILE_PNG}, {7, "s.jpg", FILE_JPEG}, {256, "s.tif", FIRST_MODULE_MODE}};
    for (const Case& c : cases) {
        FileFormat = c.Mode;
        std::string path = TestPath(c.Name);
        ASSERT_EQ(SaveImageAs(path.c_str(), b), 0) << c.Name;
        EXPECT_EQ(SniffFormat(path.c_str(), &w, &h), c.Type) << c.Name;
        EXPECT_EQ(w * 10 + h, 53);
    }
    // A mode whose writer isn't built says so and writes nothing.
    FileFormat = 3;
    CaptureStdout();
    EXPECT_EQ(SaveImageAs(TestPath("s.tga").c_str(), b), -1);
    EXPECT_EQ(GetCapturedStdout(), "WARNING : SaveImageAs : no writer for save mode 3\n");
    EXPECT_FALSE(FileExists(TestPath("s.tga")));
    // A failed write names the file.
    FileFormat = 28;
    CaptureStderr();
    EXPECT_EQ(SaveImageAs(TestPath("no/folder/s.png").c_str(), b), -1);
    EXPECT_NE(GetCapturedStderr().find("no/folder/s.png"), std::string::npos);
    FreeBitmap(b);
}

namespace {

// A small JPEG whose frame header claims another size: the header is all a probe reads.
std::string JpegClaiming(const std::string& name, int width, int height) {
    Bitmap* b = NewBitmap(8, 8);
    ClearBitmap(b, 0xFF808080);
    std::string path = TestPath(name);
    const int former = FileFormat;
    FileFormat = 7;
    EXPECT_EQ(SaveImageAs(path.c_str(), b), 0);
    FileFormat = former;
    FreeBitmap(b);
    std::vector<uint8_t> bytes = ReadBytes(path);
    for (size_t i = 2; i + 8 < bytes.size(); i++)
        if (bytes[i] == 0xFF && bytes[i + 1] == 0xC0) {
            bytes[i + 5] = uint8_t(height >> 8), bytes[i + 6] = uint8_t(height);
            bytes[i + 7] = uint8_t(width >> 8), bytes[i + 8] = uint8_t(width);
            break;
        }
    WriteBytes(path, bytes);
    return path;
}

// A PNG header of the given size field words, followed by nothing.
std::string PngClaiming(const std::string& name, uint32_t width, uint32_t height) {
    std::vector<uint8_t> b = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A, 0, 0, 0, 13, 'I', 'H', 'D', 'R'};
    for (uint32_t v : {width, height})
        for (int shift = 24; shift >= 0; shift -= 8) b.push_back(uint8_t(v >> shift));
    for (uint8_t v : {8, 6, 0, 0, 0, 0, 0, 0, 0}) b.push_back(v);
    std::string path = TestPath(name);
    WriteBytes(path, b);
    return path;
}

} // namespace

TEST(Registry, SizesTheReadersRefuseAreRefusedByTheProbeWithTheirReason) {
    int w = 7, h = 7;
    // 900 million pixels in a file of a few hundred bytes: beyond the readers' bound.
    const std::string big = JpegClaiming("huge.jpg", 30000, 30000);
    ASSERT_LT(ReadBytes(big).size(), 2000u);
    EXPECT_EQ(SniffFormat(big.c_str(), &w, &h), -1);
    EXPECT_EQ(w * 10 + h, 77);
    EXPECT_EQ(LastFileError.Message, 2368u);
    EXPECT_STREQ(LastFileError.Detail, "30000 x 30000");
    // The largest picture the readers take is still known.
    EXPECT_EQ(SniffFormat(JpegClaiming("wide.jpg", 32767, 8).c_str(), &w, &h), FILE_JPEG);
    EXPECT_EQ(w, 32767);
    EXPECT_EQ(LastFileError.Message, 0u);
    // No size at all, and sizes that an int can't hold, never come out as numbers.
    EXPECT_EQ(SniffFormat(PngClaiming("zero.png", 0, 10).c_str(), &w, &h), -1);
    EXPECT_EQ(LastFileError.Message, 2350u);
    EXPECT_EQ(SniffFormat(PngClaiming("wrap.png", 0x80000005u, 3).c_str(), &w, &h), -1);
    EXPECT_EQ(LastFileError.Message, 2368u);
    ClearFileError();
}
