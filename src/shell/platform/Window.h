#pragma once
// The one window: an OpenGL 3.3 core context, its messages as input events, cursor, clipboard and placement. Everything is
// measured in pixels of the screen; nothing is scaled behind the program's back. All calls are on the main thread, Wake excepted.
// Before Create and after Destroy the window has no size, and what a frame asks of it does nothing.
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "comms/Image.h"
#include "shell/core/InputEvent.h"
#include "shell/platform/AniCursor.h"
#include "shell/platform/Tablet.h"

enum class MouseCursor : uint8_t;  // of interface/BaseWidget.h

/// Where the client area of the window lies on the desktop, in pixels, while it is neither maximised nor full screen.
struct WindowPlacement {
  int Left = 0, Top = 0, Right = 0,
      Bottom = 0;  ///< Right > Left and Bottom > Top; otherwise 960 by 640 in the middle of the screen
  bool Maximised = false;
  friend bool operator==(const WindowPlacement&, const WindowPlacement&) = default;
};

enum class WindowMessage : uint8_t {
  None,     ///< the queue is empty
  Input,    ///< the event is filled
  Close,    ///< the person, or the session, wants the window closed
  Resized,  ///< Width and Height changed
  Exposed,  ///< the picture has to be drawn again
  Asleep,   ///< minimised or hidden: IsAsleep is true from here on
  Awake,
  Moved,
  ScaleChanged,  ///< the window came to a display of another density
  Woken          ///< Wake was called
};

class Window {
 public:
  Window();
  ~Window();
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  /// Opens the window, not shown yet, and makes its context current. A placement that no display shows is moved to the middle of
  /// the first; its size is kept between 320 by 240 and what the display has room for. One window a process. False with one
  /// sentence in `error`: no display, no OpenGL 3.3.
  bool Create(const std::string& title, const WindowPlacement& placement, std::string& error);
  /// Called where the connection to the display breaks, on the main thread; the process then ends with code 2. Nothing of the
  /// window may be used any more but its placement. Set before Create.
  std::function<void()> Lost;
  /// The signal by which the session, or whoever started the program, ends it without waiting for a person: SIGHUP or SIGTERM. It
  /// comes with a message Close. 0: none has come since Create.
  int EndSignal() const;
  /// Applies the placement's maximised state and shows the window.
  void Show();
  void Destroy();
  /// A new context in place of one that was lost, current from here on. False with one sentence where the system has none now; it
  /// may be asked again.
  bool RenewContext(std::string& error);
  /// For a crash: the window goes at once, and with it all that it held of the display, such as the mouse in a drag. Nothing of
  /// the window or of OpenGL may be used any more. Safe in a signal handler. No effect on displays other than X.
  void Abandon();

  /// The next message, or None at once. `event` is filled for Input and untouched otherwise.
  WindowMessage Poll(InputEvent& event);
  /// The next message; waits for up to `seconds`, for ever if below 0. None when the time has passed.
  WindowMessage Wait(InputEvent& event, double seconds);
  /// Lets a Wait return Woken. From any thread.
  static void Wake();
  /// Number of the message that was taken last, for breadcrumbs.
  unsigned LastMessageCode() const;
  /// Seconds on the clock of InputEvent::TimeSec.
  static double Now();

  /// Pixels of the drawable; either may be 0.
  int Width() const;
  int Height() const;
  /// Display scale: 1 for 96 dots per inch, in steps of 0.25, 1 .. 3.
  float Scale() const;
  bool IsAsleep() const;

  /// Ends the frame: shows what was drawn. Waits for the display unless SetVerticalSync(false) was called.
  void Present();
  void SetVerticalSync(bool on);

  void SetIcon(const comms::cImage& icon);
  void SetCursor(MouseCursor cursor);
  /// Replaces the arrow; several steps move while messages are waited for. Without steps the system's comes back. False with one
  /// sentence, and the arrow of before, where the system takes no such picture.
  bool SetArrow(const std::vector<CursorStep>& steps, std::string& error);
  void SetFullScreen(bool on);
  bool IsFullScreen() const;
  bool IsMaximised() const;
  /// The placement to store: the rectangle is the one that the window has when it is not maximised.
  WindowPlacement GetPlacement() const;

  /// Text events come only while text input is on. The rectangle, in pixels of the window, is where the input method shows its
  /// list.
  void StartTextInput(int x, int y, int width, int height);
  void StopTextInput();

  /// Sticky, slow and bounce keys lose their shortcuts until the window goes, see AccessKeys.h.
  void SwitchOffAccessKeys();

  std::string GetClipboard() const;
  /// False where the system refuses it.
  bool SetClipboard(const std::string& text);

  /// Looks for pens and listens to them, those plugged in later too. False where the display offers none of that; pressure is 1
  /// then.
  bool OpenTablet(std::string& error);
  void CloseTablet();
  /// For the pen's panel.
  PenState GetPenState() const;

  struct State;

 private:
  std::unique_ptr<State> m_State;
};
