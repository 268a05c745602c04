#pragma once
// What Window.cpp (the window) and WindowEvents.cpp (its messages) share. Includes SDL; nobody else includes this file.
#include <SDL.h>

#include <deque>
#include <vector>

#include "interface/BaseWidget.h"
#include "shell/platform/AccessKeys.h"
#include "shell/platform/Window.h"
#include "shell/platform/XInputPen.h"

struct Window::State {
  struct Message {
    WindowMessage What = WindowMessage::None;
    unsigned Code = 0;
    InputEvent Input;
  };

  SDL_Window* Handle = nullptr;
  SDL_GLContext Context = nullptr;
  int SwapInterval = 1;  ///< frames of the display that a picture of ours stays
  SDL_threadID MainThread = 0;
  int Socket = -1;  ///< of the X connection
  SDL_Cursor* Cursors[9] = {};
  struct ArrowStep {
    SDL_Cursor* Shape;
    double Seconds;
  };
  std::vector<ArrowStep> Arrow;  ///< own pictures in place of the system's
  size_t ArrowAt = 0;
  double ArrowNext = 0;  ///< when the next step is due
  MouseCursor Cursor{};
  WindowPlacement Normal, NormalBefore;  ///< the rectangle now and before its last change, neither taken while maximised
  double NormalTime = 0;
  WindowPlacement Wanted;  ///< the place that Show asked for
  bool StartMaximised = false;
  bool FramePending = false;  ///< shown, and the window manager's frame is not known yet
  bool Shown = false, Asleep = false;
  bool FillsScreen = false;  ///< full screen without a window manager: the window lies over the display
  bool EndTold = false;      ///< the signal to end has become a message
  int Width = 0, Height = 0;
  float Scale = 1, PixelsPerUnit = 1;
  unsigned LastCode = 0;

  std::deque<Message> Queue;
  XInputPen Pen;
  AccessKeyShortcuts AccessKeys;
  std::vector<InputEvent> PenEvents;  ///< of the report at hand
  bool IsPenShadow = false;           ///< the X event at hand is a pen's second one
  bool IsMotionDue = false;           ///< it is the mouse's, and its motion has not come yet
  double EventSec = -1;               ///< time of the X event at hand; below 0: none

  // WindowEvents.cpp
  /// Reads what has come from the system into Queue.
  void Pump();
  /// Waits until something is in Queue or the time has passed.
  void WaitFor(double seconds);
  void Push(WindowMessage what, unsigned code);
  static int SDLCALL OnEvent(void* state, SDL_Event* event);
  /// What the keyboard's layout prints on the keys, for whoever shows them.
  static void ReadKeySigns();

  // Window.cpp
  bool IsArrowMoving() const { return Arrow.size() > 1 && Cursor == MouseCursor::Arrow; }
  void MoveArrow(double now);
  void FreeArrow();
  void MeasureSize();
  /// Whether the scale changed.
  bool MeasureScale();
  void NotePlacement();
  /// Full screen where no window manager does it.
  void FillScreen(bool on);
  /// A window manager puts its frame where the client area was asked for; this puts the client area there, or the window would
  /// creep down by its title bar on every start. Does nothing before the frame is there.
  void PlaceClientArea();

 private:
  /// Whether it became a message.
  bool TakeEvent(const SDL_Event& event);
  bool TakeSystemEvent(const SDL_Event& event);
  bool TakeWindowEvent(const SDL_WindowEvent& event);
  bool TakeKey(const SDL_KeyboardEvent& event);
  bool TakeButton(const SDL_MouseButtonEvent& event);
  bool TakeSleep(bool asleep, unsigned code);
  bool TakeMotionDue();
  void TakeDrained(const SDL_Event& event);
  InputEvent MakePointerEvent(InputKind kind, float x, float y) const;
  void PushInput(InputEvent event, unsigned code);
  double TakeTime() const;
};

/// SDL's event of Window::Wake.
uint32_t GetWakeEvent();
/// See Window::EndSignal.
int GetEndSignal();
