#include "MC/CellTable.h"

#include <memory>

#include "ClassEngine/Assert.h"

namespace {

size_t HashPage(const CellKey& key) {
  uint64_t h = uint32_t(key.x) * 0x9E3779B97F4A7C15ull;
  h = (h ^ (h >> 32) ^ uint32_t(key.y)) * 0xD6E8FEB86659FD93ull;
  h = (h ^ (h >> 32) ^ uint32_t(key.z)) * 0xA0761D6478BD642Full;
  return size_t(h ^ (h >> 32));
}

}  // namespace

const CellTable::Page* CellTable::FindPage(const CellKey& pageKey) const {
  if (m_Buckets.empty()) return nullptr;
  const size_t mask = m_Buckets.size() - 1;
  for (size_t bucket = HashPage(pageKey) & mask; m_Buckets[bucket]; bucket = (bucket + 1) & mask) {
    const Page* page = m_Pages[m_Buckets[bucket] - 1];
    if (page->Key == pageKey) return page;
  }
  return nullptr;
}

size_t CellTable::BucketOf(const Page* page) const {
  const size_t mask = m_Buckets.size() - 1;
  size_t bucket = HashPage(page->Key) & mask;
  while (m_Pages[m_Buckets[bucket] - 1] != page) bucket = (bucket + 1) & mask;
  return bucket;
}

void CellTable::EnterPage(uint32_t index) {
  const size_t mask = m_Buckets.size() - 1;
  size_t bucket = HashPage(m_Pages[index]->Key) & mask;
  while (m_Buckets[bucket]) bucket = (bucket + 1) & mask;
  m_Buckets[bucket] = index + 1;
}

void CellTable::Grow() {
  m_Buckets.assign(m_Buckets.empty() ? 16 : m_Buckets.size() * 2, 0);
  for (uint32_t i = 0; i < m_Pages.size(); i++) EnterPage(i);
}

void CellTable::Insert(const CellKey& key, VoxelCell* cell) {
  const CellKey pageKey = PageOf(key);
  Page* page = const_cast<Page*>(FindPage(pageKey));
  if (!page) {
    if ((m_Pages.size() + 1) * 2 > m_Buckets.size()) Grow();
    auto fresh = std::make_unique<Page>(Page{pageKey, 0, {}});
    m_Pages.push_back(fresh.get());
    page = fresh.release();
    EnterPage(uint32_t(m_Pages.size() - 1));
  }
  const int slot = SlotOf(key);
  MORVANE_ASSERT(!page->Cells[slot]);
  page->Cells[slot] = cell;
  page->Present |= uint64_t(1) << slot;
  m_Count++;
}

VoxelCell* CellTable::Remove(const CellKey& key) {
  Page* page = const_cast<Page*>(FindPage(PageOf(key)));
  const int slot = SlotOf(key);
  VoxelCell* cell = page ? page->Cells[slot] : nullptr;
  if (!cell) return nullptr;
  page->Cells[slot] = nullptr;
  page->Present &= ~(uint64_t(1) << slot);
  m_Count--;
  if (!page->Present) RemovePage(page);
  return cell;
}

void CellTable::RemovePage(Page* page) {
  // The chain behind the bucket closes up: an entry moves into the gap unless its home lies between the gap and itself.
  const size_t mask = m_Buckets.size() - 1;
  size_t gap = BucketOf(page);
  const uint32_t index = m_Buckets[gap] - 1;
  for (size_t next = (gap + 1) & mask; m_Buckets[next]; next = (next + 1) & mask) {
    const size_t home = HashPage(m_Pages[m_Buckets[next] - 1]->Key) & mask;
    if (((next - home) & mask) >= ((next - gap) & mask)) {
      m_Buckets[gap] = m_Buckets[next];
      gap = next;
    }
  }
  m_Buckets[gap] = 0;
  // The newest page takes the place in the list.
  if (index + 1 != m_Pages.size()) {
    m_Buckets[BucketOf(m_Pages.back())] = index + 1;
    m_Pages[index] = m_Pages.back();
  }
  m_Pages.pop_back();
  delete page;
}

void CellTable::Clear() {
  for (Page* page : m_Pages) delete page;
  m_Pages = {};
  m_Buckets = {};
  m_Count = 0;
}

size_t CellTable::Bytes() const {
  constexpr size_t allocatorOverhead = 8;
  return m_Pages.size() * (sizeof(Page) + allocatorOverhead) + m_Pages.capacity() * sizeof(Page*) +
         m_Buckets.capacity() * sizeof(uint32_t);
}
