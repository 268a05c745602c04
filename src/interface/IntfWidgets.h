#pragma once
// The two main panels of the interface, which every room has: above the docks and below them.
#include "interface/BaseWidget.h"

class MenuBar;
class RowWidget;
class StatusLine;

/// The panel at the top: the menus, and the rooms as tabs at its right end, as far as the menus leave space.
class IntfWidget1 : public BaseWidget {
  REFLECTED(IntfWidget1, BaseWidget)
 public:
  IntfWidget1();
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;

  MenuBar* Menus = nullptr;
  RowWidget* Rooms = nullptr;
};

/// The panel at the foot: the status line.
class IntfWidget2 : public BaseWidget {
  REFLECTED(IntfWidget2, BaseWidget)
 public:
  IntfWidget2();
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;

  StatusLine* Status = nullptr;
};
