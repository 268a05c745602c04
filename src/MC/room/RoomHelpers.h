#pragma once
// What several commands of the room need.
#include <string>
#include <vector>

#include "MC/Stroke.h"
#include "MC/room/VoxelScene.h"
#include "shell/core/CommandResult.h"
#include "shell/core/Messages.h"

/// {"min": [x, y, z], "max": [x, y, z]}
JsonObject BoundsFigure(const comms::cVec3& minimum, const comms::cVec3& maximum);

/// The volumes that a command for "all or one" works on: the named one, or all. Empty with one sentence in `error` where there is
/// none.
std::vector<VolumeObject*> FindVolumes(const VoxelScene& scene, const std::string& name, std::string& error);

/// `path` with every {Name} replaced by the current volume's name. All missing folders of the result are made.
std::string PrepareOutputPath(const VoxelScene& scene, std::string path);
/// One sentence where `path` has an extension other than that of the only format which is written; empty where it has this one
/// or none.
std::string CheckExtension(const std::string& path, const char* extension);

/// The sentence of a command that the person cancelled.
inline constexpr char CancelledSentence[] = "cancelled; the scene is as it was";

/// Bytes of the name of a volume.
inline constexpr size_t MaxVolumeName = 200;
/// 1 to MaxVolumeName bytes that can be part of a file name. One sentence in `error` for anything else.
bool IsVolumeName(const std::string& name, std::string& error);

/// Whether a volume may be entered under `name`: a free name may; a taken one only with `replace`, or where the person agrees.
/// Without a person the volume stays. Names are 1 to 200 bytes and can be part of a file name. One sentence in `error` where it
/// may not.
bool MayEnterVolume(const VoxelScene& scene, Messages& messages, const std::string& name, bool replace, std::string& error);

/// Space of a volume whose voxels are cubes of side `voxelSize`, with voxel 0 in the world's origin.
comms::cMat4 MakeVolumeSpace(float voxelSize);
/// Voxels that the radius of a dab may span: the cells that its surface crosses stay below half a million.
inline constexpr float MaxRadiusVoxels = 1024;
/// One sentence where a pen sample lies beyond what a volume can hold; empty where it doesn't.
std::string CheckReach(const VolumeObject& volume, const PenSample& sample);
/// Where the scope is left before the volume's stroke has ended, by an exception too, the stroke is taken back.
class StrokeScope {
 public:
  explicit StrokeScope(VolumeObject& volume) : m_Volume(volume) {}
  ~StrokeScope();
  StrokeScope(const StrokeScope&) = delete;
  StrokeScope& operator=(const StrokeScope&) = delete;

 private:
  VolumeObject& m_Volume;
};
/// Ends what was changed in a volume as one step of the history, by the name of `name` (a language key), and refreshes its
/// surface; group meshes wait for whoever draws. No step where nothing was touched.
void FinishStep(VoxelScene& scene, VolumeObject& volume, const char* name);
/// Mean side of a voxel, world units.
float GetVoxelSize(const VolumeObject& volume);
