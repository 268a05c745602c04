#include "MC/room/NewScene.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "MC/Dabs.h"
#include "MC/room/RoomHelpers.h"

// A dab's field reaches ApplyOptions::DefaultCellCap cells at most, those within the ball included.
static constexpr float MaxBallVoxels = 240;

VolumeObject& MakeSphereVolume(VoxelScene& scene, const std::string& name, float radius, float voxelSize) {
  std::string freeName = name;
  for (int number = 2; scene.Find(freeName); number++) freeName = name + std::to_string(number);
  voxelSize = std::max(voxelSize, radius / MaxBallVoxels);
  auto volume = std::make_unique<VolumeObject>();
  volume->Name = freeName;
  volume->SpaceMatrix = MakeVolumeSpace(voxelSize);
  ApplySphereDab(*volume, {0, 0, 0}, radius / voxelSize, {});
  volume->EndStroke(false);
  volume->RefreshChanges();
  return scene.Add(std::move(volume));
}
