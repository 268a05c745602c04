// The desktop's portal, on a bus of the tests' own.
#include <gtest/gtest.h>

#include "shell/FakePortal.h"
#include "shell/VirtualDisplay.h"
#include "shell/platform/ThemePreference.h"

#if __has_include(<libportal/portal.h>)

namespace {

/// As the older portals do it, wrapped once more.
PortalAnswer Always(uint32_t word) {
  return [word](GDBusMessage* call) -> GVariant* {
    if (g_strcmp0(g_dbus_message_get_member(call), "Read") != 0) return nullptr;
    const char *space, *key;
    g_variant_get(g_dbus_message_get_body(call), "(&s&s)", &space, &key);
    const bool known = std::string(space) + "/" + key == "org.freedesktop.appearance/color-scheme";
    return g_variant_new("(v)", g_variant_new_variant(g_variant_new_uint32(known ? word : 99)));
  };
}

TEST(ThemePortal, ItsWordComesFirst) {
  if (!HasProgram("dbus-daemon")) GTEST_SKIP() << "needs dbus-daemon";
  const TestServer bus({"dbus-daemon", "--session", "--nofork", "--print-address=3"});
  ASSERT_FALSE(bus.Address.empty());
  const TestVariable way("DBUS_SESSION_BUS_ADDRESS", bus.Address);
  {
    const TestVariable theme("GTK_THEME", "Adwaita");
    EXPECT_EQ(ReadThemePreference(30), ThemePreference::Light) << "a session without a portal";
    const FakePortal dark(bus.Address, Always(1));
    EXPECT_EQ(ReadThemePreference(30), ThemePreference::Dark);
  }
  const TestVariable theme("GTK_THEME", "Adwaita:dark");
  {
    const FakePortal silent(bus.Address, Always(0));
    EXPECT_EQ(ReadThemePreference(30), ThemePreference::Dark) << "no preference: the next one is asked";
  }
  const FakePortal light(bus.Address, Always(2));
  EXPECT_EQ(ReadThemePreference(30), ThemePreference::Light);
}

}  // namespace

#endif
