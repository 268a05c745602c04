#pragma once
// Large pieces of memory that pools and bins cut into blocks.
#include <cstddef>

/// Slabs of this size are aligned to it, and the system is asked to back each with one huge page, which saves a page fault every
/// 4096 bytes. Where the advice is unknown or refused the slab works as well.
constexpr size_t HugeSlabBytes = size_t(2) << 20;

/// bytes   a power of two from 64 to HugeSlabBytes. Aligned to 64 bytes at least and not cleared. Where memory is short the
/// host of the engine is asked; std::bad_alloc where it has nothing to free.
void* AllocateSlab(size_t bytes);
void FreeSlab(void* slab);
