#include "ui/catalog.h"

#include "host/main_loop.h"
#include "support/temp_files.h"
#include "ui/settings.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using namespace nemu;

namespace {

int Count(const std::string& text, const std::string& part) {
    int n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) n++;
    return n;
}

// Loads a catalog file written from text; the warnings shown go to warnings.
MsgCatalog* LoadText(const std::string& text, std::string* warnings = nullptr) {
    std::string path = TempPath("test.loc");
    WriteFile(path, text);
    testing::internal::CaptureStderr();
    MsgCatalog* c = CatalogLoad(path.c_str());
    std::string err = testing::internal::GetCapturedStderr();
    if (warnings) *warnings = err;
    return c;
}

struct CatalogTest : ::testing::Test {
    void TearDown() override {
        CatalogFreeAll();
        LocalDebug = 0;
        delete MachineConfig;
        MachineConfig = nullptr;
    }
};

} // namespace

TEST_F(CatalogTest, LookupWithoutACatalogIsEmptyNeverNull) {
    const char* text = MsgGet(nullptr, 999999);
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, "");
    CatalogSet(nullptr, 5, "five", 0);
    ASSERT_NE(GlobalCatalog, nullptr) << "a set on no catalog makes the program's own";
    EXPECT_STREQ(MsgGet(nullptr, 5), "five");
    EXPECT_STREQ(MsgGet(nullptr, 6), "");
    EXPECT_STREQ(MsgGet(nullptr, 5 + (1u << 24)), "");
}

TEST_F(CatalogTest, EachByteOfTheIdIsALevel) {
    CatalogSet(nullptr, 0, "zero", 0);
    CatalogSet(nullptr, 1, "one", 0);
    CatalogSet(nullptr, 257, "two-five-seven", 0);
    CatalogSet(nullptr, 0xFFFFFFFFu, "top", 0);
    char*** second = GlobalCatalog->Root[0][0];
    ASSERT_NE(second[0], nullptr);
    ASSERT_NE(second[1], nullptr);
    EXPECT_NE(second[0], second[1]) << "1 and 257 live in different third-level arrays";
    EXPECT_STREQ(second[0][1], "one");
    EXPECT_STREQ(second[1][1], "two-five-seven");
    EXPECT_STREQ(MsgGet(nullptr, 0), "zero");
    EXPECT_STREQ(MsgGet(nullptr, 0xFFFFFFFFu), "top");
    EXPECT_STREQ(MsgGet(nullptr, 256), "");
}

TEST_F(CatalogTest, TheTextFormat) {
    std::string warnings;
    MsgCatalog* c = LoadText("; a comment, and lines that do not start with $ are too\n"
                             "one line\n"
                             "$1 \"one\" trailing words\n"
                             "   $ 2 \"blank after the dollar\"\n"
                             "$3 no quote at all\n"
                             "$4 \"tab\\there \\\"q\\\" back\\\\slash \\'s\\q\"\n"
                             "$5 \"nul\\0after\"\n"
                             "$6 \"first \\\n"
                             "second\"\n"
                             "$7 \"open to the end\n"
                             "$8 \"newline\\nin it\"\r\n",
                             &warnings);
    ASSERT_NE(c, nullptr);
    EXPECT_STREQ(MsgGet(c, 1), "one");
    EXPECT_STREQ(MsgGet(c, 2), "blank after the dollar");
    EXPECT_STREQ(MsgGet(c, 3), "");
    EXPECT_STREQ(MsgGet(c, 4), "tab\there \"q\" back\\slash 'sq");
    EXPECT_STREQ(MsgGet(c, 5), "nul");
    EXPECT_EQ(std::memcmp(MsgGet(c, 5), "nul\0after", 10), 0) << "the bytes after the zero are kept";
    EXPECT_STREQ(MsgGet(c, 6), "first second");
    EXPECT_STREQ(MsgGet(c, 7), "open to the end");
    EXPECT_STREQ(MsgGet(c, 8), "newline\nin it");
    EXPECT_EQ(Count(warnings, "Warning: Bad line 7"), 1);
    EXPECT_EQ(Count(warnings, "Warning"), 1) << "a line without a quote is skipped silently";
    EXPECT_EQ(MsgGet(nullptr, 1)[0], 0) << "a loaded catalog is not the program's own";
}

TEST_F(CatalogTest, ADuplicateIdWarnsOnceAndTheLastTextStands) {
    std::string warnings;
    MsgCatalog* c = LoadText("$9 \"first\"\n$9 \"second\"\n$10 \"other\"\n", &warnings);
    EXPECT_STREQ(MsgGet(c, 9), "second");
    EXPECT_EQ(Count(warnings, "Warning: multiple line 9\n\"second\""), 1);
    EXPECT_EQ(Count(warnings, "Warning"), 1);
}

TEST_F(CatalogTest, HostileFilesNeitherCrashNorOverrun) {
    std::string junk;
    uint32_t seed = 99;
    for (int i = 0; i < 200000; i++) {
        seed = seed * 1103515245 + 12345;
        junk += char(seed >> 16);
    }
    EXPECT_NE(LoadText(junk + "\n$1 \"after junk\"\n"), nullptr);
    // A line longer than the reader's 8000 bytes ends unterminated; its rest is a comment.
    std::string warnings;
    MsgCatalog* c = LoadText("$11 \"" + std::string(20000, 'w') + "\"\n$12 \"fine\"\n", &warnings);
    EXPECT_LT(std::strlen(MsgGet(c, 11)), 8000u);
    EXPECT_STREQ(MsgGet(c, 12), "fine");
    EXPECT_EQ(Count(warnings, "Bad line 11"), 1);
    // A backslash at the very end of the file.
    c = LoadText("$13 \"dangling \\", &warnings);
    EXPECT_STREQ(MsgGet(c, 13), "dangling ");
    LoadText("$99999999999999999999 \"huge id\"\n$-1 \"negative\"\n");
}

TEST_F(CatalogTest, LocalDebugStarsEveryCharacterAndStaysOn) {
    MachineConfig = new ConfigFile;
    ConfigSetIn(MachineConfig, "STARTUP", "LocalDebug", "ON");
    MsgCatalog* c = LoadText("$1 \"Open\"\n$2 \"a\\0b\"\n");
    EXPECT_STREQ(MsgGet(c, 1), "****");
    EXPECT_STREQ(MsgGet(c, 2), "***");
    ConfigSetIn(MachineConfig, "STARTUP", "LocalDebug", "0");
    c = LoadText("$1 \"Save\"\n");
    EXPECT_STREQ(MsgGet(c, 1), "****") << "once set, the flag stays for later loads";
}

TEST_F(CatalogTest, LocalDebugByNumber) {
    MachineConfig = new ConfigFile;
    ConfigSetIn(MachineConfig, "Startup", "LocalDebug", "off");
    EXPECT_STREQ(MsgGet(LoadText("$1 \"x\"\n"), 1), "x");
    ConfigSetIn(MachineConfig, "Startup", "LocalDebug", "2");
    EXPECT_STREQ(MsgGet(LoadText("$1 \"x\"\n"), 1), "*");
}

TEST_F(CatalogTest, TheFileIsSoughtAsGivenThenInLocalThenInPlugins) {
    ProgramDir = TempPath("program");
    std::string french = TempPath("french");
    mkdir(ProgramDir.c_str(), 0700);
    mkdir((ProgramDir + "/plugins").c_str(), 0700);
    mkdir(french.c_str(), 0700);
    WriteFile(ProgramDir + "/plugins/tool.loc", "$1 \"from plugins\"\n");
    WriteFile(ProgramDir + "/nemu.loc", "$1 \"from the data folder\"\n");
    WriteFile(french + "/nemu.loc", "$1 \"du dossier local\"\n");
    EXPECT_STREQ(MsgGet(CatalogLoad("tool.loc"), 1), "from plugins");
    EXPECT_EQ(CatalogLoad("absent.loc"), nullptr);
    EXPECT_EQ(CatalogLoadGlobal(), 1);
    EXPECT_STREQ(MsgGet(nullptr, 1), "from the data folder");
    MachineConfig = new ConfigFile;
    ConfigSetIn(MachineConfig, "Startup", "Local", french.c_str());
    EXPECT_EQ(CatalogLoadGlobal(), 1);
    EXPECT_STREQ(MsgGet(nullptr, 1), "du dossier local");
    ConfigSetIn(MachineConfig, "Startup", "Local", TempPath("nowhere").c_str());
    ProgramDir = TempPath("empty");
    testing::internal::CaptureStderr();
    EXPECT_EQ(CatalogLoadGlobal(), 0);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("nemu.loc: file not found"), std::string::npos);
    EXPECT_STREQ(MsgGet(nullptr, 1), "du dossier local") << "a failed load keeps what was there";
}

TEST_F(CatalogTest, TheCurrentFolderIsNeverSearched) {
    const std::string savedHome = HomeDir, savedProgram = ProgramDir;
    char cwd[4096];
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    std::string here = TempPath("here"), settings = TempPath("settings");
    mkdir(here.c_str(), 0700);
    mkdir(settings.c_str(), 0700);
    WriteFile(here + "/nemu.loc", "$1 \"planted\"\n");
    HomeDir = settings;
    ProgramDir = TempPath("no-data");
    ASSERT_EQ(chdir(here.c_str()), 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(CatalogLoadGlobal(), 0);
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_NE(said.find(ProgramDir + "/nemu.loc: file not found"), std::string::npos) << said;
    EXPECT_STREQ(MsgGet(nullptr, 1), "");
    // The settings folder is: a user's own texts go there.
    WriteFile(settings + "/nemu.loc", "$1 \"the user's\"\n");
    EXPECT_EQ(CatalogLoadGlobal(), 1);
    EXPECT_STREQ(MsgGet(nullptr, 1), "the user's");
    EXPECT_EQ(chdir(cwd), 0);
    HomeDir = savedHome;
    ProgramDir = savedProgram;
}

TEST_F(CatalogTest, FreeingUnlinksFromTheList) {
    MsgCatalog* a = LoadText("$1 \"a\"\n");
    MsgCatalog* b = LoadText("$1 \"b\"\n");
    CatalogSet(nullptr, 1, "global", 0);
    CatalogFree(a);
    int n = 0;
    for (MsgCatalog* c = CatalogList; c; c = c->Next) {
        EXPECT_NE(c, a);
        n++;
    }
    EXPECT_EQ(n, 2);
    EXPECT_STREQ(MsgGet(b, 1), "b");
    CatalogFreeAll();
    EXPECT_EQ(CatalogList, nullptr);
    EXPECT_EQ(GlobalCatalog, nullptr);
    EXPECT_STREQ(MsgGet(nullptr, 1), "");
}
