// Key maps in settings files: section Keyboard of the settings at start-up, and the key
// files (".cfg") that the keyboard dialog loads and saves, with the checks that keep a
// damaged or hostile file from binding anything it should not.
//
// Sections: names in files; checking a binding; applying a section; binding sets; key files.
#include "host/platform.h"
#include "ui/catalog.h"
#include "ui/commands.h"
#include "ui/key_map_internal.h"
#include "ui/requests.h"
#include "ui/settings.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>
#include <strings.h>

namespace nemu {

// ---- Names in files ------------------------------------------------------------------------------------

static const struct {
    const char* Key;
    const char* Ini;
} IniNames[] = {{"=", "equal"}, {"[", "braquet"}};

const char* IniKeyName(const char* keyName) {
    for (const auto& n : IniNames)
        if (std::strcmp(keyName, n.Key) == 0) return n.Ini;
    return keyName;
}

const char* KeyNameFromIni(const char* iniName) {
    for (const auto& n : IniNames)
        if (strcasecmp(iniName, n.Ini) == 0) return n.Key;
    return iniName;
}

// ---- Checking a binding --------------------------------------------------------------------------------

bool BindingIsValid(const char* keyName, const char* binding) {
    if (std::strlen(binding) > BindingMax) {
        Warning("the binding of key \"%s\" is longer than %zu bytes and is not taken", keyName, BindingMax);
        return false;
    }
    std::string name;
    for (const char* p = binding;; ++p) {
        if (*p && *p != ',') {
            name += *p;
            continue;
        }
        while (!name.empty() && (name.back() == ' ' || name.back() == '\t')) name.pop_back();
        const size_t start = name.find_first_not_of(" \t");
        if (start != std::string::npos && !FindCommand(name.c_str() + start)) {
            Warning("function %.200s not found", name.c_str() + start);
            return false;
        }
        name.clear();
        if (!*p) return true;
    }
}

// ---- Applying a section ----------------------------------------------------------------------------------

// Sections are indexed by their bracketed name in lower case; a key stands once in its
// section, with the value of its last line.
static ConfigSection* KeyboardOf(ConfigFile* file) {
    if (!file) return nullptr;
    std::string wanted = std::string("[") + KeyboardSection + "]";
    for (char& c : wanted) c = char(std::tolower(static_cast<unsigned char>(c)));
    auto it = file->Index.find(wanted);
    return it == file->Index.end() ? nullptr : &file->Sections[it->second];
}

bool ApplyKeyboardSection(ConfigFile* file, char** bindings) {
    ConfigSection* section = KeyboardOf(file);
    if (!section) return false;
    for (const ConfigKey& key : section->Keys) {
        const KeyNameRow* row = FindKeyName(KeyNameFromIni(key.Name.c_str()));
        if (!row) {
            Warning("key \"%.200s\" not found", key.Name.c_str());
            continue;
        }
        const char* value = key.Value.c_str();
        if (!*value) continue;
        char* text = nullptr;
        if (strcasecmp(value, "none") != 0) {
            if (!BindingIsValid(row->Name, value) || !(text = strdup(value))) continue;
        }
        char*& slot = bindings[row - KeyNames];
        std::free(slot);
        slot = text;
    }
    return true;
}

// ---- Binding sets ----------------------------------------------------------------------------------------

// Copies count texts; on a failed copy everything made is freed and false returned.
static bool CopyTexts(char* const* from, char** to) {
    for (int i = 0; i < KeyNameCount; ++i) {
        to[i] = nullptr;
        if (from[i] && !(to[i] = strdup(from[i]))) {
            for (int j = 0; j < i; ++j) std::free(to[j]);
            return false;
        }
    }
    return true;
}

int CopyBindingsOut(KeyBindingSet* set) {
    char* live[KeyNameCount];
    for (int i = 0; i < KeyNameCount; ++i) live[i] = KeyNames[i].Binding;
    char* copy[KeyNameCount];
    if (!CopyTexts(live, copy)) return 0;
    FreeBindingSet(set);
    std::memcpy(set->Binding, copy, sizeof copy);
    return 1;
}

int CopyBindingsIn(const KeyBindingSet* set) {
    char* copy[KeyNameCount];
    if (!CopyTexts(set->Binding, copy)) return 0;
    for (int i = 0; i < KeyNameCount; ++i) {
        std::free(KeyNames[i].Binding);
        KeyNames[i].Binding = copy[i];
    }
    return 1;
}

void FreeBindingSet(KeyBindingSet* set) {
    for (char*& text : set->Binding) {
        std::free(text);
        text = nullptr;
    }
}

// ---- Key files -------------------------------------------------------------------------------------------

constexpr const char* KeyFileExtension = ".cfg";

int SaveKeyFile(const char* path, const KeyBindingSet* set) {
    if (!path || !*path) return 0;
    std::string name = path;
    const size_t e = std::strlen(KeyFileExtension);
    if (name.size() < e || strcasecmp(name.c_str() + name.size() - e, KeyFileExtension) != 0)
        name += KeyFileExtension;
    std::string text = std::string("[") + KeyboardSection + "]\n";
    for (int i = 0; i < KeyNameCount; ++i) {
        text += IniKeyName(KeyNames[i].Name);
        text += '=';
        text += set->Binding[i] ? set->Binding[i] : "none";
        text += '\n';
    }
    if (WriteFileAtomic(name.c_str(), text)) return 1;
    AlertMsg(19926);
    return 0;
}

int LoadKeyFile(const char* path, KeyBindingSet* set) {
    ConfigFile* file = path ? OpenConfig(path) : nullptr;
    const bool isKeyMap = ApplyKeyboardSection(file, set->Binding);
    CloseConfig(file);
    if (!isKeyMap) AlertMsg(19925);
    return isKeyMap ? 1 : 0;
}

} // namespace nemu
