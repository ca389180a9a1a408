#include "files/safe_file.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace nemu {

FILE* OpenSafeFile(SafeFile* safe, const char* path) {
    *safe = SafeFile{};
    if (!path || !*path || std::strlen(path) + 32 >= sizeof safe->Path) {
        errno = ENAMETOOLONG;
        return nullptr;
    }
    // A link is followed, so that the file it names is replaced and the link stays.
    char resolved[PATH_MAX];
    struct stat link;
    if (lstat(path, &link) == 0 && S_ISLNK(link.st_mode) && realpath(path, resolved)) path = resolved;
    if (std::strlen(path) + 32 >= sizeof safe->Path) {
        errno = ENAMETOOLONG;
        return nullptr;
    }
    std::snprintf(safe->Path, sizeof safe->Path, "%s", path);
    // A new file gets what the process's mask allows; a replaced one keeps its own mode.
    struct stat info;
    const bool existing = stat(path, &info) == 0;
    static unsigned counter = 0;
    for (int attempt = 0; attempt < 100; attempt++) {
        int n = std::snprintf(safe->TempPath, sizeof safe->TempPath, "%s.%d-%u.part", safe->Path,
                              int(getpid()), counter++);
        if (n < 0 || size_t(n) >= sizeof safe->TempPath) {
            errno = ENAMETOOLONG;
            return nullptr;
        }
        int fd = open(safe->TempPath, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0) {
            if (errno == EEXIST) continue;
            // A folder that takes no new files may still hold a file that can be written:
            // that file is written where it stands, without the safety of the rename.
            if ((errno == EACCES || errno == EPERM) && existing && access(path, W_OK) == 0) {
                safe->TempPath[0] = 0;
                safe->File = std::fopen(path, "wb");
            }
            return safe->File;
        }
        if (existing) fchmod(fd, info.st_mode & 07777);
        safe->File = fdopen(fd, "wb");
        if (!safe->File) {
            int error = errno;
            close(fd);
            unlink(safe->TempPath);
            errno = error;
        }
        return safe->File;
    }
    return nullptr;
}

static void SyncFolderOf(const char* path) {
    std::string folder(path);
    size_t slash = folder.find_last_of('/');
    folder = slash == std::string::npos ? "." : slash == 0 ? "/" : folder.substr(0, slash);
    int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
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
    if (error) {
        if (!inPlace) unlink(safe->TempPath);
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
}

} // namespace nemu
