#include "shell/core/CommandTable.h"

#include <algorithm>

#include "ClassEngine/Assert.h"
#include "ClassEngine/ClassHelp.h"
#include "comms/Str.h"

using comms::Format;

DECLARE_MEMBERS(CommandParameters) {}
DECLARE_MEMBERS(NoParameters) {}

bool CommandParameters::IsGiven(const char* name) const { return std::find(Given.begin(), Given.end(), name) != Given.end(); }

// Letters to insert, drop or change between two names, whatever their case.
static size_t CountEdits(std::string_view a, std::string_view b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t change = diagonal + (comms::ToLowerAscii(a[i - 1]) != comms::ToLowerAscii(b[j - 1]));
      diagonal = row[j];
      row[j] = std::min({change, row[j] + 1, row[j - 1] + 1});
    }
  }
  return row[b.size()];
}

// The name nearest to a mistyped one; empty where none is near.
static std::string FindNearest(std::string_view name, const std::vector<std::string>& names) {
  if (name.size() > 100) return {};
  std::string nearest;
  size_t least = 3;
  for (const std::string& other : names)
    if (const size_t edits = CountEdits(name, other); edits < least) least = edits, nearest = other;
  return nearest;
}

static std::string Shorten(const std::string& text) { return text.size() <= 60 ? text : text.substr(0, 60) + "..."; }

void CommandTable::Insert(Command command) {
  MORVANE_ASSERT(!Find(command.Name));
  command.MakeParameters();  // makes the class known by name, to ReadXml as well
  m_Commands.push_back(std::move(command));
}

const Command* CommandTable::Find(const std::string& name) const {
  const auto found =
      std::find_if(m_Commands.begin(), m_Commands.end(), [&](const Command& command) { return command.Name == name; });
  return found == m_Commands.end() ? nullptr : &*found;
}

std::string CommandTable::DescribeUnknown(const std::string& name) const {
  std::vector<std::string> names;
  for (const Command& command : m_Commands) names.push_back(command.Name);
  const std::string nearest = FindNearest(name, names);
  return "there is no command '" + Shorten(name) + "'; " +
         (nearest.empty() ? std::string("Help lists them") : "'" + nearest + "' was probably meant");
}

std::unique_ptr<CommandParameters> CommandTable::ReadParameters(const Command& command,
                                                                const std::vector<BatchArgument>& arguments,
                                                                std::string& error) const {
  std::unique_ptr<CommandParameters> parameters = command.MakeParameters();
  std::vector<std::string> names;
  for (const MemberInfo& member : DescribeMembers(*parameters)) names.push_back(member.Name);
  for (const BatchArgument& argument : arguments) {
    if (std::find(names.begin(), names.end(), argument.Key) == names.end()) {
      const std::string nearest = FindNearest(argument.Key, names);
      error = command.Name + " has no parameter '" + Shorten(argument.Key) + "'";
      if (!nearest.empty()) {
        error += "; '" + nearest + "' was probably meant";
      } else {
        std::string list;
        for (const std::string& name : names) list += (list.empty() ? "; it takes " : ", ") + name;
        error += list.empty() ? "; it takes none" : list;
      }
      return nullptr;
    }
    if (!SetMemberFromText(*parameters, argument.Key, argument.Value, error)) {
      error.insert(0, command.Name + ": ");
      return nullptr;
    }
    parameters->Given.push_back(argument.Key);
  }
  for (const std::string& name : command.Required)
    if (!parameters->IsGiven(name.c_str())) {
      error = command.Name + " needs " + name + "=";
      return nullptr;
    }
  return parameters;
}

namespace {

// What a person and a program call the type of a parameter.
struct TypeWords {
  const char *Tag, *Person, *Program;
};
constexpr TypeWords s_TypeWords[] = {
    {"_bool", "true or false", "bool"},
    {"_cBool", "true or false", "bool"},
    {"_int", "whole number", "int"},
    {"CtrlISlider", "whole number", "int"},
    {"_cInt", "whole number", "int"},
    {"_cSliderI", "whole number", "int"},
    {"_cEditSliderI", "whole number", "int"},
    {"_cSliderRangedI", "whole number", "int"},
    {"_float", "number", "float"},
    {"CtrlFSlider", "number", "float"},
    {"_cFloat", "number", "float"},
    {"_cSliderF", "number", "float"},
    {"_cEditSliderF", "number", "float"},
    {"_cSliderRangedF", "number", "float"},
    {"_index", "one of", "choice"},
    {"_cIndex", "one of", "choice"},
    {"_str", "text", "text"},
    {"_cStr", "text", "text"},
    {"_cBind", "text", "text"},
    {"_cFloat2", "\"x y\"", "float2"},
    {"_cFloat3", "\"x y z\"", "point"},
    {"_cFloat4", "\"x y z w\"", "float4"},
    {"_cVec2i", "\"x y\" in whole numbers", "int2"},
    {"_cVec3i", "\"x y z\" in whole numbers", "int3"},
    {"_color", "AARRGGBB", "color"},
    {"_cColor", "AARRGGBB", "color"},
    {"_TextureID", "file name", "file"},
    {"_cImageID", "file name", "file"},
    {"_cImageFile", "file name", "file"},
    {"_cSoundFile", "file name", "file"},
    {"_cModelFile", "file name", "file"},
    {"_cAnimFile", "file name", "file"},
    {"_cCameraFile", "file name", "file"},
    {"_cBspFile", "file name", "file"},
    {"_cXmlFile", "file name", "file"},
};
const TypeWords& GetTypeWords(const MemberInfo& member) {
  for (const TypeWords& words : s_TypeWords)
    if (member.Type == words.Tag) return words;
  static const TypeWords other{"", "value", "value"};
  return other;
}

bool IsRequired(const Command& command, const MemberInfo& member) {
  return std::find(command.Required.begin(), command.Required.end(), member.Name) != command.Required.end();
}

// "number, 0.01 to 100, degrees; default 1"
std::string DescribeValue(const Command& command, const MemberInfo& member) {
  std::string text = GetTypeWords(member).Person;
  for (size_t i = 0; i < member.Entries.size(); ++i) text += (i ? ", " : " ") + member.Entries[i];
  if (member.HasRange) text += ", " + JsonNumber(member.MinValue) + " to " + JsonNumber(member.MaxValue);
  if (!member.Unit.empty()) text += ", " + member.Unit;
  if (IsRequired(command, member)) return text + "; required";
  return text + "; default " + (member.Default.empty() ? "\"\"" : QuoteBatchValue(member.Default));
}

}  // namespace

std::string CommandTable::DescribeCommand(const Command& command) const {
  std::string text = command.Name + "\n    " + command.Help + "\n";
  for (const MemberInfo& member : DescribeMembers(*command.MakeParameters())) {
    std::string line = "      " + member.Name + "=";
    line.resize(std::max<size_t>(line.size() + 1, 19), ' ');
    text += line + DescribeValue(command, member) + "\n" + std::string(19, ' ') + member.Hint + "\n";
  }
  return text;
}

std::string CommandTable::DescribeAll() const {
  std::string text;
  for (const Command& command : m_Commands) text += DescribeCommand(command) + "\n";
  return text;
}

JsonObject CommandTable::ListCommand(const Command& command) const {
  JsonArray parameters;
  for (const MemberInfo& member : DescribeMembers(*command.MakeParameters())) {
    JsonObject entry;
    entry.Add("name", member.Name).Add("type", GetTypeWords(member).Program).Add("help", member.Hint);
    entry.Add("required", IsRequired(command, member)).Add("default", member.Default);
    if (!member.Unit.empty()) entry.Add("unit", member.Unit);
    if (member.HasRange) entry.Add("min", member.MinValue).Add("max", member.MaxValue);
    JsonArray choices;
    for (const std::string& choice : member.Entries) choices.Add(choice);
    if (!choices.Empty()) entry.Add("choices", choices);
    parameters.AddEncoded(entry.Text());
  }
  return JsonObject()
      .Add("name", command.Name)
      .Add("help", command.Help)
      .Add("undoable", command.Undoable)
      .Add("parameters", parameters);
}
