#pragma once
// A display of the tests' own: Xvfb, started and ended here.
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

/// A display of its own for as long as it lives, and the environment that leads to it.
class VirtualDisplay {
 public:
  explicit VirtualDisplay(const char* screen = "1600x1000x24") {
    int ends[2];
    if (pipe(ends) != 0) return;
    m_Process = fork();
    if (m_Process == 0) {
      // It goes with a test that crashes, and keeps none of the test's pipes open, on which others wait.
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      const int nowhere = open("/dev/null", O_RDWR);
      for (const int stream : {0, 1, 2}) dup2(nowhere, stream);
      dup2(ends[1], 3);
      // The server picks a free number and writes it.
      execlp("Xvfb", "Xvfb", "-displayfd", "3", "-screen", "0", screen, "-nolisten", "tcp", nullptr);
      _exit(127);
    }
    close(ends[1]);
    std::string text;
    for (char c; read(ends[0], &c, 1) == 1 && c != '\n';) text += c;
    close(ends[0]);
    if (text.empty()) return;
    m_Number = std::atoi(text.c_str());
    SetVariable(m_Before[0], ":" + std::to_string(m_Number));
    SetVariable(m_Before[1], "x11");
  }
  ~VirtualDisplay() {
    if (m_Process <= 0) return;
    kill(m_Process, SIGTERM);
    waitpid(m_Process, nullptr, 0);
    // The next test may want no display.
    if (m_Number < 0) return;
    for (const Variable& variable : m_Before)
      if (variable.WasSet)
        setenv(variable.Name, variable.Value.c_str(), 1);
      else
        unsetenv(variable.Name);
  }
  VirtualDisplay(const VirtualDisplay&) = delete;
  VirtualDisplay& operator=(const VirtualDisplay&) = delete;
  bool IsThere() const { return m_Number >= 0; }

 private:
  struct Variable {
    const char* Name;
    bool WasSet = false;
    std::string Value{};
  };
  static void SetVariable(Variable& variable, const std::string& value) {
    if (const char* before = std::getenv(variable.Name)) variable = {variable.Name, true, before};
    setenv(variable.Name, value.c_str(), 1);
  }

  Variable m_Before[2] = {{"DISPLAY"}, {"SDL_VIDEODRIVER"}};
  pid_t m_Process = -1;
  int m_Number = -1;
};

inline bool HasProgram(const std::string& name) { return std::system(("command -v " + name + " >/dev/null 2>&1").c_str()) == 0; }
