// Hours of use in a minute: strokes, undo, orbits, rooms, panels, themes and scales, over and over. What is resident afterwards
// is what was resident after the first rounds, and OpenGL has nothing to complain about. The length is SOAK_SECONDS, 60 by
// default.
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

#include "Claims.h"
#include "WindowRig.h"
#include "comms/cRenderNull.h"
#include "comms/render/cRenderGL.h"
#include "shell/VirtualDisplay.h"

namespace {

double SoakSeconds() {
  const char* text = std::getenv("SOAK_SECONDS");
  const double seconds = text ? std::atof(text) : 60;
  return seconds > 0 ? seconds : 60;
}

double ResidentBytes() {
  malloc_trim(0);  // what was given back but is still mapped is no leak
  std::ifstream file("/proc/self/statm");
  double all = 0, resident = 0;
  file >> all >> resident;
  return resident * double(sysconf(_SC_PAGESIZE));
}

class Soak {
 public:
  Soak(comms::cRender& render, int width, int height, Window* window) : m_Rig(render, width, height, window) {
    MakeSphereVolume(m_Rig.Scene, "ball", 1, 0.02f);
    m_Rig.Options.SmoothViews = false;
    m_Rig.Form->Navi().Settings = m_Rig.Options.GetNaviSettings();
    m_Rig.Form->ViewOptions().Quality = SceneQuality::Fast;
    m_Rig.Form->FrameScene();
    m_Rig.Frame();
  }

  /// One round of everything; the scene and the interface end as they began.
  void Round(int round) {
    const cRect view = m_Rig.Form->ViewRect();
    const float x = view.X + view.W / 2, y = view.Y + view.H / 2, reach = 0.2f * view.H;
    static constexpr const char* brushes[] = {"BrushCarve", "BrushSphere", "BrushSegment"};
    Run(brushes[round % 3]);
    const float turn = 2.4f * float(round);
    Drag(MouseButton::Left, x + reach * std::cos(turn), y + reach * std::sin(turn), x - reach * std::sin(turn), y, 24);
    m_Rig.Scene.History().Undo();
    Frames(1);
    m_Rig.Scene.History().Redo();
    Frames(1);
    m_Rig.Scene.History().Undo();
    Frames(1);
    Drag(MouseButton::Left, view.X + 8, y, view.X + 8 + 2 * reach, y, 12);  // beside the ball: turns the view
    Run("FrameScene");
    static constexpr const char* rooms[] = {"PagePaint", "PageRetopo", "PageSculpt", "PageRender"};
    Run(rooms[round % 4]);
    Run("PageVoxels");
    Run("Preferences");
    Run("AssignHotKeys");
    Run("Preferences");
    Run("AssignHotKeys");
    Run("ToggleTheme");
    Run("ScaleUp");
    Run("ScaleAutomatic");
    Run("ToggleTheme");
    Run("ResetThisPageToDefault");
    m_Strokes += m_Rig.Scene.History().Steps() > 0;
    m_Rig.Scene.History().Clear();
  }
  int Strokes() const { return m_Strokes; }

 private:
  void Frames(int count) {
    for (int i = 0; i < count; i++) m_Rig.Frame();
  }
  void Run(const char* action) {
    if (!m_Rig.Form->GetActions().Run(action)) {
      std::fprintf(stderr, "soak: the action %s is not there\n", action);
      std::exit(1);
    }
    Frames(2);
  }
  void Drag(MouseButton button, float x0, float y0, float x1, float y1, int steps) {
    m_Rig.Send(InputKind::PointerMove, x0, y0);
    m_Rig.Send(InputKind::ButtonDown, x0, y0, button);
    for (int i = 1; i <= steps; i++) {
      const float t = float(i) / float(steps);
      m_Rig.Send(InputKind::PointerMove, x0 + (x1 - x0) * t, y0 + (y1 - y0) * t);
      if (i % 4 == 0) Frames(1);
    }
    m_Rig.Send(InputKind::ButtonUp, x1, y1, button);
    Frames(1);
  }

  bench::WindowRig m_Rig;
  int m_Strokes = 0;
};

// Prints resident bytes after a quarter of the time and after all of it, rounds in between, strokes that changed something.
void RunSoak(comms::cRender& render, int width, int height, const std::string& seconds, Window* window = nullptr) {
  Soak soak(render, width, height, window);
  const double length = std::atof(seconds.c_str());
  constexpr int leastWarmUp = 24;  // every brush with every room, twice
  int round = 0;
  double time = 0;
  // Resident bytes, the least of the last rounds: a software driver holds some megabytes more or less from round to round, but
  // what leaks stays in every one.
  const auto runUntil = [&](double end, int least) {
    std::vector<double> resident;
    for (const int first = round; time < end || round - first < least; round++) {
      time += bench::Seconds([&] { soak.Round(round); });
      resident.push_back(ResidentBytes());
    }
    constexpr size_t last = 12;
    return *std::min_element(resident.end() - std::ptrdiff_t(std::min(last, resident.size())), resident.end());
  };
  const double before = runUntil(length / 4, leastWarmUp);
  const int warm = round;
  const double after = runUntil(length, leastWarmUp);
  std::printf("%.0f %.0f %d %d ", before, after, round - warm, soak.Strokes() == round);
}

const bench::ChildTask soakNull("SoakNull", [](const std::string& seconds) {
  comms::cRenderNull render;
  render.TakesNotes = false;
  RunSoak(render, 1600, 1000, seconds);
  std::printf("0\n");
});

// In a window, as the program has it.
const bench::ChildTask soakGl("SoakGL", [](const std::string& seconds) {
  const VirtualDisplay display;
  if (!display.IsThere()) {
    std::printf("Xvfb is not installed\n");
    return;
  }
  setenv("MORVANE_GL_DEBUG", "1", 1);  // the driver reports errors where they happen, and others than glGetError knows
  constexpr int width = 960, height = 640;
  Window window;
  std::string error;
  comms::cRenderGL render;
  if (!window.Create("Soak", {0, 0, width, height}, error) || !render.Init({BENCH_DATA_DIR, ""}, error)) {
    std::printf("%s\n", error.c_str());
    return;
  }
  window.Show();
  RunSoak(render, width, height, seconds, &window);
  std::printf("%d\n", render.GlErrorCount());
});

const bench::Benchmark soak("Soak", [](std::vector<bench::Claim>& claims) {
  for (const auto& [task, device] : {std::pair{"SoakNull", "null device"}, std::pair{"SoakGL", "OpenGL"}}) {
    const std::string answer = bench::OutputOfChild(task, std::to_string(SoakSeconds()));
    const std::string what = std::string("Scripted use on the ") + device;
    double before = 0, after = 0;
    int rounds = 0, allStroked = 0, errors = 0;
    const bool read = std::sscanf(answer.c_str(), "%lf %lf %d %d %d", &before, &after, &rounds, &allStroked, &errors) == 5;
    bench::Claim memory;
    memory.Text = what + ": resident memory after / before, MB";
    memory.Goal = "<= 1.02";
    memory.Ours = after / 1e6;
    memory.Peer = before / 1e6;
    memory.Ratio = after / before;
    memory.Note = std::to_string(rounds) + " rounds";
    if (!allStroked) memory.Failed = "some rounds left no stroke";
    bench::Claim clean;
    clean.Text = what + ": errors of OpenGL";
    clean.Goal = "<= 0";
    clean.Ours = clean.Ratio = errors;
    if (!read && answer.empty()) {
      memory.Failed = clean.Failed = "the child failed";
    } else if (!read) {
      memory.Skipped = clean.Skipped = answer.substr(0, answer.find('\n'));
    }
    claims.push_back(memory);
    if (std::string(task) == "SoakGL") claims.push_back(clean);
  }
});

}  // namespace
