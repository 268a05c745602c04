#include "interface/StatusLine.h"

#include <algorithm>

#include "interface/WidgetDraw.h"

DECLARE_MEMBERS(StatusLine) {}

float StatusLine::HeightFor(float, Canvas& canvas) const { return canvas.Px(Measures::StatusHeight); }

void StatusLine::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  canvas.FillRect(Rect, theme.PanelHeader);
  const float pad = canvas.Px(Measures::Padding), gap = canvas.Px(18);
  float right = Rect.Right() - pad;
  for (size_t i = Fields.size(); i-- > 0;) {
    const float width = canvas.TextWidth(Fields[i], TextStyle::Small) + 1;
    if (right - width < Rect.X + Rect.W * 0.3f) break;  // the message keeps a third
    right -= width;
    canvas.Text({right, Rect.Y, width, Rect.H}, Fields[i], theme.TextDim, TextStyle::Small, TextAlign::Right);
    right -= gap;
  }
  const cRect left{Rect.X + pad, Rect.Y, std::max(0.0f, right - Rect.X - pad), Rect.H};
  canvas.Text(left, Message, IsWarning ? theme.Warning : theme.Text, TextStyle::Small);
}
