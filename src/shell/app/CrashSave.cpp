#include "shell/app/CrashSave.h"

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "MC/room/RoomHelpers.h"
#include "comms/Log.h"
#include "comms/Progress.h"
#include "comms/SafeFile.h"
#include "comms/Str.h"
#include "shell/app/QuestionWindow.h"
#include "shell/core/DataPath.h"
#include "shell/core/FileTitle.h"
#include "shell/core/RunGuarded.h"
#include "shell/platform/CrashHandler.h"
#include "shell/platform/CrashProcess.h"
#include "shell/platform/Machine.h"

namespace fs = std::filesystem;

namespace {

/// Changes after which the work is offered even where undo has come back to its beginning.
constexpr int ManyChanges = 1001;
/// Time for the save itself; the question waits for the person.
constexpr unsigned SaveSeconds = 300;
/// Begins the last line of a backup; a comment for readers of OBJ.
constexpr char VoxelSizeLine[] = "# VoxelSize ";
constexpr int64_t LongestLine = 64;
constexpr char BackupName[] = "AutoBackupOnCrash";
constexpr int MostBackups = 99;  ///< the last one is written over

CrashSave* s_Current = nullptr;

}  // namespace

std::string ChooseCrashBackup(const std::string& folder) {
  std::string path = comms::JoinPath(folder, std::string(BackupName) + ".obj");
  for (int number = 2; comms::FileExists(path) && number <= MostBackups; ++number)
    path = comms::JoinPath(folder, comms::Format("%s %d.obj", BackupName, number));
  return path;
}

std::string FindCrashBackup(const std::string& folder) {
  std::string newest;
  fs::file_time_type newestTime;
  for (const std::string& title : ListFileTitles(folder, ".obj")) {
    if (title != BackupName && !title.starts_with(std::string(BackupName) + " ")) continue;
    const std::string path = comms::JoinPath(folder, title + ".obj");
    std::error_code fault;
    const fs::file_time_type time = fs::last_write_time(path, fault);
    if (fault || (!newest.empty() && time <= newestTime)) continue;
    newest = path;
    newestTime = time;
  }
  return newest;
}

float ReadBackupVoxelSize(const std::string& path) {
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  const int64_t size = file.tellg();
  if (size <= 0) return 0;
  file.seekg(std::max<int64_t>(0, size - LongestLine));
  const std::string end{std::istreambuf_iterator<char>(file), {}};
  const size_t at = end.rfind(VoxelSizeLine);
  float value = 0;
  if (at == std::string::npos) return 0;
  std::from_chars(end.data() + at + sizeof VoxelSizeLine - 1, end.data() + end.size(), value);
  return value > 0 && value <= 1e6f ? value : 0;
}

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
  if (Save(path, error))
    comms::LogInfo("%s is saved", path.c_str());
  else
    comms::LogError("The work was not saved: %s", error.c_str());
}

bool CrashSave::Save(const std::string& path, std::string& error) {
  if (!MakeFolderOf(path)) {
    error = path + ": the folder can't be made";
    return false;
  }
  const Command& command = *m_Parts.Commands.Find("ExportMesh");
  const auto parameters = m_Parts.Commands.ReadParameters(command, {{"File", path}}, error);
  if (!parameters) return false;
  const CommandResult result = RunGuarded(command, *parameters);
  error = result.Message;
  if (!result.Ok()) return false;
  const VolumeObject* volume = m_Parts.Scene.Current();
  if (!volume) return true;
  std::ofstream(path, std::ios::binary | std::ios::app) << VoxelSizeLine << GetVoxelSize(*volume) << "\n";
  return true;
}
