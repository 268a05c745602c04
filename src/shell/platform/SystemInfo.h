#pragma once
// What the machine says of its memory and what is loaded into the process. All of it may be called in a signal handler: no memory
// is taken, no lock, nothing but open, read and close.
#include <cstddef>
#include <cstdint>

/// Bytes, but for MemoryLoad.
struct MemoryStatus {
  uint64_t MemoryLoad = 0;  ///< percent of the physical memory in use
  uint64_t TotalPhys = 0, AvailPhys = 0;
  uint64_t TotalPageFile = 0, AvailPageFile = 0;  ///< physical memory and swap together
  uint64_t TotalVirtual = 0, AvailVirtual = 0;    ///< address space of this process
};
/// False, and zeros, where the system does not tell.
bool ReadMemoryStatus(MemoryStatus& status);

/// One mapping of the process.
struct Mapping {
  uint64_t Begin = 0, End = 0, Offset = 0;
  bool Readable = false, Writable = false, Executable = false, Private = false;
  char Path[512] = {};  ///< empty for memory without a file; cut where it is longer
};
/// Calls `visit` for every mapping, by address, until it answers false. False where the system does not tell.
bool VisitMappings(bool (*visit)(void* context, const Mapping& mapping), void* context);
/// The same for the program and its libraries, each once, with the addresses from its first mapping to its last.
bool VisitModules(bool (*visit)(void* context, const Mapping& module), void* context);

/// Processors that this process may run on, and those of the machine.
int CountUsableProcessors();
int CountProcessors();
