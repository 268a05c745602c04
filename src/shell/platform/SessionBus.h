#pragma once
// The session's message bus, for what the desktop's portal knows. Only where the build has GIO.
#include <gio/gio.h>

#include <functional>
#include <memory>

struct GVariantUnref {
  void operator()(GVariant* value) const { g_variant_unref(value); }
};
using OwnedVariant = std::unique_ptr<GVariant, GVariantUnref>;

/// Calls a method of the desktop's portal; `parameters` is taken over. Null where the session has no bus, nobody serves the
/// portal, or the answer does not come within `limitMs`. From any thread.
OwnedVariant CallPortal(const char* interface, const char* method, GVariant* parameters, int limitMs);

/// Hears what the desktop's portal tells of its settings.
class PortalSettingsWatch {
 public:
  PortalSettingsWatch() = default;
  ~PortalSettingsWatch() { Stop(); }
  PortalSettingsWatch(const PortalSettingsWatch&) = delete;
  PortalSettingsWatch& operator=(const PortalSettingsWatch&) = delete;
  /// From here on `changed` is called with the key of each setting that changes, on a thread of the bus. Nothing happens where
  /// the session has no bus, or once it has started.
  void Start(std::function<void(const char* key)> changed);
  /// `changed` is not called any more, and not running.
  void Stop();

 private:
  struct Ear;
  Ear* m_Ear = nullptr;  // the bus's, which may still hear while it is taken away
  GDBusConnection* m_Bus = nullptr;
  guint m_Filter = 0;
};
