#include "shell/core/FileTitle.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "shell/core/Utf8.h"

namespace fs = std::filesystem;

// A file system takes 255 bytes, with what is put behind the name.
static constexpr size_t MaxTitleBytes = 240;
static constexpr ptrdiff_t MaxTitleCharacters = 80;
static constexpr std::string_view Edges = ". \t";

bool IsFileTitle(std::string_view name) {
  if (name.empty() || name.size() > MaxTitleBytes || FindInvalidUtf8(name) != name.npos) return false;
  const auto begins = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
  if (std::count_if(name.begin(), name.end(), begins) > MaxTitleCharacters) return false;
  const auto isBad = [](char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F || std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos;
  };
  return std::none_of(name.begin(), name.end(), isBad) && Edges.find(name.front()) == Edges.npos &&
         Edges.find(name.back()) == Edges.npos;
}

std::string TrimFileTitle(std::string_view typed) {
  const size_t first = typed.find_first_not_of(Edges);
  return first == typed.npos ? std::string() : std::string(typed.substr(first, typed.find_last_not_of(Edges) - first + 1));
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
