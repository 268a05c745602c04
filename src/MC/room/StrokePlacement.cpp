#include "MC/room/StrokePlacement.h"

#include <algorithm>
#include <cmath>

using comms::cVec3;

bool GetSurfaceBounds(const VolumeObject& volume, cVec3& minimum, cVec3& maximum) {
  VolumeBox box;
  volume.ForEachCell([&](const CellKey&, const VoxelCell& cell) {
    if (cell.Surface && !cell.Surface->Vertices.Empty()) box.Add(cell.Surface->Box);
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

int ProjectOnSurface(const VolumeObject& volume, Stroke& stroke) {
  cVec3 minimum, maximum;
  const size_t before = stroke.Samples.size();
  if (!GetSurfaceBounds(volume, minimum, maximum)) {
    stroke.Samples.clear();
    return int(before);
  }
  const cVec3 middle = volume.WorldToVolume((minimum + maximum) * 0.5f);
  const float reach = Length(volume.WorldToVolume(maximum) - volume.WorldToVolume(minimum)) / 2 + 4;
  const auto isInside = [&](const cVec3& p) { return volume.SampleTrilinear(p.x, p.y, p.z, false) >= SurfaceLevel; };

  const auto project = [&](PenSample& sample) {
    const cVec3 position = volume.WorldToVolume(sample.Position);
    const cVec3 out = Normalized(volume.WorldToVolumeDirection(sample.Normal), {0, 0, 1});
    // From where the ray enters the ball about the surface's box, in half voxels.
    const cVec3 toMiddle = middle - position;
    const float start = Dot(toMiddle, out) + reach;
    float outside = start;
    for (float at = start; at > start - 2 * reach; at -= 0.5f) {
      if (!isInside(position + out * at)) {
        outside = at;
        continue;
      }
      float inside = at;
      for (int i = 0; i < 12; ++i) (isInside(position + out * (0.5f * (inside + outside))) ? inside : outside) = 0.5f * (inside + outside);
      const cVec3 hit = position + out * (0.5f * (inside + outside));
      sample.Position = volume.VolumeToWorld(hit);
      sample.Normal = Normalized(volume.VolumeToWorldDirection(-volume.GetCentralNormal(hit.x, hit.y, hit.z)), sample.Normal);
      return true;
    }
    return false;
  };
  std::erase_if(stroke.Samples, [&](PenSample& sample) { return !project(sample); });
  return int(before - stroke.Samples.size());
}
