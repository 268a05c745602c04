// NewVolume, SelectVolume, DeleteVolume, ListVolumes, ClearScene.
#include "ClassEngine/ValueTypes.h"
#include "MC/room/RoomCommands.h"
#include "MC/room/RoomHelpers.h"
#include "shell/core/BasicTool.h"

namespace {

class NewVolumeParams : public CommandParameters {
  REFLECTED(NewVolumeParams, CommandParameters)
 public:
  _str Name;
  float VoxelSize = 0.01f;
  bool Replace = false;
};
DECLARE_MEMBERS(NewVolumeParams) {
  Member<_str>("Name", Name).Hint("Name of the new volume, which becomes the current one");
  Member<_float>("VoxelSize", VoxelSize)
      .Range(1e-6, 1e6)
      .Unit("world units")
      .Hint("Side of a voxel; details finer than this are lost");
  Member<_bool>("Replace", Replace).Hint("Replace a volume that has this name");
}

class VolumeNameParams : public CommandParameters {
  REFLECTED(VolumeNameParams, CommandParameters)
 public:
  _str Name;
};
DECLARE_MEMBERS(VolumeNameParams) { Member<_str>("Name", Name).Hint("Name of the volume"); }

CommandResult MakeVolume(VoxelScene& scene, Messages& messages, const NewVolumeParams& parameters) {
  const std::string name = parameters.Name.ToString();
  std::string error;
  if (!MayEnterVolume(scene, messages, name, parameters.Replace, error)) return CommandResult::Fail(error);
  auto volume = std::make_unique<VolumeObject>();
  volume->Name = name;
  volume->SpaceMatrix = MakeVolumeSpace(parameters.VoxelSize);
  scene.Add(std::move(volume));
  return CommandResult::Done(JsonObject().Add("name", name).Add("voxelSize", parameters.VoxelSize));
}

// The volume that a command names which works on no other: an empty name does not stand for the current one.
VolumeObject* FindNamed(const VoxelScene& scene, const std::string& name, std::string& error) {
  if (!name.empty()) return scene.FindOrCurrent(name, error);
  error = "Name is empty; ListVolumes tells the names";
  return nullptr;
}

CommandResult ListVolumes(const VoxelScene& scene) {
  JsonArray volumes;
  for (const auto& volume : scene.Volumes())
    volumes.AddEncoded(JsonObject()
                           .Add("name", volume->Name)
                           .Add("voxelSize", GetVoxelSize(*volume))
                           .Add("cells", volume->Cells.Count())
                           .Add("current", volume.get() == scene.Current())
                           .Text());
  return CommandResult::Done(JsonObject().Add("volumes", volumes));
}

}  // namespace

void AddVolumeCommands(CommandTable& table, VoxelScene& scene, Messages& messages) {
  table.Add<NewVolumeParams>(
      "NewVolume", "Adds an empty volume to sculpt into.",
      [&](const NewVolumeParams& parameters) { return MakeVolume(scene, messages, parameters); }, {"Name"}, true);
  table.Add<VolumeNameParams>("SelectVolume", "Makes a volume the current one, on which commands work that name none.",
                              [&](const VolumeNameParams& parameters) {
                                std::string error;
                                VolumeObject* volume = FindNamed(scene, parameters.Name.ToString(), error);
                                if (!volume) return CommandResult::Fail(error);
                                scene.Select(*volume);
                                return CommandResult::Done(JsonObject().Add("name", volume->Name));
                              },
                              {"Name"});
  table.Add<VolumeNameParams>(
      "DeleteVolume", "Takes a volume out of the scene.",
      [&](const VolumeNameParams& parameters) {
        std::string error;
        VolumeObject* volume = FindNamed(scene, parameters.Name.ToString(), error);
        if (!volume) return CommandResult::Fail(error);
        scene.Remove(*volume);
        return CommandResult::Done(JsonObject().Add("volumes", scene.Volumes().size()));
      },
      {"Name"}, true);
  table.Add<NoParameters>("ClearScene", "Takes all volumes and the imported mesh out of the scene.", [&](const NoParameters&) {
    const size_t count = scene.Volumes().size();
    scene.Clear();
    TellNewScene();
    return CommandResult::Done(JsonObject().Add("volumes", count));
  });
  table.Add<NoParameters>("ListVolumes", "Tells the volumes of the scene.",
                          [&](const NoParameters&) { return ListVolumes(scene); });
}
