// Reads of the density at integer and real positions, and the normals made from them.
#include <cmath>

#include "MC/SampleMath.h"
#include "MC/VolumeObject.h"

using comms::cVec3;

namespace {

const VoxelCell* CellAt(const VolumeObject& volume, const CellKey& key, VolumeObject::Cursor& cursor) {
  if (!(cursor.Key == key)) {
    cursor.Key = key;
    cursor.Cell = volume.Cells.Find(key, cursor.Table);
  }
  return cursor.Cell;
}

double ReadSample(const VoxelCell& cell, int x, int y, int z) {
  return cell.HasSamples() ? cell.Density[SampleIndex(x, y, z)] : cell.UniformValue;
}

/// Cell coordinate and local position (0 <= local < 8) of a coordinate. Exact: a float scaled by a power of two loses nothing in
/// double, and so no position is moved into the neighbouring cell by rounding.
struct Split {
  explicit Split(float v) {
    const double scaled = double(v) * (1.0 / CellSize);
    const double floored = std::floor(scaled);
    // Beyond the range of cell keys (not a number included) there is nothing to read.
    Inside = floored >= -2147483648.0 && floored <= 2147483647.0;
    Cell = Inside ? int32_t(floored) : 0;
    Local = Inside ? (scaled - floored) * CellSize : 0;
  }
  int32_t Cell;
  double Local;
  bool Inside;
};

}  // namespace

uint16_t VolumeObject::SampleVoxel(int32_t x, int32_t y, int32_t z, Cursor& cursor, bool fromBackup) const {
  const VoxelCell* cell = CellAt(*this, {x >> CellShift, y >> CellShift, z >> CellShift}, cursor);
  if (!cell) return 0;
  if (fromBackup && cell->Backup) cell = cell->Backup;
  if (!cell->HasSamples()) return cell->UniformValue;
  return cell->Density[SampleIndex(x & 7, y & 7, z & 7)];
}

double VolumeObject::SampleTrilinear(float x, float y, float z, bool fromBackup) const {
  const Split sx(x), sy(y), sz(z);
  if (!sx.Inside || !sy.Inside || !sz.Inside) return 0;
  const VoxelCell* cell = fromBackup ? FindCellOrBackup(sx.Cell, sy.Cell, sz.Cell) : Cells.Find({sx.Cell, sy.Cell, sz.Cell});
  if (!cell) return 0;
  if (!cell->HasSamples()) return cell->UniformValue;
  const int ix = int(sx.Local), iy = int(sy.Local), iz = int(sz.Local);
  const double fx = sx.Local - ix, fy = sy.Local - iy, fz = sz.Local - iz;
  const uint16_t* corner = cell->Density + SampleIndex(ix, iy, iz);
  if (fx == 0 && fy == 0 && fz == 0) return *corner;
  auto alongX = [&](int at) { return Lerp(corner[at], corner[at + 1], fx); };
  constexpr int row = CellEdge, plane = CellEdge * CellEdge;
  return Lerp(Lerp(alongX(0), alongX(row), fy), Lerp(alongX(plane), alongX(plane + row), fy), fz);
}

double VolumeObject::SampleEdge(float x, float y, float z, Cursor& cursor) const {
  const Split sx(x), sy(y), sz(z);
  if (!sx.Inside || !sy.Inside || !sz.Inside) return 0;
  const CellKey key{sx.Cell, sy.Cell, sz.Cell};
  const VoxelCell* cell = CellAt(*this, key, cursor);
  if (!cell && Reference) cell = Reference->FindCell(key);
  if (!cell) return 0;
  return SampleGridEdge(sx.Local, sy.Local, sz.Local, [&](int ix, int iy, int iz) { return ReadSample(*cell, ix, iy, iz); });
}

cVec3 VolumeObject::GetNormal(float x, float y, float z) const {
  Cursor cursor;
  return GetNormal(x, y, z, cursor);
}

cVec3 VolumeObject::GetNormal(float x, float y, float z, Cursor& cursor) const {
  const float p[3] = {x, y, z};
  auto sampleAt = [&](int axis, float step) {
    float q[3] = {x, y, z};
    q[axis] += step;
    return SampleEdge(q[0], q[1], q[2], cursor);
  };
  const double here = SampleEdge(x, y, z, cursor);
  double g[3];
  for (int axis = 0; axis < 3; axis++) {
    if (p[axis] > 0)
      g[axis] = sampleAt(axis, 1) - here;
    else if (p[axis] < 0)
      g[axis] = here - sampleAt(axis, -1);
    else
      g[axis] = (sampleAt(axis, 1) - sampleAt(axis, -1)) / 2;
  }
  if (GradientLength(g) < ShortestGradient)
    for (int axis = 0; axis < 3; axis++) g[axis] = sampleAt(axis, 1) - sampleAt(axis, -1);
  return GradientToNormal(g, {x, y, z});
}

namespace {

void FindCentralGradient(const VolumeObject& volume, const cVec3& p, double g[3]) {
  for (int axis = 0; axis < 3; axis++) {
    cVec3 above = p, below = p;
    above[axis] += 1;
    below[axis] -= 1;
    g[axis] = volume.SampleTrilinear(above.x, above.y, above.z, true) - volume.SampleTrilinear(below.x, below.y, below.z, true);
  }
}

}  // namespace

cVec3 VolumeObject::GetCentralNormal(float x, float y, float z) const {
  double g[3];
  FindCentralGradient(*this, {x, y, z}, g);
  return GradientToNormal(g, {x, y, z});
}

cVec3 VolumeObject::WorldToVolume(const cVec3& p) const {
  comms::cMat4 inverse;
  comms::Invert(SpaceMatrix, inverse);
  return inverse.TransformPoint(p);
}

cVec3 VolumeObject::WorldToVolumeDirection(const cVec3& d) const {
  comms::cMat4 inverse;
  comms::Invert(SpaceMatrix, inverse);
  return inverse.TransformDirection(d);
}

cVec3 GetBlendedNormal(std::span<const VolumeObject* const> volumes, const cVec3& world) {
  double sum[3] = {};
  for (const VolumeObject* volume : volumes) {
    const cVec3 p = volume->WorldToVolume(world);
    const double density = volume->SampleTrilinear(p.x, p.y, p.z, true);
    if (density <= 0) continue;
    double weight = density / SurfaceLevel;
    for (int squaring = 0; squaring < 6; squaring++) weight *= weight;
    double g[3];
    FindCentralGradient(*volume, p, g);
    if (GradientLength(g) == 0) continue;  // deep inside there is no direction to add
    const cVec3 normal = comms::Normalized(volume->VolumeToWorldDirection(GradientToNormal(g, p)));
    for (int axis = 0; axis < 3; axis++) sum[axis] += weight * normal[axis];
  }
  const double length = GradientLength(sum);
  return length > 0 ? cVec3{float(sum[0] / length), float(sum[1] / length), float(sum[2] / length)} : cVec3{};
}
