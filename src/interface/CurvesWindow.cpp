#include "interface/CurvesWindow.h"

#include <algorithm>
#include <cmath>

#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(CurvesWindow) {}

float CurvesWindow::HeightFor(float width, Canvas& canvas) const {
  return std::min(std::max(width * 0.6f, canvas.Px(80)), canvas.Px(150));
}

cRect CurvesWindow::Plot() const {
  const cWidgets* manager = Manager();
  return Rect.Shrunk(manager ? manager->GetCanvas().Px(7) : 7);
}

comms::cVec2 CurvesWindow::ToScreen(float x, float y) const {
  const cRect plot = Plot();
  return {plot.X + x * plot.W, plot.Bottom() - y * plot.H};
}

void CurvesWindow::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  DrawField(canvas, Rect, IsEnabled() && IsHot(), false, IsEnabled());
  const cRect plot = Plot();
  for (int i = 0; i <= 4; i++) {
    const float x = std::floor(plot.X + plot.W * float(i) / 4), y = std::floor(plot.Y + plot.H * float(i) / 4);
    canvas.FillRect({x, plot.Y, canvas.Px(1), plot.H}, theme.Separator);
    canvas.FillRect({plot.X, y, plot.W, canvas.Px(1)}, theme.Separator);
  }
  if (!Curve) return;
  const int steps = std::clamp(int(plot.W / canvas.Px(2)), 16, 400);
  std::vector<comms::cVec2> line;
  for (int i = 0; i <= steps; i++) {
    const float x = float(i) / float(steps);
    line.push_back(ToScreen(x, std::clamp(Curve->Evaluate(x), 0.0f, 1.0f)));
  }
  const uint32_t color = IsEnabled() ? theme.FieldFocus : theme.TextDisabled;
  canvas.Polyline(line, canvas.Px(1) * 1.8f, color);
  const cWidgets* manager = Manager();
  const int under = manager && IsHot() ? PointAt(manager->PointerX(), manager->PointerY()) : -1;
  for (int i = 0; i < Curve->GetPointCount(); i++) {
    const comms::cVec2 at = ToScreen(Curve->Points[i]->X, Curve->Points[i]->Y);
    const bool chosen = i == m_Point && IsFocused();
    canvas.Circle(at, canvas.Px(i == under || chosen ? 5 : 4), chosen ? color : theme.Field, canvas.Px(1.5f), color);
  }
  DrawFocusRing(canvas, *this);
}

int CurvesWindow::PointAt(float x, float y) const {
  const cWidgets* manager = Manager();
  if (!Curve || !manager) return -1;
  float nearest = manager->GetCanvas().Px(8);
  int found = -1;
  for (int i = 0; i < Curve->GetPointCount(); i++) {
    const comms::cVec2 at = ToScreen(Curve->Points[i]->X, Curve->Points[i]->Y);
    const float distance = std::hypot(at.x - x, at.y - y);
    if (distance > nearest) continue;
    nearest = distance;
    found = i;
  }
  return found;
}

MouseCursor CurvesWindow::GetCursor(float x, float y) const {
  return PointAt(x, y) >= 0 ? MouseCursor::Move : MouseCursor::Cross;
}

bool CurvesWindow::Remove(int index, const InputEvent& event) {
  if (!Curve || index <= 0 || index >= Curve->GetPointCount() - 1) return false;
  Curve->RemovePoint(index);
  m_Point = index - 1;
  m_Dragging = false;
  Tell(WidgetEventKind::Change, &event);
  Tell(WidgetEventKind::ChangeDone, &event);
  return true;
}

// The first and the last point move up and down alone.
bool CurvesWindow::OnMouse(const InputEvent& event) {
  if (!Curve) return false;
  const cRect plot = Plot();
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left) {
    m_Point = PointAt(event.X, event.Y);
    if (event.Clicks == 2 && Remove(m_Point, event)) return true;
    m_Before.clear();
    for (const comms::wCurvePoint* point : Curve->Points) m_Before.push_back({point->X, point->Y});
    if (Curve->GetPointCount() < 2) Curve->SetLinear();
    if (m_Point < 0) {
      m_Point = Curve->AddPoint((event.X - plot.X) / plot.W, (plot.Bottom() - event.Y) / plot.H);
      Tell(WidgetEventKind::Change, &event);
    }
    m_Dragging = true;
    m_LastX = event.X;
    m_LastY = event.Y;
    m_X = Curve->Points[m_Point]->X;
    m_Y = Curve->Points[m_Point]->Y;
    return true;
  }
  if (event.Kind == InputKind::PointerMove && m_Dragging && IsCaptured() && m_Point >= 0 && m_Point < Curve->GetPointCount()) {
    const float fine = event.Modifiers & ModShift ? 0.2f : 1;
    m_X += fine * (event.X - m_LastX) / std::max(1.0f, plot.W);
    m_Y -= fine * (event.Y - m_LastY) / std::max(1.0f, plot.H);
    m_LastX = event.X;
    m_LastY = event.Y;
    const bool end = m_Point == 0 || m_Point == Curve->GetPointCount() - 1;
    const float away = plot.H * 0.3f;
    if (!end && (event.Y < plot.Y - away || event.Y > plot.Bottom() + away)) return Remove(m_Point, event);
    Curve->MovePoint(m_Point, end ? Curve->Points[m_Point]->X : m_X, m_Y);
    Tell(WidgetEventKind::Change, &event);
    return true;
  }
  if (event.Kind == InputKind::ButtonUp && event.Button == MouseButton::Left && m_Dragging) {
    m_Dragging = false;
    Tell(WidgetEventKind::ChangeDone, &event);
  }
  return IsCaptured();
}

bool CurvesWindow::UndoDrag() {
  if (!m_Dragging || !Curve) return false;
  m_Dragging = false;
  m_Point = -1;
  Curve->Points.Clear();
  for (const comms::cVec2& point : m_Before) Curve->AddPoint(point.x, point.y);
  Tell(WidgetEventKind::Change);
  Tell(WidgetEventKind::ChangeDone);
  return true;
}

bool CurvesWindow::OnKey(const InputEvent& event) {
  if (event.Kind != InputKind::KeyDown || !Curve || (event.Modifiers & (ModAlt | ModSuper))) return false;
  const int last = Curve->GetPointCount() - 1;
  const float step = event.Modifiers & ModShift ? 0.01f : 0.05f;
  switch (event.Key) {
    case KeyLeft:
    case KeyRight: {
      const int direction = event.Key == KeyRight ? 1 : -1;
      if (event.Modifiers & ModControl)
        Move(float(direction) * step, 0, event);
      else
        m_Point = std::clamp(m_Point + direction, 0, std::max(0, last));
      return true;
    }
    case KeyUp:
    case KeyDown:
      Move(0, event.Key == KeyUp ? step : -step, event);
      return true;
    case KeyInsert:
      Insert(event);
      return true;
    case KeyDelete:
    case KeyBackspace:
      return Remove(m_Point, event);
    default:
      return false;
  }
}

// There is always a point that the keys are for.
void CurvesWindow::OnFocus(bool gained) {
  if (gained && Curve) m_Point = std::clamp(m_Point, 0, std::max(0, Curve->GetPointCount() - 1));
}

void CurvesWindow::Move(float dx, float dy, const InputEvent& event) {
  if (Curve->GetPointCount() < 2) Curve->SetLinear();
  const int last = Curve->GetPointCount() - 1;
  m_Point = std::clamp(m_Point, 0, last);
  const comms::wCurvePoint& point = *Curve->Points[m_Point];
  const float x = point.X, y = point.Y;
  Curve->MovePoint(m_Point, m_Point == 0 || m_Point == last ? x : x + dx, y + dy);
  if (point.X == x && point.Y == y) return;
  Tell(WidgetEventKind::Change, &event);
  Tell(WidgetEventKind::ChangeDone, &event);
}

// Half the way to the next point, on the curve, which stays as it is as far as it can.
void CurvesWindow::Insert(const InputEvent& event) {
  if (Curve->GetPointCount() < 2) Curve->SetLinear();
  const int before = std::clamp(m_Point, 0, Curve->GetPointCount() - 2);
  const float x = (Curve->Points[before]->X + Curve->Points[before + 1]->X) / 2;
  m_Point = Curve->AddPoint(x, Curve->Evaluate(x));
  Tell(WidgetEventKind::Change, &event);
  Tell(WidgetEventKind::ChangeDone, &event);
}
