// The drawing, colour, pen, undo and spare commands, run as scripts send them.
#include "paint/refill.h"
#include "paint/tool_fixture.h"
#include "support/run_script.h"

#include <vector>

using namespace nemu;
using namespace nemu::test;

// ---- Drawing ---------------------------------------------------------------------------------------

TEST(DrawingCommands, DotAndLineUseTheCurrentToolAndPen) {
    ToolHost host;
    EXPECT_EQ(RunScript("[om_dot 4 5 0] [om_line 2 3 30 12 0]"), "[][]");
    PixelSet expected = LinePixels(2, 3, 30, 12);
    expected.insert({4, 5});
    EXPECT_EQ(PaintedPixels(), expected) << ToolHost::Picture();
    EXPECT_EQ(ToolHost::At(4, 5), Red);
    EXPECT_EQ(ToolHost::Traces(), 0); // and the screen shows it
    RunScript("om_pen 2");
    RunScript("om_dot 20 20 0");
    // The round pen of radius 2: the disc of the midpoint circle.
    EXPECT_EQ(ToolHost::At(20, 22), Red);
    EXPECT_EQ(ToolHost::At(22, 20), Red);
    EXPECT_EQ(ToolHost::At(22, 22), White);
    RunScript("om_dot 20 20 1"); // the second colour of the round pen removes paint
    EXPECT_EQ(ToolHost::At(20, 22), 0u);
}

TEST(DrawingCommands, AMissingArgumentReadsZero) {
    ToolHost host;
    RunScript("om_dot");
    EXPECT_EQ(PaintedPixels(), (PixelSet{{0, 0}}));
}

TEST(DrawingCommands, CoordinatesFarOutsideAreClippedWithoutChangingTheSlope) {
    ToolHost host;
    RunScript("om_line -2147483648 5 2147483647 5 0");
    EXPECT_EQ(PaintedPixels(), LinePixels(0, 5, 39, 5));
    RunScript("[om_dot nan 2 0] [om_line inf 0 0 0 0] [om_dot 2147483647 1 0] [om_line 0 nan 9 9 0]");
    EXPECT_EQ(PaintedPixels(), LinePixels(0, 5, 39, 5)) << ToolHost::Picture();
    RunScript("om_line 1e300 3 -1e300 3 0");
    EXPECT_EQ(PaintedPixels().size(), 80u) << ToolHost::Picture(); // rows 3 and 5, whole
    // A long line whose ends lie far away keeps its direction inside the page.
    RunScript("om_line -1000000 -999990 1000000 1000010 0");
    for (int x = 0; x < 20; x++) EXPECT_EQ(ToolHost::At(x, x + 10), Red) << x;
}

TEST(DrawingCommands, ZFormsCarryOpacityAndSize) {
    ToolHost host;
    SetPen(PenPointe);
    SetDrawMode(1); // the mode in which a dab takes the opacity it is given
    RunScript("om_zdot 5 5 0 128");
    // White towards red at 128: 255 - Mul(255, 128) = 127 in green and blue.
    EXPECT_EQ(ToolHost::At(5, 5), 0xFFFF7F7Fu);
    RunScript("om_zline 0 10 39 10 0 0 255");
    EXPECT_EQ(ToolHost::At(0, 10), White);
    EXPECT_EQ(ToolHost::At(39, 10) & 0xFF, 7u); // 39 * 255 / 40 = 248 at the far end
    // Pressures beyond the range are limited, not refused.
    RunScript("om_zdot 7 7 0 9999");
    EXPECT_EQ(ToolHost::At(7, 7), Red);
}

TEST(DrawingCommands, ContinuedLinesAreOneStrokeAndOneUndoStep) {
    ToolHost host;
    RunScript("[om_line 2 2 20 2 0] [om_line 20 2 20 20 0 1] [om_line 20 20 2 20 0 1]");
    PixelSet expected = LinePixels(2, 2, 20, 2);
    for (auto p : LinePixels(20, 2, 20, 20)) expected.insert(p);
    for (auto p : LinePixels(20, 20, 2, 20)) expected.insert(p);
    EXPECT_EQ(PaintedPixels(), expected);
    RunScript("om_undo");
    EXPECT_EQ(PaintedPixels(), PixelSet{});
}

TEST(DrawingCommands, FastLineWritesThePageDirectly) {
    ToolHost host;
    SetDrawMode(15); // no draw mode applies
    RunScript("om_fastline 1 1 30 20 0 255 0 255");
    EXPECT_EQ(PaintedPixels(), LinePixels(1, 1, 30, 20));
    EXPECT_EQ(ToolHost::At(1, 1), 0xFF00FF00u);
    RunScript("om_fastline -5000000 25 5000000 25 999 -3 7 100"); // limited to bytes, stored as given
    EXPECT_EQ(ToolHost::At(17, 25), 0x64FF0007u);
    RunScript("om_undo");
    EXPECT_EQ(ToolHost::At(17, 25), White);
    EXPECT_EQ(ToolHost::Traces(), 0);
}

TEST(DrawingCommands, WritePixelIsAChangeUndoSees) {
    ToolHost host;
    RunScript("[om_writepixel 3 4 10 20 30 255] [om_writepixel 39 29 1 2 3 255]");
    EXPECT_EQ(ToolHost::At(3, 4), 0xFF0A141Eu);
    RunScript("om_undo");
    EXPECT_EQ(ToolHost::At(3, 4), White);
    EXPECT_EQ(ToolHost::At(39, 29), White);
    RunScript("om_undo");
    EXPECT_EQ(ToolHost::At(39, 29), 0xFF010203u);
}

// ---- Colour and pens --------------------------------------------------------------------------------

TEST(ColourCommands, PensAreLimitedOpaqueColours) {
    ToolHost host;
    EXPECT_EQ(RunScript("[om_setapen 300 -5 10] [om_getapen]"), "[][255 0 10 255]");
    EXPECT_EQ(RunScript("om_setbpen 1 2 3"), "");
    EXPECT_EQ(RunScript("om_getbpen"), "1 2 3 255");
    RunScript("om_dot 5 5 0");
    EXPECT_EQ(ToolHost::At(5, 5), 0xFFFF000Au);
}

TEST(ColourCommands, DrawModesByNameAndAntiAliasing) {
    ToolHost host;
    EXPECT_EQ(RunScript("[om_setdrawmode SHADE]"), "[]");
    EXPECT_EQ(DrawMode, 8);
    EXPECT_EQ(RunScript("[om_setdrawmode hue] [om_setdrawmode nosuchmode] [om_setdrawmode]"),
              "[][ERROR -1][ERROR -1]");
    EXPECT_EQ(DrawMode, 12);                                  // the unknown names changed nothing
    EXPECT_EQ(RunScript("om_setdrawmode merge"), "ERROR -1"); // needs a spare page
    RunScript("om_sparecopy");
    EXPECT_EQ(RunScript("om_setdrawmode trans"), "");
    EXPECT_EQ(DrawMode, 2);
    RunScript("om_aliason");
    EXPECT_EQ(AntiAlias, 1);
    RunScript("om_aliasoff");
    EXPECT_EQ(AntiAlias, 0);
}

TEST(ToolCommands, PensAndSizesWithinTheirSliders) {
    ToolHost host;
    RunScript("om_aeropen 20");
    EXPECT_EQ(Pen, PenAirbrush);
    EXPECT_EQ(MediaPens[PenAirbrush].Size, 20);
    EXPECT_EQ(CurrentStamp->Width, 41);
    RunScript("om_airpen 100000");
    EXPECT_EQ(MediaPens[PenAirbrush].Size, 100);
    RunScript("om_chalk -7");
    EXPECT_EQ(Pen, PenChalk);
    EXPECT_EQ(MediaPens[PenChalk].Size, 3);
    RunScript("om_pencil 6");
    EXPECT_EQ(Pen, PenPencil);
    RunScript("om_inkpen 4");
    EXPECT_EQ(Pen, PenRound);
    EXPECT_EQ(RoundPen.PenRadius, 4);
    RunScript("om_point 9");
    EXPECT_EQ(Pen, PenPointe);
    EXPECT_EQ(CurrentStamp->Width, 1);
}

TEST(ToolCommands, PowerIsAPercentAndProfilesTakeCurvesOrEntries) {
    ToolHost host;
    RunScript("[om_aeropen 10] [om_airpower 50] [om_chalkpower 0] [om_pencilpower 500]");
    EXPECT_EQ(MediaPens[PenAirbrush].Power, 127); // (50 * 255 + 49) / 100
    EXPECT_EQ(Power, 127);                        // the current pen takes it at once
    EXPECT_EQ(MediaPens[PenChalk].Power, 3);
    EXPECT_EQ(MediaPens[PenPencil].Power, 255);
    RunScript("[om_brushpower 100] [om_pointpower 1]");
    EXPECT_EQ(BrushPen.Power, 255);
    EXPECT_EQ(PointePen.Power, 3);
    RunScript("om_aerospline 0 0"); // the straight curve: the profile rises evenly to the centre
    for (int i = 0; i < 64; i++) EXPECT_EQ(MediaPens[PenAirbrush].Profile[i], i * 255 / 63) << i;
    RunScript("om_chalkspline 255 0");
    EXPECT_LT(MediaPens[PenChalk].Profile[20], 20 * 255 / 63); // sags below the line
    EXPECT_EQ(RunScript("[om_airprofile 63 7] [om_aeroprofile 64 1] [om_pencilprofile -1 1]"),
              "[][ERROR -1][ERROR -1]");
    EXPECT_EQ(MediaPens[PenAirbrush].Profile[63], 7);
    EXPECT_EQ(Profile[63], 7);
}

TEST(ToolCommands, PressureProfileShapesTheCurves) {
    ToolHost host;
    RunScript("om_pressureprofile 255 0 0");
    EXPECT_EQ(PressureX, 255);
    EXPECT_LT(PressureCurve[64], 64);
    EXPECT_EQ(PressureCurve[0], 0);
    RunScript("om_pressureprofile 0 999 1");
    EXPECT_EQ(SpeedY, 255);
    EXPECT_GT(SpeedCurve[64], 64);
    EXPECT_EQ(PressureX, 255); // the other curve is left alone
}

TEST(ToolCommands, GridSetReadAndOff) {
    ToolHost host;
    EXPECT_EQ(RunScript("om_grid"), "16 16 0 0");
    EXPECT_EQ(RunScript("[om_grid 10 8 3 -2] [om_grid]"), "[][10 8 3 -2]");
    EXPECT_EQ(GridOn, 1);
    ToolHost::Move(9, 9);
    EXPECT_EQ(PointerX, 13);
    EXPECT_EQ(PointerY, 6);
    RunScript("om_grid 0 0");
    EXPECT_EQ(GridOn, 0);
    EXPECT_EQ(RunScript("om_grid"), "10 8 3 -2");
    RunScript("om_grid 2147483647 5 -2147483648 0");
    EXPECT_EQ(RunScript("om_grid"), "32767 5 -32768 0");
    RunScript("om_grid banana");
    EXPECT_EQ(GridOn, 0);
}

// ---- Undo and spare ------------------------------------------------------------------------------------

TEST(UndoCommands, UndoRedoAndUpdate) {
    ToolHost host;
    RunScript("om_line 2 2 20 2 0");
    RunScript("om_undo");
    EXPECT_EQ(ToolHost::Painted(), 0);
    RunScript("om_undo");
    EXPECT_EQ(ToolHost::At(10, 2), Red);
    RunScript("om_updateundo");
    RunScript("om_undo");
    EXPECT_EQ(ToolHost::At(10, 2), Red); // made final
}

TEST(UndoCommands, SpareCommandsAndTheirAliases) {
    ToolHost host;
    RunScript("om_dot 3 3 0");
    EXPECT_EQ(RunScript("[om_spareswap]"), "[0]");
    EXPECT_EQ(ToolHost::At(3, 3), 0u);
    EXPECT_EQ(RunScript("om_swap"), "0");
    EXPECT_EQ(ToolHost::At(3, 3), Red);
    EXPECT_EQ(RunScript("[om_killspare] [om_sparekill] [om_copytospare] [om_sparecopy]"), "[][][][]");
    EXPECT_EQ(SparePage->Pixels[3 * 40 + 3], Red);
    RunScript("om_sparekill");
    EXPECT_EQ(SparePage, nullptr);
}

TEST(UndoCommands, SpareKillPutsAnyDrawModeBackToColour) {
    ToolHost host;
    RunScript("om_setdrawmode shade");
    ASSERT_EQ(DrawMode, 8);
    RunScript("om_sparekill"); // no spare: nothing changes
    EXPECT_EQ(DrawMode, 8);
    RunScript("[om_sparecopy] [om_sparekill]");
    EXPECT_EQ(SparePage, nullptr);
    EXPECT_EQ(DrawMode, 0);
}

namespace {
std::vector<int32_t> RefillCalls;

// Stands in for the fill's writer: the mask is a 5 by 5 square at (5, 5).
int PaintSquare(int32_t useBPen) {
    RefillCalls.push_back(useBPen);
    for (int y = 5; y < 10; y++)
        for (int x = 5; x < 10; x++) Page->Pixels[y * Page->Width + x] = useBPen ? BPen : APen;
    AddDirtyAndMark(5, 5, 9, 9);
    return 1;
}
} // namespace

TEST(UndoCommands, RedoRefillsTheLastMaskWithThePenItNames) {
    ToolHost host;
    RefillCalls.clear();
    // Without the fill's writer no mask can exist: nothing is painted or made final.
    ExtendWetRect(5, 5, 9, 9);
    RunScript("om_line 2 2 20 2 0");
    EXPECT_EQ(RunScript("[om_redo 1]"), "[]");
    RunScript("om_undo");
    EXPECT_EQ(ToolHost::Painted(), 0);
    RunScript("om_undo");
    RefillAreaHook = PaintSquare;
    // With the writer but no mask: still nothing.
    WetRect = WetBox();
    RunScript("om_redo 1");
    EXPECT_TRUE(RefillCalls.empty());
    ExtendWetRect(5, 5, 9, 9);
    RunScript("om_redo 1");
    EXPECT_EQ(ToolHost::At(7, 7), Blue);
    // The line before was made final: one undo takes back the refill alone.
    RunScript("om_undo");
    EXPECT_EQ(ToolHost::At(7, 7), White);
    EXPECT_EQ(ToolHost::At(10, 2), Red);
    RunScript("om_redo 0");
    EXPECT_EQ(ToolHost::At(7, 7), Red);
    EXPECT_EQ(RefillCalls, (std::vector<int32_t>{1, 0}));
    RefillAreaHook = nullptr;
    WetRect = WetBox();
}
