#pragma once
// Bounding boxes of a volume's surface, per cell and per block of 2, 4 .. 32 cells along a side, for picking and culling.
#include <cstddef>

#include "ClassEngine/ClassArray.h"
#include "ClassEngine/Declare.h"
#include "ClassEngine/unihash.h"
#include "MC/VoxelCell.h"

/// One level: boxes keyed by cell coordinates >> level, and the keys whose box is stale. The tables grow with what they hold:
/// room for the largest sculptures from the start would cost every small volume, and a scene of hundreds, megabytes each. Their
/// content follows from the cells and is stored nowhere.
class ABOcTreeLevel : public BaseClass {
  REFLECTED(ABOcTreeLevel, BaseClass)
  CoordHash<VolumeBox> Boxes;
  CoordHash<int32_t> Changed;
};

class ABOcTree : public BaseClass {
  REFLECTED(ABOcTree, BaseClass)
  static constexpr int LevelCount = 6;
  ClassArray<ABOcTreeLevel> Levels;

  ABOcTree();
  /// Stores a box (inverted for an empty cell) and marks the key above it as changed.
  void SetBox(int level, const CellKey& key, const VolumeBox& box);
  /// The stored box; null where none was ever stored.
  const VolumeBox* FindBox(int level, const CellKey& key) const;
  /// Brings levels 1 to 5 up to date, with work in proportion to the keys that changed; after RequestRebuild first recomputes all
  /// boxes of cells and level 0.
  void Update(VolumeObject& volume);
  /// The next Update starts from the vertices of all cells.
  void RequestRebuild() { m_RebuildAll = true; }
  void Clear();
  size_t Bytes() const;

 private:
  bool m_RebuildAll = false;
};
