#include "shell/platform/SystemInfo.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

constexpr uint64_t Kilobyte = 1024;
constexpr uint64_t AddressSpace = uint64_t(1) << 47;

/// A whole small file of /proc; null-terminated. Returns the length, 0 on failure.
size_t ReadSmallFile(const char* path, char* out, size_t capacity) {
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file < 0) return 0;
  size_t length = 0;
  while (length + 1 < capacity) {
    const ssize_t got = read(file, out + length, capacity - 1 - length);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    length += size_t(got);
  }
  close(file);
  out[length] = 0;
  return length;
}

/// The number of kilobytes behind `name` at the start of a line, in bytes; 0 where there is none.
uint64_t FindKilobytes(const char* text, const char* name) {
  const size_t length = std::strlen(name);
  for (const char* line = text; line && *line; line = std::strchr(line, '\n'), line = line ? line + 1 : nullptr) {
    if (std::strncmp(line, name, length) != 0) continue;
    const char* c = line + length;
    while (*c == ' ' || *c == '\t') ++c;
    uint64_t value = 0;
    for (; *c >= '0' && *c <= '9'; ++c) value = value * 10 + uint64_t(*c - '0');
    return value * Kilobyte;
  }
  return 0;
}

const char* ReadHex(const char* c, uint64_t& value) {
  value = 0;
  for (;; ++c) {
    unsigned digit;
    if (*c >= '0' && *c <= '9')
      digit = unsigned(*c - '0');
    else if (*c >= 'a' && *c <= 'f')
      digit = unsigned(*c - 'a' + 10);
    else
      return c;
    value = value * 16 + digit;
  }
}

const char* SkipWord(const char* c) {
  while (*c && *c != ' ') ++c;
  while (*c == ' ') ++c;
  return c;
}

/// "begin-end rwxp offset device inode   path"
void ReadMapping(const char* line, Mapping& mapping) {
  const char* c = ReadHex(line, mapping.Begin);
  c = ReadHex(*c == '-' ? c + 1 : c, mapping.End);
  while (*c == ' ') ++c;
  mapping.Readable = c[0] == 'r';
  mapping.Writable = mapping.Readable && c[1] == 'w';
  mapping.Executable = c[0] && c[1] && c[2] == 'x';
  mapping.Private = c[0] && c[1] && c[2] && c[3] == 'p';
  c = SkipWord(c);
  ReadHex(c, mapping.Offset);
  c = SkipWord(SkipWord(SkipWord(c)));
  size_t length = 0;
  while (c[length] && length + 1 < sizeof(mapping.Path)) {
    mapping.Path[length] = c[length];
    ++length;
  }
  mapping.Path[length] = 0;
}

/// Gathers the mappings of one file, which lie behind each other, into one module.
struct ModuleVisitor {
  bool (*Visit)(void*, const Mapping&);
  void* Context;
  Mapping Module;
  bool HasCode = false;

  bool End() {
    const bool isModule = Module.Path[0] == '/' && HasCode;
    const bool goOn = !isModule || Visit(Context, Module);
    Module.Path[0] = 0;
    HasCode = false;
    return goOn;
  }
  static bool Take(void* self, const Mapping& mapping) {
    ModuleVisitor& visitor = *static_cast<ModuleVisitor*>(self);
    if (visitor.Module.Path[0] && std::strcmp(visitor.Module.Path, mapping.Path) == 0) {
      visitor.Module.End = mapping.End;
      visitor.HasCode |= mapping.Executable;
      return true;
    }
    if (!mapping.Path[0]) return true;
    if (!visitor.End()) return false;
    visitor.Module = mapping;
    visitor.HasCode = mapping.Executable;
    return true;
  }
};

}  // namespace

bool ReadMemoryStatus(MemoryStatus& status) {
  status = {};
  char text[4096];
  if (ReadSmallFile("/proc/meminfo", text, sizeof(text)) == 0) return false;
  status.TotalPhys = FindKilobytes(text, "MemTotal:");
  status.AvailPhys = FindKilobytes(text, "MemAvailable:");
  status.TotalPageFile = status.TotalPhys + FindKilobytes(text, "SwapTotal:");
  status.AvailPageFile = status.AvailPhys + FindKilobytes(text, "SwapFree:");
  if (status.TotalPhys) status.MemoryLoad = 100 - status.AvailPhys * 100 / status.TotalPhys;

  rlimit limit;
  status.TotalVirtual = getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY ? limit.rlim_cur : AddressSpace;
  uint64_t used = 0;
  if (ReadSmallFile("/proc/self/status", text, sizeof(text))) used = FindKilobytes(text, "VmSize:");
  status.AvailVirtual = used < status.TotalVirtual ? status.TotalVirtual - used : 0;
  return status.TotalPhys > 0;
}

bool VisitMappings(bool (*visit)(void*, const Mapping&), void* context) {
  const int file = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
  if (file < 0) return false;
  char block[4096], line[1024];
  size_t length = 0;
  bool goOn = true;
  while (goOn) {
    const ssize_t got = read(file, block, sizeof(block));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    for (ssize_t i = 0; i < got && goOn; ++i) {
      if (block[i] != '\n') {
        if (length + 1 < sizeof(line)) line[length++] = block[i];
        continue;
      }
      line[length] = 0;
      length = 0;
      Mapping mapping;
      ReadMapping(line, mapping);
      goOn = visit(context, mapping);
    }
  }
  close(file);
  return true;
}

bool VisitModules(bool (*visit)(void*, const Mapping&), void* context) {
  ModuleVisitor visitor{visit, context, {}, false};
  if (!VisitMappings(ModuleVisitor::Take, &visitor)) return false;
  visitor.End();
  return true;
}

int CountUsableProcessors() {
  cpu_set_t set;
  return sched_getaffinity(0, sizeof(set), &set) == 0 ? CPU_COUNT(&set) : 1;
}

int CountProcessors() {
  const long count = sysconf(_SC_NPROCESSORS_ONLN);
  return count > 0 ? int(count) : 1;
}
