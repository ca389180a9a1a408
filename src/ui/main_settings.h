// Section Main of the settings: the program-wide choices, the tool panel's place and the
// two paint colours, read at start and written at the end of a run, each limited to what
// the program can use. The section's keys that the machine file Nemu.INI may also hold
// (temp, CacheSize, ZoomAutoCenter) and FullScreen are the user's to write: the program
// reads them and leaves them as they stand.
#pragma once
#include <cstdint>
#include <string>

namespace nemu {

extern int32_t ZoomAutoCenter;   // the zoom follows the pointer
extern int32_t Gauge;            // long script operations show a progress gauge
extern int32_t PreviewQuality;   // at least MinPreviewQuality
extern int32_t GridMagnet;       // the grid pulls the pointer to its points
extern int32_t LockPageSize;     // the page's size and place are not written
extern std::string ScriptFolder; // Brenn: the folder of scripts
// Spare and Project as they were read: files for the spare page and the project when
// nothing else names them. The program writes them back as they were.
extern std::string SpareSetting, ProjectSetting;

constexpr int32_t MinPreviewQuality = 100;
constexpr int32_t DefaultPreviewQuality = 1536;
constexpr const char* DefaultProfileName = "default";

// The early keys, before the cache and the panels: pointer style, display mode, frame
// rate, script folder, gauge, border, overwrite question, spare and project files, the
// tool panel's place (clamped to the screen) and SaveConfig. A key that is missing keeps
// what is held (the machine file's start value or the built-in one).
void ReadMainSettings();
// The later keys, after the pen panels: APen, BPen (each number limited to 0..255),
// PreviewQuality and Magnet.
void ReadMainColours();
// Writes every key that the program keeps in section Main; the page's size and place
// only while LockPageSize is off.
void SaveMainSettings();
// A flag value: on when it starts with "on" in any case or is a number other than 0.
bool FlagValue(const char* text);

} // namespace nemu
