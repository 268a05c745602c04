#include <gtest/gtest.h>
#include <oneapi/tbb/parallel_for.h>

#include <map>
#include <random>
#include <set>
#include <tuple>

#include "MC/VolumeFixtures.h"

using fixtures::Fill;

namespace {

struct KeyOrder {
  bool operator()(const CellKey& a, const CellKey& b) const { return std::tie(a.x, a.y, a.z) < std::tie(b.x, b.y, b.z); }
};

VoxelCell* NewBlock(VolumeObject& volume, const CellKey& key) {
  VoxelCell* cell = volume.GetCell(key.x, key.y, key.z, true, false, false);
  cell->Expand(ExpandAllocate | ExpandFill, false);
  return cell;
}

}  // namespace

TEST(CellTable, FollowsAMapThroughInsertionsAndRemovals) {
  VolumeObject owner;
  CellTable table;
  std::map<CellKey, VoxelCell*, KeyOrder> map;
  std::vector<VoxelCell> cells(4000);
  std::mt19937 random(7);
  const int32_t corners[] = {0, -3, 1 << 27, -(1 << 27), INT32_MAX / 8};
  for (int step = 0; step < 60000; step++) {
    const int32_t base = corners[random() % 5];
    // Few keys, so that pages fill, empty and come again; the first steps fill, the last ones empty.
    const CellKey key{base + int32_t(random() % 9), int32_t(random() % 9) - 4, base / 2 + int32_t(random() % 9)};
    const bool insert = random() % 60000 > unsigned(step) / 2 + 10000;
    const auto found = map.find(key);
    ASSERT_EQ(table.Find(key), found == map.end() ? nullptr : found->second);
    if (insert && found == map.end()) {
      map[key] = &cells[random() % cells.size()];
      table.Insert(key, map[key]);
    } else if (!insert) {
      ASSERT_EQ(table.Remove(key), found == map.end() ? nullptr : found->second);
      if (found != map.end()) map.erase(found);
    }
    if (step % 5000 == 0) {
      size_t visited = 0;
      table.ForEach([&](const CellKey& k, VoxelCell& cell) {
        visited++;
        ASSERT_EQ(map.at(k), &cell);
      });
      ASSERT_EQ(visited, map.size());
      ASSERT_EQ(table.Count(), map.size());
    }
  }
  for (const auto& entry : std::map(map)) table.Remove(entry.first);
  EXPECT_EQ(table.Count(), 0u);
  EXPECT_LT(table.Bytes(), 100000u);  // empty pages were freed
}

TEST(FixedPool, BlocksAreDistinctAndComeBack) {
  constexpr size_t bytes = 1458, count = 5000;
  FixedPool pool(bytes);
  std::set<uint8_t*> blocks;
  for (size_t i = 0; i < count; i++) blocks.insert(static_cast<uint8_t*>(pool.Allocate(false)));
  ASSERT_EQ(blocks.size(), count);
  for (auto block = std::next(blocks.begin()); block != blocks.end(); ++block)
    ASSERT_GE(size_t(*block - *std::prev(block)), bytes);
  for (uint8_t* block : blocks) std::fill_n(block, bytes, uint8_t(1));  // all of it is there
  const size_t slabs = pool.SlabBytes();
  EXPECT_LT(slabs, count * bytes * 4 / 3);
  for (uint8_t* block : blocks) pool.Free(block, false);
  std::vector<void*> again(count);
  pool.AllocateMany(count, again.data());
  for (void* block : again) ASSERT_TRUE(blocks.erase(static_cast<uint8_t*>(block)));
  EXPECT_EQ(pool.SlabBytes(), slabs);
  for (void* block : again) pool.Free(block, false);
  pool.Clear();
  EXPECT_EQ(pool.SlabBytes(), 0u);
  pool.Allocate(false);
  EXPECT_LE(pool.SlabBytes(), size_t(64) << 10);  // a tiny volume stays tiny
}

TEST(VolumeStore, WorkersCreateCellsAndBlocksUnderTheLocks) {
  VolumeObject volume;
  tbb::parallel_for(0, 20000, [&](int i) {
    const int n = i % 5000;  // every cell is asked for four times
    VoxelCell* cell = volume.GetCell(n % 17, n / 17 % 17, n / 289 - 8, true, i % 3 == 0, true);
    if (i < 5000) {
      cell->Expand(ExpandAllocate | ExpandFill, true);
      cell->Density[n % 729] = 40000;
      cell->Analyze(i % 2 == 0, true);
    } else {
      volume.MarkCellChanged(n % 17, n / 17 % 17, n / 289 - 8, false, true);  // reads the table that others write
    }
  });
  EXPECT_EQ(volume.Cells.Count(), 5000u);
  EXPECT_EQ(volume.DirtyCells.Count(), 5000u);
  std::set<const uint16_t*> blocks;
  volume.ForEachCell([&](const CellKey&, VoxelCell& cell) {
    ASSERT_TRUE(cell.Density && cell.CrossesSurface());
    ASSERT_TRUE(blocks.insert(cell.Density).second);
  });
  volume.Clear();
  EXPECT_EQ(volume.VoxelPool.UsedBlocks() + volume.CellPool.UsedBlocks() + volume.SurfacePool.UsedBlocks(), 0u);
}

TEST(VolumeStore, VoxelsAreFoundOnBothSidesOfTheOrigin) {
  VolumeObject volume;
  VolumeObject::Cursor cursor;
  // Nothing is there yet, and reading makes nothing.
  EXPECT_EQ(volume.SampleVoxel(-1, 0, 1 << 30, cursor, false), 0);
  EXPECT_EQ(volume.SampleTrilinear(1.5f, -2.5f, 1e30f, true), 0);
  EXPECT_EQ(volume.SampleTrilinear(NAN, INFINITY, 0, false), 0);
  EXPECT_EQ(volume.MinCell, (CellKey{10000, 10000, 10000}));
  EXPECT_EQ(volume.MaxCell, (CellKey{-10000, -10000, -10000}));
  EXPECT_EQ(volume.GetCell(1, 2, 3, false, true, false), nullptr);
  volume.RefreshChanges();
  EXPECT_EQ(volume.AssignVertexIds() + volume.Cells.Count(), 0u);

  auto field = [](int32_t x, int32_t y, int32_t z) { return uint16_t(1 + (((x * 31 + y) * 31 + z) & 0x7FFF)); };
  Fill(volume, {-2, -2, -2}, {1, 1, 1}, field);
  EXPECT_EQ(volume.MinCell, (CellKey{-2, -2, -2}));
  EXPECT_EQ(volume.MaxCell, (CellKey{1, 1, 1}));
  // The far planes are made wrong: a read of single voxels must not see them.
  volume.ForEachCell([](const CellKey&, VoxelCell& cell) {
    for (int i = 0; i < CellSamples; i++)
      if (i % 9 == 8 || i / 9 % 9 == 8 || i / 81 == 8) cell.Density[i] = 0;
  });
  cursor = {};
  for (int32_t z = -16; z < 16; z++)
    for (int32_t y = -16; y < 16; y++)
      for (int32_t x = -16; x < 16; x++) ASSERT_EQ(volume.SampleVoxel(x, y, z, cursor, false), field(x, y, z)) << x << y << z;
}

// Every position of the one sample that differs: the vectorised walk has a tail.
TEST(VolumeStore, AnalyzeFindsSidesAndUniformBlocks) {
  VolumeObject volume;
  VoxelCell* cell = NewBlock(volume, {0, 0, 0});
  const uint16_t pairs[][2] = {{0, 1}, {0, 32767}, {0, 32768}, {65535, 65534}, {65535, 32768}, {65535, 32767}, {32768, 0}};
  for (const auto& [most, one] : pairs)
    for (int at = 0; at < CellSamples; at++) {
      cell->Expand(ExpandAllocate, false);
      std::fill_n(cell->Density, CellSamples, most);
      cell->Density[at] = one;
      cell->Flags &= ~FillPending;
      cell->Analyze(true, false);
      ASSERT_TRUE(cell->Density) << "one sample differs at " << at;
      ASSERT_EQ(cell->Has(HasOutside), std::min(most, one) < 32768);
      ASSERT_EQ(cell->Has(HasInside), std::max(most, one) >= 32768);
      ASSERT_FALSE(cell->Has(Unpacked) || cell->Has(UniformKept));
      ASSERT_EQ(cell->UniformValue, cell->Density[0]);
    }
  for (uint16_t value : {0, 32767, 32768, 65535}) {
    cell->Expand(ExpandAllocate, false);
    cell->Flags &= ~FillPending;
    std::fill_n(cell->Density, CellSamples, value);
    cell->Analyze(false, false);
    ASSERT_TRUE(cell->Density && cell->Has(UniformKept));
    cell->Analyze(true, false);
    ASSERT_FALSE(cell->Density || cell->Has(UniformKept));
    ASSERT_EQ(cell->UniformValue, value);
    ASSERT_EQ(cell->Has(HasInside), value >= 32768);
    ASSERT_EQ(cell->Has(HasOutside), value < 32768);
    ASSERT_EQ(volume.VoxelPool.UsedBlocks(), 0u);
  }
}

TEST(VolumeStore, ExpandLeavesAFillPendingUntilTheSecondCall) {
  VolumeObject volume;
  VoxelCell* cell = volume.GetCell(0, 0, 0, true, false, false);
  cell->SetUniform(40000, false);
  cell->Expand(0, false);
  EXPECT_FALSE(cell->Density);
  cell->Expand(ExpandAllocate, false);
  ASSERT_TRUE(cell->Density);
  std::fill_n(cell->Density, CellSamples, 7);  // what an unfilled block may hold
  EXPECT_TRUE(cell->Has(FillPending | Unpacked));
  VolumeObject::Cursor cursor;
  EXPECT_EQ(volume.SampleVoxel(3, 4, 5, cursor, false), 40000);
  EXPECT_EQ(volume.SampleTrilinear(3.5f, 4, 5, false), 40000);
  EXPECT_EQ(volume.BackupCell(0, 0, 0)->Density, nullptr);
  cell->Expand(ExpandAllocate, false);
  EXPECT_FALSE(cell->Has(FillPending));
  EXPECT_TRUE(std::all_of(cell->Density, cell->Density + CellSamples, [](uint16_t v) { return v == 40000; }));
}

// What comes back is held to the byte in Stroke.EndHandsOverWhatItReplacedAndItComesBackExactly.
TEST(VolumeStore, BackupIsOfTheFirstTouchAndIsReadInItsPlace) {
  VolumeObject volume;
  Fill(volume, {-2, -2, -2}, {1, 1, 1}, fixtures::Sphere{0, 0, 0, 10});
  volume.RefreshChanges();
  volume.AssignVertexIds();
  VoxelCell* cell = volume.FindCell({-1, 0, 0});
  const uint32_t vertices = cell->Surface->Vertices.Count();
  const uint16_t before = cell->Density[SampleIndex(7, 1, 1)];
  ASSERT_EQ(volume.GetCell(-1, 0, 0, true, true, false), cell);
  const VoxelCell* backup = cell->Backup;
  volume.GetCell(5, 5, 5, true, true, false)->SetUniform(65535, false);
  cell->SetUniform(9, false);
  volume.GetCell(-1, 0, 0, true, true, false);
  ASSERT_EQ(cell->Backup, backup);
  EXPECT_EQ(volume.BackupCount, 2);
  EXPECT_EQ(backup->Surface->VertexIds.Count(), vertices);
  EXPECT_EQ(cell->Surface->SavedVertices.Count(), vertices);
  VolumeObject::Cursor cursor;
  EXPECT_EQ(volume.SampleVoxel(-1, 1, 1, cursor, false), 9);
  EXPECT_EQ(volume.SampleVoxel(-1, 1, 1, cursor, true), before);
  EXPECT_EQ(volume.SampleTrilinear(-1, 1, 1, true), before);
  EXPECT_EQ(volume.FindCellOrBackup(5, 5, 5)->UniformValue, 0);
  volume.EndStroke(false);
  EXPECT_FALSE(cell->Backup || !cell->Surface->SavedVertices.Empty());
  EXPECT_EQ(cell->UniformValue, 9);
  EXPECT_EQ(volume.FindCell({5, 5, 5})->UniformValue, 65535);
  volume.Clear();
  EXPECT_EQ(volume.VoxelPool.UsedBlocks() + volume.CellPool.UsedBlocks() + volume.SurfacePool.UsedBlocks(), 0u);
}

TEST(VolumeStore, KeysBeyondTheLimitAreDroppedButBackedUp) {
  VolumeObject volume;
  const int total = int(VolumeObject::MaxStrokeKeys) + 100;
  for (int i = 0; i < total; i++) volume.GetCell(i, 0, 0, true, true, false)->SetUniform(65535, false);
  EXPECT_EQ(volume.StrokeCellKeys.size(), VolumeObject::MaxStrokeKeys);
  EXPECT_EQ(volume.BackupCount, total);
  EXPECT_NE(volume.FindCell({int(VolumeObject::MaxStrokeKeys), 0, 0})->Backup, nullptr);  // the 18193rd
  volume.EndStroke(true);
  EXPECT_EQ(volume.Cells.Count(), 0u) << "what the stroke created is gone";
}

TEST(VolumeSampling, TrilinearReproducesLinearFieldsAndStaysInItsCell) {
  VolumeObject volume;
  auto field = [](double x, double y, double z) { return 20000 + 100 * x - 300 * y + 500 * z; };
  Fill(volume, {-2, -2, -2}, {1, 1, 1}, [&](int x, int y, int z) { return uint16_t(field(x, y, z)); });
  std::mt19937 random(3);
  std::uniform_real_distribution<float> inside(-15.5f, 15.5f);
  for (int i = 0; i < 2000; i++) {
    const float x = inside(random), y = inside(random), z = inside(random);
    ASSERT_NEAR(volume.SampleTrilinear(x, y, z, false), field(x, y, z), 1e-6) << x << " " << y << " " << z;
  }
  // Alone in the world: nothing else to read. A whole position must not need the next sample.
  VolumeObject lone;
  VoxelCell* cell = NewBlock(lone, {0, 0, 0});
  for (int i = 0; i < CellSamples; i++) cell->Density[i] = uint16_t(i);
  EXPECT_EQ(lone.SampleTrilinear(7, 7, 7, false), SampleIndex(7, 7, 7));
  EXPECT_EQ(lone.SampleTrilinear(7.5f, 7, 7, false), (SampleIndex(7, 7, 7) + SampleIndex(8, 7, 7)) / 2.0);
  EXPECT_EQ(lone.SampleTrilinear(8, 7, 7, false), 0);
}

TEST(VolumeSampling, EdgesAreSampledAlongOneAxisAndReferenceFillsIn) {
  VolumeObject volume, reference;
  auto field = [](double x, double y, double z) { return 20000 + 100 * x - 300 * y + 500 * z; };
  auto sampled = [&](int x, int y, int z) { return uint16_t(field(x, y, z)); };
  Fill(volume, {-1, -1, -1}, {0, 0, 0}, sampled);
  Fill(reference, {-1, -1, -1}, {1, 0, 0}, sampled);
  VolumeObject::Cursor cursor;
  EXPECT_NEAR(volume.SampleEdge(2.25f, -3, 5, cursor), field(2.25, -3, 5), 1e-9);
  EXPECT_NEAR(volume.SampleEdge(-2, -3.75f, 5, cursor), field(-2, -3.75, 5), 1e-9);
  EXPECT_NEAR(volume.SampleEdge(-2, 3, -7.5f, cursor), field(-2, 3, -7.5), 1e-9);
  EXPECT_NEAR(volume.SampleEdge(-2, 3, 4, cursor), field(-2, 3, 4), 1e-9);
  EXPECT_NEAR(volume.SampleEdge(2.25f, -3.0005f, 5, cursor), field(2.25, -3, 5), 1e-9);  // as good as on the edge
  EXPECT_EQ(volume.SampleEdge(2.25f, -3.5f, 5, cursor), 0);
  EXPECT_EQ(volume.SampleEdge(9, 1, 1, cursor), 0);
  volume.Reference = &reference;
  EXPECT_NEAR(volume.SampleEdge(9.5f, 1, 1, cursor), field(9.5, 1, 1), 1e-9);
  EXPECT_EQ(volume.SampleEdge(NAN, 1, 1, cursor), 0);
}

TEST(VolumeSampling, NormalsAreUnitGradients) {
  VolumeObject volume;
  Fill(volume, {-3, -3, -3}, {2, 2, 2}, fixtures::Sphere{0, 0, 0, 12});
  const comms::cVec3 n = volume.GetNormal(12, 0, 0), c = volume.GetCentralNormal(-7, -7, -6.5f);
  EXPECT_NEAR(n.x, -1, 1e-6);  // into the solid
  EXPECT_NEAR(comms::Dot(c, comms::Normalized({7, 7, 6.5f})), 1, 1e-3);
  for (const comms::cVec3& p : {comms::cVec3{0, 0, 0}, {1, 1, 1}, {500, 0, 0}}) {  // saturated: any unit vector, no NaN
    EXPECT_NEAR(comms::Length(volume.GetNormal(p.x, p.y, p.z)), 1, 1e-6);
    EXPECT_NEAR(comms::Length(volume.GetCentralNormal(p.x, p.y, p.z)), 1, 1e-6);
  }
  volume.SpaceMatrix = comms::cMat4::Scale(2) * comms::cMat4::Translation({1, 2, 3});
  const comms::cVec3 p = volume.WorldToVolume(volume.VolumeToWorld({4, 5, 6}));
  EXPECT_NEAR(comms::Length(p - comms::cVec3{4, 5, 6}), 0, 1e-5);
  EXPECT_NEAR(volume.WorldToVolumeDirection({2, 0, 0}).x, 1, 1e-6);
}

TEST(VolumeSampling, TheDeeperVolumeDecidesTheBlendedNormal) {
  VolumeObject left, right;
  Fill(left, {-3, -2, -2}, {1, 1, 1}, fixtures::Sphere{-8, 0, 0, 10});
  Fill(right, {-2, -2, -2}, {2, 1, 1}, fixtures::Sphere{8, 0, 0, 10});
  right.SpaceMatrix = comms::cMat4::Translation({0, 0, 100});
  left.SpaceMatrix = right.SpaceMatrix;
  const VolumeObject* both[] = {&left, &right};
  EXPECT_NEAR(GetBlendedNormal(both, {0.5f, 0, 100}).x, -GetBlendedNormal(both, {-0.5f, 0, 100}).x, 1e-5);
  EXPECT_NEAR(GetBlendedNormal(both, {0.5f, 0, 100}).x, 1, 1e-3);  // 1.5 voxels inside the left one, 2.5 inside the right one
  EXPECT_EQ(GetBlendedNormal(both, {8, 0, 100}), comms::cVec3());  // no direction so deep inside
  EXPECT_EQ(GetBlendedNormal(both, {0, 50, 100}), comms::cVec3());
}
