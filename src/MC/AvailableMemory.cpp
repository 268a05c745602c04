#include "MC/AvailableMemory.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <string>

namespace {

constexpr int64_t Unlimited = std::numeric_limits<int64_t>::max();

/// The number behind `key` at the beginning of a line; -1 where the file has none there ("max" is none).
int64_t ReadNumber(const std::string& path, const std::string& key) {
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (!line.starts_with(key)) continue;
    const char* const text = line.c_str() + key.size();
    char* end = nullptr;
    const long long number = std::strtoll(text, &end, 10);
    return end == text ? -1 : number;
  }
  return -1;
}

int64_t FreeOfMachine() {
  // The system's own guess counts caches that it would give up.
  const int64_t kilobytes = ReadNumber("/proc/meminfo", "MemAvailable:");
  return kilobytes >= 0 ? kilobytes * 1024 : int64_t(sysconf(_SC_AVPHYS_PAGES)) * int64_t(sysconf(_SC_PAGESIZE));
}

/// Where a hierarchy of control groups tells its memory. The two versions of the interface differ in names alone.
struct GroupFiles {
  std::string Root;
  const char *Limit, *Usage, *Caches[2];
};

/// The least of a group and of all that it lies in.
int64_t FreeOfGroups(const GroupFiles& files, std::string group) {
  int64_t least = Unlimited;
  for (;; group.erase(group.rfind('/'))) {
    const std::string folder = files.Root + group + "/";
    const int64_t limit = ReadNumber(folder + files.Limit, ""), usage = ReadNumber(folder + files.Usage, "");
    if (limit >= 0 && usage >= 0) {
      int64_t caches = 0;
      for (const char* key : files.Caches) caches += std::max<int64_t>(0, ReadNumber(folder + "memory.stat", key));
      least = std::min(least, limit - std::max<int64_t>(0, usage - caches));
    }
    if (group.find('/') == std::string::npos) return least;
  }
}

int64_t FreeOfOwnGroups() {
  const GroupFiles second{"/sys/fs/cgroup", "memory.max", "memory.current", {"active_file ", "inactive_file "}};
  const GroupFiles first{
      "/sys/fs/cgroup/memory", "memory.limit_in_bytes", "memory.usage_in_bytes", {"total_active_file ", "total_inactive_file "}};
  int64_t least = Unlimited;
  std::ifstream groups("/proc/self/cgroup");
  for (std::string line; std::getline(groups, line);) {  // "4:memory:/a/b"; the second version has no name between the colons
    const size_t name = line.find(':') + 1, path = line.find(':', name) + 1;
    if (name == 0 || path == 0) continue;
    const std::string controllers = "," + line.substr(name, path - name - 1) + ",", group = line.substr(path);
    if (controllers == ",,") least = std::min(least, FreeOfGroups(second, group));
    if (controllers.find(",memory,") != std::string::npos) least = std::min(least, FreeOfGroups(first, group));
  }
  return least;
}

int64_t FreeOfAddressSpace() {
  rlimit limit{};
  if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur > rlim_t(Unlimited)) return Unlimited;
  const int64_t pages = std::max<int64_t>(0, ReadNumber("/proc/self/statm", ""));
  return int64_t(limit.rlim_cur) - pages * int64_t(sysconf(_SC_PAGESIZE));
}

}  // namespace

int64_t AvailableMemory() { return std::max<int64_t>(0, std::min({FreeOfMachine(), FreeOfOwnGroups(), FreeOfAddressSpace()})); }
