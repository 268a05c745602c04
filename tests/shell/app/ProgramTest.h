#pragma once
// The real program, on a display of the tests' own and with its data path in the test's folder.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "shell/VirtualDisplay.h"

/// A box of 0.6 x 2 x 0.6 as OBJ text.
inline std::string MakePost() {
  std::string text;
  for (int i = 0; i < 8; i++)
    text += "v " + std::string(i & 1 ? "0.3 " : "-0.3 ") + (i & 2 ? "1 " : "-1 ") + (i & 4 ? "0.3\n" : "-0.3\n");
  return text + "f 1 3 4 2\nf 5 6 8 7\nf 1 2 6 5\nf 3 7 8 4\nf 1 5 7 3\nf 2 4 8 6\n";
}

class ProgramTest : public testing::Test {
 protected:
  explicit ProgramTest(const char* screen = "1600x1000x24") : m_Screen(screen) {}
  void SetUp() override {
    for (const char* program : {"Xvfb", "xdotool"})
      if (!HasProgram(program)) MORVANE_SKIP(std::string("needs ") + program);
    m_Display = std::make_unique<VirtualDisplay>(m_Screen);
    if (!m_Display->IsThere()) MORVANE_SKIP("Xvfb did not start");
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    const char* pictures = std::getenv("MORVANE_JOURNEY_PICTURES");
    m_Folder =
        std::filesystem::path(pictures ? pictures : testing::TempDir()) / (std::string(test.test_suite_name()) + test.name());
    std::filesystem::remove_all(m_Folder);
    std::filesystem::create_directories(m_Folder);
    m_Folder = std::filesystem::canonical(m_Folder);
  }
  void TearDown() override {
    for (const pid_t process : {m_Process, m_Second}) {
      if (process <= 0) continue;
      kill(process, SIGKILL);
      waitpid(process, nullptr, 0);
    }
    if (!m_Folder.empty() && !std::getenv("MORVANE_JOURNEY_PICTURES")) std::filesystem::remove_all(m_Folder);
  }

  /// Software OpenGL on a busy machine is slow; the time is for what hangs.
  static bool Within(const std::function<bool()>& isDone) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(120);
    while (!isDone()) {
      if (std::chrono::steady_clock::now() > end) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
  }

  std::filesystem::path Write(const std::string& name, const std::string& text) const {
    std::filesystem::create_directories((m_Folder / name).parent_path());
    std::ofstream(m_Folder / name) << text;
    return m_Folder / name;
  }
  /// A mesh that is open at once. The path of its file.
  std::string WritePost() const { return Write("post.obj", MakePost()).string(); }
  std::string Read(const std::string& name) const {
    std::ifstream file(m_Folder / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::string Log() const { return Read("Log.txt"); }
  bool IsInLog(const std::string& text) const { return Log().find(text) != std::string::npos; }

  pid_t Launch(std::vector<std::string> words) const {
    const pid_t process = fork();
    if (process != 0) return process;
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    setenv("MORVANE_FILES_PATH", m_Folder.c_str(), 1);
    // What the display's libraries keep to the end is theirs; our own leaks are the soak run's to find.
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
    const int log = open((m_Folder / "stderr.txt").c_str(), O_CREAT | O_WRONLY | O_APPEND, 0644);
    dup2(log, 1);
    dup2(log, 2);
    std::vector<char*> arguments{const_cast<char*>(m_Binary.c_str())};
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    execv(m_Binary.c_str(), arguments.data());
    _exit(127);
  }
  /// What waitpid tells of the end of a process, which is -1 then; -1 where it does not end.
  static int WaitForEnd(pid_t& process) {
    int status = -1;
    if (!Within([&] { return waitpid(process, &status, WNOHANG) == process; })) return -1;
    process = -1;
    return status;
  }

  std::unique_ptr<VirtualDisplay> m_Display;
  std::filesystem::path m_Folder;
  std::string m_Binary = MORVANE_BINARY;
  pid_t m_Process = -1, m_Second = -1;

 private:
  const char* m_Screen;
};
