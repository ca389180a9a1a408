// From key records to commands: the names keys get, the dispatch of a key, bindings of
// several commands, bindings that lead back to themselves, and the main loop's part.
#include "host/host_fixture.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "project/layers.h"
#include "support/run_script.h"
#include "support/temp_files.h"
#include "ui/key_fixture.h"

#include <vector>

using namespace nemu;

namespace {

std::string NameOf(int32_t keycode, const char* text, uint32_t qualifiers, int* escape = nullptr,
                   int* ret = nullptr) {
    char name[32];
    const int n = KeyNameOf(keycode, text, qualifiers, name, sizeof name, escape, ret);
    EXPECT_EQ(size_t(n), std::strlen(name));
    return n ? name : "<dropped>";
}

// A page and a pen, so that the commands have what they work on.
struct KeyDispatchTest : KeyMapTest {
    HeadlessHost* Host = nullptr;
    void SetUp() override {
        Host = new HeadlessHost(320, 240, 64, 48, 10, 10);
        KeyMapTest::SetUp();
        SetPen(PenRound);
        APen = 0xFF112233;
        BPen = 0xFF445566;
    }
    void TearDown() override {
        KeyMapTest::TearDown();
        delete Host;
    }
    static void Press(const char* text, uint32_t qualifiers = 0) {
        HandleKey(KEY_CHARACTER, text, qualifiers, int(std::strlen(text)));
    }
};

std::vector<std::string> Broadcast;
void RecordBroadcast(int32_t, const char* text, uint32_t, int) {
    Broadcast.push_back(text);
}

} // namespace

TEST(KeyNames, PrefixesComeInOrderOnKeysNamedByNumber) {
    EXPECT_EQ(NameOf(VK_F1, "", QUAL_SHIFT | QUAL_ALT | QUAL_CTRL), "alt ctrl shift F1");
    EXPECT_EQ(NameOf(VK_F1 + 11, "", QUAL_CTRL), "ctrl F12");
    EXPECT_EQ(NameOf(VK_F1 + 12, "", 0), "<dropped>"); // F13
    EXPECT_EQ(NameOf(VK_PRIOR, "", QUAL_SHIFT), "shift Page Up");
    EXPECT_EQ(NameOf(VK_NEXT, "", 0), "Page Down");
    EXPECT_EQ(NameOf(VK_UP, "", QUAL_CTRL | QUAL_SHIFT), "ctrl shift up");
    EXPECT_EQ(NameOf(VK_INSERT, "", 0), "insert");
    EXPECT_EQ(NameOf(VK_UP | KEY_RELEASED, "", 0), "<dropped>");
    // A letter's key number types nothing: its character record names it.
    EXPECT_EQ(NameOf('A', "", QUAL_SHIFT), "<dropped>");
}

TEST(KeyNames, TypedTextNamesLettersControlsAndPunctuation) {
    EXPECT_EQ(NameOf(KEY_CHARACTER, "A", QUAL_SHIFT), "shift A");
    EXPECT_EQ(NameOf(KEY_CHARACTER, "7", QUAL_ALT), "alt 7");
    EXPECT_EQ(NameOf(KEY_CHARACTER, "\x01", QUAL_CTRL), "ctrl a");
    EXPECT_EQ(NameOf(KEY_CHARACTER, "\x1a", QUAL_CTRL), "ctrl z");
    EXPECT_EQ(NameOf(KEY_CHARACTER, "+", QUAL_SHIFT), "+");
    EXPECT_EQ(NameOf(KEY_CHARACTER, "|", QUAL_SHIFT | QUAL_ALT), "|");
    EXPECT_EQ(NameOf(KEY_CHARACTER, "\xC2\xA3", QUAL_SHIFT), "\xC2\xA3");       // the pound sign
    EXPECT_EQ(NameOf(KEY_CHARACTER, "\xC3\xA9", QUAL_SHIFT), "shift \xC3\xA9"); // an accented letter
    EXPECT_EQ(NameOf(KEY_CHARACTER, "\x08", 0), "backspace");
    EXPECT_EQ(NameOf(KEY_CHARACTER, "\x09", QUAL_SHIFT | QUAL_CTRL), "ctrl shift tab");
    EXPECT_EQ(NameOf(KEY_CHARACTER, " ", 0), "space");
    EXPECT_EQ(NameOf(VK_DELETE, "\x7f", QUAL_CTRL), "ctrl del");
    int escape = 0, ret = 0;
    EXPECT_EQ(NameOf(KEY_CHARACTER, "\x1b", 0, &escape, &ret), "escape");
    EXPECT_EQ(escape, 1);
    EXPECT_EQ(NameOf(VK_RETURN, "", 0, &escape, &ret), "<dropped>");
    EXPECT_EQ(ret, 1);
    EXPECT_EQ(escape, 0);
    EXPECT_EQ(NameOf(KEY_CHARACTER, "\r", 0), "<dropped>");
    EXPECT_EQ(NameOf(KEY_CHARACTER, "", 0), "<dropped>");
    EXPECT_EQ(NameOf(KEY_CHARACTER, nullptr, 0), "<dropped>");
}

// The default keys reach their commands; a key bound to nothing goes to the windows.
TEST_F(KeyDispatchTest, DefaultKeysRunTheirCommandsAndOthersGoToTheWindows) {
    Broadcast.clear();
    BroadcastKeyHook = RecordBroadcast;
    Press("n");
    EXPECT_EQ(APen, 0xFF445566u);
    EXPECT_EQ(BPen, 0xFF112233u);
    Press("&", QUAL_SHIFT);
    EXPECT_EQ(AntiAlias, SavedAntiAlias ? 0 : 1);
    HandleKey(VK_F1 + 1, "", 0, 0); // F2: replace, and again behind
    EXPECT_EQ(DrawMode, DrawModeByName("replace"));
    HandleKey(VK_F1 + 1, "", 0, 0);
    EXPECT_EQ(DrawMode, DrawModeByName("behind"));
    Press("A", QUAL_SHIFT); // OpenTools: not built yet, and runs nothing
    Press("!", QUAL_SHIFT);
    Press("\xC3\xA9");
    HandleKey('N', "", 0, 0); // the key number before the character: no name at all
    EXPECT_EQ((std::vector<std::string>{"!", "\xC3\xA9"}), Broadcast);
    EXPECT_EQ(APen, 0xFF445566u);
    SetDrawMode(0);
}

TEST_F(KeyDispatchTest, BindingsRunEveryCommandInOrder) {
    ASSERT_EQ(SetKeyBinding("!", "SwapABPen,SwapABPen,  SelectAntiAlias , SwapABPen"), 1);
    Press("!");
    EXPECT_EQ(APen, 0xFF445566u);
    EXPECT_EQ(AntiAlias, SavedAntiAlias ? 0 : 1);
    EXPECT_EQ(KeyForCommand("SwapABPen"), std::string("n"));
    EXPECT_EQ(KeyForCommand("SelectAntiAlias"), std::string("&"));
    ASSERT_EQ(SetKeyBinding("n", "SwapABPen, Undo"), 1);
    EXPECT_EQ(KeyForCommand("SwapABPen"), nullptr); // two commands belong to neither
}

// An unknown name is passed over; only an unknown last one is said on the console.
TEST_F(KeyDispatchTest, UnknownNamesAreSkippedAndOnlyTheLastIsReported) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(RunBinding("Bogus, SwapABPen"), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(APen, 0xFF445566u);
    testing::internal::CaptureStderr();
    EXPECT_EQ(RunBinding("SwapABPen, Bogus"), 1);
    EXPECT_EQ(Occurrences(testing::internal::GetCapturedStderr(), "function Bogus not found"), 1);
    EXPECT_EQ(APen, 0xFF112233u);
    EXPECT_EQ(RunBinding(""), 0);
}

// Escape cancels what the tool was doing and wakes whatever waits for it, before the
// key's own binding runs.
static int EscapesSeen = 0;
TEST_F(KeyDispatchTest, EscapeCancelsTheToolAction) {
    EscapesSeen = 0;
    PendingEscapeHook = [] { EscapesSeen++; };
    ToolState.ToolPhase = 1;
    Press("\x1b");
    EXPECT_EQ(ToolState.ToolPhase, 0);
    EXPECT_EQ(EscapesSeen, 1);
}

// A plug-in can press keys: both plug-ins press "!". Keys whose bindings lead back to
// themselves through them run once, and the loop is said once.
static int LoopRuns[2];
static void PressFromPlugin(int index) {
    LoopRuns[index]++;
    HandleKey(KEY_CHARACTER, "!", 0, 1);
}
TEST_F(KeyDispatchTest, BindingsThatLeadBackToThemselvesRunOnce) {
    CommandPlugins = {[] { return 2; }, [](int i) { return i == 0 ? "Ping" : "Pong"; }, PressFromPlugin};
    KeyMapInit();
    LoopRuns[0] = LoopRuns[1] = 0;
    ASSERT_EQ(SetKeyBinding("!", "Plug-in Ping"), 1);
    ASSERT_EQ(SetKeyBinding("#", "Plug-in Pong, SwapABPen"), 1);
    testing::internal::CaptureStderr();
    Press("!");
    const std::string console = testing::internal::GetCapturedStderr();
    EXPECT_EQ(LoopRuns[0], 1);
    EXPECT_EQ(LoopRuns[1], 0);
    EXPECT_EQ(Occurrences(console, "runs itself"), 1);
    // Pong presses "!", whose Ping presses "!" again, which is refused; the rest of "#" runs.
    Press("#");
    EXPECT_EQ(LoopRuns[1], 1);
    EXPECT_EQ(LoopRuns[0], 2);
    EXPECT_EQ(APen, 0xFF445566u);
}

// The main loop gives the key map the character record of a press, unless a button is
// held or a modal window has the keys.
TEST_F(KeyDispatchTest, MainLoopPassesKeysToTheKeyMap) {
    HeadlessQueueKey('N', 'n');
    PumpAndDispatch(1);
    EXPECT_EQ(APen, 0xFF445566u);
    LeftHeld = 1;
    HeadlessQueueKey('N', 'n');
    PumpAndDispatch(1);
    LeftHeld = 0;
    EXPECT_EQ(APen, 0xFF445566u);
    HeadlessQueueKey(VK_F1 + 2, 0); // F3: erase
    PumpAndDispatch(1);
    EXPECT_EQ(DrawMode, DrawModeByName("erase"));
    SetDrawMode(0);
}

// The command language reaches the same table and keys.
TEST_F(KeyDispatchTest, CommandLanguageRunsAndBindsCommands) {
    EXPECT_EQ(
        RunScript("[om_runcommand swapabpen, SwapABPen, SwapABPen] [om_getkey SwapABPen] [om_getkey Quit]"),
        "[][n][Shift Q]");
    EXPECT_EQ(APen, 0xFF445566u);
    testing::internal::CaptureStderr();
    EXPECT_EQ(RunScript("[om_runcommand Nothing] [om_setkey \"Shift A\" Undo, Nope] [om_setkey Hyper Undo]"),
              "[ERROR -1][ERROR -1][ERROR -1]");
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(RunScript("[om_setkey \"Shift A\" SwapABPen] [om_getkey swapabpen] [om_setkey n none] "
                        "[om_getkey swapabpen]"),
              "[][n][][Shift A]");
    const std::string file = TempPath("keys");
    EXPECT_EQ(RunScript("[om_savekeys " + file + "] [om_setkey \"Shift A\"] [om_loadkeys " + file +
                        ".cfg] [om_getkey swapabpen]"),
              "[][][][Shift A]");
}
