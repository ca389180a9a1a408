#include "ui/requests.h"

#include "host/platform.h"
#include "ui/catalog.h"

namespace nemu {

void Alert(const char* text) { PlatformMessageBox(text, MsgGet(nullptr, 1005)); }

void AlertMsg(uint32_t id) { Alert(MsgGet(nullptr, id)); }

int AskYesNo(const char* text, const char* yes, const char* no) {
    if (!yes || !*yes) yes = MsgGet(nullptr, 1001);
    if (!no || !*no) no = MsgGet(nullptr, 1002);
    return PlatformAsk(text, yes, no);
}

} // namespace nemu
