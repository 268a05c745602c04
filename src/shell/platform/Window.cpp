#include "shell/platform/Window.h"

#include <signal.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>

#include "comms/Log.h"
#include "comms/render/DeviceReport.h"
#include "comms/render/DriverTime.h"
#include "comms/render/EglContext.h"
#include "comms/render/GlDebug.h"
#include "interface/BaseWidget.h"
#include "shell/platform/DisplayScale.h"
#include "shell/platform/WindowState.h"
#include "shell/platform/XWindow.h"

namespace {

constexpr int DefaultWidth = 960, DefaultHeight = 640;
constexpr int LeastWidth = 320, LeastHeight = 240;
constexpr int LeastVisible = 64;  ///< pixels of a window, each way, by which it can be found and moved

void SetHints() {
  SDL_SetHint(SDL_HINT_APP_NAME, "morvane");
  SDL_SetHint("SDL_VIDEO_X11_WMCLASS", "morvane");
  // A tool shares the screen with others: no games' privileges.
  SDL_SetHint(SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0");
  SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
  SDL_SetHint(SDL_HINT_VIDEO_MINIMIZE_ON_FOCUS_LOSS, "0");
  SDL_SetHint(SDL_HINT_MOUSE_FOCUS_CLICKTHROUGH, "1");
  SDL_SetHint(SDL_HINT_MOUSE_DOUBLE_CLICK_TIME, "400");
  SDL_SetHint(SDL_HINT_MOUSE_DOUBLE_CLICK_RADIUS, "6");
  SDL_SetHint(SDL_HINT_IME_SHOW_UI, "1");
  SDL_SetHint("SDL_QUIT_ON_LAST_WINDOW_CLOSE", "0");
}

void SetContextAttributes() {
  SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_CORE);
  SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
  SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 3);
  int flags = SDL_GL_CONTEXT_FORWARD_COMPATIBLE_FLAG;
  if (comms::IsGlDebugWanted()) flags |= SDL_GL_CONTEXT_DEBUG_FLAG;
  SDL_GL_SetAttribute(SDL_GL_CONTEXT_FLAGS, flags);
  SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
  SDL_GL_SetAttribute(SDL_GL_RED_SIZE, 8);
  SDL_GL_SetAttribute(SDL_GL_GREEN_SIZE, 8);
  SDL_GL_SetAttribute(SDL_GL_BLUE_SIZE, 8);
  SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 24);
}

/// Before the window would do it, which is our own work.
bool LoadDriver() {
  const comms::DriverTime driver;
  return SDL_GL_LoadLibrary(nullptr) == 0;
}

/// Asks for a context that tells when the driver resets it, and for a plain one where the driver can't.
SDL_GLContext CreateContext(SDL_Window* window, int swapInterval) {
  const comms::DriverTime driver;
  for (const SDL_GLContextResetNotification told : {SDL_GL_CONTEXT_RESET_LOSE_CONTEXT, SDL_GL_CONTEXT_RESET_NO_NOTIFICATION}) {
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_RESET_NOTIFICATION, told);
    if (const SDL_GLContext context = SDL_GL_CreateContext(window)) {
      SDL_GL_SetSwapInterval(swapInterval);
      return context;
    }
  }
  return nullptr;
}

/// What the driver does offer that gave no context of the version that is needed, and what is missing.
std::string DescribeDriver(SDL_Window* window) {
  SDL_GL_ResetAttributes();
  const SDL_GLContext context = SDL_GL_CreateContext(window);
  if (!context) return ". Missing: a graphics driver for OpenGL; the display offers none that can be loaded.";
  const std::string device = comms::DescribeCurrentDevice();
  SDL_GL_DeleteContext(context);
  // A driver may hold back with its core profile what it offers in others.
  const bool isTold = device.find("Missing: ") != device.npos;
  return ". " + device + (isTold ? "" : " Missing: a context of the core profile 3.3 with shading language 3.30.");
}

volatile sig_atomic_t g_EndSignal = 0;

// A terminal that closes, a session that ends. Who started the program with SIGHUP ignored wants it to live on.
void HearEndSignals() {
  g_EndSignal = 0;
  for (const int number : {SIGHUP, SIGTERM}) {
    struct sigaction action {};
    if (sigaction(number, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = [](int signal) { g_EndSignal = signal; };
    sigaction(number, &action, nullptr);
  }
}

/// The display on which enough of the window is seen to find and move it; below 0: none.
int FindDisplay(const SDL_Rect& window) {
  for (int i = 0; i < SDL_GetNumVideoDisplays(); ++i) {
    SDL_Rect display, common;
    if (SDL_GetDisplayBounds(i, &display) == 0 && SDL_IntersectRect(&window, &display, &common) && common.w >= LeastVisible &&
        common.h >= LeastVisible)
      return i;
  }
  return -1;
}

/// Length of a side, and its begin where it had to be cut.
void FitSide(int& begin, int& length, int least, int begins, int room) {
  if (length > room) begin = begins;
  length = std::max(least, std::min(length, room));
}

/// Size and place of the window; the place may be SDL's word for the middle.
SDL_Rect ChooseRect(const WindowPlacement& placement) {
  SDL_Rect rect{SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, DefaultWidth, DefaultHeight};
  int display = -1;
  if (placement.Right > placement.Left && placement.Bottom > placement.Top) {
    // Numbers that no display has would run over in sums; a display counts its places in 16 bits.
    const auto clamped = [](int place) { return std::clamp(place, int(INT16_MIN), int(INT16_MAX)); };
    const SDL_Rect stored{clamped(placement.Left), clamped(placement.Top), clamped(placement.Right) - clamped(placement.Left),
                          clamped(placement.Bottom) - clamped(placement.Top)};
    display = FindDisplay(stored);
    rect.w = stored.w;
    rect.h = stored.h;
    if (display >= 0) {
      rect.x = stored.x;
      rect.y = stored.y;
    }
  }
  SDL_Rect usable;
  if (SDL_GetDisplayUsableBounds(std::max(display, 0), &usable) != 0) return rect;
  FitSide(rect.x, rect.w, LeastWidth, usable.x, usable.w);
  FitSide(rect.y, rect.h, LeastHeight, usable.y, usable.h);
  return rect;
}

/// SDL shares the pixels: the surface must not outlive the picture.
SDL_Surface* MakeSurface(const comms::cImage& image) {
  return SDL_CreateRGBSurfaceWithFormatFrom(const_cast<uint8_t*>(image.Pixels().data()), image.Width(), image.Height(), 32,
                                            image.Width() * 4, SDL_PIXELFORMAT_RGBA32);
}

SDL_SystemCursor ToSystemCursor(MouseCursor cursor) {
  switch (cursor) {
    case MouseCursor::Hand:
      return SDL_SYSTEM_CURSOR_HAND;
    case MouseCursor::Text:
      return SDL_SYSTEM_CURSOR_IBEAM;
    case MouseCursor::SizeHorizontal:
      return SDL_SYSTEM_CURSOR_SIZEWE;
    case MouseCursor::SizeVertical:
      return SDL_SYSTEM_CURSOR_SIZENS;
    case MouseCursor::Move:
      return SDL_SYSTEM_CURSOR_SIZEALL;
    case MouseCursor::Cross:
      return SDL_SYSTEM_CURSOR_CROSSHAIR;
    case MouseCursor::Wait:
      return SDL_SYSTEM_CURSOR_WAIT;
    default:
      return SDL_SYSTEM_CURSOR_ARROW;
  }
}

}  // namespace

Window::Window() : m_State(std::make_unique<State>()) {}
Window::~Window() { Destroy(); }

bool Window::Create(const std::string& title, const WindowPlacement& placement, std::string& error) {
  Destroy();
  SetHints();
  const char *display = std::getenv("DISPLAY"), *wayland = std::getenv("WAYLAND_DISPLAY");
  if (!std::getenv("SDL_VIDEODRIVER") && !display && !wayland) {
    error = "can't open a window, there is no display: neither DISPLAY nor WAYLAND_DISPLAY is set";
    return false;
  }
  // Left to itself SDL would take a driver that draws where nobody sees it, which would pass for a window.
  SDL_SetHint(SDL_HINT_VIDEODRIVER, !wayland ? "x11" : display ? "x11,wayland" : "wayland");
  State& state = *m_State;
  state.MainThread = SDL_ThreadID();
  HearEndSignals();
  HandleXFaults([this] {
    if (Lost) Lost();
  });
  if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
    error = std::string("can't open a window, no display answers (DISPLAY is '") + (display ? display : "") +
            "', WAYLAND_DISPLAY is '" + (wayland ? wayland : "") + "'): " + SDL_GetError();
    return false;
  }
  GetWakeEvent();
  State::ReadKeySigns();
  SDL_StopTextInput();
  SDL_EventState(SDL_SYSWMEVENT, SDL_ENABLE);
  SetContextAttributes();
  const SDL_Rect rect = ChooseRect(placement);
  const uint32_t flags = SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI | SDL_WINDOW_HIDDEN;
  const bool hasDriver = LoadDriver();  // else the window says why not
  state.Handle = SDL_CreateWindow(title.c_str(), rect.x, rect.y, rect.w, rect.h, flags);
  if (hasDriver) SDL_GL_UnloadLibrary();  // the window holds it
  if (state.Handle) state.Context = CreateContext(state.Handle, state.SwapInterval);
  if (!state.Context) {
    error = std::string("can't open a window with OpenGL 3.3: ") + SDL_GetError();
    if (state.Handle) {
      error += DescribeDriver(state.Handle);
      SDL_DestroyWindow(state.Handle);
    }
    state.Handle = nullptr;
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
    return false;
  }
  XHandles handles;
  if (GetXHandles(state.Handle, handles)) state.Socket = GetXSocket(handles);
  SDL_SetWindowMinimumSize(state.Handle, LeastWidth, LeastHeight);
  SDL_SetEventFilter(&State::OnEvent, &state);

  SDL_GetWindowPosition(state.Handle, &state.Normal.Left, &state.Normal.Top);
  state.Normal.Right = state.Normal.Left + rect.w;
  state.Normal.Bottom = state.Normal.Top + rect.h;
  state.NormalBefore = state.Normal;
  state.StartMaximised = placement.Maximised;
  state.MeasureSize();
  state.MeasureScale();
  comms::SetWindowContext(
      {[&state] { SDL_GL_MakeCurrent(state.Handle, nullptr); }, [&state] { SDL_GL_MakeCurrent(state.Handle, state.Context); }});
  return true;
}

void Window::Show() {
  State& state = *m_State;
  if (!state.Handle || state.Shown) return;
  state.Wanted = state.Normal;
  SDL_ShowWindow(state.Handle);
  state.Shown = true;
  if (state.StartMaximised)
    SDL_MaximizeWindow(state.Handle);
  else
    state.FramePending = true;
  state.MeasureSize();
}

void Window::State::PlaceClientArea() {
  int top = 0, left = 0, x, y;
  if (SDL_GetWindowBordersSize(Handle, &top, &left, nullptr, nullptr) != 0 || (top == 0 && left == 0)) return;
  FramePending = false;
  SDL_GetWindowPosition(Handle, &x, &y);
  if (x == Wanted.Left + left && y == Wanted.Top + top) SDL_SetWindowPosition(Handle, Wanted.Left, Wanted.Top);
  // SDL reports no move that was asked of it.
  NotePlacement();
}

void Window::Destroy() {
  State& state = *m_State;
  if (!state.Handle) return;
  CloseTablet();
  state.AccessKeys.Restore();
  for (SDL_Cursor* cursor : state.Cursors)
    if (cursor) SDL_FreeCursor(cursor);
  state.FreeArrow();
  SDL_SetEventFilter(nullptr, nullptr);
  comms::SetWindowContext({});
  SDL_GL_DeleteContext(state.Context);
  SDL_DestroyWindow(state.Handle);
  SDL_QuitSubSystem(SDL_INIT_VIDEO);
  HandleXFaults({});
  m_State = std::make_unique<State>();
}

bool Window::RenewContext(std::string& error) {
  State& state = *m_State;
  SDL_GL_DeleteContext(state.Context);
  state.Context = CreateContext(state.Handle, state.SwapInterval);
  if (!state.Context) error = std::string("the graphics device gives no new context: ") + SDL_GetError();
  return state.Context != nullptr;
}

void Window::Abandon() {
  // The server clears up behind a client whose connection ends.
  if (m_State->Socket >= 0) shutdown(m_State->Socket, SHUT_RDWR);
}

WindowMessage Window::Poll(InputEvent& event) { return Wait(event, 0); }

WindowMessage Window::Wait(InputEvent& event, double seconds) {
  State& state = *m_State;
  if (!state.Handle) return WindowMessage::None;
  if (state.Queue.empty()) {
    if (seconds == 0)
      state.Pump();
    else
      state.WaitFor(seconds);
  }
  if (state.Queue.empty()) return WindowMessage::None;
  State::Message message = std::move(state.Queue.front());
  state.Queue.pop_front();
  state.LastCode = message.Code;
  if (message.What == WindowMessage::Input) event = std::move(message.Input);
  return message.What;
}

unsigned Window::LastMessageCode() const { return m_State->LastCode; }
int Window::Width() const { return m_State->Width; }
int Window::Height() const { return m_State->Height; }
float Window::Scale() const { return m_State->Scale; }
bool Window::IsAsleep() const { return m_State->Asleep; }
int GetEndSignal() { return g_EndSignal; }
int Window::EndSignal() const { return m_State->Handle ? g_EndSignal : 0; }

void Window::State::MeasureSize() {
  int units = 0, unitsHigh = 0;
  SDL_GetWindowSize(Handle, &units, &unitsHigh);
  SDL_GL_GetDrawableSize(Handle, &Width, &Height);
  PixelsPerUnit = units > 0 && Width > 0 ? float(Width) / float(units) : 1;
}

bool Window::State::MeasureScale() {
  DisplayWords words;
  words.GdkScale = std::getenv("GDK_SCALE");
  XHandles handles;
  if (GetXHandles(Handle, handles)) words.XftDpi = GetXResource(handles, "Xft", "dpi");
  float measured = 0;
  if (SDL_GetDisplayDPI(std::max(0, SDL_GetWindowDisplayIndex(Handle)), &measured, nullptr, nullptr) == 0)
    words.MeasuredDpi = measured;
  const float before = Scale;
  Scale = ChooseDisplayScale(words);
  return Scale != before;
}

void Window::State::NotePlacement() {
  if (SDL_GetWindowFlags(Handle) & (SDL_WINDOW_MAXIMIZED | SDL_WINDOW_MINIMIZED | SDL_WINDOW_FULLSCREEN) || FillsScreen) return;
  WindowPlacement now;
  int width, height;
  SDL_GetWindowPosition(Handle, &now.Left, &now.Top);
  SDL_GetWindowSize(Handle, &width, &height);
  now.Right = now.Left + width;
  now.Bottom = now.Top + height;
  if (now == Normal) return;
  // The steps of one change, place and then size, count as one.
  const double time = Window::Now();
  if (time - NormalTime >= 1) NormalBefore = Normal;
  NormalTime = time;
  Normal = now;
}

WindowPlacement Window::GetPlacement() const {
  WindowPlacement placement = m_State->Normal;
  placement.Maximised = m_State->Shown ? IsMaximised() : m_State->StartMaximised;
  return placement;
}

void Window::Present() {
  const comms::DriverTime driver;
  if (m_State->Handle) SDL_GL_SwapWindow(m_State->Handle);
}
void Window::SetVerticalSync(bool on) {
  m_State->SwapInterval = on ? 1 : 0;
  SDL_GL_SetSwapInterval(m_State->SwapInterval);
}

void Window::SetIcon(const comms::cImage& icon) {
  if (icon.Empty()) return;
  SDL_Surface* surface = MakeSurface(icon);
  if (!surface) return;
  SDL_SetWindowIcon(m_State->Handle, surface);
  SDL_FreeSurface(surface);
}

bool Window::SetArrow(const std::vector<CursorStep>& steps, std::string& error) {
  State& state = *m_State;
  std::vector<State::ArrowStep> arrow;
  for (const CursorStep& step : steps) {
    SDL_Surface* surface = MakeSurface(step.Picture);
    SDL_Cursor* shape = surface ? SDL_CreateColorCursor(surface, step.HotX, step.HotY) : nullptr;
    SDL_FreeSurface(surface);
    if (!shape) {
      error = std::string("the system takes no such cursor: ") + SDL_GetError();
      for (const State::ArrowStep& made : arrow) SDL_FreeCursor(made.Shape);
      return false;
    }
    arrow.push_back({shape, step.Seconds});
  }
  std::swap(state.Arrow, arrow);
  state.ArrowAt = 0;
  const MouseCursor shown = state.Cursor;
  state.Cursor = MouseCursor::None;
  SetCursor(shown);
  for (const State::ArrowStep& old : arrow) SDL_FreeCursor(old.Shape);
  return true;
}

void Window::State::MoveArrow(double now) {
  if (!IsArrowMoving() || now < ArrowNext) return;
  ArrowAt = (ArrowAt + 1) % Arrow.size();
  ArrowNext = now + Arrow[ArrowAt].Seconds;
  SDL_SetCursor(Arrow[ArrowAt].Shape);
}

void Window::State::FreeArrow() {
  for (const ArrowStep& step : Arrow) SDL_FreeCursor(step.Shape);
  Arrow.clear();
}

void Window::SetCursor(MouseCursor cursor) {
  State& state = *m_State;
  if (!state.Handle || cursor == state.Cursor) return;
  state.Cursor = cursor;
  if (cursor == MouseCursor::None) {
    SDL_ShowCursor(SDL_DISABLE);
    return;
  }
  SDL_Cursor*& system = state.Cursors[size_t(cursor)];
  if (!system) system = SDL_CreateSystemCursor(ToSystemCursor(cursor));
  SDL_SetCursor(cursor == MouseCursor::Arrow && !state.Arrow.empty() ? state.Arrow[state.ArrowAt].Shape : system);
  SDL_ShowCursor(SDL_ENABLE);
}

void Window::SetFullScreen(bool on) {
  State& state = *m_State;
  XHandles handles;
  if (GetXHandles(state.Handle, handles) && (state.FillsScreen || (on && !HasWindowManager(handles))))
    state.FillScreen(on);
  else
    SDL_SetWindowFullscreen(state.Handle, on ? SDL_WINDOW_FULLSCREEN_DESKTOP : 0);
}

// SDL asks the window manager, and takes the window for as large as the display whether one has heard it or not.
void Window::State::FillScreen(bool on) {
  SDL_Rect place{Normal.Left, Normal.Top, Normal.Right - Normal.Left, Normal.Bottom - Normal.Top};
  if (on && SDL_GetDisplayBounds(std::max(0, SDL_GetWindowDisplayIndex(Handle)), &place) != 0) return;
  FillsScreen = on;
  SDL_SetWindowPosition(Handle, place.x, place.y);
  SDL_SetWindowSize(Handle, place.w, place.h);
}

bool Window::IsFullScreen() const {
  return m_State->FillsScreen || (SDL_GetWindowFlags(m_State->Handle) & SDL_WINDOW_FULLSCREEN) != 0;
}
bool Window::IsMaximised() const { return (SDL_GetWindowFlags(m_State->Handle) & SDL_WINDOW_MAXIMIZED) != 0; }

void Window::StartTextInput(int x, int y, int width, int height) {
  if (!m_State->Handle) return;
  const float units = 1 / m_State->PixelsPerUnit;
  const SDL_Rect place{int(float(x) * units), int(float(y) * units), int(float(width) * units), int(float(height) * units)};
  SDL_SetTextInputRect(&place);
  if (!SDL_IsTextInputActive()) SDL_StartTextInput();
}
void Window::StopTextInput() {
  if (m_State->Handle) SDL_StopTextInput();
}

void Window::SwitchOffAccessKeys() {
  XHandles handles;
  if (GetXHandles(m_State->Handle, handles))
    m_State->AccessKeys.SwitchOff(handles);
  else
    comms::LogInfo("the shortcuts of sticky keys can be switched off on X displays only");
}

std::string Window::GetClipboard() const {
  char* text = SDL_GetClipboardText();
  std::string result = text ? text : "";
  SDL_free(text);
  return result;
}
bool Window::SetClipboard(const std::string& text) { return SDL_SetClipboardText(text.c_str()) == 0; }

bool Window::OpenTablet(std::string& error) {
  XHandles handles;
  if (!GetXHandles(m_State->Handle, handles)) {
    error = "pens with pressure need an X display";
    return false;
  }
  return m_State->Pen.Open(handles.Display, handles.Window, error);
}

void Window::CloseTablet() { m_State->Pen.Close(); }
PenState Window::GetPenState() const { return m_State->Pen.Pens().GetState(Now()); }
