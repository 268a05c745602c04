#include "interface/ScrollArea.h"

#include <algorithm>
#include <cmath>

#include "interface/Layout.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"

DECLARE_MEMBERS(VScroller) {}
DECLARE_MEMBERS(ScrollArea) {}

float VScroller::WidthFor(Canvas& canvas) const { return canvas.Px(Measures::ScrollWidth); }

cRect VScroller::Thumb() const {
  if (MaxPosition() <= 0) return {};
  const float height = std::clamp(Rect.H * ViewHeight / ContentHeight, std::min(Rect.H, 3 * Rect.W), Rect.H);
  return {Rect.X, Rect.Y + (Rect.H - height) * (m_Position / MaxPosition()), Rect.W, height};
}

void VScroller::Draw(Canvas& canvas) {
  const cRect thumb = Thumb();
  if (thumb.H <= 0) return;
  const Theme& theme = GetTheme();
  const float edge = std::floor(Rect.W / 8), alpha = IsCaptured() ? 0.7f : IsHot() ? 0.6f : 0.45f;
  const cRect bar = thumb.Shrunk(edge);
  canvas.FillRoundRect(bar, bar.W / 2, WithAlpha(theme.Text, alpha));
}

void VScroller::SetPosition(float position, const InputEvent* event) {
  position = std::round(std::clamp(position, 0.0f, MaxPosition()));
  if (position == m_Position) return;
  m_Position = position;
  Tell(WidgetEventKind::Change, event);
}

// A press beside the thumb goes on by a page.
bool VScroller::OnMouse(const InputEvent& event) {
  if (MaxPosition() <= 0) return false;
  const cRect thumb = Thumb();
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left) {
    m_Grab = event.Y - thumb.Y;
    m_Before = m_Position;
    if (m_Grab < 0 || m_Grab >= thumb.H) {
      SetPosition(m_Position + (m_Grab < 0 ? -ViewHeight : ViewHeight) * 0.9f, &event);
      m_Grab = -1;
    }
    return true;
  }
  if (event.Kind == InputKind::PointerMove && IsCaptured() && m_Grab >= 0 && Rect.H > thumb.H)
    SetPosition((event.Y - m_Grab - Rect.Y) / (Rect.H - thumb.H) * MaxPosition(), &event);
  return IsCaptured();
}

bool VScroller::UndoDrag() {
  SetPosition(m_Before);
  return true;
}

ScrollArea::ScrollArea() {
  m_Content = AddChild(new ColumnWidget);
  m_Content->PassesMouse = true;
  m_Scroller = AddChild(new VScroller);
  m_Scroller->Callback = std::make_unique<wpcallback<ScrollArea>>(this, &ScrollArea::OnScroll);
}

float ScrollArea::HeightFor(float width, Canvas& canvas) const {
  const float pad = canvas.Px(Padding) * (Padding > 0);
  return m_Content->HeightFor(std::max(0.0f, width - 2 * pad), canvas) + 2 * pad;
}

float ScrollArea::NarrowestFor(Canvas& canvas) const {
  const float pad = Padding > 0 ? canvas.Px(Padding) : 0, bar = m_Scroller->WidthFor(canvas);
  const float content = m_Content->NarrowestFor(canvas);
  return content > 0 ? content + 2 * pad + std::max(0.0f, bar - pad + canvas.Px(2)) : 0;
}

// The bar takes room only where it is needed, and then the rows are narrower and may be higher.
void ScrollArea::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  const float pad = Padding > 0 ? canvas.Px(Padding) : 0, bar = m_Scroller->WidthFor(canvas);
  float width = std::max(0.0f, rect.W - 2 * pad), height = m_Content->HeightFor(width, canvas);
  const bool scrolls = height + 2 * pad > rect.H;
  if (scrolls) {
    width = std::max(0.0f, rect.W - 2 * pad - std::max(0.0f, bar - pad + canvas.Px(2)));
    height = m_Content->HeightFor(width, canvas);
  }
  m_Scroller->Visible = scrolls;
  m_Scroller->ContentHeight = height + 2 * pad;
  m_Scroller->ViewHeight = rect.H;
  m_Scroller->Arrange({rect.Right() - bar, rect.Y, bar, rect.H}, canvas);
  m_Scroller->SetPosition(m_Scroller->Position());
  m_Content->Arrange({rect.X + pad, rect.Y + pad - m_Scroller->Position(), width, height}, canvas);
}

bool ScrollArea::OnScroll(BaseWidget*, const WidgetEvent&) {
  if (cWidgets* manager = Manager()) manager->RequestArrange();
  return true;
}

bool ScrollArea::OnMouse(const InputEvent& event) {
  if (event.Kind != InputKind::Wheel || event.WheelY == 0 || m_Scroller->MaxPosition() <= 0) return false;
  if (event.Modifiers & (ModAlt | ModControl)) return false;
  const float before = m_Scroller->Position();
  cWidgets* manager = Manager();
  m_Scroller->SetPosition(before - event.WheelY * (manager ? manager->GetCanvas().Px(60) : 60), &event);
  return true;
}

void ScrollArea::ShowInside(const cRect& rect) {
  const float over = rect.Bottom() - Rect.Bottom(), under = Rect.Y - rect.Y;
  if (under > 0)
    m_Scroller->SetPosition(m_Scroller->Position() - under);
  else if (over > 0)
    m_Scroller->SetPosition(m_Scroller->Position() + over);
}
