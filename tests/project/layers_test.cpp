// The stack and its images: making, finding and removing layers, the flush, and the two
// selections that move the page between images.
#include "project_fixture.h"

#include "ui/catalog.h"

#include <cstring>

using namespace nemu;
using nemu::test::ProjectTest;

TEST_F(ProjectTest, TheFirstLayerIsEmptyUnnamedAndCurrent) {
    EXPECT_EQ(LayerCount, 1);
    EXPECT_EQ(LayerCapacity, 8);
    EXPECT_EQ(CurrentLayer, 0);
    EXPECT_EQ(Layers[0].PackedSize, 0);
    EXPECT_EQ(Layers[0].PackedData, nullptr);
    EXPECT_EQ(Layers[0].Density, 255);
    EXPECT_EQ(Layers[0].Width, 8);
    ASSERT_NE(Layers[0].Thumbnail, nullptr);
    char name[128];
    ASSERT_EQ(LayerName(0, name), 1);
    EXPECT_STREQ(name, MsgGet(nullptr, 8100));
    EXPECT_EQ(LayerName(1, name), 0);
    EXPECT_EQ(LayerName(-1, name), 0);
    EXPECT_EQ(GetLayer(1), nullptr);
    EXPECT_EQ(FindLayerById(999), nullptr);
}

TEST_F(ProjectTest, ANewLayerReadsAsZeroWithoutPackedData) {
    Paint(0xFF102030);
    Layer* made = CreateLayer("B", 0, 1, 0, 1);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(CurrentLayer, 1);
    EXPECT_EQ(made->PackedData, nullptr);
    EXPECT_EQ(At(3, 2), 0u);
    // The page went into the layer it belonged to.
    EXPECT_EQ(LayerPixel(0, 0, 3, 2), 0xFF102030u);
    EXPECT_NE(Layers[0].PackedData, nullptr);
}

TEST_F(ProjectTest, BeforeGoesAboveAndTheCurrentLayerKeepsItsRecord) {
    uint32_t first = IdOf(0);
    ASSERT_NE(CreateLayer("above", 1, 0, 0, 1), nullptr);
    EXPECT_EQ(LayerCount, 2);
    EXPECT_EQ(CurrentLayer, 1);
    EXPECT_EQ(IdOf(1), first);
    EXPECT_STREQ(Layers[0].Name, "above");
    ASSERT_NE(CreateLayer("under", 0, 0, 0, 1), nullptr);
    EXPECT_STREQ(Layers[2].Name, "under");
    EXPECT_EQ(CurrentLayer, 1);
}

TEST_F(ProjectTest, IdsAreNeverReused) {
    std::vector<uint32_t> seen = {IdOf(0)};
    for (int i = 0; i < 5; i++) {
        ASSERT_NE(CreateLayer("x", 0, 1, 0, 1), nullptr);
        seen.push_back(IdOf(CurrentLayer));
        ASSERT_EQ(DeleteCurrentLayer(), 1);
    }
    ASSERT_NE(CreateLayer("y", 0, 1, 0, 1), nullptr);
    for (uint32_t id : seen) EXPECT_NE(IdOf(CurrentLayer), id);
}

TEST_F(ProjectTest, TheEighthLayerGrowsTheArray) {
    for (int i = 1; i < 7; i++) ASSERT_NE(CreateLayer("x", 0, 0, 0, 1), nullptr);
    EXPECT_EQ(LayerCount, 7);
    EXPECT_EQ(LayerCapacity, 8);
    ASSERT_NE(CreateLayer("eighth", 0, 0, 0, 1), nullptr);
    EXPECT_EQ(LayerCapacity, 16);
    EXPECT_EQ(LayerCount, 8);
    for (int i = 0; i < LayerCount; i++) EXPECT_NE(Layers[i].Id, 0u);
}

TEST_F(ProjectTest, RemoveLayerRefusesTheCurrentOneAndIndexesOutOfRange) {
    ASSERT_NE(CreateLayer("B", 0, 0, 0, 1), nullptr);
    EXPECT_EQ(RemoveLayer(CurrentLayer, 1, 0), 0);
    EXPECT_EQ(RemoveLayer(2, 1, 0), 0);
    EXPECT_EQ(RemoveLayer(-1, 1, 0), 0);
    EXPECT_EQ(LayerCount, 2);
    ASSERT_NE(CreateLayer("above", 1, 0, 0, 1), nullptr); // current moves to 1
    EXPECT_EQ(RemoveLayer(0, 1, 0), 1);
    EXPECT_EQ(CurrentLayer, 0);
    EXPECT_EQ(LayerCount, 2);
}

TEST_F(ProjectTest, SelectingAHiddenLayerShowsIt) {
    ASSERT_NE(CreateLayer("B", 0, 0, 0, 1), nullptr);
    Layers[1].Flags |= LayerHidden | 0x40;
    ASSERT_NE(SelectLayerImage(1, 0, 1), nullptr);
    EXPECT_EQ(Layers[1].Flags, 0x40u); // other bits are kept
}

TEST_F(ProjectTest, AnImageIsClampedIntoTheLayersRange) {
    ASSERT_NE(CreateLayer("late", 0, 0, 20, 1), nullptr);
    Layers[1].LastImage = 30;
    ASSERT_NE(SelectLayerImage(1, 10, 1), nullptr);
    EXPECT_EQ(CurrentImage, 20);
    ASSERT_EQ(SelectImage(99, 1), 1);
    EXPECT_EQ(CurrentImage, 30);
}

TEST_F(ProjectTest, APlainLayerHoldsOnePictureForEveryImage) {
    Layers[0].LastImage = 9;
    ASSERT_EQ(SelectImage(5, 1), 1);
    PaintPixel(1, 1, 0xFF00FF00);
    ASSERT_EQ(SelectImage(0, 1), 1);
    EXPECT_EQ(At(1, 1), 0xFF00FF00u);
    for (int image = 0; image <= 9; image++) EXPECT_EQ(LayerPixel(0, image, 1, 1), 0xFF00FF00u) << image;
    EXPECT_EQ(Layers[0].ClipIndex, 0);
}

TEST_F(ProjectTest, MovingInsideAHoldLeavesThePageAlone) {
    Layers[0].LastImage = 3;
    Paint(0xFF808080);
    PaintPixel(0, 0, 0xFF000001);
    ASSERT_EQ(SelectImage(2, 1), 1); // flushes
    uint32_t* pixels = Page->Pixels;
    At(5, 1) = 0x12345678; // not a tool's change: no flush will write it
    ASSERT_EQ(SelectImage(3, 1), 1);
    EXPECT_EQ(Page->Pixels, pixels);
    EXPECT_EQ(At(5, 1), 0x12345678u);
}

TEST_F(ProjectTest, AFlushHappensOnlyWhenThePageChanged) {
    uint32_t changes = ChangeCounter;
    ASSERT_EQ(FlushPage(), 1);
    EXPECT_EQ(ChangeCounter, changes);
    EXPECT_EQ(Layers[0].PackedData, nullptr);
    Paint(0xFF0000FF);
    ASSERT_EQ(FlushPage(), 1);
    EXPECT_EQ(StoredSerial, PageVersion);
    EXPECT_NE(Layers[0].PackedData, nullptr);
    EXPECT_GT(ChangeCounter, changes);
    // Setting StoredSerial to -1 forces the next flush.
    At(0, 0) = 0xFFFFFFFF;
    StoredSerial = uint32_t(-1);
    ASSERT_EQ(FlushPage(), 1);
    EXPECT_EQ(LayerPixel(0, 0), 0xFFFFFFFFu);
}

TEST_F(ProjectTest, TheFlushRefreshesTheUndoPageSoUndoStopsAtAChangeOfImage) {
    Layers[0].LastImage = 1;
    Paint(0xFF112233);
    ASSERT_EQ(SelectImage(1, 1), 1);
    EXPECT_EQ(DirtyRect.Valid, 0);
    for (int i = 0; i < 32; i++) EXPECT_EQ(BackPage->Pixels[i], 0xFF112233u);
}

TEST_F(ProjectTest, AClipLayerLoadsEachImage) {
    int32_t index = AddClipLayer("anim", 2, {0xFF0000FF, 0xFF00FF00, 0xFFFF0000});
    ASSERT_EQ(Layers[index].Clip->ImageCount, 3);
    for (int32_t t = 2; t <= 4; t++) {
        ASSERT_EQ(SelectImage(t, 1), 1);
        EXPECT_EQ(Layers[index].ClipIndex, t - 2);
        EXPECT_EQ(At(7, 3), (std::vector<uint32_t>{0xFF0000FF, 0xFF00FF00, 0xFFFF0000})[t - 2]);
    }
}

TEST_F(ProjectTest, SelectImageCountsImageChanges) {
    uint32_t preview = ImageChangeCount, plugins = PluginImageCount;
    ASSERT_EQ(SelectImage(0, 1), 1);
    EXPECT_EQ(ImageChangeCount, preview + 1);
    EXPECT_EQ(PluginImageCount, plugins + 1);
}

TEST_F(ProjectTest, AFailedFlushLeavesEverythingWhereItWas) {
    int32_t index = AddClipLayer("anim", 0, {0xFF0000FF, 0xFF00FF00});
    ASSERT_EQ(SelectImage(0, 1), 1);
    Clip* clip = Layers[index].Clip;
    ClipOps saved = clip->Ops;
    clip->Ops.StoreImage = [](Clip*, const Bitmap*, int, int) { return 0; };
    Paint(0xFFABCDEF);
    EXPECT_EQ(SelectImage(1, 1), 0);
    EXPECT_EQ(SelectLayerImage(0, 0, 1), nullptr);
    EXPECT_EQ(CurrentImage, 0);
    EXPECT_EQ(CurrentLayer, index);
    EXPECT_NE(StoredSerial, PageVersion);
    EXPECT_EQ(At(0, 0), 0xFFABCDEFu);
    clip->Ops = saved;
    ASSERT_EQ(SelectImage(1, 1), 1);
    EXPECT_EQ(LayerPixel(index, 0), 0xFFABCDEFu);
}

TEST_F(ProjectTest, DensityShowsAsAPercentageAndReadsBack) {
    EXPECT_EQ(LayerPercent(255), 100);
    EXPECT_EQ(LayerPercent(128), 50);
    EXPECT_EQ(LayerPercent(0), 0);
    EXPECT_EQ(SetLayerDensity(100), 100);
    EXPECT_EQ(Layers[0].Density, 255);
    EXPECT_EQ(SetLayerDensity(50), 100);
    EXPECT_EQ(Layers[0].Density, 128);
    EXPECT_EQ(CurrentDensity, 128);
    EXPECT_EQ(PageOpacity, 128);
    // The former value rounds with 127, one less than the gadget's 128.
    EXPECT_EQ(SetLayerDensity(0), 50);
    EXPECT_EQ(SetLayerDensity(2000000000), 0);
    EXPECT_EQ(Layers[0].Density, 255);
    SetLayerDensity(-5);
    EXPECT_EQ(Layers[0].Density, 0);
}

TEST_F(ProjectTest, ResetLeavesOneEmptyLayerWithAFreshId) {
    Paint(0xFF445566);
    AddClipLayer("anim", 0, {1, 2, 3});
    ASSERT_NE(CreateLayer("x", 0, 1, 0, 1), nullptr);
    uint32_t highest = NextLayerId;
    ASSERT_EQ(ResetProject("fresh", 1, 0), 1);
    EXPECT_EQ(LayerCount, 1);
    EXPECT_EQ(CurrentLayer, 0);
    EXPECT_EQ(CurrentImage, 0);
    EXPECT_STREQ(Layers[0].Name, "fresh");
    EXPECT_EQ(Layers[0].Clip, nullptr);
    EXPECT_EQ(Layers[0].PackedData, nullptr);
    EXPECT_GE(IdOf(0), highest);
    EXPECT_EQ(At(0, 0), 0u);
    EXPECT_TRUE(ShowAllLayers);
    EXPECT_EQ(LayerPixel(0, 0), 0u);
}

TEST_F(ProjectTest, ResetAsksAndANoKeepsEverything) {
    // Without anyone to ask, the cautious answer is no.
    ASSERT_NE(CreateLayer("x", 0, 1, 0, 1), nullptr);
    EXPECT_EQ(ResetProject("fresh", 0, 0), 0);
    EXPECT_EQ(LayerCount, 2);
}

TEST_F(ProjectTest, ProjectNameIsKeptAndCut) {
    SetProjectName("/home/me/film.nem");
    EXPECT_STREQ(ProjectName, "/home/me/film.nem");
    std::string huge(5000, 'a');
    SetProjectName(huge.c_str());
    EXPECT_EQ(std::strlen(ProjectName), sizeof ProjectName - 1);
}
