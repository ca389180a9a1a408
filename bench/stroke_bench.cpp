// Stroke latency: the time from a pointer sample to the refreshed rectangle reaching the
// platform's blit, for a radius 25 airbrush under a moving pointer, through the whole
// path (the headless queue, a pass of the main loop, the freehand tool, its arcs, the
// dabs into the wet buffer, the wet refresh of the page, compose and blit), beside the
// bare cost of the same dabs alone, measured in the same run. One iteration is one
// sample, so the time column is the latency of a sample.
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "paint/colour.h"
#include "paint/draw_modes.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "store/bitmap.h"

#include <benchmark/benchmark.h>

#include <cmath>

using namespace nemu;

namespace {

constexpr int W = 1920, H = 1080, Margin = 20;
constexpr int Radius = 25;
constexpr double SampleSpacing = 6; // pixels between samples: 750 pixels a second at 125 Hz

bool OpenPage() {
    if (!Screen && (!PlatformOpen(BACKEND_HEADLESS, W + 2 * Margin, H + 2 * Margin) || !ScreenOpen()))
        return false;
    if (PageWidth != W || PageHeight != H || !BackPage) {
        if (!ResizePageBuffers(W, H)) return false;
    }
    PageNotReady = 0;
    PageX = PageY = Margin;
    ClearBitmap(Page, 0xFFFFFFFF);
    CopyBitmap(Page, BackPage);
    DrainInput();
    return true;
}

void UseAirbrush() {
    PenSettings& s = MediaPens[PenAirbrush];
    s.Size = Radius + 1; // the soft dab's radius is Size - 1
    s.Power = 255;
    s.PressureOn = s.SpeedOn = 0; // the speed's pressure would tie the dabs to the clock
    SetPen(PenAirbrush);
    DrawMode = 0;
}

// A zigzag over the page, one sample every SampleSpacing pixels.
struct Zigzag {
    double X = 100, Y = 100, DX = SampleSpacing * 0.96, DY = SampleSpacing * 0.28;
    void Next() {
        X += DX, Y += DY;
        if (X < 60 || X > W - 60) DX = -DX, X += 2 * DX;
        if (Y < 60 || Y > H - 60) DY = -DY, Y += 2 * DY;
    }
};

// Counts what reaches the blit, so that the figure shows the whole path ran.
int64_t Blits = 0, BlitPixels = 0;
void CountingBlit(const Bitmap* bitmap, int sx, int sy, ScreenRecord* screen, int dx, int dy, int w, int h) {
    ++Blits;
    BlitPixels += int64_t(w) * h;
    Blit32(bitmap, sx, sy, screen, dx, dy, w, h);
}

void BM_StrokeLatency(benchmark::State& state) {
    if (!OpenPage()) {
        state.SkipWithError("no headless screen");
        return;
    }
    UseAirbrush();
    SelectToolMode(TOOL_FREEHAND);
    Zigzag path;
    HeadlessQueuePointer(int(path.X) + Margin, int(path.Y) + Margin, WM_LBUTTONDOWN);
    MainLoopPass();
    Blits = BlitPixels = 0;
    BlitToScreen = CountingBlit;
    for (auto _ : state) {
        path.Next();
        HeadlessQueuePointer(int(path.X) + Margin, int(path.Y) + Margin);
        MainLoopPass();
    }
    BlitToScreen = Blit32;
    HeadlessQueuePointer(int(path.X) + Margin, int(path.Y) + Margin, WM_LBUTTONUP);
    MainLoopPass();
    const double n = double(state.iterations());
    state.counters["blits/sample"] = double(Blits) / n;
    state.counters["px shown/sample"] = double(BlitPixels) / n;
}

// The dabs the freehand stroke above lays, every Step pixels along the same path, with
// nothing else: no arcs, no refresh, no screen.
void BM_StrokeDabsAlone(benchmark::State& state) {
    if (!OpenPage()) {
        state.SkipWithError("no headless screen");
        return;
    }
    UseAirbrush();
    Stamp* s = CurrentStamp;
    StampFn dab = SelectStamp(s, 0);
    const double step = std::max(Step, 0) + 1;
    Zigzag path;
    double carried = 0; // path walked since the last dab
    int64_t dabs = 0;
    for (auto _ : state) {
        const double x0 = path.X, y0 = path.Y;
        path.Next();
        const double length = std::hypot(path.X - x0, path.Y - y0);
        for (double d = step - carried; d <= length; d += step, ++dabs) {
            const double t = d / length;
            dab(s, Page, int32_t(x0 + t * (path.X - x0)) - s->HandleX,
                int32_t(y0 + t * (path.Y - y0)) - s->HandleY, APen, 0, 255);
        }
        carried = std::fmod(carried + length, step);
        benchmark::ClobberMemory();
    }
    state.counters["dabs/sample"] = double(dabs) / double(state.iterations());
    ClearWet();
}

} // namespace

BENCHMARK(BM_StrokeLatency)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_StrokeDabsAlone)->Unit(benchmark::kMicrosecond);
