#include "shell/app/MeasureTool.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>
#include <span>
#include <utility>

#include "ClassEngine/ClassRegistry.h"
#include "ClassEngine/ValueTypes.h"
#include "MC/room/SurfacePick.h"
#include "comms/Str.h"
#include "comms/cRender.h"
#include "interface/Language.h"
#include "interface/draw/Canvas.h"
#include "interface/draw/Theme.h"
#include "shell/core/KeyTable.h"
#include "shell/core/Pages.h"

using comms::cVec2;
using comms::cVec3;

REGISTER_CLASS(MeasureTool, nullptr);
DECLARE_MEMBERS(MeasureTool) {
  Member<_bool>("Closed", Closed).Hint("Joins the last place with the first one");
  Member<_bool>("ShowAngles", ShowAngles).Hint("Angles between the parts of the line, in degrees");
  Member<_float>("UnitsPerWorld", UnitsPerWorld).Range(1e-6, 1e6).Hint("How long a unit of the scene is in the unit below");
  Member<_str>("UnitName", UnitName).Hint("Stands behind lengths, such as mm");
}

/// How near the pointer must be to take hold of a place, pixels.
static constexpr float GrabPixels = 12;
static constexpr uint32_t LineColor = 0xFFFFC94A;

void MeasureTool::SetScene(const VoxelScene* scene) {
  m_Scene = scene;
  OnNewScene();
}

void MeasureTool::SetView(const SceneCamera& camera, const SceneViewport& viewport) {
  m_Camera = camera;
  m_Viewport = viewport;
}

void MeasureTool::OnNewScene() {
  m_Points.clear();
  m_Dragged = -1;
}

// --- figures -------------------------------------------------------------------------------------------------------------------

std::vector<std::pair<size_t, size_t>> MeasureTool::Parts() const {
  std::vector<std::pair<size_t, size_t>> parts;
  for (size_t i = 1; i < m_Points.size(); i++) parts.emplace_back(i - 1, i);
  if (Closed && m_Points.size() > 2) parts.emplace_back(m_Points.size() - 1, 0);
  return parts;
}

std::vector<double> MeasureTool::Lengths() const {
  std::vector<double> lengths;
  for (const auto& [from, to] : Parts()) lengths.push_back(double(Length(m_Points[to] - m_Points[from])) * double(UnitsPerWorld));
  return lengths;
}

double MeasureTool::AngleAt(size_t point) const {
  const size_t count = m_Points.size();
  const bool isEnd = point == 0 || point + 1 == count;
  if (point >= count || count < 3 || (isEnd && !Closed)) return -1;
  const cVec3 a = m_Points[(point + count - 1) % count] - m_Points[point], b = m_Points[(point + 1) % count] - m_Points[point];
  if (!(Length(a) > 0) || !(Length(b) > 0)) return -1;
  // Exact for small and for flat angles too, unlike the arc cosine.
  return std::atan2(double(Length(Cross(a, b))), double(Dot(a, b))) * 180 / std::numbers::pi;
}

std::string MeasureTool::LengthText(double length) const {
  const std::string unit = UnitName.ToString();
  return ShowNumber(comms::Format("%.4g", length)) + (unit.empty() ? unit : " " + unit);
}

std::string MeasureTool::GetWorkHint() {
  if (m_Points.empty()) return GetText(GetHintKey());
  double sum = 0;
  const std::vector<double> lengths = Lengths();
  for (const double length : lengths) sum += length;
  std::string text = lengths.empty() ? GetText("WORKHINT_MEASURE_NEXT") : GetText("MEASURE_LENGTH") + " " + LengthText(sum);
  return text + " · " + GetText("WORKHINT_MEASURE");
}

// --- input ---------------------------------------------------------------------------------------------------------------------

bool MeasureTool::PickAt(const InputEvent& event, cVec3& place) const {
  if (!m_Scene) return false;
  const SurfaceHit hit = PickScene(*m_Scene, PickRay(m_Camera, m_Viewport, event.X, event.Y), float(GetMaxDistance()));
  if (hit) place = hit.Position;
  return bool(hit);
}

// The nearest place under the pointer; -1 where there is none.
int MeasureTool::PointAt(const InputEvent& event) const {
  int nearest = -1;
  float least = GrabPixels;
  for (size_t i = 0; i < m_Points.size(); i++) {
    cVec2 pixel;
    if (!ProjectPoint(m_Camera, m_Viewport, m_Points[i], pixel)) continue;
    const float away = std::hypot(pixel.x - event.X, pixel.y - event.Y);
    if (away <= least) least = away, nearest = int(i);
  }
  return nearest;
}

bool MeasureTool::OnLeftDown(const InputEvent& event) {
  cVec3 place;
  if (!PickAt(event, place)) return false;
  m_Dragged = int(m_Points.size());
  m_Points.push_back(place);
  return true;
}

bool MeasureTool::OnLeftUp(const InputEvent&) { return std::exchange(m_Dragged, -1) >= 0; }

// Point editing alone sets no new place, and takes hold of places that lie beside the surface as seen from here.
bool MeasureTool::OnAltLeftDown(const InputEvent& event) {
  m_Dragged = PointAt(event);
  return m_Dragged >= 0;
}

bool MeasureTool::OnAltLeftUp(const InputEvent& event) { return OnLeftUp(event); }

bool MeasureTool::OnAltRightDown(const InputEvent& event) {
  const int point = PointAt(event);
  if (point < 0) return false;
  m_Points.erase(m_Points.begin() + point);
  m_Dragged = -1;
  return true;
}

bool MeasureTool::ProcessInput(const InputEvent& event) {
  if (event.Kind == InputKind::PointerMove && m_Dragged >= 0) {
    PickAt(event, m_Points[size_t(m_Dragged)]);  // beside the surface the place stays
    return true;
  }
  if (event.Kind != InputKind::KeyDown || m_Dragged >= 0) return false;
  const bool removes = event.Key == KeyDelete || event.Key == KeyBackspace;
  if (!removes && event.Key != KeyEsc) return false;
  if (m_Points.empty()) {
    BasicTool* room = removes ? nullptr : FindMainTool(CurrentPage);
    if (room) RadioActivate(*room);
    return room != nullptr;
  }
  removes ? m_Points.pop_back() : m_Points.clear();
  return true;
}

// --- drawing -------------------------------------------------------------------------------------------------------------------

uint64_t MeasureTool::GetDrawState() const {
  if (m_Points.size() < 2) return 0;
  uint64_t hash = 0xCBF29CE484222325u ^ uint64_t(Closed);
  for (const cVec3& point : m_Points)
    for (int i = 0; i < 3; i++) hash = (hash ^ std::bit_cast<uint32_t>(point[i])) * 0x100000001B3u;
  return hash | 1;
}

// What lies in front of the surface; the whole line is drawn over it (DrawOverlay).
void MeasureTool::DrawIn3D(comms::cRender& render) {
  std::vector<comms::ColoredPoint> ends;
  for (const auto& [from, to] : Parts())
    for (const size_t end : {from, to}) ends.push_back({m_Points[end], comms::cColor{LineColor}});
  render.SetDepthState(render.CreateDepthState({.Write = false}));
  render.State.World = {};
  render.DrawLines(ends.data(), ends.size());
}

cVec2 GetViewLabelSize(Canvas& canvas, const std::string& text) {
  return {canvas.TextWidth(text, TextStyle::Small) + canvas.Px(8), canvas.Px(18)};
}

void DrawViewLabel(Canvas& canvas, cVec2 place, const std::string& text) {
  const cVec2 size = GetViewLabelSize(canvas, text);
  const cRect box{std::floor(place.x - size.x / 2), std::floor(place.y - size.y / 2), size.x, size.y};
  canvas.FillRoundRect(box, canvas.Px(Measures::Radius), 0xC8202020);
  canvas.Text(box, text, 0xFFFFFFFF, TextStyle::Small, TextAlign::Center);
}

void MeasureTool::DrawOverlay(Canvas& canvas) {
  std::vector<cVec2> pixels(m_Points.size());
  std::vector<bool> seen(m_Points.size());
  for (size_t i = 0; i < m_Points.size(); i++) seen[i] = ProjectPoint(m_Camera, m_Viewport, m_Points[i], pixels[i]);
  const std::vector<std::pair<size_t, size_t>> parts = Parts();
  // A light line with a dark one under it is seen on any ground.
  for (const auto& [from, to] : parts) {
    if (!seen[from] || !seen[to]) continue;
    canvas.Line(pixels[from], pixels[to], canvas.Px(3), 0x60000000);
    canvas.Line(pixels[from], pixels[to], canvas.Px(1.5f), WithAlpha(LineColor, 0.8f));
  }
  for (size_t i = 0; i < m_Points.size(); i++)
    if (seen[i]) canvas.Circle(pixels[i], canvas.Px(int(i) == m_Dragged ? 6.0f : 4.0f), LineColor, canvas.Px(1), 0xFF202020);
  const std::vector<double> lengths = Lengths();
  for (size_t i = 0; i < parts.size(); i++) {
    const cVec2 from = pixels[parts[i].first], to = pixels[parts[i].second];
    if (seen[parts[i].first] && seen[parts[i].second])
      DrawViewLabel(canvas, {(from.x + to.x) / 2, (from.y + to.y) / 2}, LengthText(lengths[i]));
  }
  for (size_t i = 0; ShowAngles && i < m_Points.size(); i++)
    if (const double angle = AngleAt(i); angle >= 0 && seen[i])
      DrawViewLabel(canvas, {pixels[i].x, pixels[i].y - canvas.Px(18)}, ShowNumber(comms::Format("%.1f°", angle)));
}
