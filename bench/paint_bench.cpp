// Dab throughput: soft round airbrush dabs of radius 12, 25 and 50 along a long stroke over
// a 1920 by 1080 page, beside libmypaint drawing round dabs of the same radius, hardness
// 0.5 and opacity 1 on its fixed tiled surface, in the same run.
//
// Both sides report dabs per second and megapixels of dab area (pi r^2 per dab) per
// second. "plain" is the engine with its reference loops forced, for the vector gain.
#include <benchmark/benchmark.h>
#include <cmath>
#include <vector>

extern "C" {
#include <mypaint-fixed-tiled-surface.h>
#include <mypaint-surface.h>
}

#include "host/main_loop.h"
#include "paint/draw_modes.h"
#include "paint/pens.h"
#include "paint/stamp_kernels.h"
#include "paint/tools.h"
#include "store/bitmap.h"

namespace {

constexpr int PageW = 1920, PageH = 1080;

struct DabCentre {
    float X, Y;
};

// A zigzag across the whole page with dabs a quarter radius apart, as a stepped airbrush
// stroke lays them.
std::vector<DabCentre> StrokePath(int radius) {
    std::vector<DabCentre> path;
    const float spacing = std::max(1.0f, radius / 4.0f);
    float x = radius, y = radius, dx = spacing * 0.96f, dy = spacing * 0.28f;
    while (path.size() < 4000) {
        path.push_back({x, y});
        x += dx, y += dy;
        if (x < radius || x > PageW - radius) dx = -dx, x += 2 * dx;
        if (y < radius || y > PageH - radius) dy = -dy, y += 2 * dy;
    }
    return path;
}

void Report(benchmark::State& state, size_t dabs, int radius) {
    const double per = double(dabs) * state.iterations();
    state.counters["dabs/s"] = benchmark::Counter(per, benchmark::Counter::kIsRate);
    state.counters["Mpx/s"] =
        benchmark::Counter(per * M_PI * radius * radius / 1e6, benchmark::Counter::kIsRate);
}

void NemuDabs(benchmark::State& state, bool plain) {
    using namespace nemu;
    const int radius = int(state.range(0));
    Page = PageBase = NewClearBitmap(PageW, PageH);
    PageWidth = PageW, PageHeight = PageH;
    PlainKernels = plain ? 1 : 0;
    MediaPens[PenAirbrush].Size = radius + 1; // the soft dab's radius is Size - 1
    MediaPens[PenAirbrush].Power = 255;
    SetPen(PenAirbrush);
    DrawMode = 0;
    Stamp* s = CurrentStamp;
    StampFn dab = SelectStamp(s, 0); // no undo copy: the dry soft colour of the airbrush
    const std::vector<DabCentre> path = StrokePath(radius);
    for (auto _ : state) {
        for (const DabCentre& c : path)
            dab(s, Page, int32_t(c.X) - s->HandleX, int32_t(c.Y) - s->HandleY, 0xFF3060C0, 0, 255);
        benchmark::ClobberMemory();
    }
    Report(state, path.size(), radius);
    FreeStamp(CurrentStamp);
    CurrentStamp = nullptr;
    FreeBitmap(Page);
    Page = PageBase = nullptr;
    PlainKernels = -1; // back to the environment's choice, for every benchmark after this one
}

void BM_NemuAirbrush(benchmark::State& state) {
    NemuDabs(state, false);
}
void BM_NemuAirbrushPlain(benchmark::State& state) {
    NemuDabs(state, true);
}

void BM_LibMyPaint(benchmark::State& state) {
    const int radius = int(state.range(0));
    MyPaintFixedTiledSurface* fixed = mypaint_fixed_tiled_surface_new(PageW, PageH);
    MyPaintSurface* surface = mypaint_fixed_tiled_surface_interface(fixed);
    const std::vector<DabCentre> path = StrokePath(radius);
    for (auto _ : state) {
        mypaint_surface_begin_atomic(surface);
        for (const DabCentre& c : path)
            mypaint_surface_draw_dab(surface, c.X, c.Y, float(radius), 0.19f, 0.38f, 0.75f, 1.0f, 0.5f, 1.0f,
                                     1.0f, 0.0f, 0.0f, 0.0f);
        MyPaintRectangle roi;
        mypaint_surface_end_atomic(surface, &roi);
        benchmark::DoNotOptimize(roi);
    }
    Report(state, path.size(), radius);
    mypaint_surface_unref(surface);
}

} // namespace

BENCHMARK(BM_NemuAirbrush)->Arg(12)->Arg(25)->Arg(50)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_NemuAirbrushPlain)->Arg(12)->Arg(25)->Arg(50)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LibMyPaint)->Arg(12)->Arg(25)->Arg(50)->Unit(benchmark::kMillisecond);

