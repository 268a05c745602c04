#pragma once
// Rooms: pages of the interface, each with its panels, its menu bar and its main tool. The scene data of all rooms stay in
// memory, so that a switch costs no more than building the panels anew.
#include <functional>
#include <string>
#include <string_view>
#include <vector>

class BasicTool;

/// "Voxels", "Paint", "Retopo", "Sculpt", "Render": the number of a page is its place here.
const std::vector<std::string>& GetPageNames();
/// -1 where there is no page of that name.
int FindPage(std::string_view name);

/// Number of the page that is shown.
extern int CurrentPage;

/// What the interface does for a switch. Empty ones are passed over.
struct PageHooks {
  /// Writes the layout of the panels to a file, whose folder exists. False where it can't; the log knows why.
  std::function<bool(const std::string& path)> StoreLayout;
  /// Sets the panels up as that file says. False where it can't be used; the log knows why.
  std::function<bool(const std::string& path)> RestoreLayout;
  /// No layout was there: the panels as the program brings them.
  std::function<void(int page)> BuildDefaultLayout;
  /// Builds the panels anew for CurrentPage.
  std::function<void()> RebuildPanels;
};
/// At the start of the program; "Pages.txt" is read again on the next question.
void InitPages(PageHooks hooks);

/// Leaves the current page and enters `newPage`: stores the layout, restores the one of the new page, builds the panels and makes
/// the page's main tool the active one. False where there is no such page; nothing changes then, nor for the page that is shown
/// already.
bool SwitchPage(int newPage);
/// The second half of a switch alone: for the first page of a run. False where there is no such page.
bool EnterPage(int page);
/// To "Temp/page_%d.xml" of the current page, with a copy in "Temp/Prev/page_%d.xml".
void StorePageLayout();
/// From "Temp/page_%d.xml" of the current page, or else from "ToolsPresets/page_%d.xml".
void RestorePageLayout();

/// The tool that is active on entry: the room tool that serves the page, or else the first pen that does. Null where it has none.
BasicTool* FindMainTool(int page);

/// The tools that serve the page and have a key, in order of creation: those with a button there.
std::vector<BasicTool*> ListRoomTools(int page);

/// By "Pages.txt", read once: names apart by any of " ,;\t" and line ends. All pages are allowed where it is absent or empty.
bool IsPageAllowed(std::string_view name);
/// The same rule for a given text.
bool IsPageAllowed(std::string_view name, std::string_view pagesText);
/// Numbers of the allowed pages: what the menu "PAGES" lists.
std::vector<int> ListAllowedPages();

/// Whether an interface item with this text is shown on a page: one with tags "[Page" and a number on those pages alone, one
/// without on all.
bool IsShownOnPage(std::string_view itemText, int page);
/// The text without its "[Page...]" tags.
std::string StripPageTags(std::string_view itemText);

/// Changes when the top menu is to be built anew.
int GetMenuStateHash(int screenWidth, int screenHeight, int page);
