// Whether sculpting keeps up with a pen: strokes at the rate of a fast tablet through the window's own frames, on a null device.
#include <cmath>
#include <cstdio>

#include "Claims.h"
#include "WindowRig.h"
#include "comms/cRenderNull.h"

namespace {

constexpr int Width = 1600, Height = 1000, Runs = 5;
constexpr double SamplesPerSec = 500, FramesPerSec = 60, StrokeSeconds = 2;
constexpr float RadiusVoxels = 32;
constexpr double Rounds = 4;  // of the stroke: a hand so fast that no sample is closer to the last one than the spacing

// The sample of time `t`: round the middle of the view, with a pressure that comes and goes.
void SendSample(bench::WindowRig& rig, InputKind kind, double t) {
  const cRect view = rig.Form->ViewRect();
  const double angle = t / StrokeSeconds * Rounds * 2 * 3.14159265;
  const double reach = 0.2 * double(view.H);
  rig.Send(kind, float(view.X + view.W / 2 + reach * std::cos(angle)), float(view.Y + view.H / 2 + reach * std::sin(angle)),
           kind == InputKind::PointerMove ? MouseButton::None : MouseButton::Left, 0.7f + 0.3f * float(std::sin(5 * angle)));
}

const bench::Benchmark pen("PenStrokes", [](std::vector<bench::Claim>& claims) {
  comms::cRenderNull render;
  render.TakesNotes = false;
  bench::WindowRig rig(render, Width, Height);
  VolumeObject& ball = MakeSphereVolume(rig.Scene, "ball", 1, 1 / 200.0f);
  rig.Options.SmoothViews = false;
  rig.Form->Navi().Settings = rig.Options.GetNaviSettings();
  rig.Form->FrameScene();
  for (int i = 0; i < 30; i++) rig.Frame();
  VoxelSculptTool& tool = rig.Form->VoxelTool();
  tool.FixedSize = true;
  tool.SceneRadius = RadiusVoxels / 200;
  tool.PressureToRadius = false;
  const struct {
    const char* Name;
    VoxelBrush Brush;
    bool SymmetryX;
  } brushes[] = {{"Carve", VoxelBrush::Carve, false},
                 {"Sphere", VoxelBrush::Sphere, false},
                 {"Segment", VoxelBrush::Segment, false},
                 {"Carve mirrored", VoxelBrush::Carve, true}};
  for (const auto& brush : brushes) {
    tool.SetTool(int32_t(brush.Brush), true);
    tool.SymmetryX = brush.SymmetryX;
    std::vector<double> times;
    double slowest = 0;
    int32_t cells = 0;
    for (int run = 0; run < Runs; run++) {
      double needed = 0, sent = 0;
      SendSample(rig, InputKind::PointerMove, 0);
      rig.Frame();
      for (double now = 0; now < StrokeSeconds; now += 1 / FramesPerSec) {
        for (; sent <= now; sent += 1 / SamplesPerSec)
          SendSample(rig, sent == 0 ? InputKind::ButtonDown : InputKind::PointerMove, sent);
        const double frame = bench::Seconds([&] { rig.Frame(); });
        needed += frame;
        slowest = std::max(slowest, frame);
      }
      SendSample(rig, InputKind::ButtonUp, sent);
      needed += bench::Seconds([&] { rig.Frame(); });
      cells = int32_t(rig.Scene.History().Steps());
      times.push_back(needed);
      rig.Scene.History().Undo();
      ball.RefreshChanges();
      rig.Scene.History().Clear();
    }
    bench::Claim claim = bench::LimitClaim(
        std::string(brush.Name) + " at 500 samples a second, radius 32 voxels: time needed / time of the stroke, s",
        bench::Median(times), StrokeSeconds);
    claim.OursSpread = bench::SpreadOf(times);
    char note[160];
    std::snprintf(note, sizeof note,
                  "with the frames of the window, on a null device: without upload and drawing; slowest frame %.0f ms",
                  slowest * 1000);
    claim.Note = note;
    if (cells != 1) claim.Failed = "the stroke changed nothing";
    claims.push_back(claim);
  }
});

}  // namespace
