#pragma once
// From SDL's keys to the codes of the key table.
#include <cstdint>
#include <functional>
#include <map>
#include <string>

/// The code of the key table for SDL's keycode and scancode, 0 for keys outside it. Letters follow the keyboard's layout; keys
/// whose layout has no Latin letter there count by their place, and the row of digits always gives digits. `numLock` decides what
/// the keypad is.
int ToKeyCode(int32_t sdlKeycode, int sdlScancode, bool numLock);
/// For SetKeySigns: the signs of the keys that the layout has only by their place. `keycodeOf` gives SDL's keycode of a scancode.
std::map<int, std::string> ListKeySigns(const std::function<int32_t(int scancode)>& keycodeOf);
/// InputEvent's modifier bits for SDL's.
uint8_t ToKeyModifiers(unsigned sdlModifiers);
