// The command table and the key map. Everything the user can bind to a key or pick by
// name is a row of the command table: a name, a handler without arguments and the
// catalog message of its title. A key is bound to a text, a comma-separated list of
// command names run in order, so one key can run several commands; gadgets and menu rows
// name commands too, and so can show the key that runs them.
//
// A row whose operation is not built yet keeps its place with a null handler: it can be
// listed and bound, its menu row and gadget are shown greyed (CommandAvailable), and
// running it does nothing.
//
// Index: rows - plug-in rows - key names - life cycle - running - looking up - key files.
#pragma once
#include <cstddef>
#include <cstdint>

namespace nemu {

// ---- Rows -------------------------------------------------------------------------------------------
using CommandFn = void (*)();

struct CommandRow {
    const char* Name;   // as bindings and gadgets name it; compared without regard to case
    CommandFn Handler;  // null: a plug-in row, or an operation not built yet
    uint32_t TitleId;   // catalog message of the title; 0 for a plug-in row
    const char* Title;  // filled from the catalog by KeyMapInit, or the plug-in's name
    uint32_t PluginRef; // 0 for a built-in row; PluginRowFlag plus the plug-in's index
};
constexpr uint32_t PluginRowFlag = 0x10000;

constexpr int StaticCommandCount = 194;
// The built-in rows in family order, ended by a row with a null Name.
extern CommandRow StaticCommands[StaticCommandCount + 1];

// The working table: the built-in rows and one row per plug-in, sorted by name; or the
// static rows themselves, unsorted, when memory was short. Null before KeyMapInit.
extern CommandRow* CommandTable;
extern int32_t CommandCount;
extern bool CommandTableSorted;

// True when running the row does something now: a handler, or a plug-in behind it.
bool CommandAvailable(const CommandRow* row);

// ---- Plug-in rows -----------------------------------------------------------------------------------
// The plug-in host fills these; until it exists there are no plug-ins, and the table has
// the built-in rows alone.
struct CommandPluginHooks {
    int (*Count)();                 // plug-ins registered
    const char* (*Name)(int index); // a plug-in's name
    void (*Run)(int index);         // runs a plug-in as a command
};
extern CommandPluginHooks CommandPlugins;

// ---- Key names ---------------------------------------------------------------------------------------
struct KeyNameRow {
    const char* Name; // "a", "Shift A", "Ctrl F1", "Page Up"...; compared without regard to case
    char* Binding;    // heap text, or null when the key runs nothing
};
constexpr int KeyNameCount = 207;
extern KeyNameRow KeyNames[KeyNameCount];

struct DefaultBinding {
    const char* Key;
    const char* Command;
};
constexpr int DefaultBindingCount = 113;
extern const DefaultBinding DefaultBindings[DefaultBindingCount];

// A binding is cut at this many bytes; a longer one in a key file is refused.
constexpr size_t BindingMax = 4000;
// The settings section of the key map, at start-up and in key files.
constexpr const char* KeyboardSection = "Keyboard";

// ---- Life cycle --------------------------------------------------------------------------------------
// Builds the working table (titles from the catalog), copies the default bindings, then
// applies section Keyboard of the settings. Unknown keys and commands are reported on
// the console and skipped. Safe to call again: the former table and bindings are freed.
void KeyMapInit();
// Writes every binding to section Keyboard ("none" for an unbound key), then KeyMapFree.
void KeyMapSave();
// Frees the working table and the bindings.
void KeyMapFree();

// ---- Running -----------------------------------------------------------------------------------------
// The name of a key from its key number, typed text and qualifiers: a prefix "alt ",
// "ctrl ", "shift " (in that order) and a base. Writes it to out (size bytes) and returns
// its length, or 0 when the key has no name and is dropped. *escape becomes 1 for the
// Escape key, *ret for Return; either may be null.
int KeyNameOf(int32_t keycode, const char* text, uint32_t qualifiers, char* out, size_t size,
              int* escape = nullptr, int* ret = nullptr);
// The main loop's entry for a key no window consumed: runs the key's binding, or offers
// the key to the windows (BroadcastKey) when it has none.
void HandleKey(int32_t keycode, const char* text, uint32_t qualifiers, int length);
// Runs a binding: each comma-separated name in order, looked up without regard to case.
// An unknown name is skipped, and reported on the console only when it is the last. A
// binding that comes back to itself while it runs is refused. Returns the number of
// commands found, or -1 when the binding was refused.
int RunBinding(const char* text);
// Runs one row: its handler, or its plug-in.
void RunCommand(const CommandRow* row);

// Every window's key handler sees a key that nothing bound; the toolkit installs it.
extern void (*BroadcastKeyHook)(int32_t keycode, const char* text, uint32_t qualifiers, int length);
void BroadcastKey(int32_t keycode, const char* text, uint32_t qualifiers, int length);
// Runs after Escape cancelled the tool, before the key's binding: whatever waits for an
// Escape (a modal pick, a hook mode) installs itself here.
extern void (*PendingEscapeHook)();

// ---- Looking up --------------------------------------------------------------------------------------
// The row of a command name (any case) in the working table, or the static rows before
// KeyMapInit; null when there is none.
const CommandRow* FindCommand(const char* name);
// The row of a key name (any case), or null.
KeyNameRow* FindKeyName(const char* name);
// The first key whose whole binding is name (any case), or null: a key that runs two
// commands belongs to neither.
const char* KeyForCommand(const char* name);
// A key name as a help bubble shows it: the qualifiers and the named keys in the words of
// the catalog, joined by "+" ("Ctrl+Shift+F1"). Returns the length written to out.
int KeyLabel(const char* keyName, char* out, size_t size);
// Replaces a key's binding (null, empty or "none" removes it). 0 when the key is unknown
// or memory is short.
int SetKeyBinding(const char* keyName, const char* binding);

// ---- Key files ---------------------------------------------------------------------------------------
// A set of bindings, one per row of KeyNames, as the keyboard dialog edits them before
// they are taken.
struct KeyBindingSet {
    char* Binding[KeyNameCount];
};
// Copies the live bindings into set, or set's into the live ones. 0 without memory (the
// target is then as it was).
int CopyBindingsOut(KeyBindingSet* set);
int CopyBindingsIn(const KeyBindingSet* set);
void FreeBindingSet(KeyBindingSet* set);
// Writes a key file: ".cfg" added when missing, "[Keyboard]", then every key as
// "name=binding" ("=" as equal, "[" as braquet, "none" for no binding). 1 or 0.
int SaveKeyFile(const char* path, const KeyBindingSet* set);
// Reads a key file into set by the rule of the start-up: an empty value keeps the key's
// binding, "none" removes it. A file without a Keyboard section changes nothing, says so
// and returns 0; otherwise 1.
int LoadKeyFile(const char* path, KeyBindingSet* set);

} // namespace nemu
