#include "MC/room/StrokePlacement.h"

#include <algorithm>
#include <cmath>

using comms::cVec3;

bool GetSurfaceBounds(const VolumeObject& volume, cVec3& minimum, cVec3& maximum) {
  VolumeBox box;
  volume.ForEachCell([&](const CellKey&, const VoxelCell& cell) {
    if (cell.Surface && !cell.Surface->Empty()) box.Add(cell.Surface->Box);
  });
  if (box.Empty()) return false;
  constexpr float infinite = INFINITY;
  minimum = {infinite, infinite, infinite}, maximum = -minimum;
  for (int corner = 0; corner < 8; ++corner) {
    const cVec3 p = volume.VolumeToWorld(
        {corner & 1 ? box.MaxX : box.MinX, corner & 2 ? box.MaxY : box.MinY, corner & 4 ? box.MaxZ : box.MinZ});
    for (int i = 0; i < 3; ++i) minimum[i] = std::min(minimum[i], p[i]), maximum[i] = std::max(maximum[i], p[i]);
  }
  return true;
}

void PlaceInBox(const cVec3& minimum, const cVec3& maximum, Stroke& stroke) {
  const cVec3 middle = (minimum + maximum) * 0.5f, size = maximum - minimum;
  const float half = 0.5f * std::max({size.x, size.y, size.z});
  stroke.Base *= half;
  for (PenSample& sample : stroke.Samples) {
    sample.Position = middle + sample.Position * half;
    sample.Radius *= half;
  }
}

namespace {

/// Rays through a volume from outside, in its own space.
class SurfaceFinder {
 public:
  SurfaceFinder(const VolumeObject& volume, const cVec3& minimum, const cVec3& maximum)
      : m_Volume(volume),
        m_Middle(volume.WorldToVolume((minimum + maximum) * 0.5f)),
        m_Reach(Length(volume.WorldToVolume(maximum) - volume.WorldToVolume(minimum)) / 2 + 4) {}

  /// Moves a sample along its normal; false where the ray meets nothing.
  bool Project(PenSample& sample) const {
    const cVec3 position = m_Volume.WorldToVolume(sample.Position);
    const cVec3 out = Normalized(m_Volume.WorldToVolumeDirection(sample.Normal), {0, 0, 1});
    // From where the ray enters the ball about the surface's box, in half voxels; then the crossing is halved in.
    const float start = Dot(m_Middle - position, out) + m_Reach;
    float outside = start;
    const int steps = int(std::ceil(4 * m_Reach));
    for (int step = 0; step < steps; ++step) {
      const float at = start - 0.5f * float(step);
      if (!IsInside(position + out * at)) {
        outside = at;
        continue;
      }
      float inside = at;
      for (int i = 0; i < 12; ++i) {
        const float middle = 0.5f * (inside + outside);
        (IsInside(position + out * middle) ? inside : outside) = middle;
      }
      const cVec3 hit = position + out * outside;
      sample.Position = m_Volume.VolumeToWorld(hit);
      sample.Normal = Normalized(m_Volume.VolumeToWorldDirection(-m_Volume.GetCentralNormal(hit.x, hit.y, hit.z)), sample.Normal);
      return true;
    }
    return false;
  }

 private:
  bool IsInside(const cVec3& p) const { return m_Volume.SampleTrilinear(p.x, p.y, p.z, false) >= SurfaceLevel; }

  const VolumeObject& m_Volume;
  cVec3 m_Middle;
  float m_Reach;
};

}  // namespace

std::vector<Stroke> ProjectOnSurface(const VolumeObject& volume, const Stroke& stroke, int& missed) {
  std::vector<Stroke> pieces;
  cVec3 minimum, maximum;
  if (!GetSurfaceBounds(volume, minimum, maximum)) {
    missed += int(stroke.Samples.size());
    return pieces;
  }
  const SurfaceFinder finder(volume, minimum, maximum);
  Stroke settings = stroke;
  settings.Samples = {};              // with its memory: every piece is a copy
  const PenSample* before = nullptr;  // the sample before this one as it was given; null where a piece begins
  for (const PenSample& sample : stroke.Samples) {
    PenSample placed = sample;
    if (!finder.Project(placed)) {
      ++missed;
      before = nullptr;
      continue;
    }
    if (before) {
      const float apart = Length(placed.Position - pieces.back().Samples.back().Position);
      if (apart > 3 * Length(sample.Position - before->Position) + 2 * sample.Radius) before = nullptr;
    }
    if (!before) {
      pieces.push_back(settings);
    }
    pieces.back().Samples.push_back(placed);
    before = &sample;
  }
  return pieces;
}
