#include "interface/Button.h"

#include <algorithm>

#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(Button) {}

static constexpr float TextPadding = 10;  // at both sides of a caption without an icon, at scale 1

bool Button::Checked() const {
  if (IsChecked) return IsChecked();
  if (!Value.IsBound()) return false;
  return Form == ButtonForm::Toggle ? Value.GetBool() : Form == ButtonForm::Radio && int(Value.GetNumber()) == RadioValue;
}

void Button::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  const bool enabled = IsEnabled(), hot = enabled && IsHot(), down = enabled && IsCaptured() && hot, checked = Checked();
  const float radius = canvas.Px(Measures::Radius);
  uint32_t text = enabled ? theme.Text : theme.TextDisabled;
  if ((checked || Default) && enabled) {
    canvas.FillRoundRect(Rect, radius, hot ? theme.AccentHot : theme.Accent);
    text = theme.AccentText;
  } else if (!Flat || hot) {
    const uint32_t ground = !enabled ? MixColor(theme.Button, theme.Panel, 0.6f)
                            : down   ? theme.ButtonDown
                            : hot    ? theme.ButtonHot
                                     : theme.Button;
    canvas.FillRoundRect(Rect, radius, ground);
  }
  const std::string caption = GetText();
  const float size = canvas.Px(IconSize > 0 ? IconSize : Measures::IconSize), pad = canvas.Px(Icon.empty() ? TextPadding : 7);
  if (Icon.empty()) {
    const cRect box{Rect.X + pad, Rect.Y, std::max(0.0f, Rect.W - 2 * pad), Rect.H};
    if (canvas.TextWidth(caption, Style) <= box.W + 1)
      canvas.Text(box, caption, text, Style, Align);
    else
      canvas.Paragraph({box.X, std::floor(box.Y + (box.H - canvas.ParagraphHeight(box.W, caption, Style)) / 2), box.W, box.H},
                       caption, text, Style, Align);
  } else if (caption.empty()) {
    canvas.Icon(Icon, {Rect.X + std::floor((Rect.W - size) / 2), Rect.Y + std::floor((Rect.H - size) / 2), size, size}, text);
  } else {
    const float gap = canvas.Px(5);
    const float width = std::min(canvas.TextWidth(caption, Style) + 1, std::max(0.0f, Rect.W - size - gap - 2 * pad));
    const float x = Align == TextAlign::Center ? Rect.X + std::floor((Rect.W - size - gap - width) / 2) : Rect.X + pad;
    canvas.Icon(Icon, {x, Rect.Y + std::floor((Rect.H - size) / 2), size, size}, text);
    canvas.Text({x + size + gap, Rect.Y, width, Rect.H}, caption, text, Style);
  }
  DrawFocusRing(canvas, *this);
}

// A caption without an icon breaks into lines rather than being cut.
float Button::HeightFor(float width, Canvas& canvas) const {
  const float row = std::max(canvas.Px(Measures::RowHeight), IconSize > 0 ? canvas.Px(IconSize + 10) : 0.0f);
  const std::string caption = GetText();
  const float room = width - 2 * canvas.Px(TextPadding);
  if (!Icon.empty() || canvas.TextWidth(caption, Style) <= room + 1) return row;
  return std::max(row, canvas.ParagraphHeight(room, caption, Style) + canvas.Px(4));
}

float Button::WidthFor(Canvas& canvas) const {
  const std::string caption = GetText();
  const float size = canvas.Px(IconSize > 0 ? IconSize : Measures::IconSize);
  if (caption.empty()) return size + canvas.Px(IconSize > 0 ? 10 : 7);
  const float text = canvas.TextWidth(caption, Style) + 1;
  return std::ceil(Icon.empty() ? text + 2 * canvas.Px(TextPadding) : text + size + canvas.Px(5 + 14));
}

void Button::Click(const InputEvent& event) {
  bool changed = false;
  if (Value.IsBound() && Form == ButtonForm::Toggle) changed = Value.SetBool(!Value.GetBool());
  if (Value.IsBound() && Form == ButtonForm::Radio) changed = Value.SetNumber(RadioValue);
  if (Action) Action();
  if (!Manager()) return;
  if (changed) Tell(WidgetEventKind::ChangeDone, &event);
  Tell(WidgetEventKind::Click, &event);
}

bool Button::OnMouse(const InputEvent& event) {
  if (event.Kind == InputKind::ButtonDown) return event.Button == MouseButton::Left;
  if (event.Kind == InputKind::ButtonUp && event.Button == MouseButton::Left && IsCaptured()) {
    if (Rect.Contains(event.X, event.Y)) Click(event);
    return true;
  }
  return IsCaptured();
}

bool Button::OnKey(const InputEvent& event) {
  if (event.Kind != InputKind::KeyDown || (event.Key != KeyEnter && event.Key != KeySpace)) return false;
  if (!event.IsRepeat) Click(event);
  return true;
}
