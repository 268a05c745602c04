#pragma once
// Any triangle mesh becomes density: depth lists along three axes tell for every sample how far the surface is on its three rays,
// and the three distances together give the distance to a plane that crosses them. No ray casts, no flood fill, no distance
// queries.
//
// A mesh need not be sound. Overlapping shells unite, a shell turned inside out is solid all the same, a shell inside another
// that is turned against it is a cavity. Rays that meet the surface an odd number of times, at holes, say nothing; the other two
// axes decide. An open sheet is made solid on purpose by a material of one side.
#include <cstdint>
#include <string>
#include <vector>

#include "MC/VolRastr.h"
#include "comms/Vec.h"
#include "comms/cRawMesh.h"

class VolumeObject;

/// Triangles as index triples into positions. The arrays belong to the caller and must outlive the use.
struct TriangleView {
  const comms::cVec3* Positions = nullptr;
  size_t PositionCount = 0;
  const int32_t* Corners = nullptr;  ///< 3 * TriangleCount
  size_t TriangleCount = 0;
};

struct VoxelizeReport {
  int64_t Triangles = 0;
  int64_t Rays = 0;         ///< rays of the three axes that met the surface
  int64_t SkippedRays = 0;  ///< of these, the ones with an odd count of hits: 0 for a closed mesh
  int64_t ChangedCells = 0;
  double LongestSide = 0;  ///< of the box of all triangles, in voxels
  bool Cancelled = false;
};

/// The memory that a voxelisation may take; 0 stands for what AvailableMemory tells.
struct VoxelizeLimits {
  int64_t Bytes = 0;
};

/// Collects triangles and merges their solid into a volume.
class MeshVoxelizer {
 public:
  explicit MeshVoxelizer(const VoxelizeLimits& limits = {}) : m_Limits(limits) {}

  /// Voxel space. Materials from OneSided on make a surface of one side, see MC/VolRastr.h.
  void AddTriangle(const comms::cVec3& a, const comms::cVec3& b, const comms::cVec3& c, uint16_t material = 0);
  /// Refers to the arrays until Run has returned.
  void AddMesh(const TriangleView& mesh, const VoxelMapping& mapping = {}, uint16_t material = 0);

  /// Merges the solid of all triangles by `mode` (ApplyMode of MC/ApplyField.h). Cells that change are backed up once a stroke
  /// where `backup` is set, and marked changed; FrozenCell cells and the samples that others share with them stay as they are.
  ///
  /// False, with one sentence in Error and the volume untouched: indices out of range, coordinates that are not finite or lie
  /// beyond RasterRange, more memory than the limit. False with Report.Cancelled and no sentence when the person stopped it; the
  /// volume is untouched then as well. Without triangles there is nothing to do.
  ///
  /// `parallel` false runs on the calling thread; the result is the same to the last bit. Call it from the main thread.
  bool Run(VolumeObject* target, int32_t mode, bool parallel, bool backup = true);

  std::string Error;
  VoxelizeReport Report;

 private:
  struct Source {
    TriangleView Mesh;
    VoxelMapping Mapping;
    uint16_t Material = 0;
  };
  struct Singles {  // triangles that were added one by one, of one material
    uint16_t Material = 0;
    std::vector<comms::cVec3> Positions;
    std::vector<int32_t> Corners;
  };
  std::vector<Source> Sources() const;
  bool RunStages(VolumeObject& target, int32_t mode, bool backup);
  VoxelizeLimits m_Limits;
  std::vector<Source> m_Sources;
  std::vector<Singles> m_Singles;
};

struct VoxelizeOptions {
  double Resolution = 256;  ///< voxels along the longest side of the mesh's box; used where VoxelSize is 0
  double VoxelSize = 0;     ///< edge of a voxel in the mesh's units
  bool Parallel = true;
  VoxelizeLimits Limits;
};

/// Fills an empty volume with the solid of a mesh and sets its SpaceMatrix: the voxel size as a uniform scale and, for a mesh
/// that lies more than 16384 voxels from the origin, a translation by whole voxels, as near as a float comes to it. So a mesh
/// that is symmetric about the origin gives a symmetric volume. False as MeshVoxelizer::Run, with the sentence in `error`.
bool VoxelizeMesh(const TriangleView& mesh, const VoxelizeOptions& options, VolumeObject& volume, VoxelizeReport& report,
                  std::string& error);
/// All polygons as fans of triangles, three position indices each. False with one sentence in `error` where the stream of
/// polygons is not whole; the indices are not looked at.
bool CutIntoTriangles(const comms::cRawMesh& mesh, std::vector<int32_t>& corners, std::string& error);
/// The same for the polygons of a mesh, cut into triangles.
bool VoxelizeMesh(const comms::cRawMesh& mesh, const VoxelizeOptions& options, VolumeObject& volume, VoxelizeReport& report,
                  std::string& error);
