#pragma once
#include "interface/BaseWidget.h"
#include "interface/ValueBinding.h"

class TextEdit;

/// A number as a field with arrows. Up and Down and the arrows change it by Step, with Shift by a tenth and with Ctrl by ten of
/// it; the wheel with Alt. Dragging up or down on the arrows runs through the numbers.
class NumberField : public BaseWidget {
  REFLECTED(NumberField, BaseWidget)
 public:
  NumberField();
  explicit NumberField(const ValueBinding& value);
  void Draw(Canvas& canvas) override;
  void DrawOver(Canvas& canvas) override;
  bool OnMouse(const InputEvent& event) override;
  bool OnKey(const InputEvent& event) override;
  bool UndoDrag() override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float NarrowestFor(Canvas& canvas) const override;
  MouseCursor GetCursor(float x, float y) const override;
  std::string GetText() const override;

  ValueBinding Value;
  double MinValue = -1e30, MaxValue = 1e30, Step = 1;
  std::string Unit;
  bool ReadOnly = false;

 private:
  cRect Arrows(Canvas& canvas) const;
  void Change(double value, const InputEvent& event, bool done);
  double StepOf(const InputEvent& event) const;
  TextEdit* m_Edit = nullptr;
  float m_PressY = 0;
  double m_Start = 0;
  bool m_Dragging = false, m_Moved = false, m_Up = false;
};
