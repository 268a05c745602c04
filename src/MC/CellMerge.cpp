#include "MC/CellMerge.h"

#include <oneapi/tbb/blocked_range.h>
#include <oneapi/tbb/enumerable_thread_specific.h>
#include <oneapi/tbb/parallel_for.h>

#include <algorithm>
#include <cstring>
#include <utility>

/// Blocks that one thread takes from the pool, a few at a time.
class CellMerge::BlockCache {
 public:
  explicit BlockCache(VolumeObject& volume) : m_Pool(volume.VoxelPool) {}
  ~BlockCache() {
    while (m_Count > 0) m_Pool.Free(m_Blocks[--m_Count], false);
  }
  BlockCache(const BlockCache&) = delete;
  BlockCache& operator=(const BlockCache&) = delete;
  uint16_t* Take() {
    if (m_Count == 0) {
      m_Pool.AllocateMany(Size, m_Blocks);
      m_Count = Size;
    }
    return static_cast<uint16_t*>(m_Blocks[--m_Count]);
  }

 private:
  static constexpr size_t Size = 64;
  FixedPool& m_Pool;
  void* m_Blocks[Size];
  size_t m_Count = 0;
};

CellMerge::~CellMerge() {
  for (const CellChange& change : m_Changes)
    if (change.Block) m_Volume.VoxelPool.Free(change.Block, false);
}

// Cells in the order of the table's pages, so that neighbours are entered and looked up together.
void CellMerge::CollectWork(const std::vector<CellContent>& contents) {
  const RasterFrame& frame = m_Tables.Frame;
  const CellKey& first = frame.FirstCell;
  const CellKey end = first + CellKey{frame.Cells[0], frame.Cells[1], frame.Cells[2]};
  constexpr int32_t page = CellTable::PageSize;
  const bool onlyExisting = m_Mode != ApplyAdd;
  const auto collect = [&](const CellKey& key) {
    const CellKey at{key.x - first.x, key.y - first.y, key.z - first.z};
    const CellContent content =
        contents[size_t(at.x) + size_t(frame.Cells[0]) * (size_t(at.y) + size_t(frame.Cells[1]) * size_t(at.z))];
    if (content == CellContent::Empty || (onlyExisting && !m_Volume.FindCell(key))) return;
    m_Work.push_back({key, content});
  };
  for (int32_t pz = first.z & -page; pz < end.z; pz += page)
    for (int32_t py = first.y & -page; py < end.y; py += page)
      for (int32_t px = first.x & -page; px < end.x; px += page)
        for (int32_t z = std::max(pz, first.z); z < std::min(pz + page, end.z); z++)
          for (int32_t y = std::max(py, first.y); y < std::min(py + page, end.y); y++)
            for (int32_t x = std::max(px, first.x); x < std::min(px + page, end.x); x++) collect({x, y, z});
  if (m_Mode != ApplyIntersect) return;
  // What the solid does not reach is wiped, inside the frame and outside.
  m_Volume.ForEachCell([&](const CellKey& key, const VoxelCell& cell) {
    const CellKey at{key.x - first.x, key.y - first.y, key.z - first.z};
    const bool within =
        at.x >= 0 && at.y >= 0 && at.z >= 0 && at.x < frame.Cells[0] && at.y < frame.Cells[1] && at.z < frame.Cells[2];
    if (within && contents[size_t(at.x) + size_t(frame.Cells[0]) * (size_t(at.y) + size_t(frame.Cells[1]) * size_t(at.z))] !=
                      CellContent::Empty)
      return;
    if (cell.Density || cell.UniformValue) m_Work.push_back({key, CellContent::Empty});
  });
}

bool CellMerge::Prepare(const std::vector<CellContent>& contents, comms::StageProgress& progress) {
  m_Volume.ForEachCell([&](const CellKey&, const VoxelCell& cell) { m_AnyFrozen |= (cell.Flags & FrozenCell) != 0; });
  CollectWork(contents);
  m_Changes.resize(m_Work.size());
  progress.Begin(m_Work.size());
  oneapi::tbb::enumerable_thread_specific<BlockCache> blocks([this] { return BlockCache(m_Volume); });
  oneapi::tbb::parallel_for(oneapi::tbb::blocked_range<size_t>(0, m_Work.size(), 32),
                            [&](const oneapi::tbb::blocked_range<size_t>& range) {
                              if (progress.IsCancelled()) return;
                              CellSampler sampler(m_Tables, m_Volume.RampWidth);
                              BlockCache& cache = blocks.local();
                              for (size_t i = range.begin(); i != range.end(); i++)
                                m_Changes[i] = MergeCell(m_Work[i], sampler, cache);
                              progress.Advance(range.size());
                            });
  return !progress.IsCancelled();
}

bool CellMerge::HasFrozenNeighbour(const CellKey& key) const {
  if (!m_AnyFrozen) return false;
  CellTable::Cursor cursor;
  for (int bit = 0; bit < 27; bit++) {
    const VoxelCell* cell = m_Volume.Cells.Find(key + CellKey{bit % 3 - 1, bit / 3 % 3 - 1, bit / 9 - 1}, cursor);
    if (cell && (cell->Flags & FrozenCell)) return true;
  }
  return false;
}

void CellMerge::SpareFrozen(const CellKey& key, uint16_t* q) const {
  const uint16_t neutral = m_Rule == MergeRule::Min ? 65535 : 0;
  CellTable::Cursor cursor;
  for (int bit = 0; bit < 27; bit++) {
    const int step[3] = {bit % 3 - 1, bit / 3 % 3 - 1, bit / 9 - 1};
    const VoxelCell* cell = m_Volume.Cells.Find(key + CellKey{step[0], step[1], step[2]}, cursor);
    if (!cell || !(cell->Flags & FrozenCell)) continue;
    int from[3], to[3];
    for (int k = 0; k < 3; k++) {
      from[k] = step[k] > 0 ? CellSize : 0;
      to[k] = step[k] < 0 ? 0 : CellSize;
    }
    for (int z = from[2]; z <= to[2]; z++)
      for (int y = from[1]; y <= to[1]; y++)
        for (int x = from[0]; x <= to[0]; x++) q[SampleIndex(x, y, z)] = neutral;
  }
}

CellChange CellMerge::MergeUniform(const CellKey& key, uint16_t value, uint16_t old) const {
  const uint16_t merged = MergeSample(m_Rule, old, value);
  return {key, nullptr, merged, SidesOf({merged, merged, 0}), merged != old};
}

CellChange CellMerge::MergeCell(const Work& work, CellSampler& sampler, BlockCache& blocks) const {
  const VoxelCell* cell = m_Volume.FindCell(work.Key);
  if (cell && (cell->Flags & FrozenCell)) return {work.Key};
  const bool hasSamples = cell && cell->HasSamples(), fromFrozen = HasFrozenNeighbour(work.Key);
  const uint16_t oldUniform = cell ? cell->UniformValue : 0;
  const uint16_t full = work.Content == CellContent::Solid ? 65535 : 0;
  if (work.Content != CellContent::Mixed && !hasSamples && !fromFrozen) return MergeUniform(work.Key, full, oldUniform);

  alignas(32) uint16_t uniform[CellSamples], q[CellSampler::Padded], samples[CellSamples];
  if (work.Content == CellContent::Mixed) {
    const CellKey& first = m_Tables.Frame.FirstCell;
    sampler.Fill({work.Key.x - first.x, work.Key.y - first.y, work.Key.z - first.z}, q);
  } else {
    std::fill_n(q, CellSamples, full);
  }
  if (fromFrozen) SpareFrozen(work.Key, q);
  if (!hasSamples) std::fill_n(uniform, CellSamples, oldUniform);
  const MergeResult result = MergeSamples(m_Rule, hasSamples ? cell->Density : uniform, q, samples);
  CellChange change{work.Key, nullptr, samples[0], SidesOf(result), result.Changed != 0};
  if (change.Changed && result.Low != result.High) {
    change.Block = blocks.Take();
    std::memcpy(change.Block, samples, sizeof samples);
  }
  return change;
}

int64_t CellMerge::Commit(bool backup) {
  int64_t changed = 0;
  for (CellChange& change : m_Changes) {
    if (!change.Changed) continue;
    const CellKey& key = change.Key;
    VoxelCell& cell = *m_Volume.GetCell(key.x, key.y, key.z, true, backup, false);
    if (cell.Density) m_Volume.VoxelPool.Free(cell.Density, false);
    cell.Density = std::exchange(change.Block, nullptr);
    cell.UniformValue = change.UniformValue;
    constexpr uint8_t renewed = HasOutside | HasInside | Unpacked | UniformKept | FillPending;
    cell.Flags = uint8_t((cell.Flags & ~renewed) | change.Sides | Touched);
    m_Volume.MarkCellChanged(key.x, key.y, key.z, false, false);
    changed++;
  }
  return changed;
}
