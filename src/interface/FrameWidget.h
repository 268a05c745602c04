#pragma once
#include "interface/TextWidget.h"

/// A framed group: a caption over a box, with the children below one another in it. Without text and children it is a line.
class FrameWidget : public TextWidget {
  REFLECTED(FrameWidget, TextWidget)
 public:
  FrameWidget() { Style = TextStyle::Bold; }
  explicit FrameWidget(std::string_view text) : TextWidget(text) { Style = TextStyle::Bold; }
  void Draw(Canvas& canvas) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;

 private:
  cRect Inside(const cRect& rect, Canvas& canvas) const;
};
