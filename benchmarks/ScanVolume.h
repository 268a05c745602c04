#pragma once
// A bench mesh as a volume, for the files that measure what is done to one.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>

#include "Claims.h"
#include "MC/MeshVoxelizer.h"
#include "MC/VolumeObject.h"

namespace bench {

/// The arrays of `mesh`, which must outlive the view.
inline TriangleView ViewOf(const TriangleSoup& mesh) {
  static_assert(sizeof(comms::cVec3) == 3 * sizeof(float));
  return {reinterpret_cast<const comms::cVec3*>(mesh.Positions.data()), mesh.Positions.size() / 3, mesh.Triangles.data(),
          mesh.Triangles.size() / 3};
}

/// Null, with the reason on standard error, where the mesh is refused. `voxelSize` in the mesh's units.
inline std::unique_ptr<VolumeObject> VoxelizeScan(const TriangleSoup& mesh, double voxelSize) {
  VoxelizeOptions options;
  options.VoxelSize = voxelSize;
  auto volume = std::make_unique<VolumeObject>();
  VoxelizeReport report;
  std::string error;
  if (VoxelizeMesh(ViewOf(mesh), options, *volume, report, error)) return volume;
  std::fprintf(stderr, "voxelise: %s\n", error.c_str());
  return nullptr;
}

/// Longest side of the box of `mesh`.
inline double LongestSide(const TriangleSoup& mesh) {
  double longest = 0;
  for (size_t k = 0; k < 3; k++) {
    float low = mesh.Positions[k], high = low;
    for (size_t i = k; i < mesh.Positions.size(); i += 3) {
      low = std::min(low, mesh.Positions[i]);
      high = std::max(high, mesh.Positions[i]);
    }
    longest = std::max(longest, double(high) - low);
  }
  return longest;
}

}  // namespace bench
