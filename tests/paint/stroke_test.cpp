// Stepping strokes into dabs: spacing, the first dab, the carry between segments,
// opacity along a segment, the refresh batches, and strokes far off the page.
#include <array>
#include <climits>
#include <string>

#include "paint/stamp_kernels.h"
#include "paint_fixture.h"

namespace nemu {
namespace {

using test::MaskStampOf;

std::vector<std::array<int32_t, 4>> Shown;
void RecordShown(int32_t x, int32_t y, int32_t w, int32_t h) {
    Shown.push_back({x, y, w, h});
}

class Strokes : public test::PaintPage {
  protected:
    void SetUp() override {
        MakePage(40, 8, 0);
        Pen = PenAirbrush; // soft colour, opacity as given
        PenKind = 0;
        WetMode = 0;
        DrawMode = 0;
        dab = MaskStampOf(1, 1, {255});
        Shown.clear();
        ShowPageRectFn = RecordShown;
    }
    void TearDown() override {
        FreeStamp(dab);
        ShowPageRectFn = nullptr;
        PaintPage::TearDown();
    }
    std::string Row(int y) {
        std::string s;
        for (int x = 0; x < Page->Width; ++x) s += At(x, y) ? '#' : '.';
        return s;
    }
    Stamp* dab = nullptr;
};

TEST_F(Strokes, StepSpacesTheDabsAndTheFirstPixelGetsOne) {
    Step = 2;
    WalkStroke(dab, 0, 0, 10, 0, Page, 0xFFFFFFFF, 0, 1, 255, 255);
    EXPECT_EQ(Row(0), "#..#..#..#..............................");
    Step = 0;
    WalkStroke(dab, 0, 1, 4, 1, Page, 0xFFFFFFFF, 0, 1, 255, 255);
    EXPECT_EQ(Row(1).substr(0, 6), "#####.");
}

TEST_F(Strokes, TheGapCarriesAcrossSegmentsAndSharedEndsAreNotCountedTwice) {
    Step = 3;
    WalkStroke(dab, 0, 0, 5, 0, Page, 0xFFFFFFFF, 0, 1, 255, 255);  // dabs at 0, 4
    WalkStroke(dab, 5, 0, 12, 0, Page, 0xFFFFFFFF, 0, 0, 255, 255); // 5 is skipped: dabs at 8, 12
    EXPECT_EQ(Row(0).substr(0, 14), "#...#...#...#.");
    // The same in one segment.
    WalkStroke(dab, 0, 1, 12, 1, Page, 0xFFFFFFFF, 0, 1, 255, 255);
    EXPECT_EQ(Row(1).substr(0, 14), Row(0).substr(0, 14));
}

TEST_F(Strokes, ASinglePointPaintsOnceOnlyWhenItOpensTheStroke) {
    Step = 5;
    WalkStroke(dab, 3, 3, 3, 3, Page, 0xFFFFFFFF, 0, 1, 255, 255);
    EXPECT_EQ(At(3, 3), 0xFFFFFFFFu);
    WalkStroke(dab, 6, 3, 6, 3, Page, 0xFFFFFFFF, 0, 0, 255, 255);
    EXPECT_EQ(At(6, 3), 0u);
}

TEST_F(Strokes, OpacityRunsFromTheStartTowardsTheEnd) {
    Step = 0;
    WalkStroke(dab, 0, 0, 3, 0, Page, 0xFFFFFFFF, 0, 1, 0, 255);
    // n = 4: op(i) = (i * ((255 << 16) / 4)) >> 16 = 0, 63, 127, 191
    EXPECT_EQ(At(0, 0), 0u);
    EXPECT_EQ(At(1, 0), 0x3F3F3F3Fu);
    EXPECT_EQ(At(2, 0), 0x7F7F7F7Fu);
    EXPECT_EQ(At(3, 0), 0xBFBFBFBFu);
    ClearBitmap(Page, 0);
    WalkStroke(dab, 0, 1, 3, 1, Page, 0xFFFFFFFF, 0, 1, -50, -9); // negative opacities become 0
    EXPECT_EQ(CountNot(0), 0u);
}

TEST_F(Strokes, DiagonalsFollowTheNearestPixels) {
    Step = 0;
    WalkStroke(dab, 0, 0, 6, 3, Page, 0xFFFFFFFF, 0, 1, 255, 255);
    EXPECT_EQ(Row(0).substr(0, 8), "#.......");
    EXPECT_EQ(Row(1).substr(0, 8), ".##.....");
    EXPECT_EQ(Row(2).substr(0, 8), "...##...");
    EXPECT_EQ(Row(3).substr(0, 8), ".....##.");
}

TEST_F(Strokes, RefreshesComeInBatchesOfThePathAndEndFlushed) {
    Step = 0;
    WalkStroke(dab, 0, 0, 39, 0, Page, 0xFFFFFFFF, 0, 1, 255, 255);
    ASSERT_FALSE(Shown.empty());
    int64_t covered = 0;
    for (auto& r : Shown) covered += r[2];
    EXPECT_GE(covered, 40);
    // Nothing stays queued once the walk returns.
    size_t before = Shown.size();
    FlushRefresh();
    EXPECT_EQ(Shown.size(), before);
}

TEST_F(Strokes, QueueJoinsUpToThirtyTwoRectanglesOfOneFunction) {
    for (int i = 0; i < 31; ++i) QueueRefresh(CopyToScreen, i, 0, 1, 1);
    EXPECT_TRUE(Shown.empty());
    QueueRefresh(CopyToScreen, 31, 1, 1, 1);
    ASSERT_EQ(Shown.size(), 1u);
    EXPECT_EQ(Shown[0], (std::array<int32_t, 4>{0, 0, 32, 2}));
    QueueRefresh(CopyToScreen, 3, 3, 2, 2);
    QueueRefresh(WetSoftColor, 5, 5, 1, 1); // another function: the first batch goes out
    EXPECT_EQ(Shown.size(), 2u);
    FlushRefresh();
    EXPECT_EQ(Shown.size(), 3u);
}

TEST_F(Strokes, StrokesFarOffThePageChangeNothingAndStillCountTheirSteps) {
    Step = 4;
    WalkStroke(dab, -2000000000, 3, 2000000000, 3, Page, 0xFFFFFFFF, 0, 1, 255, 255);
    // The long walk still lands its dabs on the page in step with the start.
    for (int x = 0; x < 40; ++x) EXPECT_EQ(At(x, 3) != 0, (int64_t(x) + 2000000000) % 5 == 0) << x;
    ClearBitmap(Page, 0);
    WalkStroke(dab, INT32_MIN, INT32_MIN, INT32_MAX, INT32_MIN, Page, 0xFFFFFFFF, 0, 1, INT32_MAX, INT32_MIN);
    WalkStroke(dab, -500, -500, -100, 900, Page, 0xFFFFFFFF, 0, 1, 255, 255);
    EXPECT_EQ(CountNot(0), 0u);
    const int32_t far[6] = {INT32_MAX, INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX, INT32_MAX};
    const int32_t sizes[3] = {0, 0, 0}, ops[3] = {255, 255, 255};
    EXPECT_EQ(PaintCurve(dab, far, 0xFFFFFFFF, 0, 1, sizes, ops), 0);
    EXPECT_EQ(CountNot(0), 0u);
}

TEST_F(Strokes, CurvesAreFlattenedAndPaintedEndToEnd) {
    Step = 0;
    CurrentStamp = nullptr;
    // From (1, 6) through (20, -2) to (38, 6), in 24.8: the arc tops out at row 2.
    const int32_t p[6] = {1 << 8, 6 << 8, 20 << 8, -2 << 8, 38 << 8, 6 << 8};
    const int32_t sizes[3] = {0, 0, 0}, ops[3] = {255, 255, 255};
    DirtyRect = DirtyBox();
    uint32_t version = PageVersion;
    EXPECT_EQ(PaintCurve(dab, p, 0xFFFFFFFF, 0, 1, sizes, ops), 0);
    EXPECT_NE(At(1, 6), 0u);
    EXPECT_NE(At(38, 6), 0u);
    EXPECT_EQ(At(20, 6), 0u); // the arc passes above
    EXPECT_GT(PageVersion, version);
    EXPECT_LE(DirtyRect.MinX, 1);
    EXPECT_GE(DirtyRect.MaxX, 38);
    // Every column between the ends holds paint: no gaps between the flat pieces.
    for (int x = 1; x <= 38; ++x) {
        bool any = false;
        for (int y = 0; y < 8; ++y) any |= At(x, y) != 0;
        EXPECT_TRUE(any) << x;
    }
}

TEST_F(Strokes, AbortStopsTheWalk) {
    AbortDrawing = 1;
    WalkStroke(dab, 0, 0, 10, 0, Page, 0xFFFFFFFF, 0, 1, 255, 255);
    AbortDrawing = 0;
    EXPECT_EQ(CountNot(0), 0u);
}

} // namespace
} // namespace nemu
