#include "MC/room/SurfacePick.h"

#include <algorithm>
#include <cmath>

using comms::cVec3;

namespace {

constexpr float Step = 0.25f;  // voxels between two samples; thinner folds than this are not seen
constexpr int Halvings = 14;   // of a step: below a hundred-thousandth of a voxel

/// A ray in voxels; walks from cell to cell and looks for the place at which the density rises to the surface level.
class DensityRay {
 public:
  DensityRay(const VolumeObject& volume, const cVec3& origin, const cVec3& direction)
      : m_Volume(volume), m_Origin(origin), m_Direction(direction) {}

  /// Part of the ray, in voxels, within all cells of the volume; false where it misses them.
  bool Clip(float& from, float& to) const {
    for (int i = 0; i < 3; i++) {
      const float low = float((&m_Volume.MinCell.x)[i] * CellSize), high = float(((&m_Volume.MaxCell.x)[i] + 1) * CellSize);
      if (std::fabs(m_Direction[i]) < 1e-12f) {
        if (m_Origin[i] < low || m_Origin[i] > high) return false;
        continue;
      }
      const float a = (low - m_Origin[i]) / m_Direction[i], b = (high - m_Origin[i]) / m_Direction[i];
      from = std::max(from, std::min(a, b));
      to = std::min(to, std::max(a, b));
    }
    return from <= to;
  }

  /// First rise between the two places; false where there is none.
  bool Find(float from, float to, float& hit) {
    bool wasInside = IsInside(from);
    float outside = from;
    for (float at = from; at < to;) {
      const CellKey key = CellAt(at);
      const float leave = std::min(LeaveCell(key, at), to);
      const VoxelCell* cell = Find(key);
      if (!cell || !cell->HasSamples()) {
        const bool inside = cell && cell->UniformValue >= SurfaceLevel;
        if (inside && !wasInside) return hit = Halve(outside, at), true;
        wasInside = inside;
        outside = at = leave;
        continue;
      }
      while (at < leave) {
        const bool inside = IsInside(at);
        if (inside && !wasInside) return hit = Halve(outside, at), true;
        wasInside = inside;
        outside = at;
        at = std::min(at + Step, leave);
      }
    }
    return false;
  }

  cVec3 PlaceAt(float at) const { return m_Origin + m_Direction * at; }

 private:
  CellKey CellAt(float at) const {
    // A touch further on, so that a place on a border belongs to the cell that the ray enters.
    const cVec3 p = PlaceAt(at + 1e-3f) * (1.0f / CellSize);
    return {int32_t(std::floor(p.x)), int32_t(std::floor(p.y)), int32_t(std::floor(p.z))};
  }
  float LeaveCell(const CellKey& key, float at) const {
    float leave = INFINITY;
    for (int i = 0; i < 3; i++) {
      if (std::fabs(m_Direction[i]) < 1e-12f) continue;
      const float border = float(((&key.x)[i] + (m_Direction[i] > 0 ? 1 : 0)) * CellSize);
      leave = std::min(leave, (border - m_Origin[i]) / m_Direction[i]);
    }
    return std::max(leave, at + 1e-3f);
  }
  const VoxelCell* Find(const CellKey& key) {
    const VoxelCell* cell = m_Volume.Cells.Find(key, m_Cursor);
    return cell && cell->Backup ? cell->Backup : cell;
  }
  bool IsInside(float at) const {
    const cVec3 p = PlaceAt(at);
    return m_Volume.SampleTrilinear(p.x, p.y, p.z, true) >= SurfaceLevel;
  }
  float Halve(float outside, float inside) const {
    for (int i = 0; i < Halvings; i++) {
      const float middle = 0.5f * (outside + inside);
      (IsInside(middle) ? inside : outside) = middle;
    }
    return 0.5f * (outside + inside);
  }

  const VolumeObject& m_Volume;
  cVec3 m_Origin, m_Direction;
  CellTable::Cursor m_Cursor;
};

}  // namespace

SurfaceHit PickVolume(VolumeObject& volume, const SceneRay& ray, float maxDistance) {
  if (volume.Cells.Count() == 0 || !IsFinite(ray.Origin) || !IsFinite(ray.Direction)) return {};
  comms::cMat4 toVolume;
  if (!comms::Invert(volume.SpaceMatrix, toVolume)) return {};
  const cVec3 direction = toVolume.TransformDirection(ray.Direction);
  const float voxelsPerUnit = Length(direction);
  if (!(voxelsPerUnit > 0)) return {};
  // The walk begins where the ray enters the cells: far from the origin floats are too coarse for steps of parts of a voxel.
  float from = 0, to = std::min(maxDistance * voxelsPerUnit, 1e30f);
  const cVec3 origin = toVolume.TransformPoint(ray.Origin), unit = direction * (1 / voxelsPerUnit);
  if (!DensityRay(volume, origin, unit).Clip(from, to)) return {};
  DensityRay walk(volume, origin + unit * from, unit);
  float at = 0;
  if (!walk.Find(0, to - from, at)) return {};
  const cVec3 place = walk.PlaceAt(at);
  SurfaceHit hit;
  hit.Volume = &volume;
  hit.Position = volume.VolumeToWorld(place);
  hit.Normal = Normalized(volume.VolumeToWorldDirection(-volume.GetCentralNormal(place.x, place.y, place.z)), -ray.Direction);
  hit.Distance = (from + at) / voxelsPerUnit;
  return hit;
}

SurfaceHit PickScene(const VoxelScene& scene, const SceneRay& ray, float maxDistance) {
  SurfaceHit nearest;
  for (const auto& volume : scene.Volumes()) {
    const SurfaceHit hit = PickVolume(*volume, ray, nearest ? nearest.Distance : maxDistance);
    if (hit) nearest = hit;
  }
  return nearest;
}
