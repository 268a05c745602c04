#pragma once
// What a crashed process has done in another one. Everything here may be called in a signal handler.

/// Starts a program by its full path, words[0]; the list ends with a null. It gets the environment and standard streams of this
/// process. Returns its process id, below 0 where the system has none to give.
int StartFromCrash(const char* const* words);
/// The same, and waits for its end, however long that takes. Returns the exit code; 127 where it can't be started, -1 where a
/// signal ended it.
int RunFromCrash(const char* const* words);
/// In a child made for the crash: a fault ends it as it ends any process.
void EndOnSignals();
/// The answer of a function that a copy of this process runs, and dies of it where memory is broken. False then, and where it
/// takes longer than `seconds`.
bool AskFromCrash(bool (*question)(), unsigned seconds);
