#pragma once
// The constants of the dab that is being applied. They are process-wide: written by the calling thread before a pass, only read
// while the pass runs. Field functions take their copy when they are made, so that workers read no shared memory per sample.
#include <cstdint>

#include "comms/Vec.h"

/// Lengths in voxels, vectors in volume space.
struct StrokeConstants {
  comms::cVec3 spCenter;                    ///< first end of the dab
  comms::cVec3 spDir;                       ///< unit vector from the first end to the second; zero when they coincide
  float spLength = 1e-20f;                  ///< distance of the ends, never below 1e-20
  float spRadius = 0, spDr = 0;             ///< radius at the first end, and its change to the second
  comms::cVec3 spT{1, 0, 0}, spB{0, 1, 0};  ///< tangent and bitangent of the pen plane
  comms::cVec3 spN1{0, 0, 1}, spDN;         ///< normal at the first end, and its change to the second
  float spAspect1 = 1, spAspectD = 0;       ///< height of the brush at the first end, and its change
  int32_t spSub = 0;                        ///< 1 while the dab subtracts
  comms::cMat4 spScreenMatrix;              ///< projection of brushes in screen space
  float spProjCX = 0, spProjCY = 0;         ///< its centre
  comms::cMat4 ScrToUV1, ScrToUV2;          ///< lookups of stencil and material
  comms::cVec3 spPinchShift;                ///< pinch: shift
  float spPinchDegree = 0;                  ///< pinch: degree
};

/// The constants in force.
inline StrokeConstants CurrentDab;

/// Axes of a mirror image, one bit each; planes go through the origin of volume space.
enum MirrorAxes : int { MirrorNone = 0, MirrorX = 1, MirrorY = 2, MirrorZ = 4 };

/// `v` with the sign of each axis in `axes` changed: exact, so that images are equal to the last bit.
inline comms::cVec3 Mirrored(const comms::cVec3& v, int axes) {
  return {axes & MirrorX ? -v.x : v.x, axes & MirrorY ? -v.y : v.y, axes & MirrorZ ? -v.z : v.z};
}
/// The mirror image of a dab. The pen frame is mirrored with it, since a cross product taken anew would turn the other way.
inline StrokeConstants Mirrored(StrokeConstants s, int axes) {
  s.spCenter = Mirrored(s.spCenter, axes);
  s.spDir = Mirrored(s.spDir, axes);
  s.spT = Mirrored(s.spT, axes);
  s.spB = Mirrored(s.spB, axes);
  s.spN1 = Mirrored(s.spN1, axes);
  s.spDN = Mirrored(s.spDN, axes);
  s.spPinchShift = Mirrored(s.spPinchShift, axes);
  return s;
}
