#pragma once
// Input as hands make it.
#include <string>
#include <string_view>

#include "shell/core/InputEvent.h"

inline InputEvent PointerEvent(InputKind kind, float x, float y, MouseButton button = MouseButton::None, uint8_t modifiers = 0,
                               uint8_t clicks = 1) {
  return {.Kind = kind, .Button = button, .Modifiers = modifiers, .Clicks = clicks, .X = x, .Y = y, .Text = {}};
}
inline InputEvent WheelEvent(float x, float y, float notches, uint8_t modifiers = 0) {
  return {.Kind = InputKind::Wheel, .Modifiers = modifiers, .X = x, .Y = y, .WheelY = notches, .Text = {}};
}
inline InputEvent KeyEvent(int key, uint8_t modifiers = 0, InputKind kind = InputKind::KeyDown) {
  return {.Kind = kind, .Modifiers = modifiers, .Key = key, .Text = {}};
}
inline InputEvent TextEvent(std::string_view text, double timeSec = 0) {
  return {.Kind = InputKind::Text, .TimeSec = timeSec, .Text = std::string(text)};
}
