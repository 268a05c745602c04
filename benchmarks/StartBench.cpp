// From the start of the process to the first frame.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

#include "Claims.h"
#include "WindowRig.h"
#include "shell/VirtualDisplay.h"

namespace {

constexpr int Runs = 7;

/// Seconds, as the program's log tells them of its first frame.
struct FirstFrame {
  double Wall = -1;  ///< since the process began; below 0: nothing was told
  double Driver = 0, Own = 0;
};

std::string ReadFile(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Starts the program and ends it once it has told; `folder` is its data path.
FirstFrame MeasureFirstFrame(const std::string& folder) {
  std::fflush(nullptr);
  const std::string log = folder + "Log.txt";
  std::error_code ignored;
  std::filesystem::remove(log, ignored);
  const pid_t child = fork();
  if (child == 0) {
    setenv("MORVANE_FILES_PATH", folder.c_str(), 1);
    const int nowhere = open("/dev/null", O_RDWR);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    execl(BENCH_PROGRAM, BENCH_PROGRAM, static_cast<char*>(nullptr));
    _exit(127);
  }
  FirstFrame frame;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (frame.Wall < 0 && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const std::string text = ReadFile(log);
    const size_t at = text.find("first frame after ");
    FirstFrame read;
    if (at != std::string::npos &&
        std::sscanf(text.c_str() + at,
                    "first frame after %lf s; CPU time of the main thread: %lf s in the graphics driver, %lf s besides",
                    &read.Wall, &read.Driver, &read.Own) == 3)
      frame = read;
  }
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  return frame;
}

const bench::Benchmark start("StartUp", [](std::vector<bench::Claim>& claims) {
  std::vector<double> wall, own, driver;
  const VirtualDisplay display;
  if (display.IsThere()) {
    const bench::ScratchFolder folder;
    for (int i = 0; i <= Runs; i++) {
      const FirstFrame frame = MeasureFirstFrame(folder.Path());
      if (frame.Wall < 0) break;
      if (i == 0) continue;  // it fills the driver's cache
      wall.push_back(frame.Wall);
      own.push_back(frame.Own);
      driver.push_back(frame.Driver);
    }
  }
  const auto claim = [&](const char* text, const std::vector<double>& times, double limit, const std::string& note) {
    bench::Claim row = bench::LimitClaim(text, display.IsThere() ? bench::Median(times) : 0, limit);
    row.OursSpread = bench::SpreadOf(times);
    row.Note = note;
    if (!display.IsThere())
      row.Skipped = "Xvfb is not installed";
    else if (times.size() < Runs)
      row.Failed = "the program drew no frame";
    claims.push_back(row);
  };
  char note[320];
  std::snprintf(note, sizeof note,
                "the program itself, main thread, from exec on: libraries, folders, log, settings, window, icon, cursor, fonts, "
                "panels, splash, the frame; without the %.2f s in OpenGL's library (loading, context, shaders, uploads, draw "
                "calls, presenting) and without other threads",
                driver.empty() ? 0.0 : bench::Median(driver));
  claim("Start to first frame: our own CPU time without the driver, s, median / limit", own, 0.3, note);
  claim("Start to first frame with software rendering, warm cache: s, median / limit", wall, 1, "");
});

}  // namespace
