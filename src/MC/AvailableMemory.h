#pragma once
#include <cstdint>

/// Bytes that this process can still take without swapping: what the machine has free, within the limits of the control groups
/// it runs in (a container's) and of its own address space. Caches that would be given up count as free.
int64_t AvailableMemory();
