#include "interface/ActionWidgets.h"

#include <vector>

#include "comms/Log.h"
#include "interface/Language.h"
#include "interface/MenuBar.h"
#include "interface/TextMenu.h"
#include "shell/core/Pages.h"

static const Actions* s_Actions = nullptr;
static const HotKeys* s_Keys = nullptr;

void SetActionSource(const Actions* actions, const HotKeys* keys) {
  s_Actions = actions;
  s_Keys = keys;
}

const Action* FindAction(std::string_view name) { return s_Actions ? s_Actions->Find(name) : nullptr; }

std::string WithKey(const std::string& text, const HotKeyTarget& target) {
  const std::string key = s_Keys ? GetKeyText(s_Keys->KeyText(target)) : std::string();
  return key.empty() ? text : text.empty() ? key : text + " (" + key + ")";
}

// The action that is to be shown on the current page.
static const Action* FindShown(std::string_view name) {
  const Action* action = FindAction(name);
  if (!action) comms::LogWarning("there is no action '%s'", std::string(name).c_str());
  return action && IsShownOnPage(GetText(action->TextKey), CurrentPage) ? action : nullptr;
}

static std::string TextOf(const Action& action) { return action.Text ? action.Text() : StripPageTags(GetText(action.TextKey)); }

// --- buttons -------------------------------------------------------------------------------------------------------------------

DECLARE_MEMBERS(ActionButton) {}

ActionButton::ActionButton(const ::Action& action) : Button(action.TextKey, action.Icon), m_Action(&action) {
  IsChecked = action.IsChecked;
  Action = action.Run;
  HintKey = action.TextKey;
  Flat = true;
  Enabled = action.Enabled();
}

std::string ActionButton::GetText() const { return StripPageTags(Button::GetText()); }

// As of now: what the frame's input and the tool have done counts.
void ActionButton::Draw(Canvas& canvas) {
  if (m_Action) Enabled = m_Action->Enabled();
  Button::Draw(canvas);
}

std::string ActionButton::GetHintText(float x, float y) const {
  if (!m_Action) return {};
  // A picture alone says its name.
  return WithKey(Text.Empty() ? TextOf(*m_Action) : Button::GetHintText(x, y), {m_Action->Name, {}, {}});
}

void AddActionButtons(BaseWidget& panel, std::string_view titleKey, std::initializer_list<std::string_view> names) {
  auto* title = panel.AddChild(new TextWidget(titleKey));
  title->Style = TextStyle::Small;
  title->Dim = true;
  for (const std::string_view name : names)
    if (const Action* action = FindShown(name)) panel.AddChild(new ActionButton(*action))->Align = TextAlign::Left;
}

// --- menus ---------------------------------------------------------------------------------------------------------------------

static void AddItem(TextMenu& menu, std::string_view name) {
  if (name.empty()) return menu.AddLine();
  const Action* action = FindShown(name);
  if (!action) return;
  TextItem* item = menu.Add(TextOf(*action), action->Run, s_Keys ? s_Keys->KeyText(action->Name) : std::string(), action->Icon);
  item->Literal = true;
  item->HintKey = action->TextKey;
  item->Enabled = action->Enabled();
  item->Checked = action->Checked();
}

void AddActionItems(TextMenu& menu, std::initializer_list<std::string_view> names) {
  for (const std::string_view name : names) AddItem(menu, name);
}

void AddActionMenu(MenuBar& bar, std::string_view titleKey, std::initializer_list<std::string_view> names) {
  bar.AddMenu(titleKey, [names = std::vector<std::string>(names.begin(), names.end())](TextMenu& menu) {
    for (const std::string& name : names) AddItem(menu, name);
  });
}
