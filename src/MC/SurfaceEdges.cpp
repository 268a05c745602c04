#include "MC/SurfaceEdges.h"

#include "ClassEngine/Assert.h"

namespace {

/// visit(from, to, triangle, corner) for every side of a cell's triangles.
template <class Visit>
void ForEachSide(const SurfaceData& surface, Visit&& visit) {
  const BlockView<const uint16_t> indices = surface.Indices();
  const uint32_t triangles = indices.Count() / 3;
  for (uint32_t t = 0; t < triangles; t++) {
    uint32_t ids[3];
    for (uint32_t corner = 0; corner < 3; corner++) ids[corner] = surface.VertexIds[indices[3 * t + corner]] & ~SharedVertexBit;
    for (uint32_t corner = 0; corner < 3; corner++) visit(ids[corner], ids[(corner + 1) % 3], t, corner);
  }
}

}  // namespace

SurfaceEdges::SurfaceEdges(VolumeObject& volume) {
  const uint32_t vertices = volume.AssignVertexIds();
  m_Cells = CollectSurfaceCells(volume);
  // Counting sort by the first end.
  m_First.assign(size_t(vertices) + 1, 0);
  uint64_t total = 0;
  for (const SurfaceCell& cell : m_Cells) {
    total += cell.Surface->Indices().Count();
    ForEachSide(*cell.Surface, [&](uint32_t from, uint32_t, uint32_t, uint32_t) { m_First[from + 1]++; });
  }
  MORVANE_ASSERT(total <= UINT32_MAX);
  for (uint32_t id = 0; id < vertices; id++) m_First[id + 1] += m_First[id];
  m_Sides.resize(total);
  std::vector<uint32_t> next(m_First.begin(), m_First.end() - 1);
  for (uint32_t i = 0; i < m_Cells.size(); i++)
    ForEachSide(*m_Cells[i].Surface, [&](uint32_t from, uint32_t to, uint32_t triangle, uint32_t corner) {
      m_Sides[next[from]++] = {to, triangle | corner << 24, i};
    });
}

const SurfaceEdges::Side* SurfaceEdges::Find(uint32_t from, uint32_t to) const {
  for (const Side& side : From(from))
    if (side.To == to) return &side;
  return nullptr;
}
