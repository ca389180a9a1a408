// The vector soft-colour kernel against the plain loops, byte for byte.
#include <random>

#include "paint/stamp_kernels.h"
#include "paint_fixture.h"

namespace nemu {
namespace {

TEST(FastKernels, VectorLerpEqualsThePlainLoopsOverARandomSweep) {
    std::mt19937 rng(20261122);
    Bitmap* a = NewBitmap(23, 17);
    Bitmap* b = NewBitmap(23, 17);
    std::vector<uint8_t> mask(40 * 40);
    for (int round = 0; round < 3000; ++round) {
        const int w = 1 + rng() % 40, h = 1 + rng() % 40;
        const int x = int(rng() % 60) - 30, y = int(rng() % 50) - 25;
        const int op = rng() % 4 == 0 ? 255 : int(rng() % 256);
        const bool soft4 = rng() & 1;
        uint32_t colour = rng();
        if (!soft4) colour |= 0xFF000000u; // SoftColor's vector form is for opaque colours
        for (auto& m : mask) {
            uint32_t r = rng() % 8;
            m = r < 2 ? 0 : r < 4 ? 255 : uint8_t(rng());
        }
        for (int i = 0; i < 23 * 17; ++i) a->Pixels[i] = b->Pixels[i] = rng();
        PlainKernels = 1;
        (soft4 ? Soft4Mask : SoftColorMask)(mask.data(), w, w, h, a, x, y, colour, op);
        PlainKernels = 0;
        (soft4 ? Soft4Mask : SoftColorMask)(mask.data(), w, w, h, b, x, y, colour, op);
        for (int i = 0; i < 23 * 17; ++i)
            ASSERT_EQ(a->Pixels[i], b->Pixels[i]) << "case " << round << " pixel " << i << " op " << op
                                                  << " w " << w << " x " << x << " y " << y;
    }
    FreeBitmap(a);
    FreeBitmap(b);
}

TEST(FastKernels, EnvironmentSwitchForcesThePlainLoops) {
    PlainKernels = -1;
    setenv("NEMU_PLAIN_KERNELS", "1", 1);
    EXPECT_TRUE(UsePlainKernels());
    PlainKernels = -1;
    setenv("NEMU_PLAIN_KERNELS", "0", 1);
    EXPECT_FALSE(UsePlainKernels());
}

} // namespace
} // namespace nemu
