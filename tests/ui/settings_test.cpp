#include "ui/settings.h"

#include "host/main_loop.h"
#include "support/temp_files.h"

#include <csignal>
#include <dirent.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace nemu;

namespace {

std::string Get(const char* section, const char* key) {
    char buf[8192];
    ConfigGet(section, key, buf, "<default>", sizeof buf);
    return buf;
}

// Parses text as the current settings.
void Parse(const std::string& text) {
    delete CurrentConfig;
    CurrentConfig = new ConfigFile;
    ParseConfigText(CurrentConfig, text);
}

int FilesIn(const std::string& dir) {
    int n = 0;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d)) n += e->d_name[0] != '.';
        closedir(d);
    }
    return n;
}

struct SettingsTest : ::testing::Test {
    void SetUp() override { HomeDir = TempPath("home"); }
    void TearDown() override {
        delete CurrentConfig;
        CurrentConfig = nullptr;
        delete MachineConfig;
        MachineConfig = nullptr;
    }
};

} // namespace

TEST_F(SettingsTest, KeysValuesAndTheirQuirks) {
    Parse("  [Main]\r\n"
          "Twice=first\n"
          "twice=second\n"
          "key = value  \n"
          "Empty=\n"
          "  NoEquals\n"
          "\n"
          "[Other]\n"
          "a=1\n"
          "[main]\n"
          "late=yes\n");
    EXPECT_EQ(Get("Main", "TWICE"), "second");
    EXPECT_EQ(Get("Main", "key "), "value  ") << "the blank before = belongs to the key";
    EXPECT_EQ(Get("Main", "key"), "<default>");
    EXPECT_EQ(Get("Main", "Empty"), "") << "an empty value is kept in memory";
    EXPECT_EQ(Get("Main", "NoEquals"), "");
    EXPECT_EQ(Get("MAIN", "late"), "yes") << "a section met twice is one section";
    EXPECT_EQ(Get("[Main]", "late"), "<default>") << "names are given without their brackets";
    EXPECT_EQ(Get("Other", "a"), "1");
    EXPECT_EQ(Get("Nowhere", "a"), "<default>");
    EXPECT_EQ(ConfigText(CurrentConfig), "[Main]\nTwice=second\nkey =value  \nlate=yes\n\n[Other]\na=1\n\n");
}

TEST_F(SettingsTest, WhatEndsTheParse) {
    Parse("[A]\na=1\n[B\nb=2\n[C]\nc=3\n");
    EXPECT_EQ(Get("A", "a"), "1");
    EXPECT_EQ(Get("B", "b"), "<default>") << "a [ without ] ends the file";
    EXPECT_EQ(Get("C", "c"), "<default>");
    Parse("stray=1\n[A]\na=1\n");
    EXPECT_EQ(Get("A", "a"), "<default>") << "a key before any section ends the file";
    EXPECT_TRUE(CurrentConfig->Sections.empty());
    // Twenty lines without a section are all a file may have before its first one.
    Parse(std::string(19, '\n') + "[A]\na=1\n");
    EXPECT_EQ(Get("A", "a"), "1");
    Parse(std::string(20, '\n') + "[A]\na=1\n");
    EXPECT_EQ(Get("A", "a"), "<default>");
}

TEST_F(SettingsTest, LongLinesGoOnAsTheNextLineInFileAndText) {
    std::string text = "[A]\nk=" + std::string(5000, 'x') + "\n[B]\nb=2\n";
    Parse(text);
    EXPECT_EQ(Get("A", "k").size(), 4093u);
    EXPECT_EQ(Get("A", std::string(907, 'x').c_str()), "");
    EXPECT_EQ(Get("B", "b"), "2");
    std::string fromText = ConfigText(CurrentConfig);
    std::string path = TempPath("long.ini");
    WriteFile(path, text);
    LoadConfig(path.c_str());
    EXPECT_EQ(ConfigText(CurrentConfig), fromText);
}

TEST_F(SettingsTest, BinaryFilesAndZeroBytesAreHarmless) {
    std::string junk;
    uint32_t seed = 12345;
    for (int i = 0; i < 1 << 20; i++) {
        seed = seed * 1103515245 + 12345;
        junk += char(seed >> 16);
    }
    std::string path = TempPath("junk.ini");
    WriteFile(path, junk);
    EXPECT_EQ(LoadConfig(path.c_str()), 1);
    EXPECT_TRUE(CurrentConfig->Sections.empty());
    // A zero byte ends its line, as C text does.
    WriteFile(path, std::string("[A]\nk=v\0junk=1\nk2=w\n", 20));
    LoadConfig(path.c_str());
    EXPECT_EQ(Get("A", "k"), "v");
    EXPECT_EQ(Get("A", "junk"), "<default>");
    EXPECT_EQ(Get("A", "k2"), "w");
}

TEST_F(SettingsTest, HugeFilesStopAtTheLimitAndManyKeysStayFast) {
    std::string path = TempPath("huge.ini");
    {
        std::string block;
        for (int i = 0; i < 4096; i++) block += "same=value\n";
        FILE* f = std::fopen(path.c_str(), "wb");
        std::fputs("[A]\nfirst=1\n", f);
        for (size_t written = 0; written < MaxConfigBytes + (4u << 20); written += block.size())
            std::fwrite(block.data(), 1, block.size(), f);
        std::fputs("last=1\n", f);
        std::fclose(f);
    }
    testing::internal::CaptureStderr();
    LoadConfig(path.c_str());
    std::string out = testing::internal::GetCapturedStderr();
    EXPECT_EQ(Get("A", "first"), "1");
    EXPECT_EQ(Get("A", "last"), "<default>");
    EXPECT_NE(out.find("WARNING : "), std::string::npos);

    std::string many = "[A]\n";
    for (int i = 0; i < 200000; i++) many += "key" + std::to_string(i) + "=" + std::to_string(i) + "\n";
    // A file of many keys parses in reasonable time only if lookups do not walk every key;
    // the test's own time limit catches a quadratic parse.
    Parse(many);
    EXPECT_EQ(Get("A", "KEY199999"), "199999");
}

TEST_F(SettingsTest, GetAndSetArguments) {
    char buf[8] = "xxxxxxx";
    EXPECT_EQ(ConfigGet("A", "k", nullptr, "d", 8), 0);
    EXPECT_EQ(ConfigGet(nullptr, "k", buf, "d", 8), 0);
    EXPECT_EQ(ConfigGet("A", "k", buf, nullptr, sizeof buf), 0);
    EXPECT_STREQ(buf, "");
    EXPECT_EQ(ConfigSet(nullptr, "k", "v"), 0);
    EXPECT_EQ(ConfigSet("A", nullptr, "v"), 0);
    EXPECT_EQ(ConfigSet("A", "k", nullptr), 0);
    EXPECT_EQ(ConfigSet("A", "k", "a long value"), 1);
    EXPECT_EQ(ConfigGet("a", "K", buf, "d", sizeof buf), 7) << "cut to size - 1, and terminated";
    EXPECT_STREQ(buf, "a long ");
    EXPECT_EQ(ConfigSet("A", "k", "new"), 1);
    EXPECT_EQ(ConfigText(CurrentConfig), "[A]\nk=new\n\n");
    int rgb[3];
    ConfigSet("A", "colour", "300 -5 10");
    ConfigGetColour("A", "colour", rgb, "1 2 3");
    EXPECT_EQ(rgb[0], 255);
    EXPECT_EQ(rgb[1], 0);
    EXPECT_EQ(rgb[2], 10);
    ConfigSet("A", "n", "99999999999");
    EXPECT_EQ(ConfigGetInt("A", "n", 0), 2147483647);
    EXPECT_EQ(ConfigGetInt("A", "missing", 42), 42);
    ConfigSet("A", "flag", "On and on");
    EXPECT_TRUE(ConfigGetOn("A", "flag", false));
}

TEST_F(SettingsTest, SaveWritesWhatLoadReadsButNoEmptyValues) {
    std::string path = TempPath("round.ini");
    WriteFile(path, "[Main]\nA=1\nB=\n");
    LoadConfig(path.c_str());
    ConfigSet("Pressure", "PressureX", "10 20");
    EXPECT_EQ(SaveConfig(), 1);
    EXPECT_EQ(ReadFile(path), "[Main]\nA=1\n\n[Pressure]\nPressureX=10 20\n\n");
    LoadConfig(path.c_str());
    EXPECT_EQ(Get("Pressure", "pressurex"), "10 20");
}

TEST_F(SettingsTest, AFailedWriteLeavesTheOldFileWhole) {
    std::string dir = TempPath("atomic");
    mkdir(dir.c_str(), 0700);
    std::string path = dir + "/Nemu.ini";
    WriteFile(path, "[Main]\nold=1\n");
    LoadConfig(path.c_str());
    ConfigSet("Main", "big", std::string(100000, 'b').c_str());
    // Files may not grow past 1000 bytes: the write fails half way.
    signal(SIGXFSZ, SIG_IGN);
    rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    rlimit small = old;
    small.rlim_cur = 1000;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    int saved = SaveConfig();
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_EQ(saved, 0);
    EXPECT_EQ(ReadFile(path), "[Main]\nold=1\n");
    EXPECT_EQ(FilesIn(dir), 1) << "no temporary file is left behind";
    EXPECT_EQ(WriteFileAtomic((dir + "/no/such/folder.ini").c_str(), "x"), 0);
}

TEST_F(SettingsTest, AWrittenFileIsPrivateWhenNewAndKeepsItsModeAndLinkWhenReplaced) {
    std::string dir = TempPath("modes");
    mkdir(dir.c_str(), 0700);
    struct stat st;
    std::string fresh = dir + "/new.ini";
    ASSERT_EQ(WriteFileAtomic(fresh.c_str(), "[A]\n"), 1);
    ASSERT_EQ(stat(fresh.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);

    std::string shared = dir + "/shared.ini";
    WriteFile(shared, "old");
    chmod(shared.c_str(), 0644);
    std::string link = dir + "/link.ini";
    ASSERT_EQ(symlink("shared.ini", link.c_str()), 0);
    ASSERT_EQ(WriteFileAtomic(link.c_str(), "new"), 1);
    ASSERT_EQ(lstat(link.c_str(), &st), 0);
    EXPECT_TRUE(S_ISLNK(st.st_mode)) << "the link stays a link";
    EXPECT_EQ(ReadFile(shared), "new");
    ASSERT_EQ(stat(shared.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0644u);
    EXPECT_EQ(FilesIn(dir), 3);
}

TEST_F(SettingsTest, ProfilesLoadCopyAndRefuseBadNames) {
    EXPECT_EQ(ConfigSet("Main", "a", "1"), 1);
    CurrentConfig->Path = TempPath("current.ini");
    WriteFile(CurrentConfig->Path, "[Main]\na=1\nempty=\n; kept as bytes\n");
    // A copy is of the file's bytes, and makes the folders of a new user.
    EXPECT_EQ(CopyProfile("Video"), 1);
    EXPECT_EQ(ReadFile(ProfilePath("Video")), "[Main]\na=1\nempty=\n; kept as bytes\n");
    EXPECT_EQ(LoadProfile("Video"), 1);
    EXPECT_EQ(CurrentConfig->Path, HomeDir + "/configs/Video.ini");
    EXPECT_EQ(Get("Main", "a"), "1");
    EXPECT_EQ(CopyProfile("VIDEO"), 0) << "the same path, without regard to case";
    // The current profile is not read again.
    ConfigSet("Main", "a", "changed");
    EXPECT_EQ(LoadProfile("Video"), 1);
    EXPECT_EQ(Get("Main", "a"), "changed");
    for (const char* bad : {"", "..", "../escape", "a/b"}) {
        EXPECT_EQ(LoadProfile(bad), 0) << bad;
        EXPECT_EQ(CopyProfile(bad), 0) << bad;
    }
    EXPECT_EQ(Get("Main", "a"), "changed");
    // A profile that does not exist gives empty settings.
    EXPECT_EQ(LoadProfile("Absent"), 1);
    EXPECT_EQ(Get("Main", "a"), "<default>");
    EXPECT_EQ(LoadProfile(nullptr), 1);
    EXPECT_EQ(CurrentConfig, nullptr);
}

TEST_F(SettingsTest, SeparateFilesAreWrittenOnlyWhenChanged) {
    std::string path = TempPath("other.ini");
    ConfigFile* h = OpenConfig(path.c_str());
    ASSERT_NE(h, nullptr);
    char buf[16];
    EXPECT_EQ(ConfigGetIn(h, "S", "k", buf, "dflt", sizeof buf), 4);
    EXPECT_EQ(CloseConfig(h), 1);
    EXPECT_EQ(ReadFile(path), "<missing>");
    h = OpenConfig(path.c_str());
    EXPECT_EQ(ConfigSetIn(h, "S", "k", "v"), 1);
    EXPECT_EQ(CloseConfig(h), 1);
    EXPECT_EQ(ReadFile(path), "[S]\nk=v\n\n");
    h = OpenConfig(TempPath("no/folder.ini").c_str());
    ConfigSetIn(h, "S", "k", "v");
    EXPECT_EQ(CloseConfig(h), 0);
    EXPECT_EQ(CloseConfig(nullptr), 0);
    EXPECT_EQ(OpenConfig(nullptr), nullptr);
}

TEST_F(SettingsTest, StartupKeysComeFromTheMachineFileInAnyCase) {
    std::string path = TempPath("Nemu.INI");
    WriteFile(path, "[Startup]\nCacheSize=64\nnobuffering=no\n");
    MachineConfig = OpenConfig(path.c_str());
    char buf[16];
    StartupGet("NOBUFFERING", buf, "yes", sizeof buf);
    EXPECT_STREQ(buf, "no");
    EXPECT_EQ(StartupGetInt("CacheSize", -1), 64);
    EXPECT_EQ(StartupGetInt("Missing", -1), -1);
    EXPECT_EQ(Get("Startup", "CacheSize"), "<default>") << "the machine file is not the user's";
}

TEST_F(SettingsTest, NamesTheFileCouldNotReadBackAreRefused) {
    std::string path = TempPath("refuse.ini");
    WriteFile(path, "[Main]\na=1\n");
    LoadConfig(path.c_str());
    const std::string before = ConfigText(CurrentConfig);
    struct Bad {
        const char *Section, *Key, *Value;
    } bad[] = {
        {"[Main]", "k", "v"}, {"Ma]in", "k", "v"},
        {"Ma\nin", "k", "v"}, {"", "k", "v"},
        {"Main", "[k", "v"},  {"Main", " k", "v"},
        {"Main", "k=1", "v"}, {"Main", "k\rx", "v"},
        {"Main", "", "v"},    {"Main", "k", "v\n[Evil]\nx=1"},
    };
    testing::internal::CaptureStderr();
    for (const Bad& b : bad) {
        EXPECT_EQ(ConfigSet(b.Section, b.Key, b.Value), 0) << b.Section << "/" << b.Key;
        ConfigFile* other = OpenConfig(TempPath("other-refuse.ini").c_str());
        EXPECT_EQ(ConfigSetIn(other, b.Section, b.Key, b.Value), 0);
        EXPECT_EQ(other->Changed, 0);
        CloseConfig(other);
    }
    EXPECT_NE(testing::internal::GetCapturedStderr().find("WARNING : "), std::string::npos);
    EXPECT_EQ(ConfigText(CurrentConfig), before);
    EXPECT_EQ(ReadFile(TempPath("other-refuse.ini")), "<missing>");
    // What the file can hold is written and read back as it was set.
    EXPECT_EQ(ConfigSet("My Panel", "key with blanks", "= and [ are fine here"), 1);
    EXPECT_EQ(SaveConfig(), 1);
    LoadConfig(path.c_str());
    EXPECT_EQ(Get("my panel", "KEY WITH BLANKS"), "= and [ are fine here");
}
