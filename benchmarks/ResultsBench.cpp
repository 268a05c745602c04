// Claims about results: the same bytes on one thread and on two, mirror images to the last bit.
#include <tbb/task_arena.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <memory>
#include <vector>

#include "Claims.h"
#include "MC/Dabs.h"
#include "MC/StlExport.h"
#include "MC/Stroke.h"
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

// Dabs along the x axis of the solid's box, some of them airbrush.
void SculptDabs(VolumeObject& volume) {
  const VolumeBox box = GetSolidBox(volume);
  for (int i = 0; i < 40; i++) {
    const cVec3 center{box.MinX + (box.MaxX - box.MinX) * float(i) / 39, (box.MinY + box.MaxY) / 2, box.MaxZ - float(i)};
    ApplySphereDab(volume, center, 12, {i % 2 ? ApplySubtract : ApplyAdd, i % 3 == 0, MirrorNone});
    volume.RefreshChanges();
  }
  volume.EndStroke(false);
}

// A Carve stroke along vertices of the surface, each dab at its images about all three planes too.
void SculptSymmetricCarve(VolumeObject& volume) {
  volume.RefreshSurfaces();
  Stroke stroke;
  stroke.Tool = StrokeTool::Carve;
  stroke.Symmetry = MirrorX | MirrorY | MirrorZ;
  std::vector<SurfaceCell> cells = CollectSurfaceCells(volume);
  const auto voxel = float(std::cbrt(std::fabs(comms::Determinant3(volume.SpaceMatrix))));
  for (size_t i = 0; i < cells.size(); i += cells.size() / 60 + 1) {
    const VolumeVertex& v = cells[i].Surface->Vertices()[0];
    PenSample sample;
    sample.Position = volume.VolumeToWorld({v.x, v.y, v.z});
    sample.Normal = volume.VolumeToWorldDirection({-v.nx, -v.ny, -v.nz});
    sample.Radius = 10 * voxel;
    sample.Height = 0.5f;
    stroke.Samples.push_back(sample);
  }
  StrokeOptions options;
  options.RefreshEachDab = true;
  ApplyStroke(volume, stroke, options);
  FinishStroke(volume);
}

// Voxelise, sculpt, polygonise and export, all on `threads` threads; the bytes of OBJ and STL.
std::array<Bytes, 2> RunJob(const TriangleSoup& mesh, void (*sculpt)(VolumeObject&), int threads,
                            const std::filesystem::path& folder) {
  std::array<Bytes, 2> files;
  tbb::task_arena arena(threads);
  arena.execute([&] {
    const std::unique_ptr<VolumeObject> volume = VoxelizeScan(mesh, LongestSide(mesh) / 200);
    if (!volume) return;
    sculpt(*volume);
    std::string error;
    const std::string obj = (folder / "job.obj").string(), stl = (folder / "job.stl").string();
    comms::cMeshIO::SaveMesh(ExtractSurface({volume.get()}).get(), obj.c_str());
    ExportStl({volume.get()}, stl, {}, error);
    comms::ReadWholeFile(obj, files[0], error);
    comms::ReadWholeFile(stl, files[1], error);
  });
  return files;
}

Claim CompareThreads(const TriangleSoup& mesh, const std::string& name, void (*sculpt)(VolumeObject&)) {
  Claim claim;
  claim.Text = "OBJ and STL of " + name + ": bytes that differ between 1 and 2 threads";
  claim.Goal = "== 0";
  const std::filesystem::path folder = std::filesystem::temp_directory_path() / ("morvane-bench-" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  const std::array<Bytes, 2> plain = RunJob(
      mesh, [](VolumeObject&) {}, 2, folder);
  const std::array<Bytes, 2> one = RunJob(mesh, sculpt, 1, folder), two = RunJob(mesh, sculpt, 2, folder);
  std::filesystem::remove_all(folder);
  size_t differing = 0, total = 0;
  for (size_t i = 0; i < one.size(); i++) {
    const size_t common = std::min(one[i].size(), two[i].size());
    total += one[i].size();
    differing += std::max(one[i].size(), two[i].size()) - common;
    for (size_t k = 0; k < common; k++) differing += one[i][k] != two[i][k];
    if (one[i].empty()) claim.Failed = "the job wrote no file";
    if (one[i] == plain[i]) claim.Failed = "the strokes changed nothing";
  }
  claim.Ours = claim.Ratio = double(differing);
  claim.Note = "of " + std::to_string(total) + " bytes";
  return claim;
}

// --- symmetry ----------------------------------------------------------------------------------------------------------------

// The mesh and its mirror image about the plane through the origin across `axis`, wound outwards both.
TriangleSoup WithMirrorImage(const TriangleSoup& mesh, size_t axis) {
  TriangleSoup both = mesh;
  const int offset = int(mesh.Positions.size() / 3);
  both.Positions.insert(both.Positions.end(), mesh.Positions.begin(), mesh.Positions.end());
  for (size_t i = mesh.Positions.size() + axis; i < both.Positions.size(); i += 3) both.Positions[i] = -both.Positions[i];
  for (size_t i = 0; i < mesh.Triangles.size(); i += 3)
    for (const size_t corner : {2, 1, 0}) both.Triangles.push_back(mesh.Triangles[i + corner] + offset);
  return both;
}

Claim CheckSymmetry(const TriangleSoup& mesh, size_t axis) {
  Claim claim;
  claim.Text = std::string("A scan and its mirror image about ") + "xyz"[axis] +
               " = 0: vertices without a bit-equal twin, normals included";
  claim.Goal = "== 0";
  const TriangleSoup both = WithMirrorImage(mesh, axis);
  const std::unique_ptr<VolumeObject> volume = VoxelizeScan(both, LongestSide(both) / 256);
  if (!volume) return claim.Failed = "the mesh was refused", claim;
  volume->RefreshSurfaces();
  using Digits = std::array<uint32_t, 6>;
  std::vector<Digits> vertices, images;
  for (const SurfaceCell& cell : CollectSurfaceCells(*volume))
    for (const VolumeVertex& v : cell.Surface->Vertices()) {
      const auto digits = [](std::array<float, 6> values) {
        Digits result;
        for (float& value : values) value += 0.0f;  // one zero
        std::memcpy(result.data(), values.data(), sizeof result);
        return result;
      };
      vertices.push_back(digits({v.x, v.y, v.z, v.nx, v.ny, v.nz}));
      std::array<float, 6> image{v.x, v.y, v.z, v.nx, v.ny, v.nz};
      image[axis] = -image[axis];
      image[axis + 3] = -image[axis + 3];
      images.push_back(digits(image));
    }
  std::sort(vertices.begin(), vertices.end());
  std::sort(images.begin(), images.end());
  std::vector<Digits> alone;
  std::set_symmetric_difference(vertices.begin(), vertices.end(), images.begin(), images.end(), std::back_inserter(alone));
  claim.Ours = claim.Ratio = double(alone.size());
  claim.Note = "of " + std::to_string(vertices.size());
  return claim;
}

const Benchmark results("Results", [](std::vector<Claim>& claims) {
  TriangleSoup koala, nefertiti;
  if (!LoadBenchMesh("koala.obj", koala) || !LoadBenchMesh("nefertiti_280k.ply", nefertiti)) {
    Claim claim;
    claim.Text = "Results: threads, symmetry";
    claim.Skipped = "the test meshes are not there";
    claims.push_back(claim);
    return;
  }
  claims.push_back(CompareThreads(koala, "koala with sphere dabs", SculptDabs));
  claims.push_back(CompareThreads(nefertiti, "nefertiti 280 k with a symmetric Carve stroke", SculptSymmetricCarve));
  for (const size_t axis : {0, 1, 2}) claims.push_back(CheckSymmetry(nefertiti, axis));
});

}  // namespace
