// Vertices of the surface by what they are, cell by cell. That the triangles between them close every surface, mirrored or not,
// shows in volumes of noise: Surface.NoVolumeHasABorder, Surface.SymmetricVolumeHasASymmetricSurface.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "MC/VolumeFixtures.h"

namespace {

/// Number of the grid edge of a cell that a vertex lies on: x + 9 y + 81 z + 729 axis.
int EdgeOf(const VolumeVertex& v, const CellKey& cell) {
  const float local[3] = {v.x - 8.0f * float(cell.x), v.y - 8.0f * float(cell.y), v.z - 8.0f * float(cell.z)};
  const auto along = std::find_if(local, local + 3, [](float p) { return p != std::floor(p); });
  return int(local[0]) + 9 * int(local[1]) + 81 * int(local[2]) + 729 * int(along - local);
}

void ExpectOneVertexOnEveryCrossedEdge(const VolumeObject& volume) {
  volume.ForEachCell([&](const CellKey& key, const VoxelCell& cell) {
    if (!cell.Density) return;
    std::map<int, VolumeVertex> vertexOf;
    for (uint32_t i = 0; cell.Surface && i < cell.Surface->Vertices().Count(); i++)
      ASSERT_TRUE(vertexOf.emplace(EdgeOf(cell.Surface->Vertices()[i], key), cell.Surface->Vertices()[i]).second);
    size_t crossed = 0;
    for (int edge = 0; edge < 3 * CellSamples; edge++) {
      const int axis = edge / CellSamples, from = edge % CellSamples, local[3] = {from % 9, from / 9 % 9, from / 81};
      if (local[axis] == 8) continue;
      const double low = cell.Density[from], high = cell.Density[from + (axis == 0 ? 1 : axis == 1 ? 9 : 81)];
      if ((low < SurfaceLevel) == (high < SurfaceLevel)) continue;
      crossed++;
      ASSERT_EQ(vertexOf.count(edge), 1u) << edge;
      const VolumeVertex& v = vertexOf[edge];
      double place[3] = {8.0 * key.x + local[0], 8.0 * key.y + local[1], 8.0 * key.z + local[2]};
      place[axis] += (SurfaceLevel - 0.5 - low) / (high - low);
      for (int k = 0; k < 3; k++) ASSERT_NEAR((&v.x)[k], place[k], 4e-6) << "two units of a float below 32";
      ASSERT_EQ(volume.GetNormal(v.x, v.y, v.z), (comms::cVec3{v.nx, v.ny, v.nz}));
      bool boundary = false;
      for (int k = 0; k < 3; k++) boundary |= local[k] == 8 || (local[k] == 0 && k != axis);
      ASSERT_EQ(v.EdgeKey, boundary ? edge : InteriorEdge);
    }
    ASSERT_EQ(vertexOf.size(), crossed);
  });
}

}  // namespace

TEST(Polygonise, EveryCrossedEdgeHasOneVertex) {
  for (uint32_t seed = 1; seed <= 2; seed++)
    ExpectOneVertexOnEveryCrossedEdge(fixtures::FilledVolume(4, fixtures::Noise{{-30, -31, -29}, {30, 29, 31}, seed}));
  ExpectOneVertexOnEveryCrossedEdge(fixtures::FilledVolume(3, fixtures::Sphere{0.3, -0.2, 1.7, 15.5}));
}

TEST(Polygonise, FarCellsHaveTheTrianglesOfNearOnes) {
  const int32_t far = 1 << 27;
  for (const CellKey& origin : {CellKey{100, -3000, 7}, {-60000, 50000, 1 << 18}, {far - 4, -far, 0}}) {
    const CellKey near{origin.x < 0 ? -4 : 0, origin.y < 0 ? -4 : 0, 0};  // on the same side of the planes of symmetry
    VolumeObject there, here;
    for (const auto& [volume, low] : {std::pair{&there, origin}, {&here, near}}) {
      const fixtures::Noise noise{{0, 0, 0}, {32, 32, 32}, 3};
      fixtures::Fill(*volume, low, {low.x + 3, low.y + 3, low.z + 3},
                     [&noise, &at = low](int x, int y, int z) { return noise(x - 8 * at.x, y - 8 * at.y, z - 8 * at.z); });
      volume->RefreshChanges();
    }
    here.ForEachCell([&](const CellKey& key, const VoxelCell& cell) {
      const CellKey moved{key.x - near.x + origin.x, key.y - near.y + origin.y, key.z - near.z + origin.z};
      const SurfaceData &one = *cell.Surface, &other = *there.FindCell(moved)->Surface;
      EXPECT_TRUE(std::equal(one.Indices().begin(), one.Indices().end(), other.Indices().begin(), other.Indices().end()));
      for (uint32_t i = 0; i < one.Vertices().Count(); i++)
        ASSERT_FLOAT_EQ(other.Vertices()[i].y, float(one.Vertices()[i].y + 8.0 * (origin.y - near.y)));
    });
  }
}
