// A recorded stroke replayed through every pen, draw mode, button and anti-alias setting;
// each result is hashed and compared with tests/paint/data/stroke_hashes.txt. A change of
// results that is meant is recorded with NEMU_UPDATE_HASHES=1.
#include <cstdio>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "paint/colour.h"
#include "paint/panto.h"
#include "paint/stamp_kernels.h"
#include "paint_fixture.h"

namespace nemu {
namespace {

struct Sample {
    int32_t X, Y, Pressure; // page pixels in 24.8, pressure 0..255
};
// A short wavy freehand stroke with a pressure swell, from a tablet recording.
const Sample Recorded[] = {
    {6 << 8, 20 << 8, 40},   {9 << 8, 17 << 8, 90},   {14 << 8, 12 << 8, 160}, {20 << 8, 10 << 8, 220},
    {27 << 8, 13 << 8, 255}, {31 << 8, 19 << 8, 230}, {36 << 8, 24 << 8, 180}, {42 << 8, 22 << 8, 120},
    {45 << 8, 15 << 8, 70},  {46 << 8, 15 << 8, 60},  {46 << 8, 15 << 8, 60},
};

class StrokeReplay : public test::PaintPage {
  protected:
    void Prepare(int pen, int mode, int aa) {
        MakePage(52, 32, 0);
        for (int y = 0; y < 32; ++y)
            for (int x = 0; x < 52; ++x) {
                uint32_t a = uint32_t(x * 5), c = a * uint32_t(y * 8) / 255;
                At(x, y) = (a << 24) | (c << 16) | ((a / 2) << 8) | (x % 7 ? 0 : a);
            }
        CopyBitmap(Page, BackPage);
        SparePage = NewBitmap(52, 32);
        for (int i = 0; i < 52 * 32; ++i) SparePage->Pixels[i] = (i * 2654435761u) | 0xFF000000u;
        PantoX = -5, PantoY = 3;
        APen = 0xFF2080E0;
        std::srand(1);
        ChalkSeed = 4657;
        MediaPens[PenOil].Bristle = 1;
        RoundPen.PenMaxSize = 6;
        SetPen(pen);
        DrawMode = mode;
        ColourChanged();
        AntiAlias = aa;
        MakeColorizeRamp();
        MakeTintHue();
    }
    void Replay(int32_t useBPen) {
        uint32_t colour = useBPen ? BPen : APen;
        const Stamp* s = CurrentStamp;
        auto top = [&](const Sample& v, int k) {
            return (k ? v.Y : v.X) - ((k ? s->HandleY : s->HandleX) << 8);
        };
        Sample p0 = Recorded[0], p1 = Recorded[0];
        bool first = true;
        for (const Sample& v : Recorded) {
            Sample m = {(p1.X + v.X) / 2, (p1.Y + v.Y) / 2, (p1.Pressure + v.Pressure) / 2};
            const int32_t pts[6] = {top(p0, 0), top(p0, 1), top(p1, 0), top(p1, 1), top(m, 0), top(m, 1)};
            const int32_t sizes[3] = {p0.Pressure, p1.Pressure, m.Pressure};
            const int32_t ops[3] = {p0.Pressure, p1.Pressure, m.Pressure};
            PaintCurve(CurrentStamp, pts, colour, useBPen, first, sizes, ops);
            first = false;
            p0 = m, p1 = v;
        }
        FlushRefresh();
        SelectRefresh(CurrentStamp, useBPen)(Page, 0, 0, Page->Width, Page->Height);
    }
};

std::string HashFile() {
    return std::string(NEMU_SOURCE_DIR) + "/tests/paint/data/stroke_hashes.txt";
}

TEST_F(StrokeReplay, EveryPenAndModeGivesItsRecordedResult) {
    std::map<std::string, std::string> expected;
    {
        std::ifstream in(HashFile());
        std::string key, hash;
        while (in >> key >> hash) expected[key] = hash;
    }
    const bool update = std::getenv("NEMU_UPDATE_HASHES") != nullptr;
    std::ostringstream written;
    int checked = 0;
    for (int pen = PenRound; pen <= PenWater; ++pen)
        for (int mode = 0; mode < 18; ++mode) {
            if (mode == 10) continue;
            for (int aa = 0; aa < 2; ++aa)
                for (int bpen = 0; bpen < 2; ++bpen) {
                    Prepare(pen, mode, aa);
                    const uint32_t blank = Hash();
                    Replay(bpen);
                    // A one-pixel pointe smears each pixel with its own average: no change.
                    if (!(pen == PenPointe && mode == 6 && !bpen))
                        EXPECT_NE(Hash(), blank)
                            << "pen " << pen << " mode " << mode << " aa " << aa << " b " << bpen;
                    char key[64], hash[16];
                    std::snprintf(key, sizeof key, "pen%d-mode%d-aa%d-b%d", pen, mode, aa, bpen);
                    std::snprintf(hash, sizeof hash, "%08x", Hash());
                    written << key << " " << hash << "\n";
                    if (update) continue;
                    auto it = expected.find(key);
                    ASSERT_NE(it, expected.end())
                        << key << " has no recorded hash; run with NEMU_UPDATE_HASHES=1";
                    EXPECT_EQ(it->second, hash) << key;
                    ++checked;
                }
        }
    if (update) {
        std::ofstream(HashFile()) << written.str();
        GTEST_SKIP() << "hashes written to " << HashFile();
    }
    EXPECT_EQ(checked, 8 * 17 * 4);
}

TEST_F(StrokeReplay, PlainAndVectorKernelsPaintTheSameStrokes) {
    for (int pen : {PenRound, PenAirbrush, PenChalk})
        for (int mode : {0, 1, 6, 13}) {
            uint32_t hashes[2];
            for (int plain = 0; plain < 2; ++plain) {
                PlainKernels = plain;
                Prepare(pen, mode, 1);
                WetMode = 0; // dry stamps, where the vector kernel runs
                Replay(0);
                hashes[plain] = Hash();
            }
            EXPECT_EQ(hashes[0], hashes[1]) << "pen " << pen << " mode " << mode;
        }
    PlainKernels = -1;
}

} // namespace
} // namespace nemu
