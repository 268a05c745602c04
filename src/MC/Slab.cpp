#include "MC/Slab.h"

#include <bit>
#include <cstdlib>
#include <new>

#ifdef __linux__
#include <sys/mman.h>
#endif

#include "ClassEngine/Assert.h"
#include "ClassEngine/EngineHost.h"

void* AllocateSlab(size_t bytes) {
  MORVANE_ASSERT(std::has_single_bit(bytes) && bytes >= 64 && bytes <= HugeSlabBytes);
  for (;;) {
    void* slab = std::aligned_alloc(bytes == HugeSlabBytes ? HugeSlabBytes : 64, bytes);
    if (slab) {
#ifdef __linux__
      if (bytes == HugeSlabBytes) madvise(slab, bytes, MADV_HUGEPAGE);
#endif
      return slab;
    }
    if (!GetEngineHost().OutOfMemory(bytes)) throw std::bad_alloc();
  }
}

void FreeSlab(void* slab) { std::free(slab); }
