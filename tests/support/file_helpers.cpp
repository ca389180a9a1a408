#include "support/file_helpers.h"

#include "store/bitmap.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <sys/wait.h>

std::string TestPath(const std::string& name) {
    const char* root = std::getenv("NEMU_TEST_ROOT");
    return std::string(root ? root : "/tmp") + "/" + name;
}

std::string SourceDataPath(const std::string& relative) {
    return std::string(NEMU_SOURCE_DIR) + "/tests/data/" + relative;
}

std::vector<uint8_t> ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

bool FileExists(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

std::string PixelHash(const nemu::Bitmap* bitmap) {
    uint64_t h = 0xcbf29ce484222325ull;
    for (int i = 0; i < bitmap->Width * bitmap->Height; i++)
        for (int k = 0; k < 4; k++) {
            h ^= (bitmap->Pixels[i] >> (8 * k)) & 255;
            h *= 0x100000001b3ull;
        }
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(h));
    return text;
}

bool ToolAvailable(const char* program) {
    std::string command = std::string("command -v ") + program + " >/dev/null 2>&1";
    return std::system(command.c_str()) == 0;
}

std::vector<uint8_t> RunCommand(const std::string& command, int* status) {
    std::vector<uint8_t> out;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) {
        if (status) *status = -1;
        return out;
    }
    uint8_t buffer[4096];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) out.insert(out.end(), buffer, buffer + n);
    int rc = pclose(pipe);
    if (status) *status = WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
    return out;
}
