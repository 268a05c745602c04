#pragma once
// "window.txt": where the window stood.
#include <string>
#include <string_view>

/// Pixels of the desktop.
struct WindowRect {
  int Left = 0, Top = 0, Right = 0, Bottom = 0;
  bool Maximized = false;  ///< the numbers are then those to go back to
  int Width() const { return Right - Left; }
  int Height() const { return Bottom - Top; }
  friend bool operator==(const WindowRect&, const WindowRect&) = default;
};

/// "left top right bottom [maximised]", apart by white space. At least four numbers are needed; right lies above left and bottom
/// above top. A negative bottom, or a fifth number that is not 0, means maximised, and the bottom counts without its sign. False,
/// with `rect` as it was, for anything else.
bool ParseWindowRect(std::string_view text, WindowRect& rect);
/// What ParseWindowRect reads back; the bottom of a maximised window is negated.
std::string PrintWindowRect(const WindowRect& rect);

/// "window.txt" of the data folder. False where it isn't there or isn't valid: the default size is used.
bool LoadWindowRect(WindowRect& rect);
bool StoreWindowRect(const WindowRect& rect);
