// Reads any bytes as a project file into a small project of its own: replacing the
// project and adding to it, with scaling on and off, by turns. After each input the
// project goes back to one empty layer, so nothing of one input lives on into the next.
#include "files/project_file.h"
#include "host/main_loop.h"
#include "paint/draw_modes.h"
#include "project/layer_undo.h"
#include "project/layers.h"
#include "store/cache_file.h"
#include "store/cache_slots.h"
#include "store/tile_store.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using namespace nemu;

static bool MakeProject() {
    TempDir = "/tmp/nemu-fuzz-project-" + std::to_string(getpid()) + "/";
    mkdir(TempDir.c_str(), 0700);
    BuildDrawTables();
    if (!OpenCache()) return false;
    // The cache keeps what it was given in memory up to most of the machine's; here it
    // gives back all but a little after each input, so that the fuzzer's own memory limit
    // measures the reader.
    CacheLimit = 32 << 20;
    SlotAllowance = CacheLimit / SlotAccount;
    return ResizePageBuffers(48, 32) && InitLayers();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool ready = MakeProject();
    if (!ready) __builtin_trap();
    static const std::string path = TempDir + "input.nem";
    FILE* out = std::fopen(path.c_str(), "wb");
    if (!out) return 0;
    std::fwrite(data, 1, size, out);
    std::fclose(out);
    // The options come from the input's length, so every byte stays part of the file.
    ReadProject(path.c_str(), 0, int(size & 1), int((size >> 1) & 1) ^ 1);
    // Whatever was read must hold together: every clip as long as its layer's range.
    for (int32_t i = 0; i < LayerCount; i++) {
        const Layer& l = Layers[i];
        if (l.FirstImage > l.LastImage) __builtin_trap();
        if (l.Clip && l.Clip->ImageCount != l.LastImage - l.FirstImage + 1) __builtin_trap();
    }
    ResetProject("", 1, 0);
    ClearLayerUndo();
    TrimCache();
    if (TileUseCount != 0) __builtin_trap();
    return 0;
}
