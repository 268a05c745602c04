#pragma once
// The cell table of a volume: from the three integers of a cell key to its record.
//
// Sculptures are compact, so neighbours are looked up together: cells live in pages of 4 x 4 x 4 slots, found through an
// open-addressing hash of the page key. A lookup in the page of the one before costs no hash at all (Cursor), a page costs 8
// bytes a slot, and the surface of a solid fills a page to more than half, so a cell's share stays below 16 bytes.
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "MC/CellKey.h"

struct VoxelCell;

class CellTable {
 public:
  static constexpr int PageShift = 2, PageSize = 4, PageSlots = 64;
  struct Page {
    CellKey Key;           ///< cell key >> PageShift
    uint64_t Present = 0;  ///< bit SlotOf(cell): the slot holds a cell
    VoxelCell* Cells[PageSlots];
  };
  /// Remembers the last page; consecutive lookups nearby skip the hash. One per thread; stale after Remove or Clear.
  struct Cursor {
    CellKey Key{INT32_MAX, INT32_MAX, INT32_MAX};
    const Page* Last = nullptr;
  };

  CellTable() = default;
  ~CellTable() { Clear(); }
  CellTable(const CellTable&) = delete;
  CellTable& operator=(const CellTable&) = delete;

  static CellKey PageOf(const CellKey& c) { return {c.x >> PageShift, c.y >> PageShift, c.z >> PageShift}; }
  static int SlotOf(const CellKey& c) { return (c.x & 3) | (c.y & 3) << 2 | (c.z & 3) << 4; }

  VoxelCell* Find(const CellKey& key) const {
    const Page* page = FindPage(PageOf(key));
    return page ? page->Cells[SlotOf(key)] : nullptr;
  }
  VoxelCell* Find(const CellKey& key, Cursor& cursor) const {
    const CellKey pageKey = PageOf(key);
    if (!(pageKey == cursor.Key)) cursor = {pageKey, FindPage(pageKey)};
    return cursor.Last ? cursor.Last->Cells[SlotOf(key)] : nullptr;
  }
  /// Enters a cell; the slot must be empty. The table is as it was where std::bad_alloc ends it.
  void Insert(const CellKey& key, VoxelCell* cell);
  /// Takes the cell out of the table and returns it; null when there is none. A page that held no other cell is freed.
  VoxelCell* Remove(const CellKey& key);
  void Clear();
  /// Takes out the cells for which remove(const CellKey&, VoxelCell&) is true, newest page first. Needs no memory; `remove` may
  /// free the record.
  template <class Remove>
  void RemoveIf(Remove&& remove) {
    for (size_t i = m_Pages.size(); i-- > 0;) {
      Page* page = m_Pages[i];
      for (uint64_t bits = page->Present; bits; bits &= bits - 1) {
        const int slot = std::countr_zero(bits);
        if (!remove(KeyAt(*page, slot), *page->Cells[slot])) continue;
        page->Cells[slot] = nullptr;
        page->Present &= ~(uint64_t(1) << slot);
        m_Count--;
      }
      if (!page->Present) RemovePage(page);
    }
  }

  size_t Count() const { return m_Count; }
  size_t Bytes() const;

  /// visit(const CellKey&, VoxelCell&) for every cell, in table order, which is not coordinate order but depends only on the
  /// sequence of insertions and removals. The table must not change meanwhile.
  template <class Visit>
  void ForEach(Visit&& visit) const {
    for (const Page* page : m_Pages)
      for (uint64_t bits = page->Present; bits; bits &= bits - 1) {
        const int slot = std::countr_zero(bits);
        visit(KeyAt(*page, slot), *page->Cells[slot]);
      }
  }

 private:
  static CellKey KeyAt(const Page& page, int slot) {
    return {page.Key.x * 4 + (slot & 3), page.Key.y * 4 + (slot >> 2 & 3), page.Key.z * 4 + (slot >> 4)};
  }
  const Page* FindPage(const CellKey& pageKey) const;
  size_t BucketOf(const Page* page) const;
  void EnterPage(uint32_t index);
  void RemovePage(Page* page);
  void Grow();
  std::vector<Page*> m_Pages;       // owned, in order of creation; the last one takes the place of a removed one
  std::vector<uint32_t> m_Buckets;  // page index + 1, 0 free; size a power of two
  size_t m_Count = 0;
};
