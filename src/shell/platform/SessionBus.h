#pragma once
// The session's message bus, for what the desktop's portal knows. Only where the build has GIO.
#include <gio/gio.h>

#include <memory>

struct GVariantUnref {
  void operator()(GVariant* value) const { g_variant_unref(value); }
};
using OwnedVariant = std::unique_ptr<GVariant, GVariantUnref>;

/// Calls a method of the desktop's portal; `parameters` is taken over. Null where the session has no bus, nobody serves the
/// portal, or the answer does not come within `limitMs`. From any thread.
OwnedVariant CallPortal(const char* interface, const char* method, GVariant* parameters, int limitMs);
