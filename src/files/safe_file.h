// Saving over a file without putting it at risk: the new file is written beside the old
// one under a temporary name, made durable, and renamed over it only when complete. A
// crash, a full disk or a failed write leaves the previous file as it was.
#pragma once
#include <cstdio>

namespace nemu {

constexpr int SafePathSize = 4200;

struct SafeFile {
    FILE* File = nullptr;
    char Path[SafePathSize] = {};     // where the file goes
    char TempPath[SafePathSize] = {}; // where it is written meanwhile; empty when written in place
};

// Creates the temporary file in the target's folder, with the target's permissions if it
// exists. Where the folder takes no new file but the target may be written, the target is
// written in place. The stream, or null with errno set.
FILE* OpenSafeFile(SafeFile* safe, const char* path);
// Flushes, syncs and closes the stream, then renames the file into place. 0, or -1 with
// errno set and the temporary file removed.
int CommitSafeFile(SafeFile* safe);
// Closes the stream and removes the temporary file.
void AbandonSafeFile(SafeFile* safe);

} // namespace nemu
