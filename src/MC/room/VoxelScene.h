#pragma once
// What the commands of the voxel room work on: a list of named volumes, one of them current, and the mesh that was imported last.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "MC/VolumeObject.h"
#include "MC/room/StrokeHistory.h"
#include "comms/cRawMesh.h"

class VoxelScene {
 public:
  /// `dataFolder` holds the program's own files; shaders are read from there.
  explicit VoxelScene(std::string dataFolder);
  ~VoxelScene();
  VoxelScene(const VoxelScene&) = delete;
  VoxelScene& operator=(const VoxelScene&) = delete;

  const std::string& DataFolder() const { return m_DataFolder; }

  /// In the order in which they were made.
  const std::vector<std::unique_ptr<VolumeObject>>& Volumes() const { return m_List.Volumes; }
  /// Null where the scene is empty.
  VolumeObject* Current() const { return m_List.Current; }
  /// Null where there is none of that name; the case of letters counts.
  VolumeObject* Find(const std::string& name) const;
  /// The volume of that name, for the empty name the current one; null with one sentence in `error` where there is none.
  VolumeObject* FindOrCurrent(const std::string& name, std::string& error) const;
  /// Enters a volume, which becomes current, in place of the one that has its name. This and the two that follow are steps of
  /// History.
  VolumeObject& Add(std::unique_ptr<VolumeObject> volume);
  /// The volume before it, else the first one, becomes current.
  void Remove(VolumeObject& volume);
  /// `name` is free.
  void Rename(VolumeObject& volume, std::string name);
  void Select(VolumeObject& volume) { m_List.Current = &volume; }
  /// Takes everything out: volumes, history and the imported mesh.
  void Clear();

  /// Undo and redo. Volumes that leave the scene are kept there.
  StrokeHistory& History() { return m_History; }
  const StrokeHistory& History() const { return m_History; }

  /// Stands for what the volumes hold: another one after every change, the same again once that is undone.
  std::pair<uint64_t, uint64_t> State() const { return {m_Cleared, m_History.State()}; }

  /// The mesh that was imported last; null before.
  const comms::cRawMesh* Mesh() const { return m_Mesh.get(); }
  /// File name of that mesh without folder and extension.
  const std::string& MeshName() const { return m_MeshName; }
  void SetMesh(std::unique_ptr<comms::cRawMesh> mesh, std::string name);
  /// Hands the mesh over; there is none then.
  std::unique_ptr<comms::cRawMesh> TakeMesh() { return std::move(m_Mesh); }

 private:
  std::string m_DataFolder, m_MeshName;
  VolumeList m_List;
  StrokeHistory m_History{m_List};  // goes before the volumes, whose cells it holds
  uint64_t m_Cleared = 0;           // times
  std::unique_ptr<comms::cRawMesh> m_Mesh;
};
