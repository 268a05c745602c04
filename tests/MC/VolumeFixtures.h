#pragma once
// Volumes for tests, built sample by sample from a function of the voxel coordinates.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "MC/VolumeObject.h"

namespace fixtures {

/// Density of a signed distance (positive outside) on the ramp of 4 voxels.
inline uint16_t Ramp(double distance) { return uint16_t(std::clamp(0.5 - distance / 4, 0.0, 1.0) * 65535); }

/// Fills the cells of a box of keys with field(x, y, z) at voxel coordinates; cells without density are not created. All samples
/// come from the one function, so shared planes are equal.
template <class Field>
void Fill(VolumeObject& volume, const CellKey& low, const CellKey& high, Field&& field) {
  uint16_t samples[CellSamples];
  for (int32_t cz = low.z; cz <= high.z; cz++)
    for (int32_t cy = low.y; cy <= high.y; cy++)
      for (int32_t cx = low.x; cx <= high.x; cx++) {
        for (int z = 0; z < CellEdge; z++)
          for (int y = 0; y < CellEdge; y++)
            for (int x = 0; x < CellEdge; x++) samples[SampleIndex(x, y, z)] = field(8 * cx + x, 8 * cy + y, 8 * cz + z);
        if (std::all_of(samples, samples + CellSamples, [](uint16_t v) { return v == 0; })) continue;
        VoxelCell* cell = volume.GetCell(cx, cy, cz, true, false, false);
        cell->Expand(ExpandAllocate | ExpandFill, false);
        std::copy_n(samples, CellSamples, cell->Density);
        cell->Analyze(true, false);
        volume.MarkCellChanged(cx, cy, cz, false, false);
      }
}

/// Repeatable noise of a lattice point.
inline uint32_t HashVoxel(int32_t x, int32_t y, int32_t z, uint32_t seed) {
  uint32_t h = seed * 2654435761u ^ uint32_t(x) * 73856093u ^ uint32_t(y) * 19349663u ^ uint32_t(z) * 83492791u;
  h ^= h >> 15;
  h *= 2246822519u;
  h ^= h >> 13;
  h *= 3266489917u;
  return h ^ h >> 16;
}

/// Samples without any order, every kind of them: saturated, near the surface level, anything. 0 outside `low` .. `high`
/// (voxels), so that the surface is closed there.
struct Noise {
  CellKey Low, High;
  uint32_t Seed;
  uint16_t operator()(int32_t x, int32_t y, int32_t z) const {
    if (x <= Low.x || y <= Low.y || z <= Low.z || x >= High.x || y >= High.y || z >= High.z) return 0;
    const uint32_t h = HashVoxel(x, y, z, Seed);
    const uint16_t kinds[] = {0, 65535, uint16_t(32766 + (h & 3)), 32768};  // next to the surface level, on both sides
    return h >> 29 < 4 ? kinds[h >> 29] : uint16_t(h);
  }
};

/// A solid sphere about a centre.
struct Sphere {
  double X = 0, Y = 0, Z = 0, Radius = 10;
  uint16_t operator()(int32_t x, int32_t y, int32_t z) const {
    return Ramp(std::sqrt((x - X) * (x - X) + (y - Y) * (y - Y) + (z - Z) * (z - Z)) - Radius);
  }
};

/// A volume with its surface: a field in the cells -cells .. cells - 1 along each axis.
struct FilledVolume : VolumeObject {
  template <class Field>
  FilledVolume(int32_t cells, const Field& field) {
    Fill(*this, {-cells, -cells, -cells}, {cells - 1, cells - 1, cells - 1}, field);
    RefreshChanges();
  }
};

}  // namespace fixtures
