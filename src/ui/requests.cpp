#include "ui/requests.h"

#include "host/platform.h"
#include "ui/catalog.h"

namespace nemu {

int (*AskYesNoHook)(const char* text, const char* yes, const char* no) = nullptr;
ProgressHooks ProgressBox = {nullptr, nullptr, nullptr};

void Alert(const char* text) {
    PlatformMessageBox(text, MsgGet(nullptr, 1005));
}

void AlertMsg(uint32_t id) {
    Alert(MsgGet(nullptr, id));
}

int AskYesNo(const char* text, const char* yes, const char* no) {
    if (!yes || !*yes) yes = MsgGet(nullptr, 1001);
    if (!no || !*no) no = MsgGet(nullptr, 1002);
    if (AskYesNoHook) return AskYesNoHook(text, yes, no) ? 1 : 0;
    return PlatformAsk(text, yes, no);
}

void ProgressOpen(const char* text) {
    if (ProgressBox.Open) ProgressBox.Open(text);
}

void ProgressStep(int64_t position, int64_t total) {
    if (ProgressBox.Step) ProgressBox.Step(position, total);
}

void ProgressClose() {
    if (ProgressBox.Close) ProgressBox.Close();
}

} // namespace nemu
