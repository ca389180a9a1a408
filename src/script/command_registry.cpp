// Every command family of the script language, in one list.
#include "script/command_families.h"

namespace nemu {

// One family a line, so that families added side by side merge cleanly.
// clang-format off
const ScriptCommand* const CommandFamilies[] = {
    ProgramCommands,
    DrawingCommands,
    ColourCommands,
    LayerCommands,
    ToolCommands,
    UndoCommands,
    FileCommands,
    KeyCommands,
    RequestCommands,
    nullptr,
};
// clang-format on

} // namespace nemu
