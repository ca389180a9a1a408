// The remote door's place: the private folder of its sockets, their names, and the check
// that a peer runs as this user. Shared by the program and the nemu-remote tool.
#include "host/remote.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace nemu {

int RemoteCheckFolder(const char* path, std::string* why) {
    struct stat st;
    std::string reason;
    if (lstat(path, &st) != 0)
        reason = std::string("cannot be made: ") + std::strerror(errno);
    else if (S_ISLNK(st.st_mode))
        reason = "is a symbolic link";
    else if (!S_ISDIR(st.st_mode))
        reason = "is not a folder";
    else if (st.st_uid != geteuid())
        reason = "belongs to another user";
    else if ((st.st_mode & 07777) != 0700) {
        char mode[32];
        std::snprintf(mode, sizeof mode, "%04o", unsigned(st.st_mode & 07777));
        reason = std::string("has mode ") + mode + ", not 0700";
    }
    if (reason.empty()) return 1;
    if (why) *why = std::string(path) + " " + reason;
    return 0;
}

static std::string CacheBase() {
    const char* cache = std::getenv("XDG_CACHE_HOME");
    if (cache && *cache == '/') return cache;
    const char* home = std::getenv("HOME");
    return std::string(home && *home ? home : "/nonexistent") + "/.cache";
}

// mkdir honours the umask, so the mode is set again, on the folder itself and not through
// whatever a name might have been swapped for.
static void MakePrivateFolder(const std::string& path) {
    if (mkdir(path.c_str(), 0700) != 0) return;
    int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return;
    if (fchmod(fd, 0700) != 0) { /* the check that follows reports it */
    }
    close(fd);
}

std::string RemoteFolder(bool make, std::string* why) {
    std::string folder;
    const char* run = std::getenv("XDG_RUNTIME_DIR");
    if (run && *run == '/') {
        folder = std::string(run) + "/nemu";
    } else {
        // Never a shared folder such as /tmp: the user's own cache folder.
        std::string base = CacheBase() + "/nemu";
        if (make) {
            mkdir(CacheBase().c_str(), 0700);
            mkdir(base.c_str(), 0700);
        }
        folder = base + "/run";
    }
    if (make) MakePrivateFolder(folder);
    if (!RemoteCheckFolder(folder.c_str(), why)) return "";
    return folder;
}

std::string RemoteSocketName(int instance) {
    std::string name = "Nemu.Commands";
    if (instance > 1) name.append(".").append(std::to_string(instance));
    return name;
}

int RemotePeerAllowed(int fd, uint32_t owner) {
    struct ucred cred;
    socklen_t size = sizeof cred;
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &cred, &size) != 0 || size != sizeof cred) return 0;
    return cred.uid == owner ? 1 : 0;
}

} // namespace nemu
