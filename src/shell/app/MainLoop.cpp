#include "shell/app/MainLoop.h"

#include <algorithm>
#include <utility>

#include "comms/Log.h"
#include "comms/render/DriverTime.h"
#include "interface/TextEdit.h"
#include "interface/draw/Theme.h"
#include "shell/core/Trace.h"

/// Longest sleep: the crash report's facts and changed shaders are looked at that often.
static constexpr double LongestSleep = 1;

MainLoop::MainLoop(Window& window, comms::cRender& render, cWidgets& widgets, MainForm& form, const cSettings& settings,
                   const AppOptions& options)
    : m_Window(window), m_Render(render), m_Widgets(widgets), m_Form(form), m_Settings(settings), m_Options(options) {}

bool MainLoop::cWinMain_OneIterationOfMessageLoop(WindowMessage& message, bool poll) {
  Trace("cWinMain_OneIterationOfMessageLoop");
  InputEvent event;
  if (std::exchange(m_CloseWaits, false)) TakeMessage(WindowMessage::Close, event);
  if (SleepState()) {
    message = poll ? m_Window.Poll(event) : m_Window.Wait(event, m_DeviceLost ? LongestSleep : -1);
    Trace("msg2: %08X", m_Window.LastMessageCode());
    TakeMessage(message, event);
    Trace("endmsg2");
    if ((m_FrameWanted || m_DeviceLost) && !m_Window.IsAsleep()) {
      Trace("render3");
      RenderIfPossible();
      Trace("render4");
    }
  } else {
    message = m_Window.Poll(event);
    if (message == WindowMessage::None && !poll) {
      const double sleep = SecondsToSleep();
      if (sleep > 0) message = m_Window.Wait(event, sleep);
    }
    if (message != WindowMessage::None) {
      Trace("msg: %08X", m_Window.LastMessageCode());
      TakeMessage(message, event);
      Trace("endmsg");
    } else {
      WorkInBackground();
      if (poll || SecondsToSleep() <= 0) {
        Trace("render1");
        RenderIfPossible();
        Trace("render2");
      }
    }
  }
  Trace("endof : cWinMain_OneIterationOfMessageLoop");
  return !m_Quitting;
}

bool MainLoop::IsRelease(const InputEvent& event) {
  return event.Kind == InputKind::ButtonUp || event.Kind == InputKind::KeyUp || event.Kind == InputKind::FocusLost;
}

void MainLoop::KeepAlive() {
  InputEvent event;
  for (WindowMessage message; (message = m_Window.Poll(event)) != WindowMessage::None;) {
    if (message == WindowMessage::Close)
      m_CloseWaits = true;
    else if (message != WindowMessage::Input || IsRelease(event))
      TakeMessage(message, event);
  }
  WorkInBackground();
  if (!m_Window.IsAsleep() && SecondsToSleep() <= 0) RenderIfPossible();
}

void MainLoop::WorkInBackground() {
  if (Background && Background()) m_FrameWanted = true;
  const double now = Window::Now();
  if (now < m_NextSecond) return;
  m_NextSecond = now + LongestSleep;
  // Who edits a shader sees it at once.
  if (m_Render.ReloadChangedShaders() > 0) {
    m_Form.View().Forget();
    m_FrameWanted = true;
  }
  // Nobody else asks a device that has nothing to draw. It tells of a reset once.
  if (!m_DeviceLost && m_Render.IsLost()) m_ResetSeen = m_FrameWanted = true;
  if (EverySecond) EverySecond();
}

void MainLoop::TakeMessage(WindowMessage message, const InputEvent& event) {
  switch (message) {
    case WindowMessage::Input:
      if (!m_Form.OnAnywhere(event)) m_Widgets.Queue(event);
      break;
    case WindowMessage::Close:
      if (!MayClose || MayClose()) m_Quitting = true;
      break;
    case WindowMessage::Resized:
    case WindowMessage::Moved:
      if (PlacementChanged) PlacementChanged();
      break;
    case WindowMessage::ScaleChanged:
      if (ScaleChanged) ScaleChanged();
      break;
    default:
      break;
  }
  if (message == WindowMessage::None) return;
  m_FrameWanted = true;
  m_FollowUpWanted = m_FollowUpWanted || message != WindowMessage::Input || event.Kind != InputKind::PointerMove;
}

double MainLoop::SecondsToSleep() {
  if (!MayDraw()) return LongestSleep;
  // A form that wants a frame says so once.
  m_FrameWanted = m_Form.WantsFrame() || m_FrameWanted || m_Widgets.IsArrangeWanted();
  if (m_FrameWanted) return 0;
  return std::clamp(m_FrameSec + m_Widgets.SecondsToNextFrame() - Window::Now(), 0.0, LongestSleep);
}

bool MainLoop::HasDevice() {
  if (!m_DeviceLost && !m_ResetSeen && !m_Render.IsLost()) return true;
  m_ResetSeen = false;
  std::string error;
  if (!m_DeviceLost) {
    comms::LogWarning("The graphics device was reset. What was on it is made anew.");
    m_Render.Unload();
  }
  const bool knew = std::exchange(m_DeviceLost, !m_Window.RenewContext(error));
  if (m_DeviceLost) {
    if (!knew) comms::LogError("%s", error.c_str());
    return false;
  }
  m_Render.Reload();
  return true;
}

bool MainLoop::MayDraw() const { return !RenderRefused && !BlockRender && m_Window.Width() >= 1 && m_Window.Height() >= 1; }

void MainLoop::RenderIfPossible() {
  if (RenderRefused || !HasDevice()) return;
  if (m_Settings.FullScreen != m_Window.IsFullScreen()) m_Window.SetFullScreen(m_Settings.FullScreen);
  if (m_Window.Width() >= 1 && m_Window.Height() >= 1) cMain_OnRender({0, 0, float(m_Window.Width()), float(m_Window.Height())});
}

// A breadcrumb stands behind its step: the last one of a report names the last step that was completed.
void MainLoop::cMain_OnRender(const cRect& viewport) {
  Trace("cMain_OnRender");
  if (BlockRender) return;
  m_FrameWanted = false;
  m_FrameSec = Window::Now();
  const bool followUp = std::exchange(m_FollowUpWanted, false);
  const double started = comms::GetThreadSeconds();
  const int64_t drawnBefore = FramesDrawn;
  Trace("ProcessInet");
  FrameCounter++;
  if (StartSplash && StartSplash->IsOver(Clock())) StartSplash.reset();
  m_Widgets.Process(Clock());
  Trace("GlobalProcessWidgets");
  const double now = Clock();
  Trace("cTimer::Acquire()");
  m_Render.BeginFrame(now);
  Trace("cRender::BeginFrame()");

  SetUpViewport(int(viewport.W), int(viewport.H), now);
  Trace("cInput::Acquire()");
  m_Render.Clear({0, 0, 0, 1}, 1);
  Trace("RenderBackground(WorkVP)");
  m_Widgets.HandleInputEvents();
  Trace("cWidgets::HandleInputEvents()");
  if (FramesDrawn != drawnBefore) {
    // A question or a file dialog that the input led to has drawn frames of its own: the time and the place of this one are past.
    m_FrameWanted = true;
    m_Render.EndFrame();
    FrameCounter--;
    return;
  }

  SetSolidStates();
  // The lines of the grid are part of the scene's picture, where what stands on them hides them.
  if (m_Settings.ShowGrid) Trace("cRender::DrawGrid()");
  m_Widgets.DrawLayer(LayerScene);
  m_Form.TellView();
  Trace("SetupVPTM()");
  m_Form.ProcessNavy(now);
  Trace("ProcessNavy()");
  m_Form.RunTool(now);
  m_Form.DrawScene(m_Render, m_Picture != nullptr);
  m_Render.SetViewport(0, 0, int(viewport.W), int(viewport.H));
  m_Form.DrawOverlay(m_Widgets.GetCanvas());
  Trace("TestObj()");

  DrawInterface();
  UpdateCursor();
  UpdateTextInput();
  FrameMilliseconds += (float((comms::GetThreadSeconds() - started) * 1000) - FrameMilliseconds) * 0.1f;
  if (m_Picture && !m_Render.ReadTarget(-1, *m_Picture)) *m_Picture = {};
  m_Window.Present();
  m_Render.EndFrame();
  Trace("cRender::EndFrame()");
  FrameCounter--;
  FramesDrawn++;
  m_FrameWanted = m_FrameWanted || followUp;
}

// The form takes the size of the frame, and whoever reads the mouse or the pen sees the camera in it.
void MainLoop::SetUpViewport(int width, int height, double now) {
  Canvas& canvas = m_Widgets.GetCanvas();
  m_Widgets.SetSize(width, height, m_Options.GetScale(m_Window.Scale()));
  canvas.Begin(width, height, m_Widgets.Scale());
  m_Form.BeginFrame(now);
  m_Widgets.ArrangeIfWanted();
  m_Render.SetTarget(-1);
  m_Render.SetViewport(0, 0, width, height);
}

// Those of the 3D pass, made on first use.
void MainLoop::SetSolidStates() {
  if (m_DepthState3D < 0) {
    m_DepthState3D = m_Render.CreateDepthState({});
    m_NoDepth = m_Render.CreateDepthState({false, false, true});
    m_BlendState3D = m_Render.CreateBlendState({comms::BlendMode::Alpha, true});
    m_FillState3D = m_Render.CreateFillState({});
  }
  m_Render.SetDepthState(m_DepthState3D);
  m_Render.SetBlendState(m_BlendState3D);
  m_Render.SetFillState(m_FillState3D);
}

// Layers 1 to 4 over the scene. The canvas gathers them and draws all of them at once, in their order.
void MainLoop::DrawInterface() {
  Canvas& canvas = m_Widgets.GetCanvas();
  m_Widgets.ArrangeIfWanted();
  m_Render.ClearDepth(1);
  m_Widgets.DrawLayer(LayerDocks);
  m_Render.SetDepthState(m_NoDepth);
  for (const int layer : {LayerFloating, LayerMenus, LayerModal}) m_Widgets.DrawLayer(layer);
  if (StartSplash) {
    StartSplash->Draw(canvas);
    m_Widgets.WantFrameIn(Splash::Seconds);
  }
  canvas.End();
  m_Widgets.EmptyDeferredList();
  SetSolidStates();
}

bool MainLoop::TakePicture(comms::cImage& image) {
  image = {};
  m_Picture = &image;
  RenderIfPossible();
  m_Picture = nullptr;
  return !image.Empty();
}

void MainLoop::DrawProgress(const ProgressFrame& progress) {
  if (BlockRender || SleepState() || m_Window.Width() < 1 || m_Window.Height() < 1) return;
  m_Render.BeginFrame(Window::Now());
  m_Render.SetTarget(-1);
  m_Render.SetViewport(0, 0, m_Window.Width(), m_Window.Height());
  Canvas& canvas = m_Widgets.GetCanvas();
  canvas.Begin(m_Window.Width(), m_Window.Height(), m_Widgets.Scale());
  const Theme& theme = GetTheme();
  canvas.FillRect(canvas.Screen(), theme.Window);
  canvas.FillRect(m_Form.ViewRect(), MixColor(theme.ViewTop, theme.ViewBottom, 0.5f));
  m_Widgets.DrawLayer(LayerDocks);
  m_Form.DrawProgress(canvas, progress);
  canvas.End();
  m_Window.Present();
  m_Render.EndFrame();
  m_FrameWanted = true;
}

void MainLoop::UpdateCursor() {
  const MouseCursor cursor = m_Widgets.GetCursor();
  if (cursor != m_Cursor) m_Window.SetCursor(cursor);
  m_Cursor = cursor;
}

// Characters come while somebody may take them: who has the focus, or a menu or a list in a box, where letters find. The list of
// an input method stands below who has the focus.
void MainLoop::UpdateTextInput() {
  const BaseWidget* focused = m_Widgets.Focused();
  const auto* edit = dynamic_cast<const TextEdit*>(focused);
  const bool wanted = edit ? !edit->ReadOnly : focused || m_Widgets.HasPopups() || m_Widgets.HasModal();
  if (wanted == m_TextInput && focused == m_TextPlace) return;
  m_TextInput = wanted;
  m_TextPlace = focused;
  const cRect place = focused ? focused->Rect : cRect{};
  if (wanted)
    m_Window.StartTextInput(int(place.X), int(place.Y), int(place.W), int(place.H));
  else
    m_Window.StopTextInput();
}
