#pragma once
// The volumes of the voxel room as the object browser shows them.
#include "MC/room/VoxelScene.h"
#include "interface/ObjBrowser.h"

class VoxTreeModel : public ObjTreeModel {
 public:
  /// The scene outlives the model.
  explicit VoxTreeModel(VoxelScene& scene) : m_Scene(scene) {}
  std::vector<Node> GetChildren(Node parent) const override;
  std::string GetName(Node node) const override;
  bool IsSelected(Node node) const override;
  void Select(Node node, bool extend) override;
  uint8_t GetOfferedFlags() const override { return 0; }
  std::string GetIcon(Node) const override { return "Voxels"; }
  bool CanRename(Node) const override { return true; }
  bool Rename(Node node, const std::string& name, std::string& expected) override;
  bool CanRemove(Node) const override { return true; }
  void Remove(Node node) override;

 private:
  VolumeObject* Find(Node node) const;
  VoxelScene& m_Scene;
};
