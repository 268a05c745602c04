#pragma once
// Where the person gives keys to actions, tools and commands: all of them by name with their keys, a search field, and the next
// key pressed becomes the key of the chosen one.
#include <string>
#include <vector>

#include "interface/BaseWidget.h"
#include "shell/core/Actions.h"
#include "shell/core/CommandTable.h"
#include "shell/core/HotKeys.h"

class Button;
class HotKeyRow;
class ScrollArea;
class TextEdit;

class HotKeyWindow : public BaseWidget {
  REFLECTED(HotKeyWindow, BaseWidget)
 public:
  HotKeyWindow() = default;
  /// `commands` may be null. All outlive the window.
  HotKeyWindow(HotKeys& keys, const Actions& actions, const CommandTable* commands = nullptr);
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;

  /// Shows the targets whose name or key, as they are shown, holds all words of `words`, whatever the case. A whole line of a
  /// command with parameters shows that line, so that it can be given a key; a line with a fault shows what is wrong.
  void Search(const std::string& words);
  /// The next key pressed becomes the key of the target; Esc leaves it, Delete and Backspace take its key away. An empty target
  /// ends the waiting.
  void BeginCapture(const HotKeyTarget& target);
  const HotKeyTarget& Capturing() const { return m_Capturing; }
  /// Gives the target that key. Where it is another's, asks the person whether to take it over.
  void Assign(const HotKeyTarget& target, const KeyCombo& combo);
  /// What is listed now: the actions, the tools, whatever else has a key, and the commands that run without parameters.
  std::vector<HotKeyTarget> Listed() const;
  HotKeys& Keys() const { return *m_Keys; }

 private:
  friend class HotKeyRow;
  bool OnSearch(BaseWidget* widget, const WidgetEvent& event);
  void FillList();
  void AddRow(const HotKeyTarget& target);
  void AddLineToComplete(const Command& command);
  void AddTypedLine();
  void AskTakeOver(const HotKeyTarget& target, const KeyCombo& combo, const HotKeyTarget& taken);
  void ResetOne(const HotKeyTarget& target);
  void AskResetAll();
  bool Matches(const HotKeyTarget& target) const;
  HotKeyRow* RowOf(const HotKeyTarget& target) const;
  const Action* ActionOf(const HotKeyTarget& target) const;
  std::string NameOf(const HotKeyTarget& target) const;
  std::string HintOf(const HotKeyTarget& target) const;

  HotKeys* m_Keys = nullptr;
  const Actions* m_Actions = nullptr;
  const CommandTable* m_Commands = nullptr;
  TextEdit* m_Search = nullptr;
  Button* m_ResetAll = nullptr;
  ScrollArea* m_List = nullptr;
  std::string m_Words;
  HotKeyTarget m_Capturing;
};
