#include "MC/room/VoxelScene.h"

#include <algorithm>

#include "ClassEngine/Assert.h"
#include "comms/Str.h"

using comms::Format;

VoxelScene::VoxelScene(std::string dataFolder) : m_DataFolder(std::move(dataFolder)) {}
VoxelScene::~VoxelScene() = default;

VolumeObject* VoxelScene::Find(const std::string& name) const {
  const auto found = std::find_if(m_Volumes.begin(), m_Volumes.end(), [&](const auto& volume) { return volume->Name == name; });
  return found == m_Volumes.end() ? nullptr : found->get();
}

VolumeObject* VoxelScene::FindOrCurrent(const std::string& name, std::string& error) const {
  VolumeObject* volume = name.empty() ? m_Current : Find(name);
  if (volume) return volume;
  if (m_Volumes.empty()) {
    error = "the scene holds no volume; NewVolume or Voxelize makes one";
    return nullptr;
  }
  std::string names;
  for (const auto& other : m_Volumes) names += (names.empty() ? "'" : ", '") + other->Name + "'";
  error = Format("there is no volume '%s'; the scene holds %s", name.c_str(), names.c_str());
  return nullptr;
}

VolumeObject& VoxelScene::Add(std::unique_ptr<VolumeObject> volume) {
  Touch();
  m_Current = volume.get();
  for (auto& place : m_Volumes)
    if (place->Name == volume->Name) {
      m_History.Forget(*place);
      place = std::move(volume);
      return *m_Current;
    }
  m_Volumes.push_back(std::move(volume));
  return *m_Current;
}

void VoxelScene::Remove(VolumeObject& volume) {
  const auto found = std::find_if(m_Volumes.begin(), m_Volumes.end(), [&](const auto& other) { return other.get() == &volume; });
  MORVANE_ASSERT(found != m_Volumes.end());
  const size_t before = found == m_Volumes.begin() ? 0 : size_t(found - m_Volumes.begin()) - 1;
  const bool wasCurrent = m_Current == &volume;
  Touch();
  m_History.Forget(volume);
  m_Volumes.erase(found);
  if (wasCurrent) m_Current = m_Volumes.empty() ? nullptr : m_Volumes[before].get();
}

void VoxelScene::Clear() {
  Touch();
  m_History.Clear();
  m_Volumes.clear();
  m_Current = nullptr;
  SetMesh(nullptr, {});
}

void VoxelScene::SetMesh(std::unique_ptr<comms::cRawMesh> mesh, std::string name) {
  m_Mesh = std::move(mesh);
  m_MeshName = std::move(name);
}
