#include "MC/SurfaceStats.h"

#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/parallel_reduce.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "MC/SurfaceEdges.h"

namespace {

struct EdgeCounts {
  size_t Edges = 0, Boundary = 0, NonManifold = 0;
};

EdgeCounts operator+(const EdgeCounts& a, const EdgeCounts& b) {
  return {a.Edges + b.Edges, a.Boundary + b.Boundary, a.NonManifold + b.NonManifold};
}

size_t CountSides(const SurfaceEdges& edges, uint32_t from, uint32_t to) {
  const auto sides = edges.From(from);
  return size_t(std::count_if(sides.begin(), sides.end(), [to](const SurfaceEdges::Side& side) { return side.To == to; }));
}

/// Counts each edge at its lower end, or at the upper one where no side runs upwards.
EdgeCounts CountEdgesAt(const SurfaceEdges& edges, uint32_t id) {
  EdgeCounts counts;
  const auto sides = edges.From(id);
  for (size_t i = 0; i < sides.size(); i++) {
    const uint32_t to = sides[i].To;
    const bool repeated =
        std::any_of(sides.begin(), sides.begin() + ptrdiff_t(i), [to](const auto& side) { return side.To == to; });
    const size_t back = CountSides(edges, to, id);
    if (repeated || (to < id && back > 0)) continue;
    const size_t forth = CountSides(edges, id, to);
    counts.Edges++;
    if (forth + back == 1)
      counts.Boundary++;
    else if (forth != 1 || back != 1)
      counts.NonManifold++;
  }
  return counts;
}

EdgeCounts CountEdges(const SurfaceEdges& edges) {
  return tbb::parallel_reduce(
      tbb::blocked_range<uint32_t>(0, edges.VertexCount()), EdgeCounts(),
      [&](const tbb::blocked_range<uint32_t>& range, EdgeCounts counts) {
        for (uint32_t id = range.begin(); id != range.end(); id++) counts = counts + CountEdgesAt(edges, id);
        return counts;
      },
      [](const EdgeCounts& a, const EdgeCounts& b) { return a + b; });
}

size_t CountComponents(const SurfaceEdges& edges) {
  std::vector<uint32_t> parent(edges.VertexCount());
  std::iota(parent.begin(), parent.end(), 0u);
  auto root = [&](uint32_t id) {
    while (parent[id] != id) id = parent[id] = parent[parent[id]];
    return id;
  };
  size_t components = parent.size();
  for (uint32_t id = 0; id < parent.size(); id++)
    for (const SurfaceEdges::Side& side : edges.From(id)) {
      const uint32_t a = root(id), b = root(side.To);
      if (a == b) continue;
      parent[std::max(a, b)] = std::min(a, b);
      components--;
    }
  return components;
}

using D3 = SurfaceStats::Point;
D3 PlaceOf(const VolumeVertex& v) { return {v.x, v.y, v.z}; }
D3 Difference(const D3& a, const D3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
D3 Cross(const D3& a, const D3& b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
double Dot(const D3& a, const D3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
D3 Lower(const D3& a, const D3& b) { return {std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z)}; }
D3 Higher(const D3& a, const D3& b) { return {std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)}; }

/// From voxels to world. Floats would round the vertices of a small surface far out to the same few points.
struct WideSpace {
  D3 Columns[3];  // of the upper 3 by 3
  D3 Shift;

  explicit WideSpace(const comms::cMat4& a) : Shift{a.m[3][0], a.m[3][1], a.m[3][2]} {
    for (int k = 0; k < 3; k++) Columns[k] = {a.m[0][k], a.m[1][k], a.m[2][k]};
  }
  D3 Direction(const D3& d) const { return {Dot(d, Columns[0]), Dot(d, Columns[1]), Dot(d, Columns[2])}; }
  D3 Point(const D3& p) const {
    const D3 d = Direction(p);
    return {d.x + Shift.x, d.y + Shift.y, d.z + Shift.z};
  }
};

/// Sums of one cell. They are added up in cell order, so the result does not depend on who made them.
struct CellSums {
  double VoxelVolume6 = 0, Area2 = 0;  // the volume is in voxels
  D3 Min{HUGE_VAL, HUGE_VAL, HUGE_VAL}, Max{-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
};

CellSums MeasureCell(const SurfaceData& surface, const WideSpace& space, const D3& origin) {
  CellSums sums;
  const BlockView<const VolumeVertex> vertices = surface.Vertices();
  const BlockView<const uint16_t> indices = surface.Indices();
  for (uint32_t i = 0; i < vertices.Count(); i++) {
    const D3 p = space.Point(PlaceOf(vertices[i]));
    sums.Min = Lower(sums.Min, p);
    sums.Max = Higher(sums.Max, p);
  }
  for (uint32_t i = 0; i + 2 < indices.Count(); i += 3) {
    const D3 a = PlaceOf(vertices[indices[i]]);
    const D3 b = Difference(PlaceOf(vertices[indices[i + 1]]), a), c = Difference(PlaceOf(vertices[indices[i + 2]]), a);
    const D3 normal = Cross(space.Direction(b), space.Direction(c));
    sums.Area2 += std::sqrt(Dot(normal, normal));
    sums.VoxelVolume6 += Dot(Difference(a, origin), Cross(b, c));
  }
  return sums;
}

void AddSums(SurfaceStats& stats, const VolumeObject& volume, const std::vector<SurfaceCell>& cells) {
  if (cells.empty()) return;
  // Tetrahedra about a point of the surface, so that a surface far from voxel 0 loses no digits.
  const D3 origin = PlaceOf(cells.front().Surface->Vertices()[0]);
  const WideSpace space(volume.SpaceMatrix);
  std::vector<CellSums> sums(cells.size());
  tbb::parallel_for(size_t(0), cells.size(), [&](size_t i) { sums[i] = MeasureCell(*cells[i].Surface, space, origin); });
  stats.Min = sums[0].Min;
  stats.Max = sums[0].Max;
  for (const CellSums& s : sums) {
    stats.Volume += s.VoxelVolume6 / 6;
    stats.Area += s.Area2 / 2;
    stats.Min = Lower(stats.Min, s.Min);
    stats.Max = Higher(stats.Max, s.Max);
  }
  // A space matrix that mirrors turns every triangle over; the solid stays as large.
  stats.Volume *= std::fabs(comms::Determinant3(volume.SpaceMatrix));
}

}  // namespace

SurfaceStats MeasureSurface(VolumeObject& volume) {
  SurfaceStats stats;
  stats.Cells = volume.Cells.Count();
  volume.ForEachCell([&](const CellKey&, const VoxelCell& cell) { stats.Blocks += cell.Density != nullptr; });
  const SurfaceEdges edges(volume);
  stats.SurfaceCells = edges.Cells().size();
  stats.Vertices = edges.VertexCount();
  for (const SurfaceCell& cell : edges.Cells()) stats.Triangles += cell.Surface->Indices().Count() / 3;
  AddSums(stats, volume, edges.Cells());
  const EdgeCounts counts = CountEdges(edges);
  stats.BoundaryEdges = counts.Boundary;
  stats.NonManifoldEdges = counts.NonManifold;
  stats.Components = CountComponents(edges);
  if (counts.Boundary == 0 && counts.NonManifold == 0) {
    const int64_t characteristic = int64_t(stats.Vertices) - int64_t(counts.Edges) + int64_t(stats.Triangles);
    stats.Genus = int(int64_t(stats.Components) - characteristic / 2);
  }
  return stats;
}
