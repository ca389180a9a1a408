// Script commands of the command table and the key map: running the program's commands
// by name as a key would, asking and changing which key runs what, and key files.
#include "script/command_families.h"
#include "ui/commands.h"

#include <cstring>

namespace nemu {

// om_runcommand names: a binding, run as its key would run it ("SwapABPen, Undo").
// ERROR -1 when no name in it is a command (or the binding came back to itself).
static void RunByName(CommandRequest* request, const char* args) {
    char text[BindingMax + 1];
    ReadMessageText(args, text, sizeof text);
    if (RunBinding(text) <= 0) ReplyError(request, -1);
}

// om_getkey name: the key whose binding is that command alone, or nothing.
static void GetKey(CommandRequest* request, const char* args) {
    char name[WordSize];
    const char* key = ReadWordOrQuoted(args, name, sizeof name) ? KeyForCommand(name) : nullptr;
    ReplyAppend(request, key ? key : "");
}

// om_setkey key binding: key is a word or a "quoted" name ("Shift A"); an empty binding
// or "none" leaves the key unbound. ERROR -1 for an unknown key or command.
static void SetKey(CommandRequest* request, const char* args) {
    char key[WordSize];
    const char* rest = ReadWordOrQuoted(args, key, sizeof key);
    char binding[BindingMax + 2];
    if (rest) ReadMessageText(rest, binding, sizeof binding);
    if (!rest || !SetKeyBinding(key, binding)) ReplyError(request, -1);
}

// om_loadkeys name: the bindings of a key file, as the keyboard dialog loads them.
static void LoadKeys(CommandRequest* request, const char* args) {
    char path[WordSize];
    KeyBindingSet set = {};
    bool ok = ReadWordOrQuoted(args, path, sizeof path) && path[0] && CopyBindingsOut(&set) &&
              LoadKeyFile(path, &set) && CopyBindingsIn(&set);
    FreeBindingSet(&set);
    if (!ok) ReplyError(request, -1);
}

// om_savekeys name: every binding to a key file (".cfg" added when missing).
static void SaveKeys(CommandRequest* request, const char* args) {
    char path[WordSize];
    KeyBindingSet set = {};
    bool ok = ReadWordOrQuoted(args, path, sizeof path) && path[0] && CopyBindingsOut(&set) &&
              SaveKeyFile(path, &set);
    FreeBindingSet(&set);
    if (!ok) ReplyError(request, -1);
}

const ScriptCommand KeyCommands[] = {
    {"om_runcommand", RunByName}, {"om_getkey", GetKey},     {"om_setkey", SetKey},
    {"om_loadkeys", LoadKeys},    {"om_savekeys", SaveKeys}, {nullptr, nullptr},
};

} // namespace nemu
