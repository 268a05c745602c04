#pragma once
// What an empty scene can begin with.
#include <string>

#include "MC/room/VoxelScene.h"

/// Enters a volume with a solid ball about its origin, which becomes current. `radius` and `voxelSize` are above 0, world units;
/// the ball is at most 240 voxels in radius, larger ones get larger voxels. A free name is made from `name`.
VolumeObject& MakeSphereVolume(VoxelScene& scene, const std::string& name, float radius, float voxelSize);
