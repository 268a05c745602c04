#include "shell/core/GeneralCommands.h"

#include <cstdio>
#include <map>

#include "ClassEngine/ValueTypes.h"
#include "comms/Log.h"
#include "comms/SafeFile.h"
#include "comms/Str.h"
#include "shell/core/InputFiles.h"

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

/// Objects of registered classes, in and out; the last one read of each class is kept.
class XmlCommands {
 public:
  CommandResult Read(const ReadXmlParams& parameters) {
    const std::string className = parameters.Class.ToString();
    std::unique_ptr<BaseClass> object = Make(className);
    if (!object) return UnknownClass(className);
    const std::string path = FindInputFile(parameters.File.ToString());
    XmlNode node;
    {
      comms::LogRecorder log;  // the reader's own sentence becomes the answer
      if (!node.ReadFile(path.c_str())) return CommandResult::NoInput(LastLine(log.Text(), path + ": can't be read as XML"));
    }
    XmlErrorLog errors;
    if (!object->Load(&node, object.get(), &errors))
      return CommandResult::NoInput(path + ": is not an object of class " + className);

    JsonObject members;
    for (int32_t i = 0; i < object->GetElementCount(); ++i) {
      const char* name = object->GetElementName(i);
      BaseClass* type = object->GetElementType(i);
      if (!name || !type || !node.FindChild(name)) continue;
      void* data = object->GetElementData(i, object.get());
      BaseClass* receiver = BaseClass::GetReceiver(type, data);
      StrBuffer text;
      if (receiver->GetElementCount() == 0 && receiver->GetValueText(text, data, object->GetElementExtra(i), "value")) {
        members.Add(name, text.View());
      } else {
        members.Add(name, JsonObject().Add("elements", receiver->GetElementCount()));
      }
    }
    JsonArray unknown;
    for (int32_t i = 0; i < node.GetChildCount(); ++i)
      if (object->FindElementIndex(node.GetChild(i)->GetNameView()) < 0 && object->GetExpansionRules() == 0)
        unknown.Add(node.GetChild(i)->GetNameView());
    m_Read[className] = std::move(object);
    JsonObject figures;
    figures.Add("class", className).Add("members", members).Add("unknown", unknown);
    if (!errors.Messages.View().empty()) figures.Add("faults", errors.Messages.View());
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
  static std::string LastLine(std::string log, const std::string& fallback) {
    while (!log.empty() && log.back() == '\n') log.pop_back();
    return log.empty() ? fallback : log.substr(log.rfind('\n') + 1);
  }
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
