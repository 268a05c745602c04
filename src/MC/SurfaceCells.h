#pragma once
// The cells of a volume that hold triangles, in an order that depends on their coordinates alone.
#include <array>
#include <vector>

#include "MC/VolumeObject.h"

struct SurfaceCell {
  CellKey Key;
  SurfaceData* Surface;
};

/// All cells with vertices, ordered by z, then y, then x. The table's own order follows the order of creation, which may differ
/// from run to run where workers create cells. Shadow cells are copies of another volume's cells and are left out.
std::vector<SurfaceCell> CollectSurfaceCells(const VolumeObject& volume);

namespace surface_cells {
/// Bit i: coordinate i of the edge's lower end is 8, so the next cell along that axis owns the vertex.
constexpr std::array<uint8_t, 3 * CellSamples> MakeFarAxes() {
  std::array<uint8_t, 3 * CellSamples> axes{};
  for (size_t key = 0; key < axes.size(); key++)
    axes[key] = uint8_t((key % 9 == 8) | (key / 9 % 9 == 8) << 1 | (key / 81 % 9 == 8) << 2);
  return axes;
}
inline constexpr std::array<uint8_t, 3 * CellSamples> FarAxes = MakeFarAxes();
}  // namespace surface_cells

/// Of the copies of a vertex the one that stands for all: each vertex has one owner, unless the owner's cell is missing.
inline bool IsOwnedVertex(const VolumeVertex& v) { return v.EdgeKey == InteriorEdge || surface_cells::FarAxes[v.EdgeKey] == 0; }
