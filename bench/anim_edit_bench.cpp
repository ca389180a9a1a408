// Long animations, measured:
// - edits in the middle of a 640 by 480 clip layer of 2,000 and of 20,000 images (insert
//   one image, clear two selected images, cut one, each followed by its undo), in
//   milliseconds per edit at both lengths, and the ratio of the two: an edit should cost
//   what it touches, not what the layer holds, so the ratio stays near 1;
// - the save and the load of a project whose one layer is 100,000 images sharing one
//   picture, which the file keeps as links to the first image.
#include "files/project_file.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "paint/draw_modes.h"
#include "project/layer_edit.h"
#include "project/layer_undo.h"
#include "project/layers.h"
#include "store/bitmap.h"
#include "store/cache_file.h"
#include "store/tile_store.h"
#include "store/undo.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <string>
#include <time.h>

namespace nemu {
namespace {

constexpr int PageW = 640, PageH = 480;
constexpr int DrawingEvery = 100; // images between two that differ from their neighbours

bool OpenAnimProject() {
    SetupTempDir();
    if (!OpenCache()) return false;
    TrimCache();
    BuildDrawTables();
    if (!PlatformOpen(BACKEND_HEADLESS, PageW, PageH) || !ScreenOpen()) return false;
    if (!ResizePageBuffers(PageW, PageH) || !InitLayers()) return false;
    PageNotReady = 0;
    PageX = PageY = 0;
    return true;
}

void CloseAnimProject() {
    ClearLayerUndo();
    FreeLayerClipboard();
    FreeLayers();
    ScreenClose();
    PlatformClose();
    FreeTilePools();
    CloseCache();
}

// One clip layer of count images: a background held all along, with a small figure drawn
// anew every DrawingEvery images, so that the layer holds both shared and own tiles.
bool BuildAnimLayer(int32_t count) {
    ClearBitmap(Page, 0xFFE8E0D0);
    FillBox(Page, 40, 40, 600, 80, 0xFF405070);
    MarkPageChanged();
    Layers[0].LastImage = count - 1;
    if (!MakeAnim(0, 1)) return false;
    for (int32_t t = DrawingEvery / 2; t < count; t += DrawingEvery) {
        SelectImage(t, 1);
        int x = 20 + t / DrawingEvery % 500;
        FillBox(Page, x, 200, x + 60, 260, 0xFFC04020);
        MarkPageChanged();
    }
    ClearLayerUndo();
    return SelectImage(count / 2, 1) != 0;
}

double ThreadSeconds() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

constexpr int EditsPerRound = 6;

// Insert, clear two, cut one, in the middle of the layer, each undone at once: the layer
// is as it was after the round.
bool EditRound() {
    const int32_t middle = (Layers[CurrentLayer].FirstImage + Layers[CurrentLayer].LastImage) / 2;
    bool ok = SelectImage(middle, 1) && InsertImages(CurrentLayer, 1) && LayerUndo();
    SelectImages(middle, 2);
    ok = ok && ClearImages(0) && LayerUndo();
    SelectImages(middle, 1);
    ok = ok && LayerCut() && LayerUndo();
    SelectionLength = 0;
    return ok;
}

// The fastest of several batches in this thread's processor time, the two lengths taking
// turns so that a slow spell of the machine does not land on one of them alone.
void BM_AnimEditRatio(benchmark::State& state) {
    const int32_t lengths[2] = {2000, 20000};
    double seconds[2] = {1e9, 1e9};
    for (auto _ : state) {
        for (int round = 0; round < 6; round++) {
            const int k = round % 2;
            if (!OpenAnimProject() || !BuildAnimLayer(lengths[k])) {
                state.SkipWithError("cannot build the layer");
                return;
            }
            if (!EditRound()) { // warm
                state.SkipWithError("an edit failed");
                return;
            }
            for (int batch = 0; batch < 4; batch++) {
                double start = ThreadSeconds();
                for (int n = 0; n < 5; n++) EditRound();
                seconds[k] = std::min(seconds[k], (ThreadSeconds() - start) / (5 * EditsPerRound));
            }
            if (Layers[0].Clip->ImageCount != lengths[k]) state.SkipWithError("the layer changed");
            CloseAnimProject();
        }
    }
    state.counters["ms per edit at 2000"] = seconds[0] * 1e3;
    state.counters["ms per edit at 20000"] = seconds[1] * 1e3;
    state.counters["ratio"] = seconds[1] / seconds[0];
}

// ---- A project of 100,000 linked images ----------------------------------------------------------

constexpr int32_t LinkedImages = 100000;

std::string LinkedProjectPath() {
    return TempDir + "bench-linked.nem";
}

void BM_LinkedProjectSave(benchmark::State& state) {
    if (!OpenAnimProject()) return state.SkipWithError("no project");
    ClearBitmap(Page, 0xFF80A0C0);
    MarkPageChanged();
    Layers[0].LastImage = LinkedImages - 1;
    if (!MakeAnim(0, 1)) return state.SkipWithError("cannot build the layer");
    for (auto _ : state)
        if (WriteProject(LinkedProjectPath().c_str()) != 0) return state.SkipWithError("save failed");
    CloseAnimProject();
}

void BM_LinkedProjectLoad(benchmark::State& state) {
    if (!OpenAnimProject()) return state.SkipWithError("no project");
    std::string path = LinkedProjectPath();
    if (std::FILE* f = std::fopen(path.c_str(), "rb"))
        std::fclose(f);
    else
        return state.SkipWithError("run BM_LinkedProjectSave first");
    for (auto _ : state)
        if (LoadProject(path.c_str(), 0, 0) != 0 || Layers[0].Clip->ImageCount != LinkedImages)
            return state.SkipWithError("load failed");
    state.counters["images"] = double(LinkedImages);
    CloseAnimProject();
    std::remove(path.c_str());
}

} // namespace
} // namespace nemu

BENCHMARK(nemu::BM_AnimEditRatio)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(nemu::BM_LinkedProjectSave)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(nemu::BM_LinkedProjectLoad)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();
