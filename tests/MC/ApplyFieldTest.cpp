#include "MC/ApplyField.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "MC/Dabs.h"
#include "MC/VolumeChecks.h"

using comms::cVec3;
using namespace volumechecks;

namespace {

struct Merge {
  int Mode;
  bool Airbrush;
};
constexpr Merge AllMerges[] = {
    {ApplyAdd, false}, {ApplySubtract, false}, {ApplyAdd, true}, {ApplySubtract, true}, {ApplyIntersect, false}};

VolumeBox BoxAt(const cVec3& c) { return {c.x - 1, c.y - 1, c.z - 1, c.x + 1, c.y + 1, c.z + 1}; }

// Both volumes take the field.
template <class Field>
void ApplyBoth(VolumeObject& volume, VolumeObject& plain, const Field& field, const cVec3& center, float radius,
               const Merge& merge) {
  ApplyField(volume, field, BoxAt(center), {.Mode = merge.Mode, .Airbrush = merge.Airbrush, .BrushRadius = radius});
  ApplyPlainly(plain, field, merge.Mode, merge.Airbrush);
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
    const auto [least, most] = std::minmax_element(cell.Density, cell.Density + CellSamples);
    EXPECT_LT(*least, *most) << "a uniform cell keeps its block";
    EXPECT_TRUE(cell.Has(HasOutside) == (*least < SurfaceLevel) && cell.Has(HasInside) == (*most >= SurfaceLevel));
    EXPECT_EQ(cell.UniformValue, cell.Density[0]);
  });
  EXPECT_EQ(volume.VoxelPool.UsedBlocks(), blocks);
}

}  // namespace

// The walk, the shared planes, the covers and the vector route against a plain loop over all samples. That threads change nothing
// shows in Surface.ThreadsAndTheOrderOfCreationChangeNoByte.
TEST(ApplyField, EqualsAPlainLoopForEveryFieldAndRule) {
  VolumeObject stamp;
  ApplySphereDab(stamp, {3, 2, 1}, 9, {});
  for (const Merge& merge : AllMerges) {
    SCOPED_TRACE(testing::Message() << "mode " << merge.Mode << " airbrush " << merge.Airbrush);
    VolumeObject volume, plain;
    const auto both = [&](const auto& field, const cVec3& center, float radius) {
      ApplyBoth(volume, plain, field, center, radius, merge);
    };
    // Something to change, in the middle of which lie uniform cells.
    ApplyBoth(volume, plain, SphereField({1, -2, 3}, 30, 4), {1, -2, 3}, 30, AllMerges[0]);
    // Radii on every side of the probing steps, and one that fills whole cells; reach across corners, edges and faces by
    // fractions of a voxel. The one of 5 reaches the border x = 24 by a hair, between the probes.
    const std::pair<cVec3, float> balls[] = {{{16, 8, -8}, 6.5f},   {{20.3f, -7.9f, 0.1f}, 4}, {{-24.02f, 3.5f, 11.7f}, 2.3f},
                                             {{4, 4, 30.9f}, 0.9f}, {{17.3f, 2, 2}, 5},        {{-9, 5, -7}, 17}};
    for (const auto& [center, radius] : balls) both(SphereField(center, radius, 4), center, radius);
    EXPECT_EQ(FindDifference(volume, plain), "");
    Dab dab{{-10, -20, 5}, {12, 17, -9}, {0, 0, 1}, {0.6f, 0, 0.8f}, 13, 19, 0.5f, 0.4f};
    both(SegmentField(MakeStrokeConstants(dab, false), 4), {1, -1, -2}, 13);
    dab.P1 = {-8, 0, 26}, dab.P2 = {9, 4, 24}, dab.R1 = 9, dab.R2 = 5;
    both(CarveField(MakeStrokeConstants(dab, false), {0.5f, 0.25f}, 4), {0.5f, 2, 25}, 2);
    both(StampField(stamp, comms::cMat4::Translation({-12.25f, 3.5f, 0.125f}), MirrorX), {-15.25f, -1.5f, 0.875f}, 9);
    EXPECT_EQ(FindDifference(volume, plain), "");
    ExpectSound(volume);
    both([](float, float, float) { return 0.0f; }, {}, 8);  // reaches nothing: an intersection with it wipes all
    EXPECT_EQ(FindDifference(volume, plain), "");
    ExpectSound(volume);
  }
}

// It takes away where it reaches, and all that it does not reach goes too: of a ball the cells about the dab stay, with a hole.
TEST(ApplyField, AnAirbrushedIntersectionWipesWhatItDoesNotReach) {
  const cVec3 center{10.3f, 0.4f, -0.7f};
  VolumeObject volume, plain;
  for (VolumeObject* each : {&volume, &plain}) ApplySphereDab(*each, {}, 30, {});
  volume.EndStroke(false);
  const auto before = DumpSamples(volume);
  const SphereField field(center, 9, 4);
  ApplyPlainly(plain, field, ApplySubtract, true);
  const auto forEachSample = [](const CellKey& key, const auto& visit) {
    for (int i = 0; i < CellSamples; i++) visit(i, key.x * 8 + i % 9, key.y * 8 + i / 9 % 9, key.z * 8 + i / 81);
  };
  std::vector<bool> wiped(81 * 81 * 81);  // by place, of the 10 x 10 x 10 cells that the plain volume has
  const auto at = [](int x, int y, int z) { return size_t(((z + 40) * 81 + y + 40) * 81 + x + 40); };
  plain.ForEachCell([&](const CellKey& key, const VoxelCell&) {
    bool reached = false;
    forEachSample(key, [&](int, int x, int y, int z) { reached |= field(float(x), float(y), float(z)) * 65535 >= 1; });
    if (!reached) forEachSample(key, [&](int, int x, int y, int z) { wiped[at(x, y, z)] = true; });
  });
  plain.ForEachCell([&](const CellKey& key, VoxelCell& cell) {
    forEachSample(key, [&](int i, int x, int y, int z) { cell.Density[i] *= !wiped[at(x, y, z)]; });
  });

  ApplySphereDab(volume, center, 9, {ApplyIntersect, true});
  EXPECT_EQ(FindDifference(volume, plain), "");
  ExpectSound(volume);
  volume.EndStroke(true);
  EXPECT_TRUE(DumpSamples(volume) == before);
}

TEST(ApplyField, WhatChangesNothingLeavesNoTrace) {
  VolumeObject volume;
  ApplySphereDab(volume, {}, 24, {});
  volume.EndStroke(false);
  volume.RefreshSurfaces();
  const auto before = DumpSamples(volume);
  ApplySphereDab(volume, {2, 1, 0}, 12, {});                           // inside the solid
  ApplySphereDab(volume, {100, 0, 0}, 12, {ApplySubtract, false, 0});  // in empty space
  ApplySphereDab(volume, {4, 4, 28.5f}, 0.5f, {});                     // inside one cell, between the probes on its boundary
  for (const float bad : {0.0f, -3.0f, NAN}) ApplySphereDab(volume, {}, bad, {});
  for (const float bad : {NAN, INFINITY, -INFINITY, 3e38f, 1e9f}) {
    ApplySphereDab(volume, {bad, 0, 0}, 12, {});
    ApplySegmentDab(volume, {{0, bad, 0}, {0, 0, bad}}, {});
    ApplyCarveDab(volume, {{0, 0, 24}, {9, 0, bad}}, {}, {});
    if (bad != 1e9f) ApplyCarveDab(volume, {{0, 0, 24}, {9, 0, 24}, {0, 0, bad}}, {}, {});
  }
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
  const auto everywhere = [](float, float, float) { return 1.0f; };
  const ApplyReport report = ApplyField(volume, everywhere, BoxAt({}), {.CellCap = 500});
  EXPECT_TRUE(report.Capped);
  EXPECT_EQ(report.VisitedCells, 500);
  EXPECT_EQ(volume.Cells.Count(), 0u) << "what is cut off is not merged";
  // A capsule too large for the cap is told by its size, one just below it is made.
  const auto reach = [&](float length) { return ApplySegmentDab(volume, {{}, {0, length, length}}, {}); };
  const ApplyReport large = reach(2e7f / 3 * 2), small = reach(800);
  EXPECT_TRUE(large.Capped && large.VisitedCells == 0 && !small.Capped && small.ChangedCells > 100);
}

// Stopped in the walk or in the merge, whatever the mode: the volume is as it was once the stroke is taken back.
TEST(ApplyField, ACancelledDabCanBeTakenBack) {
  VolumeObject volume;
  ApplySphereDab(volume, {}, 100, {});
  volume.EndStroke(false);
  const auto before = DumpSamples(volume);
  for (const int mode : {ApplyAdd, ApplySubtract, ApplyIntersect}) {
    int questions = 0;
    for (bool cancelled = true; cancelled; questions++) {
      int left = questions;
      const std::function<bool()> goOn = [&] { return left-- > 0; };
      cancelled = ApplySphereDab(volume, {0, 90, 0}, 100, {mode, false, MirrorNone, &goOn}).Cancelled;
      ExpectSound(volume);
      volume.EndStroke(true);
      EXPECT_TRUE(DumpSamples(volume) == before) << mode << questions;
    }
    EXPECT_GT(questions, 3) << "asked in the walk and in the merge";
  }
}

// A field that reads the volume it is applied to sees the state before the pass, whatever cell was merged first.
TEST(ApplyField, CompareReadsTheVolumeAsItWas) {
  VolumeObject volume, plain, old;
  const SphereField ball({1, 2, 0}, 14, 4);
  ApplyBoth(volume, plain, ball, {1, 2, 0}, 14, AllMerges[0]);
  ApplyPlainly(old, ball, ApplyAdd, false);
  const auto moved = [](const VolumeObject& from) {
    return [&from](float x, float y, float z) { return float(from.SampleTrilinear(x - 1, y - 1, z, false) / 65535); };
  };
  const ApplyOptions options{.Compare = true, .BrushRadius = 0.5f};
  for (int pass = 0; pass < 2; pass++) {
    ApplyField(volume, moved(volume), BoxAt({1, 2, 0}), options);
    ApplyPlainly(plain, moved(old), ApplyAdd, false);
    EXPECT_EQ(FindDifference(volume, plain), "");
    plain.ForEachCell(
        [&](const CellKey& key, const VoxelCell& cell) { std::copy_n(cell.Density, CellSamples, old.FindCell(key)->Density); });
  }
  // A field that equals the density differs nowhere: nothing is reached.
  const auto same = [&](float x, float y, float z) { return float(volume.SampleTrilinear(x, y, z, false) / 65535); };
  EXPECT_EQ(ApplyField(volume, same, BoxAt({1, 2, 0}), options).TargetCells, 0);
}
