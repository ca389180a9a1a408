// The project file, measured beside libpng on the same frames in the same run:
// - saving and loading a 100-image 1920 by 1080 clip layer of painted frames with holds
//   (drawings on twos, a figure moving over a painted background that gains strokes), in
//   megabytes of raw pixels per second, with the file's size;
// - the same 100 frames written and read as a PNG sequence by libpng at levels 1 and 6,
//   with the sequence's size;
// - the load of that project to its first image on the screen.
// Files go to the program's temporary folder, on the disk the cache uses; saves include
// making the file durable.
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

#include <benchmark/benchmark.h>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <png.h>
#include <random>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace nemu {
namespace {

constexpr int W = 1920, H = 1080, Frames = 100;
constexpr double RawMB = double(W) * H * 4 * Frames / (1 << 20);

// ---- The project ---------------------------------------------------------------------------------

// Soft gradients, so that most pixels differ from their neighbours as in painted work,
// under discs of flat colour.
void PaintBackground(Bitmap* b) {
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++) {
            uint32_t r = uint32_t(128 + 100 * std::sin(x * 0.01 + y * 0.003));
            uint32_t g = uint32_t(128 + 100 * std::cos(y * 0.013));
            uint32_t bl = uint32_t((x + y) / 8 % 256);
            b->Pixels[size_t(y) * W + size_t(x)] = 0xFF000000u | r << 16 | g << 8 | bl;
        }
    std::mt19937 rng(5);
    for (int i = 0; i < 60; i++)
        DrawDisc(b, int(rng() % W), int(rng() % H), 10 + int(rng() % 60), 0xFF000000u | (rng() & 0xFFFFFF));
}

// A drawing: the background as it stands, a figure on a smooth path, its shading.
void Drawing(const Bitmap* background, Bitmap* frame, int n) {
    CopyBitmap(background, frame);
    double t = n * 0.02;
    int cx = int(W / 2 + (W / 2 - 150) * std::sin(t * 3.0)),
        cy = int(H / 2 + (H / 2 - 150) * std::sin(t * 2.0 + 1));
    DrawDisc(frame, cx, cy, 90, 0xFFE0C040);
    DrawDisc(frame, cx - 25, cy - 25, 30, 0xFFFFF0D0);
    DrawLine(frame, cx, cy + 90, cx - 60, cy + 140, 0xFF302010);
    DrawLine(frame, cx, cy + 90, cx + 60, cy + 140, 0xFF302010);
}

// One clip layer of Frames images: a new drawing every second image, held for the next;
// every ten drawings the background gains a stroke that stays.
bool BuildProject() {
    SetupTempDir();
    if (!OpenCache()) return false;
    TrimCache();
    BuildDrawTables();
    if (!PlatformOpen(BACKEND_HEADLESS, W, H) || !ScreenOpen()) return false;
    if (!ResizePageBuffers(W, H) || !InitLayers()) return false;
    PageNotReady = 0;
    PageX = PageY = 0;
    Bitmap* background = NewBitmap(W, H);
    Bitmap* frame = NewBitmap(W, H);
    if (!background || !frame) return false;
    PaintBackground(background);
    Clip* clip = NewClip("bench");
    std::mt19937 rng(9);
    for (int n = 0; n < Frames; n += 2) {
        if (n % 20 == 0)
            for (int k = 0; k < 40; k++)
                DrawDisc(background, 400 + n * 6 + k * 3, 900 - k * 4, 6, 0xFF000000u | (rng() & 0xFFFFFF));
        Drawing(background, frame, n);
        if (!clip->Ops.InsertImage(clip, frame, clip->ImageCount - 1, 0)) return false;
        if (!clip->Ops.DuplicateImage(clip, clip->ImageCount - 1)) return false;
    }
    FreeBitmap(background);
    FreeBitmap(frame);
    Layer* layer = &Layers[0];
    FreeLayerData(layer);
    layer->Clip = clip;
    layer->LastImage = Frames - 1;
    std::strcpy(layer->Name, "painted");
    StoredSerial = PageVersion;
    return SelectLayerImage(0, 0, 1) != nullptr;
}

void FreeProject() {
    FreeLayers();
    ScreenClose();
    PlatformClose();
    FreeTilePools();
    CloseCache();
}

double FileMB(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 ? double(info.st_size) / (1 << 20) : 0;
}

// ---- Save and load ---------------------------------------------------------------------------------

void BM_ProjectSave(benchmark::State& state) {
    if (!BuildProject()) return state.SkipWithError("cannot build the project");
    std::string path = TempDir + "bench.nem";
    for (auto _ : state)
        if (WriteProject(path.c_str()) != 0) return state.SkipWithError("save failed");
    state.counters["raw_MB_per_s"] =
        benchmark::Counter(RawMB * double(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["file_MB"] = FileMB(path);
    FreeProject();
}
BENCHMARK(BM_ProjectSave)->Unit(benchmark::kMillisecond)->MinTime(2.0)->UseRealTime();

void BM_ProjectLoad(benchmark::State& state) {
    if (!BuildProject()) return state.SkipWithError("cannot build the project");
    std::string path = TempDir + "bench.nem";
    if (WriteProject(path.c_str()) != 0) return state.SkipWithError("save failed");
    for (auto _ : state)
        if (LoadProject(path.c_str(), 0, 0) != 0 || Layers[0].Clip->ImageCount != Frames)
            return state.SkipWithError("load failed");
    state.counters["raw_MB_per_s"] =
        benchmark::Counter(RawMB * double(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["file_MB"] = FileMB(path);
    state.counters["tiles"] = TileUseCount;
    FreeProject();
}
BENCHMARK(BM_ProjectLoad)->Unit(benchmark::kMillisecond)->MinTime(2.0)->UseRealTime();

// From the call to the first image on the screen: what a user waits for opening a file.
void BM_ProjectLoadToFirstImage(benchmark::State& state) {
    if (!BuildProject()) return state.SkipWithError("cannot build the project");
    std::string path = TempDir + "bench.nem";
    if (WriteProject(path.c_str()) != 0) return state.SkipWithError("save failed");
    Bitmap* screen = HeadlessScreen();
    for (auto _ : state) {
        screen->Pixels[0] = 0x12345678;
        if (LoadProject(path.c_str(), 0, 0) != 0) return state.SkipWithError("load failed");
        RefreshAll();
        if (screen->Pixels[0] == 0x12345678) return state.SkipWithError("nothing shown");
    }
    FreeProject();
}
BENCHMARK(BM_ProjectLoadToFirstImage)->Unit(benchmark::kMillisecond)->MinTime(2.0)->UseRealTime();

// ---- libpng on the same frames ----------------------------------------------------------------------

struct PngSequence {
    std::vector<std::string> Paths;
    double Bytes = 0;
};

bool WritePngFrame(const std::string& path, const Bitmap* frame, int level) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) return false;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        std::fclose(file);
        return false;
    }
    png_init_io(png, file);
    png_set_compression_level(png, level);
    png_set_IHDR(png, info, W, H, 8, PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_bgr(png);
    std::vector<png_bytep> rows(H);
    for (int y = 0; y < H; y++) rows[size_t(y)] = reinterpret_cast<png_bytep>(frame->Pixels + size_t(y) * W);
    png_set_rows(png, info, rows.data());
    png_write_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
    png_destroy_write_struct(&png, &info);
    return std::fclose(file) == 0;
}

bool ReadPngFrame(const std::string& path, Bitmap* frame) {
    FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return false;
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_read_struct(&png, &info, nullptr);
        std::fclose(file);
        return false;
    }
    png_init_io(png, file);
    png_read_info(png, info);
    png_set_bgr(png);
    std::vector<png_bytep> rows(H);
    for (int y = 0; y < H; y++) rows[size_t(y)] = reinterpret_cast<png_bytep>(frame->Pixels + size_t(y) * W);
    png_read_image(png, rows.data());
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    return true;
}

// The frames come out of the clip outside the clock: only libpng's work is timed.
void BM_PngSequenceSave(benchmark::State& state) {
    if (!BuildProject()) return state.SkipWithError("cannot build the project");
    const int level = int(state.range(0));
    Bitmap* frame = NewBitmap(W, H);
    Clip* clip = Layers[0].Clip;
    double bytes = 0;
    for (auto _ : state) {
        double seconds = 0;
        bytes = 0;
        for (int n = 0; n < Frames; n++) {
            clip->Ops.ReadImage(clip, frame, n);
            std::string path = TempDir + "bench-" + std::to_string(n) + ".png";
            auto start = std::chrono::steady_clock::now();
            if (!WritePngFrame(path, frame, level)) return state.SkipWithError("libpng failed");
            seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            bytes += FileMB(path);
        }
        state.SetIterationTime(seconds);
    }
    state.counters["raw_MB_per_s"] =
        benchmark::Counter(RawMB * double(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["file_MB"] = bytes;
    FreeBitmap(frame);
    FreeProject();
}
BENCHMARK(BM_PngSequenceSave)->Arg(1)->Arg(6)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

void BM_PngSequenceLoad(benchmark::State& state) {
    if (!BuildProject()) return state.SkipWithError("cannot build the project");
    const int level = int(state.range(0));
    Bitmap* frame = NewBitmap(W, H);
    Clip* clip = Layers[0].Clip;
    for (int n = 0; n < Frames; n++) {
        clip->Ops.ReadImage(clip, frame, n);
        if (!WritePngFrame(TempDir + "bench-" + std::to_string(n) + ".png", frame, level))
            return state.SkipWithError("libpng failed");
    }
    for (auto _ : state)
        for (int n = 0; n < Frames; n++)
            if (!ReadPngFrame(TempDir + "bench-" + std::to_string(n) + ".png", frame))
                return state.SkipWithError("libpng failed");
    state.counters["raw_MB_per_s"] =
        benchmark::Counter(RawMB * double(state.iterations()), benchmark::Counter::kIsRate);
    for (int n = 0; n < Frames; n++) std::remove((TempDir + "bench-" + std::to_string(n) + ".png").c_str());
    FreeBitmap(frame);
    FreeProject();
}
BENCHMARK(BM_PngSequenceLoad)->Arg(1)->Arg(6)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace nemu
