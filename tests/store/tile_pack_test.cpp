// The run-length code by hand, decoding of damaged code, the blend of one pixel by the
// formula, and the base-picture reducer.
#include "store/bitmap.h"
#include "store/reduce.h"
#include "store/tile_pack.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace nemu {
namespace {

std::vector<uint8_t> Pack(const std::vector<uint32_t>& pixels) {
    std::vector<uint8_t> out(PackBound(pixels.size()));
    out.resize(PackRun(pixels.data(), pixels.size(), out.data()));
    return out;
}

std::vector<uint8_t> Unit(int8_t control, std::initializer_list<uint32_t> pixels) {
    std::vector<uint8_t> out{uint8_t(control)};
    for (uint32_t p : pixels)
        for (int i = 0; i < 4; i++) out.push_back(uint8_t(p >> (8 * i)));
    return out;
}

std::vector<uint8_t> Join(std::initializer_list<std::vector<uint8_t>> parts) {
    std::vector<uint8_t> out;
    for (auto& p : parts) out.insert(out.end(), p.begin(), p.end());
    return out;
}

const uint32_t A = 0xFF112233, B = 0x80402010, C = 0x00000001;

TEST(TilePack, EncoderUnitsByHand) {
    EXPECT_EQ(Pack({A, A, A, B, C, C}), Join({Unit(-2, {A}), Unit(0, {B}), Unit(-1, {C})}));
    EXPECT_EQ(Pack({A, B}), Unit(1, {A, B}));
    EXPECT_EQ(Pack({A}), Unit(0, {A}));
    EXPECT_EQ(Pack({A, B, B}), Join({Unit(0, {A}), Unit(-1, {B})}));
    // Runs and literals stop at 124 pixels.
    EXPECT_EQ(Pack(std::vector<uint32_t>(200, A)), Join({Unit(-123, {A}), Unit(-75, {A})}));
    std::vector<uint32_t> distinct(130);
    for (uint32_t i = 0; i < 130; i++) distinct[i] = i;
    std::vector<uint8_t> code = Pack(distinct);
    ASSERT_EQ(code.size(), 2 + 130 * 4u);
    EXPECT_EQ(code[0], 123);
    EXPECT_EQ(code[1 + 124 * 4], 5);
}

TEST(TilePack, RectanglesRoundTripAndTheWorstTileFits) {
    std::mt19937 rng(7);
    Bitmap* b = NewBitmap(150, 90);
    ASSERT_NE(b, nullptr);
    for (int trial = 0; trial < 200; trial++) {
        SCOPED_TRACE("case " + std::to_string(trial));
        // Few colours give runs, many give literals.
        uint32_t colours = trial % 2 ? 3 : 0xFFFFFFFF;
        for (int i = 0; i < 150 * 90; i++) b->Pixels[i] = rng() % colours;
        int x = int(rng() % 100), y = int(rng() % 40), w = 1 + int(rng() % 50), h = 1 + int(rng() % 50);
        std::vector<uint8_t> code(PackBound(size_t(w)) * size_t(h));
        size_t n = PackRect(b, x, y, w, h, code.data());
        EXPECT_EQ(CheckRect(code.data(), n, w, h), 1);
        Bitmap* out = NewClearBitmap(150, 90);
        ASSERT_EQ(UnpackRect(code.data(), n, out, x, y, w, h), 1);
        for (int r = 0; r < h; r++)
            for (int c = 0; c < w; c++)
                ASSERT_EQ(out->Pixels[(y + r) * 150 + x + c], b->Pixels[(y + r) * 150 + x + c]);
        if (x > 0) EXPECT_EQ(out->Pixels[y * 150 + x - 1], 0u) << "nothing left of the rectangle";
        if (x + w < 150) EXPECT_EQ(out->Pixels[y * 150 + x + w], 0u) << "nothing right of it";
        FreeBitmap(out);
    }
    FreeBitmap(b);

    Bitmap* worst = NewBitmap(64, 64);
    for (int i = 0; i < 64 * 64; i++) worst->Pixels[i] = uint32_t(i);
    std::vector<uint8_t> code(TilePackBytes);
    EXPECT_LE(PackRect(worst, 0, 0, 64, 64, code.data()), TilePackBytes);
    FreeBitmap(worst);
}

TEST(TilePack, TileRowsPackAsTheGeneralEncoderDoes) {
    std::mt19937 rng(11);
    for (int trial = 0; trial < 2000; trial++) {
        SCOPED_TRACE("case " + std::to_string(trial));
        int w = 1 + int(rng() % 64);
        Bitmap* b = NewBitmap(w, 1);
        uint32_t colours = 1 + rng() % 4;
        for (int x = 0; x < w; x++) b->Pixels[x] = rng() % colours;
        std::vector<uint8_t> fast(PackBound(size_t(w))), general(PackBound(size_t(w)));
        fast.resize(PackRect(b, 0, 0, w, 1, fast.data()));
        general.resize(PackRun(b->Pixels, size_t(w), general.data()));
        ASSERT_EQ(fast, general);
        FreeBitmap(b);
    }
}

TEST(TilePack, DamagedCodeStopsInsideItsBounds) {
    uint32_t row[4] = {9, 9, 9, 9};
    std::vector<uint8_t> skip = Join({{0x80}, Unit(-3, {A})});
    EXPECT_EQ(UnpackRun(skip.data(), skip.size(), row, 4), 1);
    EXPECT_EQ(row[3], A);
    std::vector<uint8_t> shortRun = Unit(-3, {A});
    shortRun.pop_back();
    EXPECT_EQ(UnpackRun(shortRun.data(), shortRun.size(), row, 4), 0);
    std::vector<uint8_t> tooLong = Unit(-4, {B}); // five pixels into four
    EXPECT_EQ(UnpackRun(tooLong.data(), tooLong.size(), row, 4), 0);
    EXPECT_EQ(row[0], A) << "nothing written past the damage";
    std::vector<uint8_t> leftOver = Join({Unit(-3, {A}), {0}});
    EXPECT_EQ(UnpackRun(leftOver.data(), leftOver.size(), row, 4), 0);
    // Two rows of two: a unit of three pixels crosses the row.
    std::vector<uint8_t> crossing = Join({Unit(-2, {A}), Unit(0, {A})});
    EXPECT_EQ(CheckRect(crossing.data(), crossing.size(), 2, 2), 0);
    std::vector<uint8_t> literalShort = {3, 1, 2, 3};
    EXPECT_EQ(CheckRect(literalShort.data(), literalShort.size(), 4, 1), 0);
}

TEST(TilePack, OverPixelFollowsTheFormula) {
    // Full density: opaque replaces, transparent leaves, into nothing takes the source.
    EXPECT_EQ(OverPixel(0xFF00FF00, 0xFF123456, 255), 0xFF123456u);
    EXPECT_EQ(OverPixel(0xFF00FF00, 0x00123456, 255), 0xFF00FF00u);
    EXPECT_EQ(OverPixel(0x00000000, 0x80400000, 255), 0x80400000u);
    // k = 127: Mul(255, 127) = 127, Mul(128, 127) = 64.
    EXPECT_EQ(OverPixel(0xFF808080, 0x80400000, 255), 0xFF804040u);
    // Density 128 over opaque red: a = Mul(128, 255) = 128, k = 127.
    EXPECT_EQ(OverPixel(0xFFFF0000, 0xFF00FF00, 128), 0xFF7F8000u);
    EXPECT_EQ(OverPixel(0x00000000, 0xFF00FF00, 128), 0x80008000u);
    EXPECT_EQ(OverPixel(0xFFFF0000, 0xFF00FF00, 0), 0xFFFF0000u);
    // Rounded up: a faint pixel at a faint density still counts.
    EXPECT_EQ(MulUp(1, 1), 1u);
    EXPECT_EQ(MulUp(255, 77), 77u);
}

TEST(TilePack, OverRectBlendsEveryPixelOfTheRows) {
    Bitmap* target = NewBitmap(4, 2);
    ClearBitmap(target, 0xFFFF0000);
    std::vector<uint8_t> code = Join({Unit(-3, {0xFF00FF00}), Unit(-3, {0x00000000})});
    ASSERT_EQ(OverRect(code.data(), code.size(), target, 0, 0, 4, 2, 128), 1);
    for (int i = 0; i < 4; i++) EXPECT_EQ(target->Pixels[i], 0xFF7F8000u);
    for (int i = 4; i < 8; i++) EXPECT_EQ(target->Pixels[i], 0xFFFF0000u);
    FreeBitmap(target);
}

TEST(Reduce, FitsTheLongerSideAndAveragesBoxes) {
    int32_t w, h;
    FitSize(1920, 1080, 64, &w, &h);
    EXPECT_EQ(w, 64);
    EXPECT_EQ(h, 36);
    FitSize(1, 1000, 64, &w, &h);
    EXPECT_EQ(w, 1);
    EXPECT_EQ(h, 64);
    FitSize(30, 20, 64, &w, &h);
    EXPECT_EQ(w, 30);
    EXPECT_EQ(h, 20);

    Bitmap* source = NewBitmap(128, 64);
    for (int y = 0; y < 64; y++)
        for (int x = 0; x < 128; x++)
            source->Pixels[y * 128 + x] = 0xFF000000u | uint32_t((y % 2) * 4 + (x % 2) * 2);
    Bitmap* small = ReduceBitmap(source, 64);
    ASSERT_NE(small, nullptr);
    ASSERT_EQ(small->Width, 64);
    ASSERT_EQ(small->Height, 32);
    for (int i = 0; i < 64 * 32; i++) ASSERT_EQ(small->Pixels[i], 0xFF000003u) << i; // (0 + 2 + 4 + 6) / 4
    FreeBitmap(small);
    Bitmap* same = ReduceBitmap(source, 200);
    ASSERT_NE(same, nullptr);
    EXPECT_EQ(same->Pixels[129], source->Pixels[129]);
    FreeBitmap(same);
    FreeBitmap(source);
}

} // namespace
} // namespace nemu
