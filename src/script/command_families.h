// The row arrays of the command families. A new family adds its array here and to the
// list in command_registry.cpp; the dispatcher needs no change.
#pragma once
#include "script/command_host.h"

namespace nemu {

extern const ScriptCommand ProgramCommands[];
extern const ScriptCommand DrawingCommands[];
extern const ScriptCommand ColourCommands[];
extern const ScriptCommand LayerCommands[];
extern const ScriptCommand ToolCommands[];
extern const ScriptCommand UndoCommands[];
extern const ScriptCommand FileCommands[];
extern const ScriptCommand KeyCommands[];
extern const ScriptCommand RequestCommands[];

} // namespace nemu
