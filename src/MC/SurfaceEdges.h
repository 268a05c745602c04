#pragma once
// Connectivity of a volume's whole surface: its directed edges by vertex id.
#include <cstdint>
#include <span>
#include <vector>

#include "MC/SurfaceCells.h"

class SurfaceEdges {
 public:
  /// One side of one triangle, from the vertex whose bucket it lies in.
  struct Side {
    uint32_t To;              ///< id at the other end, low 31 bits
    uint32_t TriangleCorner;  ///< triangle within the cell (24 bits), the corner where the side begins (8 bits on top)
    uint32_t Cell;            ///< index in Cells()
    uint32_t Triangle() const { return TriangleCorner & 0xFFFFFF; }
    uint32_t Corner() const { return TriangleCorner >> 24; }
  };

  /// Assigns the vertex ids where they are not current. O(triangles) time, 12 bytes a side and 4 a vertex.
  explicit SurfaceEdges(VolumeObject& volume);

  uint32_t VertexCount() const { return uint32_t(m_First.size() - 1); }
  const std::vector<SurfaceCell>& Cells() const { return m_Cells; }
  /// All sides that begin at a vertex (id without the top bit).
  std::span<const Side> From(uint32_t id) const { return {m_Sides.data() + m_First[id], m_Sides.data() + m_First[id + 1]}; }
  /// The side from one vertex to another; null when there is none. Of several the first in cell order.
  const Side* Find(uint32_t from, uint32_t to) const;

 private:
  std::vector<SurfaceCell> m_Cells;
  std::vector<uint32_t> m_First;  // per id, one more at the end
  std::vector<Side> m_Sides;
};
