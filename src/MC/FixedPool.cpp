#include "MC/FixedPool.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>
#include <thread>

#ifdef __x86_64__
#include <immintrin.h>
#endif

#include "ClassEngine/Assert.h"
#include "MC/Slab.h"

namespace {

// A small volume must stay small, a large one must not pay a page fault every 4096 bytes.
constexpr size_t FirstSlab = size_t(64) << 10;

void PauseOnce() {
#ifdef __x86_64__
  _mm_pause();
#endif
}

}  // namespace

void SpinLock::Lock() {
  int spins = 1;
  for (;;) {
    uint8_t expected = 0;
    if (m_Byte.compare_exchange_weak(expected, 1, std::memory_order_acquire, std::memory_order_relaxed)) return;
    if (spins <= 16) {
      for (int i = 0; i < spins; i++) PauseOnce();
      spins *= 2;
    } else {
      std::this_thread::yield();
    }
  }
}

FixedPool::FixedPool(size_t blockBytes) : m_BlockBytes(blockBytes) {
  MORVANE_ASSERT(blockBytes >= sizeof(void*) && blockBytes <= FirstSlab);
}

FixedPool::~FixedPool() {
  m_Used = 0;  // the owner has destroyed what lived here; backups that an undo frame took over go with the pool
  Clear();
}

// A slab is a quarter of all before it, so that what lies unused at the end stays small against what is used.
void FixedPool::AddSlab() {
  const size_t bytes = std::clamp(std::bit_floor(m_SlabBytes / 4 + 1), FirstSlab, HugeSlabBytes);
  m_Slabs.push_back({nullptr, 0, 0});
  m_Slabs.back().Data = static_cast<uint8_t*>(AllocateSlab(bytes));
  m_Slabs.back().Bytes = bytes;
  m_SlabBytes += bytes;
  m_Fresh = m_Slabs.back().Data;
  m_FreshEnd = m_Fresh + bytes / m_BlockBytes * m_BlockBytes;
}

// Free blocks are chained through their first bytes. A block may lie at any even address, so the link is copied, not
// dereferenced.
void* FixedPool::Take() {
  if (m_Free) {
    m_Used++;
    void* block = m_Free;
    std::memcpy(&m_Free, block, sizeof m_Free);
    return block;
  }
  if (m_Fresh == m_FreshEnd) AddSlab();
  m_Used++;
  void* block = m_Fresh;
  m_Fresh += m_BlockBytes;
  return block;
}

void* FixedPool::Allocate(bool lock) {
  SpinGuard guard(lock ? &m_Lock : nullptr);
  return Take();
}

void FixedPool::AllocateMany(size_t count, void** blocks) {
  SpinGuard guard(&m_Lock);
  size_t taken = 0;
  try {
    for (; taken < count; taken++) blocks[taken] = Take();
  } catch (...) {
    while (taken > 0) Return(blocks[--taken]);
    throw;
  }
}

void FixedPool::Return(void* block) {
  std::memcpy(block, &m_Free, sizeof m_Free);
  m_Free = block;
  m_Used--;
}

void FixedPool::Free(void* block, bool lock) {
  SpinGuard guard(lock ? &m_Lock : nullptr);
  Return(block);
}

void FixedPool::Clear() {
  MORVANE_ASSERT(m_Used == 0);
  for (const Slab& slab : m_Slabs) FreeSlab(slab.Data);
  m_Slabs = {};
  m_SlabBytes = 0;
  m_Free = nullptr;
  m_Fresh = m_FreshEnd = nullptr;
}

FixedPool::Slab& FixedPool::SlabOf(const void* block) {
  const auto after = std::upper_bound(m_Slabs.begin(), m_Slabs.end(), block,
                                      [](const void* at, const Slab& slab) { return std::less<>()(at, slab.Data); });
  return *(after - 1);
}

void FixedPool::Trim() {
  std::sort(m_Slabs.begin(), m_Slabs.end(), [](const Slab& a, const Slab& b) { return std::less<>()(a.Data, b.Data); });
  for (Slab& slab : m_Slabs) slab.FreeBlocks = 0;
  if (m_Fresh != m_FreshEnd) SlabOf(m_Fresh).FreeBlocks = size_t(m_FreshEnd - m_Fresh) / m_BlockBytes;
  void* next = nullptr;
  for (void* block = m_Free; block; block = next) {
    SlabOf(block).FreeBlocks++;
    std::memcpy(&next, block, sizeof next);
  }
  const auto isFree = [&](const Slab& slab) { return slab.FreeBlocks == slab.Bytes / m_BlockBytes; };
  if (m_Fresh != m_FreshEnd && isFree(SlabOf(m_Fresh))) m_Fresh = m_FreshEnd = nullptr;
  // The chain without the blocks of those slabs, in the order that it had.
  void* newest = nullptr;
  void* last = nullptr;
  for (void* block = m_Free; block; block = next) {
    std::memcpy(&next, block, sizeof next);
    if (isFree(SlabOf(block))) continue;
    if (last)
      std::memcpy(last, &block, sizeof block);
    else
      newest = block;
    last = block;
  }
  if (last) std::memcpy(last, &next, sizeof next);  // null, the end
  m_Free = newest;
  std::erase_if(m_Slabs, [&](const Slab& slab) {
    if (!isFree(slab)) return false;
    m_SlabBytes -= slab.Bytes;
    FreeSlab(slab.Data);
    return true;
  });
}
