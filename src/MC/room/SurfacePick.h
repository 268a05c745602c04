#pragma once
// Where a ray meets the surface of a volume.
#include "MC/VolumeObject.h"
#include "MC/room/SceneView.h"
#include "MC/room/VoxelScene.h"

struct SurfaceHit {
  comms::cVec3 Position;           ///< world space
  comms::cVec3 Normal{0, 0, 1};    ///< outward, length 1
  VolumeObject* Volume = nullptr;  ///< null: nothing was met
  float Distance = 0;              ///< along the ray, world units
  explicit operator bool() const { return Volume != nullptr; }
};

/// First place at which the ray enters the solid of a volume: where the trilinear density rises to the surface level. A ray that
/// begins within the solid leaves it first. While a stroke is open the surface is the one at its beginning, so that a brush does
/// not climb on its own trace. Cost: one look-up for each cell along the ray, samples only in cells that cross the surface.
SurfaceHit PickVolume(VolumeObject& volume, const SceneRay& ray, float maxDistance = 1e30f);
/// The nearest hit over all volumes of a scene.
SurfaceHit PickScene(const VoxelScene& scene, const SceneRay& ray, float maxDistance = 1e30f);
