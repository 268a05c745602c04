#include "interface/ShowFolder.h"

#include <spawn.h>
#include <sys/wait.h>

#include <cstring>
#include <filesystem>
#include <thread>

#include "comms/Log.h"

namespace fs = std::filesystem;

// The thread outlives no call to us: it has its own copy of the name, and takes the process's end.
static void OpenAndWait(std::string folder) {
  char program[] = "xdg-open";
  char* const words[] = {program, folder.data(), nullptr};
  pid_t child = 0;
  if (const int fault = posix_spawnp(&child, program, nullptr, nullptr, words, environ)) {
    comms::LogWarning("Can't show the folder \"%s\": xdg-open: %s.", folder.c_str(), std::strerror(fault));
    return;
  }
  int status = 0;
  if (waitpid(child, &status, 0) == child && status != 0)
    comms::LogWarning("Can't show the folder \"%s\": the desktop has no program for it.", folder.c_str());
}

void ShowFolderOf(const std::string& path) {
  std::error_code fault;
  fs::path folder = fs::absolute(path, fault);
  if (!fs::is_directory(folder, fault)) folder = folder.parent_path();
  if (path.empty() || !fs::is_directory(folder, fault)) {
    comms::LogWarning("Can't show the folder of \"%s\": there is none.", path.c_str());
    return;
  }
  std::thread(OpenAndWait, folder.string()).detach();
}
