#include "shell/platform/Machine.h"

#include <csignal>
#include <filesystem>

std::string GetProgramFile() {
  std::error_code fault;
  const std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", fault);
  return fault ? std::string() : path.string();
}

bool HasNeededInstructions() {
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") && __builtin_cpu_supports("bmi2");
}

void IgnoreClosedPipes() { std::signal(SIGPIPE, SIG_IGN); }
