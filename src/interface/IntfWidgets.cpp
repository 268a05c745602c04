#include "interface/IntfWidgets.h"

#include "interface/Layout.h"
#include "interface/MenuBar.h"
#include "interface/StatusLine.h"
#include "interface/draw/Theme.h"

DECLARE_MEMBERS(IntfWidget1) {}
DECLARE_MEMBERS(IntfWidget2) {}

IntfWidget1::IntfWidget1() : Menus(AddChild(new MenuBar)), Rooms(AddChild(new RowWidget)) { PassesMouse = true; }

float IntfWidget1::HeightFor(float width, Canvas& canvas) const { return Menus->HeightFor(width, canvas); }

// A room that finds no place is reached by the menu of rooms.
void IntfWidget1::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  Menus->Arrange(rect, canvas);
  float tabs = 0;
  for (const BaseWidget* room : Rooms->Children) tabs += room->WidthFor(canvas) + canvas.Px(Measures::Gap);
  const float edge = canvas.Px(2);
  Rooms->Visible = tabs <= rect.W - Menus->WidthFor(canvas);
  Rooms->Arrange({rect.Right() - tabs, rect.Y + edge, tabs, rect.H - 2 * edge}, canvas);
}

IntfWidget2::IntfWidget2() : Status(AddChild(new StatusLine)) { PassesMouse = true; }

float IntfWidget2::HeightFor(float width, Canvas& canvas) const { return Status->HeightFor(width, canvas); }

void IntfWidget2::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  Status->Arrange(rect, canvas);
}
