#include "shell/core/FileTitle.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "shell/core/Utf8.h"

namespace fs = std::filesystem;

static constexpr size_t MaxTitleBytes = 80;

bool IsFileTitle(std::string_view name) {
  if (name.empty() || name.size() > MaxTitleBytes || FindInvalidUtf8(name) != name.npos) return false;
  const auto isBad = [](char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F || std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos;
  };
  const auto isEdge = [](char c) { return c == '.' || c == ' '; };
  return std::none_of(name.begin(), name.end(), isBad) && !isEdge(name.front()) && !isEdge(name.back());
}

std::vector<std::string> ListFileTitles(const std::string& folder, std::string_view extension) {
  std::vector<std::string> titles;
  std::error_code fault;
  for (fs::directory_iterator entry(folder, fault), end; !fault && entry != end; entry.increment(fault)) {
    const std::string name = entry->path().filename().string();
    std::error_code unknown;
    if (entry->is_directory(unknown) != extension.empty() || !name.ends_with(extension)) continue;
    // Others are not ours: nothing that is listed can't be asked for by its name.
    const std::string title = name.substr(0, name.size() - extension.size());
    if (IsFileTitle(title)) titles.push_back(title);
  }
  std::sort(titles.begin(), titles.end());
  return titles;
}
