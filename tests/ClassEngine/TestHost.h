#pragma once
// What tests of the class engine stand on: a host that records, a folder of the test's own.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "ClassEngine/BinStream.h"
#include "ClassEngine/EngineHost.h"

namespace fixture {

/// Records boxes and answers them with OK.
class RecordingHost : public EngineHost {
 public:
  RecordingHost() : m_Outer(SetEngineHost(this)) {}
  ~RecordingHost() override { SetEngineHost(m_Outer); }
  bool ShowBox(const char* title, const char* text) override {
    Boxes.push_back(std::string(title) + "|" + text);
    return AnswerOk;
  }
  void Log(const char* text) override { LogText += text; }
  bool IsControlHeld() override { return ControlHeld; }
  int LoadTexture(const char* fileName) override {
    Textures.emplace_back(fileName);
    return int(Textures.size()) - 1;
  }
  std::string GetTextureName(int id) override { return size_t(id) < Textures.size() ? Textures[size_t(id)] : ""; }

  std::vector<std::string> Boxes, Textures;
  std::string LogText;
  bool AnswerOk = true, ControlHeld = false;

 private:
  EngineHost* m_Outer;
};

inline std::string Repeat(const std::string& text, int count) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

/// A test with a host and an empty folder, where the temporary file lies too.
class FolderTest : public testing::Test, public RecordingHost {
 protected:
  FolderTest() : m_Folder(std::filesystem::path(testing::TempDir()) / ("engine" + std::to_string(getpid()))) {
    std::filesystem::remove_all(m_Folder);
    std::filesystem::create_directories(m_Folder);
    ClearStreamError();
  }
  ~FolderTest() override {
    std::filesystem::remove_all(m_Folder);
    ClearStreamError();
  }
  std::string GetTempFileName() override { return Path("tempfile.temp"); }
  std::string Path(const std::string& name) const { return (m_Folder / name).string(); }
  std::string MakeFile(const std::string& name, const std::string& content) const {
    std::ofstream(Path(name), std::ios::binary) << content;
    return Path(name);
  }
  static std::string ReadBack(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  size_t CountFiles() const { return size_t(std::distance(std::filesystem::directory_iterator(m_Folder), {})); }

  const std::filesystem::path m_Folder;
};

}  // namespace fixture
