// The program as a user starts it again and again: what one run changes in the settings
// the next one finds, what a profile that asks to be kept unchanged keeps, where the
// texts come from, and how the first stroke of a session looks.
#include "support/temp_files.h"

#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct ProgramRun {
    int Status;
    std::string Output;
    std::string Errors;
};

// A settings folder of its own for each case, so that runs of other tests leave nothing
// in it.
std::string FreshConfigHome(const std::string& name) {
    std::string dir = TempPath("home-" + name);
    mkdir(dir.c_str(), 0700);
    return dir;
}

// Runs a program headless with the given settings folder, from the folder `cwd`.
ProgramRun RunProgram(const std::string& binary, const std::string& configHome, const std::string& args,
                      const std::string& cwd = "/") {
    std::string errors = TempPath("stderr.txt");
    std::string command = "cd '" + cwd + "' && env -u DISPLAY XDG_CONFIG_HOME='" + configHome + "' '" +
                          binary + "' --headless " + args + " 2>'" + errors + "'";
    ProgramRun r{-1, "", ""};
    FILE* p = popen(command.c_str(), "r");
    if (!p) return r;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) r.Output.append(buf, n);
    int st = pclose(p);
    r.Status = WIFEXITED(st) ? WEXITSTATUS(st) : 128 + WTERMSIG(st);
    r.Errors = ReadFile(errors);
    return r;
}

ProgramRun Nemu(const std::string& configHome, const std::string& args) {
    return RunProgram(NEMU_BINARY_DIR "/nemu", configHome, args);
}

} // namespace

TEST(StartSettings, AFreshInstallKeepsWhatTheRunChanged) {
    std::string home = FreshConfigHome("fresh");
    ProgramRun r = Nemu(home, "-c '[om_setapen 0 200 0] [om_setbpen 1 2 3]'");
    ASSERT_EQ(r.Status, 0) << r.Errors;
    EXPECT_NE(ReadFile(home + "/nemu/Nemu.INI").find("Last_Config=default\n"), std::string::npos);
    std::string profile = ReadFile(home + "/nemu/configs/default.ini");
    EXPECT_NE(profile.find("APen=0 200 0\n"), std::string::npos) << profile;
    EXPECT_NE(profile.find("[SysColors]\nINFOAREACOLOR="), std::string::npos) << profile;
    r = Nemu(home, "-c '[om_getapen] [om_getbpen]'");
    EXPECT_EQ(r.Output, "[0 200 0 255][1 2 3 255]\n");
}

TEST(StartSettings, KeysOfSectionMainAreLimitedWhenReadAndWrittenBack) {
    std::string home = FreshConfigHome("clamp");
    mkdir((home + "/nemu").c_str(), 0700);
    mkdir((home + "/nemu/configs").c_str(), 0700);
    WriteFile(home + "/nemu/Nemu.INI", "[STARTUP]\nLast_Config=Work\n");
    WriteFile(
        home + "/nemu/configs/Work.ini",
        "[Main]\nAPen=300 -5 10\nBPen=1 2\nPreviewQuality=50\nMouse=9\nMagnet=off\nDisplayMode=fastest\n"
        "LockPageSize=On\nGauge=0\n\n[SysColors]\nLAYOUTBACKGROUNDCOLOR=1 2 300\n");
    ProgramRun r = Nemu(home, "-c '[om_getapen] [om_getbpen]'");
    EXPECT_EQ(r.Output, "[255 0 10 255][1 2 0 255]\n");
    std::string profile = ReadFile(home + "/nemu/configs/Work.ini");
    for (const char* line : {"APen=255 0 10\n", "BPen=1 2 0\n", "PreviewQuality=100\n", "Mouse=3\n",
                             "Magnet=off\n", "DisplayMode=Fast\n", "LockPageSize=on\n", "Gauge=0\n",
                             "LAYOUTBACKGROUNDCOLOR=1 2 255\n", "SaveConfig=1\n", "WIN_X="})
        EXPECT_NE(profile.find(line), std::string::npos) << line << " in\n" << profile;
    EXPECT_EQ(profile.find("PageWidth"), std::string::npos) << "a locked page size is not written";
}

TEST(StartSettings, SaveConfigOffLeavesTheProfileAsItWas) {
    std::string home = FreshConfigHome("keep");
    mkdir((home + "/nemu").c_str(), 0700);
    mkdir((home + "/nemu/configs").c_str(), 0700);
    WriteFile(home + "/nemu/Nemu.INI", "[STARTUP]\nLast_Config=Keep\n");
    const std::string kept = "[Main]\nSaveConfig=0\nAPen=1 2 3\nEmpty=\n\n[Pens]\n";
    WriteFile(home + "/nemu/configs/Keep.ini", kept);
    ProgramRun r = Nemu(home, "-c '[om_getapen] [om_setapen 9 9 9] [om_writeuserstring Main Extra yes] "
                              "[om_aeropen 20]'");
    EXPECT_EQ(r.Output, "[1 2 3 255][][][]\n");
    EXPECT_EQ(ReadFile(home + "/nemu/configs/Keep.ini"), kept);
    EXPECT_EQ(Nemu(home, "-c '[om_getapen]'").Output, "[1 2 3 255]\n");
}

TEST(StartSettings, TheFirstStrokeOfASessionIsAntiAliased) {
    // The edge of a round dot is partly covered; with the switch off it is all or nothing.
    std::string home = FreshConfigHome("alias");
    ProgramRun r = Nemu(home, "-c '[om_dot 20 20 0] [om_getpixel 23 20] [om_aliasoff] [om_dot 40 20 0] "
                              "[om_getpixel 43 20]'");
    int soft = -1, hard = -1;
    ASSERT_EQ(std::sscanf(r.Output.c_str(), "[][%*d %*d %*d %d][][][%*d %*d %*d %d]", &soft, &hard), 2)
        << r.Output;
    EXPECT_GT(soft, 0);
    EXPECT_LT(soft, 255);
    EXPECT_TRUE(hard == 0 || hard == 255) << hard;
}

TEST(StartSettings, TheCatalogIsNotTakenFromTheCurrentFolder) {
    std::string home = FreshConfigHome("cwd");
    std::string cwd = TempPath("planted");
    mkdir(cwd.c_str(), 0700);
    WriteFile(cwd + "/nemu.loc", "$9 \"planted\"\n");
    ProgramRun r = RunProgram(NEMU_BINARY_DIR "/nemu", home, "-c om_version", cwd);
    EXPECT_EQ(r.Output, "Nemu version 0.1.0\n");
    // The settings folder is searched first: a user's own texts go there.
    mkdir((home + "/nemu").c_str(), 0700);
    WriteFile(home + "/nemu/nemu.loc", "$2 \"mine\"\n$9 \"release\"\n");
    r = RunProgram(NEMU_BINARY_DIR "/nemu", home, "-c om_version", cwd);
    EXPECT_EQ(r.Output, "Nemu release mine\n");
}

TEST(StartSettings, WithoutACatalogBatchModeStillRunsItsCommands) {
    // A copy of the program with no data folder beside it and none installed.
    std::string dir = TempPath("bare/bin");
    mkdir(TempPath("bare").c_str(), 0700);
    mkdir(dir.c_str(), 0700);
    ASSERT_EQ(std::system(("cp " NEMU_BINARY_DIR "/nemu '" + dir + "/nemu'").c_str()), 0);
    std::string home = FreshConfigHome("bare");
    ProgramRun r = RunProgram(dir + "/nemu", home, "--size 21x13 -c '[om_getwidth] [om_getheight]'");
    EXPECT_EQ(r.Status, 0);
    EXPECT_EQ(r.Output, "[21][13]\n");
    EXPECT_NE(r.Errors.find(TempPath("bare/share/nemu/nemu.loc") + ": file not found"), std::string::npos)
        << r.Errors;
}

TEST(Install, TheInstalledProgramFindsItsDataAndTheHelpNamesNemuRemote) {
    // What `make install` does, into a folder of the test's own, through DESTDIR.
    std::string root = TempPath("destdir"), prefix = "/opt/nemu-test";
    std::string command =
        "DESTDIR='" + root + "' cmake --install " NEMU_BINARY_DIR " --prefix " + prefix + " >/dev/null 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0);
    struct stat st;
    EXPECT_EQ(stat((root + prefix + "/bin/nemu-remote").c_str(), &st), 0);
    EXPECT_EQ(stat((root + prefix + "/share/nemu/nemu.loc").c_str(), &st), 0);
    ProgramRun r = RunProgram(root + prefix + "/bin/nemu", FreshConfigHome("installed"), "-c om_version");
    EXPECT_EQ(r.Output, "Nemu version 0.1.0\n") << r.Errors;
    // The catalog was found (the key map's note about its one unknown default key is not
    // about the data).
    EXPECT_EQ(r.Errors.find("file not found"), std::string::npos) << r.Errors;
    r = RunProgram(root + prefix + "/bin/nemu", FreshConfigHome("installed"), "--help");
    EXPECT_NE(r.Output.find(" nemu-remote"), std::string::npos);
    EXPECT_EQ(r.Output.find("tools/"), std::string::npos) << "the help names programs, not source folders";
}
