#pragma once
// Servers of the tests' own, started and ended here: a display above all.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#ifdef __SANITIZE_ADDRESS__
// What the display's libraries keep until the end of the process. The OpenGL driver is gone by the time the leaks are counted, so
// its blocks are known by the library that loaded it, which takes whole call stacks.
extern "C" [[gnu::used]] inline const char* __asan_default_options() { return "fast_unwind_on_malloc=0"; }
extern "C" [[gnu::used]] inline const char* __lsan_default_suppressions() { return "leak:libSDL2\nleak:libdbus-1\n"; }
#endif

/// A server for as long as it lives, that writes to its file 3 where it is reached.
class TestServer {
 public:
  explicit TestServer(std::vector<const char*> words) {
    words.push_back(nullptr);
    int ends[2];
    if (pipe(ends) != 0) return;
    m_Process = fork();
    if (m_Process == 0) {
      // It goes with a test that crashes, and keeps none of the test's pipes open, on which others wait.
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      const int nowhere = open("/dev/null", O_RDWR);
      for (const int stream : {0, 1, 2}) dup2(nowhere, stream);
      dup2(ends[1], 3);
      execvp(words[0], const_cast<char* const*>(words.data()));
      _exit(127);
    }
    close(ends[1]);
    for (char c; read(ends[0], &c, 1) == 1 && c != '\n';) Address += c;
    close(ends[0]);
  }
  ~TestServer() {
    if (m_Process <= 0) return;
    kill(m_Process, SIGTERM);
    waitpid(m_Process, nullptr, 0);
  }
  TestServer(const TestServer&) = delete;
  TestServer& operator=(const TestServer&) = delete;

  std::string Address;  ///< empty where it did not start

 private:
  pid_t m_Process = -1;
};

/// A variable of the environment for as long as it lives; then it is what it was.
class TestVariable {
 public:
  TestVariable(const char* name, const std::string& value) : m_Name(name) {
    if (const char* before = std::getenv(name)) m_Before = before;
    setenv(name, value.c_str(), 1);
  }
  ~TestVariable() {
    if (m_Before)
      setenv(m_Name, m_Before->c_str(), 1);
    else
      unsetenv(m_Name);
  }
  TestVariable(const TestVariable&) = delete;
  TestVariable& operator=(const TestVariable&) = delete;

 private:
  const char* m_Name;
  std::optional<std::string> m_Before;
};

/// A display and the environment that leads to it.
class VirtualDisplay {
 public:
  // The server picks a free number and writes it.
  explicit VirtualDisplay(const char* screen = "1600x1000x24")
      : m_Server({"Xvfb", "-displayfd", "3", "-screen", "0", screen, "-nolisten", "tcp", "-noreset"}) {}
  bool IsThere() const { return !m_Server.Address.empty(); }

 private:
  TestServer m_Server;
  TestVariable m_Display{"DISPLAY", ":" + m_Server.Address}, m_Driver{"SDL_VIDEODRIVER", "x11"};
};

/// Leaves a test that this machine can't run. Where every test is to run, with all installed that they need, that is a failure.
#define MORVANE_SKIP(reason)                                     \
  do {                                                           \
    if (std::getenv("MORVANE_SKIP_NOTHING")) FAIL() << (reason); \
    GTEST_SKIP() << (reason);                                    \
  } while (false)

inline bool HasProgram(const std::string& name) { return std::system(("command -v " + name + " >/dev/null 2>&1").c_str()) == 0; }
