#pragma once
// The pooled allocator for the many small pieces: tree nodes, short strings, small stream buffers.
#include <cstddef>
#include <cstdint>

#include "ClassEngine/dynarray.h"

/// One size class: blocks of 256 elements, cut into equal elements, with a guard word behind the last.
struct PoolSizeClass {
  static constexpr int ElementsPerBlock = 256;
  struct ElementMask {
    uint64_t Words[4] = {};
  };
  uint32_t ElementSize = 0;
  DynArray<uint8_t*, 15> Blocks;
  DynArray<uint8_t*, 15> FreeElements;

  void AddBlock();
  void FreeBlock(uint8_t* block);
  void Compact();
  bool IsWhole() const;

 private:
  void MarkStamped(uint32_t stamp, bool first, DynArray<ElementMask>& masks) const;
};

/// Not locked: a pool belongs to the thread that used it first, the main thread; another one that comes for a pooled size stops
/// the program. Sizes above MaxPooled never touch the pool's state and are free for all threads.
class PooledAllocator {
 public:
  static constexpr size_t MaxPooled = 128;

  PooledAllocator() = default;
  ~PooledAllocator();
  PooledAllocator(const PooledAllocator&) = delete;
  PooledAllocator& operator=(const PooledAllocator&) = delete;

  /// Null for 0 bytes. From the smallest of the classes 8, 16, 32, 64 and 128 that holds `size`; above, from the general
  /// allocator.
  void* Allocate(size_t size);
  /// Null is ignored. `size` is that of the request.
  void Free(void* pointer, size_t size);
  /// Keeps the pointer where both sizes fall in one class. A null with an `oldSize` is reported and treated as a fresh request.
  void* Reallocate(void* pointer, size_t oldSize, size_t newSize);
  /// Gives blocks without a live element back to the general allocator. Linear in the elements.
  void Compact();

  size_t GetBlockCount() const;  ///< of all classes
  size_t GetLiveCount() const;   ///< elements handed out now
  /// False where a free element was written to, or something wrote past the end of a block. Linear in the free elements. It only
  /// reads, but follows the pool's own pointers: in doubt about those, ask from a process that may die of it.
  bool IsWhole() const;

 private:
  class OwnerGuard;
  static int ClassOf(size_t size) { return size <= 8 ? 0 : size <= 16 ? 1 : size <= 32 ? 2 : size <= 64 ? 3 : 4; }
  void SetUp();
  PoolSizeClass m_Classes[5];
  const void* m_Owner = nullptr;
  bool m_Ready = false;
};

/// The one pool of the process; lives as long as anything can use it.
PooledAllocator& GetPool();
