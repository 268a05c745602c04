#pragma once
// A soft shadow on the ground under the scene, from the boxes of the surface alone: the closer something stands over the ground,
// the darker and the sharper.
#include <cstdint>
#include <vector>

#include "MC/room/VoxelScene.h"

struct GroundShadow {
  static constexpr int Side = 128;  ///< texels
  comms::cVec3 Center;              ///< of the square on the ground, world space
  float HalfX = 0, HalfZ = 0;       ///< half its sides; 0: there is no shadow
  std::vector<uint8_t> Pixels;  ///< Side x Side times RGBA, rows along x, from the least z; the part of light that is kept off
};

/// Shadow on the plane y = `ground` of everything in the box (`minimum`, `maximum`), which holds the scene. Cost: a few tens of
/// thousands of boxes at most, whatever the size of the scene.
void MakeGroundShadow(const VoxelScene& scene, const comms::cVec3& minimum, const comms::cVec3& maximum, float ground,
                      GroundShadow& shadow);
