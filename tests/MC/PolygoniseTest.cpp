#include <gtest/gtest.h>

#include <cstring>

#include "MC/MarchingCubesTables.h"
#include "MC/ReferencePolygoniser.h"
#include "MC/VolumeFixtures.h"

namespace {

template <class T>
bool SameBytes(const Block<T>& block, const std::vector<T>& expected) {
  return block.Count() == expected.size() &&
         (expected.empty() || std::memcmp(block.Data(), expected.data(), expected.size() * sizeof(T)) == 0);
}

void ExpectEveryCellByTheBook(VolumeObject& volume) {
  size_t surfaces = 0;
  volume.ForEachCell([&](const CellKey& key, VoxelCell& cell) {
    const ReferenceMesh expected = PolygonizeByTheBook(volume, key);
    if (!cell.Surface) {
      EXPECT_TRUE(expected.Vertices.empty());
      return;
    }
    surfaces++;
    ASSERT_TRUE(SameBytes(cell.Surface->Indices, expected.Indices)) << key.x << " " << key.y << " " << key.z;
    ASSERT_EQ(cell.Surface->Vertices.Count(), expected.Vertices.size());
    for (uint32_t i = 0; i < expected.Vertices.size(); i++)
      ASSERT_EQ(std::memcmp(&cell.Surface->Vertices[i], &expected.Vertices[i], sizeof(VolumeVertex)), 0)
          << "cell " << key.x << " " << key.y << " " << key.z << " vertex " << i;
  });
  EXPECT_GT(surfaces, 0u);
}

}  // namespace

TEST(Polygonise, EveryCellIsByTheBookToTheLastBit) {
  const int32_t far = 1 << 27;
  const CellKey origins[] = {{-2, -2, -2}, {100, -3000, 7}, {-60000, 50000, 1 << 18}, {far - 4, -far, 0}};
  for (const CellKey& low : origins)
    for (uint32_t seed = 1; seed <= 2; seed++) {
      VolumeObject volume;
      const CellKey high{low.x + 3, low.y + 3, low.z + 3};
      fixtures::Fill(volume, low, high,
                     fixtures::Noise{{8 * low.x, 8 * low.y, 8 * low.z}, {8 * high.x + 8, 8 * high.y + 8, 8 * high.z + 8}, seed});
      volume.RefreshChanges();
      ExpectEveryCellByTheBook(volume);
    }
  VolumeObject sphere;
  fixtures::Fill(sphere, {-3, -3, -3}, {2, 2, 2}, fixtures::Sphere{0.3, -0.2, 1.7, 15.5});
  sphere.RefreshChanges();
  ExpectEveryCellByTheBook(sphere);
}

// That the patches of neighbouring voxels fit, mirrored or not, shows in volumes of noise: Surface.NoVolumeHasABorder.
TEST(Polygonise, TablesCutExactlyTheCrossedEdges) {
  for (int cubeCase = 0; cubeCase < 256; cubeCase++) {
    int crossed = 0, used = 0;
    for (int e = 0; e < 12; e++) crossed |= ((cubeCase >> EdgeCorners[e][0] ^ cubeCase >> EdgeCorners[e][1]) & 1) << e;
    ASSERT_EQ(edgeTable[cubeCase], crossed) << cubeCase;
    const int8_t* row = triTable[cubeCase];
    for (; *row >= 0; row++) used |= 1 << *row;
    ASSERT_EQ(used, crossed) << cubeCase;
    ASSERT_EQ(row - triTable[cubeCase], numVertsTable[cubeCase]) << cubeCase;
  }
}
