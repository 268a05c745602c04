#pragma once
// The standard uniforms: values that the back end gives to every shader that declares them, made from the current state.
#include "comms/Vec.h"

namespace comms {

/// Matrices take row vectors (p' = p * M). Clip space runs -1 .. 1 on all axes.
struct RenderState {
  cMat4 World, View, Projection;
  cMat4 Texture[4];
  float TimeSec = 0, FrameTimeSec = 0;
  int ViewportWidth = 1, ViewportHeight = 1;
};

/// In the order of StandardUniformNames.
enum class StandardUniform {
  WorldMatrix,
  WorldMatrixInverse,
  WorldViewMatrix,
  WorldViewProjectionMatrix,
  ViewProjectionMatrix,
  ProjectionMatrix,
  NormalMatrix,
  NormalViewMatrix,
  ScreenMatrix,
  ScreenMatrixInverse,
  TextureMatrix0,
  TextureMatrix1,
  TextureMatrix2,
  TextureMatrix3,
  ViewerPos,
  LocalViewPos,
  LocalViewDir,
  TimeSec,
  FrameTimeSec,
  ViewportWidth,
  ViewportHeight,
  ViewportInvWidth,
  ViewportInvHeight,
  Count
};
inline constexpr int StandardUniformCount = int(StandardUniform::Count);

/// "g_WorldMatrix" ...
extern const char* const StandardUniformNames[StandardUniformCount];

/// Value of one uniform: `Floats` holds 16 (a matrix, ready for a shader that multiplies column vectors), 3 or 1 of them.
struct UniformValue {
  int Count = 0;
  float Floats[16] = {};
};
/// The normal matrices are the transposed inverses of the upper 3 by 3, without translation. ScreenMatrix takes pixels with the
/// origin in the upper left corner to clip space. Inverses of singular matrices are the identity.
UniformValue Evaluate(StandardUniform uniform, const RenderState& state);

/// View matrix of a viewer at `position` that looks at `target`; `up` is not parallel to the line of sight.
cMat4 LookAt(const cVec3& position, const cVec3& target, const cVec3& up);
/// Projection with the full vertical angle `fovDegrees`; `aspect` is width / height; 0 < nearDistance < farDistance.
cMat4 Perspective(float fovDegrees, float aspect, float nearDistance, float farDistance);
/// Projection without foreshortening that shows `width` by `height` units around the line of sight; nearDistance < farDistance,
/// both may be negative (behind the viewer).
cMat4 Orthographic(float width, float height, float nearDistance, float farDistance);

}  // namespace comms
