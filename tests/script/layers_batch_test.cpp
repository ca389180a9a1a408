// A whole animation built by a script in a headless batch run: three layers over ten
// images, with holds, onion skin and a check background, read back from the display.
// The expected pixels are worked out by hand in the comments.
#include "support/temp_files.h"

#include <cstdio>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace {

std::vector<std::string> RunBatch(const std::string& script) {
    std::string path = TempPath("layers.txt");
    WriteFile(path, script);
    std::string command =
        "env -u DISPLAY " NEMU_BINARY_DIR "/nemu --headless --size 32x32 --script '" + path + "' 2>/dev/null";
    std::vector<std::string> lines;
    FILE* p = popen(command.c_str(), "r");
    if (!p) return lines;
    std::string out;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
    EXPECT_EQ(pclose(p), 0);
    std::istringstream in(out);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

} // namespace

TEST(LayersBatch, ThreeLayersTenImagesHoldsOnionAndCheckAsTheDisplayShowsThem) {
    std::string script =
        // Black and white cells of 16 behind everything.
        "om_background check 0 0 0 255 255 255\n"
        // Layer 1, at the bottom: opaque blue at (2, 2), held over images 0 to 9.
        "om_layerrename 1 bg\n"
        "om_writepixel 2 2 0 0 255 255\n"
        "om_layerstretch 1 1 9\n"
        // Layer 2 above it: ten images, image t white at (t, 5), onion two back and two on.
        "om_layercreate anim\n"
        "om_layerstretch 2 1 9\n"
        "om_layeranim 2\n";
    for (int t = 0; t < 10; t++)
        script += "om_layerimage " + std::to_string(t) + "\nom_writepixel " + std::to_string(t) +
                  " 5 255 255 255 255\n";
    script +=
        "om_layeronion 2 -2 2\n"
        // Layer 3 on top: half-transparent red at (1, 1), held over images 3 to 6.
        "om_layercreate fg\n"
        "om_writepixel 1 1 128 0 0 128\n"
        "om_layershift 3 3\n"
        "om_layerstretch 3 1 3\n"
        "om_layerset 2 4\n"
        "[om_layerinfo 1] [om_layerinfo 2] [om_layerinfo 3] [om_layercurrentid] [om_layergetimage]\n"
        "[om_getpixeldisplay 1 1] [om_getpixeldisplay 4 5] [om_getpixeldisplay 3 5] [om_getpixeldisplay 2 5] "
        "[om_getpixeldisplay 5 5] [om_getpixeldisplay 6 5] [om_getpixeldisplay 7 5] [om_getpixeldisplay 2 2] "
        "[om_getpixeldisplay 20 1] [om_getpixeldisplay 20 20]\n"
        "om_layerimage 8\n"
        "[om_getpixeldisplay 1 1] [om_getpixeldisplay 8 5] [om_getpixeldisplay 9 5] [om_getpixeldisplay 6 5] "
        "[om_getpixeldisplay 10 5] [om_getpixeldisplay 2 2]\n"
        "om_layerdensity 50 3\n"
        "om_layerimage 4\n"
        "[om_getpixeldisplay 1 1]\n";
    std::vector<std::string> lines = RunBatch(script);
    ASSERT_GE(lines.size(), 7u);
    size_t n = lines.size();
    EXPECT_EQ(lines[n - 7], "[Image 0 9 0 0][Sequence 0 9 -2 2][Image 3 6 0 0][2][4]");
    // At image 4: (1, 1) red 128 at alpha 128 over the black cell; (4, 5) the image itself;
    // onion images 3 and 5 at 127, 2 and 6 at 84, over black; (7, 5) nothing but the cell;
    // (2, 2) the held blue under all; (20, 1) a white cell, (20, 20) black again.
    EXPECT_EQ(lines[n - 6],
              "[128 0 0 255][255 255 255 255][127 127 127 255][84 84 84 255][127 127 127 255][84 84 84 255]"
              "[0 0 0 255][0 0 255 255][255 255 255 255][0 0 0 255]");
    // At image 8 the red hold is over; image 10 lies past the layer and is left out.
    EXPECT_EQ(lines[n - 4],
              "[0 0 0 255][255 255 255 255][127 127 127 255][84 84 84 255][0 0 0 255][0 0 255 255]");
    EXPECT_EQ(lines[n - 3], "100"); // the former density, in per cent
    // The red layer at density 128: Mul(128, 128) = 65 in red and alpha, over black.
    EXPECT_EQ(lines[n - 1], "[65 0 0 255]");
}

// The largest counts the commands accept, on an animation: each command costs what it
// adds or takes away, so a million images come and go in moments, and undo and redo too.
TEST(LayersBatch, AMillionImagesInsertedOrStretchedOntoAnAnimationComeAndGo) {
    std::string script =
        "om_writepixel 1 1 10 20 30 255\n"
        "om_layeranim\n"
        "om_layerinsertimage 999999 1\n"
        "[om_lastimage] [om_layerimage 999999] [om_getpixel 1 1]\n"
        "om_undo\n"
        "[om_lastimage] [om_getpixel 1 1]\n"
        "om_layerstretch 0 1 999999\n"
        "[om_lastimage] [om_layerimage 654321] [om_getpixel 1 1]\n"
        "om_undo\n"
        "[om_lastimage]\n"
        "om_undo\n"
        "[om_lastimage] [om_layerimage 999999] [om_getpixel 1 1]\n"
        // Cutting all but the first image leaves the first, and the undo brings them back.
        "om_layerselect 1 999999\n"
        "om_layercut\n"
        "[om_lastimage] [om_layerselectinfo]\n"
        "om_undo\n"
        "[om_lastimage]\n";
    std::vector<std::string> lines;
    for (const std::string& line : RunBatch(script))
        if (!line.empty()) lines.push_back(line); // the commands out of brackets reply nothing
    ASSERT_EQ(lines.size(), 7u);
    EXPECT_EQ(lines[0], "[999999][][10 20 30 255]");
    EXPECT_EQ(lines[1], "[0][10 20 30 255]");
    EXPECT_EQ(lines[2], "[999999][][10 20 30 255]");
    EXPECT_EQ(lines[3], "[0]");
    EXPECT_EQ(lines[4], "[999999][][10 20 30 255]");
    EXPECT_EQ(lines[5], "[0][1 0]");
    EXPECT_EQ(lines[6], "[999999]");
}

// A project whose one layer is a million images sharing one picture is written as links
// to the first image, and read back as one shared picture again, in moments.
TEST(LayersBatch, AMillionLinkedImagesAreSavedAndReadBack) {
    std::string path = TempPath("million.nem");
    std::string script = "om_writepixel 1 1 10 20 30 255\n"
                         "om_layeranim\n"
                         "om_layerinsertimage 999999 1\n"
                         "[om_saveproject " + path + "]\n"
                         "[om_layercreate other] [om_layerinfo 2]\n"
                         "[om_loadproject " + path + "] [om_lastimage] [om_layerimage 765432] "
                         "[om_getpixel 1 1] [om_getpixel 2 1]\n";
    std::vector<std::string> lines;
    for (const std::string& line : RunBatch(script))
        if (!line.empty()) lines.push_back(line);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "[]");
    EXPECT_EQ(lines[1], "[2][Image 1 1 0 0]");
    // The load replaces the project: one layer again, the million images, the pixel.
    EXPECT_EQ(lines[2], "[][999999][][10 20 30 255][0 0 0 0]");
    std::remove(path.c_str());
}
