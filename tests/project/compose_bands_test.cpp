// The stack composed band by band, with each plain layer's code streamed from the cache,
// against the same stack laid layer after layer over the whole picture: the same bytes for
// any densities and any mix of plain, empty, hidden and clip layers, and the same answer
// when a layer's code is damaged.
#include "project_fixture.h"

#include "paint/stamp_kernels.h"
#include "project/blend.h"

#include <random>

using namespace nemu;
using nemu::test::ProjectTest;

namespace {

// Soft random paint: runs of one pixel and stretches of different ones, transparent
// gaps, and now and then an opaque stretch, so that the code has every kind of unit and
// units cross the bands' ends.
void PaintSoftly(std::mt19937& rng) {
    uint32_t* p = Page->Pixels;
    const size_t n = size_t(PageWidth) * size_t(PageHeight);
    for (size_t i = 0; i < n;) {
        size_t length = 1 + rng() % 200;
        uint32_t kind = rng() % 4;
        for (size_t k = 0; k < length && i < n; k++, i++) {
            uint32_t a = kind == 0 ? 0 : kind == 1 ? 255 : rng() % 256;
            if (kind == 3 && k % 3) {
                p[i] = p[i - 1];
                continue;
            }
            auto c = [&] { return rng() % (a + 1); };
            p[i] = a << 24 | c() << 16 | c() << 8 | c();
        }
    }
    AddDirtyAndMark(0, 0, PageWidth - 1, PageHeight - 1);
}

// The stack at image 0 laid layer after layer over the whole picture.
Bitmap* LayerByLayer() {
    Bitmap* b = NewBitmap(PageWidth, PageHeight);
    bool drawn = false;
    for (int32_t i = LayerCount - 1; i >= 0; i--)
        if (!(Layers[i].Flags & LayerHidden) && LayerPresent(&Layers[i], 0))
            AddLayerToBuffer(&Layers[i], b, 0, &drawn);
    if (!drawn) ClearBitmap(b, 0);
    return b;
}

bool SamePixels(const Bitmap* a, const Bitmap* b, std::string* where) {
    for (int32_t i = 0; i < a->Width * a->Height; i++)
        if (a->Pixels[i] != b->Pixels[i]) {
            *where = "pixel " + std::to_string(i % a->Width) + ", " + std::to_string(i / a->Width);
            return false;
        }
    return true;
}

struct Bands : ProjectTest {
    void SetUp() override { MakeProject(203, 77); } // rows of no round size, bands that end mid-row
};

TEST_F(Bands, AnyStackComposesToTheSameBytesAsLayerAfterLayer) {
    static const int32_t Densities[] = {0, 1, 127, 128, 254, 255};
    for (int round = 0; round < 12; round++) {
        std::mt19937 rng(900 + uint32_t(round));
        // Six layers: most plain and painted, one empty, one a clip, one hidden.
        for (int layer = 0; layer < 6; layer++) {
            if (layer) AddLayer("layer", 0, 0);
            if (layer == 2) continue; // empty
            if (layer == 4 && round % 2) ASSERT_EQ(MakeAnim(CurrentLayer, 1), 1);
            PaintSoftly(rng);
        }
        ASSERT_EQ(FlushPage(), 1);
        for (int32_t i = 0; i < LayerCount; i++)
            Layers[i].Density = rng() % 3 ? Densities[rng() % 6] : int32_t(rng() % 256);
        if (round % 3 == 0) Layers[rng() % 6].Flags |= LayerHidden;
        PlainKernels = round % 4 == 3;
        Bitmap* expected = LayerByLayer();
        Bitmap* bands = NewBitmap(PageWidth, PageHeight);
        ClearBitmap(bands, 0x5A5A5A5A);
        ASSERT_EQ(ComposeImage(bands, 0, false), 1);
        std::string where;
        EXPECT_TRUE(SamePixels(bands, expected, &where)) << "round " << round << " " << where;
        FreeBitmap(bands);
        FreeBitmap(expected);
        // The next round starts from one layer again (a hidden layer is never left alone:
        // deleting the last shown one would make a new one in its place).
        for (int32_t i = 0; i < LayerCount; i++) Layers[i].Flags &= ~LayerHidden;
        while (LayerCount > 1) ASSERT_EQ(DeleteCurrentLayer(), 1);
        ClearLayerUndo();
    }
    PlainKernels = -1;
}

// A layer whose code no longer fits its picture: too short, or with bytes to spare.
void Damage(Layer* layer, std::mt19937& rng) {
    std::vector<uint8_t> code(size_t(layer->PackedSize));
    ASSERT_EQ(GetCacheFileData(layer->PackedData, code.data(), layer->PackedSize), 1);
    if (rng() % 2)
        code.resize(code.size() - 1 - rng() % (code.size() / 2)); // too short
    else
        code.insert(code.end(), {0x00, 1, 2, 3, 4}); // one pixel too many
    ASSERT_EQ(PutCacheFileData(layer->PackedData, code.data(), int32_t(code.size()), 0), 1);
    layer->PackedSize = int32_t(code.size());
}

TEST_F(Bands, ADamagedLayerFailsAsItDoesLayerAfterLayer) {
    for (int round = 0; round < 6; round++) {
        std::mt19937 rng(40 + uint32_t(round));
        for (int layer = 0; layer < 3; layer++) {
            if (layer) AddLayer("layer", 0, 0);
            PaintSoftly(rng);
        }
        ASSERT_EQ(FlushPage(), 1);
        // The bottom layer, which is loaded, or one laid over it.
        ASSERT_NO_FATAL_FAILURE(Damage(&Layers[round % 2 ? 2 : 1], rng));
        Bitmap* expected = LayerByLayer();
        Bitmap* bands = NewBitmap(PageWidth, PageHeight);
        ASSERT_EQ(ComposeImage(bands, 0, false), 1);
        std::string where;
        EXPECT_TRUE(SamePixels(bands, expected, &where)) << "round " << round << " " << where;
        FreeBitmap(bands);
        FreeBitmap(expected);
        while (LayerCount > 1) ASSERT_EQ(DeleteCurrentLayer(), 1);
        ClearLayerUndo();
    }
}

TEST_F(Bands, StretchesOfAnySizeDecodeAndBlendAsTheWholeCode) {
    std::mt19937 rng(12);
    PaintSoftly(rng);
    ASSERT_EQ(FlushPage(), 1);
    const size_t count = size_t(PageWidth) * size_t(PageHeight);
    std::vector<uint8_t> code(size_t(Layers[0].PackedSize));
    ASSERT_EQ(GetCacheFileData(Layers[0].PackedData, code.data(), Layers[0].PackedSize), 1);
    std::vector<uint32_t> under(count);
    for (uint32_t& p : under) p = rng() % 3 ? rng() : 0;
    for (int density : {-1, 255, 128, 1}) {
        std::vector<uint32_t> whole = under, stretched = under;
        if (density < 0)
            ASSERT_EQ(UnpackPlain(code.data(), code.size(), whole.data(), count), 1);
        else
            ASSERT_EQ(OverPlain(code.data(), code.size(), whole.data(), count, density), 1);
        PlainStream* stream = OpenPlainStream(&Layers[0], count);
        ASSERT_NE(stream, nullptr);
        for (size_t done = 0; done < count;) {
            size_t n = std::min(count - done, size_t(1 + rng() % 700));
            ASSERT_EQ(StreamPlain(stream, stretched.data() + done, n, density), 1) << "at " << done;
            done += n;
        }
        EXPECT_EQ(StreamPlain(stream, stretched.data(), 1, density), 0); // nothing left
        ClosePlainStream(stream);
        EXPECT_EQ(stretched, whole) << "density " << density;
    }
}

} // namespace
