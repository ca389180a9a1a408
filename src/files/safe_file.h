// Saving over a file without putting it at risk: the new file is written beside the old
// one under a temporary name ("name.<pid>-<n>.part"), made durable, and renamed over it
// only when complete. A crash, a full disk or a failed write leaves the previous file as
// it was.
//
// A writer that is killed leaves its part behind. Two things clear such leftovers: the
// next save of the same file removes the parts beside it whose process is gone, and each
// part in progress has a note in a folder of its own (SafeFileNotes), so that the next
// start (SweepStaleParts) finds the parts of dead writers wherever they were written.
#pragma once
#include <cstdio>
#include <string>

namespace nemu {

constexpr int SafePathSize = 4200;

struct SafeFile {
    FILE* File = nullptr;
    char Path[SafePathSize] = {};     // where the file goes
    char TempPath[SafePathSize] = {}; // where it is written meanwhile; empty when written in place
    char NotePath[SafePathSize] = {}; // the note naming TempPath; empty without one
};

// The folder of the notes of parts in progress, ending with '/'; empty: no notes are kept.
extern std::string SafeFileNotes;

// Creates the temporary file in the target's folder, with the target's permissions if it
// exists, after removing the parts that dead writers left beside the target. Where the
// folder takes no new file but the target may be written, the target is written in place.
// `readable` opens the stream for reading back what was written too. The stream, or null
// with errno set.
FILE* OpenSafeFile(SafeFile* safe, const char* path, bool readable = false);
// Flushes, syncs and closes the stream, then renames the file into place. 0, or -1 with
// errno set and the temporary file removed.
int CommitSafeFile(SafeFile* safe);
// Closes the stream and removes the temporary file.
void AbandonSafeFile(SafeFile* safe);

// Removes the parts of writers whose process is gone: those that the notes in
// SafeFileNotes name, and, with a path, those beside that file. The number removed.
int SweepStaleParts(const char* path);

} // namespace nemu
