#pragma once
// Runs the lines of a batch file against the command table.
//
// Every command answers with one line of JSON on the answer stream, flushed at once so that another program may drive this one
// through pipes:
//   {"command": "Dab", "ok": true, "ms": 12.5, ...figures}
//   {"command": "Dab", "ok": false, "ms": 0.2, "error": "..."}
// Boxes and questions that came up meanwhile follow as "messages". What a person reads goes to standard error, with file and
// line.
#include <iosfwd>
#include <string>

#include "shell/core/BatchLine.h"
#include "shell/core/CommandTable.h"
#include "shell/core/Messages.h"

struct BatchOptions {
  bool KeepGoing = false;  ///< go on behind a failure; the first one still decides the exit code
};

class BatchRunner {
 public:
  BatchRunner(const CommandTable& table, BatchMessages& messages, std::ostream& answers, BatchOptions options = {});

  /// Runs a file, "-" for standard input. Returns the exit code of the run so far, see Failure.
  int RunFile(const std::string& path);
  /// Runs all lines of `input`; `name` stands for it in messages.
  int RunStream(std::istream& input, const std::string& name);
  /// Runs one command that was never text, with whatever bytes in its values; `place` stands for it in messages.
  int RunCommand(const BatchLine& line, const std::string& place);

 private:
  int FailToRead(const std::string& name, const char* reason);
  bool RunLine(const std::string& text, const std::string& place);
  bool Perform(const BatchLine& line, std::string error, const std::string& place);
  bool Answer(const std::string& command, double milliseconds, const CommandResult& result);

  const CommandTable& m_Table;
  BatchMessages& m_Messages;
  std::ostream& m_Answers;
  BatchOptions m_Options;
  Failure m_FirstFailure = Failure::None;  // so far
};
