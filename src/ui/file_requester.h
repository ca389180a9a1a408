// The file requester: asks the user for a file name to load or to save. The requester's
// window comes with the toolkit, which installs itself in the hook; until then nobody can
// be asked, and every request is cancelled.
#pragma once
#include <cstddef>
#include <cstdint>

namespace nemu {

// Fills path (size bytes) with the chosen name under the title message; 1 when a name was
// chosen, 0 when the request was cancelled. forSaving asks for a name that may not exist.
int RequestFile(uint32_t titleMessage, char* path, size_t size, int forSaving);
extern int (*FileRequesterHook)(uint32_t titleMessage, char* path, size_t size, int forSaving);

} // namespace nemu
