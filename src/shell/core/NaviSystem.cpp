#include "shell/core/NaviSystem.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "comms/RenderState.h"

using comms::cMat4;
using comms::cVec3;

namespace {

constexpr double Pi = 3.14159265358979323846;
constexpr double TransitionSec = 0.25;
constexpr double MinDistance = 1e-7, MaxDistance = 1e9;
constexpr float MinNearShare = 1e-5f;  // of Far: what a depth buffer of 24 bits can still tell apart
constexpr double NearestShare = 2e-4;  // of the scene's diagonal, from its target: nearer there is less than a voxel to see
constexpr double FrameMargin = 1.1;
constexpr double MostShare = 2;  // what is larger than the view by this factor is seen in part only, as a person wants it

// Sums of a drag are made in double: a point grabbed at 1e6 units stays under the pointer as well as one at 1e-3.
struct Vec {
  double x = 0, y = 0, z = 0;
  Vec() = default;
  Vec(double vx, double vy, double vz) : x(vx), y(vy), z(vz) {}
  explicit Vec(const cVec3& v) : x(v.x), y(v.y), z(v.z) {}
  cVec3 Narrow() const { return {float(x), float(y), float(z)}; }
  friend Vec operator+(const Vec& a, const Vec& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
  friend Vec operator-(const Vec& a, const Vec& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
  friend Vec operator*(const Vec& a, double s) { return {a.x * s, a.y * s, a.z * s}; }
};
double Dot(const Vec& a, const Vec& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
Vec Cross(const Vec& a, const Vec& b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
Vec Unit(const Vec& a, const Vec& fallback) {
  const double length = std::sqrt(Dot(a, a));
  return length > 0 && std::isfinite(length) ? a * (1 / length) : fallback;
}
/// Rodrigues' formula; `axis` has length 1.
Vec Rotate(const Vec& v, const Vec& axis, double angle) {
  const double c = std::cos(angle), s = std::sin(angle);
  return v * c + Cross(axis, v) * s + axis * (Dot(axis, v) * (1 - c));
}

/// The camera's axes, at right angles to each other.
struct Axes {
  Vec Right, Up, Forward;
};
// An up that is parallel to the line of sight is replaced by one that is not.
Axes AxesOf(const Camera& camera) {
  const Vec forward = Unit(Vec(camera.Target) - Vec(camera.Position), {0, 0, -1});
  const Vec spare = std::abs(forward.y) < 0.9 ? Vec(0, 1, 0) : Vec(0, 0, -1);
  Vec across = Cross(forward, Vec(camera.Up));
  if (Dot(across, across) < 1e-12) across = Cross(forward, spare);
  const Vec right = Unit(across, {1, 0, 0});
  return {right, Cross(right, forward), forward};
}

double DistanceOf(const Camera& camera) {
  const Vec way = Vec(camera.Target) - Vec(camera.Position);
  return std::sqrt(Dot(way, way));
}
double HalfTangent(const Camera& camera) { return std::tan(double(camera.FovDegrees) * Pi / 360); }
double HalfHeightAt(const Camera& camera, double depth) {
  return HalfTangent(camera) * (camera.Orthographic ? DistanceOf(camera) : depth);
}
double DepthOf(const Camera& camera, const cVec3& point) {
  return Dot(Vec(point) - Vec(camera.Position), AxesOf(camera).Forward);
}

/// Looks along `forward` at the same target.
void Place(Camera& camera, const Vec& target, const Vec& forward, const Vec& up, double distance) {
  camera.Target = target.Narrow();
  camera.Position = (target - forward * distance).Narrow();
  camera.Up = up.Narrow();
}

bool IsSound(const Camera& camera) {
  return IsFinite(camera.Position) && IsFinite(camera.Target) && IsFinite(camera.Up) && DistanceOf(camera) > 0;
}

/// What a distance can be so that single precision still tells eye and target apart.
double LeastDistance(const Camera& camera) { return std::max(MinDistance, 2e-5 * double(comms::Length(camera.Target))); }

// A perspective view is turned and zoomed at the depth of what is worked on. An orthographic one takes its size from the
// distance, which therefore stays.
void PutTargetAtDepth(Camera& camera, double depth) {
  if (camera.Orthographic || depth < LeastDistance(camera) || depth > MaxDistance) return;
  camera.Target = (Vec(camera.Position) + AxesOf(camera).Forward * depth).Narrow();
}

// --- rotations between two cameras ------------------------------------------------------------------------------------------

struct Quaternion {
  double w = 1, x = 0, y = 0, z = 0;
};

/// Of the rotation that takes the world's axes to Right, Up, -Forward.
Quaternion ToQuaternion(const Axes& axes) {
  const std::array<Vec, 3> columns{axes.Right, axes.Up, axes.Forward * -1};
  const double m[3][3] = {{columns[0].x, columns[1].x, columns[2].x},
                          {columns[0].y, columns[1].y, columns[2].y},
                          {columns[0].z, columns[1].z, columns[2].z}};
  // Each square is at least 0; the largest gives its number, the others follow from it.
  const std::array<double, 4> squares{1 + m[0][0] + m[1][1] + m[2][2], 1 + m[0][0] - m[1][1] - m[2][2],
                                      1 - m[0][0] + m[1][1] - m[2][2], 1 - m[0][0] - m[1][1] + m[2][2]};
  const size_t largest = size_t(std::max_element(squares.begin(), squares.end()) - squares.begin());
  const double root = std::sqrt(squares[largest]), s = 0.5 / root;
  switch (largest) {
    case 0:
      return {root / 2, (m[2][1] - m[1][2]) * s, (m[0][2] - m[2][0]) * s, (m[1][0] - m[0][1]) * s};
    case 1:
      return {(m[2][1] - m[1][2]) * s, root / 2, (m[0][1] + m[1][0]) * s, (m[0][2] + m[2][0]) * s};
    case 2:
      return {(m[0][2] - m[2][0]) * s, (m[0][1] + m[1][0]) * s, root / 2, (m[1][2] + m[2][1]) * s};
    default:
      return {(m[1][0] - m[0][1]) * s, (m[0][2] + m[2][0]) * s, (m[1][2] + m[2][1]) * s, root / 2};
  }
}

Quaternion Slerp(const Quaternion& a, Quaternion b, double t) {
  double cosine = a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z;
  if (cosine < 0) b = {-b.w, -b.x, -b.y, -b.z}, cosine = -cosine;
  const double angle = std::acos(std::min(cosine, 1.0));
  const double u = angle < 1e-6 ? 1 - t : std::sin((1 - t) * angle) / std::sin(angle);
  const double v = angle < 1e-6 ? t : std::sin(t * angle) / std::sin(angle);
  return {a.w * u + b.w * v, a.x * u + b.x * v, a.y * u + b.y * v, a.z * u + b.z * v};
}

Vec Rotate(const Quaternion& q, const Vec& v) {
  const Vec axis{q.x, q.y, q.z};
  return v + Cross(axis, Cross(axis, v) + v * q.w) * 2;
}

Camera Interpolate(const Camera& from, const Camera& to, double t) {
  const Quaternion q = Slerp(ToQuaternion(AxesOf(from)), ToQuaternion(AxesOf(to)), t);
  const Vec target = Vec(from.Target) * (1 - t) + Vec(to.Target) * t;
  const double distance = std::exp(std::log(DistanceOf(from)) * (1 - t) + std::log(DistanceOf(to)) * t);
  Camera camera = to;
  Place(camera, target, Unit(Rotate(q, {0, 0, -1}), {0, 0, -1}), Unit(Rotate(q, {0, 1, 0}), {0, 1, 0}), distance);
  return camera;
}

/// The eight corners of a box along the camera's axes, seen from `origin`.
std::array<Vec, 8> CornersAlong(const SceneBox& box, const Axes& axes, const Vec& origin) {
  std::array<Vec, 8> corners;
  for (size_t i = 0; i < corners.size(); ++i) {
    const Vec corner = Vec(i & 1 ? box.Max.x : box.Min.x, i & 2 ? box.Max.y : box.Min.y, i & 4 ? box.Max.z : box.Min.z) - origin;
    corners[i] = {Dot(corner, axes.Right), Dot(corner, axes.Up), Dot(corner, axes.Forward)};
  }
  return corners;
}

/// How much of the view a box fills whose centre is `distance` before the camera, were it in the middle: 1 reaches an edge.
/// Infinite where the viewer is within it.
double ShareOfView(const SceneBox& box, const Camera& camera, double aspect, double distance) {
  double share = 0;
  for (const Vec& corner : CornersAlong(box, AxesOf(camera), Vec(box.Center()))) {
    const double depth = camera.Orthographic ? distance : distance + corner.z;
    if (!(depth > 0)) return HUGE_VAL;
    share = std::max(share, std::max(std::abs(corner.x) / aspect, std::abs(corner.y)) / (HalfTangent(camera) * depth));
  }
  return share;
}
/// The least distance from its centre at which it fills no more.
double DistanceForShare(const SceneBox& box, const Camera& camera, const Axes& axes, double aspect, double share) {
  double distance = 0;
  for (const Vec& corner : CornersAlong(box, axes, Vec(box.Center()))) {
    const double needed = std::max(std::abs(corner.x) / aspect, std::abs(corner.y)) / (HalfTangent(camera) * share);
    distance = std::max(distance, camera.Orthographic ? needed : needed - corner.z);
  }
  return distance;
}

}  // namespace

// --- camera --------------------------------------------------------------------------------------------------------------------

cVec3 Camera::Forward() const { return AxesOf(*this).Forward.Narrow(); }
cVec3 Camera::Right() const { return AxesOf(*this).Right.Narrow(); }
float Camera::ViewHeight(float depth) const { return float(2 * HalfHeightAt(*this, depth)); }

// As comms::LookAt, in double: far from the origin, single precision would let the view tremble.
cMat4 Camera::ViewMatrix() const {
  const Axes axes = AxesOf(*this);
  const std::array<Vec, 3> columns{axes.Right, axes.Up, axes.Forward * -1};
  cMat4 view;
  for (size_t i = 0; i < columns.size(); ++i) {
    view.m[0][i] = float(columns[i].x);
    view.m[1][i] = float(columns[i].y);
    view.m[2][i] = float(columns[i].z);
    view.m[3][i] = float(-Dot(columns[i], Vec(Position)));
  }
  return view;
}

cMat4 Camera::ProjectionMatrix(float aspect) const {
  if (!Orthographic) return comms::Perspective(FovDegrees, aspect, Near, Far);
  const float height = ViewHeight(0);
  return comms::Orthographic(height * aspect, height, Near, Far);
}

// --- bindings ------------------------------------------------------------------------------------------------------------------

const std::vector<NaviPreset>& GetNaviPresets() {
  using enum NaviAction;
  constexpr MouseButton left = MouseButton::Left, middle = MouseButton::Middle, right = MouseButton::Right;
  constexpr NaviBinding orbitOnEmpty{left, 0, Orbit, true};
  static const std::vector<NaviPreset> presets{
      // The right button is the brush's over the scene: radius, depth and smoothness.
      {"Default",
       {{left, ModAlt, Orbit},
        {middle, ModShift, Orbit},
        {right, 0, Orbit, true},
        {middle, 0, Pan},
        {middle, ModAlt, Pan},
        {right, ModShift, Pan, true},
        {right, ModControl, Zoom},
        {right, ModAlt, Zoom},
        {left, ModAlt | ModShift, Roll},
        orbitOnEmpty}},
      {"Alt + buttons",
       {{left, ModAlt, Orbit},
        {middle, ModAlt, Pan},
        {left, ModAlt | ModControl, Pan},
        {right, ModAlt, Zoom},
        {left, ModAlt | ModShift, Roll},
        orbitOnEmpty}},
      {"Middle button",
       {{middle, 0, Orbit}, {middle, ModShift, Pan}, {middle, ModControl, Zoom}, {middle, ModAlt, Roll}, orbitOnEmpty}},
      {"Right button",
       {{right, 0, Orbit},
        {right, ModAlt, Pan},
        {right, ModControl, Zoom},
        {right, ModShift, Roll},
        {middle, 0, Pan},
        {left, ModAlt, Pan, true},
        orbitOnEmpty}},
      // A pen has one button that is reached without looking, and often none.
      {"Pen",
       {{left, ModAlt, Orbit},
        {left, ModAlt | ModShift, Pan},
        {left, ModAlt | ModControl, Zoom},
        {right, 0, Orbit, true},
        {right, ModShift, Pan, true},
        {right, ModControl, Zoom},
        {right, ModAlt, Roll},
        {left, ModShift, Pan, true},
        {left, ModControl, Zoom, true},
        orbitOnEmpty}},
  };
  return presets;
}

const NaviBinding* NaviSystem::FindBinding(MouseButton button, uint8_t modifiers) const {
  const std::vector<NaviPreset>& presets = GetNaviPresets();
  const size_t preset = size_t(std::clamp(Settings.Preset, 0, int(presets.size()) - 1));
  for (const NaviBinding& binding : presets[preset].Bindings)
    if (binding.Button == button && binding.Modifiers == (modifiers & uint8_t(~ModSuper))) return &binding;
  return nullptr;
}

NaviAction NaviSystem::FindAction(const InputEvent& press, bool emptySpace) const {
  const NaviBinding* binding = FindBinding(press.Button, press.Modifiers);
  if (!binding) return NaviAction::None;
  cVec3 point;
  const bool holds = !binding->EmptySpaceOnly || (emptySpace && !(Pick && Pick(press.X, press.Y, point)));
  return holds ? binding->Action : NaviAction::None;
}

bool NaviSystem::LeavesToTool(MouseButton button, uint8_t modifiers) const {
  const NaviBinding* binding = FindBinding(button, modifiers);
  return !binding || binding->EmptySpaceOnly;
}

bool NaviSystem::OnPress(const InputEvent& press, bool emptySpace) {
  // A further button during a drag belongs to the navigation and does nothing.
  const NaviAction action = m_Drag.Action == NaviAction::None ? FindAction(press, emptySpace) : NaviAction::None;
  if (action != NaviAction::None)
    BeginDrag(action, press);
  else if (m_Drag.Action == NaviAction::None)
    return false;
  m_Claimed |= uint8_t(1 << int(press.Button));
  return true;
}

bool NaviSystem::BeginDefault(const InputEvent& press) {
  if (press.Button == MouseButton::None || m_Drag.Action != NaviAction::None) return false;
  const NaviBinding* binding = FindBinding(press.Button, press.Modifiers);
  BeginDrag(binding                              ? binding->Action
            : press.Button == MouseButton::Left  ? NaviAction::Orbit
            : press.Button == MouseButton::Right ? NaviAction::Zoom
                                                 : NaviAction::Pan,
            press);
  m_Claimed |= uint8_t(1 << int(press.Button));
  return true;
}

bool NaviSystem::OnRelease(const InputEvent& release) {
  const uint8_t bit = uint8_t(1 << int(release.Button));
  if (!(m_Claimed & bit)) return false;
  m_Claimed &= uint8_t(~bit);
  if (m_Drag.Button == release.Button) m_Drag.Action = NaviAction::None;
  return true;
}

void NaviSystem::EndDrag() {
  m_Drag.Action = NaviAction::None;
  m_Claimed = 0;
}

// --- drags ---------------------------------------------------------------------------------------------------------------------

void NaviSystem::SetViewport(float x, float y, float width, float height) {
  m_X = x, m_Y = y;
  m_Width = std::max(width, 1.0f), m_Height = std::max(height, 1.0f);
}

void NaviSystem::SetCamera(const Camera& camera) {
  m_Framed = {};
  Jump(camera);
}

void NaviSystem::Jump(const Camera& camera) {
  m_Transition.Running = m_Turned = false;
  EndDrag();
  if (IsSound(camera)) View = camera;
}

bool NaviSystem::FindPoint(float x, float y, cVec3& point) const {
  if (Pick && Pick(x, y, point) && IsFinite(point) && (View.Orthographic || DepthOf(View, point) > 0)) return true;
  point = Unproject(View, x, y, float(DistanceOf(View)));
  return false;
}

void NaviSystem::BeginDrag(NaviAction action, const InputEvent& press) {
  m_Transition.Running = false;
  if (action == NaviAction::Orbit && !std::exchange(m_Turned, true)) m_Unturned = View;
  if (action == NaviAction::Zoom || action == NaviAction::Pan) m_Turned = false;
  m_Drag = {action, press.Button, press.X, press.Y, View, {}, false};
  m_Drag.Picked = FindPoint(press.X, press.Y, m_Drag.Point);
  if (action == NaviAction::Orbit && !(m_Drag.Picked && Settings.OrbitAroundPick))
    m_Drag.Point = View.Target, m_Drag.Picked = false;
  if (action == NaviAction::Zoom && !Settings.ZoomToCursor) m_Drag.Point = View.Target, m_Drag.Picked = false;
  const bool movesAboutPoint = action == NaviAction::Orbit || action == NaviAction::Zoom;
  if (m_Drag.Picked && movesAboutPoint) PutTargetAtDepth(m_Drag.Start, DepthOf(View, m_Drag.Point));
}

bool NaviSystem::OnMove(const InputEvent& move) {
  if (m_Drag.Action == NaviAction::None) return false;
  const float dx = move.X - m_Drag.X, dy = move.Y - m_Drag.Y;
  switch (m_Drag.Action) {
    case NaviAction::Orbit:
      Orbit(dx, dy);
      break;
    case NaviAction::Pan:
      m_Framed = {};
      Pan(move.X, move.Y);
      break;
    case NaviAction::Zoom:  // right and up come nearer; the height of the view is a factor of 20
      ZoomAbout(m_Drag.Start, m_Drag.Point, std::exp(-3.0 * double(dx - dy) / double(m_Height) * double(Settings.ZoomSpeed)));
      break;
    case NaviAction::Roll:
      Roll(dx);
      break;
    case NaviAction::None:
      break;
  }
  return true;
}

// The view doesn't tip over the poles while its horizon is kept level.
static double ClampPitch(const Axes& axes, double pitch) {
  const bool level = std::abs(axes.Right.y) < 1e-3 && axes.Up.y > -1e-6;
  if (!level) return pitch;
  const double elevation = std::atan2(-axes.Forward.y, std::max(axes.Up.y, 0.0));
  return elevation - std::clamp(elevation - pitch, -Pi / 2, Pi / 2);
}

void NaviSystem::Orbit(float dx, float dy) {
  const double speed = Pi * double(Settings.OrbitSpeed) / double(std::min(m_Width, m_Height));
  const Camera& start = m_Drag.Start;
  const Axes axes = AxesOf(start);
  const double yaw = -double(dx) * speed, pitch = -double(dy) * speed;
  const double angle = std::hypot(yaw, pitch);
  const double yawSign = axes.Up.y < -1e-6 ? -1 : 1;  // upside down, the pointer still leads what is nearest
  const double level = ClampPitch(axes, pitch);
  const auto turn = [&](const Vec& v) {
    if (Settings.Turntable) return Rotate(Rotate(v, axes.Right, level), {0, 1, 0}, yaw * yawSign);
    return angle > 0 ? Rotate(v, Unit(axes.Up * yaw + axes.Right * pitch, axes.Up), angle) : v;
  };
  const Vec pivot(m_Drag.Point);
  const Vec forward = turn(axes.Forward);
  Camera camera = start;
  camera.Position = (pivot + turn(Vec(start.Position) - pivot)).Narrow();
  camera.Target = (pivot + turn(Vec(start.Position) - pivot) + forward * DistanceOf(start)).Narrow();
  camera.Up = turn(axes.Up).Narrow();
  MoveTo(camera);
}

void NaviSystem::Pan(float x, float y) {
  const double depth = DepthOf(m_Drag.Start, m_Drag.Point);
  const Vec shift = Vec(m_Drag.Point) - Vec(Unproject(m_Drag.Start, x, y, float(depth)));
  Camera camera = m_Drag.Start;
  camera.Position = (Vec(camera.Position) + shift).Narrow();
  camera.Target = (Vec(camera.Target) + shift).Narrow();
  MoveTo(camera);
}

// Scaling the viewer about a point leaves the point where it is on the screen, with and without perspective.
void NaviSystem::ZoomAbout(const Camera& start, const cVec3& point, double factor) {
  const double distance = DistanceOf(start);
  const SceneBox scene = Bounds ? Bounds() : SceneBox();
  const double nearest = std::max(LeastDistance(start), scene.Empty() ? 0 : NearestShare * double(scene.Diagonal()));
  const double least = std::min(nearest, distance), most = std::max(MaxDistance, distance);
  factor = std::clamp(distance * factor, least, most) / distance;
  const Vec fixed(point);
  Camera camera = start;
  camera.Position = (fixed + (Vec(start.Position) - fixed) * factor).Narrow();
  camera.Target = (fixed + (Vec(start.Target) - fixed) * factor).Narrow();
  MoveTo(camera);
}

void NaviSystem::Roll(float dx) {
  const Axes axes = AxesOf(m_Drag.Start);
  Camera camera = m_Drag.Start;
  camera.Up = Rotate(axes.Up, axes.Forward, -Pi * double(dx) / double(m_Width)).Narrow();
  MoveTo(camera);
}

void NaviSystem::MoveTo(const Camera& camera) {
  if (!IsSound(camera)) return;
  const float near = View.Near, far = View.Far;
  View = camera;
  View.Near = near, View.Far = far;
}

bool NaviSystem::OnWheel(const InputEvent& wheel) {
  if (wheel.WheelY == 0 || wheel.Modifiers != 0) return false;
  if (m_Drag.Action != NaviAction::None) return true;
  m_Transition.Running = m_Turned = false;
  Camera start = View;
  cVec3 point = View.Target;
  if (Settings.ZoomToCursor && FindPoint(wheel.X, wheel.Y, point)) PutTargetAtDepth(start, DepthOf(View, point));
  const double notches = double(Settings.InvertWheel ? -wheel.WheelY : wheel.WheelY);
  ZoomAbout(start, point, std::pow(0.8, notches * double(Settings.ZoomSpeed)));
  return true;
}

// --- views ---------------------------------------------------------------------------------------------------------------------

void NaviSystem::GoTo(const Camera& camera) {
  EndDrag();
  if (!IsSound(camera)) return;
  if (!Settings.SmoothViews) return Jump(camera);
  m_Turned = false;
  m_Transition = {true, false, View, camera, 0};
}

ViewDirection GetViewDirection(StandardView view) {
  static constexpr std::array<ViewDirection, 6> directions{{
      {{0, 0, -1}, {0, 1, 0}},
      {{0, 0, 1}, {0, 1, 0}},
      {{1, 0, 0}, {0, 1, 0}},
      {{-1, 0, 0}, {0, 1, 0}},
      {{0, -1, 0}, {0, 0, -1}},
      {{0, 1, 0}, {0, 0, 1}},
  }};
  return directions[size_t(view)];
}

void NaviSystem::SetStandardView(StandardView view) {
  const ViewDirection direction = GetViewDirection(view);
  LookAlong(direction.Forward, direction.Up);
}

void NaviSystem::LookAlong(const cVec3& forward, const cVec3& up) {
  Camera camera = Wanted(), seen = camera;
  if (m_Turned) seen.Position = m_Unturned.Position, seen.Target = m_Unturned.Target, seen.Up = m_Unturned.Up;
  const Axes axes{Cross(Vec(forward), Vec(up)), Vec(up), Vec(forward)};
  const double aspect = double(Aspect());
  const auto look = [&](const Vec& target, double distance) {
    Place(camera, target, axes.Forward, axes.Up, std::clamp(distance, LeastDistance(camera), std::max(MaxDistance, distance)));
    GoTo(camera);
  };
  const SceneBox scene = Bounds ? Bounds() : SceneBox();
  for (const SceneBox& box : {m_Framed, scene}) {
    if (box.Empty() || !scene.Contains(box.Center())) continue;
    const double depth = seen.Orthographic ? DistanceOf(seen) : DepthOf(seen, box.Center());
    const double share = ShareOfView(box, seen, aspect, depth);
    // A long thing that was seen from its end is seen whole from its side too.
    if (share <= MostShare)
      return look(Vec(box.Center()),
                  std::max(depth, DistanceForShare(box, camera, axes, aspect, std::max(share, 1 / FrameMargin))));
    if (box.Contains(camera.Target)) return look(Vec(camera.Target), DistanceOf(camera));
  }
  if (scene.Empty()) return look(Vec(camera.Target), DistanceOf(camera));
  look(Vec(scene.Center()), DistanceForShare(scene, camera, axes, aspect, 1 / FrameMargin));
}

// Nothing comes nearer by it: what an orbit began from still counts.
void NaviSystem::RollTo(const cVec3& up) {
  const bool turned = m_Turned;
  Camera camera = Wanted();
  camera.Up = up;
  GoTo(camera);
  m_Turned = turned;
}

void NaviSystem::RollBy(float degrees) {
  const Axes axes = AxesOf(Wanted());
  RollTo(Rotate(axes.Up, axes.Forward, -double(degrees) * Pi / 180).Narrow());
}

void NaviSystem::LevelView() {
  const Axes axes = AxesOf(Wanted());
  Vec up = Vec(0, 1, 0) - axes.Forward * axes.Forward.y;
  if (Dot(up, up) < 1e-6) {
    const bool alongX = std::abs(axes.Up.x) > std::abs(axes.Up.z);
    up = alongX ? Vec(std::copysign(1.0, axes.Up.x), 0, 0) : Vec(0, 0, std::copysign(1.0, axes.Up.z));
  }
  RollTo(Unit(up, axes.Up).Narrow());
}

void NaviSystem::ToggleOrthographic() {
  View.Orthographic = !View.Orthographic;
  m_Transition.To.Orthographic = m_Transition.From.Orthographic = View.Orthographic;
  EndDrag();
}

void NaviSystem::Frame(const SceneBox& box) {
  if (box.Empty() || !IsFinite(box.Min) || !IsFinite(box.Max)) return;
  Camera camera = Wanted();
  const Axes axes = AxesOf(camera);
  const Vec center(box.Center());
  double distance = DistanceForShare(box, camera, axes, double(Aspect()), 1);
  // A single point has no size: the distance stays.
  distance = distance > 0 ? distance * FrameMargin : DistanceOf(camera);
  camera.Target = center.Narrow();
  Place(camera, center, axes.Forward, axes.Up, std::clamp(distance, LeastDistance(camera), MaxDistance));
  GoTo(camera);
  // The whole scene goes on growing; a box of nothing is none to come back to.
  const SceneBox scene = Bounds ? Bounds() : SceneBox();
  m_Framed = scene.Empty() || scene == box ? SceneBox() : box;
}

void NaviSystem::Process(double timeSec) {
  if (!m_Transition.Running) return;
  if (!m_Transition.Started) m_Transition.Started = true, m_Transition.StartSec = timeSec;
  const double t = std::clamp((timeSec - m_Transition.StartSec) / TransitionSec, 0.0, 1.0);
  m_Transition.Running = t < 1;
  MoveTo(t < 1 ? Interpolate(m_Transition.From, m_Transition.To, t * t * (3 - 2 * t)) : m_Transition.To);
}

void NaviSystem::FitDepth(const SceneBox& box) {
  const double distance = DistanceOf(View);
  double low = 0, high = -1;
  if (!box.Empty()) {
    low = HUGE_VAL, high = -HUGE_VAL;
    for (const Vec& corner : CornersAlong(box, AxesOf(View), Vec(View.Position)))
      low = std::min(low, corner.z), high = std::max(high, corner.z);
  }
  if (View.Orthographic) {
    if (!(low <= high)) low = -distance, high = 3 * distance;
    const double margin = 0.01 * (high - low) + 0.01 * distance;
    View.Near = float(low - margin), View.Far = float(high + margin);
    return;
  }
  if (!(high > 0)) low = 0.02 * distance, high = 100 * distance;  // nothing in front of the viewer
  const double far = high * 1.01, floor = far * double(MinNearShare);
  // Inside the box, the nearest that is looked at is somewhat nearer than the target.
  const double near = low > floor ? low * 0.99 : std::clamp(0.05 * distance, floor, 1e-3 * far);
  View.Near = float(near), View.Far = float(far);
}

// --- pixels and space ----------------------------------------------------------------------------------------------------------

cVec3 NaviSystem::Unproject(const Camera& camera, float x, float y, float depth) const {
  const Axes axes = AxesOf(camera);
  const double half = HalfHeightAt(camera, double(depth));
  const double right = (2 * double(x - m_X) / double(m_Width) - 1) * half * double(m_Width) / double(m_Height);
  const double up = (1 - 2 * double(y - m_Y) / double(m_Height)) * half;
  return (Vec(camera.Position) + axes.Forward * double(depth) + axes.Right * right + axes.Up * up).Narrow();
}

ViewRay NaviSystem::GetRay(float x, float y) const {
  const cVec3 forward = View.Forward();
  if (View.Orthographic) return {Unproject(View, x, y, 0), forward};
  const Vec through = Vec(Unproject(View, x, y, float(DistanceOf(View)))) - Vec(View.Position);
  return {View.Position, Unit(through, Vec(forward)).Narrow()};
}

bool NaviSystem::Project(const cVec3& point, float& x, float& y, float* depth) const {
  const Axes axes = AxesOf(View);
  const Vec way = Vec(point) - Vec(View.Position);
  const double along = Dot(way, axes.Forward);
  if (!View.Orthographic && !(along > 0)) return false;
  const double half = HalfHeightAt(View, along);
  x = float(double(m_X) + double(m_Width) / 2 + Dot(way, axes.Right) / half * double(m_Height) / 2);
  y = float(double(m_Y) + double(m_Height) / 2 - Dot(way, axes.Up) / half * double(m_Height) / 2);
  if (depth) *depth = float(along);
  return true;
}
