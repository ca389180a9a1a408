// Tables of the draw modes: the Mul, Div and luma tables built once, and the tables made
// from the paint colour (colorize ramp, tint hue, oil colours).
#include <algorithm>
#include <cmath>

#include "paint/colour.h"
#include "paint/draw_modes.h"

namespace nemu {

int16_t MulTable[512 * 256];
uint8_t DivTable[256 * 256];
uint32_t LumaTable[3][256];
uint32_t ColorizeRamp[256];
int32_t TintSextant = 5;
int32_t TintFrac = 12345;
uint32_t OilColorTable[512];

void BuildDrawTables() {
    for (int d = -256; d < 256; ++d) {
        int mag = d < 0 ? -d : d;
        for (int a = 0; a < 256; ++a) {
            int v = (mag * a + 254) / 255;
            if (v > 255) v = 255;
            MulTable[((d + 256) << 8) + a] = int16_t(d < 0 ? -v : v);
        }
    }
    for (int a = 0; a < 256; ++a)
        for (int c = 0; c < 256; ++c) DivTable[(a << 8) + c] = a ? uint8_t((255 * c / a) & 255) : 0;
    for (uint32_t v = 0; v < 256; ++v) {
        LumaTable[0][v] = 19584 * v;
        LumaTable[1][v] = 38464 * v;
        LumaTable[2][v] = 7488 * v;
    }
}

namespace {
// The tables are plain data every stamp reads; building them at load means no stamp can
// run against an empty table, whatever the start-up order.
const bool TablesBuilt = (BuildDrawTables(), true);
} // namespace

// The ramp runs from the pen's darkest shade to its lightest: the colour shifted down until
// its smallest channel is 0, and up until its largest is 255, with straight grey ramps
// from black to the dark end and from the light end to white.
void MakeColorizeRamp() {
    int c[3] = {int((APen >> 16) & 255), int((APen >> 8) & 255), int(APen & 255)};
    int lo = std::min(c[0], std::min(c[1], c[2]));
    int hi = std::max(c[0], std::max(c[1], c[2]));
    int dark[3], light[3];
    for (int i = 0; i < 3; ++i) dark[i] = c[i] - lo, light[i] = c[i] - hi + 255;
    int l0 = std::min(255, Luma(dark[0], dark[1], dark[2]));
    int l1 = std::min(255, Luma(light[0], light[1], light[2]));
    int ramp[256][3] = {};
    for (int i = l0; i <= l1; ++i)
        for (int k = 0; k < 3; ++k) ramp[i][k] = std::min(255, dark[k] + (i - l0));
    if (l0 > 0)
        for (int k = 0; k < 3; ++k) {
            int step = (dark[k] << 16) / l0;
            for (int i = 0; i < l0; ++i) ramp[i][k] = (32768 + i * step) >> 16;
        }
    int n = 255 - l1;
    for (int k = 0; k < 3; ++k) {
        int step = n > 0 ? ((255 - light[k]) << 16) / n : 0;
        for (int j = 0; j <= n; ++j) ramp[l1 + j][k] = std::min(255, light[k] + ((32768 + j * step) >> 16));
    }
    for (int i = 0; i < 256; ++i)
        ColorizeRamp[i] =
            0xFF000000u | uint32_t(ramp[i][0] << 16) | uint32_t(ramp[i][1] << 8) | uint32_t(ramp[i][2]);
}

// The hue of APen as a sextant and a 16.16 fraction inside it; grey has no hue.
void MakeTintHue() {
    double r = ((APen >> 16) & 255) / 255.0, g = ((APen >> 8) & 255) / 255.0, b = (APen & 255) / 255.0;
    double hi = std::max(r, std::max(g, b)), lo = std::min(r, std::min(g, b));
    if (hi == lo) {
        TintSextant = -1;
        return;
    }
    double d = hi - lo, h;
    if (r == hi)
        h = (g - b) / d;
    else if (g == hi)
        h = (b - r) / d + 2;
    else
        h = (r - g) / d + 4;
    h *= 60;
    if (h < 0) h += 360;
    h /= 360;
    double whole = std::floor(h * 6 + 1000);
    TintSextant = int32_t(whole) - 1000;
    TintFrac = int32_t(std::floor((h * 6 + 1000 - whole) * 65536 + 0.5));
}

namespace {
// n entries from c0 towards c1, each channel stepped in 16.16 and truncated.
void Gradient(uint32_t c0, uint32_t c1, int n, uint32_t* out) {
    int32_t acc[4], step[4];
    for (int k = 0; k < 4; ++k) {
        int a = int((c0 >> (8 * k)) & 255), b = int((c1 >> (8 * k)) & 255);
        acc[k] = a << 16;
        step[k] = ((b - a) << 16) / n;
    }
    for (int i = 0; i < n; ++i) {
        uint32_t v = 0;
        for (int k = 0; k < 4; ++k) {
            v |= uint32_t((acc[k] >> 16) & 255) << (8 * k);
            acc[k] += step[k];
        }
        out[i] = v;
    }
}
} // namespace

// Oil paint is lit from the upper left: a rising edge of wet paint (d below 0) catches the
// light, a falling one (d above 0) darkens to black.
void MakeOilColorTable(uint32_t colour) {
    uint32_t* t = OilColorTable + 256; // t[d] for d in -256..255
    for (int d = -256; d <= -107; ++d) t[d] = colour;
    Gradient(colour, 0xFFFFFFFFu, 91, t - 106);
    Gradient(0xFFFFFFFFu, colour, 17, t - 16);
    Gradient(colour, 0xFF000000u, 55, t);
    for (int d = 54; d <= 255; ++d) t[d] = 0xFF000000u;
}

} // namespace nemu
