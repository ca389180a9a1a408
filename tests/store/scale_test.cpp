// Scaling a picture: the fast form's nearest pixels, the filtered form's averages when it
// shrinks and its blends between neighbours when it grows.
#include "store/bitmap.h"
#include "store/scale.h"

#include <gtest/gtest.h>

using namespace nemu;

namespace {

Bitmap* Filled(int w, int h, uint32_t (*colour)(int x, int y)) {
    Bitmap* b = NewBitmap(w, h);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) b->Pixels[y * w + x] = colour(x, y);
    return b;
}

} // namespace

TEST(ScaleBitmap, TheFastFormTakesTheNearestPixelFromTheLeftEdge) {
    Bitmap* s = Filled(4, 2, [](int x, int y) { return uint32_t(y * 10 + x); });
    Bitmap* d = NewBitmap(8, 1);
    ASSERT_EQ(ScaleBitmap(s, d, false), 1);
    for (int x = 0; x < 8; x++) EXPECT_EQ(d->Pixels[x], uint32_t(x / 2)) << x;
    Bitmap* small = NewBitmap(2, 1);
    ASSERT_EQ(ScaleBitmap(s, small, false), 1);
    EXPECT_EQ(small->Pixels[0], 0u);
    EXPECT_EQ(small->Pixels[1], 2u);
    for (Bitmap* b : {s, d, small}) FreeBitmap(b);
}

TEST(ScaleBitmap, TheFilteredFormAveragesWhatEachPixelCovers) {
    // Halving: each pixel is the mean of a 2 by 2 block, rounded.
    Bitmap* s = Filled(4, 2, [](int x, int) { return x % 2 ? 0xFF6040C8u : 0xFF2040C0u; });
    Bitmap* d = NewBitmap(2, 1);
    ASSERT_EQ(ScaleBitmap(s, d, true), 1);
    EXPECT_EQ(d->Pixels[0], 0xFF4040C4u);
    EXPECT_EQ(d->Pixels[1], 0xFF4040C4u);
    // Premultiplied pixels stay valid: no channel above its alpha.
    Bitmap* mixed = Filled(3, 3, [](int x, int y) { return (x + y) % 2 ? 0x80808080u : 0u; });
    Bitmap* one = NewBitmap(2, 2);
    ASSERT_EQ(ScaleBitmap(mixed, one, true), 1);
    for (int i = 0; i < 4; i++) {
        uint32_t p = one->Pixels[i], a = p >> 24;
        EXPECT_LE((p >> 16) & 255, a);
        EXPECT_LE(p & 255, a);
    }
    for (Bitmap* b : {s, d, mixed, one}) FreeBitmap(b);
}

TEST(ScaleBitmap, GrowingBlendsNeighboursAndKeepsFlatColoursExact) {
    Bitmap* s = Filled(2, 1, [](int x, int) { return x ? 0xFFFFFFFFu : 0xFF000000u; });
    Bitmap* d = NewBitmap(8, 1);
    ASSERT_EQ(ScaleBitmap(s, d, true), 1);
    // The edges hold the edge pixels; between them the grey rises step by step.
    EXPECT_EQ(d->Pixels[0], 0xFF000000u);
    EXPECT_EQ(d->Pixels[7], 0xFFFFFFFFu);
    for (int x = 1; x < 8; x++) EXPECT_GE(d->Pixels[x] & 255, d->Pixels[x - 1] & 255);
    EXPECT_GT(d->Pixels[4] & 255, 100u);
    Bitmap* flat = Filled(7, 5, [](int, int) { return 0xC0306090u; });
    Bitmap* big = NewBitmap(23, 19);
    Bitmap* little = NewBitmap(3, 2);
    ASSERT_EQ(ScaleBitmap(flat, big, true), 1);
    ASSERT_EQ(ScaleBitmap(flat, little, true), 1);
    for (int i = 0; i < 23 * 19; i++) ASSERT_EQ(big->Pixels[i], 0xC0306090u);
    for (int i = 0; i < 6; i++) ASSERT_EQ(little->Pixels[i], 0xC0306090u);
    // The same size is a copy.
    Bitmap* same = NewBitmap(7, 5);
    ASSERT_EQ(ScaleBitmap(flat, same, true), 1);
    EXPECT_EQ(same->Pixels[34], 0xC0306090u);
    for (Bitmap* b : {s, d, flat, big, little, same}) FreeBitmap(b);
}
