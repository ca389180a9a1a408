// The Grid and Clock panels, pressed and typed into as a user does.
#include "project/compose.h" // before the toolkit, whose Backdrop bitmap shadows the mixer's type
#include "ui/panel_fixture.h"

#include "support/run_script.h"
#include "ui/commands.h"

#include <chrono>
#include <cstring>
#include <gtest/gtest.h>
#include <regex>
#include <thread>

namespace nemu::test {
namespace {

class GridClockTest : public ::testing::Test {
  protected:
    PanelHost Host;
    const int32_t KeptOn = GridOn, KeptStepX = GridStepX, KeptStepY = GridStepY;
    const int32_t KeptOriginX = GridOriginX, KeptOriginY = GridOriginY;
    const bool KeptSafe = SafeAreaShown;
    ~GridClockTest() override {
        GridOn = KeptOn, GridStepX = KeptStepX, GridStepY = KeptStepY;
        GridOriginX = KeptOriginX, GridOriginY = KeptOriginY;
        SafeAreaShown = KeptSafe;
    }
    // Replaces what a number field holds by text and commits it with Return.
    static void TypeInto(GuiWindow* w, const std::string& label, const char* text) {
        const DrawnGadget* d = PanelHost::Find(w, label);
        ASSERT_NE(d, nullptr);
        PanelHost::ClickAt(PanelHost::X(d, d->W - 3), d->CentreY());
        for (int i = 0; i < 8; i++) QueueKey(VK_BACK, 8);
        QueueText(text);
        QueueKey(VK_RETURN, 13);
        RunQueued();
    }
    static bool Selected(GuiWindow* w, int32_t id) { return WindowGadgetById(w, id)->Flags & GF_SELECTED; }
};

TEST_F(GridClockTest, GridPanelSwitchesAndSetsTheGrid) {
    KeyMapInit();
    GridOn = 0, SafeAreaShown = false;
    EXPECT_EQ(RunScript("om_runcommand OpenGrid"), "");
    GuiWindow* w = GridPanel();
    ASSERT_NE(w, nullptr);

    PanelHost::Click(w, "Grid on");
    EXPECT_EQ(GridOn, 1);
    EXPECT_TRUE(Selected(w, 1));
    PanelHost::Click(w, "Safe area");
    EXPECT_TRUE(SafeAreaShown);

    TypeInto(w, "Step X", "24");
    TypeInto(w, "Step Y", "0"); // below the least step: one pixel
    TypeInto(w, "Origin X", "-5");
    EXPECT_EQ(GridStepX, 24);
    EXPECT_EQ(GridStepY, 1);
    EXPECT_EQ(GridOriginX, -5);

    // The snap follows what was typed.
    int32_t fx = (30 << 16), fy = (7 << 16);
    GridStepY = 10;
    SnapToGrid(&fx, &fy);
    EXPECT_EQ(fx >> 16, 19); // -5 + 24
    EXPECT_EQ(fy >> 16, 10);

    // The key and the command language change what the panel shows.
    EXPECT_EQ(RunScript("om_runcommand ActiveGrid"), "");
    EXPECT_EQ(GridOn, 0);
    EXPECT_FALSE(Selected(w, 1));
    RunScript("om_grid 8 9 1 2");
    EXPECT_TRUE(Selected(w, 1));
    EXPECT_EQ(WindowGadgetById(w, 3)->String->IntValue, 9);
    KeyMapFree();
}

TEST_F(GridClockTest, GridIsKeptInItsSectionAndClampedOnLoad) {
    GridStepX = 12, GridStepY = 34, GridOriginX = 5, GridOriginY = -6;
    SavePanels();
    GridStepX = GridStepY = 1, GridOriginX = GridOriginY = 0;
    LoadGridSettings();
    EXPECT_EQ(GridStepX, 12);
    EXPECT_EQ(GridStepY, 34);
    EXPECT_EQ(GridOriginY, -6);
    // A hand-edited section with a step of nothing and an origin past 16.16.
    ConfigSetInt("Grid", "StepX", 0);
    ConfigSetInt("Grid", "OriginX", 1 << 30);
    LoadGridSettings();
    EXPECT_EQ(GridStepX, 1);
    EXPECT_EQ(GridOriginX, 32767);
}

TEST_F(GridClockTest, ClockShowsTheTimeAndMovesOn) {
    EXPECT_EQ(RunScript("om_clock"), "0");
    EXPECT_EQ(RunScript("om_clock 1"), "1");
    GuiWindow* w = ClockPanel();
    ASSERT_NE(w, nullptr);
    const std::regex time("[0-2][0-9]:[0-5][0-9]:[0-6][0-9]");
    const Gadget* row = WindowGadgetById(w, 1);
    ASSERT_NE(row, nullptr);
    const std::string first = row->Label;
    EXPECT_TRUE(std::regex_match(first, time)) << first;
    // The clock's row is redrawn once the second changes, and not again within it.
    const DrawnGadget* before = PanelHost::Find(w, first);
    ASSERT_NE(before, nullptr);
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    TickWindows(nullptr);
    const std::string next = row->Label;
    EXPECT_NE(first, next);
    EXPECT_NE(FindGadget(next), nullptr);
    int redrawn = 0;
    OnGadgetDrawn() = [&redrawn](const DrawnGadget&) { redrawn++; };
    TickWindows(nullptr);
    if (next == row->Label) EXPECT_EQ(redrawn, 0);
    OnGadgetDrawn() = nullptr;
    EXPECT_EQ(RunScript("om_clock 0"), "0");
    EXPECT_EQ(ClockPanel(), nullptr);
}

} // namespace
} // namespace nemu::test
