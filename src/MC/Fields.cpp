#include "MC/Fields.h"

#include <algorithm>

using comms::cVec3;

// Bound by the ball around the box. The margin covers the inverse square root (0.18 percent) and rounding.
FieldCover SegmentField::CoverOf(const VolumeBox& box) const {
  const cVec3 center{(box.MinX + box.MaxX) / 2, (box.MinY + box.MaxY) / 2, (box.MinZ + box.MaxZ) / 2};
  const cVec3 half{box.MaxX - center.x, box.MaxY - center.y, box.MaxZ - center.z};
  const cVec3 offset = center - m_Center;
  const float t = Clamp01(Dot(offset, m_Dir) * m_InverseLength);
  const float farthest = (Length(offset - m_Dir * (t * m_Length)) + Length(half)) * 1.003f + 0.05f;
  const float radius = std::min(m_Radius, m_Radius + m_Dr);
  return (radius - farthest) * m_InverseK >= 0.5f ? FieldCover::Full : FieldCover::Mixed;
}

WorldSegmentField::WorldSegmentField(const StrokeConstants& worldDab, const comms::cMat4& toWorld, float voxelsPerUnit,
                                     int rampWidth, int mirror)
    : m_Sign(Mirrored(cVec3{1, 1, 1}, mirror)),
      m_X{toWorld.m[0][0], toWorld.m[0][1], toWorld.m[0][2]},
      m_Y{toWorld.m[1][0], toWorld.m[1][1], toWorld.m[1][2]},
      m_Z{toWorld.m[2][0], toWorld.m[2][1], toWorld.m[2][2]},
      m_Origin(cVec3{toWorld.m[3][0], toWorld.m[3][1], toWorld.m[3][2]} - worldDab.spCenter),
      m_Dir(worldDab.spDir),
      m_Length(worldDab.spLength),
      m_InverseLength(1 / worldDab.spLength),
      m_Radius(worldDab.spRadius),
      m_Dr(worldDab.spDr),
      m_Scale(voxelsPerUnit / float(rampWidth)) {}

CarveField::CarveField(const StrokeConstants& dab, const CarvePen& pen, int rampWidth)
    : m_Dab(dab),
      m_InverseLength(1 / dab.spLength),
      m_Falloff(pen.FalloffStrength),
      m_Base(pen.Base),
      m_InverseK(1 / float(rampWidth)) {}
