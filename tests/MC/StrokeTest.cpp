#include "MC/Stroke.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <new>

#include "MC/Dabs.h"
#include "MC/StrokeFile.h"
#include "MC/SurfaceCells.h"
#include "MC/SurfaceStats.h"
#include "MC/VolumeChecks.h"

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

// That the surface of symmetric samples is symmetric shows in Surface.SymmetricVolumeHasASymmetricSurface.
TEST(Stroke, SymmetricStrokesAreSymmetricToTheLastBit) {
  VolumeObject stamp;
  ApplySphereDab(stamp, {5, 1, 2}, 11, {});
  ApplySphereDab(stamp, {14, 3, 2}, 6, {});
  const StrokeTool tools[] = {StrokeTool::Sphere, StrokeTool::Segment, StrokeTool::Carve, StrokeTool::Stamp, StrokeTool::Segment};
  for (const StrokeTool& tool : tools)
    for (const int mode : {ApplyAdd, ApplySubtract})
      for (const bool airbrush : {false, true})
        for (const int symmetry : {int(MirrorX), MirrorY | MirrorZ, MirrorX | MirrorY | MirrorZ}) {
          const bool stretched = &tool == std::end(tools) - 1;
          SCOPED_TRACE(testing::Message() << "tool " << int(tool) << stretched << mode << airbrush << " symmetry " << symmetry);
          VolumeObject volume;
          if (stretched) volume.SpaceMatrix.m[1][1] = 1.2f, volume.SpaceMatrix.m[2][2] = 0.9f;
          ApplySphereDab(volume, {}, 30, {});
          Stroke stroke = MakeStroke(tool, &stamp);
          stroke.Mode = mode;
          stroke.Airbrush = airbrush;
          stroke.Symmetry = symmetry;
          EXPECT_GT(ApplyStroke(volume, stroke).Apply.ChangedCells, 0);
          for (int axis = 0; axis < 3; axis++)
            if (symmetry >> axis & 1) {
              EXPECT_EQ(FindDifference(volume, volume, axis), "") << "axis " << axis;
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
    Block<uint32_t>& colors = cell.Surface->NeedExtras().ColorLayers.Add(7).Colors;
    colors.Resize(cell.Surface->Vertices().Count());
    for (uint32_t i = 0; i < colors.Count(); i++) colors[i] = uint32_t(key.x * 31 + key.y * 7 + key.z) + i;
  });
  const auto before = DumpCells(volume);
  {
    Listener listener;
    const auto exchange = [&](StrokeCells& cells) {
      volume.ExchangeCells(cells);
      volume.RefreshChanges();
      return DumpCells(volume);
    };
    // Dabs of both kinds over the same cells, then the rest is wiped: the first state is what counts.
    Stroke stroke = MakeStroke(StrokeTool::Segment, nullptr);
    ApplyStroke(volume, stroke);
    stroke.Mode = ApplySubtract;
    ApplyStroke(volume, stroke);
    volume.RefreshChanges();
    ApplySphereDab(volume, {0, 0, 10}, 22, {ApplyIntersect, false, 0});
    const int32_t backups = volume.BackupCount;
    FinishStroke(volume, &listener);
    EXPECT_TRUE(volume.BackupCount == 0 && volume.StrokeCellKeys.empty() && volume.DirtyCells.Empty());
    ASSERT_EQ(listener.Kept.size(), 1u);
    EXPECT_EQ(listener.Kept[0].Entries().size(), size_t(backups));
    const auto after = DumpCells(volume);
    EXPECT_FALSE(after == before);
    EXPECT_TRUE(exchange(listener.Kept[0]) == before) << "undo";
    EXPECT_TRUE(exchange(listener.Kept[0]) == after) << "redo";
    // Undone before the changes were refreshed: the redo has no triangles to bring back and makes them, and so does the undo of
    // another stroke that began meanwhile.
    exchange(listener.Kept[0]);
    ApplySphereDab(volume, {0, 30, 0}, 9, {});
    StrokeCells unrefreshed = volume.TakeStroke();
    ApplySphereDab(volume, {0, 33, 0}, 9, {});
    StrokeCells second = volume.TakeStroke();
    exchange(second);
    EXPECT_TRUE(exchange(unrefreshed) == before);
    exchange(unrefreshed);
    const size_t vertices = MeasureSurface(volume).Vertices;
    volume.MarkAllChanged();
    volume.RefreshChanges();
    EXPECT_EQ(MeasureSurface(volume).Vertices, vertices);

    for (PenSample& sample : stroke.Samples) sample.Position = {500, 0, 0};
    ApplyStroke(volume, stroke);
    FinishStroke(volume, &listener);
    EXPECT_EQ(listener.Kept.size(), 1u) << "nothing was touched";
  }
  volume.Clear();
  EXPECT_EQ(volume.VoxelPool.UsedBlocks() + volume.CellPool.UsedBlocks() + volume.SurfacePool.UsedBlocks(), 0u);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // their shadow memory can't be told from what is asked for
// While it lives, the process gets so many bytes of address space more than it has, and what earlier tests gave back to the heap
// is taken.
class MemoryLimit {
 public:
  explicit MemoryLimit(size_t more) {
    size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    getrlimit(RLIMIT_AS, &m_Before);
    rlimit tight{pages * size_t(sysconf(_SC_PAGESIZE)), m_Before.rlim_max};
    setrlimit(RLIMIT_AS, &tight);
    for (size_t size = 1 << 20; size >= 512; size /= 2)
      while (void* piece = std::malloc(size)) {
        *static_cast<void**>(piece) = m_Taken;
        m_Taken = piece;
      }
    tight.rlim_cur += more;
    setrlimit(RLIMIT_AS, &tight);
  }
  ~MemoryLimit() {
    setrlimit(RLIMIT_AS, &m_Before);
    while (m_Taken) std::free(std::exchange(m_Taken, *static_cast<void**>(m_Taken)));
  }

 private:
  rlimit m_Before{};
  void* m_Taken = nullptr;
};

// Wherever memory ends, in the merge, in the backups, in the refresh: what the dabs did is taken back to the last byte, and no
// block is lost.
TEST(Stroke, WhatRunsOutOfMemoryIsTakenBack) {
  VolumeObject volume;
  ApplySphereDab(volume, {}, 50, {});
  FinishStroke(volume);
  const auto before = DumpCells(volume);
  const size_t blocks = volume.VoxelPool.UsedBlocks();
  int failures = 0;
  bool failed = true;
  for (size_t more = 0; failed && more < size_t(1) << 30; more += size_t(256) << 10) {
    const int32_t mode = failures % 2 ? ApplyIntersect : ApplyAdd;
    failed = false;
    try {
      const MemoryLimit limit(more);
      ApplySphereDab(volume, {0, 30, 10}, 90, {ApplySubtract, false, 0});
      ApplySphereDab(volume, {0, 30, 0}, 110, {mode, false, 0});
      volume.RefreshChanges();
      ApplySphereDab(volume, {0, -170, 0}, 110, {});
      volume.RefreshChanges();
    } catch (const std::bad_alloc&) {
      failed = true;
      failures++;
    }
    volume.EndStroke(true);
    volume.RefreshChanges();
    ASSERT_TRUE(DumpCells(volume) == before) << more << " bytes, mode " << mode;
    ASSERT_EQ(volume.VoxelPool.UsedBlocks(), blocks) << more << " bytes, mode " << mode;
  }
  EXPECT_FALSE(failed);
  EXPECT_GT(failures, 3);
}

// Undo and redo exchange all cells of a stroke or none.
TEST(Stroke, AnExchangeThatRunsOutOfMemoryChangesNothing) {
  VolumeObject volume;
  ApplySphereDab(volume, {}, 220, {});
  StrokeCells cells = volume.TakeStroke();
  volume.ExchangeCells(cells);
  ASSERT_EQ(volume.Cells.Count(), 0u);
  int failures = 0;
  for (size_t more = 0; volume.Cells.Count() == 0 && more < size_t(1) << 28; more += size_t(128) << 10) {
    try {
      const MemoryLimit limit(more);
      volume.ExchangeCells(cells);
    } catch (const std::bad_alloc&) {
      failures++;
      ASSERT_EQ(volume.Cells.Count(), 0u) << more << " bytes";
    }
  }
  EXPECT_GT(failures, 1);
  EXPECT_EQ(volume.Cells.Count(), cells.Entries().size());
  volume.ExchangeCells(cells);
  EXPECT_EQ(volume.Cells.Count(), 0u) << "nothing is lost for the next undo";
}
#endif

// Lengths of a stroke are world units, whatever the volume's space is.
TEST(Stroke, RadiiAreInWorldUnits) {
  const comms::cMat4 spaces[] = {comms::cMat4::Scale(0.25f),
                                 {{{0, 0.3f, 0, 0}, {-0.3f, 0, 0, 0}, {0, 0, 0.3f, 0}, {7, -5, 1, 1}}},
                                 {{{0.2f, 0, 0, 0}, {0, 0.3f, 0, 0}, {0, 0.02f, 0.25f, 0}, {1, 2, 3, 1}}}};
  const cVec3 a{1, 2, 3}, b{3, 5, 2};
  for (const comms::cMat4& space : spaces) {
    VolumeObject volume;
    volume.SpaceMatrix = space;
    EXPECT_EQ(IsUniformSpace(space), &space != &spaces[2]);
    Stroke stroke;
    stroke.Samples = {MakeSample(a, 3), MakeSample(b, 2)};
    ApplyStroke(volume, stroke);
    FinishStroke(volume);
    const auto surface = CollectSurfaceCells(volume);
    EXPECT_GT(surface.size(), 10u);
    for (const SurfaceCell& cell : surface)
      for (const VolumeVertex& v : cell.Surface->Vertices()) {
        const cVec3 p = volume.VolumeToWorld({v.x, v.y, v.z});
        const float t = std::clamp(Dot(p - a, b - a) / Dot(b - a, b - a), 0.0f, 1.0f);
        const float radius = 3 - t;
        // Linear interpolation in a grid of h = 0.3 errs by h^2 / 8 r, by h / 4 of the change of slope where the taper begins;
        // the distance of the fast path by 0.18 percent.
        const float tolerance = 0.3f * 0.3f / (8 * 2) + 0.3f / (4 * Length(b - a)) + 0.0018f * radius;
        EXPECT_NEAR(Length(p - (a + (b - a) * t)), radius, tolerance);
      }
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
  EXPECT_NEAR(CountBalls(volume, stroke), 4, 0.1);
  const Stroke path = stroke;
  stroke.Samples.back().Radius = 0.1f;
  stroke.Spacing = 0.1f;
  stroke.Symmetry = MirrorY;
  EXPECT_NEAR(CountBalls(volume, stroke) / double(dabs()), 1, 0.1) << "down to the least step";
  stroke = path;
  stroke.Samples = {MakeSample({}, 1e-9f), MakeSample({6e6f, 0, 0}, 1e-9f)};
  EXPECT_NEAR(CountBalls(volume, stroke), 24e6, 1e3);
  stroke = path;
  stroke.Tool = StrokeTool::Stamp;
  EXPECT_EQ(dabs(), 3);
  EXPECT_EQ(volume.Cells.Count(), 0u) << "a stamp without a source does nothing";

  const auto same = [](const Stroke& one, const Stroke& other) {
    VolumeObject a, b;
    ApplyStroke(a, one);
    ApplyStroke(b, other);
    return FindDifference(a, b).empty();
  };
  // Normals far apart: the pen is held halfway all along, so the lens lies flat and reaches both ends alike.
  Stroke bent;
  bent.Tool = StrokeTool::Carve;
  bent.Samples = {{{-12, 0, 0}, {-1, 0, 0.2f}, 8, 0.5f, 1}, {{12, 0, 0}, {1, 0, 0.2f}, 8, 0.5f, 1}};
  Stroke flat = bent;
  for (PenSample& sample : flat.Samples) sample.Normal = {0, 0, 1};
  EXPECT_TRUE(same(bent, flat));
  // Pressure scales the radius, unless it is told not to.
  Stroke soft, thin;
  soft.Samples = {MakeSample({0, 0, 0}, 10, 0.5f), MakeSample({9, 0, 0}, 10, 0.5f)};
  thin.Samples = {MakeSample({0, 0, 0}, 5), MakeSample({9, 0, 0}, 5)};
  EXPECT_TRUE(same(soft, thin));
  soft.PressureRadius = false;
  EXPECT_FALSE(same(soft, thin));
}

TEST(StrokeFile, ReadsEveryStatement) {
  std::vector<Stroke> strokes;
  std::string error;
  const char* text =
      "# a comment\r\n"
      "TOOL carve\r\n mode Subtract\nairbrush on\nsymmetry X z # both\nspacing 0.25\npressure height\nfalloff 0.5\nbase -1e-1\n"
      "sample 1 2 3  0 0 2  +4 5 0.5\nsample -1 2.5 3e1  1 0 0  4 5 1\n\n"
      "stroke\ntool stamp\nstamp  Horn of plenty \t# the big one\nsymmetry none\nairbrush off\nsample 1 1 1 0 1 0 2 1 "
      "1\nstroke\nmode add";
  ASSERT_TRUE(ParseStrokes(text, "s.txt", strokes, error)) << error;
  ASSERT_EQ(strokes.size(), 2u);
  const Stroke &a = strokes[0], &b = strokes[1];
  EXPECT_TRUE(a.Tool == StrokeTool::Carve && a.Mode == ApplySubtract && a.Symmetry == (MirrorX | MirrorZ) && a.Airbrush);
  EXPECT_TRUE(a.PressureHeight && !a.PressureRadius && a.Spacing == 0.25f && a.Falloff == 0.5f && a.Base == -0.1f);
  ASSERT_EQ(a.Samples.size(), 2u);
  const PenSample& s = a.Samples[0];
  EXPECT_TRUE(s.Normal == (cVec3{0, 0, 1}) && s.Radius == 4 && s.Height == 5 && s.Pressure == 0.5f);
  EXPECT_EQ(a.Samples[1].Position, (cVec3{-1, 2.5f, 30}));
  EXPECT_TRUE(b.Tool == StrokeTool::Stamp && b.StampName && *b.StampName == "Horn of plenty" && b.Symmetry == MirrorNone);
  EXPECT_TRUE(b.Mode == ApplySubtract && b.PressureHeight && !b.PressureRadius) << "settings carry over";
}

TEST(StrokeFile, BadLinesGiveOneSentenceAndChangeNothing) {
  const std::pair<std::string, const char*> cases[] = {
      {"sample 0 0 0 0 0 1 1 1", "pressure is missing"},
      {"sample 0 0 0 0 0 1 1 1 1 1", "behind the end"},
      {"sample nan 0 0 0 0 1 1 1 1", "position x is 'nan'"},
      {"sample 0 0 1e999 0 0 1 1 1 1", "position z is '1e999'"},
      {"sample 0 0 0 0 0 1 0 1 1", "radius is 0"},
      {"sample 0 0 0 0 0 0 2 1 1", "normal has no length"},
      {"sample 0 0 zero 0 0 1 2 1 1", "'zero' where position z"},
      {"tool Hammer", "'Hammer', expected one of Sphere"},
      {"mode", "a word is missing"},
      {"symmetry x none", "both none"},
      {"stamp", "name of the volume"},
      {"stamp " + std::string(201, 'n'), "201 bytes, expected at most 200"},
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
}
