#include "shell/platform/Machine.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>

std::string GetProgramFile() {
  std::error_code fault;
  const std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", fault);
  return fault ? std::string() : path.string();
}

std::string GetReporterFile() {
  const std::string program = GetProgramFile();
  return program.empty() ? std::string() : (std::filesystem::path(program).parent_path() / "sendbug").string();
}

bool HasNeededInstructions() {
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") && __builtin_cpu_supports("bmi2");
}

double SecondsSinceStart() {
  // Field 22 of the line, in clock ticks since the machine started. The name in field 2 may hold blanks and brackets.
  std::ifstream file("/proc/self/stat");
  const std::string line{std::istreambuf_iterator<char>(file), {}};
  const size_t name = line.rfind(')');
  unsigned long long ticks = 0;
  timespec now{};
  if (name == std::string::npos || clock_gettime(CLOCK_BOOTTIME, &now) != 0 ||
      std::sscanf(line.c_str() + name + 1, " %*c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %*u %*u %*d %*d %*d %*d %*d %*d %llu",
                  &ticks) != 1)
    return 0;
  return double(now.tv_sec) + double(now.tv_nsec) * 1e-9 - double(ticks) / double(sysconf(_SC_CLK_TCK));
}

void KeepFreedMemory(size_t bytes) {
  const int limit = int(std::min<size_t>(bytes, INT_MAX));
  mallopt(M_TRIM_THRESHOLD, limit);
  mallopt(M_TOP_PAD, limit / 16);
  // Blocks above this size are mappings of their own, which go back at once whatever the other limits say; 32 MiB is the most.
  mallopt(M_MMAP_THRESHOLD, std::min(limit, 32 << 20));
}

void IgnoreClosedPipes() { std::signal(SIGPIPE, SIG_IGN); }
