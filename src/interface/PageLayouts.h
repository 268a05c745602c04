#pragma once
// What the menu of layouts does: a person's own layouts, of one page or of all, in files "*.OnePageLayout". The keys of the menu
// are StoreThisPageLayout, RestoreThisPageLayout, StoreAllPagesLayout, RestoreAllPagesLayout, ResetThisPageToDefault and
// ResetAllPagesToDefault.
#include <string>

class DockPanels;

constexpr const char* PageLayoutExtension = ".OnePageLayout";

/// Folder below the data path in which layouts are kept unless the person chooses another.
std::string GetPageLayoutFolder();
/// The extension is added where it is missing. False with a line in the log.
bool StoreThisPageLayout(const DockPanels& docks, const std::string& path);
bool RestoreThisPageLayout(DockPanels& docks, const std::string& path);
/// One file a page, named after it. Pages that were never left have no layout of their own and no file. False, with a line in the
/// log for each, where one could not be written.
bool StoreAllPagesLayout(const std::string& folder);
/// Takes the layouts of all pages that the folder has one for; that of the shown page at once. False where there is none.
bool RestoreAllPagesLayout(const std::string& folder);
/// As the program brings it.
void ResetThisPageToDefault();
void ResetAllPagesToDefault();
