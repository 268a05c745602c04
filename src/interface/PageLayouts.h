#pragma once
// What the menu of layouts does: a person's own layouts below "UserData/Layouts" of the data path, each under a name that is a
// file title (FileTitle.h). That of one page is a file "<name>.OnePageLayout", those of all pages lie in a folder <name>. The
// keys of the menu are StoreThisPageLayout, RestoreThisPageLayout, StoreAllPagesLayout, RestoreAllPagesLayout,
// ResetThisPageToDefault and ResetAllPagesToDefault.
#include <string>
#include <vector>

class DockPanels;

enum class LayoutKind { OnePage, AllPages };
/// Names of the stored layouts, in order.
std::vector<std::string> ListPageLayouts(LayoutKind kind);
bool HasPageLayout(LayoutKind kind, const std::string& name);
/// False with a line in the log, and nothing changed, where there is none of that name, where another one has the new name, or
/// where the system refuses.
bool RenamePageLayout(LayoutKind kind, const std::string& name, const std::string& newName);
bool DeletePageLayout(LayoutKind kind, const std::string& name);

/// Replaces the layout of that name. False with a line in the log.
bool StoreThisPageLayout(const DockPanels& docks, const std::string& name);
bool RestoreThisPageLayout(DockPanels& docks, const std::string& name);
/// One file a page, named after it. Pages that were never left have no layout of their own and no file. False, with a line in the
/// log for each, where one could not be written.
bool StoreAllPagesLayout(const std::string& name);
/// Takes the layouts of all pages that were stored; that of the shown page at once. False where there is none.
bool RestoreAllPagesLayout(const std::string& name);
/// As the program brings it.
void ResetThisPageToDefault();
void ResetAllPagesToDefault();
