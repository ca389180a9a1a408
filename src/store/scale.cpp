// The filtered form is separable: each axis has a table of taps (first source index, and
// 12-bit weights that sum to 4096) per target index. A target row gathers its source
// rows, each scaled across first into a row of 16-bit channels (8 bits of fraction kept),
// then weighted down the column.
#include "store/scale.h"

#include "store/bitmap.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <vector>

namespace nemu {

namespace {

constexpr int WeightBits = 12;
constexpr uint32_t WeightOne = 1u << WeightBits;

struct Taps {
    std::vector<int32_t> First; // first source index of each target index
    std::vector<int32_t> Count; // taps of each target index
    std::vector<int32_t> Start; // where its weights begin in Weights
    std::vector<uint16_t> Weights;
};

// Weights of one target pixel, normalised so that they sum to exactly WeightOne; the
// rounding error goes to the largest weight.
void PushWeights(Taps& t, int32_t first, const std::vector<double>& w) {
    double sum = 0;
    for (double v : w) sum += v;
    t.First.push_back(first);
    t.Count.push_back(int32_t(w.size()));
    t.Start.push_back(int32_t(t.Weights.size()));
    uint32_t total = 0;
    size_t largest = 0;
    for (size_t i = 0; i < w.size(); i++) {
        uint32_t q = uint32_t(w[i] / sum * WeightOne + 0.5);
        t.Weights.push_back(uint16_t(q));
        total += q;
        if (w[i] > w[largest]) largest = i;
    }
    size_t at = t.Weights.size() - w.size() + largest;
    t.Weights[at] = uint16_t(int32_t(t.Weights[at]) + int32_t(WeightOne) - int32_t(total));
}

// Shrinking averages the covered area; growing interpolates between the two nearest
// source pixels, with the picture's edge pixels held beyond it.
bool MakeTaps(int32_t from, int32_t to, Taps& t) {
    try {
        std::vector<double> w;
        for (int32_t d = 0; d < to; d++) {
            w.clear();
            if (to <= from) {
                double a = double(d) * from / to, b = double(d + 1) * from / to;
                int32_t first = int32_t(a);
                for (int32_t s = first; s < from && s < b; s++)
                    w.push_back(std::min<double>(b, s + 1) - std::max<double>(a, s));
                PushWeights(t, first, w);
            } else {
                double x = (d + 0.5) * from / to - 0.5;
                if (x < 0) x = 0;
                int32_t first = int32_t(x);
                if (first >= from - 1) {
                    PushWeights(t, from - 1, {1.0});
                } else {
                    double f = x - first;
                    PushWeights(t, first, {1.0 - f, f});
                }
            }
        }
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

void ScaleFast(const Bitmap* s, Bitmap* d) {
    // 16.16 steps from the first pixel's left edge, as the row and column indexes x * s / d.
    const int64_t stepX = (int64_t(s->Width) << 16) / d->Width;
    for (int32_t y = 0; y < d->Height; y++) {
        const uint32_t* in = s->Pixels + size_t(int64_t(y) * s->Height / d->Height) * size_t(s->Width);
        uint32_t* out = d->Pixels + size_t(y) * size_t(d->Width);
        int64_t at = 0;
        for (int32_t x = 0; x < d->Width; x++, at += stepX) out[x] = in[at >> 16];
    }
}

// One source row across: channels times 256, in 16 bits.
void ScaleAcross(const uint32_t* in, const Taps& t, int32_t width, uint16_t* out) {
    for (int32_t x = 0; x < width; x++) {
        const uint32_t* p = in + t.First[size_t(x)];
        const uint16_t* w = &t.Weights[size_t(t.Start[size_t(x)])];
        uint32_t c0 = 0, c1 = 0, c2 = 0, c3 = 0;
        for (int32_t k = 0; k < t.Count[size_t(x)]; k++) {
            uint32_t v = p[k], q = w[k];
            c0 += (v & 255) * q;
            c1 += ((v >> 8) & 255) * q;
            c2 += ((v >> 16) & 255) * q;
            c3 += (v >> 24) * q;
        }
        uint16_t* o = out + 4 * size_t(x);
        constexpr int Shift = WeightBits - 8;
        o[0] = uint16_t((c0 + (1 << (Shift - 1))) >> Shift);
        o[1] = uint16_t((c1 + (1 << (Shift - 1))) >> Shift);
        o[2] = uint16_t((c2 + (1 << (Shift - 1))) >> Shift);
        o[3] = uint16_t((c3 + (1 << (Shift - 1))) >> Shift);
    }
}

int ScaleFiltered(const Bitmap* s, Bitmap* d) {
    Taps across, down;
    if (!MakeTaps(s->Width, d->Width, across) || !MakeTaps(s->Height, d->Height, down)) return 0;
    size_t channels = 4 * size_t(d->Width);
    auto* row = static_cast<uint16_t*>(std::malloc(channels * sizeof(uint16_t)));
    auto* sum = static_cast<uint32_t*>(std::malloc(channels * sizeof(uint32_t)));
    if (!row || !sum) {
        std::free(row);
        std::free(sum);
        return 0;
    }
    for (int32_t y = 0; y < d->Height; y++) {
        std::fill_n(sum, channels, 0u);
        const uint16_t* w = &down.Weights[size_t(down.Start[size_t(y)])];
        for (int32_t k = 0; k < down.Count[size_t(y)]; k++) {
            ScaleAcross(s->Pixels + size_t(down.First[size_t(y)] + k) * size_t(s->Width), across, d->Width,
                        row);
            uint32_t q = w[k];
            for (size_t c = 0; c < channels; c++) sum[c] += row[c] * q;
        }
        uint32_t* out = d->Pixels + size_t(y) * size_t(d->Width);
        constexpr int Shift = WeightBits + 8;
        for (int32_t x = 0; x < d->Width; x++) {
            const uint32_t* c = sum + 4 * size_t(x);
            uint32_t b = (c[0] + (1u << (Shift - 1))) >> Shift, g = (c[1] + (1u << (Shift - 1))) >> Shift;
            uint32_t r = (c[2] + (1u << (Shift - 1))) >> Shift, a = (c[3] + (1u << (Shift - 1))) >> Shift;
            out[x] = a << 24 | r << 16 | g << 8 | b;
        }
    }
    std::free(row);
    std::free(sum);
    return 1;
}

} // namespace

int ScaleBitmap(const Bitmap* source, Bitmap* target, bool filtered) {
    if (!source || !target || source->Width < 1 || source->Height < 1 || target->Width < 1 ||
        target->Height < 1)
        return 0;
    if (source->Width == target->Width && source->Height == target->Height) {
        CopyBitmap(source, target);
        return 1;
    }
    if (!filtered) {
        ScaleFast(source, target);
        return 1;
    }
    return ScaleFiltered(source, target);
}

} // namespace nemu
