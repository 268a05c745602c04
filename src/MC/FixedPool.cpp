#include "MC/FixedPool.h"

#include <algorithm>
#include <bit>
#include <cstring>
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
  m_Fresh = static_cast<uint8_t*>(AllocateSlab(bytes));
  m_SlabBytes += bytes;
  m_FreshEnd = m_Fresh + bytes / m_BlockBytes * m_BlockBytes;
  m_Slabs.push_back(m_Fresh);
}

// Free blocks are chained through their first bytes. A block may lie at any even address, so the link is copied, not
// dereferenced.
void* FixedPool::Take() {
  m_Used++;
  if (m_Free) {
    void* block = m_Free;
    std::memcpy(&m_Free, block, sizeof m_Free);
    return block;
  }
  if (m_Fresh == m_FreshEnd) AddSlab();
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
  for (size_t i = 0; i < count; i++) blocks[i] = Take();
}

void FixedPool::Free(void* block, bool lock) {
  SpinGuard guard(lock ? &m_Lock : nullptr);
  std::memcpy(block, &m_Free, sizeof m_Free);
  m_Free = block;
  m_Used--;
}

void FixedPool::Clear() {
  MORVANE_ASSERT(m_Used == 0);
  for (void* slab : m_Slabs) FreeSlab(slab);
  m_Slabs = {};
  m_SlabBytes = 0;
  m_Free = nullptr;
  m_Fresh = m_FreshEnd = nullptr;
}
