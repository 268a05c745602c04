#include "interface/Button.h"

#include <algorithm>

#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(Button) {}

// At scale 1: at both sides of a caption, without and with an icon, and between the two.
static constexpr float TextPadding = 10, IconPadding = 7, IconGap = 5;

static float SideOf(const Button& button, Canvas& canvas) {
  return canvas.Px(button.IconSize > 0 ? button.IconSize : Measures::IconSize);
}
static float PaddingOf(const Button& button, Canvas& canvas) {
  return canvas.Px(button.Icon.empty() ? TextPadding : IconPadding);
}

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
  const float size = SideOf(*this, canvas), pad = PaddingOf(*this, canvas), gap = canvas.Px(IconGap);
  if (caption.empty()) {
    canvas.Icon(Icon, {Rect.X + std::floor((Rect.W - size) / 2), Rect.Y + std::floor((Rect.H - size) / 2), size, size}, text);
  } else {
    const float room = std::max(0.0f, Rect.W - Around(canvas)), whole = canvas.TextWidth(caption, Style) + 1;
    const bool breaks = whole > room + 1;
    cRect box{Rect.X + pad, Rect.Y, room, Rect.H};
    if (!Icon.empty()) {
      if (Align == TextAlign::Center && !breaks) box.X = Rect.X + std::floor((Rect.W - size - gap - whole) / 2);
      canvas.Icon(Icon, {box.X, Rect.Y + std::floor((Rect.H - size) / 2), size, size}, text);
      box.X += size + gap;
    }
    const TextAlign align = Icon.empty() ? Align : TextAlign::Left;
    if (breaks) box.Y += std::floor((box.H - canvas.ParagraphHeight(room, caption, Style, LongWords::Cut)) / 2);
    if (breaks)
      canvas.Paragraph(box, caption, text, Style, align, LongWords::Cut);
    else
      canvas.Text(box, caption, text, Style, align);
  }
  DrawFocusRing(canvas, *this);
}

// Width of all but the caption.
float Button::Around(Canvas& canvas) const {
  return 2 * PaddingOf(*this, canvas) + (Icon.empty() ? 0 : SideOf(*this, canvas) + canvas.Px(IconGap));
}

// A caption breaks into lines; a single word that is too wide is cut.
float Button::HeightFor(float width, Canvas& canvas) const {
  const float row = std::max(canvas.Px(Measures::RowHeight), IconSize > 0 ? canvas.Px(IconSize + 10) : 0.0f);
  const std::string caption = GetText();
  const float room = std::max(0.0f, width - Around(canvas));
  if (canvas.TextWidth(caption, Style) <= room) return row;
  return std::max(row, canvas.ParagraphHeight(room, caption, Style, LongWords::Cut) + canvas.Px(4));
}

float Button::WidthFor(Canvas& canvas) const {
  const std::string caption = GetText();
  if (caption.empty()) return SideOf(*this, canvas) + canvas.Px(IconSize > 0 ? 10 : 7);
  return std::ceil(canvas.TextWidth(caption, Style) + 1 + Around(canvas));
}

float Button::NarrowestFor(Canvas& canvas) const {
  const std::string caption = GetText();
  if (caption.empty()) return WidthFor(canvas);
  return std::ceil(FindWidestWord(caption, Style, canvas) + 1 + Around(canvas));
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
