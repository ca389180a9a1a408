// The settings store. One parser and one writer serve the current profile and every
// other settings file, Nemu.INI included.
#include "ui/settings.h"

#include "host/main_loop.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>
#include <unistd.h>

namespace nemu {

ConfigFile* CurrentConfig = nullptr;
ConfigFile* MachineConfig = nullptr;

static bool SameName(const std::string& a, const char* b) { return strcasecmp(a.c_str(), b) == 0; }

static std::string Bracketed(const char* section) {
    if (section[0] == '[') return section;
    return std::string("[") + section + "]";
}

static ConfigSection* FindSection(ConfigFile* file, const char* section) {
    if (!file) return nullptr;
    std::string name = Bracketed(section);
    for (auto& s : file->Sections)
        if (SameName(s.Name, name.c_str())) return &s;
    return nullptr;
}

static ConfigKey* FindKey(ConfigSection* s, const char* key) {
    for (auto& k : s->Keys)
        if (SameName(k.Name, key)) return &k;
    return nullptr;
}

static void SetIn(ConfigFile* file, const std::string& section, const std::string& key, const std::string& value) {
    ConfigSection* s = FindSection(file, section.c_str());
    if (!s) {
        file->Sections.push_back(ConfigSection{Bracketed(section.c_str()), {}});
        s = &file->Sections.back();
    }
    if (ConfigKey* k = FindKey(s, key.c_str())) k->Value = value;
    else s->Keys.push_back(ConfigKey{key, value});
}

void ParseConfigText(ConfigFile* file, const std::string& text) {
    // Lines are read as a 4096-byte line reader would: a longer line goes on as the next one.
    const size_t maxLine = 4095;
    size_t pos = 0;
    int linesWithoutSection = 0;
    std::string section;
    while (pos < text.size()) {
        size_t end = text.find('\n', pos);
        size_t stop = end == std::string::npos ? text.size() : end + 1;
        if (stop - pos > maxLine) stop = pos + maxLine;
        std::string line = text.substr(pos, stop - pos);
        pos = stop;
        if (section.empty() && ++linesWithoutSection > 20) return; // not a settings file
        size_t i = 0;
        while (i < line.size() && (line[i] == ' ' || line[i] == '\t' || line[i] == '\r')) i++;
        line.erase(0, i);
        while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
        if (line.empty()) continue;
        if (line[0] == '[') {
            size_t close = line.find(']');
            if (close == std::string::npos) return;
            section = line.substr(0, close + 1);
            if (!FindSection(file, section.c_str())) file->Sections.push_back(ConfigSection{section, {}});
            continue;
        }
        if (section.empty()) return; // a key before any section ends the file
        size_t eq = line.find('=');
        std::string key, value;
        if (eq == std::string::npos) {
            key = line;
        } else {
            key = line.substr(0, eq);
            size_t v = eq + 1;
            while (v < line.size() && (line[v] == ' ' || line[v] == '\t')) v++;
            value = line.substr(v);
        }
        SetIn(file, section, key, value);
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
    std::string tmp = std::string(path) + ".tmp" + std::to_string(getpid());
    FILE* f = std::fopen(tmp.c_str(), "wb");
    if (!f) return 0;
    bool ok = std::fwrite(text.data(), 1, text.size(), f) == text.size();
    ok = (std::fflush(f) == 0) && ok;
    ok = (fsync(fileno(f)) == 0) && ok;
    ok = (std::fclose(f) == 0) && ok;
    if (!ok || std::rename(tmp.c_str(), path) != 0) {
        std::remove(tmp.c_str());
        return 0;
    }
    return 1;
}

static bool ReadWholeFile(const char* path, std::string& text) {
    FILE* f = std::fopen(path, "rb");
    if (!f) return false;
    char buf[65536];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) text.append(buf, n);
    std::fclose(f);
    return true;
}

static ConfigFile* ReadConfigFile(const char* path) {
    ConfigFile* file = new ConfigFile;
    file->Path = path;
    std::string text;
    if (ReadWholeFile(path, text)) ParseConfigText(file, text);
    return file;
}

ConfigFile* OpenConfig(const char* path) {
    if (!path) return nullptr;
    return ReadConfigFile(path);
}

int ConfigGetIn(ConfigFile* handle, const char* section, const char* key, char* buffer, const char* defaultValue,
                size_t size) {
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

int ConfigSetIn(ConfigFile* handle, const char* section, const char* key, const char* value) {
    if (!handle || !section || !key || !value) return 0;
    SetIn(handle, section, key, value);
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
    if (!CurrentConfig) CurrentConfig = new ConfigFile;
    SetIn(CurrentConfig, section, key, value);
    return 1;
}

int LoadConfig(const char* path) {
    if (!path) return 0;
    ConfigFile* file = ReadConfigFile(path);
    delete CurrentConfig;
    CurrentConfig = file;
    return 1;
}

std::string ProfilePath(const char* name) { return HomeDir + "/configs/" + name + ".ini"; }

int LoadProfile(const char* name) {
    if (!name) {
        delete CurrentConfig;
        CurrentConfig = nullptr;
        return 1;
    }
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
    if (!name || !CurrentConfig) return 0;
    std::string path = ProfilePath(name);
    if (strcasecmp(path.c_str(), CurrentConfig->Path.c_str()) == 0) return 0;
    std::string text;
    if (!ReadWholeFile(CurrentConfig->Path.c_str(), text)) text = ConfigText(CurrentConfig);
    return WriteFileAtomic(path.c_str(), text);
}

int ConfigGetInt(const char* section, const char* key, int defaultValue) {
    char buf[64];
    if (!ConfigGet(section, key, buf, "", sizeof buf)) return defaultValue;
    return std::atoi(buf);
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
    int v[3] = {0, 0, 0};
    std::sscanf(buf, "%d %d %d", &v[0], &v[1], &v[2]);
    for (int i = 0; i < 3; i++) rgb[i] = v[i] < 0 ? 0 : v[i] > 255 ? 255 : v[i];
}

int ConfigSetInt(const char* section, const char* key, int value) {
    return ConfigSet(section, key, std::to_string(value).c_str());
}

int ConfigSetOn(const char* section, const char* key, bool on) { return ConfigSet(section, key, on ? "on" : "off"); }

int StartupGet(const char* key, char* buffer, const char* defaultValue, size_t size) {
    return ConfigGetIn(MachineConfig, "STARTUP", key, buffer, defaultValue, size);
}

int StartupGetInt(const char* key, int defaultValue) {
    char buf[64];
    if (!StartupGet(key, buf, "", sizeof buf)) return defaultValue;
    return std::atoi(buf);
}

} // namespace nemu
