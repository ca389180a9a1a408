// The tile store: geometry, sharing and copy on write, the costs of a store, the clip
// operations and their index rules, and a long random run against an in-memory model
// with the reference-count invariant checked after every step.
#include "store/reduce.h"
#include "store_fixture.h"

#include <algorithm>
#include <optional>
#include <random>

namespace nemu {
namespace {

class TileStoreTest : public StoreTest {
  protected:
    std::vector<Clip*> Clips;
    void TearDown() override {
        for (Clip* c : Clips) c->Ops.Free(c);
        Clips.clear();
        StoreTest::TearDown();
    }
    Clip* MakeClip(int w, int h) {
        Clip* c = NewClipSized("test", w, h);
        Clips.push_back(c);
        return c;
    }
    std::vector<uint32_t> Read(Clip* c, int index) {
        Bitmap* b = NewClearBitmap(c->Width, c->Height);
        EXPECT_EQ(c->Ops.ReadImage(c, b, index), 1);
        std::vector<uint32_t> pixels = PixelsOf(b);
        FreeBitmap(b);
        return pixels;
    }
};

// A picture with areas of colour, a gradient and some noise, so that tiles differ.
Bitmap* Painted(int w, int h, uint32_t seed) {
    Bitmap* b = NewBitmap(w, h);
    std::mt19937 rng(seed);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++)
            b->Pixels[y * w + x] =
                (x / 40 + y / 30) % 3 == 0 ? 0xFF000000u | uint32_t(x * 3 + y) : 0xFF2050A0u;
    for (int i = 0; i < 20; i++) DrawDisc(b, int(rng() % w), int(rng() % h), 5, 0xFF000000u | rng());
    return b;
}

TEST_F(TileStoreTest, TileGeometryCutsTheEdges) {
    EXPECT_EQ(TileCount(1, 1), 1);
    EXPECT_EQ(TileCount(65, 64), 2);
    EXPECT_EQ(TileCount(1920, 1080), 30 * 17);
    int x, y, w, h;
    TileRect(65, 64, 1, &x, &y, &w, &h);
    EXPECT_EQ(x, 64);
    EXPECT_EQ(y, 0);
    EXPECT_EQ(w, 1);
    EXPECT_EQ(h, 64);
    TileRect(200, 150, 11, &x, &y, &w, &h);
    EXPECT_EQ(x, 192);
    EXPECT_EQ(y, 128);
    EXPECT_EQ(w, 8);
    EXPECT_EQ(h, 22);

    OpenCacheWithLimit(-1);
    for (auto [cw, ch] : {std::pair{1, 1}, std::pair{65, 64}}) {
        Clip* c = MakeClip(cw, ch);
        Bitmap* b = Painted(cw, ch, 3);
        ASSERT_EQ(c->Ops.InsertImage(c, b, -1, 0), 1);
        EXPECT_EQ(c->Images->Link->NumTile, TileCount(cw, ch));
        EXPECT_EQ(Read(c, 0), PixelsOf(b));
        FreeBitmap(b);
    }
}

TEST_F(TileStoreTest, AFlatPageSharesOneTilePerShape) {
    OpenCacheWithLimit(-1);
    Clip* c = MakeClip(256, 150); // four columns of 64, rows of 64, 64, 22
    Bitmap* b = FlatPicture(256, 150, 0xFF336699);
    ASSERT_EQ(c->Ops.InsertImage(c, b, -1, 0), 1);
    TileLink* link = c->Images->Link;
    for (int i = 1; i < 8; i++) EXPECT_EQ(link->Tiles[i], link->Tiles[0]) << i;
    for (int i = 9; i < 12; i++) EXPECT_EQ(link->Tiles[i], link->Tiles[8]) << i;
    EXPECT_NE(link->Tiles[8], link->Tiles[0]);
    EXPECT_EQ(link->Tiles[0]->RefCount, 8u);
    EXPECT_EQ(link->Tiles[8]->RefCount, 4u);
    EXPECT_EQ(TileUseCount, 2u);
    EXPECT_EQ(link->Tiles[0]->PackedSize, 64u * 5); // one repeat unit a row
    // Cost: 320 / 8 * 8 + 110 / 4 * 4, in integer steps.
    EXPECT_EQ(c->Ops.ImageBytes(c, 0, nullptr), 320 + 27 * 4);
    EXPECT_EQ(CheckInvariant(Clips), "");
    FreeBitmap(b);
}

TEST_F(TileStoreTest, StoringTheSamePixelsChangesNothing) {
    OpenCacheWithLimit(-1);
    Clip* c = MakeClip(300, 200);
    Bitmap* b = Painted(300, 200, 4);
    ASSERT_EQ(c->Ops.InsertImage(c, b, -1, 0), 1);
    std::vector<Tile*> before(c->Images->Link->Tiles, c->Images->Link->Tiles + c->Images->Link->NumTile);
    std::vector<uint32_t> counts;
    for (Tile* t : before) counts.push_back(t->RefCount);
    uint32_t written = TilesWritten;
    ASSERT_EQ(c->Ops.StoreImage(c, b, 0, 0), 1);
    EXPECT_EQ(TilesWritten, written);
    for (size_t i = 0; i < before.size(); i++) {
        EXPECT_EQ(c->Images->Link->Tiles[i], before[i]);
        EXPECT_EQ(before[i]->RefCount, counts[i]);
    }
    FreeBitmap(b);
}

TEST_F(TileStoreTest, ADabRewritesOnlyTheTilesItTouches) {
    OpenCacheWithLimit(OneSlotPage);
    Clip* c = MakeClip(640, 480);
    Bitmap* b = Painted(640, 480, 5);
    ASSERT_EQ(c->Ops.InsertImage(c, b, -1, 0), 1);
    std::vector<Tile*> before(c->Images->Link->Tiles, c->Images->Link->Tiles + c->Images->Link->NumTile);
    int64_t fileBefore = CacheStat(3);
    DrawDisc(b, 128, 64, 6, 0xFFFFFFFF); // across the corner of tiles 1, 2, 11 and 12
    uint32_t written = TilesWritten;
    ASSERT_EQ(c->Ops.StoreImage(c, b, 0, 0), 1);
    EXPECT_EQ(TilesWritten - written, 4u);
    for (size_t i = 0; i < before.size(); i++) {
        bool touched = i == 1 || i == 2 || i == 11 || i == 12;
        if (!touched) EXPECT_EQ(c->Images->Link->Tiles[i], before[i]) << i;
    }
    EXPECT_EQ(CacheStat(3), fileBefore) << "recycled tiles are rewritten in place";
    EXPECT_EQ(Read(c, 0), PixelsOf(b));
    FreeBitmap(b);
}

TEST_F(TileStoreTest, DuplicatesShareUntilOneIsPaintedOn) {
    OpenCacheWithLimit(-1);
    Clip* c = MakeClip(300, 200);
    Bitmap* b = Painted(300, 200, 6);
    ASSERT_EQ(c->Ops.InsertImage(c, b, -1, 0), 1);
    std::vector<uint32_t> original = PixelsOf(b);
    uint32_t tiles = TileUseCount, written = TilesWritten;
    ASSERT_EQ(c->Ops.DuplicateImage(c, 0), 1);
    EXPECT_EQ(c->ImageCount, 2);
    EXPECT_EQ(c->Images->Next->Link, c->Images->Link);
    EXPECT_EQ(c->Images->Link->RefCount, 2);
    EXPECT_EQ(TileUseCount, tiles);
    EXPECT_EQ(TilesWritten, written);

    DrawDisc(b, 20, 20, 4, 0xFFFFFFFF);
    ASSERT_EQ(c->Ops.StoreImage(c, b, 1, 0), 1);
    EXPECT_EQ(TilesWritten - written, 1u);
    EXPECT_NE(c->Images->Next->Link, c->Images->Link);
    EXPECT_EQ(Read(c, 0), original);
    EXPECT_EQ(Read(c, 1), PixelsOf(b));
    EXPECT_EQ(c->Images->Link->Tiles[1], c->Images->Next->Link->Tiles[1]);
    EXPECT_EQ(CheckInvariant(Clips), "");

    // Deleting one of two images that share tiles keeps them for the other.
    ASSERT_EQ(c->Ops.DeleteImage(c, 0), 1);
    EXPECT_EQ(Read(c, 0), PixelsOf(b));
    EXPECT_EQ(CheckInvariant(Clips), "");
    FreeBitmap(b);
}

TEST_F(TileStoreTest, IndexRulesAndEmptyImages) {
    OpenCacheWithLimit(-1);
    Clip* c = MakeClip(100, 70);
    Bitmap *red = FlatPicture(100, 70, 0xFFFF0000), *green = FlatPicture(100, 70, 0xFF00FF00);
    Bitmap* wrong = FlatPicture(99, 70, 0xFF0000FF);
    ASSERT_EQ(c->Ops.InsertImage(c, red, 5, 0), 1);    // past the end: behind the last
    ASSERT_EQ(c->Ops.InsertImage(c, green, -1, 1), 1); // negative: first
    EXPECT_EQ(Read(c, 0), PixelsOf(green));
    EXPECT_EQ(Read(c, 1), PixelsOf(red));
    EXPECT_EQ(c->Images->Link->Tiles[0]->Data->Kind, 1u) << "whole gives kind 1";

    // A wrong size fails after the empty image went in; reading it leaves the bitmap.
    EXPECT_EQ(c->Ops.InsertImage(c, wrong, 0, 0), 0);
    EXPECT_EQ(c->ImageCount, 3);
    EXPECT_EQ(c->Images->Next->Flags, ImageEmpty);
    Bitmap* keep = FlatPicture(100, 70, 0x12345678);
    EXPECT_EQ(c->Ops.ReadImage(c, keep, 1), 0);
    EXPECT_EQ(keep->Pixels[0], 0x12345678u);
    EXPECT_EQ(c->Ops.StoreImage(c, wrong, 0, 0), 0);
    EXPECT_EQ(c->Ops.StoreImage(c, red, 3, 0), 0);
    EXPECT_EQ(c->Ops.StoreImage(c, red, -1, 0), 0);
    EXPECT_EQ(c->Ops.ReadImage(c, keep, 3), 0);
    EXPECT_EQ(c->Ops.DeleteImage(c, 3), 0);
    EXPECT_EQ(c->Ops.DuplicateImage(c, 3), 0);
    // Duplicating an empty image copies the flags only.
    ASSERT_EQ(c->Ops.DuplicateImage(c, 1), 1);
    EXPECT_EQ(c->Images->Next->Next->Flags, ImageEmpty);
    EXPECT_EQ(c->Images->Next->Next->Link, nullptr);
    EXPECT_EQ(c->ImageCount, 4);
    EXPECT_EQ(CheckInvariant(Clips), "");
    for (Bitmap* b : {red, green, wrong, keep}) FreeBitmap(b);
}

TEST_F(TileStoreTest, OverImageBlendsAtBothDensityForms) {
    OpenCacheWithLimit(-1);
    Clip* c = MakeClip(130, 70);
    Bitmap* picture = Painted(130, 70, 7);
    for (int i = 0; i < 130 * 70; i += 3) picture->Pixels[i] = i % 2 ? 0 : 0x80402010; // transparency
    ASSERT_EQ(c->Ops.InsertImage(c, picture, -1, 0), 1);
    for (int density : {255, 128, 1}) {
        Bitmap* target = Painted(130, 70, 8);
        for (int i = 0; i < 130 * 70; i += 7) target->Pixels[i] = 0;
        std::vector<uint32_t> want = PixelsOf(target);
        for (size_t i = 0; i < want.size(); i++) want[i] = OverPixel(want[i], picture->Pixels[i], density);
        ASSERT_EQ(c->Ops.OverImage(c, target, 0, density), 1);
        EXPECT_EQ(PixelsOf(target), want) << density;
        FreeBitmap(target);
    }
    FreeBitmap(picture);
}

TEST_F(TileStoreTest, MoveAndCopyBetweenClips) {
    OpenCacheWithLimit(-1);
    Clip* a = MakeClip(100, 100);
    Clip* b = MakeClip(100, 100);
    Clip* other = MakeClip(100, 99);
    Bitmap *red = FlatPicture(100, 100, 0xFFFF0000), *blue = FlatPicture(100, 100, 0xFF0000FF);
    a->Ops.InsertImage(a, red, -1, 0);
    b->Ops.InsertImage(b, blue, -1, 0);
    EXPECT_EQ(a->Ops.MoveImage(a, 0, other, 0), 0);
    EXPECT_EQ(a->Ops.MoveImage(a, 1, b, 0), 0);
    ASSERT_EQ(a->Ops.MoveImage(a, 0, b, 0), 1);
    EXPECT_EQ(Read(a, 0), PixelsOf(blue));
    EXPECT_EQ(Read(b, 0), PixelsOf(red));

    EXPECT_EQ(a->Ops.CopyImage(a, 0, other, 0), 0);
    ASSERT_EQ(a->Ops.CopyImage(a, 0, b, 0), 1); // toIndex 0: at the head
    EXPECT_EQ(b->ImageCount, 2);
    EXPECT_EQ(b->Images->Link, a->Images->Link);
    EXPECT_EQ(Read(b, 0), PixelsOf(blue));
    ASSERT_EQ(a->Ops.CopyImage(a, 0, b, 2), 1); // behind image 1
    EXPECT_EQ(Read(b, 2), PixelsOf(blue));
    EXPECT_EQ(a->Images->Link->RefCount, 3);
    uint32_t stamp = 0;
    EXPECT_EQ(b->Ops.ImageBytes(b, 2, &stamp), a->Ops.ImageBytes(a, 0, nullptr));
    EXPECT_EQ(stamp, b->Images->Next->Next->Stamp);
    EXPECT_EQ(CheckInvariant(Clips), "");
    FreeBitmap(red);
    FreeBitmap(blue);
}

TEST_F(TileStoreTest, ReadBaseGivesTheReducedPictureCut) {
    OpenCacheWithLimit(-1);
    Clip* c = MakeClip(128, 128);
    Bitmap* b = FlatPicture(128, 128, 0xFF0000FF);
    FillBox(b, 0, 0, 63, 127, 0xFFFF0000); // left half red
    ASSERT_EQ(c->Ops.InsertImage(c, b, -1, 0), 1);
    EXPECT_EQ(c->Images->Link->BaseWidth, 64);
    Bitmap* small = FlatPicture(40, 80, 0x11111111);
    EXPECT_EQ(c->Ops.ReadBase(c, 0, small), small);
    EXPECT_EQ(small->Pixels[0], 0xFFFF0000u);
    EXPECT_EQ(small->Pixels[39], 0xFF0000FFu);
    EXPECT_EQ(small->Pixels[63 * 40], 0xFFFF0000u);
    EXPECT_EQ(small->Pixels[79 * 40], 0x11111111u) << "below the base is left alone";
    Bitmap* wrong = FlatPicture(1, 1, 0);
    c->Ops.InsertImage(c, wrong, 0, 0); // wrong size: stays empty
    FreeBitmap(wrong);
    c->Ops.ReadBase(c, 1, small);
    EXPECT_EQ(small->Pixels[0], 0u);
    FreeBitmap(small);
    FreeBitmap(b);
}

// ---- The random run ----------------------------------------------------------------------

// Pictures from a few shapes and colours, so that equal tiles turn up in every position.
Bitmap* RandomPicture(std::mt19937& rng, int w, int h, const std::vector<uint32_t>* like) {
    Bitmap* b = NewBitmap(w, h);
    if (like && rng() % 2)
        std::copy(like->begin(), like->end(), b->Pixels);
    else
        ClearBitmap(b, rng() % 3 ? 0xFF204060u : 0u);
    for (int i = int(rng() % 3); i > 0; i--) {
        uint32_t colour = (rng() % 4 == 0) ? 0x80402010u : 0xFF000000u | (rng() % 4) * 0x3F3F3Fu;
        int x = int(rng() % w), y = int(rng() % h);
        if (rng() % 2)
            DrawDisc(b, x, y, int(rng() % 12), colour);
        else
            FillBox(b, x, y, x + int(rng() % 70), y + int(rng() % 70), colour);
    }
    return b;
}

TEST_F(TileStoreTest, RunsOfImagesGoOrMoveOnlyWhenTheRangeAndClipsAllowIt) {
    OpenCacheWithLimit(-1);
    Clip* a = MakeClip(70, 10);
    Clip* b = MakeClip(70, 10);
    Clip* other = MakeClip(71, 10);
    Bitmap* red = FlatPicture(70, 10, 0xFFFF0000);
    ASSERT_EQ(a->Ops.InsertImage(a, red, -1, 0), 1);
    for (int i = 0; i < 4; i++) ASSERT_EQ(a->Ops.DuplicateImage(a, 0), 1);
    EXPECT_EQ(DeleteImages(a, 3, 3), 0);
    EXPECT_EQ(DeleteImages(a, -1, 1), 0);
    EXPECT_EQ(DeleteImages(a, 5, 0), 1);
    EXPECT_EQ(MoveImages(a, 0, 2, a, 4), 0);
    EXPECT_EQ(MoveImages(a, 0, 2, other, 0), 0);
    EXPECT_EQ(MoveImages(a, 4, 2, b, 0), 0);
    EXPECT_EQ(a->ImageCount, 5);
    // Moving shares nothing anew: the one list is held by the same five images.
    ASSERT_EQ(MoveImages(a, 1, 3, b, 0), 1);
    EXPECT_EQ(a->ImageCount, 2);
    EXPECT_EQ(b->ImageCount, 3);
    EXPECT_EQ(a->Images->Link->RefCount, 5);
    EXPECT_EQ(CheckInvariant(Clips), "");
    ASSERT_EQ(DeleteImages(b, 0, 3), 1);
    EXPECT_EQ(b->Images, nullptr);
    EXPECT_EQ(a->Images->Link->RefCount, 2);
    EXPECT_EQ(CheckInvariant(Clips), "");
    FreeBitmap(red);
}

using Model = std::vector<std::optional<std::vector<uint32_t>>>;

class TileRandomTest : public TileStoreTest, public testing::WithParamInterface<int64_t> {};

TEST_P(TileRandomTest, MatchesAPlainModelAndKeepsTheInvariant) {
    OpenCacheWithLimit(GetParam());
    const int w = 150, h = 100;
    std::mt19937 rng(777);
    std::vector<Model> models(3);
    for (int i = 0; i < 3; i++) MakeClip(w, h);
    Bitmap* scratch = NewBitmap(w, h);
    for (int step = 0; step < 600; step++) {
        SCOPED_TRACE("case " + std::to_string(step));
        int ci = int(rng() % 3);
        Clip* c = Clips[ci];
        Model& m = models[ci];
        int count = int(m.size());
        int index = count ? int(rng() % (count + 1)) - 1 : -1; // -1 to count - 1
        const std::vector<uint32_t>* like = index >= 0 && m[index] ? &*m[index] : nullptr;
        int op = int(rng() % 11);
        if (op <= 1 || count == 0) {
            Bitmap* b = RandomPicture(rng, w, h, like);
            ASSERT_EQ(c->Ops.InsertImage(c, b, index, int(rng() % 2)), 1);
            m.insert(m.begin() + (index < 0 ? 0 : index + 1), PixelsOf(b));
            FreeBitmap(b);
        } else if (op == 2 && index >= 0) {
            Bitmap* b = RandomPicture(rng, w, h, like);
            ASSERT_EQ(c->Ops.StoreImage(c, b, index, 0), 1);
            m[index] = PixelsOf(b);
            FreeBitmap(b);
        } else if (op == 3 && index >= 0) {
            ASSERT_EQ(c->Ops.DeleteImage(c, index), 1);
            m.erase(m.begin() + index);
        } else if (op == 4 && index >= 0) {
            ASSERT_EQ(c->Ops.DuplicateImage(c, index), 1);
            m.insert(m.begin() + index + 1, m[index]);
        } else if (op == 5 && index >= 0) {
            int ti = int(rng() % 3);
            Model& tm = models[ti];
            int to = int(rng() % (tm.size() + 1)); // behind to - 1
            ASSERT_EQ(c->Ops.CopyImage(c, index, Clips[ti], to), 1);
            auto copy = m[index];
            tm.insert(tm.begin() + to, copy);
        } else if (op == 6 && index >= 0) {
            int ti = int(rng() % 3);
            Model& tm = models[ti];
            if (tm.empty()) continue;
            int to = int(rng() % tm.size());
            ASSERT_EQ(c->Ops.MoveImage(c, index, Clips[ti], to), 1);
            std::swap(m[index], tm[to]);
        } else if (op == 9 && index >= 0) {
            // A run of images goes, from anywhere to anywhere up to the end.
            int n = int(rng() % (count - index + 1));
            ASSERT_EQ(DeleteImages(c, index, n), 1);
            m.erase(m.begin() + index, m.begin() + index + n);
        } else if (op == 10 && index >= 0) {
            // A run of images moves to another clip, records and all.
            int ti = int((ci + 1 + rng() % 2) % 3);
            Model& tm = models[ti];
            int n = int(rng() % (count - index + 1));
            int to = int(rng() % (tm.size() + 2)); // behind to - 1; past the end is last
            ASSERT_EQ(MoveImages(c, index, n, Clips[ti], to), 1);
            int at = std::min(to, int(tm.size()));
            tm.insert(tm.begin() + at, m.begin() + index, m.begin() + index + n);
            m.erase(m.begin() + index, m.begin() + index + n);
        } else if (index >= 0) {
            ClearBitmap(scratch, 0x5A5A5A5A);
            std::vector<uint32_t> want = PixelsOf(scratch);
            if (op == 7) {
                ASSERT_EQ(c->Ops.ReadImage(c, scratch, index), m[index] ? 1 : 0);
                if (m[index]) want = *m[index];
            } else {
                int density = int(rng() % 256);
                ASSERT_EQ(c->Ops.OverImage(c, scratch, index, density), m[index] ? 1 : 0);
                if (m[index])
                    for (size_t i = 0; i < want.size(); i++)
                        want[i] = OverPixel(want[i], (*m[index])[i], density);
            }
            ASSERT_EQ(PixelsOf(scratch), want);
        }
        ASSERT_EQ(CheckInvariant(Clips), "");
        if (rng() % 20 == 0) {
            for (int i = 0; i < 50; i++) CacheWriteStep();
            TrimCache();
        }
    }
    // Everything the model holds reads back.
    for (int ci = 0; ci < 3; ci++)
        for (size_t i = 0; i < models[ci].size(); i++)
            if (models[ci][i]) ASSERT_EQ(Read(Clips[ci], int(i)), *models[ci][i]) << ci << " " << i;
    FreeBitmap(scratch);
}

INSTANTIATE_TEST_SUITE_P(Limits, TileRandomTest, testing::Values(0, OneSlotPage, -1),
                         [](const testing::TestParamInfo<int64_t>& info) {
                             return info.param == 0  ? std::string("NoSlots")
                                    : info.param < 0 ? std::string("Automatic")
                                                     : std::string("OnePage");
                         });

} // namespace
} // namespace nemu
