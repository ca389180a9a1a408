// The run-length and LZW codes of the project file, byte by byte where the format's
// quirks decide the bytes, and by round trips and an outside decoder elsewhere.
#include "files/lzw.h"
#include "files/run_length.h"
#include "store/tile_pack.h"
#include "support/file_helpers.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

using namespace nemu;

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t A = 0xff102030, B = 0x80405060, C = 0x00000000, D = 0x11223344;

Bytes Pack(const std::vector<uint32_t>& pixels, uint32_t after) {
    Bytes out(PackRowBound(pixels.size()));
    out.resize(PackRow(pixels.data(), pixels.size(), after, out.data()));
    return out;
}

// Decodes exactly count pixels from one buffer: the bytes used, or -1 when short.
int64_t Decode(const Bytes& in, size_t size, uint32_t* out, size_t count) {
    RunUnpacker state;
    size_t used = 0;
    return RunUnpack(&state, in.data(), size, &used, out, count) == count ? int64_t(used) : -1;
}

// A unit's bytes: the control byte then pixels in memory order.
Bytes Unit(int control, std::initializer_list<uint32_t> pixels) {
    Bytes b{uint8_t(int8_t(control))};
    for (uint32_t p : pixels)
        for (int k = 0; k < 4; k++) b.push_back(uint8_t(p >> (8 * k)));
    return b;
}

Bytes Join(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& p : parts) all.insert(all.end(), p.begin(), p.end());
    return all;
}

// Collects what a writer hands its sink, and the size of each hand-over.
struct Collector {
    Bytes Data;
    std::vector<size_t> Writes;
    bool Fail = false;
    ByteSink Sink() {
        return ByteSink{[](void* user, const uint8_t* data, size_t size) {
                            auto* c = static_cast<Collector*>(user);
                            if (c->Fail) return -1;
                            c->Data.insert(c->Data.end(), data, data + size);
                            c->Writes.push_back(size);
                            return 0;
                        },
                        this};
    }
};

std::vector<uint32_t> RandomPixels(size_t count, uint32_t seed, int distinct) {
    std::mt19937 rng(seed);
    std::vector<uint32_t> p(count);
    for (auto& v : p) v = distinct ? rng() % distinct * 0x01010101u : rng();
    return p;
}

} // namespace

TEST(RunLength, UnitsFollowTheEncodersRules) {
    // Three equal pixels repeat, two that differ go literal, a final pair repeats.
    EXPECT_EQ(Pack({A, A, A, B, C, D, D}, 0), Join({Unit(-2, {A}), Unit(1, {B, C}), Unit(-1, {D})}));
    // A literal stops before a pixel equal to its right neighbour.
    EXPECT_EQ(Pack({A, B, B}, 0), Join({Unit(0, {A}), Unit(-1, {B})}));
    // The last pixel is compared with the one after it in memory: when equal it can't
    // join the literal and goes alone; when different it does.
    EXPECT_EQ(Pack({A, B}, B), Join({Unit(0, {A}), Unit(0, {B})}));
    EXPECT_EQ(Pack({A, B}, C), Unit(1, {A, B}));
    EXPECT_EQ(Pack({A}, A), Unit(0, {A}));
}

TEST(RunLength, NoUnitHoldsMoreThan124Pixels) {
    std::vector<uint32_t> same(300, A);
    EXPECT_EQ(Pack(same, B), Join({Unit(-123, {A}), Unit(-123, {A}), Unit(-51, {A})}));
    std::vector<uint32_t> distinct(130);
    for (size_t i = 0; i < distinct.size(); i++) distinct[i] = uint32_t(i);
    Bytes packed = Pack(distinct, 999);
    ASSERT_EQ(packed.size(), 1 + 124 * 4 + 1 + 6 * 4u);
    EXPECT_EQ(packed[0], 123);
    EXPECT_EQ(packed[1 + 124 * 4], 5);
    // 125 equal pixels: one full run, then a lone last pixel.
    EXPECT_EQ(Pack(std::vector<uint32_t>(125, A), A), Join({Unit(-123, {A}), Unit(0, {A})}));
}

TEST(RunLength, RowsNeverShareAUnitAndLookAcrossForTheLiteralTest) {
    Collector c;
    // Row 0 ends in B and row 1 starts with B: B goes alone. Row 1's last pixel has
    // nothing of ours after it and joins its literal.
    const uint32_t image[] = {A, B, B, C};
    EXPECT_EQ(WriteRunRows(c.Sink(), image, 2, 2, ProjectFlushAt(2)), 10 + 9);
    EXPECT_EQ(c.Data, Join({Unit(0, {A}), Unit(0, {B}), Unit(1, {B, C})}));
    EXPECT_EQ(c.Writes.size(), 1u) << "a small image is handed over once, at the end";
}

TEST(RunLength, ProjectWriterFlushesAfterTheRowThatPassesItsLimit) {
    // Rows of 1000 distinct pixels pack to 4000 bytes plus 9 control bytes. The limit
    // is (32512 - 1000) * 4 = 126048, first passed after row 32.
    const int width = 1000, height = 40;
    std::vector<uint32_t> image(size_t(width) * height);
    for (size_t i = 0; i < image.size(); i++) image[i] = uint32_t(i);
    Collector c;
    EXPECT_EQ(WriteRunRows(c.Sink(), image.data(), width, height, ProjectFlushAt(width)), 40 * 4009);
    EXPECT_EQ(c.Writes, (std::vector<size_t>{32 * 4009, 8 * 4009}));
    // The deep writer's limit, (16384 - 1000) * 8 = 123072, is passed after row 31.
    Collector deep;
    WriteRunRows(deep.Sink(), image.data(), width, height, DeepFlushAt(width));
    EXPECT_EQ(deep.Writes, (std::vector<size_t>{31 * 4009, 9 * 4009}));
    EXPECT_EQ(deep.Data, c.Data);
    // Wider than the limit allows: every row is handed over alone, even past 128 KiB.
    EXPECT_EQ(ProjectFlushAt(40000), 0);
    std::vector<uint32_t> wide = RandomPixels(40000 * 2, 3, 0);
    Collector w;
    EXPECT_GT(WriteRunRows(w.Sink(), wide.data(), 40000, 2, ProjectFlushAt(40000)), int64_t(RUN_BUFFER_SIZE));
    EXPECT_EQ(w.Writes.size(), 2u);
    Collector failing;
    failing.Fail = true;
    EXPECT_EQ(WriteRunRows(failing.Sink(), image.data(), width, height, 0), -1);
}

TEST(RunLength, DecoderTakesEveryUnitKindAcrossAnyBoundary) {
    Bytes data = Join({Unit(-128, {}), Unit(1, {A, B}), Unit(-4, {C}), Unit(-128, {}), Unit(0, {D})});
    std::vector<uint32_t> out(8, 7);
    EXPECT_EQ(Decode(data, data.size(), out.data(), 8), int64_t(data.size()));
    EXPECT_EQ(out, (std::vector<uint32_t>{A, B, C, C, C, C, C, D}));
    // Fed one byte at a time into rooms of three pixels, the result is the same.
    RunUnpacker state;
    std::vector<uint32_t> pieces;
    size_t pos = 0;
    while (pieces.size() < 8) {
        uint32_t room[3];
        size_t used = 0;
        size_t n = RunUnpack(&state, data.data() + pos, pos < data.size() ? 1 : 0, &used, room, 3);
        pieces.insert(pieces.end(), room, room + n);
        pos += used;
        ASSERT_LE(pos, data.size());
        if (!n && !used) break;
    }
    EXPECT_EQ(pieces, out);
    // Data that ends inside a pixel, or before enough pixels, is short.
    EXPECT_EQ(Decode(data, data.size() - 1, out.data(), 8), -1);
    EXPECT_EQ(Decode(data, data.size(), out.data(), 9), -1);
}

TEST(RunLength, RandomImagesRoundTrip) {
    for (uint32_t seed = 1; seed <= 30; seed++) {
        int width = 1 + int(seed * 37 % 300), height = 1 + int(seed % 7);
        std::vector<uint32_t> image =
            RandomPixels(size_t(width) * height, seed, seed % 4 == 0 ? 0 : int(seed % 5 + 1));
        Collector c;
        int64_t n = WriteRunRows(c.Sink(), image.data(), width, height, ProjectFlushAt(width));
        ASSERT_EQ(n, int64_t(c.Data.size()));
        ASSERT_LE(c.Data.size(), PackRowBound(size_t(width)) * height);
        std::vector<uint32_t> back(image.size());
        ASSERT_EQ(Decode(c.Data, c.Data.size(), back.data(), back.size()), n) << "seed " << seed;
        ASSERT_EQ(back, image) << "seed " << seed;
        // The store's strict decoder agrees, and finds no unit crossing a row.
        EXPECT_EQ(CheckRect(c.Data.data(), c.Data.size(), width, height), 1);
        // Where the last pixel differs from what follows, a row is the store's own code.
        Bytes store(PackBound(size_t(width)));
        store.resize(PackRun(image.data(), size_t(width), store.data()));
        EXPECT_EQ(
            Pack(std::vector<uint32_t>(image.begin(), image.begin() + width), ~image[size_t(width) - 1]),
            store);
    }
}

TEST(Lzw, ShortStreamsAreByteExact) {
    Collector c;
    const uint8_t ab[] = {'A', 'B'};
    EXPECT_EQ(WriteLzw(c.Sink(), ab, 2), 5);
    EXPECT_EQ(c.Data, (Bytes{0x00, 0x83, 0x08, 0x09, 0x08})); // clear, 65, 66, end
    // AAAA: the second code is the one the decoder has not made yet.
    Collector k;
    const uint8_t aaaa[] = {'A', 'A', 'A', 'A'};
    WriteLzw(k.Sink(), aaaa, 4);
    EXPECT_EQ(k.Data, (Bytes{0x00, 0x83, 0x08, 0x0c, 0x12, 0x10})); // clear, 65, 258, 65, end
    uint8_t out[4];
    EXPECT_EQ(UnpackLzw(k.Data.data(), k.Data.size(), out, 4), 5) << "the end code isn't needed";
    EXPECT_EQ(std::memcmp(out, aaaa, 4), 0);
    Collector empty;
    EXPECT_EQ(WriteLzw(empty.Sink(), nullptr, 0), 3); // clear and end
}

TEST(Lzw, WidthsGrowAndTheTableClearsWhereTheDecoderExpects) {
    // Random bytes fill the table quickly: every width and several clears are met.
    for (uint32_t seed : {1u, 2u}) {
        std::vector<uint32_t> words = RandomPixels(40000, seed, seed == 1 ? 0 : 3);
        const auto* data = reinterpret_cast<const uint8_t*>(words.data());
        size_t size = words.size() * 4;
        Collector c;
        int64_t written = WriteLzw(c.Sink(), data, size);
        ASSERT_EQ(written, int64_t(c.Data.size()));
        for (size_t i = 0; i + 1 < c.Writes.size(); i++) EXPECT_EQ(c.Writes[i], LZW_BLOCK);
        EXPECT_LE(c.Writes.back(), LZW_BLOCK);
        std::vector<uint8_t> back(size + 1);
        // The last data code ends within the last two bytes; the end code follows it.
        EXPECT_GE(UnpackLzw(c.Data.data(), c.Data.size(), back.data(), size), written - 2);
        EXPECT_EQ(UnpackLzw(c.Data.data(), c.Data.size(), back.data(), size + 1), -1);
        EXPECT_EQ(std::memcmp(back.data(), data, size), 0) << "seed " << seed;
    }
}

TEST(Lzw, DamagedStreamsStopCleanly) {
    uint8_t out[16];
    // A first code after a clear that is no byte.
    const uint8_t notByte[] = {0x00, 0x07, 0x02, 0x00}; // clear, 259
    EXPECT_EQ(UnpackLzw(notByte, sizeof notByte, out, 2), -1);
    // A code beyond the next free one.
    Bytes packed = {0x00, 0x83, 0x08, 0x09, 0x08};
    packed[3] |= 0x07; // the second code becomes 450
    EXPECT_EQ(UnpackLzw(packed.data(), packed.size(), out, 2), -1);
    // An end before the data asked for; data cut short.
    const uint8_t ab[] = {0x00, 0x83, 0x08, 0x09, 0x08};
    EXPECT_EQ(UnpackLzw(ab, sizeof ab, out, 3), -1);
    EXPECT_EQ(UnpackLzw(ab, 2, out, 2), -1);
    EXPECT_EQ(UnpackLzw(ab, sizeof ab, out, 2), 4) << "the bytes wanted need not reach the end code";
}

// GIF's image data is this very code, so an outside GIF decoder checks our encoder
// byte for byte: any slip in widths or clears would show as wrong pixels.
TEST(Lzw, AnOutsideGifDecoderReadsOurCodes) {
    if (!ToolAvailable("convert")) GTEST_SKIP() << "ImageMagick's convert is not installed";
    const int width = 256, height = 160;
    std::vector<uint32_t> words = RandomPixels(size_t(width) * height / 4, 11, 0);
    for (size_t i = 0; i < words.size(); i += 9) words[i] = 0; // some runs too
    const auto* data = reinterpret_cast<const uint8_t*>(words.data());
    Collector c;
    WriteLzw(c.Sink(), data, size_t(width) * height);
    Bytes gif = {'G',        'I',          'F',         '8',  '9', 'a', width & 255,
                 width >> 8, height & 255, height >> 8, 0xf7, 0,   0};
    for (int i = 0; i < 256; i++) gif.insert(gif.end(), {uint8_t(i), uint8_t(i), uint8_t(i)});
    gif.insert(gif.end(), {0x2c, 0, 0, 0, 0, width & 255, width >> 8, height & 255, height >> 8, 0, 8});
    for (size_t at = 0; at < c.Data.size(); at += 255) {
        size_t n = std::min<size_t>(255, c.Data.size() - at);
        gif.push_back(uint8_t(n));
        gif.insert(gif.end(), c.Data.begin() + long(at), c.Data.begin() + long(at + n));
    }
    gif.insert(gif.end(), {0, 0x3b});
    std::string path = TestPath("lzw.gif");
    WriteBytes(path, gif);
    int status = 0;
    Bytes grey = RunCommand("convert '" + path + "' -depth 8 gray:- 2>/dev/null", &status);
    ASSERT_EQ(status, 0);
    ASSERT_EQ(grey.size(), size_t(width) * height);
    EXPECT_EQ(std::memcmp(grey.data(), data, grey.size()), 0);
}
