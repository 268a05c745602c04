#include "MC/ApplyField.h"

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <random>

#include "MC/Dabs.h"
#include "VolumeChecks.h"

using comms::cVec3;
using namespace volumechecks;

namespace {

struct Merge {
  int Mode;
  bool Airbrush;
};
constexpr Merge AllMerges[] = {{ApplyAdd, false},     {ApplySubtract, false}, {ApplyAdd, true},
                               {ApplySubtract, true}, {ApplyIntersect, true}, {ApplyIntersect, false}};

VolumeBox BoxAt(const cVec3& c) { return {c.x - 1, c.y - 1, c.z - 1, c.x + 1, c.y + 1, c.z + 1}; }

ApplyOptions OptionsOf(const Merge& merge, float radius) {
  ApplyOptions options;
  options.Mode = merge.Mode;
  options.Airbrush = merge.Airbrush;
  options.BrushRadius = radius;
  return options;
}

// A field of each kind and size at places that lie across cell borders, applied to both volumes.
template <class Field>
void ApplyBoth(VolumeObject& volume, DenseVolume& dense, const Field& field, const cVec3& center, float radius,
               const Merge& merge) {
  ApplyField(volume, field, BoxAt(center), OptionsOf(merge, radius));
  dense.Apply(field, merge.Mode, merge.Airbrush);
}

void ExpectSound(const VolumeObject& volume) {
  size_t blocks = 0;
  volume.ForEachCell([&](const CellKey&, const VoxelCell& cell) {
    for (const VoxelCell* c : {&cell, static_cast<const VoxelCell*>(cell.Backup)}) {
      if (!c) continue;
      blocks += c->Density != nullptr;
      EXPECT_EQ(c->StrokeBase, nullptr);
      EXPECT_EQ(c->Flags & (Unpacked | UniformKept | FillPending | FrozenCell), 0);
    }
    if (!cell.Density) return;
    uint8_t sides = 0;
    bool uniform = true;
    for (int i = 0; i < CellSamples; i++) {
      sides |= cell.Density[i] >= SurfaceLevel ? HasInside : HasOutside;
      uniform &= cell.Density[i] == cell.Density[0];
    }
    EXPECT_FALSE(uniform) << "a uniform cell keeps its block";
    EXPECT_EQ(cell.Flags & (HasInside | HasOutside), sides);
    EXPECT_EQ(cell.UniformValue, cell.Density[0]);
  });
  EXPECT_EQ(volume.VoxelPool.UsedBlocks(), blocks);
}

}  // namespace

// The walk, the shared planes, the covers and the vector route against a plain loop over all samples.
TEST(ApplyField, EqualsAPlainLoopForEveryFieldAndRule) {
  VolumeObject stamp;
  ApplySphereDab(stamp, {3, 2, 1}, 9, {});
  for (const Merge& merge : AllMerges) {
    SCOPED_TRACE(testing::Message() << "mode " << merge.Mode << " airbrush " << merge.Airbrush);
    VolumeObject volume;
    DenseVolume dense(44);
    const auto both = [&](const auto& field, const cVec3& center, float radius, const Merge& rule) {
      ApplyBoth(volume, dense, field, center, radius, rule);
    };
    // Something to change, in the middle of which lie uniform cells.
    both(SphereField({1, -2, 3}, 30, 4), {1, -2, 3}, 30, AllMerges[0]);
    ExpectSound(volume);
    // Radii on every side of the probing steps; reach across corners, edges and faces by fractions of a voxel.
    // The last one reaches the border x = 24 by a hair, between the probes.
    const cVec3 centers[] = {{16, 8, -8}, {20.3f, -7.9f, 0.1f}, {-24.02f, 3.5f, 11.7f}, {4, 4, 30.9f}, {17.3f, 2, 2}};
    const float radii[] = {6.5f, 4, 2.3f, 0.9f, 5};
    for (int i = 0; i < 5; i++) both(SphereField(centers[i], radii[i], 4), centers[i], radii[i], merge);
    EXPECT_EQ(dense.Compare(volume), "");
    Dab dab{{-10, -20, 5}, {12, 17, -9}, {0, 0, 1}, {0.6f, 0, 0.8f}, 9, 5, 0.5f, 0.4f};
    both(SegmentField(MakeStrokeConstants(dab, false), 4), {1, -1, -2}, 5, merge);
    EXPECT_EQ(dense.Compare(volume), "");
    dab.P1 = {-8, 0, 26}, dab.P2 = {9, 4, 24};
    both(CarveField(MakeStrokeConstants(dab, false), {0.5f, 0.25f}, 4), {0.5f, 2, 25}, 2, merge);
    EXPECT_EQ(dense.Compare(volume), "");
    both(StampField(stamp, comms::cMat4::Translation({-12.25f, 3.5f, 0.125f}), MirrorX), {-15.25f, -1.5f, 0.875f}, 9, merge);
    EXPECT_EQ(dense.Compare(volume), "");
    ExpectSound(volume);
  }
}

TEST(ApplyField, ThreadCountChangesNoByte) {
  std::vector<std::pair<CellKey, std::vector<uint16_t>>> cells[2];
  std::vector<CellKey> strokeKeys[2];
  for (int run = 0; run < 2; run++) {
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, size_t(run + 1));
    VolumeObject volume;
    std::mt19937 random(5);
    std::uniform_real_distribution<float> at(-60, 60);
    for (int i = 0; i < 40; i++)
      ApplySphereDab(volume, {at(random), at(random), at(random)}, 5 + std::fabs(at(random)) / 4,
                     {i % 3 == 2 ? ApplySubtract : ApplyAdd, i % 2 == 1, 0});
    volume.ForEachCell([&](const CellKey& key, const VoxelCell& cell) {  // table order, flags and values
      std::vector<uint16_t> content{cell.Flags, cell.UniformValue};
      if (cell.Density) content.insert(content.end(), cell.Density, cell.Density + CellSamples);
      cells[run].push_back({key, content});
    });
    strokeKeys[run] = volume.StrokeCellKeys;
  }
  EXPECT_EQ(cells[0], cells[1]);
  EXPECT_EQ(strokeKeys[0], strokeKeys[1]);
}

TEST(ApplyField, WhatChangesNothingLeavesNoTrace) {
  VolumeObject volume;
  ApplySphereDab(volume, {}, 24, {});
  volume.EndStroke(false);
  volume.RefreshSurfaces();
  const auto before = DumpSamples(volume);
  const float nan = std::nanf(""), infinite = INFINITY;
  ApplySphereDab(volume, {2, 1, 0}, 12, {});                           // inside the solid
  ApplySphereDab(volume, {100, 0, 0}, 12, {ApplySubtract, false, 0});  // in empty space
  ApplySphereDab(volume, {100, 0, 0}, 12, {ApplySubtract, true, 0});
  ApplySphereDab(volume, {}, 0, {});
  ApplySphereDab(volume, {}, -3, {});
  for (const float bad : {nan, infinite, -infinite, 3e38f, 1e9f}) {
    ApplySphereDab(volume, {bad, 0, 0}, 12, {});
    ApplySegmentDab(volume, {{0, bad, 0}, {0, 0, bad}}, {});
    ApplyCarveDab(volume, {{0, 0, 24}, {9, 0, bad}}, {}, {});
    if (bad != 1e9f) ApplyCarveDab(volume, {{0, 0, 24}, {9, 0, 24}, {0, 0, bad}}, {}, {});
  }
  ApplySphereDab(volume, {}, nan, {});
  VolumeObject empty;
  ApplyStamp(volume, empty, {}, {});
  volume.SurfaceMode = true;
  ApplySphereDab(volume, {30, 0, 0}, 12, {});
  EXPECT_EQ(volume.BackupCount, 0);
  EXPECT_TRUE(volume.StrokeCellKeys.empty());
  EXPECT_EQ(volume.DirtyCells.Count(), 0);
  EXPECT_TRUE(DumpSamples(volume) == before);
}

TEST(ApplyField, UnboundedFieldStopsAtTheCap) {
  VolumeObject volume;
  ApplyOptions options;
  options.CellCap = 500;
  const ApplyReport report = ApplyField(
      volume, [](float, float, float) { return 1.0f; }, BoxAt({}), options);
  EXPECT_TRUE(report.Capped);
  EXPECT_EQ(report.VisitedCells, 500);
  EXPECT_EQ(volume.Cells.Count(), 500u);
  EXPECT_EQ(volume.VoxelPool.UsedBlocks(), 0u) << "full cells need no block";
}

TEST(ApplyField, IntersectionWithNothingWipesAndAStrokeRestores) {
  VolumeObject volume;
  ApplySphereDab(volume, {5, 5, 5}, 20, {});
  volume.EndStroke(false);
  volume.RefreshSurfaces();
  const auto before = DumpSamples(volume);
  ApplyField(
      volume, [](float, float, float) { return 0.0f; }, BoxAt({}), OptionsOf({ApplyIntersect, false}, 8));
  volume.ForEachCell([](const CellKey&, const VoxelCell& cell) {
    EXPECT_EQ(cell.Density, nullptr);
    EXPECT_EQ(cell.UniformValue, 0);
    EXPECT_EQ(cell.Flags & FrozenCell, 0);
  });
  volume.RefreshSurfaces();
  EXPECT_EQ(volume.CountMemory().VertexBytes, 0u);
  EXPECT_EQ(size_t(volume.BackupCount), before.size());
  // More dabs over wiped and fresh cells: the first state is what comes back.
  ApplySphereDab(volume, {15, 5, 5}, 12, {});
  ApplySphereDab(volume, {18, 5, 5}, 6, {ApplySubtract, false, 0});
  volume.EndStroke(true);
  EXPECT_TRUE(DumpSamples(volume) == before);
}

// A field that reads the volume it is applied to sees the state before the pass, whatever cell was merged first.
TEST(ApplyField, CompareReadsTheVolumeAsItWas) {
  VolumeObject volume;
  DenseVolume dense(30);
  ApplyBoth(volume, dense, SphereField({1, 2, 0}, 14, 4), {1, 2, 0}, 14, AllMerges[0]);
  DenseVolume old = dense;
  const auto moved = [&](float x, float y, float z) { return float(volume.SampleTrilinear(x - 1, y - 1, z, false) / 65535); };
  ApplyOptions options = OptionsOf(AllMerges[0], 0.5f);
  options.Compare = true;
  for (int pass = 0; pass < 2; pass++) {
    ApplyField(volume, moved, BoxAt({1, 2, 0}), options);
    dense.Apply(
        [&](float x, float y, float z) {
          const int ix = int(x) - 1, iy = int(y) - 1;
          return old.Holds(ix, iy, int(z)) ? float(old.At(ix, iy, int(z)) / 65535.0) : 0;
        },
        ApplyAdd, false);
    EXPECT_EQ(dense.Compare(volume), "");
    old = dense;
  }
  // A field that equals the density differs nowhere: nothing is reached.
  const auto same = [&](float x, float y, float z) { return float(volume.SampleTrilinear(x, y, z, false) / 65535); };
  EXPECT_EQ(ApplyField(volume, same, BoxAt({1, 2, 0}), options).TargetCells, 0);
}

TEST(ApplyField, ReachIsDecidedOnTheLattice) {
  VolumeObject volume;
  // The ball lies inside one cell and between the probes on its boundary.
  EXPECT_EQ(ApplySphereDab(volume, {4, 4, 4}, 0.5f, {}).TargetCells, 0);
  // Subtracting a full field writes 0 everywhere it is full.
  ApplySphereDab(volume, {0, 0, 0}, 20, {});
  ApplySphereDab(volume, {0, 0, 0}, 24, {ApplySubtract, false, 0});
  VolumeObject::Cursor cursor;
  for (int x = -30; x <= 30; x++) EXPECT_EQ(volume.SampleVoxel(x, 1, 2, cursor, false), 0);
}
