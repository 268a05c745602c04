#pragma once
// Widgets that stand for actions: they show an action's text, icon, state and key, and run it. Rooms build their menus and lists
// of commands from them by the actions' names, wherever the actions come from.
#include <initializer_list>
#include <string>
#include <string_view>

#include "interface/Button.h"
#include "shell/core/Actions.h"
#include "shell/core/HotKeys.h"

class MenuBar;
class TextMenu;

/// What the names stand for, and the keys to tell; both outlive what is built from them, or are taken away with null.
void SetActionSource(const Actions* actions, const HotKeys* keys);
/// The action of a name; null where there is none.
const Action* FindAction(std::string_view name);
/// A text about a target, with its key behind it.
std::string WithKey(const std::string& text, const HotKeyTarget& target);

/// A button that is enabled while its action is, and tells its key.
class ActionButton : public Button {
  REFLECTED(ActionButton, Button)
 public:
  ActionButton() = default;
  explicit ActionButton(const ::Action& action);
  std::string GetText() const override;
  void Draw(Canvas& canvas) override;
  std::string GetHintText(float x, float y) const override;

 private:
  const ::Action* m_Action = nullptr;
};

/// Adds a button for each name below a title (a language key). Actions whose text has tags of other pages are left out
/// (IsShownOnPage), and names that nothing stands for, with a line in the log.
void AddActionButtons(BaseWidget& panel, std::string_view titleKey, std::initializer_list<std::string_view> names);
/// Adds a menu item for each name; an empty name stands for a line. Left out as above.
void AddActionItems(TextMenu& menu, std::initializer_list<std::string_view> names);
/// Adds a menu of such items to the bar.
void AddActionMenu(MenuBar& bar, std::string_view titleKey, std::initializer_list<std::string_view> names);
