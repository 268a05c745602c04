// The window's messages. Every event is taken over in SDL's event filter, while SDL reads the connection: there the modifiers and
// the time belong to it, and a pen's report, which SDL only shows in passing, keeps its place among the others.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "shell/core/KeyTable.h"
#include "shell/platform/KeyMap.h"
#include "shell/platform/WindowState.h"
#include "shell/platform/XWindow.h"

uint32_t GetWakeEvent() {
  static const uint32_t event = SDL_RegisterEvents(1);
  return event;
}

void Window::Wake() {
  SDL_Event event{};
  event.type = GetWakeEvent();
  SDL_PushEvent(&event);
}

double Window::Now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

int SDLCALL Window::State::OnEvent(void* state, SDL_Event* event) {
  State& self = *static_cast<State*>(state);
  // Wake comes from other threads; it goes through SDL's queue alone.
  if (SDL_ThreadID() != self.MainThread) return 1;
  if (event->type == GetWakeEvent()) return 1;
  // What stays in SDL's queue serves to end its wait, and frees what SDL gave with the event.
  return self.TakeEvent(*event) || event->type == SDL_DROPTEXT ? 1 : 0;
}

void Window::State::Pump() {
  SDL_PumpEvents();
  SDL_Event event;
  while (SDL_PeepEvents(&event, 1, SDL_GETEVENT, SDL_FIRSTEVENT, SDL_LASTEVENT) > 0) TakeDrained(event);
  if (FramePending) PlaceClientArea();
  if (GetEndSignal() && !std::exchange(EndTold, true)) Push(WindowMessage::Close, SDL_QUIT);
  MoveArrow(Now());
}

void Window::State::WaitFor(double seconds) {
  const double end = seconds < 0 ? 0 : Now() + seconds;
  Pump();
  while (Queue.empty()) {
    double left = seconds < 0 ? 1 : end - Now();
    if (left <= 0) return;
    if (IsArrowMoving()) left = std::min(left, std::max(0.0, ArrowNext - Now()));
    SDL_Event event;
    if (SDL_WaitEventTimeout(&event, std::max(1, int(std::ceil(std::min(left, 1000.0) * 1000))))) TakeDrained(event);
    Pump();
  }
}

void Window::State::TakeDrained(const SDL_Event& event) {
  if (event.type == GetWakeEvent()) Push(WindowMessage::Woken, event.type);
  if (event.type == SDL_DROPFILE || event.type == SDL_DROPTEXT) SDL_free(event.drop.file);
}

void Window::State::Push(WindowMessage what, unsigned code) {
  // A second one of these before the first was taken says nothing new.
  if (!Queue.empty() && Queue.back().What == what && what != WindowMessage::Input) return;
  Queue.push_back({what, code, {}});
}

double Window::State::TakeTime() const { return EventSec >= 0 ? EventSec : Now(); }

void Window::State::PushInput(InputEvent event, unsigned code) {
  Queue.push_back({WindowMessage::Input, code, std::move(event)});
}

InputEvent Window::State::MakePointerEvent(InputKind kind, float x, float y) const {
  InputEvent input;
  input.Kind = kind;
  input.X = x * PixelsPerUnit;
  input.Y = y * PixelsPerUnit;
  input.Modifiers = ToKeyModifiers(SDL_GetModState());
  input.TimeSec = TakeTime();
  return input;
}

void Window::State::ReadKeySigns() {
  SetKeySigns(ListKeySigns([](int scancode) { return SDL_GetKeyFromScancode(SDL_Scancode(scancode)); }));
}

bool Window::State::TakeEvent(const SDL_Event& event) {
  switch (event.type) {
    case SDL_SYSWMEVENT:
      return TakeSystemEvent(event);
    case SDL_WINDOWEVENT:
      return TakeWindowEvent(event.window);
    case SDL_QUIT:
      Push(WindowMessage::Close, event.type);
      return true;
    case SDL_KEYMAPCHANGED:
      ReadKeySigns();
      return false;
    case SDL_KEYDOWN:
    case SDL_KEYUP:
      return TakeKey(event.key);
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
      return TakeButton(event.button);
    case SDL_MOUSEMOTION:
      if (!TakeMotionDue() && event.motion.which != SDL_TOUCH_MOUSEID) return false;
      PushInput(MakePointerEvent(InputKind::PointerMove, float(event.motion.x), float(event.motion.y)), event.type);
      return true;
    case SDL_MOUSEWHEEL: {
      InputEvent input = MakePointerEvent(InputKind::Wheel, float(event.wheel.mouseX), float(event.wheel.mouseY));
      input.WheelX = event.wheel.preciseX;
      input.WheelY = event.wheel.preciseY;
      PushInput(input, event.type);
      return true;
    }
    case SDL_TEXTINPUT: {
      InputEvent input;
      input.Kind = InputKind::Text;
      input.TimeSec = TakeTime();
      input.Text = event.text.text;
      PushInput(std::move(input), event.type);
      return true;
    }
    case SDL_DROPFILE: {
      // A drag moves no pointer of the window's, so the place is asked for.
      int x, y, left, top;
      SDL_GetGlobalMouseState(&x, &y);
      SDL_GetWindowPosition(Handle, &left, &top);
      InputEvent input = MakePointerEvent(InputKind::Drop, float(x - left), float(y - top));
      input.Text = event.drop.file;
      PushInput(std::move(input), event.type);
      return true;
    }
    default:
      return false;
  }
}

// SDL makes a mouse's motion of every report of a pen, before it shows that: only the core event shown last may move the mouse.
bool Window::State::TakeMotionDue() {
  const bool isDue = IsMotionDue || !Pen.IsOpen();
  IsMotionDue = false;
  return isDue;
}

bool Window::State::TakeSystemEvent(const SDL_Event& event) {
  const XNews news = ReadXNews(*event.syswm.msg);
  IsPenShadow = news.What == XNews::Kind::Pointer && Pen.TakeShadow(news.ServerMs, news.Type);
  IsMotionDue = news.What == XNews::Kind::Pointer && !IsPenShadow;
  EventSec =
      news.What == XNews::Kind::Pointer || news.What == XNews::Kind::Key ? Pen.Clock().ToSeconds(news.ServerMs, Now()) : -1;
  if (news.What != XNews::Kind::Generic) return false;
  PenEvents.clear();
  Pen.Handle(news.Cookie, ToKeyModifiers(SDL_GetModState()), Now(), PenEvents);
  for (InputEvent& input : PenEvents) PushInput(std::move(input), event.type);
  return !PenEvents.empty();
}

bool Window::State::TakeKey(const SDL_KeyboardEvent& event) {
  InputEvent input = MakePointerEvent(event.type == SDL_KEYDOWN ? InputKind::KeyDown : InputKind::KeyUp, 0, 0);
  int x, y;
  SDL_GetMouseState(&x, &y);
  input.X = float(x) * PixelsPerUnit;
  input.Y = float(y) * PixelsPerUnit;
  input.Key = ToKeyCode(event.keysym.sym, event.keysym.scancode, (event.keysym.mod & KMOD_NUM) != 0);
  input.IsRepeat = event.repeat != 0;
  PushInput(input, event.type);
  return true;
}

bool Window::State::TakeButton(const SDL_MouseButtonEvent& event) {
  if (IsPenShadow) return false;
  MouseButton button;
  switch (event.button) {
    case SDL_BUTTON_LEFT:
      button = MouseButton::Left;
      break;
    case SDL_BUTTON_MIDDLE:
      button = MouseButton::Middle;
      break;
    case SDL_BUTTON_RIGHT:
      button = MouseButton::Right;
      break;
    default:
      return false;
  }
  const bool down = event.type == SDL_MOUSEBUTTONDOWN;
  InputEvent input = MakePointerEvent(down ? InputKind::ButtonDown : InputKind::ButtonUp, float(event.x), float(event.y));
  input.Button = button;
  // SDL counts on; here a third press begins anew.
  if (down) input.Clicks = event.clicks > 0 && event.clicks % 2 == 0 ? 2 : 1;
  PushInput(input, event.type);
  return true;
}

bool Window::State::TakeSleep(bool asleep, unsigned code) {
  if (asleep == Asleep || !Shown) return false;
  Asleep = asleep;
  Push(asleep ? WindowMessage::Asleep : WindowMessage::Awake, code);
  return true;
}

bool Window::State::TakeWindowEvent(const SDL_WindowEvent& event) {
  if (!Handle || event.windowID != SDL_GetWindowID(Handle)) return false;
  const unsigned code = event.type + event.event;
  switch (event.event) {
    case SDL_WINDOWEVENT_CLOSE:
      Push(WindowMessage::Close, code);
      return true;
    case SDL_WINDOWEVENT_SIZE_CHANGED:
      MeasureSize();
      NotePlacement();
      Push(WindowMessage::Resized, code);
      return true;
    case SDL_WINDOWEVENT_MOVED:
      NotePlacement();
      Push(WindowMessage::Moved, code);
      return true;
    case SDL_WINDOWEVENT_MAXIMIZED:
      // The new size may have come before the word that it is a maximised one.
      if (Now() - NormalTime < 1) Normal = NormalBefore;
      return TakeSleep(false, code);
    case SDL_WINDOWEVENT_EXPOSED:
      TakeSleep(false, code);
      Push(WindowMessage::Exposed, code);
      return true;
    case SDL_WINDOWEVENT_SHOWN:
    case SDL_WINDOWEVENT_RESTORED:
      return TakeSleep(false, code);
    case SDL_WINDOWEVENT_HIDDEN:
    case SDL_WINDOWEVENT_MINIMIZED:
      return TakeSleep(true, code);
    case SDL_WINDOWEVENT_FOCUS_LOST:
      PushInput(MakePointerEvent(InputKind::FocusLost, 0, 0), code);
      return true;
    case SDL_WINDOWEVENT_LEAVE:
      PushInput(MakePointerEvent(InputKind::PointerLeave, 0, 0), code);
      return true;
    case SDL_WINDOWEVENT_DISPLAY_CHANGED:
      if (!MeasureScale()) return false;
      Push(WindowMessage::ScaleChanged, code);
      return true;
    default:
      return false;
  }
}
