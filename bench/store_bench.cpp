// The pixel store, measured beside what it competes with:
// - a dab on a stored 1920 by 1080 page: time of the second store and the tiles written,
//   beside a whole-page store and a plain copy of the page;
// - a 1000-frame 1280 by 720 animation of a moving blob over a painted background: cache
//   bytes and frames stored per second, beside the raw frame and libpng at level 1;
// - the cache's throughput with 16 MB of slots and 1 GB of data, beside a plain
//   sequential write and read of a file of the same size on the same disk.
#include "host/main_loop.h"
#include "store/bitmap.h"
#include "store/block_file.h"
#include "store/cache_file.h"
#include "store/tile_pack.h"
#include "store/tile_store.h"
#include "ui/settings.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <png.h>
#include <random>
#include <string>
#include <sys/statvfs.h>
#include <unistd.h>
#include <vector>

namespace nemu {
namespace {

// ---- Setting up ---------------------------------------------------------------------------

bool OpenWithLimit(int64_t limit) {
    SetupTempDir(); // the temporary folder as the program makes it
    ConfigSet("Main", "CacheSize", std::to_string(limit).c_str());
    if (!OpenCache()) return false;
    TrimCache();
    return true;
}

void CloseAll(Clip* clip) {
    if (clip) clip->Ops.Free(clip);
    FreeTilePools();
    CloseCache();
}

// A painted picture: soft gradients, so that most pixels differ from their neighbours as
// in real work, under strokes of flat colour.
Bitmap* PaintedBackground(int w, int h) {
    Bitmap* b = NewBitmap(w, h);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) {
            uint32_t r = uint32_t(128 + 100 * std::sin(x * 0.01 + y * 0.003));
            uint32_t g = uint32_t(128 + 100 * std::cos(y * 0.013));
            uint32_t bl = uint32_t((x + y) / 8 % 256);
            b->Pixels[y * w + x] = 0xFF000000u | r << 16 | g << 8 | bl;
        }
    std::mt19937 rng(5);
    for (int i = 0; i < 60; i++)
        DrawDisc(b, int(rng() % w), int(rng() % h), 10 + int(rng() % 60), 0xFF000000u | (rng() & 0xFFFFFF));
    return b;
}

// ---- A dab on a stored page -----------------------------------------------------------------

constexpr int PageW = 1920, PageH = 1080, DabRadius = 12; // a 25-pixel dab

// Tiles whose pixels differ between two pages: what a dab really touched.
int TilesChanged(const Bitmap* a, const Bitmap* b) {
    int changed = 0;
    for (int i = 0; i < TileCount(a->Width, a->Height); i++) {
        int x, y, w, h;
        TileRect(a->Width, a->Height, i, &x, &y, &w, &h);
        bool same = true;
        for (int row = y; row < y + h && same; row++)
            same = std::memcmp(a->Pixels + row * a->Width + x, b->Pixels + row * b->Width + x,
                               size_t(w) * 4) == 0;
        changed += !same;
    }
    return changed;
}

void BM_StoreAfterDab(benchmark::State& state) {
    if (!OpenWithLimit(-1)) return state.SkipWithError("cannot open the cache");
    Clip* clip = NewClipSized("bench", PageW, PageH);
    Bitmap* page = PaintedBackground(PageW, PageH);
    Bitmap* before = NewBitmap(PageW, PageH);
    clip->Ops.InsertImage(clip, page, -1, 0);
    std::mt19937 rng(1);
    uint64_t written = 0, touched = 0;
    for (auto _ : state) {
        state.PauseTiming();
        int cx = DabRadius + int(rng() % (PageW - 2 * DabRadius));
        int cy = DabRadius + int(rng() % (PageH - 2 * DabRadius));
        CopyBitmap(page, before);
        DrawDisc(page, cx, cy, DabRadius, 0xFF000000u | (rng() & 0xFFFFFF));
        touched += uint64_t(TilesChanged(before, page));
        uint32_t before = TilesWritten;
        state.ResumeTiming();
        clip->Ops.StoreImage(clip, page, 0, 0);
        written += TilesWritten - before;
    }
    state.counters["tiles_written"] = double(written) / double(state.iterations());
    state.counters["tiles_touched"] = double(touched) / double(state.iterations());
    state.counters["tiles_in_page"] = TileCount(PageW, PageH);
    FreeBitmap(before);
    FreeBitmap(page);
    CloseAll(clip);
}
BENCHMARK(BM_StoreAfterDab)->Unit(benchmark::kMillisecond);

// Beside it: storing a page that shares nothing with what is stored.
void BM_StoreWholePage(benchmark::State& state) {
    if (!OpenWithLimit(-1)) return state.SkipWithError("cannot open the cache");
    Clip* clip = NewClipSized("bench", PageW, PageH);
    Bitmap* page = PaintedBackground(PageW, PageH);
    uint32_t shade = 0;
    for (auto _ : state) {
        state.PauseTiming();
        while (clip->ImageCount) clip->Ops.DeleteImage(clip, 0);
        for (int i = 0; i < PageW * PageH; i += 7) page->Pixels[i] ^= ++shade & 0xFF;
        state.ResumeTiming();
        clip->Ops.InsertImage(clip, page, -1, 0);
    }
    state.counters["tiles_written"] = TileCount(PageW, PageH);
    FreeBitmap(page);
    CloseAll(clip);
}
BENCHMARK(BM_StoreWholePage)->Unit(benchmark::kMillisecond);

// And the memory bandwidth figure of the same run: one plain copy of the page.
void BM_CopyPage(benchmark::State& state) {
    Bitmap* a = PaintedBackground(PageW, PageH);
    Bitmap* b = NewBitmap(PageW, PageH);
    for (auto _ : state) {
        CopyBitmap(a, b);
        benchmark::DoNotOptimize(b->Pixels[0]);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * PageW * PageH * 4);
    FreeBitmap(a);
    FreeBitmap(b);
}
BENCHMARK(BM_CopyPage)->Unit(benchmark::kMillisecond);

// ---- An animation -----------------------------------------------------------------------------

constexpr int AnimW = 1280, AnimH = 720, Frames = 1000, BlobRadius = 32;

// Frame n: the background with a 64-pixel blob on a smooth path across it.
void MakeFrame(const Bitmap* background, Bitmap* frame, int n) {
    CopyBitmap(background, frame);
    double t = n * 0.004;
    int cx = int(AnimW / 2 + (AnimW / 2 - 80) * std::sin(t * 6.0));
    int cy = int(AnimH / 2 + (AnimH / 2 - 80) * std::sin(t * 4.0 + 1.0));
    DrawDisc(frame, cx, cy, BlobRadius, 0xFFE0C040);
    DrawDisc(frame, cx - 8, cy - 8, BlobRadius / 3, 0xFFFFF0D0);
}

void BM_AnimationTiles(benchmark::State& state) {
    if (!OpenWithLimit(-1)) return state.SkipWithError("cannot open the cache");
    Clip* clip = NewClipSized("bench", AnimW, AnimH);
    Bitmap* background = PaintedBackground(AnimW, AnimH);
    Bitmap* frame = NewBitmap(AnimW, AnimH);
    int n = 0;
    for (auto _ : state) {
        state.PauseTiming();
        MakeFrame(background, frame, n);
        state.ResumeTiming();
        clip->Ops.InsertImage(clip, frame, n - 1, 0);
        n++;
    }
    // The first frame is paid in full; the rest cost what changed.
    int64_t bytes = CacheStat(1);
    state.counters["frames_per_s"] = benchmark::Counter(double(n), benchmark::Counter::kIsRate);
    state.counters["cache_bytes_per_frame"] = double(bytes) / n;
    state.counters["tiles_per_frame"] = double(TileUseCount) / n;
    state.counters["raw_bytes_per_frame"] = double(AnimW) * AnimH * 4;
    FreeBitmap(frame);
    FreeBitmap(background);
    CloseAll(clip);
}
BENCHMARK(BM_AnimationTiles)->Iterations(Frames)->Unit(benchmark::kMillisecond);

void PngWrite(png_structp png, png_bytep data, png_size_t length) {
    auto* out = static_cast<std::vector<uint8_t>*>(png_get_io_ptr(png));
    out->insert(out->end(), data, data + length);
}
void PngFlush(png_structp) {}

// The same frames, each encoded on its own by libpng at compression level 1.
void BM_AnimationPng(benchmark::State& state) {
    Bitmap* background = PaintedBackground(AnimW, AnimH);
    Bitmap* frame = NewBitmap(AnimW, AnimH);
    std::vector<png_bytep> rows(AnimH);
    std::vector<uint8_t> out;
    uint64_t total = 0;
    int n = 0;
    for (auto _ : state) {
        state.PauseTiming();
        MakeFrame(background, frame, n++);
        out.clear();
        state.ResumeTiming();
        png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        png_infop info = png_create_info_struct(png);
        if (setjmp(png_jmpbuf(png))) {
            png_destroy_write_struct(&png, &info);
            return state.SkipWithError("libpng failed");
        }
        png_set_write_fn(png, &out, PngWrite, PngFlush);
        png_set_compression_level(png, 1);
        png_set_IHDR(png, info, AnimW, AnimH, 8, PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_set_bgr(png);
        for (int y = 0; y < AnimH; y++) rows[y] = reinterpret_cast<png_bytep>(frame->Pixels + y * AnimW);
        png_set_rows(png, info, rows.data());
        png_write_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
        png_destroy_write_struct(&png, &info);
        total += out.size();
    }
    state.counters["frames_per_s"] = benchmark::Counter(double(n), benchmark::Counter::kIsRate);
    state.counters["png_bytes_per_frame"] = double(total) / n;
    state.counters["raw_bytes_per_frame"] = double(AnimW) * AnimH * 4;
    FreeBitmap(frame);
    FreeBitmap(background);
}
BENCHMARK(BM_AnimationPng)->Iterations(Frames)->Unit(benchmark::kMillisecond);

// ---- Cache throughput -------------------------------------------------------------------------

constexpr int64_t DataBytes = int64_t(1) << 30;
constexpr int32_t ChunkBytes = 64 * 1024;
constexpr int64_t CacheBytes = int64_t(16) << 20;

bool EnoughDisk(benchmark::State& state) {
    SetupTempDir(); // the temporary folder as the program makes it
    struct statvfs fs;
    if (statvfs(TempDir.c_str(), &fs) != 0) {
        state.SkipWithError("cannot examine the temporary folder");
        return false;
    }
    uint64_t free = uint64_t(fs.f_bavail) * fs.f_frsize;
    if (free < uint64_t(DataBytes) * 2) {
        state.SkipWithError(
            ("only " + std::to_string(free >> 20) + " MB free for 2 GB of test files").c_str());
        return false;
    }
    return true;
}

double Seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

// Argument 1: the file bypasses the system's buffers (the default); 0: buffered, which
// lets the system read ahead beyond the 16 blocks of the read buffer.
void BM_CacheThroughput(benchmark::State& state) {
    if (!EnoughDisk(state)) return;
    if (!MachineConfig) MachineConfig = new ConfigFile;
    ConfigSetIn(MachineConfig, "STARTUP", "nobuffering", state.range(0) ? "yes" : "no");
    if (!OpenWithLimit(CacheBytes)) return state.SkipWithError("cannot open the cache");
    std::vector<uint8_t> chunk(ChunkBytes);
    std::mt19937 rng(3);
    for (auto& c : chunk) c = uint8_t(rng());
    std::vector<CacheFile*> files;
    double putSeconds = 0, getSeconds = 0;
    for (auto _ : state) {
        auto start = std::chrono::steady_clock::now();
        for (int64_t done = 0; done < DataBytes; done += ChunkBytes) {
            chunk[0] = uint8_t(files.size());
            files.push_back(NewCacheFileData(chunk.data(), ChunkBytes, 0));
        }
        while (CacheWriteStep()) {
        }
        putSeconds = Seconds(start);
        start = std::chrono::steady_clock::now();
        for (CacheFile* f : files) GetCacheFileData(f, chunk.data(), ChunkBytes);
        getSeconds = Seconds(start);
    }
    double mb = double(DataBytes) / (1 << 20);
    state.counters["put_MB_per_s"] = mb / putSeconds;
    state.counters["get_MB_per_s"] = mb / getSeconds;
    state.counters["unbuffered"] = CacheBlockFile->Direct;
    state.counters["write_transfers"] = CacheBlockFile->WriteTransfers;
    state.counters["read_transfers"] = CacheBlockFile->ReadTransfers;
    for (CacheFile* f : files) RemoveCacheFile(f);
    CloseAll(nullptr);
}
BENCHMARK(BM_CacheThroughput)->Arg(1)->Arg(0)->Iterations(1)->Unit(benchmark::kSecond);

// The disk itself: one file of the same size written and read in large sequential
// transfers, bypassing the system's buffers as the cache does where it can.
void BM_DiskSequential(benchmark::State& state) {
    if (!EnoughDisk(state)) return;
    std::string path = TempDir + "disk-bench.tmp";
    int fd = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
    if (fd < 0) return state.SkipWithError("cannot create the test file");
    unlink(path.c_str());
    int flags = fcntl(fd, F_GETFL);
    bool direct = fcntl(fd, F_SETFL, flags | O_DIRECT) == 0;
    const size_t block = 256 * 1024;
    void* buffer = nullptr;
    if (posix_memalign(&buffer, 4096, block) != 0) return state.SkipWithError("no memory");
    std::memset(buffer, 0x5A, block);
    double writeSeconds = 0, readSeconds = 0;
    for (auto _ : state) {
        auto start = std::chrono::steady_clock::now();
        for (int64_t off = 0; off < DataBytes; off += int64_t(block))
            if (pwrite(fd, buffer, block, off) != ssize_t(block)) return state.SkipWithError("write failed");
        fsync(fd);
        writeSeconds = Seconds(start);
        start = std::chrono::steady_clock::now();
        for (int64_t off = 0; off < DataBytes; off += int64_t(block))
            if (pread(fd, buffer, block, off) != ssize_t(block)) return state.SkipWithError("read failed");
        readSeconds = Seconds(start);
    }
    double mb = double(DataBytes) / (1 << 20);
    state.counters["write_MB_per_s"] = mb / writeSeconds;
    state.counters["read_MB_per_s"] = mb / readSeconds;
    state.counters["unbuffered"] = direct;
    std::free(buffer);
    close(fd);
}
BENCHMARK(BM_DiskSequential)->Iterations(1)->Unit(benchmark::kSecond);

} // namespace
} // namespace nemu
