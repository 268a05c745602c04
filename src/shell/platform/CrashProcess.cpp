#include "shell/platform/CrashProcess.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <initializer_list>

namespace {

/// The exit code; -1 where a signal ended the child.
int WaitForExit(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0)
    if (errno != EINTR) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

void EndOnSignals() {
  for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGALRM}) signal(number, SIG_DFL);
}

int StartFromCrash(const char* const* words) {
  // _Fork and not fork: the handlers that fork runs would wait for locks that nobody will give back. The new program begins
  // without our signal handlers.
  const pid_t child = _Fork();
  if (child != 0) return child;
  execv(words[0], const_cast<char* const*>(words));
  _exit(127);
}

int RunFromCrash(const char* const* words) {
  const pid_t child = StartFromCrash(words);
  return child < 0 ? 127 : WaitForExit(child);
}

bool AskFromCrash(bool (*question)(), unsigned seconds) {
  const pid_t child = _Fork();
  if (child != 0) return child > 0 && WaitForExit(child) == 0;
  EndOnSignals();
  alarm(seconds);
  _exit(question() ? 0 : 1);
}
