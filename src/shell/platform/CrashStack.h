#pragma once
// Where a crashed thread was. Walking is done in the handler, names are looked up in a child.
#include <ucontext.h>

#include <cstddef>
#include <cstdint>

constexpr int MaxFrames = 128;

/// Reads `size` bytes at an address that may be none. No signal is raised; safe in a handler.
class MemoryProbe {
 public:
  MemoryProbe();
  ~MemoryProbe();
  MemoryProbe(const MemoryProbe&) = delete;
  MemoryProbe& operator=(const MemoryProbe&) = delete;
  /// size <= 4096.
  bool Read(uint64_t address, void* out, size_t size);

 private:
  int m_Ends[2];
};

/// The return addresses along the frame pointers, innermost first, the place of the fault at the head. A step ends the walk where
/// it can't be read, does not go up the stack or leaves it by far. Returns their number. Complete only in builds that keep frame
/// pointers.
int WalkFramePointers(const ucontext_t& context, uint64_t* addresses, int capacity);

/// Names for a report, as text of lines "address function file line".
struct NamedStacks {
  char Calls[32768];   ///< the stack by the unwind tables, which every build has; empty on failure
  char Frames[32768];  ///< the given addresses
};
/// Forks a child that unwinds from the place of the fault and looks both stacks up in the debug symbols; gives up after
/// `seconds`, as when the crash happened with the heap locked. False where the child didn't finish; what it finished is there.
bool NameStacks(const ucontext_t& context, const uint64_t* frames, int frameCount, double seconds, NamedStacks& stacks);
