#pragma once
// Dabs: single applications of a brush. Each sets the stroke constants and merges its field. All in voxels of volume space; a dab
// whose numbers are not finite, or whose radii are not above 0 at either end, touches nothing.
#include "MC/ApplyField.h"
#include "MC/Fields.h"
#include "comms/Vec.h"

/// The two ends of a dab. For a single point both are equal.
struct Dab {
  comms::cVec3 P1, P2;                    ///< ends
  comms::cVec3 N1{0, 0, 1}, N2{0, 0, 1};  ///< unit normals of the surface there
  float R1 = 1, R2 = 1;                   ///< radii, >= 0, one of them above 0
  float H1 = 1, H2 = 1;                   ///< heights: Carve's depth in radii of the pen
};

struct DabOptions {
  int32_t Mode = ApplyAdd;
  bool Airbrush = false;
  int Mirror = MirrorNone;                      ///< the dab's mirror image about these axes is applied, not the dab
  const std::function<bool()>* GoOn = nullptr;  ///< as in ApplyOptions
};

/// Constants of a dab in voxel units; equal for a dab and its image but for signs.
StrokeConstants MakeStrokeConstants(const Dab& dab, bool subtract);

ApplyReport ApplySphereDab(VolumeObject& volume, const comms::cVec3& center, float radius, const DabOptions& options);
ApplyReport ApplySegmentDab(VolumeObject& volume, const Dab& dab, const DabOptions& options);
/// As ApplySegmentDab for a volume whose axes are scaled apart. `worldDab` is in world units, except that its image is taken in
/// the volume's space.
ApplyReport ApplyWorldSegmentDab(VolumeObject& volume, const Dab& worldDab, const DabOptions& options);
ApplyReport ApplyCarveDab(VolumeObject& volume, const Dab& dab, const CarvePen& pen, const DabOptions& options);

/// Merges the solid of `source` (another volume) with the middle of its box at dab.P1, its z axis along dab.N1 and the longest
/// half side of its box at dab.R1.
ApplyReport ApplyStamp(VolumeObject& volume, const VolumeObject& source, const Dab& dab, const DabOptions& options);

/// Box of the cells of `volume` that hold solid, voxels; empty where there is none.
VolumeBox GetSolidBox(const VolumeObject& volume);
