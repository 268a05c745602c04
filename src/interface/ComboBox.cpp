#include "interface/ComboBox.h"

#include <algorithm>
#include <cstring>

#include "interface/Language.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(ComboBox) {}

std::string ComboBox::GetText() const {
  if (!Entries) return Value.GetText();
  const int index = Entries->FindIndexOfValue(int32_t(Number()));
  const char* name = Entries->EnumName(index);
  return name ? ::GetText(name) : std::string();
}

// An _index is no number for strict reading, but its storage is.
int32_t ComboBox::Number() const {
  int32_t number = 0;
  if (Value.Data) std::memcpy(&number, Value.Data, sizeof number);
  return number;
}

void ComboBox::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  const bool enabled = IsEnabled() && !ReadOnly;
  DrawField(canvas, Rect, enabled && IsHot(), SubMenuOpen(), enabled);
  const float pad = canvas.Px(Measures::Gap), arrow = canvas.Px(18);
  canvas.Text({Rect.X + pad, Rect.Y, std::max(0.0f, Rect.W - pad - arrow), Rect.H}, GetText(), TextColor(*this));
  DrawArrow(canvas, {Rect.Right() - canvas.Px(10), Rect.Y + Rect.H / 2}, canvas.Px(8), 1,
            enabled ? theme.TextDim : theme.TextDisabled);
  DrawFocusRing(canvas, *this);
}

void ComboBox::Select(int index, const InputEvent* event) {
  if (!Entries || index < 0 || index >= Entries->GetCount() || !Value.Data) return;
  const int32_t value = Entries->EnumValue(index);
  if (value == Number()) return;
  std::memcpy(Value.Data, &value, sizeof value);
  Tell(WidgetEventKind::Change, event);
  Tell(WidgetEventKind::ChangeDone, event);
}

TextMenu* ComboBox::DropDown() {
  cWidgets* manager = Manager();
  if (!manager || !Entries || ReadOnly) return nullptr;
  TextMenu* menu = Open(
      *manager, Rect,
      [this](TextMenu& list) {
        list.MinWidth = Rect.W;
        const int chosen = Entries->FindIndexOfValue(Number());
        for (int i = 0; i < Entries->GetCount(); i++)
          list.Add(Entries->EnumName(i), [this, i] { Select(i, nullptr); })->Checked = i == chosen;
      },
      this);
  if (!menu) return nullptr;
  m_List = menu;
  menu->Closed = [this] { m_List = nullptr; };
  menu->Mark(Entries->FindIndexOfValue(Number()));
  return menu;
}

bool ComboBox::OnMouse(const InputEvent& event) {
  if (ReadOnly) return false;
  if (event.Kind == InputKind::Wheel && (event.Modifiers & ModAlt) && Entries) {
    const int index = Entries->FindIndexOfValue(Number()) - (event.WheelY > 0 ? 1 : -1);
    Select(std::clamp(index, 0, Entries->GetCount() - 1), &event);
    return true;
  }
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left) {
    DropDown();
    return true;
  }
  return false;
}

bool ComboBox::OnKey(const InputEvent& event) {
  if (ReadOnly || !Entries || event.Kind != InputKind::KeyDown || (event.Modifiers & ModControl)) return false;
  const int index = Entries->FindIndexOfValue(Number());
  switch (event.Key) {
    case KeyUp:
      Select(index - 1, &event);
      return true;
    case KeyDown:
      if (event.Modifiers & ModAlt)
        DropDown();
      else
        Select(index + 1, &event);
      return true;
    case KeyEnter:
    case KeySpace:
      DropDown();
      return true;
    default:
      return false;
  }
}
