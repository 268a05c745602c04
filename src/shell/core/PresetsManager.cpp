#include "shell/core/PresetsManager.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "comms/Log.h"
#include "comms/SafeFile.h"
#include "comms/Str.h"
#include "shell/core/DataPath.h"
#include "shell/core/ObjectFile.h"

namespace fs = std::filesystem;

static constexpr const char *Custom = "ToolsPresets/Custom/", *Backup = "ToolsPresets/Backup/", *Extension = ".txt";

std::string PresetsManager::FileOf(const char* folder, const std::string& className) {
  return GetFullPath(folder + className + Extension);
}

// The copy is written last: until the first file is whole, the copy is what can be read.
bool PresetsManager::Save(BaseClass& parameters) {
  for (const char* folder : {Custom, Backup}) {
    const std::string path = FileOf(folder, parameters.GetClassName());
    if (!MakeFolderOf(path)) return false;
    if (!parameters.WriteToFile(path.c_str())) return comms::LogWarning("%s: can't be written", path.c_str()), false;
  }
  return true;
}

bool PresetsManager::Load(BaseClass& parameters) {
  const std::string name = parameters.GetClassName();
  const ObjectFileState state = LoadObjectFile(parameters, FileOf(Custom, name));
  if (state != ObjectFileState::Damaged) return state != ObjectFileState::Missing;
  comms::LogWarning("the preset of %s is taken from its copy", name.c_str());
  const ObjectFileState copy = LoadObjectFile(parameters, FileOf(Backup, name));
  return copy == ObjectFileState::Loaded || copy == ObjectFileState::Repaired;
}

std::vector<std::string> PresetsManager::List() {
  std::vector<std::string> names;
  std::error_code fault;
  for (fs::directory_iterator entry(GetFullPath(Custom), fault), end; !fault && entry != end; entry.increment(fault))
    if (entry->path().extension() == Extension) names.push_back(entry->path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

bool PresetsManager::Has(const std::string& className) { return comms::FileExists(FileOf(Custom, className)); }

bool PresetsManager::Delete(const std::string& className) {
  std::error_code fault;
  return fs::remove(FileOf(Custom, className), fault);
}
