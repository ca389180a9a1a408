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

} // namespace nemu
