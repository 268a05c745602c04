#pragma once
#include "interface/BaseWidget.h"

/// A texture, or an icon where there is none, in a rectangle; keeps the texture's proportions where they are known. Who has given
/// it a callback hears of clicks with the left and the right button.
class DrawTexRect : public BaseWidget {
  REFLECTED(DrawTexRect, BaseWidget)
 public:
  void Draw(Canvas& canvas) override;
  bool OnMouse(const InputEvent& event) override;
  float HeightFor(float width, Canvas& canvas) const override;

  int Texture = -1;
  std::string Icon;
  float Aspect = 0;  ///< width / height of the picture; 0: fills the rectangle
  float Height = 0;  ///< at scale 1; 0: one row
  bool Framed = false;
};
