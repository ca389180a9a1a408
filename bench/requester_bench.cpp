// The file requester on a folder of 2,000 PNG pictures: the time from the call to the
// first drawn list (the folder read and sorted, the panel made and shown), and apart from
// it the time the idle slices take to fill in the previews of the rows in view.
#include "files/png_format.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "store/bitmap.h"
#include "ui/file_requester.h"
#include "ui/file_requester_panel.h"
#include "ui/window.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/stat.h>

using namespace nemu;

namespace {

constexpr int FolderPictures = 2000;

bool OpenScreen() {
    static bool open = false;
    if (open) return true;
    if (!PlatformOpen(BACKEND_HEADLESS, 1280, 1024) || !ScreenOpen() || !ResizePageBuffers(800, 600)) return false;
    PageNotReady = 0;
    open = true;
    return true;
}

// A folder of small PNG pictures of different colours, made once per run.
const char* PictureFolder() {
    static std::string folder;
    if (!folder.empty()) return folder.c_str();
    const char* tmp = std::getenv("TMPDIR");
    folder = std::string(tmp && *tmp ? tmp : "/tmp") + "/nemu-bench-requester";
    mkdir(folder.c_str(), 0755);
    Bitmap* b = NewBitmap(160, 120);
    for (int i = 0; i < FolderPictures; i++) {
        char name[64];
        std::snprintf(name, sizeof name, "/shot%04d.png", i);
        std::string path = folder + name;
        struct stat st{};
        if (stat(path.c_str(), &st) == 0) continue;
        ClearBitmap(b, 0xFF000000u | uint32_t(i) * 2654435761u >> 8);
        WritePng(path.c_str(), b);
    }
    FreeBitmap(b);
    return folder.c_str();
}

void BM_RequesterFirstList(benchmark::State& state) {
    if (!OpenScreen()) return state.SkipWithError("no screen");
    FileRequest* request = FileRequestNew(PictureFolder());
    FileRequestSetPattern(request, "*.png");
    char out[FilePathSize];
    for (auto _ : state) {
        RequesterPanel* panel = RequesterOpen(request, out, sizeof out, "Open");
        if (!panel) return state.SkipWithError("no panel");
        benchmark::DoNotOptimize(panel->List.Count);
        state.PauseTiming();
        RequesterClose(panel, 0);
        state.ResumeTiming();
    }
    state.counters["files"] = FolderPictures;
    FileRequestFree(request);
}
BENCHMARK(BM_RequesterFirstList)->Unit(benchmark::kMillisecond)->MinTime(1.0);

// The idle slices that follow: until every row in view has its preview.
void BM_RequesterPreviewsFilled(benchmark::State& state) {
    if (!OpenScreen()) return state.SkipWithError("no screen");
    FileRequest* request = FileRequestNew(PictureFolder());
    FileRequestSetPattern(request, "*.png");
    char out[FilePathSize];
    int slices = 0;
    for (auto _ : state) {
        state.PauseTiming();
        RequesterPanel* panel = RequesterOpen(request, out, sizeof out, "Open");
        if (!panel) return state.SkipWithError("no panel");
        state.ResumeTiming();
        slices = 0;
        do {
            RequesterIdle(panel);
            slices++;
        } while (panel->PreviewsPending && slices < 1000);
        state.PauseTiming();
        RequesterClose(panel, 0);
        state.ResumeTiming();
    }
    state.counters["idle_slices"] = slices;
    FileRequestFree(request);
}
BENCHMARK(BM_RequesterPreviewsFilled)->Unit(benchmark::kMillisecond);

} // namespace
