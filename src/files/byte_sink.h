// Where an encoder's output goes: the file writers pass a stdio file, tests collect the
// bytes and the sizes of the writes to check buffering.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace nemu {

struct ByteSink {
    int (*Write)(void* user, const uint8_t* data, size_t size) = nullptr; // 0, or -1 on failure
    void* User = nullptr;
};

inline int WriteToFile(void* user, const uint8_t* data, size_t size) {
    return std::fwrite(data, 1, size, static_cast<FILE*>(user)) == size ? 0 : -1;
}

inline ByteSink FileSink(FILE* file) {
    return ByteSink{WriteToFile, file};
}

} // namespace nemu
