#include "shell/app/SceneScript.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "comms/Str.h"
#include "shell/core/InputFiles.h"
#include "shell/core/RunGuarded.h"

bool SceneScript::Load(const CommandTable& table, const std::string& path, std::string& error) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    error = comms::Format("%s: the batch file can't be read: %s", path.c_str(), std::strerror(errno));
    return false;
  }
  std::vector<Line> lines;
  std::string text;
  for (int number = 1; std::getline(file, text); number++) {
    if (!text.empty() && text.back() == '\r') text.pop_back();
    Line line{{}, number};
    const Command* command = nullptr;
    if (!ParseBatchLine(text, line.Words, error)) {
      error = comms::Format("%s:%d: %s", path.c_str(), number, error.c_str());
      return false;
    }
    if (line.Words.Name.empty()) continue;
    if (!(command = table.Find(line.Words.Name))) {
      error = comms::Format("%s:%d: %s", path.c_str(), number, table.DescribeUnknown(line.Words.Name).c_str());
      return false;
    }
    if (command->Undoable) lines.push_back(std::move(line));
  }
  m_Table = &table;
  m_Path = path;
  m_Lines = std::move(lines);
  m_Next = 0;
  return true;
}

bool SceneScript::Step(std::string& error) {
  if (IsDone()) return true;
  const Line& line = m_Lines[m_Next++];
  const Command& command = *m_Table->Find(line.Words.Name);
  const InputFolderScope besideTheFile(comms::GetFolder(m_Path));
  const auto parameters = m_Table->ReadParameters(command, line.Words.Arguments, error);
  if (parameters) {
    const CommandResult result = RunGuarded(command, *parameters);
    if (result.Ok()) return true;
    error = result.Message;
  }
  error = comms::Format("%s:%d: %s: %s", m_Path.c_str(), line.Number, command.Name.c_str(), error.c_str());
  m_Lines.clear();
  return false;
}
