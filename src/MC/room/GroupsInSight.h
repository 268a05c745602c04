#pragma once
// What of a volume a view shows, by its tree of boxes.
#include <functional>

#include "MC/VolumeObject.h"

/// The six planes of a view in the space of a volume: a box is out of sight where its best corner is behind one.
class Frustum {
 public:
  /// `toClip`: from the volume's space to clip space.
  explicit Frustum(const comms::cMat4& toClip);
  bool Sees(const VolumeBox& box) const;
  /// Whether no corner of the box is behind a plane.
  bool Encloses(const VolumeBox& box) const;
  /// Grows with the distance of the box's middle along the line of sight.
  float DepthOf(const VolumeBox& box) const;

 private:
  float m_Planes[6][4], m_Depth[4];
};

/// Begins a new frame of the volume (CurrentFrame) and visits the groups in sight, each once, in no order that means anything;
/// their LastFrame is that frame. Every group is visited that has a cell whose box the view sees; none is whose own box it
/// doesn't. Blocks of cells out of sight are passed over with all that is in them. The tree is up to date (RefreshChanges).
void ForEachGroupInSight(VolumeObject& volume, const Frustum& frustum,
                         const std::function<void(const CellKey& key, RenderGroup& group)>& visit);

/// Box of the surface, volume space; empty where there is none. Costs a look at each block of 32 x 32 x 32 cells.
VolumeBox GetSurfaceBox(const VolumeObject& volume);
