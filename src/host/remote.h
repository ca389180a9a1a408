// The remote-command door: how other programs hand Nemu a command text and get the
// reply back. The transport (a Unix-domain socket) posts each arriving command as a
// native WM_DDE_REQUEST (reply text wanted) or WM_DDE_EXECUTE (status only) message whose
// Text is the command and whose WParam identifies the client; the input layer turns it
// into a RemoteRequest and, once the command has run, answers through these calls.
#pragma once
#include <cstdint>

namespace nemu {

// Opens the door; 0 when it stays closed (a warning has then been printed).
int RemoteOpen();
void RemoteClose();
// The socket path in use, or "" when closed.
const char* RemoteSocketPath();

// Answers a client: an acknowledgement with a status (0 or 1), or a reply text.
// A client that has gone away is silently forgotten.
void RemoteAck(uintptr_t client, int status);
void RemoteData(uintptr_t client, const char* text);

} // namespace nemu
