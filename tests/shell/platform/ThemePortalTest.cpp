// The desktop's portal, on a bus of the tests' own.
#include <gtest/gtest.h>

#include "shell/VirtualDisplay.h"
#include "shell/platform/ThemePreference.h"

#if __has_include(<libportal/portal.h>)

#include <gio/gio.h>

#include <atomic>
#include <thread>

namespace {

constexpr char Interface[] =
    "<node><interface name='org.freedesktop.portal.Settings'><method name='Read'><arg type='s' direction='in'/>"
    "<arg type='s' direction='in'/><arg type='v' direction='out'/></method></interface></node>";

/// A bus daemon for as long as it lives, and the environment that leads to it.
class OwnBus {
 public:
  OwnBus() {
    int ends[2];
    if (pipe(ends) != 0) return;
    m_Process = fork();
    if (m_Process == 0) {
      dup2(ends[1], 3);
      execlp("dbus-daemon", "dbus-daemon", "--session", "--nofork", "--print-address=3", nullptr);
      _exit(127);
    }
    close(ends[1]);
    for (char c; read(ends[0], &c, 1) == 1 && c != '\n';) Address += c;
    close(ends[0]);
    setenv("DBUS_SESSION_BUS_ADDRESS", Address.c_str(), 1);
  }
  ~OwnBus() {
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    kill(m_Process, SIGTERM);
    waitpid(m_Process, nullptr, 0);
  }
  OwnBus(const OwnBus&) = delete;
  OwnBus& operator=(const OwnBus&) = delete;
  std::string Address;

 private:
  pid_t m_Process = -1;
};

/// Serves one answer, wrapped as the older portals do, in a thread of its own.
class FakePortal {
 public:
  FakePortal(const std::string& address, uint32_t word) : m_Word(word) {
    m_Thread = std::thread([this, address] { Serve(address); });
    while (!m_Ready) std::this_thread::yield();
  }
  ~FakePortal() {
    m_Ending = true;
    g_main_context_wakeup(m_Context);
    m_Thread.join();
  }
  FakePortal(const FakePortal&) = delete;
  FakePortal& operator=(const FakePortal&) = delete;

 private:
  static void Answer(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters,
                     GDBusMethodInvocation* call, gpointer self) {
    const char *space, *key;
    g_variant_get(parameters, "(&s&s)", &space, &key);
    const bool known = std::string(space) + "/" + key == "org.freedesktop.appearance/color-scheme";
    const uint32_t word = known ? static_cast<FakePortal*>(self)->m_Word : 99;
    g_dbus_method_invocation_return_value(call, g_variant_new("(v)", g_variant_new_variant(g_variant_new_uint32(word))));
  }
  void Serve(const std::string& address) {
    m_Context = g_main_context_new();
    g_main_context_push_thread_default(m_Context);
    const auto flags =
        GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    GDBusConnection* bus = g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, nullptr, nullptr);
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(Interface, nullptr);
    const GDBusInterfaceVTable table{Answer, nullptr, nullptr, {}};
    g_dbus_connection_register_object(bus, "/org/freedesktop/portal/desktop", node->interfaces[0], &table, this, nullptr,
                                      nullptr);
    GVariant* owned = g_dbus_connection_call_sync(bus, "org.freedesktop.DBus", "/", "org.freedesktop.DBus", "RequestName",
                                                  g_variant_new("(su)", "org.freedesktop.portal.Desktop", 0u), nullptr,
                                                  G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    if (owned) g_variant_unref(owned);
    m_Ready = true;
    while (!m_Ending) g_main_context_iteration(m_Context, TRUE);
    g_dbus_node_info_unref(node);
    g_object_unref(bus);
    g_main_context_pop_thread_default(m_Context);
  }

  uint32_t m_Word;
  GMainContext* m_Context = nullptr;
  std::atomic<bool> m_Ready = false, m_Ending = false;
  std::thread m_Thread;
};

TEST(ThemePortal, ItsWordComesFirst) {
  if (!HasProgram("dbus-daemon")) GTEST_SKIP() << "needs dbus-daemon";
  const OwnBus bus;
  ASSERT_FALSE(bus.Address.empty());
  setenv("GTK_THEME", "Adwaita", 1);
  EXPECT_EQ(ReadThemePreference(30), ThemePreference::Light) << "a session without a portal";
  {
    const FakePortal dark(bus.Address, 1);
    EXPECT_EQ(ReadThemePreference(30), ThemePreference::Dark);
  }
  {
    const FakePortal silent(bus.Address, 0);
    EXPECT_EQ(ReadThemePreference(30), ThemePreference::Light) << "no preference: the next one is asked";
  }
  setenv("GTK_THEME", "Adwaita:dark", 1);
  {
    const FakePortal light(bus.Address, 2);
    EXPECT_EQ(ReadThemePreference(30), ThemePreference::Light);
  }
  unsetenv("GTK_THEME");
}

}  // namespace

#endif
