#include "shell/core/KeyTable.h"

#include <utility>

#include "ClassEngine/Enumerator.h"
#include "comms/Str.h"

DynArray<int> KeyTable;
int KeyIndex[256];

namespace {

struct NamedKey {
  int Code;
  const char* Name;
};
constexpr NamedKey s_MiddleKeys[] = {
    {KeyMinus, "-"},
    {KeyEquals, "="},
    {KeyBackspace, "Backspace"},
    {KeyTab, "Tab"},
    {KeyCapsLock, "Caps Lock"},
    {KeyInsert, "Insert"},
    {KeyDelete, "Delete"},
    {KeyHome, "Home"},
    {KeyEnd, "End"},
    {KeyPageUp, "Page Up"},
    {KeyPageDown, "Page Down"},
    {KeyUp, "Up"},
    {KeyDown, "Down"},
    {KeyLeft, "Left"},
    {KeyRight, "Right"},
    {KeyBackslash, "\\"},
    {KeyEnter, "Enter"},
    {KeyLeftBracket, "["},
    {KeyRightBracket, "]"},
    {KeySemicolon, ";"},
    {KeyQuote, "'"},
    {KeyComma, ","},
    {KeyPeriod, "."},
    {KeySlash, "/"},
    {KeyShift, "Shift"},
    {KeyControl, "Ctrl"},
    {KeyAlt, "Alt"},
    {KeySpace, "Space"},
    {KeyGrave, "`"},
};
constexpr NamedKey s_OtherNames[] = {
    {KeyEsc, "Escape"},    {KeyEnter, "Return"}, {KeyControl, "Control"},   {KeyDelete, "Del"},    {KeyInsert, "Ins"},
    {KeyPageUp, "PageUp"}, {KeyPageUp, "PgUp"},  {KeyPageDown, "PageDown"}, {KeyPageDown, "PgDn"}, {KeyCapsLock, "CapsLock"},
};

struct NamedModifier {
  KeyModifiers Bit;
  int Key;  // whose code it is when pressed alone; 0: not in the table
  std::string_view Name, Other;
};
constexpr NamedModifier s_Modifiers[] = {
    {ModControl, KeyControl, "Ctrl", "Control"},
    {ModShift, KeyShift, "Shift", "Shift"},
    {ModAlt, KeyAlt, "Alt", "Option"},
    {ModSuper, 0, "Super", "Meta"},
};

std::map<int, std::string> s_Signs;

std::string_view Trim(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t");
  return first == text.npos ? std::string_view() : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

}  // namespace

void FillKeyTable() {
  if (KeyTable.Count) return;
  const auto add = [](int code) { KeyIndex[code] = KeyTable.Add(code); };
  const auto addRange = [&](int first, int last) {
    for (int code = first; code <= last; ++code) add(code);
  };
  add(KeyEsc);
  addRange(KeyF1, KeyF1 + 11);
  addRange('0', '9');
  for (const NamedKey& key : s_MiddleKeys) add(key.Code);
  addRange('A', 'Z');

  Enumerator& names = EnumRegistry::FindOrCreate("KEYCODES");
  names.Clear();
  names.Add("None", KeyNone);
  for (const int code : KeyTable) names.Add(GetKeyName(code).c_str(), code);
}

bool IsKnownKey(int key) {
  FillKeyTable();
  return key == KeyEsc || (key > 0 && key < 256 && KeyIndex[key] > 0);
}

std::string GetKeyName(int key) {
  if (key == KeyEsc) return "Esc";
  if (key >= KeyF1 && key < KeyF1 + 12) return comms::Format("F%d", key - KeyF1 + 1);
  if ((key >= '0' && key <= '9') || (key >= 'A' && key <= 'Z')) return std::string(1, char(key));
  for (const NamedKey& named : s_MiddleKeys)
    if (named.Code == key) return named.Name;
  return {};
}

int FindKeyByName(std::string_view name) {
  FillKeyTable();
  for (const int code : KeyTable)
    if (comms::EqualsNoCase(GetKeyName(code), name)) return code;
  for (const NamedKey& other : s_OtherNames)
    if (comms::EqualsNoCase(other.Name, name)) return other.Code;
  return KeyNone;
}

void SetKeySigns(std::map<int, std::string> signs) { s_Signs = std::move(signs); }

std::string GetKeySign(std::string_view name) {
  for (const auto& [key, sign] : s_Signs)
    if (!sign.empty() && GetKeyName(key) == name) return sign;
  return std::string(name);
}

int RateKeySign(int key) {
  const auto found = s_Signs.find(key);
  return found == s_Signs.end() ? 2 : found->second.empty() ? 0 : 1;
}

std::string PrintKeyCombo(const KeyCombo& combo) {
  const std::string key = GetKeyName(combo.Key);
  if (key.empty()) return {};
  std::string text;
  for (const NamedModifier& modifier : s_Modifiers)
    if (combo.Modifiers & modifier.Bit) text += std::string(modifier.Name) + "+";
  return text + key;
}

bool ParseKeyCombo(std::string_view text, KeyCombo& combo) {
  KeyCombo read;
  for (size_t plus; (plus = text.find('+')) != text.npos; text.remove_prefix(plus + 1)) {
    const std::string_view word = Trim(text.substr(0, plus));
    uint8_t bit = 0;
    for (const NamedModifier& modifier : s_Modifiers)
      if (comms::EqualsNoCase(word, modifier.Name) || comms::EqualsNoCase(word, modifier.Other)) bit = modifier.Bit;
    if (!bit) return false;
    read.Modifiers |= bit;
  }
  read.Key = FindKeyByName(Trim(text));
  if (read.Key == KeyNone) return false;
  combo = read;
  return true;
}

KeyCombo GetKeyCombo(const InputEvent& event) {
  KeyCombo combo{event.Key, event.Modifiers};
  for (const NamedModifier& modifier : s_Modifiers)
    if (modifier.Key && modifier.Key == event.Key) combo.Modifiers &= uint8_t(~modifier.Bit);
  return combo;
}
