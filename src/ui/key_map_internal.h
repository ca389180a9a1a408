// What the key map's files share among themselves: the names keys take in a settings
// file, the check of a binding, and the reading of a Keyboard section.
#pragma once

namespace nemu {

struct ConfigFile;

// "=" and "[" cannot stand as keys of a settings file: they are written "equal" and
// "braquet". Every other key is written by its own name.
const char* IniKeyName(const char* keyName);
const char* KeyNameFromIni(const char* iniName);

// A binding that can be taken: no longer than BindingMax, and every name in it a command
// of the working table. Otherwise the console says why, naming the key, and false.
bool BindingIsValid(const char* keyName, const char* binding);

// Applies section Keyboard of file (null: nothing) to bindings, one per row of KeyNames:
// an empty value keeps the binding, "none" removes it, anything valid replaces it. Each
// unknown key and refused binding is reported once on the console. False when the file
// has no Keyboard section.
bool ApplyKeyboardSection(ConfigFile* file, char** bindings);

} // namespace nemu
