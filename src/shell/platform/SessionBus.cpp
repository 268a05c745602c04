#ifdef MORVANE_LIBPORTAL

#include "shell/platform/SessionBus.h"

#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string>
#include <utility>

namespace {

/// GIO would start a bus where the session has none.
bool HasBus() {
  if (std::getenv("DBUS_SESSION_BUS_ADDRESS")) return true;
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  std::error_code fault;
  return runtime && std::filesystem::exists(std::string(runtime) + "/bus", fault);
}

GDBusConnection* OpenBus() {
  GDBusConnection* bus = HasBus() ? g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr) : nullptr;
  // The end of the bus is no end of ours.
  if (bus) g_dbus_connection_set_exit_on_close(bus, FALSE);
  return bus;
}

constexpr char Portal[] = "org.freedesktop.portal.Desktop", Place[] = "/org/freedesktop/portal/desktop",
               Settings[] = "org.freedesktop.portal.Settings";

}  // namespace

OwnedVariant CallPortal(const char* interface, const char* method, GVariant* parameters, int limitMs) {
  const OwnedVariant owned(g_variant_ref_sink(parameters));
  GDBusConnection* bus = OpenBus();
  if (!bus) return nullptr;
  GVariant* answer = g_dbus_connection_call_sync(bus, Portal, Place, interface, method, owned.get(), nullptr,
                                                 G_DBUS_CALL_FLAGS_NONE, limitMs, nullptr, nullptr);
  g_object_unref(bus);
  return OwnedVariant(answer);
}

struct PortalSettingsWatch::Ear {
  std::mutex Lock;
  std::function<void(const char* key)> Changed;

  // A filter, as subscribed signals wait for a main context, and ours only turns while a file dialog is open.
  static GDBusMessage* Hear(GDBusConnection*, GDBusMessage* message, gboolean isIncoming, gpointer self) {
    if (!isIncoming || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_SIGNAL ||
        g_strcmp0(g_dbus_message_get_interface(message), Settings) != 0 ||
        g_strcmp0(g_dbus_message_get_member(message), "SettingChanged") != 0)
      return message;
    GVariant* body = g_dbus_message_get_body(message);
    if (!body || !g_variant_is_of_type(body, G_VARIANT_TYPE("(ssv)"))) return message;
    const char* key = nullptr;
    g_variant_get_child(body, 1, "&s", &key);
    Ear& ear = *static_cast<Ear*>(self);
    const std::lock_guard lock(ear.Lock);
    if (ear.Changed) ear.Changed(key);
    return message;
  }
};

void PortalSettingsWatch::Start(std::function<void(const char* key)> changed) {
  if (m_Bus || !(m_Bus = OpenBus())) return;
  m_Ear = new Ear;
  m_Ear->Changed = std::move(changed);
  m_Filter = g_dbus_connection_add_filter(m_Bus, Ear::Hear, m_Ear, [](gpointer ear) { delete static_cast<Ear*>(ear); });
  const std::string rule = std::string("type='signal',sender='") + Portal + "',path='" + Place + "',interface='" + Settings + "'";
  g_dbus_connection_call(m_Bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "AddMatch",
                         g_variant_new("(s)", rule.c_str()), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
}

void PortalSettingsWatch::Stop() {
  if (!m_Bus) return;
  {
    const std::lock_guard lock(m_Ear->Lock);
    m_Ear->Changed = nullptr;
  }
  g_dbus_connection_remove_filter(m_Bus, m_Filter);
  g_object_unref(std::exchange(m_Bus, nullptr));
  m_Ear = nullptr;
}

#endif
