// Marching cubes in one cell (Lorensen and Cline 1987, tables of Bourke), in the cell's mirrored frame.
//
// A cell with a negative coordinate is traversed as its mirror image in the positive octant and mirrored back at the end: its
// samples are copied mirrored, and everything in between knows only the frame. Positions are made as the distance from the origin
// plane and then given their sign, so both sides of a symmetric volume carry the same digits.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "MC/MarchingCubesTables.h"
#include "MC/SampleMath.h"
#include "MC/VolumeObject.h"

#ifdef __AVX2__
#include <immintrin.h>
#endif

namespace {

// --- constant tables -----------------------------------------------------------------------------------------------------

// Samples of the frame with two planes more on the far side of each axis, where the normals look.
constexpr int FrameEdge = 11, FramePlane = FrameEdge * FrameEdge;
constexpr int FrameStride[3] = {1, FrameEdge, FramePlane};
inline constexpr int FrameIndex(int x, int y, int z) { return z * FramePlane + y * FrameEdge + x; }

// Edges are numbered by their lower end and axis, as EdgeKey does.
constexpr int KeyStride[3] = {1, CellEdge, CellEdge*CellEdge}, KeyAxis = CellSamples, KeyCount = 3 * CellSamples;

struct EdgeInfo {
  uint16_t Key;  // offset of the key from that of the voxel
  uint8_t Axis;
  uint8_t x, y, z;  // lower end within the voxel
};

constexpr std::array<EdgeInfo, 12> MakeEdges() {
  std::array<EdgeInfo, 12> edges{};
  for (int e = 0; e < 12; e++) {
    const int8_t* a = CornerOffset[EdgeCorners[e][0]];
    const int8_t* b = CornerOffset[EdgeCorners[e][1]];
    const int axis = a[0] != b[0] ? 0 : a[1] != b[1] ? 1 : 2;
    auto low = [&](int i) { return a[i] < b[i] ? a[i] : b[i]; };
    edges[e] = {uint16_t(low(0) + CellEdge * low(1) + CellEdge * CellEdge * low(2) + KeyAxis * axis), uint8_t(axis),
                uint8_t(low(0)), uint8_t(low(1)), uint8_t(low(2))};
  }
  return edges;
}
constexpr std::array<EdgeInfo, 12> Edges = MakeEdges();

// An edge is met first by the voxel of lowest z, y, x that has it. Every voxel that has a crossed edge is visited, so the
// position alone tells which edges of a voxel are new: those on its near faces only where the voxel lies at the near side of the
// cell. Index: bit 0 x > 0, bit 1 y > 0, bit 2 z > 0.
constexpr std::array<uint16_t, 8> MakeNewEdges() {
  std::array<uint16_t, 8> masks{};
  for (int m = 0; m < 8; m++)
    for (int e = 0; e < 12; e++) {
      const EdgeInfo& edge = Edges[e];
      const bool seen = ((m & 1) && edge.Axis != 0 && edge.x == 0) || ((m & 2) && edge.Axis != 1 && edge.y == 0) ||
                        ((m & 4) && edge.Axis != 2 && edge.z == 0);
      if (!seen) masks[m] |= uint16_t(1 << e);
    }
  return masks;
}
constexpr std::array<uint16_t, 8> NewEdges = MakeNewEdges();

constexpr uint8_t SwapPair[4] = {0, 2, 1, 3};  // corners 2 and 3 run against x

// The rows of triTable as offsets of edge keys, forwards and backwards, filled up with zeros.
struct KeyRows {
  uint16_t Keys[256][16];
};
KeyRows MakeKeyRows(bool reversed) {
  KeyRows rows{};
  for (int c = 0; c < 256; c++)
    for (int i = 0, total = numVertsTable[c]; i < total; i++)
      rows.Keys[c][i] = Edges[uint8_t(triTable[c][reversed ? total - 1 - i : i])].Key;
  return rows;
}
const KeyRows ForwardRows = MakeKeyRows(false), ReversedRows = MakeKeyRows(true);

// --- work buffers --------------------------------------------------------------------------------------------------------

struct NewVertex {
  uint16_t Number;
  uint8_t x, y, z;  // lower end of the edge in the frame
};

struct Work {
  alignas(32) uint16_t Packed[CellSamples + 39];  // frame samples in block order, padded for whole vectors
  uint16_t Frame[FramePlane * FrameEdge];
  uint16_t Uniform[CellSamples];       // stands for a neighbour without a block
  uint16_t NumberOf[KeyCount];         // vertex of a crossed edge
  uint16_t Rows[CellEdge * CellEdge];  // 9 bits a row: inside
  NewVertex Vertices[3][CellSamples];  // by the axis of their edge
  uint16_t Indices[512 * 15 + 16];     // whole rows are written
  VolumeVertex Finished[KeyCount];
};

// --- stages --------------------------------------------------------------------------------------------------------------

struct MirrorFrame {
  explicit MirrorFrame(const CellKey& cell) : Key(cell), Negative{cell.x < 0, cell.y < 0, cell.z < 0} {
    Cell[0] = cell.x < 0 ? ~cell.x : cell.x;
    Cell[1] = cell.y < 0 ? ~cell.y : cell.y;
    Cell[2] = cell.z < 0 ? ~cell.z : cell.z;
  }
  CellKey Key;
  bool Negative[3];
  int32_t Cell[3];  // cell coordinate in the frame, not negative
  bool Flip() const { return Negative[0] ^ Negative[1] ^ Negative[2]; }
};

void ReverseRow(const uint16_t* in, uint16_t* out) {
#ifdef __AVX2__
  const __m128i order = _mm_setr_epi8(14, 15, 12, 13, 10, 11, 8, 9, 6, 7, 4, 5, 2, 3, 0, 1);
  const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 1));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_shuffle_epi8(v, order));
  out[8] = in[0];
#else
  for (int x = 0; x < CellEdge; x++) out[x] = in[8 - x];
#endif
}

/// The samples of a block along x, at y and z of the frame.
void CopyRow(const uint16_t* density, const MirrorFrame& frame, int y, int z, uint16_t* out) {
  const uint16_t* in = density + SampleIndex(0, frame.Negative[1] ? CellSize - y : y, frame.Negative[2] ? CellSize - z : z);
  if (frame.Negative[0])
    ReverseRow(in, out);
  else
    std::memcpy(out, in, CellEdge * sizeof(uint16_t));
}

void CopyMirrored(const uint16_t* density, const MirrorFrame& frame, uint16_t* packed) {
  if (!frame.Negative[0] && !frame.Negative[1] && !frame.Negative[2]) {
    std::memcpy(packed, density, CellSamples * sizeof(uint16_t));
    return;
  }
  for (int z = 0; z < CellEdge; z++)
    for (int y = 0; y < CellEdge; y++) CopyRow(density, frame, y, z, packed + SampleIndex(0, y, z));
}

/// One bit a sample, set inside, gathered to rows of 9.
void FindRows(const uint16_t* packed, uint16_t* rows) {
  uint64_t bits[13] = {};
#ifdef __AVX2__
  for (int i = 0; i < 23; i++) {
    const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(packed + 32 * i));
    const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(packed + 32 * i + 16));
    const __m256i signs = _mm256_permute4x64_epi64(_mm256_packs_epi16(a, b), 0xD8);  // packing keeps the sign
    bits[i / 2] |= uint64_t(uint32_t(_mm256_movemask_epi8(signs))) << (i % 2 * 32);
  }
#else
  for (int i = 0; i < CellSamples; i++) bits[i / 64] |= uint64_t(packed[i] >= SurfaceLevel) << (i % 64);
#endif
  for (int row = 0; row < CellEdge * CellEdge; row++) {
    const int at = row * CellEdge, word = at / 64, shift = at % 64;
    const uint64_t low = bits[word] >> shift, high = shift > 55 ? bits[word + 1] << (64 - shift) : 0;
    rows[row] = uint16_t((low | high) & 0x1FF);
  }
}

struct Counts {
  uint32_t OfAxis[3] = {}, Vertices = 0, Indices = 0;
};

/// Walks the voxels that the surface crosses, z outermost, and writes new vertices and triangle corners.
Counts March(Work& work, const KeyRows& rows) {
  Counts counts;
  for (int z = 0; z < CellSize; z++)
    for (int y = 0; y < CellSize; y++) {
      const uint16_t* r = work.Rows + z * CellEdge + y;
      const uint32_t r0 = r[0], r1 = r[1], r2 = r[CellEdge], r3 = r[CellEdge + 1];
      const uint32_t all = r0 & r1 & r2 & r3, any = r0 | r1 | r2 | r3;
      uint32_t active = (any | any >> 1) & ~(all & all >> 1) & 0xFF;
      for (; active; active &= active - 1) {
        const int x = std::countr_zero(active);
        auto pair = [x](uint32_t row) { return ~row >> x & 3; };  // outside bits of the corners at x and x + 1
        const uint32_t cubeCase =
            pair(r0) | uint32_t(SwapPair[pair(r1)]) << 2 | pair(r2) << 4 | uint32_t(SwapPair[pair(r3)]) << 6;
        uint16_t* numbers = work.NumberOf + x + CellEdge * y + CellEdge * CellEdge * z;
        const int nearSides = (x > 0) | (y > 0) << 1 | (z > 0) << 2;
        for (uint32_t fresh = edgeTable[cubeCase] & NewEdges[nearSides]; fresh; fresh &= fresh - 1) {
          const EdgeInfo& edge = Edges[std::countr_zero(fresh)];
          const uint16_t number = uint16_t(counts.Vertices++);
          work.Vertices[edge.Axis][counts.OfAxis[edge.Axis]++] = {number, uint8_t(x + edge.x), uint8_t(y + edge.y),
                                                                  uint8_t(z + edge.z)};
          numbers[edge.Key] = number;
        }
        // Two triangles are written in any case, which is what most voxels have; what is too much is written over.
        const uint16_t* keys = rows.Keys[cubeCase];
        uint16_t* out = work.Indices + counts.Indices;
        for (int i = 0; i < 6; i++) out[i] = numbers[keys[i]];
        const uint32_t total = numVertsTable[cubeCase];
        for (uint32_t i = 6; i < total; i++) out[i] = numbers[keys[i]];
        counts.Indices += total;
      }
    }
  return counts;
}

/// The block of the cell beyond the far side of one axis; where that is uniform or missing, `uniform` filled with its value.
const uint16_t* FarBlock(const VolumeObject& volume, const MirrorFrame& frame, int axis, CellTable::Cursor& cursor,
                         uint16_t* uniform) {
  CellKey key = frame.Key;
  (axis == 0 ? key.x : axis == 1 ? key.y : key.z) += frame.Negative[axis] ? -1 : 1;
  const VoxelCell* cell = volume.Cells.Find(key, cursor);
  if (!cell && volume.Reference) cell = volume.Reference->FindCell(key);
  if (cell && cell->HasSamples()) return cell->Density;
  std::fill_n(uniform, CellSamples, cell ? cell->UniformValue : uint16_t(0));
  return uniform;
}

/// Fills the frame block: the cell's own samples, and planes 9 and 10 from the far neighbours' planes 1 and 2.
void FillFrame(const VolumeObject& volume, const MirrorFrame& frame, Work& work, CellTable::Cursor& cursor) {
  for (int z = 0; z < CellEdge; z++)
    for (int y = 0; y < CellEdge; y++)
      std::memcpy(work.Frame + FrameIndex(0, y, z), work.Packed + SampleIndex(0, y, z), CellEdge * sizeof(uint16_t));
  const uint16_t* farX = FarBlock(volume, frame, 0, cursor, work.Uniform);
  for (int z = 0; z < CellEdge; z++)
    for (int y = 0; y < CellEdge; y++) {
      const uint16_t* row = farX + SampleIndex(0, frame.Negative[1] ? CellSize - y : y, frame.Negative[2] ? CellSize - z : z);
      uint16_t* out = work.Frame + FrameIndex(CellEdge, y, z);
      out[0] = row[frame.Negative[0] ? CellSize - 1 : 1];
      out[1] = row[frame.Negative[0] ? CellSize - 2 : 2];
    }
  const uint16_t* farY = FarBlock(volume, frame, 1, cursor, work.Uniform);
  for (int z = 0; z < CellEdge; z++)
    for (int plane = 1; plane <= 2; plane++) CopyRow(farY, frame, plane, z, work.Frame + FrameIndex(0, CellSize + plane, z));
  const uint16_t* farZ = FarBlock(volume, frame, 2, cursor, work.Uniform);
  for (int plane = 1; plane <= 2; plane++)
    for (int y = 0; y < CellEdge; y++) CopyRow(farZ, frame, y, plane, work.Frame + FrameIndex(0, y, CellSize + plane));
}

/// Value on a grid line of the frame along `Axis`: `line` is its sample 0. The same arithmetic as SampleGridEdge.
template <int Axis>
double OnLine(const uint16_t* line, double local) {
  constexpr int stride = FrameStride[Axis];
  const double low = std::floor(local + OnSample), rest = local - low;
  const uint16_t* at = line + int(low) * stride;
  if (rest > OnSample || (Axis == 0 && rest > 0)) return Lerp(at[0], at[stride], rest);
  if (Axis == 0 && rest < 0) return Lerp(at[-stride], at[0], 1 + rest);
  return at[0];
}

// Up to here a float holds every voxel coordinate and its successor exactly, which the short road to the normals counts on.
constexpr int32_t ExactCells = 1 << 19;

/// Makes the vertices on edges along one axis. U and V are the other two.
template <int Axis>
class VertexMaker {
 public:
  VertexMaker(const VolumeObject& volume, const MirrorFrame& frame, Work& work, VolumeObject::Cursor& cursor)
      : m_Volume(volume), m_Frame(frame), m_Work(work), m_Cursor(cursor) {
    m_Exact = true;
    for (int axis = 0; axis < 3; axis++) {
      m_Base[axis] = double(frame.Cell[axis]) * CellSize;
      m_Sign[axis] = frame.Negative[axis] ? -1.0f : 1.0f;
      m_Exact &= frame.Cell[axis] < ExactCells;
    }
  }

  void Make(const NewVertex& v) const {
    const int edge[3] = {v.x, v.y, v.z};
    const uint16_t* low = m_Work.Packed + SampleIndex(v.x, v.y, v.z);
    const float va = float(low[0]) - 32768 + 0.5f, vb = float(low[KeyStride[Axis]]) - 32768 + 0.5f;
    const float t = -va / (vb - va);
    // Distances from the origin planes; adding zero takes the sign from a negative zero.
    float distance[3], position[3];
    for (int axis = 0; axis < 3; axis++) {
      const double whole = m_Base[axis] + edge[axis];
      distance[axis] = float(axis == Axis ? whole + double(t) : whole);
      position[axis] = distance[axis] * m_Sign[axis] + 0.0f;
    }
    double g[3];
    comms::cVec3 normal;
    if (m_Exact && FindGradient(edge, distance[Axis], g)) {
      for (int axis = 0; axis < 3; axis++) g[axis] = g[axis] * m_Sign[axis] + 0.0;
      normal = GradientToNormal(g, {position[0], position[1], position[2]});
    } else {
      normal = m_Volume.GetNormal(position[0], position[1], position[2], m_Cursor);
    }
    m_Work.Finished[v.Number] = {position[0], position[1], position[2], normal.x, normal.y, normal.z, KeyOf(edge), 0};
  }

 private:
  static constexpr int U = Axis == 0 ? 1 : 0, V = Axis == 2 ? 1 : 2;

  /// Gradient in the frame by forward differences away from the origin planes; as GetNormal makes it. False where GetNormal takes
  /// another road: on an origin plane and in saturated areas.
  bool FindGradient(const int edge[3], float along, double g[3]) const {
    if ((edge[U] | m_Frame.Cell[U]) == 0 || (edge[V] | m_Frame.Cell[V]) == 0) return false;
    const uint16_t* line = m_Work.Frame + edge[U] * FrameStride[U] + edge[V] * FrameStride[V];
    const double local = along - m_Base[Axis], next = double(along + 1.0f) - m_Base[Axis];
    const double here = OnLine<Axis>(line, local);
    g[Axis] = OnLine<Axis>(line, next) - here;
    g[U] = OnLine<Axis>(line + FrameStride[U], local) - here;
    g[V] = OnLine<Axis>(line + FrameStride[V], local) - here;
    return GradientLength(g) >= ShortestGradient;
  }

  /// Key of the edge in the cell's own frame, where it lies on the cell's boundary.
  uint16_t KeyOf(const int edge[3]) const {
    if ((edge[U] & 7) && (edge[V] & 7)) return InteriorEdge;
    int key = KeyAxis * Axis;
    for (int axis = 0; axis < 3; axis++) {
      const int extent = axis == Axis ? 1 : 0;  // the lower end of a mirrored edge is the mirrored upper end
      key += KeyStride[axis] * (m_Frame.Negative[axis] ? CellSize - edge[axis] - extent : edge[axis]);
    }
    return uint16_t(key);
  }

  const VolumeObject& m_Volume;
  const MirrorFrame& m_Frame;
  Work& m_Work;
  VolumeObject::Cursor& m_Cursor;
  double m_Base[3];
  float m_Sign[3];
  bool m_Exact;
};

template <int Axis>
void MakeVertices(const VolumeObject& volume, const MirrorFrame& frame, Work& work, uint32_t count,
                  VolumeObject::Cursor& cursor) {
  const VertexMaker<Axis> maker(volume, frame, work, cursor);
  for (uint32_t i = 0; i < count; i++) maker.Make(work.Vertices[Axis][i]);
}

}  // namespace

VoxelCell* VolumeObject::PolygonizeCell(int32_t x, int32_t y, int32_t z) {
  const CellKey key{x, y, z};
  VoxelCell* cell = FindCell(key);
  if (!cell) return nullptr;
  if (m_IdsCurrent.load(std::memory_order_relaxed)) m_IdsCurrent.store(false, std::memory_order_relaxed);
  if (!cell->CrossesSurface() || !cell->HasSamples()) {
    if (SurfaceData* surface = cell->Surface) {
      surface->Mesh.Free();
      surface->VertexIds.Free();
      surface->Box = {};
    }
    return cell;
  }
  thread_local Work work;
  const MirrorFrame frame(key);
  CopyMirrored(cell->Density, frame, work.Packed);
  FindRows(work.Packed, work.Rows);
  const Counts counts = March(work, frame.Flip() ? ReversedRows : ForwardRows);
  Cursor cursor;
  FillFrame(*this, frame, work, cursor.Table);
  MakeVertices<0>(*this, frame, work, counts.OfAxis[0], cursor);
  MakeVertices<1>(*this, frame, work, counts.OfAxis[1], cursor);
  MakeVertices<2>(*this, frame, work, counts.OfAxis[2], cursor);

  AllocateSurface(*cell);
  SurfaceData& surface = *cell->Surface;
  surface.Mesh.Assign({work.Finished, counts.Vertices}, {work.Indices, counts.Indices});
  surface.VertexIds.Free();
  surface.UpdateBox();
  return cell;
}
