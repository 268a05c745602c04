#pragma once
// What must be known of a mesh before it is rasterised: that its numbers are sound, where it lies, and what it will cost.
#include <cstdint>
#include <string>

#include "MC/VolRastr.h"
#include "comms/Vec.h"

struct TriangleView;

/// Extent and area of the triangles, in the voxels of `mapping`; unused vertices do not count.
struct MeshBounds {
  double Low[3] = {1e300, 1e300, 1e300}, High[3] = {-1e300, -1e300, -1e300};
  double Area = 0, SingleSidedArea = 0;  ///< the second is part of the first
  bool Empty() const { return High[0] < Low[0]; }
  void Add(const MeshBounds& other);
};

/// False with one sentence in `error` where an index lies outside the positions or a coordinate is not finite.
bool MeasureMesh(const TriangleView& mesh, const VoxelMapping& mapping, MeshBounds& bounds, std::string& error);

/// The cells in which density may arise.
RasterFrame FrameOf(const MeshBounds& bounds);

/// Peak bytes of a voxelisation, from above: rays, depth entries and surface cells by area, all other cells of the frame as
/// solid.
double EstimateBytes(const MeshBounds& bounds, const RasterFrame& frame);
