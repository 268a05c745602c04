// The desktop's portal, on a bus of the tests' own.
#include <gtest/gtest.h>

#include "shell/VirtualDisplay.h"
#include "shell/platform/ThemePreference.h"

#if __has_include(<libportal/portal.h>)

#include <gio/gio.h>

namespace {

/// Serves one answer, wrapped as the older portals do. It comes from the bus connection's own thread.
class FakePortal {
 public:
  FakePortal(const std::string& address, uint32_t word) : m_Word(word) {
    const auto flags =
        GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    m_Bus = g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, nullptr, nullptr);
    g_dbus_connection_add_filter(m_Bus, Answer, this, nullptr);
    GVariant* owned = g_dbus_connection_call_sync(m_Bus, "org.freedesktop.DBus", "/", "org.freedesktop.DBus", "RequestName",
                                                  g_variant_new("(su)", "org.freedesktop.portal.Desktop", 0u), nullptr,
                                                  G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    if (owned) g_variant_unref(owned);
  }
  ~FakePortal() {
    g_dbus_connection_close_sync(m_Bus, nullptr, nullptr);
    g_object_unref(m_Bus);
  }
  FakePortal(const FakePortal&) = delete;
  FakePortal& operator=(const FakePortal&) = delete;

 private:
  static GDBusMessage* Answer(GDBusConnection* bus, GDBusMessage* call, gboolean isIncoming, gpointer self) {
    if (!isIncoming || g_strcmp0(g_dbus_message_get_member(call), "Read") != 0) return call;
    const char *space, *key;
    g_variant_get(g_dbus_message_get_body(call), "(&s&s)", &space, &key);
    const bool known = std::string(space) + "/" + key == "org.freedesktop.appearance/color-scheme";
    GVariant* word = g_variant_new_uint32(known ? static_cast<FakePortal*>(self)->m_Word : 99);
    GDBusMessage* reply = g_dbus_message_new_method_reply(call);
    g_dbus_message_set_body(reply, g_variant_new("(v)", g_variant_new_variant(word)));
    g_dbus_connection_send_message(bus, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(reply);
    g_object_unref(call);
    return nullptr;
  }

  uint32_t m_Word;
  GDBusConnection* m_Bus = nullptr;
};

TEST(ThemePortal, ItsWordComesFirst) {
  if (!HasProgram("dbus-daemon")) GTEST_SKIP() << "needs dbus-daemon";
  const TestServer bus({"dbus-daemon", "--session", "--nofork", "--print-address=3"});
  ASSERT_FALSE(bus.Address.empty());
  const TestVariable way("DBUS_SESSION_BUS_ADDRESS", bus.Address);
  {
    const TestVariable theme("GTK_THEME", "Adwaita");
    EXPECT_EQ(ReadThemePreference(30), ThemePreference::Light) << "a session without a portal";
    const FakePortal dark(bus.Address, 1);
    EXPECT_EQ(ReadThemePreference(30), ThemePreference::Dark);
  }
  const TestVariable theme("GTK_THEME", "Adwaita:dark");
  {
    const FakePortal silent(bus.Address, 0);
    EXPECT_EQ(ReadThemePreference(30), ThemePreference::Dark) << "no preference: the next one is asked";
  }
  const FakePortal light(bus.Address, 2);
  EXPECT_EQ(ReadThemePreference(30), ThemePreference::Light);
}

}  // namespace

#endif
