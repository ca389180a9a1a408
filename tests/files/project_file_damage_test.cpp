// The project file against what can go wrong: files cut short, damaged or built to
// mislead, a disk that fills up during a save, and a user who stops a save or a load.
// Whatever happens the program goes on with a whole project, and a previous save is never
// lost.
#include "project_file_support.h"

#include "files/raster_common.h"
#include "files/registry.h"
#include "project/layer_undo.h"
#include "script/command_host.h"

#include <csignal>
#include <functional>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace nemu;
using namespace nemu::test;

namespace {

// Three layers: a plain one, an animation of five images with shared tiles, and a hold.
void BuildProject() {
    std::strcpy(Layers[0].Name, "top");
    ClearBitmap(Page, 0);
    for (int32_t y = 0; y < PageHeight; y++)
        for (int32_t x = 0; x < PageWidth; x += 3)
            Page->Pixels[size_t(y) * size_t(PageWidth) + size_t(x)] = 0xFF000000u | uint32_t(x * y);
    AddDirtyAndMark(0, 0, PageWidth - 1, PageHeight - 1);
    Layer* anim = CreateLayer("anim", 0, 1, 0, 1);
    ASSERT_NE(anim, nullptr);
    anim->LastImage = 4;
    ASSERT_EQ(MakeAnim(CurrentLayer, 1), 1);
    for (int32_t i = 0; i < 5; i++) {
        ASSERT_EQ(SelectImage(i, 1), 1);
        FillBox(Page, 0, 0, PageWidth - 1, PageHeight - 1, 0xFF203040);
        FillBox(Page, i * 20, 10, i * 20 + 30, 40, 0xFF00FF00u + uint32_t(i));
        AddDirtyAndMark(0, 0, PageWidth - 1, PageHeight - 1);
    }
    Layer* hold = CreateLayer("hold", 0, 1, 1, 1);
    ASSERT_NE(hold, nullptr);
    hold->LastImage = 8;
    FillBox(Page, 10, 10, 60, 60, 0x80800000);
    AddDirtyAndMark(10, 10, 60, 60);
    ASSERT_EQ(FlushPage(), 1);
    ClearLayerUndo();
}

// What must hold after any load, whole or not: each clip as long as its layer's range,
// the current layer shown and in range, and every image readable.
void ExpectWholeProject() {
    ASSERT_GE(LayerCount, 1);
    ASSERT_LT(CurrentLayer, LayerCount);
    EXPECT_EQ(Layers[CurrentLayer].Flags & LayerHidden, 0u);
    Bitmap* b = NewBitmap(PageWidth, PageHeight);
    for (int32_t i = 0; i < LayerCount; i++) {
        const Layer& l = Layers[i];
        ASSERT_LE(l.FirstImage, l.LastImage);
        if (l.Clip) ASSERT_EQ(l.Clip->ImageCount, l.LastImage - l.FirstImage + 1) << l.Name;
        for (int32_t t = l.FirstImage; t <= l.LastImage && t < l.FirstImage + 8; t++)
            LoadLayerImage(b, &Layers[i], t);
    }
    EXPECT_EQ(ComposeImage(b, CurrentImage, true), 1);
    FreeBitmap(b);
}

std::string Stderr(const std::function<void()>& run) {
    testing::internal::CaptureStderr();
    run();
    return testing::internal::GetCapturedStderr();
}

bool Says(const std::string& text, uint32_t message) {
    return text.find(MsgGet(nullptr, message)) != std::string::npos;
}

std::string Saved() {
    std::string path = TestPath("saved.nem");
    EXPECT_EQ(WriteProject(path.c_str()), 0);
    return path;
}

} // namespace

TEST_F(ProjectFileTest, AFileCutAnywhereKeepsTheLayersReadBeforeTheCut) {
    BuildProject();
    Bytes whole = ReadBytes(Saved());
    std::vector<Chunk> chunks = Chunks(whole);
    std::string path = TestPath("cut.nem");
    // Every cut inside the file's body, and a finer walk over the chunk boundaries.
    std::vector<size_t> cuts;
    for (size_t n = 1; n < whole.size(); n += whole.size() / 157) cuts.push_back(n);
    for (const Chunk& c : chunks)
        for (size_t d : {size_t(0), size_t(1), size_t(7), size_t(8), size_t(9)})
            if (c.Body >= d) cuts.push_back(c.Body - d);
    for (size_t n : cuts) {
        WriteBytes(path, Bytes(whole.begin(), whole.begin() + long(n)));
        ResetProject("before", 1, 0);
        int result = 0;
        std::string said = Stderr([&] { result = LoadProject(path.c_str(), 0, 0); });
        SCOPED_TRACE("cut at " + std::to_string(n));
        ExpectWholeProject();
        if (result == 0) EXPECT_TRUE(said.empty()) << said;
    }
    // Cut in the middle of the animation's third image: the first two stay.
    const Chunk* third = nullptr;
    int stored = 0;
    for (const Chunk& c : chunks)
        if (c.Id == "SRAW" && ++stored == 2) third = &c;
    ASSERT_NE(third, nullptr);
    WriteBytes(path, Bytes(whole.begin(), whole.begin() + long(third->Body + third->Size / 2)));
    std::string said = Stderr([&] { EXPECT_EQ(LoadProject(path.c_str(), 0, 0), -1); });
    EXPECT_TRUE(Says(said, 2366)) << said;
    ASSERT_EQ(LayerCount, 2);
    EXPECT_STREQ(Layers[1].Name, "anim");
    EXPECT_EQ(Layers[1].LastImage, 1);
    EXPECT_EQ(LayerPixel(1, 1, 25, 20), 0xFF00FF01u);
}

TEST_F(ProjectFileTest, DamagedFilesNeverBreakTheProject) {
    BuildProject();
    Bytes whole = ReadBytes(Saved());
    std::string path = TestPath("damaged.nem");
    std::mt19937 random(1234);
    for (int round = 0; round < 200; round++) {
        Bytes damaged = whole;
        int flips = 1 + int(random() % 6);
        for (int k = 0; k < flips; k++) {
            size_t at = 12 + random() % (damaged.size() - 12);
            damaged[at] = uint8_t(random() % 3 == 0 ? 0xFF : random());
        }
        WriteBytes(path, damaged);
        SCOPED_TRACE("round " + std::to_string(round));
        Stderr([&] { ReadProject(path.c_str(), 0, round & 1, (round & 2) == 0); });
        ExpectWholeProject();
        if (LayerCount > 12) ResetProject("again", 1, 0);
    }
}

TEST_F(ProjectFileTest, FilesBuiltToMisleadAreRefusedWithoutAllocatingForThem) {
    std::strcpy(Layers[0].Name, "mine");
    std::string path = TestPath("lie.nem");
    auto load = [&](const FileBuilder& b) {
        WriteBytes(path, b.Done());
        int result = 0;
        std::string said = Stderr([&] { result = LoadProject(path.c_str(), 0, 1); });
        ExpectWholeProject();
        return std::make_pair(result, said);
    };
    // Sizes of nothing, and beyond any picture.
    for (auto [w, h] : {std::pair{0, 10}, std::pair{10, 0}, std::pair{65535, 65535}, std::pair{40000, 2}}) {
        FileBuilder b;
        b.Header(w, h).FlatBody("DBOD", 5, 3, 1);
        auto [result, said] = load(b);
        EXPECT_EQ(result, -1);
        EXPECT_TRUE(Says(said, 2350)) << w << "x" << h << said;
        EXPECT_STREQ(Layers[0].Name, "mine");
    }
    // A picture of 256 million pixels claimed by a body of 15 bytes, whose size field may
    // claim two gigabytes: nothing is made for it.
    for (int64_t claimed : {int64_t(-1), int64_t(0x7FFFFFF0)}) {
        FileBuilder b;
        b.Header(16384, 16384);
        Bytes body(15, 0);
        body[0] = 0x83;
        b.Add("DBOD", body, claimed);
        auto [result, said] = load(b);
        EXPECT_EQ(result, -1);
        EXPECT_TRUE(Says(said, 2366)) << said;
    }
    // Opened at its own page size, such a file is refused before the page grows, and the
    // probe that sizes the page at start refuses it too.
    {
        FileBuilder b;
        b.Header(16384, 16384).FlatBody("DBOD", 5, 3, 1);
        WriteBytes(path, b.Done());
        const int32_t width = PageWidth, height = PageHeight;
        std::string said = Stderr([&] { EXPECT_EQ(LoadProject(path.c_str(), 1, 0), -1); });
        EXPECT_TRUE(Says(said, 2366)) << said;
        EXPECT_EQ(PageWidth, width);
        EXPECT_EQ(PageHeight, height);
        EXPECT_STREQ(Layers[0].Name, "mine");
        int w = 0, h = 0;
        EXPECT_EQ(SniffFormat(path.c_str(), &w, &h), -1);
        EXPECT_EQ(LastFileError.Message, 2366u);
        ClearFileError();
    }
    // A stored image that claims two gigabytes in a file of a few hundred bytes.
    {
        FileBuilder b;
        b.Header(150, 70).Head(0, 1, 2).FlatBody("DBOD", 150, 70, 1).Add("SRAW", {0, 0, 0, 64}, 0x7FFFFFF0);
        auto [result, said] = load(b);
        EXPECT_EQ(result, -1);
        EXPECT_TRUE(Says(said, 2366)) << said;
        EXPECT_EQ(LayerCount, 1);
    }
    // Links to an image or a tile not read yet, to itself, or out of range.
    const std::vector<Bytes> links = {
        {0, 0, 0, 2, 0, 0, 0, 1, 0, 0, 0, 0},                                       // image 1 from image 1
        {0, 0, 0, 2, 0, 0, 0, 9, 0, 0, 0, 0},                                       // image 9
        {0, 0, 0, 64, 0, 0, 0, 0, 0, 0, 0, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3},  // its own later tile
        {0, 0, 0, 64, 0, 0, 0, 0, 0, 0, 0, 6, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 99}, // tile 99 before
        {0, 0, 0, 64, 0, 0, 0, 0, 0, 0, 0, 6, 0, 0, 0, 0, 0, 0, 0, 7, 0, 0, 0, 0},  // seven images back
        {0, 0, 0, 64, 0, 0, 0, 0, 0, 0, 0, 5},                                      // wrong tile count
    };
    for (const Bytes& link : links) {
        FileBuilder b;
        b.Header(150, 70).Head(0, 2, 3).FlatBody("DBOD", 150, 70, 0xFF000001).Add("SRAW", link);
        auto [result, said] = load(b);
        EXPECT_EQ(result, -1);
        EXPECT_TRUE(Says(said, 2350)) << said;
        ASSERT_EQ(LayerCount, 1);
        EXPECT_EQ(LayerPixel(0, 0), 0xFF000001u) << "the layer read so far stays";
    }
    // Ranges and onion counts far out of bounds are held to what the program can show.
    {
        FileBuilder b;
        Bytes head(104, 0);
        PutU32(&head[4], 0xFFFFFFF0u);
        PutU32(&head[8], 0x7FFFFFFFu);
        PutU32(&head[16], 0xFFFFFFFFu);
        PutU32(&head[24], 0x80000000u);
        PutU32(&head[40], 0x7FFFFFFFu);
        b.Header(150, 70).Add("LRHD", head).FlatBody("DBOD", 150, 70, 1);
        auto [result, said] = load(b);
        EXPECT_EQ(result, 0) << said;
        EXPECT_EQ(Layers[0].FirstImage, 0);
        EXPECT_EQ(Layers[0].LastImage, MaxImagePosition);
        EXPECT_EQ(Layers[0].Density, 255);
        EXPECT_EQ(Layers[0].PelureBefore, -7);
        EXPECT_EQ(Layers[0].PelureAfter, 7);
    }
    // Unknown compressions, layouts of no pixels, broken LZW: message 2350.
    for (int kind = 0; kind < 3; kind++) {
        FileBuilder b;
        if (kind == 1)
            b.Add("DGBL", {0, 150, 0, 70, 0, 1, 16, 16})
                .Add("DPEL", {0, 0, 0, 0})
                .Add("DLOC", {0, 150, 0, 70, 0, 0, 0, 0});
        else
            b.Header(150, 70, kind == 0 ? 5 : 8);
        b.Add("DBOD", {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF});
        auto [result, said] = load(b);
        EXPECT_EQ(result, -1);
        EXPECT_TRUE(Says(said, 2350)) << kind << said;
    }
    // A form inside the form, and thousands of small chunks, are skipped by their sizes.
    {
        FileBuilder b;
        b.Header(150, 70);
        FileBuilder inner;
        inner.Header(5, 3).FlatBody("DBOD", 5, 3, 2);
        Bytes nested = inner.Done();
        b.Add("FORM", Bytes(nested.begin() + 8, nested.end()));
        for (int i = 0; i < 5000; i++) b.Add("LNAM", {'n', 0});
        b.FlatBody("DBOD", 150, 70, 0xFF0000AA);
        auto [result, said] = load(b);
        EXPECT_EQ(result, 0) << said;
        ASSERT_EQ(LayerCount, 1);
        EXPECT_STREQ(Layers[0].Name, "n");
        EXPECT_EQ(LayerPixel(0, 0, 149, 69), 0xFF0000AAu);
    }
}

TEST_F(ProjectFileTest, AFailedSaveLeavesTheFileThatWasThere) {
    std::strcpy(Layers[0].Name, "old");
    std::string path = TestPath("keep.nem");
    ASSERT_EQ(WriteProject(path.c_str()), 0);
    Bytes old = ReadBytes(path);
    BuildProject();
    // The disk fills up after a few kilobytes more than the old file.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{rlim_t(old.size() + 4000), RLIM_INFINITY};
    rlimit former;
    getrlimit(RLIMIT_FSIZE, &former);
    limit.rlim_max = former.rlim_max;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    uint32_t changes = ChangeCounter;
    SavedCounter = 0;
    std::string said = Stderr([&] { EXPECT_EQ(WriteProject(path.c_str()), -1); });
    setrlimit(RLIMIT_FSIZE, &former);
    EXPECT_TRUE(Says(said, 2365)) << said;
    EXPECT_EQ(ReadBytes(path), old);
    EXPECT_NE(SavedCounter, ChangeCounter) << "the project is not saved";
    (void)changes;
    std::vector<uint8_t> left = RunCommand("ls " + TestPath("") + " | grep -c part", nullptr);
    EXPECT_EQ(std::string(left.begin(), left.end()), "0\n");
    // The old file still opens as it was.
    ASSERT_EQ(LoadProject(path.c_str(), 0, 0), 0);
    EXPECT_STREQ(Layers[0].Name, "old");
}

TEST_F(ProjectFileTest, AStoppedSaveKeepsAWholeFileOfWhatWasWritten) {
    BuildProject();
    SayYes yes;
    static int64_t stopAt;
    ProgressBox.Step = [](int64_t position, int64_t) {
        if (position == stopAt) UserBreak = 1;
    };
    stopAt = 3; // top, the animation's first image, and its second
    std::string path = TestPath("stopped.nem");
    EXPECT_EQ(WriteProject(path.c_str()), -1);
    EXPECT_EQ(SavedCounter, ChangeCounter);
    Bytes file = ReadBytes(path);
    EXPECT_EQ(GetU32(&file[4]), file.size() - 8);
    std::vector<Chunk> chunks = Chunks(file);
    EXPECT_EQ(ChunkIds(chunks).substr(ChunkIds(chunks).find("LNAM")),
              "LNAM FRAT LRHD DBOD LNAM FRAT LRHD DBOD SRAW");
    ProgressBox.Step = nullptr;
    ASSERT_EQ(LoadProject(path.c_str(), 0, 0), 0);
    ASSERT_EQ(LayerCount, 2);
    EXPECT_EQ(Layers[1].LastImage, 1);
    ExpectWholeProject();

    // Stopping a load after the first layer's body keeps that layer.
    BuildProject();
    std::vector<Chunk> saved = Chunks(ReadBytes(Saved()));
    for (const Chunk& c : saved)
        if (c.Id == "DBOD") {
            stopAt = int64_t(c.Body + PaddedSize(c.Size));
            break;
        }
    ProgressBox.Step = [](int64_t position, int64_t) {
        if (position == stopAt) UserBreak = 1;
    };
    EXPECT_EQ(LoadProject(TestPath("saved.nem").c_str(), 0, 0), -1);
    ProgressBox.Step = nullptr;
    ASSERT_EQ(LayerCount, 1);
    EXPECT_STREQ(Layers[0].Name, "top");
    ExpectWholeProject();
}

TEST_F(ProjectFileTest, SavingByNameAddsTheExtensionAndAsksBeforeReplacing) {
    std::string bare = TestPath("named");
    ASSERT_EQ(SaveProjectAs(bare.c_str()), 0);
    EXPECT_TRUE(FileExists(bare + ".nem"));
    EXPECT_STREQ(ProjectName, (bare + ".nem").c_str());
    std::string omx = TestPath("older.OMX");
    ASSERT_EQ(SaveProjectAs(omx.c_str()), 0);
    EXPECT_FALSE(FileExists(omx + ".nem"));
    // Nobody to ask says no: the file stays.
    Bytes before = ReadBytes(omx);
    std::strcpy(Layers[0].Name, "changed");
    Stderr([&] { EXPECT_EQ(SaveProjectAs(omx.c_str()), -1); });
    EXPECT_EQ(ReadBytes(omx), before);
    SayYes yes;
    EXPECT_EQ(SaveProjectAs(omx.c_str()), 0);
    EXPECT_NE(ReadBytes(omx), before);
    // Without the requester's answer nothing is saved.
    EXPECT_EQ(SaveProject(), -1);
}

TEST_F(ProjectFileTest, FilesThatCannotBeReadSayWhy) {
    std::string missing = TestPath("missing.nem");
    std::string said = Stderr([&] { EXPECT_EQ(LoadProject(missing.c_str(), 0, 0), -1); });
    EXPECT_TRUE(Says(said, 3301)) << said;
    EXPECT_NE(said.find(missing), std::string::npos);
    said = Stderr([&] { EXPECT_EQ(LoadProject(TestPath("").c_str(), 0, 0), -1); });
    EXPECT_FALSE(said.empty());
    WriteBytes(missing, {'F', 'O', 'R', 'M', 0, 0, 0, 4, 'O', 'M', 'X', 'P'});
    said = Stderr([&] { EXPECT_EQ(LoadProject(missing.c_str(), 0, 0), -1); });
    EXPECT_TRUE(Says(said, 2350)) << said;
    EXPECT_EQ(LayerCount, 1);
}

TEST_F(ProjectFileTest, AReplacedFileKeepsItsModeAndALinkStaysALink) {
    std::string path = TestPath("mode.nem");
    ASSERT_EQ(WriteProject(path.c_str()), 0);
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    std::string link = TestPath("link.nem");
    ASSERT_EQ(symlink(path.c_str(), link.c_str()), 0);
    std::strcpy(Layers[0].Name, "through the link");
    ASSERT_EQ(WriteProject(link.c_str()), 0);
    struct stat info;
    ASSERT_EQ(lstat(link.c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode));
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0640u);
    ASSERT_EQ(LoadProject(path.c_str(), 0, 0), 0);
    EXPECT_STREQ(Layers[0].Name, "through the link");
}
