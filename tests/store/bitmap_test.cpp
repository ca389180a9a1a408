#include "store/bitmap.h"

#include <gtest/gtest.h>

using namespace nemu;

namespace {

// Counts pixels equal to colour inside the bitmap.
int Count(const Bitmap* b, uint32_t colour) {
    int n = 0;
    for (int i = 0; i < b->Width * b->Height; i++) n += b->Pixels[i] == colour;
    return n;
}

uint32_t Px(const Bitmap* b, int x, int y) { return b->Pixels[y * b->Width + x]; }

struct BitmapTest : ::testing::Test {
    uint32_t start = MemoryInUse;
    void TearDown() override { EXPECT_EQ(MemoryInUse, start) << "memory account must return to its start"; }
};

} // namespace

TEST_F(BitmapTest, BadSizesGiveNullAndAccountIsExact) {
    EXPECT_EQ(NewBitmap(0, 5), nullptr);
    EXPECT_EQ(NewBitmap(5, -1), nullptr);
    EXPECT_EQ(FreeBitmap(nullptr), 0);
    Bitmap* b = NewClearBitmap(7, 3);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(MemoryInUse - start, uint32_t((3 + 2) * 7 * 4 + 40));
    EXPECT_EQ(Count(b, 0), 21);
    // Guard rows take writes without harm.
    b->Pixels[3 * 7 + 6] = 1;
    b->Pixels[4 * 7 + 6] = 1;
    EXPECT_EQ(FreeBitmap(b), 1);
}

TEST_F(BitmapTest, InitBitmapWrapsCallerMemoryWithoutAccount) {
    uint32_t block[12];
    Bitmap rec;
    EXPECT_EQ(InitBitmap(&rec, 0, 3, block), nullptr);
    EXPECT_EQ(InitBitmap(&rec, 4, 3, nullptr), nullptr);
    EXPECT_EQ(InitBitmap(&rec, 4, 3, block), &rec);
    EXPECT_EQ(rec.Pixels, block);
    EXPECT_EQ(MemoryInUse, start);
}

TEST_F(BitmapTest, FillBoxCornersInAnyOrderAndClipping) {
    Bitmap* b = NewClearBitmap(20, 20);
    FillBox(b, 10, 10, 5, 5, 7);
    EXPECT_EQ(Count(b, 7), 36);
    EXPECT_EQ(Px(b, 5, 5), 7u);
    EXPECT_EQ(Px(b, 10, 10), 7u);
    ClearBitmap(b, 0);
    FillBox(b, 25, 25, 30, 30, 7);
    FillBox(b, -5, -5, -1, 3, 7);
    EXPECT_EQ(Count(b, 0), 400);
    FillBox(b, -5, 18, 2, 40, 9);
    EXPECT_EQ(Count(b, 9), 3 * 2);
    FreeBitmap(b);
}

TEST_F(BitmapTest, FillBoxInsideClipsToBoxFirst) {
    Bitmap* b = NewClearBitmap(20, 20);
    FillBoxInside(b, 0, 0, 19, 19, 3, 4, 5, 6, 7);
    EXPECT_EQ(Count(b, 3), 3 * 3);
    EXPECT_EQ(Px(b, 4, 5), 3u);
    FillBoxInside(b, 0, 0, 3, 3, 5, 4, 5, 6, 7);
    EXPECT_EQ(Count(b, 5), 0);
    FreeBitmap(b);
}

TEST_F(BitmapTest, InvertBoxKeepsAlpha) {
    Bitmap* b = NewClearBitmap(4, 4);
    ClearBitmap(b, 0x80102030);
    InvertBox(b, 1, 3, 2, 2); // y in either order
    EXPECT_EQ(Px(b, 1, 2), 0x80EFDFCFu);
    EXPECT_EQ(Px(b, 2, 3), 0x80EFDFCFu);
    EXPECT_EQ(Px(b, 0, 2), 0x80102030u);
    EXPECT_EQ(Px(b, 1, 1), 0x80102030u);
    FreeBitmap(b);
}

TEST_F(BitmapTest, HLineLeavesOutTheLargerEnd) {
    Bitmap* b = NewClearBitmap(10, 2);
    DrawHLine(b, 5, 0, 5, 1);
    EXPECT_EQ(Count(b, 1), 0);
    DrawHLine(b, 0, 0, 9, 1);
    EXPECT_EQ(Count(b, 1), 9);
    EXPECT_EQ(Px(b, 9, 0), 0u);
    ClearBitmap(b, 0);
    DrawHLine(b, 50, 1, 3, 2); // clipped end is 9, which is left out
    EXPECT_EQ(Count(b, 2), 6);
    EXPECT_EQ(Px(b, 8, 1), 2u);
    EXPECT_EQ(Px(b, 9, 1), 0u);
    DrawHLine(b, 0, 2, 9, 4); // row outside
    DrawHLine(b, 0, -1, 9, 4);
    EXPECT_EQ(Count(b, 4), 0);
    FreeBitmap(b);
}

TEST_F(BitmapTest, LineStepsByTheMajorAxis) {
    Bitmap* b = NewClearBitmap(10, 10);
    DrawLine(b, 0, 0, 6, 3, 1);
    EXPECT_EQ(Count(b, 1), 7);
    EXPECT_EQ(Px(b, 0, 0), 1u);
    EXPECT_EQ(Px(b, 6, 3), 1u);
    // Error term 2*3-6 = 0: the first step moves on both axes.
    EXPECT_EQ(Px(b, 1, 1), 1u);
    ClearBitmap(b, 0);
    DrawLine(b, 4, 9, 4, 2, 2); // upward vertical
    EXPECT_EQ(Count(b, 2), 8);
    ClearBitmap(b, 0);
    DrawLine(b, 3, 3, 3, 3, 5);
    EXPECT_EQ(Count(b, 5), 1);
    FreeBitmap(b);
}

TEST_F(BitmapTest, DiscSmallRadiiAndSpans) {
    Bitmap* b = NewClearBitmap(20, 20);
    DrawDisc(b, 5, 5, -1, 1);
    EXPECT_EQ(Count(b, 1), 0);
    DrawDisc(b, 5, 5, 0, 1);
    EXPECT_EQ(Count(b, 1), 1);
    ClearBitmap(b, 0);
    DrawDisc(b, 5, 5, 1, 1);
    EXPECT_EQ(Count(b, 1), 5);
    ClearBitmap(b, 0);
    DrawDisc(b, 10, 10, 4, 1);
    // Spans leave their right end out, so the disc leans left by one pixel.
    EXPECT_EQ(Px(b, 6, 10), 1u);
    EXPECT_EQ(Px(b, 13, 10), 1u);
    EXPECT_EQ(Px(b, 14, 10), 0u);
    for (int y = 1; y < 20; y++) // symmetric top to bottom
        for (int x = 0; x < 20; x++) EXPECT_EQ(Px(b, x, y), Px(b, x, 20 - y)) << x << "," << y;
    // Clipped at the edges without harm.
    DrawDisc(b, 0, 0, 6, 2);
    DrawDisc(b, 19, 19, 30, 2);
    FreeBitmap(b);
}

TEST_F(BitmapTest, CopyRectClipsAgainstTargetOnly) {
    Bitmap* s = NewClearBitmap(8, 8);
    Bitmap* d = NewClearBitmap(8, 8);
    for (int i = 0; i < 64; i++) s->Pixels[i] = i + 1;
    EXPECT_EQ(CopyRect(s, 0, 0, d, -3, 0, 2, 2), -1);
    EXPECT_EQ(CopyRect(s, 0, 0, d, 8, 0, 2, 2), -1);
    EXPECT_EQ(CopyRect(s, 0, 0, d, -2, -1, 4, 4), 0);
    EXPECT_EQ(Px(d, 0, 0), Px(s, 2, 1));
    EXPECT_EQ(Px(d, 1, 2), Px(s, 3, 3));
    EXPECT_EQ(Px(d, 2, 0), 0u);
    EXPECT_EQ(Count(d, 0), 64 - 6);
    ClearBitmap(d, 0);
    EXPECT_EQ(CopyRect(s, 0, 0, d, 6, 6, 5, 5), 0);
    EXPECT_EQ(Count(d, 0), 64 - 4);
    FreeBitmap(s);
    FreeBitmap(d);
}

TEST_F(BitmapTest, CopyRectClippedAgainstBoth) {
    Bitmap* s = NewClearBitmap(4, 4);
    Bitmap* d = NewClearBitmap(8, 8);
    for (int i = 0; i < 16; i++) s->Pixels[i] = i + 1;
    EXPECT_EQ(CopyRectClipped(s, -2, -1, d, 2, 2, 10, 10), 0);
    // The source corner moved to 0,0, the target moved along to 4,3.
    EXPECT_EQ(Px(d, 4, 3), 1u);
    EXPECT_EQ(Px(d, 7, 6), 16u);
    EXPECT_EQ(Count(d, 0), 64 - 16);
    EXPECT_EQ(CopyRectClipped(s, -5, 0, d, 0, 0, 3, 3), -1);
    FreeBitmap(s);
    FreeBitmap(d);
}

TEST_F(BitmapTest, CopyRectInsideUsesTheBoxNotTheBitmaps) {
    Bitmap* s = NewClearBitmap(8, 8);
    Bitmap* d = NewClearBitmap(8, 8);
    ClearBitmap(s, 9);
    EXPECT_EQ(CopyRectInside(s, 0, 0, d, 0, 0, 8, 8, 2, 3, 4, 5), 0);
    EXPECT_EQ(Count(d, 9), 9);
    EXPECT_EQ(Px(d, 2, 3), 9u);
    EXPECT_EQ(CopyRectInside(s, 0, 0, d, 0, 0, 2, 2, 2, 3, 4, 5), -1);
    FreeBitmap(s);
    FreeBitmap(d);
}

TEST_F(BitmapTest, MaskedCopySkipsOnlyZeroWords) {
    Bitmap* s = NewClearBitmap(2, 1);
    Bitmap* d = NewClearBitmap(2, 1);
    ClearBitmap(d, 0xFF0000FF);
    s->Pixels[0] = 0x00FF0000; // transparent red still copies
    s->Pixels[1] = 0;
    CopyRectMasked(s, 0, 0, d, 0, 0, 2, 1);
    EXPECT_EQ(Px(d, 0, 0), 0x00FF0000u);
    EXPECT_EQ(Px(d, 1, 0), 0xFF0000FFu);
    FreeBitmap(s);
    FreeBitmap(d);
}

TEST_F(BitmapTest, StampMaskWritesWhereMaskIsSet) {
    Bitmap* d = NewClearBitmap(4, 4);
    const uint8_t mask[4] = {1, 0, 0, 200};
    EXPECT_EQ(StampMask(nullptr, 2, 0, 0, d, 0, 0, 2, 2, 5), -1);
    EXPECT_EQ(StampMask(mask, 2, 0, 0, d, 1, 1, 2, 2, 5), 0);
    EXPECT_EQ(Px(d, 1, 1), 5u);
    EXPECT_EQ(Px(d, 2, 2), 5u);
    EXPECT_EQ(Count(d, 5), 2);
    FreeBitmap(d);
}

TEST_F(BitmapTest, MirrorsRotationAndSwaps) {
    Bitmap* b = NewClearBitmap(3, 2);
    for (int i = 0; i < 6; i++) b->Pixels[i] = i + 1; // rows: 1 2 3 / 4 5 6
    Bitmap* r = RotateBitmap(b);
    ASSERT_NE(r, nullptr);
    ASSERT_EQ(r->Width, 2);
    ASSERT_EQ(r->Height, 3);
    // Clockwise: the first row becomes the last column.
    EXPECT_EQ(Px(r, 1, 0), 1u);
    EXPECT_EQ(Px(r, 1, 2), 3u);
    EXPECT_EQ(Px(r, 0, 0), 4u);
    EXPECT_EQ(RotateBitmapInto(nullptr, r), 0);
    MirrorBitmapX(b);
    EXPECT_EQ(Px(b, 0, 0), 3u);
    EXPECT_EQ(Px(b, 2, 1), 4u);
    MirrorBitmapY(b);
    EXPECT_EQ(Px(b, 0, 0), 6u);
    Bitmap* c = NewClearBitmap(3, 2);
    CopyBitmap(b, c);
    EXPECT_EQ(Px(c, 0, 0), 6u);
    CopyBitmap(b, r); // sizes differ: nothing happens
    EXPECT_EQ(Px(r, 1, 0), 1u);
    ClearBitmap(c, 0);
    SwapBitmapPixels(b, c);
    EXPECT_EQ(Count(b, 0), 6);
    EXPECT_EQ(Px(c, 0, 0), 6u);
    SwapRectRaw(b, 0, 0, c, 1, 1, 2, 1);
    EXPECT_EQ(Px(b, 0, 0), Px(b, 0, 0));
    FreeBitmap(r);
    FreeBitmap(b);
    FreeBitmap(c);
}

TEST_F(BitmapTest, WordHelpers) {
    uint32_t w[4] = {1, 2, 3, 4};
    EXPECT_EQ(ClearWords(w, 0), -1);
    EXPECT_EQ(w[0], 1u);
    FillWords(w, 0, 9);
    EXPECT_EQ(w[0], 1u);
    EXPECT_EQ(ClearWords(w, 2), 0);
    EXPECT_EQ(w[1], 0u);
    EXPECT_EQ(w[2], 3u);
    CopyWords(w + 2, w, 2);
    EXPECT_EQ(w[0], 3u);
}
