#include "shell/platform/CrashProcess.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

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
  if (child < 0) return 127;
  int status = 0;
  while (waitpid(child, &status, 0) < 0)
    if (errno != EINTR) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
