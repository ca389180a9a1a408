// The brush ghost on the headless screen: shown without touching the page, moved without
// a moment where the pointer shows no brush, and gone without a trace.
#include "paint/panto.h"
#include "paint/tool_fixture.h"

using namespace nemu;
using namespace nemu::test;

namespace {
uint32_t PageHash() {
    uint32_t h = 2166136261u;
    for (size_t i = 0, n = size_t(Page->Width) * Page->Height; i < n; ++i)
        h = (h ^ Page->Pixels[i]) * 16777619u;
    return h;
}

// The ghost of a radius 4 airbrush, whose centre is solid enough to tell from the page.
void UseAirbrush() {
    MediaPens[PenAirbrush].Size = 5;
    MediaPens[PenAirbrush].Power = 255;
    SetPen(PenAirbrush);
}
} // namespace

TEST(Ghost, ShowsTheDabOnTheScreenOnly) {
    ToolHost host;
    UseAirbrush();
    const uint32_t before = PageHash();
    ToolHost::Move(15, 12);
    EXPECT_EQ(PageHash(), before);
    EXPECT_EQ(CurrentStamp->GhostFlags, GHOST_SHOWN);
    const uint32_t centre = ToolHost::Shown(15, 12);
    EXPECT_NE(centre, White);
    EXPECT_EQ(centre & 0xFF0000, 0xFF0000u);       // white under red keeps its red
    EXPECT_EQ(ToolHost::Shown(15 + 6, 12), White); // outside the radius
    // The dab shown is the mask in flat APen: at the centre the mask's value.
    const int m = CurrentStamp->Mask[5 * CurrentStamp->Width + 5];
    EXPECT_EQ(centre & 0xFF, uint32_t(Lerp(255, 0, m)));
}

TEST(Ghost, NoneBeforeThePointerComesNorAfterItLeaves) {
    // The page stands at the screen's corner, where a pointer never seen must not put it.
    ToolHost host(40, 30);
    UseAirbrush();
    HeadlessQueueKey('A', 'a');
    MainLoopPass();
    EXPECT_EQ(ToolHost::Traces(), 0) << "a ghost where the pointer never was";
    ToolHost::Move(5, 5);
    EXPECT_GT(ToolHost::Traces(), 0);
    // Leaving the window free takes the pointer far away, and the ghost with it.
    HeadlessQueuePointer(PointerAwayCoord, PointerAwayCoord);
    MainLoopPass();
    EXPECT_EQ(ToolHost::Traces(), 0);
}

TEST(Ghost, MovesAndHidesWithoutTraces) {
    ToolHost host;
    UseAirbrush();
    // Overlapping steps in every direction, a jump, the page's edges and beyond.
    const int path[][2] = {{15, 12}, {17, 13}, {16, 15}, {13, 14}, {12, 10}, {30, 20},
                           {0, 0},   {-3, 4},  {39, 29}, {43, 31}, {20, -6}, {20, 5}};
    for (auto& p : path) {
        ToolHost::Move(p[0], p[1]);
        // Only the ghost's square may differ from the page.
        for (int y = 0; y < PageHeight; y++)
            for (int x = 0; x < PageWidth; x++)
                if (std::abs(x - p[0]) > 5 || std::abs(y - p[1]) > 5)
                    ASSERT_EQ(ToolHost::Shown(x, y), White)
                        << "trace at " << x << "," << y << " after " << p[0] << "," << p[1];
    }
    CancelTool(ToolMode);
    EXPECT_EQ(ToolHost::Traces(), 0);
    EXPECT_EQ(CurrentStamp->GhostFlags, 0u);
}

namespace {
// Watches every blit while the ghost moves: the pixel both ghosts cover must never show
// the bare page, which is what a hide-then-show would flash.
int WatchX = 0, WatchY = 0, BarePageSeen = 0, Blits = 0;
void WatchingBlit(const Bitmap* bitmap, int sx, int sy, ScreenRecord* screen, int dx, int dy, int w, int h) {
    Blit32(bitmap, sx, sy, screen, dx, dy, w, h);
    ++Blits;
    if (ToolHost::Shown(WatchX, WatchY) == White) ++BarePageSeen;
}
} // namespace

TEST(Ghost, AMoveNeverShowsTheBarePageWhereBothGhostsLie) {
    ToolHost host;
    UseAirbrush();
    ToolHost::Move(15, 12);
    ASSERT_NE(ToolHost::Shown(12, 12), White);
    WatchX = 16, WatchY = 12;
    BlitToScreen = WatchingBlit;
    ToolHost::Move(17, 12);
    BlitToScreen = Blit32;
    EXPECT_GT(Blits, 1); // the new ghost, then the strip it left
    EXPECT_EQ(BarePageSeen, 0);
    EXPECT_EQ(ToolHost::Shown(12, 12), White); // the old ghost's left strip is gone
    CancelTool(ToolMode);
    EXPECT_EQ(ToolHost::Traces(), 0);
}

TEST(Ghost, OutlineFormForLargeBrushesAndOnRequest) {
    ToolHost host;
    UseAirbrush();
    ToolState.BrushGhostMode = 2;
    ToolHost::Move(20, 15);
    EXPECT_EQ(CurrentStamp->GhostFlags, GHOST_SHOWN | GHOST_OUTLINE | GHOST_CIRCLE);
    EXPECT_NE(ToolHost::Shown(20 + 5, 15), White); // the circle of radius Width / 2
    EXPECT_EQ(ToolHost::Shown(20, 15), White);     // and nothing inside it
    ToolHost::Move(23, 16);
    ToolHost::Move(2, 2);
    CancelTool(ToolMode);
    EXPECT_EQ(ToolHost::Traces(), 0);
    // Automatic: a dab larger than the limit shows as an outline too.
    ToolState.BrushGhostMode = 0;
    GhostAreaLimit = 10;
    ToolHost::Move(20, 15);
    EXPECT_NE(CurrentStamp->GhostFlags & GHOST_OUTLINE, 0u);
    GhostAreaLimit = 200000;
    ToolHost::Move(21, 15); // from the outline to the whole dab
    EXPECT_EQ(CurrentStamp->GhostFlags, GHOST_SHOWN);
    CancelTool(ToolMode);
    EXPECT_EQ(ToolHost::Traces(), 0);
}

TEST(Ghost, PantoShowsItsSourceCross) {
    ToolHost host;
    UseAirbrush();
    PantoX = 8, PantoY = -3;
    SetDrawMode(17);
    ToolHost::Move(10, 12);
    EXPECT_NE(CurrentStamp->GhostFlags & GHOST_CROSS, 0u);
    EXPECT_NE(ToolHost::Shown(10 + 8 + 10, 12 - 3), White); // the end of an arm
    ToolHost::Move(12, 12);
    CancelTool(ToolMode);
    EXPECT_EQ(ToolHost::Traces(), 0);
    PantoX = PantoY = 0;
}

TEST(Ghost, HiddenWhilePaintingAndShownAgainAfter) {
    ToolHost host;
    UseAirbrush();
    ToolHost::Move(10, 10);
    ToolHost::Press(10, 10);
    EXPECT_EQ(CurrentStamp->GhostFlags, 0u);
    ToolHost::Move(20, 10);
    ToolHost::Move(30, 10);
    ToolHost::Release(30, 10);
    EXPECT_EQ(ToolHost::Traces(), 0); // the screen shows the stroke, and only it
    ToolHost::Move(30, 20);
    EXPECT_EQ(CurrentStamp->GhostFlags, GHOST_SHOWN);
    // With the outline kept during strokes, it stands while painting and goes after.
    ToolState.BrushGhostInStroke = 1;
    ToolHost::Press(5, 25);
    ToolHost::Move(15, 25);
    EXPECT_EQ(CurrentStamp->GhostFlags, GHOST_SHOWN | GHOST_OUTLINE | GHOST_CIRCLE);
    ToolHost::Release(15, 25);
    CancelTool(ToolMode);
    EXPECT_EQ(ToolHost::Traces(), 0);
}
