#pragma once
// Marching cubes of one cell by the book: every corner looked up through the mirror, every vertex found by its key in a map,
// every normal by the general sampling function. Slow, and the second road to the same bits.
#include <array>
#include <map>
#include <vector>

#include "MC/MarchingCubesTables.h"
#include "MC/VolumeObject.h"

struct ReferenceMesh {
  std::vector<VolumeVertex> Vertices;
  std::vector<uint16_t> Indices;
};

inline ReferenceMesh PolygonizeByTheBook(const VolumeObject& volume, const CellKey& key) {
  ReferenceMesh mesh;
  const VoxelCell* cell = volume.FindCell(key);
  if (!cell || !cell->CrossesSurface() || !cell->Density) return mesh;
  const int32_t coordinate[3] = {key.x, key.y, key.z};
  auto mirror = [&](std::array<int, 3> q) {
    for (int i = 0; i < 3; i++)
      if (coordinate[i] < 0) q[i] = 8 - q[i];
    return q;
  };
  auto sample = [&](const std::array<int, 3>& q) { return cell->Density[SampleIndex(q[0], q[1], q[2])]; };
  const bool flip = (key.x < 0) ^ (key.y < 0) ^ (key.z < 0);
  std::map<int, uint16_t> numbers;
  for (int z = 0; z < 8; z++)
    for (int y = 0; y < 8; y++)
      for (int x = 0; x < 8; x++) {
        auto corner = [&](int i) { return mirror({x + CornerOffset[i][0], y + CornerOffset[i][1], z + CornerOffset[i][2]}); };
        int cubeCase = 0;
        for (int i = 0; i < 8; i++)
          if (sample(corner(i)) < 32768) cubeCase |= 1 << i;
        int edgeNumber[12] = {};
        for (int e = 0; e < 12; e++) {
          if (!(edgeTable[cubeCase] >> e & 1)) continue;
          const int a = EdgeCorners[e][0], b = EdgeCorners[e][1];
          const auto pa = corner(a), pb = corner(b);
          const int axis = pa[0] != pb[0] ? 0 : pa[1] != pb[1] ? 1 : 2;
          const int k[3] = {std::min(pa[0], pb[0]), std::min(pa[1], pb[1]), std::min(pa[2], pb[2])};
          const int number = k[0] + 9 * k[1] + 81 * k[2] + 729 * axis;
          auto found = numbers.find(number);
          if (found == numbers.end()) {
            const float vb = sample(pb) - 32768 + 0.5f, va = sample(pa) - 32768 + 0.5f;
            float position[3];
            const int voxel[3] = {x, y, z};
            for (int i = 0; i < 3; i++) {
              const float t = (CornerOffset[a][i] * vb - CornerOffset[b][i] * va) / (vb - va);
              double p = double(voxel[i]) + t;
              if (coordinate[i] < 0) p = 8 - p;
              position[i] = float(p + 8.0 * coordinate[i]);
            }
            const auto n = volume.GetNormal(position[0], position[1], position[2]);
            bool boundary = false;
            for (int i = 0; i < 3; i++) boundary |= k[i] == 8 || (k[i] == 0 && axis != i);
            found = numbers.emplace(number, uint16_t(mesh.Vertices.size())).first;
            mesh.Vertices.push_back(
                {position[0], position[1], position[2], n.x, n.y, n.z, boundary ? uint16_t(number) : uint16_t(65535), 0});
          }
          edgeNumber[e] = found->second;
        }
        std::vector<uint16_t> row;
        for (const int8_t* e = triTable[cubeCase]; *e >= 0; e++) row.push_back(uint16_t(edgeNumber[*e]));
        if (flip) std::reverse(row.begin(), row.end());
        mesh.Indices.insert(mesh.Indices.end(), row.begin(), row.end());
      }
  return mesh;
}
