#include "ui/file_requester.h"

namespace nemu {

int (*FileRequesterHook)(uint32_t titleMessage, char* path, size_t size, int forSaving) = nullptr;

int RequestFile(uint32_t titleMessage, char* path, size_t size, int forSaving) {
    if (!path || size == 0) return 0;
    if (!FileRequesterHook) return 0;
    int chosen = FileRequesterHook(titleMessage, path, size, forSaving);
    path[size - 1] = 0;
    return chosen && path[0] ? 1 : 0;
}

} // namespace nemu
