#include "MC/SurfaceStats.h"

#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/parallel_reduce.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "MC/SurfaceEdges.h"

using comms::cVec3;

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

struct D3 {
  double x, y, z;
};
D3 Difference(const cVec3& a, const cVec3& b) { return {double(a.x) - b.x, double(a.y) - b.y, double(a.z) - b.z}; }
D3 Cross(const D3& a, const D3& b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
double Dot(const D3& a, const D3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

/// Sums of one cell. They are added up in cell order, so the result does not depend on who made them.
struct CellSums {
  double Volume6 = 0, Area2 = 0;
  cVec3 Min{INFINITY, INFINITY, INFINITY}, Max{-INFINITY, -INFINITY, -INFINITY};
};

CellSums MeasureCell(const VolumeObject& volume, const SurfaceData& surface, const cVec3& origin) {
  CellSums sums;
  const BlockView<const VolumeVertex> vertices = surface.Vertices();
  const BlockView<const uint16_t> indices = surface.Indices();
  std::vector<cVec3> world(vertices.Count());
  for (uint32_t i = 0; i < vertices.Count(); i++) {
    const VolumeVertex& v = vertices[i];
    const cVec3 p = world[i] = volume.VolumeToWorld({v.x, v.y, v.z});
    sums.Min = {std::min(sums.Min.x, p.x), std::min(sums.Min.y, p.y), std::min(sums.Min.z, p.z)};
    sums.Max = {std::max(sums.Max.x, p.x), std::max(sums.Max.y, p.y), std::max(sums.Max.z, p.z)};
  }
  for (uint32_t i = 0; i + 2 < indices.Count(); i += 3) {
    const cVec3 &a = world[indices[i]], &b = world[indices[i + 1]], &c = world[indices[i + 2]];
    const D3 normal = Cross(Difference(b, a), Difference(c, a));
    sums.Area2 += std::sqrt(Dot(normal, normal));
    sums.Volume6 += Dot(Difference(a, origin), normal);
  }
  return sums;
}

void AddSums(SurfaceStats& stats, const VolumeObject& volume, const std::vector<SurfaceCell>& cells) {
  if (cells.empty()) return;
  // Tetrahedra about a point of the surface, so that a volume far from the origin loses no digits.
  const VolumeVertex& v = cells.front().Surface->Vertices()[0];
  const cVec3 origin = volume.VolumeToWorld({v.x, v.y, v.z});
  std::vector<CellSums> sums(cells.size());
  tbb::parallel_for(size_t(0), cells.size(), [&](size_t i) { sums[i] = MeasureCell(volume, *cells[i].Surface, origin); });
  stats.Min = sums[0].Min;
  stats.Max = sums[0].Max;
  for (const CellSums& s : sums) {
    stats.Volume += s.Volume6 / 6;
    stats.Area += s.Area2 / 2;
    stats.Min = {std::min(stats.Min.x, s.Min.x), std::min(stats.Min.y, s.Min.y), std::min(stats.Min.z, s.Min.z)};
    stats.Max = {std::max(stats.Max.x, s.Max.x), std::max(stats.Max.y, s.Max.y), std::max(stats.Max.z, s.Max.z)};
  }
  // A space matrix that mirrors turns every triangle over.
  if (comms::Determinant3(volume.SpaceMatrix) < 0) stats.Volume = -stats.Volume;
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
