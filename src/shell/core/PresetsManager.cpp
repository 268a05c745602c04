#include "shell/core/PresetsManager.h"

#include <filesystem>
#include <system_error>

#include "comms/Log.h"
#include "shell/core/DataPath.h"
#include "shell/core/FileTitle.h"
#include "shell/core/ObjectFile.h"

namespace fs = std::filesystem;

static constexpr const char *Custom = "ToolsPresets/Custom/", *Backup = "ToolsPresets/Backup/", *Extension = ".txt";

static std::string FileOf(const char* folder, const std::string& className, const std::string& name) {
  return GetFullPath(folder + className + (name.empty() ? "" : "/" + name) + Extension);
}

static bool IsPresetName(const std::string& name) {
  if (name.empty() || IsFileTitle(name)) return true;
  comms::LogWarning("'%s' can't be the name of a preset", name.c_str());
  return false;
}

// The copy is written last: until the first file is whole, the copy is what can be read.
bool PresetsManager::Save(BaseClass& parameters, const std::string& name) {
  if (!IsPresetName(name)) return false;
  for (const char* folder : {Custom, Backup}) {
    const std::string path = FileOf(folder, parameters.GetClassName(), name);
    if (!MakeFolderOf(path)) return false;
    if (!parameters.WriteToFile(path.c_str())) return comms::LogWarning("%s: can't be written", path.c_str()), false;
  }
  return true;
}

bool PresetsManager::Load(BaseClass& parameters, const std::string& name) {
  if (!IsPresetName(name)) return false;
  const std::string className = parameters.GetClassName();
  const ObjectFileState state = LoadObjectFile(parameters, FileOf(Custom, className, name));
  if (state != ObjectFileState::Damaged) return state != ObjectFileState::Missing;
  comms::LogWarning("the preset '%s' of %s is taken from its copy", name.c_str(), className.c_str());
  const ObjectFileState copy = LoadObjectFile(parameters, FileOf(Backup, className, name));
  return copy == ObjectFileState::Loaded || copy == ObjectFileState::Repaired;
}

std::vector<std::string> PresetsManager::List(const std::string& className) {
  return ListFileTitles(GetFullPath(Custom + className), Extension);
}

bool PresetsManager::Delete(const std::string& className, const std::string& name) {
  std::error_code fault;
  return IsPresetName(name) && fs::remove(FileOf(Custom, className, name), fault);
}
