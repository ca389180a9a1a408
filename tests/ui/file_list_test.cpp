// The requester's model over a temporary folder: listing and order, patterns, names that
// are not text, unreadable folders, the detail line and the previews.
#include "ui/file_list.h"

#include "files/png_format.h"
#include "store/bitmap.h"
#include "support/temp_files.h"
#include "ui/folder_fixture.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace nemu;

TEST_F(Folder, FoldersFirstThenMatchingFilesInNaturalOrder) {
    mkdir(Path("b").c_str(), 0755);
    mkdir(Path("A").c_str(), 0755);
    mkdir(Path(".git").c_str(), 0755);
    for (const char* name : {"shot10.png", "shot2.PNG", "Notes.txt", ".hidden.png", "bad\xE9.png"})
        WriteFile(Path(name), "x");
    ASSERT_EQ(FileListRead(&List, Root.c_str(), "*.png"), 0);
    EXPECT_EQ(Shown(), (std::vector<std::string>{"..", "A", "b", "bad\\xE9.png", "shot2.PNG", "shot10.png"}));
    EXPECT_EQ(List.Folders, 3);
    // The bytes stay as the folder gave them, so the file still opens.
    EXPECT_STREQ(List.Entries[3].Name, "bad\xE9.png");
    // A pattern that matches nothing leaves the folders; one asking for dots shows them.
    ASSERT_EQ(FileListRead(&List, Root.c_str(), "*.tif"), 0);
    EXPECT_EQ(Shown(), (std::vector<std::string>{"..", "A", "b"}));
    ASSERT_EQ(FileListRead(&List, Root.c_str(), ".*"), 0);
    EXPECT_EQ(Shown(), (std::vector<std::string>{"..", ".git", "A", "b", ".hidden.png"}));
    ASSERT_EQ(FileListRead(&List, "/", ""), 0);
    EXPECT_STRNE(List.Entries[0].Name, ".."); // the root has no parent
}

TEST_F(Folder, AFolderThatCannotBeReadListsWhatItCan) {
    EXPECT_EQ(FileListRead(&List, Path("missing").c_str(), ""), -1);
    EXPECT_EQ(List.ReadError, ENOENT);
    EXPECT_EQ(Shown(), (std::vector<std::string>{".."})); // the way back out
    mkdir(Path("locked").c_str(), 0);
    if (geteuid() != 0) { // the super-user reads it all the same
        EXPECT_EQ(FileListRead(&List, Path("locked").c_str(), ""), -1);
        EXPECT_EQ(List.ReadError, EACCES);
        char out[FilePathSize] = "unchanged";
        EXPECT_EQ(EnterFolder(Root.c_str(), "locked", out, sizeof out), 0);
        EXPECT_STREQ(out, "unchanged");
    }
}

TEST(FileNames, PatternsAndNaturalOrderAndShownNames) {
    const struct {
        const char* Pattern;
        const char* Name;
        bool Match;
    } cases[] = {
        {"*.png", "a.PNG", true},        {"*.png", "a.png.bak", false},   {"*.png;*.jpg", "x.jpg", true},
        {"*.png | *.jpg", "x.JPG", true}, {"shot?.png", "shot1.png", true}, {"shot?.png", "shot10.png", false},
        {"", "anything", true},           {"*", "", true},                 {"a*b*c", "aXbYbZc", true},
        {"a*b*c", "aXbYbZ", false},       {"  ;  ", "x", true},
    };
    for (const auto& c : cases) EXPECT_EQ(PatternMatches(c.Pattern, c.Name), c.Match) << c.Pattern << " " << c.Name;
    EXPECT_LT(NaturalCompare("shot2", "shot10"), 0);
    EXPECT_LT(NaturalCompare("Apple", "banana"), 0);
    EXPECT_LT(NaturalCompare("file007", "file8"), 0);
    EXPECT_NE(NaturalCompare("a", "A"), 0); // total: case decides last
    EXPECT_EQ(NaturalCompare("same", "same"), 0);
    char out[64];
    ShownName("caf\xC3\xA9", out, sizeof out); // valid UTF-8 stays
    EXPECT_STREQ(out, "caf\xC3\xA9");
    ShownName("\xC0\xAFx\xED\xA0\x80", out, sizeof out); // overlong and a surrogate are bytes
    EXPECT_STREQ(out, "\\xC0\\xAFx\\xED\\xA0\\x80");
    ShownName("\xFF\xFF\xFF", out, 9); // cut whole, never mid-escape
    EXPECT_STREQ(out, "\\xFF\\xFF");
}

TEST_F(Folder, EnteringFoldersResolvesWithoutMovingTheProcess) {
    mkdir(Path("sub").c_str(), 0755);
    WriteFile(Path("file"), "x");
    symlink(Path("sub").c_str(), Path("link").c_str());
    char out[FilePathSize];
    ASSERT_EQ(EnterFolder(Root.c_str(), "sub", out, sizeof out), 1);
    char real[FilePathSize];
    ASSERT_NE(realpath(Path("sub").c_str(), real), nullptr);
    EXPECT_STREQ(out, real);
    ASSERT_EQ(EnterFolder(out, "..", out, sizeof out), 1);
    ASSERT_EQ(EnterFolder(out, "link", out, sizeof out), 1);
    EXPECT_STREQ(out, real);
    EXPECT_EQ(EnterFolder(Root.c_str(), "file", out, sizeof out), 0);
    EXPECT_EQ(EnterFolder(Root.c_str(), "nowhere", out, sizeof out), 0);
    ASSERT_EQ(EnterFolder(Root.c_str(), "/", out, sizeof out), 1);
    EXPECT_STREQ(out, "/");
    char joined[8];
    EXPECT_EQ(JoinPath(joined, sizeof joined, "/", "abc"), 1);
    EXPECT_STREQ(joined, "/abc");
    EXPECT_EQ(JoinPath(joined, sizeof joined, "/usr", "abc"), 0); // too long: nothing half-made
    EXPECT_STREQ(joined, "");
}

TEST_F(Folder, DetailLineTellsDateSizeAndFormat) {
    Picture("pic.png", 64, 48);
    WriteFile(Path("broken.png"), "not a picture at all");
    mkdir(Path("dir").c_str(), 0755);
    ASSERT_EQ(FileListRead(&List, Root.c_str(), ""), 0);
    char line[256];
    for (int32_t i = 0; i < List.Count; i++) {
        FileEntry* e = &List.Entries[i];
        FileDetailLine(&List, e, line, sizeof line);
        std::string text = line;
        if (!std::strcmp(e->Name, "pic.png")) {
            EXPECT_NE(text.find("64 x 48"), std::string::npos) << text;
            EXPECT_NE(text.find("PNG"), std::string::npos) << text;
            // "%2d:%02d:%02d %2d/%02d/%4d"
            EXPECT_EQ(text[2], ':');
            EXPECT_EQ(text[5], ':');
            EXPECT_EQ(text[11], '/');
            EXPECT_EQ(text[14], '/');
        } else if (!std::strcmp(e->Name, "broken.png")) {
            EXPECT_EQ(e->Type, -1);
            EXPECT_NE(text.find("20 "), std::string::npos) << text; // its size in bytes
        }
    }
}

TEST_F(Folder, PreviewsAreSmallMadeOnRequestAndBounded) {
    Picture("wide.png", 200, 100);
    Picture("tiny.png", 10, 10, 0xFFFF0000);
    WriteFile(Path("broken.png"), "\x89PNG\r\n\x1a\n garbage");
    Bitmap* p = MakePreview(Path("wide.png").c_str(), 48, 36);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->Width, 48);
    EXPECT_EQ(p->Height, 24);
    EXPECT_EQ(p->Pixels[5 * 48 + 5], 0xFF336699u);
    FreeBitmap(p);
    p = MakePreview(Path("tiny.png").c_str(), 48, 36); // small ones stay as they are
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->Width, 10);
    FreeBitmap(p);
    EXPECT_EQ(MakePreview(Path("broken.png").c_str(), 48, 36), nullptr);
    EXPECT_EQ(MakePreview(Path("missing.png").c_str(), 48, 36), nullptr);

    ASSERT_EQ(FileListRead(&List, Root.c_str(), ""), 0);
    EXPECT_EQ(List.PreviewCount, 0); // listing reads no picture
    EXPECT_EQ(FileListMakePreviews(&List, 0, List.Count - 1, 48, 36, 10.0), 0);
    EXPECT_EQ(List.PreviewCount, 2);
    EXPECT_EQ(FileListMakePreviews(&List, 0, List.Count - 1, 48, 36, -1.0), 0); // nothing left to try
}

TEST_F(Folder, PreviewsStayUnderTheLimitInALargeFolder) {
    Bitmap* b = NewBitmap(2, 2);
    ClearBitmap(b, 0xFF00FF00);
    for (int i = 0; i < PreviewLimit + 20; i++)
        ASSERT_EQ(WritePng(Path("p" + std::to_string(i) + ".png").c_str(), b), 0);
    FreeBitmap(b);
    ASSERT_EQ(FileListRead(&List, Root.c_str(), "*.png"), 0);
    ASSERT_EQ(List.Count, PreviewLimit + 21);
    // A zero budget makes none, and says how many wait.
    EXPECT_EQ(FileListMakePreviews(&List, 1, 30, 16, 16, -1.0), 30);
    EXPECT_EQ(FileListMakePreviews(&List, 0, List.Count - 1, 16, 16, 60.0), 0);
    EXPECT_EQ(List.PreviewCount, PreviewLimit);
    // Walking back to the top makes the first ones again, dropping the far end's.
    for (int32_t i = 1; i <= 30; i++) List.Entries[i].PreviewTried = 0, FreeBitmap(List.Entries[i].Preview),
                                      List.Entries[i].Preview = nullptr, List.PreviewCount--;
    EXPECT_EQ(FileListMakePreviews(&List, 1, 30, 16, 16, 60.0), 0);
    EXPECT_EQ(List.PreviewCount, PreviewLimit);
    EXPECT_NE(List.Entries[1].Preview, nullptr);
}

