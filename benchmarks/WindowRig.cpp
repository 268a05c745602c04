#include "WindowRig.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "comms/Log.h"
#include "shell/core/KeyTable.h"

namespace bench {

double ThreadSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values.empty() ? 0 : values[values.size() / 2];
}

ScratchFolder::ScratchFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "morvane-bench-XXXXXX").string();
  if (!mkdtemp(pattern.data())) {
    std::perror("bench: no folder for files of the run");
    std::exit(1);
  }
  m_Path = pattern + "/";
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(m_Path, ignored);
}

WindowRig::WindowRig(comms::cRender& render, int width, int height)
    : m_Render(render),
      m_Width(width),
      m_Height(height),
      Scene(BENCH_DATA_DIR),
      DrawCanvas(render, BENCH_DATA_DIR),
      Widgets(DrawCanvas),
      Boxes(Widgets) {
  comms::SetLogSink([](comms::LogLevel, const std::string&) {});
  FillKeyTable();
  SetDataPath(m_Folder.Path(), BENCH_DATA_DIR);
  SetEngineHost(&Boxes);
  Settings.RegisterMembers();
  Options.RegisterMembers();
  AddGeneralCommands(Commands);
  AddRoomCommands(Commands, Scene, Boxes);
  std::string error;
  if (!LoadLanguage(BENCH_DATA_DIR, "English", error)) std::fprintf(stderr, "bench: %s\n", error.c_str());
  Options.Theme = ThemeChoice::Dark;
  ApplyOptions();
  FormHost host;
  host.Close = [] {};
  host.StoreScreenshot = [] {};
  host.GetPenState = [] { return PenState{}; };
  host.ApplyOptions = [this] { ApplyOptions(); };
  host.FrameMilliseconds = [] { return 0.0f; };
  Form = std::make_unique<MainForm>(MainForm::Parts{Widgets, Commands, Scene, Options, Settings}, host);
  Widgets.SetSize(m_Width, m_Height, Options.GetScale(1));
  DrawCanvas.Begin(m_Width, m_Height, Widgets.Scale());
  Form->Open();
}

WindowRig::~WindowRig() {
  Form.reset();
  ReleaseTools();
  SetEngineHost(nullptr);
}

void WindowRig::ApplyOptions() {
  SetTheme(Options.Theme == ThemeChoice::Light ? ThemeKind::Light : ThemeKind::Dark);
  Widgets.RequestArrange();
}

void WindowRig::Frame() {
  m_TimeSec += 1.0 / 60;
  const double start = ThreadSeconds();
  Widgets.Process(m_TimeSec);
  m_Render.BeginFrame(m_TimeSec);
  Widgets.SetSize(m_Width, m_Height, Options.GetScale(1));
  DrawCanvas.Begin(m_Width, m_Height, Widgets.Scale());
  Form->BeginFrame(m_TimeSec);
  Widgets.ArrangeIfWanted();
  m_Render.SetTarget(-1);
  m_Render.SetViewport(0, 0, m_Width, m_Height);
  m_Render.Clear({0, 0, 0, 1}, 1);
  Widgets.HandleInputEvents();
  Widgets.DrawLayer(LayerScene);
  const double scene = ThreadSeconds();
  Form->RunTool(m_TimeSec);
  Form->DrawScene(m_Render);
  SceneSeconds = ThreadSeconds() - scene;
  m_Render.SetViewport(0, 0, m_Width, m_Height);
  Form->DrawOverlay(DrawCanvas);
  Widgets.ArrangeIfWanted();
  for (const int layer : {LayerDocks, LayerFloating, LayerMenus, LayerModal}) Widgets.DrawLayer(layer);
  DrawCanvas.End();
  Widgets.EmptyDeferredList();
  if (Present) Present();
  m_Render.EndFrame();
  InterfaceSeconds = ThreadSeconds() - start - SceneSeconds;
}

void WindowRig::Send(InputKind kind, float x, float y, MouseButton button, float pressure) {
  InputEvent event;
  event.Kind = kind;
  event.Button = button;
  event.X = x;
  event.Y = y;
  event.Pressure = pressure;
  event.TimeSec = m_TimeSec;
  Widgets.Queue(event);
}

}  // namespace bench
