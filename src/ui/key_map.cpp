// The working command table and the live key map: building them at start-up, writing
// them back at the end, and the lookups by command and by key.
//
// Sections: the working table; life cycle; lookups.
#include "host/platform.h"
#include "ui/catalog.h"
#include "ui/commands.h"
#include "ui/key_map_internal.h"
#include "ui/settings.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace nemu {

CommandRow* CommandTable = nullptr;
int32_t CommandCount = 0;
bool CommandTableSorted = false;
CommandPluginHooks CommandPlugins = {};

bool CommandAvailable(const CommandRow* row) {
    if (!row) return false;
    if (row->Handler) return true;
    if (!(row->PluginRef & PluginRowFlag) || !CommandPlugins.Count || !CommandPlugins.Run) return false;
    return int(row->PluginRef & 0xFFFF) < CommandPlugins.Count();
}

// ---- The working table -----------------------------------------------------------------------------

// Message 20481 ("Plug-in"), a blank and the plug-in's name: both the row's name and its
// title, so that a key can name the plug-in.
static char* PluginRowName(int index) {
    const char* name = CommandPlugins.Name ? CommandPlugins.Name(index) : nullptr;
    if (!name) return nullptr;
    const char* word = MsgGet(nullptr, 20481);
    const size_t size = std::strlen(word) + std::strlen(name) + 2;
    char* text = static_cast<char*>(std::malloc(size));
    if (text) std::snprintf(text, size, "%s %s", word, name);
    return text;
}

static int CompareRows(const void* a, const void* b) {
    return strcasecmp(static_cast<const CommandRow*>(a)->Name, static_cast<const CommandRow*>(b)->Name);
}

// The static rows and one row per plug-in, sorted by name. Without memory the static rows
// serve as they stand, unsorted and without plug-ins.
static void BuildWorkingTable() {
    for (CommandRow* row = StaticCommands; row->Name; ++row) row->Title = MsgGet(nullptr, row->TitleId);
    const int plugins = CommandPlugins.Count ? CommandPlugins.Count() : 0;
    const size_t capacity = size_t(StaticCommandCount) + size_t(plugins > 0 ? plugins : 0) + 1;
    auto* table = static_cast<CommandRow*>(std::calloc(capacity, sizeof(CommandRow)));
    if (!table) {
        CommandTable = StaticCommands;
        CommandCount = StaticCommandCount;
        CommandTableSorted = false;
        return;
    }
    std::memcpy(table, StaticCommands, sizeof(CommandRow) * StaticCommandCount);
    int count = StaticCommandCount;
    for (int i = 0; i < plugins && i <= 0xFFFF; ++i) {
        char* name = PluginRowName(i);
        if (!name) continue;
        table[count++] = CommandRow{name, nullptr, 0, name, PluginRowFlag | uint32_t(i)};
    }
    std::qsort(table, size_t(count), sizeof(CommandRow), CompareRows);
    CommandTable = table;
    CommandCount = count;
    CommandTableSorted = true;
}

static void FreeWorkingTable() {
    if (CommandTable && CommandTable != StaticCommands) {
        for (int i = 0; i < CommandCount; ++i)
            if (CommandTable[i].PluginRef) std::free(const_cast<char*>(CommandTable[i].Name));
        std::free(CommandTable);
    }
    CommandTable = nullptr;
    CommandCount = 0;
    CommandTableSorted = false;
    for (CommandRow* row = StaticCommands; row->Name; ++row) row->Title = nullptr;
}

// ---- Life cycle ----------------------------------------------------------------------------------------

static void CopyDefaults() {
    for (const DefaultBinding& d : DefaultBindings) {
        KeyNameRow* row = FindKeyName(d.Key);
        if (!row) {
            Warning("key \"%s\" not found", d.Key);
            continue;
        }
        char* text = strdup(d.Command);
        if (!text) continue; // the key stays unbound; nothing else is lost
        std::free(row->Binding);
        row->Binding = text;
    }
}

void KeyMapInit() {
    KeyMapFree();
    BuildWorkingTable();
    CopyDefaults();
    char* live[KeyNameCount];
    for (int i = 0; i < KeyNameCount; ++i) live[i] = KeyNames[i].Binding;
    ApplyKeyboardSection(CurrentConfig, live);
    for (int i = 0; i < KeyNameCount; ++i) KeyNames[i].Binding = live[i];
}

void KeyMapSave() {
    for (const KeyNameRow& row : KeyNames)
        ConfigSet(KeyboardSection, IniKeyName(row.Name), row.Binding ? row.Binding : "none");
    KeyMapFree();
}

void KeyMapFree() {
    FreeWorkingTable();
    for (KeyNameRow& row : KeyNames) {
        std::free(row.Binding);
        row.Binding = nullptr;
    }
}

// ---- Lookups -------------------------------------------------------------------------------------------

const CommandRow* FindCommand(const char* name) {
    if (!name || !*name) return nullptr;
    if (CommandTable && CommandTableSorted) {
        CommandRow key{name, nullptr, 0, nullptr, 0};
        return static_cast<const CommandRow*>(
            std::bsearch(&key, CommandTable, size_t(CommandCount), sizeof(CommandRow), CompareRows));
    }
    const CommandRow* rows = CommandTable ? CommandTable : StaticCommands;
    const int count = CommandTable ? CommandCount : StaticCommandCount;
    for (int i = 0; i < count; ++i)
        if (strcasecmp(rows[i].Name, name) == 0) return &rows[i];
    return nullptr;
}

KeyNameRow* FindKeyName(const char* name) {
    if (!name) return nullptr;
    for (KeyNameRow& row : KeyNames)
        if (strcasecmp(row.Name, name) == 0) return &row;
    return nullptr;
}

const char* KeyForCommand(const char* name) {
    if (!name) return nullptr;
    for (const KeyNameRow& row : KeyNames)
        if (row.Binding && strcasecmp(row.Binding, name) == 0) return row.Name;
    return nullptr;
}

int SetKeyBinding(const char* keyName, const char* binding) {
    KeyNameRow* row = FindKeyName(keyName);
    if (!row) return 0;
    char* text = nullptr;
    if (binding && *binding && strcasecmp(binding, "none") != 0) {
        if (!BindingIsValid(row->Name, binding)) return 0;
        if (!(text = strdup(binding))) return 0;
    }
    std::free(row->Binding);
    row->Binding = text;
    return 1;
}

} // namespace nemu
