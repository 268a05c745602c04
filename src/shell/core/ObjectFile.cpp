#include "shell/core/ObjectFile.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "ClassEngine/ClassHelp.h"
#include "ClassEngine/ClassRegistry.h"
#include "ClassEngine/EngineHost.h"
#include "ClassEngine/Xml.h"
#include "comms/Log.h"
#include "comms/SafeFile.h"
#include "comms/Str.h"
#include "shell/core/DataPath.h"

namespace fs = std::filesystem;

// The next store writes over the file; what the person had in it stays beside it.
static void KeepBadFile(const std::string& path) {
  std::error_code fault;
  fs::copy_file(path, path + ".bad", fs::copy_options::overwrite_existing, fault);
  if (fault) comms::LogWarning("%s: can't be kept as '.bad': %s", path.c_str(), fault.message().c_str());
}

static ObjectFileState Refuse(const std::string& path, const std::string& reason) {
  comms::LogWarning("%s: %s; the file is kept as '%s.bad' and not used", path.c_str(), reason.c_str(), path.c_str());
  KeepBadFile(path);
  return ObjectFileState::Damaged;
}

bool ParseQuietly(XmlNode& root, std::string_view text) {
  struct QuietHost : EngineHost {
    bool ShowBox(const char*, const char*) override { return false; }
    void Log(const char*) override {}
  } quiet;
  EngineHost* const before = SetEngineHost(&quiet);
  const bool sound = root.Parse(text) > 0;
  SetEngineHost(before);
  if (!sound) RenewXmlErrorBox();
  return sound;
}

// The words that a value of this kind may have; none where it is no choice among words.
static std::vector<std::string> WordsOf(const MemberInfo& member) {
  return member.Type == "_bool" ? std::vector<std::string>{"true", "false"} : member.Entries;
}

static std::string ListWords(const std::vector<std::string>& words) {
  constexpr size_t most = 12;
  std::string list;
  for (size_t i = 0; i < std::min(words.size(), most); i++) list += (i ? ", " : "") + words[i];
  return words.size() > most ? list + ", ..." : list;
}

// Where a value doesn't know its word, loading gives it a value of its own and says nothing. Once for each member of a class,
// however many of its objects the file holds; these stand under the name of their class.
static bool WarnOfUnknownWords(const BaseClass& object, const XmlNode& root, const std::string& path) {
  std::map<std::string, std::vector<MemberInfo>, std::less<>> known;
  std::set<std::string> said;
  std::vector<std::pair<const XmlNode*, const BaseClass*>> open{{&root, &object}};
  while (!open.empty()) {
    const auto [node, owner] = open.back();
    open.pop_back();
    const std::string className = owner ? owner->GetClassName() : "";
    auto members = known.find(className);
    if (members == known.end())
      members = known.emplace(className, owner ? DescribeMembers(*owner) : std::vector<MemberInfo>()).first;
    for (int32_t i = 0; i < node->GetChildCount(); i++) {
      const XmlNode& child = *node->GetChild(i);
      if (child.GetChildCount()) {
        open.emplace_back(&child, FindClass(child.GetNameView()));
        continue;
      }
      const std::string_view word = child.GetValueView();
      for (const MemberInfo& member : members->second) {
        if (member.Name != child.GetNameView()) continue;
        const std::vector<std::string> words = WordsOf(member);
        if (words.empty() || std::find(words.begin(), words.end(), word) != words.end()) continue;
        if (!said.insert(className + "." + member.Name).second) continue;
        comms::LogWarning("%s: <%s> holds '%s', expected one of: %s", path.c_str(), member.Name.c_str(),
                          std::string(word.substr(0, 60)).c_str(), ListWords(words).c_str());
      }
    }
  }
  return said.empty();
}

ObjectFileState LoadObjectFile(BaseClass& object, const std::string& path, const char* rootName) {
  const std::string wanted = rootName ? rootName : object.GetClassName();
  std::vector<uint8_t> bytes;
  std::string error;
  if (!comms::FileExists(path)) return ObjectFileState::Missing;
  if (!comms::ReadWholeFile(path, bytes, error)) return Refuse(path, error);
  XmlNode root;
  if (!ParseQuietly(root, {reinterpret_cast<const char*>(bytes.data()), bytes.size()}))
    return Refuse(path, "the text is no whole <" + wanted + ">");
  if (root.GetName() != wanted)
    return Refuse(path, "it holds <" + std::string(root.GetNameView().substr(0, 60)) + ">, expected <" + wanted + ">");

  XmlErrorLog errors;
  bool sound = object.Load(&root, &object, &errors);
  if (!errors.Messages.Empty()) comms::LogWarning("%s: %s", path.c_str(), errors.Messages.Get()), sound = false;
  sound = WarnOfUnknownWords(object, root, path) && sound;
  if (const std::string clamped = ClampToRanges(object); !clamped.empty())
    comms::LogWarning("%s: out of range and brought back: %s", path.c_str(), clamped.c_str()), sound = false;
  if (sound) return ObjectFileState::Loaded;
  KeepBadFile(path);
  return ObjectFileState::Repaired;
}

bool StoreObjectFile(BaseClass& object, const std::string& path, const char* rootName) {
  if (!MakeFolderOf(path)) return false;
  XmlNode root;
  object.Save(&root, &object);
  if (rootName) root.SetName(rootName);
  StrBuffer text;
  if (!root.Print(text, 0)) return comms::LogWarning("%s: too long to be written", path.c_str()), false;
  comms::SafeFileWriter file(path);
  file.Write(text.Get(), text.View().size());
  if (file.Commit()) return true;
  comms::LogWarning("%s", file.Error().c_str());
  return false;
}

bool ChangeWatch::IsChanged(BaseClass& object) {
  XmlNode root;
  StrBuffer text;
  object.Save(&root, &object);
  if (!root.Print(text, 0)) return false;  // storing says it
  const std::string before = std::exchange(m_Text, std::string(text.View()));
  return !before.empty() && before != m_Text;
}

std::string ClampToRanges(BaseClass& object) {
  std::string names, error;
  for (const MemberInfo& member : DescribeMembers(object)) {
    if (!member.HasRange) continue;
    const int32_t i = object.FindElementIndex(member.Name);
    if (i < 0) continue;
    double numbers[4] = {};
    void* data = object.GetElementData(i, &object);
    const int count = BaseClass::GetReceiver(object.GetElementType(i), data)->GetNumbers(data, numbers);
    bool outside = false;
    std::string text;
    for (int n = 0; n < count; ++n) {
      // Also true for what is no number.
      if (!(numbers[n] >= member.MinValue && numbers[n] <= member.MaxValue)) outside = true;
      const double valid = std::isnan(numbers[n]) ? member.MinValue : std::clamp(numbers[n], member.MinValue, member.MaxValue);
      text += comms::Format(n ? " %.9g" : "%.9g", valid);
    }
    if (!outside) continue;
    if (!SetMemberFromText(object, member.Name, text, error)) comms::LogWarning("%s", error.c_str());
    names += (names.empty() ? "" : ", ") + member.Name;
  }
  return names;
}
