#pragma once
// The desktop's preference for dark or light, followed while the program runs.
#include <atomic>
#include <memory>
#include <thread>

#include "shell/platform/ThemePreference.h"

/// Asks in a thread of its own: the answer may take half a second, and no frame waits for it. Until it has come the last answer
/// holds. What comes wakes the window.
class DesktopTheme {
 public:
  /// `limitSec`: see ReadThemePreference.
  explicit DesktopTheme(double limitSec = 0.5);
  ~DesktopTheme();
  DesktopTheme(const DesktopTheme&) = delete;
  DesktopTheme& operator=(const DesktopTheme&) = delete;

  /// No effect while an answer is under way. From the first question on changes are heard of.
  void Ask();
  /// Asks anew where the desktop has told of a change. To be called again and again.
  void FollowChange();
  bool HasAnswer() const { return m_Answer >= 0; }
  /// Makes the answer that has come, if any, the last one.
  void Take();
  ThemePreference Last() const { return m_Last; }
  /// Before the window goes, which would be woken: no answer is under way any more, and no change is heard of.
  void Stop();

 private:
  static constexpr int None = -1, Waiting = -2;
  struct Watch;
  const double m_LimitSec;
  std::atomic<int> m_Answer = None;
  std::atomic<bool> m_Changed = false;
  ThemePreference m_Last = ThemePreference::Dark;
  std::unique_ptr<Watch> m_Watch;
  std::thread m_Thread;
};
