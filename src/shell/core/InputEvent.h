#pragma once
// What mouse, pen and keyboard do, as the platform hands it to widgets and tools. Every sample of a pen is an event of its own:
// nothing is merged on the way, so a stroke has all that the device reported.
#include <cstdint>
#include <string>

enum class InputKind : uint8_t {
  PointerMove,
  ButtonDown,
  ButtonUp,
  Wheel,
  KeyDown,
  KeyUp,
  Text,          ///< characters typed, UTF-8, after the keyboard layout and the input method
  Drop,          ///< a file or folder was dropped on the window; Text holds its path
  PointerLeave,  ///< the pointer left the window
  FocusLost      ///< the window lost the keyboard: whatever is held down counts as released
};

enum class MouseButton : uint8_t { None, Left, Right, Middle };

/// Modifier keys held, as bits.
enum KeyModifiers : uint8_t { ModShift = 1, ModControl = 2, ModAlt = 4, ModSuper = 8 };

struct InputEvent {
  InputKind Kind = InputKind::PointerMove;
  MouseButton Button = MouseButton::None;  ///< of ButtonDown and ButtonUp
  uint8_t Modifiers = 0;
  uint8_t Clicks = 1;            ///< of ButtonDown: 2 for the second press of a double click
  bool IsPen = false;            ///< the pointer is a pen
  bool IsEraser = false;         ///< its eraser end
  bool IsRepeat = false;         ///< of KeyDown: the key is being held
  float X = 0, Y = 0;            ///< pixels of the window, from its upper left corner; fractions where the device has them
  float Pressure = 1;            ///< 0 .. 1; 1 where there is no pen
  float TiltX = 0, TiltY = 0;    ///< -1 .. 1 of the device's range; right and towards the person are positive
  float WheelX = 0, WheelY = 0;  ///< notches; up and right are positive
  int Key = 0;                   ///< code as in KeyTable; 0 for keys outside it
  double TimeSec = 0;            ///< when the device reported it, on the clock of the frames
  std::string Text;              ///< of Text and Drop
};
