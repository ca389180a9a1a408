// Refill: the last fill mask written again with a paint colour.
#include "paint/refill.h"

#include "host/main_loop.h"
#include "paint/pens.h"
#include "paint/tools.h"
#include "store/undo.h"
#include "ui/requests.h"

namespace nemu {

int (*RefillAreaHook)(int32_t useBPen) = nullptr;

// The message when there is no filled area to fill again.
constexpr uint32_t MsgNoFillMask = 1435;

int Refill(int32_t useBPen) {
    CancelTool(ToolMode);
    if (!WetRect.Set || !RefillAreaHook) {
        AlertMsg(MsgNoFillMask);
        return 0;
    }
    // As at the press of a fill: the stroke before becomes final, so that one undo takes
    // back the refill and nothing else.
    BeginStrokeCommit();
    MustCommit = 0;
    if (RefillAreaHook(useBPen ? 1 : 0)) return 1;
    AlertMsg(MsgNoFillMask);
    return 0;
}

} // namespace nemu
