#include "MC/Dabs.h"

#include <algorithm>
#include <cmath>

using comms::cMat4;
using comms::cVec3;

namespace {

// Ends beyond the voxels that a float can tell apart, and normals whose length overflows, are turned down like NaN.
bool IsUsable(const Dab& dab) {
  const auto isPlace = [](const cVec3& p) {
    constexpr float limit = float(CellKeyLimit) * CellSize;
    return std::fabs(p.x) <= limit && std::fabs(p.y) <= limit && std::fabs(p.z) <= limit;
  };
  const auto isLength = [](float length) { return length >= 0 && std::isfinite(length); };
  return isPlace(dab.P1) && isPlace(dab.P2) && std::isfinite(Dot(dab.N1, dab.N1)) && std::isfinite(Dot(dab.N2, dab.N2)) &&
         isLength(dab.R1) && isLength(dab.R2) && dab.R1 + dab.R2 > 0 && std::isfinite(dab.H1) && std::isfinite(dab.H2);
}

// Some unit vector at a right angle to `n`: across the axis along which `n` is shortest.
cVec3 AnyTangent(const cVec3& n) {
  const cVec3 a{std::fabs(n.x), std::fabs(n.y), std::fabs(n.z)};
  const cVec3 axis = a.x <= a.y && a.x <= a.z ? cVec3{1, 0, 0} : a.y <= a.z ? cVec3{0, 1, 0} : cVec3{0, 0, 1};
  return Normalized(Cross(n, axis), {1, 0, 0});
}

// Box of balls about both ends.
VolumeBox BoxAround(const cVec3& a, const cVec3& b, float reach) {
  return {std::min(a.x, b.x) - reach, std::min(a.y, b.y) - reach, std::min(a.z, b.z) - reach,
          std::max(a.x, b.x) + reach, std::max(a.y, b.y) + reach, std::max(a.z, b.z) + reach};
}

// Box of the dab that the constants describe.
VolumeBox BoxOf(const StrokeConstants& dab, float reach) {
  return BoxAround(dab.spCenter, dab.spCenter + dab.spDir * dab.spLength, reach);
}

float LargerRadius(const StrokeConstants& dab) { return std::max(dab.spRadius, dab.spRadius + dab.spDr); }

ApplyOptions OptionsFor(const DabOptions& options, float radius) {
  ApplyOptions apply;
  apply.Mode = options.Mode;
  apply.Airbrush = options.Airbrush;
  apply.BrushRadius = radius;
  apply.GoOn = options.GoOn;
  return apply;
}

// Cells that a capsule certainly reaches: as many as its solid fills, and one behind every plane between cells that the way from
// end to end crosses. `a` and `b` are its ends in voxels; `length` and `radius`, the smaller one, are taken where it is round.
double LeastCellsOf(const cVec3& a, const cVec3& b, double length, double radius) {
  constexpr double pi = 3.14159265358979, cellVolume = double(CellSize) * CellSize * CellSize;
  const double solid = pi * radius * radius * (length + radius * 4 / 3);
  double crossed = 0;
  for (int axis = 0; axis < 3; axis++) crossed += double(std::fabs(b[axis] - a[axis])) / CellSize - 1;
  return std::max(solid / cellVolume, crossed);
}

void SetStrokeConstants(const Dab& dab, const DabOptions& options) {
  CurrentDab = Mirrored(MakeStrokeConstants(dab, options.Mode == ApplySubtract), options.Mirror);
}

}  // namespace

StrokeConstants MakeStrokeConstants(const Dab& dab, bool subtract) {
  StrokeConstants s;
  const cVec3 along = dab.P2 - dab.P1;
  s.spCenter = dab.P1;
  s.spLength = std::max(Length(along), 1e-20f);
  s.spDir = Normalized(along);
  s.spRadius = dab.R1;
  s.spDr = dab.R2 - dab.R1;
  s.spN1 = Normalized(dab.N1, {0, 0, 1});
  s.spDN = Normalized(dab.N2, s.spN1) - s.spN1;
  // The pen's tangent follows the stroke where it can.
  s.spT = s.spDir - s.spN1 * Dot(s.spDir, s.spN1);
  s.spT = Length(s.spT) > 1e-3f ? Normalized(s.spT) : AnyTangent(s.spN1);
  s.spB = Cross(s.spN1, s.spT);
  s.spAspect1 = dab.H1;
  s.spAspectD = dab.H2 - dab.H1;
  s.spSub = subtract;
  return s;
}

ApplyReport ApplySphereDab(VolumeObject& volume, const cVec3& center, float radius, const DabOptions& options) {
  const Dab dab{center, center, {0, 0, 1}, {0, 0, 1}, radius, radius, 1, 1};
  if (!IsUsable(dab)) return {};
  SetStrokeConstants(dab, options);
  const float reach = radius + float(volume.RampWidth) / 2;
  return ApplyField(volume, SphereField(CurrentDab.spCenter, radius, volume.RampWidth), BoxOf(CurrentDab, reach),
                    OptionsFor(options, radius));
}

ApplyReport ApplySegmentDab(VolumeObject& volume, const Dab& dab, const DabOptions& options) {
  if (!IsUsable(dab)) return {};
  SetStrokeConstants(dab, options);
  const float radius = LargerRadius(CurrentDab);
  ApplyOptions apply = OptionsFor(options, std::min(dab.R1, dab.R2));
  apply.CellCap = ApplyOptions::SegmentCellCap;
  apply.LeastCells = LeastCellsOf(dab.P1, dab.P2, double(Length(dab.P2 - dab.P1)), double(std::min(dab.R1, dab.R2)));
  return ApplyField(volume, SegmentField(CurrentDab, volume.RampWidth), BoxOf(CurrentDab, radius + float(volume.RampWidth) / 2),
                    apply);
}

ApplyReport ApplyWorldSegmentDab(VolumeObject& volume, const Dab& worldDab, const DabOptions& options) {
  if (!IsUsable(worldDab)) return {};
  const float unitsPerVoxel = float(std::cbrt(std::fabs(Determinant3(volume.SpaceMatrix))));
  if (!(unitsPerVoxel > 0) || !std::isfinite(unitsPerVoxel)) return {};
  DabOptions unmirrored = options;
  unmirrored.Mirror = MirrorNone;
  SetStrokeConstants(worldDab, unmirrored);
  const WorldSegmentField field(CurrentDab, volume.SpaceMatrix, 1 / unitsPerVoxel, volume.RampWidth, options.Mirror);
  const cVec3 a = Mirrored(volume.WorldToVolume(worldDab.P1), options.Mirror);
  const cVec3 b = Mirrored(volume.WorldToVolume(worldDab.P2), options.Mirror);
  ApplyOptions apply = OptionsFor(options, std::min(worldDab.R1, worldDab.R2) / unitsPerVoxel);
  apply.CellCap = ApplyOptions::SegmentCellCap;
  apply.LeastCells = LeastCellsOf(a, b, double(Length(worldDab.P2 - worldDab.P1) / unitsPerVoxel), double(apply.BrushRadius));
  return ApplyField(volume, field, BoxAround(a, b, LargerRadius(CurrentDab) / unitsPerVoxel), apply);
}

ApplyReport ApplyCarveDab(VolumeObject& volume, const Dab& dab, const CarvePen& pen, const DabOptions& options) {
  if (!IsUsable(dab) || !std::isfinite(pen.Base)) return {};
  SetStrokeConstants(dab, options);
  const float radius = LargerRadius(CurrentDab);
  const float height = std::max({dab.H1, dab.H2, 1.0f});
  // A flat lens is thinner than its pen is wide: the finer probing goes by the thinner of the two.
  const float thickness = std::max(0.0f, std::min(dab.R1 * dab.H1, dab.R2 * dab.H2) + pen.Base);
  return ApplyField(volume, CarveField(CurrentDab, pen, volume.RampWidth),
                    BoxOf(CurrentDab, radius * height + std::fabs(pen.Base) + float(volume.RampWidth) / 2),
                    OptionsFor(options, std::min({dab.R1, dab.R2, thickness})));
}

VolumeBox GetSolidBox(const VolumeObject& volume) {
  VolumeBox box;
  volume.ForEachCell([&](const CellKey& key, const VoxelCell& cell) {
    // Wiped cells hold no block and have both flags: their value decides.
    if (cell.Density ? !(cell.Flags & HasInside) : cell.UniformValue < SurfaceLevel) return;
    const float x = float(key.x) * CellSize, y = float(key.y) * CellSize, z = float(key.z) * CellSize;
    box.Add(VolumeBox{x, y, z, x + CellSize, y + CellSize, z + CellSize});
  });
  return box;
}

ApplyReport ApplyStamp(VolumeObject& volume, const VolumeObject& source, const Dab& dab, const DabOptions& options) {
  const VolumeBox box = GetSolidBox(source);
  if (!IsUsable(dab) || dab.R1 <= 0 || &volume == &source || box.Empty()) return {};
  SetStrokeConstants(dab, options);
  const cVec3 center{(box.MinX + box.MaxX) / 2, (box.MinY + box.MaxY) / 2, (box.MinZ + box.MaxZ) / 2};
  const cVec3 half{box.MaxX - center.x, box.MaxY - center.y, box.MaxZ - center.z};
  const float scale = std::max({half.x, half.y, half.z}) / dab.R1;

  // Columns: the frame of the dab, scaled to the source; the position is mirrored before, so the frame is the dab's own.
  const StrokeConstants frame = MakeStrokeConstants(dab, false);
  const cVec3 &t = frame.spT, &b = frame.spB, &n = frame.spN1;
  cMat4 toSource = {{{t.x * scale, b.x * scale, n.x * scale, 0},
                     {t.y * scale, b.y * scale, n.y * scale, 0},
                     {t.z * scale, b.z * scale, n.z * scale, 0},
                     {0, 0, 0, 1}}};
  const cVec3 origin = center - toSource.TransformPoint(dab.P1);
  toSource.m[3][0] = origin.x, toSource.m[3][1] = origin.y, toSource.m[3][2] = origin.z;
  return ApplyField(volume, StampField(source, toSource, options.Mirror), BoxOf(CurrentDab, Length(half) / scale),
                    OptionsFor(options, dab.R1));
}
