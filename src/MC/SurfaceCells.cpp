#include "MC/SurfaceCells.h"

#include <algorithm>
#include <tuple>

std::vector<SurfaceCell> CollectSurfaceCells(const VolumeObject& volume) {
  std::vector<SurfaceCell> cells;
  volume.ForEachCell([&](const CellKey& key, VoxelCell& cell) {
    if (cell.Surface && !cell.Surface->Empty() && !cell.Has(ShadowCell)) cells.push_back({key, cell.Surface});
  });
  std::sort(cells.begin(), cells.end(), [](const SurfaceCell& a, const SurfaceCell& b) {
    return std::tie(a.Key.z, a.Key.y, a.Key.x) < std::tie(b.Key.z, b.Key.y, b.Key.x);
  });
  return cells;
}
