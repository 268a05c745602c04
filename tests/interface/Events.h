#pragma once
// Input as hands make it.
#include <string_view>

#include "shell/core/InputEvent.h"

inline InputEvent PointerEvent(InputKind kind, float x, float y, MouseButton button = MouseButton::None, uint8_t modifiers = 0,
                               uint8_t clicks = 1) {
  InputEvent event;
  event.Kind = kind;
  event.X = x;
  event.Y = y;
  event.Button = button;
  event.Modifiers = modifiers;
  event.Clicks = clicks;
  return event;
}
inline InputEvent WheelEvent(float x, float y, float notches, uint8_t modifiers = 0) {
  InputEvent event = PointerEvent(InputKind::Wheel, x, y, MouseButton::None, modifiers);
  event.WheelY = notches;
  return event;
}
inline InputEvent KeyEvent(int key, uint8_t modifiers = 0, InputKind kind = InputKind::KeyDown) {
  InputEvent event;
  event.Kind = kind;
  event.Key = key;
  event.Modifiers = modifiers;
  return event;
}
inline InputEvent TextEvent(std::string_view text, double timeSec = 0) {
  InputEvent event;
  event.Kind = InputKind::Text;
  event.Text = text;
  event.TimeSec = timeSec;
  return event;
}
