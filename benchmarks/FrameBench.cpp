// What a frame costs on the processor, the driver left out: the interface with every panel of the room, and a large scene.
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
  std::vector<double> all, interface;
  for (int i = 0; i < Frames; i++) {
    rig.Frame();
    interface.push_back(rig.InterfaceSeconds * 1000);
    all.push_back((rig.InterfaceSeconds + rig.SceneSeconds) * 1000);
  }
  bench::Claim claim = bench::LimitClaim("Idle frame, all panels of the voxel room open: our CPU time in ms, median / limit",
                                         bench::Median(all), 2);
  char note[160];
  std::snprintf(note, sizeof note, "%zu panels; of it the interface %.2f ms; slowest frame %.2f ms", panels,
                bench::Median(interface), *std::max_element(all.begin(), all.end()));
  claim.Note = note;
  claims.push_back(claim);
});

// A ball whose surface has some five million triangles, all of its groups in sight.
const bench::Benchmark largeScene("FrameScene", [](std::vector<bench::Claim>& claims) {
  constexpr double Least = 5e6;
  VoxelScene scene(BENCH_DATA_DIR);
  // About 2.9 triangles a voxel of surface, and balls end at 240 voxels in radius: some of them side by side.
  int64_t triangles = 0;
  for (int i = 0; double(triangles) < Least && i < 16; i++) {
    VolumeObject& ball = MakeSphereVolume(scene, "ball" + std::to_string(i), 1, 1 / 239.0f);
    ball.SpaceMatrix = ball.SpaceMatrix * comms::cMat4::Translation({float(i % 2) * 2.2f - 1.1f, float(i / 2) * 2.2f - 1.1f, 0});
    ball.RenderGroups.ForEach([&](const auto&, const RenderGroup& group) { triangles += group.Mesh->NumIndices / 3; });
  }
  comms::cRenderNull render;
  render.TakesNotes = false;
  SceneView view;
  SceneFrame frame;
  frame.Camera.View = comms::LookAt({0, 0, 12}, {0, 0, 0}, {0, 1, 0});
  frame.Camera.Projection = comms::Perspective(40, float(Width) / Height, 0.05f, 100);
  frame.Viewport = {0, 0, Width, Height, Height};
  const SceneViewOptions options;
  const auto draw = [&] { view.Draw(render, scene, frame, options); };
  do draw();
  while (view.NeedsAnotherFrame());
  std::vector<double> times;
  for (int i = 0; i < Frames; i++) {
    const double start = bench::ThreadSeconds();
    draw();
    times.push_back((bench::ThreadSeconds() - start) * 1000);
  }
  const SceneView::Statistics seen = view.LastStatistics();
  bench::Claim time =
      bench::LimitClaim("Scene of 5 million triangles in view: SceneView::Draw in ms, median / limit", bench::Median(times), 4);
  char note[160];
  std::snprintf(note, sizeof note, "%.2f million triangles in %d groups of %zu volumes", double(seen.Triangles) / 1e6,
                seen.VisibleGroups, scene.Volumes().size());
  time.Note = note;
  if (double(seen.Triangles) < Least) time.Ratio = 1e9;  // not the scene that is claimed
  claims.push_back(time);

  render.TakesNotes = true;
  render.Calls.clear();
  draw();
  const auto calls = std::count_if(render.Calls.begin(), render.Calls.end(),
                                   [](const comms::cStr& call) { return call.starts_with("DrawIndexed"); });
  size_t cells = 0;
  for (const auto& volume : scene.Volumes())
    volume->ForEachCell([&](const CellKey&, const VoxelCell& cell) { cells += cell.Surface && !cell.Surface->Indices.Empty(); });
  bench::Claim perGroup = bench::LimitClaim("Scene of 5 million triangles in view: draw calls / visible groups", double(calls),
                                            double(seen.VisibleGroups));
  std::snprintf(note, sizeof note, "%zu cells with a surface", cells);
  perGroup.Note = note;
  claims.push_back(perGroup);
});

}  // namespace
