// Every command family of the script language, in one list.
#include "script/command_families.h"

namespace nemu {

const ScriptCommand* const CommandFamilies[] = {
    ProgramCommands, DrawingCommands, ColourCommands, ToolCommands, UndoCommands, nullptr,
};

} // namespace nemu
