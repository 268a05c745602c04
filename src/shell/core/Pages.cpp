#include "shell/core/Pages.h"

#include <algorithm>
#include <cctype>
#include <optional>

#include "comms/Log.h"
#include "comms/SafeFile.h"
#include "comms/Str.h"
#include "shell/core/BasicTool.h"
#include "shell/core/DataPath.h"

int CurrentPage = 0;

static PageHooks s_Hooks;
static std::optional<std::string> s_PagesText;  // of "Pages.txt"; none until somebody asked

const std::vector<std::string>& GetPageNames() {
  static const std::vector<std::string> names{"Voxels", "Paint", "Retopo", "Sculpt", "Render"};
  return names;
}

int FindPage(std::string_view name) {
  const std::vector<std::string>& names = GetPageNames();
  const auto found = std::find(names.begin(), names.end(), name);
  return found == names.end() ? -1 : int(found - names.begin());
}

static bool IsPage(int page) { return page >= 0 && size_t(page) < GetPageNames().size(); }

void InitPages(PageHooks hooks) {
  s_Hooks = std::move(hooks);
  s_PagesText.reset();
  CurrentPage = 0;
}

void StorePageLayout() {
  if (!s_Hooks.StoreLayout) return;
  for (const char* name : {"Temp/page_%d.xml", "Temp/Prev/page_%d.xml"}) {
    const std::string path = GetFullPath(comms::Format(name, CurrentPage));
    if (MakeFolderOf(path)) s_Hooks.StoreLayout(path);
  }
}

static bool RestoreFrom(const std::string& path) { return comms::FileExists(path) && s_Hooks.RestoreLayout(path); }

// The copy in "Prev" counts only where the first file is there and damaged.
void RestorePageLayout() {
  if (s_Hooks.RestoreLayout) {
    const std::string own = GetFullPath(comms::Format("Temp/page_%d.xml", CurrentPage));
    if (comms::FileExists(own) &&
        (RestoreFrom(own) || RestoreFrom(GetFullPath(comms::Format("Temp/Prev/page_%d.xml", CurrentPage)))))
      return;
    if (RestoreFrom(FindDataFile(comms::Format("ToolsPresets/page_%d.xml", CurrentPage)))) return;
  }
  if (s_Hooks.BuildDefaultLayout) s_Hooks.BuildDefaultLayout(CurrentPage);
}

bool EnterPage(int page) {
  if (!IsPage(page)) return false;
  CurrentPage = page;
  RestorePageLayout();
  BasicTool* main = FindMainTool(page);
  if (main) {
    RadioActivate(*main);
    main->OnRoomEnter();
  } else {
    DeactivateTools();
  }
  // After the tool: its parameters form a panel.
  if (s_Hooks.RebuildPanels) s_Hooks.RebuildPanels();
  return true;
}

bool SwitchPage(int newPage) {
  if (!IsPage(newPage) || newPage == CurrentPage) return false;
  StorePageLayout();
  return EnterPage(newPage);
}

BasicTool* FindMainTool(int page) {
  if (!IsPage(page)) return nullptr;
  BasicTool* pen = nullptr;
  for (BasicTool* tool : ToolList) {
    if (GetPageNames()[size_t(page)] != tool->GetRoomName()) continue;
    if (tool->IsRoomTool) return tool;
    if (!pen && tool->UsesPen()) pen = tool;
  }
  return pen;
}

std::vector<BasicTool*> ListRoomTools(int page) {
  std::vector<BasicTool*> tools;
  for (BasicTool* tool : ToolList)
    if (IsPage(page) && *tool->GetToolKey() && GetPageNames()[size_t(page)] == tool->GetRoomName()) tools.push_back(tool);
  return tools;
}

bool IsPageAllowed(std::string_view name, std::string_view pagesText) {
  constexpr std::string_view separators = " ,;\t\r\n";
  bool hasToken = false;
  for (size_t at = 0; (at = pagesText.find_first_not_of(separators, at)) != pagesText.npos;) {
    const size_t end = std::min(pagesText.find_first_of(separators, at), pagesText.size());
    if (pagesText.substr(at, end - at) == name) return true;
    hasToken = true;
    at = end;
  }
  return !hasToken;
}

bool IsPageAllowed(std::string_view name) {
  if (!s_PagesText) {
    s_PagesText.emplace();
    std::vector<uint8_t> bytes;
    std::string error;
    const std::string path = FindDataFile("Pages.txt");
    if (comms::FileExists(path)) {
      if (comms::ReadWholeFile(path, bytes, error))
        s_PagesText->assign(bytes.begin(), bytes.end());
      else
        comms::LogWarning("%s", error.c_str());
    }
    const std::vector<std::string>& names = GetPageNames();
    if (std::none_of(names.begin(), names.end(), [](const auto& page) { return IsPageAllowed(page, *s_PagesText); })) {
      std::string known;
      for (const std::string& page : names) known += (known.empty() ? "" : ", ") + page;
      comms::LogWarning("%s: names no page, so none is offered; expected some of: %s", path.c_str(), known.c_str());
    }
  }
  return IsPageAllowed(name, *s_PagesText);
}

std::vector<int> ListAllowedPages() {
  std::vector<int> pages;
  for (size_t i = 0; i < GetPageNames().size(); ++i)
    if (IsPageAllowed(GetPageNames()[i])) pages.push_back(int(i));
  return pages;
}

static constexpr std::string_view s_PageTag = "[Page";

// The number of a tag "[Page12]", with `end` behind it; -1 where `text` doesn't begin with one. The closing bracket may be
// missing.
static int ReadPageTag(std::string_view text, size_t& end) {
  if (!text.starts_with(s_PageTag)) return -1;
  size_t at = s_PageTag.size();
  int page = 0;
  for (; at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])); ++at)
    page = std::min(page * 10 + (text[at] - '0'), 9999);
  if (at == s_PageTag.size()) return -1;
  end = at < text.size() && text[at] == ']' ? at + 1 : at;
  return page;
}

bool IsShownOnPage(std::string_view itemText, int page) {
  bool tagged = false;
  size_t end = 0;
  for (size_t at = 0; (at = itemText.find(s_PageTag, at)) != itemText.npos; ++at) {
    const int tag = ReadPageTag(itemText.substr(at), end);
    if (tag == page) return true;
    tagged = tagged || tag >= 0;
  }
  return !tagged;
}

std::string StripPageTags(std::string_view itemText) {
  std::string text;
  for (size_t at = 0, end = 0; at < itemText.size();) {
    if (ReadPageTag(itemText.substr(at), end) >= 0)
      at += end;
    else
      text += itemText[at++];
  }
  return text;
}

int GetMenuStateHash(int screenWidth, int screenHeight, int page) {
  return int(unsigned(screenWidth) + 17 * unsigned(screenHeight) + 993 * unsigned(page));
}
