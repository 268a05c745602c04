#pragma once
// What the interface can do, once: the one list behind menus, hot keys and buttons. Work on the scene is a command of
// CommandTable; an action is what only a person at the window does (open a box, switch a page, look at something), or a command
// with the questions around it.
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

struct Action {
  std::string Name;     ///< CamelCase; what files of hot keys hold
  std::string TextKey;  ///< language key of its text, with tags as of IsShownOnPage; its hint is under the key with "_HINT"
  std::string Icon;     ///< name of the icon; empty for none
  std::function<void()> Run;
  std::function<std::string()> Text;     ///< its text in menus now; empty: that of TextKey
  std::function<void()> Release;         ///< the end of a hold: a hot key was let go. Empty for actions that are done at once
  std::function<bool()> IsEnabled;       ///< empty: always
  std::function<bool()> IsChecked;       ///< empty: can't be checked
  std::vector<std::string> DefaultKeys;  ///< as "Ctrl+Z"
  bool Repeats = false;                  ///< a held key runs it again
  bool Hold = false;                     ///< its key begins with Run and ends with Release
  bool SharesKeys = false;               ///< its keys may be those of other actions too; the first one that is enabled runs

  bool Enabled() const { return !IsEnabled || IsEnabled(); }
  bool Checked() const { return IsChecked && IsChecked(); }
  bool CanBeChecked() const { return bool(IsChecked); }
};

class Actions {
 public:
  /// A name is entered once. The reference stays valid.
  Action& Add(Action action);
  /// Null where there is none; the case of letters counts.
  const Action* Find(std::string_view name) const;
  /// In the order in which they were entered.
  const std::deque<Action>& All() const { return m_Actions; }
  /// False where there is none of that name or it is not enabled.
  bool Run(std::string_view name) const;

 private:
  std::deque<Action> m_Actions;
};
