#include "shell/platform/KeyMap.h"

#include <SDL.h>

#include <set>

#include "shell/core/InputEvent.h"
#include "shell/core/KeyTable.h"

namespace {

/// Keys whose place alone says what they are.
int FromPlace(int scancode) {
  if (scancode >= SDL_SCANCODE_F1 && scancode <= SDL_SCANCODE_F12) return KeyF1 + (scancode - SDL_SCANCODE_F1);
  if (scancode >= SDL_SCANCODE_1 && scancode <= SDL_SCANCODE_9) return '1' + (scancode - SDL_SCANCODE_1);
  if (scancode == SDL_SCANCODE_0) return '0';
  return 0;
}

int FromName(int32_t keycode) {
  switch (keycode) {
    case SDLK_ESCAPE:
      return KeyEsc;
    case SDLK_BACKSPACE:
      return KeyBackspace;
    case SDLK_TAB:
      return KeyTab;
    case SDLK_CAPSLOCK:
      return KeyCapsLock;
    case SDLK_INSERT:
      return KeyInsert;
    case SDLK_DELETE:
      return KeyDelete;
    case SDLK_HOME:
      return KeyHome;
    case SDLK_END:
      return KeyEnd;
    case SDLK_PAGEUP:
      return KeyPageUp;
    case SDLK_PAGEDOWN:
      return KeyPageDown;
    case SDLK_UP:
      return KeyUp;
    case SDLK_DOWN:
      return KeyDown;
    case SDLK_LEFT:
      return KeyLeft;
    case SDLK_RIGHT:
      return KeyRight;
    case SDLK_RETURN:
    case SDLK_RETURN2:
    case SDLK_KP_ENTER:
      return KeyEnter;
    case SDLK_LSHIFT:
    case SDLK_RSHIFT:
      return KeyShift;
    case SDLK_LCTRL:
    case SDLK_RCTRL:
      return KeyControl;
    case SDLK_LALT:
    case SDLK_RALT:
      return KeyAlt;
    case SDLK_SPACE:
      return KeySpace;
    case SDLK_KP_MINUS:
      return KeyMinus;
    case SDLK_KP_PLUS:
      return KeyEquals;
    case SDLK_KP_DIVIDE:
      return KeySlash;
    default:
      return 0;
  }
}

int FromPunctuation(int32_t keycode) {
  switch (keycode) {
    case '-':
      return KeyMinus;
    case '=':
      return KeyEquals;
    case '\\':
      return KeyBackslash;
    case '[':
      return KeyLeftBracket;
    case ']':
      return KeyRightBracket;
    case ';':
      return KeySemicolon;
    case '\'':
      return KeyQuote;
    case ',':
      return KeyComma;
    case '.':
      return KeyPeriod;
    case '/':
      return KeySlash;
    case '`':
      return KeyGrave;
    default:
      return 0;
  }
}

int FromKeypad(int scancode, bool numLock) {
  static constexpr int navigation[10] = {KeyInsert, KeyEnd,   KeyDown, KeyPageDown, KeyLeft,
                                         0,         KeyRight, KeyHome, KeyUp,       KeyPageUp};
  if (scancode == SDL_SCANCODE_KP_PERIOD) return numLock ? KeyPeriod : KeyDelete;
  const int digit = scancode == SDL_SCANCODE_KP_0 ? 0 : scancode - SDL_SCANCODE_KP_1 + 1;
  if (digit < 0 || digit > 9) return 0;
  return numLock ? '0' + digit : navigation[digit];
}

/// What the key is on the keyboard that the table was made for.
int FromUsualPlace(int scancode) {
  if (scancode >= SDL_SCANCODE_A && scancode <= SDL_SCANCODE_Z) return 'A' + (scancode - SDL_SCANCODE_A);
  switch (scancode) {
    case SDL_SCANCODE_MINUS:
      return KeyMinus;
    case SDL_SCANCODE_EQUALS:
      return KeyEquals;
    case SDL_SCANCODE_LEFTBRACKET:
      return KeyLeftBracket;
    case SDL_SCANCODE_RIGHTBRACKET:
      return KeyRightBracket;
    case SDL_SCANCODE_BACKSLASH:
    case SDL_SCANCODE_NONUSHASH:
      return KeyBackslash;
    case SDL_SCANCODE_SEMICOLON:
      return KeySemicolon;
    case SDL_SCANCODE_APOSTROPHE:
      return KeyQuote;
    case SDL_SCANCODE_GRAVE:
      return KeyGrave;
    case SDL_SCANCODE_COMMA:
      return KeyComma;
    case SDL_SCANCODE_PERIOD:
      return KeyPeriod;
    case SDL_SCANCODE_SLASH:
      return KeySlash;
    default:
      return 0;
  }
}

/// As it is printed on the key; empty for a dead key, which gives no character of its own.
std::string PrintSign(int32_t keycode) {
  if (keycode <= ' ' || (keycode & SDLK_SCANCODE_MASK)) return {};
  const bool isSmallLatin = keycode >= 0xE0 && keycode <= 0xFE && keycode != 0xF7;
  return SDL_GetKeyName(isSmallLatin ? keycode - 0x20 : keycode);
}

}  // namespace

std::map<int, std::string> ListKeySigns(const std::function<int32_t(int scancode)>& keycodeOf) {
  std::set<int> named;
  std::map<int, std::string> signs;
  for (int scancode = 0; scancode < SDL_NUM_SCANCODES; ++scancode) {
    const int32_t keycode = keycodeOf(scancode);
    const int key = ToKeyCode(keycode, scancode, false), byName = FromPunctuation(keycode);
    if (byName && key == byName) named.insert(key);
    const int byPlace = FromUsualPlace(scancode);
    if (!byPlace || (byPlace >= 'A' && byPlace <= 'Z')) continue;
    std::string& sign = signs[byPlace];
    if (key == byPlace && sign.empty()) sign = PrintSign(keycode);
  }
  for (const int key : named) signs.erase(key);
  return signs;
}

int ToKeyCode(int32_t sdlKeycode, int sdlScancode, bool numLock) {
  if (const int key = FromPlace(sdlScancode)) return key;
  if (const int key = FromName(sdlKeycode)) return key;
  if (const int key = FromKeypad(sdlScancode, numLock)) return key;
  if (sdlKeycode >= 'a' && sdlKeycode <= 'z') return 'A' + (sdlKeycode - 'a');
  if (sdlKeycode >= '0' && sdlKeycode <= '9') return sdlKeycode;
  if (const int key = FromPunctuation(sdlKeycode)) return key;
  return FromUsualPlace(sdlScancode);
}

uint8_t ToKeyModifiers(unsigned sdlModifiers) {
  unsigned result = 0;
  if (sdlModifiers & KMOD_SHIFT) result |= ModShift;
  if (sdlModifiers & KMOD_CTRL) result |= ModControl;
  if (sdlModifiers & KMOD_ALT) result |= ModAlt;
  if (sdlModifiers & KMOD_GUI) result |= ModSuper;
  return uint8_t(result);
}
