#pragma once
#include "shell/core/CommandTable.h"

/// Crash: ends the program by a fault, to see what a crash leaves behind. In debug builds only; otherwise nothing is entered.
void AddCrashCommand(CommandTable& table);
