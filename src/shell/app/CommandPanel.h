#pragma once
// Any command of the table, with its parameters as rows: for what has no menu of its own.
#include <functional>
#include <memory>
#include <string>

#include "interface/BaseWidget.h"
#include "shell/core/CommandTable.h"

class Button;
class PanelWidget;
class ScrollArea;
class TextWidget;

class CommandPanel : public BaseWidget {
  REFLECTED(CommandPanel, BaseWidget)
 public:
  CommandPanel() = default;
  /// `run` does what a batch line says. The table outlives the panel.
  CommandPanel(const CommandTable& table, std::function<CommandResult(const BatchLine&)> run);
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  std::string GetHintText(float x, float y) const override;

  /// Shows a command's parameters at their defaults.
  void Choose(const Command& command);
  /// The line that the rows say: required parameters, and those that differ from their defaults.
  BatchLine GetLine() const;
  void Run();
  /// What the last command answered.
  const std::string& Answer() const { return m_AnswerText; }
  /// The parameters that the rows show.
  CommandParameters* Parameters() const { return m_Parameters.get(); }

 private:
  void OpenList();
  const CommandTable* m_Table = nullptr;
  const Command* m_Command = nullptr;
  std::function<CommandResult(const BatchLine&)> m_Run;
  std::unique_ptr<CommandParameters> m_Parameters;
  std::string m_AnswerText;
  Button *m_Choice = nullptr, *m_RunButton = nullptr;
  PanelWidget* m_Rows = nullptr;
  ScrollArea* m_AnswerArea = nullptr;
  TextWidget *m_Help = nullptr, *m_Answer = nullptr;
};
