#include "shell/core/GeneralCommands.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>

#include "ClassEngine/ValueText.h"
#include "ClassEngine/ValueTypes.h"
#include "comms/Log.h"
#include "comms/SafeFile.h"
#include "comms/Str.h"
#include "shell/core/DataPath.h"
#include "shell/core/InputFiles.h"
#include "shell/core/Utf8.h"

using comms::Format;

namespace {

class HelpParams : public CommandParameters {
  REFLECTED(HelpParams, CommandParameters)
 public:
  _str Command;
};
DECLARE_MEMBERS(HelpParams) { Member<_str>("Command", Command).Hint("Name of one command; empty: all"); }

class ReadXmlParams : public CommandParameters {
  REFLECTED(ReadXmlParams, CommandParameters)
 public:
  _str Class, File;
};
DECLARE_MEMBERS(ReadXmlParams) {
  Member<_str>("Class", Class).Hint("Name of a registered class");
  Member<_str>("File", File).Hint("XML file of one object");
}

class WriteXmlParams : public CommandParameters {
  REFLECTED(WriteXmlParams, CommandParameters)
 public:
  _str Class, File;
  bool Defaults = false;
};
DECLARE_MEMBERS(WriteXmlParams) {
  Member<_str>("Class", Class).Hint("Name of a registered class");
  Member<_str>("File", File).Hint("XML file to write");
  Member<_bool>("Defaults", Defaults).Hint("Write a fresh object, also where one of this class was read");
}

CommandResult RunHelp(const CommandTable& table, const HelpParams& parameters) {
  const std::string name = parameters.Command.ToString();
  const Command* one = name.empty() ? nullptr : table.Find(name);
  if (!name.empty() && !one) return CommandResult::Fail(table.DescribeUnknown(name));
  std::fputs((one ? table.DescribeCommand(*one) : table.DescribeAll()).c_str(), stderr);
  JsonArray commands;
  for (const Command& command : table.All())
    if (!one || one == &command) commands.AddEncoded(table.ListCommand(command).Text());
  return CommandResult::Done(JsonObject().Add("commands", commands));
}

// The reader's own sentence about a file that it refused for its size; empty where it did not.
std::string FindRefusal(const std::string& log) {
  const size_t reason = log.find("] is refused: ");
  if (reason == std::string::npos) return {};
  const size_t newLine = log.rfind('\n', reason), begin = newLine == std::string::npos ? 0 : newLine + 1;
  return log.substr(begin, log.find('\n', reason) - begin);
}

// Why no tree came out of a file.
std::string FindObstacle(const std::string& path) {
  std::error_code fault;
  const auto kind = std::filesystem::status(path, fault).type();
  if (kind == std::filesystem::file_type::directory) return "it is a folder";
  if (kind == std::filesystem::file_type::not_found) return std::strerror(ENOENT);
  if (kind != std::filesystem::file_type::regular) return "it is no regular file";  // opening a pipe would wait
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::strerror(errno);
  return file.get() <= 0 ? "no text stands in it" : "it holds no tag that is closed again with all that stands in it";
}

// False with one sentence: which file, what was found, what is expected.
bool ReadTree(const std::string& path, XmlNode& node, std::string& error) {
  std::string log;
  {
    const comms::LogRecorder recorder;
    if (node.ReadFile(path.c_str())) return true;
    log = recorder.Text();
  }
  error = FindRefusal(log);
  if (error.empty()) error = path + " can't be read as XML: " + FindObstacle(path) + "; an XML file of one object is expected.";
  return false;
}

/// Objects of registered classes, in and out; the last one read of each class is kept.
class XmlCommands {
 public:
  CommandResult Read(const ReadXmlParams& parameters) {
    const std::string className = parameters.Class.ToString();
    std::unique_ptr<BaseClass> object = Make(className);
    if (!object) return UnknownClass(className);
    const std::string path = FindInputFile(parameters.File.ToString());
    XmlNode node;
    std::string error;
    if (!ReadTree(path, node, error)) return CommandResult::NoInput(error);
    XmlErrorLog errors;
    if (!object->Load(&node, object.get(), &errors)) {
      const std::string_view said = TrimBlanks(errors.Messages.View());
      const std::string_view last = said.substr(said.rfind('\n') + 1);  // what ended the reading
      return CommandResult::NoInput(path + ": " + (last.empty() ? "is not an object of class " + className : std::string(last)));
    }

    JsonObject members;
    for (int32_t i = 0; i < object->GetElementCount(); ++i) {
      const char* name = object->GetElementName(i);
      BaseClass* type = object->GetElementType(i);
      if (!name || !type || !node.FindChild(name)) continue;
      void* data = object->GetElementData(i, object.get());
      BaseClass* receiver = BaseClass::GetReceiver(type, data);
      StrBuffer text;
      if (receiver->GetElementCount() == 0 && receiver->GetValueText(text, data, object->GetElementExtra(i), "value")) {
        members.AddBounded(name, text.View());
      } else {
        members.Add(name, JsonObject().Add("elements", receiver->GetElementCount()));
      }
    }
    JsonArray unknown;
    int32_t numUnknown = 0;
    for (int32_t i = 0; i < node.GetChildCount(); ++i) {
      const std::string_view name = node.GetChild(i)->GetNameView();
      if (object->GetExpansionRules() != 0 || object->FindElementIndex(name) >= 0) continue;
      if (++numUnknown <= MaxUnknown) unknown.Add(CutUtf8(name, MaxUnknownName));
    }
    m_Read[className] = std::move(object);
    JsonObject figures;
    figures.Add("class", className).Add("members", members).Add("unknown", unknown);
    if (numUnknown > MaxUnknown) figures.Add("unknownCount", numUnknown);
    if (!errors.Messages.View().empty()) figures.AddBounded("faults", errors.Messages.View());
    return CommandResult::Done(figures);
  }

  CommandResult Write(const WriteXmlParams& parameters) {
    const std::string className = parameters.Class.ToString(), path = parameters.File.ToString();
    const auto read = m_Read.find(className);
    const bool fresh = parameters.Defaults || read == m_Read.end();
    const std::unique_ptr<BaseClass> made = fresh ? Make(className) : nullptr;
    BaseClass* object = fresh ? made.get() : read->second.get();
    if (!object) return UnknownClass(className);
    XmlNode node;
    object->Save(&node, object);
    StrBuffer text;
    if (!node.Print(text, 0)) return CommandResult::NoOutput(path + ": the object is too large for a file");
    MakeFolderOf(path);  // where it can't be made, the writer tells what is wrong
    comms::SafeFileWriter file(path);
    file.Write(text.View().data(), text.View().size());
    if (!file.Commit()) return CommandResult::NoOutput(file.Error());
    return CommandResult::Done(
        JsonObject().Add("class", className).Add("file", path).Add("bytes", text.View().size()).Add("defaults", fresh));
  }

 private:
  static std::unique_ptr<BaseClass> Make(const std::string& className) {
    BaseClass* prototype = FindClass(className);
    return std::unique_ptr<BaseClass>(prototype && prototype->IsReflected() ? prototype->New() : nullptr);
  }
  static CommandResult UnknownClass(const std::string& className) {
    return CommandResult::Fail(Format("there is no registered class '%s'", className.c_str()));
  }
  // Names of tags that the class doesn't know: so many, and so much of each, are answered.
  static constexpr int32_t MaxUnknown = 100;
  static constexpr size_t MaxUnknownName = 100;

  std::map<std::string, std::unique_ptr<BaseClass>> m_Read;
};

}  // namespace

void AddGeneralCommands(CommandTable& table) {
  table.Add<HelpParams>("Help",
                        "Lists the commands with their parameters, for programs in the answer and for people on standard error.",
                        [&table](const HelpParams& parameters) { return RunHelp(table, parameters); });
  table.Add<NoParameters>("Quit", "Ends the run; lines behind it are not read.", [](const NoParameters&) {
    CommandResult result = CommandResult::Done();
    result.EndsRun = true;
    return result;
  });
  const auto xml = std::make_shared<XmlCommands>();
  table.Add<ReadXmlParams>("ReadXml", "Reads an object of a registered class and tells the members that the file held.",
                           [xml](const ReadXmlParams& parameters) { return xml->Read(parameters); }, {"Class", "File"});
  table.Add<WriteXmlParams>("WriteXml", "Writes an object of a registered class: the one that ReadXml read last, or a fresh one.",
                            [xml](const WriteXmlParams& parameters) { return xml->Write(parameters); }, {"Class", "File"});
}
