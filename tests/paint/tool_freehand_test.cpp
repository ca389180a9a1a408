// The dot and freehand tools through the main loop: press, drag, release, the arcs
// between samples, the second button, and the Shift lock.
#include "paint/tool_fixture.h"

#include <unistd.h>

using namespace nemu;
using namespace nemu::test;

// ---- Dot ---------------------------------------------------------------------------------------

TEST(ToolDot, PaintsWhileHeldAtEachPassAndStopsAtTheRelease) {
    ToolHost host;
    SelectToolMode(TOOL_DOT);
    ToolHost::Press(5, 5);
    ToolHost::Move(9, 5);
    ToolHost::Release(9, 5);
    ToolHost::Move(20, 5);
    EXPECT_EQ(PaintedPixels(), (PixelSet{{5, 5}, {9, 5}})) << ToolHost::Picture();
    EXPECT_EQ(ToolHost::At(5, 5), Red);
    ToolHost::RightPress(3, 3);
    ToolHost::RightRelease(3, 3);
    EXPECT_EQ(ToolHost::At(3, 3), 0u); // the round pen's right button erases
}

TEST(ToolDot, SingleModePaintsOnlyAtThePress) {
    ToolHost host;
    SelectToolMode(TOOL_DOT);
    PointMode = POINT_SINGLE;
    ToolHost::Press(5, 5);
    ToolHost::Move(9, 5);
    ToolHost::Move(12, 7);
    ToolHost::Release(12, 7);
    EXPECT_EQ(PaintedPixels(), (PixelSet{{5, 5}})) << ToolHost::Picture();
}

TEST(ToolDot, ADabWhollyOffThePageChangesNothingButTheBox) {
    ToolHost host;
    SelectToolMode(TOOL_DOT);
    ToolHost::Press(-5, 8);
    ToolHost::Release(-5, 8);
    EXPECT_EQ(ToolHost::Painted(), 0);
    EXPECT_NE(DirtyRect.Valid, 0);
    ToolHost::Press(3, 3); // the commit clamps the box that lies outside
    EXPECT_EQ(ToolHost::At(3, 3), Red);
}

// ---- Freehand ----------------------------------------------------------------------------------

TEST(ToolFreehand, ArcsBetweenMidpointsJoinTheSamples) {
    ToolHost host;
    ToolHost::Press(2, 2);
    ToolHost::Move(6, 2);
    EXPECT_EQ(ToolHost::Painted(), 0); // the second sample is only a control point
    EXPECT_EQ(ToolState.ToolPhase, 2);
    ToolHost::Move(10, 2);
    EXPECT_EQ(PaintedPixels(), LinePixels(2, 2, 8, 2)); // up to the midpoint of the last two
    ToolHost::Release(10, 2);
    EXPECT_EQ(PaintedPixels(), LinePixels(2, 2, 10, 2)) << ToolHost::Picture();
    EXPECT_EQ(ToolState.ToolPhase, 0);
    ToolHost::Move(20, 20);
    EXPECT_EQ(PaintedPixels(), LinePixels(2, 2, 10, 2));
}

TEST(ToolFreehand, ACurveStaysBetweenItsSamples) {
    ToolHost host;
    ToolHost::Press(2, 20);
    ToolHost::Move(15, 2);
    ToolHost::Move(28, 20);
    ToolHost::Release(28, 20);
    // A quadratic arc from (2, 20) through the control (15, 2) to the midpoint (21.5, 11),
    // y(t) = 20 - 36t + 27t^2 at its highest 8, then on to (28, 20): the path is
    // connected and never reaches the control point.
    PixelSet painted = PaintedPixels();
    EXPECT_TRUE(painted.count({2, 20}));
    EXPECT_TRUE(painted.count({28, 20}));
    EXPECT_FALSE(painted.count({15, 2}));
    for (auto [x, y] : painted) {
        bool joined = x == 28 && y == 20;
        for (int dy = -1; dy <= 1; dy++)
            for (int dx = -1; dx <= 1; dx++) joined |= (dx || dy) && painted.count({x + dx, y + dy});
        EXPECT_TRUE(joined) << x << "," << y << "\n" << ToolHost::Picture();
        EXPECT_GE(y, 8);
    }
}

TEST(ToolFreehand, AClickWithoutAMovePaintsOneDab) {
    ToolHost host;
    ToolHost::Press(7, 8);
    ToolHost::Release(7, 8);
    EXPECT_EQ(PaintedPixels(), (PixelSet{{7, 8}}));
}

TEST(ToolFreehand, TheSecondButtonNeitherEndsNorRecoloursTheStroke) {
    ToolHost host;
    ToolHost::Press(2, 2);
    ToolHost::Move(6, 2);
    ToolHost::RightPress(6, 2);
    ToolHost::Move(10, 2);
    ToolHost::RightRelease(10, 2);
    EXPECT_EQ(ToolState.ToolPhase, 2);
    ToolHost::Release(10, 2);
    EXPECT_EQ(PaintedPixels(), LinePixels(2, 2, 10, 2)) << ToolHost::Picture();
    EXPECT_EQ(ToolHost::At(6, 2), Red);
}

TEST(ToolFreehand, APressWhoseReleaseWasLostStartsAFreshStroke) {
    ToolHost host;
    ToolHost::Press(2, 2);
    ToolHost::Move(6, 2);
    LeftHeld = 0; // the release went to a modal wait, not to the tools
    ToolHost::Press(2, 20);
    ToolHost::Release(2, 20);
    EXPECT_EQ(PaintedPixels(), (PixelSet{{2, 20}})) << ToolHost::Picture();
}

TEST(ToolFreehand, EachPressCommitsTheStrokeBefore) {
    ToolHost host;
    ToolHost::Press(2, 2);
    ToolHost::Release(2, 2);
    EXPECT_EQ(BackPage->Pixels[2 * 40 + 2], White); // undo is free during a stroke
    ToolHost::Press(5, 5);
    EXPECT_EQ(BackPage->Pixels[2 * 40 + 2], Red);
    EXPECT_EQ(BackPage->Pixels[5 * 40 + 5], White);
    ToolHost::Release(5, 5);
}

// ---- Shift lock ------------------------------------------------------------------------------------

TEST(ToolFreehand, ShiftKeepsTheStrokeOnTheAxisItFirstLeavesASquareOn) {
    ToolHost host;
    HeadlessSetQualifiers(QUAL_SHIFT);
    ToolHost::Press(2, 10);
    ToolHost::Move(10, 13); // inside the square of 16: not decided, not constrained
    EXPECT_EQ(LockAxis, 1);
    EXPECT_EQ(PointerY, 13);
    ToolHost::Move(20, 12); // slope 0.1: horizontal from here on
    EXPECT_EQ(LockAxis, 2);
    EXPECT_EQ(PointerY, 10);
    ToolHost::Move(30, 25); // steep, but the axis holds while Shift is down
    EXPECT_EQ(PointerY, 10);
    ToolHost::Release(30, 25);
    // The free samples before the lock shape the start; from the lock on, row 10.
    for (auto [x, y] : PaintedPixels())
        if (x >= 20) EXPECT_EQ(y, 10) << x << "\n" << ToolHost::Picture();
    EXPECT_EQ(ToolHost::At(30, 10), Red);
    HeadlessSetQualifiers(0);
    ToolHost::Move(5, 5);
    EXPECT_EQ(LockAxis, 0);
}

namespace {
// How many pixels of column x are painted.
int ColumnWidth(int x) {
    int n = 0;
    for (int y = 0; y < PageHeight; y++) n += ToolHost::At(x, y) != White;
    return n;
}
} // namespace

// The round pen with speed on and a largest size above its own: by the speed rules a pointer
// moved a pixel at a time at a hand's pace presses nearly fully, one that jumps far between
// passes hardly at all, and one at rest fully.
TEST(ToolFreehand, SpeedSizesTheRoundPenAsItsRulesSay) {
    ToolHost host(120, 60);
    RoundPen.SpeedOn = 1;
    RoundPen.PenMaxSize = 8;
    SetPen(PenRound);
    SetPenSize(1);
    ASSERT_EQ(ToolUsesSpeed, 1);
    // A pixel each 8 ms, as a mouse sends at 125 reports a second: the speed index is at
    // most 255 / (0.8 * 25), so the pressure at least 243 and the radius at least 7.6.
    ToolHost::Press(5, 15);
    for (int x = 6; x <= 60; x++) {
        usleep(8000);
        ToolHost::Move(x, 15);
    }
    // At rest: the first still pass keeps the last value, the next presses fully.
    for (int pass = 0; pass < 2; pass++) {
        HeadlessQueueKey('K', 0, true);
        MainLoopPass();
    }
    EXPECT_EQ(PressureLow, 255);
    ToolHost::Release(60, 15);
    EXPECT_GE(ColumnWidth(30), 15) << ToolHost::Picture();
    EXPECT_LE(ColumnWidth(30), 17);
    EXPECT_GE(ColumnWidth(60), 16) << "at rest the pen paints its full size";
    EXPECT_LE(ColumnWidth(60), 18);
    // Ten pixels a pass with no pause between: the index is at its top, and the pen thin.
    ToolHost::Press(70, 45);
    for (int x = 80; x <= 115; x += 10) ToolHost::Move(x, 45);
    ToolHost::Release(115, 45);
    EXPECT_LE(ColumnWidth(95), 5) << ToolHost::Picture();
    EXPECT_GE(ColumnWidth(95), 1);
}
