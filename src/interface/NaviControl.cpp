#include "interface/NaviControl.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>
#include <utility>

#include "interface/Button.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

using comms::cVec2;
using comms::cVec3;

DECLARE_MEMBERS(NaviBall) {}
DECLARE_MEMBERS(NaviControl) {}

namespace {

// Measures at scale 1.
constexpr float BallSide = 108, EndRadius = 10, FarEndRadius = 6.5f, EndMargin = 4, AxisWidth = 2, ButtonSide = 24, ButtonGap = 3;
constexpr float ClickReach = 3;         // a press that moves less is no drag
constexpr float LetterDepth = -0.15f;   // ends behind the rim have no letter
constexpr float FacingDepth = 0.9995f;  // within two degrees of the line of sight

struct AxisEnd {
  uint32_t Theme::*Color;
  const char* Letter;
  cVec3 Direction;
  bool Negative;
};
/// By StandardView: where the viewer of that view stands.
constexpr AxisEnd Ends[] = {
    {&Theme::AxisZ, "Z", {0, 0, 1}, false}, {&Theme::AxisZ, "−Z", {0, 0, -1}, true}, {&Theme::AxisX, "−X", {-1, 0, 0}, true},
    {&Theme::AxisX, "X", {1, 0, 0}, false}, {&Theme::AxisY, "Y", {0, 1, 0}, false},  {&Theme::AxisY, "−Y", {0, -1, 0}, true},
};
constexpr std::array AllEnds{StandardView::Front, StandardView::Back, StandardView::Left,
                             StandardView::Right, StandardView::Top,  StandardView::Bottom};

const AxisEnd& EndOf(StandardView view) { return Ends[size_t(view)]; }
// The views stand in pairs.
StandardView OppositeOf(StandardView view) { return StandardView(int(view) ^ 1); }

/// The ball is lit from above.
std::pair<uint32_t, uint32_t> BallGround(const Theme& theme) {
  return theme.Kind == ThemeKind::Dark ? std::pair{theme.Button, theme.Field} : std::pair{theme.Field, theme.Button};
}

}  // namespace

AxisEndLook GetAxisEndLook(StandardView end, float depth, bool marked) {
  const Theme& theme = GetTheme();
  const auto [top, bottom] = BallGround(theme);
  const uint32_t ground = MixColor(top, bottom, 0.5f);
  const float behind = marked ? 0 : std::clamp(-depth, 0.0f, 1.0f);
  const uint32_t color = MixColor(theme.*EndOf(end).Color, ground, 0.65f * behind);
  const bool negative = EndOf(end).Negative;
  AxisEndLook look;
  look.Radius = EndRadius + (FarEndRadius - EndRadius) * behind;
  look.Fill = negative ? MixColor(ground, color, 0.25f) : color;
  look.Border = color;
  if (marked || depth >= LetterDepth) look.Letter = negative ? theme.Text : theme.AxisText;
  return look;
}

// --- the ball ----------------------------------------------------------------------------------------------------------------

void NaviBall::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  m_Scale = canvas.Scale();
}

cVec2 NaviBall::EndPlace(StandardView end) const {
  const ViewAxes axes = m_Link.GetAxes();
  const float reach = Radius() - (EndRadius + EndMargin) * m_Scale;
  const cVec3& direction = EndOf(end).Direction;
  return {Center().x + comms::Dot(direction, axes.Right) * reach, Center().y - comms::Dot(direction, axes.Up) * reach};
}

float NaviBall::EndDepth(StandardView end) const { return comms::Dot(EndOf(end).Direction, m_Link.GetAxes().Toward); }

bool NaviBall::IsOnBall(float x, float y) const { return std::hypot(x - Center().x, y - Center().y) <= Radius(); }

std::optional<StandardView> NaviBall::FindEnd(float x, float y) const {
  std::optional<StandardView> nearest;
  for (const StandardView end : AllEnds) {
    const cVec2 place = EndPlace(end);
    if (std::hypot(x - place.x, y - place.y) > EndRadius * m_Scale) continue;
    if (!nearest || EndDepth(end) > EndDepth(*nearest)) nearest = end;
  }
  return nearest;
}

bool NaviBall::IsMarked(StandardView end) const {
  if (!IsEnabled()) return false;
  const cWidgets* manager = Manager();
  if (IsFocused() && manager->ShowsFocus() && end == m_Chosen) return true;
  if (m_Pressed) return !m_Orbiting && end == m_PressedEnd;
  return IsHot() && end == FindEnd(manager->PointerX(), manager->PointerY());
}

void NaviBall::Draw(Canvas& canvas) {
  DrawGround(canvas);
  std::array ends = AllEnds;
  std::stable_sort(ends.begin(), ends.end(), [this](StandardView a, StandardView b) { return EndDepth(a) < EndDepth(b); });
  for (const StandardView end : ends) DrawEnd(canvas, end);
}

void NaviBall::DrawGround(Canvas& canvas) const {
  const Theme& theme = GetTheme();
  const auto [top, bottom] = BallGround(theme);
  canvas.FillGradient(Rect, Radius(), top, bottom);
  const bool isFocused = IsFocused() && Manager()->ShowsFocus(), isHot = IsEnabled() && (IsHot() || m_Pressed);
  canvas.FillRoundRect(Rect, Radius(), 0, canvas.Px(isFocused ? 1.5f : 1),
                       isFocused ? theme.FieldFocus
                       : isHot   ? MixColor(theme.FieldBorder, theme.TextDim, 0.5f)
                                 : theme.FieldBorder);
}

void NaviBall::DrawEnd(Canvas& canvas, StandardView view) const {
  const Theme& theme = GetTheme();
  const AxisEnd& end = EndOf(view);
  const cVec2 place = EndPlace(view);
  const bool isMarked = IsMarked(view);
  const AxisEndLook look = GetAxisEndLook(view, EndDepth(view), isMarked);
  if (!end.Negative) canvas.Line(Center(), place, canvas.Px(AxisWidth), look.Border);
  const float radius = look.Radius * m_Scale, border = canvas.Px(1.5f);
  canvas.Circle(place, radius, look.Fill, border, isMarked ? theme.Text : look.Border);
  if (!look.Letter) return;
  const cRect box{place.x - 2 * radius, place.y - radius, 4 * radius, 2 * radius};
  canvas.Text(box, end.Letter, look.Letter, end.Negative ? TextStyle::Small : TextStyle::Bold, TextAlign::Center);
}

// --- mouse -------------------------------------------------------------------------------------------------------------------

// An end that faces the viewer is where he stands already.
void NaviBall::Press(StandardView end) { m_Link.Look(EndDepth(end) > FacingDepth ? OppositeOf(end) : end); }

bool NaviBall::OnMouse(const InputEvent& event) {
  const bool isLeft = event.Button == MouseButton::Left;
  if (event.Kind == InputKind::ButtonDown && isLeft && !m_Pressed && IsOnBall(event.X, event.Y)) {
    m_Pressed = true;
    m_PressPlace = {event.X, event.Y};
    m_PressedEnd = FindEnd(event.X, event.Y);
    return true;
  }
  if (event.Kind == InputKind::PointerMove && m_Pressed) DragTo(event.X, event.Y);
  if (event.Kind == InputKind::ButtonUp && isLeft && m_Pressed) {
    const bool isClick = !m_Orbiting;
    EndDrag();
    if (isClick && m_PressedEnd) Press(*m_PressedEnd);
    return true;
  }
  return IsCaptured();
}

// The ball turns as if the pointer held it: its radius is a radian.
void NaviBall::DragTo(float x, float y) {
  const cVec2 way{x - m_PressPlace.x, y - m_PressPlace.y};
  if (!m_Orbiting) {
    if (std::hypot(way.x, way.y) < ClickReach * m_Scale) return;
    m_Orbiting = true;
    m_Link.BeginOrbit();
  }
  const float radius = std::max(1.0f, Radius());
  m_Link.Orbit({way.x / radius, way.y / radius});
}

void NaviBall::EndDrag() {
  m_Pressed = false;
  if (std::exchange(m_Orbiting, false)) m_Link.EndOrbit();
}

bool NaviBall::UndoDrag() {
  if (!m_Pressed) return false;
  if (m_Orbiting) m_Link.Orbit({0, 0});
  EndDrag();
  return true;
}

MouseCursor NaviBall::GetCursor(float x, float y) const {
  if (!IsEnabled()) return MouseCursor::Arrow;
  if (m_Orbiting) return MouseCursor::Move;
  return !IsOnBall(x, y) ? MouseCursor::Arrow : FindEnd(x, y) ? MouseCursor::Hand : MouseCursor::Move;
}

std::string NaviBall::GetHintText(float x, float y) const {
  if (!IsOnBall(x, y)) return {};
  const std::optional<StandardView> end = FindEnd(x, y);
  if (end) return m_Link.GetViewName(EndDepth(*end) > FacingDepth ? OppositeOf(*end) : *end);
  return BaseWidget::GetHintText(x, y);
}

// --- keyboard ----------------------------------------------------------------------------------------------------------------

void NaviBall::OnFocus(bool gained) {
  if (!gained || m_Chosen) return;
  m_Chosen = *std::max_element(AllEnds.begin(), AllEnds.end(),
                               [this](StandardView a, StandardView b) { return EndDepth(a) < EndDepth(b); });
}

// To the end that is drawn next in that direction. Ends in one column, or row, come one after another, so that each direction
// reaches every end, those that hide behind others too.
void NaviBall::Choose(int stepX, int stepY) {
  const auto orderOf = [&](StandardView end) {
    const cVec2 place = EndPlace(end);
    const long x = std::lround(place.x), y = std::lround(place.y);
    return stepX ? std::tuple(x, y, int(end)) : std::tuple(y, x, int(end));
  };
  std::array ends = AllEnds;
  std::sort(ends.begin(), ends.end(), [&](StandardView a, StandardView b) { return orderOf(a) < orderOf(b); });
  const auto at = std::find(ends.begin(), ends.end(), *m_Chosen) - ends.begin();
  m_Chosen = ends[size_t(std::clamp<long>(at + stepX + stepY, 0, long(ends.size()) - 1))];
}

bool NaviBall::OnKey(const InputEvent& event) {
  if (event.Kind != InputKind::KeyDown || event.Modifiers & (ModControl | ModAlt | ModSuper) || !m_Chosen) return false;
  switch (event.Key) {
    case KeyLeft:
    case KeyRight:
      Choose(event.Key == KeyRight ? 1 : -1, 0);
      return true;
    case KeyUp:
    case KeyDown:
      Choose(0, event.Key == KeyDown ? 1 : -1);
      return true;
    case KeyEnter:
    case KeySpace:
      if (!event.IsRepeat) Press(*m_Chosen);
      return true;
    default:
      return false;
  }
}

// --- the control -------------------------------------------------------------------------------------------------------------

NaviControl::NaviControl(NaviLink link) : m_Ball(AddChild(new NaviBall(std::move(link)))) {
  PassesMouse = true;
  m_Ball->HintKey = "NaviBall";
}

Button* NaviControl::AddButton(Button* button) {
  button->Text = "";
  button->Flat = true;
  return AddChild(button);
}

void NaviControl::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  const float ball = std::floor(std::min(canvas.Px(BallSide), rect.W));
  m_Ball->Arrange({rect.X + std::floor((rect.W - ball) / 2), rect.Y, ball, ball}, canvas);
  const int count = Children.Count - 1;
  if (count < 1) return;
  // Where the panel is too narrow, the buttons give way together.
  const float gap = canvas.Px(ButtonGap), high = canvas.Px(ButtonSide);
  const float wide = std::clamp(std::floor((rect.W - float(count - 1) * gap) / float(count)), 1.0f, high);
  float x = rect.X + std::floor((rect.W - float(count) * (wide + gap) + gap) / 2);
  for (int i = 1; i <= count; i++, x += wide + gap) Children[i]->Arrange({x, rect.Bottom() - high, wide, high}, canvas);
}

float NaviControl::HeightFor(float width, Canvas& canvas) const {
  const float ball = std::floor(std::min(canvas.Px(BallSide), width));
  return Children.Count > 1 ? ball + canvas.Px(Measures::Gap) + canvas.Px(ButtonSide) : ball;
}

float NaviControl::NarrowestFor(Canvas& canvas) const {
  const float count = float(Children.Count - 1);
  return std::max(canvas.Px(BallSide), count * (canvas.Px(ButtonSide) + canvas.Px(ButtonGap)));
}
