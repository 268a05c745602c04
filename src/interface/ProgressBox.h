#pragma once
#include <string>

#include "interface/BaseWidget.h"

class Button;

/// How far a long operation is, in the middle of the window, with the percentage over the bar and, where CanCancel, a button. The
/// work gets no input while it runs: whoever shows the box asks it what an event means.
class ProgressBox : public BaseWidget {
  REFLECTED(ProgressBox, BaseWidget)
 public:
  ProgressBox();
  void Draw(Canvas& canvas) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  cRect PlaceIn(const cRect& screen, Canvas& canvas) override;
  bool OnMouse(const InputEvent&) override { return true; }
  /// Whether the event asks for the end of the work: Esc, or a press on the button where it was arranged last.
  bool IsCancel(const InputEvent& event) const;
  /// "%d%%", of 0 .. 100.
  std::string GetText() const override;

  std::string Title;  ///< language key
  double Value = 0, Maximum = 1;
  bool CanCancel = false, Cancelled = false;

 private:
  Button* m_Cancel;
};
