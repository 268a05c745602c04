#include "interface/PageLayouts.h"

#include <filesystem>
#include <system_error>

#include "comms/Log.h"
#include "comms/Str.h"
#include "interface/DockPanels.h"
#include "shell/core/DataPath.h"
#include "shell/core/Pages.h"

namespace fs = std::filesystem;

std::string GetPageLayoutFolder() { return GetFullPath("UserData/Layouts"); }

static std::string PageFile(int page) { return GetFullPath(std::string(comms::Format("Temp/page_%d.xml", page))); }

static std::string WithExtension(const std::string& path) {
  return path.ends_with(PageLayoutExtension) ? path : path + PageLayoutExtension;
}

static std::string FileIn(const std::string& folder, int page) {
  return (fs::path(folder) / (GetPageNames()[size_t(page)] + PageLayoutExtension)).string();
}

static bool Copy(const std::string& from, const std::string& to) {
  std::error_code fault;
  if (MakeFolderOf(to) && fs::copy_file(from, to, fs::copy_options::overwrite_existing, fault)) return true;
  if (fault) comms::LogWarning("%s: the layout can't be written: %s", to.c_str(), fault.message().c_str());
  return false;
}

bool StoreThisPageLayout(const DockPanels& docks, const std::string& path) { return docks.StoreLayout(WithExtension(path)); }
bool RestoreThisPageLayout(DockPanels& docks, const std::string& path) { return docks.RestoreLayout(path); }

// The shown page is as it is now, and not as it was when it was last left.
bool StoreAllPagesLayout(const std::string& folder) {
  StorePageLayout();
  bool stored = true;
  std::error_code fault;
  for (int page = 0; page < int(GetPageNames().size()); page++)
    if (fs::exists(PageFile(page), fault)) stored &= Copy(PageFile(page), FileIn(folder, page));
  return stored;
}

bool RestoreAllPagesLayout(const std::string& folder) {
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
