#pragma once
// The desktop's portal, on a bus of the tests' own. Empty where the build has none to ask.
#if __has_include(<libportal/portal.h>)

#include <gio/gio.h>

#include <functional>
#include <string>
#include <utility>

/// The body of the reply to a call; null: the call is none of ours. Runs on the bus connection's own thread.
using PortalAnswer = std::function<GVariant*(GDBusMessage* call)>;

class FakePortal {
 public:
  FakePortal(const std::string& address, PortalAnswer answer) : m_Answer(std::move(answer)) {
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

  GDBusConnection* Bus() const { return m_Bus; }

 private:
  static GDBusMessage* Answer(GDBusConnection* bus, GDBusMessage* call, gboolean isIncoming, gpointer self) {
    if (!isIncoming || g_dbus_message_get_message_type(call) != G_DBUS_MESSAGE_TYPE_METHOD_CALL) return call;
    GVariant* body = static_cast<FakePortal*>(self)->m_Answer(call);
    if (!body) return call;
    GDBusMessage* reply = g_dbus_message_new_method_reply(call);
    g_dbus_message_set_body(reply, body);
    g_dbus_connection_send_message(bus, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(reply);
    g_object_unref(call);
    return nullptr;
  }

  PortalAnswer m_Answer;
  GDBusConnection* m_Bus = nullptr;
};

#endif
