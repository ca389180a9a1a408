#include "files/image_modules.h"

#include "files/tiff_format.h"

#include <cstring>
#include <strings.h>

namespace nemu {

ImageModuleEntry ImageModules[] = {
    {&TiffModule, FIRST_MODULE_MODE, 0},
};
const int ImageModuleCount = int(sizeof ImageModules / sizeof ImageModules[0]);

static const ImageModule* Ready(ImageModuleEntry& entry) {
    if (!entry.Ready) {
        if (entry.Module->Open && entry.Module->Open() != 0) return nullptr;
        entry.Ready = 1;
    }
    return entry.Module;
}

const ImageModule* ModuleForMode(int mode) {
    for (ImageModuleEntry& entry : ImageModules)
        if (entry.Mode == mode) return Ready(entry);
    return nullptr;
}

int ModuleModeForWord(const char* word) {
    for (ImageModuleEntry& entry : ImageModules) {
        const char* keyword = entry.Module->Keyword;
        if (*keyword && strncasecmp(word, keyword, std::strlen(keyword)) == 0) return entry.Mode;
    }
    return -1;
}

int ModuleSniff(const char* path, int* width, int* height, int* depth) {
    for (ImageModuleEntry& entry : ImageModules) {
        const ImageModule* module = Ready(entry);
        if (module && module->Info && module->Info(path, width, height, depth) == 0) return entry.Mode;
    }
    return -1;
}

void CloseImageModules() {
    for (ImageModuleEntry& entry : ImageModules) {
        if (entry.Ready && entry.Module->Close) entry.Module->Close();
        entry.Ready = 0;
    }
}

} // namespace nemu
