// Small helpers for tests that read and write files: a private scratch folder per test
// process, whole-file reads and writes, the checked-in data, and tool detection.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace nemu {
struct Bitmap;
}

// A path inside this test process's own scratch folder.
std::string TestPath(const std::string& name);
// A path under tests/data of the source tree.
std::string SourceDataPath(const std::string& relative);
std::vector<uint8_t> ReadBytes(const std::string& path);
void WriteBytes(const std::string& path, const std::vector<uint8_t>& bytes);
bool FileExists(const std::string& path);
// FNV-1a over the pixels, row by row, as a 16-digit hex text.
std::string PixelHash(const nemu::Bitmap* bitmap);
// True when the program can be run from the PATH.
bool ToolAvailable(const char* program);
// Runs a shell command and returns its standard output; *status gets the exit code.
std::vector<uint8_t> RunCommand(const std::string& command, int* status);
