// ImportMesh, Validate, Voxelize.
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "ClassEngine/ValueTypes.h"
#include "MC/room/LoggedMeshIO.h"
#include "MC/room/RoomCommands.h"
#include "MC/room/RoomHelpers.h"
#include "comms/Str.h"
#include "comms/cRawMesh.h"
#include "shell/core/InputFiles.h"

using comms::cRawMesh;
using comms::cVec3;
using comms::Format;

namespace {

class ImportMeshParams : public CommandParameters {
  REFLECTED(ImportMeshParams, CommandParameters)
 public:
  _str File;
  bool SwapYZ = false;
};
DECLARE_MEMBERS(ImportMeshParams) {
  Member<_str>("File", File).Hint("Mesh file, or several parted by ';', which become one mesh");
  Member<_bool>("SwapYZ", SwapYZ).Hint("The file has z up");
}

class ValidateParams : public CommandParameters {
  REFLECTED(ValidateParams, CommandParameters)
 public:
  _str File;
};
DECLARE_MEMBERS(ValidateParams) { Member<_str>("File", File).Hint("Mesh file to check; the scene stays as it is"); }

// Each of the names in a list parted by ';', found on its own.
std::string FindMeshFiles(const std::string& names) {
  std::string found;
  for (size_t start = 0; start <= names.size();) {
    const size_t end = std::min(names.find(';', start), names.size());
    found += (start ? ";" : "") + FindInputFile(names.substr(start, end - start));
    start = end + 1;
  }
  return found;
}

// Triangles of all polygons, cut into fans.
int64_t CountTriangles(const cRawMesh& mesh) {
  int64_t triangles = 0;
  for (size_t i = 0; i < mesh.Polygons.size(); i += size_t(mesh.Polygons[i].Corners()) + 1)
    triangles += std::max(0, mesh.Polygons[i].Corners() - 2);
  return triangles;
}

JsonObject DescribeMesh(const cRawMesh& mesh) {
  constexpr float infinite = std::numeric_limits<float>::infinity();
  cVec3 minimum{infinite, infinite, infinite}, maximum = -minimum;
  for (const cVec3& p : mesh.Positions)
    for (int i = 0; i < 3; ++i) {
      minimum[i] = std::min(minimum[i], p[i]);
      maximum[i] = std::max(maximum[i], p[i]);
    }
  return JsonObject()
      .Add("vertices", mesh.Positions.size())
      .Add("polygons", mesh.CountPolygons())
      .Add("triangles", CountTriangles(mesh))
      .Add("objects", mesh.Objects.size())
      .Add("materials", mesh.Materials.size())
      .Add("bounds", BoundsFigure(minimum, maximum));
}

CommandResult ImportMesh(VoxelScene& scene, const ImportMeshParams& parameters) {
  const std::string names = FindMeshFiles(parameters.File.ToString());
  std::string error;
  std::unique_ptr<cRawMesh> mesh = LoadMeshLogged(names, parameters.SwapYZ, error);
  if (!mesh) return CommandResult::NoInput(error);
  if (mesh->CountPolygons() == 0) return CommandResult::NoInput(names + ": holds no polygons");
  if (!mesh->HasValidIndices())
    return CommandResult::NoInput(names + ": polygons point at vertices that the file does not hold; Validate tells which");
  const JsonObject figures = DescribeMesh(*mesh);
  scene.SetMesh(std::move(mesh), comms::GetBaseName(names.substr(0, names.find(';'))));
  return CommandResult::Done(figures);
}

CommandResult Validate(const ValidateParams& parameters) {
  const std::string names = FindMeshFiles(parameters.File.ToString());
  std::string error;
  const std::unique_ptr<cRawMesh> mesh = LoadMeshLogged(names, false, error);
  if (!mesh) return CommandResult::NoInput(error);
  return CommandResult::Done(
      JsonObject().Add("faults", mesh->Validate()).Add("vertices", mesh->Positions.size()).Add("polygons", mesh->CountPolygons()));
}

}  // namespace

void AddMeshCommands(CommandTable& table, VoxelScene& scene, Messages&) {
  table.Add<ImportMeshParams>(
      "ImportMesh", "Reads a mesh, for Voxelize.", [&](const ImportMeshParams& parameters) { return ImportMesh(scene, parameters); },
      {"File"});
  table.Add<ValidateParams>(
      "Validate", "Counts the faults of a mesh file; each is told in the log.",
      [](const ValidateParams& parameters) { return Validate(parameters); }, {"File"});
}
