#include "shell/app/VoxTreeModel.h"

#include "MC/room/RoomHelpers.h"
#include "interface/Language.h"

// A node is the address of a volume; one that has left the scene in the meantime is nothing.
VolumeObject* VoxTreeModel::Find(Node node) const {
  for (const auto& volume : m_Scene.Volumes())
    if (volume.get() == node) return volume.get();
  return nullptr;
}

std::vector<ObjTreeModel::Node> VoxTreeModel::GetChildren(Node parent) const {
  std::vector<Node> nodes;
  if (parent) return nodes;
  for (const auto& volume : m_Scene.Volumes()) nodes.push_back(volume.get());
  return nodes;
}

std::string VoxTreeModel::GetName(Node node) const {
  const VolumeObject* volume = Find(node);
  return volume ? volume->Name : std::string();
}

bool VoxTreeModel::IsSelected(Node node) const { return node && node == m_Scene.Current(); }

void VoxTreeModel::Select(Node node, bool) {
  if (VolumeObject* volume = Find(node)) m_Scene.Select(*volume);
}

bool VoxTreeModel::Rename(Node node, const std::string& name, std::string& expected) {
  VolumeObject* volume = Find(node);
  if (!volume || volume->Name == name) return volume != nullptr;
  if (!IsVolumeName(name, expected)) return expected = GetText("EXPECTED_VOLUME_NAME"), false;
  if (m_Scene.Find(name)) return expected = GetText("EXPECTED_FREE_VOLUME_NAME"), false;
  m_Scene.Rename(*volume, name);
  return true;
}

void VoxTreeModel::Remove(Node node) {
  if (VolumeObject* volume = Find(node)) m_Scene.Remove(*volume);
}
