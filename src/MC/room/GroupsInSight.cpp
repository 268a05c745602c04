#include "MC/room/GroupsInSight.h"

#include <algorithm>
#include <iterator>

Frustum::Frustum(const comms::cMat4& toClip) {
  for (int i = 0; i < 6; i++) {
    const float sign = i & 1 ? -1.0f : 1.0f;
    for (int k = 0; k < 4; k++) m_Planes[i][k] = toClip.m[k][3] + sign * toClip.m[k][i / 2];
  }
  for (int k = 0; k < 4; k++) m_Depth[k] = toClip.m[k][2];
}

bool Frustum::Sees(const VolumeBox& box) const {
  return std::none_of(std::begin(m_Planes), std::end(m_Planes), [&](const float* plane) {
    return (plane[0] > 0 ? box.MaxX : box.MinX) * plane[0] + (plane[1] > 0 ? box.MaxY : box.MinY) * plane[1] +
               (plane[2] > 0 ? box.MaxZ : box.MinZ) * plane[2] + plane[3] <
           0;
  });
}

bool Frustum::Encloses(const VolumeBox& box) const {
  return std::none_of(std::begin(m_Planes), std::end(m_Planes), [&](const float* plane) {
    return (plane[0] > 0 ? box.MinX : box.MaxX) * plane[0] + (plane[1] > 0 ? box.MinY : box.MaxY) * plane[1] +
               (plane[2] > 0 ? box.MinZ : box.MaxZ) * plane[2] + plane[3] <
           0;
  });
}

float Frustum::DepthOf(const VolumeBox& box) const {
  return ((box.MinX + box.MaxX) * m_Depth[0] + (box.MinY + box.MaxY) * m_Depth[1] + (box.MinZ + box.MaxZ) * m_Depth[2]) / 2 +
         m_Depth[3];
}

namespace {

constexpr int TopLevel = ABOcTree::LevelCount - 1;
constexpr int GroupLevel = 3;  // blocks of 8 cells, which reach into two groups along each axis

struct Walk {
  VolumeObject& Volume;
  const Frustum& View;
  const std::function<void(const CellKey&, RenderGroup&)>& Visit;

  void Enter(int level, const CellKey& key, const VolumeBox& box, bool enclosed) {
    if (box.Empty() || !(enclosed || View.Sees(box))) return;
    if (level == GroupLevel) return TakeGroups(key);
    enclosed = enclosed || View.Encloses(box);
    for (int child = 0; child < 8; child++) {
      const CellKey below{2 * key.x + (child & 1), 2 * key.y + (child >> 1 & 1), 2 * key.z + (child >> 2)};
      if (const VolumeBox* found = Volume.BoxTree.FindBox(level - 1, below)) Enter(level - 1, below, *found, enclosed);
    }
  }
  // Groups don't lie in the blocks of the tree: a neighbour may have taken one already.
  void TakeGroups(const CellKey& block) {
    constexpr int cells = 1 << GroupLevel;
    const CellKey low = GroupOf(CellKey{block.x * cells, block.y * cells, block.z * cells});
    const CellKey high = GroupOf(CellKey{block.x * cells + cells - 1, block.y * cells + cells - 1, block.z * cells + cells - 1});
    for (int z = low.z; z <= high.z; z++)
      for (int y = low.y; y <= high.y; y++)
        for (int x = low.x; x <= high.x; x++) {
          RenderGroup* group = Volume.RenderGroups.Find(CellKey{x, y, z});
          if (!group || group->LastFrame == Volume.CurrentFrame || !View.Sees(group->Box)) continue;
          group->LastFrame = Volume.CurrentFrame;
          Visit({x, y, z}, *group);
        }
  }
};

}  // namespace

void ForEachGroupInSight(VolumeObject& volume, const Frustum& frustum,
                         const std::function<void(const CellKey& key, RenderGroup& group)>& visit) {
  volume.CurrentFrame++;
  Walk walk{volume, frustum, visit};
  volume.BoxTree.Levels[TopLevel]->Boxes.ForEach(
      [&](const CellKey& key, const VolumeBox& box) { walk.Enter(TopLevel, key, box, false); });
}

VolumeBox GetSurfaceBox(const VolumeObject& volume) {
  VolumeBox box;
  volume.BoxTree.Levels[TopLevel]->Boxes.ForEach([&](const CellKey&, const VolumeBox& part) { box.Add(part); });
  return box;
}
