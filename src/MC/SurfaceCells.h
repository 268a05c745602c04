#pragma once
// The cells of a volume that hold triangles, in an order that depends on their coordinates alone.
#include <vector>

#include "MC/VolumeObject.h"

struct SurfaceCell {
  CellKey Key;
  SurfaceData* Surface;
};

/// All cells with vertices, ordered by z, then y, then x. The table's own order follows the order of creation, which may differ from
/// run to run where workers create cells. Shadow cells are copies of another volume's cells and are left out.
std::vector<SurfaceCell> CollectSurfaceCells(const VolumeObject& volume);
