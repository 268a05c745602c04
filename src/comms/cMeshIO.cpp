#include "comms/cMeshIO.h"

#include <dlfcn.h>
#include <algorithm>
#include <cstring>
#include <filesystem>

#include "comms/Log.h"
#include "comms/SafeFile.h"
#include "comms/cFile.h"
#include "comms/cMeshObj.h"
#include "comms/cRawMesh.h"

namespace comms {

bool cMeshIO::m_SwapYZ = false;

namespace {
struct CodecRecord {
  cStr Extension;
  cMeshCodec* Codec;
};
}  // namespace

// Never freed: codecs of plug-ins may not outlive their own libraries' clean-up.
static cList<CodecRecord>& Codecs() {
  static auto* const codecs = new cList<CodecRecord>;
  return *codecs;
}
static cStr& PluginFolder() {
  static cStr folder = "Plugins/MeshCodecs/";
  return folder;
}

// --- registry ---------------------------------------------------------------------------------------------------------------

bool cMeshIO::AddCodec(const char* extension, cMeshCodec* codec) {
  Init();
  if (FindCodec(extension)) return false;
  Codecs().push_back({extension, codec});
  LogInfo("cMeshIO::AddCodec(): Added \"%s\" mesh codec.", extension);
  return true;
}

cMeshCodec* cMeshIO::FindCodec(const char* extension) {
  Init();
  for (const CodecRecord& record : Codecs())
    if (EqualsNoCase(record.Extension, extension)) return record.Codec;
  return nullptr;
}

void cMeshIO::SetPluginFolder(const cStr& folder) { PluginFolder() = folder; }

static cList<cStr> ListPlugins() {
  cList<cStr> paths;
  std::error_code failure;
  for (std::filesystem::directory_iterator entry(PluginFolder(), failure), end; !failure && entry != end;
       entry.increment(failure))
    if (EqualsNoCase(GetExtension(entry->path().string()), "so"))
      paths.push_back(std::filesystem::absolute(entry->path(), failure).string());
  std::sort(paths.begin(), paths.end());  // the order of a folder is nobody's promise
  return paths;
}

static void LoadPlugin(const cStr& path) {
  void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) return;
  // The names of the three functions as the compiler writes them.
  const auto count = reinterpret_cast<int (*)()>(::dlsym(library, "_Z16GetNumMeshCodecsv"));
  const auto codec = reinterpret_cast<cMeshCodec* (*)(int)>(::dlsym(library, "_Z12GetMeshCodeci"));
  const auto name = reinterpret_cast<const char* (*)(int)>(::dlsym(library, "_Z16GetMeshCodecNamei"));
  if (!count || !codec || !name) return;
  for (int i = 0; i < count(); i++)
    if (name(i) && codec(i)) cMeshIO::AddCodec(name(i), codec(i));
}

void cMeshIO::Init() {
  static bool isDone = false;
  if (isDone) return;
  isDone = true;
  for (const cStr& path : ListPlugins()) LoadPlugin(path);
  AddCodec("Obj", new cMeshObj);
}

// --- files ------------------------------------------------------------------------------------------------------------------

// Meshes in the program's own folders were made in its own axes.
static bool IsExchangePath(const char* path) { return !std::strstr(path, "VoxStamps") && !std::strstr(path, "ToolsPresets"); }

static std::unique_ptr<cRawMesh> LoadList(std::string_view names) {
  auto mesh = std::make_unique<cRawMesh>();
  while (!names.empty()) {
    const size_t length = std::min(names.find(';'), names.size());
    const cStr name(names.substr(0, length));
    names.remove_prefix(std::min(length + 1, names.size()));
    if (name.empty()) continue;
    const std::unique_ptr<cRawMesh> piece(cMeshIO::LoadMesh(name.c_str()));
    if (piece) mesh->Merge(*piece);
  }
  return mesh;
}

// One UV set for each material.
static void MakeUVSets(cRawMesh& mesh) {
  for (const cRawMaterial& material : mesh.Materials) mesh.UVSets.push_back({material.Name});
  if (mesh.Materials.size() <= 1) return;  // every index is 0 already
  for (size_t at = 0; at < mesh.Polygons.size();) {
    cRawPolyRec& header = mesh.Polygons[at];
    header.Words[1] = int32_t(uint32_t(header.Words[1]) | uint32_t(header.Words[1]) << 16);
    at += size_t(std::max(header.Corners(), 0)) + 1;
  }
}

static std::unique_ptr<cRawMesh> LoadOne(const char* fileName) {
  const cStr extension = GetExtension(fileName);
  if (extension.empty()) {
    LogError("cMeshIO::LoadMesh(): File name \"%s\" has no extension.", fileName);
    return nullptr;
  }
  cFile file;
  file.Open(fileName, cFile::Read);
  if (file.Size() == 0) {
    LogError("cMeshIO::LoadMesh(): Can't open file \"%s\".", fileName);
    return nullptr;
  }
  if (file.Size() < 0) {
    LogError("cMeshIO::LoadMesh(): File \"%s\" is empty.", fileName);
    return nullptr;
  }
  LogInfo("cMeshIO::LoadMesh(): Loaded mesh file \"%s\".", fileName);
  cMeshCodec* const codec = cMeshIO::FindCodec(extension.c_str());
  if (!codec) {
    LogError("cMeshIO::LoadMesh(): No codec for mesh file \"%s\".", fileName);
    return nullptr;
  }
  std::unique_ptr<cRawMesh> mesh(codec->Decode(file));
  if (mesh && mesh->UVSets.empty()) MakeUVSets(*mesh);
  if (mesh && cMeshIO::m_SwapYZ && IsExchangePath(fileName)) mesh->SwapYZ(false);
  return mesh;
}

cRawMesh* cMeshIO::LoadMesh(const char* fileName) {
  Init();
  if (!fileName) {
    LogError("cMeshIO::LoadMesh(): File name is NULL.");
    return nullptr;
  }
  try {
    return (std::strchr(fileName, ';') && !FileExists(fileName) ? LoadList(fileName) : LoadOne(fileName)).release();
  } catch (const std::exception& error) {
    LogError("cMeshIO::LoadMesh(): Not enough memory for \"%s\" (%s).", fileName, error.what());
    return nullptr;
  }
}

bool cMeshIO::SaveMesh(cRawMesh* mesh, const char* fileName) {
  Init();
  if (m_SwapYZ && IsExchangePath(fileName ? fileName : "")) SwapYZ(*mesh, true);
  if (!fileName) {
    LogError("cMeshIO::SaveMesh(): File name is NULL.");
    return false;
  }
  const cStr extension = GetExtension(fileName);
  if (extension.empty()) {
    LogError("cMeshIO::SaveMesh(): File name \"%s\" has no extension.", fileName);
    return false;
  }
  cMeshCodec* const codec = FindCodec(extension.c_str());
  if (!codec) {
    LogError("cMeshIO::SaveMesh(): No codec for mesh file \"%s\".", fileName);
    return false;
  }
  cFile file;
  if (file.Open(fileName, cFile::Write)) codec->Encode(mesh, &file);
  if (m_SwapYZ) SwapYZ(*mesh, false);
  if (file.Close()) return true;
  LogError("%s", file.Error().c_str());
  return false;
}

void cMeshIO::Merge(cRawMesh& target, const cRawMesh& source) { target.Merge(source); }
void cMeshIO::SwapYZ(cRawMesh& mesh, bool forward) { mesh.SwapYZ(forward); }

}  // namespace comms
