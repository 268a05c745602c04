#include "shell/app/App.h"

#include <oneapi/tbb/global_control.h>

#include <cstdio>
#include <iostream>
#include <memory>

#include "MC/room/RoomCommands.h"
#include "MC/room/VoxelScene.h"
#include "comms/Log.h"
#include "comms/Str.h"
#include "comms/cMeshIO.h"
#include "shell/app/CrashCommand.h"
#include "shell/app/DataFolder.h"
#include "shell/app/Options.h"
#include "shell/app/QuestionWindow.h"
#include "shell/app/WindowApp.h"
#include "shell/core/BatchRunner.h"
#include "shell/core/DataPath.h"
#include "shell/core/GeneralCommands.h"
#include "shell/platform/CrashHandler.h"
#include "shell/platform/Machine.h"

namespace {

constexpr char Usage[] =
    "usage: morvane [options] [MESH]         open the window, with a mesh or with the sample sculpture\n"
    "       morvane [options] --batch FILE   run the commands of FILE, without a window\n"
    "       morvane [options] --mesh-job MESH  the sample job on a mesh, without a window\n";

/// What lives as long as the program: the scene, the messages, the commands.
class Program {
 public:
  Program(std::string dataFolder, BatchOptions options)
      : m_Scene(std::move(dataFolder)), m_Runner(m_Table, m_Messages, std::cout, options) {
    SetEngineHost(&m_Messages);
    AddGeneralCommands(m_Table);
    AddRoomCommands(m_Table, m_Scene, m_Messages);
    AddCrashCommand(m_Table);
    // Code is loaded from the program's own folder alone, never from where the run happens to be started.
    comms::cMeshIO::SetPluginFolder(comms::JoinPath(m_Scene.DataFolder(), "Plugins/MeshCodecs/"));
  }
  ~Program() { SetEngineHost(nullptr); }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  const CommandTable& Table() const { return m_Table; }
  int RunBatch(const std::string& path) { return m_Runner.RunFile(path); }
  /// The sample job on somebody's mesh.
  int RunMeshJob(const std::string& mesh) {
    const int code = m_Runner.RunCommand({"ImportMesh", {{"File", mesh}}}, "command line");
    return code != 0 ? code : m_Runner.RunFile(comms::JoinPath(m_Scene.DataFolder(), "Samples/mesh-job.batch"));
  }

 private:
  BatchMessages m_Messages;
  CommandTable m_Table;
  VoxelScene m_Scene;
  BatchRunner m_Runner;
};

int Fail(int code, const std::string& sentence) {
  std::fprintf(stderr, "morvane: %s\n", sentence.c_str());
  return code;
}

}  // namespace

int RunApp(const std::vector<std::string>& words, const BuildFacts& build) {
  Options options;
  std::string error;
  if (!ReadOptions(words, options, error)) return Fail(2, error);
  if (options.ShowVersion) {
    std::printf("morvane %s\n", build.Version.c_str());
    return 0;
  }
  if (options.ShowHelp) {
    const Program program({}, {});
    std::printf("%s\noptions:\n%s\ncommands of a batch file, one a line, as Name key=value key=\"value with blanks\":\n\n%s",
                Usage, DescribeOptions().c_str(), program.Table().DescribeAll().c_str());
    return 0;
  }
  const DataFolderPlaces places{options.DataFolder, GetProgramFile(), build.DataFolder};
  const std::string dataFolder = FindDataFolder(places, error);
  if (dataFolder.empty()) return Fail(3, error);
  if (options.AskAfterCrash) return AskToSaveAfterCrash(dataFolder);
  if (!options.SavedAfterCrash.empty()) return TellWorkIsSaved(dataFolder, options.SavedAfterCrash);
  if (!options.LostAfterCrash.empty()) return TellWorkIsLost(dataFolder, options.LostAfterCrash);

  // The folder is made by the window, or by a crash: a run without a window makes none of the person's.
  CrashOptions crash;
  crash.Folder = LookUpDataPath(dataFolder);
  crash.Version = "Morvane " + build.Version;
  crash.Reporter = GetReporterFile();
  if (!InstallCrashHandler(crash, error)) comms::LogWarning("%s", error.c_str());

  std::unique_ptr<tbb::global_control> threads;
  if (options.Threads > 0)
    threads = std::make_unique<tbb::global_control>(tbb::global_control::max_allowed_parallelism, size_t(options.Threads));
  if (options.BatchFile.empty() && options.MeshJob.empty())
    return RunWindow({build.Version, dataFolder, options.InputFile, options.Frames, options.Picture, options.OpenAutomate});
  Program program(dataFolder, {options.KeepGoing});
  return options.BatchFile.empty() ? program.RunMeshJob(options.MeshJob) : program.RunBatch(options.BatchFile);
}
