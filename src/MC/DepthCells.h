#pragma once
// From depth lists to the samples of cells.
#include <cstdint>
#include <vector>

#include "MC/CellKey.h"
#include "MC/VolRastr.h"
#include "MC/VoxelCell.h"

/// What is known of a cell before its samples are computed.
enum class CellContent : uint8_t { Empty, Solid, Mixed };

/// Sorts the cells of the frame, x fastest. Empty and Solid are certain: all samples would be 0 or 65535. `rampWidth` in voxels.
std::vector<CellContent> ClassifyCells(const DepthTables& tables, int32_t rampWidth);

/// Computes the samples of cells; one per thread.
class CellSampler {
 public:
  CellSampler(const DepthTables& tables, int32_t rampWidth) : m_Tables(tables), m_RampWidth(rampWidth) {}

  /// Samples of the cell at `cell`, counted from the frame's first cell. Each axis gives a signed distance along its ray to the
  /// nearest end of the interval that holds the sample, in ramp widths, positive inside; outside by 10 and more it says nothing,
  /// as a ray without depths does. The distance is that of a plane that crosses the axes at these distances, its sign that of the
  /// longest one. Padded to whole vectors: `samples` holds Padded values.
  static constexpr int Padded = (CellSamples + 7) / 8 * 8;
  void Fill(const CellKey& cell, uint16_t* samples);

 private:
  static constexpr int Rays = CellEdge * CellEdge, Lanes = (Rays + 7) / 8 * 8;
  void FillAxis(int axis, const CellKey& cell);
  const DepthTables& m_Tables;
  const int32_t m_RampWidth;
  alignas(32) float m_Distance[3][Padded];
};
