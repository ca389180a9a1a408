// The layer and time-line commands: their replies, their argument rules, and what bad
// numbers and words do (never more than a refusal).
#include "project/project_fixture.h"
#include "support/run_script.h"

#include "paint/colour.h"
#include "script/command_host.h"

#include <cstring>

using namespace nemu;
using nemu::test::ProjectTest;

namespace {

struct LayerCommandsTest : ProjectTest {
    // The invariants of the stack between commands.
    static void CheckStack(const std::string& after) {
        ASSERT_GE(LayerCount, 1) << after;
        ASSERT_TRUE(CurrentLayer >= 0 && CurrentLayer < LayerCount) << after;
        const Layer& current = Layers[CurrentLayer];
        EXPECT_FALSE(current.Flags & LayerHidden) << after;
        EXPECT_TRUE(LayerPresent(&current, CurrentImage)) << after;
        for (int32_t i = 0; i < LayerCount; i++) {
            const Layer& l = Layers[i];
            EXPECT_TRUE(l.FirstImage >= 0 && l.FirstImage <= l.LastImage && l.LastImage <= MaxImagePosition)
                << after;
            EXPECT_EQ(l.Clip ? l.Clip->ImageCount : 1, l.Clip ? l.LastImage - l.FirstImage + 1 : 1) << after;
        }
    }
};

} // namespace

TEST_F(LayerCommandsTest, CreateNamesIdsAndPositions) {
    EXPECT_EQ(RunScript("om_layercreate hello world"), "2");
    EXPECT_STREQ(Layers[0].Name, "hello world");
    EXPECT_EQ(
        RunScript(
            "[om_layercurrentid] [om_layergetpos 2] [om_layergetpos 1] [om_layergetid 0] [om_layergetid 1]"),
        "[2][0][1][2][1]");
    EXPECT_EQ(RunScript("[om_layergetid 2] [om_layergetid -1] [om_layergetpos 999] [om_layergetpos 0]"),
              "[none][none][none][none]");
    EXPECT_EQ(RunScript("om_layercreate \"quoted name\""), "3");
    EXPECT_STREQ(Layers[0].Name, "quoted name");
    EXPECT_EQ(RunScript("om_layercreate"), "4");
    EXPECT_STREQ(Layers[0].Name, "");
    // Undoable like the user's command.
    Undo();
    EXPECT_EQ(RunScript("om_layercurrentid"), "3");
}

TEST_F(LayerCommandsTest, UndoTakesBackTheLayerStepAndRedoesIt) {
    EXPECT_EQ(RunScript("[om_layercreate x] [om_layerrename 2 y] [om_undo]"), "[2][][]");
    EXPECT_STREQ(Layers[0].Name, "x");
    EXPECT_EQ(RunScript("[om_undo] [om_layerkill 2] [om_undo] [om_layergetpos 2]"), "[][][][0]");
    EXPECT_STREQ(Layers[0].Name, "y");
    // A stroke after the layer step is what the next undo means.
    EXPECT_EQ(RunScript("[om_fastline 0 0 7 0 255 0 0 255] [om_undo] [om_getpixel 3 0]"), "[][][0 0 0 0]");
    EXPECT_EQ(LayerCount, 2);
}

TEST_F(LayerCommandsTest, InfoFirstAndLastImage) {
    EXPECT_EQ(RunScript("om_layerinfo 1"), "Image 0 0 0 0");
    EXPECT_EQ(RunScript("[om_layerstretch 1 1 4] [om_layeranim] [om_layeronion 0 -3 2] [om_layerinfo]"),
              "[][][][Sequence 0 4 -3 2]");
    EXPECT_TRUE(Layers[0].Flags & LayerPelure);
    EXPECT_EQ(RunScript("om_layeronion 1 99 -99"), "");
    EXPECT_EQ(RunScript("om_layerinfo 1"), "Sequence 0 4 7 -7");
    EXPECT_EQ(RunScript("[om_layeronion 1 0 0] [om_layeronion 5 1 1]"), "[][ERROR -1]");
    EXPECT_FALSE(Layers[0].Flags & LayerPelure);
    EXPECT_EQ(RunScript("[om_firstimage] [om_lastimage 1] [om_firstimage 42] [om_layerinfo 42]"),
              "[0][4][ERROR -1][none]");
}

TEST_F(LayerCommandsTest, RenamePrintsItsTraceLine) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(RunScript("om_layerrename 1 \"my layer\""), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "RenameLayerID(1, my layer);\n");
    EXPECT_STREQ(Layers[0].Name, "my layer");
    testing::internal::CaptureStdout();
    EXPECT_EQ(RunScript("om_layerrename 7 x"), "ERROR -1");
    testing::internal::GetCapturedStdout();
}

TEST_F(LayerCommandsTest, KillSetAndMove) {
    RunScript("[om_layercreate a] [om_layercreate b] [om_layercreate c]"); // ids 2, 3, 4 from the top down
    EXPECT_EQ(RunScript("[om_layergetid 0] [om_layergetid 1] [om_layergetid 2] [om_layergetid 3]"),
              "[4][3][2][1]");
    EXPECT_EQ(RunScript("om_layermove 4 2"), "");
    EXPECT_EQ(RunScript("[om_layergetid 0] [om_layergetid 1] [om_layergetid 2] [om_layergetid 3]"),
              "[3][2][4][1]");
    EXPECT_EQ(RunScript("om_layermove 1 -50"), ""); // clamped to the top
    EXPECT_EQ(RunScript("[om_layergetid 0] [om_layercurrentid]"), "[1][1]");
    EXPECT_EQ(RunScript("[om_layermove 99 0] [om_layerkill 99] [om_layerset 99]"),
              "[ERROR -1][ERROR -1][ERROR -1]");
    EXPECT_EQ(RunScript("[om_layerkill 3] [om_layergetpos 3]"), "[][none]");
    EXPECT_EQ(RunScript("[om_layerset 2] [om_layercurrentid]"), "[][2]");
    EXPECT_EQ(LayerCount, 3);
}

TEST_F(LayerCommandsTest, ImagesAndTheirNumbers) {
    EXPECT_EQ(RunScript("[om_layerstretch 1 1 9] [om_layerimage 99] [om_layergetimage]"), "[][][9]");
    EXPECT_EQ(RunScript("[om_layerimage -5] [om_layergetimage]"), "[][0]");
    EXPECT_EQ(RunScript("[om_layeranim 1] [om_layerinsertimage 3] [om_layerinfo]"),
              "[][][Sequence 0 12 0 0]");
    EXPECT_EQ(RunScript("[om_layerinsertimage -4] [om_layerinsertimage 0] [om_layerinfo]"),
              "[ERROR -1][ERROR -1][Sequence 0 12 0 0]");
    EXPECT_EQ(RunScript("[om_layershift 1 -1] [om_layershift 1 100] [om_layerinfo]"),
              "[ERROR -1][][Sequence 100 112 0 0]");
    EXPECT_EQ(RunScript("om_layerstretch 1 0 -1000"), "");
    EXPECT_EQ(RunScript("om_firstimage"), "0");
}

TEST_F(LayerCommandsTest, AHugeCountOnAPlainLayerStopsAtTheEndOfTheTimeLine) {
    EXPECT_EQ(RunScript("[om_layerinsertimage 2147483647 1] [om_lastimage]"), "[][999999]");
    EXPECT_EQ(RunScript("[om_layerstretch 1 1 2147483647] [om_lastimage]"), "[][999999]");
    EXPECT_EQ(RunScript("[om_layerinsertimage 5] [om_lastimage]"), "[ERROR -1][999999]");
}

TEST_F(LayerCommandsTest, SelectionCutCopyPaste) {
    RunScript("[om_layerstretch 1 1 4] [om_layeranim]");
    for (int t = 0; t < 5; t++)
        RunScript("[om_layerimage " + std::to_string(t) + "] [om_writepixel 0 0 " + std::to_string(t) +
                  " 0 0 255]");
    EXPECT_EQ(RunScript("[om_layerselect 1 3] [om_layerselectinfo] [om_layerselectinfo full]"),
              "[][1 3][1 3]");
    EXPECT_EQ(RunScript("[om_layerselect 3 -2] [om_layerselectinfo] [om_layerselectinfo FULL]"),
              "[][1 0][none]");
    EXPECT_EQ(RunScript("[om_layercopy] [om_layercut] [om_layerpaste]"), "[ERROR -1][ERROR -1][ERROR -1]");
    EXPECT_EQ(RunScript("[om_layerselect 1 2] [om_layercut] [om_lastimage]"), "[][][2]");
    EXPECT_EQ(RunScript("[om_layerimage 2] [om_layerpaste] [om_lastimage]"), "[][][4]");
    std::string colours;
    for (int t = 0; t < 5; t++)
        colours += RunScript("[om_layerimage " + std::to_string(t) + "] [om_getpixel 0 0]");
    EXPECT_EQ(colours, "[][0 0 0 255][][3 0 0 255][][4 0 0 255][][1 0 0 255][][2 0 0 255]");
}

TEST_F(LayerCommandsTest, ClearThePageOrTheSelectedImages) {
    RunScript("om_writepixel 1 1 9 9 9 255");
    EXPECT_EQ(RunScript("[om_clear] [om_getpixel 1 1]"), "[][0 0 0 0]");
    BPen = 0xFF010203;
    EXPECT_EQ(RunScript("[om_clear 1] [om_getpixel 1 1]"), "[][1 2 3 255]");
    RunScript("[om_layerstretch 1 1 2] [om_layeranim] [om_layerselect 0 2] [om_clear]");
    EXPECT_EQ(RunScript("[om_layerimage 1] [om_getpixel 0 0] [om_layerimage 2] [om_getpixel 0 0]"),
              "[][0 0 0 0][][1 2 3 255]");
}

TEST_F(LayerCommandsTest, DensityDisplayAndMerge) {
    EXPECT_EQ(RunScript("[om_layerdensity 50] [om_layerdensity 100 1] [om_layerdensity 10 99]"),
              "[100][50][ERROR -1]");
    EXPECT_EQ(RunScript("om_layerdisplay 0"), "");
    EXPECT_FALSE(ShowAllLayers);
    EXPECT_EQ(RunScript("om_layerdisplay 1"), "");
    EXPECT_TRUE(ShowAllLayers);
    RunScript("[om_writepixel 0 0 0 0 255 255] [om_layercreate top] [om_writepixel 0 0 128 0 0 128]");
    EXPECT_EQ(
        RunScript("[om_display] [om_display current] [om_display 1] [om_layercurrentid] [om_display 9]"),
        "[][][][1][ERROR -1]");
    EXPECT_EQ(RunScript("[om_layermerge 1] [om_layermerge 0] [om_layermerge 2] [om_getpixel 0 0]"),
              "[ERROR -1][ERROR -1][][128 0 127 255]");
}

TEST_F(LayerCommandsTest, BackgroundWordsAndTheirState) {
    EXPECT_EQ(RunScript("om_background"), "none");
    EXPECT_EQ(RunScript("[om_background color 10 20 30] [om_background]"), "[][color 10 20 30]");
    EXPECT_EQ(RunScript("[om_background check 1 2 3 400 -5 6] [om_background]"), "[][check 1 2 3 255 0 6]");
    EXPECT_EQ(RunScript("[om_background black] [om_background]"), "[][color 0 0 0]");
    EXPECT_EQ(RunScript("[om_background NONE] [om_background]"), "[][none]");
    EXPECT_EQ(RunScript("[om_background purple] [om_background]"), "[ERROR -1][none]");
}

TEST_F(LayerCommandsTest, BadNumbersAndWordsNeverBreakTheStack) {
    RunScript("[om_layercreate a] [om_layerstretch 0 1 3] [om_layeranim] [om_layercreate b]");
    const char* commands[] = {
        "om_layercreate",    "om_layeranim",        "om_layerduplicate", "om_layermove",
        "om_layerimage",     "om_layerkill",        "om_layerset",       "om_layermerge",
        "om_layerrename",    "om_layerinsertimage", "om_layercut",       "om_layercopy",
        "om_layerpaste",     "om_layerdensity",     "om_layerstretch",   "om_layershift",
        "om_layerdisplay",   "om_layerinfo",        "om_layergetid",     "om_layergetpos",
        "om_layercurrentid", "om_layergetimage",    "om_layerselect",    "om_layerselectinfo",
        "om_firstimage",     "om_lastimage",        "om_display",        "om_background",
        "om_clear",          "om_layeronion"};
    const char* args[] = {"",
                          " -1",
                          " 2147483647 2147483647 2147483647",
                          " -2147483648 -1 -1",
                          " 1e300",
                          " nan inf",
                          " abc",
                          " 2 1 -3",
                          " 1 0 999999",
                          " 3 -999999 1",
                          " 0 0 0",
                          " \"unclosed",
                          " check",
                          " color 1"};
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    int round = 0;
    for (const char* command : commands) {
        for (const char* arg : args) {
            std::string text = std::string(command) + arg;
            RunScript(text);
            CheckStack(text);
            if (++round % 7 == 0) RunScript("[om_layerselect 1 2] [om_layercopy]");
            if (HasFatalFailure()) break;
        }
    }
    testing::internal::GetCapturedStderr();
    testing::internal::GetCapturedStdout();
    EXPECT_LE(LayerCount, 64);
}
