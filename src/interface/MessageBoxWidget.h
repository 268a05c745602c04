#pragma once
#include <functional>
#include <string>
#include <vector>

#include "interface/BaseWidget.h"

class Button;
class ScrollArea;

/// A question in the middle of the window. Enter gives the first answer, Esc the last.
class MessageBoxWidget : public BaseWidget {
  REFLECTED(MessageBoxWidget, BaseWidget)
 public:
  void Draw(Canvas& canvas) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  cRect PlaceIn(const cRect& screen, Canvas& canvas) override;
  bool OnMouse(const InputEvent& event) override;
  bool OnKey(const InputEvent& event) override;

  /// Shows a box. `title` and `answers` are language keys, `text` too, or the text itself. `answered` gets the index of the
  /// answer after the box is gone. Without answers there is one, "OK".
  static MessageBoxWidget* Ask(cWidgets& widgets, std::string_view title, std::string_view text, std::vector<std::string> answers,
                               std::function<void(int)> answered);
  void Answer(int index);

  std::string Title, Text;

 private:
  ScrollArea* m_Content = nullptr;  // title and text, scrolled where the window is too low for them
  std::vector<Button*> m_Buttons;
  std::function<void(int)> m_Answered;
};
