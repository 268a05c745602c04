#pragma once
// The soft shadow that a scene throws on itself in the light of the key lamp: a picture of the depths that the lamp sees, kept
// while scene and lamp stand, and the constants by which the shader of the surface looks things up in it. Percentage-closer soft
// shadows: Fernando 2005.
#include "comms/cRender.h"

namespace comms {

/// Towards the key lamp in the viewer's space, where it stands: x to the right, y up, z to the viewer. The lamp of "mcubes".
inline constexpr cVec3 KeyLampDirection{-0.60f, 0.66f, 0.44f};

class SoftShadow {
 public:
  static constexpr int Side = 2048;  ///< texels; depth and colour take 6 bytes each

  SoftShadow() = default;
  ~SoftShadow() { Release(); }
  SoftShadow(const SoftShadow&) = delete;
  SoftShadow& operator=(const SoftShadow&) = delete;

  /// Whether the map is that of the box (`minimum`, `maximum`, world space), seen by a viewer at `view`. A turn by less than what
  /// a texel shows does not count; what is within the box is the caller's to know.
  bool Fits(const cRender& render, const cMat4& view, const cVec3& minimum, const cVec3& maximum) const;
  /// From here to End what is drawn is drawn into the map, with the shader "ShadowMap", which is set; State.View and
  /// State.Projection are the lamp's. The box, which has an extent, holds everything. False where the device has no memory for
  /// it: nothing is to be drawn then, and there is no shadow.
  bool Begin(cRender& render, const cMat4& view, const cVec3& minimum, const cVec3& maximum);
  /// Puts State back, with World as none, and leaves the map set as target.
  void End();
  /// Gives the map to the current shader, one with "#define SOFT_SHADOW". `taps`: places that are looked at for each pixel, 1 ..
  /// 32.
  void Apply(int taps) const;
  /// Whether there is a map.
  bool IsThere() const { return m_Target >= 0 && !m_RenderAlive.expired(); }
  /// Gives the target back.
  void Release();

 private:
  cRender* m_Render = nullptr;
  std::weak_ptr<void> m_RenderAlive;
  int m_Target = -1, m_Generation = 0;
  cVec3 m_Min, m_Max, m_ToLamp;
  cMat4 m_WorldToMap;          // onto 0 .. 1 along all axes; a length is the same along each of them
  cMat4 m_View, m_Projection;  // of State before
};

}  // namespace comms
