#include "WindowRig.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "comms/Log.h"
#include "comms/render/DriverTime.h"
#include "shell/core/KeyTable.h"

namespace bench {

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

WindowRig::WindowRig(comms::cRender& render, int width, int height, Window* window)
    : m_Width(width),
      m_Height(height),
      m_Window(window ? *window : m_NoWindow),
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
  host.FrameMilliseconds = [this] { return m_Loop->FrameMilliseconds; };
  Form = std::make_unique<MainForm>(MainForm::Parts{Widgets, Commands, Scene, Options, Settings}, host);
  Widgets.SetSize(m_Width, m_Height, Options.GetScale(1));
  DrawCanvas.Begin(m_Width, m_Height, Widgets.Scale());
  Form->Open();
  m_Loop = std::make_unique<MainLoop>(m_Window, render, Widgets, *Form, Settings, Options);
  m_Loop->Clock = [this] { return m_TimeSec; };
}

WindowRig::~WindowRig() {
  m_Loop.reset();
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
  const double start = comms::GetThreadSeconds();
  m_Loop->cMain_OnRender({0, 0, float(m_Width), float(m_Height)});
  FrameSeconds = comms::GetThreadSeconds() - start;
  for (InputEvent event; m_Window.Poll(event) != WindowMessage::None;) {  // what the display says is not of the script
  }
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
