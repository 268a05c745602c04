// The tables of texts. A file is a list of entries:
//   <Language>
//     <Entry><Key>CANCEL</Key><Text>Cancel</Text></Entry>
//   </Language>
#include "interface/Language.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <functional>
#include <map>
#include <unordered_map>

#include "ClassEngine/ClassRegistry.h"
#include "ClassEngine/ValueTypes.h"
#include "ClassEngine/Xml.h"
#include "comms/SafeFile.h"
#include "comms/Str.h"
#include "shell/core/DataPath.h"
#include "shell/core/KeyTable.h"
#include "shell/core/ObjectFile.h"

namespace fs = std::filesystem;

namespace {

struct TextHash {
  using is_transparent = void;
  size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};
using TextTable = std::unordered_map<std::string, std::string, TextHash, std::equal_to<>>;
using Replacements = std::vector<std::pair<std::string, std::string>>;

struct Texts {
  TextTable Table;
  TextTable Missing;  // key to what is shown for it
  Replacements Words;
};

Texts& CurrentTexts() {
  static Texts texts;
  return texts;
}

// The digits of the prefix "{N}"; empty where the key has none.
std::string_view GroupDigits(std::string_view key) {
  if (key.empty() || key[0] != '{') return {};
  const size_t end = key.find_first_not_of("0123456789", 1);
  return end != std::string_view::npos && key[end] == '}' ? key.substr(1, end - 1) : std::string_view();
}

std::string_view WithoutGroup(std::string_view key) {
  const std::string_view digits = GroupDigits(key);
  return digits.empty() ? key : key.substr(digits.size() + 2);
}

bool IsWordByte(char symbol) {
  return (symbol >= '0' && symbol <= '9') || (symbol >= 'A' && symbol <= 'Z') || (symbol >= 'a' && symbol <= 'z') ||
         symbol == '_' || static_cast<unsigned char>(symbol) >= 0x80;
}

bool HasLetter(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](char symbol) { return IsWordByte(symbol) && !(symbol >= '0' && symbol <= '9'); });
}

// Whole words only: a pair for "Brush" leaves "Brushes" alone. What was put in is not looked at again.
std::string ReplaceWords(std::string text, const Replacements& words) {
  for (const auto& [from, to] : words) {
    for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at)) {
      const size_t end = at + from.size();
      const bool whole = (at == 0 || !IsWordByte(text[at - 1])) && (end == text.size() || !IsWordByte(text[end]));
      if (whole) text.replace(at, from.size(), to);
      at += whole ? to.size() : 1;
    }
  }
  return text;
}

bool ReadTextFile(const std::string& path, std::string& text, std::string& error) {
  std::vector<uint8_t> bytes;
  if (!comms::ReadWholeFile(path, bytes, error)) return false;
  text.assign(bytes.begin(), bytes.end());
  return true;
}

// Entries of another form are left out; the first one is told.
bool ParseTable(std::string_view text, const std::string& path, TextTable& table, std::string& error) {
  XmlNode root;
  if (!ParseQuietly(root, text) || root.GetNameView() != "Language") {
    error = "\"" + path + "\" is no language file: a whole <Language> node with <Entry> nodes is expected.";
    return false;
  }
  int32_t wrong = 0;
  for (int32_t i = 0; i < root.GetChildCount(); i++) {
    const XmlNode* entry = root.GetChild(i);
    const XmlNode *key = entry->FindChild("Key"), *value = entry->FindChild("Text");
    if (entry->GetNameView() != "Entry" || !key || !value || key->GetValueView().empty())
      wrong = wrong ? wrong : i + 1;
    else
      table[std::string(key->GetValueView())] = std::string(value->GetValueView());
  }
  if (!wrong) return true;
  error =
      comms::Format("Entry %d of \"%s\" is not of the form <Entry><Key>...</Key><Text>...</Text></Entry>.", wrong, path.c_str());
  return false;
}

bool ReadTable(const std::string& path, TextTable& table, std::string& error) {
  std::string text;
  return ReadTextFile(path, text, error) && ParseTable(text, path, table, error);
}

// Pairs of words apart by blanks, as "%s%s" reads them.
bool ReadReplacements(const std::string& path, Replacements& words, std::string& error) {
  if (!comms::FileExists(path)) return true;
  std::string text, from;
  if (!ReadTextFile(path, text, error)) return false;
  constexpr const char* Blanks = " \t\r\n";
  for (size_t at = text.find_first_not_of(Blanks); at != std::string::npos; at = text.find_first_not_of(Blanks, at)) {
    const size_t end = std::min(text.find_first_of(Blanks, at), text.size());
    const std::string word = text.substr(at, end - at);
    at = end;
    if (from.empty()) {
      from = word;
    } else {
      words.emplace_back(from, word);
      from.clear();
    }
  }
  if (from.empty()) return true;
  error =
      "\"" + path + "\" ends with the word \"" + from + "\", for which nothing stands behind it; pairs of words are expected.";
  return false;
}

std::string LanguageFolder(const std::string& dataFolder) { return comms::JoinPath(dataFolder, "Languages"); }

const char* TranslateForEngine(const char* key) { return HasText(key) ? GetText(key).c_str() : key; }

}  // namespace

bool HasText(std::string_view key) {
  const TextTable& table = CurrentTexts().Table;
  return table.find(WithoutGroup(key)) != table.end();
}

int GetTextGroup(std::string_view key) {
  const std::string_view digits = GroupDigits(key);
  int group = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), group);
  return group;
}

const std::string& GetText(std::string_view key) {
  key = WithoutGroup(key);
  Texts& texts = CurrentTexts();
  if (const auto found = texts.Table.find(key); found != texts.Table.end()) return found->second;
  if (const auto found = texts.Missing.find(key); found != texts.Missing.end()) return found->second;
  return texts.Missing.emplace(std::string(key), std::string(key)).first->second;
}

std::string ShowNumber(std::string text) {
  static const std::string key = "DECIMAL_SEPARATOR";
  const size_t point = HasText(key) ? text.find('.') : text.npos;
  return point == text.npos ? text : text.replace(point, 1, GetText(key));
}

std::string FillIn(std::string text, std::string_view word) {
  const size_t place = text.find("%s");
  return place == text.npos ? text : text.replace(place, 2, word);
}

std::string GetHintText(std::string_view key) {
  const TextTable& table = CurrentTexts().Table;
  const auto found = table.find(std::string(WithoutGroup(key)) + "_HINT");
  return found == table.end() ? std::string() : found->second;
}

std::string GetKeyText(std::string_view combo) {
  std::string text;
  while (!combo.empty()) {
    const size_t end = std::min(combo.find('+'), combo.size());
    const std::string word(combo.substr(0, end)), key = "Key." + word;
    text += (text.empty() ? "" : "+") + (HasText(key) ? GetText(key) : GetKeySign(word));
    combo.remove_prefix(std::min(end + 1, combo.size()));
  }
  return text;
}

bool LoadLanguage(const std::string& dataFolder, const std::string& name, std::string& error) {
  const std::string folder = LanguageFolder(dataFolder);
  Texts loaded;
  TextTable english;
  std::string sentences, sentence;
  const auto note = [&](bool done) {
    if (!done) sentences += (sentences.empty() ? "" : " ") + sentence;
    return done;
  };
  note(ParseTable(EnglishTexts, "English.xml of the build", english, sentence));
  if (!note(ReadTable(comms::JoinPath(folder, name + ".xml"), loaded.Table, sentence))) {
    TextTable instead = english;
    if (name != "English") note(ReadTable(comms::JoinPath(folder, "English.xml"), instead, sentence));
    loaded.Table.merge(instead);
  }
  for (const auto& entry : english)
    if (!loaded.Table.count(entry.first)) loaded.Missing.emplace(entry.first, entry.first);
  note(ReadReplacements(comms::JoinPath(folder, "replace.txt"), loaded.Words, sentence));
  if (!loaded.Words.empty())
    for (auto& [key, text] : loaded.Table) text = ReplaceWords(std::move(text), loaded.Words);
  CurrentTexts() = std::move(loaded);
  TranslateText = TranslateForEngine;
  if (sentences.empty()) return true;
  error = std::move(sentences);
  return false;
}

std::vector<std::string> ListLanguages(const std::string& dataFolder) {
  std::vector<std::string> names;
  std::error_code failed;
  for (fs::directory_iterator at(LanguageFolder(dataFolder), failed), end; !failed && at != end; at.increment(failed))
    if (at->path().extension() == ".xml" && at->path().filename() != "text.xml") names.push_back(at->path().stem().string());
  if (std::find(names.begin(), names.end(), "English") == names.end()) names.emplace_back("English");
  std::sort(names.begin(), names.end());
  return names;
}

REGISTER_CLASS(OneLang, nullptr);
DECLARE_MEMBERS(OneLang) {
  Member<_str>("Name", Name);
  Member<_str>("Own", Own).NoSave();
}

const char* OneLang::GetDisplayName(void*) { return Own.Empty() ? Name.Get() : Own.Get(); }

void ListLanguages(const std::string& dataFolder, ClonesArray<OneLang>& list) {
  list.Clear();
  for (const std::string& name : ListLanguages(dataFolder)) {
    auto* language = new OneLang;
    language->RegisterMembers();
    language->Name = name;
    TextTable table;
    std::string error;
    ReadTable(comms::JoinPath(LanguageFolder(dataFolder), name + ".xml"), table, error);  // a bad file is said when it is chosen
    if (const auto own = table.find(name); own != table.end()) language->Own = own->second;
    list.Add(language);
  }
}

bool WriteMissingTexts(const std::string& folder, std::string& error) {
  std::map<std::string, std::string> entries;
  for (const auto& missing : CurrentTexts().Missing)
    if (HasLetter(missing.first)) entries.insert(missing);
  if (entries.empty()) return true;
  const std::string path = comms::JoinPath(folder, "text.xml");
  TextTable listed;
  if (comms::FileExists(path) && !ReadTable(path, listed, error)) return false;
  for (const auto& [key, text] : listed) entries[key] = text;
  XmlNode root("Language");
  for (const auto& [key, text] : entries) {
    XmlNode* entry = root.AddChild(new XmlNode("Entry"));
    entry->AddChild(new XmlNode("Key", std::string_view(key)));
    entry->AddChild(new XmlNode("Text", std::string_view(text)));
  }
  if (!MakeFolderOf(path)) {
    error = "the folder of '" + path + "' can't be made";
    return false;
  }
  StrBuffer text;
  comms::SafeFileWriter writer(path);
  if (root.Print(text, 0) && writer.Write(text.Get(), size_t(text.Length)) && writer.Commit()) return true;
  error = writer.Error();
  return false;
}
