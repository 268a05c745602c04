#include "shell/core/InputFiles.h"

#include <filesystem>
#include <utility>

namespace fs = std::filesystem;

static std::string& BatchFolder() {
  static std::string folder;
  return folder;
}

InputFolderScope::InputFolderScope(std::string folder) : m_Before(std::exchange(BatchFolder(), std::move(folder))) {}
InputFolderScope::~InputFolderScope() { BatchFolder() = std::move(m_Before); }

std::string FindInputFile(const std::string& path) {
  std::error_code fault;
  if (BatchFolder().empty() || path.empty() || fs::path(path).is_absolute() || fs::exists(path, fault)) return path;
  const fs::path beside = fs::path(BatchFolder()) / path;
  return fs::exists(beside, fault) ? beside.string() : path;
}
