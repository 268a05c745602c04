#pragma once
#include "shell/core/CommandTable.h"

/// Runs a command. What a library throws ends here: the command has failed, and whoever runs it decides how to go on.
CommandResult RunGuarded(const Command& command, const CommandParameters& parameters);
