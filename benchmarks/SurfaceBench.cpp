// What comes back of a closed mesh that was voxelised and polygonised: closed, of the same genus and volume, and near the mesh.
#include <algorithm>
#include <cmath>
#include <memory>
#include <unordered_map>
#include <vector>

#include "Claims.h"
#include "MC/SurfaceCells.h"
#include "MC/SurfaceStats.h"
#include "MC/VolumeObject.h"
#include "ScanVolume.h"
#include "Shapes.h"

using namespace bench;
using comms::cVec3;

namespace {

constexpr int Resolution = 256;

double EnclosedVolume(const TriangleSoup& mesh) {
  double volume = 0;
  for (size_t i = 0; i < mesh.Triangles.size(); i += 3) {
    double p[3][3];
    for (size_t corner = 0; corner < 3; corner++)
      for (size_t k = 0; k < 3; k++) p[corner][k] = mesh.Positions[size_t(mesh.Triangles[i + corner]) * 3 + k];
    volume += p[0][0] * (p[1][1] * p[2][2] - p[1][2] * p[2][1]) + p[0][1] * (p[1][2] * p[2][0] - p[1][0] * p[2][2]) +
              p[0][2] * (p[1][0] * p[2][1] - p[1][1] * p[2][0]);
  }
  return volume / 6;
}

struct Point {
  double x, y, z;
};
Point operator-(const Point& a, const Point& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
Point operator*(const Point& a, double s) { return {a.x * s, a.y * s, a.z * s}; }
double Dot(const Point& a, const Point& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

// Squared distance to a triangle: to its plane where the foot lies inside, else to the nearest edge.
double DistanceSquared(const Point& p, const Point (&t)[3]) {
  const Point u = t[1] - t[0], v = t[2] - t[0], w = p - t[0];
  const double uu = Dot(u, u), uv = Dot(u, v), vv = Dot(v, v), wu = Dot(w, u), wv = Dot(w, v), det = uu * vv - uv * uv;
  if (det > 0) {
    const double a = (vv * wu - uv * wv) / det, b = (uu * wv - uv * wu) / det;
    if (a >= 0 && b >= 0 && a + b <= 1) {
      const Point off = w - u * a - v * b;
      return Dot(off, off);
    }
  }
  double best = 1e300;
  for (int i = 0; i < 3; i++) {
    const Point edge = t[(i + 1) % 3] - t[i], at = p - t[i];
    const double length = Dot(edge, edge), s = length > 0 ? std::clamp(Dot(at, edge) / length, 0.0, 1.0) : 0;
    const Point off = at - edge * s;
    best = std::min(best, Dot(off, off));
  }
  return best;
}

struct Distance {
  double Worst = 0;  ///< voxels
  size_t Vertices = 0;
};

// Of the vertices of a volume's surface from the mesh that it was made of.
Distance MeasureDistance(const VolumeObject& volume, const TriangleSoup& mesh) {
  // Triangles by the cubes of four voxels that their boxes, one voxel larger, touch: a vertex asks its own cube alone.
  constexpr double Cube = 4;
  const auto keyOf = [](int x, int y, int z) {
    return (uint64_t(uint32_t(x) & 0x1FFFFF) << 42) | (uint64_t(uint32_t(y) & 0x1FFFFF) << 21) | (uint32_t(z) & 0x1FFFFF);
  };
  const auto cubeOf = [](double at) { return int(std::floor(at / Cube)); };
  std::vector<Point> points;
  for (size_t i = 0; i < mesh.Positions.size(); i += 3) {
    const cVec3 p = volume.WorldToVolume({mesh.Positions[i], mesh.Positions[i + 1], mesh.Positions[i + 2]});
    points.push_back({p.x, p.y, p.z});
  }
  std::unordered_map<uint64_t, std::vector<int>> cubes;
  const auto corners = [&](int triangle, Point(&t)[3]) {
    for (int i = 0; i < 3; i++) t[i] = points[size_t(mesh.Triangles[size_t(triangle) * 3 + size_t(i)])];
  };
  for (int triangle = 0; triangle < int(mesh.Triangles.size() / 3); triangle++) {
    Point t[3];
    corners(triangle, t);
    const auto range = [&](double Point::*axis, int& low, int& high) {
      low = cubeOf(std::min({t[0].*axis, t[1].*axis, t[2].*axis}) - 1);
      high = cubeOf(std::max({t[0].*axis, t[1].*axis, t[2].*axis}) + 1);
    };
    int x0, x1, y0, y1, z0, z1;
    range(&Point::x, x0, x1);
    range(&Point::y, y0, y1);
    range(&Point::z, z0, z1);
    for (int z = z0; z <= z1; z++)
      for (int y = y0; y <= y1; y++)
        for (int x = x0; x <= x1; x++) cubes[keyOf(x, y, z)].push_back(triangle);
  }
  double worst = 0;
  size_t count = 0;
  for (const SurfaceCell& cell : CollectSurfaceCells(volume))
    for (const VolumeVertex& v : cell.Surface->Vertices()) {
      const Point p{v.x, v.y, v.z};
      double best = 4;  // nothing within a voxel: worse than two
      if (const auto found = cubes.find(keyOf(cubeOf(p.x), cubeOf(p.y), cubeOf(p.z))); found != cubes.end())
        for (const int triangle : found->second) {
          Point t[3];
          corners(triangle, t);
          best = std::min(best, DistanceSquared(p, t));
        }
      worst = std::max(worst, best);
      count++;
    }
  return {std::sqrt(worst), count};
}

void BenchMesh(const TriangleSoup& mesh, const std::string& name, std::vector<Claim>& claims) {
  const std::string text = "Surface of " + name + " at " + std::to_string(Resolution) + ": ";
  const std::unique_ptr<VolumeObject> volume = VoxelizeScan(mesh, LongestSide(mesh) / Resolution);
  if (!volume) {
    claims.push_back({.Text = text + "closed, genus, volume, distance", .Failed = "the mesh was refused"});
    return;
  }
  volume->RefreshSurfaces();
  const SurfaceStats stats = MeasureSurface(*volume);

  const double open = double(stats.BoundaryEdges + stats.NonManifoldEdges);
  claims.push_back(
      {.Text = text + "boundary and non-manifold edges, welded by ids", .Ours = open, .Ratio = open, .Goal = "== 0"});

  const int genus = GenusOf(mesh);
  Claim same{.Text = text + "genus, ours - the mesh's", .Ours = double(stats.Genus), .Peer = double(genus), .Goal = "== 0"};
  same.Ratio = same.Ours - same.Peer;
  same.Note = "components " + std::to_string(stats.Components);
  if (genus < 0) same.Skipped = "the mesh itself is not closed";
  claims.push_back(same);

  Claim enclosed{.Text = text + "volume, relative error against the mesh", .Ours = stats.Volume, .Goal = "<= 0.005"};
  enclosed.Peer = EnclosedVolume(mesh);
  enclosed.Ratio = std::fabs(enclosed.Ours / enclosed.Peer - 1);
  claims.push_back(enclosed);

  const Distance distance = MeasureDistance(*volume, mesh);
  claims.push_back({.Text = text + "largest distance of a vertex from the mesh, in voxels",
                    .Ours = distance.Worst,
                    .Peer = 1,
                    .Ratio = distance.Worst,
                    .Goal = "<= 1",
                    .Note = "of " + std::to_string(distance.Vertices) + " vertices; thin parts count too"});
}

const Benchmark surface("Surface", [](std::vector<Claim>& claims) {
  BenchMesh(MakeTorus(), "a torus", claims);
  BenchMesh(MakeCubeFrame(), "a cube frame", claims);
  for (const auto& [file, name] : {std::pair("koala.obj", "koala"), std::pair("nefertiti_280k.ply", "nefertiti 280 k")}) {
    TriangleSoup mesh;
    if (LoadBenchMesh(file, mesh))
      BenchMesh(mesh, name, claims);
    else
      claims.push_back({.Text = std::string("Surface of ") + name, .Skipped = std::string(file) + " is not there"});
  }
});

}  // namespace
