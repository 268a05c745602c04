#pragma once
// One thread that writes what delayed streams hand over, in order, and ends when the queue is empty.
#include <atomic>

/// Blocks until everything handed over is on disk under its final name or has failed into LastStreamError. Any thread.
void WaitForWriter();
/// Whether items are waiting or being written.
bool IsWriterBusy();
/// True makes every delayed stream write at once.
extern std::atomic<bool> ForbidDelayedWriting;
