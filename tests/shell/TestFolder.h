#pragma once
// A folder of a test's own, that goes with it.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

class TestFolder {
 public:
  explicit TestFolder(const std::string& name)
      : m_Path(std::filesystem::path(testing::TempDir()) / (name + std::to_string(getpid()))) {
    std::filesystem::remove_all(m_Path);
    std::filesystem::create_directories(m_Path);
  }
  ~TestFolder() { std::filesystem::remove_all(m_Path); }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  std::string Path(const std::string& name = {}) const { return (m_Path / name).string(); }
  bool Has(const std::string& name) const { return std::filesystem::exists(m_Path / name); }
  /// Makes the folders above it.
  void Write(const std::string& name, const std::string& text) const {
    std::filesystem::create_directories((m_Path / name).parent_path());
    std::ofstream(m_Path / name, std::ios::binary) << text;
  }
  std::string Read(const std::string& name) const {
    std::stringstream text;
    text << std::ifstream(m_Path / name, std::ios::binary).rdbuf();
    return text.str();
  }

 private:
  std::filesystem::path m_Path;
};
