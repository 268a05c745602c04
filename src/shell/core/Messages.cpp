#include "shell/core/Messages.h"

#include <utility>

#include "ClassEngine/Assert.h"
#include "comms/Log.h"
#include "comms/Str.h"

bool BatchMessages::ShowBox(const char* title, const char* text) {
  Keep({title, text, "OK"});
  return true;
}

int BatchMessages::Ask(const char* title, const char* text, const std::vector<std::string>& answers, int safe) {
  MORVANE_ASSERT(safe >= 0 && size_t(safe) < answers.size());
  Keep({title, text, answers[size_t(safe)]});
  return safe;
}

void BatchMessages::Keep(Record record) {
  comms::LogWarning("%s: %s [%s]", record.Title.c_str(), record.Text.c_str(), record.Answer.c_str());
  // A damaged file may raise a box a record; the answer line shows the first ones.
  constexpr size_t limit = 100;
  if (m_Records.size() < limit) m_Records.push_back(std::move(record));
}

void BatchMessages::Log(const char* text) { comms::LogInfo("%s", text); }

std::string BatchMessages::GetTempFileName() {
  return m_TemporaryFolder.empty() ? EngineHost::GetTempFileName() : comms::JoinPath(m_TemporaryFolder, "tempfile.temp");
}

std::vector<BatchMessages::Record> BatchMessages::Take() {
  if (const auto bytes = TakeMemoryFailure()) ShowBox("Fatal error", DescribeMemoryFailure(*bytes).c_str());
  return std::exchange(m_Records, {});
}
