// Decodes any bytes as LZW, whole and in pieces (which must agree), and checks that
// whatever the input holds survives the encoder and decoder unchanged.
#include "files/lzw.h"

#include <cstdint>
#include <cstring>
#include <vector>

using namespace nemu;

static int Collect(void* user, const uint8_t* data, size_t size) {
    auto* out = static_cast<std::vector<uint8_t>*>(user);
    out->insert(out->end(), data, data + size);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    size_t want = (size_t(data[0]) << 8 | data[1]) * 4;
    data += 2, size -= 2;
    std::vector<uint8_t> whole(want + 1), pieces(want + 1);
    int64_t used = UnpackLzw(data, size, whole.data(), want);

    static LzwReader reader;
    LzwReaderReset(&reader);
    size_t produced = 0, pos = 0;
    while (produced < want && !reader.Done && !reader.Error) {
        size_t piece = pos < size ? 1 + data[pos] % 7 : 0;
        if (pos + piece > size) piece = size - pos;
        size_t taken = 0;
        size_t n = LzwDecode(&reader, data + pos, piece, &taken, pieces.data() + produced, want - produced);
        produced += n;
        pos += taken;
        if (piece == 0 && n == 0) break;
    }
    if ((used >= 0) != (produced == want)) __builtin_trap();
    if (used >= 0 && std::memcmp(whole.data(), pieces.data(), want) != 0) __builtin_trap();

    std::vector<uint8_t> packed;
    ByteSink sink{Collect, &packed};
    if (WriteLzw(sink, data, size) < 0) __builtin_trap();
    std::vector<uint8_t> back(size + 1);
    if (UnpackLzw(packed.data(), packed.size(), back.data(), size) < 0) __builtin_trap();
    if (size && std::memcmp(back.data(), data, size) != 0) __builtin_trap();
    return 0;
}
