#pragma once
// The memory of a crash as an ELF core file, small enough to be sent: registers, the signal, the crashed thread's stack, the data
// of the program and its libraries, and the surroundings of what the registers point at. Debuggers open it with the program
// beside it.
#include <signal.h>
#include <ucontext.h>

#include <cstddef>

/// Writes into an open file. Safe in a signal handler. False where the file did not take it all.
bool WriteCrashDump(int file, int signalNumber, const siginfo_t& info, const ucontext_t& context);
