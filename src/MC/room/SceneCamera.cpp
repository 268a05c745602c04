// Between pixels of the window and the scene.
#include <algorithm>
#include <cmath>

#include "MC/room/SceneView.h"

using comms::cMat4;
using comms::cVec3;
using comms::cVec4;

namespace {

cVec4 Transform(const cVec4& p, const cMat4& m) {
  cVec4 result;
  float* const out = &result.x;
  for (int i = 0; i < 4; i++) out[i] = p.x * m.m[0][i] + p.y * m.m[1][i] + p.z * m.m[2][i] + p.w * m.m[3][i];
  return result;
}

}  // namespace

SceneRay PickRay(const SceneCamera& camera, const SceneViewport& viewport, float x, float y) {
  const float clipX = 2 * (x - float(viewport.X)) / float(std::max(viewport.Width, 1)) - 1;
  const float clipY = 1 - 2 * (y - float(viewport.Y)) / float(std::max(viewport.Height, 1));
  cMat4 inverse;
  comms::Invert(camera.View * camera.Projection, inverse);
  const auto placeAt = [&](float depth) {
    const cVec4 p = Transform({clipX, clipY, depth, 1}, inverse);
    const float part = p.w != 0 ? 1 / p.w : 1;
    return cVec3{p.x * part, p.y * part, p.z * part};
  };
  const cVec3 origin = placeAt(-1);
  return {origin, Normalized(placeAt(1) - origin, {0, 0, -1})};
}

bool ProjectPoint(const SceneCamera& camera, const SceneViewport& viewport, const cVec3& point, comms::cVec2& pixel) {
  const cVec4 p = Transform({point.x, point.y, point.z, 1}, camera.View * camera.Projection);
  if (!(p.w > 1e-9f)) return false;
  pixel = {float(viewport.X) + (p.x / p.w * 0.5f + 0.5f) * float(viewport.Width),
           float(viewport.Y) + (0.5f - p.y / p.w * 0.5f) * float(viewport.Height)};
  return true;
}

float PixelSizeAt(const SceneCamera& camera, const SceneViewport& viewport, const cVec3& point) {
  const cVec3 p = camera.View.TransformPoint(point);
  const float w = p.z * camera.Projection.m[2][3] + camera.Projection.m[3][3];
  return 2 * std::fabs(w) / (camera.Projection.m[1][1] * float(std::max(viewport.Height, 1)));
}
