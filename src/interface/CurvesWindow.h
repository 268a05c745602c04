#pragma once
#include <vector>

#include "comms/One2DCurve.h"
#include "interface/BaseWidget.h"

/// Editor of a curve: a press on the curve adds a point and drags it, a double click, Delete or dragging it out takes it away;
/// the ends stay at 0 and 1. Shift drags finely. By keys: Left and Right choose a point, Up and Down, and Left and Right with
/// Ctrl, move it, with Shift finely; Insert adds one behind it, Delete takes it away.
class CurvesWindow : public BaseWidget {
  REFLECTED(CurvesWindow, BaseWidget)
 public:
  CurvesWindow() = default;
  explicit CurvesWindow(comms::One2DCurve* curve) : Curve(curve) {}
  void Draw(Canvas& canvas) override;
  bool OnMouse(const InputEvent& event) override;
  bool OnKey(const InputEvent& event) override;
  bool UndoDrag() override;
  bool TakesFocus() const override { return true; }
  void OnFocus(bool gained) override;
  float HeightFor(float width, Canvas& canvas) const override;
  bool StandsBelowLabel() const override { return true; }
  MouseCursor GetCursor(float x, float y) const override;

  comms::One2DCurve* Curve = nullptr;  ///< outlives the widget

 private:
  cRect Plot() const;
  comms::cVec2 ToScreen(float x, float y) const;
  int PointAt(float x, float y) const;
  bool Remove(int index, const InputEvent& event);
  void Insert(const InputEvent& event);
  void Move(float dx, float dy, const InputEvent& event);
  int m_Point = -1;  // chosen
  bool m_Dragging = false;
  std::vector<comms::cVec2> m_Before;  // the points as the drag found them
  float m_LastX = 0, m_LastY = 0, m_X = 0, m_Y = 0;
};
