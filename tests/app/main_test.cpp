// The program as a user starts it: command line, batch mode and exit status.
#include "support/temp_files.h"

#include <algorithm>
#include <csignal>
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

struct ProgramRun {
    int Status;
    std::string Output;
};

// Runs the program with the test's own folders and no display.
ProgramRun Nemu(const std::string& args, const std::string& env = "") {
    std::string command = "env -u DISPLAY " + env + " " NEMU_BINARY_DIR "/nemu " + args + " 2>/dev/null";
    FILE* p = popen(command.c_str(), "r");
    ProgramRun r{-1, ""};
    if (!p) return r;
    char buf[4096];
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, p)) > 0) r.Output.append(buf, n);
    int st = pclose(p);
    r.Status = WIFEXITED(st) ? WEXITSTATUS(st) : 128 + WTERMSIG(st);
    return r;
}

std::vector<std::string> Entries(const std::string& dir) {
    std::vector<std::string> names;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d))
            if (e->d_name[0] != '.') names.push_back(e->d_name);
        closedir(d);
    }
    return names;
}

} // namespace

TEST(Program, HeadlessRunWithNothingToDoEndsCleanly) {
    ProgramRun r = Nemu("--headless --size 320x200");
    EXPECT_EQ(r.Status, 0);
    // Nothing left behind: no temporary files, no socket.
    EXPECT_TRUE(Entries(std::string(std::getenv("XDG_CACHE_HOME")) + "/nemu").empty());
    EXPECT_TRUE(Entries(std::string(std::getenv("XDG_RUNTIME_DIR")) + "/nemu").empty());
    std::vector<std::string> settings = Entries(std::string(std::getenv("XDG_CONFIG_HOME")) + "/nemu");
    std::sort(settings.begin(), settings.end());
    EXPECT_EQ(settings, (std::vector<std::string>{"Nemu.INI", "configs"}));
}

TEST(Program, BatchCommandsPrintOneReplyALine) {
    ProgramRun r = Nemu("--headless -c '[om_nop] [om_getwidth]'");
    EXPECT_EQ(r.Status, 0);
    EXPECT_EQ(r.Output, "[][640]\n");
    r = Nemu("--size 33x44 -c om_getwidth -c '[om_getheight]'");
    EXPECT_EQ(r.Output, "33\n[44]\n");
    EXPECT_EQ(r.Status, 0);
}

TEST(Program, UnknownCommandOrErrorGivesStatus2) {
    ProgramRun r = Nemu("--headless -c om_nosuchthing -c '[om_getwidth]'");
    EXPECT_EQ(r.Status, 2);
    EXPECT_EQ(r.Output, "\n[640]\n"); // the later command still runs
    r = Nemu("--headless -c 'om_loadimage'");
    EXPECT_EQ(r.Status, 2);
}

TEST(Program, AFaultInAnyGroupOfAnyCommandGivesStatus2) {
    ProgramRun r = Nemu("--headless -c '[om_nosuchthing] [om_getwidth]'");
    EXPECT_EQ(r.Output, "[][640]\n");
    EXPECT_EQ(r.Status, 2);
    r = Nemu("--headless -c '[om_getwidth] [ om_getheight]' -c om_getheight");
    EXPECT_EQ(r.Output, "[640][]\n480\n");
    EXPECT_EQ(r.Status, 2);
    r = Nemu("--headless -c '[om_readuserstring] [om_getwidth]' -c om_getheight");
    EXPECT_EQ(r.Output, "[ERROR -1][640]\n480\n");
    EXPECT_EQ(r.Status, 2);
    // A result that only reads like an error is a result.
    r = Nemu("--headless -c '[om_writeuserstring S K ERROR 5] [om_readuserstring S K]'");
    EXPECT_EQ(r.Output, "[][ERROR 5]\n");
    EXPECT_EQ(r.Status, 0);
}

TEST(Program, SigtermStopsALongBatchAtTheNextCommand) {
    const int commands = 200;
    std::string script = TempPath("long.txt"), lines;
    for (int i = 0; i < commands; i++) lines += "[om_clear] [om_getwidth]\n";
    WriteFile(script, lines);
    int out[2];
    ASSERT_EQ(pipe(out), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_addclose(&actions, out[0]);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    std::vector<std::string> args = {NEMU_BINARY_DIR "/nemu", "--headless", "--size", "2000x2000", "--script",
                                     script};
    std::vector<char*> argv;
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    pid_t pid = -1;
    ASSERT_EQ(posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    // Once the first reply stands the batch is under way.
    std::string output;
    char c;
    while (output.find('\n') == std::string::npos && read(out[0], &c, 1) == 1) output += c;
    kill(pid, SIGTERM);
    char buf[4096];
    ssize_t n;
    while ((n = read(out[0], buf, sizeof buf)) > 0) output.append(buf, size_t(n));
    close(out[0]);
    int st = 0;
    ASSERT_EQ(waitpid(pid, &st, 0), pid);
    // It ended by itself, with the status that tells of the signal, long before the end.
    ASSERT_TRUE(WIFEXITED(st));
    EXPECT_EQ(WEXITSTATUS(st), 128 + SIGTERM);
    size_t replies = 0;
    for (char ch : output) replies += ch == '\n';
    EXPECT_GE(replies, 1u);
    EXPECT_LT(replies, size_t(commands) / 2);
}

TEST(Program, ScriptFileSkipsBlankAndCommentLines) {
    std::string script = TempPath("batch.txt");
    WriteFile(script, "# a comment\n\n  [om_getwidth]  \r\n   # indented comment\nom_getheight");
    ProgramRun r = Nemu("--headless --size 7x9 --script " + script);
    EXPECT_EQ(r.Status, 0);
    EXPECT_EQ(r.Output, "[7]\n9\n");
    EXPECT_EQ(Nemu("--headless --script " + TempPath("missing.txt")).Status, 1);
}

TEST(Program, BadCommandLinesAndHugePagesFailWithStatus1) {
    EXPECT_EQ(Nemu("--bogus").Status, 1);
    EXPECT_EQ(Nemu("--size 0x10").Status, 1);
    EXPECT_EQ(Nemu("--size 10").Status, 1);
    EXPECT_EQ(Nemu("--size").Status, 1);
    // Far more than the machine holds: refused with the out-of-memory message.
    EXPECT_EQ(Nemu("--headless --size 65535x65535 -c om_getwidth", "ASAN_OPTIONS=allocator_may_return_null=1")
                  .Status,
              1);
}

TEST(Program, BinaryMachineFileGivesTheDefaults) {
    std::string dir = std::string(std::getenv("XDG_CONFIG_HOME")) + "/nemu";
    mkdir(dir.c_str(), 0700);
    WriteFile(dir + "/Nemu.INI", std::string("\x00\xff\xfe\x01[STARTUP\nBORDER=banana\n\x00", 25));
    ProgramRun r = Nemu("--headless -c om_getwidth");
    EXPECT_EQ(r.Status, 0);
    EXPECT_EQ(r.Output, "640\n");
}

TEST(Program, WithoutAWindowItFallsBackToHeadless) {
    // A display that cannot be opened: the run goes on headless, and stdout stays clean.
    ProgramRun r =
        Nemu("--size 12x8 -c '[om_getwidth]' some-file.png", "DISPLAY=nemu-test-no-such-display:99");
    EXPECT_EQ(r.Status, 0);
    EXPECT_EQ(r.Output, "[12]\n");
}

TEST(Program, HelpDocumentsEveryOption) {
    ProgramRun r = Nemu("--help");
    EXPECT_EQ(r.Status, 0);
    for (const char* option : {"--headless", "--size", "-c TEXT", "--script", "--help", "--serve", "files"})
        EXPECT_NE(r.Output.find(option), std::string::npos) << option;
}

TEST(Program, BatchCommandsPaintWithTheToolsAndReadThePaintBack) {
    ProgramRun r = Nemu("--headless -c '[om_aeropen 20] [om_line 10 10 300 200 0] [om_getpixel 150 100]'");
    EXPECT_EQ(r.Status, 0);
    int red = -1, green = -1, blue = -1, alpha = -1;
    ASSERT_EQ(std::sscanf(r.Output.c_str(), "[][][%d %d %d %d]\n", &red, &green, &blue, &alpha), 4)
        << r.Output;
    // Red airbrush on a clear page: premultiplied, so red and alpha are equal.
    EXPECT_GT(alpha, 64);
    EXPECT_EQ(red, alpha);
    EXPECT_EQ(green, 0);
    EXPECT_EQ(blue, 0);
    // The line misses this point; undo takes the whole line back.
    r = Nemu("--headless -c '[om_line 10 10 300 200 0] [om_getpixel 150 150] [om_undo] [om_getpixel 10 10]'");
    EXPECT_EQ(r.Output, "[][0 0 0 0][][0 0 0 0]\n");
}

TEST(Program, StartFilesOpenAsThePageOrTheProjectAndFurtherLayers) {
    // A picture gives the page its size and becomes the one layer.
    std::string png = NEMU_SOURCE_DIR "/tests/data/png/rgb.png";
    ProgramRun r = Nemu("--headless -c '[om_getwidth] [om_getheight] [om_layergetid 1]' " + png);
    EXPECT_EQ(r.Status, 0);
    EXPECT_EQ(r.Output, "[24][16][none]\n");
    // A saved project opens at its size, with its layers, and later names come in as layers.
    std::string project = TempPath("start.nem");
    r = Nemu(
        "--headless --size 33x44 -c '[om_layercreate second] [om_writepixel 5 6 1 2 3 255] [om_saveproject " +
        project + "]'");
    ASSERT_EQ(r.Status, 0) << r.Output;
    r = Nemu("--headless -c '[om_getwidth] [om_getheight] [om_getpixel 5 6] [om_layergetid 2]' " + project);
    EXPECT_EQ(r.Output, "[33][44][1 2 3 255][none]\n");
    r = Nemu("--headless -c '[om_getwidth] [om_layergetid 2] [om_layergetid 3]' " + project + " " + png);
    EXPECT_EQ(r.Output, "[33][3][none]\n");
    // A name that is neither goes by with a warning; the next one opens as the project.
    r = Nemu("--headless -c '[om_getwidth]' " + TempPath("nothing.nem") + " " + project);
    EXPECT_EQ(r.Output, "[33]\n");
    EXPECT_EQ(r.Status, 0);
}

TEST(Program, PicturesOfOtherProgramsOpenAtStart) {
    if (std::system("command -v convert >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "ImageMagick is not installed";
    std::string png = TempPath("magick.png"), jpg = TempPath("magick.jpg"), tif = TempPath("magick.tif");
    for (const std::string& file : {png, jpg, tif}) {
        ASSERT_EQ(std::system(("convert -size 37x21 xc:'#204060' " + file).c_str()), 0);
        ProgramRun r = Nemu("--headless -c '[om_getwidth] [om_getheight] [om_getpixel 36 20]' " + file);
        EXPECT_EQ(r.Status, 0);
        int red = 0, green = 0, blue = 0, alpha = 0;
        ASSERT_EQ(std::sscanf(r.Output.c_str(), "[37][21][%d %d %d %d]", &red, &green, &blue, &alpha), 4)
            << file << ": " << r.Output;
        EXPECT_NEAR(red, 0x20, 2) << file;
        EXPECT_NEAR(green, 0x40, 2) << file;
        EXPECT_NEAR(blue, 0x60, 2) << file;
        EXPECT_EQ(alpha, 255);
    }
}

TEST(Program, PicturesSavedByScriptAreReadByOtherPrograms) {
    if (std::system("command -v identify >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "ImageMagick is not installed";
    struct Case {
        const char* Mode;
        const char* File;
        const char* Format;
    } cases[] = {{"png", "out.png", "PNG"}, {"jpeg 90", "out.jpg", "JPEG"}, {"tiff", "out.tif", "TIFF"}};
    for (const Case& c : cases) {
        std::string path = TempPath(c.File);
        ProgramRun r = Nemu(std::string("--headless --size 29x17 -c '[om_savemode ") + c.Mode +
                            "] [om_writepixel 1 1 255 0 0 255] [om_saveimage " + path + "]'");
        EXPECT_EQ(r.Output, "[][][]\n") << c.Mode;
        FILE* p = popen(("identify -format '%m %w %h' " + path + " 2>/dev/null").c_str(), "r");
        ASSERT_NE(p, nullptr);
        char said[128] = {};
        size_t n = std::fread(said, 1, sizeof said - 1, p);
        pclose(p);
        EXPECT_EQ(std::string(said, n), std::string(c.Format) + " 29 17") << c.Mode;
    }
}
