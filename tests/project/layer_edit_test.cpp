// Each editing operation, its undo, and the undo again that redoes it.
#include "project_fixture.h"

#include "paint/colour.h"
#include "project/blend.h"
#include "ui/catalog.h"

#include <cstring>

using namespace nemu;
using nemu::test::ProjectTest;

namespace {

constexpr uint32_t C0 = 0xFF000010, C1 = 0xFF000011, C2 = 0xFF000012, C3 = 0xFF000013, C4 = 0xFF000014;

struct EditTest : ProjectTest {
    // The colour at (0, 0) of each image of a layer, from its store.
    static std::vector<uint32_t> Images(int32_t index) {
        std::vector<uint32_t> colours;
        for (int32_t t = Layers[index].FirstImage; t <= Layers[index].LastImage; t++)
            colours.push_back(LayerPixel(index, t));
        return colours;
    }
    static std::vector<std::string> Names() {
        std::vector<std::string> names;
        for (int32_t i = 0; i < LayerCount; i++) names.push_back(Layers[i].Name);
        return names;
    }
    // The clip layer most tests start from, under a plain layer "top"; it is current.
    int32_t MakeFive() {
        std::strcpy(Layers[0].Name, "top");
        return AddClipLayer("anim", 10, {C0, C1, C2, C3, C4});
    }
    static std::string Label() { return UndoLabel; }
    static std::string Redo(const char* what) { return std::string(MsgGet(nullptr, 3221)) + " " + what; }
    static std::string Undone(const char* what) { return std::string(MsgGet(nullptr, 3220)) + " " + what; }
};

// A clip operation that fails from its n-th call on: memory running out mid-way.
int CopiesLeft = 0;
ClipOps RealOps;
int FailingCopy(Clip* clip, int index, Clip* target, int toIndex) {
    if (CopiesLeft-- <= 0) return 0;
    return RealOps.CopyImage(clip, index, target, toIndex);
}

int CopiesMade = 0;
int CountingCopy(Clip* clip, int index, Clip* target, int toIndex) {
    CopiesMade++;
    return RealOps.CopyImage(clip, index, target, toIndex);
}

} // namespace

// ---- Layers ----------------------------------------------------------------------------------------------

TEST_F(EditTest, NewLayerIsMadeAboveAtTheCurrentImageAndUndoneAndRedone) {
    Layers[0].LastImage = 9;
    ASSERT_EQ(SelectImage(4, 1), 1);
    ASSERT_EQ(NewLayerCommand(), 1);
    ASSERT_EQ(LayerCount, 2);
    EXPECT_EQ(CurrentLayer, 0);
    EXPECT_EQ(Layers[0].FirstImage, 4);
    EXPECT_EQ(Layers[0].LastImage, 4);
    EXPECT_EQ(Label(), Undone(MsgGet(nullptr, 8218)));
    uint32_t made = IdOf(0);
    Undo();
    EXPECT_EQ(LayerCount, 1);
    EXPECT_EQ(Label(), Redo(MsgGet(nullptr, 8218)));
    Undo();
    ASSERT_EQ(LayerCount, 2);
    EXPECT_EQ(IdOf(0), made);
    EXPECT_EQ(CurrentLayer, 0);
}

TEST_F(EditTest, DuplicateCopiesAPlainLayerAndItsSettings) {
    Paint(C3);
    Layers[0].Density = 77, Layers[0].Flags = 0x40, Layers[0].PelureBefore = -1, Layers[0].LastImage = 6;
    ASSERT_EQ(DuplicateLayer("copy"), 1);
    ASSERT_EQ(LayerCount, 2);
    EXPECT_EQ(CurrentLayer, 1);
    EXPECT_STREQ(Layers[1].Name, "copy");
    EXPECT_EQ(Layers[1].Density, 77);
    EXPECT_EQ(Layers[1].Flags, 0x40u);
    EXPECT_EQ(Layers[1].PelureBefore, -1);
    EXPECT_EQ(Layers[1].LastImage, 6);
    EXPECT_EQ(LayerPixel(1, 3), C3);
    char label[128];
    std::snprintf(label, sizeof label, MsgGet(nullptr, 8220), MsgGet(nullptr, 8100));
    EXPECT_EQ(Label(), Undone(label));
    Undo();
    EXPECT_EQ(LayerCount, 1);
    Undo();
    EXPECT_EQ(LayerCount, 2);
    EXPECT_EQ(LayerPixel(1, 0), C3);
}

TEST_F(EditTest, DuplicateOfAClipSharesEveryTile) {
    int32_t index = MakeFive();
    uint32_t tiles = TileUseCount;
    ASSERT_EQ(DuplicateLayer(nullptr), 1); // nobody to ask: an empty name
    EXPECT_EQ(TileUseCount, tiles);
    EXPECT_EQ(Images(index + 1), (std::vector<uint32_t>{C0, C1, C2, C3, C4}));
    EXPECT_NE(Layers[index + 1].Clip, Layers[index].Clip);
    EXPECT_STREQ(Layers[index + 1].Name, "");
}

TEST_F(EditTest, DeleteSelectsTheNextVisibleLayerAndUndoPutsItBack) {
    Paint(C0);
    AddLayer("b", 0, 0);
    Paint(C1);
    AddLayer("c", 0, 0);
    Paint(C2);
    Layers[2].Flags |= LayerHidden;
    ASSERT_NE(SelectLayerImage(1, 0, 1), nullptr);
    Layers[2].Flags |= LayerHidden;
    ASSERT_EQ(DeleteCurrentLayer(), 1);
    // Under it is only a hidden layer: the one above is chosen.
    EXPECT_EQ(Names(), (std::vector<std::string>{"", "c"}));
    EXPECT_EQ(CurrentLayer, 0);
    Undo();
    EXPECT_EQ(Names(), (std::vector<std::string>{"", "b", "c"}));
    EXPECT_EQ(CurrentLayer, 1);
    EXPECT_EQ(LayerPixel(1, 0), C1);
    Undo();
    EXPECT_EQ(Names(), (std::vector<std::string>{"", "c"}));
}

TEST_F(EditTest, DeletingTheOnlyShownLayerLeavesAnEmptyOne) {
    Paint(C4);
    std::strcpy(Layers[0].Name, "only");
    uint32_t id = IdOf(0);
    ASSERT_EQ(DeleteCurrentLayer(), 1);
    ASSERT_EQ(LayerCount, 1);
    EXPECT_STREQ(Layers[0].Name, MsgGet(nullptr, 8100));
    EXPECT_EQ(At(0, 0), 0u);
    EXPECT_EQ(UndoKind, 2);
    Undo();
    EXPECT_EQ(IdOf(0), id);
    EXPECT_EQ(At(0, 0), C4);
    Undo();
    EXPECT_EQ(At(0, 0), 0u);
    EXPECT_EQ(DeleteLayerById(IdOf(0)), 0); // one layer: the id path refuses
}

TEST_F(EditTest, DeleteByIdOfAnotherLayerKeepsTheCurrentOneAndItsImage) {
    Layers[0].LastImage = 9;
    std::strcpy(Layers[0].Name, "keep");
    ASSERT_EQ(SelectImage(7, 1), 1);
    ASSERT_NE(CreateLayer("short", 0, 0, 0, 1), nullptr);
    uint32_t gone = IdOf(1);
    ASSERT_EQ(DeleteLayerById(gone), 1);
    EXPECT_EQ(Names(), (std::vector<std::string>{"keep"}));
    EXPECT_EQ(CurrentImage, 7);
    EXPECT_EQ(DeleteLayerById(gone), 0);
}

TEST_F(EditTest, MoveAndItsUndo) {
    std::strcpy(Layers[0].Name, "a");
    AddLayer("b", 0, 0);
    AddLayer("c", 0, 0);
    ASSERT_NE(SelectLayerImage(0, 0, 1), nullptr);
    MoveLayerCommand(3); // before index 3: to the bottom
    EXPECT_EQ(Names(), (std::vector<std::string>{"b", "c", "a"}));
    EXPECT_EQ(CurrentLayer, 2);
    Undo();
    EXPECT_EQ(Names(), (std::vector<std::string>{"a", "b", "c"}));
    EXPECT_EQ(CurrentLayer, 0);
    Undo();
    EXPECT_EQ(Names(), (std::vector<std::string>{"b", "c", "a"}));
    // Moves that are no moves, and a layer that is not current, change nothing.
    MoveLayer(2, 2, 1);
    MoveLayer(2, 3, 1);
    MoveLayer(0, 2, 1);
    MoveLayer(2, -50, 1);
    EXPECT_EQ(Names(), (std::vector<std::string>{"a", "b", "c"}));
}

TEST_F(EditTest, RenameAndItsUndo) {
    EXPECT_EQ(RenameLayer(0, "first"), 1);
    EXPECT_EQ(RenameLayer(0, "first"), 0);
    EXPECT_EQ(RenameLayerById(9999, "x"), 0);
    ASSERT_EQ(RenameLayer(0, "second"), 1);
    Undo();
    EXPECT_STREQ(Layers[0].Name, "first");
    Undo();
    EXPECT_STREQ(Layers[0].Name, "second");
    std::string huge(300, 'n');
    ASSERT_EQ(RenameLayer(0, huge.c_str()), 1);
    EXPECT_EQ(std::strlen(Layers[0].Name), 127u);
}

TEST_F(EditTest, MakeAnimSharesOnePictureAndUndoGivesThePlainLayerBack) {
    Paint(C2);
    Layers[0].LastImage = 3;
    uint32_t tiles = TileUseCount;
    ASSERT_EQ(MakeAnim(0, 1), 1);
    ASSERT_NE(Layers[0].Clip, nullptr);
    EXPECT_EQ(Layers[0].Clip->ImageCount, 4);
    EXPECT_EQ(Layers[0].PackedData, nullptr);
    EXPECT_EQ(TileUseCount, tiles + 1); // one tile for an 8 by 4 picture, shared four ways
    EXPECT_EQ(Images(0), (std::vector<uint32_t>{C2, C2, C2, C2}));
    EXPECT_EQ(MakeAnim(0, 1), 1); // already a clip
    Undo();
    EXPECT_EQ(Layers[0].Clip, nullptr);
    EXPECT_EQ(Images(0), (std::vector<uint32_t>{C2, C2, C2, C2}));
    Undo();
    EXPECT_NE(Layers[0].Clip, nullptr);
    EXPECT_EQ(MakeAnim(5, 1), 0);
}

TEST_F(EditTest, AMadeAnimationFailingMidwayLeavesThePlainLayer) {
    Paint(C2);
    Layers[0].LastImage = 40;
    // Without a clip no animation can start: message 8161, nothing changes.
    int32_t w = PageWidth;
    PageWidth = 0;
    testing::internal::CaptureStderr();
    EXPECT_EQ(MakeAnim(0, 1), 0);
    testing::internal::GetCapturedStderr();
    PageWidth = w;
    EXPECT_EQ(Layers[0].Clip, nullptr);
    EXPECT_EQ(LayerPixel(0, 20), C2);
}

// ---- Images: cut, copy, paste
// ------------------------------------------------------------------------------

TEST_F(EditTest, CutImagesOfAClipAndUndoThem) {
    int32_t index = MakeFive();
    SelectImages(11, 2);
    EXPECT_EQ(CurrentImage, 11);
    uint32_t tiles = TileUseCount;
    ASSERT_EQ(LayerCut(), 1);
    EXPECT_EQ(TileUseCount, tiles); // cutting moves tiles, it copies none
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C3, C4}));
    EXPECT_EQ(Layers[index].LastImage, 12);
    EXPECT_EQ(SelectionLength, 0);
    ASSERT_NE(LayerClipboard, nullptr);
    ASSERT_NE(LayerClipboard->Clip, nullptr);
    EXPECT_EQ(LayerClipboard->Clip->ImageCount, 2);
    Undo();
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4}));
    Undo();
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C3, C4}));
}

TEST_F(EditTest, CuttingEveryImageDeletesTheLayerAndOneUndoBringsItBack) {
    int32_t index = MakeFive();
    uint32_t id = IdOf(index);
    SelectAllImages();
    ASSERT_EQ(LayerCut(), 1);
    EXPECT_EQ(LayerCount, 1);
    ASSERT_NE(LayerClipboard, nullptr);
    EXPECT_EQ(LayerClipboard->Clip->ImageCount, 5);
    Undo();
    ASSERT_EQ(LayerCount, 2);
    EXPECT_EQ(IdOf(index), id);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4}));
}

TEST_F(EditTest, CutFromAPlainLayerShortensTheHold) {
    Paint(C1);
    Layers[0].LastImage = 9;
    SelectImages(2, 3);
    ASSERT_EQ(LayerCut(), 1);
    EXPECT_EQ(Layers[0].LastImage, 6);
    EXPECT_EQ(LayerPixel(0, 6), C1);
    ASSERT_NE(LayerClipboard, nullptr);
    EXPECT_EQ(LayerClipboard->Clip, nullptr);
    EXPECT_EQ(LayerClipboard->FirstImage, 2);
    EXPECT_EQ(LayerClipboard->LastImage, 4);
    Undo();
    EXPECT_EQ(Layers[0].LastImage, 9);
    // All of a hold: one empty image is left.
    SelectAllImages();
    ASSERT_EQ(LayerCut(), 1);
    EXPECT_EQ(Layers[0].FirstImage, 0);
    EXPECT_EQ(Layers[0].LastImage, 0);
    EXPECT_EQ(LayerPixel(0, 0), 0u);
    Undo();
    EXPECT_EQ(Layers[0].LastImage, 9);
    EXPECT_EQ(LayerPixel(0, 9), C1);
}

TEST_F(EditTest, CopyThenPasteBehindTheCurrentImageOrOverTheSelection) {
    int32_t index = MakeFive();
    EXPECT_EQ(LayerCopy(), 0); // no selection
    SelectImages(10, 2);
    ASSERT_EQ(LayerCopy(), 1);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4}));
    SelectImages(0, 0); // no selection: the paste goes behind the current image
    ASSERT_EQ(SelectImage(14, 1), 1);
    ASSERT_EQ(LayerPaste(0), 1);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4, C0, C1}));
    Undo();
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4}));
    Undo();
    EXPECT_EQ(Images(index).size(), 7u);
    Undo();
    SelectImages(12, 3); // replaced by the two copied images
    ASSERT_EQ(LayerPaste(0), 1);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C0, C1}));
    Undo();
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4}));
    // Replace without a selection takes the current image's place.
    ASSERT_EQ(SelectImage(10, 1), 1);
    ASSERT_EQ(LayerPaste(1), 1);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C1, C2, C3, C4}));
}

TEST_F(EditTest, PasteIntoAPlainLayerIsAChangeOfThePage) {
    int32_t index = MakeFive();
    SelectImages(13, 1);
    ASSERT_EQ(LayerCopy(), 1);
    ASSERT_NE(SelectLayerImage(0, 0, 1), nullptr);
    Paint(C0);
    ASSERT_EQ(FlushPage(), 1);
    ASSERT_EQ(LayerPaste(0), 1);
    EXPECT_EQ(At(0, 0), C3);
    EXPECT_EQ(UndoIsLayerStep, 0u);
    Undo();
    EXPECT_EQ(At(0, 0), C0);
    EXPECT_EQ(Images(index).size(), 5u);
}

TEST_F(EditTest, PasteOfAHeldPictureIntoAClipRepeatsIt) {
    Paint(C4);
    Layers[0].LastImage = 5;
    SelectImages(1, 3);
    ASSERT_EQ(LayerCopy(), 1);
    int32_t index = AddClipLayer("anim", 0, {C0, C1});
    ASSERT_EQ(SelectImage(0, 1), 1);
    ASSERT_EQ(LayerPaste(0), 1);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C4, C4, C4, C1}));
    EXPECT_EQ(At(0, 0), C0); // the page, used as scratch, is the current image again
}

TEST_F(EditTest, APasteThatRunsOutOfMemoryChangesNothing) {
    int32_t index = MakeFive();
    SelectImages(10, 5);
    ASSERT_EQ(LayerCopy(), 1);
    SelectionLength = 0;
    Clip* board = LayerClipboard->Clip;
    RealOps = board->Ops;
    // The paste shares the clipboard's five images: it fails until all five can be had.
    for (int n = 0; n < 5; n++) {
        CopiesLeft = n;
        board->Ops.CopyImage = FailingCopy;
        testing::internal::CaptureStderr();
        EXPECT_EQ(LayerPaste(0), 0) << n;
        testing::internal::GetCapturedStderr();
        board->Ops = RealOps;
        EXPECT_EQ(Layers[index].Clip->ImageCount, 5) << n;
        EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4})) << n;
    }
    // A paste over a selection also keeps the images it replaces, copying them first.
    Clip* clip = Layers[index].Clip;
    RealOps = clip->Ops;
    for (int n = 0; n < 2; n++) {
        SelectImages(11, 2);
        CopiesLeft = n;
        clip->Ops.CopyImage = FailingCopy;
        testing::internal::CaptureStderr();
        EXPECT_EQ(LayerPaste(0), 0) << n;
        testing::internal::GetCapturedStderr();
        clip->Ops = RealOps;
        EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4})) << n;
    }
    SelectImages(11, 2);
    ASSERT_EQ(LayerPaste(0), 1);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C0, C1, C2, C3, C4, C3, C4}));
}

TEST_F(EditTest, ACutThatRunsOutOfMemoryChangesNothing) {
    int32_t index = MakeFive();
    Clip* clip = Layers[index].Clip;
    RealOps = clip->Ops;
    for (int n = 0; n < 6; n++) {
        SelectImages(11, 3);
        CopiesLeft = n;
        clip->Ops.CopyImage = FailingCopy;
        testing::internal::CaptureStderr();
        EXPECT_EQ(LayerCut(), 0) << n;
        testing::internal::GetCapturedStderr();
        clip->Ops = RealOps;
        EXPECT_EQ(Layers[index].Clip, clip);
        EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4})) << n;
    }
}

// ---- Images: insert, clear, reverse
// -------------------------------------------------------------------------

TEST_F(EditTest, InsertedImagesCopyTheCurrentOneAndTheCurrentImageMovesOn) {
    int32_t index = MakeFive();
    ASSERT_EQ(SelectImage(11, 1), 1);
    ASSERT_EQ(InsertImages(index, 2), 1);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C1, C1, C2, C3, C4}));
    EXPECT_EQ(CurrentImage, 12);
    Undo();
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4}));
    Undo();
    EXPECT_EQ(Images(index).size(), 7u);
    EXPECT_EQ(InsertImages(index, 0), 0);
    EXPECT_EQ(InsertImages(index, -5), 0);
    EXPECT_EQ(InsertImages(99, 1), 0);
}

// An edit in the middle of a long layer, and its undo, touch the images that come or go
// and no others: the records of all the others stay, and only what goes out is copied.
TEST_F(EditTest, EditsOfALongLayerCopyOnlyTheImagesTheyTouch) {
    std::vector<uint32_t> colours(200);
    for (size_t i = 0; i < colours.size(); i++) colours[i] = 0xFF000000u | uint32_t(i);
    int32_t index = AddClipLayer("long", 0, colours);
    Clip* clip = Layers[index].Clip;
    auto records = [clip] {
        std::vector<ClipImage*> all;
        for (ClipImage* image = clip->Images; image; image = image->Next) all.push_back(image);
        return all;
    };
    const std::vector<ClipImage*> before = records();
    RealOps = clip->Ops;
    clip->Ops.CopyImage = CountingCopy;
    CopiesMade = 0;
    ASSERT_EQ(SelectImage(100, 1), 1);
    ASSERT_EQ(InsertImages(index, 1), 1);
    ASSERT_EQ(Layers[index].Clip, clip) << "the edit is made in the layer's own clip";
    Undo();
    EXPECT_EQ(records(), before);
    SelectImages(100, 2);
    ASSERT_EQ(ClearImages(0), 1);
    Undo();
    SelectImages(100, 1);
    ASSERT_EQ(LayerCut(), 1);
    Undo();
    ASSERT_EQ(Layers[index].Clip, clip);
    // One image in and out, two cleared and back, one cut (and kept on the clipboard).
    EXPECT_LE(CopiesMade, 8);
    std::vector<ClipImage*> after = records();
    ASSERT_EQ(after.size(), before.size());
    for (size_t i = 0; i < after.size(); i++)
        if (i != 100 && i != 101) EXPECT_EQ(after[i], before[i]) << i;
    clip->Ops = RealOps;
    EXPECT_EQ(Images(index), colours);
}

TEST_F(EditTest, InsertImageMakesEmptyImages) {
    int32_t index = MakeFive();
    ASSERT_EQ(SelectImage(14, 1), 1);
    ASSERT_EQ(InsertEmptyImages(2), 1);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4, 0, 0}));
    EXPECT_EQ(CurrentImage, 15);
    EXPECT_EQ(At(0, 0), 0u);
}

TEST_F(EditTest, InsertingIntoAPlainLayerMakesTheHoldLonger) {
    Paint(C2);
    ASSERT_EQ(InsertImages(0, 3), 1);
    EXPECT_EQ(Layers[0].LastImage, 3);
    EXPECT_EQ(CurrentImage, 1);
    Undo();
    EXPECT_EQ(Layers[0].LastImage, 0);
    // A huge count stops at the last position of the time line.
    ASSERT_EQ(InsertImages(0, 2000000000), 1);
    EXPECT_EQ(Layers[0].LastImage, MaxInsertCount);
    EXPECT_EQ(InsertImages(0, 5), 0);
}

TEST_F(EditTest, InsertingRunsOutOfMemoryAndNothingChanges) {
    int32_t index = MakeFive();
    Clip* clip = Layers[index].Clip;
    RealOps = clip->Ops;
    CopiesLeft = 2;
    clip->Ops.CopyImage = FailingCopy;
    testing::internal::CaptureStderr();
    EXPECT_EQ(InsertImages(index, 5), 0);
    testing::internal::GetCapturedStderr();
    clip->Ops = RealOps;
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4}));
}

TEST_F(EditTest, ClearOfSelectedImagesAndItsUndo) {
    int32_t index = MakeFive();
    SelectImages(11, 3);
    ASSERT_EQ(ClearImages(0), 1);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, 0, 0, 0, C4}));
    Undo();
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4}));
    Undo();
    BPen = 0xFF0A0B0C;
    SelectImages(10, 1);
    ASSERT_EQ(ClearImages(1), 1);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{0xFF0A0B0C, 0, 0, 0, C4}));
}

TEST_F(EditTest, ClearOfOnePictureIsUndoneByThePage) {
    Paint(C3);
    ASSERT_EQ(FlushPage(), 1);
    ASSERT_EQ(ClearImages(0), 1);
    EXPECT_EQ(At(5, 2), 0u);
    EXPECT_EQ(UndoIsLayerStep, 0u);
    EXPECT_EQ(Label(), Undone(MsgGet(nullptr, 8202)));
    Undo();
    EXPECT_EQ(At(5, 2), C3);
    Undo();
    EXPECT_EQ(At(5, 2), 0u);
}

TEST_F(EditTest, ReversingThreeImagesSwapsTheFirstAndLastOnly) {
    int32_t index = MakeFive();
    EXPECT_EQ(ReverseSelection(IdOf(index), 11, 1), 0);
    EXPECT_EQ(ReverseSelection(IdOf(0), 0, 1), 0); // a plain layer
    ASSERT_EQ(ReverseSelection(IdOf(index), 11, 3), 1);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C3, C2, C1, C4}));
    Undo();
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4}));
    Undo();
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C3, C2, C1, C4}));
    // A negative length counts backwards, and the range is cut to the layer.
    ASSERT_EQ(ReverseSelection(IdOf(index), 14, -100), 1);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C4, C1, C2, C3, C0}));
}

// ---- Range and time
// --------------------------------------------------------------------------------------------

TEST_F(EditTest, StretchingAClipAtItsEndsAndItsUndo) {
    int32_t index = MakeFive();
    uint32_t id = IdOf(index);
    ASSERT_EQ(StretchLayer(id, 1, 2, 0), 1);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4, C4, C4}));
    Undo();
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4}));
    ASSERT_EQ(StretchLayer(id, 0, 2, 0), 1);
    EXPECT_EQ(Layers[index].FirstImage, 12);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C2, C3, C4}));
    Undo();
    EXPECT_EQ(Layers[index].FirstImage, 10);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4}));
    Undo();
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C2, C3, C4}));
    Undo();
    ASSERT_EQ(StretchLayer(id, 0, -3, 0), 1);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C0, C0, C0, C1, C2, C3, C4}));
    Undo();
    EXPECT_EQ(Layers[index].FirstImage, 10);
    EXPECT_EQ(Images(index).size(), 5u);
    // The start never passes the end, nor goes below 0.
    ASSERT_EQ(StretchLayer(id, 0, 100, 0), 1);
    EXPECT_EQ(Layers[index].FirstImage, 14);
    ASSERT_EQ(StretchLayer(id, 0, -1000, 0), 1);
    EXPECT_EQ(Layers[index].FirstImage, 0);
    EXPECT_EQ(StretchLayer(9999, 1, 1, 0), 0);
}

TEST_F(EditTest, AResampledClipTakesTheNearestImagesAndUndoGivesTheOldClip) {
    int32_t index = MakeFive();
    ASSERT_EQ(SetLayerRange(index, 10, 19, 1), 1);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C0, C1, C1, C2, C2, C3, C3, C4, C4}));
    Undo();
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4}));
    Undo();
    EXPECT_EQ(Images(index).size(), 10u);
}

TEST_F(EditTest, APlainRangeAndAShiftInTime) {
    Paint(C1);
    ASSERT_EQ(StretchLayer(IdOf(0), 1, 4, 0), 1);
    EXPECT_EQ(Layers[0].LastImage, 4);
    Undo();
    EXPECT_EQ(Layers[0].LastImage, 0);
    Undo();
    ASSERT_EQ(ShiftLayer(IdOf(0), 20), 1);
    EXPECT_EQ(Layers[0].FirstImage, 20);
    EXPECT_EQ(Layers[0].LastImage, 24);
    EXPECT_EQ(CurrentImage, 20);
    Undo();
    EXPECT_EQ(Layers[0].FirstImage, 0);
    EXPECT_EQ(Layers[0].LastImage, 4);
    EXPECT_EQ(ShiftLayer(IdOf(0), -1), 0);
    ASSERT_EQ(ShiftLayer(IdOf(0), 2000000000), 1);
    EXPECT_EQ(Layers[0].LastImage, MaxImagePosition);
    EXPECT_EQ(LayerPixel(0, MaxImagePosition), C1);
}

// ---- Merging
// ------------------------------------------------------------------------------------------------

TEST_F(EditTest, MergingTwoPicturesOfOneRangeChangesThePage) {
    Paint(0x80800000);
    AddLayer("under", 0, 0);
    Paint(0xFF0000FF);
    ASSERT_EQ(MergeLayerInto(CurrentLayer), 0);
    ASSERT_EQ(MergeLayerInto(0), 1);
    EXPECT_EQ(At(0, 0), 0xFF80007Fu);
    Undo();
    EXPECT_EQ(At(0, 0), 0xFF0000FFu);
    DrawMode = 14; // behind: the other layer goes under
    ASSERT_EQ(MergeLayerInto(0), 1);
    EXPECT_EQ(At(0, 0), 0xFF0000FFu);
}

TEST_F(EditTest, MergingAClipMakesANewLayerAndUndoGivesTheOldOne) {
    Paint(0x80800000);
    Layers[0].FirstImage = 9, Layers[0].LastImage = 12;
    int32_t index = MakeFive();
    uint32_t old = IdOf(index);
    ASSERT_EQ(MergeLayerById(IdOf(0)), 1);
    EXPECT_NE(IdOf(index), old);
    EXPECT_EQ(Layers[index].FirstImage, 9);
    EXPECT_EQ(Layers[index].LastImage, 14);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{0x80800000, AddLayerPixel(C0, 0x80800000, 255),
                                                    AddLayerPixel(C1, 0x80800000, 255),
                                                    AddLayerPixel(C2, 0x80800000, 255), C3, C4}));
    EXPECT_EQ(LayerCount, 2); // the other layer stays
    Undo();
    EXPECT_EQ(IdOf(index), old);
    EXPECT_EQ(Images(index), (std::vector<uint32_t>{C0, C1, C2, C3, C4}));
}

TEST_F(EditTest, MergeDisplayWithOneLayerDoesNothingAndAsksNothing) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(MergeDisplay(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    AddLayer("b", 0, 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(MergeDisplay(), 0); // asked; nobody said yes
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(LayerCount, 2);
}

TEST_F(EditTest, MergeDisplayFlattensTheVisibleLayersAndKeepsHiddenOnes) {
    Paint(0x80800000);
    std::strcpy(Layers[0].Name, "top");
    AddLayer("hidden", 0, 0);
    Paint(C3);
    int32_t index = AddClipLayer("anim", 0, {0xFF0000FF, 0xFF00FF00});
    Layers[1].Flags |= LayerHidden;
    ASSERT_EQ(MergeDisplayNow(), 1);
    EXPECT_EQ(Names(), (std::vector<std::string>{"hidden", MsgGet(nullptr, 8101)}));
    (void)index;
    EXPECT_EQ(CurrentLayer, 1);
    // The top layer is there at image 0 only.
    EXPECT_EQ(Images(1), (std::vector<uint32_t>{0xFF80007F, 0xFF00FF00}));
    EXPECT_EQ(UndoKind, NoLayerUndo);
}

// ---- The undo command
// ---------------------------------------------------------------------------------------

TEST_F(EditTest, AStrokeAfterALayerStepIsWhatUndoTakesBack) {
    ASSERT_EQ(RenameLayer(0, "named"), 1);
    EXPECT_EQ(UndoIsLayerStep, 1u);
    PaintPixel(1, 1, C2);
    MarkPageChanged(); // the press of a stroke ends the layer step
    Undo();
    EXPECT_EQ(At(1, 1), 0u);
    EXPECT_STREQ(Layers[0].Name, "named");
}

TEST_F(EditTest, AStepWhoseLayerIsGoneDoesNothing) {
    ASSERT_NE(CreateLayer("other", 0, 0, 0, 1), nullptr);
    ASSERT_EQ(RenameLayer(1, "renamed"), 1);
    Layer gone;
    ASSERT_EQ(LiftRecord(1, &gone), 1);
    FreeLayerData(&gone);
    EXPECT_EQ(LayerUndo(), 0);
    EXPECT_EQ(LayerCount, 1);
}
