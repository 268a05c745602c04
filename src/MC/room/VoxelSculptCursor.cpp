// The brush as it lies on the surface.
#include <array>
#include <cmath>
#include <numbers>
#include <span>

#include "MC/room/VoxelSculptTool.h"
#include "interface/draw/Canvas.h"
#include "interface/draw/Theme.h"

using comms::cVec2;
using comms::cVec3;

namespace {

constexpr int CirclePoints = 64;

// A light line with a dark one under it is seen on any ground.
void DrawLine(Canvas& canvas, std::span<const cVec2> points, float width, float alpha, uint32_t color, bool closed) {
  canvas.Polyline(points, canvas.Px(width) + canvas.Px(1.5f), WithAlpha(0xFF000000, 0.45f * alpha), closed);
  canvas.Polyline(points, canvas.Px(width), WithAlpha(color, alpha), closed);
}

}  // namespace

SurfaceHit VoxelSculptTool::Mirrored(const SurfaceHit& hit, int axes) const {
  cVec3 place = hit.Volume->WorldToVolume(hit.Position), normal = hit.Volume->WorldToVolumeDirection(hit.Normal);
  for (int i = 0; i < 3; i++)
    if (axes >> i & 1) place[i] = -place[i], normal[i] = -normal[i];
  SurfaceHit mirrored = hit;
  mirrored.Position = hit.Volume->VolumeToWorld(place);
  mirrored.Normal = Normalized(hit.Volume->VolumeToWorldDirection(normal), hit.Normal);
  return mirrored;
}

void VoxelSculptTool::DrawBrush(Canvas& canvas, const SurfaceHit& hit, float alpha) const {
  const bool cuts = (Depth < 0) != (m_Stroking ? m_Invert : m_ControlHeld);
  const uint32_t color = cuts ? 0xFFFF9A8A : 0xFFFFFFFF;
  const float radius = m_Stroking ? m_StrokeRadius : WorldRadiusAt(m_Hover.Position);
  const cVec3 side = std::fabs(hit.Normal.y) < 0.9f ? cVec3{0, 1, 0} : cVec3{1, 0, 0};
  const cVec3 right = Normalized(Cross(side, hit.Normal), {1, 0, 0}), up = Cross(hit.Normal, right);
  const auto circle = [&](float r, float width, float part) {
    std::array<cVec2, CirclePoints> points;
    for (int i = 0; i < CirclePoints; i++) {
      const float turn = 2 * std::numbers::pi_v<float> * float(i) / CirclePoints;
      const cVec3 p = hit.Position + right * (std::cos(turn) * r) + up * (std::sin(turn) * r);
      if (!ProjectPoint(m_Camera, m_Viewport, p, points[size_t(i)])) return;
    }
    DrawLine(canvas, points, width, alpha * part, color, true);
  };
  circle(radius, 1.5f, 0.95f);
  if (CurrentToolId == VoxelBrush::Carve && Smoothness > 0.02f) circle(radius * (1 - 0.7f * Smoothness), 1, 0.45f);
  // The needle is as long as a dab is high or deep.
  std::array<cVec2, 2> needle;
  const cVec3 tip = hit.Position + hit.Normal * (radius * std::fabs(Depth) * (cuts ? -1.0f : 1.0f));
  if (ProjectPoint(m_Camera, m_Viewport, hit.Position, needle[0]) && ProjectPoint(m_Camera, m_Viewport, tip, needle[1])) {
    DrawLine(canvas, needle, 1.5f, alpha * 0.9f, color, false);
    canvas.Circle(needle[0], canvas.Px(2.5f), WithAlpha(0xFFFFFFFF, alpha), canvas.Px(1), WithAlpha(0xFF000000, 0.5f * alpha));
  }
}

void VoxelSculptTool::DrawOverlay(Canvas& canvas) {
  if (!m_Hover || !IsActive()) return;
  const cRect view{float(m_Viewport.X), float(m_Viewport.Y), float(m_Viewport.Width), float(m_Viewport.Height)};
  canvas.PushClip(view);
  const int symmetry = SymmetryBits();
  for (int axes = 1; axes < 8; axes++)
    if ((axes & ~symmetry) == 0) DrawBrush(canvas, Mirrored(m_Hover, axes), 0.35f);
  DrawBrush(canvas, m_Hover, 1);
  canvas.PopClip();
}
