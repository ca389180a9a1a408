// The remote-command door: how other programs hand Nemu a command text and get the
// reply back. The transport (a Unix-domain socket) posts each arriving command as a
// native WM_DDE_REQUEST (reply text wanted) or WM_DDE_EXECUTE (status only) message whose
// Text is the command and whose WParam identifies the client; the input layer turns it
// into a RemoteRequest and, once the command has run, answers through these calls.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace nemu {

// Opens the door; 0 when it stays closed (a warning has then been printed).
int RemoteOpen();
void RemoteClose();
// The socket path in use, or "" when closed.
const char* RemoteSocketPath();

// Answers a client: an acknowledgement with a status (0 or 1), or a reply text, faulty
// when a command of the text was unknown or replied an error, or it was broken off.
// A client that has gone away is silently forgotten.
void RemoteAck(uintptr_t client, int status);
void RemoteData(uintptr_t client, const char* text, bool faulty);

// ---- Wire format, shared with the client tool -------------------------------------------------
// Every message, either way: a 4-byte little-endian count of the bytes that follow, then a
// kind byte, then the body. Requests carry the command text (at most RemoteTextMax bytes,
// no NUL); an acknowledgement carries one status byte (0 or 1); data carries the reply
// text, in one of two kinds so that a client knows, whichever group it was, whether
// anything went wrong; a refusal carries a sentence saying why, and the server then closes.
enum RemoteFrameKind : uint8_t {
    REMOTE_REQUEST = 'R',     // reply text wanted
    REMOTE_EXECUTE = 'E',     // status only
    REMOTE_ACK = 'A',         // an execute's status; for a request, 0: its last command is unknown
    REMOTE_DATA = 'D',        // the reply; every command was known and none replied an error
    REMOTE_DATA_FAILED = 'F', // the reply; a command was unknown or replied an error, or "BREAK"
    REMOTE_REFUSED = 'X',
};
constexpr uint32_t RemoteTextMax = 2047;
constexpr uint32_t RemoteReplyMax = 4100;
constexpr int RemoteMaxInstances = 16;
constexpr size_t RemoteMaxClients = 128; // connections served at once
// A client with no command in flight that sends no whole message for this long is
// closed. The limit in use is RemoteIdleSeconds, which a test may shorten.
constexpr double RemoteIdleLimit = 10.0;
extern double RemoteIdleSeconds;

// The private folder of the sockets ($XDG_RUNTIME_DIR/nemu, else nemu/run under the cache
// folder), made with mode 0700 when make is set. "" when no safe folder can be had, with
// the reason in why.
std::string RemoteFolder(bool make, std::string* why);
// 1 when path is a real folder of this user with mode 0700; else 0 and the reason.
int RemoteCheckFolder(const char* path, std::string* why);
// The socket's name for an instance: "Nemu.Commands", then "Nemu.Commands.2" and so on.
std::string RemoteSocketName(int instance);
// 1 when the peer of a connected socket runs as owner.
int RemotePeerAllowed(int fd, uint32_t owner);
// Clients connected now.
int RemoteClientCount();

} // namespace nemu
