#include "shell/platform/FileDialog.h"

#ifndef MORVANE_LIBPORTAL

FileDialogResult ShowFileDialog(const FileDialogRequest&, const std::function<void()>&, std::vector<std::string>& paths) {
  paths.clear();
  return FileDialogResult::NotAvailable;
}

#else

#include <libportal/portal.h>

#include <memory>

#include "comms/Log.h"
#include "shell/platform/SessionBus.h"

namespace {

template <class T>
struct Unref {
  void operator()(T* object) const { g_object_unref(object); }
};
template <class T>
using Owned = std::unique_ptr<T, Unref<T> >;

constexpr int AnswerMs = 1000;  ///< a portal that is there answers at once, even when it has to be started
constexpr int StepMicroseconds = 10000;

/// Whether somebody serves file dialogs on the session's bus.
bool HasPortal() {
  return CallPortal("org.freedesktop.DBus.Properties", "Get",
                    g_variant_new("(ss)", "org.freedesktop.portal.FileChooser", "version"), AnswerMs) != nullptr;
}

/// a(sa(us)): a name and its patterns, kind 0 each.
GVariant* MakeFilters(const std::vector<FileDialogRequest::Filter>& filters) {
  if (filters.empty()) return nullptr;
  GVariantBuilder list;
  g_variant_builder_init(&list, G_VARIANT_TYPE("a(sa(us))"));
  for (const FileDialogRequest::Filter& filter : filters) {
    GVariantBuilder patterns;
    g_variant_builder_init(&patterns, G_VARIANT_TYPE("a(us)"));
    for (const std::string& pattern : filter.Patterns) g_variant_builder_add(&patterns, "(us)", 0u, pattern.c_str());
    g_variant_builder_add(&list, "(sa(us))", filter.Name.c_str(), &patterns);
  }
  return g_variant_builder_end(&list);
}

struct Dialog {
  FileDialogRequest::Kind What;
  std::vector<std::string>& Paths;
  bool Done = false, Chosen = false, Failed = false;

  static void Finish(GObject* source, GAsyncResult* result, gpointer self) {
    Dialog& dialog = *static_cast<Dialog*>(self);
    XdpPortal* portal = XDP_PORTAL(source);
    GError* fault = nullptr;
    GVariant* answer = dialog.What == FileDialogRequest::Kind::SaveFile ? xdp_portal_save_file_finish(portal, result, &fault)
                                                                        : xdp_portal_open_file_finish(portal, result, &fault);
    dialog.Done = true;
    if (answer) {
      dialog.TakeAnswer(answer);
      g_variant_unref(answer);
    } else if (!g_error_matches(fault, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
      comms::LogWarning("The desktop's file dialog failed: %s", fault ? fault->message : "no reason given");
      dialog.Failed = true;
    }
    g_clear_error(&fault);
  }

  void TakeAnswer(GVariant* answer) {
    const char** uris = nullptr;
    if (!g_variant_lookup(answer, "uris", "^a&s", &uris)) return;
    for (const char** uri = uris; *uri; ++uri) {
      char* path = g_filename_from_uri(*uri, nullptr, nullptr);
      if (path)
        Paths.emplace_back(path);
      else
        comms::LogWarning("The file dialog chose %s, which is no file of this machine", *uri);
      g_free(path);
    }
    g_free(uris);
    Chosen = !Paths.empty();
  }
};

}  // namespace

FileDialogResult ShowFileDialog(const FileDialogRequest& request, const std::function<void()>& idle,
                                std::vector<std::string>& paths) {
  paths.clear();
  // The library has no dialog for folders.
  if (request.What == FileDialogRequest::Kind::ChooseFolder || !HasPortal()) return FileDialogResult::NotAvailable;
  const Owned<XdpPortal> portal(xdp_portal_new());
  const Owned<GCancellable> cancel(g_cancellable_new());
  Dialog dialog{request.What, paths};
  GVariant* filters = MakeFilters(request.Filters);
  if (request.What == FileDialogRequest::Kind::SaveFile) {
    const char* folder = request.Folder.empty() ? nullptr : request.Folder.c_str();
    const char* name = request.FileName.empty() ? nullptr : request.FileName.c_str();
    xdp_portal_save_file(portal.get(), nullptr, request.Title.c_str(), name, folder, nullptr, filters, nullptr, nullptr,
                         XDP_SAVE_FILE_FLAG_NONE, cancel.get(), Dialog::Finish, &dialog);
  } else {
    const XdpOpenFileFlags flags =
        request.What == FileDialogRequest::Kind::OpenFiles ? XDP_OPEN_FILE_FLAG_MULTIPLE : XDP_OPEN_FILE_FLAG_NONE;
    xdp_portal_open_file(portal.get(), nullptr, request.Title.c_str(), filters, nullptr, nullptr, flags, cancel.get(),
                         Dialog::Finish, &dialog);
  }
  while (!dialog.Done) {
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    if (dialog.Done) break;
    if (idle) idle();
    g_usleep(StepMicroseconds);
  }
  if (dialog.Failed) return FileDialogResult::NotAvailable;
  return dialog.Chosen ? FileDialogResult::Chosen : FileDialogResult::Cancelled;
}

#endif
