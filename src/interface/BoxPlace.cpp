#include "interface/BoxPlace.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"

static constexpr float EdgeWidth = 6;  // at scale 1

cRect BoxPlace::PlaceIn(const cRect& screen, const cRect& first, const BaseWidget& box, Canvas& canvas) const {
  const cWidgets* manager = box.Manager();
  const WindowPos* kept = manager ? manager->Positions.Find(m_Name) : nullptr;
  if (!kept || !kept->EnableSize) return first;
  const float scale = canvas.Scale();
  const float width = std::min(screen.W, std::round(std::max(m_LeastWidth, float(kept->Width)) * scale));
  const float height = std::min(screen.H, std::round(std::max(m_LeastHeight, float(kept->Height)) * scale));
  return KeepInside({std::round(float(kept->tpX) * scale), std::round(float(kept->tpY) * scale), width, height}, screen);
}

int BoxPlace::EdgeAt(const BaseWidget& box, float x, float y) {
  const cWidgets* manager = box.Manager();
  if (!manager) return 0;
  const float wide = manager->GetCanvas().Px(EdgeWidth);
  const cRect& rect = box.Rect;
  return (x < rect.X + wide ? Left : 0) | (x >= rect.Right() - wide ? Right : 0) | (y < rect.Y + wide ? Top : 0) |
         (y >= rect.Bottom() - wide ? Bottom : 0);
}

void BoxPlace::Keep(BaseWidget& box, const cRect& place) const {
  cWidgets* manager = box.Manager();
  if (!manager) return;
  const float scale = std::max(0.01f, manager->Scale());
  WindowPos& kept = manager->Positions.Keep(m_Name, {place.X / scale, place.Y / scale, place.W / scale, place.H / scale});
  kept.EnablePopup = kept.EnableSize = true;
  manager->RequestArrange();
}

bool BoxPlace::OnMouse(BaseWidget& box, float title, const InputEvent& event) {
  cWidgets* manager = box.Manager();
  if (!manager) return false;
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left) {
    m_Dragged = EdgeAt(box, event.X, event.Y);
    if (!m_Dragged && event.Y < box.Rect.Y + title) m_Dragged = Whole;
    m_Before = box.Rect;
    m_X = event.X;
    m_Y = event.Y;
  } else if (event.Kind == InputKind::ButtonUp) {
    m_Dragged = 0;
  } else if (event.Kind == InputKind::PointerMove && m_Dragged && box.IsCaptured()) {
    const float dx = event.X - m_X, dy = event.Y - m_Y, scale = manager->Scale();
    cRect place = m_Before;
    if (m_Dragged == Whole) {
      place.X += dx;
      place.Y += dy;
    } else {
      const float leastWidth = m_LeastWidth * scale, leastHeight = m_LeastHeight * scale;
      if (m_Dragged & Right) place.W = std::max(leastWidth, place.W + dx);
      if (m_Dragged & Bottom) place.H = std::max(leastHeight, place.H + dy);
      if (m_Dragged & Left) place.W = std::max(leastWidth, place.W - dx), place.X = m_Before.Right() - place.W;
      if (m_Dragged & Top) place.H = std::max(leastHeight, place.H - dy), place.Y = m_Before.Bottom() - place.H;
    }
    Keep(box, m_Dragged == Whole ? KeepInside(place, manager->GetCanvas().Screen()) : place);
  }
  return m_Dragged != 0;
}

MouseCursor BoxPlace::GetCursor(const BaseWidget& box, float x, float y) const {
  const int edge = m_Dragged ? m_Dragged : EdgeAt(box, x, y);
  const bool horizontal = edge & (Left | Right), vertical = edge & (Top | Bottom);
  if (horizontal && vertical) return MouseCursor::Move;
  return horizontal ? MouseCursor::SizeHorizontal : vertical ? MouseCursor::SizeVertical : MouseCursor::Arrow;
}

bool BoxPlace::UndoDrag(BaseWidget& box) {
  if (!std::exchange(m_Dragged, 0)) return false;
  Keep(box, m_Before);
  return true;
}
