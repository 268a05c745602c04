// Claims about results: the same bytes on one thread and on two, mirror images to the last bit, a surface that stays at the mesh.
#include <tbb/task_arena.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <memory>
#include <unordered_map>
#include <vector>

#include "Claims.h"
#include "MC/Dabs.h"
#include "MC/StlExport.h"
#include "MC/SurfaceCells.h"
#include "MC/SurfaceExtract.h"
#include "MC/VolumeObject.h"
#include "ScanVolume.h"
#include "comms/SafeFile.h"
#include "comms/cMeshIO.h"

using namespace bench;
using comms::cVec3;

namespace {

// --- threads -----------------------------------------------------------------------------------------------------------------

using Bytes = std::vector<uint8_t>;

// Voxelise, sculpt along the x axis, polygonise and export, all on `threads` threads; the bytes of OBJ and STL.
std::array<Bytes, 2> RunJob(const TriangleSoup& mesh, int threads, const std::filesystem::path& folder) {
  std::array<Bytes, 2> files;
  tbb::task_arena arena(threads);
  arena.execute([&] {
    const std::unique_ptr<VolumeObject> volume = VoxelizeScan(mesh, LongestSide(mesh) / 200);
    if (!volume) return;
    const VolumeBox box = GetSolidBox(*volume);
    for (int i = 0; i < 40; i++) {
      const cVec3 center{box.MinX + (box.MaxX - box.MinX) * float(i) / 39, (box.MinY + box.MaxY) / 2, box.MaxZ - float(i)};
      ApplySphereDab(*volume, center, 12, {i % 2 ? ApplySubtract : ApplyAdd, i % 3 == 0, MirrorNone});
      volume->RefreshChanges();
    }
    volume->EndStroke(false);
    std::string error;
    const std::string obj = (folder / "job.obj").string(), stl = (folder / "job.stl").string();
    comms::cMeshIO::SaveMesh(ExtractSurface({volume.get()}).get(), obj.c_str());
    ExportStl({volume.get()}, stl, {}, error);
    comms::ReadWholeFile(obj, files[0], error);
    comms::ReadWholeFile(stl, files[1], error);
  });
  return files;
}

Claim CompareThreads(const TriangleSoup& mesh) {
  Claim claim;
  claim.Text = "Exported OBJ and STL of a sculpted scan: bytes that differ between 1 and 2 threads";
  claim.Goal = "<= 0";
  const std::filesystem::path folder = std::filesystem::temp_directory_path() / ("morvane-bench-" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  const std::array<Bytes, 2> one = RunJob(mesh, 1, folder), two = RunJob(mesh, 2, folder);
  std::filesystem::remove_all(folder);
  size_t differing = 0, total = 0;
  for (size_t i = 0; i < one.size(); i++) {
    const size_t common = std::min(one[i].size(), two[i].size());
    total += one[i].size();
    differing += std::max(one[i].size(), two[i].size()) - common;
    for (size_t k = 0; k < common; k++) differing += one[i][k] != two[i][k];
    if (one[i].empty()) claim.Skipped = "the job wrote no file";
  }
  claim.Ours = claim.Ratio = double(differing);
  claim.Note = "of " + std::to_string(total) + " bytes";
  return claim;
}

// --- symmetry ----------------------------------------------------------------------------------------------------------------

// The mesh and its mirror image about the plane x = 0, wound outwards both.
TriangleSoup WithMirrorImage(const TriangleSoup& mesh) {
  TriangleSoup both = mesh;
  const int offset = int(mesh.Positions.size() / 3);
  for (size_t i = 0; i < mesh.Positions.size(); i += 3)
    both.Positions.insert(both.Positions.end(), {-mesh.Positions[i], mesh.Positions[i + 1], mesh.Positions[i + 2]});
  for (size_t i = 0; i < mesh.Triangles.size(); i += 3)
    for (const size_t corner : {2, 1, 0}) both.Triangles.push_back(mesh.Triangles[i + corner] + offset);
  return both;
}

Claim CheckSymmetry(const TriangleSoup& mesh) {
  Claim claim;
  claim.Text = "Surface of a scan united with its mirror image: vertices without a bit-equal mirror twin, normals included";
  claim.Goal = "<= 0";
  const TriangleSoup both = WithMirrorImage(mesh);
  const std::unique_ptr<VolumeObject> volume = VoxelizeScan(both, LongestSide(both) / 256);
  if (!volume) return claim.Skipped = "the mesh was refused", claim;
  volume->RefreshSurfaces();
  using Digits = std::array<uint32_t, 6>;
  std::vector<Digits> vertices, images;
  for (const SurfaceCell& cell : CollectSurfaceCells(*volume))
    for (const VolumeVertex& v : cell.Surface->Vertices) {
      const auto digits = [](std::array<float, 6> values) {
        Digits result;
        for (float& value : values) value += 0.0f;  // one zero
        std::memcpy(result.data(), values.data(), sizeof result);
        return result;
      };
      vertices.push_back(digits({v.x, v.y, v.z, v.nx, v.ny, v.nz}));
      images.push_back(digits({-v.x, v.y, v.z, -v.nx, v.ny, v.nz}));
    }
  std::sort(vertices.begin(), vertices.end());
  std::sort(images.begin(), images.end());
  std::vector<Digits> alone;
  std::set_symmetric_difference(vertices.begin(), vertices.end(), images.begin(), images.end(), std::back_inserter(alone));
  claim.Ours = claim.Ratio = double(alone.size());
  claim.Note = "of " + std::to_string(vertices.size());
  return claim;
}

// --- distance ----------------------------------------------------------------------------------------------------------------

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

Claim MeasureDistance(const TriangleSoup& mesh, const char* name) {
  Claim claim;
  claim.Text = std::string("Surface of ") + name + " at 256: largest distance of a vertex from the mesh, in voxels";
  claim.Goal = "<= 1";
  const std::unique_ptr<VolumeObject> volume = VoxelizeScan(mesh, LongestSide(mesh) / 256);
  if (!volume) return claim.Skipped = "the mesh was refused", claim;
  volume->RefreshSurfaces();

  // Triangles by the cubes of four voxels that their boxes, one voxel larger, touch: a vertex asks its own cube alone.
  constexpr double Cube = 4;
  const auto keyOf = [](int x, int y, int z) {
    return (uint64_t(uint32_t(x) & 0x1FFFFF) << 42) | (uint64_t(uint32_t(y) & 0x1FFFFF) << 21) | (uint32_t(z) & 0x1FFFFF);
  };
  const auto cubeOf = [](double at) { return int(std::floor(at / Cube)); };
  std::vector<Point> points;
  for (size_t i = 0; i < mesh.Positions.size(); i += 3) {
    const cVec3 p = volume->WorldToVolume({mesh.Positions[i], mesh.Positions[i + 1], mesh.Positions[i + 2]});
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
  for (const SurfaceCell& cell : CollectSurfaceCells(*volume))
    for (const VolumeVertex& v : cell.Surface->Vertices) {
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
  claim.Ours = claim.Ratio = std::sqrt(worst);
  claim.Peer = 1;
  claim.Note = "of " + std::to_string(count) + " vertices";
  return claim;
}

const Benchmark results("Results", [](std::vector<Claim>& claims) {
  TriangleSoup koala, nefertiti;
  if (!LoadBenchMesh("koala.obj", koala) || !LoadBenchMesh("nefertiti_280k.ply", nefertiti)) {
    Claim claim;
    claim.Text = "Results: threads, symmetry, distance";
    claim.Skipped = "the test meshes are not there";
    claims.push_back(claim);
    return;
  }
  claims.push_back(CompareThreads(koala));
  claims.push_back(CheckSymmetry(nefertiti));
  claims.push_back(MeasureDistance(koala, "koala"));
  claims.push_back(MeasureDistance(nefertiti, "nefertiti 280 k"));
});

}  // namespace
