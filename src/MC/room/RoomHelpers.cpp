#include "MC/room/RoomHelpers.h"

#include <cmath>
#include <exception>

#include "comms/Str.h"
#include "shell/core/DataPath.h"

using comms::cVec3;
using comms::Format;

JsonObject BoundsFigure(const cVec3& minimum, const cVec3& maximum) {
  return JsonObject().Add("min", minimum).Add("max", maximum);
}

std::vector<VolumeObject*> FindVolumes(const VoxelScene& scene, const std::string& name, std::string& error) {
  std::vector<VolumeObject*> volumes;
  if (name.empty() && !scene.Volumes().empty()) {
    for (const auto& volume : scene.Volumes()) volumes.push_back(volume.get());
  } else if (VolumeObject* volume = scene.FindOrCurrent(name, error)) {
    volumes.push_back(volume);
  }
  return volumes;
}

std::string PrepareOutputPath(const VoxelScene& scene, std::string path) {
  static constexpr std::string_view mark = "{Name}";
  const std::string name = scene.Current() ? scene.Current()->Name : "";
  for (size_t at = path.find(mark); at != std::string::npos; at = path.find(mark, at + name.size()))
    path.replace(at, mark.size(), name);
  MakeFolderOf(path);  // where it can't be made, the write that follows tells what is wrong
  return path;
}

std::string CheckExtension(const std::string& path, const char* extension) {
  const std::string found = comms::GetExtension(path);
  if (found.empty() || comms::EqualsNoCase(found, extension)) return {};
  return Format("File=%s: files of the kind '%s' are written here; the extension is to be '.%s', or left out", path.c_str(),
                extension, extension);
}

bool IsVolumeName(const std::string& name, std::string& error) {
  if (!name.empty() && name.size() <= MaxVolumeName && name != "." && name != ".." &&
      name.find_first_of("/\\") == std::string::npos)
    return true;
  error = Format("'%s' can't be the name of a volume: 1 to 200 bytes without slashes are expected", name.substr(0, 60).c_str());
  return false;
}

bool MayEnterVolume(const VoxelScene& scene, Messages& messages, const std::string& name, bool replace, std::string& error) {
  if (!IsVolumeName(name, error)) return false;
  if (replace || !scene.Find(name)) return true;
  const std::string question = Format("The scene holds a volume '%s'. Replace it?", name.c_str());
  if (messages.Ask("Volume", question.c_str(), {"Replace", "Keep"}, 1) == 0) return true;
  error = Format("the scene holds a volume '%s' already; Replace=true replaces it", name.c_str());
  return false;
}

comms::cMat4 MakeVolumeSpace(float voxelSize) { return comms::cMat4::Scale(voxelSize); }

float GetVoxelSize(const VolumeObject& volume) { return float(std::cbrt(std::fabs(Determinant3(volume.SpaceMatrix)))); }

std::string CheckReach(const VolumeObject& volume, const PenSample& sample) {
  constexpr float maxVoxel = float(CellKeyLimit) * CellSize;
  const float voxel = GetVoxelSize(volume);
  if (sample.Radius > MaxRadiusVoxels * voxel)
    return Format("a radius of %g is %.0f voxels of the volume '%s'; at most %.0f voxels are possible", double(sample.Radius),
                  double(sample.Radius / voxel), volume.Name.c_str(), double(MaxRadiusVoxels));
  const cVec3 p = volume.WorldToVolume(sample.Position);
  if (!(std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)}) < maxVoxel - MaxRadiusVoxels))
    return Format("the point %g %g %g lies %g voxels from the origin of the volume '%s'; %.0f are possible",
                  double(sample.Position.x), double(sample.Position.y), double(sample.Position.z), double(Length(p)),
                  volume.Name.c_str(), double(maxVoxel));
  return {};
}

StrokeScope::~StrokeScope() {
  if (m_Volume.BackupCount == 0) return;
  m_Volume.EndStroke(true);
  try {
    m_Volume.RefreshSurfaces();
  } catch (const std::exception&) {
    // The marks stay, and the next who wants the surface makes it.
  }
}

void FinishStep(VoxelScene& scene, VolumeObject& volume, const char* name) {
  const uint64_t before = scene.History().State();
  FinishStroke(volume, &scene.History(), {.RefreshEachDab = false, .BuildGroups = false});
  if (scene.History().State() != before) scene.History().NameLastStep(name);
}
