#pragma once
#include <functional>
#include <string>
#include <string_view>

#include "interface/BaseWidget.h"

class Button;
class TextEdit;

/// Asks for a name in the middle of the window. Enter and the first button take it, Esc and the second one leave it.
class NameBox : public BaseWidget {
  REFLECTED(NameBox, BaseWidget)
 public:
  /// Shows a box with `name` to begin with. `title` is a language key. `taken` gets the name, without blanks at its ends, while
  /// the box is still there: true closes it, false keeps it with what was expected, a text as it is shown.
  static NameBox* Ask(cWidgets& widgets, std::string_view title, std::string_view name,
                      std::function<bool(const std::string& name, std::string& expected)> taken);
  void Draw(Canvas& canvas) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  cRect PlaceIn(const cRect& screen, Canvas& canvas) override;
  bool OnMouse(const InputEvent&) override { return true; }
  bool OnKey(const InputEvent& event) override;

  void Accept();
  void Close();

 private:
  bool OnName(BaseWidget* widget, const WidgetEvent& event);
  std::string m_Title, m_Expected;
  TextEdit* m_Name = nullptr;
  Button *m_Accept = nullptr, *m_Cancel = nullptr;
  std::function<bool(const std::string&, std::string&)> m_Taken;
};
