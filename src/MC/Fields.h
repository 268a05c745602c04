#pragma once
// The scalar fields of brushes. A field maps a voxel position to a value that ApplyField clamps to 0 .. 1; 0.5 is the surface,
// and one voxel of distance is 1 / RampWidth.
//
// Every field is a small value with operator()(x, y, z) free of branches and calls, so that a loop over samples runs eight at a
// time. No operation is reordered or fused, hence the vector route gives the same bits as a single call. A field whose centre and
// vectors are mirrored gives equal bits at mirrored positions: each term of a sum changes its sign twice or not at all.
#include <bit>
#include <cmath>
#include <cstdint>

#include "MC/StrokeConstants.h"
#include "MC/VolumeObject.h"
#include "comms/Vec.h"

/// What a field does on a whole box of samples, where that is cheap to tell.
enum class FieldCover { Mixed, Full };

/// 1 / sqrt(x) by the exponent trick and a single Newton step: at most 0.18 percent off. The error is part of the brush's shape.
inline float FastInverseSqrt(float x) {
  const float half = 0.5f * x;
  const float guess = std::bit_cast<float>(int32_t(0x5F3759DF) - (std::bit_cast<int32_t>(x) >> 1));
  return guess * (1.5f - half * guess * guess);
}

inline float Clamp01(float x) {
  x = x > 0 ? x : 0;
  return x < 1 ? x : 1;
}

/// Falloff (sin(2 (x - 0.5)) + 1) / 2, 0 and 1 where the doubled argument leaves -pi/2 .. pi/2. The sine is its series up to the
/// 11th power, below 6e-8 off in that range: the library's differs between machines and can't run on vectors.
inline float SmoothFalloff(float x) {
  constexpr float quarterTurn = 1.57079633f;
  float a = 2 * (x - 0.5f);
  a = a > -quarterTurn ? a : -quarterTurn;
  a = a < quarterTurn ? a : quarterTurn;
  const float b = a * a;
  const float series =
      ((((-2.50521084e-8f * b + 2.75573192e-6f) * b - 1.98412698e-4f) * b + 8.33333333e-3f) * b - 1.66666667e-1f) * b + 1;
  return Clamp01((a * series + 1) * 0.5f);
}

/// Quadratic ball: 0.5 + (1 - |p - c|^2 / r^2) / (2 K) with K = ramp / r.
class SphereField {
 public:
  /// radius > 0
  SphereField(const comms::cVec3& center, float radius, int rampWidth)
      : m_Center(center), m_InverseR2(1 / (radius * radius)), m_Scale(radius / (2 * float(rampWidth))) {}
  float operator()(float x, float y, float z) const {
    const float dx = x - m_Center.x, dy = y - m_Center.y, dz = z - m_Center.z;
    return 0.5f + (1 - (dx * dx + dy * dy + dz * dz) * m_InverseR2) * m_Scale;
  }
  /// Every operation is monotone in the three distances, so the farthest corner, itself a sample, has the lowest value.
  FieldCover CoverOf(const VolumeBox& box) const {
    const auto far = [](float lo, float hi, float c) { return c - lo > hi - c ? lo : hi; };
    return (*this)(far(box.MinX, box.MaxX, m_Center.x), far(box.MinY, box.MaxY, m_Center.y),
                   far(box.MinZ, box.MaxZ, m_Center.z)) >= 1
               ? FieldCover::Full
               : FieldCover::Mixed;
  }

 private:
  comms::cVec3 m_Center;
  float m_InverseR2, m_Scale;
};

/// Capsule between the two ends of the dab with a radius that changes along it: 0.5 + (r(t) - |p - q|) / K, K = ramp.
class SegmentField {
 public:
  SegmentField(const StrokeConstants& dab, int rampWidth)
      : m_Center(dab.spCenter),
        m_Dir(dab.spDir),
        m_Length(dab.spLength),
        m_InverseLength(1 / dab.spLength),
        m_Radius(dab.spRadius),
        m_Dr(dab.spDr),
        m_InverseK(1 / float(rampWidth)) {}
  float operator()(float x, float y, float z) const {
    float dx = x - m_Center.x, dy = y - m_Center.y, dz = z - m_Center.z;
    const float t = Clamp01((dx * m_Dir.x + dy * m_Dir.y + dz * m_Dir.z) * m_InverseLength);
    const float along = t * m_Length;
    dx -= m_Dir.x * along;
    dy -= m_Dir.y * along;
    dz -= m_Dir.z * along;
    const float distance = 1 / FastInverseSqrt(dx * dx + dy * dy + dz * dz);
    return 0.5f + (m_Radius + m_Dr * t - distance) * m_InverseK;
  }
  FieldCover CoverOf(const VolumeBox& box) const;

 private:
  comms::cVec3 m_Center, m_Dir;
  float m_Length, m_InverseLength, m_Radius, m_Dr, m_InverseK;
};

/// The same capsule in a volume whose axes are scaled apart: distances are taken in world units, behind `toWorld`, and expressed
/// in voxels of the mean scale. `dab` is in world units but for its ramp. Mirror images are taken of the position, which is exact
/// whatever the matrix holds.
class WorldSegmentField {
 public:
  WorldSegmentField(const StrokeConstants& worldDab, const comms::cMat4& toWorld, float voxelsPerUnit, int rampWidth, int mirror);
  float operator()(float x, float y, float z) const {
    x *= m_Sign.x, y *= m_Sign.y, z *= m_Sign.z;
    float dx = x * m_X.x + y * m_Y.x + z * m_Z.x + m_Origin.x;
    float dy = x * m_X.y + y * m_Y.y + z * m_Z.y + m_Origin.y;
    float dz = x * m_X.z + y * m_Y.z + z * m_Z.z + m_Origin.z;
    const float t = Clamp01((dx * m_Dir.x + dy * m_Dir.y + dz * m_Dir.z) * m_InverseLength);
    const float along = t * m_Length;
    dx -= m_Dir.x * along;
    dy -= m_Dir.y * along;
    dz -= m_Dir.z * along;
    return 0.5f + (m_Radius + m_Dr * t - std::sqrt(dx * dx + dy * dy + dz * dz)) * m_Scale;
  }

 private:
  comms::cVec3 m_Sign, m_X, m_Y, m_Z, m_Origin, m_Dir;  // rows of the matrix; its origin relative to the first end
  float m_Length, m_InverseLength, m_Radius, m_Dr, m_Scale;
};

/// What the Carve pen is beside the constants of the dab.
struct CarvePen {
  float FalloffStrength = 0;  ///< 0 .. 1: how far the depth follows the falloff curve of the pen coordinate
  float Base = 0;             ///< offset of the brush from the surface, voxels
};

/// Lens of the pen's shape about the surface plane of the dab.
class CarveField {
 public:
  CarveField(const StrokeConstants& dab, const CarvePen& pen, int rampWidth);

  /// Alpha of the plain radial pen at squared pen radius s: 1 in the centre, 0 at the rim, smooth in between.
  static float PenAlpha(float s) { return 1 - s; }
  /// Product of stencil, material and freeze masks at a position; none of them is in force.
  static float MaskAt(float, float, float) { return 1; }

  float operator()(float x, float y, float z) const {
    // Position on the dab and the frame there.
    float dx = x - m_Dab.spCenter.x, dy = y - m_Dab.spCenter.y, dz = z - m_Dab.spCenter.z;
    const float t = Clamp01((dx * m_Dab.spDir.x + dy * m_Dab.spDir.y + dz * m_Dab.spDir.z) * m_InverseLength);
    const float along = t * m_Dab.spLength;
    dx -= m_Dab.spDir.x * along;
    dy -= m_Dab.spDir.y * along;
    dz -= m_Dab.spDir.z * along;
    float nx = m_Dab.spN1.x + t * m_Dab.spDN.x, ny = m_Dab.spN1.y + t * m_Dab.spDN.y, nz = m_Dab.spN1.z + t * m_Dab.spDN.z;
    const float inverseN = 1 / std::sqrt(nx * nx + ny * ny + nz * nz);
    nx *= inverseN, ny *= inverseN, nz *= inverseN;
    float height = m_Dab.spAspect1 + m_Dab.spAspectD * t;
    height = height > 0 ? height : 0;
    const float radius = m_Dab.spRadius + m_Dab.spDr * t;

    // Height over the plane, and pen coordinates in it.
    const float u = nx * dx + ny * dy + nz * dz;
    const float wx = dx - u * nx, wy = dy - u * ny, wz = dz - u * nz;
    const float cx = (m_Dab.spT.x * wx + m_Dab.spT.y * wy + m_Dab.spT.z * wz) / radius;
    const float cy = -(m_Dab.spB.x * wx + m_Dab.spB.y * wy + m_Dab.spB.z * wz) / radius;
    const float s = cx * cx + cy * cy;

    float depth = PenAlpha(s) * radius;
    depth *= 1 - m_Falloff * (1 - SmoothFalloff(1 - s));
    depth *= MaskAt(x, y, z);
    depth -= s * 0.1f * radius;  // rounds the rim
    const float half = depth * height + m_Base;
    const float below = half - u, above = u + half;
    const float top = (below < above ? below : above) * m_InverseK + 0.5f;
    const float side = (1 - std::sqrt(s)) * radius * m_InverseK + 0.5f;
    const float value = top < side ? top : side;
    // Comparisons that also turn down the NaN of a radius of 0.
    return s < 1 ? (depth > 0 ? value : 0) : 0;
  }

 private:
  StrokeConstants m_Dab;
  float m_InverseLength, m_Falloff, m_Base, m_InverseK;
};

/// Density of a second volume at a mapped point, 0 .. 1. The source stands still while it is read, and must not be the volume
/// that is written. Subtracting needs no other field: the merge takes the complement.
class StampField {
 public:
  /// `toSource` maps voxels of the written volume to voxels of `source`; `mirror` is applied to the position first.
  StampField(const VolumeObject& source, const comms::cMat4& toSource, int mirror)
      : m_Source(&source), m_ToSource(toSource), m_Sign(Mirrored(comms::cVec3{1, 1, 1}, mirror)) {}
  float operator()(float x, float y, float z) const {
    const comms::cVec3 p = m_ToSource.TransformPoint({x * m_Sign.x, y * m_Sign.y, z * m_Sign.z});
    constexpr float reach = 1 << 24;  // floats hold no voxels beyond
    if (!(std::fabs(p.x) < reach && std::fabs(p.y) < reach && std::fabs(p.z) < reach)) return 0;
    return float(m_Source->SampleTrilinear(p.x, p.y, p.z, false) / 65535);
  }

 private:
  const VolumeObject* m_Source;
  comms::cMat4 m_ToSource;
  comms::cVec3 m_Sign;
};
