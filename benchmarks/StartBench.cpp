// From the start of the process to the first frame.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <thread>

#include "Claims.h"
#include "WindowRig.h"
#include "comms/cRenderNull.h"
#include "shell/VirtualDisplay.h"

namespace {

constexpr int Runs = 7;

// Everything up to the first frame but the window and the driver, in a process that has done nothing yet.
const bench::ChildTask firstFrame("FirstFrame", [](const std::string&) {
  comms::cRenderNull render;
  render.TakesNotes = false;
  bench::WindowRig rig(render, 1600, 1000);
  rig.Frame();
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  std::printf("%.6f\n", double(time.tv_sec) + double(time.tv_nsec) * 1e-9);
});

std::string ReadFile(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

// What the program says of its first frame in its log; below 0 where it says nothing within the time. `folder` is its data path.
double SecondsOfFirstFrame(const std::string& folder) {
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
  double seconds = -1;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (seconds < 0 && std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const std::string text = ReadFile(log);
    const size_t at = text.find("first frame after ");
    if (at != std::string::npos) std::sscanf(text.c_str() + at, "first frame after %lf", &seconds);
  }
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  return seconds;
}

const bench::Benchmark start("StartUp", [](std::vector<bench::Claim>& claims) {
  std::vector<double> own;
  for (int i = 0; i < Runs; i++) own.push_back(std::atof(bench::OutputOfChild("FirstFrame").c_str()));
  bench::Claim work = bench::LimitClaim("Start to first frame: our own CPU time without window and driver, s, median / limit",
                                        bench::Median(own), 0.3);
  work.OursSpread = bench::SpreadOf(own);
  if (work.Ours <= 0) work.Failed = "the child failed";
  claims.push_back(work);

  bench::Claim wall;
  const VirtualDisplay display;
  if (!display.IsThere()) {
    wall = bench::LimitClaim("Start to first frame with software rendering, warm cache: s, median / limit", 0, 1);
    wall.Skipped = "Xvfb is not installed";
  } else {
    const bench::ScratchFolder folder;
    std::vector<double> times;
    for (int i = 0; i <= Runs; i++) {
      const double seconds = SecondsOfFirstFrame(folder.Path());
      if (seconds < 0) break;
      if (i > 0) times.push_back(seconds);  // the first run fills the driver's cache
    }
    wall =
        bench::LimitClaim("Start to first frame with software rendering, warm cache: s, median / limit", bench::Median(times), 1);
    wall.OursSpread = bench::SpreadOf(times);
    if (times.size() < Runs) wall.Failed = "the program drew no frame";
  }
  claims.push_back(wall);
});

}  // namespace
