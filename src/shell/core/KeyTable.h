#pragma once
// The keys that the program knows. Key codes everywhere are those of this table, whatever the platform calls them.
#include <map>
#include <string>
#include <string_view>

#include "ClassEngine/dynarray.h"
#include "shell/core/InputEvent.h"

enum KeyCode : int {
  KeyNone = 0,
  KeyBackspace = 8,
  KeyTab = 9,
  KeyEnter = 13,
  KeyShift = 16,
  KeyControl = 17,
  KeyAlt = 18,
  KeyCapsLock = 20,
  KeyEsc = 27,
  KeySpace = 32,
  KeyPageUp = 33,
  KeyPageDown = 34,
  KeyEnd = 35,
  KeyHome = 36,
  KeyLeft = 37,
  KeyUp = 38,
  KeyRight = 39,
  KeyDown = 40,
  KeyInsert = 45,
  KeyDelete = 46,
  KeyF1 = 112,
  KeySemicolon = 186,
  KeyEquals = 187,
  KeyComma = 188,
  KeyMinus = 189,
  KeyPeriod = 190,
  KeySlash = 191,
  KeyGrave = 192,
  KeyLeftBracket = 219,
  KeyBackslash = 220,
  KeyRightBracket = 221,
  KeyQuote = 222
};

/// Codes in the order of the rows of the key-assignment dialog.
extern DynArray<int> KeyTable;
/// For a key code its position in KeyTable; 0 for codes that are not in it (Esc, too, stands at 0).
extern int KeyIndex[256];
/// Fills both and the enumerator "KEYCODES" (entry 0: "None"). Once, at the start; again does nothing.
void FillKeyTable();
bool IsKnownKey(int key);

/// "Esc", "F1", "A", "[", "Page Up"; empty for a code that is not in the table.
std::string GetKeyName(int key);
/// The code of such a name, but for the case of letters; 0 where there is none. "Escape", "Control", "Return" and the like are
/// understood.
int FindKeyByName(std::string_view name);

/// What the person's keyboard has printed on keys whose name stands on none of its own: "Ü" for KeyLeftBracket on a German one.
/// An empty sign: nobody can tell. Replaces what was set before.
void SetKeySigns(std::map<int, std::string> signs);
/// The sign to show for a key of that name; the name itself where it is on the keyboard or nothing better is known.
std::string GetKeySign(std::string_view name);
/// How well a person finds a key by what is shown for it: 2 its name is printed on it, 1 another sign is, 0 nobody can tell.
int RateKeySign(int key);

struct KeyCombo {
  int Key = 0;            ///< 0: no key
  uint8_t Modifiers = 0;  ///< KeyModifiers
  friend bool operator==(const KeyCombo&, const KeyCombo&) = default;
};
/// "Ctrl+Shift+A"; always in the order Ctrl, Shift, Alt, Super. Empty for no key.
std::string PrintKeyCombo(const KeyCombo& combo);
/// Modifiers in any order, blanks around "+" allowed. False where a word is unknown or the key is missing.
bool ParseKeyCombo(std::string_view text, KeyCombo& combo);
/// The key of an event with its modifiers. A modifier pressed alone is no modifier of itself.
KeyCombo GetKeyCombo(const InputEvent& event);
