// Decodes any bytes as run-length pixels, whole and in pieces (which must agree, and
// agree with the store's strict decoder where it accepts the bytes), and checks that
// any pixels survive packing and unpacking unchanged.
#include "files/run_length.h"
#include "store/tile_pack.h"

#include <cstdint>
#include <cstring>
#include <vector>

using namespace nemu;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    size_t want = size_t(data[0]) << 8 | data[1];
    data += 2, size -= 2;
    std::vector<uint32_t> whole(want + 1), pieces(want + 1), strict(want + 1);
    RunUnpacker once;
    size_t usedBytes = 0;
    int64_t used =
        RunUnpack(&once, data, size, &usedBytes, whole.data(), want) == want ? int64_t(usedBytes) : -1;
    if (UnpackRun(data, size, strict.data(), want) == 1 &&
        (used != int64_t(size) || std::memcmp(strict.data(), whole.data(), want * 4) != 0))
        __builtin_trap();

    RunUnpacker state;
    size_t produced = 0, pos = 0;
    while (produced < want) {
        size_t piece = pos < size ? 1 + data[pos] % 5 : 0;
        if (pos + piece > size) piece = size - pos;
        size_t room = 1 + (produced * 7 + pos) % 9;
        if (room > want - produced) room = want - produced;
        size_t taken = 0;
        size_t n = RunUnpack(&state, data + pos, piece, &taken, pieces.data() + produced, room);
        produced += n;
        pos += taken;
        if (piece == 0 && n == 0) break;
    }
    if ((used >= 0) != (produced == want)) __builtin_trap();
    if (used >= 0 && std::memcmp(whole.data(), pieces.data(), want * 4) != 0) __builtin_trap();

    // The input's bytes as pixels, with few distinct values so that runs occur.
    size_t count = size / 4;
    std::vector<uint32_t> pixels(count + 1);
    for (size_t i = 0; i < count; i++) pixels[i] = data[i * 4] % 3 == 0 ? 7u : uint32_t(data[i * 4 + 1] & 3);
    std::vector<uint8_t> packed(PackRowBound(count) + 1);
    size_t n = PackRow(pixels.data(), count, size ? data[0] % 3u : 0u, packed.data());
    if (n > PackRowBound(count)) __builtin_trap();
    std::vector<uint32_t> back(count + 1);
    if (UnpackRun(packed.data(), n, back.data(), count) != 1) __builtin_trap();
    if (count && std::memcmp(back.data(), pixels.data(), count * 4) != 0) __builtin_trap();
    return 0;
}
