// The list of recent files that the file menu offers: the files most recently opened or
// saved, newest first, each once, kept in section Recent of the settings.
#pragma once

namespace nemu {

constexpr int RecentFileMax = 10;
constexpr int RecentPathSize = 4096;
extern char RecentFiles[RecentFileMax][RecentPathSize]; // empty strings after the last
extern int RecentFileCount;

// Reads the list from the settings.
void LoadRecentFiles();
// Puts path first (made absolute), dropping an older entry of the same file and the
// oldest beyond the limit, and writes the list to the settings.
void AddRecentFile(const char* path);

} // namespace nemu
