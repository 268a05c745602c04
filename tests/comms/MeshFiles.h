#pragma once
// Files of a test: a folder that goes with it, whole texts in and out; names of a mesh's lists.
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class TestFolder {
 public:
  // Never one that is there already: a run that was killed leaves its own, and process numbers come back.
  TestFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "morvane-mesh-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::filesystem::filesystem_error("mkdtemp", pattern, {errno, std::generic_category()});
    m_Path = pattern;
  }
  ~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_Path, ignored);
  }
  std::string Path(const std::string& name = {}) const { return (m_Path / name).string(); }
  std::string Write(const std::string& name, const std::string& text) const {
    std::ofstream(Path(name), std::ios::binary) << text;
    return Path(name);
  }
  std::string Read(const std::string& name) const { return ReadText(Path(name)); }
  static std::string ReadText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::filesystem::path m_Path;
};

template <class List>
std::string Names(const List& list) {
  std::string names;
  for (const auto& element : list) names += element.Name + "\n";
  return names;
}
