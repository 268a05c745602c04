#include "shell/core/BatchRunner.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <iostream>

#include "comms/Log.h"
#include "comms/Str.h"
#include "shell/core/BatchProgress.h"
#include "shell/core/InputFiles.h"
#include "shell/core/RunGuarded.h"

using comms::Format;

namespace {

/// Lines of a stream of any length; of a line past the limit only as much is kept as shows that it is too long.
class LineReader {
 public:
  explicit LineReader(std::istream& input) : m_Buffer(*input.rdbuf()) {}

  /// False at the end of the stream.
  bool Next(std::string& line) {
    constexpr int end = std::char_traits<char>::eof();
    line.clear();
    int c = m_Buffer.sbumpc();
    if (c == end) return false;
    for (; c != end && c != '\n'; c = m_Buffer.sbumpc())
      if (line.size() <= MaxBatchLine + 1) line += char(c);
    if (m_First && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
    m_First = false;
    return true;
  }

 private:
  std::streambuf& m_Buffer;
  bool m_First = true;
};

}  // namespace

BatchRunner::BatchRunner(const CommandTable& table, BatchMessages& messages, std::ostream& answers, BatchOptions options)
    : m_Table(table), m_Messages(messages), m_Answers(answers), m_Options(options) {}

int BatchRunner::RunFile(const std::string& path) {
  if (path == "-") return RunStream(std::cin, "standard input");
  std::ifstream file(path, std::ios::binary);
  if (!file) return FailToRead(path, std::strerror(errno));
  const InputFolderScope besideTheFile(comms::GetFolder(path));
  return RunStream(file, path);
}

int BatchRunner::FailToRead(const std::string& name, const char* reason) {
  comms::LogError("%s: the batch file can't be read: %s", name.c_str(), reason);
  if (m_FirstFailure == Failure::None) m_FirstFailure = Failure::InputNotRead;
  return int(m_FirstFailure);
}

int BatchRunner::RunStream(std::istream& input, const std::string& name) {
  LineReader reader(input);
  std::string line;
  for (int number = 1;; ++number) {
    try {
      if (!reader.Next(line)) break;
    } catch (const std::ios_base::failure&) {  // a folder opens and fails here
      return FailToRead(name, std::strerror(errno));
    }
    if (!RunLine(line, Format("%s:%d", name.c_str(), number))) break;
  }
  return int(m_FirstFailure);
}

// False where the run ends behind this line.
bool BatchRunner::RunLine(const std::string& text, const std::string& place) {
  BatchLine line;
  std::string error;
  const bool isUnderstood = ParseBatchLine(text, line, error);
  return (isUnderstood && line.Name.empty()) || Perform(line, error, place);
}

int BatchRunner::RunCommand(const BatchLine& line, const std::string& place) {
  Perform(line, {}, place);
  return int(m_FirstFailure);
}

// A line that was read with the sentence `error`, empty where it was understood. False where the run ends behind it.
bool BatchRunner::Perform(const BatchLine& line, std::string error, const std::string& place) {
  CommandResult result;
  const auto start = std::chrono::steady_clock::now();
  const Command* command = nullptr;
  std::unique_ptr<CommandParameters> parameters;
  bool cancelled = false;
  if (!error.empty()) {
    result = CommandResult::Refuse(place + ": " + error);
  } else if (!(command = m_Table.Find(line.Name))) {
    result = CommandResult::Refuse(place + ": " + m_Table.DescribeUnknown(line.Name));
  } else if (!(parameters = m_Table.ReadParameters(*command, line.Arguments, error))) {
    result = CommandResult::Refuse(place + ": " + error);
  } else {
    BatchProgress progress;
    result = RunGuarded(*command, *parameters);
    cancelled = BatchProgress::IsCancelled();
    if (result.Kind == Failure::NotUnderstood) result.Message = place + ": " + result.Message;
    // What was asked to stop has not failed at its input or output.
    if (cancelled && !result.Ok()) result.Kind = Failure::CommandFailed;
  }
  const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;

  if (!result.Ok()) {
    const bool hasPlace = result.Message.starts_with(place);
    comms::LogError("%s", hasPlace ? result.Message.c_str() : (place + ": " + line.Name + ": " + result.Message).c_str());
    if (m_FirstFailure == Failure::None) m_FirstFailure = result.Kind;
  }
  if (cancelled) {  // also where the command was done before it heard: the run is not
    comms::LogError("%s: interrupted; the lines behind it are not run", place.c_str());
    if (m_FirstFailure == Failure::None) m_FirstFailure = Failure::CommandFailed;
  }
  if (!Answer(line.Name, took.count(), result)) {
    comms::LogError("the answers can't be written");
    if (m_FirstFailure == Failure::None) m_FirstFailure = Failure::OutputNotWritten;
    return false;
  }
  return !result.EndsRun && !cancelled && (result.Ok() || m_Options.KeepGoing);
}

bool BatchRunner::Answer(const std::string& command, double milliseconds, const CommandResult& result) {
  JsonObject answer;
  answer.Add("command", command).Add("ok", result.Ok()).AddEncoded("ms", Format("%.1f", milliseconds));
  if (!result.Ok()) answer.Add("error", result.Message);
  answer.Append(result.Figures);
  JsonArray messages;
  for (const BatchMessages::Record& record : m_Messages.Take())
    messages.AddEncoded(JsonObject().Add("title", record.Title).Add("text", record.Text).Add("answer", record.Answer).Text());
  if (!messages.Empty()) answer.Add("messages", messages);
  m_Answers << answer.Text() << '\n' << std::flush;
  return m_Answers.good();
}
