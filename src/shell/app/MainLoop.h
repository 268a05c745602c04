#pragma once
// The message loop and the frame. Messages go first: a frame is drawn only when the queue is empty, and only when something
// has changed or wants to move; else the loop sleeps on the queue.
#include <functional>
#include <memory>
#include <string>

#include "interface/cWidgets.h"
#include "shell/app/MainForm.h"
#include "shell/app/Splash.h"
#include "shell/core/Progress.h"
#include "shell/platform/Window.h"

class MainLoop {
 public:
  MainLoop(Window& window, comms::cRender& render, cWidgets& widgets, MainForm& form, const cSettings& settings,
           const AppOptions& options);
  MainLoop(const MainLoop&) = delete;
  MainLoop& operator=(const MainLoop&) = delete;

  /// One pass: takes a message, or, where none waits, draws a frame. `poll`: never sleeps, for long work that keeps the window
  /// alive. `message` is the one that was taken. False once the program is to end.
  bool cWinMain_OneIterationOfMessageLoop(WindowMessage& message, bool poll);
  /// In place of passes while a dialog of the desktop has the person's attention: the window goes on drawing, and mouse and keys
  /// do nothing in it. A wish to close it waits for the next pass.
  void KeepAlive();
  /// Whether an event ends something that was begun before: where input is not taken, a drag or a stroke would go on without it.
  static bool IsRelease(const InputEvent& event);
  /// Draws unless something forbids it or there is nothing to draw into.
  void RenderIfPossible();
  /// Draws one frame into a part of the window.
  void cMain_OnRender(const cRect& viewport);
  /// A small frame of its own: the docks and the box. The scene, which may be in the middle of its change, is left out.
  void DrawProgress(const ProgressFrame& progress);

  /// Draws a frame and reads it back. False where nothing could be drawn or read.
  bool TakePicture(comms::cImage& image);

  void Quit() { m_Quitting = true; }
  bool IsQuitting() const { return m_Quitting; }
  /// The next pass draws.
  void RequestFrame() { m_FrameWanted = true; }
  /// Asked whether the program may end, on a close request. Empty: it may.
  std::function<bool()> MayClose;
  /// Once a pass without messages, before the frame; true asks for a frame.
  std::function<bool()> Background;
  /// About once a second, and before the first frame.
  std::function<void()> EverySecond;
  /// The window moved or changed its size.
  std::function<void()> PlacementChanged;
  /// The display's density changed.
  std::function<void()> ScaleChanged;

  /// Over the first frames; goes by itself.
  std::unique_ptr<Splash> StartSplash;

  bool RenderRefused = false;  ///< RenderIfPossible returns at once
  bool BlockRender = false;    ///< nothing may be drawn now
  int FrameCounter = 0;        ///< frames that are being drawn at this moment
  int64_t FramesDrawn = 0;
  /// CPU time of our own part of a frame, milliseconds, smoothed.
  float FrameMilliseconds = 0;
  /// Seconds, for the frames; another clock lets them come at a pace of their own.
  std::function<double()> Clock = Window::Now;

 private:
  /// Makes everything anew on a device that was reset. False while there is none.
  bool HasDevice();
  /// Nobody sees the window, or there is nothing to draw with.
  bool SleepState() const { return m_DeviceLost || m_Window.IsAsleep(); }
  /// Whether a frame that is wanted now would be drawn: else the loop sleeps over the wish.
  bool MayDraw() const;
  void SetUpViewport(int width, int height, double now);
  void SetSolidStates();
  void DrawInterface();
  void TakeMessage(WindowMessage message, const InputEvent& event);
  void WorkInBackground();
  double SecondsToSleep();
  void UpdateCursor();
  void UpdateTextInput();

  Window& m_Window;
  comms::cRender& m_Render;
  cWidgets& m_Widgets;
  MainForm& m_Form;
  const cSettings& m_Settings;
  const AppOptions& m_Options;
  int m_DepthState3D = -1, m_BlendState3D = -1, m_FillState3D = -1, m_NoDepth = -1;
  comms::cImage* m_Picture = nullptr;  // where the frame that is drawn is to be stored
  bool m_DeviceLost = false, m_ResetSeen = false, m_CloseWaits = false;
  bool m_Quitting = false, m_FrameWanted = true, m_TextInput = false;
  bool m_FollowUpWanted = false;  // what was pressed may change what widgets only see as the next frame begins
  double m_NextSecond = 0;
  double m_FrameSec = 0;                    // when the last frame began
  const BaseWidget* m_TextPlace = nullptr;  // compared only: it may be gone
  MouseCursor m_Cursor = MouseCursor::Arrow;
};
