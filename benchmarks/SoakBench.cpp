// Hours of use in a minute: strokes, undo, orbits, rooms, menus, boxes, typing, looks, themes and scales, over and over, with the
// list of steps at its bound. What is resident afterwards is what was resident after the first rounds, and OpenGL has nothing to
// complain about. The length is SOAK_SECONDS, 60 by default; with SOAK_TRACE
// the memory of each dozen of rounds is told as it is measured.
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "Claims.h"
#include "WindowRig.h"
#include "comms/cRenderNull.h"
#include "comms/render/cRenderGL.h"
#include "interface/Button.h"
#include "interface/ComboBox.h"
#include "interface/Events.h"
#include "interface/FileBrowser.h"
#include "interface/MenuBar.h"
#include "interface/MessageBoxWidget.h"
#include "interface/NameBox.h"
#include "interface/TextEdit.h"
#include "shell/VirtualDisplay.h"
#include "shell/core/KeyTable.h"

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

/// All widgets of a kind below `root` that are to be seen.
template <class W>
void FindAll(BaseWidget& root, std::vector<W*>& found) {
  if (root.Rect.W < 1 && root.Owner) return;
  if (auto* one = dynamic_cast<W*>(&root)) found.push_back(one);
  for (BaseWidget* child : root.Children) FindAll(*child, found);
}

// Of the blocks that are handed out: what grows beside this is room between them.
double AllocatedBytes() {
  const struct mallinfo2 info = mallinfo2();
  return double(info.uordblks) + double(info.hblkhd);
}

class Soak {
 public:
  /// After so many rounds the scene is what it was.
  static constexpr int Cycle = 6;

  Soak(comms::cRender& render, int width, int height, Window* window) : m_Rig(render, width, height, window) {
    m_Rig.Options.SmoothViews = false;
    m_Rig.Options.UndoDepth = Cycle;
    m_Rig.Form->ApplyOptions();
    m_Rig.Widgets.HintDelay = 0.05;
    m_Rig.Form->ViewOptions().Quality = SceneQuality::Fast;
    m_Rig.Frame();
  }

  /// One round of everything. The interface ends as it began.
  void Round(int round) {
    if (round % Cycle == 0) RenewScene();
    Sculpt(round % Cycle);
    const cRect view = m_Rig.Form->ViewRect();
    const float y = view.Y + view.H / 2;
    Drag(view.X + 8, y, view.X + 8 + 0.4f * view.H, y, 12);  // beside the ball: turns the view
    Run("FrameScene");
    ChangeLooks(round);
    Run("Preferences");
    Run("AssignHotKeys");
    OpenMenus();
    OpenLists();
    TypeTexts();
    RestOnButtons();
    Run("Preferences");
    Run("AssignHotKeys");
    static constexpr const char* rooms[] = {"PagePaint", "PageRetopo", "PageSculpt", "PageRender"};
    Run(rooms[round % 4]);
    Run("PageVoxels");
    Run("ToggleTheme");
    Run("ScaleUp");
    Run("ScaleAutomatic");
    Run("ToggleTheme");
    Run("ResetThisPageToDefault");
  }
  /// What each round is to do and did not; empty where all did.
  const std::string& Fault() const { return m_Fault; }

 private:
  void Frames(int count) {
    for (int i = 0; i < count; i++) m_Rig.Frame();
  }
  void Expect(bool done, const char* what) {
    if (!done && m_Fault.empty()) m_Fault = what;
  }
  void Run(const char* action) {
    if (!m_Rig.Form->GetActions().Run(action)) {
      std::fprintf(stderr, "soak: the action %s is not there\n", action);
      std::exit(1);
    }
    Frames(2);
  }
  void Drag(float x0, float y0, float x1, float y1, int steps) {
    m_Rig.Send(InputKind::PointerMove, x0, y0);
    m_Rig.Send(InputKind::ButtonDown, x0, y0, MouseButton::Left);
    for (int i = 1; i <= steps; i++) {
      const float t = float(i) / float(steps);
      m_Rig.Send(InputKind::PointerMove, x0 + (x1 - x0) * t, y0 + (y1 - y0) * t);
      if (i % 4 == 0) Frames(1);
    }
    m_Rig.Send(InputKind::ButtonUp, x1, y1, MouseButton::Left);
    Frames(1);
  }
  void Press(int key) {
    m_Rig.Widgets.Queue(KeyEvent(key));
    m_Rig.Widgets.Queue(KeyEvent(key, 0, InputKind::KeyUp));
    Frames(1);
  }

  // As steps that can be undone: what was before stays until the bound drops it.
  void RenewScene() {
    if (VolumeObject* worn = m_Rig.Scene.Current()) m_Rig.Scene.Remove(*worn);
    MakeSphereVolume(m_Rig.Scene, "ball", 1, 0.02f);
    Run("FrameScene");
  }

  // Adds in the first half of a cycle and takes away in the second. The steps stay, so that their list is full all the time.
  void Sculpt(int round) {
    const cRect view = m_Rig.Form->ViewRect();
    const float x = view.X + view.W / 2, y = view.Y + view.H / 2, reach = 0.2f * view.H;
    const float turn = 2.4f * float(round);
    static constexpr const char* brushes[] = {"BrushCarve", "BrushSphere", "BrushSegment"};
    Run(brushes[round % 3]);
    m_Rig.Form->VoxelTool().Depth = round < Cycle / 2 ? 0.3f : -0.3f;
    StrokeHistory& history = m_Rig.Scene.History();
    const uint64_t before = history.State();
    Drag(x + reach * std::cos(turn), y + reach * std::sin(turn), x - reach * std::sin(turn), y, 24);
    const uint64_t after = history.State();
    Expect(after != before, "a stroke changed nothing");
    Run("Undo");
    Expect(history.State() == before, "a stroke was not undone");
    Run("Redo");
    Expect(history.State() == after, "a stroke was not redone");
  }

  void ChangeLooks(int round) {
    SceneViewOptions& looks = m_Rig.Form->ViewOptions();
    looks.Material = SceneMaterial::Matcap;
    looks.Matcap = MatcapKind(round % 5);
    Frames(1);
    looks.Material = SceneMaterial::Clay;
    looks.Clay = ClayKind(round % 5);
    Frames(1);
    for (const char* look : {"Wireframe", "ToggleOrthographic", "ShowGrid", "ShowStatistics"}) {
      Run(look);
      Run(look);
    }
  }

  // All of the bar, with what stands beside their items.
  void OpenMenus() {
    std::vector<MenuBar*> bars;
    FindAll(m_Rig.Widgets.Layer(LayerDocks), bars);
    int opened = 0;
    for (bars[0]->OpenMenu(0, true); bars[0]->OpenIndex() == opened; bars[0]->OpenMenu(opened, true)) {
      opened++;
      Frames(1);
      for (int i = 0; i < 4; i++) Press(KeyDown);
      Press(KeyRight);
      m_Rig.Widgets.ClosePopups();
      Frames(1);
    }
    Expect(opened > 2, "the bar opened no menus");
  }

  void OpenLists() {
    std::vector<ComboBox*> boxes;
    for (const int layer : {LayerDocks, LayerFloating}) FindAll(m_Rig.Widgets.Layer(layer), boxes);
    Expect(!boxes.empty(), "there is no list to open");
    for (ComboBox* box : boxes) {
      box->DropDown();
      Frames(1);
      Expect(m_Rig.Widgets.HasPopups(), "a list did not open");
      m_Rig.Widgets.ClosePopups();
      Frames(1);
    }
  }

  // A box for a name, a message, a file browser.
  void TypeTexts() {
    std::string chosen;
    NameBox::Ask(m_Rig.Widgets, "RENAME", "ball", [&](const std::string& name, std::string&) {
      chosen = name;
      return true;
    });
    Frames(2);
    m_Rig.Widgets.Queue(TextEvent("a name"));
    Press(KeyHome);
    Press(KeyDelete);
    Frames(12);
    Press(KeyEnter);
    Expect(chosen == " name" || chosen == "name", "the name was not taken");
    int answer = -1;
    MessageBoxWidget::Ask(m_Rig.Widgets, "DELETE_HDR", "DELETE_NAMED", {"DELETE", "CANCEL"}, [&](int index) { answer = index; });
    Frames(1);
    Press(KeyEsc);
    Expect(answer == 1, "the box was not answered");
    FileBrowserRequest request;
    request.Title = "OpenMesh";
    request.Patterns = {"*.obj"};
    FileBrowser::Open(m_Rig.Widgets, std::move(request), [](const std::string&) {});
    Frames(2);
    Press(KeyEsc);
    Expect(!m_Rig.Widgets.HasModal(), "a box stayed");
    std::vector<TextEdit*> fields;
    FindAll(m_Rig.Widgets.Layer(LayerDocks), fields);
    Expect(!fields.empty(), "there is no field to type into");
    for (size_t i = 0; i < std::min<size_t>(fields.size(), 3); i++) {
      m_Rig.Widgets.Focus(fields[i]);
      m_Rig.Widgets.Queue(TextEvent("12.5"));
      Frames(1);
      Press(KeyEsc);
    }
    m_Rig.Widgets.Focus(nullptr);
  }

  void RestOnButtons() {
    std::vector<Button*> buttons;
    FindAll(m_Rig.Widgets.Layer(LayerDocks), buttons);
    int hints = 0;
    for (size_t i = 0; i < std::min<size_t>(buttons.size(), 6); i++) {
      const cRect& place = buttons[i]->Rect;
      m_Rig.Send(InputKind::PointerMove, place.X + place.W / 2, place.Y + place.H / 2);
      Frames(6);
      hints += m_Rig.Widgets.HintRect().W > 0;
    }
    Expect(hints > 0, "no hint came");
  }

  bench::WindowRig m_Rig;
  std::string m_Fault;
};

// Cycles until malloc's room between the blocks is what it stays: each room has met each brush and each material. A round takes
// so long with a software driver that there only its own buffers are waited for.
constexpr int NullWarmUp = 20, GlWarmUp = 3;

// Prints resident bytes after the first rounds and after all of them, rounds in between, and what did not happen in them.
void RunSoak(comms::cRender& render, int width, int height, const std::string& seconds, int warmUpCycles,
             const std::function<int()>& countErrors, Window* window = nullptr) {
  Soak soak(render, width, height, window);
  const double length = std::atof(seconds.c_str());
  const int warm = warmUpCycles * Soak::Cycle;
  int round = 0;
  double time = 0;
  // Resident bytes, the least of a cycle: the scene grows within it, and a software driver holds some megabytes more or less from
  // round to round, but what leaks stays in every one.
  std::deque<double> resident;
  const auto run = [&] {
    time += bench::Seconds([&] { soak.Round(round); });
    round++;
    malloc_trim(0);  // what is free between the blocks in use is no leak
    resident.push_back(ResidentBytes());
    if (resident.size() > size_t(Soak::Cycle)) resident.pop_front();
    if (const char* trace = std::getenv("SOAK_TRACE"); trace && round % Soak::Cycle == 0)
      std::fprintf(stderr, "soak: %d rounds, %.0f s, %.2f MB\n", round, time,
                   *std::min_element(resident.begin(), resident.end()) / 1e6);
  };
  while (round < warm) run();
  const double before = *std::min_element(resident.begin(), resident.end()), allocatedBefore = AllocatedBytes();
  while (time < length || round < warm + Soak::Cycle || round % Soak::Cycle != 0) run();
  const double after = *std::min_element(resident.begin(), resident.end());
  std::printf("%.0f %.0f %d %d %.0f %.0f;%s\n", before, after, round - warm, countErrors(), allocatedBefore, AllocatedBytes(),
              soak.Fault().c_str());
}

const bench::ChildTask soakNull("SoakNull", [](const std::string& seconds) {
  comms::cRenderNull render;
  render.TakesNotes = false;
  RunSoak(render, 1600, 1000, seconds, NullWarmUp, [] { return 0; });
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
  RunSoak(
      render, width, height, seconds, GlWarmUp, [&render] { return render.GlErrorCount(); }, &window);
});

const bench::Benchmark soak("Soak", [](std::vector<bench::Claim>& claims) {
  const std::tuple<const char*, const char*, int> devices[] = {{"SoakNull", "null device", NullWarmUp},
                                                               {"SoakGL", "OpenGL", GlWarmUp}};
  for (const auto& [task, device, warmUp] : devices) {
    const std::string answer = bench::OutputOfChild(task, std::to_string(SoakSeconds()));
    const std::string what = std::string("Scripted use on the ") + device;
    double before = 0, after = 0, allocatedBefore = 0, allocatedAfter = 0;
    int rounds = 0, errors = 0, end = 0;
    const bool read = std::sscanf(answer.c_str(), "%lf %lf %d %d %lf %lf;%n", &before, &after, &rounds, &errors, &allocatedBefore,
                                  &allocatedAfter, &end) == 6;
    bench::Claim memory;
    memory.Text = what + ": resident memory after / before, MB";
    memory.Goal = "<= 1.02";
    memory.Ours = after / 1e6;
    memory.Peer = before / 1e6;
    memory.Ratio = after / before;
    char note[160];
    std::snprintf(note, sizeof note,
                  "%d rounds after a warm-up of %d; undo at its bound of %d steps; allocated %.2f, before %.2f MB", rounds,
                  warmUp * Soak::Cycle, Soak::Cycle, allocatedAfter / 1e6, allocatedBefore / 1e6);
    memory.Note = note;
    if (read) memory.Failed = answer.substr(size_t(end), answer.find('\n') - size_t(end));
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
