// nemu-remote: sends a command text to a running Nemu and prints the reply.
//
//   nemu-remote [--execute] [--instance N] TEXT...
//
// Exit status: 0 done, 1 no instance answers, 2 an unknown command or an error reply in
// any group, a break, or a refusal. An execute hears only whether the text was run.
#include "host/remote.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace nemu;

static const char Usage[] =
    "Usage: nemu-remote [--execute] [--instance N] TEXT...\n"
    "Sends TEXT (the words joined by blanks) to a running Nemu as a command and prints\n"
    "the reply. --execute asks for no reply, only whether it ran. --instance N picks the\n"
    "Nth running instance; without it $NEMU_SOCKET, else the first instance, is used.\n"
    "Exit status: 0 done; 1 no instance answers; 2 when any command, or any bracketed\n"
    "group of one, had an unknown name or replied an error, or the run was broken off.\n"
    "With --execute only a break is known: unknown names and errors go unreported.\n";

static bool WriteAll(int fd, const void* data, size_t n) {
    const char* p = static_cast<const char*>(data);
    while (n > 0) {
        ssize_t w = send(fd, p, n, MSG_NOSIGNAL);
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) return false;
        p += w;
        n -= size_t(w);
    }
    return true;
}

static bool ReadAll(int fd, void* data, size_t n) {
    char* p = static_cast<char*>(data);
    while (n > 0) {
        ssize_t r = recv(fd, p, n, 0);
        if (r < 0 && errno == EINTR) continue;
        if (r <= 0) return false;
        p += r;
        n -= size_t(r);
    }
    return true;
}

static std::string SocketPathFor(int instance) {
    const char* env = std::getenv("NEMU_SOCKET");
    if (instance == 0 && env && *env) return env;
    std::string why;
    std::string folder = RemoteFolder(false, &why);
    if (folder.empty()) {
        std::fprintf(stderr, "nemu-remote: %s\n", why.c_str());
        return "";
    }
    return folder + "/" + RemoteSocketName(instance > 0 ? instance : 1);
}

int main(int argc, char** argv) {
    bool execute = false;
    int instance = 0;
    std::string text;
    for (int i = 1; i < argc; i++) {
        const char* a = argv[i];
        if (!std::strcmp(a, "--help")) {
            std::fputs(Usage, stdout);
            return 0;
        } else if (!std::strcmp(a, "--execute")) {
            execute = true;
        } else if (!std::strcmp(a, "--instance") && i + 1 < argc) {
            instance = std::atoi(argv[++i]);
            if (instance < 1 || instance > RemoteMaxInstances) {
                std::fprintf(stderr, "nemu-remote: --instance wants 1 to %d\n", RemoteMaxInstances);
                return 2;
            }
        } else {
            if (!text.empty()) text += ' ';
            text += a;
        }
    }
    if (text.empty()) {
        std::fputs(Usage, stderr);
        return 2;
    }
    if (text.size() > RemoteTextMax) {
        std::fprintf(stderr, "nemu-remote: the command text has %zu bytes; at most %u can be sent\n",
                     text.size(), RemoteTextMax);
        return 2;
    }
    std::string path = SocketPathFor(instance);
    sockaddr_un addr{};
    if (path.empty() || path.size() >= sizeof addr.sun_path) return 1;
    addr.sun_family = AF_UNIX;
    std::memcpy(addr.sun_path, path.c_str(), path.size() + 1);
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0 || connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
        std::fprintf(stderr, "nemu-remote: no instance answers at %s\n", path.c_str());
        return 1;
    }

    uint32_t count = uint32_t(text.size() + 1);
    unsigned char header[5] = {uint8_t(count), uint8_t(count >> 8), uint8_t(count >> 16),
                               uint8_t(count >> 24), uint8_t(execute ? REMOTE_EXECUTE : REMOTE_REQUEST)};
    unsigned char reply[5];
    if (!WriteAll(fd, header, 5) || !WriteAll(fd, text.data(), text.size()) || !ReadAll(fd, reply, 5)) {
        std::fprintf(stderr, "nemu-remote: the instance at %s closed the connection\n", path.c_str());
        close(fd);
        return 1;
    }
    uint32_t length =
        uint32_t(reply[0]) | uint32_t(reply[1]) << 8 | uint32_t(reply[2]) << 16 | uint32_t(reply[3]) << 24;
    if (length < 1 || length > RemoteReplyMax + 1) {
        std::fprintf(stderr, "nemu-remote: a malformed reply came back\n");
        close(fd);
        return 1;
    }
    std::string body(length - 1, '\0');
    bool ok = body.empty() || ReadAll(fd, body.data(), body.size());
    close(fd);
    if (!ok) {
        std::fprintf(stderr, "nemu-remote: the reply was cut short\n");
        return 1;
    }
    switch (reply[4]) {
    case REMOTE_DATA:
    case REMOTE_DATA_FAILED:
        std::printf("%s\n", body.c_str());
        return reply[4] == REMOTE_DATA_FAILED ? 2 : 0;
    case REMOTE_ACK:
        if (!body.empty() && body[0]) return 0;
        std::fprintf(stderr, "nemu-remote: %s\n",
                     execute ? "the command was broken off" : "no reply: the command is unknown");
        return 2;
    case REMOTE_REFUSED:
        std::fprintf(stderr, "nemu-remote: refused: %s\n", body.c_str());
        return 2;
    default:
        std::fprintf(stderr, "nemu-remote: a malformed reply came back\n");
        return 1;
    }
}
