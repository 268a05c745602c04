#include "interface/WidgetsFolder.h"

#include <algorithm>

#include "interface/Layout.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(WidgetsFolder) {}

cRect WidgetsFolder::Header(Canvas& canvas) const { return {Rect.X, Rect.Y, Rect.W, canvas.Px(Measures::RowHeight + 2)}; }

void WidgetsFolder::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  const cRect header = Header(canvas);
  const bool hot = IsEnabled() && IsHot();
  canvas.FillRoundRect(header, canvas.Px(Measures::Radius), hot ? theme.MenuHot : theme.PanelHeader);
  DrawArrow(canvas, {header.X + canvas.Px(10), header.Y + header.H / 2}, canvas.Px(8), IsOpen() ? 1 : 0, theme.TextDim);
  const float x = header.X + canvas.Px(20);
  canvas.Text({x, header.Y, std::max(0.0f, header.Right() - x - canvas.Px(4)), header.H}, GetText(), TextColor(*this), Style);
  const cWidgets* manager = Manager();
  if (IsFocused() && manager->ShowsFocus()) DrawFocusRing(canvas, header);
}

void WidgetsFolder::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  if (!IsOpen()) return;
  const float top = Header(canvas).H + canvas.Px(Measures::RowGap), indent = canvas.Px(Measures::Indent);
  ArrangeStack(*this, {rect.X + indent, rect.Y + top, std::max(0.0f, rect.W - indent), rect.H - top}, canvas);
}

float WidgetsFolder::HeightFor(float width, Canvas& canvas) const {
  const float header = canvas.Px(Measures::RowHeight + 2);
  if (!IsOpen() || !Children.Count) return header;
  const float inside = std::max(0.0f, width - canvas.Px(Measures::Indent));
  return header + canvas.Px(Measures::RowGap) + StackHeight(*this, inside, canvas) + canvas.Px(Measures::RowGap);
}

void WidgetsFolder::SetOpen(bool open, const InputEvent* event) {
  if (open == IsOpen()) return;
  m_Open = open;
  if (cWidgets* manager = Manager()) manager->RequestArrange();
  Tell(WidgetEventKind::Change, event);
}

bool WidgetsFolder::OnMouse(const InputEvent& event) {
  cWidgets* manager = Manager();
  if (!manager || event.Kind != InputKind::ButtonDown || event.Button != MouseButton::Left) return IsCaptured();
  if (!Header(manager->GetCanvas()).Contains(event.X, event.Y)) return false;
  SetOpen(!IsOpen(), &event);
  return true;
}

bool WidgetsFolder::OnKey(const InputEvent& event) {
  if (event.Kind != InputKind::KeyDown || !IsFocused()) return false;
  switch (event.Key) {
    case KeyLeft:
      SetOpen(false, &event);
      return true;
    case KeyRight:
      SetOpen(true, &event);
      return true;
    case KeyEnter:
    case KeySpace:
      SetOpen(!IsOpen(), &event);
      return true;
    default:
      return false;
  }
}
