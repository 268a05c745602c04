#include "shell/app/CrashSave.h"

#include "comms/Log.h"
#include "comms/Progress.h"
#include "shell/app/CrashBackup.h"
#include "shell/app/QuestionWindow.h"
#include "shell/platform/CrashHandler.h"
#include "shell/platform/CrashProcess.h"
#include "shell/platform/Machine.h"

namespace {

/// Changes after which the work is offered even where undo has come back to its beginning.
constexpr int ManyChanges = 1001;
/// Time for the save itself; the question waits for the person.
constexpr unsigned SaveSeconds = 300;

CrashSave* s_Current = nullptr;

}  // namespace

CrashSave::CrashSave(Parts parts) : m_Parts(std::move(parts)) {
  m_Question = {GetProgramFile(), "--data", m_Parts.ProgramData, "--ask-after-crash"};
  for (const std::string& word : m_Question) m_QuestionWords.push_back(word.c_str());
  m_QuestionWords.push_back(nullptr);
  Begin();
  s_Current = this;
  SetSaveAfterCrash([] { s_Current->Run(); });
}

CrashSave::~CrashSave() {
  SetSaveAfterCrash(nullptr);
  s_Current = nullptr;
}

void CrashSave::Begin() {
  m_LastState = m_Parts.Scene.State();
  m_Changes = 0;
}

void CrashSave::Watch() {
  if (m_Parts.Scene.State() == m_LastState) return;
  m_LastState = m_Parts.Scene.State();
  ++m_Changes;
}

bool CrashSave::IsWorthSaving() const {
  return !m_Parts.Scene.Volumes().empty() && (m_Changes >= ManyChanges || m_Parts.IsModified());
}

void CrashSave::Run() {
  if (!IsWorthSaving()) return;
  // A window that answers nobody would stand before the question, and may hold the mouse.
  m_Parts.MainWindow.Abandon();
  if (RunFromCrash(m_QuestionWords.data()) == AnswerNo) return;
  LimitSaveAfterCrash(SaveSeconds);
  comms::SetProgressSink(nullptr);  // it would draw
  comms::LogInfo("Crash occured. Trying to save object...");
  const std::string path = ChooseCrashBackup(m_Parts.Folder);
  std::string error;
  if (WriteCrashBackup(m_Parts.Scene, path, error))
    comms::LogInfo("%s is saved", path.c_str());
  else
    comms::LogError("The work was not saved: %s", error.c_str());
}
