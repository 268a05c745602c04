#include "interface/PageLayouts.h"

#include <filesystem>
#include <system_error>

#include "comms/Log.h"
#include "comms/Str.h"
#include "interface/DockPanels.h"
#include "shell/core/DataPath.h"
#include "shell/core/FileTitle.h"
#include "shell/core/Pages.h"

namespace fs = std::filesystem;

static constexpr const char* PageLayoutExtension = ".OnePageLayout";

static std::string LayoutFolder() { return GetFullPath("UserData/Layouts"); }
static std::string PathOf(LayoutKind kind, const std::string& name) {
  return (fs::path(LayoutFolder()) / (kind == LayoutKind::OnePage ? name + PageLayoutExtension : name)).string();
}

static std::string PageFile(int page) { return GetFullPath(std::string(comms::Format("Temp/page_%d.xml", page))); }

static std::string FileIn(const std::string& folder, int page) {
  return (fs::path(folder) / (GetPageNames()[size_t(page)] + PageLayoutExtension)).string();
}

static bool Copy(const std::string& from, const std::string& to) {
  std::error_code fault;
  if (MakeFolderOf(to) && fs::copy_file(from, to, fs::copy_options::overwrite_existing, fault)) return true;
  if (fault) comms::LogWarning("%s: the layout can't be written: %s", to.c_str(), fault.message().c_str());
  return false;
}

std::vector<std::string> ListPageLayouts(LayoutKind kind) {
  return ListFileTitles(LayoutFolder(), kind == LayoutKind::OnePage ? PageLayoutExtension : "");
}

bool HasPageLayout(LayoutKind kind, const std::string& name) {
  std::error_code fault;
  return IsFileTitle(name) && fs::exists(PathOf(kind, name), fault);
}

bool RenamePageLayout(LayoutKind kind, const std::string& name, const std::string& newName) {
  if (newName == name) return HasPageLayout(kind, name);
  if (!HasPageLayout(kind, name) || !IsFileTitle(newName) || HasPageLayout(kind, newName)) {
    comms::LogWarning("the layout '%s' can't be renamed '%s'", name.c_str(), newName.c_str());
    return false;
  }
  std::error_code fault;
  fs::rename(PathOf(kind, name), PathOf(kind, newName), fault);
  if (fault) comms::LogWarning("%s: can't be renamed: %s", PathOf(kind, name).c_str(), fault.message().c_str());
  return !fault;
}

bool DeletePageLayout(LayoutKind kind, const std::string& name) {
  if (!HasPageLayout(kind, name)) return comms::LogWarning("there is no layout '%s'", name.c_str()), false;
  std::error_code fault;
  if (kind == LayoutKind::AllPages)
    for (const std::string& page : GetPageNames()) fs::remove(fs::path(PathOf(kind, name)) / (page + PageLayoutExtension), fault);
  // A folder that holds something else stays, with what else is in it.
  fs::remove(PathOf(kind, name), fault);
  if (fault) comms::LogWarning("%s: can't be deleted: %s", PathOf(kind, name).c_str(), fault.message().c_str());
  return !fault;
}

static bool IsLayoutName(const std::string& name) {
  if (!IsFileTitle(name)) comms::LogWarning("'%s' can't be the name of a layout", name.c_str());
  return IsFileTitle(name);
}

bool StoreThisPageLayout(const DockPanels& docks, const std::string& name) {
  return IsLayoutName(name) && docks.StoreLayout(PathOf(LayoutKind::OnePage, name));
}
bool RestoreThisPageLayout(DockPanels& docks, const std::string& name) {
  return IsLayoutName(name) && docks.RestoreLayout(PathOf(LayoutKind::OnePage, name));
}

// The shown page is as it is now, and not as it was when it was last left.
bool StoreAllPagesLayout(const std::string& name) {
  if (!IsLayoutName(name)) return false;
  const std::string folder = PathOf(LayoutKind::AllPages, name);
  StorePageLayout();
  bool stored = true;
  std::error_code fault;
  for (int page = 0; page < int(GetPageNames().size()); page++)
    if (fs::exists(PageFile(page), fault))
      stored &= Copy(PageFile(page), FileIn(folder, page));
    else
      fs::remove(FileIn(folder, page), fault);  // of the layout that had the name before
  return stored;
}

bool RestoreAllPagesLayout(const std::string& name) {
  if (!IsLayoutName(name)) return false;
  const std::string folder = PathOf(LayoutKind::AllPages, name);
  bool found = false;
  std::error_code fault;
  for (int page = 0; page < int(GetPageNames().size()); page++)
    if (fs::exists(FileIn(folder, page), fault)) found |= Copy(FileIn(folder, page), PageFile(page));
  if (found)
    RestorePageLayout();
  else
    comms::LogWarning("%s: there is no layout of any page", folder.c_str());
  return found;
}

static void Forget(int page) {
  std::error_code fault;
  fs::remove(PageFile(page), fault);
  if (fault) comms::LogWarning("%s: %s", PageFile(page).c_str(), fault.message().c_str());
}

void ResetThisPageToDefault() {
  Forget(CurrentPage);
  RestorePageLayout();
}

void ResetAllPagesToDefault() {
  for (int page = 0; page < int(GetPageNames().size()); page++) Forget(page);
  RestorePageLayout();
}
