// Saves that are killed half way: a picture save in any format leaves the file there was,
// and the part it leaves is removed by the next save of that file or by the next start,
// but only when its writer's process is gone.
#include "files/format_settings.h"
#include "files/registry.h"
#include "files/safe_file.h"
#include "files/tiff_format.h"
#include "store/bitmap.h"
#include "support/file_helpers.h"

#include <gtest/gtest.h>

#include <csignal>
#include <dirent.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace nemu;

namespace {

// The names in a folder that end in ".part".
std::vector<std::string> Parts(const std::string& folder) {
    std::vector<std::string> found;
    if (DIR* dir = opendir(folder.c_str())) {
        while (dirent* e = readdir(dir)) {
            std::string name = e->d_name;
            if (name.size() > 5 && name.compare(name.size() - 5, 5, ".part") == 0) found.push_back(name);
        }
        closedir(dir);
    }
    return found;
}

struct SafeSaveTest : testing::Test {
    void SetUp() override {
        Folder = TestPath("safe-" + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
        mkdir(Folder.c_str(), 0700);
        Notes = Folder + "/notes/";
        mkdir(Notes.c_str(), 0700);
        SafeFileNotes = Notes;
        Noise = NewBitmap(160, 120);
        uint32_t seed = 12345;
        for (int i = 0; i < 160 * 120; i++) {
            seed = seed * 1664525u + 1013904223u;
            Noise->Pixels[i] = 0xFF000000u | (seed >> 8);
        }
        Small = NewBitmap(4, 4);
        ClearBitmap(Small, 0xFF102030);
    }
    void TearDown() override {
        FreeBitmap(Noise);
        FreeBitmap(Small);
        SafeFileNotes = SavedNotes;
        FileFormat = SavedFormat;
        TiffOption = SavedTiff;
    }

    // Saves the noise in a child process whose files may not grow past a few kilobytes:
    // the system kills it part way through the write, as a crash or a kill would.
    pid_t SaveKilled(const std::string& path) {
        pid_t pid = fork();
        if (pid == 0) {
            rlimit none{0, 0}, small{3000, 3000};
            setrlimit(RLIMIT_CORE, &none);
            signal(SIGXFSZ, SIG_DFL);
            setrlimit(RLIMIT_FSIZE, &small);
            SaveImageAs(path.c_str(), Noise);
            _exit(0);
        }
        int status = 0;
        waitpid(pid, &status, 0);
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGXFSZ) << "the save was not killed";
        return pid;
    }

    std::string Folder, Notes;
    Bitmap* Noise = nullptr;
    Bitmap* Small = nullptr;
    const std::string SavedNotes = SafeFileNotes;
    const int SavedFormat = FileFormat, SavedTiff = TiffOption;
};

} // namespace

TEST_F(SafeSaveTest, AKilledPictureSaveLeavesTheOldFileAndTheNextSaveClearsItsPart) {
    TiffOption = TIFF_RGBA;
    for (auto [mode, name] : {std::pair{28, "a.png"}, std::pair{7, "a.jpg"}, std::pair{256, "a.tif"}}) {
        SCOPED_TRACE(name);
        FileFormat = mode;
        std::string path = Folder + "/" + name;
        ASSERT_EQ(SaveImageAs(path.c_str(), Small), 0);
        const std::vector<uint8_t> old = ReadBytes(path);
        SaveKilled(path);
        EXPECT_EQ(ReadBytes(path), old) << "the old file was damaged";
        int w = 0, h = 0;
        EXPECT_GE(SniffFormat(path.c_str(), &w, &h), 0);
        EXPECT_EQ(w * 10 + h, 44);
        EXPECT_EQ(Parts(Folder).size(), 1u) << "the killed save left its part";
        // The next save of the same file takes the dead writer's part away.
        ASSERT_EQ(SaveImageAs(path.c_str(), Noise), 0);
        EXPECT_TRUE(Parts(Folder).empty());
        EXPECT_GE(SniffFormat(path.c_str(), &w, &h), 0);
        EXPECT_EQ(w, 160);
    }
}

TEST_F(SafeSaveTest, TheNextStartClearsPartsOfDeadWritersAndNothingElse) {
    FileFormat = 28;
    std::string path = Folder + "/far.png";
    pid_t dead = SaveKilled(path);
    ASSERT_EQ(Parts(Folder).size(), 1u);
    // A part of a writer that still runs, and notes that name what is no part of theirs,
    // stay or are dropped without touching the files they name.
    const std::string living = path + "." + std::to_string(getpid()) + "-99.part";
    WriteBytes(living, {1});
    const std::string precious = Folder + "/precious.png";
    WriteBytes(precious, {2});
    const std::string stamp = std::to_string(dead) + "-7";
    WriteBytes(Notes + "save-" + stamp + ".note", std::vector<uint8_t>(precious.begin(), precious.end()));
    const std::string other = Folder + "/other.png." + std::to_string(dead) + "-8.part";
    WriteBytes(other, {3});
    WriteBytes(Notes + "save-" + stamp + "0.note", std::vector<uint8_t>(other.begin(), other.end()));

    EXPECT_EQ(SweepStaleParts(nullptr), 1);
    EXPECT_EQ(Parts(Folder).size(), 2u); // the living writer's, and the one no note named rightly
    EXPECT_TRUE(FileExists(living));
    EXPECT_TRUE(FileExists(other));
    EXPECT_TRUE(FileExists(precious));
    DIR* dir = opendir(Notes.c_str());
    int notes = 0;
    while (dirent* e = readdir(dir)) notes += e->d_name[0] != '.';
    closedir(dir);
    EXPECT_EQ(notes, 0) << "the notes of dead writers stay";
    // Beside a file, only its own parts are looked at.
    EXPECT_EQ(SweepStaleParts((Folder + "/other.png").c_str()), 1);
    EXPECT_TRUE(FileExists(living));
    unlink(living.c_str());
}
