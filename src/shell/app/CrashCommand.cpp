#include "shell/app/CrashCommand.h"

#ifdef NDEBUG

void AddCrashCommand(CommandTable&) {}

#else

#include <pthread.h>
#include <sys/mman.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "ClassEngine/ValueTypes.h"

namespace {

enum CrashKind : int32_t { CrashFault, CrashAbort, CrashOverflow };

class CrashParams : public CommandParameters {
  REFLECTED(CrashParams, CommandParameters)
 public:
  int32_t Kind = CrashFault;
  float Seconds = 0;
};
DECLARE_MEMBERS(CrashParams) {
  Member<_int>("Kind", Kind).Range(0, 2).Hint("0: a write to where nothing is; 1: abort; 2: the stack runs over");
  Member<_float>("Seconds", Seconds)
      .Range(0, 3600)
      .Unit("s")
      .Hint("0: at once; else a fault comes so much later, whatever the main thread does then");
}

volatile bool g_GoOn = true;

int FillStack(int depth) {
  volatile char room[4096];
  room[depth % 4096] = char(depth);
  return g_GoOn ? FillStack(depth + 1) + room[depth % 4096] : depth;
}

CommandResult RunCrash(const CrashParams& parameters) {
  if (parameters.Seconds > 0) {
    std::thread([main = pthread_self(), wait = std::chrono::duration<float>(parameters.Seconds)] {
      std::this_thread::sleep_for(wait);
      pthread_kill(main, SIGSEGV);
    }).detach();
    return CommandResult::Done();
  }
  if (parameters.Kind == CrashAbort) std::abort();
  if (parameters.Kind == CrashOverflow) return CommandResult::Fail(std::to_string(FillStack(0)));
  // A page that nobody may touch, and not a null, which a sanitizer would stop before it is a fault.
  *static_cast<volatile int*>(mmap(nullptr, 4096, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) = 1;
  return CommandResult::Fail("the fault did not come");
}

}  // namespace

void AddCrashCommand(CommandTable& table) {
  table.Add<CrashParams>("Crash", "Crashes, to see what a crash leaves behind. Debug builds only.", RunCrash);
}

#endif
