#include "interface/StatusLine.h"

#include <algorithm>
#include <string_view>

#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"

DECLARE_MEMBERS(StatusLine) {}

static constexpr std::string_view PartEnd = " · ", Omitted = " …";

// As many whole parts of the message as there is room for, at least one.
std::string StatusLine::Shown(float width, Canvas& canvas) const {
  const float room = std::max(0.0f, width - 2 * canvas.Px(Measures::Padding));
  std::string text = Message;
  for (size_t end = Message.size(); canvas.TextWidth(text, TextStyle::Small) > room;) {
    end = Message.rfind(PartEnd, end - 1);
    if (end == std::string::npos || end == 0) break;
    text = Message.substr(0, end) + std::string(Omitted);
  }
  return text;
}

float StatusLine::HeightFor(float width, Canvas& canvas) const {
  const float row = canvas.Px(Measures::StatusHeight), room = std::max(1.0f, width - 2 * canvas.Px(Measures::Padding));
  const std::string text = Shown(width, canvas);
  if (canvas.TextWidth(text, TextStyle::Small) <= room) return row;
  return std::max(row, canvas.ParagraphHeight(room, text, TextStyle::Small) + canvas.Px(6));
}

std::string StatusLine::GetHintText(float, float) const {
  const cWidgets* manager = Manager();
  return manager && Shown(Rect.W, manager->GetCanvas()) != Message ? Message : std::string();
}

void StatusLine::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  canvas.FillRect(Rect, theme.PanelHeader);
  const float pad = canvas.Px(Measures::Padding), gap = canvas.Px(18);
  const cRect inside{Rect.X + pad, Rect.Y, std::max(1.0f, Rect.W - 2 * pad), Rect.H};
  const std::string text = Shown(Rect.W, canvas);
  const uint32_t color = IsWarning ? theme.Warning : theme.Text;
  const float width = canvas.TextWidth(text, TextStyle::Small);
  if (width > inside.W) {
    canvas.Paragraph({inside.X, inside.Y + canvas.Px(3), inside.W, inside.H}, text, color, TextStyle::Small);
    return;
  }
  canvas.Text(inside, text, color, TextStyle::Small);
  float right = inside.Right();
  for (size_t i = Fields.size(); i-- > 0;) {
    const float own = canvas.TextWidth(Fields[i], TextStyle::Small) + 1;
    if (right - own < inside.X + width + gap) break;
    canvas.Text({right - own, Rect.Y, own, Rect.H}, Fields[i], theme.TextDim, TextStyle::Small, TextAlign::Right);
    right -= own + gap;
  }
}
