#include "host/main_loop.h"
#include "host/screen.h"
#include "script/command_host.h"
#include "script/screen_seam.h"
#include "ui/catalog.h"
#include "ui/settings.h"

#include "support/run_script.h"

#include <gtest/gtest.h>
#include <string>

using namespace nemu;

namespace {

struct ProgramCommandsTest : ::testing::Test {
    void TearDown() override {
        EndScriptLocks();
        delete CurrentConfig;
        CurrentConfig = nullptr;
        CatalogFreeAll();
    }
};

} // namespace

TEST_F(ProgramCommandsTest, VersionIsNameThenMessagesNineAndTwo) {
    CatalogSet(nullptr, 9, "0.1", 0);
    CatalogSet(nullptr, 2, "2024-05-01", 0);
    EXPECT_EQ(RunScript("om_version"), "Nemu 0.1 2024-05-01");
    EXPECT_EQ(RunScript("[om_version]"), "[Nemu 0.1 2024-05-01]");
}

TEST_F(ProgramCommandsTest, PageSizeAndPointerInPageCoordinates) {
    PageWidth = 720;
    PageHeight = 576;
    PointerX = 12;
    PointerY = -3;
    EXPECT_EQ(RunScript("[om_getwidth] [om_getheight] [om_getmouse]"), "[720][576][12 -3]");
}

TEST_F(ProgramCommandsTest, QuitEndsTheLoopAndNopDoesNothing) {
    EXPECT_EQ(RunScript("[om_nop ignored words] [om_quit]"), "[][]");
    EXPECT_EQ(QuitFlag, 1);
}

TEST_F(ProgramCommandsTest, UserStringsReadTheirDefaultAndAreCut) {
    EXPECT_EQ(RunScript("om_readuserstring Main Missing  fall back  "), "fall back");
    EXPECT_EQ(RunScript("[om_readuserstring Main Missing]"), "[]");
    EXPECT_EQ(
        RunScript("[om_writeuserstring \"My Panel\" Colour 1 2 3] [om_readuserstring \"my panel\" colour]"),
        "[][1 2 3]");
    EXPECT_EQ(RunScript("om_writeuserstring Main"), "ERROR -1");
    EXPECT_EQ(RunScript("om_readuserstring"), "ERROR -1");
    // An empty value stays in memory and is left out of the file.
    EXPECT_EQ(RunScript("om_writeuserstring Main Gone"), "");
    EXPECT_EQ(RunScript("om_readuserstring Main Gone default"), "");
    EXPECT_EQ(ConfigText(CurrentConfig).find("Gone"), std::string::npos);
    std::string longValue(3000, 'q');
    RunScript("om_writeuserstring Main Long " + longValue);
    EXPECT_EQ(RunScript("om_readuserstring Main Long").size(), 1023u);
}

TEST_F(ProgramCommandsTest, UserLockFreezesThePointerShapeWithoutCount) {
    ShowPointerShape(0);
    RunScript("om_lockuser");
    EXPECT_EQ(PointerShape, 2);
    EXPECT_EQ(ShowPointerShape(1), 2) << "changes are refused while locked";
    EXPECT_EQ(PointerShape, 2);
    RunScript("[om_lockuser] [om_lockuser]");
    RunScript("om_unlockuser");
    EXPECT_EQ(PointerShape, 0);
    EXPECT_EQ(UserLocked, 0);
    RunScript("om_unlockuser");
    EXPECT_EQ(PointerShape, 0);
}

TEST_F(ProgramCommandsTest, MouseLockIsCountedAndTheLastUnlockRestores) {
    ShowPointerShape(1);
    RunScript("[om_lockmouse 5] [om_lockmouse 6]");
    EXPECT_EQ(PointerShape, 5);
    RunScript("om_unlockmouse");
    EXPECT_EQ(PointerShape, 5);
    RunScript("om_unlockmouse");
    EXPECT_EQ(PointerShape, 1);
    RunScript("[om_unlockmouse] [om_lockmouse 7]");
    EXPECT_EQ(MouseLockCount, 1) << "an unlock too many must not count below zero";
    EXPECT_EQ(PointerShape, 7);
}

TEST_F(ProgramCommandsTest, DisplayLockShowsItsNoteOrTheDefault) {
    CatalogSet(nullptr, 7400, "Script running", 0);
    RunScript("om_lockscreen   Rendering\\nplease wait  ");
    EXPECT_STREQ(ShownNoteText, "Rendering\nplease wait");
    EXPECT_EQ(DisplayLocked, 1);
    RunScript("om_unlockscreen");
    EXPECT_STREQ(ShownNoteText, "");
    RunScript("om_lockdisplay");
    EXPECT_STREQ(ShownNoteText, "Script running");
    RunScript("om_unlockdisplay");
    EXPECT_EQ(DisplayLocked, 0);
}

TEST_F(ProgramCommandsTest, EndingAScriptReleasesNoteThenUserThenMouse) {
    ShowPointerShape(0);
    RunScript("[om_lockmouse 5] [om_lockmouse 5] [om_lockuser] [om_lockdisplay busy]");
    EXPECT_EQ(PointerShape, 2);
    EndScriptLocks();
    // The user lock gives back the mouse lock's shape, and the mouse lock the first one.
    EXPECT_EQ(PointerShape, 0);
    EXPECT_EQ(MouseLockCount, 0);
    EXPECT_EQ(UserLocked, 0);
    EXPECT_EQ(DisplayLocked, 0);
    EXPECT_STREQ(ShownNoteText, "");
}
