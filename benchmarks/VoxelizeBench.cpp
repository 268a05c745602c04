// Mesh to volume, against OpenVDB 10's meshToVolume of the same mesh and voxel size.
#include <cstdio>
#include <memory>

#include "Claims.h"
#include "MC/VolumeObject.h"
#include "ScanVolume.h"

#if __has_include(<openvdb/openvdb.h>)
#define HAS_OPENVDB 1
#include <openvdb/openvdb.h>
#include <openvdb/tools/MeshToVolume.h>
#endif

using namespace bench;

namespace {

constexpr int Pairs = 5;

struct Input {
  const char *File, *Name;
  int Subdivisions;
  const char* Goal;  ///< our time in the peer's
};
constexpr Input Inputs[] = {{"koala.obj", "koala", 0, "<= 0.125"},
                            {"nefertiti_280k.ply", "nefertiti 280 k", 0, "<= 0.125"},
                            {"nefertiti_280k.ply", "nefertiti 4.5 M", 2, "<= 0.0834"}};

#ifdef HAS_OPENVDB
/// The mesh as the peer takes it, in the voxels of its grid.
struct PeerMesh {
  std::vector<openvdb::Vec3s> Points;
  std::vector<openvdb::Vec3I> Triangles;
  PeerMesh(const TriangleSoup& mesh, double voxelSize) {
    for (size_t i = 0; i < mesh.Positions.size(); i += 3)
      Points.emplace_back(float(mesh.Positions[i] / voxelSize), float(mesh.Positions[i + 1] / voxelSize),
                          float(mesh.Positions[i + 2] / voxelSize));
    for (size_t i = 0; i < mesh.Triangles.size(); i += 3)
      Triangles.emplace_back(mesh.Triangles[i], mesh.Triangles[i + 1], mesh.Triangles[i + 2]);
  }
};
#endif

void BenchTime(const TriangleSoup& mesh, const Input& input, int resolution, std::vector<Claim>& claims) {
  Claim claim;
  claim.Text = std::string("Mesh to volume, ") + input.Name + " at " + std::to_string(resolution) + ": ms, ours / OpenVDB";
  claim.Goal = input.Goal;
#ifdef HAS_OPENVDB
  const double voxelSize = float(LongestSide(mesh) / resolution);
  const PeerMesh peerMesh(mesh, voxelSize);
  const auto transform = openvdb::math::Transform::createLinearTransform(voxelSize);
  std::unique_ptr<VolumeObject> ours;
  openvdb::FloatGrid::Ptr peer;
  const Pair pair = MeasurePairs(
      Pairs, [&] { ours = VoxelizeScan(mesh, voxelSize); },
      [&] {
        openvdb::tools::QuadAndTriangleDataAdapter<openvdb::Vec3s, openvdb::Vec3I> adapter(peerMesh.Points, peerMesh.Triangles);
        peer = openvdb::tools::meshToVolume<openvdb::FloatGrid>(adapter, *transform, 3.0f, 3.0f);
      },
      [&] { ours.reset(); }, [&] { peer.reset(); });
  claim.Ours = pair.Ours * 1e3;
  claim.Peer = pair.Peer * 1e3;
  claim.Ratio = pair.Ours / pair.Peer;
  char note[100];
  std::snprintf(note, sizeof note, "%d pairs; %zu blocks, %zu cells", Pairs, ours->VoxelPool.UsedBlocks(), ours->Cells.Count());
  claim.Note = note;
  claim.OursSpread = pair.OursSpread;
#else
  (void)mesh;
  claim.Skipped = "OpenVDB is not installed; ./bench --with-peers installs it";
#endif
  claims.push_back(claim);
}

void BenchVoxelize(std::vector<Claim>& claims) {
#ifdef HAS_OPENVDB
  openvdb::initialize();
#endif
  for (const Input& input : Inputs) {
    TriangleSoup mesh;
    if (!LoadBenchMesh(input.File, mesh)) {
      Claim claim;
      claim.Text = std::string("Mesh to volume, ") + input.Name;
      claim.Goal = input.Goal;
      claim.Skipped = std::string(input.File) + " is not there";
      claims.push_back(claim);
      continue;
    }
    for (int i = 0; i < input.Subdivisions; i++) mesh = Subdivide(mesh);
    for (const int resolution : {256, 512}) BenchTime(mesh, input, resolution, claims);
  }
}

const Benchmark voxelize("Voxelize", BenchVoxelize);

}  // namespace
