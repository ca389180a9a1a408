// Section Main: one row per flag and number, and the few keys with a form of their own
// (display mode, frame rate, folders and files, the panel's place, colours, page).
#include "ui/main_settings.h"

#include "files/format_settings.h"
#include "host/main_loop.h"
#include "host/screen.h"
#include "paint/colour.h"
#include "project/layers.h"
#include "ui/settings.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace nemu {

int32_t ZoomAutoCenter = 0;
int32_t Gauge = 1;
int32_t PreviewQuality = DefaultPreviewQuality;
int32_t GridMagnet = 1;
int32_t LockPageSize = 0;
std::string ScriptFolder = "brenn";
std::string SpareSetting, ProjectSetting;

namespace {

constexpr const char* Section = "Main";
// The tool panel's size, by which its place is kept on the screen.
constexpr int ToolPanelWidth = 128, ToolPanelHeight = 385;
// Spare and Project hold lists of file names.
constexpr size_t FileListSize = 65536;
constexpr double MaxFrameRate = 1000.0;

enum KeyForm { NUMBER_FLAG, ONOFF_FLAG, NUMBER };

// When a key is read: with the early start-up keys, or after the pen panels.
enum ReadTime { EARLY, AFTER_PENS };

// What the program keeps of one key: the global, the form it is written in, the limits a
// read value is held to, and when it is read. A missing key keeps the global as it is.
struct MainKeyRow {
    const char* Key;
    KeyForm Form;
    int32_t* Value;
    int32_t Min, Max;
    ReadTime When;
};

const MainKeyRow Rows[] = {
    {"Mouse", NUMBER, &MouseStyle, 0, 3, EARLY},
    {"Gauge", NUMBER_FLAG, &Gauge, 0, 1, EARLY},
    {"Border", NUMBER_FLAG, &Border, 0, 1, EARLY},
    {"Zorro", NUMBER_FLAG, &NoOverwriteAsk, 0, 1, EARLY},
    {"PreviewQuality", NUMBER, &PreviewQuality, MinPreviewQuality, INT_MAX, AFTER_PENS},
    {"Magnet", ONOFF_FLAG, &GridMagnet, 0, 1, AFTER_PENS},
    {"LockPageSize", ONOFF_FLAG, &LockPageSize, 0, 1, AFTER_PENS},
};

void ReadRow(const MainKeyRow& row) {
    char text[64];
    if (!ConfigGet(Section, row.Key, text, "", sizeof text)) return;
    if (row.Form == NUMBER) {
        long v = std::strtol(text, nullptr, 10);
        *row.Value = int32_t(std::clamp<long>(v, row.Min, row.Max));
    } else {
        *row.Value = FlagValue(text) ? 1 : 0;
    }
}

void SaveRow(const MainKeyRow& row) {
    if (row.Form == ONOFF_FLAG)
        ConfigSetOn(Section, row.Key, *row.Value != 0);
    else
        ConfigSetInt(Section, row.Key, *row.Value);
}

struct DisplayModeName {
    const char* Name;
    int32_t Value;
};
const DisplayModeName DisplayModes[] = {{"Best", 0}, {"Fast", 1}, {"Test", -1}};

int Clamp(int v, int lo, int hi) {
    return v < lo ? lo : v > hi ? hi : v;
}

void ReadColour(const char* key, uint32_t* colour) {
    char held[32];
    std::snprintf(held, sizeof held, "%u %u %u", (*colour >> 16) & 255, (*colour >> 8) & 255, *colour & 255);
    int rgb[3];
    ConfigGetColour(Section, key, rgb, held);
    *colour = 0xFF000000u | uint32_t(rgb[0]) << 16 | uint32_t(rgb[1]) << 8 | uint32_t(rgb[2]);
}

void SaveColour(const char* key, uint32_t colour) {
    char text[32];
    std::snprintf(text, sizeof text, "%u %u %u", (colour >> 16) & 255, (colour >> 8) & 255, colour & 255);
    ConfigSet(Section, key, text);
}

std::string GetText(const char* key, const std::string& held, size_t size) {
    std::string buffer(size, '\0');
    int n = ConfigGet(Section, key, buffer.data(), held.c_str(), size);
    buffer.resize(size_t(n));
    return buffer;
}

} // namespace

bool FlagValue(const char* text) {
    return strncasecmp(text, "on", 2) == 0 || std::strtol(text, nullptr, 10) != 0;
}

void ReadMainSettings() {
    for (const MainKeyRow& row : Rows)
        if (row.When == EARLY) ReadRow(row);
    char text[4096];
    ZoomAutoCenter = ConfigGetInt(Section, "ZoomAutoCenter", StartupGetInt("ZoomAutoCenter", 0)) ? 1 : 0;
    ConfigGet(Section, "SaveConfig", text, "", sizeof text);
    SaveConfigOn = !*text || FlagValue(text) ? 1 : 0;

    // The first four letters decide, in any case; anything else is the test display.
    ConfigGet(Section, "DisplayMode", text, "Test", sizeof text);
    DisplayModeValue = -1;
    for (const DisplayModeName& m : DisplayModes)
        if (strncasecmp(text, m.Name, 4) == 0) DisplayModeValue = m.Value;

    const double rate = ConfigGetReal(Section, "FrameRate", FrameRate);
    if (rate > 0 && rate <= MaxFrameRate) FrameRate = rate;
    ScriptFolder = GetText("Brenn", ScriptFolder, sizeof text);
    SpareSetting = GetText("Spare", "", FileListSize);
    ProjectSetting = GetText("Project", "", FileListSize);
    // They stand in only where nothing else named a file.
    if (StartSpare.empty()) StartSpare = SpareSetting;
    if (StartFiles.empty()) StartFiles = ProjectSetting;

    const int w = Screen ? Screen->Width : 0, h = Screen ? Screen->Height : 0;
    const int maxX = std::max(w - ToolPanelWidth, 0), maxY = std::max(h - ToolPanelHeight, 0);
    MainPanelX = Clamp(ConfigGetInt(Section, "WIN_X", (w - ToolPanelWidth) / 2), 0, maxX);
    MainPanelY = Clamp(ConfigGetInt(Section, "WIN_Y", (h - ToolPanelHeight) / 2), 0, maxY);
    ConfigGet(Section, "temp", text, "", sizeof text);
    if (*text) TempDir = std::string(text) + (text[std::strlen(text) - 1] == '/' ? "" : "/");
}

void ReadMainColours() {
    ReadColour("APen", &APen);
    ReadColour("BPen", &BPen);
    ColourChanged();
    for (const MainKeyRow& row : Rows)
        if (row.When == AFTER_PENS) ReadRow(row);
}

void SaveMainSettings() {
    for (const MainKeyRow& row : Rows) SaveRow(row);
    for (const DisplayModeName& m : DisplayModes)
        if (m.Value == DisplayModeValue) ConfigSet(Section, "DisplayMode", m.Name);
    char rate[64];
    std::snprintf(rate, sizeof rate, "%f", FrameRate);
    ConfigSet(Section, "FrameRate", rate);
    ConfigSet(Section, "Brenn", ScriptFolder.c_str());
    ConfigSet(Section, "Spare", SpareSetting.c_str());
    ConfigSet(Section, "Project", ProjectSetting.c_str());
    ConfigSetInt(Section, "WIN_X", MainPanelX);
    ConfigSetInt(Section, "WIN_Y", MainPanelY);
    SaveColour("APen", APen);
    SaveColour("BPen", BPen);
    if (LockPageSize) return;
    ConfigSetInt(Section, "PageWidth", PageWidth);
    ConfigSetInt(Section, "PageHeight", PageHeight);
    ConfigSetInt(Section, "PageX", PageX);
    ConfigSetInt(Section, "PageY", PageY);
}

} // namespace nemu
