// Alerts, questions, requests, progress boxes and popup menus, answered through queued
// input on the headless screen; and their fallbacks when no window can be shown.
#include "script/command_host.h"
#include "toolkit_fixture.h"

#include <cstring>

using namespace nemu;

namespace {

// Clicks the row with this text the first time it is drawn.
void ClickWhenDrawn(const std::string& label, bool right = false) {
    auto done = std::make_shared<bool>(false);
    OnGadgetDrawn() = [label, right, done](const DrawnGadget& d) {
        if (*done || d.Label != label) return;
        *done = true;
        QueueClickAt(d.CentreX(), d.CentreY(), right);
    };
}

TEST(Requests, AnAlertIsSizedByItsLines) {
    ToolkitHost host;
    int height = 0;
    OnGadgetDrawn() = [&](const DrawnGadget& d) {
        if (d.Label == "OK" && !height) {
            height = int(d.Window->Height);
            QueueKey(VK_RETURN, 13);
        }
    };
    Alert("one\ntwo\nthree");
    EXPECT_EQ(height, 3 * 13 + 50);
    EXPECT_EQ(WindowListHead, nullptr); // gone again
    height = 0;
    Alert("");
    EXPECT_EQ(height, 13 + 50);
}

TEST(Requests, QuestionsAnswerByButtonReturnAndEscape) {
    ToolkitHost host;
    ClickWhenDrawn("Discard");
    EXPECT_EQ(AskYesNo("Save?", "Save", "Discard"), 0);
    ClickWhenDrawn("Save");
    EXPECT_EQ(AskYesNo("Save?", "Save", "Discard"), 1);
    QueueKey(VK_RETURN, 13);
    EXPECT_EQ(AskYesNo("Save?", "", nullptr), 1);
    QueueKey(VK_ESCAPE, 27);
    EXPECT_EQ(AskYesNo("Save?", "", nullptr), 0);
    ClickWhenDrawn("Later");
    EXPECT_EQ(AskThree("Now what?", "Yes", "Later", "No"), 1);
    QueueKey(VK_ESCAPE, 27);
    EXPECT_EQ(AskThree("Now what?", "Yes", "Later", "No"), 2);
}

TEST(Requests, WithoutADisplayQuestionsTakeTheCautiousAnswer) {
    ToolkitHost host;
    HeadlessDialogs = 0;
    EXPECT_EQ(AskYesNo("Overwrite?", nullptr, nullptr), 0);
    EXPECT_EQ(AskThree("Overwrite?", nullptr, nullptr, nullptr), 2);
    int32_t v = 5;
    EXPECT_EQ(AskNumber("Size", &v, 1, 10), -1);
    char text[8] = "x";
    EXPECT_EQ(AskString("Name", text, sizeof text), -1);
    Alert("to standard error");
    EXPECT_EQ(WindowListHead, nullptr);
}

TEST(Requests, NumberAndStringRequestsTakeWhatIsTyped) {
    ToolkitHost host;
    int32_t value = 10;
    QueueText("250");
    QueueKey(VK_RETURN, 13);
    EXPECT_EQ(AskNumber("Size", &value, 1, 200), 0);
    EXPECT_EQ(value, 200); // limited
    ClickWhenDrawn("Cancel");
    EXPECT_EQ(AskNumber("Size", &value, 1, 200), -1);
    EXPECT_EQ(value, 200);

    char name[16] = "old";
    QueueText("new name");
    QueueKey(VK_RETURN, 13);
    EXPECT_EQ(AskString("Name", name, sizeof name), 0);
    EXPECT_STREQ(name, "new name");
}

TEST(Requests, TheProgressBoxCancelSetsUserBreak) {
    ToolkitHost host;
    UserBreak = 0;
    ProgressOpen("Saving");
    ASSERT_NE(ProgressWindow, nullptr);
    ProgressStep(1, 4);
    EXPECT_EQ(UserBreak, 0);
    ASSERT_TRUE(QueueClick(MsgGet(nullptr, 1007)));
    ProgressStep(2, 4);
    EXPECT_EQ(UserBreak, 1);
    ProgressClose();
    EXPECT_EQ(ProgressWindow, nullptr);
    UserBreak = 0;
    ProgressOpen("Again");
    QueueKey(VK_ESCAPE, 27);
    ProgressStep(1, 2);
    EXPECT_EQ(UserBreak, 1);
    ProgressClose();
    UserBreak = 0;
}

PopupItem Sub[] = {
    {"Round", 0, 11, nullptr, nullptr, nullptr, 0},
    {"Square", 0, 12, nullptr, nullptr, nullptr, 0},
    {nullptr, 0, 0, nullptr, nullptr, nullptr, 0},
};
PopupItem Menu[] = {
    {"First", 0, 1, "F", nullptr, nullptr, POPUP_CHECKED},
    {"", 0, POPUP_SEPARATOR, nullptr, nullptr, nullptr, 0},
    {"Brush", 0, 2, nullptr, nullptr, Sub, 0},
    {"Off", 0, 3, nullptr, nullptr, nullptr, POPUP_DISABLED},
    {nullptr, 0, 0, nullptr, nullptr, nullptr, 0},
};

TEST(Requests, APopupOpensItsSubmenuAndPicksFromIt) {
    ToolkitHost host;
    HeadlessQueuePointer(300, 300);
    RunQueued();
    OnGadgetDrawn() = [](const DrawnGadget& d) {
        if (d.Label == "Brush" && !FindGadget("Square")) HeadlessQueuePointer(d.CentreX(), d.CentreY());
        if (d.Label == "Square") {
            OnGadgetDrawn() = nullptr;
            QueueClickAt(d.CentreX(), d.CentreY());
        }
    };
    PopupItem* picked = PopupMenu(Menu, 0);
    ASSERT_NE(picked, nullptr);
    EXPECT_EQ(picked->Id, 12);
    EXPECT_EQ(WindowListHead, nullptr);

    // Keys: down skips the separator, right opens the submenu, Return picks.
    QueueKey(VK_DOWN);
    QueueKey(VK_RIGHT);
    QueueKey(VK_DOWN);
    QueueKey(VK_RETURN, 13);
    picked = PopupMenu(Menu, 0);
    ASSERT_NE(picked, nullptr);
    EXPECT_EQ(picked->Id, 12);

    // A disabled row is not picked; a click outside dismisses.
    ClickWhenDrawn("Off");
    QueueClickAt(5, 5);
    EXPECT_EQ(PopupMenu(Menu, 0), nullptr);
}

TEST(Requests, ALongMenuAtThePointerBecomesAScrollingList) {
    ToolkitHost host;
    std::vector<std::string> names;
    for (int i = 0; i < 41; i++) names.push_back("Item " + std::to_string(i));
    std::vector<PopupItem> items(42, PopupItem{});
    for (int i = 0; i < 41; i++) items[size_t(i)].Text = names[size_t(i)].c_str(), items[size_t(i)].Id = i;
    int tallest = 0;
    OnGadgetDrawn() = [&](const DrawnGadget& d) { tallest = std::max(tallest, int(d.Window->Height)); };
    QueueKey(VK_DOWN);
    QueueKey(VK_RETURN, 13);
    PopupItem* picked = PopupMenu(items.data(), 30);
    ASSERT_NE(picked, nullptr);
    EXPECT_EQ(picked->Id, 31);
    EXPECT_LT(tallest, 41 * 16); // not every row at once
}

} // namespace
