// Commands that reach the interface's own panels: the file requester, the zoom and the clock.
#include "host/zoom.h"
#include "script/command_families.h"
#include "ui/file_requester.h"
#include "ui/panel_slot.h"
#include "ui/panels.h"
#include "ui/zoom_panel.h"

#include <cstring>

namespace nemu {

// om_reqfile title pattern folder: asks for a file; the name, or "Cancel".
static void ReqFile(CommandRequest* request, const char* args) {
    static char title[WordSize], pattern[WordSize], folder[WordSize];
    title[0] = pattern[0] = folder[0] = 0;
    const char* rest = ReadWordOrQuoted(args, title, sizeof title);
    if (rest) rest = ReadWordOrQuoted(rest, pattern, sizeof pattern);
    if (rest) ReadWordOrQuoted(rest, folder, sizeof folder);
    // A request of its own, which shares the pictures' recent folders both ways.
    FileRequest* own = FileRequestNew(folder[0] ? folder : PictureRequest ? PictureRequest->Folder : nullptr);
    if (!own) return ReplyError(request, -1);
    if (PictureRequest) std::memcpy(own->History, PictureRequest->History, sizeof own->History);
    FileRequestSetPattern(own, pattern);
    static char chosen[FilePathSize];
    int ok = FileRequestRun(own, chosen, sizeof chosen, title);
    if (ok && PictureRequest) std::memcpy(PictureRequest->History, own->History, sizeof own->History);
    FileRequestFree(own);
    ReplyAppend(request, ok ? chosen : "Cancel");
}

// om_zoom [factor [x y]]: a factor opens the zoom at it (0 closes it), centred on page
// point x y when given. The result is the zoom's state: open, factor, and the page
// rectangle shown as left, top, width, height.
static void Zoom(CommandRequest* request, const char* args) {
    if (!ArgsEmpty(args)) {
        const char* rest = ReadArgs(args, 1);
        int32_t factor = ArgInt[0];
        bool centred = !ArgsEmpty(rest);
        ReadArgs(rest, 2);
        if (factor == 0)
            ZoomClose();
        else if (!ZoomOpen(factor, centred ? ArgInt[0] : -1, centred ? ArgInt[1] : -1))
            return ReplyError(request, -1);
    }
    ReplyFormat(request, "%d %d %d %d %d %d", ZoomShown() ? 1 : 0, int(ZoomFactor), int(ZoomLeft), int(ZoomTop),
                int(ZoomWidth), int(ZoomHeight));
}

// om_clock [0|1]: 1 opens the clock panel, 0 closes it; the result is whether it stands.
static void Clock(CommandRequest* request, const char* args) {
    if (!ArgsEmpty(args)) {
        ReadArgs(args, 1);
        if (ArgInt[0])
            OpenClock();
        else
            PanelClose(ClockSlot());
    }
    ReplyFormat(request, "%d", ClockPanel() ? 1 : 0);
}

// clang-format off
const ScriptCommand PanelCommands[] = {
    {"om_reqfile", ReqFile},
    {"om_zoom", Zoom},
    {"om_clock", Clock},
    {nullptr, nullptr},
};
// clang-format on

} // namespace nemu
