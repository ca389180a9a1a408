// The list of page sizes and the change of the page's size.
#include "project_fixture.h"

#include "project/page_size.h"
#include "ui/catalog.h"

#include <cstring>

using namespace nemu;
using nemu::test::ProjectTest;

TEST_F(ProjectTest, PageSizeLinesAreReadAsTheFileSaysAndNoFurther) {
    PageSizeCount = 0;
    FrameRate = 12.5;
    ParsePageSizes("Config = \"before/section\" 1 1 1\n"
                   "[PageSize]\r\n"
                   "  Config = \"HD/1080p/25\" 1920 1080 25\r\n"
                   "# a comment\n"
                   "Config = \"only width\" 100\n"
                   "Config = \"no numbers\"\n"
                   "Config = \"too big\" 99999 10 25\n"
                   "Config = \"zero\" 0 10 25\n"
                   "Config = no quotes 10 10 10\n"
                   "Config \"no equals\" 10 10 10\n"
                   "Config = \"unclosed 10 10 10\n"
                   "[Other]\n"
                   "Config = \"after\" 5 5 5\n");
    ASSERT_EQ(PageSizeCount, 3);
    EXPECT_STREQ(PageSizes[0].Name, "HD/1080p/25");
    EXPECT_EQ(PageSizes[0].Width, 1920);
    EXPECT_EQ(PageSizes[0].Rate, 25.0);
    // Missing numbers keep the page's size and rate.
    EXPECT_EQ(PageSizes[1].Width, 100);
    EXPECT_EQ(PageSizes[1].Height, PageHeight);
    EXPECT_EQ(PageSizes[1].Rate, 12.5);
    EXPECT_EQ(PageSizes[2].Width, PageWidth);
    char label[300];
    ASSERT_EQ(PageSizeLabel(0, label, sizeof label), 1);
    EXPECT_STREQ(label, "HD 1080p 25 1920 1080");
    EXPECT_EQ(PageSizeLabel(3, label, sizeof label), 0);
    EXPECT_EQ(PageSizeLabel(-1, label, sizeof label), 0);
}

TEST_F(ProjectTest, TheListHoldsAtMost128AndNamesAreCut) {
    PageSizeCount = 0;
    std::string text = "[PageSize]\n";
    for (int i = 0; i < 300; i++) text += "Config = \"" + std::string(400, 'n') + "\" 10 10 25\n";
    ParsePageSizes(text.c_str());
    EXPECT_EQ(PageSizeCount, MaxPageSizes);
    EXPECT_EQ(std::strlen(PageSizes[127].Name), 255u);
}

TEST_F(ProjectTest, TheShippedFileGivesTheBuiltInRowsThenItsSizes) {
    ProgramDir = NEMU_SOURCE_DIR "/data";
    int32_t count = LoadPageSizes();
    EXPECT_GT(count, 20);
    EXPECT_STREQ(PageSizes[0].Name, MsgGet(nullptr, 6163));
    EXPECT_EQ(PageSizes[0].Rate, 30.0);
    EXPECT_STREQ(PageSizes[1].Name, MsgGet(nullptr, 6161));
    bool hd = false;
    for (int32_t i = 0; i < count; i++)
        hd |= PageSizes[i].Width == 1920 && PageSizes[i].Height == 1080 && PageSizes[i].Rate == 25.0;
    EXPECT_TRUE(hd);
    // A spare page adds its own size.
    SparePage = NewClearBitmap(3, 7);
    count = LoadPageSizes();
    EXPECT_STREQ(PageSizes[2].Name, MsgGet(nullptr, 6162));
    EXPECT_EQ(PageSizes[2].Height, 7);
}

TEST_F(ProjectTest, AChangeOfPageSizeGivesOneEmptyLayerAndFreesTheOldOnes) {
    Paint(0xFF123456);
    AddClipLayer("anim", 0, {1, 2, 3});
    RebuildMix(false);
    ASSERT_EQ(ChangePageSize(100, 60, 0), 1);
    EXPECT_EQ(PageWidth, 100);
    EXPECT_EQ(Page->Width, 100);
    EXPECT_EQ(BackPage->Height, 60);
    EXPECT_EQ(LayerCount, 1);
    EXPECT_EQ(Layers[0].Width, 100);
    EXPECT_EQ(At(99, 59), 0u);
    EXPECT_EQ(TileUseCount, 0u);
    EXPECT_EQ(SavedCounter, ChangeCounter);
    // The mixer's buffers went with the old size, and nothing of the old layers is counted:
    // freeing what is left brings the account back to where it began.
    EXPECT_EQ(MixerA, nullptr);
    EXPECT_EQ(MixerC, nullptr);
}

TEST_F(ProjectTest, AChangeThatWouldLoseWorkIsAskedFirst) {
    // Nobody says yes: a spare page, or contents that can't be kept, stop the change.
    SparePage = NewClearBitmap(8, 4);
    testing::internal::CaptureStderr();
    EXPECT_EQ(ChangePageSize(20, 20, 0), 0);
    FreeBitmap(SparePage);
    SparePage = nullptr;
    std::string temp = TempDir;
    TempDir = "/nonexistent-folder-of-nemu/";
    EXPECT_EQ(ChangePageSize(20, 20, 1), 0);
    TempDir = temp;
    std::string said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find(MsgGet(nullptr, 1440)), std::string::npos) << said;
    EXPECT_EQ(PageWidth, 8);
    EXPECT_EQ(ChangePageSize(0, 20, 0), 0);
    // A page that cannot be had falls back to the size there was.
    testing::internal::CaptureStderr();
    EXPECT_EQ(ChangePageSize(1 << 30, 1 << 30, 0), -1);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(PageWidth, 8);
    EXPECT_EQ(LayerCount, 1);
    EXPECT_EQ(Layers[0].Width, 8);
}
