#pragma once
// Where the person gives keys to actions: all actions by name with their keys, a search field, and the next key pressed becomes
// the key of the chosen action.
#include <string>
#include <vector>

#include "interface/BaseWidget.h"
#include "shell/core/Actions.h"
#include "shell/core/HotKeys.h"

class Button;
class ScrollArea;
class TextEdit;

class HotKeyWindow : public BaseWidget {
  REFLECTED(HotKeyWindow, BaseWidget)
 public:
  HotKeyWindow() = default;
  /// Both outlive the window.
  HotKeyWindow(HotKeys& keys, const Actions& actions);
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;

  /// Shows the actions whose text, name or key holds all words of `words`, whatever the case.
  void Search(const std::string& words);
  /// The next key pressed becomes the key of the action; Esc leaves it, Delete and Backspace take its key away.
  void BeginCapture(const std::string& action);
  const std::string& Capturing() const { return m_Capturing; }
  /// Gives the action that key. Where it is another's, asks the person whether to take it over.
  void Assign(const std::string& action, const KeyCombo& combo);
  /// Names of the actions that are listed now.
  std::vector<std::string> Listed() const;
  HotKeys& Keys() const { return *m_Keys; }

 private:
  friend class HotKeyRow;
  bool OnSearch(BaseWidget* widget, const WidgetEvent& event);
  void FillList();
  void AskTakeOver(const HotKeyTarget& target, const KeyCombo& combo, const HotKeyTarget& taken);
  void ResetOne(const std::string& action);
  void AskResetAll();
  bool Matches(const Action& action) const;

  HotKeys* m_Keys = nullptr;
  const Actions* m_Actions = nullptr;
  TextEdit* m_Search = nullptr;
  Button* m_ResetAll = nullptr;
  ScrollArea* m_List = nullptr;
  std::string m_Words, m_Capturing;
};
