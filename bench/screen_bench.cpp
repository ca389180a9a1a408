// Full-screen compose and blit of a 1920 by 1080 page into the headless screen, beside a
// plain memcpy of the same bytes measured in the same run: the ratio says how far the
// compose stands from the memory bandwidth.
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "store/bitmap.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <vector>

using namespace nemu;

namespace {

constexpr int W = 1920, H = 1080;

bool OpenScreen() {
    static bool open = false;
    if (open) return true;
    if (!PlatformOpen(BACKEND_HEADLESS, W + 40, H + 40) || !ScreenOpen() || !ResizePageBuffers(W, H))
        return false;
    PageNotReady = 0;
    PageX = PageY = 20;
    open = true;
    return true;
}

// Megapixels a second of a plain copy of one page, timed here in the same process.
double MemcpyRate() {
    static double rate = 0;
    if (rate > 0) return rate;
    std::vector<uint32_t> from(size_t(W) * H, 0x80402010), to(size_t(W) * H);
    auto start = std::chrono::steady_clock::now();
    int rounds = 0;
    double seconds = 0;
    do {
        std::memcpy(to.data(), from.data(), from.size() * 4);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
        rounds++;
        seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    } while (seconds < 0.5);
    rate = double(W) * H * rounds / seconds / 1e6;
    return rate;
}

void Report(benchmark::State& state, double seconds) {
    double rate = double(W) * H * double(state.iterations()) / seconds / 1e6;
    state.counters["MPix/s"] = rate;
    state.counters["memcpy_MPix/s"] = MemcpyRate();
    state.counters["vs_memcpy"] = rate / MemcpyRate();
}

void ComposePage(benchmark::State& state, uint32_t pixel, uint32_t flags) {
    if (!OpenScreen()) {
        state.SkipWithError("no headless screen");
        return;
    }
    MemcpyRate();
    // A soft gradient of alpha over the page, or one opaque colour.
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++) {
            uint32_t a = pixel >> 24 == 255 ? 255 : uint32_t((x + y) & 255);
            uint32_t c = a / 2;
            Page->Pixels[size_t(y) * W + x] = pixel >> 24 == 255 ? pixel : a << 24 | c << 16 | c << 8 | c;
        }
    DisplayFlags = flags;
    auto start = std::chrono::steady_clock::now();
    for (auto _ : state) {
        ShowPageRect(Page, 0, 0, Screen, 0, 0, W, H);
        benchmark::DoNotOptimize(HeadlessScreen()->Pixels);
        benchmark::ClobberMemory();
    }
    Report(state, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
}

void BM_ComposeAlphaOverCheck(benchmark::State& state) {
    ComposePage(state, 0x80404040, DISPLAY_OVER_CHECK);
}
void BM_ComposeOpaqueOverCheck(benchmark::State& state) {
    ComposePage(state, 0xFF336699, DISPLAY_OVER_CHECK);
}
void BM_BlitOpaqueDirect(benchmark::State& state) {
    ComposePage(state, 0xFF336699, 33);
}

void BM_MemcpyPage(benchmark::State& state) {
    std::vector<uint32_t> from(size_t(W) * H, 1), to(size_t(W) * H);
    auto start = std::chrono::steady_clock::now();
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), from.size() * 4);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    Report(state, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
}

} // namespace

BENCHMARK(BM_MemcpyPage)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ComposeAlphaOverCheck)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ComposeOpaqueOverCheck)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BlitOpaqueDirect)->Unit(benchmark::kMillisecond);
