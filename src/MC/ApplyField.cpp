// Stages: walk (which cells does the field reach), prepare (blocks for the results), merge (parallel, one owner a cell), commit
// (backups and blocks change hands on the calling thread, in walk order, which keeps tables and backups independent of the thread
// count).
//
// Workers write into a block of their own and leave the old one as it is: the old block becomes the backup's without a copy, a
// cell in which nothing changed needs no backup at all, and a field may read the volume that is being written.
#include "MC/ApplyField.h"

#include <tbb/parallel_for.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>
#include <vector>

#include "ClassEngine/Assert.h"
#include "MC/CellSet.h"
#include "MC/MergeRules.h"

namespace {

// Neighbours of a cell are bits of a mask, the cell itself being bit 13.
constexpr int NeighbourBit(int dx, int dy, int dz) { return (dz + 1) * 9 + (dy + 1) * 3 + dx + 1; }
constexpr CellKey NeighbourStep(int bit) { return {bit % 3 - 1, bit / 3 % 3 - 1, bit / 9 - 1}; }
constexpr int SelfBit = NeighbourBit(0, 0, 0);
constexpr uint32_t AllNeighbours = ((1u << 27) - 1) & ~(1u << SelfBit);

// Mask of the neighbours that hold a sample of the cell's boundary too.
constexpr uint32_t NeighboursAt(int x, int y, int z) {
  uint32_t mask = 0;
  for (int bit = 0; bit < 27; bit++) {
    const CellKey d = NeighbourStep(bit);
    const auto holds = [](int step, int at) { return step == 0 || (step < 0 ? at == 0 : at == CellSize); };
    if (bit != SelfBit && holds(d.x, x) && holds(d.y, y) && holds(d.z, z)) mask |= 1u << bit;
  }
  return mask;
}

void AddOffset(SampleOffsets& offsets, int x, int y, int z) {
  offsets.X[offsets.Count] = float(x);
  offsets.Y[offsets.Count] = float(y);
  offsets.Z[offsets.Count] = float(z);
  offsets.Count++;
}
void PadOffsets(SampleOffsets& offsets) {
  for (offsets.Padded = offsets.Count; offsets.Padded % 8; offsets.Padded++) {
    offsets.X[offsets.Padded] = offsets.X[offsets.Count - 1];
    offsets.Y[offsets.Padded] = offsets.Y[offsets.Count - 1];
    offsets.Z[offsets.Padded] = offsets.Z[offsets.Count - 1];
  }
}

struct SampleGrid : SampleOffsets {
  SampleGrid() {
    for (int z = 0; z < CellEdge; z++)
      for (int y = 0; y < CellEdge; y++)
        for (int x = 0; x < CellEdge; x++) AddOffset(*this, x, y, z);
    PadOffsets(*this);
  }
};

// Positions on the boundary of a cell, every `step` samples, with the neighbours that each leads to.
struct ProbeLattice : SampleOffsets {
  explicit ProbeLattice(int step) {
    const auto onBorder = [](int at) { return at == 0 || at == CellSize; };
    for (int z = 0; z <= CellSize; z += step)
      for (int y = 0; y <= CellSize; y += step)
        for (int x = 0; x <= CellSize; x += step)
          if (onBorder(x) || onBorder(y) || onBorder(z)) {
            Neighbours[size_t(Count)] = NeighboursAt(x, y, z);
            AddOffset(*this, x, y, z);
          }
    for (size_t i = size_t(Count); i < Neighbours.size(); i++) Neighbours[i] = Neighbours[size_t(Count - 1)];
    PadOffsets(*this);
  }
  std::array<uint32_t, Capacity> Neighbours{};
};

const SampleGrid& WholeCell() {
  static const SampleGrid grid;
  return grid;
}
const ProbeLattice& LatticeFor(float brushRadius) {
  static const ProbeLattice fine(1), medium(2), coarse(4);
  return brushRadius < 1 ? fine : brushRadius < 4 ? medium : coarse;
}

struct Target {
  CellKey Key;
  uint32_t Reached = 0;  // neighbours beyond boundary positions where the field was above 0
};

// How many cells go by between two questions whether to go on.
constexpr size_t BatchCells = 4096;

// True where the person wants the work stopped.
bool IsCancelled(const ApplyOptions& options) { return options.GoOn && *options.GoOn && !(*options.GoOn)(); }

// --- walk ------------------------------------------------------------------------------------------------------------------

class Walk {
 public:
  // `first` .. `last`: where the walk is expected to stay.
  Walk(const VolumeObject& volume, const FieldEvaluator& field, const ApplyOptions& options, const CellKey& first,
       const CellKey& last)
      : m_Volume(volume),
        m_Field(field),
        m_Options(options),
        m_Lattice(LatticeFor(options.BrushRadius)),
        m_Visited(first, last) {}

  void Start(const CellKey& cell) {
    m_Visited.Insert(cell);
    m_Work.push_back(cell);
    Enter(cell, 1u << NeighbourBit(-1, 0, 0) | 1u << NeighbourBit(1, 0, 0) | 1u << NeighbourBit(0, -1, 0) |
                    1u << NeighbourBit(0, 1, 0) | 1u << NeighbourBit(0, 0, -1) | 1u << NeighbourBit(0, 0, 1));
  }
  // Cells that share a changed sample with a target are targets themselves, whatever their own lattice says.
  void Force(const std::vector<CellKey>& cells) {
    CellSet known;
    for (const Target& target : Targets) known.Insert(target.Key);
    for (const CellKey& cell : cells) {
      if (!InRange(cell) || !known.Insert(cell)) continue;
      m_Visited.Insert(cell);
      AddTarget(cell, Probe(cell));
    }
  }
  void Run() {
    for (; m_Next < m_Work.size() && !m_Capped; m_Next++) {
      if (int32_t(m_Next) >= m_Options.CellCap) {
        m_Capped = true;
        break;
      }
      if (m_Next % BatchCells == BatchCells - 1 && IsCancelled(m_Options)) {
        m_Cancelled = true;
        break;
      }
      const CellKey cell = m_Work[m_Next];
      const uint32_t reached = Probe(cell);
      if (reached) AddTarget(cell, reached);
    }
  }

  std::vector<Target> Targets;
  int32_t VisitedCells() const { return int32_t(m_Next); }
  bool Capped() const { return m_Capped; }
  bool Cancelled() const { return m_Cancelled; }

 private:
  static bool InRange(const CellKey& cell) {
    const auto inRange = [](int32_t c) { return c >= -CellKeyLimit && c < CellKeyLimit; };
    return inRange(cell.x) && inRange(cell.y) && inRange(cell.z);
  }
  void Enter(const CellKey& cell, uint32_t neighbours) {
    m_Visited.InsertNeighbours(cell, neighbours, [this](const CellKey& key) {
      if (InRange(key)) m_Work.push_back(key);
    });
  }
  void AddTarget(const CellKey& cell, uint32_t reached) {
    Targets.push_back({cell, reached});
    Enter(cell, reached);
  }
  // Mask of the neighbours that a probe above 0 leads to; 0: the field does not reach the cell.
  uint32_t Probe(const CellKey& cell) const {
    uint32_t reached = 0;
    for (int first = 0; first < m_Lattice.Count; first += 32) {
      uint32_t above = m_Field.IsAboveZero(cell, m_Lattice, first);
      if (above && m_Options.Compare) above = KeepDifferent(cell, first, above);
      for (; above; above &= above - 1) reached |= m_Lattice.Neighbours[size_t(first) + size_t(std::countr_zero(above))];
    }
    return reached;
  }
  // Of the probes above 0 those whose value differs from the present density by at least 2.
  uint32_t KeepDifferent(const CellKey& cell, int first, uint32_t above) const {
    alignas(32) uint16_t q[SampleOffsets::Capacity];
    m_Field.Evaluate(cell, m_Lattice, q);
    VolumeObject::Cursor cursor;
    for (uint32_t bits = above; bits; bits &= bits - 1) {
      const int i = first + std::countr_zero(bits);
      const int present = m_Volume.SampleVoxel(cell.x * CellSize + int(m_Lattice.X[i]), cell.y * CellSize + int(m_Lattice.Y[i]),
                                               cell.z * CellSize + int(m_Lattice.Z[i]), cursor, false);
      if (std::abs(int(q[i]) - present) < 2) above &= ~(bits & -bits);
    }
    return above;
  }

  const VolumeObject& m_Volume;
  const FieldEvaluator& m_Field;
  const ApplyOptions& m_Options;
  const ProbeLattice& m_Lattice;
  CellSet m_Visited;
  std::vector<CellKey> m_Work;
  size_t m_Next = 0;
  bool m_Capped = false, m_Cancelled = false;
};

// --- merge -----------------------------------------------------------------------------------------------------------------

// Whether no field value can change a sample of this value.
bool IsSettled(MergeRule rule, uint16_t v) { return v == (rule == MergeRule::Max ? 65535 : 0); }

struct CellWork {
  CellKey Key;
  uint32_t Reached = 0;
  VoxelCell* Cell = nullptr;  // null: to be created when something changes
  uint16_t* Block = nullptr;  // spare block for the result; null: the cell's own block is written in place
  uint32_t Spill = 0;         // neighbours that share a changed sample and were not reached by the walk
  MergeResult Result;
};

bool HasBlock(const VoxelCell* cell) { return cell && cell->HasSamples(); }

// The samples that a cell has in common with each neighbour beyond a face or an edge; corners are probed themselves.
struct SharedSamples {
  std::vector<uint16_t> Of[27];
  SharedSamples() {
    for (int bit = 0; bit < 27; bit++) {
      const CellKey d = NeighbourStep(bit);
      if (bit == SelfBit || (d.x && d.y && d.z)) continue;
      const auto holds = [](int step, int at) { return step == 0 || at == (step > 0 ? CellSize : 0); };
      for (int z = 0; z < CellEdge; z++)
        for (int y = 0; y < CellEdge; y++)
          for (int x = 0; x < CellEdge; x++)
            if (holds(d.x, x) && holds(d.y, y) && holds(d.z, z)) Of[bit].push_back(uint16_t(SampleIndex(x, y, z)));
    }
  }
};

// Neighbours outside `reached` that hold a sample with differs(index) not 0.
template <class Differs>
uint32_t FindSpill(uint32_t reached, Differs&& differs) {
  static const SharedSamples shared;
  uint32_t spill = 0;
  for (uint32_t bits = AllNeighbours & ~reached; bits; bits &= bits - 1) {
    const int bit = std::countr_zero(bits);
    unsigned any = 0;
    for (const uint16_t i : shared.Of[bit]) any |= unsigned(differs(i));
    if (any) spill |= 1u << bit;
  }
  return spill;
}

// Works in batches: a dab of a million cells must not hold a spare block for each.
class Pass {
 public:
  Pass(VolumeObject& volume, const FieldEvaluator& field, const ApplyOptions& options)
      : m_Volume(volume), m_Field(field), m_Options(options), m_Rule(MergeRuleOf(options.Mode, options.Airbrush)) {}
  Pass(const Pass&) = delete;
  Pass& operator=(const Pass&) = delete;
  ~Pass() {
    for (const CellWork& work : m_Work)  // what an exception has left uncommitted
      if (work.Block && !IsInPlace(work)) m_Volume.VoxelPool.Free(work.Block, false);
  }

  /// Merges the field into cells that no earlier call was given. Returns the neighbours that share a changed sample.
  std::vector<CellKey> Run(const Target* targets, size_t count) {
    std::vector<CellKey> spill;
    for (size_t first = 0; first < count; first += BatchCells) {
      if (first > 0 && IsCancelled(m_Options)) {
        Cancelled = true;
        break;
      }
      Prepare(targets + first, std::min(BatchCells, count - first));
      tbb::parallel_for(tbb::blocked_range<size_t>(0, m_Work.size(), 32), [this](const tbb::blocked_range<size_t>& range) {
        for (size_t i = range.begin(); i != range.end(); i++) MergeCell(m_Work[i]);
      });
      for (CellWork& work : m_Work) {
        for (uint32_t bits = work.Spill; bits; bits &= bits - 1)
          spill.push_back(work.Key + NeighbourStep(std::countr_zero(bits)));
        Commit(work);
      }
    }
    return spill;
  }
  int64_t ChangedCells = 0;
  bool Cancelled = false;

 private:
  static bool IsInPlace(const CellWork& work) { return work.Cell && work.Block == work.Cell->Density; }

  void Prepare(const Target* targets, size_t count) {
    m_Work.clear();
    m_Work.reserve(count);
    size_t spare = 0;
    for (size_t i = 0; i < count; i++) {
      VoxelCell* cell = m_Volume.FindCell(targets[i].Key);
      MORVANE_ASSERT(!cell || cell->Edge == CellEdge);
      if (m_Options.Mode == ApplyIntersect && cell) cell->Flags |= FrozenCell;
      if (!HasBlock(cell) && IsSettled(m_Rule, cell ? cell->UniformValue : 0)) continue;
      m_Work.push_back({targets[i].Key, targets[i].Reached, cell, nullptr, 0, {}});
      const bool inPlace = HasBlock(cell) && cell->Backup && !m_Options.Compare;
      m_Work.back().Block = inPlace ? cell->Density : nullptr;
      spare += !inPlace;
    }
    m_Spare.resize(spare);
    m_Volume.VoxelPool.AllocateMany(spare, reinterpret_cast<void**>(m_Spare.data()));
    size_t next = 0;
    for (CellWork& work : m_Work)
      if (!work.Block) work.Block = m_Spare[next++];
  }

  void MergeCell(CellWork& work) const {
    alignas(32) uint16_t before[SampleOffsets::Capacity], q[SampleOffsets::Capacity], after[SampleOffsets::Capacity];
    const uint16_t uniform = work.Cell ? work.Cell->UniformValue : 0;
    const bool hasBlock = HasBlock(work.Cell);
    const bool full = work.Reached == AllNeighbours && m_Field.CoverOf(work.Key) == FieldCover::Full;
    if (full && !hasBlock) {
      const uint16_t merged = MergeSample(m_Rule, uniform, 65535);
      work.Result = {merged, merged, uint16_t(merged ^ uniform)};
      return;
    }
    if (full)
      std::fill_n(q, SampleOffsets::Capacity, uint16_t(65535));
    else
      m_Field.Evaluate(work.Key, WholeCell(), q);
    if (!hasBlock) std::fill_n(before, SampleOffsets::Capacity, uniform);
    const uint16_t* old = hasBlock ? work.Cell->Density : before;
    work.Result = MergeSamples(m_Rule, old, q, after);

    if (work.Reached != AllNeighbours) {
      if (m_Rule == MergeRule::Min)  // what is left beyond the border of the reach is wiped there
        work.Spill = FindSpill(work.Reached, [&](int i) { return after[i]; });
      else if (work.Result.Changed)
        work.Spill = FindSpill(work.Reached, [&](int i) { return after[i] ^ old[i]; });
    }
    if (work.Result.Changed && work.Result.Low != work.Result.High)
      std::memcpy(work.Block, after, CellSamples * sizeof(uint16_t));
  }

  // The result becomes the cell's content, the content before it the backup's. Where memory ends on the way, the cell is as it
  // was or has its backup.
  void Commit(CellWork& work) {
    const bool inPlace = IsInPlace(work);
    if (!work.Result.Changed) {
      if (!inPlace) m_Volume.VoxelPool.Free(std::exchange(work.Block, nullptr), false);
      return;
    }
    const CellKey& key = work.Key;
    VoxelCell& cell = work.Cell ? *work.Cell : *m_Volume.GetCell(key.x, key.y, key.z, true, true, false);
    if (!inPlace) {
      uint16_t* old = std::exchange(cell.Density, nullptr);
      const bool keep = !cell.Backup && old && !(cell.Flags & FillPending);
      try {
        if (!cell.Backup) m_Volume.BackupCell(key.x, key.y, key.z);
      } catch (...) {
        cell.Density = old;
        throw;
      }
      MORVANE_ASSERT(cell.Backup);
      if (keep)
        cell.Backup->Density = old;
      else if (old)
        m_Volume.VoxelPool.Free(old, false);
      cell.Flags &= uint8_t(~FillPending);
    }
    cell.Density = std::exchange(work.Block, nullptr);
    // Compaction that a worker could not do: the pool is the calling thread's.
    if (work.Result.Low == work.Result.High) {
      m_Volume.VoxelPool.Free(std::exchange(cell.Density, nullptr), false);
      cell.UniformValue = work.Result.Low;
    } else {
      cell.UniformValue = cell.Density[0];
    }
    cell.Flags = uint8_t((cell.Flags & ~(HasOutside | HasInside | Unpacked | UniformKept | FillPending)) | Touched |
                         SidesOf(work.Result) | (m_Options.Mode == ApplyIntersect ? FrozenCell : 0));
    m_Volume.MarkCellChanged(key.x, key.y, key.z, false, false);
    ChangedCells++;
  }

  VolumeObject& m_Volume;
  const FieldEvaluator& m_Field;
  const ApplyOptions& m_Options;
  const MergeRule m_Rule;
  std::vector<CellWork> m_Work;
  std::vector<uint16_t*> m_Spare;
};

void ReleaseFrozen(VolumeObject& volume) {
  volume.ForEachCell([](const CellKey&, VoxelCell& cell) { cell.Flags &= uint8_t(~FrozenCell); });
}

// An airbrush leaves the reached cells what it doesn't take away. The samples that they share with a wiped one are wiped too.
void WipeShared(VolumeObject& volume, const CellKey& wiped) {
  for (int bit = 0; bit < 27; bit++) {
    const CellKey step = NeighbourStep(bit), key = wiped + step;
    VoxelCell* cell = volume.FindCell(key);
    if (!cell || !cell->Has(FrozenCell) || (!cell->HasSamples() && !cell->UniformValue)) continue;
    volume.GetCell(key.x, key.y, key.z, false, true, false);
    cell->Expand(ExpandAllocate | ExpandFill, false);
    const auto first = [](int to) { return to < 0 ? CellSize : 0; };
    const auto last = [](int to) { return to > 0 ? 0 : CellSize; };
    for (int z = first(step.z); z <= last(step.z); z++)
      for (int y = first(step.y); y <= last(step.y); y++)
        for (int x = first(step.x); x <= last(step.x); x++) cell->Density[SampleIndex(x, y, z)] = 0;
    cell->Analyze(true, false);
    volume.MarkCellChanged(key.x, key.y, key.z, false, false);
  }
}

// After an intersection all that the operand did not reach is outside of it.
int32_t WipeUnreached(VolumeObject& volume, bool airbrush) {
  std::vector<CellKey> wiped;
  volume.ForEachCell([&](const CellKey& key, VoxelCell& cell) {
    if (!cell.Has(FrozenCell) && (cell.Density || cell.UniformValue || cell.Surface)) wiped.push_back(key);
  });
  for (const CellKey& key : wiped) {
    VoxelCell& cell = *volume.GetCell(key.x, key.y, key.z, false, true, false);
    volume.FreeSurface(cell);
    cell.SetUniform(0, false);
    cell.Flags = HasOutside | HasInside | Touched;
    volume.MarkCellChanged(key.x, key.y, key.z, false, false);
    if (airbrush) WipeShared(volume, key);
  }
  ReleaseFrozen(volume);
  return int32_t(wiped.size());
}

// Cell of a position; false beyond the cells that floats can tell apart, NaN included.
bool FindCellAt(float x, float y, float z, CellKey& cell) {
  const auto find = [](float at, int32_t& key) {
    if (!(std::fabs(at) < float(CellKeyLimit) * CellSize)) return false;
    key = int32_t(std::floor(at)) >> CellShift;
    return true;
  };
  return find(x, cell.x) && find(y, cell.y) && find(z, cell.z);
}

ApplyReport WalkAndMerge(VolumeObject& volume, const FieldEvaluator& field, const VolumeBox& bounds,
                         const ApplyOptions& options) {
  ApplyReport report;
  CellKey start, first, last;
  if (volume.SurfaceMode) return report;
  if (!FindCellAt((bounds.MinX + bounds.MaxX) / 2, (bounds.MinY + bounds.MaxY) / 2, (bounds.MinZ + bounds.MaxZ) / 2, start))
    return report;
  if (!FindCellAt(bounds.MinX, bounds.MinY, bounds.MinZ, first) || !FindCellAt(bounds.MaxX, bounds.MaxY, bounds.MaxZ, last))
    first = last = start;

  if (options.LeastCells > double(options.CellCap)) {
    report.Capped = true;
    return report;
  }

  Walk walk(volume, field, options, first + CellKey{-2, -2, -2}, last + CellKey{2, 2, 2});
  Pass pass(volume, field, options);
  const auto isStopped = [&] { return walk.Capped() || walk.Cancelled() || pass.Cancelled; };
  walk.Start(start);
  walk.Run();
  for (size_t done = 0; done < walk.Targets.size() && !isStopped();) {
    const size_t next = std::exchange(done, walk.Targets.size());
    const std::vector<CellKey> spill = pass.Run(walk.Targets.data() + next, done - next);
    if (spill.empty()) break;
    walk.Force(spill);
    walk.Run();
  }
  report.VisitedCells = walk.VisitedCells();
  report.TargetCells = int64_t(walk.Targets.size());
  report.Capped = walk.Capped();
  report.Cancelled = walk.Cancelled() || pass.Cancelled;
  report.ChangedCells = pass.ChangedCells;
  if (options.Mode != ApplyIntersect) return report;
  if (isStopped())
    ReleaseFrozen(volume);
  else
    report.ChangedCells += WipeUnreached(volume, options.Airbrush);
  return report;
}

}  // namespace

ApplyReport ApplyEvaluator(VolumeObject& volume, const FieldEvaluator& field, const VolumeBox& bounds,
                           const ApplyOptions& options) {
  try {
    return WalkAndMerge(volume, field, bounds, options);
  } catch (...) {
    if (options.Mode == ApplyIntersect) ReleaseFrozen(volume);
    throw;
  }
}
