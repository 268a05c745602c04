#pragma once
// The control that shows how the camera stands and moves it: a ball with the ends of the world's axes, and buttons below it.
//
// It holds no camera: how that stands is asked for whenever it is drawn or pressed, and what a person wants of it is told.
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "comms/Vec.h"
#include "interface/BaseWidget.h"
#include "shell/core/NaviSystem.h"

class Button;

/// The axes of a camera in the world, each of length 1.
struct ViewAxes {
  comms::cVec3 Right{1, 0, 0}, Up{0, 1, 0};
  comms::cVec3 Toward{0, 0, 1};  ///< from the scene to the viewer
};

/// The camera of a NaviControl. What is not set stays as here: a camera that looks from the front and can't be moved.
struct NaviLink {
  std::function<ViewAxes()> GetAxes = [] { return ViewAxes(); };
  std::function<void(StandardView)> Look = [](StandardView) {};
  /// What the hint at an end says; empty for none.
  std::function<std::string(StandardView)> GetViewName = [](StandardView) { return std::string(); };
  std::function<void()> BeginOrbit = [] {};
  /// Radians since BeginOrbit, by which the front of the ball goes right and down; none brings the first view back.
  std::function<void(comms::cVec2 turn)> Orbit = [](comms::cVec2) {};
  std::function<void()> EndOrbit = [] {};
};

/// How an end of an axis is drawn.
struct AxisEndLook {
  float Radius = 0;  ///< at scale 1
  uint32_t Fill = 0, Border = 0;
  uint32_t Letter = 0;  ///< 0: it has none
};
/// `depth` is -1 farthest, 1 nearest. Far ends sink into the ball and have no letter, unless `marked`: under the pointer, or
/// chosen by keys. A letter stands at least 4.5 to 1 against Fill.
AxisEndLook GetAxisEndLook(StandardView end, float depth, bool marked);

/// The ball. Each end of an axis stands for the view from there; pressed while it faces the viewer, it asks for the view from the
/// other side. A drag turns the view by as much as the ball. By keyboard, arrows choose an end, Enter and the space bar press it.
class NaviBall : public BaseWidget {
  REFLECTED(NaviBall, BaseWidget)
 public:
  NaviBall() = default;
  explicit NaviBall(NaviLink link) : m_Link(std::move(link)) {}
  ~NaviBall() override { EndDrag(); }
  void Draw(Canvas& canvas) override;
  bool OnMouse(const InputEvent& event) override;
  bool OnKey(const InputEvent& event) override;
  bool UndoDrag() override;
  bool TakesFocus() const override { return true; }
  bool TakesFocusByMouse() const override { return false; }
  void OnFocus(bool gained) override;
  void Arrange(const cRect& rect, Canvas& canvas) override;
  MouseCursor GetCursor(float x, float y) const override;
  std::string GetHintText(float x, float y) const override;

  /// Where an end is drawn, in window pixels, and how near it is: -1 .. 1.
  comms::cVec2 EndPlace(StandardView end) const;
  float EndDepth(StandardView end) const;
  /// The nearest end under a pixel.
  std::optional<StandardView> FindEnd(float x, float y) const;
  /// What the arrow keys have chosen; none before it first had the focus.
  std::optional<StandardView> Chosen() const { return m_Chosen; }

 private:
  comms::cVec2 Center() const { return {Rect.X + Rect.W / 2, Rect.Y + Rect.H / 2}; }
  float Radius() const { return Rect.W / 2; }
  bool IsOnBall(float x, float y) const;
  bool IsMarked(StandardView end) const;
  void DrawGround(Canvas& canvas) const;
  void DrawEnd(Canvas& canvas, StandardView end) const;
  void Press(StandardView end);
  void Choose(int stepX, int stepY);
  void DragTo(float x, float y);
  void EndDrag();

  NaviLink m_Link;
  float m_Scale = 1;
  std::optional<StandardView> m_Chosen, m_PressedEnd;
  bool m_Pressed = false, m_Orbiting = false;
  comms::cVec2 m_PressPlace;
};

/// The ball in the middle, and a row of buttons below it.
class NaviControl : public BaseWidget {
  REFLECTED(NaviControl, BaseWidget)
 public:
  NaviControl() : NaviControl(NaviLink()) {}
  explicit NaviControl(NaviLink link);
  /// Appends a button, which is shown by its icon alone and owned from now on; returns it.
  Button* AddButton(Button* button);
  NaviBall& Ball() const { return *m_Ball; }
  void Arrange(const cRect& rect, Canvas& canvas) override;
  float HeightFor(float width, Canvas& canvas) const override;
  float NarrowestFor(Canvas& canvas) const override;

 private:
  NaviBall* m_Ball;
};
