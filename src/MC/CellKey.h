#pragma once
// Integer coordinates of voxels, cells and groups.
#include <cstdint>

struct CellKey {
  int32_t x = 0, y = 0, z = 0;
  friend bool operator==(const CellKey&, const CellKey&) = default;
  friend CellKey operator+(const CellKey& a, const CellKey& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
};

/// Group of 6 x 6 x 6 cells that holds a cell coordinate: the floor of c / 6.
inline int32_t GroupOf(int32_t c) { return (c >= 0 ? c : c - 5) / 6; }
inline CellKey GroupOf(const CellKey& cell) { return {GroupOf(cell.x), GroupOf(cell.y), GroupOf(cell.z)}; }
