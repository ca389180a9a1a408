#include <gtest/gtest.h>

#include "paint/colour.h"
#include "paint/draw_modes.h"

namespace nemu {
namespace {

TEST(DrawTables, MulRoundsTheMagnitudeUpSoFaintBlendsStillMove) {
    EXPECT_EQ(Mul(255, 1), 1);
    EXPECT_EQ(Mul(1, 1), 1);
    EXPECT_EQ(Mul(-1, 1), -1);
    EXPECT_EQ(Mul(-255, 255), -255);
    EXPECT_EQ(Mul(128, 128), 65); // (16384 + 254) / 255
    for (int d = -255; d <= 255; ++d) EXPECT_EQ(Mul(d, 0), 0) << d;
    // Every blend reaches its target at full strength.
    for (int c = 0; c < 256; c += 17)
        for (int t = 0; t < 256; t += 15) EXPECT_EQ(Lerp(c, t, 255), t) << c << " " << t;
    // Lerp wraps to 8 bits rather than saturating: the inner loops add the low byte.
    EXPECT_EQ(Lerp(10, 250, 128), 10 + 121);
}

TEST(DrawTables, DivUndoesPremultiplicationAndLumaWeights) {
    EXPECT_EQ(Div(64, 128), 127);
    EXPECT_EQ(Div(200, 0), 0);
    EXPECT_EQ(Div(255, 255), 255);
    EXPECT_EQ(Div(200, 100), (510) & 255); // channel above alpha wraps as the table says
    EXPECT_EQ(Luma(255, 255, 255), 255);   // the three weights add up to 65536
    EXPECT_EQ(Luma(255, 0, 0), 76);
    EXPECT_EQ(Luma(0, 255, 0), 149);
    EXPECT_EQ(Round255(127), 0);
    EXPECT_EQ(Round255(128), 1);
    EXPECT_EQ(Round255(-128), 0); // truncates towards zero
    EXPECT_EQ(Round255(-383), -1);
}

TEST(DrawTables, ColorizeRampRunsFromBlackThroughTheColourToWhite) {
    APen = 0xFF804020; // R 128, G 64, B 32: dark end (96, 32, 0), light end (255, 191, 159)
    MakeColorizeRamp();
    // l0 = (19584*96 + 38464*32) >> 16 = 47, l1 = (19584*255 + 38464*191 + 7488*159) >> 16 = 206
    EXPECT_EQ(ColorizeRamp[0], 0xFF000000u);
    EXPECT_EQ(ColorizeRamp[47], 0xFF602000u);  // the dark end itself
    EXPECT_EQ(ColorizeRamp[100], 0xFF955535u); // dark end + 53 on each channel
    EXPECT_EQ(ColorizeRamp[206], 0xFFFFBF9Fu); // the light end
    EXPECT_EQ(ColorizeRamp[255], 0xFFFFFFFFu);
    // Below l0: (32768 + i * ((96 << 16) / 47)) >> 16 for red at i = 20 is 41.
    EXPECT_EQ((ColorizeRamp[20] >> 16) & 255, 41u);
    for (int i = 1; i < 256; ++i) EXPECT_GE(ColorizeRamp[i] & 0xFF00, ColorizeRamp[i - 1] & 0xFF00) << i;
}

TEST(DrawTables, TintHueSplitsTheHueIntoSextantAndFraction) {
    APen = 0xFFFF0000;
    MakeTintHue();
    EXPECT_EQ(TintSextant, 0);
    EXPECT_EQ(TintFrac, 0);
    APen = 0xFF00FF00; // hue 1/3
    MakeTintHue();
    EXPECT_EQ(TintSextant, 2);
    EXPECT_EQ(TintFrac, 0);
    APen = 0xFFFF8000; // hue 30.12 degrees: h * 6 = 0.50196
    MakeTintHue();
    EXPECT_EQ(TintSextant, 0);
    EXPECT_NEAR(TintFrac, 32896, 2);
    APen = 0xFF808080;
    MakeTintHue();
    EXPECT_EQ(TintSextant, -1);
}

TEST(DrawTables, OilColoursLightTheRisingEdgeAndDarkenTheFallingOne) {
    const uint32_t c = 0xFF402010;
    MakeOilColorTable(c);
    auto at = [](int d) { return OilColorTable[d + 256]; };
    EXPECT_EQ(at(-256), c);
    EXPECT_EQ(at(-107), c);
    EXPECT_EQ(at(-106), c); // first step of the gradient to white is the colour itself
    // 91 steps from 0x40 to 0xFF: step ((255 - 64) << 16) / 91; entry 45 of red
    EXPECT_EQ((at(-61) >> 16) & 255, uint32_t((64 * 65536 + 45 * ((191 << 16) / 91)) >> 16));
    EXPECT_EQ(at(-16), 0xFFFFFFFFu); // the second gradient starts at white
    EXPECT_EQ(at(0), c);             // and the dark one at the colour
    EXPECT_EQ(at(54), 0xFF000000u);
    EXPECT_EQ(at(255), 0xFF000000u);
    EXPECT_EQ((at(27) >> 16) & 255, uint32_t((64 * 65536 + 27 * ((-64 * 65536) / 55)) >> 16));
}

} // namespace
} // namespace nemu
