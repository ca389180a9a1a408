// The stream form of stored images: round trips that keep the sharing, the exact forms
// of links, and damaged streams, which must fail cleanly and leave the clip as it was.
#include "store_fixture.h"

#include <cstdio>
#include <random>

namespace nemu {
namespace {

class TileStreamTest : public StoreTest {
  protected:
    std::vector<Clip*> Clips;
    FILE* File = nullptr;
    void SetUp() override {
        StoreTest::SetUp();
        OpenCacheWithLimit(-1);
        File = std::tmpfile();
        ASSERT_NE(File, nullptr);
    }
    void TearDown() override {
        for (Clip* c : Clips) c->Ops.Free(c);
        if (File) std::fclose(File);
        StoreTest::TearDown();
    }
    Clip* MakeClip(int w, int h) {
        Clips.push_back(NewClipSized("stream", w, h));
        return Clips.back();
    }
    // Writes every image as one body; returns the bodies' sizes.
    std::vector<long> WriteAll(Clip* c) {
        std::vector<long> sizes;
        for (int i = 0; i < c->ImageCount; i++) {
            long start = std::ftell(File);
            EXPECT_EQ(c->Ops.WriteImage(c, i, File), 1) << i;
            sizes.push_back(std::ftell(File) - start);
        }
        std::rewind(File);
        return sizes;
    }
    std::vector<uint32_t> Read(Clip* c, int index) {
        Bitmap* b = NewClearBitmap(c->Width, c->Height);
        EXPECT_EQ(c->Ops.ReadImage(c, b, index), 1);
        std::vector<uint32_t> pixels = PixelsOf(b);
        FreeBitmap(b);
        return pixels;
    }
    // Replaces the file's contents with bytes and rewinds it.
    void Rewrite(const std::vector<uint8_t>& bytes) {
        std::fclose(File);
        File = std::tmpfile();
        std::fwrite(bytes.data(), 1, bytes.size(), File);
        std::rewind(File);
    }
    std::vector<uint8_t> Contents() {
        std::vector<uint8_t> bytes;
        std::rewind(File);
        for (int c; (c = std::fgetc(File)) != EOF;) bytes.push_back(uint8_t(c));
        std::rewind(File);
        return bytes;
    }
};

void Word(std::vector<uint8_t>& out, uint32_t v) {
    for (int s = 24; s >= 0; s -= 8) out.push_back(uint8_t(v >> s));
}

Bitmap* Striped(int w, int h) {
    Bitmap* b = NewBitmap(w, h);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) b->Pixels[y * w + x] = 0xFF000000u | uint32_t((x * 7) ^ (y * 13));
    FillBox(b, 0, 0, w - 1, 63, 0xFF408020); // a flat first row of tiles
    return b;
}

TEST_F(TileStreamTest, RoundTripKeepsPixelsAndSharing) {
    Clip* c = MakeClip(200, 150);
    Bitmap* b = Striped(200, 150);
    ASSERT_EQ(c->Ops.InsertImage(c, b, -1, 0), 1);
    ASSERT_EQ(c->Ops.DuplicateImage(c, 0), 1);
    DrawDisc(b, 100, 100, 5, 0xFFFFFFFF);
    ASSERT_EQ(c->Ops.InsertImage(c, b, 1, 0), 1);
    std::vector<long> sizes = WriteAll(c);
    EXPECT_EQ(sizes[1], 12) << "a fully linked image is tag, index and zero";

    Clip* back = MakeClip(200, 150);
    for (int i = 0; i < 3; i++) ASSERT_EQ(back->Ops.ReadStream(back, i, File, sizes[i]), 1) << i;
    ASSERT_EQ(back->ImageCount, 3);
    for (int i = 0; i < 3; i++) EXPECT_EQ(Read(back, i), Read(c, i)) << i;
    ClipImage* first = back->Images;
    EXPECT_EQ(first->Next->Link, first->Link);
    EXPECT_EQ(first->Link->RefCount, 2);
    // The flat tiles of the first row are shared inside the image, and the untouched
    // tiles of the third image with those of the second.
    EXPECT_EQ(first->Link->Tiles[1], first->Link->Tiles[0]);
    TileLink* third = first->Next->Next->Link;
    for (int i = 0; i < third->NumTile; i++)
        if (i != 5) EXPECT_EQ(third->Tiles[i], first->Link->Tiles[i]) << i;
    EXPECT_NE(third->Tiles[5], first->Link->Tiles[5]);
    EXPECT_EQ(c->Ops.ImageBytes(c, -1, nullptr), back->Ops.ImageBytes(back, -1, nullptr));
    EXPECT_EQ(CheckInvariant(Clips), "");
    // Bases come back too.
    Bitmap *base1 = NewClearBitmap(64, 64), *base2 = NewClearBitmap(64, 64);
    c->Ops.ReadBase(c, 2, base1);
    back->Ops.ReadBase(back, 2, base2);
    EXPECT_EQ(PixelsOf(base1), PixelsOf(base2));
    for (Bitmap* x : {b, base1, base2}) FreeBitmap(x);
}

TEST_F(TileStreamTest, TheTilesFormIsLaidOutAsDocumented) {
    Clip* c = MakeClip(65, 1); // two tiles: 64 by 1 and 1 by 1
    Bitmap* b = FlatPicture(65, 1, 0xFF0000FF);
    ASSERT_EQ(c->Ops.InsertImage(c, b, -1, 0), 1);
    WriteAll(c);
    std::vector<uint8_t> want;
    Word(want, 64);
    Word(want, 5 + 8); // base: 64 by 1 pixels of one colour, one repeat unit
    Word(want, 64);
    Word(want, 1);
    want.push_back(uint8_t(int8_t(1 - 64)));
    for (uint8_t v : {0xFF, 0x00, 0x00, 0xFF}) want.push_back(v);
    Word(want, 2);
    Word(want, 5); // first tile: one repeat unit of 64
    want.push_back(uint8_t(int8_t(1 - 64)));
    for (uint8_t v : {0xFF, 0x00, 0x00, 0xFF}) want.push_back(v);
    Word(want, 5); // second: a literal of one
    want.push_back(0);
    for (uint8_t v : {0xFF, 0x00, 0x00, 0xFF}) want.push_back(v);
    EXPECT_EQ(Contents(), want);
    FreeBitmap(b);
}

// An image whose picture an earlier image holds goes out as a link to the first such
// image, in whatever order images are written and however the clip changed in between.
TEST_F(TileStreamTest, ALinkNamesTheFirstEarlierHolderAsTheClipNowStands) {
    Clip* c = MakeClip(70, 10);
    Bitmap* b = FlatPicture(70, 10, 0xFF102030);
    ASSERT_EQ(c->Ops.InsertImage(c, b, -1, 0), 1); // A
    ClearBitmap(b, 0xFF405060);
    ASSERT_EQ(c->Ops.InsertImage(c, b, 0, 0), 1); // B
    ClearBitmap(b, 0xFF708090);
    ASSERT_EQ(c->Ops.InsertImage(c, b, 1, 0), 1); // C
    // A B C A B A
    for (int from : {0, 1, 0}) ASSERT_EQ(c->Ops.CopyImage(c, from, c, c->ImageCount), 1);
    auto linkTo = [&](int index) {
        long start = std::ftell(File);
        EXPECT_EQ(c->Ops.WriteImage(c, index, File), 1);
        std::vector<uint8_t> all = Contents();
        std::fseek(File, 0, SEEK_END);
        std::vector<uint8_t> body(all.begin() + start, all.end());
        if (body.size() != 12 || body[3] != 2) return -1; // not a link
        return int(body[4]) << 24 | int(body[5]) << 16 | int(body[6]) << 8 | body[7];
    };
    EXPECT_EQ(linkTo(5), 0);
    EXPECT_EQ(linkTo(4), 1);
    EXPECT_EQ(linkTo(2), -1);
    EXPECT_EQ(linkTo(3), 0);
    EXPECT_EQ(linkTo(0), -1);
    // The first A and C change places: C B A A B A.
    ASSERT_EQ(c->Ops.MoveImage(c, 0, c, 2), 1);
    EXPECT_EQ(linkTo(5), 2);
    EXPECT_EQ(linkTo(3), 2);
    EXPECT_EQ(linkTo(1), -1);
    EXPECT_EQ(linkTo(4), 1);
    // The first two go: A A B A.
    ASSERT_EQ(DeleteImages(c, 0, 2), 1);
    EXPECT_EQ(linkTo(3), 0);
    EXPECT_EQ(linkTo(2), -1);
    // A new picture stored over the first A leaves the second the first of its kind: C A B A.
    ASSERT_EQ(c->Ops.StoreImage(c, b, 0, 0), 1);
    EXPECT_EQ(linkTo(1), -1);
    EXPECT_EQ(linkTo(3), 1);
    FreeBitmap(b);
}

TEST_F(TileStreamTest, AnEmptyImageGoesOutAsTransparentTiles) {
    Clip* c = MakeClip(70, 70);
    Bitmap* wrong = FlatPicture(1, 1, 0);
    c->Ops.InsertImage(c, wrong, -1, 0);
    std::vector<long> sizes = WriteAll(c);
    Clip* back = MakeClip(70, 70);
    ASSERT_EQ(back->Ops.ReadStream(back, 0, File, sizes[0]), 1);
    EXPECT_EQ(Read(back, 0), std::vector<uint32_t>(70 * 70, 0));
    FreeBitmap(wrong);
}

TEST_F(TileStreamTest, DamagedStreamsFailCleanly) {
    Clip* c = MakeClip(100, 100);
    Bitmap* b = Striped(100, 100);
    ASSERT_EQ(c->Ops.InsertImage(c, b, -1, 0), 1);
    Clip* back = MakeClip(100, 100);
    struct Case {
        const char* Name;
        std::vector<uint8_t> Body;
        const char* Printed;
    };
    std::vector<Case> cases;
    {
        std::vector<uint8_t> v; // a link to a tile of an image not yet read
        Word(v, 64), Word(v, 0), Word(v, 4);
        for (int i = 0; i < 4; i++) Word(v, 0), Word(v, 1), Word(v, 0);
        cases.push_back({"link to the image before", v, "probleme DuplicateTileLink"});
    }
    {
        std::vector<uint8_t> v; // a link to a later tile of the same image
        Word(v, 64), Word(v, 0), Word(v, 4);
        Word(v, 0), Word(v, 0), Word(v, 2);
        cases.push_back({"link forward", v, "probleme DuplicateTileLink"});
    }
    {
        std::vector<uint8_t> v;
        Word(v, 64), Word(v, 0), Word(v, 6);
        cases.push_back({"wrong tile count", v, "numtile != i->Link->NumTile"});
    }
    {
        std::vector<uint8_t> v;
        Word(v, 2), Word(v, 7), Word(v, 0);
        cases.push_back({"link to a missing image", v, "probleme DuplicateTileLink"});
    }
    {
        std::vector<uint8_t> v;
        Word(v, 64), Word(v, 0), Word(v, 4), Word(v, 5);
        v.insert(v.end(), {uint8_t(int8_t(-70)), 1, 2, 3, 4}); // 71 pixels in a row of 64
        cases.push_back({"tile code crossing its row", v, "WARNING"});
    }
    {
        std::vector<uint8_t> v;
        Word(v, 64), Word(v, 20), Word(v, 65), Word(v, 1);
        cases.push_back({"base larger than 64", v, "WARNING"});
    }
    for (const Case& k : cases) {
        SCOPED_TRACE(k.Name);
        Rewrite(k.Body);
        testing::internal::CaptureStderr();
        EXPECT_EQ(back->Ops.ReadStream(back, 0, File, long(k.Body.size())), -1);
        EXPECT_NE(testing::internal::GetCapturedStderr().find(k.Printed), std::string::npos);
        EXPECT_EQ(back->ImageCount, 0);
        EXPECT_EQ(CheckInvariant(Clips), "");
    }
    // A size larger than what the file holds, and one beyond any body of this clip.
    std::vector<long> sizes = WriteAll(c);
    testing::internal::CaptureStderr();
    EXPECT_EQ(back->Ops.ReadStream(back, 0, File, sizes[0] + 100), -1);
    std::rewind(File);
    EXPECT_EQ(back->Ops.ReadStream(back, 0, File, 1L << 40), -1);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(back->ImageCount, 0);
    // Older tags are left to the caller, with the file back at the tag.
    std::vector<uint8_t> old;
    Word(old, 1), Word(old, 0);
    Rewrite(old);
    EXPECT_EQ(back->Ops.ReadStream(back, 0, File, 8), 0);
    EXPECT_EQ(std::ftell(File), 0);
    FreeBitmap(b);
}

TEST_F(TileStreamTest, RandomDamageNeverBreaksTheStore) {
    Clip* c = MakeClip(130, 100);
    Bitmap* b = Striped(130, 100);
    ASSERT_EQ(c->Ops.InsertImage(c, b, -1, 0), 1);
    DrawDisc(b, 70, 70, 10, 0x80FF0000);
    ASSERT_EQ(c->Ops.InsertImage(c, b, 0, 0), 1);
    std::vector<long> sizes = WriteAll(c);
    std::vector<uint8_t> good = Contents();
    Clip* back = MakeClip(130, 100);
    std::mt19937 rng(99);
    Bitmap* out = NewBitmap(130, 100);
    for (int trial = 0; trial < 300; trial++) {
        SCOPED_TRACE("case " + std::to_string(trial));
        std::vector<uint8_t> bad = good;
        for (int i = int(rng() % 4) + 1; i > 0; i--) bad[rng() % bad.size()] ^= uint8_t(1 + rng() % 255);
        Rewrite(bad);
        testing::internal::CaptureStderr();
        int first = back->Ops.ReadStream(back, 0, File, sizes[0]);
        std::fseek(File, sizes[0], SEEK_SET);
        int second = first == 1 ? back->Ops.ReadStream(back, 1, File, sizes[1]) : -1;
        testing::internal::GetCapturedStderr();
        EXPECT_TRUE(first == 1 || first == -1 || first == 0);
        EXPECT_EQ(back->ImageCount, (first == 1) + (second == 1));
        for (int i = 0; i < back->ImageCount; i++) back->Ops.ReadImage(back, out, i);
        ASSERT_EQ(CheckInvariant(Clips), "");
        while (back->ImageCount) back->Ops.DeleteImage(back, 0);
    }
    FreeBitmap(out);
    FreeBitmap(b);
}

} // namespace
} // namespace nemu
