// Script commands of undo and of the spare page.
#include "host/main_loop.h"
#include "paint/pens.h"
#include "paint/refill.h"
#include "paint/tools.h"
#include "script/command_families.h"
#include "store/undo.h"

namespace nemu {

// om_undo: undoes the last stroke or layer step; again, redoes it.
static void UndoLast(CommandRequest*, const char*) {
    CancelTool(ToolMode);
    Undo();
}

// om_updateundo: the page as it stands becomes final.
static void UpdateUndo(CommandRequest*, const char*) {
    CancelTool(ToolMode);
    if (WetMode) ClearWet();
    CommitPage();
}

// om_redo pen: not a redo (a second om_undo is that) but a refill of the last fill mask,
// with BPen when pen is not 0, else APen.
static void Redo(CommandRequest*, const char* args) {
    ReadArgs(args, 1);
    Refill(ArgInt[0] != 0);
}

// om_sparekill: with a spare, the draw mode goes back to `color`, whatever it was, and
// the spare is freed.
static void SpareKill(CommandRequest*, const char*) {
    KillSpare();
}

// om_sparecopy: the page to the spare, made when there is none. ERROR -1 when memory
// is short.
static void SpareCopy(CommandRequest* request, const char*) {
    if (!CopyToSpare(0)) ReplyError(request, -1);
}

// om_spareswap: page and spare exchanged; answers 0, or -1 when memory is short.
static void SpareSwap(CommandRequest* request, const char*) {
    CancelTool(ToolMode);
    ReplyFormat(request, "%d", SwapSpare());
}

const ScriptCommand UndoCommands[] = {
    {"om_undo", UndoLast},       {"om_updateundo", UpdateUndo}, {"om_redo", Redo},
    {"om_sparekill", SpareKill},
    {"om_killspare", SpareKill}, {"om_sparecopy", SpareCopy},   {"om_copytospare", SpareCopy},
    {"om_spareswap", SpareSwap}, {"om_swap", SpareSwap},        {nullptr, nullptr},
};

} // namespace nemu
