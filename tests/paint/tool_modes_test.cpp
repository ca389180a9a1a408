// The mode table, the grid, and wet paint kept over strokes, through the main loop.
#include "paint/tool_fixture.h"

using namespace nemu;
using namespace nemu::test;

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
