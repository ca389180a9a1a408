// The command host: the one text entry point through which scripts, other programs and
// batch runs reach everything the program does. A text is either one command,
// "om_dot 10 20 0", or a row of bracketed groups, "[om_getwidth] [om_getheight]", whose
// results come back as one bracketed result per group, "[640][480]".
#pragma once
#include <cstddef>
#include <cstdint>

namespace nemu {

constexpr size_t ReplySize = 4100;

// One command text in flight.
struct CommandRequest {
    const char* Text = nullptr; // the command text; not owned here
    char Reply[ReplySize] = {}; // result text, built by appending, always terminated
    uint32_t Known = 0;         // 1 when the last command's name was in the table
    uint32_t Unknown = 0;       // commands of the text whose name was not in the table
    uint32_t Failed = 0;        // error replies the text's commands wrote (ReplyError, not 0)
    uint32_t ItemAtom = 0;      // the remote item to hand back (transport's own use)
    uintptr_t Client = 0;       // the remote client to answer
    uint32_t WantsData = 0;     // 1: the reply is wanted; 0: only an acknowledgement
};

using CommandHandler = void (*)(CommandRequest* request, const char* args);

// A row of the command table. Each command family keeps its rows in its own array,
// ended by a row with a null Name, and the registry lists the arrays.
struct ScriptCommand {
    const char* Name; // lower case, exactly as a script writes it
    CommandHandler Handler;
};

// The families' row arrays, ended by null (command_registry.cpp).
extern const ScriptCommand* const CommandFamilies[];

extern int32_t BracketMode; // 1 while the text being run began with "["
extern int32_t ReplyState;  // 0 nothing written, 1 a file command wrote its result, 2 a result stands
extern int32_t UserBreak;   // the Cancel of a progress box was pressed

// Numbers of the last ReadArgs. Handlers read them right after the call.
constexpr int MaxArgs = 32;
extern double ArgReal[MaxArgs];
extern int32_t ArgInt[MaxArgs];

// ---- Running ----------------------------------------------------------------------------
// Runs every command of request->Text and leaves the reply in request->Reply, with Known,
// Unknown and Failed counted afresh. Safe to nest: a handler may run another text, the
// outer run goes on as it was. Once SIGINT or SIGTERM has asked the program to end, no
// further command of the text runs.
void RunCommandText(CommandRequest* request);
// Whether any command of the last run was unknown or replied an error: what makes a
// batch run or a remote client report failure, whichever group it was.
bool RequestFaulty(const CommandRequest* request);
// The door of remote clients: runs text and copies the reply (at most size - 1 bytes,
// terminated) to result; *faulty (when not null) is set as RequestFaulty says. Returns 1
// when the last command was known, which tells a client that asked for data whether a
// reply stands.
int RunRemoteText(const char* text, char* result, size_t size, uint32_t* faulty = nullptr);
// The row of a lower-case name, or null.
const ScriptCommand* FindScriptCommand(const char* name);

// ---- Writing results ----------------------------------------------------------------------
// Appends a result: "[text]" in bracket mode, text as it stands otherwise. A reply that
// would overflow is cut; the reply stays terminated.
void ReplyAppend(CommandRequest* request, const char* text);
// printf-style ReplyAppend for the usual "%d %d" results.
void ReplyFormat(CommandRequest* request, const char* format, ...) __attribute__((format(printf, 2, 3)));
// "ERROR n" ("[ERROR n]" in bracket mode). -1 stands for a missing argument or a failed
// allocation; other numbers are what a file operation returned, and 0 there is success,
// which writes nothing in plain mode and "[]" in bracket mode.
void ReplyError(CommandRequest* request, int number);

// ---- Reading arguments --------------------------------------------------------------------
// Reads count numbers into ArgReal and ArgInt (truncated toward zero, limited to the i32
// range). A missing number reads 0, and a word that is not a number stops the reading
// where it stands, so it and all later numbers read 0. Returns the text after what was read.
const char* ReadArgs(const char* args, int count);
// A file name or word: white space is skipped, then either a "quoted" text up to the next
// quote or a word up to the next white space. Null when the word does not fit in size
// bytes with its terminator (a cut file name would name another file); otherwise the
// text after it, where options begin.
constexpr size_t WordSize = 4097;
const char* ReadWordOrQuoted(const char* args, char* buffer, size_t size);
// The rest of the line as a message: white space at both ends dropped, "\n" read as a
// newline, cut to size - 1 bytes. Returns its length.
constexpr size_t MessageSize = 65536;
size_t ReadMessageText(const char* args, char* buffer, size_t size);
// True when only white space is left.
bool ArgsEmpty(const char* args);

// ---- User locks -----------------------------------------------------------------------------
// A script can freeze the pointer shape, hold a counted pointer shape of its own and show
// a busy note. A script that ends or dies must not leave them on: EndScriptLocks releases
// all three, the note first, then the user lock, then the mouse lock.
extern int32_t UserLocked;     // 1 while pointer shape changes are refused
extern int32_t UserLockShape;  // the shape to bring back at the unlock
extern int32_t MouseLockCount; // nesting depth of om_lockmouse
extern int32_t MouseLockShape; // the shape before the first om_lockmouse
extern int32_t DisplayLocked;  // 1 while the script's busy note stands
void LockUser();
void UnlockUser();
void LockMouse(int shape);
void UnlockMouse();
void LockDisplay(const char* note); // null or empty: the default busy note
void UnlockDisplay();
void EndScriptLocks();

} // namespace nemu
