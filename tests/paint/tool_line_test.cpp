// The line tool and the size drag through the main loop: the rubber band, Shift, the
// comb, the taper, cancelling, and the pen size set by a drag.
#include "paint/tool_fixture.h"

using namespace nemu;
using namespace nemu::test;

// ---- Shift lock ------------------------------------------------------------------------------------

TEST(ToolLine, ShiftConstrainsToTheNearestOfEightDirections) {
    struct Case {
        int FromX, FromY, ToX, ToY, EndX, EndY;
    } cases[] = {
        {2, 2, 30, 6, 30, 2},   // slope 0.14: horizontal
        {2, 2, 5, 25, 2, 25},   // slope 7.7: vertical
        {2, 2, 20, 21, 20, 20}, // slope 1.05: the diagonal down, y follows x
        {2, 25, 22, 4, 22, 5},  // slope -1.05: the diagonal up
        {2, 2, 10, 5, 10, 5},   // within 16 pixels of the start: free
    };
    for (const Case& c : cases) {
        ToolHost host;
        SelectToolMode(TOOL_LINE);
        HeadlessSetQualifiers(QUAL_SHIFT);
        ToolHost::Press(c.FromX, c.FromY);
        ToolHost::Move(c.ToX, c.ToY);
        ToolHost::Release(c.ToX, c.ToY);
        EXPECT_EQ(PaintedPixels(), LinePixels(c.FromX, c.FromY, c.EndX, c.EndY))
            << c.ToX << "," << c.ToY << "\n"
            << ToolHost::Picture();
        EXPECT_EQ(ToolHost::Traces(), 0);
    }
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
