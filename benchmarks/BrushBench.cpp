// Dabs and strokes against OpenVDB 10: union and difference of level-set spheres with the same places over the same scan, and
// volumeToMesh of the leaves that were touched. Copies of the peer's grid, the way of these leaves out of it and our way back to
// the unchanged volume are not timed.
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

constexpr int Pairs = 5, DabsPerPair = 24;
constexpr float DabRadius = 32, CarveRadius = 16;
constexpr int CarveSegments = 200;
constexpr float CarveStep = 3;  // voxels between two pen samples

struct Timings {
  std::vector<double> Ours, Peer;
  void Finish(Claim& claim, double itemsPerRun) const {
    const double ours = Median(Ours), peer = Peer.empty() ? 0 : Median(Peer);
    claim.Ours = itemsPerRun / ours;
    claim.Peer = itemsPerRun / peer;
    claim.Ratio = peer / ours;
    claim.OursSpread = SpreadOf(Ours);
    claim.Note = "a second; " + std::to_string(Ours.size()) + " pairs";
  }
};

// A scan in voxels: `resolution` along its longest side, centred on the origin.
TriangleSoup LoadScan(const char* file, float resolution) {
  TriangleSoup mesh;
  if (!LoadBenchMesh(file, mesh)) return {};
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

bool IsInside(const VolumeObject& volume, const cVec3& p) { return volume.SampleTrilinear(p.x, p.y, p.z, false) >= SurfaceLevel; }

// Moves `p` along `out`, which points out of the solid, to where the density crosses the surface; false where it does not within
// `reach` voxels either way.
bool MoveToSurface(const VolumeObject& volume, const cVec3& out, float reach, cVec3& p) {
  float low = -reach, high = -reach;
  if (!IsInside(volume, p + out * low)) return false;
  while (IsInside(volume, p + out * high)) {
    low = high;
    high += 0.5f;
    if (low >= reach) return false;
  }
  for (int i = 0; i < 12; i++) {
    const float middle = (low + high) / 2;
    (IsInside(volume, p + out * middle) ? low : high) = middle;
  }
  p = p + out * low;
  return true;
}

// Pen samples on the surface of the scan, CarveStep apart: round it at half its height and slowly upwards, so that no lap runs in
// the trace of the one before. Fewer than asked for where the surface is lost.
std::vector<PenSample> MakeCarvePath(const VolumeObject& volume) {
  constexpr float rise = 0.15f;
  const cVec3 up{0, 1, 0};
  const VolumeBox box = GetSolidBox(volume);
  PenSample sample;
  sample.Radius = CarveRadius;
  sample.Height = 0.5f;
  sample.Position = {box.MaxX + 1, 0, 0};
  while (sample.Position.x > box.MinX && !IsInside(volume, sample.Position)) sample.Position.x -= 0.5f;
  std::vector<PenSample> path;
  cVec3 heading;
  while (path.size() <= CarveSegments) {
    const cVec3 out = -volume.GetCentralNormal(sample.Position.x, sample.Position.y, sample.Position.z);
    if (Dot(out, out) < 0.5f || !MoveToSurface(volume, out, 3, sample.Position)) break;
    sample.Normal = out;
    path.push_back(sample);
    // Where the surface lies level, the walk goes straight on.
    const cVec3 round = Cross(out, up);
    if (path.size() == 1 || Dot(round, round) > 0.1f) heading = comms::Normalized(round) + up * rise;
    heading = comms::Normalized(heading - out * Dot(heading, out));
    sample.Position = sample.Position + heading * CarveStep;
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

double TimeCarve(VolumeObject& volume, const Stroke& stroke) {
  StrokeOptions options;
  options.RefreshEachDab = true;
  const double seconds = Seconds([&] { ApplyStroke(volume, stroke, options); });
  Restore(volume);
  return seconds;
}

// The share of the samples of a stroke that change a cell; the first one does nothing until the second comes.
Claim CheckReach(VolumeObject& volume, const Stroke& stroke, const std::string& name) {
  Claim claim;
  claim.Text = "Carve stroke at 256, " + name + ": share of the pen samples whose dab changes cells";
  claim.Goal = ">= 0.95";
  StrokeRun run(volume, stroke);
  int changing = 0;
  for (const PenSample& sample : stroke.Samples) {
    const int64_t before = run.Report().Apply.ChangedCells;
    run.Add(sample);
    changing += run.Report().Apply.ChangedCells > before;
  }
  run.Finish();
  volume.RefreshChanges();
  Restore(volume);
  claim.Ours = changing;
  claim.Peer = CarveSegments;
  claim.Ratio = claim.Ours / claim.Peer;
  claim.Note = "dabs; " + std::to_string(stroke.Samples.size()) + " samples on the surface";
  return claim;
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
  claim.OursSpread = SpreadOf(largeTimes);
  claim.Note = "seconds";
  claims.push_back(claim);
}

#ifdef HAS_OPENVDB

std::vector<cVec3> PickPlaces(const TriangleSoup& scan, int count) {
  std::mt19937 random(11);
  std::vector<cVec3> places;
  for (int i = 0; i < count; i++) places.push_back(VertexOf(scan, random() % (scan.Positions.size() / 3)));
  return places;
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

using Leaf = openvdb::FloatTree::LeafNodeType;

// The leaves of `grid` at `origins`, and round them what volumeToMesh reads to close them: copies of the neighbour leaves with
// all voxels inactive, and tiles where the solid goes on. Edges without an active end make no quad, so exactly the leaves asked
// for are meshed.
openvdb::FloatGrid::Ptr CutOutLeaves(const openvdb::FloatGrid& grid, const std::vector<openvdb::Coord>& origins) {
  openvdb::FloatGrid::Ptr cut = openvdb::FloatGrid::create(grid.background());
  cut->setGridClass(openvdb::GRID_LEVEL_SET);
  openvdb::FloatGrid::ConstAccessor from = grid.getConstAccessor();
  openvdb::FloatGrid::Accessor to = cut->getAccessor();
  for (const openvdb::Coord& origin : origins)
    if (const Leaf* const leaf = from.probeConstLeaf(origin)) to.addLeaf(new Leaf(*leaf));
  for (const openvdb::Coord& origin : origins)
    for (int i = 0; i < 27; i++) {
      const openvdb::Coord beside = origin.offsetBy(8 * (i % 3 - 1), 8 * (i / 3 % 3 - 1), 8 * (i / 9 - 1));
      if (to.probeLeaf(beside)) continue;
      if (const Leaf* const leaf = from.probeConstLeaf(beside)) {
        to.addLeaf(new Leaf(*leaf));
        to.probeLeaf(beside)->setValuesOff();
      } else if (from.getValue(beside) < 0) {
        to.addTile(1, beside, from.getValue(beside), false);
      }
    }
  return cut;
}

// Seconds of a ball's union or difference and, with `remesh`, of meshing the leaves that it touched: those that the ball has
// itself. Cutting these out of the grid is not timed.
double TimePeerBall(openvdb::FloatGrid& grid, const cVec3& center, float radius, int mode, bool remesh) {
  openvdb::FloatGrid::Ptr ball;
  double seconds = Seconds([&] {
    ball = openvdb::tools::createLevelSetSphere<openvdb::FloatGrid>(radius, {center.x, center.y, center.z}, 1, 3);
  });
  std::vector<openvdb::Coord> touched;
  for (auto leaf = ball->tree().cbeginLeaf(); leaf; ++leaf) touched.push_back(leaf->origin());
  seconds += Seconds([&] {
    if (mode == ApplyAdd)
      openvdb::tools::csgUnion(grid, *ball);
    else
      openvdb::tools::csgDifference(grid, *ball);
  });
  if (!remesh) return seconds;
  const openvdb::FloatGrid::Ptr cut = CutOutLeaves(grid, touched);
  return seconds + Seconds([&] {
           std::vector<openvdb::Vec3s> points;
           std::vector<openvdb::Vec4I> quads;
           openvdb::tools::volumeToMesh(*cut, points, quads);
         });
}

double TimePeerDab(const openvdb::FloatGrid& grid, const cVec3& place, int mode, bool remesh) {
  const openvdb::FloatGrid::Ptr copy = grid.deepCopy();
  return TimePeerBall(*copy, place, DabRadius, mode, remesh);
}

double TimePeerCarve(const openvdb::FloatGrid& grid, const std::vector<PenSample>& path) {
  const openvdb::FloatGrid::Ptr copy = grid.deepCopy();
  double seconds = 0;
  for (size_t i = 1; i < path.size(); i++) seconds += TimePeerBall(*copy, path[i].Position, CarveRadius, ApplyAdd, true);
  return seconds;
}

void BenchAgainstPeer(std::vector<Claim>& claims, VolumeObject& volume, const TriangleSoup& scan, const std::string& name) {
  openvdb::initialize();
  const openvdb::FloatGrid::Ptr grid = MakePeerGrid(scan);
  const std::vector<cVec3> places = PickPlaces(scan, DabsPerPair);
  struct Row {
    const char *Text, *Peer;
    const char* Goal;
    int Mode;
    bool Refresh;
  };
  const Row rows[] = {{"Dab of radius 32 at 256, add, ", "OpenVDB union", ">= 3", ApplyAdd, false},
                      {"Dab of radius 32 at 256, subtract, ", "OpenVDB difference", ">= 3", ApplySubtract, false},
                      {"Dab with refresh at 256, add, ", "OpenVDB union, touched leaves re-meshed", ">= 2", ApplyAdd, true}};
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
    claim.Text = row.Text + name + ": dabs, ours / " + row.Peer;
    claim.Goal = row.Goal;
    timings.Finish(claim, DabsPerPair);
    claims.push_back(claim);
  }

  const std::vector<PenSample> path = MakeCarvePath(volume);
  const Stroke stroke = MakeCarveStroke(path);
  claims.push_back(CheckReach(volume, stroke, name));
  Timings timings;
  for (int pair = 0; pair < Pairs; pair++) {
    timings.Ours.push_back(TimeCarve(volume, stroke));
    timings.Peer.push_back(TimePeerCarve(*grid, path));
  }
  Claim claim;
  claim.Text = "Carve, 200 segments of radius 16, refreshed, " + name + ": segments, ours / OpenVDB unions, re-meshed";
  claim.Goal = ">= 1";
  timings.Finish(claim, CarveSegments);
  claims.push_back(claim);
}

#endif

void BenchScan(const char* file, const std::string& name, std::vector<Claim>& claims) {
  Claim skipped;
  skipped.Text = "Dabs and Carve stroke against OpenVDB, " + name;
  skipped.Goal = ">= 3";
  const TriangleSoup scan = LoadScan(file, 256);
  if (scan.Triangles.empty()) {
    skipped.Skipped = std::string(file) + " is not there";
    claims.push_back(skipped);
    return;
  }
  VolumeObject volume;
  if (!FillWithScan(volume, scan, skipped.Skipped)) {
    claims.push_back(skipped);
    return;
  }
#ifdef HAS_OPENVDB
  BenchAgainstPeer(claims, volume, scan, name);
#else
  const Stroke stroke = MakeCarveStroke(MakeCarvePath(volume));
  claims.push_back(CheckReach(volume, stroke, name));
  skipped.Skipped = "OpenVDB is not installed; ./bench --with-peers installs it";
  claims.push_back(skipped);
#endif
}

const Benchmark brushes("Brush", [](std::vector<Claim>& claims) {
  BenchObjectSize(claims);
  BenchScan("koala.obj", "koala", claims);
  BenchScan("nefertiti_280k.ply", "nefertiti 280 k", claims);
});

}  // namespace
