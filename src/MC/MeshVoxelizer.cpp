#include "MC/MeshVoxelizer.h"

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/combinable.h>
#include <oneapi/tbb/enumerable_thread_specific.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/task_arena.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "ClassEngine/Assert.h"
#include "MC/AvailableMemory.h"
#include "MC/CellMerge.h"
#include "MC/DepthCells.h"
#include "MC/MeshBounds.h"
#include "MC/VolumeObject.h"
#include "comms/Progress.h"

using comms::cVec3;
using oneapi::tbb::blocked_range;
using oneapi::tbb::parallel_for;

namespace {

enum Stage { StageRasterise, StageTables, StageSamples, StageCount };

struct VoxelizeProgress : comms::StageProgress {
  explicit VoxelizeProgress(Stage stage) : StageProgress(stage, StageCount, "Voxelize") {}
};

bool CheckRange(const MeshBounds& bounds, std::string& error) {
  for (int k = 0; k < 3; k++)
    for (const double at : {bounds.Low[k], bounds.High[k]})
      if (!(std::fabs(at) < RasterRange - 16)) {
        char text[160];
        std::snprintf(text, sizeof text, "the mesh reaches to %c = %.6g voxels; coordinates up to %d voxels can be voxelised",
                      "xyz"[k], at, RasterRange - 16);
        error = text;
        return false;
      }
  return true;
}

bool CheckMemory(const MeshBounds& bounds, const RasterFrame& frame, const VoxelizeLimits& limits, std::string& error) {
  const double needed = EstimateBytes(bounds, frame);
  const double available = double(limits.Bytes ? limits.Bytes : AvailableMemory());
  if (needed <= available) return true;
  char text[240];
  std::snprintf(text, sizeof text, "a voxelisation of %.0f x %.0f x %.0f voxels needs about %.0f MB, and %.0f MB are available",
                bounds.High[0] - bounds.Low[0], bounds.High[1] - bounds.Low[1], bounds.High[2] - bounds.Low[2],
                std::ceil(needed / 1e6), std::floor(available / 1e6));
  error = text;
  return false;
}

// False when the person cancelled.
bool BuildTables(const std::vector<const VolRastr*>& rasterisers, DepthTables& tables, VoxelizeReport& report) {
  const RasterFrame& frame = tables.Frame;
  int32_t bands[4] = {0};
  for (int axis = 0; axis < 3; axis++) {
    tables.Bands[axis].resize(size_t(frame.Bands(axis)));
    bands[axis + 1] = bands[axis] + frame.Bands(axis);
  }
  oneapi::tbb::combinable<RayCount> counts;
  VoxelizeProgress progress(StageTables);
  progress.Begin(size_t(bands[3]));
  parallel_for(blocked_range<int32_t>(0, bands[3], 1), [&](const blocked_range<int32_t>& range) {
    for (int32_t i = range.begin(); i != range.end(); i++) {
      if (progress.IsCancelled()) return;
      const int axis = i < bands[1] ? 0 : i < bands[2] ? 1 : 2;
      const int32_t band = i - bands[axis];
      BuildBand(frame, axis, band, rasterisers, tables.Bands[axis][size_t(band)], counts.local());
      progress.Advance(1);
    }
  });
  counts.combine_each([&](const RayCount& count) {
    report.Rays += count.Hit;
    report.SkippedRays += count.Skipped;
  });
  return !progress.IsCancelled();
}

}  // namespace

void MeshVoxelizer::AddTriangle(const cVec3& a, const cVec3& b, const cVec3& c, uint16_t material) {
  if (m_Singles.empty() || m_Singles.back().Material != material) m_Singles.push_back({material, {}, {}});
  Singles& singles = m_Singles.back();
  for (const cVec3& p : {a, b, c}) {
    singles.Corners.push_back(int32_t(singles.Positions.size()));
    singles.Positions.push_back(p);
  }
}

void MeshVoxelizer::AddMesh(const TriangleView& mesh, const VoxelMapping& mapping, uint16_t material) {
  m_Sources.push_back({mesh, mapping, material});
}

std::vector<MeshVoxelizer::Source> MeshVoxelizer::Sources() const {
  std::vector<Source> sources = m_Sources;
  for (const Singles& s : m_Singles)
    sources.push_back({{s.Positions.data(), s.Positions.size(), s.Corners.data(), s.Corners.size() / 3}, {}, s.Material});
  return sources;
}

bool MeshVoxelizer::Run(VolumeObject* target, int32_t mode, bool parallel, bool backup) {
  MORVANE_ASSERT(target && mode >= 0 && mode <= 2);
  Error.clear();
  Report = {};
  bool done = false;
  oneapi::tbb::task_arena arena(parallel ? oneapi::tbb::task_arena::automatic : 1);
  arena.execute([&] { done = RunStages(*target, mode, backup); });
  return done;
}

bool MeshVoxelizer::RunStages(VolumeObject& target, int32_t mode, bool backup) {
  const std::vector<Source> sources = Sources();
  MeshBounds bounds;
  for (const Source& source : sources) {
    MeshBounds part;
    if (!MeasureMesh(source.Mesh, source.Mapping, part, Error)) return false;
    if (source.Material >= OneSided) part.SingleSidedArea = part.Area;
    bounds.Add(part);
    Report.Triangles += int64_t(source.Mesh.TriangleCount);
  }
  if (bounds.Empty()) return true;
  for (int k = 0; k < 3; k++) Report.LongestSide = std::max(Report.LongestSide, bounds.High[k] - bounds.Low[k]);
  if (!CheckRange(bounds, Error)) return false;
  DepthTables tables;
  tables.Frame = FrameOf(bounds);
  if (!CheckMemory(bounds, tables.Frame, m_Limits, Error)) return false;

  // Until the last step the volume is untouched.
  Report.Cancelled = true;
  {
    oneapi::tbb::enumerable_thread_specific<VolRastr> rasterisers(tables.Frame);
    VoxelizeProgress progress(StageRasterise);
    progress.Begin(size_t(Report.Triangles));
    for (const Source& source : sources)
      parallel_for(blocked_range<size_t>(0, source.Mesh.TriangleCount, 4096), [&](const blocked_range<size_t>& range) {
        if (progress.IsCancelled()) return;
        VolRastr& rasteriser = rasterisers.local();
        const int32_t* corners = source.Mesh.Corners + range.begin() * 3;
        for (size_t i = range.begin(); i != range.end(); i++, corners += 3)
          rasteriser.AddTriangle(SnapVertex(source.Mesh.Positions[corners[0]], source.Mapping),
                                 SnapVertex(source.Mesh.Positions[corners[1]], source.Mapping),
                                 SnapVertex(source.Mesh.Positions[corners[2]], source.Mapping), source.Material);
        progress.Advance(range.size());
      });
    if (progress.IsCancelled()) return false;
    std::vector<const VolRastr*> parts;
    for (const VolRastr& rasteriser : rasterisers) parts.push_back(&rasteriser);
    if (!BuildTables(parts, tables, Report)) return false;
  }

  CellMerge merge(target, tables, mode);
  VoxelizeProgress progress(StageSamples);
  if (!merge.Prepare(ClassifyCells(tables, target.RampWidth), progress)) return false;
  Report.Cancelled = false;
  Report.ChangedCells = merge.Commit(backup);
  return true;
}
