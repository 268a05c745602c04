#include "shell/platform/ThemePreference.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <thread>

#include "comms/Str.h"
#ifdef MORVANE_LIBPORTAL
#include "shell/platform/SessionBus.h"
#endif

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;
constexpr size_t LongestOutput = 65536;

int MillisecondsUntil(Clock::time_point end) {
  return int(std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count());
}

/// False when the time has passed before the other end was closed.
bool ReadUntilClosed(int file, Clock::time_point end, std::string& output) {
  for (;;) {
    const int left = MillisecondsUntil(end);
    pollfd waiting{file, POLLIN, 0};
    if (left <= 0) return false;
    const int ready = poll(&waiting, 1, left);
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) return false;
    char block[4096];
    const ssize_t got = read(file, block, sizeof(block));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return got == 0;
    output.append(block, std::min(size_t(got), LongestOutput - std::min(LongestOutput, output.size())));
  }
}

/// False when the time has passed first; the child is ended then. It is gone either way.
bool WaitForEnd(pid_t child, Clock::time_point end, int& status) {
  for (;;) {
    const pid_t ended = waitpid(child, &status, WNOHANG);
    if (ended == child) return true;
    if (ended < 0 && errno != EINTR) return false;
    if (MillisecondsUntil(end) <= 0) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  kill(child, SIGKILL);
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return false;
}

#ifdef MORVANE_LIBPORTAL

/// The portal's word: 1 dark, 2 light; false where it says nothing, or 0.
bool ReadPortal(double limitSec, ThemePreference& preference) {
  const OwnedVariant answer =
      CallPortal("org.freedesktop.portal.Settings", "Read", g_variant_new("(ss)", "org.freedesktop.appearance", "color-scheme"),
                 int(limitSec * 1000));
  if (!answer || !g_variant_is_of_type(answer.get(), G_VARIANT_TYPE("(v)"))) return false;
  OwnedVariant value(g_variant_get_child_value(answer.get(), 0));
  // Portals differ in how often they wrap it.
  while (g_variant_is_of_type(value.get(), G_VARIANT_TYPE_VARIANT)) value.reset(g_variant_get_variant(value.get()));
  if (!g_variant_is_of_type(value.get(), G_VARIANT_TYPE_UINT32)) return false;
  const uint32_t word = g_variant_get_uint32(value.get());
  if (word != 1 && word != 2) return false;
  preference = word == 1 ? ThemePreference::Dark : ThemePreference::Light;
  return true;
}

#else

bool ReadPortal(double, ThemePreference&) { return false; }

#endif

}  // namespace

bool RunForText(const char* const* words, double limitSec, std::string& output) {
  output.clear();
  const Clock::time_point end = Clock::now() + std::chrono::milliseconds(int(limitSec * 1000));
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return false;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  const int fault = posix_spawnp(&child, words[0], &actions, nullptr, const_cast<char* const*>(words), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  if (fault != 0) {
    close(ends[0]);
    return false;
  }
  const bool whole = ReadUntilClosed(ends[0], end, output);
  close(ends[0]);
  int status = 0;
  const bool ended = WaitForEnd(child, end, status);
  return whole && ended && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool JudgeThemeWords(const std::string& gtkTheme, const std::string& colorScheme, ThemePreference& preference) {
  if (!gtkTheme.empty()) {
    const bool dark = comms::EndsWithNoCase(gtkTheme, ":dark") || comms::EndsWithNoCase(gtkTheme, "-dark");
    preference = dark ? ThemePreference::Dark : ThemePreference::Light;
    return true;
  }
  if (colorScheme.find("prefer-dark") != std::string::npos)
    preference = ThemePreference::Dark;
  else if (colorScheme.find("prefer-light") != std::string::npos)
    preference = ThemePreference::Light;
  else
    return false;
  return true;
}

ThemePreference ReadThemePreference(double limitSec) {
  const char* theme = std::getenv("GTK_THEME");
  ThemePreference preference = ThemePreference::Dark;
  if (ReadPortal(limitSec, preference)) return preference;
  if (JudgeThemeWords(theme ? theme : "", "", preference)) return preference;
  static const char* const words[] = {"gsettings", "get", "org.gnome.desktop.interface", "color-scheme", nullptr};
  std::string scheme;
  if (RunForText(words, limitSec, scheme)) JudgeThemeWords("", scheme, preference);
  return preference;
}
