// The page's undo: strokes taken back and redone byte for byte, the label, the commits,
// the routing to the layer undo, the spare page, and a change of page size mid-stroke.
#include "paint/tool_fixture.h"
#include "ui/catalog.h"

#include <cstring>
#include <vector>

using namespace nemu;
using namespace nemu::test;

namespace {
std::vector<uint32_t> Pixels(const Bitmap* b) {
    return std::vector<uint32_t>(b->Pixels, b->Pixels + size_t(b->Width) * b->Height);
}

// A freehand stroke through the main loop.
void Stroke(int x0, int y0, int x1, int y1) {
    ToolHost::Press(x0, y0);
    ToolHost::Move((x0 + x1) / 2, (y0 + y1) / 2);
    ToolHost::Move(x1, y1);
    ToolHost::Release(x1, y1);
}

// The page with the texts of the program's catalog, for the label.
struct LabelledHost : ToolHost {
    LabelledHost() {
        ProgramDir = NEMU_SOURCE_DIR "/data";
        EXPECT_EQ(CatalogLoadGlobal(), 1);
    }
    ~LabelledHost() { CatalogFreeAll(); }
};
} // namespace

TEST(Undo, UndoRestoresThePageByteForByteAndASecondRedoes) {
    LabelledHost host;
    SetPenSize(2);
    Stroke(3, 3, 20, 9);
    const std::vector<uint32_t> before = Pixels(Page);
    Stroke(5, 20, 30, 4);
    const std::vector<uint32_t> after = Pixels(Page);
    ASSERT_NE(after, before);
    EXPECT_STREQ(UndoLabel, "Undo");
    Undo();
    EXPECT_EQ(Pixels(Page), before);
    EXPECT_EQ(ToolHost::Traces(), 0); // the screen shows it too
    EXPECT_STREQ(UndoLabel, "Redo");
    Undo();
    EXPECT_EQ(Pixels(Page), after);
    EXPECT_STREQ(UndoLabel, "Undo");
    EXPECT_EQ(ToolHost::Traces(), 0);
}

TEST(Undo, ANewStrokeAfterAnUndoKeepsTheUndoneState) {
    LabelledHost host;
    Stroke(2, 2, 30, 2);
    Undo();
    const std::vector<uint32_t> undone = Pixels(Page);
    Stroke(2, 10, 30, 10);
    Undo();
    EXPECT_EQ(Pixels(Page), undone); // the first stroke is gone for good
    Undo();
    EXPECT_EQ(ToolHost::At(15, 10), Red);
    EXPECT_EQ(ToolHost::At(15, 2), White);
}

TEST(Undo, UndoWithNothingToUndoChangesNothing) {
    LabelledHost host;
    const std::vector<uint32_t> page = Pixels(Page);
    EXPECT_EQ(PageUndoPending(), 0);
    Undo();
    Undo();
    EXPECT_EQ(Pixels(Page), page);
    Stroke(4, 4, 9, 9);
    ToolHost::Press(20, 20); // commits the stroke: nothing left to take back
    ToolHost::Release(20, 20);
    ToolHost::Press(25, 25);
    BeginStrokeCommit();
    EXPECT_EQ(PageUndoPending(), 0);
    const std::vector<uint32_t> committed = Pixels(Page);
    Undo();
    EXPECT_EQ(Pixels(Page), committed);
    ToolHost::Release(25, 25);
}

TEST(Undo, StrokesAtAndBeyondTheEdgesStayInsideThePage) {
    LabelledHost host;
    SetPenSize(4);
    Stroke(-3, -3, 42, 1);    // the grown box runs off two sides
    Stroke(39, 29, 39, 29);   // the last pixel
    Stroke(-50, 10, -30, 40); // wholly outside: nothing painted, the box still counts
    const std::vector<uint32_t> page = Pixels(Page);
    Undo();
    Undo();
    EXPECT_EQ(Pixels(Page), page);
    // A box near the ends of the number range is clamped, not overflowed.
    AddDirty(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX);
    BeginStrokeCommit();
    AddDirty(INT32_MAX - 1, 5, INT32_MAX, 6);
    Undo();
    EXPECT_EQ(Pixels(Page), page);
}

TEST(Undo, TheUndoCommandNeedsABackPage) {
    LabelledHost host;
    Stroke(2, 2, 20, 2);
    FreeBitmap(BackPage);
    BackPage = nullptr; // no memory for undo: commits only count
    const std::vector<uint32_t> page = Pixels(Page);
    UndoCommand();
    EXPECT_EQ(Pixels(Page), page);
    EXPECT_STREQ(UndoLabel, "Undo");
    Undo(); // the script command still toggles, with nothing to exchange
    EXPECT_EQ(Pixels(Page), page);
    Stroke(2, 5, 20, 5);
    EXPECT_EQ(ToolHost::At(10, 5), Red);
}

TEST(Undo, LabelsCarryATextAndAreNotRewrittenWhenEqual) {
    LabelledHost host;
    static int shown = 0;
    UndoLabelHook = [](const char*) { shown++; };
    const uint32_t version = PageVersion;
    SetUndoLabel(0, "Fill");
    EXPECT_STREQ(UndoLabel, "Undo Fill");
    EXPECT_EQ(shown, 1);
    SetUndoLabel(0, "Fill");
    EXPECT_EQ(shown, 1);
    EXPECT_GT(PageVersion, version + 1); // every call raises the version all the same
    ToggleUndoLabel();
    EXPECT_STREQ(UndoLabel, "Redo Fill");
    MarkPageChanged();
    EXPECT_STREQ(UndoLabel, "Undo");
    std::strcpy(UndoLabel, "Something else");
    ToggleUndoLabel();
    EXPECT_STREQ(UndoLabel, "Something else");
    UndoLabelHook = nullptr;
}

TEST(Undo, ALayerStepGoesToTheLayerUndoAndAStrokeEndsIt) {
    LabelledHost host;
    static int layerUndos = 0;
    LayerUndoHook = []() { return ++layerUndos; };
    Stroke(2, 2, 20, 2);
    const std::vector<uint32_t> page = Pixels(Page);
    SetUndoLabel(1, "Delete layer");
    Undo();
    EXPECT_EQ(layerUndos, 1);
    EXPECT_EQ(Pixels(Page), page); // the page's stroke is not what this undo meant
    EXPECT_STREQ(UndoLabel, "Redo Delete layer");
    Stroke(2, 8, 20, 8); // a stroke's press makes the command mean the page again
    EXPECT_EQ(UndoIsLayerStep, 0u);
    Undo();
    EXPECT_EQ(layerUndos, 1);
    EXPECT_EQ(ToolHost::At(10, 8), White);
    LayerUndoHook = nullptr;
}

TEST(Undo, SnapshotAndWholePageCommits) {
    LabelledHost host;
    Stroke(2, 2, 20, 2);
    SnapshotBackPage();
    EXPECT_EQ(Pixels(BackPage), Pixels(Page));
    ClearBitmap(Page, Blue); // what a whole-page operation does
    CommitWholePage();
    Undo();
    EXPECT_EQ(ToolHost::At(0, 0), Blue); // final: it cannot be undone
    EXPECT_EQ(Pixels(BackPage), Pixels(Page));
}

// ---- Spare page -------------------------------------------------------------------------------------

TEST(Spare, SwapTwiceGivesBackPageAndSpare) {
    LabelledHost host;
    Stroke(2, 2, 20, 2);
    const std::vector<uint32_t> page = Pixels(Page);
    ASSERT_EQ(SwapSpare(), 0); // no spare yet: a cleared one, and the picture moves there
    EXPECT_EQ(Pixels(SparePage), page);
    EXPECT_EQ(ToolHost::At(10, 2), 0u);
    EXPECT_EQ(ToolHost::Traces(), 0);
    Undo(); // the swap ended the undo step
    EXPECT_EQ(ToolHost::At(10, 2), 0u);
    ASSERT_EQ(SwapSpare(), 0);
    EXPECT_EQ(Pixels(Page), page);
    EXPECT_EQ(SparePage->Pixels[0], 0u);
}

TEST(Spare, CopyAsksBeforeReplacingAndKillGivesUpTheModesThatNeedIt) {
    LabelledHost host;
    EXPECT_EQ(SetDrawMode(2), -1); // merge needs a spare
    EXPECT_EQ(CopyToSpare(1), 1);  // no spare: no question
    EXPECT_EQ(Pixels(SparePage), Pixels(Page));
    Stroke(2, 2, 20, 2);
    EXPECT_EQ(CopyToSpare(1), 0); // the headless answer to the question is no
    EXPECT_EQ(SparePage->Pixels[2 * 40 + 10], White);
    EXPECT_EQ(CopyToSpare(0), 1); // the script form does not ask
    EXPECT_EQ(SparePage->Pixels[2 * 40 + 10], Red);
    ASSERT_EQ(SetDrawMode(2), 0);
    KillSpare();
    EXPECT_EQ(SparePage, nullptr);
    EXPECT_EQ(DrawMode, 0);
    KillSpare(); // with no spare: nothing
}

TEST(Spare, KillResetsAnyModeButALostSpareOnlyTheModesThatReadIt) {
    LabelledHost host;
    ASSERT_EQ(SetDrawMode(8), 0);
    ASSERT_EQ(CopyToSpare(0), 1);
    ASSERT_EQ(ResizePageBuffers(24, 18), 1); // the spare cannot follow a new size
    EXPECT_EQ(SparePage, nullptr);
    EXPECT_EQ(DrawMode, 8);
    ASSERT_EQ(CopyToSpare(0), 1);
    KillSpare();
    EXPECT_EQ(SparePage, nullptr);
    EXPECT_EQ(DrawMode, 0);
}

TEST(Spare, ASpareOfAnotherSizeIsNotUsed) {
    LabelledHost host;
    SparePage = NewClearBitmap(7, 3);
    ASSERT_EQ(SwapSpare(), 0);
    EXPECT_EQ(SparePage->Width, 40);
    EXPECT_EQ(SparePage->Height, 30);
}

// ---- Page size -----------------------------------------------------------------------------------------

TEST(Undo, APageSizeChangeMidStrokeLeavesEverythingConsistent) {
    LabelledHost host;
    EXPECT_EQ(ConfirmPageSizeChange(), 1); // nothing to lose
    ASSERT_EQ(CopyToSpare(0), 1);
    EXPECT_EQ(ConfirmPageSizeChange(), 0); // the spare would be lost: the headless answer is no
    SetPenSize(3);
    ToolHost::Press(5, 5);
    ToolHost::Move(10, 8);
    ToolHost::Move(20, 12);
    ASSERT_EQ(ResizePageBuffers(24, 18), 1); // what a change of page size does to the page
    ClearBitmap(Page, White);
    CopyBitmap(Page, BackPage);
    EXPECT_EQ(SparePage, nullptr);
    EXPECT_EQ(ToolState.ToolPhase, 0);
    ToolHost::Move(30, 14); // the stroke's button is still down: nothing more is painted
    ToolHost::Release(30, 14);
    EXPECT_EQ(ToolHost::Painted(), 0);
    Undo();
    EXPECT_EQ(ToolHost::Painted(), 0);
    Stroke(2, 2, 23, 17); // and the next stroke works on the new page
    EXPECT_EQ(ToolHost::At(23, 17), Red);
    Undo();
    EXPECT_EQ(ToolHost::Painted(), 0);
}
