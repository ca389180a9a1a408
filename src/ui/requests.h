// Small modal requests. Until the program's own dialogs exist, and whenever one cannot
// be made, they fall back on the platform's boxes of last resort.
#pragma once
#include <cstdint>

namespace nemu {

void Alert(const char* text);
// Alert with a message of the catalog.
void AlertMsg(uint32_t id);
// 1 for the first answer, 0 for the second; null or empty labels are the catalog's
// default answers.
int AskYesNo(const char* text, const char* yes, const char* no);
// The toolkit's question box installs itself here; until then the platform's box asks.
extern int (*AskYesNoHook)(const char* text, const char* yes, const char* no);

// ---- Progress -----------------------------------------------------------------------------
// A long operation opens a progress box with its text, steps it with its position out of
// total, and closes it. The box's Cancel sets UserBreak, which the operation looks at
// after each step. The toolkit's box installs these hooks; without them the operation
// runs unseen, and only a script's break or SIGINT or SIGTERM (which each step turns
// into UserBreak) can stop it.
struct ProgressHooks {
    void (*Open)(const char* text);
    void (*Step)(int64_t position, int64_t total);
    void (*Close)();
};
extern ProgressHooks ProgressBox;
void ProgressOpen(const char* text);
void ProgressStep(int64_t position, int64_t total);
void ProgressClose();

} // namespace nemu
