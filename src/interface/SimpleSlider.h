#pragma once
#include "ClassEngine/Str.h"
#include "interface/BaseWidget.h"
#include "interface/ValueBinding.h"

class TextEdit;

/// The number as it is shown: as many decimals as the range calls for, no zeros behind.
std::string PrintSliderNumber(double value, double range, bool whole);
/// Reads a number with an optional unit behind it: "12", "1.5 mm", "50%". False where it is none.
bool ReadSliderNumber(std::string_view text, std::string_view unit, double& value);

/// A bar that shows a number and is dragged anywhere on it. Shift drags finely, Ctrl in steps; Ctrl and a click resets; a double
/// click, or typing while the ring is around it, opens a field; the wheel works with Alt, so that panels scroll under the
/// pointer.
class SimpleSlider : public BaseWidget {
  REFLECTED(SimpleSlider, BaseWidget)
 public:
  SimpleSlider() = default;
  /// The range is that of `value.Extra` where it has one.
  SimpleSlider(std::string_view label, const ValueBinding& value);
  void Draw(Canvas& canvas) override;
  bool OnMouse(const InputEvent& event) override;
  bool OnKey(const InputEvent& event) override;
  bool UndoDrag() override;
  bool TakesFocus() const override { return !ReadOnly; }
  bool TakesFocusByMouse() const override { return false; }
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float NarrowestFor(Canvas& canvas) const override;
  MouseCursor GetCursor(float x, float y) const override;
  std::string GetText() const override;
  /// Writes a number from outside the bar, held to the range.
  void SetNumber(double value, const InputEvent* event);
  void ResetToDefault(const InputEvent* event);
  void OpenEntry(std::string_view typed = {});

  ValueBinding Value;
  SliderRange Range;
  _str Label;        ///< language key
  std::string Unit;  ///< shown behind the number
  bool ReadOnly = false;

 private:
  bool Write(double value);
  double ToPart(double value) const;  // 0 .. 1 of the bar
  std::string Print(double value) const;
  double Step() const;  // of Ctrl and the arrow keys: a twentieth of the range
  void DragTo(const InputEvent& event);
  void CloseEntry();
  void OpenMenu(const InputEvent& event);
  TextEdit* m_Entry = nullptr;
  bool m_Dragging = false, m_Moved = false;
  float m_PressX = 0, m_LastX = 0;
  double m_Part = 0, m_Before = 0;
};
