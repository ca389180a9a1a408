// The files named at start: the first gives the page its size before the page is made,
// and all of them are opened by the main loop's prologue, the first as the project (or
// the page) and the rest as further layers; then the spare page's file.
#include "files/image_import.h"
#include "files/project_file.h"
#include "files/registry.h"
#include "host/input.h"
#include "host/main_loop.h"
#include "host/platform.h"
#include "store/bitmap.h"
#include "store/undo.h"
#include "ui/catalog.h"
#include "ui/requests.h"

namespace nemu {

std::vector<std::string> SplitFileList(const std::string& list) {
    std::vector<std::string> names;
    size_t at = 0;
    while (at < list.size()) {
        while (at < list.size() && (list[at] == ' ' || list[at] == '\t')) at++;
        if (at >= list.size()) break;
        std::string name;
        if (list[at] == '"') {
            size_t end = list.find('"', at + 1);
            if (end == std::string::npos) end = list.size();
            name = list.substr(at + 1, end - at - 1);
            at = end + 1;
        } else {
            size_t end = list.find_first_of(" \t", at);
            if (end == std::string::npos) end = list.size();
            name = list.substr(at, end - at);
            at = end;
        }
        if (!name.empty()) names.push_back(name);
    }
    return names;
}

bool IdentifyStartFile(int32_t* width, int32_t* height) {
    std::vector<std::string> names = SplitFileList(StartFiles);
    int w = 0, h = 0;
    if (names.empty() || SniffFormat(names[0].c_str(), &w, &h) < 0 || w < 1 || h < 1) return false;
    *width = w;
    *height = h;
    return true;
}

void OpenStartFiles() {
    std::vector<std::string> names = SplitFileList(StartFiles);
    const bool gauge = names.size() > 1;
    if (gauge) ProgressOpen(MsgGet(nullptr, 2736));
    bool first = true;
    StartFileFailures = 0;
    for (size_t i = 0; i < names.size(); i++) {
        const char* name = names[i].c_str();
        // A name that can't be opened is said in an alert, which the user sees in the
        // window; the next name is still tried as the project.
        int result = -1;
        if (SniffFormat(name, nullptr, nullptr) < 0) {
            ReportUnknownFile(name);
        } else if (first) {
            result = LoadProject(name, 1, 0);
            first = false;
        } else {
            result = ImportFile(name);
        }
        if (result != 0) StartFileFailures++;
        if (gauge) {
            ProgressStep(int64_t(i) + 1, int64_t(names.size()));
            if (BreakRequested) break;
        }
    }
    if (gauge) ProgressClose();
    if (!StartSpare.empty()) {
        if (!EnsureSpare() || LoadImageFile(StartSpare.c_str(), SparePage, 0) != 0) StartFileFailures++;
    }
}

} // namespace nemu
