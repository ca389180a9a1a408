// The display's pixel kernel: its vector form against the pixel-by-pixel reference, byte
// for byte, over a sweep of random areas. Each case has its own seed, so a failing case
// named in a message can be replayed alone by setting NEMU_SWEEP_CASE to its number.
#include "paint/stamp_kernels.h"
#include "project/blend.h"
#include "project/compose.h"

#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

using namespace nemu;

namespace {

constexpr uint32_t SweepSeed = 20240917;

// Pixels of every kind the display meets: transparent, opaque, in between, and now and
// then one that breaks premultiplication. A row is of mixed pixels, or wholly transparent
// or wholly opaque, as most of a picture is, where the vector form takes its shortcuts.
enum RowKind { Mixed, Clear, Solid };

uint32_t AnyPixel(std::mt19937& rng, RowKind row) {
    uint32_t kind = rng() % 8;
    uint32_t a = row == Clear ? 0 : row == Solid ? 255 : kind < 2 ? 0 : kind < 4 ? 255 : rng() % 256;
    auto c = [&] { return rng() % (a + 1); };
    uint32_t p = a << 24 | c() << 16 | c() << 8 | c();
    return rng() % 32 == 0 ? (uint32_t(rng()) & 0x00FFFFFFu) | a << 24 : p;
}

// One picture of an area: its rows at a stride of their own.
struct Picture {
    size_t Stride = 0;
    std::vector<uint32_t> Pixels;
};

struct SweepCase {
    uint32_t D, Bits;
    Backdrop Back;
    int32_t Width, Height, X, Y;
    Picture Above, Page, Below;

    MixArea Area(uint32_t* out, size_t outStride) const {
        MixArea area;
        area.Above = Above.Pixels.data(), area.AboveStride = Above.Stride;
        area.Page = Page.Pixels.data(), area.PageStride = Page.Stride;
        area.Below = Below.Pixels.data(), area.BelowStride = Below.Stride;
        area.Out = out, area.OutStride = outStride;
        area.Width = Width, area.Height = Height, area.X = X, area.Y = Y;
        return area;
    }
};

SweepCase MakeCase(int number) {
    std::mt19937 rng(SweepSeed + uint32_t(number));
    static const uint32_t Densities[] = {0, 1, 127, 128, 254, 255};
    static const uint32_t BitSets[] = {0, MixAboveBit, MixBelowBit, MixBothBit};
    SweepCase c;
    c.D = rng() % 3 ? Densities[rng() % 6] : rng() % 256;
    c.Bits = BitSets[number % 4];
    c.Back.Kind = int32_t(rng() % 3);
    // The backdrop is opaque on the screen, but the forms are exact for any colour.
    c.Back.First = rng() % 4 ? 0xFF000000u | (rng() & 0xFFFFFF) : uint32_t(rng());
    c.Back.Second = rng() % 4 ? 0xFF000000u | (rng() & 0xFFFFFF) : c.Back.First;
    c.Width = 1 + int32_t(rng() % 75), c.Height = 1 + int32_t(rng() % 4);
    c.X = int32_t(rng() % 100) - 50, c.Y = int32_t(rng() % 100) - 50;
    for (Picture* p : {&c.Above, &c.Page, &c.Below}) {
        p->Stride = size_t(c.Width) + rng() % 9;
        p->Pixels.resize(p->Stride * size_t(c.Height));
        for (int32_t j = 0; j < c.Height; j++) {
            RowKind kind = RowKind(rng() % 2 ? Mixed : rng() % 2 ? Clear : Solid);
            for (size_t i = 0; i < p->Stride; i++) p->Pixels[size_t(j) * p->Stride + i] = AnyPixel(rng, kind);
        }
    }
    return c;
}

// Both vector widths of the three-picture case, where the processor has the wider: the
// sixteen-pixel form (-1) and the eight-pixel form that other processors run (0).
class MixPixelsWidths : public testing::TestWithParam<int32_t> {
  protected:
    void SetUp() override { WiderLanes = GetParam(); }
    void TearDown() override { WiderLanes = -1; }
};

TEST_P(MixPixelsWidths, TheVectorFormEqualsThePlainFormsOverARandomSweep) {
    int first = 0, last = 8000;
    if (const char* only = std::getenv("NEMU_SWEEP_CASE")) first = last = std::atoi(only);
    for (int number = first; number <= last; number++) {
        SweepCase c = MakeCase(number);
        const size_t stride = size_t(c.Width) + 3;
        std::vector<uint32_t> plain(stride * size_t(c.Height), 0x5A5A5A5Au), lanes = plain;
        MixPixelsPlain(c.Area(plain.data(), stride), c.D, c.Bits, c.Back);
        if (!MixPixelsFast(c.Area(lanes.data(), stride), c.D, c.Bits, c.Back))
            GTEST_SKIP() << "no vector form on this processor";
        for (size_t i = 0; i < plain.size(); i++) {
            size_t x = i % stride, y = i / stride;
            auto at = [&](const Picture& p) { return x < p.Stride ? p.Pixels[y * p.Stride + x] : 0; };
            ASSERT_EQ(lanes[i], plain[i])
                << "case " << number << " pixel " << x << ", " << y << " of " << c.Width << " by " << c.Height
                << " d " << c.D << " bits " << c.Bits << " backdrop " << c.Back.Kind << " at " << c.X << ", "
                << c.Y << std::hex << " above " << at(c.Above) << " page " << at(c.Page) << " below "
                << at(c.Below);
        }
    }
}

TEST_P(MixPixelsWidths, TheAreaMayBeWrittenOverItsOwnPage) {
    for (int number = 0; number < 600; number++) {
        SweepCase c = MakeCase(number);
        std::vector<uint32_t> expected(c.Page.Pixels.size());
        MixPixelsPlain(c.Area(expected.data(), c.Page.Stride), c.D, c.Bits, c.Back);
        for (size_t i = 0; i < expected.size(); i++)
            if (i % c.Page.Stride >= size_t(c.Width)) expected[i] = c.Page.Pixels[i]; // beyond the width
        MixPixels(c.Area(c.Page.Pixels.data(), c.Page.Stride), c.D, c.Bits, c.Back);
        ASSERT_EQ(c.Page.Pixels, expected) << "case " << number;
    }
}

INSTANTIATE_TEST_SUITE_P(Widths, MixPixelsWidths, testing::Values(-1, 0), [](const auto& info) {
    return info.param ? std::string("Widest") : std::string("EightPixels");
});

TEST(MixPixels, ThePlainSwitchRunsTheReference) {
    // A broken page pixel under a transparent top: the forms differ from a naive over,
    // and both switches must give the reference's answer.
    const uint32_t above = 0, page = 0x00405060, below = 0x80202020;
    uint32_t out;
    for (int plain : {1, 0}) {
        PlainKernels = plain;
        MixRow(&above, &page, &below, &out, 1, 200, MixBothBit);
        EXPECT_EQ(out, below) << "plain " << plain;
    }
    PlainKernels = -1;
}

TEST(MixPixels, TheBackdropAndItsCheckByHand) {
    // Half-transparent red over the page's transparent pixel, over grey and white cells.
    uint32_t page[2 * 20] = {0x80800000u};
    page[20] = 0x80800000u;
    uint32_t out[2 * 20];
    MixArea area;
    area.Page = page, area.Out = out, area.PageStride = area.OutStride = 20;
    area.Width = 20, area.Height = 2, area.X = 14, area.Y = 15;
    Backdrop back{Backdrop::Check, 0xFF808080u, 0xFFFFFFFFu};
    MixPixels(area, 255, 0, back);
    EXPECT_EQ(out[0], 0xFFC04040u);  // Mul(128, 127) = 64 on each channel, plus red
    EXPECT_EQ(out[1], 0xFF808080u);  // transparent: the first cell's colour
    EXPECT_EQ(out[2], 0xFFFFFFFFu);  // x = 16: the second cell
    EXPECT_EQ(out[17], 0xFFFFFFFFu); // x = 31
    EXPECT_EQ(out[18], 0xFF808080u); // x = 32: the first again
    // y = 16: the cells swap.
    EXPECT_EQ(out[20], 0xFFFF7F7Fu); // red over white: Mul(255, 127) = 127
    EXPECT_EQ(out[21], 0xFFFFFFFFu);
    EXPECT_EQ(out[22], 0xFF808080u);
}

} // namespace
