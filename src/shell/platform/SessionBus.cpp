#ifdef MORVANE_LIBPORTAL

#include "shell/platform/SessionBus.h"

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

/// GIO would start a bus where the session has none.
bool HasBus() {
  if (std::getenv("DBUS_SESSION_BUS_ADDRESS")) return true;
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  std::error_code fault;
  return runtime && std::filesystem::exists(std::string(runtime) + "/bus", fault);
}

}  // namespace

OwnedVariant CallPortal(const char* interface, const char* method, GVariant* parameters, int limitMs) {
  const OwnedVariant owned(g_variant_ref_sink(parameters));
  if (!HasBus()) return nullptr;
  GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
  if (!bus) return nullptr;
  // The end of the bus is no end of ours.
  g_dbus_connection_set_exit_on_close(bus, FALSE);
  GVariant* answer =
      g_dbus_connection_call_sync(bus, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop", interface, method,
                                  owned.get(), nullptr, G_DBUS_CALL_FLAGS_NONE, limitMs, nullptr, nullptr);
  g_object_unref(bus);
  return OwnedVariant(answer);
}

#endif
