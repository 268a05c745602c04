// The desktop's portal, on a bus of the tests' own.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "shell/FakePortal.h"
#include "shell/VirtualDisplay.h"
#include "shell/platform/DesktopTheme.h"

#if __has_include(<libportal/portal.h>)

namespace {

constexpr char Desktop[] = "org.gnome.desktop.interface", Look[] = "org.freedesktop.appearance";

/// The desktop's two settings, which may change. As the older portals do it, wrapped once more.
struct FakeDesktop {
  std::atomic<uint32_t> Scheme = 0;
  std::atomic<const char*> Theme = "Adwaita";

  PortalAnswer Answer() {
    return [this](GDBusMessage* call) -> GVariant* {
      if (g_strcmp0(g_dbus_message_get_member(call), "Read") != 0) return nullptr;
      const char *space, *key;
      g_variant_get(g_dbus_message_get_body(call), "(&s&s)", &space, &key);
      const std::string name = std::string(space) + "/" + key;
      GVariant* value = name == std::string(Look) + "/color-scheme"   ? g_variant_new_uint32(Scheme)
                        : name == std::string(Desktop) + "/gtk-theme" ? g_variant_new_string(Theme)
                                                                      : g_variant_new_uint32(99);
      return g_variant_new("(v)", g_variant_new_variant(value));
    };
  }
};

class ThemePortal : public testing::Test {
 protected:
  void SetUp() override {
    if (!HasProgram("dbus-daemon")) MORVANE_SKIP("needs dbus-daemon");
    m_Bus = std::make_unique<TestServer>(std::vector<const char*>{"dbus-daemon", "--session", "--nofork", "--print-address=3"});
    ASSERT_FALSE(m_Bus->Address.empty());
    m_Way = std::make_unique<TestVariable>("DBUS_SESSION_BUS_ADDRESS", m_Bus->Address);
  }
  std::unique_ptr<TestServer> m_Bus;
  std::unique_ptr<TestVariable> m_Way;
  FakeDesktop m_Desktop;
};

TEST_F(ThemePortal, WhoIsAskedFirst) {
  {
    const TestVariable theme("GTK_THEME", "Adwaita");
    EXPECT_EQ(ReadThemePreference(30), ThemePreference::Light) << "a session without a portal";
  }
  const FakePortal portal(m_Bus->Address, m_Desktop.Answer());
  const struct {
    const char* Gtk;
    uint32_t Scheme;
    const char* Theme;
    ThemePreference Expected;
  } cases[] = {{"Adwaita", 1, "Adwaita", ThemePreference::Dark},
               {"Adwaita:dark", 2, "Adwaita", ThemePreference::Light},
               {"Adwaita:dark", 0, "Adwaita", ThemePreference::Dark},
               {"", 0, "Adwaita", ThemePreference::Light},
               {"", 0, "Adwaita-dark", ThemePreference::Dark}};
  for (const auto& c : cases) {
    const TestVariable theme("GTK_THEME", c.Gtk);
    m_Desktop.Scheme = c.Scheme;
    m_Desktop.Theme = c.Theme;
    EXPECT_EQ(ReadThemePreference(30), c.Expected) << c.Gtk << " " << c.Scheme << " " << c.Theme;
  }
}

TEST_F(ThemePortal, AChangeIsFollowed) {
  const FakePortal portal(m_Bus->Address, m_Desktop.Answer());
  const TestVariable gtk("GTK_THEME", "");
  DesktopTheme theme(30);
  const auto becomes = [&theme](ThemePreference wanted) {
    for (int i = 0; i < 3000 && theme.Last() != wanted; i++) {
      theme.FollowChange();
      theme.Take();
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return theme.Last() == wanted;
  };
  const auto tell = [&portal](const char* space, const char* key, GVariant* value) {
    g_dbus_connection_emit_signal(portal.Bus(), nullptr, "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings",
                                  "SettingChanged", g_variant_new("(ssv)", space, key, value), nullptr);
  };
  theme.Ask();
  ASSERT_TRUE(becomes(ThemePreference::Light));
  m_Desktop.Scheme = 1;
  tell(Look, "color-scheme", g_variant_new_uint32(1));
  EXPECT_TRUE(becomes(ThemePreference::Dark));
  m_Desktop.Scheme = 0;
  tell(Desktop, "gtk-theme", g_variant_new_string("Adwaita"));
  EXPECT_TRUE(becomes(ThemePreference::Light));
}

}  // namespace

#endif
