// Meshes become density: against a slow route that follows the rules sample by sample, and by what must hold of any result.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <oneapi/tbb/global_control.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "MC/ApplyField.h"
#include "MC/MeshBounds.h"
#include "MC/MeshVoxelizer.h"
#include "MC/SurfaceStats.h"
#include "MC/VolumeChecks.h"
#include "comms/Progress.h"

using comms::cVec3;
using testing::HasSubstr;
using volumechecks::DumpSamples;

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

/// An octahedron split `steps` times; radius(direction) lets it be a sphere or a lump.
template <class Radius>
Shape Ball(int steps, Radius&& radius) {
  std::vector<cVec3> triangles;
  for (int i = 0; i < 8; i++) {
    const cVec3 x{i & 1 ? -1.0f : 1.0f, 0, 0}, y{0, i & 2 ? -1.0f : 1.0f, 0}, z{0, 0, i & 4 ? -1.0f : 1.0f};
    const bool turned = (i & 1) ^ (i >> 1 & 1) ^ (i >> 2 & 1);
    triangles.insert(triangles.end(), {x, turned ? z : y, turned ? y : z});
  }
  for (; steps > 0; steps--) {
    std::vector<cVec3> split;
    for (size_t i = 0; i < triangles.size(); i += 3) {
      const cVec3 &a = triangles[i], &b = triangles[i + 1], &c = triangles[i + 2];
      const cVec3 ab = Normalized(a + b), bc = Normalized(b + c), ca = Normalized(c + a);
      split.insert(split.end(), {a, ab, ca, ab, b, bc, ca, bc, c, ab, bc, ca});
    }
    triangles = split;
  }
  Shape ball;
  for (const cVec3& p : triangles) {
    ball.Corners.push_back(int32_t(ball.Positions.size()));
    ball.Positions.push_back(p * float(radius(p)));
  }
  return ball;
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
using Dump = decltype(DumpSamples(VolumeObject()));
Dump DumpOf(const Shape& shape) {
  VolumeObject volume;
  Fill(volume, shape);
  return DumpSamples(volume);
}
uint16_t At(const VolumeObject& volume, int x, int y, int z) {
  VolumeObject::Cursor cursor;
  return volume.SampleVoxel(x, y, z, cursor, false);
}

/// Depths of one ray by floating-point intersection with every triangle; for meshes without ties.
std::vector<std::pair<double, bool>> Intersect(const Shape& shape, int axis, int u, int v) {
  const int ku = RasterFrame::AxisU(axis), kv = RasterFrame::AxisV(axis);
  std::vector<std::pair<double, bool>> hits;
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
    const bool meets = (weight[0] > 0 && weight[1] > 0 && weight[2] > 0) || (weight[0] < 0 && weight[1] < 0 && weight[2] < 0);
    if (!meets) continue;
    const double depth = (weight[0] * p[0][axis] + weight[1] * p[1][axis] + weight[2] * p[2][axis]) / area;
    hits.push_back({depth, (area < 0) != (axis == 1)});
  }
  std::sort(hits.begin(), hits.end());
  return hits;
}

/// Signed distance in ramp widths along one axis; -100000 where the ray says nothing. The union of all shells is solid.
double AxisDistance(const std::vector<std::pair<double, bool>>& hits, double at) {
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

uint16_t SlowSample(const double d[3]) {
  double inverse = 0, longest = -100000, length = 0;
  for (int k = 0; k < 3; k++) {
    if (d[k] <= -10) continue;
    inverse += 1 / (d[k] * d[k]);
    if (std::fabs(d[k]) > length) length = std::fabs(d[k]), longest = d[k];
  }
  if (inverse == 0) return 0;
  const double distance = std::copysign(1 / std::sqrt(inverse), longest);
  return uint16_t(std::clamp((distance + 0.5) * 65535, 0.0, 65535.0));
}

}  // namespace

TEST(MeshVoxelizer, FollowsTheSlowRoute) {
  Shape overlapping = Turned(Box({-9, -8, -7}, {6, 7, 9}));
  overlapping.Append(Turned(Ball(2, [](const cVec3&) { return 10.7; })));
  Shape open = Turned(Box({-9, -8, -7}, {6, 7, 9}));
  open.Corners.resize(open.Corners.size() - 3);
  Shape cavity = Turned(Ball(2, [](const cVec3&) { return 14.2; }));
  cavity.Append(Turned(Ball(1, [](const cVec3&) { return 8.1; })).Flipped());
  for (const Shape& shape : {Turned(Torus(11, 4.3f, 13, 9)), overlapping, open, cavity}) {
    VolumeObject volume;
    Fill(volume, shape);
    // Depths are rounded to 1 / 8192 voxel, two units of density; the distance to the plane is never longer than the axis' own.
    constexpr int tolerance = 3, half = 31, side = 2 * half + 1;
    std::vector<std::vector<std::pair<double, bool>>> rays[3];
    for (int axis = 0; axis < 3; axis++)
      for (int v = -half; v <= half; v++)
        for (int u = -half; u <= half; u++) rays[axis].push_back(Intersect(shape, axis, u, v));
    const auto ray = [&](int axis, int u, int v) -> auto& { return rays[axis][size_t((v + half) * side + u + half)]; };
    const auto expected = [&](int x, int y, int z) {
      const double d[3] = {AxisDistance(ray(0, y, z), x), AxisDistance(ray(1, x, z), y), AxisDistance(ray(2, x, y), z)};
      return SlowSample(d);
    };
    int wrong = 0;
    for (int z = -half; z <= half; z++)
      for (int y = -half; y <= half; y++)
        for (int x = -half; x <= half; x++) wrong += std::abs(At(volume, x, y, z) - expected(x, y, z)) > tolerance;
    EXPECT_EQ(wrong, 0);
    // All 729 samples of every cell, the planes that neighbours repeat included.
    int torn = 0;
    volume.ForEachCell([&](const CellKey& key, const VoxelCell& cell) {
      for (int i = 0; i < CellSamples; i++) {
        const int x = key.x * 8 + i % 9, y = key.y * 8 + i / 9 % 9, z = key.z * 8 + i / 81;
        torn += (cell.Density ? cell.Density[i] : cell.UniformValue) != At(volume, x, y, z);
      }
      EXPECT_TRUE(cell.Density || cell.UniformValue == 65535) << "empty space is stored";
    });
    EXPECT_EQ(torn, 0);
  }
}

TEST(MeshVoxelizer, ClosedMeshGivesItsSurfaceBack) {
  struct Case {
    Shape Mesh;
    int Genus;
    double Volume;
    std::function<double(const cVec3&)> Distance;  ///< to the surface that the mesh approximates, voxels
    double Sag;                                    ///< of the mesh below that surface
  };
  const double pi = std::numbers::pi;
  // Polygons with edges of length e sag by e * e / (8 r) below a curve of radius r.
  const auto sphere = [](double r) { return [r](const cVec3& p) { return std::fabs(double(Length(p)) - r); }; };
  const auto torus = [](const cVec3& p) { return std::fabs(std::hypot(std::hypot(p.x, p.y) - 60, p.z) - 20); };
  const Case cases[] = {{Ball(5, [](const cVec3&) { return 60.3; }), 0, 4 / 3.0 * pi * 60.3 * 60.3 * 60.3, sphere(60.3), 0.06},
                        {Torus(60, 20, 240, 120), 1, 2 * pi * pi * 60 * 20 * 20, torus, 0.02}};
  for (const Case& c : cases) {
    VolumeObject volume;
    const VoxelizeReport report = Fill(volume, c.Mesh);
    EXPECT_EQ(report.SkippedRays, 0);
    volume.RefreshChanges();
    const SurfaceStats stats = MeasureSurface(volume);
    EXPECT_EQ(stats.BoundaryEdges, 0u);
    EXPECT_EQ(stats.NonManifoldEdges, 0u);
    EXPECT_EQ(stats.Components, 1u);
    EXPECT_EQ(stats.Genus, c.Genus);
    EXPECT_NEAR(stats.Volume / c.Volume, 1, 0.005);
    double farthest = 0;
    volume.ForEachCell([&](const CellKey&, const VoxelCell& cell) {
      if (!cell.Surface) return;
      for (const VolumeVertex& v : cell.Surface->Vertices) farthest = std::max(farthest, c.Distance({v.x, v.y, v.z}));
    });
    EXPECT_LT(farthest, 0.1 + c.Sag);  // far below the voxel that is promised
  }
}

TEST(MeshVoxelizer, ShellsUniteCoverAndCancel) {
  const Shape outer = Box({-13.3f, -12.6f, -11.4f}, {14.2f, 13.1f, 12.7f}),
              inner = Box({-5.3f, -5.1f, -4.6f}, {6.2f, 5.7f, 4.4f});
  const Dump solid = DumpOf(outer);
  EXPECT_EQ(DumpOf(outer.Flipped()), solid) << "inside out";
  EXPECT_EQ(DumpOf(Shape(outer).Append(inner)), solid) << "a shell inside another";
  EXPECT_EQ(DumpOf(Shape(outer).Append(outer)), solid) << "every face twice";
  Shape clashing = outer;
  std::swap(clashing.Corners[0], clashing.Corners[1]);
  std::swap(clashing.Corners[15], clashing.Corners[16]);
  EXPECT_EQ(DumpOf(clashing), solid) << "winding that clashes";
  VolumeObject hollow;
  Fill(hollow, Shape(outer).Append(inner.Flipped()));
  EXPECT_EQ(At(hollow, 0, 0, 0), 0) << "a cavity";
  EXPECT_EQ(At(hollow, 10, 0, 0), 65535);

  // Two boxes that share a face are one box: no wall is left between them.
  for (const float seam : {3.0f, 2.7f, -0.4f}) {
    const Shape left = Box({-13.3f, -12.6f, -11.4f}, {seam, 13.1f, 12.7f}),
                right = Box({seam, -12.6f, -11.4f}, {14.2f, 13.1f, 12.7f});
    EXPECT_EQ(DumpOf(Shape(left).Append(right)), solid) << seam;
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
  VolumeObject closed, volume;
  Fill(closed, open);
  open.Corners.erase(open.Corners.begin() + BoxTop, open.Corners.begin() + BoxTop + 6);
  const VoxelizeReport report = Fill(volume, open);
  EXPECT_EQ(report.SkippedRays, 9 * 9);  // those along z that leave by the missing top
  EXPECT_EQ(report.Rays, 9 * 9 + 2 * 9 * 18);
  for (const int z : {-9, 0, 8}) EXPECT_GT(At(volume, 0, 0, z), SurfaceLevel) << "the other axes decide";
  EXPECT_EQ(At(volume, 0, 0, 12), 0);
}

// A sheet is a skin with solid behind it, whichever way its triangles are turned; the material says on which side.
TEST(MeshVoxelizer, SurfaceOfOneSideIsSolidBehindItself) {
  constexpr int deep = OneSidedVoxels;
  for (const uint16_t material : {OneSided, OneSidedBehind, uint16_t(300)}) {
    const bool beyond = material == OneSidedBehind;
    Shape sheet;
    sheet.Positions = {{-20, -20, 3.25f}, {20, -20, 3.25f}, {-20, 20, 3.25f}, {20, 20, 3.25f}};
    sheet.Corners = {0, 1, 2, 2, 1, 3};
    for (const Shape& turned : {sheet, sheet.Flipped()}) {
      VolumeObject volume, plain;
      MeshVoxelizer voxelizer;
      voxelizer.AddMesh(turned.View(), {}, material);
      ASSERT_TRUE(voxelizer.Run(&volume, ApplyAdd, true, false)) << voxelizer.Error;
      EXPECT_EQ(voxelizer.Report.SkippedRays, 0);
      const auto at = [&](int depth) { return At(volume, 4, -5, beyond ? 3 + depth : 4 - depth); };  // solid from 1 on
      for (const int depth : {4, 20, deep - 4}) EXPECT_EQ(at(depth), 65535) << depth;
      for (const int depth : {-4, deep + 4}) EXPECT_EQ(at(depth), 0) << depth;
      EXPECT_NEAR(at(1), 32767.5 + (beyond ? 0.75 : 0.25) * 16383.75, 3);
      EXPECT_NEAR(at(0), 32767.5 - (beyond ? 0.25 : 0.75) * 16383.75, 3);
      EXPECT_EQ(At(volume, 24, 0, beyond ? 30 : -30), 0) << "no ray, no information";
      volume.RefreshChanges();
      const SurfaceStats stats = MeasureSurface(volume);
      EXPECT_EQ(stats.BoundaryEdges, 0u);
      EXPECT_NEAR(stats.Volume, 41.0 * 41 * deep,
                  41.0 * 41 * deep * 0.01);  // the rays of 41 samples, half a voxel more on each side
      // The same sheet of an ordinary material is open, and says nothing.
      Fill(plain, turned);
      EXPECT_EQ(plain.Cells.Count(), 0u);
    }
  }
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
}

TEST(MeshVoxelizer, MirroredMeshGivesMirroredBits) {
  // Corners on quarters of a voxel put many edges and vertices on rays; odd offsets keep faces out of the planes x, y, z = 0.
  const auto snapped = [](Shape shape) {
    for (cVec3& p : shape.Positions)
      for (int k = 0; k < 3; k++) p[k] = std::round(p[k] * 2) / 2 + (std::fabs(p[k]) < 0.25f ? 0.5f : 0);
    return shape;
  };
  const auto lump = [](const cVec3& d) { return 14 + 3 * std::sin(5 * d.x + 1) * std::cos(4 * d.y) + 2 * d.z; };
  const Shape shapes[] = {snapped(Ball(2, lump)), Turned(Ball(3, lump)), Box({-13, 3, 2}, {9, 8, 16}),
                          Torus(17, 6, 16, 8, {1, 0.7f, 1.3f})};
  const auto mirroredSamples = [](const Dump& dump, int axis) {
    std::map<std::tuple<int, int, int>, uint16_t> samples;
    for (const auto& [key, values] : dump)
      for (int i = 0; i < CellSamples; i++) {
        int at[3] = {std::get<2>(key) * 8 + i % 9, std::get<1>(key) * 8 + i / 9 % 9, std::get<0>(key) * 8 + i / 81};
        if (axis >= 0) at[axis] = -at[axis];
        if (values[size_t(i)]) samples[{at[2], at[1], at[0]}] = values[size_t(i)];
      }
    return samples;
  };
  for (size_t s = 0; s < std::size(shapes); s++)
    for (int axis = 0; axis < 3; axis++) {
      SCOPED_TRACE(testing::Message() << "shape " << s << ", axis " << axis);
      EXPECT_TRUE(mirroredSamples(DumpOf(shapes[s]), axis) == mirroredSamples(DumpOf(shapes[s].Mirrored(axis)), -1));
    }
  // A mesh that is its own mirror image, with faces and edges on sample planes and an edge loop in the plane of symmetry.
  for (const Shape& shape : {Box({-8, -5, -6}, {8, 5, 6}), Torus(16, 5, 16, 8), Ball(3, [](const cVec3&) { return 16; })})
    for (int axis = 0; axis < 3; axis++) {
      Shape both = shape;
      const Dump dump = DumpOf(both.Append(shape.Mirrored(axis)));
      EXPECT_TRUE(mirroredSamples(dump, axis) == mirroredSamples(dump, -1)) << "axis " << axis;
    }
}

TEST(MeshVoxelizer, TrianglesOfAThousandVoxels) {
  VolumeObject volume;
  EXPECT_EQ(Fill(volume, Box({3000.5f, -700, -3}, {3011.25f, 700, 700})).SkippedRays, 0);
  for (const int y : {-698, 0, 698})
    for (const int z : {-1, 350, 698}) {
      // Density of a plane at 1.5 and 1.25 voxels; the sides are two voxels away at least, so they bend it a little at the edges.
      EXPECT_NEAR(At(volume, 3000, y, z), 32767.5 - 0.5 * 16383.75, 600);
      EXPECT_NEAR(At(volume, 3012, y, z), 32767.5 - 0.75 * 16383.75, 2000);
      EXPECT_GE(At(volume, 3005, y, z), SurfaceLevel);
    }
}

TEST(MeshVoxelizer, OneThreadGivesTheSameBytes) {
  const Shape shape = Turned(Ball(5, [](const cVec3& d) { return 40 + 6 * std::sin(7 * d.x) * std::cos(9 * d.z); }));
  VolumeObject serial, parallel;
  Fill(serial, shape, ApplyAdd, false);
  oneapi::tbb::global_control threads(oneapi::tbb::global_control::max_allowed_parallelism, 4);
  Fill(parallel, shape, ApplyAdd, true);
  EXPECT_EQ(DumpSamples(serial), DumpSamples(parallel));
}

TEST(MeshVoxelizer, ModesMergeAndUndo) {
  const Shape before = Turned(Ball(3, [](const cVec3&) { return 15; })), tool = Turned(Box({2, -20, -6}, {19, 5, 11}));
  const auto valueOf = [](const Dump& dump, const auto& key, size_t i) {
    const auto at = dump.find(key);
    return at == dump.end() ? uint16_t(0) : at->second[i];
  };
  const Dump v = DumpOf(before), q = DumpOf(tool);
  for (int mode = 0; mode < 3; mode++) {
    VolumeObject volume;
    Fill(volume, before);
    volume.EndStroke(false);
    Fill(volume, tool, mode, true, true);
    const Dump merged = DumpSamples(volume);
    if (mode != ApplyAdd) {
      EXPECT_EQ(merged.size(), v.size()) << "no cell is created in vain";
    }
    Dump keys = v;
    keys.insert(q.begin(), q.end());
    for (const auto& [key, unused] : keys)
      for (size_t i = 0; i < size_t(CellSamples); i++) {
        const uint16_t a = valueOf(v, key, i), b = valueOf(q, key, i);
        const uint16_t expected =
            mode == ApplyAdd ? std::max(a, b) : std::min(a, mode == ApplySubtract ? uint16_t(65535 - b) : b);
        ASSERT_EQ(valueOf(merged, key, i), expected) << "mode " << mode;
      }
    volume.EndStroke(true);
    for (const auto& [key, samples] : DumpSamples(volume))
      for (size_t i = 0; i < samples.size(); i++) ASSERT_EQ(samples[i], valueOf(v, key, i)) << "mode " << mode;
  }
}

TEST(MeshVoxelizer, LeavesFrozenCellsAlone) {
  for (int mode = 0; mode < 3; mode++) {
    VolumeObject volume;
    Fill(volume, Box({-20, -20, -20}, {2.5f, 20, 20}));
    VoxelCell& frozen = *volume.GetCell(0, 0, 0, false, false, false);
    frozen.Flags |= FrozenCell;
    const Dump before = DumpSamples(volume);
    Fill(volume, Box({1.5f, -12, -12}, {12, 12, 12}), mode);
    const Dump after = DumpSamples(volume);
    EXPECT_EQ(after.at({0, 0, 0}), before.at({0, 0, 0}));
    EXPECT_NE(after, before);
    int torn = 0;
    for (const auto& [key, samples] : after)
      for (size_t i = 0; i < samples.size(); i++)
        torn += samples[i] != At(volume, std::get<2>(key) * 8 + int(i) % 9, std::get<1>(key) * 8 + int(i) / 9 % 9,
                                 std::get<0>(key) * 8 + int(i) / 81);
    EXPECT_EQ(torn, 0) << "planes that cells share differ";
  }
}

TEST(MeshVoxelizer, RefusesWithOneSentenceAndNoChange) {
  const Shape box = Box({-20, -20, -20}, {20, 20, 20});
  Shape nan = box, infinite = box, index = box, negative = box, far = box;
  nan.Positions[3].y = std::numeric_limits<float>::quiet_NaN();
  infinite.Positions[5].z = -std::numeric_limits<float>::infinity();
  index.Corners[7] = 8;
  negative.Corners[35] = -1;
  far.Positions[0].x = -3e9f;
  const auto refusal = [](const Shape& shape, const VoxelizeLimits& limits = {}) {
    VolumeObject volume;
    MeshVoxelizer voxelizer(limits);
    voxelizer.AddMesh(shape.View());
    EXPECT_FALSE(voxelizer.Run(&volume, ApplyAdd, true));
    EXPECT_EQ(volume.Cells.Count(), 0u);
    return voxelizer.Error;
  };
  EXPECT_THAT(refusal(nan), HasSubstr("vertex 3 of triangle 1"));
  EXPECT_THAT(refusal(infinite), HasSubstr("inf"));
  EXPECT_THAT(refusal(index), HasSubstr("triangle 2 uses vertex 8, but the mesh has 8 vertices"));
  EXPECT_THAT(refusal(negative), HasSubstr("vertex -1"));
  EXPECT_THAT(refusal(far), HasSubstr("x = -3e+09 voxels"));
  EXPECT_THAT(refusal(box, {100000}), HasSubstr("40 x 40 x 40 voxels needs about"));

  // A vertex that no triangle uses is no part of the mesh.
  Shape unused = box;
  unused.Positions.push_back({1e30f, std::numeric_limits<float>::quiet_NaN(), 0});
  EXPECT_EQ(DumpOf(unused), DumpOf(box));
  EXPECT_TRUE(DumpOf({}).empty());

  std::string error;
  VoxelizeReport report;
  for (const double resolution : {0.0, -3.0, std::nan(""), 1e7}) {
    VolumeObject volume;
    VoxelizeOptions options;
    options.Resolution = resolution;
    EXPECT_FALSE(VoxelizeMesh(box.View(), options, volume, report, error));
    EXPECT_FALSE(error.empty());
    error.clear();
    EXPECT_EQ(volume.Cells.Count(), 0u);
    EXPECT_EQ(volume.SpaceMatrix, comms::cMat4());
  }
}

TEST(MeshVoxelizer, EstimateCoversWhatIsUsed) {
  const Shape shape = Turned(Ball(5, [](const cVec3& d) { return 60 + 9 * std::sin(9 * d.x); }));
  VolumeObject volume;
  Fill(volume, shape);
  MeshBounds bounds;
  std::string error;
  ASSERT_TRUE(MeasureMesh(shape.View(), {}, bounds, error));
  const size_t used = volume.VoxelPool.UsedBlocks() * volume.VoxelPool.BlockBytes() +
                      volume.CellPool.UsedBlocks() * sizeof(VoxelCell) + volume.Cells.Bytes() + volume.DirtyCells.Bytes() +
                      volume.RedrawCells.Bytes();
  EXPECT_GT(EstimateBytes(bounds, FrameOf(bounds)), double(used));
  EXPECT_LT(EstimateBytes(bounds, FrameOf(bounds)), 8.0 * double(used));
}

TEST(MeshVoxelizer, CancelAtAnyStageLeavesTheVolume) {
  struct Canceller : comms::ProgressSink {
    int Left;
    bool Show(double, double, const char*) override { return Left-- > 0; }
  };
  for (int calls = 0; calls < 4; calls++) {
    VolumeObject volume;
    Fill(volume, Box({-9, -9, -9}, {9, 9, 9}));
    const Dump before = DumpSamples(volume);
    const size_t blocks = volume.VoxelPool.UsedBlocks();
    Canceller canceller;
    canceller.Left = calls;
    comms::ProgressSink* const old = comms::SetProgressSink(&canceller);
    const Shape other = Box({-4, -4, -4}, {22, 23, 24});
    MeshVoxelizer voxelizer;
    voxelizer.AddMesh(other.View());
    EXPECT_FALSE(voxelizer.Run(&volume, ApplyAdd, true));
    comms::SetProgressSink(old);
    EXPECT_TRUE(voxelizer.Report.Cancelled && voxelizer.Error.empty());
    EXPECT_EQ(DumpSamples(volume), before);
    EXPECT_EQ(volume.VoxelPool.UsedBlocks(), blocks);
  }
}

TEST(MeshVoxelizer, MapsVoxelsToTheMeshWhereverItLies) {
  // Near the origin there is no translation, far from it whole voxels.
  for (const float shift : {0.0f, 300.0f, 1e6f}) {
    Shape ball = Ball(4, [](const cVec3&) { return 50; });
    for (cVec3& p : ball.Positions) p += cVec3{shift, -shift, shift};
    VolumeObject volume;
    VoxelizeOptions options;
    options.VoxelSize = 1.25;
    VoxelizeReport report;
    std::string error;
    ASSERT_TRUE(VoxelizeMesh(ball.View(), options, volume, report, error)) << error;
    EXPECT_EQ(volume.SpaceMatrix.m[0][0], 1.25f);
    EXPECT_EQ(volume.SpaceMatrix.m[3][0] != 0, shift > 16384 * 1.25f);
    volume.RefreshChanges();
    const SurfaceStats stats = MeasureSurface(volume);
    EXPECT_NEAR(stats.Max.x, shift + 50, 0.2);
    EXPECT_NEAR(stats.Min.y, -shift - 50, 0.2);
  }
  // Single triangles take the same road.
  const Shape box = Box({-6.5f, -7, -8}, {7, 8, 9});
  VolumeObject single, broken;
  MeshVoxelizer voxelizer;
  for (size_t i = 0; i < box.Corners.size(); i += 3)
    voxelizer.AddTriangle(box.Positions[size_t(box.Corners[i])], box.Positions[size_t(box.Corners[i + 1])],
                          box.Positions[size_t(box.Corners[i + 2])]);
  ASSERT_TRUE(voxelizer.Run(&single, ApplyAdd, true));
  EXPECT_EQ(DumpSamples(single), DumpOf(box));
  comms::cRawMesh raw;
  raw.Positions = {{0, 0, 0}};
  raw.Polygons.push_back({{400, 0, 0}});
  VoxelizeReport report;
  std::string error;
  EXPECT_FALSE(VoxelizeMesh(raw, {}, broken, report, error));
  EXPECT_THAT(error, HasSubstr("announces 400 corners"));
}
