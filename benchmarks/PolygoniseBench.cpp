// Whole-volume polygonisation against OpenVDB's volumeToMesh, both from the same distance field.
#include "Claims.h"
#include "MC/SurfaceCells.h"
#include "MC/VolumeObject.h"

#if __has_include(<openvdb/openvdb.h>)
#include <openvdb/openvdb.h>
#include <openvdb/tools/MeshToVolume.h>
#include <openvdb/tools/VolumeToMesh.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

using openvdb::FloatGrid;

/// Level set of a mesh, `resolution` voxels along its longest side, half width 3.
FloatGrid::Ptr MakeLevelSet(const bench::TriangleSoup& mesh, int resolution) {
  float low[3] = {INFINITY, INFINITY, INFINITY}, high[3] = {-INFINITY, -INFINITY, -INFINITY};
  for (size_t i = 0; i < mesh.Positions.size(); i++) {
    low[i % 3] = std::min(low[i % 3], mesh.Positions[i]);
    high[i % 3] = std::max(high[i % 3], mesh.Positions[i]);
  }
  const float scale = float(resolution) / std::max({high[0] - low[0], high[1] - low[1], high[2] - low[2]});
  std::vector<openvdb::Vec3s> points;
  std::vector<openvdb::Vec3I> triangles;
  for (size_t i = 0; i < mesh.Positions.size(); i += 3) {
    // About the origin, so that mirrored cells are measured too.
    float p[3];
    for (int axis = 0; axis < 3; axis++) p[axis] = (mesh.Positions[i + size_t(axis)] - (low[axis] + high[axis]) / 2) * scale;
    points.emplace_back(p[0], p[1], p[2]);
  }
  for (size_t i = 0; i < mesh.Triangles.size(); i += 3)
    triangles.emplace_back(mesh.Triangles[i], mesh.Triangles[i + 1], mesh.Triangles[i + 2]);
  return openvdb::tools::meshToLevelSet<FloatGrid>(*openvdb::math::Transform::createLinearTransform(1.0), points, triangles, 3);
}

/// The same field in our encoding. Cells without a leaf of the grid in reach are uniform.
void FillFromLevelSet(const FloatGrid& grid, VolumeObject& volume) {
  auto values = grid.getConstAccessor();
  const openvdb::CoordBBox box = grid.evalActiveVoxelBoundingBox();
  auto nearLeaf = [&](const openvdb::Coord& origin) {
    for (int i = 0; i < 8; i++)
      if (values.probeConstLeaf(origin.offsetBy(8 * (i & 1), 8 * (i >> 1 & 1), 8 * (i >> 2)))) return true;
    return false;
  };
  for (int cz = (box.min().z() >> 3) - 1; cz <= (box.max().z() >> 3) + 1; cz++)
    for (int cy = (box.min().y() >> 3) - 1; cy <= (box.max().y() >> 3) + 1; cy++)
      for (int cx = (box.min().x() >> 3) - 1; cx <= (box.max().x() >> 3) + 1; cx++) {
        const openvdb::Coord origin(8 * cx, 8 * cy, 8 * cz);
        const bool dense = nearLeaf(origin);
        if (!dense && values.getValue(origin) > 0) continue;
        VoxelCell* cell = volume.GetCell(cx, cy, cz, true, false, false);
        if (!dense) {
          cell->SetUniform(65535, false);
          continue;
        }
        cell->Expand(ExpandAllocate | ExpandFill, false);
        for (int z = 0; z < CellEdge; z++)
          for (int y = 0; y < CellEdge; y++)
            for (int x = 0; x < CellEdge; x++) {
              const float distance = values.getValue(origin.offsetBy(x, y, z));
              cell->Density[SampleIndex(x, y, z)] = uint16_t(std::clamp(0.5f - distance / 4, 0.0f, 1.0f) * 65535);
            }
        cell->Analyze(true, false);
        if (!cell->Density && cell->UniformValue == 0) volume.DeleteCell({cx, cy, cz});
      }
}

/// As a volume that was just filled: nothing polygonised, everything marked.
void ForgetSurface(VolumeObject& volume) {
  volume.ForEachCell([&](const CellKey&, VoxelCell& cell) { volume.FreeSurface(cell); });
  volume.MarkAllChanged();
}

void MeasureMesh(const std::string& file, int resolution, std::vector<bench::Claim>& claims) {
  bench::Claim claim;
  claim.Text =
      "Polygonise " + file + " at " + std::to_string(resolution) + " with normals: triangles/s, ours / OpenVDB volumeToMesh";
  claim.Goal = ">= 1.5";
  bench::TriangleSoup mesh;
  if (!bench::LoadBenchMesh(file, mesh)) {
    claim.Skipped = "mesh not there";
    claims.push_back(claim);
    return;
  }
  const FloatGrid::Ptr grid = MakeLevelSet(mesh, resolution);
  VolumeObject volume;
  FillFromLevelSet(*grid, volume);
  std::vector<openvdb::Vec3s> points;
  std::vector<openvdb::Vec3I> triangles;
  std::vector<openvdb::Vec4I> quads;
  const bench::Pair pair = bench::MeasurePairs(
      9, [&] { volume.RefreshSurfaces(); }, [&] { openvdb::tools::volumeToMesh(*grid, points, triangles, quads, 0.0, 0.0); },
      [&] { ForgetSurface(volume); },
      [&] {
        points = {};
        triangles = {};
        quads = {};
      });
  size_t ours = 0;
  for (const SurfaceCell& cell : CollectSurfaceCells(volume)) ours += cell.Surface->Indices().Count() / 3;
  claim.Ours = double(ours) / pair.Ours;
  claim.Peer = double(triangles.size() + 2 * quads.size()) / pair.Peer;
  claim.Ratio = claim.Ours / claim.Peer;
  claim.OursSpread = pair.OursSpread;
  claim.Note = std::to_string(ours) + " and " + std::to_string(triangles.size() + 2 * quads.size()) + " triangles";
  claims.push_back(claim);
}

const bench::Benchmark polygonise("Polygonise", [](std::vector<bench::Claim>& claims) {
  openvdb::initialize();
  for (const char* file : {"koala.obj", "nefertiti_280k.ply"}) MeasureMesh(file, 512, claims);
});

}  // namespace

#else

const bench::Benchmark polygonise("Polygonise", [](std::vector<bench::Claim>& claims) {
  bench::Claim claim;
  claim.Text = "Polygonise scans at 512 with normals: triangles/s, ours / OpenVDB volumeToMesh";
  claim.Goal = ">= 1.5";
  claim.Skipped = "OpenVDB is not installed";
  claims.push_back(claim);
});

#endif
