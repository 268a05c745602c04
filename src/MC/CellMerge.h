#pragma once
// The last stage of a voxelisation: cells that were sampled are merged into a volume.
#include <cstdint>
#include <vector>

#include "MC/DepthCells.h"
#include "MC/MergeRules.h"
#include "MC/VolumeObject.h"
#include "comms/Progress.h"

/// What becomes of one cell. Prepared on workers, carried out on the calling thread.
struct CellChange {
  CellKey Key;
  uint16_t* Block = nullptr;  ///< the new samples; null for a uniform cell
  uint16_t UniformValue = 0;
  uint8_t Sides = 0;  ///< HasOutside, HasInside
  bool Changed = false;
};

/// Computes what the solid of `tables` makes of a volume's cells, without touching them.
class CellMerge {
 public:
  CellMerge(VolumeObject& volume, const DepthTables& tables, int32_t mode)
      : m_Volume(volume), m_Tables(tables), m_Mode(mode), m_Rule(MergeRuleOf(mode, false)) {}
  ~CellMerge();
  CellMerge(const CellMerge&) = delete;
  CellMerge& operator=(const CellMerge&) = delete;

  /// Samples and merges on all threads of the current arena. False when the person cancelled: there is nothing to commit then.
  bool Prepare(const std::vector<CellContent>& contents, comms::StageProgress& progress);
  /// Writes the changes into the volume and returns how many cells changed.
  int64_t Commit(bool backup);

 private:
  struct Work {
    CellKey Key;
    CellContent Content;
  };
  class BlockCache;
  void CollectWork(const std::vector<CellContent>& contents);
  CellChange MergeUniform(const CellKey& key, uint16_t value, uint16_t old) const;
  CellChange MergeCell(const Work& work, CellSampler& sampler, BlockCache& blocks) const;
  /// Lets the solid say nothing about samples that belong to a frozen neighbour too.
  void SpareFrozen(const CellKey& key, uint16_t* q) const;
  bool HasFrozenNeighbour(const CellKey& key) const;

  VolumeObject& m_Volume;
  const DepthTables& m_Tables;
  const int32_t m_Mode;
  const MergeRule m_Rule;
  bool m_AnyFrozen = false;
  std::vector<Work> m_Work;
  std::vector<CellChange> m_Changes;
};
