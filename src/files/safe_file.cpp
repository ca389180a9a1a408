// Sections: names of parts and notes; leftovers of dead writers; opening; committing.
#include "files/safe_file.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

namespace nemu {

std::string SafeFileNotes;

namespace {

// ---- Names of parts and notes ----------------------------------------------------------------

constexpr char PartEnd[] = ".part";
constexpr char NoteStart[] = "save-";
constexpr char NoteEnd[] = ".note";
constexpr size_t MostDigits = 9; // a process id or a counter; more is no name of ours

// Reads "<digits>-<digits>" exactly from [from, to): the process id and the counter.
bool ParseStamp(const char* from, const char* to, long* pid, long* counter) {
    const char* dash = static_cast<const char*>(std::memchr(from, '-', size_t(to - from)));
    auto number = [](const char* a, const char* b, long* out) {
        if (a == b || size_t(b - a) > MostDigits) return false;
        long v = 0;
        for (const char* p = a; p < b; p++) {
            if (*p < '0' || *p > '9') return false;
            v = v * 10 + (*p - '0');
        }
        *out = v;
        return true;
    };
    return dash && number(from, dash, pid) && number(dash + 1, to, counter);
}

bool EndsWith(const char* text, size_t length, const char* end) {
    size_t n = std::strlen(end);
    return length >= n && std::memcmp(text + length - n, end, n) == 0;
}

// The stamp of a part's file name "<base>.<pid>-<n>.part", base given or (null) any.
bool PartStamp(const char* name, const char* base, long* pid, long* counter) {
    size_t length = std::strlen(name);
    if (!EndsWith(name, length, PartEnd)) return false;
    const char* stampEnd = name + length - std::strlen(PartEnd);
    const char* stampStart;
    if (base) {
        size_t b = std::strlen(base);
        if (length <= b + 1 || std::strncmp(name, base, b) != 0 || name[b] != '.') return false;
        stampStart = name + b + 1;
    } else {
        const char* dot = stampEnd;
        while (dot > name && dot[-1] != '.') dot--;
        if (dot == name) return false;
        stampStart = dot;
    }
    return stampStart < stampEnd && ParseStamp(stampStart, stampEnd, pid, counter);
}

// A process that no longer exists. Our own is alive, and a process of another user
// answers EPERM: both keep their parts.
bool ProcessGone(long pid) {
    return pid > 0 && pid != long(getpid()) && pid <= INT_MAX && kill(pid_t(pid), 0) != 0 && errno == ESRCH;
}

std::string FolderOf(const std::string& path) {
    size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

std::string NameOf(const std::string& path) {
    size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// ---- Leftovers of dead writers ----------------------------------------------------------------

// Removes the parts of dead writers beside the file at path.
int SweepBeside(const char* path) {
    std::string folder = FolderOf(path), base = NameOf(path);
    DIR* dir = opendir(folder.c_str());
    if (!dir) return 0;
    int removed = 0;
    while (dirent* entry = readdir(dir)) {
        long pid = 0, counter = 0;
        if (PartStamp(entry->d_name, base.c_str(), &pid, &counter) && ProcessGone(pid) &&
            unlink((folder + "/" + entry->d_name).c_str()) == 0)
            removed++;
    }
    closedir(dir);
    return removed;
}

// The part a note names, if the note is whole and names a part of the note's own stamp:
// a note is never trusted to remove anything else.
bool NotedPart(const std::string& notePath, long pid, long counter, std::string* part) {
    FILE* note = std::fopen(notePath.c_str(), "rb");
    if (!note) return false;
    char text[SafePathSize + 1];
    size_t n = std::fread(text, 1, SafePathSize, note);
    std::fclose(note);
    if (n == 0 || n >= SafePathSize || std::memchr(text, 0, n)) return false;
    text[n] = 0;
    long partPid = 0, partCounter = 0;
    if (text[0] != '/' || !PartStamp(NameOf(text).c_str(), nullptr, &partPid, &partCounter)) return false;
    if (partPid != pid || partCounter != counter) return false;
    *part = text;
    return true;
}

int SweepNotes() {
    if (SafeFileNotes.empty()) return 0;
    DIR* dir = opendir(SafeFileNotes.c_str());
    if (!dir) return 0;
    int removed = 0;
    while (dirent* entry = readdir(dir)) {
        const char* name = entry->d_name;
        size_t length = std::strlen(name), start = std::strlen(NoteStart);
        long pid = 0, counter = 0;
        if (std::strncmp(name, NoteStart, start) != 0 || !EndsWith(name, length, NoteEnd) ||
            !ParseStamp(name + start, name + length - std::strlen(NoteEnd), &pid, &counter) ||
            !ProcessGone(pid))
            continue;
        std::string notePath = SafeFileNotes + name, part;
        if (NotedPart(notePath, pid, counter, &part) && unlink(part.c_str()) == 0) removed++;
        unlink(notePath.c_str());
    }
    closedir(dir);
    return removed;
}

// Notes the part about to be made; a note that cannot be written costs only the sweep.
void WriteNote(SafeFile* safe, unsigned counter) {
    safe->NotePath[0] = 0;
    if (SafeFileNotes.empty()) return;
    int n = std::snprintf(safe->NotePath, sizeof safe->NotePath, "%s%s%d-%u%s", SafeFileNotes.c_str(),
                          NoteStart, int(getpid()), counter, NoteEnd);
    if (n < 0 || size_t(n) >= sizeof safe->NotePath) {
        safe->NotePath[0] = 0;
        return;
    }
    int fd = open(safe->NotePath, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
    size_t length = std::strlen(safe->TempPath);
    bool written = fd >= 0 && write(fd, safe->TempPath, length) == ssize_t(length);
    if (fd >= 0) close(fd);
    if (!written) {
        if (fd >= 0) unlink(safe->NotePath);
        safe->NotePath[0] = 0;
    }
}

void DropNote(SafeFile* safe) {
    if (safe->NotePath[0]) unlink(safe->NotePath);
    safe->NotePath[0] = 0;
}

// The absolute form of a path whose folder exists, so that a note names its part wherever
// the next start runs.
bool Absolute(const char* path, char* out, size_t size) {
    if (path[0] == '/') return std::snprintf(out, size, "%s", path) < int(size);
    char here[PATH_MAX];
    if (!getcwd(here, sizeof here)) return false;
    return std::snprintf(out, size, "%s/%s", here, path) < int(size);
}

} // namespace

int SweepStaleParts(const char* path) {
    int removed = SweepNotes();
    if (path && *path) removed += SweepBeside(path);
    return removed;
}

// ---- Opening ---------------------------------------------------------------------------------------

FILE* OpenSafeFile(SafeFile* safe, const char* path, bool readable) {
    *safe = SafeFile{};
    if (!path || !*path || std::strlen(path) + 32 >= sizeof safe->Path) {
        errno = ENAMETOOLONG;
        return nullptr;
    }
    // A link is followed, so that the file it names is replaced and the link stays.
    char resolved[PATH_MAX];
    struct stat link;
    if (lstat(path, &link) == 0 && S_ISLNK(link.st_mode) && realpath(path, resolved)) path = resolved;
    if (!Absolute(path, safe->Path, sizeof safe->Path - 32)) {
        errno = ENAMETOOLONG;
        return nullptr;
    }
    SweepBeside(safe->Path);
    // A new file gets what the process's mask allows; a replaced one keeps its own mode.
    struct stat info;
    const bool existing = stat(safe->Path, &info) == 0;
    const int accessMode = readable ? O_RDWR : O_WRONLY;
    static unsigned counter = 0;
    for (int attempt = 0; attempt < 100; attempt++) {
        const unsigned stamp = counter++;
        int n = std::snprintf(safe->TempPath, sizeof safe->TempPath, "%s.%d-%u%s", safe->Path, int(getpid()),
                              stamp, PartEnd);
        if (n < 0 || size_t(n) >= sizeof safe->TempPath) {
            errno = ENAMETOOLONG;
            return nullptr;
        }
        // The note comes first: a writer killed between the two leaves a note of nothing,
        // which the sweep removes.
        WriteNote(safe, stamp);
        int fd = open(safe->TempPath, accessMode | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0) {
            int error = errno;
            DropNote(safe);
            if (error == EEXIST) continue;
            // A folder that takes no new files may still hold a file that can be written:
            // that file is written where it stands, without the safety of the rename.
            safe->TempPath[0] = 0;
            if ((error == EACCES || error == EPERM) && existing && access(safe->Path, W_OK) == 0)
                safe->File = std::fopen(safe->Path, readable ? "w+b" : "wb");
            else
                errno = error;
            return safe->File;
        }
        if (existing) fchmod(fd, info.st_mode & 07777);
        safe->File = fdopen(fd, readable ? "w+b" : "wb");
        if (!safe->File) {
            int error = errno;
            close(fd);
            unlink(safe->TempPath);
            DropNote(safe);
            errno = error;
        }
        return safe->File;
    }
    safe->TempPath[0] = 0;
    errno = EEXIST;
    return nullptr;
}

// ---- Committing ---------------------------------------------------------------------------------------

static void SyncFolderOf(const char* path) {
    int fd = open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        fsync(fd);
        close(fd);
    }
}

int CommitSafeFile(SafeFile* safe) {
    if (!safe->File) return -1;
    errno = 0;
    int error = 0;
    if (std::fflush(safe->File) != 0 || std::ferror(safe->File)) error = errno ? errno : EIO;
    if (!error && fsync(fileno(safe->File)) != 0 && errno != EINVAL) error = errno;
    if (std::fclose(safe->File) != 0 && !error) error = errno ? errno : EIO;
    safe->File = nullptr;
    const bool inPlace = safe->TempPath[0] == 0;
    if (!error && !inPlace && rename(safe->TempPath, safe->Path) != 0) error = errno;
    if (error && !inPlace) unlink(safe->TempPath);
    DropNote(safe);
    if (error) {
        errno = error;
        return -1;
    }
    SyncFolderOf(safe->Path);
    return 0;
}

void AbandonSafeFile(SafeFile* safe) {
    if (safe->File) std::fclose(safe->File);
    safe->File = nullptr;
    if (safe->TempPath[0]) unlink(safe->TempPath);
    DropNote(safe);
}

} // namespace nemu
