#include "ClassEngine/pool.h"

#include <algorithm>
#include <cstring>

#include "ClassEngine/Assert.h"
#include "ClassEngine/BinStream.h"
#include "ClassEngine/EngineHost.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MORVANE_POISON_POOL
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define MORVANE_POISON_POOL
#endif
#ifdef MORVANE_POISON_POOL
#include <sanitizer/asan_interface.h>
#endif

// --- elements ------------------------------------------------------------------------------------

static constexpr uint32_t LiveStamp = ChunkTag("FOOD"), FreeStamp = ChunkTag("BAAD"), EndStamp = ChunkTag("WALL");

static void Stamp(void* element, uint32_t stamp) { std::memcpy(element, &stamp, sizeof stamp); }
static bool HasStamp(const void* element, uint32_t stamp) { return std::memcmp(element, &stamp, sizeof stamp) == 0; }

// Under the address sanitizer a touch of a free element past its stamp is a finding, as with freed memory.
static void Poison([[maybe_unused]] void* element, [[maybe_unused]] size_t size) {
#ifdef MORVANE_POISON_POOL
  if (size > 8) ASAN_POISON_MEMORY_REGION(static_cast<uint8_t*>(element) + 8, size - 8);
#endif
}
static void Unpoison([[maybe_unused]] void* element, [[maybe_unused]] size_t size) {
#ifdef MORVANE_POISON_POOL
  ASAN_UNPOISON_MEMORY_REGION(element, size);
#endif
}

void PoolSizeClass::AddBlock() {
  const size_t size = size_t(ElementSize) * ElementsPerBlock;
  uint8_t* block = static_cast<uint8_t*>(GeneralAllocate(size + sizeof EndStamp));
  Stamp(block + size, EndStamp);
  Blocks.Add(block);
  for (int i = ElementsPerBlock; i-- > 0;) {  // the first element is handed out first
    uint8_t* element = block + size_t(i) * ElementSize;
    Stamp(element, FreeStamp);
    Poison(element, ElementSize);
    FreeElements.Add(element);
  }
}

void PoolSizeClass::FreeBlock(uint8_t* block) {
  Unpoison(block, size_t(ElementSize) * ElementsPerBlock);
  GeneralFree(block);
}

bool PoolSizeClass::IsWhole() const {
  for (const uint8_t* element : FreeElements)
    if (!HasStamp(element, FreeStamp)) return false;
  for (const uint8_t* block : Blocks)
    if (!HasStamp(block + size_t(ElementSize) * ElementsPerBlock, EndStamp)) return false;
  return true;
}

// One bit for each element of each block that holds the stamp.
void PoolSizeClass::MarkStamped(uint32_t stamp, bool first, DynArray<ElementMask>& masks) const {
  for (int32_t b = 0; b < Blocks.Count; b++) {
    ElementMask found{};
    for (int i = 0; i < ElementsPerBlock; i++)
      if (HasStamp(Blocks.Data[b] + size_t(i) * ElementSize, stamp)) found.Words[i / 64] |= uint64_t(1) << i % 64;
    if (first)
      masks.Add(found);
    else
      for (int w = 0; w < 4; w++) masks.Data[b].Words[w] &= found.Words[w];
  }
}

// A live element may by chance begin with one of the words, but not with both in turn: an element is free when it took both
// stamps.
void PoolSizeClass::Compact() {
  DynArray<ElementMask> masks;
  masks.Reserve(Blocks.Count);
  for (uint8_t* element : FreeElements) Stamp(element, ChunkTag("BOOK"));
  MarkStamped(ChunkTag("BOOK"), true, masks);
  for (uint8_t* element : FreeElements) Stamp(element, ChunkTag("GLUK"));
  MarkStamped(ChunkTag("GLUK"), false, masks);

  FreeElements.Clear();
  int32_t kept = 0;
  for (int32_t b = 0; b < Blocks.Count; b++) {
    uint8_t* block = Blocks.Data[b];
    const uint64_t* free = masks.Data[b].Words;
    if ((free[0] & free[1] & free[2] & free[3]) == ~uint64_t(0)) {
      FreeBlock(block);
      continue;
    }
    Blocks.Data[kept++] = block;
    for (int i = ElementsPerBlock; i-- > 0;) {
      if (!(free[i / 64] >> i % 64 & 1)) continue;
      uint8_t* element = block + size_t(i) * ElementSize;
      Stamp(element, FreeStamp);
      FreeElements.Add(element);
    }
  }
  Blocks.Count = kept;
  constexpr int32_t ShrinkMargin = 16;
  Blocks.Shrink(ShrinkMargin);
  FreeElements.Shrink(ShrinkMargin);
}

// --- pool ----------------------------------------------------------------------------------------

// Stands around each operation where a lock would: it takes none, and holds the pool to its one thread instead.
class PooledAllocator::OwnerGuard {
 public:
  explicit OwnerGuard(PooledAllocator& pool) {
    static thread_local char s_ThisThread;
    if (!pool.m_Ready) {
      pool.SetUp();
      pool.m_Owner = &s_ThisThread;
    }
    MORVANE_ASSERT(pool.m_Owner == &s_ThisThread);
  }
};

void PooledAllocator::SetUp() {
  for (int i = 0; i < 5; i++) m_Classes[i].ElementSize = 8u << i;
  m_Ready = true;
}

PooledAllocator::~PooledAllocator() {
  for (PoolSizeClass& sizeClass : m_Classes)
    for (uint8_t* block : sizeClass.Blocks) sizeClass.FreeBlock(block);
}

void* PooledAllocator::Allocate(size_t size) {
  if (!size) return nullptr;
  if (size > MaxPooled) return GeneralAllocate(size);
  const OwnerGuard guard(*this);
  PoolSizeClass& sizeClass = m_Classes[ClassOf(size)];
  if (!sizeClass.FreeElements.Count) sizeClass.AddBlock();
  uint8_t* element = sizeClass.FreeElements.Data[--sizeClass.FreeElements.Count];
  Unpoison(element, sizeClass.ElementSize);
  Stamp(element, LiveStamp);
  return element;
}

void PooledAllocator::Free(void* pointer, size_t size) {
  if (!pointer) return;
  if (size > MaxPooled) {
    GeneralFree(pointer);
    return;
  }
  const OwnerGuard guard(*this);
  PoolSizeClass& sizeClass = m_Classes[ClassOf(size)];
  Stamp(pointer, FreeStamp);
  Poison(pointer, sizeClass.ElementSize);
  sizeClass.FreeElements.Add(static_cast<uint8_t*>(pointer));
}

void* PooledAllocator::Reallocate(void* pointer, size_t oldSize, size_t newSize) {
  if (!pointer && oldSize) GetEngineHost().ShowBox("Class engine error", "NULL pointer in pool!");
  if (!pointer || !oldSize) return Allocate(newSize);
  if (oldSize > MaxPooled && newSize > MaxPooled) return GeneralReallocate(pointer, newSize);
  if (oldSize <= MaxPooled && newSize && newSize <= MaxPooled && ClassOf(oldSize) == ClassOf(newSize)) return pointer;
  void* result = Allocate(newSize);
  if (result) std::memcpy(result, pointer, std::min(oldSize, newSize));
  Free(pointer, oldSize);
  return result;
}

void PooledAllocator::Compact() {
  const OwnerGuard guard(*this);
  for (PoolSizeClass& sizeClass : m_Classes) sizeClass.Compact();
}

size_t PooledAllocator::GetBlockCount() const {
  size_t count = 0;
  for (const PoolSizeClass& sizeClass : m_Classes) count += size_t(sizeClass.Blocks.Count);
  return count;
}

size_t PooledAllocator::GetLiveCount() const {
  size_t count = 0;
  for (const PoolSizeClass& sizeClass : m_Classes)
    count += size_t(sizeClass.Blocks.Count) * PoolSizeClass::ElementsPerBlock - size_t(sizeClass.FreeElements.Count);
  return count;
}

bool PooledAllocator::IsWhole() const {
  return std::all_of(std::begin(m_Classes), std::end(m_Classes),
                     [](const PoolSizeClass& sizeClass) { return sizeClass.IsWhole(); });
}

// Never destroyed: static objects free their strings when the program ends.
PooledAllocator& GetPool() {
  static PooledAllocator* pool = new PooledAllocator;
  return *pool;
}
