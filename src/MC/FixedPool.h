#pragma once
// Pools of equal blocks: density blocks, cell records and surface records of one volume. A pool takes memory from the system in
// large slabs and keeps the brush loop free of the general allocator.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Byte-sized lock: compare-and-swap, a pause loop that doubles up to 16 spins, then the time slice is given away.
class SpinLock {
 public:
  void Lock();
  void Unlock() { m_Byte.store(0, std::memory_order_release); }

 private:
  std::atomic<uint8_t> m_Byte{0};
};

/// Holds `lock` for a scope when `lock` is not null.
class SpinGuard {
 public:
  explicit SpinGuard(SpinLock* lock) : m_Lock(lock) {
    if (m_Lock) m_Lock->Lock();
  }
  ~SpinGuard() {
    if (m_Lock) m_Lock->Unlock();
  }
  SpinGuard(const SpinGuard&) = delete;
  SpinGuard& operator=(const SpinGuard&) = delete;

 private:
  SpinLock* m_Lock;
};

/// Slabs grow from 64 KB to 2 MB; blocks that were never used are handed out in address order, freed ones first come last served.
/// When the system has no memory the host is asked to free some (EngineHost::OutOfMemory); if it can't, std::bad_alloc is thrown
/// and the pool is as it was.
class FixedPool {
 public:
  /// `blockBytes`: from the size of a pointer to 64 KB.
  explicit FixedPool(size_t blockBytes);
  ~FixedPool();
  FixedPool(const FixedPool&) = delete;
  FixedPool& operator=(const FixedPool&) = delete;

  /// One block, uninitialised. With `lock` the pool's spin lock is held meanwhile.
  void* Allocate(bool lock);
  /// `count` blocks at once into `blocks`, for passes that know how many they need.
  void AllocateMany(size_t count, void** blocks);
  void Free(void* block, bool lock);
  /// Gives all slabs back. No block may be in use.
  void Clear();
  /// Gives back the slabs of which no block is in use. Needs no memory itself. O(free blocks).
  void Trim();

  size_t BlockBytes() const { return m_BlockBytes; }
  size_t UsedBlocks() const { return m_Used; }
  /// Bytes of all slabs, free blocks included.
  size_t SlabBytes() const { return m_SlabBytes; }

 private:
  struct Slab {
    uint8_t* Data;
    size_t Bytes;
    size_t FreeBlocks;  // Trim's
  };
  void AddSlab();
  void* Take();
  void Return(void* block);
  Slab& SlabOf(const void* block);
  size_t m_BlockBytes, m_Used = 0, m_SlabBytes = 0;
  std::vector<Slab> m_Slabs;
  void* m_Free = nullptr;      // newest freed block; each holds the address of the one before
  uint8_t* m_Fresh = nullptr;  // the part of the newest slab that was never handed out
  uint8_t* m_FreshEnd = nullptr;
  SpinLock m_Lock;
};
