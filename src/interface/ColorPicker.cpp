#include "interface/ColorPicker.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "ClassEngine/ValueTypes.h"
#include "interface/NumberField.h"
#include "interface/TextEdit.h"
#include "interface/TextWidget.h"
#include "interface/WidgetDraw.h"
#include "interface/cWidgets.h"
#include "shell/core/KeyTable.h"

DECLARE_MEMBERS(ColorPicker) {}
DECLARE_MEMBERS(ColorSwatch) {}

namespace {

// Measures at scale 1: side of the square, width of the hue bar, width of the column with the fields.
constexpr float Side = 152, HueWidth = 18, FieldColumn = 92, SwatchHeight = 30, Space = 10;
// ... where there is little room: between all, below which side of the square, and its least side.
constexpr float TightSpace = 4, TightSide = 60, LeastSide = 24;
constexpr const char* FieldNames[] = {"R", "G", "B", "H", "S", "V"};

uint32_t ByteOf(float number) { return uint32_t(std::clamp(std::lround(number), 0l, 255l)); }

}  // namespace

uint32_t GetBoundColor(const ValueBinding& value) {
  uint32_t color = 0xFF000000u;
  if (value.Data) std::memcpy(&color, value.Data, sizeof color);
  return color;
}

bool SetBoundColor(const ValueBinding& value, uint32_t color) {
  if (!value.Data || GetBoundColor(value) == color) return false;
  std::memcpy(value.Data, &color, sizeof color);
  return true;
}

ColorPicker::ColorPicker() { MakeFields(); }
ColorPicker::ColorPicker(const ValueBinding& value) : ColorPicker() {
  Value = value;
  m_Old = GetColor();
  m_OldKnown = true;
  Follow();
}

// Children in order: for each of the six numbers its name and its field, then "#" and the field of digits.
void ColorPicker::MakeFields() {
  for (int i = 0; i < 6; i++) {
    auto* name = AddChild(new TextWidget(FieldNames[i]));
    name->Literal = name->Dim = true;
    auto* field = AddChild(new NumberField(Bind<_float>(m_Fields[i])));
    field->MinValue = 0;
    field->MaxValue = i < 3 ? 255 : i == 3 ? 360 : 100;
    field->Callback = std::make_unique<wpcallback<ColorPicker>>(this, &ColorPicker::OnField);
  }
  auto* sign = AddChild(new TextWidget("#"));
  sign->Literal = sign->Dim = true;
  auto* digits = AddChild(new TextEdit);
  digits->Read = [this] { return PrintHexColor(GetColor()); };
  digits->Commit = [this](const std::string& text, std::string& expected) {
    uint32_t color = GetColor();
    if (!ReadHexColor(text, color)) {
      expected = "RRGGBB";
      return false;
    }
    if (color != GetColor()) SetColor(color, nullptr, true);
    return true;
  };
}

uint32_t ColorPicker::GetColor() const { return GetBoundColor(Value); }

// Hue and saturation can't be told from a grey, so they stay where the colour was not changed by somebody else.
void ColorPicker::Follow() {
  const uint32_t color = GetColor();
  if (!m_OldKnown) {
    m_Old = color;
    m_OldKnown = true;
  }
  if ((HsvToRgb(m_Hsv) & 0xFFFFFF) != (color & 0xFFFFFF)) {
    const HsvColor found = RgbToHsv(color);
    m_Hsv = {found.S > 0 ? found.H : m_Hsv.H, found.V > 0 ? found.S : m_Hsv.S, found.V};
  }
  const float fields[] = {float((color >> 16) & 0xFF), float((color >> 8) & 0xFF), float(color & 0xFF),
                          std::round(m_Hsv.H * 360),   std::round(m_Hsv.S * 100),  std::round(m_Hsv.V * 100)};
  std::copy(std::begin(fields), std::end(fields), m_Fields);
}

void ColorPicker::SetColor(uint32_t color, const InputEvent* event, bool done) {
  const bool changed = SetBoundColor(Value, color);
  Follow();
  const auto tell = [&](WidgetEventKind kind) {
    Tell(kind, event);
    if (Opener) Opener->Tell(kind, event);
  };
  if (changed) tell(WidgetEventKind::Change);
  if (done) tell(WidgetEventKind::ChangeDone);
}

// Hue, saturation and value say nothing of alpha.
void ColorPicker::SetHsv(const InputEvent* event, bool done) {
  SetColor((GetColor() & 0xFF000000u) | (HsvToRgb(m_Hsv) & 0xFFFFFFu), event, done);
}

bool ColorPicker::OnField(BaseWidget* widget, const WidgetEvent& event) {
  if (event.Kind != WidgetEventKind::Change && event.Kind != WidgetEventKind::ChangeDone) return false;
  int field = 0;
  while (field < 6 && Children[2 * field + 1] != widget) field++;
  const bool done = event.Kind == WidgetEventKind::ChangeDone;
  if (field < 3) {
    const uint32_t rgb = ByteOf(m_Fields[0]) << 16 | ByteOf(m_Fields[1]) << 8 | ByteOf(m_Fields[2]);
    SetColor((GetColor() & 0xFF000000u) | rgb, event.Input, done);
  } else {
    m_Hsv = {m_Fields[3] / 360, m_Fields[4] / 100, m_Fields[5] / 100};
    SetHsv(event.Input, done);
  }
  return true;
}

// --- place -------------------------------------------------------------------------------------------------------------------

bool ColorPicker::IsLow(Canvas& canvas) const { return Rect.H < HeightFor(Rect.W, canvas); }
float ColorPicker::Gap(Canvas& canvas) const {
  const bool isNarrow = Rect.W < WidthFor(canvas) - canvas.Px(Side - TightSide);
  return canvas.Px(isNarrow || IsLow(canvas) ? TightSpace : Space);
}

// In a narrow panel or a small window it is the square that gives way; the fields must show their numbers.
cRect ColorPicker::Square(Canvas& canvas) const {
  const float pad = Gap(canvas), foot = IsLow(canvas) ? RowHeight(canvas) : canvas.Px(SwatchHeight);
  const float beside = canvas.Px(HueWidth) + canvas.Px(FieldColumn) + 4 * pad, below = foot + 3 * pad;
  return {Rect.X + pad, Rect.Y + pad, std::clamp(Rect.W - beside, canvas.Px(LeastSide), canvas.Px(Side)),
          std::clamp(Rect.H - below, canvas.Px(LeastSide), canvas.Px(Side))};
}
cRect ColorPicker::HueBar(Canvas& canvas) const {
  const cRect square = Square(canvas);
  return {square.Right() + Gap(canvas), square.Y, canvas.Px(HueWidth), square.H};
}
cRect ColorPicker::Swatch(Canvas& canvas, bool old) const {
  const cRect bar = HueBar(canvas), square = Square(canvas);
  const float width = std::floor((bar.Right() - square.X) / 2);
  const float height = IsLow(canvas) ? RowHeight(canvas) : canvas.Px(SwatchHeight);
  return {square.X + (old ? width : 0), square.Bottom() + Gap(canvas), width, height};
}

float ColorPicker::WidthFor(Canvas& canvas) const {
  return canvas.Px(Side) + canvas.Px(HueWidth) + canvas.Px(FieldColumn) + 4 * canvas.Px(Space);
}
float ColorPicker::HeightFor(float, Canvas& canvas) const {
  return canvas.Px(Side) + canvas.Px(SwatchHeight) + 3 * canvas.Px(Space);
}

cRect ColorPicker::PlaceIn(const cRect& screen, Canvas& canvas) {
  if (!IsPopup) return Rect;
  const cRect free = screen.Shrunk(canvas.Px(2));
  const float width = std::min(WidthFor(canvas), free.W), height = std::min(HeightFor(width, canvas), free.H);
  cRect place{Anchor.X, Anchor.Bottom() + canvas.Px(2), width, height};
  if (place.Bottom() > screen.Bottom() && Anchor.Y - height >= screen.Y) place.Y = Anchor.Y - height - canvas.Px(2);
  return KeepInside(place, free);
}

// The hexadecimal field stands at the foot, level with the swatches. Where the square is low, all seven share the height.
void ColorPicker::Arrange(const cRect& rect, Canvas& canvas) {
  Rect = rect;
  const cRect bar = HueBar(canvas), swatch = Swatch(canvas, false);
  const float gap = Gap(canvas), x = bar.Right() + gap, row = RowHeight(canvas), name = canvas.Px(14);
  const float width = rect.Right() - gap - x, step = std::floor((bar.H - 6 * row - canvas.Px(8)) / 5) + row;
  const float foot = swatch.Y + std::floor((swatch.H - row) / 2);
  for (int i = 0; i < 7; i++) {
    float y = i < 6 ? bar.Y + float(i) * step + (i >= 3 ? canvas.Px(8) : 0) : foot;
    if (IsLow(canvas)) y = bar.Y + std::floor(float(i) * (foot - bar.Y) / 6);
    Children[2 * i]->Arrange({x, y, name, row}, canvas);
    Children[2 * i + 1]->Arrange({x + name, y, width - name, row}, canvas);
  }
}

void ColorPicker::Draw(Canvas& canvas) {
  Follow();
  const Theme& theme = GetTheme();
  if (IsPopup) DrawPopupGround(canvas, Rect, theme.Menu);
  const cRect square = Square(canvas), bar = HueBar(canvas);
  // White to the hue from the left, black over it from below.
  canvas.FillGradient(square, 0, 0xFFFFFFFF, HsvToRgb({m_Hsv.H, 1, 1}), true);
  canvas.FillGradient(square, 0, 0x00000000, 0xFF000000);
  for (int i = 0; i < 6; i++) {
    const float from = std::floor(bar.H * float(i) / 6), to = std::floor(bar.H * float(i + 1) / 6);
    canvas.FillGradient({bar.X, bar.Y + from, bar.W, to - from}, 0, HsvToRgb({float(i) / 6, 1, 1}),
                        HsvToRgb({float(i + 1) / 6, 1, 1}));
  }
  const comms::cVec2 at{square.X + m_Hsv.S * square.W, square.Y + (1 - m_Hsv.V) * square.H};
  canvas.Circle(at, canvas.Px(6), 0, canvas.Px(3), 0xC0000000);
  canvas.Circle(at, canvas.Px(5), 0xFF000000u | (GetColor() & 0xFFFFFF), canvas.Px(1.5f), 0xFFFFFFFF);
  const float y = std::round(bar.Y + m_Hsv.H * bar.H), half = canvas.Px(3), out = canvas.Px(2);
  canvas.FillRoundRect({bar.X - out, y - half, bar.W + 2 * out, 2 * half}, canvas.Px(2), 0x60000000, canvas.Px(1.5f), 0xFFFFFFFF);
  for (const bool old : {false, true})
    canvas.FillRect(Swatch(canvas, old), 0xFF000000u | ((old ? m_Old : GetColor()) & 0xFFFFFF));
  const cRect swatch = Swatch(canvas, false);
  canvas.FillRoundRect({swatch.X, swatch.Y, 2 * swatch.W, swatch.H}, 0, 0, canvas.Px(1), theme.FieldBorder);
}

void ColorPicker::DragTo(const InputEvent& event, bool done) {
  Canvas& canvas = Manager()->GetCanvas();
  if (m_Part == Part::Square) {
    const cRect square = Square(canvas);
    m_Hsv.S = std::clamp((event.X - square.X) / square.W, 0.0f, 1.0f);
    m_Hsv.V = 1 - std::clamp((event.Y - square.Y) / square.H, 0.0f, 1.0f);
  } else {
    const cRect bar = HueBar(canvas);
    m_Hsv.H = std::clamp((event.Y - bar.Y) / bar.H, 0.0f, 0.9999f);
  }
  SetHsv(&event, done);
}

bool ColorPicker::OnMouse(const InputEvent& event) {
  cWidgets* manager = Manager();
  if (!manager) return false;
  Canvas& canvas = manager->GetCanvas();
  if (event.Kind == InputKind::ButtonDown && event.Button == MouseButton::Left) {
    Follow();
    m_Before = GetColor();
    m_Part = Square(canvas).Contains(event.X, event.Y)         ? Part::Square
             : HueBar(canvas).Contains(event.X, event.Y)       ? Part::Hue
             : Swatch(canvas, true).Contains(event.X, event.Y) ? Part::Old
                                                               : Part::None;
    if (m_Part == Part::Old)
      SetColor(m_Old, &event, true);
    else if (m_Part != Part::None)
      DragTo(event, false);
    return IsPopup || m_Part != Part::None;
  }
  const bool drags = m_Part == Part::Square || m_Part == Part::Hue;
  if (event.Kind == InputKind::PointerMove && drags && IsCaptured()) DragTo(event, false);
  if (event.Kind == InputKind::ButtonUp && event.Button == MouseButton::Left) {
    if (drags) DragTo(event, true);
    m_Part = Part::None;
  }
  return IsPopup || IsCaptured();
}

bool ColorPicker::UndoDrag() {
  const Part part = std::exchange(m_Part, Part::None);
  if (part != Part::Square && part != Part::Hue) return false;
  SetColor(m_Before, nullptr, true);
  return true;
}

ColorPicker* ColorPicker::Open(BaseWidget& source, const ValueBinding& value) {
  cWidgets* manager = source.Manager();
  if (!manager) return nullptr;
  auto* picker = new ColorPicker(value);
  picker->IsPopup = true;
  picker->Anchor = source.Rect;
  picker->Opener = &source;
  manager->OpenPopup(picker);
  return picker;
}

void ColorSwatch::Draw(Canvas& canvas) {
  const Theme& theme = GetTheme();
  const float radius = canvas.Px(Measures::Radius);
  const uint32_t color = 0xFF000000u | (GetBoundColor(Value) & 0xFFFFFF);
  const uint32_t border = IsEnabled() && IsHot() ? theme.TextDim : theme.FieldBorder;
  canvas.FillRoundRect(Rect, radius, IsEnabled() ? color : MixColor(color, theme.Panel, 0.6f), canvas.Px(1), border);
  DrawFocusRing(canvas, *this);
}

bool ColorSwatch::OnMouse(const InputEvent& event) {
  if (event.Kind == InputKind::ButtonDown) return event.Button == MouseButton::Left;
  if (event.Kind == InputKind::ButtonUp && IsCaptured() && Rect.Contains(event.X, event.Y)) ColorPicker::Open(*this, Value);
  return IsCaptured();
}

bool ColorSwatch::OnKey(const InputEvent& event) {
  if (event.Kind != InputKind::KeyDown || (event.Key != KeyEnter && event.Key != KeySpace)) return false;
  ColorPicker::Open(*this, Value);
  return true;
}
