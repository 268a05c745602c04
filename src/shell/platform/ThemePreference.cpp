#include "shell/platform/ThemePreference.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <thread>

#ifdef MORVANE_LIBPORTAL
#include "shell/platform/SessionBus.h"
#endif

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;
constexpr size_t LongestOutput = 65536;
constexpr char DesktopSettings[] = "org.gnome.desktop.interface";

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

/// A setting of the desktop as the portal gives it; null where it has none.
OwnedVariant ReadPortal(const char* space, const char* key, double limitSec) {
  const OwnedVariant answer =
      CallPortal("org.freedesktop.portal.Settings", "Read", g_variant_new("(ss)", space, key), int(limitSec * 1000));
  if (!answer || !g_variant_is_of_type(answer.get(), G_VARIANT_TYPE("(v)"))) return nullptr;
  OwnedVariant value(g_variant_get_child_value(answer.get(), 0));
  // Portals differ in how often they wrap it.
  while (g_variant_is_of_type(value.get(), G_VARIANT_TYPE_VARIANT)) value.reset(g_variant_get_variant(value.get()));
  return value;
}

/// 1 dark, 2 light, 0 neither; below 0 where nobody answers.
int ReadPortalScheme(double limitSec) {
  const OwnedVariant value = ReadPortal("org.freedesktop.appearance", "color-scheme", limitSec);
  if (!value || !g_variant_is_of_type(value.get(), G_VARIANT_TYPE_UINT32)) return -1;
  return int(std::min(g_variant_get_uint32(value.get()), 3u));
}

std::string ReadPortalTheme(double limitSec) {
  const OwnedVariant value = ReadPortal(DesktopSettings, "gtk-theme", limitSec);
  return value && g_variant_is_of_type(value.get(), G_VARIANT_TYPE_STRING) ? g_variant_get_string(value.get(), nullptr) : "";
}

#else

int ReadPortalScheme(double) { return -1; }
std::string ReadPortalTheme(double) { return {}; }

#endif

std::string ReadDesktopSetting(const char* key, double limitSec) {
  const char* const words[] = {"gsettings", "get", DesktopSettings, key, nullptr};
  std::string word;
  return RunForText(words, limitSec, word) ? word : std::string();
}

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

bool JudgeThemeName(std::string_view name, ThemePreference& preference) {
  if (name.find_first_not_of(" '\n") == std::string_view::npos) return false;
  std::string lower(name);
  for (char& c : lower) c = char(std::tolower(static_cast<unsigned char>(c)));
  const bool dark = lower.find("dark") != std::string::npos || lower.find("inverse") != std::string::npos;
  preference = dark ? ThemePreference::Dark : ThemePreference::Light;
  return true;
}

bool JudgeColorScheme(std::string_view word, ThemePreference& preference) {
  const bool dark = word.find("prefer-dark") != std::string_view::npos;
  if (!dark && word.find("prefer-light") == std::string_view::npos) return false;
  preference = dark ? ThemePreference::Dark : ThemePreference::Light;
  return true;
}

ThemePreference ReadThemePreference(double limitSec) {
  ThemePreference preference = ThemePreference::Dark;
  const int scheme = ReadPortalScheme(limitSec);
  if (scheme == 1) return ThemePreference::Dark;
  if (scheme == 2) return ThemePreference::Light;
  const char* theme = std::getenv("GTK_THEME");
  if (theme && JudgeThemeName(theme, preference)) return preference;
  if (JudgeColorScheme(ReadDesktopSetting("color-scheme", limitSec), preference)) return preference;
  if (scheme >= 0 && JudgeThemeName(ReadPortalTheme(limitSec), preference)) return preference;
  // Without a desktop its settings are those that nobody has chosen.
  const char* desktop = std::getenv("XDG_CURRENT_DESKTOP");
  if (scheme == 0 || (desktop && *desktop)) JudgeThemeName(ReadDesktopSetting("gtk-theme", limitSec), preference);
  return preference;
}
