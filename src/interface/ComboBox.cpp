#include "interface/ComboBox.h"

#include <algorithm>
#include <cstring>

#include "interface/Language.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(ComboBox) {}

static constexpr float ArrowWidth = 18;  // at scale 1

std::string ComboBox::NameOf(int index) const {
  if (!Entries) return Texts[size_t(index)];
  const char* name = Entries->EnumName(index);
  return name ? ::GetText(name) : std::string();
}

void ComboBox::ReadTexts() {
  if (ListTexts) Texts = ListTexts();
}

// An _index is no number for strict reading, but its storage is.
static int32_t ReadIndex(const ValueBinding& value) {
  int32_t number = 0;
  if (value.Data) std::memcpy(&number, value.Data, sizeof number);
  return number;
}

int ComboBox::Chosen() const {
  if (Entries) return Entries->FindIndexOfValue(ReadIndex(Value));
  const auto at = std::find(Texts.begin(), Texts.end(), Value.GetText());
  return at == Texts.end() ? -1 : int(at - Texts.begin());
}

std::string ComboBox::GetText() const {
  if (!Entries) return Value.GetText();
  const int index = Chosen();
  return index >= 0 ? NameOf(index) : std::string();
}

float ComboBox::NarrowestFor(Canvas& canvas) const {
  float widest = canvas.TextWidth(GetText());
  for (int i = 0; i < Count(); i++) widest = std::max(widest, canvas.TextWidth(NameOf(i)));
  return widest + 1 + canvas.Px(Measures::Gap) + canvas.Px(ArrowWidth);
}

void ComboBox::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  const bool enabled = IsEnabled() && !ReadOnly;
  const std::string text = GetText();
  DrawField(canvas, Rect, enabled && IsHot(), m_List != nullptr, enabled);
  const float pad = canvas.Px(Measures::Gap), arrow = canvas.Px(ArrowWidth);
  canvas.Text({Rect.X + pad, Rect.Y, std::max(0.0f, Rect.W - pad - arrow), Rect.H}, text, TextColor(*this), StyleOf(text));
  DrawArrow(canvas, {Rect.Right() - canvas.Px(10), Rect.Y + Rect.H / 2}, canvas.Px(8), 1,
            enabled ? theme.TextDim : theme.TextDisabled);
  DrawFocusRing(canvas, *this);
}

void ComboBox::Select(int index, const InputEvent* event) {
  if (index < 0 || index >= Count() || !Value.Data || index == Chosen()) return;
  std::string expected;
  if (Entries) {
    const int32_t value = Entries->EnumValue(index);
    std::memcpy(Value.Data, &value, sizeof value);
  } else if (!Value.SetText(Texts[size_t(index)], expected)) {
    return;
  }
  Tell(WidgetEventKind::Change, event);
  Tell(WidgetEventKind::ChangeDone, event);
}

TextMenu* ComboBox::DropDown() {
  cWidgets* manager = Manager();
  if (!manager || ReadOnly) return nullptr;
  ReadTexts();
  TextMenu* menu = Open(
      *manager, Rect,
      [this](TextMenu& list) {
        list.MinWidth = Rect.W;
        const int chosen = Chosen();
        for (int i = 0; i < Count(); i++) {
          TextItem* item = list.Add(NameOf(i), [this, i] { Select(i, nullptr); });
          item->Checked = i == chosen;
          item->Literal = true;
        }
      },
      this);
  if (!menu) return nullptr;
  m_List = menu;
  menu->Closed = [this] { m_List = nullptr; };
  menu->Mark(Chosen());
  return menu;
}

bool ComboBox::OnMouse(const InputEvent& event) {
  if (ReadOnly) return false;
  if (event.Kind == InputKind::Wheel && (event.Modifiers & ModAlt)) {
    ReadTexts();
    if (Count() > 0) Select(std::clamp(Chosen() - (event.WheelY > 0 ? 1 : -1), 0, Count() - 1), &event);
    return true;
  }
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left) {
    DropDown();
    return true;
  }
  return false;
}

bool ComboBox::OnKey(const InputEvent& event) {
  if (ReadOnly || event.Kind != InputKind::KeyDown || (event.Modifiers & ModControl)) return false;
  ReadTexts();
  const int index = Chosen();
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
