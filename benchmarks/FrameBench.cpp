// What a frame of the main loop costs on the processor, the driver left out: the interface with every panel of the room, and a
// large scene.
#include <algorithm>
#include <cstdio>

#include "Claims.h"
#include "WindowRig.h"
#include "comms/cRenderNull.h"

namespace {

constexpr int Width = 1600, Height = 1000, Frames = 200;

const bench::Benchmark idleFrame("FrameIdle", [](std::vector<bench::Claim>& claims) {
  comms::cRenderNull render;
  render.TakesNotes = false;
  bench::WindowRig rig(render, Width, Height);
  MakeSphereVolume(rig.Scene, "ball", 1, 0.02f);
  rig.Form->FrameScene();
  size_t panels = 0;
  for (const DockPanel& panel : rig.Form->Docks().All())
    if (panel.Key != "RoomNotePanel") {
      rig.Form->Docks().Open(panel.Key);
      panels++;
    }
  rig.Settings.ShowStatistics = true;
  for (int i = 0; i < 60; i++) rig.Frame();
  std::vector<double> times;
  for (int i = 0; i < Frames; i++) {
    rig.Frame();
    times.push_back(rig.FrameSeconds * 1000);
  }
  bench::Claim claim = bench::LimitClaim("Idle frame, all panels of the voxel room open: our CPU time in ms, median / limit",
                                         bench::Median(times), 2);
  char note[160];
  std::snprintf(note, sizeof note, "%zu panels; slowest frame %.2f ms", panels, *std::max_element(times.begin(), times.end()));
  claim.Note = note;
  claim.OursSpread = bench::SpreadOf(times);
  claims.push_back(claim);
});

// Balls side by side whose surface has some five million triangles, and a hand that turns the view: each frame draws all of it
// anew.
const bench::Benchmark largeScene("FrameScene", [](std::vector<bench::Claim>& claims) {
  constexpr double Least = 5e6;
  comms::cRenderNull render;
  render.TakesNotes = false;
  bench::WindowRig rig(render, Width, Height);
  // About 2.9 triangles a voxel of surface, and balls end at 240 voxels in radius: some of them.
  int64_t triangles = 0;
  for (int i = 0; double(triangles) < Least && i < 16; i++) {
    VolumeObject& ball = MakeSphereVolume(rig.Scene, "ball" + std::to_string(i), 1, 1 / 239.0f);
    ball.SpaceMatrix = ball.SpaceMatrix * comms::cMat4::Translation({float(i % 2) * 2.2f - 1.1f, float(i / 2) * 2.2f - 1.1f, 0});
    ball.RenderGroups.ForEach([&](const auto&, const RenderGroup& group) { triangles += group.Mesh->NumIndices / 3; });
  }
  rig.Options.SmoothViews = false;
  rig.Form->Navi().Settings = rig.Options.GetNaviSettings();
  rig.Form->FrameScene();
  do rig.Frame();
  while (rig.Form->View().NeedsAnotherFrame());
  const auto& seen = rig.Form->View().LastStatistics();
  const auto measure = [&](const std::function<void(int)>& prepare) {
    std::vector<double> times;
    for (int i = 0; i < Frames; i++) {
      prepare(i);
      rig.Frame();
      times.push_back(rig.FrameSeconds * 1000);
    }
    return times;
  };
  for (int i = 0; i < 60; i++) rig.Frame();  // until the view is quiet
  const std::vector<double> idle = measure([](int) {});

  const cRect view = rig.Form->ViewRect();
  const float x = view.X + 8, y = view.Y + view.H / 2;
  int64_t least = triangles;
  int kept = 0;
  rig.Send(InputKind::PointerMove, x, y);
  rig.Send(InputKind::ButtonDown, x, y, MouseButton::Left);
  rig.Frame();
  const std::vector<double> turning = measure([&](int i) {
    if (i > 0) {
      least = std::min(least, seen.Triangles);
      kept += !seen.Changed;
    }
    rig.Send(InputKind::PointerMove, x + float(i + 1), y);
  });
  bench::Claim time = bench::LimitClaim("5 million triangles in view, which turns: our CPU time of a frame in ms, median / limit",
                                        bench::Median(turning), 4);
  time.OursSpread = bench::SpreadOf(turning);
  char note[200];
  std::snprintf(note, sizeof note,
                "%.2f million triangles in %d groups of %zu volumes; slowest frame %.2f ms; idle frames %.2f ms",
                double(least) / 1e6, seen.VisibleGroups, rig.Scene.Volumes().size(),
                *std::max_element(turning.begin(), turning.end()), bench::Median(idle));
  time.Note = note;
  if (double(least) < Least) time.Failed = "a frame showed " + std::to_string(least) + " triangles alone";
  if (kept > 0) time.Failed = std::to_string(kept) + " of the frames were those before";
  claims.push_back(time);

  render.TakesNotes = true;
  render.Calls.clear();
  rig.Send(InputKind::PointerMove, x, y);
  rig.Frame();
  // Behind the last change of target the picture is composed and the interface drawn.
  const auto scene = std::find(render.Calls.rbegin(), render.Calls.rend(), "SetTarget -1");
  const auto calls =
      std::count_if(scene, render.Calls.rend(), [](const comms::cStr& call) { return call.starts_with("DrawIndexed"); });
  size_t cells = 0;
  for (const auto& volume : rig.Scene.Volumes())
    volume->ForEachCell([&](const CellKey&, const VoxelCell& cell) { cells += cell.Surface && !cell.Surface->Empty(); });
  bench::Claim perGroup =
      bench::LimitClaim("5 million triangles in view: draw calls of the scene and its shadow / two for each visible group",
                        double(calls), 2 * double(seen.VisibleGroups));
  std::snprintf(note, sizeof note, "%zu cells with a surface", cells);
  perGroup.Note = note;
  if (calls == 0) perGroup.Failed = "the frame was the one before";
  claims.push_back(perGroup);
});

}  // namespace
