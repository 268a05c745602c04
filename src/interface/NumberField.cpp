#include "interface/NumberField.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "ClassEngine/ValueText.h"
#include "comms/Str.h"
#include "interface/Language.h"
#include "interface/SimpleSlider.h"
#include "interface/TextEdit.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(NumberField) {}

NumberField::NumberField() {
  m_Edit = AddChild(new TextEdit);
  m_Edit->Bare = true;
  m_Edit->Read = [this] { return GetText(); };
  m_Edit->Commit = [this](const std::string& text, std::string& expected) {
    double value;
    if (!ReadSliderNumber(text, Unit, value)) {
      expected = Value.IsWhole() ? "1, 2, 3" : ShowNumber("1.25");
      return false;
    }
    if (text == GetText()) return true;
    if (Value.SetNumber(std::clamp(value, MinValue, MaxValue))) Tell(WidgetEventKind::ChangeDone);
    return true;
  };
}

NumberField::NumberField(const ValueBinding& value) : NumberField() { Value = value; }

std::string NumberField::GetText() const {
  const double number = Value.GetNumber();
  const std::string text = ShowNumber(Value.IsWhole() ? PrintNumber(number) : PrintShortest(float(number)));
  return Unit.empty() ? text : text + " " + Unit;
}

cRect NumberField::Arrows(Canvas& canvas) const {
  const float width = canvas.Px(15);
  return {Rect.Right() - width, Rect.Y, width, Rect.H};
}

void NumberField::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  m_Edit->ReadOnly = ReadOnly;
  m_Edit->Arrange({rect.X, rect.Y, std::max(0.0f, rect.W - Arrows(canvas).W), rect.H}, canvas);
}

float NumberField::NarrowestFor(Canvas& canvas) const {
  return canvas.TextWidth(GetText()) + 1 + Arrows(canvas).W + 2 * canvas.Px(Measures::Gap);
}

void NumberField::Draw(Canvas& canvas) {
  const cWidgets* manager = Manager();
  const bool hot = manager && Holds(manager->Hot());
  DrawField(canvas, Rect, hot, m_Edit->IsEditing(), IsEnabled() && !ReadOnly);
}

void NumberField::DrawOver(Canvas& canvas) {
  if (ReadOnly) return;
  const Theme& theme = GetTheme();
  const cRect box = Arrows(canvas);
  const float x = box.X + box.W / 2, middle = box.Y + box.H / 2, size = canvas.Px(6), away = canvas.Px(4);
  const cWidgets* manager = Manager();
  const bool over = IsEnabled() && manager && Holds(manager->Hot()) && box.Contains(manager->PointerX(), manager->PointerY());
  const bool upper = manager && manager->PointerY() < middle;
  const uint32_t plain = IsEnabled() ? theme.TextDim : theme.TextDisabled;
  DrawArrow(canvas, {x, middle - away}, size, 3, over && upper ? theme.Text : plain);
  DrawArrow(canvas, {x, middle + away}, size, 1, over && !upper ? theme.Text : plain);
}

MouseCursor NumberField::GetCursor(float x, float y) const {
  const cWidgets* manager = Manager();
  return manager && Arrows(manager->GetCanvas()).Contains(x, y) ? MouseCursor::SizeVertical : MouseCursor::Arrow;
}

double NumberField::StepOf(const InputEvent& event) const {
  double step = Step;
  if (event.Modifiers & ModControl) step *= 10;
  if (event.Modifiers & ModShift) step *= 0.1;
  return Value.IsWhole() ? std::max(1.0, std::round(step)) : step;
}

void NumberField::Change(double value, const InputEvent& event, bool done) {
  // A sum of steps like 0.1 must not drift into 0.30000001.
  if (!Value.IsWhole()) value = std::round(value * 1e6) / 1e6;
  if (!Value.SetNumber(std::clamp(value, MinValue, MaxValue))) return;
  Tell(WidgetEventKind::Change, &event);
  if (done) Tell(WidgetEventKind::ChangeDone, &event);
}

bool NumberField::OnMouse(const InputEvent& event) {
  cWidgets* manager = Manager();
  if (ReadOnly || !manager) return false;
  if (event.Kind == InputKind::Wheel && (event.Modifiers & ModAlt)) {
    Change(Value.GetNumber() + double(event.WheelY) * StepOf(event), event, true);
    return true;
  }
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left) {
    if (!Arrows(manager->GetCanvas()).Contains(event.X, event.Y)) return false;
    m_Dragging = true;
    m_Moved = false;
    m_PressY = event.Y;
    m_Start = Value.GetNumber();
    m_Up = event.Y < Rect.Y + Rect.H / 2;
    return true;
  }
  if (!m_Dragging || !IsCaptured()) return false;
  if (event.Kind == InputKind::PointerMove) {
    const float moved = m_PressY - event.Y, notch = std::max(1.0f, manager->GetCanvas().Px(4));
    if (std::fabs(moved) >= notch) m_Moved = true;
    if (m_Moved) Change(m_Start + std::trunc(moved / notch) * StepOf(event), event, false);
  }
  if (event.Kind == InputKind::ButtonUp && event.Button == MouseButton::Left) {
    m_Dragging = false;
    if (!m_Moved)
      Change(m_Start + (m_Up ? 1 : -1) * StepOf(event), event, true);
    else if (Value.GetNumber() != m_Start)
      Tell(WidgetEventKind::ChangeDone, &event);
  }
  return true;
}

bool NumberField::UndoDrag() {
  if (!std::exchange(m_Dragging, false)) return false;
  if (!m_Moved || !Value.SetNumber(m_Start)) return true;
  Tell(WidgetEventKind::Change);
  Tell(WidgetEventKind::ChangeDone);
  return true;
}

// The keys come from the field inside, which doesn't want these.
bool NumberField::OnKey(const InputEvent& event) {
  if (ReadOnly || event.Kind != InputKind::KeyDown || (event.Key != KeyUp && event.Key != KeyDown)) return false;
  if (event.Modifiers & (ModAlt | ModSuper)) return false;
  Change(Value.GetNumber() + (event.Key == KeyUp ? 1 : -1) * StepOf(event), event, true);
  if (m_Edit->IsEditing()) m_Edit->BeginEdit(GetText());
  return true;
}
