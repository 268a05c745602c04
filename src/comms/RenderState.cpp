#include "comms/RenderState.h"

#include <cstring>

namespace comms {

const char* const StandardUniformNames[StandardUniformCount] = {"g_WorldMatrix",
                                                                "g_WorldMatrixInverse",
                                                                "g_WorldViewMatrix",
                                                                "g_WorldViewProjectionMatrix",
                                                                "g_ViewProjectionMatrix",
                                                                "g_ProjectionMatrix",
                                                                "g_NormalMatrix",
                                                                "g_NormalViewMatrix",
                                                                "g_ScreenMatrix",
                                                                "g_ScreenMatrixInverse",
                                                                "g_TextureMatrix0",
                                                                "g_TextureMatrix1",
                                                                "g_TextureMatrix2",
                                                                "g_TextureMatrix3",
                                                                "g_ViewerPos",
                                                                "g_LocalViewPos",
                                                                "g_LocalViewDir",
                                                                "g_TimeSec",
                                                                "g_FrameTimeSec",
                                                                "g_ViewportWidth",
                                                                "g_ViewportHeight",
                                                                "g_ViewportInvWidth",
                                                                "g_ViewportInvHeight"};

static cMat4 Inverse(const cMat4& matrix) {
  cMat4 inverse;
  Invert(matrix, inverse);
  return inverse;
}
static cMat4 NormalMatrix(cMat4 matrix) {
  for (int i = 0; i < 3; i++) matrix.m[3][i] = matrix.m[i][3] = 0;
  matrix.m[3][3] = 1;
  const cMat4 inverse = Inverse(matrix);
  for (int row = 0; row < 4; row++)
    for (int column = 0; column < 4; column++) matrix.m[row][column] = inverse.m[column][row];
  return matrix;
}
static cMat4 ScreenMatrix(const RenderState& state) {
  cMat4 matrix;
  matrix.m[0][0] = 2.0f / float(state.ViewportWidth);
  matrix.m[1][1] = -2.0f / float(state.ViewportHeight);
  matrix.m[3][0] = -1;
  matrix.m[3][1] = 1;
  return matrix;
}
static cVec3 ViewerPos(const RenderState& state) { return Inverse(state.View).TransformPoint({}); }
static cVec3 ViewDir(const RenderState& state) { return Inverse(state.View).TransformDirection({0, 0, -1}); }

// The bytes of a row-vector matrix, read as columns, are its transpose: what a shader with column vectors expects.
static UniformValue ToUniform(const cMat4& matrix) {
  UniformValue value{16, {}};
  std::memcpy(value.Floats, matrix.m, sizeof value.Floats);
  return value;
}
static UniformValue ToUniform(const cVec3& v) { return {3, {v.x, v.y, v.z}}; }
static UniformValue ToUniform(float v) { return {1, {v}}; }

UniformValue Evaluate(StandardUniform uniform, const RenderState& state) {
  using enum StandardUniform;
  switch (uniform) {
    case StandardUniform::WorldMatrix:
      return ToUniform(state.World);
    case WorldMatrixInverse:
      return ToUniform(Inverse(state.World));
    case WorldViewMatrix:
      return ToUniform(state.World * state.View);
    case WorldViewProjectionMatrix:
      return ToUniform(state.World * state.View * state.Projection);
    case ViewProjectionMatrix:
      return ToUniform(state.View * state.Projection);
    case ProjectionMatrix:
      return ToUniform(state.Projection);
    case StandardUniform::NormalMatrix:
      return ToUniform(comms::NormalMatrix(state.World));
    case NormalViewMatrix:
      return ToUniform(comms::NormalMatrix(state.World * state.View));
    case StandardUniform::ScreenMatrix:
      return ToUniform(comms::ScreenMatrix(state));
    case ScreenMatrixInverse:
      return ToUniform(Inverse(comms::ScreenMatrix(state)));
    case TextureMatrix0:
      return ToUniform(state.Texture[0]);
    case TextureMatrix1:
      return ToUniform(state.Texture[1]);
    case TextureMatrix2:
      return ToUniform(state.Texture[2]);
    case TextureMatrix3:
      return ToUniform(state.Texture[3]);
    case StandardUniform::ViewerPos:
      return ToUniform(comms::ViewerPos(state));
    case LocalViewPos:
      return ToUniform(Inverse(state.World).TransformPoint(comms::ViewerPos(state)));
    case LocalViewDir:
      return ToUniform(Normalized(Inverse(state.World).TransformDirection(ViewDir(state))));
    case TimeSec:
      return ToUniform(state.TimeSec);
    case FrameTimeSec:
      return ToUniform(state.FrameTimeSec);
    case ViewportWidth:
      return ToUniform(float(state.ViewportWidth));
    case ViewportHeight:
      return ToUniform(float(state.ViewportHeight));
    case ViewportInvWidth:
      return ToUniform(1.0f / float(state.ViewportWidth));
    case ViewportInvHeight:
      return ToUniform(1.0f / float(state.ViewportHeight));
    case Count:
      break;
  }
  return {};
}

// In doubles: the square of a long way is beyond what a float holds.
static cVec3 DirectionTo(const cVec3& from, const cVec3& to, const cVec3& fallback) {
  const double x = double(to.x) - from.x, y = double(to.y) - from.y, z = double(to.z) - from.z;
  const double length = std::sqrt(x * x + y * y + z * z);
  return length > 0 ? cVec3{float(x / length), float(y / length), float(z / length)} : fallback;
}

cMat4 LookAt(const cVec3& position, const cVec3& target, const cVec3& up) {
  const cVec3 back = DirectionTo(target, position, {0, 0, 1});
  const cVec3 right = Normalized(Cross(up, back), {1, 0, 0});
  const cVec3 top = Cross(back, right);
  return {{{right.x, top.x, back.x, 0},
           {right.y, top.y, back.y, 0},
           {right.z, top.z, back.z, 0},
           {-Dot(right, position), -Dot(top, position), -Dot(back, position), 1}}};
}

cMat4 Perspective(float fovDegrees, float aspect, float nearDistance, float farDistance) {
  const float scale = 1 / std::tan(fovDegrees * float(M_PI) / 360);
  const float depth = farDistance - nearDistance;
  return {{{scale / aspect, 0, 0, 0},
           {0, scale, 0, 0},
           {0, 0, -(farDistance + nearDistance) / depth, -1},
           {0, 0, -2 * farDistance * nearDistance / depth, 0}}};
}

cMat4 Orthographic(float width, float height, float nearDistance, float farDistance) {
  const float depth = farDistance - nearDistance;
  return {{{2 / width, 0, 0, 0}, {0, 2 / height, 0, 0}, {0, 0, -2 / depth, 0}, {0, 0, -(farDistance + nearDistance) / depth, 1}}};
}

}  // namespace comms
