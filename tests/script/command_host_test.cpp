#include "script/command_host.h"

#include "host/main_loop.h"
#include "host/platform.h"
#include "paint/pens.h"
#include "paint/refill.h"
#include "ui/requests.h"
#include "ui/settings.h"

#include "support/run_script.h"
#include <cctype>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <tuple>
#include <string>

using namespace nemu;

namespace {

std::string UserValue(const char* section, const char* key) {
    char buf[2048];
    ConfigGet(section, key, buf, "<none>", sizeof buf);
    return buf;
}

struct CommandHostTest : ::testing::Test {
    void SetUp() override {
        PageWidth = 640;
        PageHeight = 480;
    }
    void TearDown() override {
        delete CurrentConfig;
        CurrentConfig = nullptr;
    }
};

} // namespace

TEST_F(CommandHostTest, NamesAreCaseBlindAndArgumentsKeepTheirCase) {
    EXPECT_EQ(RunScript("OM_GETWIDTH"), "640");
    EXPECT_EQ(RunScript("Om_GetHeight"), "480");
    EXPECT_EQ(RunScript("OM_WriteUserString Sec Key MixedCase Words"), "");
    EXPECT_EQ(UserValue("Sec", "Key"), "MixedCase Words");
}

TEST_F(CommandHostTest, EachGroupGivesExactlyOneResultInOrder) {
    uint32_t known = 9;
    EXPECT_EQ(RunScript("[om_nop] [om_getwidth]", &known), "[][640]");
    EXPECT_EQ(known, 1u);
    EXPECT_EQ(RunScript("[om_getwidth][om_getheight]"), "[640][480]");
    EXPECT_EQ(RunScript("  \t[om_getheight]   [om_getwidth]  "), "[480][640]");
    // An unknown name is not an error: an empty result, and Known tells the client.
    EXPECT_EQ(RunScript("[om_nosuchthing] [om_getheight]", &known), "[][480]");
    EXPECT_EQ(known, 1u);
    EXPECT_EQ(RunScript("[om_getheight] [om_nosuchthing 1 2]", &known), "[480][]");
    EXPECT_EQ(known, 0u);
    EXPECT_EQ(RunScript("om_nosuchthing", &known), "");
    EXPECT_EQ(known, 0u);
    EXPECT_EQ(RunScript("[]"), "[]");
    EXPECT_EQ(RunScript(""), "");
}

TEST_F(CommandHostTest, PlainTextIsOneCommandAndGroupsStopAtAnythingElse) {
    // Without a leading bracket the whole text is one command; the rest is arguments.
    EXPECT_EQ(RunScript("om_getwidth [om_getheight]"), "640");
    EXPECT_EQ(RunScript("[om_getwidth] stray [om_getheight]"), "[640]");
    EXPECT_EQ(RunScript("[om_getwidth] ] [om_getheight]"), "[640]");
    // A group left open runs to the end of the text.
    EXPECT_EQ(RunScript("[om_getwidth"), "[640]");
    EXPECT_EQ(RunScript("[om_getwidth] [om_getheight"), "[640][480]");
}

TEST_F(CommandHostTest, WhiteSpaceBecomesBlanksAndNestedBracketsStayInTheText) {
    EXPECT_EQ(RunScript("om_getwidth\r\n"), "640");
    EXPECT_EQ(RunScript("[om_getwidth\n]"), "[640]");
    RunScript("om_writeuserstring\tS\tK\tone\ntwo");
    EXPECT_EQ(UserValue("S", "K"), "one two");
    EXPECT_EQ(RunScript("[om_writeuserstring S K [a [b]] c] [om_readuserstring S K]"), "[][[a [b]] c]");
    EXPECT_EQ(RunScript("[om_writeuserstring S K x]]"), "[]");
    EXPECT_EQ(UserValue("S", "K"), "x");
}

TEST_F(CommandHostTest, AGroupThatOpensWithABlankHasNoNameAndRunsNothing) {
    uint32_t known = 9;
    for (const char* text : {"[ om_writeuserstring S Blank x]", "[\tom_writeuserstring S Blank x]",
                             "[\nom_writeuserstring S Blank x]"}) {
        EXPECT_EQ(RunScript(text, &known), "[]") << text;
        EXPECT_EQ(known, 0u) << text;
    }
    EXPECT_EQ(UserValue("S", "Blank"), "<none>");
    // The groups around it run as ever.
    EXPECT_EQ(RunScript("[om_getwidth] [ om_getwidth] [om_getheight]", &known), "[640][][480]");
    EXPECT_EQ(known, 1u);
}

TEST_F(CommandHostTest, UnknownNamesAndErrorsCountInWhicheverGroupTheyStand) {
    auto run = [](const char* text) {
        auto request = std::make_unique<CommandRequest>();
        request->Text = text;
        RunCommandText(request.get());
        return std::make_tuple(request->Unknown, request->Failed, RequestFaulty(request.get()));
    };
    EXPECT_EQ(run("[om_getwidth] [om_nop]"), std::make_tuple(0u, 0u, false));
    // An unknown first group answers "[]" as om_nop does, and the last name was known.
    EXPECT_EQ(run("[om_nosuchthing] [om_getwidth]"), std::make_tuple(1u, 0u, true));
    EXPECT_EQ(run("[] [om_getwidth] [ om_getheight]"), std::make_tuple(2u, 0u, true));
    EXPECT_EQ(run("[om_readuserstring] [om_getwidth]"), std::make_tuple(0u, 1u, true));
    EXPECT_EQ(run("om_nosuchthing"), std::make_tuple(1u, 0u, true));
    // A result that merely reads like an error is not one.
    RunScript("om_writeuserstring S Err ERROR 5");
    EXPECT_EQ(run("[om_readuserstring S Err]"), std::make_tuple(0u, 0u, false));
    // The counts start afresh with each run of a request.
    auto request = std::make_unique<CommandRequest>();
    request->Text = "om_nosuchthing";
    RunCommandText(request.get());
    request->Text = "om_getwidth";
    RunCommandText(request.get());
    EXPECT_FALSE(RequestFaulty(request.get()));
}

TEST_F(CommandHostTest, ASignalToEndStopsTheTextAtTheNextCommand) {
    ASSERT_EQ(PlatformOpen(BACKEND_HEADLESS, 64, 48), 1);
    // The refill is where the signal comes, in the middle of the text.
    ExtendWetRect(0, 0, 1, 1);
    RefillAreaHook = [](int32_t) {
        std::raise(SIGTERM);
        return 1;
    };
    EXPECT_EQ(PlatformStopSignal(), 0);
    EXPECT_EQ(RunScript("[om_getwidth] [om_redo 0] [om_writeuserstring S After ran] [om_getheight]"),
              "[640][]");
    EXPECT_EQ(PlatformStopSignal(), SIGTERM);
    EXPECT_EQ(UserValue("S", "After"), "<none>");
    EXPECT_EQ(RunScript("om_getwidth"), "");
    // Long work sees it at its next step, as it would see the Cancel of its progress box.
    UserBreak = 0;
    ProgressStep(1, 10);
    EXPECT_EQ(UserBreak, 1);
    UserBreak = 0;
    RefillAreaHook = nullptr;
    WetRect = WetBox();
    PlatformClose();
    EXPECT_EQ(PlatformStopSignal(), 0);
    EXPECT_EQ(RunScript("om_getwidth"), "640");
    ProgressStep(2, 10);
    EXPECT_EQ(UserBreak, 0);
}

TEST_F(CommandHostTest, MissingArgumentsGiveErrorMinusOneInTheModesForm) {
    EXPECT_EQ(RunScript("om_readuserstring"), "ERROR -1");
    EXPECT_EQ(RunScript("[om_readuserstring Main] [om_getwidth]"), "[ERROR -1][640]");
    // Missing numbers read 0 and extra ones are ignored: no complaint either way.
    EXPECT_EQ(RunScript("[om_getpixel] [om_getpixel 1 2 3 4 5]"), "[0 0 0 0][0 0 0 0]");
}

TEST_F(CommandHostTest, ReplyRulesOfAppendAndError) {
    auto* r = new CommandRequest;
    BracketMode = 1;
    ReplyError(r, 0);
    ReplyError(r, -7);
    ReplyAppend(r, "");
    ReplyAppend(r, nullptr);
    EXPECT_STREQ(r->Reply, "[][ERROR -7][][]");
    EXPECT_EQ(r->Known, 4u);
    EXPECT_EQ(ReplyState, 2);
    r->Reply[0] = 0;
    BracketMode = 0;
    ReplyError(r, 0);
    ReplyError(r, 12);
    ReplyAppend(r, " x");
    EXPECT_STREQ(r->Reply, "ERROR 12 x");
    // A result that does not fit is cut; the reply stays terminated.
    std::string big(6000, 'z');
    ReplyAppend(r, big.c_str());
    ReplyAppend(r, "more");
    EXPECT_EQ(std::strlen(r->Reply), ReplySize - 1);
    delete r;
}

TEST_F(CommandHostTest, EveryGroupRunsEvenAfterTheReplyIsFull) {
    std::string text;
    for (int i = 0; i < 3000; i++) text += "[om_getwidth]";
    text += "[om_writeuserstring S Last ran]";
    std::string reply = RunScript(text);
    EXPECT_EQ(reply.size(), ReplySize - 1);
    EXPECT_EQ(reply.substr(0, 10), "[640][640]");
    EXPECT_EQ(UserValue("S", "Last"), "ran");
}

TEST_F(CommandHostTest, HostileTextsNeitherCrashNorRecurse) {
    // Two million opening brackets: one unclosed group whose name is no command.
    EXPECT_EQ(RunScript(std::string(2000000, '[')), "[]");
    EXPECT_EQ(RunScript(std::string(100000, '[') + "om_getwidth" + std::string(100000, ']')), "[]");
    std::string closing(2000000, ']');
    EXPECT_EQ(RunScript(closing), "");
    // A long run of empty groups and a long plain command line.
    std::string empties;
    for (int i = 0; i < 200000; i++) empties += "[] ";
    EXPECT_EQ(RunScript(empties).size(), ReplySize - 1);
    std::string longValue(5000000, 'v');
    EXPECT_EQ(RunScript("om_writeuserstring S Long " + longValue), "");
    EXPECT_EQ(UserValue("S", "Long").size(), 1023u);
    std::string binary;
    for (int i = 0; i < 100000; i++) binary += char(1 + i % 255);
    RunScript(binary);
    RunScript("[" + binary);
}

TEST_F(CommandHostTest, ARunLeavesTheOuterRunsStateAsItFoundIt) {
    // What a handler that runs a nested text relies on.
    BracketMode = 1;
    ReplyState = 2;
    EXPECT_EQ(RunScript("om_getwidth"), "640");
    EXPECT_EQ(RunScript("[om_nop]"), "[]");
    EXPECT_EQ(BracketMode, 1);
    EXPECT_EQ(ReplyState, 2);
}

TEST_F(CommandHostTest, RemoteDoorCopiesTheReplyAndReportsKnown) {
    char result[8];
    uint32_t faulty = 9;
    EXPECT_EQ(RunRemoteText("[om_getwidth] [om_getheight]", result, sizeof result, &faulty), 1);
    EXPECT_STREQ(result, "[640][4");
    EXPECT_EQ(faulty, 0u);
    char big[ReplySize];
    EXPECT_EQ(RunRemoteText("om_bogus", big, sizeof big, &faulty), 0);
    EXPECT_STREQ(big, "");
    EXPECT_EQ(faulty, 1u);
    EXPECT_EQ(RunRemoteText("[om_bogus] [om_getwidth]", big, sizeof big, &faulty), 1);
    EXPECT_STREQ(big, "[][640]");
    EXPECT_EQ(faulty, 1u);
    EXPECT_EQ(RunRemoteText("om_getheight", big, sizeof big), 1);
    EXPECT_STREQ(big, "480");
    EXPECT_EQ(RunRemoteText(nullptr, big, sizeof big), 0);
}

TEST(CommandTable, NamesAreLowerCaseUniqueAndFoundExactly) {
    std::set<std::string> seen;
    for (const ScriptCommand* const* family = CommandFamilies; *family; family++)
        for (const ScriptCommand* row = *family; row->Name; row++) {
            std::string name = row->Name;
            EXPECT_EQ(name.rfind("om_", 0), 0u) << name;
            for (char c : name) EXPECT_FALSE(std::isupper(static_cast<unsigned char>(c))) << name;
            EXPECT_TRUE(seen.insert(name).second) << name << " appears twice";
            EXPECT_EQ(FindScriptCommand(row->Name), row) << name;
            EXPECT_NE(row->Handler, nullptr) << name;
        }
    EXPECT_GE(seen.size(), 20u);
    EXPECT_EQ(FindScriptCommand("OM_GETWIDTH"), nullptr);
    EXPECT_EQ(FindScriptCommand("om_getwidt"), nullptr);
    EXPECT_EQ(FindScriptCommand(""), nullptr);
    EXPECT_EQ(FindScriptCommand("om_lockscreen")->Handler, FindScriptCommand("om_lockdisplay")->Handler);
}

// The command reference must stay true: every command of the table is documented, and
// every command the reference names exists.
TEST(CommandTable, ReferenceDocumentsExactlyTheCommandsThatExist) {
    std::FILE* f = std::fopen(NEMU_SOURCE_DIR "/docs/commands.md", "r");
    ASSERT_NE(f, nullptr);
    std::string doc;
    char buf[4096];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) doc.append(buf, n);
    std::fclose(f);
    std::set<std::string> documented;
    for (size_t at = doc.find("om_"); at != std::string::npos; at = doc.find("om_", at + 3)) {
        if (at > 0 && (std::isalnum(static_cast<unsigned char>(doc[at - 1])) || doc[at - 1] == '_')) continue;
        size_t end = at + 3;
        while (end < doc.size() && (std::isalnum(static_cast<unsigned char>(doc[end])) || doc[end] == '_')) end++;
        documented.insert(doc.substr(at, end - at));
    }
    std::set<std::string> existing;
    for (const ScriptCommand* const* family = CommandFamilies; *family; family++)
        for (const ScriptCommand* row = *family; row->Name; row++) existing.insert(row->Name);
    for (const auto& name : existing) EXPECT_TRUE(documented.count(name)) << name << " is not in docs/commands.md";
    for (const auto& name : documented)
        EXPECT_TRUE(existing.count(name)) << name << " is documented but does not exist";
}
