#pragma once
#include "interface/BaseWidget.h"
#include "interface/ColorMath.h"
#include "interface/ValueBinding.h"

/// Edits a colour: square of saturation and value, bar of hues, fields of RGB, HSV and hexadecimal digits, the old colour beside
/// the new one; a click on the old one takes it back. Also serves as a popup.
class ColorPicker : public BaseWidget {
  REFLECTED(ColorPicker, BaseWidget)
 public:
  ColorPicker();
  explicit ColorPicker(const ValueBinding& value);
  void Draw(Canvas& canvas) override;
  bool OnMouse(const InputEvent& event) override;
  bool UndoDrag() override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  float WidthFor(Canvas& canvas) const override;
  cRect PlaceIn(const cRect& screen, Canvas& canvas) override;
  uint32_t GetColor() const;
  /// 0xAARRGGBB.
  void SetColor(uint32_t color, const InputEvent* event, bool done);
  const HsvColor& Hsv() const { return m_Hsv; }
  /// Opens one as a popup beside `source`, whose callback gets the changes.
  static ColorPicker* Open(BaseWidget& source, const ValueBinding& value);

  ValueBinding Value;
  cRect Anchor;
  bool IsPopup = false;

 private:
  enum class Part : uint8_t { None, Square, Hue, Old };
  void MakeFields();
  void Follow();
  void SetHsv(const InputEvent* event, bool done);
  void DragTo(const InputEvent& event, bool done);
  bool OnField(BaseWidget* widget, const WidgetEvent& event);
  bool IsLow(Canvas& canvas) const;  // it has less height than it wants
  float Gap(Canvas& canvas) const;
  cRect Square(Canvas& canvas) const;
  cRect HueBar(Canvas& canvas) const;
  cRect Swatch(Canvas& canvas, bool old) const;
  HsvColor m_Hsv;
  uint32_t m_Old = 0;      // the colour at the opening
  uint32_t m_Before = 0;   // ... and at the start of the drag
  float m_Fields[6] = {};  // R G B 0 .. 255, H 0 .. 360, S V 0 .. 100
  Part m_Part = Part::None;
  bool m_OldKnown = false;
};

/// A colour in a row; a click opens the picker.
class ColorSwatch : public BaseWidget {
  REFLECTED(ColorSwatch, BaseWidget)
 public:
  ColorSwatch() = default;
  explicit ColorSwatch(const ValueBinding& value) : Value(value) {}
  void Draw(Canvas& canvas) override;
  bool OnMouse(const InputEvent& event) override;
  bool OnKey(const InputEvent& event) override;
  bool TakesFocus() const override { return true; }
  bool TakesFocusByMouse() const override { return false; }

  ValueBinding Value;
};

/// The colour of a binding of a _color; 0xFF000000 where there is none.
uint32_t GetBoundColor(const ValueBinding& value);
bool SetBoundColor(const ValueBinding& value, uint32_t color);
