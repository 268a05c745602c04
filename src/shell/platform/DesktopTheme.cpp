#include "shell/platform/DesktopTheme.h"

#include <string_view>

#include "shell/platform/Window.h"
#ifdef MORVANE_LIBPORTAL
#include "shell/platform/SessionBus.h"

struct DesktopTheme::Watch {
  PortalSettingsWatch Settings;
  void Start(std::atomic<bool>& changed) {
    Settings.Start([&changed](const char* key) {
      if (key != std::string_view("color-scheme") && key != std::string_view("gtk-theme")) return;
      changed = true;
      Window::Wake();
    });
  }
};

#else

struct DesktopTheme::Watch {
  void Start(std::atomic<bool>&) {}
};

#endif

DesktopTheme::DesktopTheme(double limitSec) : m_LimitSec(limitSec), m_Watch(std::make_unique<Watch>()) {}
DesktopTheme::~DesktopTheme() { Stop(); }

void DesktopTheme::Ask() {
  if (m_Answer == Waiting) return;
  if (m_Thread.joinable()) m_Thread.join();
  m_Answer = Waiting;
  m_Thread = std::thread([this] {
    // First, so that no change is missed between the answer and the listening.
    m_Watch->Start(m_Changed);
    m_Answer = int(ReadThemePreference(m_LimitSec));
    Window::Wake();
  });
}

void DesktopTheme::FollowChange() {
  if (m_Answer != Waiting && m_Changed.exchange(false)) Ask();
}

void DesktopTheme::Take() {
  if (HasAnswer()) m_Last = ThemePreference(m_Answer.exchange(None));
}

void DesktopTheme::Stop() {
  if (m_Thread.joinable()) m_Thread.join();
  m_Watch = std::make_unique<Watch>();
}
