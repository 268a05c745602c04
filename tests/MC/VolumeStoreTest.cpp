#include <gtest/gtest.h>
#include <oneapi/tbb/parallel_for.h>

#include <cstring>
#include <map>
#include <random>
#include <set>
#include <tuple>
#include <utility>

#include "MC/Dabs.h"
#include "MC/SurfaceCells.h"
#include "MC/VolumeChecks.h"
#include "MC/VolumeFixtures.h"

using comms::cVec3;
using fixtures::Fill;
using fixtures::FilledVolume;
using fixtures::Sphere;
using volumechecks::Ordered;

namespace {

VoxelCell* NewBlock(VolumeObject& volume, const CellKey& key) {
  VoxelCell* cell = volume.GetCell(key.x, key.y, key.z, true, false, false);
  cell->Expand(ExpandAllocate | ExpandFill, false);
  return cell;
}

/// Densities that are linear in the place, within 16 voxels of the origin.
struct Ramps {
  static double Exact(double x, double y, double z) { return 20000 + 100 * x - 300 * y + 500 * z; }
  uint16_t operator()(int x, int y, int z) const { return uint16_t(Exact(x, y, z)); }
};

}  // namespace

TEST(CellTable, FollowsAMapThroughInsertionsAndRemovals) {
  CellTable table;
  std::map<std::tuple<int, int, int>, VoxelCell*> map;
  std::vector<VoxelCell> cells(4000);
  std::mt19937 random(7);
  const int32_t corners[] = {0, -3, 1 << 27, -(1 << 27), INT32_MAX / 8};
  for (int step = 0; step < 60000; step++) {
    const int32_t base = corners[random() % 5];
    // Few keys, so that pages fill, empty and come again; the first steps fill, the last ones empty.
    const CellKey key{base + int32_t(random() % 9), int32_t(random() % 9) - 4, base / 2 + int32_t(random() % 9)};
    const bool insert = random() % 60000 > unsigned(step) / 2 + 10000;
    VoxelCell*& expected = map[Ordered(key)];
    ASSERT_EQ(table.Find(key), expected);
    if (insert && !expected) {
      expected = &cells[random() % cells.size()];
      table.Insert(key, expected);
    } else if (!insert) {
      ASSERT_EQ(table.Remove(key), std::exchange(expected, nullptr));
    }
    if (!expected) map.erase(Ordered(key));
    if (step % 5000) continue;
    size_t visited = 0;
    table.ForEach([&](const CellKey& k, VoxelCell& cell) { visited += map.at(Ordered(k)) == &cell; });
    ASSERT_TRUE(visited == map.size() && table.Count() == map.size());
  }
  for (const auto& [key, cell] : map) table.Remove({std::get<2>(key), std::get<1>(key), std::get<0>(key)});
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
  const size_t slabs = pool.SlabBytes();
  EXPECT_LT(slabs, count * bytes * 4 / 3);
  for (uint8_t* block : blocks) {
    std::fill_n(block, bytes, uint8_t(1));  // all of it is there
    pool.Free(block, false);
  }
  std::vector<void*> again(count);
  pool.AllocateMany(count, again.data());
  for (void* block : again) {
    ASSERT_TRUE(blocks.erase(static_cast<uint8_t*>(block)));
    pool.Free(block, false);
  }
  EXPECT_EQ(pool.SlabBytes(), slabs);
  pool.Clear();
  EXPECT_EQ(pool.SlabBytes(), 0u);
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
  cursor = {};  // it may hold that there is no cell
  for (int32_t z = -16; z < 16; z++)
    for (int32_t y = -16; y < 16; y++)
      for (int32_t x = -16; x < 16; x++) ASSERT_EQ(volume.SampleVoxel(x, y, z, cursor, false), field(x, y, z)) << x << y << z;
}

// Every position of the one sample that differs: the vectorised walk has a tail.
TEST(VolumeStore, AnalyzeFindsSidesAndUniformBlocks) {
  VolumeObject volume;
  VoxelCell* cell = NewBlock(volume, {0, 0, 0});
  const auto analyze = [&](uint16_t most, int at, uint16_t one, bool compact) {
    cell->Expand(ExpandAllocate | ExpandFill, false);
    std::fill_n(cell->Density, CellSamples, most);
    cell->Density[at] = one;
    const uint16_t first = cell->Density[0];
    cell->Analyze(compact, false);
    EXPECT_EQ(cell->Has(HasOutside), std::min(most, one) < 32768);
    EXPECT_EQ(cell->Has(HasInside), std::max(most, one) >= 32768);
    EXPECT_EQ(cell->UniformValue, first);
    EXPECT_EQ(cell->Density != nullptr, most != one || !compact) << "one sample differs at " << at;
    EXPECT_EQ(cell->Has(UniformKept), most == one && !compact);
    EXPECT_FALSE(cell->Has(Unpacked));
    return !testing::Test::HasFailure();
  };
  const uint16_t pairs[][2] = {{0, 1}, {0, 32767}, {0, 32768}, {65535, 65534}, {65535, 32768}, {65535, 32767}, {32768, 0}};
  for (const auto& [most, one] : pairs)
    for (int at = 0; at < CellSamples; at++) ASSERT_TRUE(analyze(most, at, one, true));
  for (const uint16_t value : {0, 32767, 32768, 65535})
    for (const bool compact : {false, true}) EXPECT_TRUE(analyze(value, 0, value, compact));
  EXPECT_EQ(volume.VoxelPool.UsedBlocks(), 0u);
}

TEST(VolumeStore, ExpandLeavesAFillPendingUntilTheSecondCall) {
  VolumeObject volume;
  VoxelCell* cell = volume.GetCell(0, 0, 0, true, false, false);
  cell->SetUniform(40000, false);
  cell->Expand(ExpandAllocate, false);
  std::fill_n(cell->Density, CellSamples, 7);  // what an unfilled block may hold
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
  FilledVolume volume(2, Sphere{});
  VoxelCell* cell = volume.FindCell({-1, 0, 0});
  const uint16_t before = cell->Density[SampleIndex(7, 1, 1)];
  for (const uint16_t value : {8, 9}) volume.GetCell(-1, 0, 0, true, true, false)->SetUniform(value, false);
  volume.GetCell(5, 5, 5, true, true, false)->SetUniform(65535, false);
  EXPECT_EQ(volume.BackupCount, 2);
  VolumeObject::Cursor cursor;
  EXPECT_EQ(volume.SampleVoxel(-1, 1, 1, cursor, false), 9);
  EXPECT_EQ(volume.SampleVoxel(-1, 1, 1, cursor, true), before);
  EXPECT_EQ(volume.SampleTrilinear(-1, 1, 1, true), before);
  EXPECT_EQ(volume.FindCellOrBackup(5, 5, 5)->UniformValue, 0);
  volume.EndStroke(false);
  EXPECT_FALSE(cell->Backup || !cell->Surface->Saved().Empty());
  EXPECT_EQ(cell->UniformValue, 9);
}

TEST(VolumeStore, KeysBeyondTheLimitAreDroppedButBackedUp) {
  VolumeObject volume;
  const int total = int(VolumeObject::MaxStrokeKeys) + 100;
  for (int i = 0; i < total; i++) volume.GetCell(i, 0, 0, true, true, false)->SetUniform(65535, false);
  EXPECT_EQ(volume.StrokeCellKeys.size(), VolumeObject::MaxStrokeKeys);
  EXPECT_EQ(volume.BackupCount, total);
  volume.EndStroke(true);
  EXPECT_EQ(volume.Cells.Count(), 0u) << "what the stroke created is gone";
}

TEST(VolumeSampling, TrilinearReproducesLinearFieldsAndStaysInItsCell) {
  const FilledVolume volume(2, Ramps{});
  std::mt19937 random(3);
  std::uniform_real_distribution<float> inside(-15.5f, 15.5f);
  for (int i = 0; i < 2000; i++) {
    const float x = inside(random), y = inside(random), z = inside(random);
    ASSERT_NEAR(volume.SampleTrilinear(x, y, z, false), Ramps::Exact(x, y, z), 1e-6) << x << " " << y << " " << z;
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
  VolumeObject volume;
  FilledVolume reference(2, Ramps{});
  Fill(volume, {-1, -1, -1}, {0, 0, 0}, Ramps{});
  VolumeObject::Cursor cursor;
  for (const cVec3& p : {cVec3{2.25f, -3, 5}, {-2, -3.75f, 5}, {-2, 3, -7.5f}, {-2, 3, 4}})
    EXPECT_NEAR(volume.SampleEdge(p.x, p.y, p.z, cursor), Ramps::Exact(p.x, p.y, p.z), 1e-9);
  EXPECT_NEAR(volume.SampleEdge(2.25f, -3.0005f, 5, cursor), Ramps::Exact(2.25, -3, 5), 1e-9);  // as good as on the edge
  for (const cVec3& p : {cVec3{2.25f, -3.5f, 5}, {9, 1, 1}, {NAN, 1, 1}}) EXPECT_EQ(volume.SampleEdge(p.x, p.y, p.z, cursor), 0);
  volume.Reference = &reference;
  EXPECT_NEAR(volume.SampleEdge(9.5f, 1, 1, cursor), Ramps::Exact(9.5, 1, 1), 1e-9);
}

TEST(VolumeSampling, NormalsAreUnitGradients) {
  FilledVolume volume(3, Sphere{0, 0, 0, 12});
  EXPECT_NEAR(volume.GetNormal(12, 0, 0).x, -1, 1e-6);  // into the solid
  EXPECT_NEAR(Dot(volume.GetCentralNormal(-7, -7, -6.5f), Normalized(cVec3{7, 7, 6.5f})), 1, 1e-3);
  for (const cVec3& p : {cVec3{0, 0, 0}, {1, 1, 1}, {500, 0, 0}}) {  // saturated: any unit vector, no NaN
    EXPECT_NEAR(Length(volume.GetNormal(p.x, p.y, p.z)), 1, 1e-6);
    EXPECT_NEAR(Length(volume.GetCentralNormal(p.x, p.y, p.z)), 1, 1e-6);
  }
}

TEST(VolumeSampling, TheDeeperVolumeDecidesTheBlendedNormal) {
  FilledVolume left(3, Sphere{-8, 0, 0, 10}), right(3, Sphere{8, 0, 0, 10});
  left.SpaceMatrix = right.SpaceMatrix = comms::cMat4::Translation({0, 0, 100});
  const VolumeObject* both[] = {&left, &right};
  EXPECT_NEAR(GetBlendedNormal(both, {0.5f, 0, 100}).x, 1, 1e-3);  // 1.5 voxels inside the left one, 2.5 inside the right one
  EXPECT_NEAR(GetBlendedNormal(both, {-0.5f, 0, 100}).x, -1, 1e-3);
  EXPECT_EQ(GetBlendedNormal(both, {8, 0, 100}), cVec3());  // no direction so deep inside
  EXPECT_EQ(GetBlendedNormal(both, {0, 50, 100}), cVec3());
}

// The lines count records by their bare contents; the real figures stand behind.
TEST(VolumeMemory, ReportCountsBareRecordsAndTakesTheTriangles) {
  VolumeObject volume;
  ApplySphereDab(volume, {}, 60, {});
  volume.EndStroke(false);
  volume.RefreshSurfaces();
  size_t uniform = 0, filled = 0, surface = 0, vertices = 0, indices = 0;
  volume.ForEachCell([&](const CellKey&, const VoxelCell& cell) {
    (cell.Surface ? surface : cell.Density ? filled : uniform)++;
    if (!cell.Surface || cell.Surface->Empty()) return;
    vertices += 16 + cell.Surface->Vertices().Count() * 28;
    indices += 16 + cell.Surface->Indices().Count() * 2;
  });
  ASSERT_TRUE(uniform && surface);
  char lines[400];
  std::snprintf(lines, sizeof lines,
                "\nMemory usage report:\nCells: %zu\nEmpty cells: %zu (%.02f mb)\nSurfaceCells: %zu (%.02f mb)\n"
                "Filled cells: %zu (%.02f mb)\nVertex cash: %.02f mb\nIndex cash: %.02f mb\n",
                uniform + filled + surface, uniform, double(uniform) * 44e-6, surface, double(surface) * 1570e-6, filled,
                double(filled) * 1502e-6, double(vertices) * 1e-6, double(indices) * 1e-6);
  const size_t real = volume.CountMemory().Total();
  const std::string report = volume.MemoryReport();
  EXPECT_EQ(report.substr(0, strlen(lines)), lines);
  std::snprintf(lines, sizeof lines, " mb (%.02f mb)\nvpool: ", double(real) * 1e-6);
  EXPECT_NE(report.find(lines), std::string::npos) << report.substr(0, 400);
  EXPECT_TRUE(CollectSurfaceCells(volume).empty());
}
