#include "interface/SimpleSlider.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "ClassEngine/ValueText.h"
#include "comms/Str.h"
#include "interface/Language.h"
#include "interface/TextEdit.h"
#include "interface/TextMenu.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(SimpleSlider) {}

// A hundredth or a thousandth of the range shows, and three digits of any number.
std::string PrintSliderNumber(double value, double range, bool whole) {
  if (whole) return comms::Format("%.0f", value);
  int decimals = range >= 500 ? 0 : range >= 50 ? 1 : range >= 5 ? 2 : 3;
  const double size = std::fabs(value);
  if (size > 0 && size < 100) decimals = std::max(decimals, std::min(6, 2 - int(std::floor(std::log10(size)))));
  std::string text = comms::Format("%.*f", decimals, value);
  if (text.find('.') != std::string::npos) {
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
  }
  return text == "-0" ? "0" : text;
}

bool ReadSliderNumber(std::string_view text, std::string_view unit, double& value) {
  text = TrimBlanks(text);
  if (!unit.empty() && text.size() > unit.size() && text.substr(text.size() - unit.size()) == unit)
    text = TrimBlanks(text.substr(0, text.size() - unit.size()));
  float number = 0;
  if (!TakeFloat(text, number) || !TrimBlanks(text).empty() || !std::isfinite(number)) return false;
  value = number;
  return true;
}

SimpleSlider::SimpleSlider(std::string_view label, const ValueBinding& value) : Value(value), Label(label) {
  if (value.Extra) Range = *static_cast<const SliderRange*>(value.Extra);
}

double SimpleSlider::ToPart(double value) const {
  const double least = Range.MinValue, most = Range.MaxValue;
  return most > least ? (std::clamp(value, least, most) - least) / (most - least) : 0;
}

double SimpleSlider::Step() const {
  const double part = (double(Range.MaxValue) - Range.MinValue) / 20;
  return Value.IsWhole() ? std::max(1.0, std::round(part)) : part;
}

std::string SimpleSlider::Print(double value) const {
  std::string text = ShowNumber(PrintSliderNumber(value, std::fabs(double(Range.MaxValue) - Range.MinValue), Value.IsWhole()));
  if (!Unit.empty()) text += (Unit == "%" || Unit == "°" ? "" : " ") + Unit;
  return text;
}

std::string SimpleSlider::GetText() const { return Print(Value.GetNumber()); }

bool SimpleSlider::Write(double value) {
  return Value.SetNumber(std::clamp(value, double(Range.MinValue), double(Range.MaxValue)));
}

void SimpleSlider::SetNumber(double value, const InputEvent* event) {
  if (Write(value)) {
    Tell(WidgetEventKind::Change, event);
    Tell(WidgetEventKind::ChangeDone, event);
  }
}

void SimpleSlider::ResetToDefault(const InputEvent* event) { SetNumber(Range.Default, event); }

// The name from the left, the number from the right; the name is what gives way.
void SimpleSlider::Draw(Canvas& canvas) {
  if (m_Entry) {
    DrawField(canvas, Rect, false, true);
    return;
  }
  const Theme& theme = GetTheme();
  const bool enabled = IsEnabled() && !ReadOnly, hot = enabled && IsHot();
  DrawField(canvas, Rect, hot, false, enabled);
  const float border = canvas.Px(1), part = float(ToPart(Value.GetNumber()));
  const cRect inside = Rect.Shrunk(border);
  const uint32_t fill =
      !enabled ? MixColor(theme.Field, theme.Panel, 0.9f) : MixColor(theme.Field, theme.Accent, hot ? 0.62f : 0.5f);
  // From zero where the range has it inside: what cuts and what builds up are told apart at a glance.
  const float zero = Range.MinValue < 0 && Range.MaxValue > 0 ? float(ToPart(0)) : 0;
  if (part != zero && !ReadOnly) {
    const float from = std::floor(inside.W * std::min(zero, part)), to = std::ceil(inside.W * std::max(zero, part));
    canvas.PushClip({inside.X + from, inside.Y, to - from, inside.H});
    canvas.FillRoundRect(inside, canvas.Px(Measures::Radius) - border, fill);
    canvas.PopClip();
  }
  const uint32_t text = IsEnabled() ? theme.Text : theme.TextDisabled;
  const float pad = canvas.Px(Measures::Gap);
  const std::string number = GetText();
  const float numberWidth = std::min(canvas.TextWidth(number, TextStyle::Number) + 1, std::max(0.0f, Rect.W - 2 * pad));
  canvas.Text({Rect.Right() - pad - numberWidth, Rect.Y, numberWidth, Rect.H}, number, text, TextStyle::Number, TextAlign::Right);
  const float left = Rect.W - 3 * pad - numberWidth;
  if (left > pad && !Label.Empty()) canvas.Text({Rect.X + pad, Rect.Y, left, Rect.H}, ::GetText(Label.View()), text);
  DrawFocusRing(canvas, *this);
}

void SimpleSlider::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  if (m_Entry) m_Entry->Arrange(rect, canvas);
}

float SimpleSlider::NarrowestFor(Canvas& canvas) const {
  float widest = canvas.TextWidth(GetText(), TextStyle::Number);
  for (const float end : {Range.MinValue, Range.MaxValue})
    widest = std::max(widest, canvas.TextWidth(Print(double(end)), TextStyle::Number));
  return widest + 1 + 2 * canvas.Px(Measures::Gap);
}

MouseCursor SimpleSlider::GetCursor(float, float) const {
  return IsEnabled() && !ReadOnly ? MouseCursor::SizeHorizontal : MouseCursor::Arrow;
}

// The bar's width is the whole range, a tenth of it with Shift. Where the pointer runs past an end, it counts from there back.
void SimpleSlider::DragTo(const InputEvent& event) {
  if (!m_Moved && std::fabs(event.X - m_PressX) < 2) return;
  m_Moved = true;
  const double fine = event.Modifiers & ModShift ? 0.1 : 1;
  m_Part = std::clamp(m_Part + fine * (event.X - m_LastX) / std::max(1.0f, Rect.W), 0.0, 1.0);
  m_LastX = event.X;
  double value = m_Part < 1 ? Range.MinValue + (double(Range.MaxValue) - Range.MinValue) * m_Part : Range.MaxValue;
  if (event.Modifiers & ModControl) {
    const double step = Step();
    value = Range.MinValue + std::round((value - Range.MinValue) / step) * step;
  }
  if (Write(value)) Tell(WidgetEventKind::Change, &event);
}

bool SimpleSlider::OnMouse(const InputEvent& event) {
  if (ReadOnly) return false;
  if (event.Kind == InputKind::Wheel) {
    if (!(event.Modifiers & ModAlt)) return false;
    const double fine = event.Modifiers & ModShift ? 0.1 : 1;
    const double step = Value.IsWhole() ? std::max(1.0, Step() * fine) : Step() * fine;
    SetNumber(Value.GetNumber() + double(event.WheelY) * step, &event);
    return true;
  }
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Right && !m_Dragging) {
    OpenMenu(event);
    return true;
  }
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left) {
    if (event.Clicks == 2 && !(event.Modifiers & ModControl)) {
      OpenEntry();
      return true;
    }
    m_Dragging = true;
    m_Moved = false;
    m_PressX = m_LastX = event.X;
    m_Before = Value.GetNumber();
    m_Part = ToPart(m_Before);
    return true;
  }
  if (event.Kind == InputKind::PointerMove && m_Dragging && IsCaptured()) DragTo(event);
  if (event.Kind == InputKind::ButtonUp && event.Button == MouseButton::Left && m_Dragging) {
    m_Dragging = false;
    if (m_Moved) {
      if (Value.GetNumber() != m_Before) Tell(WidgetEventKind::ChangeDone, &event);
    } else if (event.Modifiers & ModControl) {
      ResetToDefault(&event);
    }
  }
  return IsCaptured() || (event.Kind == InputKind::ButtonUp && m_Entry);
}

bool SimpleSlider::UndoDrag() {
  if (!std::exchange(m_Dragging, false)) return false;
  if (m_Moved) SetNumber(m_Before, nullptr);
  return true;
}

bool SimpleSlider::OnKey(const InputEvent& event) {
  if (ReadOnly || m_Entry) return false;
  if (event.Kind == InputKind::Text) {
    if (event.Text.size() != 1 || !std::strchr("0123456789-+.,", event.Text[0])) return false;
    OpenEntry(event.Text);
    return true;
  }
  if (event.Kind != InputKind::KeyDown || (event.Modifiers & (ModControl | ModAlt | ModSuper))) return false;
  const double fine = event.Modifiers & ModShift && !Value.IsWhole() ? 0.1 : 1;
  switch (event.Key) {
    case KeyLeft:
    case KeyDown:
      SetNumber(Value.GetNumber() - Step() * fine, &event);
      return true;
    case KeyRight:
    case KeyUp:
      SetNumber(Value.GetNumber() + Step() * fine, &event);
      return true;
    case KeyEnter:
      OpenEntry();
      return true;
    case KeyDelete:
      ResetToDefault(&event);
      return true;
    default:
      break;
  }
  // The character that follows opens the entry: no hot key meanwhile.
  return (event.Key >= '0' && event.Key <= '9') || event.Key == KeyMinus || event.Key == KeyPeriod || event.Key == KeyComma;
}

void SimpleSlider::OpenEntry(std::string_view typed) {
  cWidgets* manager = Manager();
  if (!manager || m_Entry || ReadOnly) return;
  m_Dragging = false;
  m_Entry = AddChild(new TextEdit);
  m_Entry->Bare = true;
  m_Entry->Arrange(Rect, manager->GetCanvas());
  m_Entry->Commit = [this](const std::string& text, std::string& expected) {
    double value;
    if (!ReadSliderNumber(text, Unit, value)) {
      expected = ShowNumber(PrintNumber(double(Range.MinValue))) + " .. " + ShowNumber(PrintNumber(double(Range.MaxValue)));
      return false;
    }
    SetNumber(value, nullptr);
    return true;
  };
  m_Entry->Ended = [this] { CloseEntry(); };
  const double shown = Value.GetNumber();
  const std::string text = ShowNumber(Value.IsWhole() ? PrintNumber(shown) : PrintShortest(float(shown)));
  m_Entry->BeginEdit(typed.empty() ? std::string_view(text) : typed, typed.empty());
}

void SimpleSlider::CloseEntry() {
  TextEdit* entry = m_Entry;
  m_Entry = nullptr;
  cWidgets* manager = Manager();
  if (!manager || !entry) return;
  const bool hadFocus = manager->Focused() == entry;
  manager->DeleteLater(entry);
  if (hadFocus && manager->ShowsFocus()) manager->Focus(this);
}

void SimpleSlider::OpenMenu(const InputEvent& event) {
  TextMenu::Open(
      *Manager(), {event.X, event.Y, 0, 0},
      [this](TextMenu& menu) {
        menu.Add(
            "RESET_TO_DEFAULT", [this] { ResetToDefault(nullptr); }, "Ctrl+LMB");
        menu.Add(
            "ENTER_VALUE", [this] { OpenEntry(); }, "Enter");
      },
      this);
}
