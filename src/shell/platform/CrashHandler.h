#pragma once
// What a crash leaves behind. A fault writes into one folder:
//   !!crash!!.log       registers, memory, modules, call stacks, breadcrumbs
//   !!crash!!.dmp       an ELF core file with registers, stack and data of the crashed thread: gdb PROGRAM '!!crash!!.dmp'
//   crash.txt           the short form of the log
//   Bugreport/index.html  the same for a reader
//   crash_in_crash.log  written instead by a fault inside the handler, which then stops
// The handler itself does only what a signal handler may; names for the call stack are looked up in a forked child under a time
// limit, since the crash may have happened with the heap's locks held.
#include <functional>
#include <string>
#include <string_view>

/// What the program is working on, in plain memory that the handler can read in any state. Filled from time to time, not at the
/// crash.
struct CrashScene {
  char VideoName[256] = {};
  char AudioName[256] = {};
  char UserInfo[4096] = {};
  int Pointers = 0;                ///< blocks that the allocator has given out
  char Object[256] = {};           ///< name of the current object
  char ObjectFile[1024] = {};      ///< where it came from
  int Vertices = 0, Polygons = 0;  ///< of the current object
  int TargetWidth = 0, TargetHeight = 0;
  char Undo[256] = {};  ///< newest undo record
  char Tool[256] = {};
  int NumMeshLoads = 0;
  double MeshLoadTimeSec = 0;  ///< on std::chrono::steady_clock; 0 before the first
  int VoxelTool = 0, RetopoTool = 0, UvTool = 0;
};
/// The one record. Written by the main thread.
CrashScene& GetCrashScene();
/// Copies a text into one of its fields, cut to fit.
template <size_t N>
void SetCrashText(char (&field)[N], std::string_view text) {
  const size_t length = text.copy(field, N - 1);
  field[length] = 0;
}
/// Who knows what belongs into the record registers here; RefreshCrashScene asks all of them. Call it once a second or on
/// changes.
void AddCrashInfo(std::function<void(CrashScene&)> fill);
void RefreshCrashScene();
/// Before whoever registered goes.
void ForgetCrashInfo();

struct CrashOptions {
  std::string Folder;       ///< where the files go; where it is missing, it alone is made, at the crash
  std::string Version;      ///< "Morvane 0.1.0"
  std::string Reporter;     ///< a program started with the log's path as its argument; empty or missing: none
  double NameSeconds = 10;  ///< how long the search for the names of the call stack may take
};
/// Installs the handler for SIGSEGV, SIGBUS, SIGFPE, SIGILL and SIGABRT, with a stack of its own for the calling thread, the main
/// one. Takes down the memory status before the run. A second call replaces the options. False with one sentence in `error`.
bool InstallCrashHandler(const CrashOptions& options, std::string& error);
/// Gives the calling thread a stack for the handler, which a fault by stack overflow needs. For threads other than the installing
/// one.
void UseCrashStack();
/// Runs after the files are written, on the thread that installed the handler and on its handler's stack, with the process in a
/// doubtful state: "save after a crash" of the shell. A fault inside it ends the process.
void SetSaveAfterCrash(void (*save)());
/// For that function: from here on it has so many seconds, and then the process ends; 0: no limit any more. A crash may have
/// happened with locks held that the save waits for. A save that takes longer or crashes itself starts the program of `told`,
/// which ends with a null as for StartFromCrash: somebody waits for an answer. Null: none.
void LimitSaveAfterCrash(unsigned seconds, const char* const* told);
