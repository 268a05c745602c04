#include "MC/MeshBounds.h"

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/parallel_reduce.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "MC/MeshVoxelizer.h"
#include "MC/VoxelCell.h"

using comms::cVec3;

void MeshBounds::Add(const MeshBounds& other) {
  for (int k = 0; k < 3; k++) {
    Low[k] = std::min(Low[k], other.Low[k]);
    High[k] = std::max(High[k], other.High[k]);
  }
  Area += other.Area;
  SingleSidedArea += other.SingleSidedArea;
}

namespace {

/// Bounds of the triangles in the mesh's own units, and whether all of them can be used.
struct Measured {
  cVec3 Low{HUGE_VALF, HUGE_VALF, HUGE_VALF}, High{-HUGE_VALF, -HUGE_VALF, -HUGE_VALF};
  double Area = 0;
  bool Sound = true;
};

cVec3 Lower(const cVec3& a, const cVec3& b) { return {std::min(a.x, b.x), std::min(a.y, b.y), std::min(a.z, b.z)}; }
cVec3 Higher(const cVec3& a, const cVec3& b) { return {std::max(a.x, b.x), std::max(a.y, b.y), std::max(a.z, b.z)}; }

Measured MeasureRange(const TriangleView& mesh, size_t first, size_t last, Measured sum) {
  for (size_t t = first; t != last && sum.Sound; t++) {
    const int32_t* corners = mesh.Corners + t * 3;
    if (size_t(uint32_t(corners[0])) >= mesh.PositionCount || size_t(uint32_t(corners[1])) >= mesh.PositionCount ||
        size_t(uint32_t(corners[2])) >= mesh.PositionCount) {
      sum.Sound = false;
      break;
    }
    const cVec3 &a = mesh.Positions[corners[0]], &b = mesh.Positions[corners[1]], &c = mesh.Positions[corners[2]];
    const cVec3 total = (a * 0 + b * 0) + c * 0;  // not a number as soon as one of them is not finite
    if (!(total.x + total.y + total.z == 0)) sum.Sound = false;
    sum.Low = Lower(Lower(sum.Low, a), Lower(b, c));
    sum.High = Higher(Higher(sum.High, a), Higher(b, c));
    const double ux = double(b.x) - a.x, uy = double(b.y) - a.y, uz = double(b.z) - a.z;
    const double vx = double(c.x) - a.x, vy = double(c.y) - a.y, vz = double(c.z) - a.z;
    const double nx = uy * vz - uz * vy, ny = uz * vx - ux * vz, nz = ux * vy - uy * vx;
    sum.Area += std::sqrt(nx * nx + ny * ny + nz * nz) / 2;
  }
  return sum;
}

std::string DescribeFault(const TriangleView& mesh) {
  char text[200] = "";
  for (size_t i = 0; i < mesh.TriangleCount * 3; i++) {
    const int32_t index = mesh.Corners[i];
    if (size_t(uint32_t(index)) >= mesh.PositionCount) {
      std::snprintf(text, sizeof text, "triangle %zu uses vertex %d, but the mesh has %zu vertices", i / 3, index,
                    mesh.PositionCount);
      break;
    }
    const cVec3& p = mesh.Positions[index];
    if (!comms::IsFinite(p)) {
      std::snprintf(text, sizeof text, "vertex %d of triangle %zu lies at (%g, %g, %g), which is not finite", index, i / 3,
                    double(p.x), double(p.y), double(p.z));
      break;
    }
  }
  return text;
}

}  // namespace

bool MeasureMesh(const TriangleView& mesh, const VoxelMapping& mapping, MeshBounds& bounds, std::string& error) {
  bounds = {};
  if (mesh.TriangleCount == 0) return true;
  const Measured measured = oneapi::tbb::parallel_deterministic_reduce(
      oneapi::tbb::blocked_range<size_t>(0, mesh.TriangleCount, 16384), Measured{},
      [&](const oneapi::tbb::blocked_range<size_t>& range, Measured sum) {
        return MeasureRange(mesh, range.begin(), range.end(), sum);
      },
      [](const Measured& a, const Measured& b) {
        return Measured{Lower(a.Low, b.Low), Higher(a.High, b.High), a.Area + b.Area, a.Sound && b.Sound};
      });
  if (!measured.Sound) {
    error = DescribeFault(mesh);
    return false;
  }
  for (int k = 0; k < 3; k++) {
    bounds.Low[k] = mapping.Map(measured.Low[k], k);
    bounds.High[k] = mapping.Map(measured.High[k], k);
  }
  bounds.Area = measured.Area * mapping.Scale * mapping.Scale;
  return true;
}

RasterFrame FrameOf(const MeshBounds& bounds) {
  // The ramp ends two voxels outside the surface; one more for the rounding of vertices.
  const int margin = 3 + (bounds.SingleSidedArea > 0 ? OneSidedVoxels : 0);
  RasterFrame frame;
  int32_t* const first[3] = {&frame.FirstCell.x, &frame.FirstCell.y, &frame.FirstCell.z};
  for (int k = 0; k < 3; k++) {
    *first[k] = (int32_t(std::floor(bounds.Low[k])) - margin) >> CellShift;
    frame.Cells[k] = ((int32_t(std::ceil(bounds.High[k])) + margin) >> CellShift) - *first[k] + 1;
  }
  return frame;
}

double EstimateBytes(const MeshBounds& bounds, const RasterFrame& frame) {
  const double cells = double(frame.Cells[0]) * frame.Cells[1] * frame.Cells[2];
  // Depths: each axis sees the area shrunk by the angle, sqrt(3) times the area in all; binned, sorted and kept.
  const double entryBytes = 1.7321 * bounds.Area * (sizeof(EntryBins::Entry) + 2 * sizeof(int32_t));
  // A surface crosses up to about three cells for every 64 square voxels, ramp included, and touches eight at least.
  // The solid behind a surface of one side ends raggedly, so all its cells may need their samples.
  const double crossed = bounds.Area + bounds.SingleSidedArea * OneSidedVoxels / CellSize;
  const double surfaceCells = std::min(cells, 3 * crossed / (CellSize * CellSize) + 8);
  // A cell's record, its place in the table and its entries in the lists of changes.
  const double recordBytes = sizeof(VoxelCell) + 2 * sizeof(void*) + 64;
  return double(frame.RayCount()) * sizeof(uint32_t) + entryBytes + surfaceCells * CellSamples * sizeof(uint16_t) +
         cells * (recordBytes + 1);
}
