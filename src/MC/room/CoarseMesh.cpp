#include "MC/room/CoarseMesh.h"

#include <algorithm>
#include <vector>

using comms::cVec3;

namespace {

constexpr int GroupEdge = GroupSize * CellSize, ClusterEdge = 3, Slots = GroupEdge / ClusterEdge;  // voxels; along an axis
static_assert(GroupEdge % ClusterEdge == 0);
constexpr float OnBorder = 1e-3f;       // voxels
constexpr float LeastAgreement = 0.9f;  // length of the mean normal; below it the cube holds an edge

// Whether a coordinate, which counts from the group's lower border, lies in a border plane. A vertex on a grid edge across the
// plane stays within its group however close it comes: the neighbour doesn't have it.
bool IsOnBorder(float at, bool across) { return !across && (at < OnBorder || at > float(GroupEdge) - OnBorder); }

// Number of the cube that holds a vertex; -1 in the border planes, where every vertex stays.
int CubeOf(const VolumeVertex& v, const cVec3& corner) {
  const cVec3 p = cVec3{v.x, v.y, v.z} - corner;
  const int axis = v.EdgeKey == InteriorEdge ? -1 : v.EdgeKey / CellSamples;
  int cube = 0;
  for (int i = 2; i >= 0; i--) {
    if (IsOnBorder(p[i], axis == i)) return -1;
    cube = cube * Slots + std::clamp(int(p[i]) / ClusterEdge, 0, Slots - 1);
  }
  return cube;
}

// How much the surface turns within a cube. An edge that became one vertex a cube would be a chamfer, in form and in light, and
// break where the border planes keep it as it is: there every vertex stays too.
struct Bend {
  cVec3 Sum;
  int Count = 0;

  void Add(const VolumeVertex& v) {
    Sum += {v.nx, v.ny, v.nz};
    Count++;
  }
  bool IsSharp() const { return Length(Sum) < LeastAgreement * float(Count); }
};

struct Cluster {
  double X = 0, Y = 0, Z = 0, Count = 0;
  cVec3 Normal;

  void Add(const VolumeVertex& v) {
    X += double(v.x), Y += double(v.y), Z += double(v.z), Count++;
    Normal += {v.nx, v.ny, v.nz};
  }
  VolumeVertex Mean() const {
    const cVec3 n = Normalized(Normal, {0, 0, 1});
    return {float(X / Count), float(Y / Count), float(Z / Count), n.x, n.y, n.z, InteriorEdge, 0};
  }
};

}  // namespace

std::unique_ptr<comms::BaseMesh> MakeCoarseMesh(const VolumeObject& volume, const CellKey& group) {
  auto coarse = std::make_unique<comms::BaseMesh>();
  coarse->KeepStaged = true;
  VolumeBox box;
  ScreenRect rect;
  const auto fine = volume.BuildGroupMesh(group.x, group.y, group.z, box, rect);
  if (!fine) return coarse;

  std::vector<int> cubeOf(size_t(fine->NumVertices));
  std::vector<Bend> bends(size_t(Slots) * Slots * Slots);
  const cVec3 corner{float(group.x) * GroupEdge, float(group.y) * GroupEdge, float(group.z) * GroupEdge};
  const auto* vertices = reinterpret_cast<const VolumeVertex*>(fine->StagedVertices.get());
  for (size_t i = 0; i < cubeOf.size(); i++) {
    cubeOf[i] = CubeOf(vertices[i], corner);
    if (cubeOf[i] >= 0) bends[size_t(cubeOf[i])].Add(vertices[i]);
  }

  // Clusters in the order in which they are met. The sums are so fine that their order does not show.
  std::vector<int32_t> clusterAt(bends.size(), -1);
  std::vector<Cluster> clusters;
  std::vector<uint32_t> clusterOf(cubeOf.size());
  for (size_t i = 0; i < clusterOf.size(); i++) {
    int32_t own = -1;
    const bool stays = cubeOf[i] < 0 || bends[size_t(cubeOf[i])].IsSharp();
    int32_t& cluster = stays ? own : clusterAt[size_t(cubeOf[i])];
    if (cluster < 0) {
      cluster = int32_t(clusters.size());
      clusters.emplace_back();
    }
    clusters[size_t(cluster)].Add(vertices[i]);
    clusterOf[i] = uint32_t(cluster);
  }
  std::vector<VolumeVertex> means;
  means.reserve(clusters.size());
  for (const Cluster& cluster : clusters) means.push_back(cluster.Mean());

  std::vector<uint32_t> indices;
  for (int i = 0; i + 2 < fine->NumIndices; i += 3) {
    const uint32_t* corners = fine->StagedIndices32.get() + i;
    const uint32_t a = clusterOf[corners[0]], b = clusterOf[corners[1]], c = clusterOf[corners[2]];
    if (a != b && b != c && c != a) indices.insert(indices.end(), {a, b, c});
  }
  if (indices.empty()) return coarse;
  coarse->StageVertices(means.data(), means.size(), *fine->VertexDecl);
  coarse->StageIndices32(indices.data(), indices.size());
  return coarse;
}
