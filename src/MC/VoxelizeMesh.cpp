// A mesh as a new volume: chooses the voxels, then runs the voxeliser.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "ClassEngine/Assert.h"
#include "MC/ApplyField.h"
#include "MC/MeshBounds.h"
#include "MC/MeshVoxelizer.h"
#include "MC/VolumeObject.h"

using comms::cVec3;

namespace {

// Farther out the whole mesh is moved by whole voxels, so that cell keys and positions stay precise.
constexpr double FarFromOrigin = 16384;

// Not inline: g++ 12 drops the rounding where it makes vectors of the loop that widens the float again.
[[gnu::noinline]] float RoundToFloat(double value) { return float(value); }

// 0 with a sentence in `error` where the options and the mesh give no size.
double ChooseVoxelSize(const MeshBounds& bounds, const VoxelizeOptions& options, std::string& error) {
  char text[160];
  if (options.VoxelSize != 0) {
    if (std::isfinite(options.VoxelSize) && options.VoxelSize > 0) return options.VoxelSize;
    std::snprintf(text, sizeof text, "VoxelSize is %g; expected a length above 0", options.VoxelSize);
  } else if (!(std::isfinite(options.Resolution) && options.Resolution > 0)) {
    std::snprintf(text, sizeof text, "Resolution is %g; expected a number of voxels above 0", options.Resolution);
  } else {
    double longest = 0;
    for (int k = 0; k < 3; k++) longest = std::max(longest, bounds.High[k] - bounds.Low[k]);
    if (longest > 0 && std::isfinite(longest)) return longest / options.Resolution;
    std::snprintf(text, sizeof text, "the mesh is %g units long; a resolution needs a length above 0", longest);
  }
  error = text;
  return 0;
}

}  // namespace

bool VoxelizeMesh(const TriangleView& mesh, const VoxelizeOptions& options, VolumeObject& volume, VoxelizeReport& report,
                  std::string& error) {
  MORVANE_ASSERT(volume.Cells.Count() == 0);
  report = {};
  MeshBounds bounds;
  if (!MeasureMesh(mesh, {}, bounds, error)) return false;
  if (bounds.Empty()) return true;
  // The volume's matrix holds floats, so the voxels are what a float says.
  const float voxelSize = float(ChooseVoxelSize(bounds, options, error));
  if (!error.empty()) return false;
  VoxelMapping mapping;
  mapping.Scale = 1 / double(voxelSize);
  double farthest = 0;
  for (int k = 0; k < 3; k++) farthest = std::max({farthest, std::fabs(bounds.Low[k]), std::fabs(bounds.High[k])});
  if (!(mapping.Scale > 0 && std::isfinite(mapping.Scale) && std::isfinite(farthest * mapping.Scale))) {
    char text[120];
    std::snprintf(text, sizeof text, "voxels of %g units are too small for a mesh that reaches to %g", double(voxelSize),
                  farthest);
    error = text;
    return false;
  }
  float translation[3] = {0, 0, 0};
  if (farthest * mapping.Scale > FarFromOrigin)
    for (int k = 0; k < 3; k++) {
      translation[k] = RoundToFloat(std::nearbyint((bounds.Low[k] + bounds.High[k]) / 2 * mapping.Scale) * double(voxelSize));
      mapping.Shift[k] = -double(translation[k]) * mapping.Scale;  // of what the matrix keeps, so that nothing is displaced
    }

  MeshVoxelizer voxelizer(options.Limits);
  voxelizer.AddMesh(mesh, mapping);
  const bool done = voxelizer.Run(&volume, ApplyAdd, options.Parallel, false);
  report = voxelizer.Report;
  error = voxelizer.Error;
  if (!done) return false;
  volume.SpaceMatrix = comms::cMat4::Scale(voxelSize);
  std::copy(translation, translation + 3, volume.SpaceMatrix.m[3]);
  return true;
}

bool CutIntoTriangles(const comms::cRawMesh& mesh, std::vector<int32_t>& corners, std::string& error) {
  corners.clear();
  corners.reserve(mesh.Polygons.size() * 2);
  const size_t records = mesh.Polygons.size();
  for (size_t at = 0; at < records;) {
    const int64_t count = mesh.Polygons[at].Corners();
    if (count < 0 || size_t(count) >= records - at) {
      error = "polygon record " + std::to_string(at) + " announces " + std::to_string(count) + " corners, " +
              std::to_string(records - at - 1) + " records follow";
      return false;
    }
    const comms::cRawPolyRec* polygon = mesh.Polygons.data() + at + 1;
    for (int64_t i = 2; i < count; i++)
      corners.insert(corners.end(), {polygon[0].Position(), polygon[i - 1].Position(), polygon[i].Position()});
    at += size_t(count) + 1;
  }
  return true;
}

bool VoxelizeMesh(const comms::cRawMesh& mesh, const VoxelizeOptions& options, VolumeObject& volume, VoxelizeReport& report,
                  std::string& error) {
  report = {};
  std::vector<int32_t> corners;
  if (!CutIntoTriangles(mesh, corners, error)) return false;
  return VoxelizeMesh({mesh.Positions.data(), mesh.Positions.size(), corners.data(), corners.size() / 3}, options, volume, report,
                      error);
}
