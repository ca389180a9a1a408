// The remote-command door: a Unix-domain socket in a private folder, served from the main
// thread through the platform's descriptor watch. Every arriving command is posted as a
// WM_DDE_REQUEST or WM_DDE_EXECUTE message; the answer comes back through RemoteAck or
// RemoteData once the command has run, which may be much later (during a stroke the
// command waits in the input layer's queue).
//
// Nothing a client does can stall the program or grow its memory without bound: sockets
// are non-blocking, input per client is one frame at most, a client may have only a few
// commands in flight, and one whose replies pile up unread is dropped. Nor can clients
// lock the door by holding its slots: one that owes a whole message for RemoteIdleSeconds
// is closed, and when every slot is taken the one idle longest makes room.
//
// A client that shuts down its sending side after its last message is still answered:
// the end of its input means only that nothing more will come.
//
// Sections: clients and output; reading frames; the listener; open and close. The folder
// and the socket names are in remote_folder.cpp.
#include "host/remote.h"

#include "host/platform.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace nemu {

constexpr int MaxOutstanding = 16;      // commands of one client posted and not yet answered
constexpr size_t MaxPendingOut = 16384; // reply bytes the kernel would not take yet
constexpr size_t FrameHeader = 5;

double RemoteIdleSeconds = RemoteIdleLimit;

// ---- Clients and output ---------------------------------------------------------------------------

struct Client {
    int Fd;
    uintptr_t Id; // what the posted messages carry; never reused, unlike descriptors
    uint8_t In[FrameHeader + RemoteTextMax];
    size_t InLength;
    uint8_t* Out;
    size_t OutLength, OutCapacity;
    int Outstanding;
    double IdleSince; // when it last had nothing in flight with us: connected, sent or answered
    bool PeerDone;    // its input has ended; it goes once everything it asked is answered
    bool Closing;     // refused or done: goes once its last words are out
};

static std::vector<Client*> Clients;
static int ListenFd = -1;
static std::string SocketPath;
static ino_t SocketInode = 0;
static uintptr_t NextClientId = 1;

int RemoteClientCount() {
    return int(Clients.size());
}
const char* RemoteSocketPath() {
    return SocketPath.c_str();
}

static Client* FindClient(uintptr_t id) {
    for (Client* c : Clients)
        if (c->Id == id) return c;
    return nullptr;
}

static void DropClient(Client* c) {
    PlatformUnwatchFd(c->Fd);
    close(c->Fd);
    for (size_t i = 0; i < Clients.size(); i++)
        if (Clients[i] == c) {
            Clients.erase(Clients.begin() + long(i));
            break;
        }
    std::free(c->Out);
    delete c;
}

static bool Reading(const Client* c) {
    return !c->Closing && !c->PeerDone && c->Outstanding < MaxOutstanding;
}

// Only a client with no command in flight can be idle: one that waits for a long command
// owes us nothing.
static bool Idle(const Client* c) {
    return c->Outstanding == 0;
}

static void UpdateInterest(Client* c) {
    PlatformWatchFdEvents(c->Fd, Reading(c), c->OutLength > 0);
    PlatformWatchFdDeadline(c->Fd, Idle(c) ? c->IdleSince + RemoteIdleSeconds : 0);
}

static bool WholeFrameWaits(const Client* c) {
    if (c->InLength < 4) return false;
    uint32_t count = uint32_t(c->In[0]) | uint32_t(c->In[1]) << 8 | uint32_t(c->In[2]) << 16 |
                     uint32_t(c->In[3]) << 24;
    return c->InLength >= 4 + size_t(count);
}

// A client whose input has ended and whose every command is answered has nothing more
// to hear: it goes once its output is out. A part of a frame left at the end is dropped.
static void CloseIfDone(Client* c) {
    if (c->PeerDone && c->Outstanding == 0 && !WholeFrameWaits(c)) c->Closing = true;
}

// Writes what the kernel takes; false when the client is gone (and has been dropped).
static bool FlushOut(Client* c) {
    while (c->OutLength > 0) {
        ssize_t n = send(c->Fd, c->Out, c->OutLength, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (n > 0) {
            std::memmove(c->Out, c->Out + n, c->OutLength - size_t(n));
            c->OutLength -= size_t(n);
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) break;
        DropClient(c);
        return false;
    }
    if (c->Closing && c->OutLength == 0) {
        DropClient(c);
        return false;
    }
    UpdateInterest(c);
    return true;
}

// Queues one frame; false when the client is gone. A client whose unread replies pass
// the bound is dropped: it is not reading, and holding more would only grow.
static bool SendFrame(Client* c, uint8_t kind, const void* body, size_t length) {
    size_t need = c->OutLength + FrameHeader + length;
    if (need > MaxPendingOut + FrameHeader + RemoteReplyMax) {
        DropClient(c);
        return false;
    }
    if (need > c->OutCapacity) {
        auto* grown = static_cast<uint8_t*>(std::realloc(c->Out, need));
        if (!grown) {
            DropClient(c);
            return false;
        }
        c->Out = grown;
        c->OutCapacity = need;
    }
    uint8_t* p = c->Out + c->OutLength;
    uint32_t count = uint32_t(length + 1);
    for (int i = 0; i < 4; i++) p[i] = uint8_t(count >> (8 * i));
    p[4] = kind;
    if (length) std::memcpy(p + FrameHeader, body, length);
    c->OutLength = need;
    if (!FlushOut(c)) return false;
    return c->OutLength <= MaxPendingOut || (DropClient(c), false);
}

static void Refuse(Client* c, const char* why) {
    c->Closing = true;
    SendFrame(c, REMOTE_REFUSED, why, std::strlen(why));
}

// ---- Reading frames -----------------------------------------------------------------------------------

// False when the client was dropped on the way.
static bool PostCommand(Client* c, uint8_t kind, const uint8_t* text, size_t length) {
    char* copy = static_cast<char*>(std::malloc(length + 1));
    if (!copy) {
        uint8_t failed = 0;
        return SendFrame(c, REMOTE_ACK, &failed, 1);
    }
    std::memcpy(copy, text, length);
    copy[length] = 0;
    c->IdleSince = PlatformSeconds();
    NativeMsg m;
    m.Message = kind == REMOTE_REQUEST ? WM_DDE_REQUEST : WM_DDE_EXECUTE;
    m.WParam = c->Id;
    m.Text = copy;
    m.TextLength = length;
    c->Outstanding++;
    PlatformPost(m);
    return true;
}

// Posts every whole frame in the buffer while the client may have more in flight; false
// when the client was dropped or refused.
static bool TakeFrames(Client* c) {
    while (!c->Closing && c->Outstanding < MaxOutstanding && c->InLength >= 4) {
        uint32_t count = uint32_t(c->In[0]) | uint32_t(c->In[1]) << 8 | uint32_t(c->In[2]) << 16 |
                         uint32_t(c->In[3]) << 24;
        if (count > 1 + RemoteTextMax) {
            Refuse(c, "command text longer than 2047 bytes");
            return false;
        }
        if (count == 0) {
            Refuse(c, "empty message");
            return false;
        }
        if (c->InLength < 4 + count) break;
        uint8_t kind = c->In[4];
        const uint8_t* text = c->In + FrameHeader;
        size_t length = count - 1;
        if (kind != REMOTE_REQUEST && kind != REMOTE_EXECUTE) {
            Refuse(c, "unknown message kind");
            return false;
        }
        if (std::memchr(text, 0, length)) {
            Refuse(c, "command text holds a NUL byte");
            return false;
        }
        if (!PostCommand(c, kind, text, length)) return false;
        size_t used = 4 + count;
        std::memmove(c->In, c->In + used, c->InLength - used);
        c->InLength -= used;
    }
    return true;
}

static bool HungUp(int fd) {
    pollfd p{fd, 0, 0};
    return poll(&p, 1, 0) > 0 && (p.revents & (POLLHUP | POLLERR | POLLNVAL));
}

static void OnClientReady(int fd, void* user) {
    Client* c = FindClient(uintptr_t(user));
    if (!c) {
        PlatformUnwatchFd(fd);
        return;
    }
    if (Idle(c) && PlatformSeconds() - c->IdleSince >= RemoteIdleSeconds) {
        DropClient(c); // silent, or stuck halfway through a message, for too long
        return;
    }
    if (c->OutLength > 0 && !FlushOut(c)) return;
    if (!Reading(c)) {
        // Not listening to it now; only notice that it has gone.
        if (HungUp(c->Fd))
            DropClient(c);
        else
            UpdateInterest(c);
        return;
    }
    for (;;) {
        size_t room = sizeof c->In - c->InLength;
        if (room == 0) break;
        ssize_t n = recv(c->Fd, c->In + c->InLength, room, MSG_DONTWAIT);
        if (n > 0) {
            c->InLength += size_t(n);
            if (!TakeFrames(c)) return;
            if (c->Outstanding >= MaxOutstanding) break;
            continue;
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) break;
        if (n < 0) {
            DropClient(c); // an error: the client has gone
            return;
        }
        // End of input: the client may still be waiting for its answers.
        c->PeerDone = true;
        CloseIfDone(c);
        FlushOut(c);
        return;
    }
    UpdateInterest(c);
}

static void Answer(uintptr_t client, uint8_t kind, const void* body, size_t length) {
    Client* c = FindClient(client);
    if (!c) return; // gone in the meantime: nobody to tell
    if (c->Outstanding > 0) c->Outstanding--;
    c->IdleSince = PlatformSeconds();
    if (!SendFrame(c, kind, body, length)) return;
    // Frames held back while it had too many in flight can go now.
    if (!TakeFrames(c) || !FindClient(client)) return;
    CloseIfDone(c);
    FlushOut(c);
}

void RemoteAck(uintptr_t client, int status) {
    uint8_t byte = status ? 1 : 0;
    Answer(client, REMOTE_ACK, &byte, 1);
}

void RemoteData(uintptr_t client, const char* text, bool faulty) {
    if (!text) text = "";
    Answer(client, faulty ? REMOTE_DATA_FAILED : REMOTE_DATA, text, strnlen(text, RemoteReplyMax - 1));
}

// ---- The listener --------------------------------------------------------------------------------------

// Makes room for a new client when every slot is taken: the one idle longest goes. False
// when every client has a command in flight.
static bool MakeRoom() {
    if (Clients.size() < RemoteMaxClients) return true;
    Client* oldest = nullptr;
    for (Client* c : Clients)
        if (Idle(c) && (!oldest || c->IdleSince < oldest->IdleSince)) oldest = c;
    if (!oldest) return false;
    DropClient(oldest);
    return true;
}

static void OnListenerReady(int, void*) {
    for (;;) {
        int fd = accept4(ListenFd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd < 0) {
            if (errno == EINTR) continue;
            return; // no more waiting, or out of descriptors for now
        }
        // The folder keeps other users out; the peer's credentials are the second lock.
        if (!RemotePeerAllowed(fd, geteuid()) || !MakeRoom()) {
            close(fd);
            continue;
        }
        Client* c = new (std::nothrow) Client{};
        if (!c) {
            close(fd);
            continue;
        }
        c->Fd = fd;
        c->Id = NextClientId++;
        c->IdleSince = PlatformSeconds();
        Clients.push_back(c);
        PlatformWatchFd(fd, OnClientReady, reinterpret_cast<void*>(c->Id));
        UpdateInterest(c);
    }
}

// ---- Open and close -------------------------------------------------------------------------------------

static bool FillAddress(sockaddr_un* addr, const std::string& path) {
    if (path.size() >= sizeof addr->sun_path) return false;
    std::memset(addr, 0, sizeof *addr);
    addr->sun_family = AF_UNIX;
    std::memcpy(addr->sun_path, path.c_str(), path.size() + 1);
    return true;
}

// Whether an instance answers on this socket. A refused connection means a socket left
// behind by one that died.
static bool SocketIsLive(const sockaddr_un& addr) {
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0) return true; // cannot tell: leave it alone
    int r = connect(fd, reinterpret_cast<const sockaddr*>(&addr), sizeof addr);
    bool live = r == 0 || errno == EAGAIN || errno == EINPROGRESS;
    close(fd);
    return live;
}

static void Warn(const std::string& text) {
    Warning("remote commands: %s", text.c_str());
}

int RemoteOpen() {
    if (ListenFd >= 0) return 1;
    std::string why;
    std::string folder = RemoteFolder(true, &why);
    if (folder.empty()) {
        Warn(why + "; the door stays closed");
        return 0;
    }
    for (int instance = 1; instance <= RemoteMaxInstances; instance++) {
        std::string path = folder + "/" + RemoteSocketName(instance);
        sockaddr_un addr;
        if (!FillAddress(&addr, path)) {
            Warn(path + " is too long for a socket name");
            return 0;
        }
        struct stat st;
        if (lstat(path.c_str(), &st) == 0) {
            // Anything but a socket is not ours to remove; a live socket is another instance.
            if (!S_ISSOCK(st.st_mode) || SocketIsLive(addr)) continue;
            unlink(path.c_str());
        }
        int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (fd < 0) {
            Warn(std::string("no socket: ") + std::strerror(errno));
            return 0;
        }
        if (bind(fd, reinterpret_cast<const sockaddr*>(&addr), sizeof addr) != 0) {
            int err = errno;
            close(fd);
            if (err == EADDRINUSE) continue; // another instance took it just now
            Warn(path + ": " + std::strerror(err));
            return 0;
        }
        if (listen(fd, 64) != 0 || lstat(path.c_str(), &st) != 0) {
            Warn(path + ": " + std::strerror(errno));
            close(fd);
            unlink(path.c_str());
            return 0;
        }
        ListenFd = fd;
        SocketPath = path;
        SocketInode = st.st_ino;
        setenv("NEMU_SOCKET", path.c_str(), 1);
        PlatformWatchFd(fd, OnListenerReady, nullptr);
        return 1;
    }
    Warn("every socket name in " + folder + " is taken");
    return 0;
}

void RemoteClose() {
    while (!Clients.empty()) DropClient(Clients.back());
    if (ListenFd < 0) return;
    PlatformUnwatchFd(ListenFd);
    close(ListenFd);
    ListenFd = -1;
    // Only the socket this instance made is removed, not one that replaced it since.
    struct stat st;
    if (lstat(SocketPath.c_str(), &st) == 0 && S_ISSOCK(st.st_mode) && st.st_ino == SocketInode)
        unlink(SocketPath.c_str());
    const char* env = std::getenv("NEMU_SOCKET");
    if (env && SocketPath == env) unsetenv("NEMU_SOCKET");
    SocketPath.clear();
}

} // namespace nemu
