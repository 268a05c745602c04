// From refreshed volumes to welded surfaces: refresh, boxes, groups, ids and figures.
#include <gtest/gtest.h>
#include <oneapi/tbb/global_control.h>

#include <array>
#include <bit>
#include <map>
#include <numbers>

#include "MC/Dabs.h"
#include "MC/SurfaceCells.h"
#include "MC/SurfaceEdges.h"
#include "MC/SurfaceExtract.h"
#include "MC/SurfaceStats.h"
#include "MC/VolumeChecks.h"
#include "MC/VolumeFixtures.h"

using fixtures::Fill;
using fixtures::FilledVolume;
using fixtures::Sphere;
using volumechecks::DumpCells;
using volumechecks::Ordered;

namespace {

fixtures::Noise NoiseOf(uint32_t seed) { return {{-30, -31, -29}, {30, 29, 31}, seed}; }

}  // namespace

// Also where the cell is gone that owns a vertex: the other copies are still one.
TEST(VertexIds, WeldExactlyTheCopiesOfOneVertex) {
  for (const bool whole : {true, false}) {
    FilledVolume volume(4, NoiseOf(11));
    for (int n = -3; n < 3 && !whole; n += 2) volume.DeleteCell({n, n + 1, 1});
    const uint32_t count = volume.AssignVertexIds();
    std::map<std::array<int, 4>, uint32_t> idOf;  // by the edge in the volume
    std::map<uint32_t, std::array<float, 6>> placeOf;
    std::vector<bool> seen(count);
    for (const SurfaceCell& cell : CollectSurfaceCells(volume))
      for (uint32_t i = 0; i < cell.Surface->Vertices().Count(); i++) {
        const VolumeVertex& v = cell.Surface->Vertices()[i];
        const uint32_t id = cell.Surface->VertexIds[i], number = id & ~SharedVertexBit;
        ASSERT_LT(number, count);
        ASSERT_EQ(bool(id & SharedVertexBit), v.EdgeKey != InteriorEdge);
        if (v.EdgeKey == InteriorEdge) {
          ASSERT_FALSE(seen[number]);
        } else {
          const int k = v.EdgeKey;
          const std::array edge{k % 9 + 8 * cell.Key.x, k / 9 % 9 + 8 * cell.Key.y, k / 81 % 9 + 8 * cell.Key.z, k / 729};
          const std::array place{v.x, v.y, v.z, v.nx, v.ny, v.nz};
          ASSERT_EQ(idOf.emplace(edge, id).first->second, id);
          ASSERT_EQ(placeOf.emplace(id, place).first->second, place) << "copies are equal, normals included";
        }
        seen[number] = true;
      }
    EXPECT_EQ(idOf.size(), placeOf.size()) << "different places, different ids";
    EXPECT_TRUE(std::all_of(seen.begin(), seen.end(), [](bool s) { return s; }));
  }
}

TEST(Surface, NoVolumeHasABorder) {
  for (uint32_t seed = 1; seed <= 6; seed++) {
    FilledVolume volume(4, NoiseOf(seed));
    const SurfaceStats stats = MeasureSurface(volume);
    EXPECT_EQ(stats.BoundaryEdges, 0u) << seed;
    EXPECT_GT(stats.Volume, 0) << seed;
    const SurfaceEdges edges(volume);
    for (uint32_t id = 0; id < edges.VertexCount(); id++)  // as many sides leave as come back: closed, whatever meets there
      for (const auto& side : edges.From(id)) ASSERT_NE(edges.Find(side.To, id), nullptr);
  }
}

// From the first dab to the last id.
TEST(Surface, ThreadsAndTheOrderOfCreationChangeNoByte) {
  decltype(DumpCells(VolumeObject())) expected;
  std::vector<CellKey> strokeKeys;
  for (const int threads : {1, 4, 2}) {
    tbb::global_control control(tbb::global_control::max_allowed_parallelism, size_t(threads));
    VolumeObject volume;
    if (threads == 2) {  // cells come into the table in another order
      for (int z = 3; z >= -4; z--)
        for (int x = -4; x < 4; x++) volume.GetCell(x, 0, z, true, false, false);
    }
    Fill(volume, {-4, -4, -4}, {3, 3, 3}, NoiseOf(42));
    for (int i = 0; i < 40; i++) {
      const auto at = [&](uint32_t axis) { return float(fixtures::HashVoxel(i, 0, 0, axis) % 1200) / 10 - 60; };
      ApplySphereDab(volume, {at(0), at(1), at(2)}, 5 + std::fabs(at(3)) / 4,
                     {i % 3 == 2 ? ApplySubtract : ApplyAdd, i % 2 == 1});
    }
    volume.RefreshChanges();
    volume.AssignVertexIds();
    if (threads == 1) {
      expected = DumpCells(volume);
      strokeKeys = volume.StrokeCellKeys;
    }
    EXPECT_TRUE(DumpCells(volume) == expected) << threads << " threads";
    EXPECT_EQ(volume.StrokeCellKeys, strokeKeys) << threads << " threads";
  }
}

// The volume is its own mirror image in all three planes, noise otherwise; then its surface is, to the last bit.
TEST(Surface, SymmetricVolumeHasASymmetricSurface) {
  using Corner = std::array<uint32_t, 6>;  // bits of position and normal
  using Triangle = std::array<Corner, 3>;
  for (uint32_t seed = 1; seed <= 4; seed++) {
    const fixtures::Noise noise{{-40, -40, -40}, {19, 20, 21}, seed};
    FilledVolume volume(3, [&](int x, int y, int z) { return noise(std::abs(x), std::abs(y), std::abs(z)); });
    const auto collect = [&](int mirror) {
      std::vector<Triangle> all;
      for (const auto& [key, surface] : CollectSurfaceCells(volume))
        for (uint32_t i = 0; i < surface->Indices().Count(); i += 3) {
          Triangle& t = all.emplace_back();
          for (uint32_t k = 0; k < 3; k++) {
            const VolumeVertex& v = surface->Vertices()[surface->Indices()[i + (mirror >= 0 ? 2 - k : k)]];
            float f[6] = {v.x, v.y, v.z, v.nx, v.ny, v.nz};
            if (mirror >= 0) f[mirror] = 0 - f[mirror], f[mirror + 3] = 0 - f[mirror + 3];
            t[k] = std::bit_cast<Corner>(f);
          }
          std::rotate(t.begin(), std::min_element(t.begin(), t.end()), t.end());
        }
      std::sort(all.begin(), all.end());
      return all;
    };
    const std::vector<Triangle> triangles = collect(-1);
    ASSERT_FALSE(triangles.empty());
    for (int mirror = 0; mirror < 3; mirror++)
      EXPECT_TRUE(collect(mirror) == triangles) << "plane " << mirror << " seed " << seed;
  }
}

TEST(Surface, FiguresOfKnownSolids) {
  VolumeObject volume;
  // A sphere and a torus apart from one another, placed far from the origin in the world and scaled.
  const double radius = 20, ring = 24, tube = 8;
  Fill(volume, {-4, -4, -4}, {12, 5, 5}, [&](int x, int y, int z) {
    const double sphere = std::sqrt(double(x * x + y * y + z * z)) - radius;
    const double across = std::hypot(x - 60.0, y) - ring, torus = std::hypot(across, z) - tube;
    return fixtures::Ramp(std::min(sphere, torus));
  });
  volume.SpaceMatrix = comms::cMat4::Scale(0.5f) * comms::cMat4::Translation({1000, 0, -500});
  volume.RefreshChanges();
  const SurfaceStats stats = MeasureSurface(volume);
  const double pi = std::numbers::pi;
  EXPECT_EQ(stats.Components, 2u);
  EXPECT_EQ(stats.Genus, 1);
  EXPECT_EQ(stats.BoundaryEdges + stats.NonManifoldEdges, 0u);
  const double solid = (4.0 / 3 * pi * radius * radius * radius + 2 * pi * pi * ring * tube * tube) / 8;
  const double skin = (4 * pi * radius * radius + 4 * pi * pi * ring * tube) / 4;
  EXPECT_NEAR(stats.Volume, solid, solid * 0.004);  // chords of a curved surface lie inside it, by 1 / (8 R^2) and less
  EXPECT_NEAR(stats.Area, skin, skin * 0.004);
  EXPECT_NEAR(stats.Max.x, 1000 + (60 + ring + tube) / 2, 0.02);
  // The same solids seen in a mirror keep their sign.
  volume.SpaceMatrix.m[0][0] *= -1;
  EXPECT_NEAR(MeasureSurface(volume).Volume, solid, solid * 0.004);
  // Far out there are no floats between their vertices.
  volume.SpaceMatrix = comms::cMat4::Scale(1.0f / 64) * comms::cMat4::Translation({1e7f, -1e7f, 1e7f});
  const SurfaceStats far = MeasureSurface(volume);
  EXPECT_NEAR(far.Volume, solid / 32768, solid / 32768 * 0.004);
  EXPECT_NEAR(far.Area, skin / 1024, skin / 1024 * 0.004);
  EXPECT_NEAR(far.Max.x, 1e7 + (60 + ring + tube) / 64, 0.001);

  volume.DeleteCell({0, 0, 2});
  EXPECT_GT(MeasureSurface(volume).BoundaryEdges, 0u);
  EXPECT_EQ(MeasureSurface(volume).Genus, -1);
}

TEST(Surface, ExtractedMeshIsTheSurface) {
  FilledVolume ball(3, Sphere{0.5, 0, 0, 14}), block(3, Sphere{12, 12, 12, 9});
  block.Name = "Block";
  // Stretched, mirrored and moved.
  ball.SpaceMatrix.m[0][0] = -2;
  ball.SpaceMatrix.m[3][1] = 100;
  const auto mesh = ExtractSurface({&ball, &block});
  ASSERT_EQ(mesh->Validate(), 0);
  const SurfaceStats first = MeasureSurface(ball), second = MeasureSurface(block);
  EXPECT_EQ(mesh->Positions.size(), first.Vertices + second.Vertices);
  EXPECT_EQ(mesh->CountPolygons(), int64_t(first.Triangles + second.Triangles));
  ASSERT_EQ(mesh->Objects.size(), 2u);
  EXPECT_EQ(mesh->Objects[1].Name, "Block");
  double volume = 0;
  for (size_t i = 0; i < mesh->Polygons.size(); i += 4) {
    comms::cVec3 corner[3];
    for (size_t k = 0; k < 3; k++) corner[k] = mesh->Positions[size_t(mesh->Polygons[i + 1 + k].Position())];
    const comms::cVec3 face = comms::Cross(corner[1] - corner[0], corner[2] - corner[0]);
    volume += comms::Dot(corner[0], face) / 6;
    for (size_t k = 0; k < 3; k++) {  // sides and normals look the same way
      const comms::cVec3 normal = mesh->Normals[size_t(mesh->Polygons[i + 1 + k].Normal())];
      ASSERT_NEAR(comms::Length(normal), 1, 1e-5);
      ASSERT_TRUE(comms::Length(face) < 0.05f || comms::Dot(normal, comms::Normalized(face)) > 0.7f);
    }
  }
  EXPECT_NEAR(volume, first.Volume + second.Volume, 1);
}

TEST(Refresh, GroupsAndBoxesFollowTheSurface) {
  const auto check = [](const VolumeObject& volume) {
    std::map<std::tuple<int, int, int>, VolumeBox> boxes[ABOcTree::LevelCount], groups;
    std::map<std::tuple<int, int, int>, int64_t> vertices;
    for (const SurfaceCell& cell : CollectSurfaceCells(volume)) {
      VolumeBox box;
      for (const VolumeVertex& v : cell.Surface->Vertices()) box.Add(v.x, v.y, v.z);
      ASSERT_EQ(box, cell.Surface->Box);
      const auto [x, y, z] = cell.Key;
      for (int level = 0; level < ABOcTree::LevelCount; level++) boxes[level][{z >> level, y >> level, x >> level}].Add(box);
      groups[Ordered(GroupOf(cell.Key))].Add(box);
      vertices[Ordered(GroupOf(cell.Key))] += cell.Surface->Vertices().Count();
    }
    for (int level = 0; level < ABOcTree::LevelCount; level++) {
      size_t filled = 0;
      volume.BoxTree.Levels[level]->Boxes.ForEach([&](const CellKey& key, const VolumeBox& box) {
        ASSERT_EQ(box.Empty() ? VolumeBox() : boxes[level][Ordered(key)], box) << "level " << level;
        filled += !box.Empty();
      });
      ASSERT_EQ(filled, boxes[level].size()) << "level " << level;
      ASSERT_TRUE(level == 0 || volume.BoxTree.Levels[level]->Changed.Empty());
    }
    volume.RenderGroups.ForEach([&](const CellKey& key, const RenderGroup& group) {
      ASSERT_EQ(group.Mesh->NumVertices, vertices[Ordered(key)]);
      ASSERT_EQ(group.Box, groups[Ordered(key)]);
      ASSERT_EQ(group.LastFrame, volume.CurrentFrame - 1234);
    });
    ASSERT_EQ(volume.RenderGroups.Count(), groups.size());
  };
  FilledVolume volume(9, Sphere{3, -2, 5, 50});
  check(volume);
  const size_t groups = volume.RenderGroups.Count();
  EXPECT_GT(groups, 8u);

  // One group loses its surface: some of its cells turn empty, the others are deleted while marked.
  const CellKey lost{1, -1, 0};
  ASSERT_TRUE(volume.RenderGroups.Contains(lost));
  bool deleted = false;
  for (const auto& [key, surface] : CollectSurfaceCells(volume)) {
    if (!(GroupOf(key) == lost)) continue;
    volume.MarkCellChanged(key.x, key.y, key.z, false, false);
    if ((deleted = !deleted))
      volume.DeleteCell(key);
    else
      volume.FindCell(key)->SetUniform(0, false);
  }
  volume.RefreshChanges();
  EXPECT_EQ(volume.RenderGroups.Count(), groups - 1);
  check(volume);

  // All boxes again from the vertices.
  for (ABOcTreeLevel* level : volume.BoxTree.Levels) level->Boxes.Clear();
  volume.BoxTree.RequestRebuild();
  volume.BoxTree.Update(volume);
  check(volume);

  // Farther out than the numbers of an empty box.
  VolumeObject far;
  Fill(far, {30000, 0, 0}, {30001, 1, 1}, Sphere{240008, 8, 8, 6});
  far.RefreshChanges();
  check(far);
}

TEST(Refresh, TouchesOnlyWhatIsMarked) {
  FilledVolume volume(2, Sphere{});
  VoxelCell *cell = volume.FindCell({-1, -1, -1}), *other = volume.FindCell({0, 0, 0});
  const auto mark = [&](bool boxOnly) { volume.MarkCellChanged(-1, -1, -1, boxOnly, true); };
  const uint16_t stamp = cell->DrawStamp;
  cell->Flags &= ~Touched;
  cell->Surface->Vertices()[0].Pass = other->Surface->Vertices()[0].Pass = 77;
  mark(true);  // the box alone: triangles stay
  EXPECT_TRUE(cell->Has(Touched));
  EXPECT_EQ(cell->DrawStamp, uint16_t(stamp - 1234));
  cell->Surface->Vertices()[0].x = -50;
  volume.RefreshSurfaces();
  EXPECT_EQ(cell->Surface->Vertices()[0].Pass, 77);
  EXPECT_EQ(volume.BoxTree.FindBox(0, CellKey{-1, -1, -1})->MinX, -50);
  EXPECT_TRUE(volume.DirtyGroups.Contains(CellKey{-1, -1, -1})) << "kept for the refresh that draws";
  mark(true);
  mark(false);  // the later mark counts
  // Full blocks have no triangles, nor has a cell that was only just created.
  VoxelCell *full = volume.GetCell(9, 9, 9, true, false, false), *fresh = volume.GetCell(10, 9, 9, true, false, false);
  full->Expand(ExpandAllocate | ExpandFill, false);
  std::fill_n(full->Density, CellSamples, uint16_t(32768));
  full->Analyze(false, false);
  for (const int x : {9, 10}) volume.MarkCellChanged(x, 9, 9, false, false);
  volume.RefreshChanges();
  EXPECT_FALSE(full->Surface || fresh->Surface);
  EXPECT_EQ(cell->Surface->Vertices()[0].Pass, 0);
  EXPECT_EQ(other->Surface->Vertices()[0].Pass, 77);
  EXPECT_TRUE(volume.DirtyGroups.Empty() && volume.DirtyCells.Empty() && volume.RedrawCells.Empty());
}

// What stands in for another volume's cell is neither drawn nor exported, and lends nobody its vertices.
TEST(Surface, CopiesOfOtherVolumesCellsStayOut) {
  FilledVolume volume(2, Sphere{}), without(2, Sphere{});
  VoxelCell* shadow = volume.FindCell({0, 0, 0});
  ASSERT_FALSE(shadow->Surface->Empty());
  shadow->Flags |= ShadowCell;
  without.DeleteCell({0, 0, 0});
  for (VolumeObject* each : {&volume, &without}) {
    each->MarkCellChanged(-1, 0, 0, false, false);
    each->RefreshSurfaces();
  }
  EXPECT_EQ(volume.AssignVertexIds(), without.AssignVertexIds());
  EXPECT_EQ(CollectSurfaceCells(volume).size(), CollectSurfaceCells(without).size());
  EXPECT_EQ(ExtractSurface({&volume})->Polygons.size(), ExtractSurface({&without})->Polygons.size());
  VolumeBox box, wanted;
  ScreenRect rect;
  const auto mesh = volume.BuildGroupMesh(0, 0, 0, box, rect), expected = without.BuildGroupMesh(0, 0, 0, wanted, rect);
  EXPECT_EQ(mesh->Bytes(), expected->Bytes());
  EXPECT_EQ(box.MinX, wanted.MinX);
}

TEST(Refresh, RedrawAreaCoversWhatChanged) {
  VolumeObject volume;
  RedrawArea area;
  area.Width = area.Height = 200;
  area.VolumeToClip = comms::cMat4::Scale(0.02f);  // 1 voxel = 2 pixels, the origin in the middle
  volume.Redraw = &area;
  Fill(volume, {-2, -2, -2}, {1, 1, 1}, Sphere{});
  volume.RefreshChanges();
  EXPECT_NEAR(area.Dirty.x, 80, 1);
  EXPECT_NEAR(area.Dirty.x + area.Dirty.w, 121, 2);
  area.Dirty = {};
  volume.MarkCellChanged(0, 0, 0, false, false);  // the old place of a changed cell is stale at once
  EXPECT_EQ(area.Dirty.w, volume.FindCell({0, 0, 0})->Surface->ScreenRect.w);
  EXPECT_GE(area.Dirty.x, 99);
  EXPECT_EQ(area.Project(VolumeBox()).w, 0);
}
