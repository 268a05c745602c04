#pragma once
// From SDL's keys to the codes of the key table.
#include <cstdint>

/// The code of the key table for SDL's keycode and scancode, 0 for keys outside it. Letters follow the keyboard's layout; keys
/// whose layout has no Latin letter there count by their place, and the row of digits always gives digits. `numLock` decides what
/// the keypad is.
int ToKeyCode(int32_t sdlKeycode, int sdlScancode, bool numLock);
/// InputEvent's modifier bits for SDL's.
uint8_t ToKeyModifiers(unsigned sdlModifiers);
