#pragma once
#include <string>
#include <vector>

#include "interface/BaseWidget.h"

/// The line at the foot of the window: what goes on at the left, numbers at the right.
class StatusLine : public BaseWidget {
  REFLECTED(StatusLine, BaseWidget)
 public:
  void Draw(Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  std::string GetText() const override { return Message; }

  std::string Message;              ///< as it is shown
  std::vector<std::string> Fields;  ///< from left to right, at the right end
  bool IsWarning = false;
};
