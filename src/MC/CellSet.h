#pragma once
// A set of cell keys for walks: one bit a cell in pages of 4 x 4 x 4 cells, so that the neighbours of a cell cost no hash each.
#include <cstdint>
#include <vector>

#include "MC/CellKey.h"

class CellSet {
 public:
  CellSet() : m_Buckets(256, 0) {}
  /// False when the key was there already.
  bool Insert(const CellKey& key) {
    Page& page = FindOrAddPage({key.x >> 2, key.y >> 2, key.z >> 2});
    const uint64_t bit = BitOf(key), before = page.Bits;
    page.Bits |= bit;
    return !(before & bit);
  }

 private:
  struct Page {
    CellKey Key;
    uint64_t Bits = 0;
  };
  static uint64_t BitOf(const CellKey& key) { return uint64_t(1) << ((key.x & 3) | (key.y & 3) << 2 | (key.z & 3) << 4); }
  static size_t HashOf(const CellKey& key) {
    const uint64_t mixed = uint64_t(uint32_t(key.x)) * 0x9E3779B97F4A7C15u ^ uint64_t(uint32_t(key.y)) * 0xC2B2AE3D27D4EB4Fu ^
                           uint64_t(uint32_t(key.z)) * 0x165667B19E3779F9u;
    return size_t(mixed ^ mixed >> 32);
  }
  Page& FindOrAddPage(const CellKey& key) {
    if (m_Last < m_Pages.size() && m_Pages[m_Last].Key == key) return m_Pages[m_Last];
    size_t bucket = HashOf(key) & (m_Buckets.size() - 1);
    for (; m_Buckets[bucket]; bucket = (bucket + 1) & (m_Buckets.size() - 1))
      if (m_Pages[m_Buckets[bucket] - 1].Key == key) return m_Pages[m_Last = m_Buckets[bucket] - 1];
    m_Last = m_Pages.size();
    m_Pages.push_back({key, 0});
    m_Buckets[bucket] = uint32_t(m_Pages.size());
    if (m_Pages.size() * 2 > m_Buckets.size()) Grow();
    return m_Pages[m_Last];
  }
  void Grow() {
    m_Buckets.assign(m_Buckets.size() * 4, 0);
    for (size_t i = 0; i < m_Pages.size(); i++) {
      size_t bucket = HashOf(m_Pages[i].Key) & (m_Buckets.size() - 1);
      while (m_Buckets[bucket]) bucket = (bucket + 1) & (m_Buckets.size() - 1);
      m_Buckets[bucket] = uint32_t(i + 1);
    }
  }
  std::vector<Page> m_Pages;
  std::vector<uint32_t> m_Buckets;  // page index + 1, 0 free; size a power of two
  size_t m_Last = SIZE_MAX;
};
