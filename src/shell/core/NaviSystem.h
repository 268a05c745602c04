#pragma once
// The camera, and how mouse, pen and wheel move it. No inertia: the view stands when the hand stands.
//
// Every drag is computed from the camera at its press and the whole way since, so nothing adds up: a point that was grabbed stays
// under the pointer, and going back to where the press was brings the first view back.
#include <functional>
#include <string>
#include <vector>

#include "comms/Vec.h"
#include "shell/core/InputEvent.h"

/// An axis-aligned box of the scene. Empty where a minimum is above its maximum.
struct SceneBox {
  comms::cVec3 Min{1, 1, 1}, Max{-1, -1, -1};
  bool Empty() const { return !(Min.x <= Max.x && Min.y <= Max.y && Min.z <= Max.z); }
  comms::cVec3 Center() const { return (Min + Max) * 0.5f; }
  float Diagonal() const { return Empty() ? 0 : comms::Length(Max - Min); }
  bool Contains(const comms::cVec3& p) const {
    return p.x >= Min.x && p.y >= Min.y && p.z >= Min.z && p.x <= Max.x && p.y <= Max.y && p.z <= Max.z;
  }
  friend bool operator==(const SceneBox&, const SceneBox&) = default;
};

struct ViewRay {
  comms::cVec3 Origin, Direction;  ///< the direction has length 1
};

/// Where the viewer is. Right-handed, y up.
struct Camera {
  comms::cVec3 Position{0, 0, 5};
  comms::cVec3 Target;       ///< pivot; the line of sight goes through it
  comms::cVec3 Up{0, 1, 0};  ///< length 1, at a right angle to the line of sight
  bool Orthographic = false;
  /// Full vertical angle, 1 .. 150. An orthographic view shows at all depths what this one shows at Target.
  float FovDegrees = 40;
  float Near = 0.01f, Far = 100;  ///< along the line of sight; Near is below 0 where an orthographic view sees behind Position

  float Distance() const { return comms::Length(Target - Position); }
  comms::cVec3 Forward() const;
  comms::cVec3 Right() const;
  /// Height of what is seen at `depth` in front of Position, in scene units.
  float ViewHeight(float depth) const;
  comms::cMat4 ViewMatrix() const;
  comms::cMat4 ProjectionMatrix(float aspect) const;
  friend bool operator==(const Camera&, const Camera&) = default;
};

enum class NaviAction : uint8_t { None, Orbit, Pan, Zoom, Roll };

/// A button with exactly these modifiers moves the camera.
struct NaviBinding {
  MouseButton Button = MouseButton::None;
  uint8_t Modifiers = 0;
  NaviAction Action = NaviAction::None;
  bool EmptySpaceOnly = false;  ///< only where the press hits nothing
};
struct NaviPreset {
  const char* Name;
  std::vector<NaviBinding> Bindings;
};
/// "Default", "Alt + buttons", "Middle button", "Right button", "Pen".
const std::vector<NaviPreset>& GetNaviPresets();

enum class StandardView : uint8_t { Front, Back, Left, Right, Top, Bottom };
/// Line of sight and upward direction of a standard view, of length 1 and at a right angle.
struct ViewDirection {
  comms::cVec3 Forward, Up;
};
ViewDirection GetViewDirection(StandardView view);

/// What a person may set; AppOptions holds it.
struct NaviSettings {
  int Preset = 0;        ///< index into GetNaviPresets
  float OrbitSpeed = 1;  ///< 1: a drag over the shorter side of the view is half a turn
  float ZoomSpeed = 1;   ///< 1: a notch of the wheel is a fifth
  bool InvertWheel = false;
  bool Turntable = true;        ///< keeps the horizon level; else the view turns freely
  bool OrbitAroundPick = true;  ///< around the point under the pointer; else around the target
  bool ZoomToCursor = true;     ///< else to the target
  bool SmoothViews = true;      ///< standard views and framing take a quarter of a second
};

class NaviSystem {
 public:
  /// Freely settable; a transition that is going on overwrites it, see SetCamera.
  Camera View;
  NaviSettings Settings;
  /// The scene's point under a pixel of the window; false where there is none. Empty: nothing is ever hit.
  std::function<bool(float x, float y, comms::cVec3& point)> Pick;
  /// The box of the scene as it is now. Empty function: there is none.
  std::function<SceneBox()> Bounds;

  /// The work view within the window, in pixels; sizes below 1 count as 1.
  void SetViewport(float x, float y, float width, float height);
  float Width() const { return m_Width; }
  float Height() const { return m_Height; }
  float Aspect() const { return m_Width / m_Height; }
  /// Sets View at once and ends transition and drag.
  void SetCamera(const Camera& camera);

  // --- input -------------------------------------------------------------------------------------------------------------
  /// What the bindings of the preset make of this press; None when the camera doesn't want it. `emptySpace`: whether bindings
  /// that hold only where nothing is hit count. Changes nothing.
  NaviAction FindAction(const InputEvent& press, bool emptySpace) const;
  /// Whether presses over the scene are left to the tool.
  bool LeavesToTool(MouseButton button, uint8_t modifiers) const;
  /// A press. True: navigation takes it, and the moves and the release of that button with it.
  bool OnPress(const InputEvent& press, bool emptySpace = true);
  /// A press that nobody wanted: what it does beside the scene; else left orbits, middle pans, right zooms.
  bool BeginDefault(const InputEvent& press);
  /// True while a drag of the camera is going on.
  bool OnMove(const InputEvent& move);
  /// True: the release belongs to the navigation.
  bool OnRelease(const InputEvent& release);
  /// Zooms, unless a modifier is held. True: taken.
  bool OnWheel(const InputEvent& wheel);
  /// Ends the drag where it is, as when the window loses the keyboard.
  void EndDrag();
  NaviAction CurrentAction() const { return m_Drag.Action; }

  // --- views -------------------------------------------------------------------------------------------------------------
  /// Looks along an axis at what is looked at: the box that was framed last, until a pan, else the scene's. It keeps the size
  /// that it had before orbits, and is seen whole where it was. Close to a part of it, and without a box, the target and the
  /// distance stay.
  void SetStandardView(StandardView view);
  /// The same for any direction. Both have length 1 and stand at a right angle.
  void LookAlong(const comms::cVec3& forward, const comms::cVec3& up);
  /// Turns the picture about its middle, to the right (clockwise) by so many degrees.
  void RollBy(float degrees);
  /// Rolls the view until its horizon is level. Straight down or up: until the nearest axis of the ground points up.
  void LevelView();
  /// The size at the target stays.
  void ToggleOrthographic();
  /// Moves so that the whole box is seen, with a margin; the direction of sight stays. Does nothing for an empty box.
  void Frame(const SceneBox& box);
  /// Goes on with a transition. Once a frame.
  void Process(double timeSec);
  bool IsInTransition() const { return m_Transition.Running; }
  /// Sets Near and Far so that the box is seen whole and depth is finest in it. An empty box: by the distance of the target.
  void FitDepth(const SceneBox& box);

  // --- pixels and space --------------------------------------------------------------------------------------------------
  // Pixels are those of the window, from its upper left corner.
  ViewRay GetRay(float x, float y) const;
  /// False where the point isn't in front of a perspective camera. `depth` is along the line of sight.
  bool Project(const comms::cVec3& point, float& x, float& y, float* depth = nullptr) const;
  /// The point at `depth` along the line of sight that lies under the pixel.
  comms::cVec3 Unproject(float x, float y, float depth) const { return Unproject(View, x, y, depth); }

 private:
  struct Drag {
    NaviAction Action = NaviAction::None;
    MouseButton Button = MouseButton::None;
    float X = 0, Y = 0;
    Camera Start;
    comms::cVec3 Point;
    bool Picked = false;
  };
  struct Transition {
    bool Running = false, Started = false;
    Camera From, To;
    double StartSec = 0;
  };
  comms::cVec3 Unproject(const Camera& camera, float x, float y, float depth) const;
  const NaviBinding* FindBinding(MouseButton button, uint8_t modifiers) const;
  void BeginDrag(NaviAction action, const InputEvent& press);
  /// The point under the pixel, or the one at the target's depth there.
  bool FindPoint(float x, float y, comms::cVec3& point) const;
  void Orbit(float dx, float dy);
  void Pan(float x, float y);
  void ZoomAbout(const Camera& start, const comms::cVec3& point, double factor);
  void Roll(float dx);
  void MoveTo(const Camera& camera);
  void Jump(const Camera& camera);
  void GoTo(const Camera& camera);
  void RollTo(const comms::cVec3& up);
  /// Where a transition ends, and else where the view is: two quick presses are two steps.
  const Camera& Wanted() const { return m_Transition.Running ? m_Transition.To : View; }

  float m_X = 0, m_Y = 0, m_Width = 1, m_Height = 1;
  Drag m_Drag;
  uint8_t m_Claimed = 0;  // buttons whose release is awaited, by their number
  Transition m_Transition;
  SceneBox m_Framed;  // a part of the scene; empty: all of it counts
  Camera m_Unturned;  // before the orbits since anything else moved it
  bool m_Turned = false;
};
