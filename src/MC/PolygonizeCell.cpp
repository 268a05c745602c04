// Marching cubes in one cell (Lorensen and Cline 1987, tables of Bourke), in the cell's mirrored frame.
//
// A cell with a negative coordinate is traversed as its mirror image in the positive octant and mirrored back at the end: its samples
// are copied mirrored, and everything in between knows only the frame. Positions are made as the distance from the origin plane and
// then given their sign, so both sides of a symmetric volume carry the same digits.
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
constexpr int KeyStride[3] = {1, CellEdge, CellEdge * CellEdge}, KeyAxis = CellSamples, KeyCount = 3 * CellSamples;

struct EdgeInfo {
  uint16_t Key;    // offset of the key from that of the voxel
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
    edges[e] = {uint16_t(low(0) + CellEdge * low(1) + CellEdge * CellEdge * low(2) + KeyAxis * axis), uint8_t(axis), uint8_t(low(0)),
                uint8_t(low(1)), uint8_t(low(2))};
  }
  return edges;
}
constexpr std::array<EdgeInfo, 12> Edges = MakeEdges();

// An edge is met first by the voxel of lowest z, y, x that has it. Every voxel that has a crossed edge is visited, so the position
// alone tells which edges of a voxel are new: those on its near faces only where the voxel lies at the near side of the cell.
// Index: bit 0 x > 0, bit 1 y > 0, bit 2 z > 0.
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

// --- work buffers --------------------------------------------------------------------------------------------------------

struct NewVertex {
  uint8_t x, y, z, Axis;  // lower end of the edge in the frame
};

struct Work {
  alignas(32) uint16_t Packed[CellSamples + 39];  // frame samples in block order, padded for whole vectors
  uint16_t Frame[FramePlane * FrameEdge];
  uint16_t NumberOf[KeyCount];                    // vertex of a crossed edge
  uint16_t Rows[CellEdge * CellEdge];             // 9 bits a row: inside
  NewVertex Vertices[KeyCount];
  uint16_t Indices[512 * 15 + 16];
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

void CopyMirrored(const uint16_t* density, const MirrorFrame& frame, uint16_t* packed) {
  if (!frame.Negative[0] && !frame.Negative[1] && !frame.Negative[2]) {
    std::memcpy(packed, density, CellSamples * sizeof(uint16_t));
    return;
  }
  for (int z = 0; z < CellEdge; z++)
    for (int y = 0; y < CellEdge; y++) {
      const uint16_t* in = density + SampleIndex(0, frame.Negative[1] ? 8 - y : y, frame.Negative[2] ? 8 - z : z);
      uint16_t* out = packed + SampleIndex(0, y, z);
      if (frame.Negative[0])
        ReverseRow(in, out);
      else
        std::memcpy(out, in, CellEdge * sizeof(uint16_t));
    }
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
  uint32_t Vertices = 0, Indices = 0;
};

/// Walks the voxels that the surface crosses, z outermost, and writes new vertices and triangle corners.
Counts March(Work& work, bool flip) {
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
        const uint32_t cubeCase = pair(r0) | uint32_t(SwapPair[pair(r1)]) << 2 | pair(r2) << 4 | uint32_t(SwapPair[pair(r3)]) << 6;
        uint16_t* numbers = work.NumberOf + x + CellEdge * y + CellEdge * CellEdge * z;
        const int nearSides = (x > 0) | (y > 0) << 1 | (z > 0) << 2;
        for (uint32_t fresh = edgeTable[cubeCase] & NewEdges[nearSides]; fresh; fresh &= fresh - 1) {
          const EdgeInfo& edge = Edges[std::countr_zero(fresh)];
          work.Vertices[counts.Vertices] = {uint8_t(x + edge.x), uint8_t(y + edge.y), uint8_t(z + edge.z), edge.Axis};
          numbers[edge.Key] = uint16_t(counts.Vertices++);
        }
        const int8_t* row = triTable[cubeCase];
        const int total = numVertsTable[cubeCase];
        uint16_t* out = work.Indices + counts.Indices;
        if (flip)
          for (int i = 0; i < total; i++) out[i] = numbers[Edges[row[total - 1 - i]].Key];
        else
          for (int i = 0; i < total; i++) out[i] = numbers[Edges[row[i]].Key];
        counts.Indices += uint32_t(total);
      }
    }
  return counts;
}

/// Fills the frame block: the cell's own samples and the planes 9 and 10 of the far neighbours.
void FillFrame(const VolumeObject& volume, const MirrorFrame& frame, Work& work, CellTable::Cursor& cursor) {
  for (int z = 0; z < CellEdge; z++)
    for (int y = 0; y < CellEdge; y++)
      std::memcpy(work.Frame + FrameIndex(0, y, z), work.Packed + SampleIndex(0, y, z), CellEdge * sizeof(uint16_t));
  for (int axis = 0; axis < 3; axis++) {
    CellKey key = frame.Key;
    (axis == 0 ? key.x : axis == 1 ? key.y : key.z) += frame.Negative[axis] ? -1 : 1;
    const VoxelCell* cell = volume.Cells.Find(key, cursor);
    if (!cell && volume.Reference) cell = volume.Reference->FindCell(key);
    const bool uniform = !cell || !cell->Density || cell->Has(FillPending);
    const uint16_t value = cell ? cell->UniformValue : 0;
    const int other[2] = {axis == 0 ? 1 : 0, axis == 2 ? 1 : 2};
    for (int plane = 1; plane <= 2; plane++)
      for (int v = 0; v < CellEdge; v++)
        for (int u = 0; u < CellEdge; u++) {
          uint16_t sample = value;
          const int at = (CellSize + plane) * FrameStride[axis] + u * FrameStride[other[0]] + v * FrameStride[other[1]];
          if (!uniform) {
            int q[3];
            q[axis] = plane;
            q[other[0]] = u;
            q[other[1]] = v;
            for (int i = 0; i < 3; i++)
              if (frame.Negative[i]) q[i] = CellSize - q[i];
            sample = cell->Density[SampleIndex(q[0], q[1], q[2])];
          }
          work.Frame[at] = sample;
        }
  }
}

/// Value on a grid line of the frame: `line` is its sample 0. The same arithmetic as SampleGridEdge.
inline double OnLine(const uint16_t* line, int stride, double local, int axis) {
  const double low = std::floor(local + OnSample), rest = local - low;
  const uint16_t* at = line + int(low) * stride;
  if (rest > OnSample || (axis == 0 && rest > 0)) return Lerp(at[0], at[stride], rest);
  if (axis == 0 && rest < 0) return Lerp(at[-stride], at[0], 1 + rest);
  return at[0];
}

/// Gradient in the frame at a vertex on a grid edge, by forward differences away from the origin planes; as GetNormal makes it.
/// False where GetNormal would take another road: on an origin plane and in saturated areas.
bool FindFrameGradient(const Work& work, const MirrorFrame& frame, const NewVertex& v, float along, double g[3]) {
  const int low[3] = {v.x, v.y, v.z};
  int lineStart = 0;
  for (int axis = 0; axis < 3; axis++) {
    if (axis == v.Axis) continue;
    if (frame.Cell[axis] == 0 && low[axis] == 0) return false;
    lineStart += low[axis] * FrameStride[axis];
  }
  const uint16_t* line = work.Frame + lineStart;
  const int stride = FrameStride[v.Axis];
  const double base = double(frame.Cell[v.Axis]) * CellSize;
  const double local = along - base, next = double(along + 1.0f) - base;
  const double here = OnLine(line, stride, local, v.Axis);
  for (int axis = 0; axis < 3; axis++)
    g[axis] = (axis == v.Axis ? OnLine(line, stride, next, axis) : OnLine(line + FrameStride[axis], stride, local, v.Axis)) - here;
  return GradientLength(g) >= ShortestGradient;
}

// Up to here a float holds every voxel coordinate and its successor exactly, which the short road to the normals counts on.
constexpr int32_t ExactCells = 1 << 19;

struct VertexMaker {
  const VolumeObject& Volume;
  const MirrorFrame& Frame;
  const Work& Buffers;
  bool Exact;
  VolumeObject::Cursor& Cursor;

  VolumeVertex Make(const NewVertex& v) const {
    const uint16_t* low = Buffers.Packed + SampleIndex(v.x, v.y, v.z);
    const float va = float(low[0]) - 32768 + 0.5f, vb = float(low[KeyStride[v.Axis]]) - 32768 + 0.5f;
    const float t = -va / (vb - va);
    const int edge[3] = {v.x, v.y, v.z};
    float distance[3], position[3];
    for (int axis = 0; axis < 3; axis++) {
      const double whole = double(Frame.Cell[axis]) * CellSize + edge[axis];
      distance[axis] = float(axis == v.Axis ? whole + double(t) : whole);
      position[axis] = Frame.Negative[axis] ? 0 - distance[axis] : distance[axis];
    }
    VolumeVertex out{position[0], position[1], position[2], 0, 0, 0, KeyOf(v), 0};
    double g[3];
    if (Exact && FindFrameGradient(Buffers, Frame, v, distance[v.Axis], g)) {
      for (int axis = 0; axis < 3; axis++)
        if (Frame.Negative[axis]) g[axis] = 0 - g[axis];  // never a negative zero
      SetNormal(out, GradientToNormal(g, {out.x, out.y, out.z}));
    } else {
      SetNormal(out, Volume.GetNormal(out.x, out.y, out.z, Cursor));
    }
    return out;
  }

 private:
  static void SetNormal(VolumeVertex& v, const comms::cVec3& n) {
    v.nx = n.x;
    v.ny = n.y;
    v.nz = n.z;
  }
  /// Key of the edge in the cell's own frame, where it lies on the cell's boundary.
  uint16_t KeyOf(const NewVertex& v) const {
    const int edge[3] = {v.x, v.y, v.z};
    bool boundary = false;
    int key = KeyAxis * v.Axis;
    for (int axis = 0; axis < 3; axis++) {
      const int extent = axis == v.Axis ? 1 : 0;  // the lower end of a mirrored edge is the mirrored upper end
      if (!extent && (edge[axis] == 0 || edge[axis] == CellSize)) boundary = true;
      key += KeyStride[axis] * (Frame.Negative[axis] ? CellSize - edge[axis] - extent : edge[axis]);
    }
    return boundary ? uint16_t(key) : InteriorEdge;
  }
};

}  // namespace

VoxelCell* VolumeObject::PolygonizeCell(int32_t x, int32_t y, int32_t z) {
  const CellKey key{x, y, z};
  VoxelCell* cell = FindCell(key);
  if (!cell) return nullptr;
  if (m_IdsCurrent.load(std::memory_order_relaxed)) m_IdsCurrent.store(false, std::memory_order_relaxed);
  if (!cell->CrossesSurface() || !cell->Density || cell->Has(FillPending)) {
    if (SurfaceData* surface = cell->Surface) {
      surface->Indices.Free();
      surface->Vertices.Free();
      surface->VertexIds.Free();
      surface->Box = {};
    }
    return cell;
  }
  thread_local Work work;
  const MirrorFrame frame(key);
  CopyMirrored(cell->Density, frame, work.Packed);
  FindRows(work.Packed, work.Rows);
  const Counts counts = March(work, frame.Flip());

  Cursor cursor;
  FillFrame(*this, frame, work, cursor.Table);
  const bool exact = frame.Cell[0] < ExactCells && frame.Cell[1] < ExactCells && frame.Cell[2] < ExactCells;
  const VertexMaker maker{*this, frame, work, exact, cursor};
  for (uint32_t i = 0; i < counts.Vertices; i++) work.Finished[i] = maker.Make(work.Vertices[i]);

  AllocateSurface(*cell);
  SurfaceData& surface = *cell->Surface;
  surface.Indices.Assign(work.Indices, counts.Indices);
  surface.Vertices.Assign(work.Finished, counts.Vertices);
  surface.VertexIds.Free();
  surface.UpdateBox();
  return cell;
}
