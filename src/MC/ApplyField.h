#pragma once
// The one merge of the voxel room: a scalar field is evaluated at every sample of every cell that it reaches and merged into the
// density. Brushes, primitives, stamps and booleans all end here.
#include <cstdint>
#include <functional>
#include <type_traits>

#include "MC/CellKey.h"
#include "MC/Fields.h"
#include "MC/VolumeObject.h"
#include "MC/VoxelCell.h"

/// How a field value q (0 .. 65535) is merged into a sample v. With Airbrush every mode but add is max(0, v - q).
enum ApplyMode : int32_t {
  ApplyAdd = 0,        ///< max(v, q)
  ApplySubtract = 1,   ///< min(v, 65535 - q)
  ApplyIntersect = 2,  ///< min(v, q), and every cell that the field does not reach is wiped
};

struct ApplyOptions {
  static constexpr int32_t DefaultCellCap = 150000, SegmentCellCap = 3000000;
  int32_t Mode = ApplyAdd;
  bool Airbrush = false;
  bool Compare = false;    ///< only where the field differs from the density by at least 2; it may read the volume itself
  float BrushRadius = 32;  ///< voxels; cells are probed every 4 samples, every 2 where it is below 4, every one below 1
  int32_t CellCap = DefaultCellCap;             ///< the walk stops after so many cells: the guard against an unbounded field
  double LeastCells = 0;                        ///< the field is known to reach so many; above CellCap it is not even walked
  const std::function<bool()>* GoOn = nullptr;  ///< asked every few thousand cells; false stops. Null or empty: not asked
};

struct ApplyReport {
  int64_t VisitedCells = 0;  ///< cells that the walk probed
  int64_t TargetCells = 0;   ///< cells that the field reaches
  int64_t ChangedCells = 0;  ///< cells in which a sample changed; they were backed up and marked changed
  bool Capped = false;       ///< the walk stopped at CellCap
  bool Cancelled = false;    ///< GoOn stopped it
  friend ApplyReport operator+(const ApplyReport& a, const ApplyReport& b) {
    return {a.VisitedCells + b.VisitedCells, a.TargetCells + b.TargetCells, a.ChangedCells + b.ChangedCells, a.Capped || b.Capped,
            a.Cancelled || b.Cancelled};
  }
};

/// Sample positions relative to a cell's first sample, in groups of eight; the last one is repeated to fill its group.
struct SampleOffsets {
  static constexpr int Capacity = (CellSamples + 7) / 8 * 8;  // 736
  int Count = 0, Padded = 0;
  alignas(32) float X[Capacity], Y[Capacity], Z[Capacity];
};

/// Voxel positions are 32-bit floats, which hold no integers beyond 2^24: cells past that are never reached.
inline constexpr int32_t CellKeyLimit = (1 << 24) / CellSize - 2;

/// A field as the walk and the pass see it: whole cells at a time.
class FieldEvaluator {
 public:
  virtual ~FieldEvaluator() = default;
  /// trunc(65535 clamp(field)) at `offsets` from the first sample of a cell into q[offsets.Padded].
  virtual void Evaluate(const CellKey& cell, const SampleOffsets& offsets, uint16_t* q) const = 0;
  /// Bit i: the field is above 0 at offset i. For at most 32 offsets a call, from `first` on.
  virtual uint32_t IsAboveZero(const CellKey& cell, const SampleOffsets& offsets, int first) const = 0;
  /// Full only if every sample of the cell is 65535.
  virtual FieldCover CoverOf(const CellKey& cell) const = 0;
};

template <class Field>
class FieldEvaluatorOf final : public FieldEvaluator {
 public:
  explicit FieldEvaluatorOf(const Field& field) : m_Field(field) {}
  void Evaluate(const CellKey& cell, const SampleOffsets& offsets, uint16_t* q) const override {
    const Field field = m_Field;  // a copy of its own, so that stores to q can't change it
    const float x0 = Origin(cell.x), y0 = Origin(cell.y), z0 = Origin(cell.z);
    for (int i = 0; i < offsets.Padded; i++)
      q[i] = uint16_t(int32_t(Clamp01(field(x0 + offsets.X[i], y0 + offsets.Y[i], z0 + offsets.Z[i])) * 65535.0f));
  }
  uint32_t IsAboveZero(const CellKey& cell, const SampleOffsets& offsets, int first) const override {
    const Field field = m_Field;
    const float x0 = Origin(cell.x), y0 = Origin(cell.y), z0 = Origin(cell.z);
    const int count = offsets.Padded - first < 32 ? offsets.Padded - first : 32;
    alignas(32) float values[32];
    for (int i = 0; i < count; i++)
      values[i] = field(x0 + offsets.X[first + i], y0 + offsets.Y[first + i], z0 + offsets.Z[first + i]);
    uint32_t bits = 0;
    for (int i = 0; i < count; i++) bits |= uint32_t(values[i] > 0) << i;
    return bits;
  }
  FieldCover CoverOf(const CellKey& cell) const override {
    if constexpr (requires { m_Field.CoverOf(VolumeBox{}); }) {
      const float x0 = Origin(cell.x), y0 = Origin(cell.y), z0 = Origin(cell.z);
      return m_Field.CoverOf({x0, y0, z0, x0 + CellSize, y0 + CellSize, z0 + CellSize});
    }
    return FieldCover::Mixed;
  }

 private:
  static float Origin(int32_t cell) { return float(cell * CellSize); }
  Field m_Field;
};

/// As ApplyField below, for a field behind the evaluator interface.
ApplyReport ApplyEvaluator(VolumeObject& volume, const FieldEvaluator& field, const VolumeBox& bounds,
                           const ApplyOptions& options);

/// Merges `field`, a callable (x, y, z) -> value with 0.5 on the surface, into `volume`. The walk starts at the cell in the
/// middle of `bounds` (voxels) and its face neighbours, and goes on beyond every face, edge and corner where the field is above
/// 0.
///
/// A field that passes CellCap, or that GoOn stops, is not merged, or only in part: the caller takes its stroke back.
///
/// Cells that change are backed up once a stroke and marked changed; all others are left alone, and none is created in vain.
/// Planes that cells share hold equal values afterwards. A volume in SurfaceMode and bounds that are not finite or beyond
/// CellKeyLimit are left alone. The result does not depend on the number of threads.
///
/// Cost: the samples of the cells reached, on all threads; cells deep inside a field that knows its cover cost no evaluation.
template <class Field>
ApplyReport ApplyField(VolumeObject& volume, const Field& field, const VolumeBox& bounds, const ApplyOptions& options) {
  return ApplyEvaluator(volume, FieldEvaluatorOf<Field>(field), bounds, options);
}
