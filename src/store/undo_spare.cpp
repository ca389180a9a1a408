// The spare page: made on first need, copied to, exchanged with the page, freed.
#include "store/undo.h"

#include "host/main_loop.h"
#include "host/screen.h"
#include "paint/draw_modes.h"
#include "store/bitmap.h"
#include "ui/catalog.h"
#include "ui/requests.h"

namespace nemu {

// The draw modes this file names: `color`, and the two that read the spare.
constexpr int32_t DM_COLOR = 0, DM_MERGE = 2, DM_IMPRESS = 13;

// The draw modes that read the spare cannot stay selected without one.
static bool ModeNeedsSpare() {
    return DrawMode == DM_MERGE || DrawMode == DM_IMPRESS;
}

static void FreeSpare() {
    FreeBitmap(SparePage);
    SparePage = nullptr;
}

// The user's kill puts the draw mode back to colour whatever it was: the command means
// "done with the spare", and a script that gives it knows the mode it is left in.
void KillSpare() {
    if (!SparePage) return;
    SetDrawMode(DM_COLOR);
    FreeSpare();
}

void DropSpare() {
    if (!SparePage) return;
    if (ModeNeedsSpare()) SetDrawMode(DM_COLOR);
    FreeSpare();
}

// The spare for the page's size; when memory is short the pointer shape `former` comes
// back before the message, so that it does not show the busy pointer.
static int MakeSpare(int former) {
    if (!Page) return 0;
    if (SparePage && (SparePage->Width != Page->Width || SparePage->Height != Page->Height)) DropSpare();
    if (SparePage) return 1;
    SparePage = NewClearBitmap(Page->Width, Page->Height);
    if (SparePage) return 1;
    SetPointerShape(former);
    AlertMsg(1420);
    return 0;
}

int EnsureSpare() {
    return MakeSpare(PointerShape);
}

int CopyToSpare(int ask) {
    if (!Page) return 0;
    int former = SetPointerShape(2);
    bool go = true;
    if (SparePage && ask) go = AskYesNo(MsgGet(nullptr, 1421), MsgGet(nullptr, 1001), MsgGet(nullptr, 1002));
    if (go) go = MakeSpare(former);
    if (go) CopyBitmap(Page, SparePage);
    SetPointerShape(former);
    return go ? 1 : 0;
}

int ConfirmPageSizeChange() {
    if (!SparePage) return 1;
    return AskYesNo(MsgGet(nullptr, 1422), MsgGet(nullptr, 1001), MsgGet(nullptr, 1002));
}

int SwapSpare() {
    if (!Page) return -1;
    int former = SetPointerShape(2);
    if (!MakeSpare(former)) return -1;
    SwapBitmapPixels(Page, SparePage);
    CommitWholePage();
    RefreshAll();
    SetPointerShape(former);
    return 0;
}

} // namespace nemu
