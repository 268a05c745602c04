#pragma once
// Commands that belong to no room.
#include "shell/core/CommandTable.h"

/// Help, Quit, ReadXml, WriteXml. The table outlives its own commands.
void AddGeneralCommands(CommandTable& table);
