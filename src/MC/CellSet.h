#pragma once
// A set of cell keys for walks, one bit a cell. Where the walk is expected lies a window of up to 64 cells along x whose rows are
// single words, so that the 26 neighbours of a cell are asked for in nine steps; beyond it pages of 4 x 4 x 4 cells are hashed.
#include <bit>
#include <cstdint>
#include <vector>

#include "MC/CellKey.h"

class CellSet {
 public:
  CellSet() : m_Buckets(16, 0) {}
  /// With a window over the keys first .. last, where that is not too large.
  CellSet(const CellKey& first, const CellKey& last) : CellSet() {
    const int64_t x = int64_t(last.x) - first.x + 1, y = int64_t(last.y) - first.y + 1, z = int64_t(last.z) - first.z + 1;
    if (x < 1 || y < 1 || z < 1 || x > 64 || y > MaxRows || z > MaxRows || y * z > MaxRows) return;
    m_First = first;
    m_SizeX = uint32_t(x), m_SizeY = uint32_t(y), m_SizeZ = uint32_t(z);
    m_Rows.assign(size_t(y * z), 0);
  }
  /// False when the key was there already.
  bool Insert(const CellKey& key) {
    const uint32_t x = uint32_t(key.x - m_First.x), y = uint32_t(key.y - m_First.y), z = uint32_t(key.z - m_First.z);
    if (x < m_SizeX && y < m_SizeY && z < m_SizeZ) {
      uint64_t& row = m_Rows[z * m_SizeY + y];
      const uint64_t before = row;
      row |= uint64_t(1) << x;
      return row != before;
    }
    return InsertHashed(key);
  }
  /// Inserts the neighbours of `key` that `mask` names (bit (dz + 1) * 9 + (dy + 1) * 3 + dx + 1) and calls added(key) for those
  /// that are new, in the order of the bits.
  template <class Added>
  void InsertNeighbours(const CellKey& key, uint32_t mask, Added&& added) {
    const uint32_t x = uint32_t(key.x - m_First.x - 1), y = uint32_t(key.y - m_First.y - 1), z = uint32_t(key.z - m_First.z - 1);
    if (x + 2 < m_SizeX && y + 2 < m_SizeY && z + 2 < m_SizeZ && x < m_SizeX && y < m_SizeY && z < m_SizeZ) {
      for (uint32_t line = 0; line < 9; line++) {
        uint64_t& row = m_Rows[(z + line / 3) * m_SizeY + y + line % 3];
        const uint64_t wanted = uint64_t(mask >> (line * 3) & 7) << x;
        const uint64_t fresh = wanted & ~row;
        row |= fresh;
        for (uint64_t bits = fresh; bits; bits &= bits - 1)
          added(CellKey{m_First.x + std::countr_zero(bits), key.y + int(line % 3) - 1, key.z + int(line / 3) - 1});
      }
      return;
    }
    for (; mask; mask &= mask - 1) {
      const int bit = std::countr_zero(mask);
      const CellKey neighbour = key + CellKey{bit % 3 - 1, bit / 3 % 3 - 1, bit / 9 - 1};
      if (Insert(neighbour)) added(neighbour);
    }
  }

 private:
  static constexpr int64_t MaxRows = 64 * 64;
  bool InsertHashed(const CellKey& key) {
    Page& page = FindOrAddPage({key.x >> 2, key.y >> 2, key.z >> 2});
    const uint64_t bit = BitOf(key), before = page.Bits;
    page.Bits |= bit;
    return !(before & bit);
  }
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
  CellKey m_First;
  uint32_t m_SizeX = 0, m_SizeY = 0, m_SizeZ = 0;
  std::vector<uint64_t> m_Rows;  // of the window, y innermost
  std::vector<Page> m_Pages;
  std::vector<uint32_t> m_Buckets;  // page index + 1, 0 free; size a power of two
  size_t m_Last = SIZE_MAX;
};
