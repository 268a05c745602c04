// Ids that weld the cells' meshes together.
//
// A vertex on a cell's boundary has copies in up to four cells. Of these the one where no coordinate of the edge is 8 owns it;
// the owner numbers it, the others find it there through their neighbour. So no table of all vertices is needed, each cell is the
// work of one thread, and the ids depend on the mesh alone.
#include <oneapi/tbb/parallel_for.h>

#include <algorithm>
#include <array>
#include <mutex>

#include "ClassEngine/Assert.h"
#include "MC/SurfaceCells.h"

namespace {

using surface_cells::FarAxes;

constexpr uint32_t Unset = ~0u;

/// Numbers the vertices that a cell owns from `first` on.
void NumberOwned(SurfaceData& surface, uint32_t first) {
  const BlockView<const VolumeVertex> vertices = surface.Vertices();
  surface.VertexIds.Resize(vertices.Count());
  for (uint32_t i = 0; i < vertices.Count(); i++) {
    const VolumeVertex& v = vertices[i];
    if (!IsOwnedVertex(v))
      surface.VertexIds[i] = Unset;
    else
      surface.VertexIds[i] = v.EdgeKey == InteriorEdge ? first++ : first++ | SharedVertexBit;
  }
}

/// Takes the ids of vertices that the far neighbours own from there. False when a neighbour does not have one of them.
bool TakeFromNeighbours(const VolumeObject& volume, const SurfaceCell& cell, CellTable::Cursor& cursor) {
  // Entries left by other cells are harmless: each is checked against the vertex that it leads to.
  thread_local std::array<uint16_t, FarAxes.size()> vertexOf{};
  SurfaceData& surface = *cell.Surface;
  const BlockView<const VolumeVertex> vertices = surface.Vertices();
  uint8_t needed = 0;
  for (const VolumeVertex& v : vertices)
    if (v.EdgeKey != InteriorEdge) needed |= uint8_t(1 << FarAxes[v.EdgeKey]);
  bool complete = true;
  for (int far = 1; far < 8; far++) {
    if (!(needed >> far & 1)) continue;
    const VoxelCell* neighbour =
        volume.Cells.Find({cell.Key.x + (far & 1), cell.Key.y + (far >> 1 & 1), cell.Key.z + (far >> 2)}, cursor);
    const SurfaceData* owner = neighbour && !neighbour->Has(ShadowCell) ? neighbour->Surface : nullptr;
    BlockView<const VolumeVertex> owned;
    if (owner) owned = owner->Vertices();
    for (uint32_t i = 0; i < owned.Count(); i++)
      if (owned[i].EdgeKey != InteriorEdge) vertexOf[owned[i].EdgeKey] = uint16_t(i);
    const int shift = 8 * ((far & 1) + 9 * (far >> 1 & 1) + 81 * (far >> 2));
    for (uint32_t i = 0; i < vertices.Count(); i++) {
      const uint16_t key = vertices[i].EdgeKey;
      if (key == InteriorEdge || FarAxes[key] != far) continue;
      const uint16_t near = uint16_t(key - shift), found = vertexOf[near];
      if (owner && found < owned.Count() && owned[found].EdgeKey == near)
        surface.VertexIds[i] = owner->VertexIds[found];
      else
        complete = false;
    }
  }
  return complete;
}

/// Where the owner is missing the copies that there are still weld, by their place in the volume.
void WeldOrphans(const SurfaceCell& cell, CoordHash<std::array<uint32_t, 3>>& orphans, uint32_t& nextId) {
  const BlockView<const VolumeVertex> vertices = cell.Surface->Vertices();
  for (uint32_t i = 0; i < vertices.Count(); i++) {
    if (cell.Surface->VertexIds[i] != Unset) continue;
    const int key = vertices[i].EdgeKey;
    bool added = false;
    auto& ids =
        orphans.FindOrAdd(CellKey{key % 9 + 8 * cell.Key.x, key / 9 % 9 + 8 * cell.Key.y, key / 81 % 9 + 8 * cell.Key.z}, &added);
    if (added) ids.fill(Unset);
    uint32_t& id = ids[size_t(key / CellSamples)];
    if (id == Unset) id = nextId++ | SharedVertexBit;
    cell.Surface->VertexIds[i] = id;
  }
}

}  // namespace

uint32_t VolumeObject::AssignVertexIds() {
  if (m_IdsCurrent) return NextVertexId;
  const std::vector<SurfaceCell> cells = CollectSurfaceCells(*this);
  std::vector<uint32_t> first(cells.size());
  tbb::parallel_for(size_t(0), cells.size(), [&](size_t i) {
    const BlockView<const VolumeVertex> vertices = cells[i].Surface->Vertices();
    first[i] = uint32_t(std::count_if(vertices.begin(), vertices.end(), IsOwnedVertex));
  });
  uint64_t next = 0;
  for (uint32_t& f : first) {
    const uint32_t count = f;
    f = uint32_t(next);
    next += count;
  }
  MORVANE_ASSERT(next < SharedVertexBit);
  NextVertexId = uint32_t(next);
  tbb::parallel_for(size_t(0), cells.size(), [&](size_t i) { NumberOwned(*cells[i].Surface, first[i]); });

  std::vector<size_t> incomplete;
  std::mutex incompleteMutex;
  tbb::parallel_for(tbb::blocked_range<size_t>(0, cells.size()), [&](const tbb::blocked_range<size_t>& range) {
    CellTable::Cursor cursor;
    for (size_t i = range.begin(); i != range.end(); i++)
      if (!TakeFromNeighbours(*this, cells[i], cursor)) {
        std::lock_guard guard(incompleteMutex);
        incomplete.push_back(i);
      }
  });
  std::sort(incomplete.begin(), incomplete.end());
  CoordHash<std::array<uint32_t, 3>> orphans;
  for (size_t i : incomplete) WeldOrphans(cells[i], orphans, NextVertexId);
  m_IdsCurrent = true;
  return NextVertexId;
}
