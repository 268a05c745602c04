#include "interface/FrameWidget.h"

#include "interface/Layout.h"
#include "interface/WidgetDraw.h"

DECLARE_MEMBERS(FrameWidget) {}

void FrameWidget::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  if (!Text.Empty()) canvas.Text({Rect.X, Rect.Y, Rect.W, RowHeight(canvas)}, GetText(), theme.TextTitle, Style);
  if (!Children.Count) {
    // A line at the half of what is left of the row, behind the caption.
    const float start = Text.Empty() ? Rect.X : Rect.X + canvas.TextWidth(GetText(), Style) + canvas.Px(Measures::Gap);
    const float y = Rect.Y + std::floor(Rect.H / 2);
    if (start < Rect.Right()) canvas.FillRect({start, y, Rect.Right() - start, canvas.Px(1)}, theme.Separator);
    return;
  }
  const float caption = Text.Empty() ? 0 : RowHeight(canvas);
  canvas.FillRoundRect({Rect.X, Rect.Y + caption, Rect.W, Rect.H - caption}, canvas.Px(Measures::Radius), 0, canvas.Px(1),
                       theme.Separator);
}

cRect FrameWidget::Inside(const cRect& rect, Canvas& canvas) const {
  const float caption = Text.Empty() ? 0 : RowHeight(canvas), pad = canvas.Px(Measures::Padding);
  const cRect box{rect.X, rect.Y + caption, rect.W, rect.H - caption};
  return box.Shrunk(pad);
}

void FrameWidget::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  ArrangeStack(*this, Inside(rect, canvas), canvas);
}

float FrameWidget::HeightFor(float width, Canvas& canvas) const {
  if (!Children.Count) return Text.Empty() ? canvas.Px(9) : RowHeight(canvas);
  const float pad = canvas.Px(Measures::Padding);
  const float caption = Text.Empty() ? 0 : RowHeight(canvas);
  return caption + 2 * pad + StackHeight(*this, std::max(0.0f, width - 2 * pad), canvas);
}
