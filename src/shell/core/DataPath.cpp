#include "shell/core/DataPath.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <vector>

#include "comms/Log.h"
#include "comms/SafeFile.h"
#include "comms/Str.h"

namespace fs = std::filesystem;

static std::string s_DataPath = "./", s_ProgramFolder;

static constexpr size_t MaxPathBytes = 511;
static constexpr const char* DefaultTitle = "MorvaneV3";
static constexpr const char* Blanks = " \t\r\n";

static std::string Strip(std::string_view text) {
  std::string stripped;
  for (const char c : text)
    if (c != '\r' && c != '\n') stripped += c;
  const size_t first = stripped.find_first_not_of(Blanks);
  return first == stripped.npos ? std::string() : stripped.substr(first, stripped.find_last_not_of(Blanks) - first + 1);
}

static bool IsFolder(const std::string& path) {
  std::error_code fault;
  return fs::is_directory(path, fault);
}

static bool EndsInSeparator(const std::string& path) { return !path.empty() && (path.back() == '/' || path.back() == '\\'); }

std::string FindDataPath(const DataPathInputs& inputs) {
  std::string path = inputs.Environment;
  if (path.empty() && inputs.PathFile) path = Strip(std::string_view(*inputs.PathFile).substr(0, MaxPathBytes));
  if (path.empty()) {
    std::string title = DefaultTitle;
    if (inputs.TitleFile)
      if (std::string named = inputs.TitleFile->substr(0, inputs.TitleFile->find_first_of(Blanks)); !named.empty())
        title = std::move(named);
    path = inputs.Documents + "/" + title;
  }
  if (!EndsInSeparator(path)) path += '/';
  return path;
}

std::string FindDocumentsFolder(const std::string& home, std::string_view userDirs) {
  constexpr std::string_view name = "XDG_DOCUMENTS_DIR=\"", variable = "$HOME";
  for (size_t at = 0; at < userDirs.size();) {
    const size_t end = std::min(userDirs.find('\n', at), userDirs.size());
    std::string_view line = userDirs.substr(at, end - at);
    at = end + 1;
    if (!line.starts_with(name)) continue;
    line.remove_prefix(name.size());
    std::string value(line.substr(0, line.find('"')));
    if (value.starts_with(variable)) value.replace(0, variable.size(), home);
    while (value.size() > 1 && value.back() == '/') value.pop_back();
    if (value.starts_with('/')) return value;
  }
  return comms::JoinPath(home, "Documents");
}

static std::optional<std::string> ReadText(const std::string& path) {
  std::vector<uint8_t> bytes;
  std::string error;
  if (!comms::FileExists(path)) return std::nullopt;
  if (!comms::ReadWholeFile(path, bytes, error)) {
    comms::LogWarning("%s", error.c_str());
    return std::nullopt;
  }
  return std::string(bytes.begin(), bytes.end());
}

static std::string GetVariable(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

std::string LookUpDataPath(const std::string& programFolder) {
  DataPathInputs inputs;
  inputs.Environment = GetVariable("MORVANE_FILES_PATH");
  inputs.PathFile = ReadText("morvane_data_path.txt");
  inputs.TitleFile = ReadText(comms::JoinPath(programFolder, "ToolsPresets/title.txt"));
  const std::string home = GetVariable("HOME");
  std::string config = GetVariable("XDG_CONFIG_HOME");
  if (config.empty()) config = comms::JoinPath(home, ".config");
  inputs.Documents = FindDocumentsFolder(home, ReadText(comms::JoinPath(config, "user-dirs.dirs")).value_or(std::string()));
  return FindDataPath(inputs);
}

bool InitDataPath(const std::string& programFolder, std::string& error) {
  const std::string path = LookUpDataPath(programFolder);
  std::error_code fault;
  fs::create_directories(path, fault);
  if (!IsFolder(path)) {
    error = "the data folder '" + path + "' can't be made: " + fault.message() + "; name another one with MORVANE_FILES_PATH";
    return false;
  }
  SetDataPath(path, programFolder);
  return true;
}

void SetDataPath(const std::string& dataPath, const std::string& programFolder) {
  s_DataPath = dataPath.empty() ? "./" : dataPath;
  if (!EndsInSeparator(s_DataPath)) s_DataPath += '/';
  s_ProgramFolder = programFolder;
}

const std::string& GetDataPath() { return s_DataPath; }

std::string GetFullPath(const std::string& relative) {
  return fs::path(relative).is_absolute() ? relative : s_DataPath + relative;
}

std::string FindDataFile(const std::string& relative) {
  std::string own = GetFullPath(relative);
  if (comms::FileExists(own) || s_ProgramFolder.empty() || fs::path(relative).is_absolute()) return own;
  std::string program = comms::JoinPath(s_ProgramFolder, relative);
  return comms::FileExists(program) ? program : own;
}

bool MakeFolderOf(const std::string& path) {
  const std::string folder = fs::path(path).parent_path();
  if (folder.empty()) return true;
  std::error_code fault;
  fs::create_directories(folder, fault);
  if (IsFolder(folder)) return true;
  comms::LogWarning("the folder '%s' can't be made: %s", folder.c_str(), fault.message().c_str());
  return false;
}
