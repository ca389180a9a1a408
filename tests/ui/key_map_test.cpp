// The command table, the key table and its defaults, the Keyboard section of the
// settings, key files and the readable labels of keys.
#include "support/temp_files.h"
#include "ui/key_fixture.h"

#include <set>
#include <strings.h>

using namespace nemu;

namespace {

std::string Lower(const char* s) {
    std::string out = s;
    for (char& c : out) c = char(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

} // namespace

// Typos in the tables would bind keys to nothing: names are unique, every title is in the
// catalog, and every default names a key and a command that exist but for the one the
// table keeps on purpose.
TEST_F(KeyMapTest, TablesHoldEveryRowOnceWithItsTitleAndDefaults) {
    std::set<std::string> commands;
    for (int i = 0; i < StaticCommandCount; ++i) {
        const CommandRow& row = StaticCommands[i];
        ASSERT_NE(row.Name, nullptr) << i;
        EXPECT_TRUE(commands.insert(Lower(row.Name)).second) << row.Name;
        ASSERT_NE(row.Title, nullptr) << row.Name;
        EXPECT_STRNE(row.Title, "") << row.Name << " has no title " << row.TitleId;
    }
    EXPECT_EQ(StaticCommands[StaticCommandCount].Name, nullptr);
    EXPECT_STREQ(FindCommand("swapabpen")->Title, "Swap colours");
    EXPECT_STREQ(FindCommand("DrawDot")->Title, "Draw a dot");
    EXPECT_STREQ(FindCommand("LoadImageFromClipboard")->Title, "Paste picture from clipboard");

    std::set<std::string> keys;
    for (const KeyNameRow& row : KeyNames) EXPECT_TRUE(keys.insert(Lower(row.Name)).second) << row.Name;
    for (const DefaultBinding& d : DefaultBindings) {
        EXPECT_TRUE(commands.count(Lower(d.Command))) << d.Command;
        if (std::string(d.Key) != "shift F10") EXPECT_TRUE(keys.count(Lower(d.Key))) << d.Key;
    }
    EXPECT_EQ(BindingOf("Shift Q"), "Quit");
    EXPECT_EQ(BindingOf("="), "DisplayAllLayer");
    EXPECT_EQ(BindingOf("ctrl d"), "MagicNumber");
    EXPECT_EQ(BindingOf("!"), "<none>");
    EXPECT_EQ(KeyForCommand("CallRexx10"), nullptr);
}

// The working table is sorted for lookups in any case; rows not built yet stay listed but
// are not available.
TEST_F(KeyMapTest, WorkingTableIsSortedAndSaysWhatIsAvailable) {
    ASSERT_TRUE(CommandTableSorted);
    ASSERT_EQ(CommandCount, StaticCommandCount);
    for (int i = 1; i < CommandCount; ++i)
        EXPECT_LT(strcasecmp(CommandTable[i - 1].Name, CommandTable[i].Name), 0) << CommandTable[i].Name;
    for (int i = 0; i < StaticCommandCount; ++i)
        EXPECT_EQ(FindCommand(StaticCommands[i].Name)->TitleId, StaticCommands[i].TitleId);
    EXPECT_EQ(FindCommand("UNDO"), FindCommand("undo"));
    EXPECT_EQ(FindCommand("Undo "), nullptr);
    EXPECT_TRUE(CommandAvailable(FindCommand("SwapABPen")));
    EXPECT_TRUE(CommandAvailable(FindCommand("NewLayer")));
    EXPECT_FALSE(CommandAvailable(FindCommand("SelectCircle")));
    EXPECT_FALSE(CommandAvailable(FindCommand("ConfigureKeyboard")));
}

static int PluginCount() {
    return 2;
}
static const char* PluginName(int index) {
    return index == 0 ? "Blur" : "Alpha";
}
static int PluginRuns[2];
static void RunPlugin(int index) {
    PluginRuns[index]++;
}

// Plug-ins join the table under message 20481 and their name, sorted in with the rest.
TEST_F(KeyMapTest, PluginsBecomeRowsThatRunThePlugin) {
    CommandPlugins = {PluginCount, PluginName, RunPlugin};
    PluginRuns[0] = PluginRuns[1] = 0;
    KeyMapInit();
    EXPECT_EQ(CommandCount, StaticCommandCount + 2);
    const CommandRow* row = FindCommand("plug-in alpha");
    ASSERT_NE(row, nullptr);
    EXPECT_STREQ(row->Title, "Plug-in Alpha");
    EXPECT_EQ(row->PluginRef, PluginRowFlag | 1);
    EXPECT_TRUE(CommandAvailable(row));
    EXPECT_EQ(RunBinding("Plug-in Blur, Plug-in Alpha, Plug-in Alpha"), 3);
    EXPECT_EQ(PluginRuns[0], 1);
    EXPECT_EQ(PluginRuns[1], 2);
    ASSERT_EQ(SetKeyBinding("!", "Plug-in Blur"), 1);
    EXPECT_STREQ(KeyForCommand("plug-in blur"), "!");
}

// Start-up reading of section Keyboard: the two keys that cannot stand in a settings file,
// "none" and the empty value, and each bad entry told once and skipped.
TEST_F(KeyMapTest, KeyboardSectionReplacesRemovesKeepsAndRefuses) {
    const std::string longBinding = "Undo" + std::string(BindingMax, ' ');
    testing::internal::CaptureStderr();
    UseSettings("[Keyboard]\nequal=Undo\nbraquet=SwapABPen, Undo\nu=none\nn=\nShift A=NewLayer\n"
                "Hyper Q=Undo\nb=NoSuchCommand\nd=Undo, Missing, Undo\nc=" +
                longBinding + "\nshift k=Undo\nSHIFT K=SwapABPen\n");
    const std::string console = testing::internal::GetCapturedStderr();
    EXPECT_EQ(BindingOf("="), "Undo");
    EXPECT_EQ(BindingOf("["), "SwapABPen, Undo");
    EXPECT_EQ(BindingOf("u"), "<none>");
    EXPECT_EQ(BindingOf("n"), "SwapABPen");
    EXPECT_EQ(BindingOf("shift a"), "NewLayer");
    EXPECT_EQ(BindingOf("Shift K"), "SwapABPen"); // a key given twice: the last line stands
    EXPECT_EQ(BindingOf("b"), "SelectBrush");
    EXPECT_EQ(BindingOf("d"), "SelectDraw");
    EXPECT_EQ(BindingOf("c"), "SelectCircle");
    EXPECT_EQ(Occurrences(console, "key \"Hyper Q\" not found"), 1);
    EXPECT_EQ(Occurrences(console, "function NoSuchCommand not found"), 1);
    EXPECT_EQ(Occurrences(console, "function Missing not found"), 1);
    EXPECT_EQ(Occurrences(console, "binding of key \"c\" is longer"), 1);
    EXPECT_EQ(Occurrences(console, "key \"shift F10\" not found"), 1);

    // A line longer than the settings reader takes goes on as a line of its own: the
    // binding is refused, the rest is no key, and neither floods the console.
    testing::internal::CaptureStderr();
    UseSettings("[Keyboard]\nn=" + std::string(9000, 'U') + "\n");
    const std::string flood = testing::internal::GetCapturedStderr();
    EXPECT_EQ(BindingOf("n"), "SwapABPen");
    EXPECT_EQ(Occurrences(flood, "WARNING"), 4);
    EXPECT_LT(flood.size(), 1200u);
}

// What KeyMapSave writes, start-up reads back as it was.
TEST_F(KeyMapTest, SavedKeyboardSectionReadsBackTheSameBindings) {
    ASSERT_EQ(SetKeyBinding("=", "Undo, SwapABPen"), 1);
    ASSERT_EQ(SetKeyBinding("[", nullptr), 1);
    ASSERT_EQ(SetKeyBinding("u", "none"), 1);
    ASSERT_EQ(SetKeyBinding("Ctrl Shift Page Down", "NewLayer"), 1);
    std::string before[KeyNameCount];
    for (int i = 0; i < KeyNameCount; ++i) before[i] = KeyNames[i].Binding ? KeyNames[i].Binding : "<none>";
    KeyMapSave();
    EXPECT_EQ(CommandTable, nullptr);
    const std::string text = ConfigText(CurrentConfig);
    EXPECT_NE(text.find("equal=Undo, SwapABPen\n"), std::string::npos);
    EXPECT_NE(text.find("braquet=none\n"), std::string::npos);
    testing::internal::CaptureStderr();
    UseSettings(text);
    const std::string console = testing::internal::GetCapturedStderr();
    for (int i = 0; i < KeyNameCount; ++i)
        EXPECT_EQ(BindingOf(KeyNames[i].Name), before[i]) << KeyNames[i].Name;
    EXPECT_EQ(Occurrences(console, "WARNING"), 1); // shift F10 alone
}

TEST_F(KeyMapTest, SetKeyBindingRefusesUnknownKeysAndCommands) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(SetKeyBinding("Hyper Q", "Undo"), 0);
    EXPECT_EQ(SetKeyBinding("n", "Undo, Nothing"), 0);
    EXPECT_EQ(SetKeyBinding("n", std::string(BindingMax + 1, 'a').c_str()), 0);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(BindingOf("n"), "SwapABPen");
}

// A key file keeps every binding through a save and a load, and a file that is not a key
// map changes nothing.
TEST_F(KeyMapTest, KeyFileRoundTripAndNonKeyMapLoadsNothing) {
    ASSERT_EQ(SetKeyBinding("=", "Undo, SwapABPen"), 1);
    ASSERT_EQ(SetKeyBinding("n", nullptr), 1);
    ASSERT_EQ(SetKeyBinding("£", "NewLayer"), 1);
    KeyBindingSet saved = {};
    ASSERT_EQ(CopyBindingsOut(&saved), 1);
    const std::string base = TempPath("mine");
    ASSERT_EQ(SaveKeyFile(base.c_str(), &saved), 1);
    const std::string file = ReadFile(base + ".cfg");
    EXPECT_EQ(file.rfind("[Keyboard]\na=NextTool\n", 0), 0u);
    EXPECT_EQ(Occurrences(file, "\n"), KeyNameCount + 1);
    EXPECT_NE(file.find("\nequal=Undo, SwapABPen\n"), std::string::npos);
    EXPECT_NE(file.find("\nn=none\n"), std::string::npos);

    KeyBindingSet loaded = {};
    ASSERT_EQ(LoadKeyFile((base + ".cfg").c_str(), &loaded), 1);
    for (int i = 0; i < KeyNameCount; ++i)
        EXPECT_STREQ(loaded.Binding[i] ? loaded.Binding[i] : "", saved.Binding[i] ? saved.Binding[i] : "")
            << KeyNames[i].Name;

    const std::string junk = TempPath("junk.cfg");
    WriteFile(junk, "[Main]\nAPen=1 2 3\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ(LoadKeyFile(junk.c_str(), &loaded), 0);
    WriteFile(junk, std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16));
    EXPECT_EQ(LoadKeyFile(junk.c_str(), &loaded), 0);
    EXPECT_EQ(LoadKeyFile(TempPath("absent.cfg").c_str(), &loaded), 0);
    EXPECT_EQ(Occurrences(testing::internal::GetCapturedStderr(), "not a key map"), 3);
    for (int i = 0; i < KeyNameCount; ++i)
        EXPECT_STREQ(loaded.Binding[i] ? loaded.Binding[i] : "", saved.Binding[i] ? saved.Binding[i] : "");

    // Taken in, the set becomes the live map.
    ASSERT_EQ(SetKeyBinding("=", "Quit"), 1);
    ASSERT_EQ(CopyBindingsIn(&loaded), 1);
    EXPECT_EQ(BindingOf("="), "Undo, SwapABPen");
    FreeBindingSet(&saved);
    FreeBindingSet(&loaded);
}

TEST_F(KeyMapTest, LabelsSayKeysInTheCatalogsWords) {
    char label[64];
    auto of = [&](const char* name) {
        KeyLabel(name, label, sizeof label);
        return std::string(label);
    };
    EXPECT_EQ(of("Ctrl Shift F1"), "Ctrl+Shift+F1");
    EXPECT_EQ(of("shift page up"), "Shift+Page Up");
    EXPECT_EQ(of("Ctrl Shift Backspace"), "Ctrl+Shift+Backspace");
    EXPECT_EQ(of("alt del"), "Alt+Del");
    EXPECT_EQ(of("Shift A"), "Shift+A");
    EXPECT_EQ(of("+"), "+");
    EXPECT_EQ(of("Space"), "Space");
    EXPECT_EQ(of("Endless"), "Endless"); // a word is replaced only whole
    char tiny[5];
    EXPECT_EQ(KeyLabel("Ctrl Shift F1", tiny, sizeof tiny), 4);
    EXPECT_STREQ(tiny, "Ctrl");
}

// The list of keys in docs/keys.md is the list Nemu starts with, no more and no less.
TEST(KeyDocs, ReferenceListsExactlyTheDefaultKeys) {
    const std::string doc = ReadFile(NEMU_SOURCE_DIR "/docs/keys.md");
    std::set<std::pair<std::string, std::string>> documented, defaults;
    for (size_t at = doc.find("\n| `"); at != std::string::npos; at = doc.find("\n| `", at + 1)) {
        const size_t keyEnd = doc.find("` | `", at + 4);
        const size_t commandEnd = keyEnd == std::string::npos ? keyEnd : doc.find("` |", keyEnd + 5);
        ASSERT_NE(commandEnd, std::string::npos) << doc.substr(at, 40);
        std::string key = doc.substr(at + 4, keyEnd - at - 4);
        if (key == "\\|") key = "|";
        documented.insert({key, doc.substr(keyEnd + 5, commandEnd - keyEnd - 5)});
    }
    for (const DefaultBinding& d : DefaultBindings) defaults.insert({d.Key, d.Command});
    EXPECT_EQ(documented, defaults);
}
