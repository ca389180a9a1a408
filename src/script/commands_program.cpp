// Script commands of the program itself: identity, page size, pointer, user settings,
// the end of the program, and the locks a script puts on the interface.
#include "host/main_loop.h"
#include "script/command_families.h"
#include "script/screen_seam.h"
#include "ui/catalog.h"
#include "ui/settings.h"

#include <cctype>
#include <cstring>

namespace nemu {

static void Nop(CommandRequest*, const char*) {}

// Name, then message 9 (the version) and message 2 (its date) of the catalog.
static void Version(CommandRequest* request, const char*) {
    ReplyFormat(request, "%s %s %s", "Nemu", MsgGet(nullptr, 9), MsgGet(nullptr, 2));
}

static void GetWidth(CommandRequest* request, const char*) {
    ReplyFormat(request, "%d", int(PageWidth));
}
static void GetHeight(CommandRequest* request, const char*) {
    ReplyFormat(request, "%d", int(PageHeight));
}
static void GetMouse(CommandRequest* request, const char*) {
    ReplyFormat(request, "%d %d", int(PointerX), int(PointerY));
}

static void Quit(CommandRequest*, const char*) {
    QuitFlag = 1;
}
static void ResetDisplay(CommandRequest*, const char*) {
    RedrawAll();
}

// ---- The user's settings --------------------------------------------------------------------
// Values of the user settings are at most 1023 bytes.
constexpr size_t UserValueSize = 1024;

// The rest of the text with white space at both ends dropped, cut to size - 1 bytes.
static void RestOfText(const char* p, char* out, size_t size) {
    while (*p && std::isspace(static_cast<unsigned char>(*p))) p++;
    size_t n = std::strlen(p);
    while (n > 0 && std::isspace(static_cast<unsigned char>(p[n - 1]))) n--;
    if (n > size - 1) n = size - 1;
    std::memcpy(out, p, n);
    out[n] = 0;
}

// Reads "section key" into the two buffers; null when either is missing or too long.
static const char* ReadSectionKey(const char* args, char* section, char* key) {
    const char* p = ReadWordOrQuoted(args, section, WordSize);
    if (!p || !*section) return nullptr;
    p = ReadWordOrQuoted(p, key, WordSize);
    if (!p || !*key) return nullptr;
    return p;
}

// om_readuserstring section key [default]
static void ReadUserString(CommandRequest* request, const char* args) {
    char section[WordSize], key[WordSize];
    const char* p = ReadSectionKey(args, section, key);
    if (!p) {
        ReplyError(request, -1);
        return;
    }
    char fallback[UserValueSize], value[UserValueSize];
    RestOfText(p, fallback, sizeof fallback);
    ConfigGet(section, key, value, fallback, sizeof value);
    ReplyAppend(request, value);
}

// om_writeuserstring section key value; an empty value drops the key at the next save.
static void WriteUserString(CommandRequest* request, const char* args) {
    char section[WordSize], key[WordSize];
    const char* p = ReadSectionKey(args, section, key);
    if (!p) {
        ReplyError(request, -1);
        return;
    }
    char value[UserValueSize];
    RestOfText(p, value, sizeof value);
    if (!ConfigSet(section, key, value)) ReplyError(request, -1);
}

// ---- Locks ------------------------------------------------------------------------------------
static void LockUserCommand(CommandRequest*, const char*) {
    LockUser();
}
static void UnlockUserCommand(CommandRequest*, const char*) {
    UnlockUser();
}

static void LockMouseCommand(CommandRequest*, const char* args) {
    ReadArgs(args, 1);
    LockMouse(ArgInt[0]);
}

static void UnlockMouseCommand(CommandRequest*, const char*) {
    UnlockMouse();
}

static void LockDisplayCommand(CommandRequest*, const char* args) {
    char note[256];
    ReadMessageText(args, note, sizeof note);
    LockDisplay(note);
}

static void UnlockDisplayCommand(CommandRequest*, const char*) {
    UnlockDisplay();
}

const ScriptCommand ProgramCommands[] = {
    {"om_nop", Nop},
    {"om_version", Version},
    {"om_getwidth", GetWidth},
    {"om_getheight", GetHeight},
    {"om_getmouse", GetMouse},
    {"om_quit", Quit},
    {"om_resetdisplay", ResetDisplay},
    {"om_readuserstring", ReadUserString},
    {"om_writeuserstring", WriteUserString},
    {"om_lockuser", LockUserCommand},
    {"om_unlockuser", UnlockUserCommand},
    {"om_lockmouse", LockMouseCommand},
    {"om_unlockmouse", UnlockMouseCommand},
    {"om_lockdisplay", LockDisplayCommand},
    {"om_lockscreen", LockDisplayCommand},
    {"om_unlockdisplay", UnlockDisplayCommand},
    {"om_unlockscreen", UnlockDisplayCommand},
    {nullptr, nullptr},
};

} // namespace nemu
