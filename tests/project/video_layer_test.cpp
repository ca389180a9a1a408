// The video layer under the stack: opening through the video module's door, its place in
// the composition, hiding, moving in time and the undo of that.
#include "project_fixture.h"

#include "ui/catalog.h"

using namespace nemu;
using nemu::test::ProjectTest;

namespace {

// A stand-in for the video reader: three frames of one colour each.
Clip* ThreeFrames(const char*, int, int, int, int) {
    Clip* clip = NewClip("video");
    Bitmap* frame = NewBitmap(PageWidth, PageHeight);
    for (uint32_t colour : {0xFF0000FFu, 0xFF00FF00u, 0xFFFF0000u}) {
        ClearBitmap(frame, colour);
        clip->Ops.InsertImage(clip, frame, clip->ImageCount - 1, 0);
    }
    FreeBitmap(frame);
    return clip;
}

} // namespace

TEST_F(ProjectTest, WithoutTheVideoReaderOpeningFailsAndNothingChanges) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(OpenVideoLayer("/films/take1.avi", 0, 0, 0, 0), 0);
    EXPECT_NE(testing::internal::GetCapturedStderr().find(MsgGet(nullptr, 10206)), std::string::npos);
    EXPECT_EQ(VideoLayer, nullptr);
}

TEST_F(ProjectTest, TheVideoLayerLiesUnderEverythingAndMovesInTime) {
    OpenVideoClipHook = ThreeFrames;
    Paint(0x80800000);
    Layers[0].LastImage = 9;
    ASSERT_EQ(OpenVideoLayer("/films/take1.avi", 0, 0, 0, 0), 1);
    ASSERT_NE(VideoLayer, nullptr);
    EXPECT_STREQ(VideoLayer->Name, "take1.avi");
    EXPECT_EQ(VideoLayer->LastImage, 2);
    // Only a composition with its background shows it.
    EXPECT_EQ(Composed(1, false), 0x80800000u);
    EXPECT_EQ(Composed(1, true), 0xFF807F00u);
    EXPECT_TRUE(NeedBelow);
    EXPECT_EQ(MixerC->Pixels[0], 0xFF0000FFu);
    ToggleVideoLayer();
    EXPECT_FALSE(NeedBelow);
    EXPECT_EQ(Composed(1, true), 0x80800000u); // no background is set either
    ToggleVideoLayer();
    ASSERT_EQ(ShiftVideoLayer(5), 1);
    EXPECT_EQ(VideoLayer->FirstImage, 5);
    EXPECT_EQ(VideoLayer->LastImage, 7);
    EXPECT_EQ(Composed(5, true), 0xFF80007Fu);
    Undo();
    EXPECT_EQ(VideoLayer->FirstImage, 0);
    Undo();
    EXPECT_EQ(VideoLayer->FirstImage, 5);
    DeleteVideoLayer();
    EXPECT_EQ(VideoLayer, nullptr);
    EXPECT_EQ(UndoKind, NoLayerUndo);
    OpenVideoClipHook = nullptr;
}
