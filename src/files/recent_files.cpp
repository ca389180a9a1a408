#include "files/recent_files.h"

#include "ui/settings.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace nemu {

char RecentFiles[RecentFileMax][RecentPathSize];
int RecentFileCount = 0;

static constexpr const char* Section = "Recent";

static void Key(int i, char* key, size_t size) {
    std::snprintf(key, size, "File%d", i + 1);
}

void LoadRecentFiles() {
    RecentFileCount = 0;
    for (int i = 0; i < RecentFileMax; i++) {
        char key[16];
        Key(i, key, sizeof key);
        ConfigGet(Section, key, RecentFiles[RecentFileCount], "", RecentPathSize);
        if (RecentFiles[RecentFileCount][0]) RecentFileCount++;
    }
    for (int i = RecentFileCount; i < RecentFileMax; i++) RecentFiles[i][0] = 0;
}

void AddRecentFile(const char* path) {
    if (!path || !*path) return;
    char absolute[PATH_MAX];
    if (!realpath(path, absolute)) {
        if (std::strlen(path) >= sizeof absolute) return;
        std::strcpy(absolute, path);
    }
    if (std::strlen(absolute) >= RecentPathSize) return;
    int keep = 0;
    char list[RecentFileMax][RecentPathSize];
    std::strcpy(list[keep++], absolute);
    for (int i = 0; i < RecentFileCount && keep < RecentFileMax; i++)
        if (std::strcmp(RecentFiles[i], absolute) != 0) std::strcpy(list[keep++], RecentFiles[i]);
    RecentFileCount = keep;
    for (int i = 0; i < RecentFileMax; i++) {
        if (i < keep)
            std::strcpy(RecentFiles[i], list[i]);
        else
            RecentFiles[i][0] = 0;
        char key[16];
        Key(i, key, sizeof key);
        ConfigSet(Section, key, RecentFiles[i]);
    }
}

} // namespace nemu
