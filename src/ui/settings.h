// Settings: one in-memory file of [section] and key=value lines (the current profile),
// plus separate handles for other files such as the machine file Nemu.INI.
// Names compare without regard to case; a section's stored name keeps its brackets.
#pragma once
#include <cstddef>
#include <string>
#include <vector>

namespace nemu {

struct ConfigKey {
    std::string Name;
    std::string Value;
};

struct ConfigSection {
    std::string Name; // with its brackets, "[Main]"
    std::vector<ConfigKey> Keys;
};

struct ConfigFile {
    std::string Path;
    std::vector<ConfigSection> Sections;
    int Changed = 0; // ConfigSetIn calls since open
};

extern ConfigFile* CurrentConfig; // the current profile; null when none is loaded
extern ConfigFile* MachineConfig; // Nemu.INI, open from start-up to exit

int ConfigGet(const char* section, const char* key, char* buffer, const char* defaultValue, size_t size);
int ConfigSet(const char* section, const char* key, const char* value);
int LoadConfig(const char* path);
int LoadProfile(const char* name);
int SaveConfig();
int CopyProfile(const char* name);
std::string ProfilePath(const char* name);

ConfigFile* OpenConfig(const char* path);
int ConfigGetIn(ConfigFile* handle, const char* section, const char* key, char* buffer, const char* defaultValue,
                size_t size);
int ConfigSetIn(ConfigFile* handle, const char* section, const char* key, const char* value);
int CloseConfig(ConfigFile* handle);

// Parsing and writing of the text form, shared by every settings file.
void ParseConfigText(ConfigFile* file, const std::string& text);
std::string ConfigText(const ConfigFile* file);
// Writes text to path through a temporary file renamed into place; 1 on success.
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
