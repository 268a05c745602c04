#include "shell/app/QuestionWindow.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "comms/Log.h"
#include "comms/render/cRenderGL.h"
#include "interface/Language.h"
#include "interface/MessageBoxWidget.h"
#include "interface/cWidgets.h"
#include "interface/draw/Theme.h"
#include "shell/core/AppOptions.h"
#include "shell/core/DataPath.h"
#include "shell/platform/ThemePreference.h"
#include "shell/platform/Window.h"

namespace {

constexpr int Width = 600, Height = 300;
/// At scale 1 the box needs about this height.
constexpr float BoxHeight = 150;
/// Beside the indices of answers.
constexpr int Waiting = -3, NoWindow = -2, Closed = -1;

void Prepare(const std::string& programData) {
  // The terminal is still the crashed program's.
  comms::SetLogSink([](comms::LogLevel level, const std::string& text) {
    if (level != comms::LogLevel::Info) std::fprintf(stderr, "%s\n", text.c_str());
  });
  SetDataPath(LookUpDataPath(programData), programData);
  AppOptions::SetLanguages(ListLanguages(programData));
  AppOptions options;
  options.RegisterMembers();
  options.Load();
  const bool light = options.Theme == ThemeChoice::Light ||
                     (options.Theme == ThemeChoice::System && ReadThemePreference() == ThemePreference::Light);
  SetTheme(light ? ThemeKind::Light : ThemeKind::Dark);
  std::string error;
  if (!LoadLanguage(programData, options.LanguageName(), error)) comms::LogWarning("%s", error.c_str());
}

void DrawQuestion(Window& window, comms::cRender& render, cWidgets& widgets) {
  const double now = Window::Now();
  Canvas& canvas = widgets.GetCanvas();
  const int width = window.Width(), height = window.Height();
  const float scale = std::min(window.Scale(), float(height) / BoxHeight);
  widgets.Process(now);
  render.BeginFrame(now);
  widgets.SetSize(width, height, scale);
  canvas.Begin(width, height, scale);
  widgets.ArrangeIfWanted();
  render.SetTarget(-1);
  render.SetViewport(0, 0, width, height);
  canvas.FillRect(canvas.Screen(), GetTheme().Window);
  widgets.HandleInputEvents();
  widgets.ArrangeIfWanted();
  widgets.DrawLayer(LayerModal);
  canvas.End();
  widgets.EmptyDeferredList();
  window.Present();
  render.EndFrame();
}

/// Shows one box in a window of its own, with language keys for all but `text`. Index of the answer; -1 where the window was
/// closed, -2 where none can be had.
int RunBox(const std::string& programData, const char* title, const std::string& text, const std::vector<std::string>& answers) {
  std::string error;
  Window window;
  comms::cRenderGL render;
  // Not visible anywhere: the middle of the screen.
  const WindowPlacement middle{INT16_MIN, INT16_MIN, INT16_MIN + Width, INT16_MIN + Height, false};
  if (!window.Create(GetText(title), middle, error) || !render.Init({programData, {}}, error)) {
    comms::LogError("%s", error.c_str());
    return NoWindow;
  }
  Canvas canvas(render, programData);
  cWidgets widgets(canvas);
  widgets.SetSize(window.Width(), window.Height(), window.Scale());
  canvas.Begin(window.Width(), window.Height(), window.Scale());
  int answer = Waiting;
  MessageBoxWidget::Ask(widgets, title, text, answers, [&](int index) { answer = index; });
  window.Show();
  while (answer == Waiting) {
    DrawQuestion(window, render, widgets);
    InputEvent event;
    WindowMessage message = window.Wait(event, std::min(widgets.SecondsToNextFrame(), 1.0));
    for (; message != WindowMessage::None; message = window.Poll(event)) {
      if (message == WindowMessage::Input) widgets.Queue(event);
      if (message == WindowMessage::Close) return Closed;
    }
  }
  return answer;
}

int Tell(const std::string& programData, const char* title, const std::string& text) {
  return RunBox(programData, title, text, {"OK"}) == NoWindow ? NoAnswer : 0;
}

}  // namespace

int AskToSaveAfterCrash(const std::string& programData) {
  Prepare(programData);
  const int answer = RunBox(programData, "SAVE_WORK_CRASH_HDR", GetText("SAVE_WORK_CRASH"), {"YES", "NO"});
  return answer == NoWindow ? NoAnswer : answer == 1 ? AnswerNo : AnswerYes;
}

int TellWorkIsSaved(const std::string& programData, const std::string& path) {
  Prepare(programData);
  return Tell(programData, "WORK_IS_SAVED_HDR", FillIn(GetText("WORK_IS_SAVED"), path));
}

int TellWorkIsLost(const std::string& programData, const std::string& reason) {
  Prepare(programData);
  return Tell(programData, "WORK_IS_LOST_HDR", reason);
}
