// The layout is that of the kernel's own core files: ELF header, program headers, one segment of notes, then the memory.
// Source: System V ABI, chapter 5; elf(5); the notes' contents are <sys/procfs.h>'s.
#include "shell/platform/CrashDump.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/procfs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "shell/platform/CrashText.h"
#include "shell/platform/SystemInfo.h"

namespace {

constexpr uint64_t PageSize = 4096;
constexpr uint64_t LargestDump = uint64_t(32) << 20;
constexpr uint64_t LongestStack = uint64_t(1) << 20, LargestData = uint64_t(4) << 20, LargestBlock = uint64_t(256) << 10;
constexpr uint64_t RedZone = 128;  ///< bytes below the stack pointer that a function may use
constexpr int MaxRanges = 512;
constexpr int ArchGetFs = 0x1003, ArchGetGs = 0x1004;

struct Range {
  uint64_t Begin = 0, End = 0;
  unsigned Flags = 0;
};

/// The parts of the memory that are worth their bytes. Static: a handler's stack is small.
struct Selection {
  const ucontext_t* Context = nullptr;
  Range Ranges[MaxRanges];
  int Count = 0;
  uint64_t Size = 0;

  void Add(uint64_t begin, uint64_t end, unsigned flags) {
    begin &= ~(PageSize - 1);
    if (Count > 0 && Ranges[Count - 1].End > begin) begin = Ranges[Count - 1].End;
    if (begin >= end || Count == MaxRanges || Size + (end - begin) > LargestDump) return;
    Ranges[Count++] = {begin, end, flags};
    Size += end - begin;
  }

  static bool Take(void* self, const Mapping& mapping) {
    static_cast<Selection*>(self)->TakeMapping(mapping);
    return true;
  }

  void TakeMapping(const Mapping& mapping) {
    if (!mapping.Readable || std::strncmp(mapping.Path, "[v", 2) == 0) return;
    const unsigned flags = PF_R | (mapping.Writable ? unsigned(PF_W) : 0u) | (mapping.Executable ? unsigned(PF_X) : 0u);
    const greg_t* registers = Context->uc_mcontext.gregs;
    const uint64_t stack = uint64_t(registers[REG_RSP]) - RedZone;
    if (stack >= mapping.Begin && stack < mapping.End) {
      Add(stack, std::min(mapping.End, stack + LongestStack), flags);
      return;
    }
    const uint64_t size = mapping.End - mapping.Begin;
    const bool hasFile = mapping.Path[0] == '/';
    if (mapping.Writable && mapping.Private && size <= (hasFile ? LargestData : LargestBlock)) {
      Add(mapping.Begin, mapping.End, flags);
      return;
    }
    // The values of the registers in rising order, so that the ranges rise too.
    uint64_t values[REG_RIP + 1];
    for (int i = 0; i <= REG_RIP; ++i) values[i] = uint64_t(registers[i]);
    std::sort(values, values + REG_RIP + 1);
    for (const uint64_t value : values)
      if (value >= mapping.Begin && value < mapping.End)
        Add(std::max(mapping.Begin, (value & ~(PageSize - 1)) - std::min(value & ~(PageSize - 1), PageSize)),
            std::min(mapping.End, (value & ~(PageSize - 1)) + 2 * PageSize), flags);
  }
};

struct Notes {
  alignas(8) char Bytes[8192];
  size_t Size = 0;

  void Add(unsigned type, const void* data, size_t size) {
    static const char name[8] = "CORE";
    const size_t padded = (size + 3) & ~size_t(3);
    if (Size + sizeof(Elf64_Nhdr) + sizeof(name) + padded > sizeof(Bytes)) return;
    const Elf64_Nhdr header{5, Elf64_Word(size), type};
    Append(&header, sizeof(header));
    Append(name, sizeof(name));
    Append(data, size);
    std::memset(Bytes + Size, 0, padded - size);
    Size += padded - size;
  }

 private:
  void Append(const void* data, size_t size) {
    std::memcpy(Bytes + Size, data, size);
    Size += size;
  }
};

Selection g_Selection;
Notes g_Notes;

uint64_t ReadSegmentBase(int which) {
  uint64_t base = 0;
  syscall(SYS_arch_prctl, which, &base);
  return base;
}

void AddRegisters(int signalNumber, const ucontext_t& context) {
  const greg_t* from = context.uc_mcontext.gregs;
  const uint64_t selectors = uint64_t(from[REG_CSGSFS]);
  elf_prstatus status{};
  status.pr_info.si_signo = signalNumber;
  status.pr_cursig = short(signalNumber);
  status.pr_pid = pid_t(syscall(SYS_gettid));
  status.pr_ppid = getppid();
  // In the order of the kernel's user_regs_struct.
  const uint64_t registers[] = {
      uint64_t(from[REG_R15]),    uint64_t(from[REG_R14]),    uint64_t(from[REG_R13]),   uint64_t(from[REG_R12]),
      uint64_t(from[REG_RBP]),    uint64_t(from[REG_RBX]),    uint64_t(from[REG_R11]),   uint64_t(from[REG_R10]),
      uint64_t(from[REG_R9]),     uint64_t(from[REG_R8]),     uint64_t(from[REG_RAX]),   uint64_t(from[REG_RCX]),
      uint64_t(from[REG_RDX]),    uint64_t(from[REG_RSI]),    uint64_t(from[REG_RDI]),   ~uint64_t(0),
      uint64_t(from[REG_RIP]),    selectors & 0xffff,         uint64_t(from[REG_EFL]),   uint64_t(from[REG_RSP]),
      (selectors >> 48) & 0xffff, ReadSegmentBase(ArchGetFs), ReadSegmentBase(ArchGetGs)};
  static_assert(sizeof(registers) <= sizeof(status.pr_reg));
  std::memcpy(&status.pr_reg, registers, sizeof(registers));
  g_Notes.Add(NT_PRSTATUS, &status, sizeof(status));
}

/// What the kernel told the program at its start: from it a debugger knows where the program lies.
void AddStartVector() {
  char vector[1024];
  const int file = open("/proc/self/auxv", O_RDONLY | O_CLOEXEC);
  if (file < 0) return;
  const ssize_t size = read(file, vector, sizeof(vector));
  close(file);
  if (size > 0) g_Notes.Add(NT_AUXV, vector, size_t(size));
}

bool WriteHeaders(int file) {
  Elf64_Ehdr header{};
  std::memcpy(header.e_ident, ELFMAG, SELFMAG);
  header.e_ident[EI_CLASS] = ELFCLASS64;
  header.e_ident[EI_DATA] = ELFDATA2LSB;
  header.e_ident[EI_VERSION] = EV_CURRENT;
  header.e_type = ET_CORE;
  header.e_machine = EM_X86_64;
  header.e_version = EV_CURRENT;
  header.e_phoff = sizeof(header);
  header.e_ehsize = sizeof(header);
  header.e_phentsize = sizeof(Elf64_Phdr);
  header.e_phnum = Elf64_Half(g_Selection.Count + 1);
  bool sound = WriteAll(file, &header, sizeof(header));

  uint64_t offset = sizeof(header) + uint64_t(header.e_phnum) * sizeof(Elf64_Phdr);
  Elf64_Phdr segment{};
  segment.p_type = PT_NOTE;
  segment.p_offset = offset;
  segment.p_filesz = g_Notes.Size;
  segment.p_align = 4;
  sound = WriteAll(file, &segment, sizeof(segment)) && sound;
  offset += g_Notes.Size;
  for (int i = 0; i < g_Selection.Count; ++i) {
    const Range& range = g_Selection.Ranges[i];
    segment = {};
    segment.p_type = PT_LOAD;
    segment.p_flags = range.Flags;
    segment.p_offset = offset;
    segment.p_vaddr = range.Begin;
    segment.p_filesz = segment.p_memsz = range.End - range.Begin;
    segment.p_align = 1;
    sound = WriteAll(file, &segment, sizeof(segment)) && sound;
    offset += segment.p_filesz;
  }
  return sound;
}

/// Pages that went away meanwhile are written as zeros, so that what follows keeps its place.
bool WriteRange(int file, const Range& range) {
  static const char zeros[PageSize] = {};
  for (uint64_t at = range.Begin; at < range.End;) {
    const uint64_t size = std::min(PageSize - at % PageSize, range.End - at);
    // The bare call: a sanitizer's write would refuse memory that nobody should read.
    ssize_t written = syscall(SYS_write, file, at, size);
    if (written < 0 && errno == EFAULT) written = write(file, zeros, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    at += uint64_t(written);
  }
  return true;
}

}  // namespace

bool WriteCrashDump(int file, int signalNumber, const siginfo_t& info, const ucontext_t& context) {
  g_Selection.Context = &context;
  g_Selection.Count = 0;
  g_Selection.Size = 0;
  if (!VisitMappings(Selection::Take, &g_Selection)) return false;
  g_Notes.Size = 0;
  AddRegisters(signalNumber, context);
  g_Notes.Add(NT_SIGINFO, &info, sizeof(info));
  AddStartVector();
  bool sound = WriteHeaders(file) && WriteAll(file, g_Notes.Bytes, g_Notes.Size);
  for (int i = 0; i < g_Selection.Count && sound; ++i) sound = WriteRange(file, g_Selection.Ranges[i]);
  return sound;
}
