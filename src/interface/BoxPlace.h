#pragma once
#include <string>

#include "interface/BaseWidget.h"

/// Lets a person move a box by its title and size it by its edges, and keeps where it is under a name (WindowPos.h).
class BoxPlace {
 public:
  /// Least sizes at scale 1.
  BoxPlace(std::string name, float leastWidth, float leastHeight)
      : m_Name(std::move(name)), m_LeastWidth(leastWidth), m_LeastHeight(leastHeight) {}
  /// Where the person left it, as far as the screen has it; `first` where nobody has moved it.
  cRect PlaceIn(const cRect& screen, const cRect& first, const BaseWidget& box, Canvas& canvas) const;
  /// What no child of the box has taken. `title` is the height of what it is moved by, in pixels. True while it is dragged.
  bool OnMouse(BaseWidget& box, float title, const InputEvent& event);
  MouseCursor GetCursor(const BaseWidget& box, float x, float y) const;
  bool UndoDrag(BaseWidget& box);

 private:
  enum Part { Left = 1, Right = 2, Top = 4, Bottom = 8, Whole = 15 };
  static int EdgeAt(const BaseWidget& box, float x, float y);
  void Keep(BaseWidget& box, const cRect& place) const;
  std::string m_Name;
  float m_LeastWidth, m_LeastHeight;
  int m_Dragged = 0;       // parts that follow the pointer
  cRect m_Before;          // in pixels, at the press
  float m_X = 0, m_Y = 0;  // of the press
};
