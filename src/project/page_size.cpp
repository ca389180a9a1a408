// The list of page sizes and the change of the page's size.
//
// Sections: the list; the file; the change.
#include "project/page_size.h"

#include "files/project_file.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "host/screen.h"
#include "project/compose.h"
#include "project/layer_edit.h"
#include "project/layers.h"
#include "project/mixer.h"
#include "store/bitmap.h"
#include "store/cache_file.h"
#include "store/undo.h"
#include "ui/catalog.h"
#include "ui/requests.h"
#include "ui/settings.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace nemu {

PageSizeEntry PageSizes[MaxPageSizes];
int32_t PageSizeCount = 0;

// ---- The list --------------------------------------------------------------------------------------------

static void AddSize(const char* name, int32_t width, int32_t height, double rate) {
    if (PageSizeCount >= MaxPageSizes || width < 1 || height < 1 || width > MaxPageSide ||
        height > MaxPageSide)
        return;
    if (!(rate > 0 && rate <= 1000)) rate = FrameRate;
    PageSizeEntry& e = PageSizes[PageSizeCount++];
    std::snprintf(e.Name, sizeof e.Name, "%s", name);
    e.Width = width;
    e.Height = height;
    e.Rate = rate;
}

int PageSizeLabel(int32_t index, char* buffer, int size) {
    if (index < 0 || index >= PageSizeCount || !buffer || size < 1) return 0;
    const PageSizeEntry& e = PageSizes[index];
    char name[sizeof e.Name];
    std::memcpy(name, e.Name, sizeof name);
    for (char* c = name; *c; c++)
        if (*c == '/') *c = ' ';
    std::snprintf(buffer, size_t(size), "%s %d %d", name, e.Width, e.Height);
    return 1;
}

// ---- The file --------------------------------------------------------------------------------------------

static const char* SkipBlanks(const char* s) {
    while (*s == ' ' || *s == '\t') s++;
    return s;
}

// One `Config = "name" width height rate` line; a missing number keeps the page's own.
static void ParseConfigLine(const char* line) {
    const char* s = SkipBlanks(line + 6);
    if (*s != '=') return;
    s = SkipBlanks(s + 1);
    if (*s != '"') return;
    const char* end = std::strchr(s + 1, '"');
    if (!end) return;
    std::string name(s + 1, size_t(end - s - 1));
    if (name.size() > 255) name.resize(255);
    int width = PageWidth, height = PageHeight;
    double rate = FrameRate;
    std::sscanf(end + 1, "%d %d %lf", &width, &height, &rate);
    AddSize(name.c_str(), width, height, rate);
}

void ParsePageSizes(const char* text) {
    bool inSection = false;
    for (const char* line = text; line && *line;) {
        const char* next = std::strchr(line, '\n');
        std::string row(line, next ? size_t(next - line) : std::strlen(line));
        line = next ? next + 1 : nullptr;
        if (!row.empty() && row.back() == '\r') row.pop_back();
        const char* s = SkipBlanks(row.c_str());
        if (*s == '[') {
            if (inSection) break;
            inSection = strncasecmp(s, "[PageSize]", 10) == 0;
        } else if (inSection && std::strncmp(s, "Config", 6) == 0) {
            ParseConfigLine(s);
        }
    }
}

// A page-size file is a few hundred lines; nothing larger is read.
constexpr long MaxPageSizeFile = 1 << 20;

int32_t LoadPageSizes() {
    PageSizeCount = 0;
    int sw = 0, sh = 0;
    if (PlatformIsOpen()) PlatformScreenSize(&sw, &sh);
    if (sw < 1 || sh < 1) sw = PageWidth, sh = PageHeight;
    AddSize(MsgGet(nullptr, 6163), sw, sh, 30.0);
    char limit[64];
    ConfigGet("Main", "Page", limit, "", sizeof limit);
    if (!limit[0]) AddSize(MsgGet(nullptr, 6161), MaxPageSide, MaxPageSide, FrameRate);
    if (SparePage) AddSize(MsgGet(nullptr, 6162), SparePage->Width, SparePage->Height, FrameRate);
    std::string path = DataPath("pagesize.conf");
    FILE* file = std::fopen(path.c_str(), "rb");
    if (!file) return PageSizeCount;
    std::string text;
    char chunk[4096];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, file)) > 0 && long(text.size()) < MaxPageSizeFile)
        text.append(chunk, n);
    std::fclose(file);
    ParsePageSizes(text.c_str());
    return PageSizeCount;
}

// ---- The change ------------------------------------------------------------------------------------------

int ChangePageSize(int32_t width, int32_t height, int keepContents) {
    if (width < 1 || height < 1) return 0;
    if (!ConfirmPageSizeChange()) return 0;
    // The project crosses the change in a file: saved at the old size, loaded at the new.
    std::string kept;
    if (keepContents) {
        kept = TempDir + std::to_string(long(std::time(nullptr))) + ".nem";
        if (WriteProjectFile(kept.c_str(), ProjectFileTemporary) != 0) {
            std::remove(kept.c_str());
            kept.clear();
            if (!AskYesNo(MsgGet(nullptr, 1440), MsgGet(nullptr, 1001), MsgGet(nullptr, 1002))) return 0;
        }
    }
    const int32_t oldWidth = PageWidth, oldHeight = PageHeight;
    ResetProject(nullptr, 1, 1);
    FreeLayers();
    DropMixer();
    FreeDisplayBuffers();
    int result = 1; // the spare goes with the old size, as the page buffers change
    if (!ResizePageBuffers(width, height)) {
        AlertMsg(1000);
        result = -1;
        if (!ResizePageBuffers(oldWidth, oldHeight) && !ResizePageBuffers(32, 32)) return -1;
    }
    TrimCache();
    if (!InitLayers()) {
        AlertMsg(1000);
        return -1;
    }
    SetShowAllLayers(true);
    SavedCounter = ChangeCounter;
    if (!kept.empty()) {
        // Scaled to the new size, unless the page fell back to a size nobody asked for.
        if (ReadProjectFile(kept.c_str(), 0, result == 1, 1, ProjectFileTemporary) == 0)
            std::remove(kept.c_str());
        else
            AlertMsg(1445);
        SavedCounter = uint32_t(-1);
    }
    return result;
}

} // namespace nemu
