#include "shell/platform/CrashHandler.h"

#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <vector>

#include "ClassEngine/pool.h"
#include "shell/core/Trace.h"
#include "shell/platform/CrashDump.h"
#include "shell/platform/CrashProcess.h"
#include "shell/platform/CrashStack.h"
#include "shell/platform/CrashText.h"
#include "shell/platform/SystemInfo.h"

namespace {

constexpr int Signals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
constexpr size_t StackSize = size_t(1) << 20;  ///< saving the work after a crash runs on it too
constexpr size_t LongestPath = 4096;
constexpr uint64_t Megabyte = uint64_t(1) << 20;
constexpr unsigned LongestMemoryWalkSec = 5;

CrashScene g_Scene;
void (*g_Save)() = nullptr;
const char* const* g_ToldOfFailure = nullptr;

/// All that the handler needs, prepared while things are well.
struct Prepared {
  char Folder[LongestPath], Log[LongestPath], Dump[LongestPath], Short[LongestPath], Nested[LongestPath],
      ReportFolder[LongestPath], Report[LongestPath], Reporter[LongestPath], Version[256];
  double NameSeconds = 0;
  MemoryStatus Before;
  double StartSec = 0;
};
Prepared g_Prepared;
std::atomic<long> g_CrashedThread{0};  ///< whose next fault is a nested one
long g_MainThread = 0;
std::atomic<bool> g_SaveDone{false};

// Big work space of the handler, which runs once.
char g_Text[65536];
NamedStacks g_Stacks;
uint64_t g_Frames[MaxFrames];

std::vector<std::function<void(CrashScene&)>>& GetFillers() {
  static std::vector<std::function<void(CrashScene&)>> fillers;
  return fillers;
}

double ReadClock() {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
}

void Show(const char* text) {
  WriteAll(STDERR_FILENO, text, std::strlen(text));
  WriteAll(STDERR_FILENO, "\n", 1);
}

const char* GetSignalName(int number) {
  switch (number) {
    case SIGSEGV:
      return "SIGSEGV";
    case SIGBUS:
      return "SIGBUS";
    case SIGFPE:
      return "SIGFPE";
    case SIGILL:
      return "SIGILL";
    case SIGABRT:
      return "SIGABRT";
    default:
      return "signal";
  }
}

void WriteMemory(CrashFile& log, const MemoryStatus& status) {
  log.Print("Memory load: %lu\n", status.MemoryLoad);
  log.Print("TotalPhys: %lu\n", status.TotalPhys);
  log.Print("AvailPhys: %lu\n", status.AvailPhys);
  log.Print("TotalPageFile: %lu\n", status.TotalPageFile);
  log.Print("AvailPageFile: %lu\n", status.AvailPageFile);
  log.Print("TotalVirtual: %lu\n", status.TotalVirtual);
  log.Print("AvailVirtual: %lu\n", status.AvailVirtual);
}

bool WriteModule(void* log, const Mapping& module) {
  const char* slash = std::strrchr(module.Path, '/');
  // A library's handle is where it lies; the two columns are kept for readers of the form.
  static_cast<CrashFile*>(log)->Print("Module found %s   \t(%s) \tHandle: %08lx Base address: %08lx\n",
                                      slash ? slash + 1 : module.Path, module.Path, module.Begin, module.Begin);
  return true;
}

void WriteRegisters(CrashFile& log, const ucontext_t& context) {
  static constexpr struct {
    const char* Name;
    int Index;
  } registers[] = {{"RAX", REG_RAX}, {"RBX", REG_RBX}, {"RCX", REG_RCX}, {"RDX", REG_RDX}, {"RSI", REG_RSI}, {"RDI", REG_RDI},
                   {"RBP", REG_RBP}, {"RSP", REG_RSP}, {"R8", REG_R8},   {"R9", REG_R9},   {"R10", REG_R10}, {"R11", REG_R11},
                   {"R12", REG_R12}, {"R13", REG_R13}, {"R14", REG_R14}, {"R15", REG_R15}, {"RIP", REG_RIP}, {"EFLAGS", REG_EFL}};
  for (const auto& item : registers) log.Print("%s: %016lX\n", item.Name, (unsigned long)(context.uc_mcontext.gregs[item.Index]));
}

void WriteLog(CrashFile& log, int number, const siginfo_t& info, const ucontext_t& context, const MemoryStatus& after) {
  log.Print("Exception code:%X\n", unsigned(number));
  log.Print("%s at address %08lX, code %d\n\n", GetSignalName(number), (unsigned long)(info.si_addr), info.si_code);
  log.WriteText("Memory status before run:\n\n");
  WriteMemory(log, g_Prepared.Before);
  log.WriteText("\nMemory status after crash:\n\n");
  WriteMemory(log, after);
  log.Print("\n%s\n\n", g_Prepared.Version);
  VisitModules(WriteModule, &log);
  log.WriteText("\n");
  WriteRegisters(log, context);
  log.Print("\nVideo name: %s\n", g_Scene.VideoName);
  log.Print("Audio name: %s\n", g_Scene.AudioName);
  log.Print("User info:\n%s\n", g_Scene.UserInfo);

  const int count = WalkFramePointers(context, g_Frames, MaxFrames);
  log.WriteText("Call stack due to calls\n\n");
  const bool named = NameStacks(context, g_Frames, count, g_Prepared.NameSeconds, g_Stacks);
  log.WriteText(g_Stacks.Calls[0] ? g_Stacks.Calls : ".PDB file missed of stack failed\n");
  log.WriteText("\n[EBP_CALLSTACK]\n");
  if (named)
    log.WriteText(g_Stacks.Frames);
  else
    for (int i = 0; i < count; ++i) log.Print("%08lX\n", g_Frames[i]);
  log.WriteText("\nTrace:\n");
  WriteTraces(g_Text, sizeof(g_Text));
  log.WriteText(g_Text);
}

/// Appends to g_Text.
class ShortText {
 public:
  void Print(const char* format, ...) __attribute__((format(printf, 2, 3))) {
    va_list arguments;
    va_start(arguments, format);
    m_Length += FormatCrashTextV(g_Text + m_Length, sizeof(g_Text) - m_Length, format, arguments);
    va_end(arguments);
    if (m_Length >= sizeof(g_Text)) m_Length = sizeof(g_Text) - 1;
  }

 private:
  size_t m_Length = 0;
};

void ComposeShort(const MemoryStatus& after) {
  const auto megabytes = [](uint64_t bytes) { return (unsigned long)(bytes / Megabyte); };
  const MemoryStatus& before = g_Prepared.Before;
  const double now = ReadClock();
  const int seconds = int(now - g_Prepared.StartSec);
  // A walk that stumbles over what is broken says as much as one that finds it.
  const bool isWhole = AskFromCrash([] { return GetPool().IsWhole(); }, LongestMemoryWalkSec);
  ShortText text;
  text.Print("%s\nMemory status: %s\n", g_Prepared.Version, isWhole ? "OK" : "integrity failure!");
  text.Print("pointers: %d\n\n", g_Scene.Pointers);
  text.Print("Work time: %d m %ds\n\n", seconds / 60, seconds % 60);
  text.Print("TotalPhys: %lu -> %lu Mb\n", megabytes(before.TotalPhys), megabytes(after.TotalPhys));
  text.Print("AvailPhys: %lu -> %lu Mb\n", megabytes(before.AvailPhys), megabytes(after.AvailPhys));
  text.Print("TotalPageFile: %lu -> %lu Mb\n", megabytes(before.TotalPageFile), megabytes(after.TotalPageFile));
  text.Print("AvailPageFile: %lu -> %lu Mb\n", megabytes(before.AvailPageFile), megabytes(after.AvailPageFile));
  text.Print("TotalVirtual: %lu -> %lu Mb\n", megabytes(before.TotalVirtual), megabytes(after.TotalVirtual));
  text.Print("AvailVirtual: %lu -> %lu Mb\n", megabytes(before.AvailVirtual), megabytes(after.AvailVirtual));
  text.Print("Video: %s\n", g_Scene.VideoName);
  text.Print("nproc: %d (%d)\n", CountProcessors(), CountUsableProcessors());
  text.Print("object: %s (%s)\nvert: %d poly: %d rt:%dx%d\n", g_Scene.Object, g_Scene.ObjectFile, g_Scene.Vertices,
             g_Scene.Polygons, g_Scene.TargetWidth, g_Scene.TargetHeight);
  text.Print("undo: %s\n", g_Scene.Undo);
  text.Print("tool: %s\n\n", g_Scene.Tool);
  text.Print("NumMeshLoads: %d\n", g_Scene.NumMeshLoads);
  text.Print("Time since mesh loading: %d s\n", g_Scene.MeshLoadTimeSec > 0 ? int(now - g_Scene.MeshLoadTimeSec) : 0);
  text.Print("VoxelTool: %d\n", g_Scene.VoxelTool);
  text.Print("RetopoTool: %d\n", g_Scene.RetopoTool);
  text.Print("UV_Tool: %d\n", g_Scene.UvTool);
  text.Print("%s", g_Stacks.Calls[0] ? g_Stacks.Calls : ".PDB file missed of stack failed\n");
  text.Print("fastcrash dump: done\n");
}

void WriteShort() {
  CrashFile file(g_Prepared.Short);
  if (!file.IsOpen()) {
    Show("unable to open dump file.\n");
    return;
  }
  file.WriteText(g_Text);
}

void WriteReport() {
  mkdir(g_Prepared.ReportFolder, 0700);
  CrashFile file(g_Prepared.Report);
  if (!file.IsOpen()) return;
  file.WriteText("<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>Bug report</title></head><body>\n<pre>\n");
  for (const char* c = g_Text; *c; ++c) switch (*c) {
      case '<':
        file.WriteText("&lt;");
        break;
      case '>':
        file.WriteText("&gt;");
        break;
      case '&':
        file.WriteText("&amp;");
        break;
      default:
        file.Write(c, 1);
        break;
    }
  file.WriteText("</pre>\n</body></html>\n");
}

void StartReporter() {
  if (!g_Prepared.Reporter[0] || access(g_Prepared.Reporter, X_OK) != 0) return;
  const char* const words[] = {g_Prepared.Reporter, g_Prepared.Log, nullptr};
  StartFromCrash(words);
}

void TellOfFailure() {
  if (g_ToldOfFailure) StartFromCrash(g_ToldOfFailure);
}

[[noreturn]] void EndNested(int number, const siginfo_t& info, const ucontext_t& context) {
  CrashFile file(g_Prepared.Nested);
  if (file.IsOpen()) {
    file.Print("Exception code:%X\n", unsigned(number));
    file.Print("%s at address %08lX, instruction %08lX\n", GetSignalName(number), (unsigned long)(info.si_addr),
               (unsigned long)(context.uc_mcontext.gregs[REG_RIP]));
    file.Print("Trace: %s\n", GetLastTrace());
  }
  Show("Crash while handling a crash");
  TellOfFailure();
  // Destructors don't run here: the file is complete without its sync.
  _exit(-1);
}

void RunSaveHere(int) {
  g_Save();
  g_SaveDone = true;
}

/// The save belongs to the main thread, which alone may touch the program's objects; wherever it is, it works no further.
void RunSave(long thread) {
  if (!g_Save) return;
  if (thread == g_MainThread) {
    g_Save();
    return;
  }
  struct sigaction action {};
  action.sa_handler = RunSaveHere;
  action.sa_flags = SA_ONSTACK;
  sigaction(SIGUSR2, &action, nullptr);
  g_CrashedThread = g_MainThread;
  if (syscall(SYS_tgkill, getpid(), g_MainThread, SIGUSR2) != 0) return;
  while (!g_SaveDone) usleep(10000);
}

void EndLateSave(int) {
  Show("The work could not be saved in time");
  TellOfFailure();
  _exit(-1);
}

void HandleCrash(int number, siginfo_t* info, void* contextPointer) {
  const ucontext_t& context = *static_cast<const ucontext_t*>(contextPointer);
  const long thread = syscall(SYS_gettid);
  long none = 0;
  if (!g_CrashedThread.compare_exchange_strong(none, thread)) {
    if (none == thread) EndNested(number, *info, context);
    // Another thread is writing the report and will end the process.
    for (;;) pause();
  }
  MemoryStatus after;
  ReadMemoryStatus(after);
  mkdir(g_Prepared.Folder, 0700);
  {
    CrashFile log(g_Prepared.Log);
    if (!log.IsOpen()) {
      Show("Cannot open log file");
      _exit(-1);
    }
    WriteLog(log, number, *info, context, after);
  }
  {
    CrashFile dump(g_Prepared.Dump);
    if (!dump.IsOpen()) {
      Show("Cannot open dump file");
      _exit(-1);
    }
    WriteCrashDump(dump.Handle(), number, *info, context);
  }
  ComposeShort(after);
  WriteShort();
  WriteReport();
  static char said[LongestPath + 64];
  FormatCrashText(said, sizeof(said), "Morvane crashed; the report is %s", g_Prepared.Log);
  Show(said);
  StartReporter();
  RunSave(thread);
  // The end that the fault would have had without us, so that whoever started the program sees it.
  signal(number, SIG_DFL);
  syscall(SYS_tgkill, getpid(), thread, number);
  _exit(-1);
}

bool SetPath(char (&out)[LongestPath], const std::string& folder, const char* name, std::string& error) {
  const char* between = name[0] && !folder.ends_with('/') ? "/" : "";
  if (FormatCrashText(out, sizeof(out), "%s%s%s", folder.c_str(), between, name) < sizeof(out)) return true;
  error = "the folder of the crash report has too long a path: " + folder;
  return false;
}

}  // namespace

CrashScene& GetCrashScene() { return g_Scene; }
void AddCrashInfo(std::function<void(CrashScene&)> fill) { GetFillers().push_back(std::move(fill)); }
void RefreshCrashScene() {
  for (const auto& fill : GetFillers()) fill(g_Scene);
}
void ForgetCrashInfo() { GetFillers().clear(); }
void SetSaveAfterCrash(void (*save)()) { g_Save = save; }
void LimitSaveAfterCrash(unsigned seconds, const char* const* told) {
  g_ToldOfFailure = told;
  signal(SIGALRM, EndLateSave);
  alarm(seconds);
}

bool InstallCrashHandler(const CrashOptions& options, std::string& error) {
  Prepared& prepared = g_Prepared;
  if (!SetPath(prepared.Folder, options.Folder, "", error) || !SetPath(prepared.Log, options.Folder, "!!crash!!.log", error) ||
      !SetPath(prepared.Dump, options.Folder, "!!crash!!.dmp", error) ||
      !SetPath(prepared.Short, options.Folder, "crash.txt", error) ||
      !SetPath(prepared.Nested, options.Folder, "crash_in_crash.log", error) ||
      !SetPath(prepared.ReportFolder, options.Folder, "Bugreport", error) ||
      !SetPath(prepared.Report, options.Folder, "Bugreport/index.html", error) ||
      !SetPath(prepared.Reporter, options.Reporter, "", error))
    return false;
  SetCrashText(prepared.Version, options.Version);
  prepared.NameSeconds = options.NameSeconds;
  prepared.StartSec = ReadClock();
  g_MainThread = syscall(SYS_gettid);
  ReadMemoryStatus(prepared.Before);

  UseCrashStack();
  struct sigaction action {};
  action.sa_sigaction = HandleCrash;
  // A fault inside the handler must reach it again, to be told from the first.
  action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
  sigemptyset(&action.sa_mask);
  for (const int number : Signals)
    if (sigaction(number, &action, nullptr) != 0) {
      error = std::string("the system refuses a handler for ") + GetSignalName(number) + ": " + std::strerror(errno);
      return false;
    }
  return true;
}

void UseCrashStack() {
  // Never given back: it belongs to the thread until the end. The lowest page stays closed.
  thread_local bool has = false;
  if (has) return;
  void* memory = mmap(nullptr, StackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return;
  mprotect(memory, 4096, PROT_NONE);
  stack_t stack{};
  stack.ss_sp = static_cast<char*>(memory) + 4096;
  stack.ss_size = StackSize - 4096;
  has = sigaltstack(&stack, nullptr) == 0;
}
