// Files in the test process's own temporary folder.
#pragma once
#include <cstdio>
#include <cstdlib>
#include <string>

inline std::string TempPath(const std::string& name) {
    const char* root = std::getenv("NEMU_TEST_ROOT");
    return std::string(root ? root : "/tmp") + "/" + name;
}

inline void WriteFile(const std::string& path, const std::string& bytes) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) return;
    std::fwrite(bytes.data(), 1, bytes.size(), f);
    std::fclose(f);
}

inline std::string ReadFile(const std::string& path) {
    std::string bytes;
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) return "<missing>";
    char buf[65536];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) bytes.append(buf, n);
    std::fclose(f);
    return bytes;
}
