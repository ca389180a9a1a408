#include "paint/stamp_kernels.h"
#include "paint_fixture.h"

namespace nemu {
namespace {

using test::MaskStampOf;

TEST(Dither, ChalkGeneratorAddsAndRotatesItsLowSixteenBits) {
    ChalkSeed = 4657;
    // 4657 + 25953 = 30610 = 0x7792; rotated right by 5: 0x93BC
    EXPECT_EQ(NextChalk(), 0x93BCu);
    EXPECT_EQ(ChalkSeed, 0x93BCu);
    uint32_t r = (0x93BC + 25953) & 0xFFFF;
    EXPECT_EQ(NextChalk(), ((r >> 5) | (r << 11)) & 0xFFFF);
}

class DitherStamps : public test::PaintPage {};

TEST_F(DitherStamps, ChalkWritesFullStrengthWhereTheNumberFallsBelowOpTimesMask) {
    MakePage(8, 1, 0);
    std::vector<uint8_t> m = {255, 255, 255, 255, 128, 128, 10, 0};
    Stamp* s = MaskStampOf(8, 1, m);
    ChalkSeed = 4657;
    uint32_t seed = 4657;
    std::vector<bool> hit;
    for (uint8_t v : m) {
        if (!v) {
            hit.push_back(false);
            continue;
        }
        uint32_t r = (seed + 25953) & 0xFFFF;
        seed = ((r >> 5) | (r << 11)) & 0xFFFF;
        hit.push_back(seed < 200u * v);
    }
    ChalkStamp(s, Page, 0, 0, 0xFF00FF00, 200, DitherForm::Color);
    for (int i = 0; i < 8; ++i) EXPECT_EQ(At(i, 0), hit[i] ? 0xFF00FF00u : 0u) << i;
    EXPECT_EQ(ChalkSeed, seed);
    FreeStamp(s);
}

TEST_F(DitherStamps, ChalkEraseAppliesTheOpacityToEachHit) {
    MakePage(3, 1, 0xFFFFFFFF);
    Stamp* s = MaskStampOf(3, 1, {255, 255, 255});
    ChalkSeed = 4657;
    ChalkStamp(s, Page, 0, 0, 0, 200, DitherForm::Erase);
    int hits = 0;
    for (int i = 0; i < 3; ++i) {
        uint32_t p = At(i, 0);
        hits += p != 0xFFFFFFFFu;
        EXPECT_TRUE(p == 0xFFFFFFFFu || p == 0x37373737u) << std::hex << p; // Mul(255, 55)
    }
    EXPECT_GT(hits, 0); // the first number, 0x93BC, is below 200 * 255
    FreeStamp(s);
}

TEST_F(DitherStamps, PencilSpreadsHitsOverNeighboursInFifthsOfTheOpacity) {
    MakePage(5, 5, 0);
    std::vector<uint8_t> m(25, 0);
    m[12] = 255; // the centre only: one hit at most
    Stamp* s = MaskStampOf(5, 5, m);
    ChalkSeed = 4657; // first number 0x93BC < 255 * 255
    PencilStamp(s, Page, 0, 0, 0xFFFFFFFF, 255, DitherForm::Color);
    // centre: 5 -> full opacity; the four neighbours: 1 -> (255 * 51) >> 8 = 50
    EXPECT_EQ(s->Mask2[12], 254);
    EXPECT_EQ(s->Mask2[11], 50);
    EXPECT_EQ(s->Mask2[7], 50);
    EXPECT_EQ(s->Mask2[6], 0);
    EXPECT_EQ(At(2, 2), 0xFEFEFEFEu); // SoftColor at 254 from transparent black
    EXPECT_EQ(At(2, 1) >> 24, 50u);
    EXPECT_EQ(At(1, 1), 0u);
    FreeStamp(s);
}

TEST_F(DitherStamps, PencilIgnoresTheStampsRimSoNeighboursStayInside) {
    MakePage(3, 3, 0);
    Stamp* s = MaskStampOf(3, 3, std::vector<uint8_t>(9, 255));
    for (int i = 0; i < 50; ++i) PencilStamp(s, Page, 0, 0, 0xFFFFFFFF, 255, DitherForm::Color);
    for (int i = 0; i < 9; ++i) EXPECT_LE(s->Mask2[i], 255);
    EXPECT_NE(At(1, 1), 0u);
    FreeStamp(s);
}

} // namespace
} // namespace nemu
