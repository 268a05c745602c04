// The sample sculpture in a window that the processor draws: a view that turns shows fewer triangles, so that the hand is
// followed.
#include <cstdio>

#include "Claims.h"
#include "WindowRig.h"
#include "comms/render/cRenderGL.h"
#include "shell/VirtualDisplay.h"
#include "shell/app/SceneScript.h"

namespace {

constexpr int Width = 960, Height = 640, Frames = 12;

// Prints seconds of a frame that shows everything and of one of a view that turns, the triangles of both, and how far the times
// of the turning ones lie apart.
const bench::ChildTask softwareView("SoftwareView", [](const std::string&) {
  const VirtualDisplay display;
  Window window;
  comms::cRenderGL render;
  std::string error;
  if (!display.IsThere() || !window.Create("Bench", {0, 0, Width, Height}, error) || !render.Init({BENCH_DATA_DIR, ""}, error) ||
      SuggestQuality(render.DeviceName()) != SceneQuality::Fast) {
    std::printf("%s\n", !display.IsThere() ? "Xvfb is not installed"
                        : error.empty()    ? "no software rendering here"
                                           : error.c_str());
    return;
  }
  window.Show();
  bench::WindowRig rig(render, Width, Height, &window);
  SceneScript script;
  if (!script.Load(rig.Commands, BENCH_DATA_DIR "/Samples/first-sculpture.batch", error)) std::printf("%s\n", error.c_str());
  while (!script.IsDone())
    if (!script.Step(error)) std::printf("%s\n", error.c_str());
  rig.Form->ViewOptions().Quality = SceneQuality::Fast;
  rig.Options.SmoothViews = false;
  rig.Form->Navi().Settings = rig.Options.GetNaviSettings();
  rig.Form->FrameScene();
  for (int i = 0; i < 15; i++) rig.Frame();  // until the view has settled
  const auto measure = [&](bool turning) {
    std::vector<double> times;
    const cRect view = rig.Form->ViewRect();
    for (int i = 0; i < Frames; i++) {
      if (turning) rig.Send(InputKind::PointerMove, view.X + 8 + 4 * float(i), view.Y + view.H / 2);
      rig.Form->View().Forget();  // a picture of which nothing has changed would be shown again
      times.push_back(bench::Seconds([&] { rig.Frame(); }));
    }
    return times;
  };
  const double standing = bench::Median(measure(false));
  const long long all = rig.Form->View().LastStatistics().Triangles;
  const cRect view = rig.Form->ViewRect();
  rig.Send(InputKind::PointerMove, view.X + 8, view.Y + view.H / 2);
  rig.Send(InputKind::ButtonDown, view.X + 8, view.Y + view.H / 2, MouseButton::Left);
  const std::vector<double> turning = measure(true);
  const bench::Spread spread = bench::SpreadOf(turning);
  std::printf("%.6f %.6f %lld %lld %.4f %.4f\n", standing, bench::Median(turning), all,
              static_cast<long long>(rig.Form->View().LastStatistics().Triangles), spread.All, spread.MiddleHalf);
});

const bench::Benchmark softwareViewRow("SoftwareView", [](std::vector<bench::Claim>& claims) {
  const std::string answer = bench::OutputOfChild("SoftwareView");
  double standing = 0, turning = 0;
  long long all = 0, few = 0;
  bench::Claim claim;
  bench::Spread& spread = claim.OursSpread;
  const bool read = std::sscanf(answer.c_str(), "%lf %lf %lld %lld %lf %lf", &standing, &turning, &all, &few, &spread.All,
                                &spread.MiddleHalf) == 6;
  claim.Text = "Sample sculpture, 960 x 640, software OpenGL: ms of a frame that turns / of one that shows everything";
  claim.Goal = "<= 0.5";
  claim.Ours = turning * 1000;
  claim.Peer = standing * 1000;
  claim.Ratio = turning / standing;
  claim.Note = std::to_string(few) + " of " + std::to_string(all) + " triangles";
  if (answer.empty())
    claim.Failed = "the child failed";
  else if (!read)
    claim.Skipped = answer.substr(0, answer.find('\n'));
  claims.push_back(claim);
});

}  // namespace
