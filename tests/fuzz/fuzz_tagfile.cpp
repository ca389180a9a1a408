// Walks any file as nested tags the way a reader would, reading part of each payload
// and leaving the rest, then reads it as a curve preset.
#include "files/curve_preset.h"
#include "files/tagfile.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <unistd.h>

using namespace nemu;

static void Walk(TagFile* file, int depth, int* budget) {
    for (int i = 0; i < 8 && --*budget > 0; i++) {
        Tag tag;
        if (TF_OpenTag(file, &tag) != 0) return;
        uint8_t payload[16];
        uint32_t take = tag.Size < sizeof payload ? tag.Size : sizeof payload;
        TF_Read(file, payload, take);
        // Tags whose id asks for it are entered; the low bit keeps the walk varied.
        if ((tag.Id & 1) && depth < TF_MAX_DEPTH - 2) {
            TF_Seek(file, 0);
            Walk(file, depth + 1, budget);
        }
        if (TF_CloseTag(file) != 0) return;
    }
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = "/tmp/nemu-fuzz-tagfile-" + std::to_string(getpid());
    FILE* out = std::fopen(path.c_str(), "wb");
    if (!out) return 0;
    std::fwrite(data, 1, size, out);
    std::fclose(out);
    if (TagFile* file = TF_Open(path.c_str(), "r")) {
        int budget = 200;
        Walk(file, 1, &budget);
        TF_Close(file);
    }
    CurvePreset preset;
    if (LoadCurvePreset(path.c_str(), &preset) == 0) {
        bool known = preset.Channel == 40 || preset.Channel == 41 || preset.Channel == 42 ||
                     preset.Channel == 44 || preset.Channel == 45;
        if (!known) __builtin_trap();
    }
    return 0;
}
