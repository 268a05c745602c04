#include "MC/room/VoxelScene.h"

#include <algorithm>

#include "ClassEngine/Assert.h"
#include "comms/Str.h"

using comms::Format;

VoxelScene::VoxelScene(std::string dataFolder) : m_DataFolder(std::move(dataFolder)) {}
VoxelScene::~VoxelScene() = default;

VolumeObject* VoxelScene::Find(const std::string& name) const {
  const auto found =
      std::find_if(m_List.Volumes.begin(), m_List.Volumes.end(), [&](const auto& volume) { return volume->Name == name; });
  return found == m_List.Volumes.end() ? nullptr : found->get();
}

VolumeObject* VoxelScene::FindOrCurrent(const std::string& name, std::string& error) const {
  VolumeObject* volume = name.empty() ? m_List.Current : Find(name);
  if (volume) return volume;
  if (m_List.Volumes.empty()) {
    error = "the scene holds no volume; NewVolume or Voxelize makes one";
    return nullptr;
  }
  std::string names;
  for (const auto& other : m_List.Volumes) names += (names.empty() ? "'" : ", '") + other->Name + "'";
  error = Format("there is no volume '%s'; the scene holds %s", name.c_str(), names.c_str());
  return nullptr;
}

static size_t PlaceOf(const VolumeList& list, const VolumeObject& volume) {
  const auto found =
      std::find_if(list.Volumes.begin(), list.Volumes.end(), [&](const auto& other) { return other.get() == &volume; });
  MORVANE_ASSERT(found != list.Volumes.end());
  return size_t(found - list.Volumes.begin());
}

VolumeObject& VoxelScene::Add(std::unique_ptr<VolumeObject> volume) {
  const VolumeObject* const same = Find(volume->Name);
  m_History.Enter(std::move(volume), same ? PlaceOf(m_List, *same) : m_List.Volumes.size(), same != nullptr);
  return *m_List.Current;
}

void VoxelScene::Remove(VolumeObject& volume) { m_History.Remove(PlaceOf(m_List, volume)); }

void VoxelScene::Rename(VolumeObject& volume, std::string name) { m_History.Rename(volume, std::move(name)); }

void VoxelScene::Clear() {
  m_Cleared++;
  m_History.Clear();
  m_List = {};
  SetMesh(nullptr, {});
}

void VoxelScene::SetMesh(std::unique_ptr<comms::cRawMesh> mesh, std::string name) {
  m_Mesh = std::move(mesh);
  m_MeshName = std::move(name);
}
