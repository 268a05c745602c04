// ExportMesh, ExportStl.
#include "ClassEngine/ValueTypes.h"
#include "MC/RefreshProgress.h"
#include "MC/StlExport.h"
#include "MC/SurfaceExtract.h"
#include "MC/room/LoggedMeshIO.h"
#include "MC/room/RoomCommands.h"
#include "MC/room/RoomHelpers.h"
#include "comms/Progress.h"
#include "comms/Str.h"

namespace {

class ExportParams : public CommandParameters {
  REFLECTED(ExportParams, CommandParameters)
 public:
  _str File, Volume;
  bool SwapYZ = false;
};
DECLARE_MEMBERS(ExportParams) {
  Member<_str>("File", File).Hint("File to write; {Name} stands for the current volume's name");
  Member<_str>("Volume", Volume).Hint("Name of the volume; empty: all");
  Member<_bool>("SwapYZ", SwapYZ).Hint("Write with z up");
}

// The volumes with their surfaces up to date; empty with one sentence where there is no surface to write.
std::vector<VolumeObject*> PrepareVolumes(const VoxelScene& scene, const ExportParams& parameters, size_t& triangles,
                                          std::string& error) {
  std::vector<VolumeObject*> volumes = FindVolumes(scene, parameters.Volume.ToString(), error);
  triangles = 0;
  RefreshProgress progress;
  for (VolumeObject* volume : volumes) {
    volume->RefreshSurfaces();
    if (progress.IsCancelled()) {
      error = CancelledSentence;
      return {};
    }
    volume->ForEachCell([&](const CellKey&, const VoxelCell& cell) {
      if (cell.Surface && !cell.Has(ShadowCell)) triangles += cell.Surface->Indices().Count() / 3;
    });
  }
  if (!volumes.empty() && triangles == 0) {
    error = "there is no surface to write";
    volumes.clear();
  }
  return volumes;
}

CommandResult ExportToMesh(const VoxelScene& scene, const ExportParams& parameters) {
  std::string error;
  size_t triangles = 0;
  const std::vector<VolumeObject*> volumes = PrepareVolumes(scene, parameters, triangles, error);
  if (volumes.empty()) return CommandResult::Fail(error);
  const std::string path = PrepareOutputPath(scene, parameters.File.ToString());
  std::unique_ptr<comms::cRawMesh> mesh = ExtractSurface(volumes);
  if (!comms::ShowProgress(0, 1, "ExportMesh")) return CommandResult::Fail(CancelledSentence);
  const size_t vertices = mesh->Positions.size();
  if (!SaveMeshLogged(std::move(mesh), path, parameters.SwapYZ, error)) return CommandResult::NoOutput(error);
  return CommandResult::Done(
      JsonObject().Add("file", path).Add("volumes", volumes.size()).Add("vertices", vertices).Add("triangles", triangles));
}

CommandResult ExportToStl(const VoxelScene& scene, const ExportParams& parameters) {
  std::string error = CheckExtension(parameters.File.ToString(), "stl");
  if (!error.empty()) return CommandResult::Refuse(error);
  size_t triangles = 0;
  const std::vector<VolumeObject*> volumes = PrepareVolumes(scene, parameters, triangles, error);
  if (volumes.empty()) return CommandResult::Fail(error);
  const std::string path = PrepareOutputPath(scene, parameters.File.ToString());
  if (!ExportStl({volumes.begin(), volumes.end()}, path, {parameters.SwapYZ}, error)) return CommandResult::NoOutput(error);
  return CommandResult::Done(JsonObject().Add("file", path).Add("volumes", volumes.size()).Add("triangles", triangles));
}

}  // namespace

void AddExportCommands(CommandTable& table, VoxelScene& scene) {
  table.Add<ExportParams>("ExportMesh",
                          "Writes the surface as a mesh file, welded, with normals; the extension chooses the format.",
                          [&](const ExportParams& parameters) { return ExportToMesh(scene, parameters); }, {"File"});
  table.Add<ExportParams>("ExportStl", "Writes the surface as a binary STL file.",
                          [&](const ExportParams& parameters) { return ExportToStl(scene, parameters); }, {"File"});
}
