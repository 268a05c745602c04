#include "interface/CheckBox.h"

#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(CheckBox) {}
DECLARE_MEMBERS(IconToggle) {}

namespace {

// A press that ends on the widget, or the space bar.
bool IsChosen(const BaseWidget& widget, const InputEvent& event) {
  if (event.Kind == InputKind::KeyDown) return (event.Key == KeySpace || event.Key == KeyEnter) && !event.IsRepeat;
  return event.Kind == InputKind::ButtonUp && event.Button == MouseButton::Left && widget.IsCaptured() &&
         widget.Rect.Contains(event.X, event.Y);
}

bool TakesPress(const BaseWidget& widget, const InputEvent& event) {
  return widget.IsCaptured() || (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left);
}

}  // namespace

void CheckBox::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  const bool enabled = IsEnabled() && !ReadOnly, checked = Value.GetBool(), hot = enabled && IsHot();
  const float size = canvas.Px(14);
  const cRect box{Rect.X, Rect.Y + std::floor((Rect.H - size) / 2), size, size};
  const float radius = canvas.Px(3);
  if (checked) {
    canvas.FillRoundRect(box, radius, !enabled ? theme.TextDisabled : hot ? theme.AccentHot : theme.Accent);
    const float s = size / 14;
    const comms::cVec2 tick[] = {
        {box.X + 3.4f * s, box.Y + 7.3f * s}, {box.X + 6 * s, box.Y + 9.8f * s}, {box.X + 10.7f * s, box.Y + 4.5f * s}};
    canvas.Polyline(tick, 1.7f * s, theme.AccentText);
  } else {
    canvas.FillRoundRect(box, radius, hot ? theme.FieldHot : theme.Field, canvas.Px(1),
                         hot       ? theme.Text
                         : enabled ? theme.TextDisabled
                                   : theme.FieldBorder);
  }
  const float left = size + canvas.Px(Measures::Gap);
  canvas.Text({Rect.X + left, Rect.Y, Rect.W - left, Rect.H}, GetText(), enabled ? theme.Text : theme.TextDisabled, Style);
  DrawFocusRing(canvas, *this);
}

float CheckBox::WidthFor(Canvas& canvas) const {
  return std::ceil(canvas.Px(14) + canvas.Px(Measures::Gap) + canvas.TextWidth(GetText(), Style) + 1);
}

void CheckBox::Flip(const InputEvent& event) {
  if (Value.SetBool(!Value.GetBool())) Tell(WidgetEventKind::ChangeDone, &event);
}

bool CheckBox::OnMouse(const InputEvent& event) {
  if (ReadOnly || !TakesPress(*this, event)) return false;
  if (IsChosen(*this, event)) Flip(event);
  return true;
}

bool CheckBox::OnKey(const InputEvent& event) {
  if (ReadOnly || event.Kind != InputKind::KeyDown || !IsChosen(*this, event)) return false;
  Flip(event);
  return true;
}

void IconToggle::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  const bool on = Value.GetBool(), enabled = IsEnabled() && !ReadOnly, hot = enabled && IsHot();
  const float size = canvas.Px(Measures::IconSize);
  if (hot || (on && IconOff.empty()))
    canvas.FillRoundRect(Rect, canvas.Px(Measures::Radius), hot ? theme.ButtonHot : theme.Button);
  const cRect box{Rect.X + std::floor((Rect.W - size) / 2), Rect.Y + std::floor((Rect.H - size) / 2), size, size};
  const uint32_t color = !enabled ? theme.TextDisabled : on ? theme.Text : theme.TextDim;
  canvas.Icon(on || IconOff.empty() ? Icon : IconOff, box, color);
  DrawFocusRing(canvas, *this);
}

float IconToggle::WidthFor(Canvas& canvas) const { return canvas.Px(Measures::RowHeight); }
