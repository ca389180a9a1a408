// The compose arithmetic: the division-free product, the row kernels against the pixel
// forms they stand for, and the plain picture's run-length code.
#include "project/blend.h"
#include "project/layers.h"
#include "store/tile_pack.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <vector>

using namespace nemu;

TEST(Blend, MulByteIsTheRoundedUpProductForEveryPair) {
    for (uint32_t x = 0; x < 256; x++)
        for (uint32_t y = 0; y < 256; y++) ASSERT_EQ(MulByte(x, y), (x * y + 254) / 255) << x << " " << y;
}

TEST(Blend, TwoLanesAtOnceGiveTheBytewiseProducts) {
    std::mt19937 rng(11);
    for (uint32_t k = 0; k < 256; k++) {
        for (uint32_t x = 0; x < 256; x++) {
            uint32_t other = rng(), s = rng();
            for (int shift = 0; shift < 32; shift += 8) {
                uint32_t p = (other & ~(255u << shift)) | x << shift;
                uint32_t scaled = 0, added = 0;
                for (int c = 0; c < 32; c += 8) {
                    scaled |= MulByte((p >> c) & 255, k) << c;
                    added |= ((MulByte((p >> c) & 255, k) + ((s >> c) & 255)) & 255) << c;
                }
                ASSERT_EQ(ScalePixel(p, k), scaled) << std::hex << p << " " << k;
                ASSERT_EQ(ScaleAddPixel(p, k, s), added) << std::hex << p << " " << k << " " << s;
            }
        }
    }
}

TEST(Blend, LayerPixelsByHand) {
    // Half-transparent red over opaque blue: s = 127, blue 127, alpha 128 + 127.
    EXPECT_EQ(AddLayerPixel(0xFF0000FF, 0x80800000, 255), 0xFF80007Fu);
    // At density 128: a = Mul(128, 128) = 65; blue Mul(190, 255) = 190, red Mul(128, 128) = 65.
    EXPECT_EQ(AddLayerPixel(0xFF0000FF, 0x80800000, 128), 0xFF4100BEu);
    // Under nothing, the layer's own bytes scaled by the density.
    EXPECT_EQ(AddLayerPixel(0, 0xFF0000FF, 128), 0x80000080u);
    EXPECT_EQ(AddLayerPixel(0x00000000, 0x80800000, 255), 0x80800000u);
    // Opaque replaces whole; transparent, or density 0, leaves the picture.
    EXPECT_EQ(AddLayerPixel(0x80800000, 0xFF010203, 255), 0xFF010203u);
    EXPECT_EQ(AddLayerPixel(0x80800000, 0x00000000, 255), 0x80800000u);
    EXPECT_EQ(AddLayerPixel(0x80800000, 0xFF010203, 0), 0x80800000u);
    // A faint layer still counts: Mul never gives 0 for two non-zero bytes.
    EXPECT_EQ(AddLayerPixel(0, 0x01010101, 1), 0x01010101u);
}

TEST(Blend, BehindAColourByHand) {
    EXPECT_EQ(BehindPixel(0x80800000, 0xFF0000FF), 0xFF80007Fu);
    EXPECT_EQ(BehindPixel(0, 0xFF0000FF), 0xFF0000FFu);
    EXPECT_EQ(BehindPixel(0xFF123456, 0xFF0000FF), 0xFF123456u);
    // A pixel brighter than its alpha is held at 255 rather than wrapping.
    EXPECT_EQ(BehindPixel(0x80FF0000, 0xFFFF0000), 0xFFFF0000u);
}

// Pixels of every kind the rows meet: transparent, opaque, in between, and broken ones.
static uint32_t RandomPixel(std::mt19937& rng) {
    uint32_t a = rng() % 4 == 0 ? 0 : rng() % 4 == 0 ? 255 : rng() % 256;
    auto c = [&] { return a ? rng() % (a + 1) : 0; };
    uint32_t p = a << 24 | c() << 16 | c() << 8 | c();
    return rng() % 50 == 0 ? uint32_t(rng()) : p;
}

TEST(Blend, RowsGiveExactlyThePixelForms) {
    std::mt19937 rng(20240501);
    for (int round = 0; round < 400; round++) {
        size_t n = 1 + rng() % 70;
        uint32_t d = round % 3 == 0 ? 255 : rng() % 256;
        std::vector<uint32_t> under(n), layer(n), row(n), run(n);
        for (size_t i = 0; i < n; i++) under[i] = RandomPixel(rng), layer[i] = RandomPixel(rng);
        row = under;
        AddLayerRow(row.data(), reinterpret_cast<const uint8_t*>(layer.data()), n, d);
        run = under;
        AddLayerRun(run.data(), layer[0], n, d);
        std::vector<uint32_t> scaled(n);
        ScaleRow(scaled.data(), under.data(), n, d);
        for (size_t i = 0; i < n; i++) {
            ASSERT_EQ(row[i], AddLayerPixel(under[i], layer[i], d)) << "round " << round << " pixel " << i;
            ASSERT_EQ(run[i], AddLayerPixel(under[i], layer[0], d)) << "round " << round << " pixel " << i;
            ASSERT_EQ(scaled[i], ScalePixel(under[i], d)) << "round " << round;
        }
    }
}

// Rows of one kind throughout (transparent, opaque) let the vector forms take their
// shortcuts; mixed rows run the whole forms.
static std::vector<uint32_t> RandomRow(std::mt19937& rng, size_t n) {
    std::vector<uint32_t> row(n);
    uint32_t kind = rng() % 4;
    for (uint32_t& p : row) {
        p = RandomPixel(rng);
        if (kind == 1) p &= 0x00FFFFFFu;
        if (kind == 2) p |= 0xFF000000u;
    }
    return row;
}

TEST(Blend, VectorRowsEqualThePlainLoopsOverARandomSweep) {
    static const uint32_t Densities[] = {0, 1, 127, 128, 254, 255};
    for (int number = 0; number < 6000; number++) {
        std::mt19937 rng(3000 + uint32_t(number));
        size_t n = 1 + rng() % 80;
        uint32_t d = rng() % 3 ? Densities[rng() % 6] : rng() % 300;
        std::vector<uint32_t> under = RandomRow(rng, n), layer = RandomRow(rng, n);
        std::vector<uint32_t> plain = under, fast = under;
        AddLayerRowPlain(plain.data(), reinterpret_cast<const uint8_t*>(layer.data()), n, d);
        if (!AddLayerRowFast(fast.data(), reinterpret_cast<const uint8_t*>(layer.data()), n, d))
            GTEST_SKIP() << "no vector form on this processor";
        ASSERT_EQ(fast, plain) << "case " << number << " row, d " << d << " n " << n;
        plain = fast = under;
        AddLayerRunPlain(plain.data(), layer[0], n, d);
        AddLayerRunFast(fast.data(), layer[0], n, d);
        ASSERT_EQ(fast, plain) << "case " << number << " run, d " << d << std::hex << " pixel " << layer[0];
        ScaleRowPlain(plain.data(), under.data(), n, d);
        ScaleRowFast(fast.data(), under.data(), n, d);
        ASSERT_EQ(fast, plain) << "case " << number << " scale, d " << d;
    }
}

TEST(Blend, AtFullDensityTheLayerRowMatchesTheTileStoresBlend) {
    std::mt19937 rng(7);
    for (int i = 0; i < 20000; i++) {
        uint32_t b = RandomPixel(rng), l = RandomPixel(rng), d = rng() % 256;
        ASSERT_EQ(AddLayerPixel(b, l, d), OverPixel(b, l, int(d))) << "case " << i;
    }
}

TEST(PlainCode, RoundTripThroughTheStoresEncoder) {
    std::mt19937 rng(99);
    std::vector<uint32_t> pixels(5000);
    for (size_t i = 0; i < pixels.size(); i++) pixels[i] = (i / 300) % 2 ? uint32_t(rng()) : 0xFF00FF00u;
    std::vector<uint8_t> code(PackBound(pixels.size()));
    size_t size = PackRun(pixels.data(), pixels.size(), code.data());
    std::vector<uint32_t> back(pixels.size(), 7);
    ASSERT_EQ(UnpackPlain(code.data(), size, back.data(), back.size()), 1);
    EXPECT_EQ(back, pixels);
    // Blending the units as they come equals blending the unpacked pixels.
    std::vector<uint32_t> under(pixels.size()), expected(pixels.size());
    for (size_t i = 0; i < under.size(); i++) under[i] = RandomPixel(rng);
    for (size_t i = 0; i < under.size(); i++) expected[i] = AddLayerPixel(under[i], pixels[i], 200);
    ASSERT_EQ(OverPlain(code.data(), size, under.data(), under.size(), 200), 1);
    EXPECT_EQ(under, expected);
}

TEST(PlainCode, ControlByteMinus128IsARunOf129) {
    // A unit may also cross what would be a row: the code is one run over all pixels.
    uint8_t code[] = {0x80, 1, 2, 3, 4, 0x00, 9, 9, 9, 9};
    std::vector<uint32_t> pixels(130, 0);
    ASSERT_EQ(UnpackPlain(code, sizeof code, pixels.data(), pixels.size()), 1);
    for (int i = 0; i < 129; i++) ASSERT_EQ(pixels[i], 0x04030201u) << i;
    EXPECT_EQ(pixels[129], 0x09090909u);
}

TEST(PlainCode, DamagedCodeNeverReadsOrWritesOutOfBoundsAndClearsWhatIsMissing) {
    std::mt19937 rng(5);
    for (int round = 0; round < 2000; round++) {
        std::vector<uint8_t> code(rng() % 40);
        for (auto& b : code) b = uint8_t(rng());
        std::vector<uint32_t> pixels(rng() % 20 + 1, 0xDEADBEEF);
        int ok = UnpackPlain(code.data(), code.size(), pixels.data(), pixels.size());
        // Whatever the code did not cover is cleared, never left as it was.
        for (size_t i = 0; !ok && i < pixels.size(); i++)
            ASSERT_NE(pixels[i], 0xDEADBEEFu) << "round " << round;
        std::vector<uint32_t> under(pixels.size(), 0x80808080u);
        OverPlain(code.data(), code.size(), under.data(), under.size(), 255);
    }
    // Short code: too few pixels, and too many bytes for the pixels.
    uint8_t shortRun[] = {0xFE, 1, 2, 3};
    uint32_t one[3] = {5, 5, 5};
    EXPECT_EQ(UnpackPlain(shortRun, sizeof shortRun, one, 3), 0);
    EXPECT_EQ(one[0], 0u);
    uint8_t extra[] = {0x00, 1, 1, 1, 1, 0x00, 2, 2, 2, 2};
    EXPECT_EQ(UnpackPlain(extra, sizeof extra, one, 1), 0);
}
