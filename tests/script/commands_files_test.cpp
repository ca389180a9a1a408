// The file commands: their replies on success and failure, the save mode by script, and
// pictures and projects going out and coming back.
#include "project/project_fixture.h"
#include "support/file_helpers.h"
#include "support/run_script.h"

#include "files/format_settings.h"
#include "files/registry.h"

using namespace nemu;
using nemu::test::ProjectTest;

namespace {

struct FileCommandsTest : ProjectTest {
    void SetUp() override {
        MakeProject(40, 30);
        FileFormat = 0;
        JPegPower = 100;
    }
    // The reply, with what the failures said on standard error.
    static std::string Run(const std::string& text, std::string* said = nullptr) {
        testing::internal::CaptureStderr();
        std::string reply = RunScript(text);
        std::string err = testing::internal::GetCapturedStderr();
        if (said) *said = err;
        return reply;
    }
};

} // namespace

TEST_F(FileCommandsTest, ProjectsGoOutAndComeBackByScript) {
    Paint(0xFF102030);
    std::string path = TestPath("script project.nem");
    EXPECT_EQ(Run("[om_layercreate second] [om_saveproject \"" + path + "\"]"), "[2][]");
    EXPECT_EQ(Run("[om_layerkill 2] [om_clear]"), "[][]");
    EXPECT_EQ(Run("[om_loadproject \"" + path + "\"] [om_layergetid 1] [om_getpixel 3 3]"), "[][4][0 0 0 0]");
    EXPECT_STREQ(Layers[0].Name, "second");
    EXPECT_EQ(LayerPixel(1, 0, 3, 3), 0xFF102030u);
    EXPECT_EQ(Run("[om_fileinfo \"" + path + "\"]"), "[40 30 1]");
    // Plain mode: nothing on success, the error alone on failure.
    EXPECT_EQ(Run("om_loadproject \"" + path + "\""), "");
    EXPECT_EQ(Run("om_loadproject " + TestPath("none.nem")), "ERROR -1");
}

TEST_F(FileCommandsTest, PicturesGoOutInTheSaveModeAndComeBackIn) {
    for (int32_t y = 0; y < 30; y++)
        for (int32_t x = 0; x < 40; x++) At(x, y) = 0xFF000000u | uint32_t(x * 6) << 16 | uint32_t(y * 8);
    AddDirtyAndMark(0, 0, 39, 29);
    uint32_t corner = At(39, 29);
    // The deep picture, the default mode, has no writer yet.
    std::string png = TestPath("page.png");
    std::string said;
    EXPECT_EQ(Run("[om_saveimage " + png + "]", &said), "[ERROR -1]");
    EXPECT_FALSE(FileExists(png));
    EXPECT_EQ(Run("[om_savemode png b32] [om_savemode] [om_saveimage " + png + "] [om_fileinfo " + png + "]"),
              "[][png b32 nodither ][][40 30 1]");
    ClearBitmap(Page, 0);
    EXPECT_EQ(Run("[om_loadimage " + png + "] [om_getpixel 39 29]"),
              "[][" + std::to_string(corner >> 16 & 255) + " 0 " + std::to_string(corner & 255) + " 255]");
    EXPECT_EQ(Run("om_undo"), "");
    EXPECT_EQ(At(39, 29), 0u);
    // A picture of another size fills the corner, or the page when stretched.
    std::string small = SourceDataPath("png/rgb.png");
    EXPECT_EQ(Run("[om_loadpic " + small + "] [om_getpixel 30 20]"), "[][0 0 0 0]");
    Bitmap* picture = NewBitmap(24, 16);
    ASSERT_EQ(LoadImageFile(small.c_str(), picture, 0), 0);
    uint32_t p = picture->Pixels[24 * 16 - 1];
    FreeBitmap(picture);
    char expected[64];
    std::snprintf(expected, sizeof expected, "[][%u %u %u %u]", p >> 16 & 255, p >> 8 & 255, p & 255,
                  p >> 24);
    EXPECT_EQ(Run("[om_loadlayer " + small + " stretch] [om_getpixel 39 29]"), expected);
}

TEST_F(FileCommandsTest, QualityIsTheSavesOwnAndTheDisplayIsSavedAsShown) {
    for (int32_t y = 0; y < 30; y++)
        for (int32_t x = 0; x < 40; x++) At(x, y) = 0xFF000000u | uint32_t((x * 37 + y * 11) & 255) << 8;
    AddDirtyAndMark(0, 0, 39, 29);
    std::string low = TestPath("low.jpg"), high = TestPath("high.jpg");
    EXPECT_EQ(Run("[om_savemode jpeg 50] [om_savepic " + low + " 5] [om_savelayer " + high + "]"), "[][][]");
    EXPECT_LT(ReadBytes(low).size(), ReadBytes(high).size());
    EXPECT_EQ(JPegPower, 50) << "the number is the save's alone";
    // The display: the page over a colour background where it is clear.
    Paint(0);
    EXPECT_EQ(Run("[om_background color 0 0 255] [om_savemode png b24] [om_savedisplay " + low + ".png]"),
              "[][][]");
    Bitmap* shown = NewBitmap(40, 30);
    ASSERT_EQ(LoadImageFile((low + ".png").c_str(), shown, 0), 0);
    EXPECT_EQ(shown->Pixels[0], 0xFF0000FFu);
    FreeBitmap(shown);
}

TEST_F(FileCommandsTest, MissingNamesAndUnknownWordsAreErrors) {
    // An empty name is an error, and the empty name tried after it is a second.
    EXPECT_EQ(Run("om_loadimage"), "ERROR -1ERROR -1");
    EXPECT_EQ(Run("[om_loadimage nofile]"), "[ERROR -1]");
    EXPECT_EQ(Run("[om_saveproject] [om_nop]"), "[ERROR -1][ERROR -1][]");
    EXPECT_EQ(Run("[om_fileinfo " + TestPath("nothing") + "]"), "[ERROR -1]");
    // A header of no width, or of one that wraps an int, is an error and not numbers.
    for (uint32_t width : {0u, 0x80000001u}) {
        std::string claim = TestPath("claim.png");
        std::vector<uint8_t> png = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A, 0, 0, 0, 13, 'I', 'H', 'D', 'R',
                                    uint8_t(width >> 24), uint8_t(width >> 16), uint8_t(width >> 8),
                                    uint8_t(width), 0, 0, 0, 9, 8, 6, 0, 0, 0};
        WriteBytes(claim, png);
        EXPECT_EQ(Run("[om_fileinfo " + claim + "]"), "[ERROR -1]") << width;
    }
    EXPECT_EQ(Run("[om_savemode nonsense] [om_savemode]"), "[ERROR -1][deep]");
    std::string text = TestPath("text.png");
    WriteBytes(text, {'n', 'o'});
    std::string said;
    EXPECT_EQ(Run("[om_loadimage " + text + "]", &said), "[ERROR -1]");
    EXPECT_NE(said.find("text.png"), std::string::npos);
}
