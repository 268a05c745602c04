#include "interface/DrawTexRect.h"

#include <algorithm>
#include <cmath>

#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"

DECLARE_MEMBERS(DrawTexRect) {}

void DrawTexRect::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  cRect box = Rect;
  if (Framed) {
    DrawField(canvas, Rect, IsEnabled() && IsHot() && Callback, false, IsEnabled());
    box = Rect.Shrunk(canvas.Px(2));
  }
  if (Aspect > 0 && box.W > 0 && box.H > 0) {
    const float width = std::min(box.W, box.H * Aspect), height = width / Aspect;
    box = {std::floor(box.X + (box.W - width) / 2), std::floor(box.Y + (box.H - height) / 2), width, height};
  }
  if (Texture >= 0)
    canvas.Image(box, Texture, WithAlpha(0xFFFFFF, IsEnabled() ? 1.0f : 0.4f));
  else if (!Icon.empty())
    canvas.Icon(Icon, box, IsEnabled() ? theme.TextDim : theme.TextDisabled);
}

float DrawTexRect::HeightFor(float width, Canvas& canvas) const {
  if (Height > 0) return canvas.Px(Height);
  return Aspect > 0 && Texture >= 0 ? std::round(width / Aspect) : RowHeight(canvas);
}

bool DrawTexRect::OnMouse(const InputEvent& event) {
  if (!Callback) return false;
  if (event.Kind == InputKind::ButtonDown) return event.Button == MouseButton::Left || event.Button == MouseButton::Right;
  if (event.Kind == InputKind::ButtonUp && IsCaptured() && Rect.Contains(event.X, event.Y)) Tell(WidgetEventKind::Click, &event);
  return IsCaptured();
}
