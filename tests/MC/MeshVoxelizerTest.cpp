// Meshes become density: against a slow route that follows the rules sample by sample, and by what must hold of any result. The
// way from a closed mesh to its surface, whatever the threads: AppTest.MeshBecomesSculptureBecomesMesh.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <numbers>

#include "MC/ApplyField.h"
#include "MC/AvailableMemory.h"
#include "MC/MeshBounds.h"
#include "MC/MeshVoxelizer.h"
#include "MC/SurfaceStats.h"
#include "MC/VolumeChecks.h"

using comms::cVec3;
using testing::HasSubstr;
using volumechecks::DumpSamples;
using volumechecks::FindDifference;

namespace {

struct Shape {
  std::vector<cVec3> Positions;
  std::vector<int32_t> Corners;
  TriangleView View() const { return {Positions.data(), Positions.size(), Corners.data(), Corners.size() / 3}; }
  Shape& Append(const Shape& other) {
    const int32_t base = int32_t(Positions.size());
    Positions.insert(Positions.end(), other.Positions.begin(), other.Positions.end());
    for (const int32_t corner : other.Corners) Corners.push_back(base + corner);
    return *this;
  }
  Shape Flipped() const {
    Shape flipped = *this;
    for (size_t i = 0; i < Corners.size(); i += 3) std::swap(flipped.Corners[i], flipped.Corners[i + 1]);
    return flipped;
  }
  Shape Mirrored(int axis) const {
    Shape mirrored = Flipped();
    for (cVec3& p : mirrored.Positions) p[axis] = -p[axis];
    return mirrored;
  }
};

Shape Box(const cVec3& low, const cVec3& high) {
  Shape box;
  for (int i = 0; i < 8; i++) box.Positions.push_back({i & 1 ? high.x : low.x, i & 2 ? high.y : low.y, i & 4 ? high.z : low.z});
  box.Corners = {0, 2, 1, 1, 2, 3, 4, 5, 6, 5, 7, 6, 0, 1, 4, 1, 5, 4, 2, 6, 3, 3, 6, 7, 0, 4, 2, 2, 4, 6, 1, 3, 5, 3, 7, 5};
  return box;
}
constexpr size_t BoxTop = 6;  // corner index of the two triangles at the highest z

/// Grid of around x along vertices, closed both ways: a torus about z, stretched.
Shape Torus(float ring, float tube, int around, int along, const cVec3& scale = {1, 1, 1}) {
  Shape torus;
  for (int i = 0; i < around; i++)
    for (int j = 0; j < along; j++) {
      const double a = 2 * std::numbers::pi * i / around, b = 2 * std::numbers::pi * j / along;
      const double r = ring + tube * std::cos(b);
      torus.Positions.push_back(
          {float(r * std::cos(a)) * scale.x, float(r * std::sin(a)) * scale.y, float(tube * std::sin(b)) * scale.z});
    }
  for (int i = 0; i < around; i++)
    for (int j = 0; j < along; j++) {
      const int i1 = (i + 1) % around, j1 = (j + 1) % along;
      const int a = i * along + j, b = i1 * along + j, c = i1 * along + j1, d = i * along + j1;
      torus.Corners.insert(torus.Corners.end(), {a, b, c, a, c, d});
    }
  return torus;
}

Shape Turned(Shape shape) {  // so that no vertex or edge lies on a ray
  for (cVec3& p : shape.Positions) {
    const cVec3 q{0.8f * p.x - 0.6f * p.y, 0.6f * p.x + 0.8f * p.y, p.z};
    p = cVec3{q.x, 0.28f * q.y - 0.96f * q.z, 0.96f * q.y + 0.28f * q.z} + cVec3{0.313f, -7.271f, 3.177f};
  }
  return shape;
}

VoxelizeReport Fill(VolumeObject& volume, const Shape& shape, int mode = ApplyAdd, bool parallel = true, bool backup = false) {
  MeshVoxelizer voxelizer;
  voxelizer.AddMesh(shape.View());
  EXPECT_TRUE(voxelizer.Run(&volume, mode, parallel, backup)) << voxelizer.Error;
  return voxelizer.Report;
}
struct ShapeVolume : VolumeObject {
  explicit ShapeVolume(const Shape& shape) { Fill(*this, shape); }
};
volumechecks::SampleDump DumpOf(const Shape& shape) { return DumpSamples(ShapeVolume(shape)); }
uint16_t At(const VolumeObject& volume, int x, int y, int z) {
  VolumeObject::Cursor cursor;
  return volume.SampleVoxel(x, y, z, cursor, false);
}

/// Depths of one ray by floating-point intersection with every triangle; for meshes without ties.
using Hits = std::vector<std::pair<double, bool>>;
Hits Intersect(const Shape& shape, int axis, int u, int v) {
  const int ku = RasterFrame::AxisU(axis), kv = RasterFrame::AxisV(axis);
  Hits hits;
  for (size_t t = 0; t < shape.Corners.size(); t += 3) {
    double p[3][3];
    for (int i = 0; i < 3; i++)
      for (int k = 0; k < 3; k++)
        p[i][k] = SnapVertex(shape.Positions[size_t(shape.Corners[t + size_t(i)])], {}).c[k] / double(VertexUnits);
    double weight[3], area = 0;
    for (int i = 0; i < 3; i++) {
      const double *a = p[(i + 1) % 3], *b = p[(i + 2) % 3];
      weight[i] = (b[ku] - a[ku]) * (v - a[kv]) - (b[kv] - a[kv]) * (u - a[ku]);
      area += weight[i];
    }
    if (std::min({weight[0], weight[1], weight[2]}) <= 0 && std::max({weight[0], weight[1], weight[2]}) >= 0) continue;
    const double depth = (weight[0] * p[0][axis] + weight[1] * p[1][axis] + weight[2] * p[2][axis]) / area;
    hits.push_back({depth, (area < 0) != (axis == 1)});
  }
  std::sort(hits.begin(), hits.end());
  return hits;
}

/// Signed distance in ramp widths along one axis; -100000 where the ray says nothing. The union of all shells is solid.
double AxisDistance(const Hits& hits, double at) {
  if (hits.empty() || hits.size() % 2) return -100000;
  double nearest = 1e9;
  int winding = 0, windingAt = 0;
  for (const auto& [depth, enters] : hits) {
    const int before = winding;
    winding += enters ? 1 : -1;
    if ((before == 0) != (winding == 0)) nearest = std::min(nearest, std::fabs(depth - at));
    if (depth <= at) windingAt = winding;
  }
  return (windingAt ? nearest : -nearest) / 4;
}

uint16_t SlowSample(const std::array<double, 3>& d) {
  double inverse = 0, longest = -100000, length = 0;
  for (const double along : d) {
    if (along <= -10) continue;
    inverse += 1 / (along * along);
    if (std::fabs(along) > length) length = std::fabs(along), longest = along;
  }
  if (inverse == 0) return 0;
  const double distance = std::copysign(1 / std::sqrt(inverse), longest);
  return uint16_t(std::clamp((distance + 0.5) * 65535, 0.0, 65535.0));
}

}  // namespace

TEST(MeshVoxelizer, FollowsTheSlowRoute) {
  Shape overlapping = Turned(Box({-9, -8, -7}, {6, 7, 9}));
  overlapping.Append(Turned(Torus(8.1f, 4.6f, 11, 7)));
  Shape open = Turned(Box({-9, -8, -7}, {6, 7, 9}));
  open.Corners.resize(open.Corners.size() - 3);
  Shape cavity = Turned(Torus(11, 5.2f, 13, 9));
  cavity.Append(Turned(Torus(11, 2.1f, 9, 7)).Flipped());
  const Shape longest = Turned(Box({-3000, -5, -7}, {1500, 9, 6}));
  for (const Shape& shape : {Turned(Torus(11, 4.3f, 13, 9)), overlapping, open, cavity, longest}) {
    const ShapeVolume volume(shape);
    // Depths are rounded to 1 / 8192 voxel, two units of density; the distance to the plane is never longer than the axis' own.
    constexpr int tolerance = 3, half = 31, side = 2 * half + 1;
    std::vector<Hits> rays[3];
    for (int axis = 0; axis < 3; axis++)
      for (int v = -half; v <= half; v++)
        for (int u = -half; u <= half; u++) rays[axis].push_back(Intersect(shape, axis, u, v));
    const auto distance = [&](int axis, int u, int v, int at) {
      return AxisDistance(rays[axis][size_t((v + half) * side + u + half)], at);
    };
    int wrong = 0;
    for (int z = -half; z <= half; z++)
      for (int y = -half; y <= half; y++)
        for (int x = -half; x <= half; x++) {
          const int expected = SlowSample({distance(0, y, z, x), distance(1, x, z, y), distance(2, x, y, z)});
          wrong += std::abs(At(volume, x, y, z) - expected) > tolerance;
        }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(FindDifference(volume, volume), "") << "planes that cells share";
    EXPECT_EQ(DumpSamples(volume), DumpSamples(volume, false)) << "empty space is stored";
  }
}

TEST(MeshVoxelizer, ShellsUniteCoverAndCancel) {
  const Shape outer = Box({-13.3f, -12.6f, -11.4f}, {14.2f, 13.1f, 12.7f}),
              inner = Box({-5.3f, -5.1f, -4.6f}, {6.2f, 5.7f, 4.4f});
  const auto solid = DumpOf(outer);
  EXPECT_EQ(DumpOf(outer.Flipped()), solid) << "inside out";
  EXPECT_EQ(DumpOf(Shape(outer).Append(inner)), solid) << "a shell inside another";
  EXPECT_EQ(DumpOf(Shape(outer).Append(outer)), solid) << "every face twice";
  Shape clashing = outer;
  std::swap(clashing.Corners[0], clashing.Corners[1]);
  std::swap(clashing.Corners[15], clashing.Corners[16]);
  EXPECT_EQ(DumpOf(clashing), solid) << "winding that clashes";
  // Two boxes that share a face are one box: no wall is left between them.
  for (const float seam : {3.0f, 2.7f, -0.4f}) {
    const Shape right = Box({seam, -12.6f, -11.4f}, outer.Positions[7]);
    EXPECT_EQ(DumpOf(Box(outer.Positions[0], {seam, 13.1f, 12.7f}).Append(right)), solid) << seam;
  }
  // Triangles without area, points and needles on the surface say nothing.
  Shape littered = outer;
  for (const auto& needle : {std::array{0, 0, 0}, std::array{1, 1, 7}, std::array{0, 8, 1}})
    littered.Corners.insert(littered.Corners.end(), needle.begin(), needle.end());
  littered.Positions.push_back((outer.Positions[0] + outer.Positions[1]) * 0.5f);
  EXPECT_EQ(DumpOf(littered), solid);
}

TEST(MeshVoxelizer, CountsTheRaysThatAnOpenMeshSkips) {
  Shape open = Box({-4.5f, -3.5f, -9.5f}, {4.5f, 5.5f, 8.5f});
  open.Corners.erase(open.Corners.begin() + BoxTop, open.Corners.begin() + BoxTop + 6);
  VolumeObject volume;
  const VoxelizeReport report = Fill(volume, open);
  EXPECT_EQ(report.SkippedRays, 9 * 9);  // those along z that leave by the missing top
  EXPECT_EQ(report.Rays, 9 * 9 + 2 * 9 * 18);
}

// A sheet is a skin with solid behind it, whichever way its triangles are turned; the material says on which side.
TEST(MeshVoxelizer, SurfaceOfOneSideIsSolidBehindItself) {
  Shape sheet;
  sheet.Positions = {{-20, -20, 3.25f}, {20, -20, 3.25f}, {-20, 20, 3.25f}, {20, 20, 3.25f}};
  sheet.Corners = {0, 1, 2, 2, 1, 3};
  for (const uint16_t material : {OneSided, OneSidedBehind, uint16_t(300)})
    for (const Shape& turned : {sheet, sheet.Flipped()}) {
      const bool beyond = material == OneSidedBehind;
      VolumeObject volume;
      MeshVoxelizer voxelizer;
      voxelizer.AddMesh(turned.View(), {}, material);
      ASSERT_TRUE(voxelizer.Run(&volume, ApplyAdd, true, false)) << voxelizer.Error;
      EXPECT_EQ(voxelizer.Report.SkippedRays, 0);
      const auto at = [&](int depth) { return At(volume, 4, -5, beyond ? 3 + depth : 4 - depth); };  // solid from 1 on
      for (const int depth : {4, 20, OneSidedVoxels - 4}) EXPECT_EQ(at(depth), 65535) << depth;
      for (const int depth : {-4, OneSidedVoxels + 4}) EXPECT_EQ(at(depth), 0) << depth;
      EXPECT_NEAR(at(1), 32767.5 + (beyond ? 0.75 : 0.25) * 16383.75, 3);
      EXPECT_NEAR(at(0), 32767.5 - (beyond ? 0.25 : 0.75) * 16383.75, 3);
      EXPECT_EQ(At(volume, 24, 0, beyond ? 30 : -30), 0) << "no ray, no information";
    }
  EXPECT_TRUE(DumpOf(sheet).empty()) << "of an ordinary material it is open, and says nothing";
  // A skin over a step: both levels end their ray, and where it stands twice on one ray the lower one does not make a hole.
  VolumeObject volume;
  MeshVoxelizer voxelizer;
  for (const float z : {3.0f, 9.0f}) {
    voxelizer.AddTriangle({-20, -20, z}, {20, -20, z}, {-20, 20, z}, OneSidedBehind);
    voxelizer.AddTriangle({20, 20, z}, {20, -20, z}, {-20, 20, z}, OneSidedBehind);
  }
  ASSERT_TRUE(voxelizer.Run(&volume, ApplyAdd, true, false));
  for (const int z : {5, 7, 12, 100}) EXPECT_GE(At(volume, 3, 3, z), SurfaceLevel) << z;
  EXPECT_EQ(At(volume, 3, 3, 0), 0);
  volume.RefreshChanges();
  EXPECT_EQ(MeasureSurface(volume).BoundaryEdges, 0u);
}

TEST(MeshVoxelizer, MirroredMeshGivesMirroredBits) {
  // Corners on halves of a voxel put many edges and vertices on rays; none lies in the planes x, y, z = 0, and so no face.
  Shape snapped = Torus(11, 5.7f, 9, 7, {1, 0.8f, 1.2f});
  for (cVec3& p : snapped.Positions)
    for (int k = 0; k < 3; k++) p[k] = std::round(p[k] * 2) / 2 + (std::fabs(p[k]) < 0.25f ? 0.5f : 0);
  const Shape shapes[] = {snapped, Turned(Torus(12, 5, 17, 11)), Box({-13, 3, 2}, {9, 8, 16}),
                          Torus(17, 6, 16, 8, {1, 0.7f, 1.3f})};
  for (const Shape& shape : shapes)
    for (int axis = 0; axis < 3; axis++) {
      SCOPED_TRACE(testing::Message() << "shape " << &shape - shapes << ", axis " << axis);
      EXPECT_EQ(FindDifference(ShapeVolume(shape), ShapeVolume(shape.Mirrored(axis)), axis), "");
    }
  // A mesh that is its own mirror image, with faces and edges on sample planes and an edge loop in the plane of symmetry.
  for (const Shape& shape : {Box({-8, -5, -6}, {8, 5, 6}), Torus(16, 5, 16, 8)})
    for (int axis = 0; axis < 3; axis++) {
      const ShapeVolume both(Shape(shape).Append(shape.Mirrored(axis)));
      EXPECT_EQ(FindDifference(both, both, axis), "") << "axis " << axis;
    }
}

TEST(MeshVoxelizer, ModesMergeSpareFrozenCellsAndUndo) {
  const Shape before = Turned(Torus(10, 6, 17, 11)), tool = Turned(Box({2, -20, -6}, {19, 5, 11}));
  const ShapeVolume v(before), q(tool);
  const CellKey frozen{0, -1, 0};
  const auto within = [](int at, int cell) { return at >= 8 * cell && at <= 8 * cell + 8; };
  for (int mode = 0; mode < 3; mode++)
    for (const bool freeze : {false, true}) {
      SCOPED_TRACE(testing::Message() << "mode " << mode << freeze);
      ShapeVolume merged(before);
      if (freeze) merged.FindCell(frozen)->Flags |= FrozenCell;
      Fill(merged, tool, mode, freeze, true);  // on one thread and on all
      EXPECT_TRUE(mode == ApplyAdd || merged.Cells.Count() == v.Cells.Count()) << "cells were created in vain";
      EXPECT_EQ(FindDifference(merged, merged), "");
      for (int z = -32; z <= 32; z++)
        for (int y = -32; y <= 32; y++)
          for (int x = -32; x <= 32; x++) {
            const bool kept = freeze && within(x, frozen.x) && within(y, frozen.y) && within(z, frozen.z);
            const uint16_t a = At(v, x, y, z), b = At(q, x, y, z);
            const uint16_t results[] = {std::max(a, b), std::min(a, uint16_t(65535 - b)), std::min(a, b)};
            ASSERT_EQ(At(merged, x, y, z), kept ? a : results[mode]);
          }
      merged.EndStroke(true);
      EXPECT_EQ(DumpSamples(merged), DumpSamples(v));
    }
}

TEST(MeshVoxelizer, RefusesWithOneSentenceAndNoChange) {
  const Shape box = Box({-20, -20, -20}, {20, 20, 20});
  const auto refusal = [&](auto&& spoil, const VoxelizeLimits& limits = {}) {
    Shape shape = box;
    spoil(shape);
    VolumeObject volume;
    MeshVoxelizer voxelizer(limits);
    voxelizer.AddMesh(shape.View());
    EXPECT_FALSE(voxelizer.Run(&volume, ApplyAdd, true));
    EXPECT_EQ(volume.Cells.Count(), 0u);
    return voxelizer.Error;
  };
  EXPECT_THAT(refusal([](Shape& s) { s.Positions[3].y = std::nanf(""); }), HasSubstr("vertex 3 of triangle 1"));
  EXPECT_THAT(refusal([](Shape& s) { s.Corners[7] = 8; }), HasSubstr("triangle 2 uses vertex 8, but the mesh has 8 vertices"));
  EXPECT_THAT(refusal([](Shape& s) { s.Corners[35] = -1; }), HasSubstr("vertex -1"));
  EXPECT_THAT(refusal([](Shape& s) { s.Positions[0].x = -3e9f; }), HasSubstr("x = -3e+09 voxels"));
  EXPECT_THAT(refusal([](Shape&) {}, {100000}), HasSubstr("40 x 40 x 40 voxels needs about"));

  // A vertex that no triangle uses is no part of the mesh.
  Shape unused = box;
  unused.Positions.push_back({1e30f, std::nanf(""), 0});
  EXPECT_EQ(DumpOf(unused), DumpOf(box));
  EXPECT_TRUE(DumpOf({}).empty());

  VoxelizeReport report;
  VolumeObject volume;
  for (const double resolution : {0.0, -3.0, std::nan(""), 1e7}) {
    std::string error;
    VoxelizeOptions options;
    options.Resolution = resolution;
    EXPECT_FALSE(VoxelizeMesh(box.View(), options, volume, report, error));
    EXPECT_FALSE(error.empty());
  }
  comms::cRawMesh raw;
  raw.Positions = {{0, 0, 0}};
  raw.Polygons.push_back({{400, 0, 0}});
  std::string error;
  EXPECT_FALSE(VoxelizeMesh(raw, {}, volume, report, error));
  EXPECT_THAT(error, HasSubstr("announces 400 corners"));
  EXPECT_TRUE(volume.Cells.Count() == 0 && volume.SpaceMatrix == comms::cMat4());
}

TEST(MeshVoxelizer, EstimateCoversWhatIsUsed) {
  const Shape shape = Turned(Torus(60, 30, 160, 80));
  const ShapeVolume volume(shape);
  MeshBounds bounds;
  std::string error;
  ASSERT_TRUE(MeasureMesh(shape.View(), {}, bounds, error));
  const size_t used = volume.VoxelPool.UsedBlocks() * volume.VoxelPool.BlockBytes() +
                      volume.CellPool.UsedBlocks() * sizeof(VoxelCell) + volume.Cells.Bytes() + volume.DirtyCells.Bytes() +
                      volume.RedrawCells.Bytes();
  EXPECT_GT(EstimateBytes(bounds, FrameOf(bounds)), double(used));
  EXPECT_LT(EstimateBytes(bounds, FrameOf(bounds)), 8.0 * double(used));
}

TEST(MeshVoxelizer, MemoryEndsAtTheLimitOfTheAddressSpace) {
  std::ifstream statm("/proc/self/statm");
  rlim_t pages = 0;
  ASSERT_TRUE(statm >> pages);
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
  constexpr rlim_t room = 64 << 20;
  rlimit tight = before;
  tight.rlim_cur = pages * rlim_t(sysconf(_SC_PAGESIZE)) + room;
  ASSERT_EQ(setrlimit(RLIMIT_AS, &tight), 0);
  const int64_t available = AvailableMemory();
  ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);
  EXPECT_GT(available, 0);
  EXPECT_LE(available, int64_t(room));
}

TEST(MeshVoxelizer, CancelAtAnyStageLeavesTheVolume) {
  const Shape other = Box({-4, -4, -4}, {22, 23, 24});
  for (int calls = 0; calls < 4; calls++) {
    ShapeVolume volume(Box({-9, -9, -9}, {9, 9, 9}));
    const auto before = DumpSamples(volume);
    const size_t blocks = volume.VoxelPool.UsedBlocks();
    const volumechecks::Canceller canceller(calls);
    MeshVoxelizer voxelizer;
    voxelizer.AddMesh(other.View());
    EXPECT_FALSE(voxelizer.Run(&volume, ApplyAdd, true));
    EXPECT_TRUE(voxelizer.Report.Cancelled && voxelizer.Error.empty());
    EXPECT_EQ(DumpSamples(volume), before);
    EXPECT_EQ(volume.VoxelPool.UsedBlocks(), blocks);
  }
}

TEST(MeshVoxelizer, MapsVoxelsToTheMeshWhereverItLies) {
  // Near the origin there is no translation, far from it whole voxels.
  for (const float shift : {0.0f, 300.0f, 1e6f, 10000001.0f}) {
    Shape ring = Torus(40, 10, 64, 32);
    for (cVec3& p : ring.Positions) p += cVec3{shift, -shift, shift};
    VolumeObject volume;
    VoxelizeOptions options;
    options.VoxelSize = 1.25;
    VoxelizeReport report;
    std::string error;
    ASSERT_TRUE(VoxelizeMesh(ring.View(), options, volume, report, error)) << error;
    EXPECT_EQ(volume.SpaceMatrix.m[0][0], 1.25f);
    EXPECT_EQ(volume.SpaceMatrix.m[3][0] != 0, shift > 16384 * 1.25f);
    volume.RefreshChanges();
    const SurfaceStats stats = MeasureSurface(volume);
    EXPECT_NEAR(stats.Max.x, shift + 50, 0.2);
    EXPECT_NEAR(stats.Min.y, -shift - 50, 0.2);
  }
}
