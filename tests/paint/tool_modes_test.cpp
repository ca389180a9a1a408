// The tool state machine through the main loop: press, drag, release and cancel of the
// dot, freehand, line and size-drag tools, the Shift lock, the comb, and the grid.
#include "paint/tool_fixture.h"

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

TEST(ToolLine, ShiftConstrainsToTheNearestOfEightDirections) {
    struct Case {
        int ToX, ToY, EndX, EndY;
    } cases[] = {
        {30, 6, 30, 2},   // slope 0.14: horizontal
        {5, 25, 2, 25},   // slope 7.7: vertical
        {20, 21, 20, 20}, // slope 1.05: the diagonal down, y follows x
        {10, 5, 10, 5},   // within 16 pixels of the start: free
    };
    for (const Case& c : cases) {
        ToolHost host;
        SelectToolMode(TOOL_LINE);
        HeadlessSetQualifiers(QUAL_SHIFT);
        ToolHost::Press(2, 2);
        ToolHost::Move(c.ToX, c.ToY);
        ToolHost::Release(c.ToX, c.ToY);
        EXPECT_EQ(PaintedPixels(), LinePixels(2, 2, c.EndX, c.EndY)) << c.ToX << "," << c.ToY << "\n"
                                                                     << ToolHost::Picture();
        EXPECT_EQ(ToolHost::Traces(), 0);
    }
}

TEST(ToolLine, UpwardDiagonal) {
    ToolHost host;
    SelectToolMode(TOOL_LINE);
    HeadlessSetQualifiers(QUAL_SHIFT);
    ToolHost::Press(2, 25);
    ToolHost::Move(22, 4);
    ToolHost::Release(22, 4);
    EXPECT_EQ(PaintedPixels(), LinePixels(2, 25, 22, 5)) << ToolHost::Picture();
}

// ---- Line --------------------------------------------------------------------------------------------

TEST(ToolLine, RubberBandOnTheScreenOnlyThenTheLineAtTheRelease) {
    ToolHost host;
    SelectToolMode(TOOL_LINE);
    ToolHost::Press(2, 2);
    ToolHost::Move(30, 9);
    EXPECT_EQ(ToolHost::Painted(), 0);
    EXPECT_EQ(ToolState.LineGhostOn, 1);
    // The preview: every pixel of the line's path shows something other than the page.
    for (auto [x, y] : LinePixels(2, 2, 30, 9)) EXPECT_NE(ToolHost::Shown(x, y), White) << x << "," << y;
    ToolHost::Move(12, 25);
    for (auto [x, y] : LinePixels(2, 2, 30, 9))
        if (!LinePixels(2, 2, 12, 25).count({x, y}) && std::abs(x - 12) + std::abs(y - 25) > 1)
            EXPECT_EQ(ToolHost::Shown(x, y), White) << "trace at " << x << "," << y;
    ToolHost::Release(12, 25);
    EXPECT_EQ(PaintedPixels(), LinePixels(2, 2, 12, 25)) << ToolHost::Picture();
    EXPECT_EQ(ToolState.ToolPhase, 0);
    ToolHost::Move(35, 28);
    EXPECT_EQ(ToolHost::Traces(), 1); // the one-pixel ghost under the pointer, nothing else
    CancelTool(ToolMode);
    EXPECT_EQ(ToolHost::Traces(), 0);
}

TEST(ToolLine, CtrlPaintsACombFromTheAnchorAtEachPass) {
    ToolHost host;
    SelectToolMode(TOOL_LINE);
    ToolHost::Press(2, 2);
    HeadlessSetQualifiers(QUAL_CTRL);
    ToolHost::Move(20, 2);
    ToolHost::Move(20, 20);
    ToolHost::Move(2, 20);
    HeadlessSetQualifiers(0);
    ToolHost::Release(2, 20);
    PixelSet expected = LinePixels(2, 2, 20, 2);
    for (auto p : LinePixels(2, 2, 20, 20)) expected.insert(p);
    for (auto p : LinePixels(2, 2, 2, 20)) expected.insert(p);
    EXPECT_EQ(PaintedPixels(), expected) << ToolHost::Picture();
    EXPECT_EQ(ToolHost::Traces(), 0); // the ghost comes back at the next move
}

TEST(ToolLine, TheLineTapersAndFadesToTheEndValues) {
    ToolHost host;
    SelectToolMode(TOOL_LINE);
    SetPen(PenPointe); // a stepped pen whose dabs take the opacity of their place in `stamp` mode
    SetDrawMode(1);
    LineP1 = 255, LineP2 = 0;
    ToolHost::Press(0, 5);
    ToolHost::Move(39, 5);
    ToolHost::Release(39, 5);
    // Opacity falls along the line: full red at the start, nearly white at the far end
    // (the last of 40 pixels has 255 - 39 * 255 / 40 = 6).
    EXPECT_EQ(ToolHost::At(0, 5), Red);
    EXPECT_EQ(ToolHost::At(39, 5), 0xFFFFF9F9u);
    EXPECT_GT(ToolHost::At(10, 5) & 0xFF, 0u);
    EXPECT_LT(ToolHost::At(10, 5) & 0xFF, ToolHost::At(30, 5) & 0xFF);
}

TEST(ToolLine, CancelErasesThePreviewAndKeepsThePress) {
    ToolHost host;
    SelectToolMode(TOOL_LINE);
    ToolHost::Press(2, 2);
    ToolHost::Move(30, 20);
    ASSERT_GT(ToolHost::Traces(), 20);
    CancelTool(TOOL_LINE);
    EXPECT_EQ(ToolHost::Traces(), 0);
    EXPECT_EQ(ToolState.LineGhostOn, 0);
    EXPECT_EQ(ToolState.ToolPhase, 1);
    // A draw-mode change runs the cancel too, and the line still ends at the release.
    ToolHost::Move(30, 21);
    SetDrawMode(0);
    EXPECT_EQ(ToolHost::Traces(), 0);
    ToolHost::Release(30, 21);
    EXPECT_EQ(PaintedPixels(), LinePixels(2, 2, 30, 21));
}

// ---- Size by a drag ------------------------------------------------------------------------------------

TEST(ToolDragSize, TheDragsRadiusBecomesThePensSizeAndTheToolComesBack) {
    ToolHost host;
    SelectToolMode(TOOL_LINE);
    BeginDragSize();
    EXPECT_EQ(ToolMode, TOOL_SIZE_DRAG);
    BeginDragSize(); // a second right click on a size gadget changes nothing
    EXPECT_EQ(PreviousToolMode, TOOL_LINE);
    ToolHost::Press(20, 15);
    ToolHost::Move(26, 23); // 10 pixels away
    EXPECT_EQ(DragRadius, 10);
    EXPECT_GT(ToolHost::Traces(), 0); // the circle and the cross
    ToolHost::Move(25, 19);
    EXPECT_EQ(DragRadius, 6);
    ToolHost::Release(25, 19);
    EXPECT_EQ(RoundPen.PenRadius, 6);
    EXPECT_EQ(CurrentStamp->Radius, 6);
    EXPECT_EQ(ToolMode, TOOL_LINE);
    EXPECT_EQ(ToolHost::Painted(), 0);
    EXPECT_EQ(ToolHost::Traces(), 0);
}

TEST(ToolDragSize, TheRadiusIsCappedAndACancelLeavesNoCircle) {
    ToolHost host(300, 80);
    BeginDragSize();
    ToolHost::Press(5, 5);
    ToolHost::Move(250, 70);
    EXPECT_EQ(DragRadius, 100);
    CancelTool(ToolMode);
    EXPECT_EQ(ToolHost::Traces(), 0);
    ToolHost::Release(250, 70);
    EXPECT_EQ(RoundPen.PenRadius, 100);
    EXPECT_EQ(ToolMode, TOOL_FREEHAND);
}

// ---- Modes and the grid ----------------------------------------------------------------------------------

TEST(ToolModes, SelectingEndsAHookAndUnknownModesPaintDots) {
    ToolHost host;
    static int ended = 0;
    SetPointerHook([]() { return 0; }, []() { ended++; });
    EXPECT_EQ(SelectToolMode(99), -1);
    EXPECT_NE(PointerHook, nullptr);
    EXPECT_EQ(SelectToolMode(40), 0); // a mode whose handler comes with a later part
    EXPECT_EQ(PointerHook, nullptr);
    EXPECT_EQ(ended, 1);
    ToolHost::Press(4, 4);
    ToolHost::Move(8, 4);
    ToolHost::Release(8, 4);
    EXPECT_EQ(PaintedPixels(), (PixelSet{{4, 4}, {8, 4}}));
}

TEST(ToolModes, GridSnapsThePointerToTheNearestPoint) {
    ToolHost host;
    GridOn = 1, GridStepX = 10, GridStepY = 8, GridOriginX = 2, GridOriginY = 0;
    ToolHost::Move(8, 3);
    EXPECT_EQ(PointerX, 12);
    EXPECT_EQ(PointerY, 0);
    EXPECT_EQ(PointerFX & 0xFFFF, 0x7FFF);
    ToolHost::Move(7, 4); // halfway rounds up
    EXPECT_EQ(PointerX, 12);
    EXPECT_EQ(PointerY, 8);
    ToolHost::Press(16, 13);
    ToolHost::Release(16, 13);
    EXPECT_EQ(PaintedPixels(), (PixelSet{{12, 16}}));
    // Left of the origin the nearest line is still the nearest.
    int32_t fx = -7 << 16, fy = -13 << 16;
    SnapToGrid(&fx, &fy);
    EXPECT_EQ(fx >> 16, -8);
    EXPECT_EQ(fy >> 16, -16);
    GridOn = 0;
    fx = 5 << 16;
    SnapToGrid(&fx, &fy);
    EXPECT_EQ(fx, 5 << 16);
}

TEST(ToolModes, WetPaintKeptOverStrokesMakesOneUndoStep) {
    ToolHost host;
    MediaPens[PenAirbrush].Continuous = 1;
    SetPen(PenAirbrush);
    SetPenSize(3);
    ASSERT_EQ(WetKeep, 1);
    ToolHost::Press(5, 5); // the pen's change asked for a commit
    ToolHost::Release(5, 5);
    ToolHost::Press(20, 5); // kept wet: no commit, the box grows over both
    ToolHost::Release(20, 5);
    EXPECT_NE(ToolHost::At(5, 5), White);
    EXPECT_NE(ToolHost::At(20, 5), White);
    Undo();
    EXPECT_EQ(ToolHost::Painted(), 0) << ToolHost::Picture();
}
