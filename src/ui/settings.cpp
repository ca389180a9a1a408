// The settings store. One parser and one writer serve the current profile and every
// other settings file, Nemu.INI included.
#include "ui/settings.h"

#include "files/safe_file.h"
#include "host/main_loop.h"
#include "host/platform.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace nemu {

ConfigFile* CurrentConfig = nullptr;
ConfigFile* MachineConfig = nullptr;

static std::string Lower(const std::string& name) {
    std::string out = name;
    for (char& c : out) c = char(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

static std::string Bracketed(const char* section) {
    return std::string("[") + section + "]";
}

static bool HasLineBreak(const char* text) {
    return std::strpbrk(text, "\r\n") != nullptr;
}

// What the parser could not read back as written: a section name that holds its own
// brackets, a key that would read as a section or lose its leading blanks or its "=",
// and a line break anywhere, which would start a line of its own.
static bool WritableEntry(const char* section, const char* key, const char* value) {
    if (!*section || std::strpbrk(section, "[]") || HasLineBreak(section)) return false;
    if (!*key || *key == '[' || std::isspace(static_cast<unsigned char>(*key))) return false;
    return !std::strchr(key, '=') && !HasLineBreak(key) && !HasLineBreak(value);
}

// Sections by their stored name, brackets included.
static ConfigSection* FindStored(ConfigFile* file, const std::string& stored) {
    if (!file) return nullptr;
    auto it = file->Index.find(Lower(stored));
    return it == file->Index.end() ? nullptr : &file->Sections[it->second];
}

static ConfigSection* FindSection(ConfigFile* file, const char* section) {
    return FindStored(file, Bracketed(section));
}

static ConfigKey* FindKey(ConfigSection* s, const char* key) {
    auto it = s->Index.find(Lower(key));
    return it == s->Index.end() ? nullptr : &s->Keys[it->second];
}

static ConfigSection* AddStored(ConfigFile* file, const std::string& stored) {
    if (ConfigSection* s = FindStored(file, stored)) return s;
    file->Index.emplace(Lower(stored), file->Sections.size());
    file->Sections.push_back(ConfigSection{stored, {}, {}});
    return &file->Sections.back();
}

// Sets a key of a section given by its stored name; the parser's door, which takes what a
// file holds as it stands.
static void SetStored(ConfigFile* file, const std::string& stored, const char* key, const char* value) {
    ConfigSection* s = AddStored(file, stored);
    if (ConfigKey* k = FindKey(s, key)) {
        k->Value = value;
        return;
    }
    s->Index.emplace(Lower(key), s->Keys.size());
    s->Keys.push_back(ConfigKey{key, value});
}

// Settings lines are at most 4095 characters; a longer one goes on as the next line.
constexpr size_t LineSize = 4096;
// Lines without a section after which the file is taken for something else.
constexpr int MaxLinesBeforeSection = 20;

namespace {

struct ConfigParser {
    ConfigFile* File;
    std::string Section; // the current one with its brackets; empty before the first
    int LinesWithoutSection = 0;

    // Takes one line as read, newline included; false ends the parse.
    bool Line(char* line) {
        if (Section.empty() && ++LinesWithoutSection > MaxLinesBeforeSection) return false;
        while (*line && std::isspace(static_cast<unsigned char>(*line))) line++;
        size_t n = std::strlen(line);
        while (n > 0 && (line[n - 1] == '\n' || line[n - 1] == '\r')) line[--n] = 0;
        if (n == 0) return true;
        if (line[0] == '[') {
            char* close = std::strchr(line, ']');
            if (!close) return false; // the file holds what was read so far
            close[1] = 0;
            Section = line;
            AddStored(File, Section);
            return true;
        }
        if (Section.empty()) return false; // a key before any section ends the file
        // "key = value" keeps the blank in the key's name: only the value is trimmed.
        char* eq = std::strchr(line, '=');
        const char* value = "";
        if (eq) {
            *eq = 0;
            value = eq + 1;
            while (*value == ' ' || *value == '\t') value++;
        }
        SetStored(File, Section, line, value);
        return true;
    }
};

} // namespace

void ParseConfigText(ConfigFile* file, const std::string& text) {
    ConfigParser parser{file, {}, 0};
    char line[LineSize];
    size_t pos = 0;
    while (pos < text.size() && pos < MaxConfigBytes) {
        size_t n = 0;
        while (n < LineSize - 1 && pos < text.size()) {
            line[n] = text[pos++];
            if (line[n++] == '\n') break;
        }
        line[n] = 0;
        if (!parser.Line(line)) return;
    }
}

void ParseConfigStream(ConfigFile* file, FILE* stream) {
    ConfigParser parser{file, {}, 0};
    char line[LineSize];
    while (std::fgets(line, sizeof line, stream)) {
        if (!parser.Line(line)) return;
        if (std::ftell(stream) > long(MaxConfigBytes)) {
            Warning("%s is larger than %zu bytes; the rest is not read", file->Path.c_str(), MaxConfigBytes);
            return;
        }
    }
}

std::string ConfigText(const ConfigFile* file) {
    std::string out;
    for (const auto& s : file->Sections) {
        out += s.Name;
        out += '\n';
        for (const auto& k : s.Keys)
            if (!k.Value.empty()) out += k.Name + "=" + k.Value + "\n";
        out += '\n';
    }
    return out;
}

int WriteFileAtomic(const char* path, const std::string& text) {
    struct stat st;
    const bool existing = stat(path, &st) == 0;
    SafeFile safe;
    FILE* f = OpenSafeFile(&safe, path);
    if (!f) return 0;
    // A replaced file keeps its permissions; a new settings file is the user's own.
    if (!existing) fchmod(fileno(f), 0600);
    if (std::fwrite(text.data(), 1, text.size(), f) != text.size()) {
        AbandonSafeFile(&safe);
        return 0;
    }
    return CommitSafeFile(&safe) == 0;
}

// The whole of a settings file, if it is of a size that a settings file can have.
static bool ReadWholeFile(const char* path, std::string& text) {
    FILE* f = std::fopen(path, "rb");
    if (!f) return false;
    char buf[65536];
    size_t n;
    bool ok = true;
    while (ok && (n = std::fread(buf, 1, sizeof buf, f)) > 0) {
        text.append(buf, n);
        ok = text.size() <= MaxConfigBytes;
    }
    std::fclose(f);
    return ok;
}

static ConfigFile* ReadConfigFile(const char* path) {
    ConfigFile* file = new (std::nothrow) ConfigFile;
    if (!file) return nullptr;
    file->Path = path;
    if (FILE* f = std::fopen(path, "r")) {
        ParseConfigStream(file, f);
        std::fclose(f);
    }
    return file;
}

ConfigFile* OpenConfig(const char* path) {
    if (!path) return nullptr;
    return ReadConfigFile(path);
}

int ConfigGetIn(ConfigFile* handle, const char* section, const char* key, char* buffer,
                const char* defaultValue, size_t size) {
    if (!buffer || !section || size == 0) return 0;
    const char* value = defaultValue ? defaultValue : "";
    ConfigSection* s = FindSection(handle, section);
    if (s && key) {
        if (ConfigKey* k = FindKey(s, key)) value = k->Value.c_str();
    }
    size_t n = std::strlen(value);
    if (n > size - 1) n = size - 1;
    std::memcpy(buffer, value, n);
    buffer[n] = 0;
    return int(n);
}

// Sets a key for a caller: the name is bracketed here, and what could not be read back
// is refused, with a warning, and changes nothing.
static int SetIn(ConfigFile* file, const char* section, const char* key, const char* value) {
    if (!WritableEntry(section, key, value)) {
        Warning("settings: \"%s\" in section \"%s\" cannot be written; it is left out", key, section);
        return 0;
    }
    SetStored(file, Bracketed(section), key, value);
    return 1;
}

int ConfigSetIn(ConfigFile* handle, const char* section, const char* key, const char* value) {
    if (!handle || !section || !key || !value) return 0;
    if (!SetIn(handle, section, key, value)) return 0;
    handle->Changed++;
    return 1;
}

int CloseConfig(ConfigFile* handle) {
    if (!handle) return 0;
    int ok = 1;
    if (handle->Changed) ok = WriteFileAtomic(handle->Path.c_str(), ConfigText(handle));
    delete handle;
    return ok;
}

int ConfigGet(const char* section, const char* key, char* buffer, const char* defaultValue, size_t size) {
    return ConfigGetIn(CurrentConfig, section, key, buffer, defaultValue, size);
}

int ConfigSet(const char* section, const char* key, const char* value) {
    if (!section || !key || !value) return 0;
    if (!CurrentConfig) CurrentConfig = new (std::nothrow) ConfigFile;
    if (!CurrentConfig) return 0;
    return SetIn(CurrentConfig, section, key, value);
}

int LoadConfig(const char* path) {
    if (!path) return 0;
    ConfigFile* file = ReadConfigFile(path);
    if (!file) return 0;
    delete CurrentConfig;
    CurrentConfig = file;
    return 1;
}

std::string ProfilePath(const char* name) {
    return HomeDir + "/configs/" + name + ".ini";
}

// A profile is a plain name: nothing that leads out of the configs folder.
static bool GoodProfileName(const char* name) {
    return *name && !std::strchr(name, '/') && std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0;
}

int LoadProfile(const char* name) {
    if (!name) {
        delete CurrentConfig;
        CurrentConfig = nullptr;
        return 1;
    }
    if (!GoodProfileName(name)) return 0;
    std::string path = ProfilePath(name);
    if (CurrentConfig && CurrentConfig->Path == path) return 1;
    return LoadConfig(path.c_str());
}

int SaveConfig() {
    if (!CurrentConfig || CurrentConfig->Path.empty()) return 0;
    // A failed write is ignored by the callers: the settings in memory stay as they were.
    return WriteFileAtomic(CurrentConfig->Path.c_str(), ConfigText(CurrentConfig));
}

int CopyProfile(const char* name) {
    if (!name || !CurrentConfig || !GoodProfileName(name)) return 0;
    std::string path = ProfilePath(name);
    if (strcasecmp(path.c_str(), CurrentConfig->Path.c_str()) == 0) return 0;
    // The first profile of a new user makes the folders.
    mkdir(HomeDir.c_str(), 0700);
    mkdir((HomeDir + "/configs").c_str(), 0700);
    std::string text;
    if (!ReadWholeFile(CurrentConfig->Path.c_str(), text)) text = ConfigText(CurrentConfig);
    return WriteFileAtomic(path.c_str(), text);
}

// A whole number of a settings text; out of range values are limited, not undefined.
static int ParseInt(const char* text, char** end = nullptr) {
    long v = std::strtol(text, end, 10);
    return v < INT_MIN ? INT_MIN : v > INT_MAX ? INT_MAX : int(v);
}

int ConfigGetInt(const char* section, const char* key, int defaultValue) {
    char buf[64];
    if (!ConfigGet(section, key, buf, "", sizeof buf)) return defaultValue;
    return ParseInt(buf);
}

double ConfigGetReal(const char* section, const char* key, double defaultValue) {
    char buf[64];
    if (!ConfigGet(section, key, buf, "", sizeof buf)) return defaultValue;
    return std::atof(buf);
}

bool ConfigGetOn(const char* section, const char* key, bool defaultValue) {
    char buf[16];
    if (!ConfigGet(section, key, buf, "", sizeof buf)) return defaultValue;
    return strncasecmp(buf, "on", 2) == 0;
}

void ConfigGetColour(const char* section, const char* key, int rgb[3], const char* defaultValue) {
    char buf[64];
    ConfigGet(section, key, buf, defaultValue, sizeof buf);
    char* p = buf;
    for (int i = 0; i < 3; i++) {
        int v = ParseInt(p, &p);
        rgb[i] = v < 0 ? 0 : v > 255 ? 255 : v;
    }
}

int ConfigSetInt(const char* section, const char* key, int value) {
    return ConfigSet(section, key, std::to_string(value).c_str());
}

int ConfigSetOn(const char* section, const char* key, bool on) {
    return ConfigSet(section, key, on ? "on" : "off");
}

int StartupGet(const char* key, char* buffer, const char* defaultValue, size_t size) {
    return ConfigGetIn(MachineConfig, "STARTUP", key, buffer, defaultValue, size);
}

int StartupGetInt(const char* key, int defaultValue) {
    char buf[64];
    if (!StartupGet(key, buf, "", sizeof buf)) return defaultValue;
    return ParseInt(buf);
}

} // namespace nemu
