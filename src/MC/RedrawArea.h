#pragma once
// Incremental redraw: the part of a view that a change of the surface has made stale.
#include "MC/VoxelCell.h"
#include "comms/Vec.h"

class RedrawArea {
 public:
  comms::cMat4 VolumeToClip;  ///< from volume space to clip space of the view that is drawn
  int Width = 0, Height = 0;  ///< of the view, in pixels
  ScreenRect Dirty;           ///< union of what was merged since the frame began

  /// Enlarges Dirty by a rectangle; one without extent changes nothing.
  void Merge(const ScreenRect& rect);
  /// Rectangle of pixels that a box covers, one pixel wider on each side; all zero for a box without extent, the whole view for
  /// one that reaches behind the eye.
  ScreenRect Project(const VolumeBox& box) const;
};
