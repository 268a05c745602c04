#pragma once
#include <string>
#include <vector>

#include "interface/BaseWidget.h"

/// The line at the foot of the window: what goes on at the left, numbers at the right where the message leaves room for them. Of
/// a message in parts, "one · two", the last ones are left out and told by its hint; what is too long in one piece breaks into
/// lines.
class StatusLine : public BaseWidget {
  REFLECTED(StatusLine, BaseWidget)
 public:
  void Draw(Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  std::string GetText() const override { return Message; }
  std::string GetHintText(float x, float y) const override;

  std::string Message;              ///< as it is shown
  std::vector<std::string> Fields;  ///< from left to right, at the right end
  bool IsWarning = false;

 private:
  std::string Shown(float width, Canvas& canvas) const;  // of the message
};
