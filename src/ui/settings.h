// Settings: one in-memory file of [section] and key=value lines (the current profile),
// plus separate handles for other files such as the machine file Nemu.INI.
// Names compare without regard to case; a section's stored name keeps its brackets.
#pragma once
#include <cstddef>
#include <cstdio>
#include <string>
#include <unordered_map>
#include <vector>

namespace nemu {

struct ConfigKey {
    std::string Name;
    std::string Value;
};

// Keys and sections keep the order of the file; the indexes, by lower-cased name, keep
// a file of many thousand keys from turning every lookup into a walk.
struct ConfigSection {
    std::string Name; // with its brackets, "[Main]"
    std::vector<ConfigKey> Keys;
    std::unordered_map<std::string, size_t> Index;
};

struct ConfigFile {
    std::string Path;
    std::vector<ConfigSection> Sections;
    std::unordered_map<std::string, size_t> Index;
    int Changed = 0; // ConfigSetIn calls since open
};

extern ConfigFile* CurrentConfig; // the current profile; null when none is loaded
extern ConfigFile* MachineConfig; // Nemu.INI, open from start-up to exit

// Copies the value of key in section (a name without brackets), or the default, cut to
// size - 1 characters; returns its length, 0 for a null buffer or section.
int ConfigGet(const char* section, const char* key, char* buffer, const char* defaultValue, size_t size);
// Sets a key of section (a name without brackets: they are added here); 1 on success.
// A name the file could not hold (brackets in the section, a key that begins with "[" or
// a blank or holds "=", a line break anywhere) is refused with a warning: 0, nothing set.
int ConfigSet(const char* section, const char* key, const char* value);
int LoadConfig(const char* path);
int LoadProfile(const char* name);
int SaveConfig();
int CopyProfile(const char* name);
std::string ProfilePath(const char* name);

ConfigFile* OpenConfig(const char* path);
int ConfigGetIn(ConfigFile* handle, const char* section, const char* key, char* buffer,
                const char* defaultValue, size_t size);
int ConfigSetIn(ConfigFile* handle, const char* section, const char* key, const char* value);
int CloseConfig(ConfigFile* handle);

// Parsing and writing of the text form, shared by every settings file. A settings file
// is read up to MaxConfigBytes; nothing that size is a real one.
constexpr size_t MaxConfigBytes = 16u << 20;
void ParseConfigText(ConfigFile* file, const std::string& text);
void ParseConfigStream(ConfigFile* file, FILE* stream);
std::string ConfigText(const ConfigFile* file);
// Writes text to path through a temporary file renamed into place, so that a failed
// write leaves the old file whole; 1 on success.
int WriteFileAtomic(const char* path, const std::string& text);

// Convenience readers over ConfigGet for the conventions every panel follows.
int ConfigGetInt(const char* section, const char* key, int defaultValue);
double ConfigGetReal(const char* section, const char* key, double defaultValue);
bool ConfigGetOn(const char* section, const char* key, bool defaultValue); // "on"/"off"
void ConfigGetColour(const char* section, const char* key, int rgb[3], const char* defaultValue);
int ConfigSetInt(const char* section, const char* key, int value);
int ConfigSetOn(const char* section, const char* key, bool on);

// Reads a key of section STARTUP in Nemu.INI.
int StartupGet(const char* key, char* buffer, const char* defaultValue, size_t size);
int StartupGetInt(const char* key, int defaultValue);

} // namespace nemu
