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
  m_Question = MakeWords({"--ask-after-crash"});
  m_Failure = MakeWords({"--lost-after-crash", "The save did not come to its end: the crash has damaged too much."});
  Begin();
  s_Current = this;
  SetSaveAfterCrash([] { s_Current->Run(); });
}

CrashSave::Words CrashSave::MakeWords(std::initializer_list<std::string> words) const {
  Words made{{GetProgramFile(), "--data", m_Parts.ProgramData}, {}};
  made.Texts.insert(made.Texts.end(), words);
  for (const std::string& word : made.Texts) made.List.push_back(word.c_str());
  made.List.push_back(nullptr);
  return made;
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

void CrashSave::Run() const {
  if (!IsWorthSaving()) return;
  // A window that answers nobody would stand before the question, and may hold the mouse.
  m_Parts.MainWindow.Abandon();
  const int answer = RunFromCrash(m_Question.List.data());
  if (answer == AnswerNo) return;
  const bool isHeard = answer == AnswerYes;
  LimitSaveAfterCrash(SaveSeconds, isHeard ? m_Failure.List.data() : nullptr);
  comms::SetProgressSink(nullptr);  // it would draw
  comms::LogInfo("Crash occured. Trying to save object...");
  std::string told;
  const bool isSaved = Save(told);
  LimitSaveAfterCrash(0, nullptr);
  if (isHeard) Tell(isSaved ? "--saved-after-crash" : "--lost-after-crash", told);
}

bool CrashSave::SaveUnasked() const {
  std::string told;
  return !IsWorthSaving() || Save(told);
}

/// `told`: the path; where no folder takes it, the reason of each.
bool CrashSave::Save(std::string& told) const {
  for (const std::string& folder : ListCrashBackupFolders(m_Parts.Folder)) {
    const std::string path = ChooseCrashBackup(folder);
    std::string error;
    if (WriteCrashBackup(m_Parts.Scene, path, error)) {
      comms::LogWarning("The work is saved in %s; the next start offers it", path.c_str());
      told = path;
      return true;
    }
    comms::LogError("The work was not saved: %s", error.c_str());
    told += (told.empty() ? "" : "\n") + error;
  }
  return false;
}

// Not waited for: the process has nothing more to do.
void CrashSave::Tell(const char* option, const std::string& text) const {
  const Words words = MakeWords({option, text});
  StartFromCrash(words.List.data());
}
