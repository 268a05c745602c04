#pragma once
// The triangle rasteriser of the voxeliser: along each axis a ray runs through every voxel sample, and each ray collects the
// depths at which it meets the surface.
//
// Exactness is what makes the result watertight. Vertices are snapped to a fixed-point grid, the tests whether a ray meets a
// triangle are exact integer arithmetic, and a depth is the exact plane depth rounded once, so that it does not depend on which
// of two triangles at a common edge yields it. A ray through an edge or a vertex counts as moved by an infinitely small step
// towards the coordinate planes, in u more than in v (simulation of simplicity, Edelsbrunner and Muecke 1990); since the step
// turns with the sign of u and v, mirrored triangles give mirrored lists. Only on the planes u = 0 and v = 0 themselves a step
// must choose a side, the positive one: there the mirror image of a face that lies in the plane is not the mirror image of its
// list.
#include <cstdint>
#include <vector>

#include "MC/CellKey.h"
#include "comms/Vec.h"

/// Materials from OneSided on make a surface of one side: no solid that closes, but a skin with the solid behind it. The solid
/// lies before the skin along each axis; for OneSidedBehind beyond it. It is OneSidedVoxels deep.
inline constexpr uint16_t OneSided = 255, OneSidedBehind = 256;
inline constexpr int32_t OneSidedVoxels = 128;
/// Side of an entry: bit 1 where the ray enters the solid, bit 2 on a surface of one side.
enum EntrySide : int32_t { SideEnters = 1, SideIsSingle = 2 };
/// Side of a triangle of the given material that is turned so that rays enter through it (or leave).
inline int32_t SideOf(uint16_t material, bool enters) {
  if (material < OneSided) return enters ? SideEnters : 0;
  return material == OneSidedBehind ? SideIsSingle | SideEnters : SideIsSingle;
}

/// Units of snapped coordinates and of depths, a voxel.
inline constexpr int VertexShift = 12, DepthShift = 13;
inline constexpr int32_t VertexUnits = 1 << VertexShift, DepthUnits = 1 << DepthShift;
/// Coordinates beyond this many voxels can't be rasterised.
inline constexpr int32_t RasterRange = 1 << 16;

/// A vertex in VertexUnits; c[3] is not used.
struct alignas(16) SnappedVertex {
  int32_t c[4];
};

/// From a mesh's own coordinates to voxels: p * Scale + Shift.
struct VoxelMapping {
  double Scale = 1;
  double Shift[3] = {0, 0, 0};
  double Map(float p, int axis) const { return double(p) * Scale + Shift[axis]; }
};
/// Rounds to nearest even, which is odd in its argument: with no shift mirrored vertices stay mirrored.
SnappedVertex SnapVertex(const comms::cVec3& p, const VoxelMapping& mapping);

/// Where and how many: the rays of the three axes cover the cells of a box, the last sample plane included.
struct RasterFrame {
  CellKey FirstCell;
  int32_t Cells[3] = {0, 0, 0};
  int32_t FirstSample(int axis) const { return (axis == 0 ? FirstCell.x : axis == 1 ? FirstCell.y : FirstCell.z) * 8; }
  int32_t Samples(int axis) const { return Cells[axis] * 8 + 1; }
  /// The axes of a ray's u and v when it runs along `axis`.
  static int AxisU(int axis) { return axis == 0 ? 1 : 0; }
  static int AxisV(int axis) { return axis == 2 ? 1 : 2; }
  /// Rays are kept in bands of eight rows of v, as cells are.
  int32_t Bands(int axis) const { return Cells[AxisV(axis)] + 1; }
  size_t RayCount() const;
};

/// Cleaned depth lists of the rays of one band. A list alternates between entering and leaving the solid, rising, in DepthUnits.
/// A depth that stands twice is a surface with the same on both sides.
struct DepthBand {
  std::vector<uint32_t> Begin;  ///< per ray (row * Samples(u) + u), and the end
  std::vector<int32_t> Depths;
};

/// Depth lists of the three axes: what a rasterised mesh is before it becomes density.
struct DepthTables {
  RasterFrame Frame;
  std::vector<DepthBand> Bands[3];
  struct List {
    const int32_t* First;
    const int32_t* Last;
  };
  /// The list of the ray at (u, v), both relative to the frame's first sample.
  List Find(int axis, int32_t u, int32_t v) const {
    const DepthBand& band = Bands[axis][size_t(v >> 3)];
    const size_t ray = size_t(v & 7) * size_t(Frame.Samples(RasterFrame::AxisU(axis))) + size_t(u);
    return {band.Depths.data() + band.Begin[ray], band.Depths.data() + band.Begin[ray + 1]};
  }
};

/// Rays that met the surface, and those of them whose list had an odd count and was dropped: the mesh is open there.
struct RayCount {
  int64_t Hit = 0, Skipped = 0;
};

/// Unsorted entries of rays, by band, in chunks that are carved out of large slabs.
class EntryBins {
 public:
  struct Entry {
    uint32_t Ray;  ///< in its band
    int32_t Key;   ///< depth * 4 + side: RasterRange voxels just fit
  };
  explicit EntryBins(const RasterFrame& frame);
  ~EntryBins();
  EntryBins(const EntryBins&) = delete;
  EntryBins& operator=(const EntryBins&) = delete;

  void Append(int axis, int32_t band, const Entry& entry) {
    Bin& bin = m_Bins[axis][size_t(band)];
    if (bin.Next == bin.End) AddChunk(bin);
    *bin.Next++ = entry;
  }
  /// visit(first, last) for the runs of entries of a band.
  template <class Visit>
  void ForEachRun(int axis, int32_t band, Visit&& visit) const {
    const Bin& bin = m_Bins[axis][size_t(band)];
    for (const Entry* chunk : bin.Chunks) visit(chunk, chunk == bin.Chunks.back() ? bin.Next : chunk + ChunkEntries);
  }

 private:
  static constexpr size_t ChunkEntries = 512;
  struct Bin {
    Entry* Next = nullptr;
    Entry* End = nullptr;
    std::vector<Entry*> Chunks;
  };
  void AddChunk(Bin& bin);
  std::vector<Bin> m_Bins[3];
  std::vector<void*> m_Slabs;
  Entry* m_Fresh = nullptr;
  Entry* m_FreshEnd = nullptr;
};

/// Rasterises triangles along the three axes into the bins of one thread.
class VolRastr {
 public:
  explicit VolRastr(const RasterFrame& frame) : Bins(frame), m_Frame(frame) {}

  /// The vertices must lie within the frame.
  void AddTriangle(const SnappedVertex& a, const SnappedVertex& b, const SnappedVertex& c, uint16_t material = 0);
  /// Stores an entry for the active axis: (u, v) relative to the frame, depth in DepthUnits, side as SideOf has it.
  void PutPixel(int32_t u, int32_t v, int32_t depth, int32_t side) {
    Bins.Append(m_Axis, v >> 3, {uint32_t(v & 7) * uint32_t(m_RowRays) + uint32_t(u), depth * 4 + side});
  }

  EntryBins Bins;

 private:
  struct Projected;
  void RasterizeAlong(int axis, const SnappedVertex& a, const SnappedVertex& b, const SnappedVertex& c, uint16_t material);
  void FillRectangle(const Projected& t, int32_t u0, int32_t u1, int32_t v0, int32_t v1);
  template <class Wide>
  void FillRows(const Projected& t, const int64_t bias[3], int32_t u0, int32_t u1, int32_t v0, int32_t v1);

  const RasterFrame m_Frame;
  int m_Axis = 0;
  int32_t m_RowRays = 0;
};

/// Sorts and cleans the entries that the rasterisers collected for one band. Lists of odd count are dropped and counted. Where
/// the sides of a list balance, the entries at which the winding number leaves or reaches 0 are kept, so that overlapping shells
/// unite and faces that coincide with opposite sides vanish; where they do not, every second entry leaves (even-odd).
///
/// A list with an entry of a surface of one side may have any count: faces that coincide with opposite sides vanish, then each
/// entry says by itself what lies beyond it, up to the next one or OneSidedVoxels away; the first also says what lies before it.
void BuildBand(const RasterFrame& frame, int axis, int32_t band, const std::vector<const VolRastr*>& rasterisers,
               DepthBand& result, RayCount& count);
