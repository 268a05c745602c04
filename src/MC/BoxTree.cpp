#include "MC/BoxTree.h"

#include "MC/VolumeObject.h"

DECLARE_MEMBERS(ABOcTreeLevel) {}
DECLARE_MEMBERS(ABOcTree) { Member<ClassArray<ABOcTreeLevel>>("Levels", Levels).NoSave(); }

ABOcTree::ABOcTree() {
  for (int level = 0; level < LevelCount; level++) Levels.Add(new ABOcTreeLevel);
}

void ABOcTree::SetBox(int level, const CellKey& key, const VolumeBox& box) {
  Levels[level]->Boxes.Set(key, box);
  if (level + 1 < LevelCount) Levels[level + 1]->Changed.Set(CellKey{key.x >> 1, key.y >> 1, key.z >> 1}, 1);
}

const VolumeBox* ABOcTree::FindBox(int level, const CellKey& key) const { return Levels[level]->Boxes.Find(key); }

void ABOcTree::Update(VolumeObject& volume) {
  if (m_RebuildAll) {
    m_RebuildAll = false;
    volume.ForEachCell([&](const CellKey& key, VoxelCell& cell) {
      if (!cell.Surface || cell.Surface->Empty()) return;
      cell.Surface->UpdateBox();
      SetBox(0, key, cell.Surface->Box);
    });
  }
  for (int level = 1; level < LevelCount; level++) {
    Levels[level]->Changed.ForEach([&](const CellKey& key, int32_t) {
      VolumeBox box;
      for (int child = 0; child < 8; child++) {
        const CellKey childKey{2 * key.x + (child & 1), 2 * key.y + (child >> 1 & 1), 2 * key.z + (child >> 2)};
        if (const VolumeBox* childBox = FindBox(level - 1, childKey)) box.Add(*childBox);
      }
      // A block that has lost all its surface stores the inverted box over the old one, so that no reader is led into it.
      if (!box.Empty() || FindBox(level, key)) SetBox(level, key, box);
    });
    Levels[level]->Changed.Clear();
  }
}

void ABOcTree::Clear() {
  for (ABOcTreeLevel* level : Levels) {
    level->Boxes.Clear();
    level->Changed.Clear();
  }
  m_RebuildAll = false;
}

size_t ABOcTree::Bytes() const {
  size_t bytes = 0;
  for (const ABOcTreeLevel* level : Levels) bytes += level->Boxes.Bytes() + level->Changed.Bytes();
  return bytes;
}
