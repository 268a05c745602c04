#include "MC/Stroke.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "MC/Dabs.h"
#include "MC/StrokeFile.h"
#include "MC/SurfaceStats.h"
#include "VolumeChecks.h"

using comms::cVec3;
using namespace volumechecks;

namespace {

PenSample MakeSample(const cVec3& at, float radius, float pressure = 1) {
  return {at, Normalized(at, {0, 0, 1}), radius, 0.6f, pressure};
}

// A stroke across the ball of radius 30, off every symmetry plane and over them.
Stroke MakeStroke(StrokeTool tool, const VolumeObject* stamp) {
  Stroke stroke;
  stroke.Tool = tool;
  stroke.StampSource = stamp;
  for (int i = 0; i < 6; i++) {
    const float a = 0.35f * float(i) - 0.5f;
    stroke.Samples.push_back(MakeSample(cVec3{std::sin(a), 0.3f * std::cos(3 * a), std::cos(a)} * 29.3f, 6.7f + 0.3f * float(i),
                                        0.5f + 0.1f * float(i)));
  }
  return stroke;
}

}  // namespace

TEST(Stroke, SymmetricStrokesAreSymmetricToTheLastBit) {
  VolumeObject stamp;
  ApplySphereDab(stamp, {5, 1, 2}, 11, {});
  ApplySphereDab(stamp, {14, 3, 2}, 6, {});
  constexpr std::pair<StrokeTool, bool> tools[] = {{StrokeTool::Sphere, false},
                                                   {StrokeTool::Segment, false},
                                                   {StrokeTool::Segment, true},
                                                   {StrokeTool::Carve, false},
                                                   {StrokeTool::Stamp, false}};
  for (const auto& [tool, stretched] : tools)
    for (const int mode : {ApplyAdd, ApplySubtract})
      for (const bool airbrush : {false, true})
        for (const int symmetry : {int(MirrorX), MirrorY | MirrorZ, MirrorX | MirrorY | MirrorZ}) {
          SCOPED_TRACE(testing::Message() << "tool " << int(tool) << stretched << " mode " << mode << airbrush << " symmetry "
                                          << symmetry);
          VolumeObject volume;
          if (stretched) volume.SpaceMatrix.m[1][1] = 1.2f, volume.SpaceMatrix.m[2][2] = 0.9f;
          ApplySphereDab(volume, {}, 30, {});
          const auto before = DumpSamples(volume);
          Stroke stroke = MakeStroke(tool, &stamp);
          stroke.Mode = mode;
          stroke.Airbrush = airbrush;
          stroke.Symmetry = symmetry;
          EXPECT_GT(ApplyStroke(volume, stroke).Apply.ChangedCells, 0);
          FinishStroke(volume);
          EXPECT_FALSE(DumpSamples(volume) == before);
          VolumeObject::Cursor here, there;
          for (int axis = 1; axis <= 4; axis *= 2) {  // the surface of symmetric samples is: Surface.SymmetricVolume...
            if (!(symmetry & axis)) continue;
            int differing = 0;
            for (int z = -50; z <= 50; z++)
              for (int y = -50; y <= 50; y++)
                for (int x = -50; x <= 50; x++)
                  differing += volume.SampleVoxel(x, y, z, here, false) !=
                               volume.SampleVoxel(axis == MirrorX ? -x : x, axis == MirrorY ? -y : y, axis == MirrorZ ? -z : z,
                                                  there, false);
            EXPECT_EQ(differing, 0);
          }
        }
}

// Undo and redo of a stroke: every byte of every cell, surfaces, ids and colours included, and no cell more than before.
TEST(Stroke, EndHandsOverWhatItReplacedAndItComesBackExactly) {
  struct Listener : StrokeListener {
    void OnStrokeEnd(VolumeObject&, StrokeCells replaced) override { Kept.push_back(std::move(replaced)); }
    std::vector<StrokeCells> Kept;
  };
  VolumeObject volume;
  ApplySphereDab(volume, {}, 30, {});
  FinishStroke(volume);
  ApplySphereDab(volume, {0, 25, 18}, 8, {ApplySubtract, false, 0});  // cells beside it keep the normals that they had before
  FinishStroke(volume);
  volume.AssignVertexIds();
  volume.ForEachCell([](const CellKey& key, VoxelCell& cell) {
    if (!cell.Surface) return;
    Block<uint32_t>& colors = cell.Surface->ColorLayers.Add(7).Colors;
    colors.Resize(cell.Surface->Vertices.Count());
    for (uint32_t i = 0; i < colors.Count(); i++) colors[i] = uint32_t(key.x * 31 + key.y * 7 + key.z) + i;
  });
  const auto before = DumpCells(volume);
  {
    Listener listener;
    Stroke stroke = MakeStroke(StrokeTool::Segment, nullptr);
    ApplyStroke(volume,
                stroke);  // dabs of both kinds over the same cells, then the rest is wiped: the first state is what counts
    stroke.Mode = ApplySubtract;
    ApplyStroke(volume, stroke);
    volume.RefreshChanges();
    ApplySphereDab(volume, {0, 0, 10}, 22, {ApplyIntersect, false, 0});
    const int32_t backups = volume.BackupCount;
    FinishStroke(volume, &listener);
    EXPECT_EQ(volume.BackupCount, 0);
    EXPECT_TRUE(volume.StrokeCellKeys.empty());
    EXPECT_EQ(volume.DirtyCells.Count(), 0);
    ASSERT_EQ(listener.Kept.size(), 1u);
    EXPECT_EQ(listener.Kept[0].Entries().size(), size_t(backups));
    const auto after = DumpCells(volume);
    EXPECT_FALSE(after == before);
    for (int round = 0; round < 2; round++) {
      volume.ExchangeCells(listener.Kept[0]);
      volume.RefreshChanges();
      EXPECT_TRUE(DumpCells(volume) == before) << "undo";
      volume.ExchangeCells(listener.Kept[0]);
      volume.RefreshChanges();
      EXPECT_TRUE(DumpCells(volume) == after) << "redo";
    }
    // Undone before the changes were refreshed: the redo has no triangles to bring back and makes them.
    volume.ExchangeCells(listener.Kept[0]);
    volume.RefreshChanges();
    ApplySphereDab(volume, {0, 30, 0}, 9, {});
    StrokeCells unrefreshed = volume.TakeStroke();
    volume.ExchangeCells(unrefreshed);
    volume.RefreshChanges();
    EXPECT_TRUE(DumpCells(volume) == before);
    volume.ExchangeCells(unrefreshed);
    volume.RefreshChanges();
    const size_t vertices = MeasureSurface(volume).Vertices;
    volume.MarkAllChanged();
    volume.RefreshChanges();
    EXPECT_EQ(MeasureSurface(volume).Vertices, vertices);
    volume.ExchangeCells(unrefreshed);
    volume.RefreshChanges();

    for (PenSample& sample : stroke.Samples) sample.Position = {500, 0, 0};
    ApplyStroke(volume, stroke);
    FinishStroke(volume, &listener);
    EXPECT_EQ(listener.Kept.size(), 1u) << "nothing was touched";
  }
  volume.Clear();
  EXPECT_EQ(volume.VoxelPool.UsedBlocks() + volume.CellPool.UsedBlocks() + volume.SurfacePool.UsedBlocks(), 0u);
}

// Lengths of a stroke are world units, whatever the volume's space is.
TEST(Stroke, RadiiAreInWorldUnits) {
  const comms::cMat4 spaces[] = {comms::cMat4::Scale(0.25f),
                                 {{{0, 0.3f, 0, 0}, {-0.3f, 0, 0, 0}, {0, 0, 0.3f, 0}, {7, -5, 1, 1}}},
                                 {{{0.2f, 0, 0, 0}, {0, 0.3f, 0, 0}, {0, 0.02f, 0.25f, 0}, {1, 2, 3, 1}}}};
  const cVec3 a{1, 2, 3}, b{3, 5, 2};
  for (const comms::cMat4& space : spaces) {
    VolumeObject volume;
    volume.SpaceMatrix = space;
    const bool uniform = &space != &spaces[2];
    EXPECT_EQ(IsUniformSpace(space), uniform);
    Stroke stroke;
    stroke.Samples = {MakeSample(a, 3), MakeSample(b, 2)};
    ApplyStroke(volume, stroke);
    FinishStroke(volume);
    int vertices = 0;
    volume.ForEachCell([&](const CellKey&, const VoxelCell& cell) {
      if (!cell.Surface) return;
      for (const VolumeVertex& v : cell.Surface->Vertices) {
        const cVec3 p = volume.VolumeToWorld({v.x, v.y, v.z});
        const float t = std::clamp(Dot(p - a, b - a) / Dot(b - a, b - a), 0.0f, 1.0f);
        const float radius = 3 - t;
        // Linear interpolation in a grid of h = 0.3 errs by h^2 / 8 r, by h / 4 of the change of slope where the taper begins;
        // the distance of the fast path by 0.18 percent.
        const float tolerance = 0.3f * 0.3f / (8 * 2) + 0.3f / (4 * Length(b - a)) + 0.0018f * radius;
        EXPECT_NEAR(Length(p - (a + (b - a) * t)), radius, tolerance);
        vertices++;
      }
    });
    EXPECT_GT(vertices, 500);
  }
}

TEST(Stroke, PathsBecomeDabs) {
  VolumeObject volume;
  Stroke stroke;
  stroke.Samples = {MakeSample({0, 0, 0}, 10)};
  const auto dabs = [&] {
    volume.Clear();
    return ApplyStroke(volume, stroke).Dabs;
  };
  EXPECT_EQ(dabs(), 1) << "a single sample is a dab of its own";
  for (const float x : {0.4f, 1.0f, 9.0f, 20.0f}) stroke.Samples.push_back(MakeSample({x, 0, 0}, 10));
  EXPECT_EQ(dabs(), 4);
  stroke.Spacing = 0.5f;  // ends at 0, 9 and 20
  EXPECT_EQ(dabs(), 2);
  stroke.Symmetry = MirrorX | MirrorZ;
  EXPECT_EQ(dabs(), 2 * 4);
  stroke.Symmetry = MirrorNone;
  stroke.Tool = StrokeTool::Sphere;  // every 5 voxels on 20
  EXPECT_EQ(dabs(), 5);
  stroke.Tool = StrokeTool::Stamp;
  EXPECT_EQ(dabs(), 3);
  EXPECT_EQ(volume.Cells.Count(), 0u) << "a stamp without a source does nothing";

  // Normals far apart: the pen is held halfway all along, so the lens lies flat and reaches both ends alike.
  Stroke bent;
  bent.Tool = StrokeTool::Carve;
  bent.Samples = {{{-12, 0, 0}, {-1, 0, 0.2f}, 8, 0.5f, 1}, {{12, 0, 0}, {1, 0, 0.2f}, 8, 0.5f, 1}};
  volume.Clear();
  ApplyStroke(volume, bent);
  Stroke flat = bent;
  for (PenSample& sample : flat.Samples) sample.Normal = {0, 0, 1};
  VolumeObject expected;
  ApplyStroke(expected, flat);
  EXPECT_TRUE(DumpSamples(volume) == DumpSamples(expected));

  // Pressure scales what it is told to.
  Stroke soft;
  soft.Samples = {MakeSample({0, 0, 0}, 10, 0.5f), MakeSample({9, 0, 0}, 10, 0.5f)};
  Stroke thin = soft;
  for (PenSample& sample : thin.Samples) sample.Radius = 5, sample.Pressure = 1;
  volume.Clear(), expected.Clear();
  ApplyStroke(volume, soft), ApplyStroke(expected, thin);
  EXPECT_TRUE(DumpSamples(volume) == DumpSamples(expected));
}

TEST(StrokeFile, ReadsEveryStatement) {
  std::vector<Stroke> strokes;
  std::string error;
  const char* text =
      "# a comment\r\n"
      "TOOL carve\r\n mode Subtract\nairbrush on\nsymmetry X z # both\nspacing 0.25\npressure height\nfalloff 0.5\nbase -1e-1\n"
      "sample 1 2 3  0 0 2  +4 5 0.5\nsample -1 2.5 3e1  1 0 0  4 5 1\n\n"
      "stroke\ntool stamp\nstamp Horn\nsymmetry none\nairbrush off\nsample 1 1 1 0 1 0 2 1 1\nstroke\nmode add";
  ASSERT_TRUE(ParseStrokes(text, "s.txt", strokes, error)) << error;
  ASSERT_EQ(strokes.size(), 2u);
  const Stroke &a = strokes[0], &b = strokes[1];
  EXPECT_TRUE(a.Tool == StrokeTool::Carve && a.Mode == ApplySubtract && a.Symmetry == (MirrorX | MirrorZ));
  EXPECT_TRUE(a.Airbrush && a.PressureHeight && !a.PressureRadius);
  EXPECT_TRUE(a.Spacing == 0.25f && a.Falloff == 0.5f && a.Base == -0.1f);
  ASSERT_EQ(a.Samples.size(), 2u);
  EXPECT_EQ(a.Samples[0].Normal, (cVec3{0, 0, 1}));
  EXPECT_TRUE(a.Samples[0].Radius == 4 && a.Samples[0].Height == 5 && a.Samples[0].Pressure == 0.5f);
  EXPECT_EQ(a.Samples[1].Position, (cVec3{-1, 2.5f, 30}));
  EXPECT_TRUE(b.Tool == StrokeTool::Stamp && b.StampName == "Horn" && b.Symmetry == MirrorNone);
  EXPECT_TRUE(b.Mode == ApplySubtract && b.PressureHeight && !b.PressureRadius) << "settings carry over";
}

TEST(StrokeFile, BadLinesGiveOneSentenceAndChangeNothing) {
  const std::pair<std::string, const char*> cases[] = {
      {"sample 0 0 0 0 0 1 1 1", "pressure is missing"},
      {"sample 0 0 0 0 0 1 1 1 1 1", "behind the end"},
      {"sample nan 0 0 0 0 1 1 1 1", "position x is 'nan'"},
      {"sample 0 0 1e999 0 0 1 1 1 1", "position z is '1e999'"},
      {"sample 0 0 0 0 0 1 0 1 1", "radius is 0"},
      {"sample 0 0 0 0 0 1 2 1 1.5", "pressure is '1.5'"},
      {"sample 0 0 0 0 0 0 2 1 1", "normal has no length"},
      {"sample 0 0 zero 0 0 1 2 1 1", "'zero' where position z"},
      {"tool Hammer", "'Hammer', expected one of Sphere"},
      {"mode", "a word is missing"},
      {"symmetry x none", "both none"},
      {"stamp", "name of the volume"},
      {"draw 1", "'draw', which is no statement"},
      {"sample 0 0 0 0 0 1 2 1 1\nmode add", "line 4: 'mode' stands behind a sample"},
      {std::string(1 << 20, 'x'), "...'"},
      {std::string("\0\xff\xfe", 3), "which is no statement"},
  };
  for (const auto& [text, expected] : cases) {
    std::vector<Stroke> strokes(3);
    std::string error;
    EXPECT_FALSE(ParseStrokes("\n# second line\n" + text, "dir/s.txt", strokes, error)) << text.substr(0, 60);
    EXPECT_EQ(strokes.size(), 3u);
    EXPECT_NE(error.find(expected), error.npos) << error;
    EXPECT_EQ(error.find("dir/s.txt, line "), 0u) << error;
    EXPECT_LT(error.size(), 200u);
    EXPECT_EQ(error.find('\n'), error.npos);
  }
  std::vector<Stroke> strokes;
  std::string error;
  EXPECT_FALSE(ReadStrokeFile("/no/such/stroke.txt", strokes, error));
  EXPECT_NE(error.find("/no/such/stroke.txt"), error.npos) << error;
  EXPECT_TRUE(ParseStrokes("", "empty", strokes, error));
  EXPECT_TRUE(strokes.empty());
}
