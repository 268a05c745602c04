#include "shell/platform/CrashStack.h"

#include <cxxabi.h>
#include <elfutils/libdwfl.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <unwind.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "shell/platform/CrashProcess.h"
#include "shell/platform/CrashText.h"

namespace {

constexpr uint64_t LongestStep = uint64_t(64) << 20;

uint64_t GetRegister(const ucontext_t& context, int index) { return uint64_t(context.uc_mcontext.gregs[index]); }

double ReadClock() {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
}

// --- the child: here memory may be taken again, as far as the crash left the heap usable ------------------------------------

struct Unwound {
  uint64_t Addresses[MaxFrames];
  int Count = 0;
  uint64_t Fault = 0;
  bool Reached = false;  ///< the frames of the handler are behind
};

_Unwind_Reason_Code TakeFrame(_Unwind_Context* context, void* result) {
  Unwound& unwound = *static_cast<Unwound*>(result);
  const uint64_t address = _Unwind_GetIP(context);
  if (address == 0 && unwound.Reached && unwound.Count > 0) return _URC_END_OF_STACK;
  unwound.Reached |= address == unwound.Fault;
  if (unwound.Reached && unwound.Count < MaxFrames) unwound.Addresses[unwound.Count++] = address;
  return _URC_NO_REASON;
}

class Symbols {
 public:
  Symbols() {
    // Nothing is fetched over a network from within a crash.
    unsetenv("DEBUGINFOD_URLS");
    static char* noFolder = nullptr;
    static const Dwfl_Callbacks callbacks{dwfl_linux_proc_find_elf, dwfl_standard_find_debuginfo, nullptr, &noFolder};
    m_Session = dwfl_begin(&callbacks);
    if (m_Session && (dwfl_linux_proc_report(m_Session, getpid()) != 0 || dwfl_report_end(m_Session, nullptr, nullptr) != 0))
      m_Session = nullptr;
  }

  /// One line of the report. A return address stands behind its call, so all but the first frame look one byte back.
  void Describe(uint64_t address, bool isReturn, char* out, size_t capacity) const {
    const Dwarf_Addr place = isReturn ? address - 1 : address;
    Dwfl_Module* module = m_Session ? dwfl_addrmodule(m_Session, place) : nullptr;
    const char* name = module ? dwfl_module_addrname(module, place) : nullptr;
    if (!name) {
      FormatCrashText(out, capacity, "%08lX\n", address);
      return;
    }
    int failed = 0;
    char* clear = abi::__cxa_demangle(name, nullptr, nullptr, &failed);
    int line = 0;
    const char* file = nullptr;
    if (Dwfl_Line* source = dwfl_module_getsrc(module, place))
      file = dwfl_lineinfo(source, nullptr, &line, nullptr, nullptr, nullptr);
    if (!file) file = dwfl_module_info(module, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    FormatCrashText(out, capacity, "%08lX %s %s %d\n", address, failed == 0 && clear ? clear : name, file ? file : "?", line);
    std::free(clear);
  }

  void Write(int file, const uint64_t* addresses, int count) const {
    char line[2048];
    for (int i = 0; i < count; ++i) {
      Describe(addresses[i], i > 0, line, sizeof(line));
      WriteAll(file, line, std::strlen(line));
    }
    WriteAll(file, "", 1);
  }

 private:
  Dwfl* m_Session = nullptr;
};

[[noreturn]] void NameInChild(const ucontext_t& context, const uint64_t* frames, int frameCount, unsigned seconds, int file) {
  EndOnSignals();
  alarm(seconds);
  Unwound unwound;
  unwound.Fault = GetRegister(context, REG_RIP);
  _Unwind_Backtrace(TakeFrame, &unwound);
  const Symbols symbols;
  // A jump to nowhere has no tables; what the frame pointers gave is all there is.
  if (unwound.Count > 1)
    symbols.Write(file, unwound.Addresses, unwound.Count);
  else
    symbols.Write(file, frames, frameCount);
  symbols.Write(file, frames, frameCount);
  _exit(0);
}

// --- the handler's side ------------------------------------------------------------------------------------------------------

/// Distributes what comes from the child: two texts, each with its null.
struct TextReceiver {
  NamedStacks& Stacks;
  int Text = 0;
  size_t Length = 0;

  void Take(const char* data, size_t size) {
    for (size_t i = 0; i < size && Text < 2; ++i) {
      char* out = Text == 0 ? Stacks.Calls : Stacks.Frames;
      if (data[i] == 0) {
        ++Text;
        Length = 0;
      } else if (Length + 1 < sizeof(Stacks.Calls)) {
        out[Length++] = data[i];
        out[Length] = 0;
      }
    }
  }
};

}  // namespace

MemoryProbe::MemoryProbe() {
  if (pipe2(m_Ends, O_CLOEXEC | O_NONBLOCK) != 0) m_Ends[0] = m_Ends[1] = -1;
}
MemoryProbe::~MemoryProbe() {
  if (m_Ends[0] < 0) return;
  close(m_Ends[0]);
  close(m_Ends[1]);
}

bool MemoryProbe::Read(uint64_t address, void* out, size_t size) {
  // The system copies into the pipe and answers EFAULT where a plain read would end the process. The bare call: a sanitizer's
  // write would refuse memory that nobody should read.
  if (m_Ends[0] < 0) return false;
  const ssize_t written = syscall(SYS_write, m_Ends[1], address, size);
  if (written <= 0) return false;
  return read(m_Ends[0], out, size_t(written)) == ssize_t(size);
}

int WalkFramePointers(const ucontext_t& context, uint64_t* addresses, int capacity) {
  if (capacity < 1) return 0;
  MemoryProbe probe;
  int count = 0;
  addresses[count++] = GetRegister(context, REG_RIP);
  uint64_t frame = GetRegister(context, REG_RBP), below = GetRegister(context, REG_RSP);
  while (count < capacity) {
    uint64_t link[2];  // the caller's frame, the return address
    const bool isUpward = frame % 8 == 0 && frame >= below && frame - below < LongestStep;
    if (!isUpward || !probe.Read(frame, link, sizeof(link)) || link[1] == 0) break;
    addresses[count++] = link[1];
    below = frame + sizeof(link);
    frame = link[0];
  }
  return count;
}

bool NameStacks(const ucontext_t& context, const uint64_t* frames, int frameCount, double seconds, NamedStacks& stacks) {
  stacks.Calls[0] = stacks.Frames[0] = 0;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return false;
  // _Fork and not fork: the handlers that fork runs would wait for locks that nobody will give back.
  const pid_t child = _Fork();
  if (child == 0) {
    close(ends[0]);
    NameInChild(context, frames, frameCount, unsigned(seconds) + 2, ends[1]);
  }
  close(ends[1]);
  TextReceiver receiver{stacks};
  const double end = ReadClock() + seconds;
  while (child > 0 && receiver.Text < 2) {
    const double left = end - ReadClock();
    pollfd waiting{ends[0], POLLIN, 0};
    if (left <= 0) break;
    if (poll(&waiting, 1, int(left * 1000) + 1) <= 0) {
      if (errno == EINTR) continue;
      break;
    }
    char block[4096];
    const ssize_t got = read(ends[0], block, sizeof(block));
    if (got <= 0) break;
    receiver.Take(block, size_t(got));
  }
  close(ends[0]);
  if (child > 0) {
    kill(child, SIGKILL);
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
  }
  return receiver.Text == 2;
}
