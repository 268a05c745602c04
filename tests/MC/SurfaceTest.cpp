// From refreshed volumes to welded surfaces: refresh, boxes, groups, ids and figures.
#include <gtest/gtest.h>
#include <oneapi/tbb/global_control.h>

#include <array>
#include <bit>
#include <map>
#include <numbers>

#include "MC/SurfaceCells.h"
#include "MC/SurfaceEdges.h"
#include "MC/SurfaceExtract.h"
#include "MC/SurfaceStats.h"
#include "MC/VolumeChecks.h"
#include "MC/VolumeFixtures.h"

using fixtures::Fill;
using volumechecks::DumpCells;

namespace {

void FillNoise(VolumeObject& volume, uint32_t seed) {
  Fill(volume, {-4, -4, -4}, {3, 3, 3}, fixtures::Noise{{-30, -31, -29}, {30, 29, 31}, seed});
  volume.RefreshChanges();
}

}  // namespace

// Also where the cell is gone that owns a vertex: the other copies are still one.
TEST(VertexIds, WeldExactlyTheCopiesOfOneVertex) {
  for (const bool whole : {true, false}) {
    VolumeObject volume;
    FillNoise(volume, 11);
    for (int n = -3; n < 3 && !whole; n += 2) volume.DeleteCell({n, n + 1, 1});
    const uint32_t count = volume.AssignVertexIds();
    std::map<std::array<int, 4>, uint32_t> idOf;  // by the edge in the volume
    std::map<uint32_t, std::array<float, 6>> placeOf;
    std::vector<bool> seen(count);
    for (const SurfaceCell& cell : CollectSurfaceCells(volume))
      for (uint32_t i = 0; i < cell.Surface->Vertices.Count(); i++) {
        const VolumeVertex& v = cell.Surface->Vertices[i];
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

TEST(VertexIds, AreMadeAnewOnlyAfterAChange) {
  VolumeObject volume;
  Fill(volume, {-2, -2, -2}, {1, 1, 1}, fixtures::Sphere{0, 0, 0, 9});
  volume.RefreshChanges();
  const uint32_t count = volume.AssignVertexIds();
  SurfaceData* surface = volume.FindCell({0, 0, 0})->Surface;
  surface->VertexIds[0] = 12345;  // a mark that a second run would wipe out
  EXPECT_EQ(volume.AssignVertexIds(), count);
  EXPECT_EQ(surface->VertexIds[0], 12345u);
  volume.MarkCellChanged(0, 0, 0, false, false);
  volume.RefreshChanges();
  EXPECT_TRUE(surface->VertexIds.Empty());
  EXPECT_EQ(volume.AssignVertexIds(), count);
  EXPECT_NE(surface->VertexIds[0], 12345u);
}

TEST(Surface, NoVolumeHasABorder) {
  for (uint32_t seed = 1; seed <= 6; seed++) {
    VolumeObject volume;
    FillNoise(volume, seed);
    const SurfaceStats stats = MeasureSurface(volume);
    EXPECT_EQ(stats.BoundaryEdges, 0u) << seed;
    EXPECT_GT(stats.Volume, 0) << seed;
    const SurfaceEdges edges(volume);
    for (uint32_t id = 0; id < edges.VertexCount(); id++)  // as many sides leave as come back: closed, whatever meets there
      for (const auto& side : edges.From(id)) ASSERT_NE(edges.Find(side.To, id), nullptr);
  }
}

TEST(Surface, ThreadsAndTheOrderOfCreationChangeNoByte) {
  decltype(DumpCells(VolumeObject())) expected;
  for (int threads : {1, 2, 4}) {
    tbb::global_control control(tbb::global_control::max_allowed_parallelism, size_t(threads));
    VolumeObject volume;
    if (threads == 2) {  // cells come into the table in another order
      for (int z = 3; z >= -4; z--)
        for (int x = -4; x < 4; x++) volume.GetCell(x, 0, z, true, false, false);
    }
    FillNoise(volume, 42);
    volume.AssignVertexIds();
    const auto cells = DumpCells(volume);
    if (expected.empty()) expected = cells;
    EXPECT_TRUE(cells == expected) << threads << " threads";
  }
  EXPECT_FALSE(expected.empty());
}

// The volume is its own mirror image in all three planes, noise otherwise; then its surface is, to the last bit.
TEST(Surface, SymmetricVolumeHasASymmetricSurface) {
  using Corner = std::array<uint32_t, 6>;  // bits of position and normal
  using Triangle = std::array<Corner, 3>;
  for (uint32_t seed = 1; seed <= 4; seed++) {
    VolumeObject volume;
    const fixtures::Noise noise{{-40, -40, -40}, {19, 20, 21}, seed};
    Fill(volume, {-3, -3, -3}, {2, 2, 2}, [&](int x, int y, int z) { return noise(std::abs(x), std::abs(y), std::abs(z)); });
    volume.RefreshChanges();
    const auto cornerOf = [](const VolumeVertex& v, int mirror) {
      float f[6] = {v.x, v.y, v.z, v.nx, v.ny, v.nz};
      if (mirror >= 0) f[mirror] = 0 - f[mirror], f[mirror + 3] = 0 - f[mirror + 3];
      return std::bit_cast<Corner>(f);
    };
    const auto collect = [&](int mirror) {
      std::vector<Triangle> all;
      for (const auto& [key, surface] : CollectSurfaceCells(volume))
        for (uint32_t i = 0; i < surface->Indices.Count(); i += 3) {
          Triangle t;
          for (uint32_t k = 0; k < 3; k++)
            t[k] = cornerOf(surface->Vertices[surface->Indices[i + (mirror >= 0 ? 2 - k : k)]], mirror);
          std::rotate(t.begin(), std::min_element(t.begin(), t.end()), t.end());
          all.push_back(t);
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
  EXPECT_EQ(stats.BoundaryEdges, 0u);
  EXPECT_EQ(stats.NonManifoldEdges, 0u);
  const double solid = (4.0 / 3 * pi * radius * radius * radius + 2 * pi * pi * ring * tube * tube) / 8;
  const double skin = (4 * pi * radius * radius + 4 * pi * pi * ring * tube) / 4;
  EXPECT_NEAR(stats.Volume, solid, solid * 0.004);  // chords of a curved surface lie inside it, by 1 / (8 R^2) and less
  EXPECT_NEAR(stats.Area, skin, skin * 0.004);
  EXPECT_NEAR(stats.Min.x, 1000 - radius / 2, 0.02);
  EXPECT_NEAR(stats.Max.x, 1000 + (60 + ring + tube) / 2, 0.02);
  EXPECT_NEAR(stats.Max.z, -500 + radius / 2, 0.02);
  // The same solids seen in a mirror keep their sign.
  volume.SpaceMatrix.m[0][0] *= -1;
  EXPECT_NEAR(MeasureSurface(volume).Volume, solid, solid * 0.004);

  volume.DeleteCell({0, 0, 2});
  const SurfaceStats open = MeasureSurface(volume);
  EXPECT_GT(open.BoundaryEdges, 0u);
  EXPECT_EQ(open.Genus, -1);
}

TEST(Surface, ExtractedMeshIsTheSurface) {
  VolumeObject ball, block;
  Fill(ball, {-3, -3, -3}, {2, 2, 2}, fixtures::Sphere{0.5, 0, 0, 14});
  Fill(block, {0, 0, 0}, {2, 2, 2}, fixtures::Sphere{12, 12, 12, 9});
  ball.Name = "Ball";
  block.Name = "Block";
  // Stretched, mirrored and moved.
  ball.SpaceMatrix.m[0][0] = -2;
  ball.SpaceMatrix.m[3][1] = 100;
  for (VolumeObject* volume : {&ball, &block}) volume->RefreshChanges();
  const auto mesh = ExtractSurface({&ball, &block});
  EXPECT_EQ(mesh->Validate(), 0);
  ASSERT_TRUE(mesh->HasValidIndices());
  const SurfaceStats first = MeasureSurface(ball), second = MeasureSurface(block);
  EXPECT_EQ(mesh->Positions.size(), first.Vertices + second.Vertices);
  EXPECT_EQ(mesh->CountPolygons(), int64_t(first.Triangles + second.Triangles));
  ASSERT_EQ(mesh->Objects.size(), 2u);
  EXPECT_EQ(mesh->Objects[1].Name, "Block");
  double volume = 0;
  for (size_t i = 0; i < mesh->Polygons.size(); i += 4) {
    const comms::cVec3 a = mesh->Positions[size_t(mesh->Polygons[i + 1].Position())],
                       b = mesh->Positions[size_t(mesh->Polygons[i + 2].Position())],
                       c = mesh->Positions[size_t(mesh->Polygons[i + 3].Position())];
    const comms::cVec3 face = comms::Cross(b - a, c - a);
    volume += comms::Dot(a, face) / 6;
    for (int k = 1; k <= 3; k++) {  // sides and normals look the same way
      const comms::cVec3 normal = mesh->Normals[size_t(mesh->Polygons[i + size_t(k)].Normal())];
      ASSERT_NEAR(comms::Length(normal), 1, 1e-5);
      if (comms::Length(face) > 0.05f) {
        ASSERT_GT(comms::Dot(normal, comms::Normalized(face)), 0.7f);
      }
    }
  }
  EXPECT_NEAR(volume, first.Volume + second.Volume, 1);
}

TEST(Refresh, GroupsAndBoxesFollowTheSurface) {
  VolumeObject volume;
  Fill(volume, {-9, -9, -9}, {8, 8, 8}, fixtures::Sphere{3, -2, 5, 50});
  volume.RefreshChanges();
  auto check = [&] {
    size_t vertices = 0, groupVertices = 0;
    VolumeBox all;
    for (const SurfaceCell& cell : CollectSurfaceCells(volume)) {
      VolumeBox box;
      for (const VolumeVertex& v : cell.Surface->Vertices) box.Add(v.x, v.y, v.z);
      ASSERT_EQ(box, cell.Surface->Box);
      vertices += cell.Surface->Vertices.Count();
      all.Add(box);
      CellKey key = cell.Key;
      ASSERT_EQ(*volume.BoxTree.FindBox(0, key), box);
    }
    for (int level = 1; level < ABOcTree::LevelCount; level++) {
      VolumeBox joined;
      volume.BoxTree.Levels[level]->Boxes.ForEach([&](const CellKey& key, const VolumeBox& box) {
        VolumeBox children;
        for (int i = 0; i < 8; i++)
          if (const VolumeBox* child =
                  volume.BoxTree.FindBox(level - 1, CellKey{2 * key.x + (i & 1), 2 * key.y + (i >> 1 & 1), 2 * key.z + (i >> 2)}))
            children.Add(*child);
        ASSERT_EQ(children, box) << "level " << level;
        joined.Add(box);
      });
      ASSERT_EQ(joined, all) << "level " << level;
      ASSERT_TRUE(volume.BoxTree.Levels[level]->Changed.Empty());
    }
    volume.RenderGroups.ForEach([&](const CellKey& key, const RenderGroup& group) {
      groupVertices += size_t(group.Mesh->NumVertices);
      ASSERT_EQ(group.LastFrame, volume.CurrentFrame - 1234);
      VolumeBox box;
      for (const SurfaceCell& cell : CollectSurfaceCells(volume))
        if (GroupOf(cell.Key) == key) box.Add(cell.Surface->Box);
      ASSERT_EQ(box, group.Box);
    });
    ASSERT_EQ(groupVertices, vertices);
  };
  check();
  const size_t groups = volume.RenderGroups.Count();
  EXPECT_GT(groups, 8u);

  // One group loses its surface: some of its cells turn empty, the others are deleted while marked.
  const CellKey lost{1, -1, 0};
  ASSERT_TRUE(volume.RenderGroups.Contains(lost));
  std::vector<CellKey> keys;
  for (const SurfaceCell& cell : CollectSurfaceCells(volume))
    if (GroupOf(cell.Key) == lost) keys.push_back(cell.Key);
  for (size_t i = 0; i < keys.size(); i++) {
    volume.MarkCellChanged(keys[i].x, keys[i].y, keys[i].z, false, false);
    if (i % 2)
      volume.DeleteCell(keys[i]);
    else
      volume.FindCell(keys[i])->SetUniform(0, false);
  }
  volume.RefreshChanges();
  for (const CellKey& key : keys) EXPECT_TRUE(volume.BoxTree.FindBox(0, key)->Empty());
  EXPECT_FALSE(volume.RenderGroups.Contains(lost));
  EXPECT_EQ(volume.RenderGroups.Count(), groups - 1);
  check();

  // All boxes again from the vertices.
  for (ABOcTreeLevel* level : volume.BoxTree.Levels) level->Boxes.Clear();
  volume.BoxTree.RequestRebuild();
  volume.BoxTree.Update(volume);
  check();

  // Farther out than the numbers of an empty box.
  VolumeObject far;
  Fill(far, {30000, 0, 0}, {30001, 1, 1}, fixtures::Sphere{240008, 8, 8, 6});
  far.RefreshChanges();
  far.BoxTree.Levels[5]->Boxes.ForEach([](const CellKey&, const VolumeBox& box) { EXPECT_NEAR(box.MinX, 240002, 0.1); });
}

TEST(Refresh, TouchesOnlyWhatIsMarked) {
  VolumeObject volume;
  Fill(volume, {-2, -2, -2}, {1, 1, 1}, fixtures::Sphere{0, 0, 0, 10});
  volume.RefreshChanges();
  VoxelCell* cell = volume.FindCell({-1, -1, -1});
  VoxelCell* other = volume.FindCell({0, 0, 0});
  const uint16_t stamp = cell->DrawStamp;
  cell->Flags &= ~Touched;
  cell->Surface->Vertices[0].Pass = other->Surface->Vertices[0].Pass = 77;
  volume.MarkCellChanged(-1, -1, -1, true, true);  // the box alone: triangles stay
  EXPECT_TRUE(cell->Has(Touched));
  EXPECT_EQ(cell->DrawStamp, uint16_t(stamp - 1234));
  EXPECT_TRUE(volume.DirtyGroups.Contains(CellKey{-1, -1, -1}));
  cell->Surface->Vertices[0].x = -50;
  volume.RefreshSurfaces();
  EXPECT_EQ(cell->Surface->Vertices[0].Pass, 77);
  EXPECT_EQ(volume.BoxTree.FindBox(0, CellKey{-1, -1, -1})->MinX, -50);
  EXPECT_EQ(volume.DirtyGroups.Count(), 1u);  // kept for the refresh that draws
  volume.MarkCellChanged(-1, -1, -1, true, true);
  volume.MarkCellChanged(-1, -1, -1, false, true);  // the later mark counts
  volume.RefreshChanges();
  EXPECT_EQ(cell->Surface->Vertices[0].Pass, 0);
  EXPECT_EQ(other->Surface->Vertices[0].Pass, 77);
  EXPECT_TRUE(volume.DirtyGroups.Empty() && volume.DirtyCells.Empty() && volume.RedrawCells.Empty());
  // Full and empty blocks have no triangles, nor has a cell that was only just created.
  VoxelCell* level = volume.GetCell(9, 9, 9, true, false, false);
  level->Expand(ExpandAllocate | ExpandFill, false);
  std::fill_n(level->Density, CellSamples, uint16_t(32768));
  level->Analyze(false, false);
  volume.MarkCellChanged(9, 9, 9, false, false);
  volume.GetCell(10, 9, 9, true, false, false);
  volume.MarkCellChanged(10, 9, 9, false, false);
  volume.RefreshChanges();
  EXPECT_FALSE(level->Surface || volume.FindCell({10, 9, 9})->Surface);
}

TEST(Refresh, RedrawAreaCoversWhatChanged) {
  VolumeObject volume;
  RedrawArea area;
  area.Width = area.Height = 200;
  area.VolumeToClip = comms::cMat4::Scale(0.02f);  // 1 voxel = 2 pixels, the origin in the middle
  volume.Redraw = &area;
  Fill(volume, {-2, -2, -2}, {1, 1, 1}, fixtures::Sphere{0, 0, 0, 10});
  volume.RefreshChanges();
  EXPECT_NEAR(area.Dirty.x, 80, 1);
  EXPECT_NEAR(area.Dirty.y, 80, 1);
  EXPECT_NEAR(area.Dirty.x + area.Dirty.w, 121, 2);
  area.Dirty = {};
  volume.MarkCellChanged(0, 0, 0, false, false);  // the old place of a changed cell is stale at once
  EXPECT_EQ(area.Dirty.w, volume.FindCell({0, 0, 0})->Surface->ScreenRect.w);
  EXPECT_GE(area.Dirty.x, 99);
  EXPECT_EQ(area.Project(VolumeBox()).w, 0);
}

TEST(VolumeMemory, ReportHasItsTextAndReleasesTheTriangles) {
  VolumeObject volume;
  Fill(volume, {-2, -2, -2}, {1, 1, 1}, fixtures::Sphere{0, 0, 0, 10});
  for (int i = 0; i < 5; i++) volume.GetCell(20 + i, 0, 0, true, false, false);
  volume.RefreshChanges();
  const size_t surfaces = CollectSurfaceCells(volume).size();
  const uint32_t vertices = volume.FindCell({0, 0, 0})->Surface->Vertices.Count();
  const VolumeMemory memory = volume.CountMemory();
  EXPECT_EQ(memory.SurfaceCells, surfaces);
  EXPECT_EQ(memory.UniformCells + memory.FilledCells + memory.SurfaceCells, volume.Cells.Count());
  const std::string text = volume.MemoryReport();
  const std::string head = "\nMemory usage report:\nCells: " + std::to_string(volume.Cells.Count()) +
                           "\nEmpty cells: " + std::to_string(memory.UniformCells) + " (";
  EXPECT_EQ(text.rfind(head, 0), 0u) << text.substr(0, 200);
  const std::string octants = "\n" + std::to_string(1000 + vertices).substr(1) + " : 8\n";
  for (const char* part : {octants.c_str(), " mb)\nFilled cells: ", "\nVertex cash: ", " mb\nIndex cash: ", " mb\nOcTree: ",
                           "\nExtra data: ", " mb\n\nTotal: ", " mb)\nvpool: ", " mb\ncpool: ", " mb\napool: ",
                           "\nVertices usage stats:\n001 : ", "\n255 : 0\nAbove: 0\nTriangles usage stats:\n001 : "})
    EXPECT_NE(text.find(part), std::string::npos) << part;
  EXPECT_TRUE(CollectSurfaceCells(volume).empty());
  volume.MarkAllChanged();
  volume.RefreshChanges();
  EXPECT_EQ(CollectSurfaceCells(volume).size(), surfaces);
}
