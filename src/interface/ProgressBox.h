#pragma once
#include <string>

#include "interface/BaseWidget.h"

/// How far a long operation is, in the middle of the window, with the percentage over the bar. Esc asks for its end where
/// CanCancel.
class ProgressBox : public BaseWidget {
  REFLECTED(ProgressBox, BaseWidget)
 public:
  void Draw(Canvas& canvas) override;
  cRect PlaceIn(const cRect& screen, Canvas& canvas) override;
  bool OnMouse(const InputEvent&) override { return true; }
  bool OnKey(const InputEvent& event) override;
  /// "%d%%", of 0 .. 100.
  std::string GetText() const override;

  std::string Title;  ///< language key
  double Value = 0, Maximum = 1;
  bool CanCancel = false, Cancelled = false;
};
