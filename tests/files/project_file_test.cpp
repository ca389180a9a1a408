// The project file: whole projects saved and read back equal, sharing and all; the
// writer's bytes where the format spells them out; and the reader's rules for files of
// another size, for adding to a project, and for the older chunks.
#include "project_file_support.h"

#include "files/lzw.h"
#include "files/run_length.h"
#include "paint/draw_modes.h"
#include "project/layer_undo.h"
#include "store/scale.h"

#include <cmath>

using namespace nemu;
using namespace nemu::test;

namespace {

// A premultiplied picture that codes into literal and repeat units alike.
void PaintPattern(uint32_t seed) {
    for (int32_t y = 0; y < PageHeight; y++)
        for (int32_t x = 0; x < PageWidth; x++) {
            uint32_t a = 128 + ((uint32_t(x / 3 + y) + seed) & 127);
            uint32_t r = (uint32_t(x) * 2 + seed) % (a + 1), g = uint32_t(y * 3) % (a + 1),
                     b = seed % (a + 1);
            Page->Pixels[size_t(y) * size_t(PageWidth) + size_t(x)] = a << 24 | r << 16 | g << 8 | b;
        }
    AddDirtyAndMark(0, 0, PageWidth - 1, PageHeight - 1);
}

void PaintBox(int32_t x, int32_t y, int32_t w, int32_t h, uint32_t colour) {
    FillBox(Page, x, y, x + w - 1, y + h - 1, colour);
    AddDirtyAndMark(x, y, x + w - 1, y + h - 1);
}

void PaintFlat(uint32_t colour) {
    PaintBox(0, 0, PageWidth, PageHeight, colour);
}

// A new layer under the current one, made current, over images first to last.
int32_t NewLayer(const char* name, int32_t first, int32_t last) {
    Layer* layer = CreateLayer(name, 0, 1, first, 1);
    EXPECT_NE(layer, nullptr);
    layer->LastImage = last;
    return CurrentLayer;
}

// Four layers with all that a save keeps: a plain picture, a hold over several images with
// density and onion settings and flags of its own, an animation whose images share tiles
// and a whole tile list, and a hidden layer; a check background and its colours; 24 images
// a second. The animation is current.
int32_t BuildRichProject() {
    std::strcpy(Layers[0].Name, "top");
    PaintPattern(7);
    int32_t hold = NewLayer("hold", 2, 9);
    PaintPattern(40);
    Layers[hold].Density = 128;
    Layers[hold].PelureBefore = -2;
    Layers[hold].PelureAfter = 3;
    Layers[hold].Flags |= LayerPelure | 0x100;
    int32_t anim = NewLayer("anim", 3, 7);
    EXPECT_EQ(MakeAnim(anim, 1), 1);
    EXPECT_EQ(SelectImage(3, 1), 1);
    PaintPattern(99);
    // Two images of one flat colour, the second changed in one tile only.
    EXPECT_EQ(SelectImage(4, 1), 1);
    PaintFlat(0xFF336699);
    PaintBox(5, 5, 20, 20, 0x80400000);
    EXPECT_EQ(SelectImage(5, 1), 1);
    PaintFlat(0xFF336699);
    PaintBox(5, 5, 20, 20, 0x80400000);
    PaintBox(70, 66, 10, 4, 0xFFFFFFFF);
    EXPECT_EQ(SelectImage(7, 1), 1);
    PaintPattern(3);
    EXPECT_EQ(SelectImage(3, 1), 1);
    // Image 6 becomes one more holder of image 4's whole tile list.
    Clip* clip = Layers[anim].Clip;
    EXPECT_EQ(clip->Ops.DeleteImage(clip, 3), 1);
    EXPECT_EQ(clip->Ops.CopyImage(clip, 1, clip, 3), 1);
    int32_t hidden = NewLayer("hidden", 1, 1);
    PaintPattern(200);
    EXPECT_NE(SelectLayerImage(LayerIndexById(Layers[anim].Id), 5, 1), nullptr);
    Layers[hidden].Flags |= LayerHidden;
    SetBackgroundMode(2);
    BGP1 = 0xFF102030;
    BGP2 = 0x80402010;
    FrameRate = 24.0;
    ClearLayerUndo();
    return anim;
}

// Anything else, so that a load has something to change.
void ScrambleProject() {
    ResetProject("scrambled", 1, 0);
    FrameRate = 30.0;
    SetBackgroundMode(0);
    BGP1 = BGP2 = 0;
}

} // namespace

TEST_F(ProjectFileTest, ARichProjectComesBackEqualInPixelsAndSharing) {
    BuildRichProject();
    ProjectRecord before = RecordProject();
    uint32_t tiles = TileUseCount;
    std::string path = Path("rich.nem");
    ASSERT_EQ(WriteProject(path.c_str()), 0);
    EXPECT_EQ(SavedCounter, ChangeCounter);
    ScrambleProject();
    ASSERT_EQ(LoadProject(path.c_str(), 0, 0), 0);
    ClearLayerUndo();
    ProjectRecord after = RecordProject();
    EXPECT_EQ(after, before) << "before:\n" << before << "after:\n" << after;
    // Shared tiles came back shared: no more tiles in use than there were.
    EXPECT_EQ(TileUseCount, tiles);
    EXPECT_EQ(SavedCounter, ChangeCounter);
    EXPECT_STREQ(ProjectName, path.c_str());
    // The same project saved again, at the same image (which the thumbnail shows), gives the
    // same file.
    ASSERT_NE(SelectLayerImage(CurrentLayer, 5, 1), nullptr);
    std::string again = Path("again.nem");
    ASSERT_EQ(WriteProject(again.c_str()), 0);
    EXPECT_EQ(ReadBytes(again), ReadBytes(path));
}

TEST_F(ProjectFileTest, LzwBodiesAndDeltaImagesComeBackEqual) {
    int32_t anim = BuildRichProject();
    ProjectRecord before = RecordProject();
    // A clip that has no stream form of its own goes out as deltas.
    Layers[anim].Clip->Ops.WriteImage = nullptr;
    ProjectCompression = 8;
    std::string path = Path("lzw.nem");
    ASSERT_EQ(WriteProject(path.c_str()), 0);
    Bytes file = ReadBytes(path);
    std::vector<Chunk> chunks = Chunks(file);
    EXPECT_EQ(GetU16(&file[chunks[1].Body + 4]), 8u) << ChunkIds(chunks);
    EXPECT_NE(ChunkIds(chunks).find("DBOD LDLT LDLT LDLT LDLT"), std::string::npos) << ChunkIds(chunks);
    EXPECT_EQ(ChunkIds(chunks).find("SRAW"), std::string::npos);
    ScrambleProject();
    ASSERT_EQ(LoadProject(path.c_str(), 0, 0), 0);
    ProjectRecord after = RecordProject();
    // Deltas carry the pictures, not the sharing: compare pixels and the rest.
    for (size_t i = 0; i < before.Layers.size(); i++) {
        before.Layers[i].ListOwner.clear(), before.Layers[i].TileOwner.clear();
        after.Layers[i].ListOwner.clear(), after.Layers[i].TileOwner.clear();
    }
    EXPECT_EQ(after, before) << "before:\n" << before << "after:\n" << after;
}

TEST_F(ProjectFileTest, OneBodyALayerAndOneStoredImageForEachFurtherImage) {
    int32_t anim = BuildRichProject();
    std::string path = Path("count.nem");
    ASSERT_EQ(WriteProject(path.c_str()), 0);
    Bytes file = ReadBytes(path);
    std::vector<Chunk> chunks = Chunks(file);
    // Top, hold, anim with its four further images, hidden.
    EXPECT_EQ(ChunkIds(chunks), "XS24 DGBL DPEL DLOC BGMD CRLR BGP1 BGP2 ANNO "
                                "LNAM FRAT LRHD DBOD LNAM FRAT LRHD DBOD "
                                "LNAM FRAT LRHD DBOD SRAW SRAW SRAW SRAW LNAM FRAT LRHD DBOD");
    // The image that shares image 1's whole list is a link of 12 bytes.
    std::vector<Chunk> stored;
    for (const Chunk& c : chunks)
        if (c.Id == "SRAW") stored.push_back(c);
    ASSERT_EQ(stored.size(), 4u);
    EXPECT_EQ(stored[2].Size, 12u);
    EXPECT_EQ(GetU32(&file[stored[2].Body]), 2u);
    EXPECT_EQ(GetU32(&file[stored[2].Body + 4]), 1u);
    EXPECT_EQ(GetU32(&file[stored[2].Body + 8]), 0u);
    // Image 2 differs from image 1 in one tile: its other five tiles are links.
    EXPECT_LT(stored[1].Size, stored[0].Size / 2);
    ScrambleProject();
    ASSERT_EQ(LoadProject(path.c_str(), 0, 0), 0);
    const Clip* clip = Layers[anim].Clip;
    ASSERT_NE(clip, nullptr);
    const ClipImage* second = clip->Images->Next;
    EXPECT_EQ(second->Next->Next->Link, second->Link);
    EXPECT_GE(second->Link->RefCount, 2);
    EXPECT_EQ(second->Next->Link->Tiles[0], second->Link->Tiles[0]);
    EXPECT_NE(second->Next->Link->Tiles[4], second->Link->Tiles[4]);
}

TEST_F(ProjectFileTest, AFileOfAnotherSizeIsCroppedPlacedInTheCornerOrScaled) {
    PaintPattern(5);
    AddClipLayer("anim", 0, {0xFF00FF00, 0xFF0000FF});
    std::string path = Path("big.nem");
    ASSERT_EQ(WriteProject(path.c_str()), 0);
    Bitmap* saved = NewBitmap(PageWidth, PageHeight);
    ASSERT_EQ(LoadLayerImage(saved, &Layers[0], 0), 1);

    // Smaller page, no resize, no scale: the top-left part.
    ASSERT_EQ(ChangePageSize(40, 30, 0), 1);
    ASSERT_EQ(LoadProject(path.c_str(), 0, 0), 0);
    EXPECT_EQ(PageWidth, 40);
    ASSERT_EQ(LayerCount, 2);
    EXPECT_EQ(LayerPixel(0, 0, 39, 29), saved->Pixels[29 * 150 + 39]);
    EXPECT_EQ(LayerPixel(1, 1, 39, 29), 0xFF0000FFu);
    ASSERT_NE(Layers[1].Clip, nullptr);
    EXPECT_EQ(Layers[1].LastImage, 1);

    // Larger page: the file's images fill the corner, the rest is empty.
    ASSERT_EQ(ChangePageSize(200, 100, 0), 1);
    ASSERT_EQ(LoadProject(path.c_str(), 0, 0), 0);
    EXPECT_EQ(LayerPixel(0, 0, 149, 69), saved->Pixels[69 * 150 + 149]);
    EXPECT_EQ(LayerPixel(0, 0, 150, 69), 0u);
    EXPECT_EQ(LayerPixel(1, 1, 149, 0), 0xFF0000FFu);
    EXPECT_EQ(LayerPixel(1, 1, 199, 99), 0u);

    // Scaled: what the filtered scaler makes of the file's picture.
    AntiAlias = 1;
    ASSERT_EQ(LoadProject(path.c_str(), 0, 1), 0);
    Bitmap* scaled = NewBitmap(200, 100);
    ASSERT_EQ(ScaleBitmap(saved, scaled, true), 1);
    Bitmap* loaded = NewBitmap(200, 100);
    ASSERT_EQ(LoadLayerImage(loaded, &Layers[0], 0), 1);
    EXPECT_EQ(PixelHash(loaded), PixelHash(scaled));
    EXPECT_EQ(LayerPixel(1, 1, 199, 99), 0xFF0000FFu);

    // Resize allowed: the page takes the file's size.
    ASSERT_EQ(LoadProject(path.c_str(), 1, 1), 0);
    EXPECT_EQ(PageWidth * 1000 + PageHeight, 150070);
    Bitmap* same = NewBitmap(150, 70);
    ASSERT_EQ(LoadLayerImage(same, &Layers[0], 0), 1);
    EXPECT_EQ(PixelHash(same), PixelHash(saved));
    FreeBitmap(same);
    for (Bitmap* b : {saved, scaled, loaded}) FreeBitmap(b);
}

TEST_F(ProjectFileTest, LayersAddedToAProjectGoAboveTheCurrentOneAndChangeNothingElse) {
    std::strcpy(Layers[0].Name, "file top");
    PaintPattern(1);
    AddLayer("file under", 0, 3);
    PaintPattern(2);
    FrameRate = 12.0;
    SetBackgroundMode(1);
    BGP1 = 0xFF0000FF;
    std::string path = Path("add.nem");
    ASSERT_EQ(WriteProject(path.c_str()), 0);

    ScrambleProject();
    AddLayer("mine below", 0, 0);
    EXPECT_NE(SelectLayerImage(0, 0, 1), nullptr);
    BGP1 = 0xFF123456;
    uint32_t saved = SavedCounter;
    ASSERT_EQ(ReadProject(path.c_str(), 0, 0, 0), 0);
    ASSERT_EQ(LayerCount, 4);
    EXPECT_STREQ(Layers[0].Name, "file top");
    EXPECT_STREQ(Layers[1].Name, "file under");
    EXPECT_STREQ(Layers[2].Name, "scrambled");
    EXPECT_STREQ(Layers[3].Name, "mine below");
    EXPECT_EQ(Layers[1].LastImage, 3);
    // The file's current layer (its second) is current now.
    EXPECT_EQ(CurrentLayer, 1);
    EXPECT_EQ(FrameRate, 30.0);
    EXPECT_EQ(BackgroundMode(), 0);
    EXPECT_EQ(BGP1, 0xFF123456u);
    EXPECT_NE(SavedCounter, ChangeCounter) << "the added layers are not saved yet";
    (void)saved;
}

TEST_F(ProjectFileTest, ChangingThePageSizeKeepsTheProjectScaled) {
    int32_t anim = BuildRichProject();
    int32_t images = Layers[anim].Clip->ImageCount;
    ProjectRecord before = RecordProject();
    ASSERT_EQ(ChangePageSize(300, 140, 1), 1);
    EXPECT_EQ(PageWidth, 300);
    ASSERT_EQ(LayerCount, int32_t(before.Layers.size()));
    for (int32_t i = 0; i < LayerCount; i++) {
        EXPECT_EQ(Layers[i].Name, before.Layers[size_t(i)].Name);
        EXPECT_EQ(Layers[i].Width, 300);
        EXPECT_EQ(Layers[i].FirstImage, before.Layers[size_t(i)].First);
        EXPECT_EQ(Layers[i].LastImage, before.Layers[size_t(i)].Last);
    }
    EXPECT_EQ(Layers[anim].Clip->ImageCount, images);
    EXPECT_EQ(FrameRate, 24.0);
    EXPECT_EQ(CurrentLayer, before.Current);
    // Scaled twice over, a flat colour stays itself.
    EXPECT_EQ(LayerPixel(anim, 4, 200, 100), 0xFF336699u);
    EXPECT_NE(SavedCounter, ChangeCounter);
    // The file that carried the project is gone, and nobody took it for a document.
    std::vector<uint8_t> listing = RunCommand("ls " + TempDir + " | grep -c 'nem$'", nullptr);
    EXPECT_EQ(std::string(listing.begin(), listing.end()), "0\n");
    EXPECT_EQ(std::string(ProjectName).find(TempDir), std::string::npos);
}

// ---- The writer's bytes --------------------------------------------------------------------------

class ProjectBytesTest : public ProjectTest {
  protected:
    void SetUp() override { MakeProject(5, 3); }
};

TEST_F(ProjectBytesTest, FixedChunksHoldWhatTheFormatSays) {
    std::strcpy(Layers[0].Name, "ab");
    ClearBitmap(Page, 0xFF112233);
    PaintPixel(0, 0, 0xFF112233);
    AddLayer("abc", 0, 0);
    AddClipLayer("", 4, {0xFF445566, 0xFF445566});
    // The clip's second image: two rows of one colour over a third of another.
    EXPECT_EQ(SelectImage(5, 1), 1);
    FillBox(Page, 0, 2, 4, 2, 0xFF000001);
    AddDirtyAndMark(0, 0, 4, 2);
    FrameRate = 29.97;
    DisplayFlags |= 0x2000 | 0x0002 | 0x0004 | 0x0100;
    BGP1 = 0x80402010;
    EXPECT_NE(SelectLayerImage(1, 0, 1), nullptr);
    AnnotationBuffer[0] = 'N';

    std::string path = TestPath("bytes.nem");
    ASSERT_EQ(WriteProject(path.c_str()), 0);
    Bytes f = ReadBytes(path);
    ASSERT_GT(f.size(), 12u);
    EXPECT_EQ(std::string(f.begin(), f.begin() + 4), "FORM");
    EXPECT_EQ(GetU32(&f[4]), f.size() - 8);
    EXPECT_EQ(std::string(f.begin() + 8, f.begin() + 12), "OMXP");
    std::vector<Chunk> c = Chunks(f);
    ASSERT_EQ(ChunkIds(c), "XS24 DGBL DPEL DLOC BGMD CRLR BGP1 BGP2 ANNO LNAM FRAT LRHD DBOD "
                           "LNAM FRAT LRHD DBOD LNAM FRAT LRHD DBOD SRAW");
    auto body = [&](int i) {
        return Bytes(f.begin() + long(c[size_t(i)].Body),
                     f.begin() + long(c[size_t(i)].Body) + long(c[size_t(i)].Size));
    };
    // The thumbnail: 5 by 3 fits in 64 as it is; 45 pixel bytes written as 46, and the size
    // says (15 + 2) * 3 rounded up.
    EXPECT_EQ(c[0].Size, 52u);
    Bytes thumbnail = body(0);
    EXPECT_EQ(Bytes(thumbnail.begin(), thumbnail.begin() + 9), (Bytes{0, 5, 0, 3, 0, 0, 0x11, 0x22, 0x33}));
    EXPECT_EQ(body(1), (Bytes{0, 5, 0, 3, 0, 1, 16, 16}));
    EXPECT_EQ(body(2), (Bytes{0, 0, 0, 4, 0, 3, 0, 8, 0, 2, 0, 8, 0, 1, 0, 8, 0, 17, 0, 8}));
    EXPECT_EQ(body(3), (Bytes{0, 5, 0, 3, 0, 0, 0, 0}));
    EXPECT_EQ(body(4), (Bytes{0, 0, 0x20, 0x06}));
    EXPECT_EQ(body(5), (Bytes{0, 0, 0, 1}));
    EXPECT_EQ(body(6), (Bytes{0x40, 0x20, 0x10, 0x80}));
    // The annotation: its first byte is now "$" for good, and an even text takes its zero
    // and the byte after it.
    EXPECT_EQ(AnnotationBuffer[0], '$');
    std::string anno(AnnotationBuffer);
    EXPECT_EQ(c[8].Size, (anno.size() + 2) & ~size_t(1));
    Bytes expected(anno.begin(), anno.end());
    expected.resize(c[8].Size, 0);
    EXPECT_EQ(body(8), expected);
    // Names: "ab" takes 4 bytes, "abc" 4, and an empty name is written as message 8100.
    EXPECT_EQ(body(9), (Bytes{'a', 'b', 0, 0}));
    EXPECT_EQ(body(13), (Bytes{'a', 'b', 'c', 0}));
    std::string untitled = MsgGet(nullptr, 8100);
    EXPECT_EQ(c[17].Size, (untitled.size() + 2) & ~size_t(1));
    Bytes name = body(17);
    EXPECT_EQ(std::string(name.begin(), name.begin() + long(untitled.size())), untitled);
    EXPECT_EQ(GetU32(body(10).data()), 29970u);
    // The clip's header: version 1, first 4, last 5, two images, full density.
    Bytes head = body(19);
    ASSERT_EQ(head.size(), 104u);
    EXPECT_EQ(GetU32(&head[0]), 1u);
    EXPECT_EQ(GetU32(&head[4]), 4u);
    EXPECT_EQ(GetU32(&head[8]), 5u);
    EXPECT_EQ(GetU32(&head[12]), 2u);
    EXPECT_EQ(GetU32(&head[16]), 255u);
    EXPECT_EQ(GetU32(body(11).data() + 12), 0u) << "a plain layer has no images in a clip";
    // Odd bodies: the DBOD of three one-unit rows is followed by 0x80, the SRAW by 0.
    EXPECT_EQ(c[12].Size, 15u);
    EXPECT_EQ(f[c[12].Body + 15], 0x80);
    EXPECT_EQ(body(12), (Bytes{0xFC, 0x33, 0x22, 0x11, 0xFF, 0xFC, 0x33, 0x22, 0x11, 0xFF, 0xFC, 0x33, 0x22,
                               0x11, 0xFF}));
    EXPECT_EQ(c[21].Size % 2, 1u);
    EXPECT_EQ(f[c[21].Body + c[21].Size], 0);
}

TEST_F(ProjectBytesTest, BodySizesStandAsOmx4UntilTheBodyIsWhole) {
    std::string path = TestPath("chunk.bin");
    FILE* file = std::fopen(path.c_str(), "w+b");
    ASSERT_NE(file, nullptr);
    int64_t at = BeginChunk(file, "DBOD", "OMX4");
    std::fwrite("abc", 1, 3, file);
    std::fflush(file);
    EXPECT_EQ(ReadBytes(path), (Bytes{'D', 'B', 'O', 'D', 'O', 'M', 'X', '4', 'a', 'b', 'c'}));
    ASSERT_EQ(EndChunk(file, at, 0x80), 0);
    std::fwrite("Z", 1, 1, file);
    std::fclose(file);
    EXPECT_EQ(ReadBytes(path), (Bytes{'D', 'B', 'O', 'D', 0, 0, 0, 3, 'a', 'b', 'c', 0x80, 'Z'}));
}

TEST_F(ProjectBytesTest, BackgroundBit2IsWrittenButNeverRead) {
    DisplayFlags = (DisplayFlags & ~BackgroundBits) | 0x0002 | BackgroundColourBit;
    std::string path = TestPath("bg.nem");
    ASSERT_EQ(WriteProject(path.c_str()), 0);
    DisplayFlags &= ~(0x0002u | BackgroundBits);
    ASSERT_EQ(LoadProject(path.c_str(), 0, 0), 0);
    EXPECT_EQ(DisplayFlags & 0x0002u, 0u);
    EXPECT_EQ(BackgroundMode(), 1);
    DisplayFlags |= 0x0002;
    ASSERT_EQ(LoadProject(path.c_str(), 0, 0), 0);
    EXPECT_EQ(DisplayFlags & 0x0002u, 0x0002u);
}

// ---- The reader's rules ------------------------------------------------------------------------------

TEST_F(ProjectBytesTest, LongHeadersAndOddChunksAreSkippedByTheirSize) {
    Bytes head(110, 0);
    PutU32(&head[4], 2);
    PutU32(&head[8], 6);
    PutU32(&head[16], 77);
    std::fill(head.begin() + 104, head.end(), 0xEE);
    FileBuilder b;
    b.Header(5, 3).Add("ODD!", {1, 2, 3}).Add("LNAM", {'o', 'd', 'd', 0}).Add("LRHD", head);
    b.FlatBody("DBOD", 5, 3, 0xFF010203);
    std::string path = TestPath("odd.nem");
    WriteBytes(path, b.Done());
    ASSERT_EQ(LoadProject(path.c_str(), 0, 0), 0);
    ASSERT_EQ(LayerCount, 1);
    EXPECT_STREQ(Layers[0].Name, "odd");
    EXPECT_EQ(Layers[0].FirstImage, 2);
    EXPECT_EQ(Layers[0].LastImage, 6);
    EXPECT_EQ(Layers[0].Density, 77);
    EXPECT_EQ(LayerPixel(0, 4, 4, 2), 0xFF010203u);
}

TEST_F(ProjectBytesTest, ABodyBeforeThePageSizeGives2350AndNoLayer) {
    FileBuilder b;
    b.FlatBody("DBOD", 5, 3, 0xFF010203).Header(5, 3).FlatBody("DBOD", 5, 3, 0xFF010203);
    std::string path = TestPath("early.nem");
    WriteBytes(path, b.Done());
    std::strcpy(Layers[0].Name, "mine");
    testing::internal::CaptureStderr();
    EXPECT_EQ(LoadProject(path.c_str(), 0, 0), -1);
    EXPECT_NE(testing::internal::GetCapturedStderr().find(MsgGet(nullptr, 2350)), std::string::npos);
    EXPECT_EQ(LayerCount, 1);
    EXPECT_STREQ(Layers[0].Name, "mine") << "the open project stays";
}

TEST_F(ProjectBytesTest, LayersWithoutNamesAreNamedAfterTheFile) {
    FileBuilder b;
    b.Header(5, 3).FlatBody("DBOD", 5, 3, 1).FlatBody("DBOD", 5, 3, 2);
    std::string path = TestPath("a-rather-long-name-of-sixty-characters-for-the-file-here.tiff");
    WriteBytes(path, b.Done());
    ASSERT_EQ(LoadProject(path.c_str(), 0, 0), 0);
    ASSERT_EQ(LayerCount, 2);
    EXPECT_STREQ(Layers[0].Name, "ng-name-of-sixty-characters-for-the-file-here-1");
    EXPECT_STREQ(Layers[1].Name, "ng-name-of-sixty-characters-for-the-file-here-2");
}

TEST_F(ProjectBytesTest, PixelLayoutsOtherThanMemorysAreConverted) {
    // Red, green, blue, straight alpha; and a 24-bit file without alpha.
    FileBuilder b;
    Bytes global{0, 5, 0, 3, 0, 1, 16, 16}, location{0, 5, 0, 3, 0, 0, 0, 0};
    b.Add("DGBL", global).Add("DLOC", location);
    b.Add("DPEL", {0, 0, 0, 4, 0, 1, 0, 8, 0, 2, 0, 8, 0, 3, 0, 8, 0, 4, 0, 8});
    Bytes rows;
    for (int y = 0; y < 3; y++) rows.insert(rows.end(), {uint8_t(0xFC), 200, 100, 50, 128});
    b.Add("DBOD", rows);
    std::string path = TestPath("rgba.nem");
    WriteBytes(path, b.Done());
    ASSERT_EQ(LoadProject(path.c_str(), 0, 0), 0);
    EXPECT_EQ(LayerPixel(0, 0, 4, 2), 0x8065331Au);

    FileBuilder rgb;
    rgb.Add("DGBL", {0, 5, 0, 3, 0, 0, 16, 16}).Add("DLOC", location);
    rgb.Add("DPEL", {0, 0, 0, 3, 0, 1, 0, 8, 0, 2, 0, 8, 0, 3, 0, 8});
    Bytes raw;
    for (int i = 0; i < 15; i++) raw.insert(raw.end(), {uint8_t(i), 2, 3});
    rgb.Add("DBOD", raw);
    WriteBytes(path, rgb.Done());
    ASSERT_EQ(LoadProject(path.c_str(), 0, 0), 0);
    EXPECT_EQ(LayerPixel(0, 0, 4, 2), 0xFF0E0203u);
    // Tiles of 3-byte pixels can't be: further images of such a file end the load.
    rgb.Head(0, 1, 2).Add("DBOD", raw).Add("SRAW", {0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0});
    WriteBytes(path, rgb.Done());
    testing::internal::CaptureStderr();
    EXPECT_EQ(LoadProject(path.c_str(), 0, 0), -1);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(LayerCount, 2);
}

TEST_F(ProjectBytesTest, OldStoredFormsAndTheMixerHeaderAreRead) {
    FileBuilder b;
    b.Header(5, 3).Head(0, 3, 4).FlatBody("DBOD", 5, 3, 0xFF000010);
    // Tag 1: a skipped block, then the whole image as one run.
    Bytes one;
    AddU32(one, 1);
    AddU32(one, 3);
    one.insert(one.end(), {9, 9, 9});
    AddU32(one, 5);
    one.push_back(uint8_t(int8_t(-14)));
    AddPixel(one, 0xFF000020);
    b.Add("SRAW", one);
    // Tag 0: the same with LZW data.
    std::vector<uint32_t> pixels(15, 0xFF000030);
    struct Sink {
        Bytes Data;
    } sink;
    ByteSink to{[](void* user, const uint8_t* d, size_t n) {
                    auto* s = static_cast<Sink*>(user);
                    s->Data.insert(s->Data.end(), d, d + n);
                    return 0;
                },
                &sink};
    ASSERT_GT(WriteLzw(to, reinterpret_cast<const uint8_t*>(pixels.data()), 60), 0);
    Bytes zero;
    AddU32(zero, 0);
    AddU32(zero, 0);
    AddU32(zero, 0);
    AddU32(zero, uint32_t(sink.Data.size()));
    zero.insert(zero.end(), sink.Data.begin(), sink.Data.end());
    b.Add("SRAW", zero);
    // A delta: the image before with its blue changed to 0x31.
    b.FlatBody("LDLT", 5, 3, 0x00000001);
    // Mixer header: current index 2 of three fixed layers without the middle one, which
    // makes it the second of the two there are.
    Bytes mixer(60, 0);
    PutU32(&mixer[36], 2);
    PutU32(&mixer[40], 0);
    PutU32(&mixer[44], 1);
    PutU32(&mixer[52], 0x2000);
    mixer[56] = 0x11, mixer[57] = 0x22, mixer[58] = 0x33, mixer[59] = 0x44;
    b.Add("MIXR", mixer).FlatBody("DBOD", 5, 3, 0xFF000099);
    std::string path = TestPath("old.nem");
    WriteBytes(path, b.Done());
    ASSERT_EQ(LoadProject(path.c_str(), 0, 0), 0);
    ASSERT_NE(Layers[0].Clip, nullptr);
    EXPECT_EQ(Layers[0].LastImage, 3);
    EXPECT_EQ(LayerPixel(0, 0, 2, 1), 0xFF000010u);
    EXPECT_EQ(LayerPixel(0, 1, 2, 1), 0xFF000020u);
    EXPECT_EQ(LayerPixel(0, 2, 2, 1), 0xFF000030u);
    EXPECT_EQ(LayerPixel(0, 3, 2, 1), 0xFF000031u);
    EXPECT_EQ(BackgroundMode(), 2);
    EXPECT_EQ(BGP1, 0x44112233u);
    EXPECT_EQ(CurrentLayer, 1);
    EXPECT_EQ(LayerPixel(1, 0), 0xFF000099u);
}

TEST_F(ProjectBytesTest, AClipOfOneImageStaysAClip) {
    AddClipLayer("one", 2, {0xFF203040});
    ASSERT_EQ(Layers[1].Clip->ImageCount, 1);
    std::string path = TestPath("one.nem");
    ASSERT_EQ(WriteProject(path.c_str()), 0);
    ASSERT_EQ(LoadProject(path.c_str(), 0, 0), 0);
    ASSERT_NE(Layers[1].Clip, nullptr);
    EXPECT_EQ(Layers[1].Clip->ImageCount, 1);
    EXPECT_EQ(Layers[1].FirstImage * 10 + Layers[1].LastImage, 22);
    EXPECT_EQ(LayerPixel(1, 2), 0xFF203040u);
    EXPECT_EQ(Layers[0].Clip, nullptr);
}
