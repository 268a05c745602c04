#pragma once
// Every command of the program, once: its name, the reflected object that holds its parameters, its handler, its help. Menus, hot
// keys, panels and batch lines are views of this table.
//
// A parameter is a declared member of the parameter object: its name, type, range, default, unit and help are taken from that
// declaration and stand nowhere else.
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ClassEngine/BaseClass.h"
#include "shell/core/BatchLine.h"
#include "shell/core/CommandResult.h"

/// Base of all parameter objects.
class CommandParameters : public BaseClass {
  REFLECTED(CommandParameters, BaseClass)
 public:
  std::vector<std::string>
      Given;  ///< names of the parameters that were set by whoever runs the command; the others are at their defaults
  bool IsGiven(const char* name) const;
};

/// Parameters of a command that has none.
class NoParameters : public CommandParameters {
  REFLECTED(NoParameters, CommandParameters)
};

struct Command {
  std::string Name;                   ///< CamelCase, beginning with a verb where it does something
  std::string Help;                   ///< one or two sentences for the listing
  bool Undoable = false;              ///< changes the scene
  std::vector<std::string> Required;  ///< parameters that have no useful default and must be given
  /// A fresh parameter object at its defaults.
  std::function<std::unique_ptr<CommandParameters>()> MakeParameters;
  /// Does the work. What fails leaves the scene as it was.
  std::function<CommandResult(const CommandParameters& parameters)> Run;
};

class CommandTable {
 public:
  CommandTable() = default;
  CommandTable(const CommandTable&) = delete;
  CommandTable& operator=(const CommandTable&) = delete;

  /// Enters a command with parameter class P. A name is entered once.
  template <class P>
  void Add(std::string name, std::string help, std::function<CommandResult(const P&)> run, std::vector<std::string> required = {},
           bool undoable = false) {
    const auto make = [] {
      auto parameters = std::make_unique<P>();
      parameters->RegisterMembers();
      return parameters;
    };
    Insert({std::move(name), std::move(help), undoable, std::move(required), make,
            [run = std::move(run)](const CommandParameters& parameters) { return run(static_cast<const P&>(parameters)); }});
  }

  /// Null where there is none of that name; the case of letters counts.
  const Command* Find(const std::string& name) const;
  /// In the order in which they were entered.
  const std::vector<Command>& All() const { return m_Commands; }
  /// A sentence about a name that is not in the table; tells the name that was probably meant.
  std::string DescribeUnknown(const std::string& name) const;

  /// A parameter object filled from the words of a line. Null with one sentence in `error` where a key is unknown, a required one
  /// is missing, or a value can't be read or is out of range.
  std::unique_ptr<CommandParameters> ReadParameters(const Command& command, const std::vector<BatchArgument>& arguments,
                                                    std::string& error) const;

  /// What a person reads: name, help and every parameter with type, range, default and help.
  std::string DescribeCommand(const Command& command) const;
  /// DescribeCommand of all.
  std::string DescribeAll() const;
  /// The same as an object, for programs.
  JsonObject ListCommand(const Command& command) const;

 private:
  void Insert(Command command);
  std::vector<Command> m_Commands;
};
