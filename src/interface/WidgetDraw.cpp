#include "interface/WidgetDraw.h"

#include <algorithm>

#include "interface/cWidgets.h"

void DrawField(Canvas& canvas, const cRect& rect, bool hot, bool focused, bool enabled) {
  const Theme& theme = GetTheme();
  const uint32_t ground = !enabled ? MixColor(theme.Field, theme.Panel, 0.6f) : hot ? theme.FieldHot : theme.Field;
  canvas.FillRoundRect(rect, canvas.Px(Measures::Radius), ground, canvas.Px(1), focused ? theme.FieldFocus : theme.FieldBorder);
}

void DrawFocusRing(Canvas& canvas, const BaseWidget& widget) {
  const cWidgets* manager = widget.Manager();
  if (!manager || manager->Focused() != &widget || !manager->ShowsFocus()) return;
  DrawFocusRing(canvas, widget.Rect);
}

// The inner ring parts it from what is filled with the accent itself.
void DrawFocusRing(Canvas& canvas, const cRect& rect) {
  const float width = canvas.Px(1.5f);
  canvas.FillRoundRect(rect.Shrunk(width), canvas.Px(Measures::Radius) - width, 0, width, GetTheme().Field);
  canvas.FillRoundRect(rect, canvas.Px(Measures::Radius), 0, width, GetTheme().FieldFocus);
}

float FindWidestWord(std::string_view text, TextStyle style, Canvas& canvas) {
  float widest = 0;
  for (size_t from = 0; from < text.size();) {
    const size_t end = std::min(text.find(' ', from), text.size());
    widest = std::max(widest, canvas.TextWidth(text.substr(from, end - from), style));
    from = end + 1;
  }
  return widest;
}

uint32_t TextColor(const BaseWidget& widget) { return widget.IsEnabled() ? GetTheme().Text : GetTheme().TextDisabled; }

cRect KeepInside(const cRect& rect, const cRect& screen) {
  cRect inside = rect;
  inside.X = std::max(screen.X, std::min(inside.X, screen.Right() - inside.W));
  inside.Y = std::max(screen.Y, std::min(inside.Y, screen.Bottom() - inside.H));
  return inside;
}

void DrawArrow(Canvas& canvas, comms::cVec2 center, float size, int direction, uint32_t color) {
  const float h = size / 2, q = size / 4;
  const comms::cVec2 right[] = {{-q, -h}, {q, 0}, {-q, h}};
  comms::cVec2 points[3];
  for (int i = 0; i < 3; i++) {
    const comms::cVec2 p = right[i];
    const comms::cVec2 turned[] = {{p.x, p.y}, {-p.y, p.x}, {-p.x, -p.y}, {p.y, -p.x}};
    points[i] = {center.x + turned[direction & 3].x, center.y + turned[direction & 3].y};
  }
  canvas.Polyline(points, canvas.Px(1) * 1.4f, color);
}

void DrawPopupGround(Canvas& canvas, const cRect& rect, uint32_t ground) {
  const Theme& theme = GetTheme();
  const float radius = canvas.Px(Measures::Radius + 1);
  canvas.Shadow(rect, radius, canvas.Px(14), theme.Shadow);
  canvas.FillRoundRect(rect, radius, ground, canvas.Px(1), theme.FieldBorder);
}
