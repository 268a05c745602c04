// Dabs and strokes against OpenVDB 10: union and difference of level-set spheres with the same places over the same scan, and
// volumeToMesh of the leaves that were touched. Copies of the peer's grid and our way back to the unchanged volume are not timed.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>

#include "Claims.h"
#include "MC/Dabs.h"
#include "MC/MeshVoxelizer.h"
#include "MC/Stroke.h"
#include "MC/VolumeObject.h"

#if __has_include(<openvdb/openvdb.h>)
#define HAS_OPENVDB 1
#include <openvdb/openvdb.h>
#include <openvdb/tools/Composite.h>
#include <openvdb/tools/LevelSetSphere.h>
#include <openvdb/tools/MeshToVolume.h>
#include <openvdb/tools/VolumeToMesh.h>
#endif

using namespace bench;
using comms::cVec3;

namespace {

constexpr int Pairs = 7, DabsPerPair = 24;
constexpr float DabRadius = 32, CarveRadius = 16;
constexpr int CarveSegments = 200;
constexpr float CarveStep = 3;  // voxels between two pen samples

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

struct Timings {
  std::vector<double> Ours, Peer;
  void Finish(Claim& claim, double itemsPerRun) const {
    const double ours = Median(Ours), peer = Peer.empty() ? 0 : Median(Peer);
    const auto [fastest, slowest] = std::minmax_element(Ours.begin(), Ours.end());
    claim.Ours = itemsPerRun / ours;
    claim.Peer = itemsPerRun / peer;
    claim.Ratio = peer / ours;
    char note[96];
    std::snprintf(note, sizeof note, "a second; %d pairs, spread of ours %.0f%%", int(Ours.size()),
                  (*slowest - *fastest) / ours * 100);
    claim.Note = note;
  }
};

// The scan in voxels: 256 along its longest side, centred on the origin.
TriangleSoup LoadScan(float resolution) {
  TriangleSoup mesh;
  if (!LoadBenchMesh("nefertiti.obj", mesh)) return {};
  float low[3] = {1e30f, 1e30f, 1e30f}, high[3] = {-1e30f, -1e30f, -1e30f}, longest = 0;
  for (size_t i = 0; i < mesh.Positions.size(); i++) {
    low[i % 3] = std::min(low[i % 3], mesh.Positions[i]);
    high[i % 3] = std::max(high[i % 3], mesh.Positions[i]);
  }
  for (int k = 0; k < 3; k++) longest = std::max(longest, high[k] - low[k]);
  for (size_t i = 0; i < mesh.Positions.size(); i++)
    mesh.Positions[i] = (mesh.Positions[i] - (low[i % 3] + high[i % 3]) / 2) * resolution / longest;
  return mesh;
}

cVec3 VertexOf(const TriangleSoup& mesh, size_t vertex) {
  return {mesh.Positions[vertex * 3], mesh.Positions[vertex * 3 + 1], mesh.Positions[vertex * 3 + 2]};
}

// The solid of the scan in a volume whose voxels are those of the peer's grid.
bool FillWithScan(VolumeObject& volume, const TriangleSoup& scan, std::string& error) {
  std::vector<cVec3> positions;
  for (size_t v = 0; v < scan.Positions.size() / 3; v++) positions.push_back(VertexOf(scan, v));
  MeshVoxelizer voxelizer;
  voxelizer.AddMesh({positions.data(), positions.size(), scan.Triangles.data(), scan.Triangles.size() / 3});
  const bool filled = voxelizer.Run(&volume, ApplyAdd, true, false);
  error = voxelizer.Error;
  volume.EndStroke(false);
  volume.RefreshChanges();
  return filled;
}

std::vector<cVec3> PickPlaces(const TriangleSoup& scan, int count) {
  std::mt19937 random(11);
  std::vector<cVec3> places;
  for (int i = 0; i < count; i++) places.push_back(VertexOf(scan, random() % (scan.Positions.size() / 3)));
  return places;
}

// Pen samples round the scan at half its height, CarveStep apart: the hull of a thin slice, walked again until there are enough.
std::vector<PenSample> MakeCarvePath(const TriangleSoup& scan) {
  constexpr int rays = 512;
  std::vector<float> reach(rays, 0);
  for (size_t v = 0; v < scan.Positions.size() / 3; v++) {
    const cVec3 p = VertexOf(scan, v);
    if (std::fabs(p.y) > 3) continue;
    for (int i = 0; i < rays; i++) {
      const float angle = float(i) * 6.2831853f / rays;
      reach[size_t(i)] = std::max(reach[size_t(i)], p.x * std::cos(angle) + p.z * std::sin(angle));
    }
  }
  std::vector<PenSample> path;
  float angle = 0;
  while (path.size() <= CarveSegments) {
    const float radius = reach[size_t(angle / 6.2831853f * rays) % rays];
    PenSample sample;
    sample.Normal = {std::cos(angle), 0, std::sin(angle)};
    sample.Position = sample.Normal * radius;
    sample.Radius = CarveRadius;
    sample.Height = 0.5f;
    path.push_back(sample);
    angle += CarveStep / radius;
  }
  return path;
}

Stroke MakeCarveStroke(const std::vector<PenSample>& samples) {
  Stroke stroke;
  stroke.Tool = StrokeTool::Carve;
  stroke.Samples = samples;
  return stroke;
}

// Back to the volume before the stroke, surfaces and groups included.
void Restore(VolumeObject& volume) {
  volume.EndStroke(true);
  volume.RefreshChanges();
}

double TimeDab(VolumeObject& volume, const cVec3& place, int mode, bool refresh) {
  const double seconds = Seconds([&] {
    ApplySphereDab(volume, place, DabRadius, {mode, false, MirrorNone});
    if (refresh) volume.RefreshChanges();
  });
  if (!refresh) volume.RefreshChanges();
  Restore(volume);
  return seconds;
}

double TimeCarve(VolumeObject& volume, const Stroke& stroke) {
  StrokeOptions options;
  options.RefreshEachDab = true;
  const double seconds = Seconds([&] { ApplyStroke(volume, stroke, options); });
  Restore(volume);
  return seconds;
}

// A block with `side` voxels along its edges whose top lies in the plane z = 0, so that every size looks alike from above.
void FillBlock(VolumeObject& volume, float side) {
  const float half = side / 2;
  ApplyOptions options;
  options.CellCap = 1 << 22;
  ApplyField(
      volume,
      [half](float x, float y, float z) {
        const float dx = std::fabs(x) - half, dy = std::fabs(y) - half, dz = std::fabs(z + half) - half;
        float d = dx > dy ? dx : dy;
        d = d > dz ? d : dz;
        return 0.5f - d / 4;
      },
      {-half, -half, -side, half, half, 0}, options);
  volume.EndStroke(false);
  volume.RefreshChanges();
}

// Rows to and fro on the top, well inside the smallest block.
Stroke MakeBlockStroke() {
  Stroke stroke = MakeCarveStroke({});
  PenSample sample;
  sample.Radius = CarveRadius;
  sample.Height = 0.5f;
  constexpr int perRow = 20;
  for (int i = 0; i <= CarveSegments; i++) {
    const int row = i / perRow, column = row % 2 ? perRow - 1 - i % perRow : i % perRow;
    sample.Position = {float(column) * CarveStep - 30, float(row) * CarveStep * 1.5f - 24, 0};
    stroke.Samples.push_back(sample);
  }
  return stroke;
}

void BenchObjectSize(std::vector<Claim>& claims) {
  Claim claim;
  claim.Text = "Carve stroke of 200 segments with refresh: time on an object of 1024 voxels / of 128";
  claim.Goal = "<= 1.2";
  VolumeObject small, large;
  FillBlock(small, 128);
  FillBlock(large, 1024);
  const Stroke stroke = MakeBlockStroke();
  std::vector<double> smallTimes, largeTimes;
  TimeCarve(small, stroke), TimeCarve(large, stroke);  // pools and tables grow once
  for (int i = 0; i < Pairs; i++) {
    largeTimes.push_back(TimeCarve(large, stroke));
    smallTimes.push_back(TimeCarve(small, stroke));
  }
  claim.Ours = Median(largeTimes);
  claim.Peer = Median(smallTimes);
  claim.Ratio = claim.Ours / claim.Peer;
  claim.Note = "seconds";
  claims.push_back(claim);
}

#ifdef HAS_OPENVDB

openvdb::FloatGrid::Ptr MakePeerGrid(const TriangleSoup& scan) {
  std::vector<openvdb::Vec3s> points;
  for (size_t v = 0; v < scan.Positions.size() / 3; v++) {
    const cVec3 p = VertexOf(scan, v);
    points.push_back({p.x, p.y, p.z});
  }
  std::vector<openvdb::Vec3I> triangles;
  for (size_t t = 0; t < scan.Triangles.size(); t += 3)
    triangles.push_back({uint32_t(scan.Triangles[t]), uint32_t(scan.Triangles[t + 1]), uint32_t(scan.Triangles[t + 2])});
  return openvdb::tools::meshToLevelSet<openvdb::FloatGrid>(*openvdb::math::Transform::createLinearTransform(1), points,
                                                            triangles, 3);
}

// Meshes the leaves that a ball reaches, with a margin of one leaf for the surface between them. Regions without a leaf keep
// their sign.
size_t RemeshTouchedLeaves(const openvdb::FloatGrid& grid, const cVec3& center, float radius) {
  const int reach = int(radius) + 3;
  const openvdb::Coord middle(int(std::floor(center.x)), int(std::floor(center.y)), int(std::floor(center.z)));
  openvdb::FloatGrid::Ptr touched = openvdb::FloatGrid::create(grid.background());
  touched->setGridClass(openvdb::GRID_LEVEL_SET);
  const auto& tree = grid.tree();
  const openvdb::Coord first = (middle.offsetBy(-reach - 8)) & ~7, last = (middle.offsetBy(reach + 8)) & ~7;
  openvdb::FloatGrid::ConstAccessor from = grid.getConstAccessor();
  openvdb::FloatGrid::Accessor to = touched->getAccessor();
  for (int x = first.x(); x <= last.x(); x += 8)
    for (int y = first.y(); y <= last.y(); y += 8)
      for (int z = first.z(); z <= last.z(); z += 8) {
        const openvdb::Coord origin(x, y, z);
        // distance of the leaf, grown by the margin, from the centre
        double squared = 0;
        for (int k = 0; k < 3; k++) {
          const double low = origin[k] - 8, high = origin[k] + 15, c = center[k];
          const double outside = c < low ? low - c : c > high ? c - high : 0;
          squared += outside * outside;
        }
        if (squared > double(reach) * reach) continue;
        if (const auto* leaf = from.probeConstLeaf(origin))
          to.addLeaf(new openvdb::FloatTree::LeafNodeType(*leaf));
        else if (tree.getValue(origin) < 0)
          to.addTile(1, origin, tree.getValue(origin), false);
      }
  std::vector<openvdb::Vec3s> points;
  std::vector<openvdb::Vec4I> quads;
  openvdb::tools::volumeToMesh(*touched, points, quads);
  return quads.size();
}

void MergePeerBall(openvdb::FloatGrid& grid, const cVec3& center, float radius, int mode) {
  const auto ball = openvdb::tools::createLevelSetSphere<openvdb::FloatGrid>(radius, {center.x, center.y, center.z}, 1, 3);
  if (mode == ApplyAdd)
    openvdb::tools::csgUnion(grid, *ball);
  else
    openvdb::tools::csgDifference(grid, *ball);
}

double TimePeerDab(const openvdb::FloatGrid& grid, const cVec3& place, int mode, bool remesh) {
  const openvdb::FloatGrid::Ptr copy = grid.deepCopy();
  return Seconds([&] {
    MergePeerBall(*copy, place, DabRadius, mode);
    if (remesh) RemeshTouchedLeaves(*copy, place, DabRadius);
  });
}

double TimePeerCarve(const openvdb::FloatGrid& grid, const std::vector<PenSample>& path) {
  const openvdb::FloatGrid::Ptr copy = grid.deepCopy();
  return Seconds([&] {
    for (int i = 1; i <= CarveSegments; i++) {
      const cVec3 place = path[size_t(i)].Position;
      MergePeerBall(*copy, place, CarveRadius, ApplyAdd);
      RemeshTouchedLeaves(*copy, place, CarveRadius);
    }
  });
}

void BenchAgainstPeer(std::vector<Claim>& claims, VolumeObject& volume, const TriangleSoup& scan) {
  openvdb::initialize();
  const openvdb::FloatGrid::Ptr grid = MakePeerGrid(scan);
  const std::vector<cVec3> places = PickPlaces(scan, DabsPerPair);
  struct Row {
    const char* Text;
    const char* Goal;
    int Mode;
    bool Refresh;
  };
  const Row rows[] = {
      {"Sphere dab of radius 32 into the scan at 256, add: dabs, ours / OpenVDB union", ">= 3", ApplyAdd, false},
      {"Sphere dab of radius 32 into the scan at 256, subtract: dabs, ours / OpenVDB difference", ">= 3", ApplySubtract, false},
      {"Sphere dab with refresh, add: dabs, ours / OpenVDB union and re-meshing of touched leaves", ">= 2", ApplyAdd, true}};
  for (const Row& row : rows) {
    Timings timings;
    for (int pair = 0; pair < Pairs; pair++) {
      double ours = 0, peer = 0;
      for (const cVec3& place : places) {
        ours += TimeDab(volume, place, row.Mode, row.Refresh);
        peer += TimePeerDab(*grid, place, row.Mode, row.Refresh);
      }
      timings.Ours.push_back(ours);
      timings.Peer.push_back(peer);
    }
    Claim claim;
    claim.Text = row.Text;
    claim.Goal = row.Goal;
    timings.Finish(claim, DabsPerPair);
    claims.push_back(claim);
  }

  const std::vector<PenSample> path = MakeCarvePath(scan);
  const Stroke stroke = MakeCarveStroke(path);
  Timings timings;
  for (int pair = 0; pair < Pairs; pair++) {
    timings.Ours.push_back(TimeCarve(volume, stroke));
    timings.Peer.push_back(TimePeerCarve(*grid, path));
  }
  Claim claim;
  claim.Text = "Carve stroke of 200 segments, radius 16, with refresh: segments, ours / OpenVDB unions with re-meshing";
  claim.Goal = ">= 1";
  timings.Finish(claim, CarveSegments);
  claims.push_back(claim);
}

#endif

void BenchBrushes(std::vector<Claim>& claims) {
  BenchObjectSize(claims);
  Claim skipped;
  skipped.Text = "Dabs and Carve stroke against OpenVDB";
  skipped.Goal = ">= 3";
  const TriangleSoup scan = LoadScan(256);
  if (scan.Triangles.empty()) {
    skipped.Skipped = "nefertiti.obj is not there";
    claims.push_back(skipped);
    return;
  }
  VolumeObject volume;
  if (!FillWithScan(volume, scan, skipped.Skipped)) {
    claims.push_back(skipped);
    return;
  }
#ifdef HAS_OPENVDB
  BenchAgainstPeer(claims, volume, scan);
#else
  skipped.Skipped = "OpenVDB is not installed; ./bench --with-peers installs it";
  claims.push_back(skipped);
#endif
}

const Benchmark brushes("Brush", BenchBrushes);

}  // namespace
