// ImportMesh, Validate, Voxelize.
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

#include "ClassEngine/ValueTypes.h"
#include "MC/ApplyField.h"
#include "MC/MeshVoxelizer.h"
#include "MC/room/LoggedMeshIO.h"
#include "MC/room/RoomCommands.h"
#include "MC/room/RoomHelpers.h"
#include "comms/Log.h"
#include "comms/MeshFault.h"
#include "comms/Progress.h"
#include "comms/SafeFile.h"
#include "comms/Str.h"
#include "comms/cRawMesh.h"
#include "shell/core/InputFiles.h"
#include "shell/core/Utf8.h"

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

class VoxelizeParams : public CommandParameters {
  REFLECTED(VoxelizeParams, CommandParameters)
 public:
  _str Name, Into;
  int32_t Resolution = 256;
  float VoxelSize = 0;
  int32_t Mode = ApplyAdd;
  bool Replace = false;
};
DECLARE_MEMBERS(VoxelizeParams) {
  Member<_str>("Name", Name).Hint("Name of the new volume, which becomes the current one; empty: the name of the mesh's file");
  Member<_int>("Resolution", Resolution).Range(8, 16384).Unit("voxels").Hint("Along the longest side of the mesh");
  Member<_float>("VoxelSize", VoxelSize)
      .Range(0, 1e6)
      .Unit("world units")
      .Hint("Side of a voxel, in place of Resolution; 0: Resolution counts");
  Member<_bool>("Replace", Replace).Hint("Replace a volume that has this name");
  Member<_str>("Into", Into).Hint("Name of a volume that the mesh is merged into, in place of a new one; it keeps its voxels");
  Member<_int>("Mode", Mode).Range(0, 2).Hint("With Into: 0 adds, 1 subtracts, 2 leaves what both have");
}

// Each of the names in a list parted by ';', found on its own. A file that has the whole list for its name is that file.
std::vector<std::string> FindMeshFiles(const std::string& names) {
  if (const std::string whole = FindInputFile(names); comms::FileExists(whole)) return {whole};
  std::vector<std::string> found;
  for (size_t start = 0; start <= names.size();) {
    const size_t end = std::min(names.find(';', start), names.size());
    if (end > start || names.empty()) found.push_back(FindInputFile(names.substr(start, end - start)));
    start = end + 1;
  }
  return found;
}

struct ReadFile {
  std::unique_ptr<cRawMesh> Mesh;  // null where the file can't be read
  std::string Name, Fault;         // Fault: why the mesh is not to be worked on, or not there; empty where it may be
};

// The files of a list, each looked at on its own: after merging, an index past the vertices of its file meets those of the next.
// `take` answers false to end it. False with a sentence where no file could be read.
bool ReadMeshFiles(const _str& names, bool swapYZ, std::string& error, const std::function<bool(ReadFile&)>& take) {
  bool isAnyRead = false;
  const std::vector<std::string> files = FindMeshFiles(names.ToString());
  error = "\"" + names.ToString() + "\" names no mesh file";
  for (const std::string& name : files) {
    ReadFile file{nullptr, name, {}};
    file.Mesh = LoadMeshLogged(name, swapYZ, file.Fault);
    if (!file.Mesh) {
      error = file.Fault;
      if (files.size() > 1) comms::LogWarning("%s It is left out.", error.c_str());
    } else {
      isAnyRead = true;
      if (file.Fault.empty()) file.Fault = comms::FindMeshFault(*file.Mesh, name);
    }
    if (!take(file)) break;
  }
  return isAnyRead;
}

// Triangles of all polygons, cut into fans.
int64_t CountTriangles(const cRawMesh& mesh) {
  int64_t triangles = 0;
  for (size_t i = 0; i < mesh.Polygons.size(); i += size_t(mesh.Polygons[i].Corners()) + 1)
    triangles += std::max(0, mesh.Polygons[i].Corners() - 2);
  return triangles;
}

void FindBounds(const cRawMesh& mesh, cVec3& minimum, cVec3& maximum) {
  constexpr float infinite = std::numeric_limits<float>::infinity();
  minimum = {infinite, infinite, infinite}, maximum = -minimum;
  for (const cVec3& p : mesh.Positions)
    for (int i = 0; i < 3; ++i) {
      minimum[i] = std::min(minimum[i], p[i]);
      maximum[i] = std::max(maximum[i], p[i]);
    }
}

JsonObject DescribeMesh(const cRawMesh& mesh) {
  cVec3 minimum, maximum;
  FindBounds(mesh, minimum, maximum);
  return JsonObject()
      .Add("vertices", mesh.Positions.size())
      .Add("polygons", mesh.CountPolygons())
      .Add("triangles", CountTriangles(mesh))
      .Add("objects", mesh.Objects.size())
      .Add("materials", mesh.Materials.size())
      .Add("bounds", BoundsFigure(minimum, maximum));
}

// The name of a mesh's file as that of a volume, which becomes part of file names and of text: without what is no character.
std::string MakeVolumeName(const std::string& fileName) {
  std::string name = comms::GetBaseName(fileName);
  for (size_t at = 0; at < name.size();) {
    const size_t length = Utf8SequenceLength(std::string_view(name).substr(at));
    if (length == 0 || static_cast<unsigned char>(name[at]) < ' ' || name[at] == '\x7f') name[at] = '_';
    at += std::max<size_t>(length, 1);
  }
  name = CutUtf8(name, MaxVolumeName);
  std::string unused;
  return IsVolumeName(name, unused) ? name : "mesh";
}

CommandResult ImportMesh(VoxelScene& scene, const ImportMeshParams& parameters) {
  std::unique_ptr<cRawMesh> mesh;
  std::string firstName, fault, error;
  const bool isRead = ReadMeshFiles(parameters.File, parameters.SwapYZ, error, [&](ReadFile& file) {
    if (!file.Mesh) return true;
    fault = file.Fault;
    if (!fault.empty()) return false;
    if (mesh) {
      mesh->Merge(*file.Mesh);
    } else {
      mesh = std::move(file.Mesh);
      firstName = file.Name;
    }
    return true;
  });
  if (!isRead) return CommandResult::NoInput(error);
  if (!fault.empty()) return CommandResult::NoInput(fault);
  if (mesh->CountPolygons() == 0) return CommandResult::NoInput(parameters.File.ToString() + ": holds no polygons");
  const JsonObject figures = DescribeMesh(*mesh);
  scene.SetMesh(std::move(mesh), MakeVolumeName(firstName));
  return CommandResult::Done(figures);
}

CommandResult Validate(const ValidateParams& parameters) {
  std::string error, first;
  int64_t faults = 0, polygons = 0;
  size_t vertices = 0;
  const bool isRead = ReadMeshFiles(parameters.File, false, error, [&](ReadFile& file) {
    int64_t found = 0;
    if (file.Mesh) {
      found = file.Mesh->Validate();
      vertices += file.Mesh->Positions.size();
      polygons += file.Mesh->CountPolygons();
      if (file.Fault.empty() && file.Mesh->Positions.empty() && file.Mesh->Polygons.empty())
        file.Fault = file.Name + ": holds neither vertices nor polygons";
    }
    faults +=
        std::max<int64_t>(found, file.Fault.empty() ? 0 : 1);  // what the codec or the file alone shows is none of the mesh's
    if (first.empty()) first = file.Fault;
    return true;
  });
  if (!isRead) return CommandResult::NoInput(error);
  JsonObject figures;
  figures.Add("faults", faults).Add("vertices", vertices).Add("polygons", polygons);
  if (!first.empty()) figures.Add("first", first);
  return CommandResult::Done(figures);
}

JsonObject DescribeVoxelization(const VolumeObject& volume, const VoxelizeReport& report) {
  return JsonObject()
      .Add("name", volume.Name)
      .Add("voxelSize", GetVoxelSize(volume))
      .Add("triangles", report.Triangles)
      .Add("rays", report.Rays)
      .Add("raysSkipped", report.SkippedRays)
      .Add("cells", volume.Cells.Count());
}

CommandResult VoxelizeAsNew(VoxelScene& scene, Messages& messages, const VoxelizeParams& parameters) {
  const bool bySize = parameters.VoxelSize > 0;
  if (bySize && parameters.IsGiven("Resolution"))
    return CommandResult::Refuse("Voxelize takes Resolution or VoxelSize, not both");
  if (parameters.IsGiven("Mode")) return CommandResult::Refuse("Voxelize takes Mode with Into alone");
  const std::string name = parameters.IsGiven("Name") ? parameters.Name.ToString() : scene.MeshName();
  std::string error;
  if (!MayEnterVolume(scene, messages, name, parameters.Replace, error)) return CommandResult::Fail(error);
  VoxelizeOptions options;
  options.Resolution = parameters.Resolution;
  options.VoxelSize = parameters.VoxelSize;
  auto volume = std::make_unique<VolumeObject>();
  volume->Name = name;
  VoxelizeReport report;
  if (!VoxelizeMesh(*scene.Mesh(), options, *volume, report, error))
    return CommandResult::Fail(report.Cancelled ? CancelledSentence : error);
  if (!comms::ShowProgress(1, 1, "Voxelize")) return CommandResult::Fail(CancelledSentence);
  volume->EndStroke(false);
  const VolumeObject& entered = scene.Add(std::move(volume));
  JsonObject figures = DescribeVoxelization(entered, report);
  figures.Add("resolution", std::max<int64_t>(1, std::llround(report.LongestSide)));
  return CommandResult::Done(figures);
}

CommandResult VoxelizeInto(VoxelScene& scene, const VoxelizeParams& parameters) {
  for (const char* name : {"Name", "Resolution", "VoxelSize", "Replace"})
    if (parameters.IsGiven(name)) return CommandResult::Refuse(Format("Voxelize takes Into or %s, not both", name));
  std::string error;
  VolumeObject* volume = scene.FindOrCurrent(parameters.Into.ToString(), error);
  if (!volume) return CommandResult::Fail(error);
  if (volume->BackupCount != 0) return CommandResult::Fail(Format("a stroke runs on the volume '%s'", volume->Name.c_str()));

  std::vector<int32_t> corners;
  if (!CutIntoTriangles(*scene.Mesh(), corners, error)) return CommandResult::Fail(error);
  const TriangleView triangles{scene.Mesh()->Positions.data(), scene.Mesh()->Positions.size(), corners.data(),
                               corners.size() / 3};
  // The space of a volume is a uniform scale and a translation.
  const comms::cMat4& space = volume->SpaceMatrix;
  VoxelMapping mapping;
  mapping.Scale = 1 / double(GetVoxelSize(*volume));
  for (int i = 0; i < 3; ++i) mapping.Shift[i] = -double(space.m[3][i]) * mapping.Scale;

  const StrokeScope scope(*volume);
  MeshVoxelizer voxelizer;
  voxelizer.AddMesh(triangles, mapping);
  if (!voxelizer.Run(volume, parameters.Mode, true))
    return CommandResult::Fail(voxelizer.Report.Cancelled ? CancelledSentence : voxelizer.Error);
  if (!comms::ShowProgress(1, 1, "Voxelize")) return CommandResult::Fail(CancelledSentence);  // the scope takes it back
  FinishStep(scene, *volume, "Voxelize");
  return CommandResult::Done(DescribeVoxelization(*volume, voxelizer.Report));
}

CommandResult Voxelize(VoxelScene& scene, Messages& messages, const VoxelizeParams& parameters) {
  if (!scene.Mesh()) return CommandResult::Fail("there is no mesh to voxelise; ImportMesh reads one");
  return parameters.IsGiven("Into") ? VoxelizeInto(scene, parameters) : VoxelizeAsNew(scene, messages, parameters);
}

}  // namespace

void AddMeshCommands(CommandTable& table, VoxelScene& scene, Messages& messages) {
  table.Add<ImportMeshParams>("ImportMesh", "Reads a mesh, for Voxelize.",
                              [&](const ImportMeshParams& parameters) { return ImportMesh(scene, parameters); }, {"File"});
  table.Add<VoxelizeParams>(
      "Voxelize",
      "Makes the mesh that was imported last solid in a volume. A mesh that is not closed gives the best solid that its rays "
      "tell; raysSkipped "
      "counts those that told nothing.",
      [&](const VoxelizeParams& parameters) { return Voxelize(scene, messages, parameters); }, {}, true);
  table.Add<ValidateParams>("Validate", "Counts the faults of a mesh file; each is told in the log.",
                            [](const ValidateParams& parameters) { return Validate(parameters); }, {"File"});
}
