#include "shell/app/WindowApp.h"

#include <oneapi/tbb/task_scheduler_observer.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <memory>
#include <thread>

#include "ClassEngine/pool.h"
#include "MC/room/RoomCommands.h"
#include "comms/Image.h"
#include "comms/Log.h"
#include "comms/Progress.h"
#include "comms/SafeFile.h"
#include "comms/Str.h"
#include "comms/cMeshIO.h"
#include "comms/render/DriverTime.h"
#include "comms/render/cRenderGL.h"
#include "interface/Clipboard.h"
#include "interface/Language.h"
#include "interface/draw/Theme.h"
#include "shell/app/CrashBackup.h"
#include "shell/app/CrashCommand.h"
#include "shell/app/CrashSave.h"
#include "shell/app/LogFile.h"
#include "shell/app/MainForm.h"
#include "shell/app/MainLoop.h"
#include "shell/app/SceneScript.h"
#include "shell/app/Splash.h"
#include "shell/app/WindowMessages.h"
#include "shell/core/DataPath.h"
#include "shell/core/GeneralCommands.h"
#include "shell/core/KeyTable.h"
#include "shell/core/WindowPlacement.h"
#include "shell/platform/CrashHandler.h"
#include "shell/platform/DesktopTheme.h"
#include "shell/platform/InstanceLock.h"
#include "shell/platform/Machine.h"

namespace {

/// The product's title: of the window and of its class.
constexpr char Title[] = "Morvane";

/// Time that the sample may take of each frame.
constexpr std::chrono::milliseconds ScriptBudget(12);

/// The system's clipboard for text fields.
class WindowClipboard : public Clipboard {
 public:
  explicit WindowClipboard(Window& window) : m_Window(window) { SetClipboard(this); }
  ~WindowClipboard() override { SetClipboard(nullptr); }
  std::string GetText() override { return m_Window.GetClipboard(); }
  void SetText(const std::string& text) override { m_Window.SetClipboard(text); }

 private:
  Window& m_Window;
};

/// Keeps the main thread on the first processor, so that its clocks agree. Threads inherit the mask of whoever starts them, so
/// the workers of parallel loops get the old one back as they begin to work, and a stack for the crash handler with it; the
/// driver's own threads are there already.
class MainThreadMask : public tbb::task_scheduler_observer {
 public:
  MainThreadMask() : m_Main(std::this_thread::get_id()) {
    sched_getaffinity(0, sizeof m_Old, &m_Old);
    cpu_set_t first;
    CPU_ZERO(&first);
    for (int i = 0; i < CPU_SETSIZE; i++)
      if (CPU_ISSET(i, &m_Old)) {
        CPU_SET(i, &first);
        break;
      }
    sched_setaffinity(0, sizeof first, &first);
    observe(true);
  }
  ~MainThreadMask() override {
    observe(false);
    sched_setaffinity(0, sizeof m_Old, &m_Old);
  }
  MainThreadMask(const MainThreadMask&) = delete;
  MainThreadMask& operator=(const MainThreadMask&) = delete;
  void on_scheduler_entry(bool) override {
    if (std::this_thread::get_id() == m_Main) return;
    sched_setaffinity(0, sizeof m_Old, &m_Old);
    UseCrashStack();
  }

 private:
  std::thread::id m_Main;
  cpu_set_t m_Old;
};

int Fail(const std::string& sentence) {
  comms::LogError("%s", sentence.c_str());  // the log says it on the terminal too
  return 2;
}

class WindowProgram {
 public:
  explicit WindowProgram(const WindowJob& job) : m_Job(job), m_Scene(job.ProgramData) {}
  ~WindowProgram() { Stop(); }
  WindowProgram(const WindowProgram&) = delete;
  WindowProgram& operator=(const WindowProgram&) = delete;

  int Run();

 private:
  bool StartFolders(std::string& error);
  void TakeSettingsAlong() const;
  bool StartWindow(std::string& error);
  void StartForm();
  void StartScene();
  void ApplyOptions();
  void ApplyTheme();
  void StoreWindowRect();
  void StoreMissingTexts();
  void StoreSettings();
  void KeepWithoutDisplay();
  bool KeepAtSignal();
  void LoadArrow();
  void FillCrashScene(CrashScene& scene);
  void StartOpenAutomate();
  bool OfferBackup();
  bool LoadBackup(const std::string& path);
  bool WorkOnScript();
  void StoreScreenshot();
  void Stop();

  WindowJob m_Job;
  InstanceLock m_Lock;
  std::string m_FirstPath;  // the data path of the first instance
  std::unique_ptr<LogFile> m_Log;
  cSettings m_Settings;
  AppOptions m_Options;
  DesktopTheme m_DesktopTheme;
  CommandTable m_Commands;
  VoxelScene m_Scene;
  Window m_Window;
  std::unique_ptr<comms::cRenderGL> m_Render;
  std::unique_ptr<Canvas> m_Canvas;
  std::unique_ptr<cWidgets> m_Widgets;
  std::unique_ptr<WindowMessages> m_Messages;
  std::unique_ptr<WindowClipboard> m_Clipboard;
  std::unique_ptr<MainForm> m_Form;
  std::unique_ptr<MainLoop> m_Loop;
  std::unique_ptr<ScreenProgress> m_Progress;
  std::unique_ptr<CrashSave> m_CrashSave;
  const comms::cRawMesh* m_MeshSeen = nullptr;  // by the crash report's facts
  std::unique_ptr<MainThreadMask> m_Mask;
  SceneScript m_Script;
  std::string m_LanguageShown;
  bool m_FormOpen = false, m_ScreenshotWanted = false;
};

bool WindowProgram::StartFolders(std::string& error) {
  if (!InitDataPath(m_Job.ProgramData, error)) return false;
  if (!m_Lock.Acquire(GetDataPath(), error)) return false;
  m_FirstPath = GetDataPath();
  if (m_Lock.IsSecond()) {
    SetDataPath(m_Lock.Folder() + "/", m_Job.ProgramData);
    TakeSettingsAlong();
  }
  m_Log = std::make_unique<LogFile>(GetFullPath("Log.txt"));
  comms::LogInfo("Morvane %s; data path %s", m_Job.Version.c_str(), GetDataPath().c_str());
  if (m_Lock.IsSecond()) {
    comms::LogWarning("%s is in use by another instance; this one writes into %s", m_FirstPath.c_str(), m_Lock.Folder().c_str());
    CrashOptions crash;
    crash.Folder = GetDataPath();
    crash.Version = "Morvane " + m_Job.Version;
    crash.Reporter = GetReporterFile();
    if (!InstallCrashHandler(crash, error)) return false;
  }
  m_Settings.RegisterMembers();
  m_Settings.Load();
  AppOptions::SetLanguages(ListLanguages(m_Job.ProgramData));
  m_Options.RegisterMembers();
  m_Options.Load();
  if (m_Options.Theme == ThemeChoice::System) m_DesktopTheme.Ask();
  return true;
}

// A second instance begins with what the person has set, and changes its own copy.
void WindowProgram::TakeSettingsAlong() const {
  for (const char* name : {"Options.xml", "HotKeys.xml", "Xmls", "Temp", "ToolsPresets", "UserData/Layouts"}) {
    const std::filesystem::path from = comms::JoinPath(m_FirstPath, name), to = GetFullPath(name);
    std::error_code fault;
    if (!std::filesystem::exists(from, fault)) continue;
    std::filesystem::create_directories(to.parent_path(), fault);
    std::filesystem::copy(from, to, std::filesystem::copy_options::recursive, fault);
    if (fault) comms::LogWarning("%s can't be taken along: %s", from.c_str(), fault.message().c_str());
  }
}

bool WindowProgram::StartWindow(std::string& error) {
  WindowPlacement placement;
  WindowRect stored;
  if (LoadWindowRect(stored)) placement = {stored.Left, stored.Top, stored.Right, stored.Bottom, stored.Maximized};
  m_Window.Lost = [this] { KeepWithoutDisplay(); };
  if (!m_Window.Create(Title, placement, error)) return false;
  m_Window.SwitchOffAccessKeys();
  m_Render = std::make_unique<comms::cRenderGL>();
  if (!m_Render->Init({m_Job.ProgramData, GetDataPath()}, error)) return false;
  m_Window.SetVerticalSync(m_Settings.VerticalSync);
  comms::cImage icon;
  std::string iconError;
  if (comms::LoadPng(comms::JoinPath(m_Job.ProgramData, "Icons/Icon.png"), icon, iconError))
    m_Window.SetIcon(icon);
  else
    comms::LogWarning("%s", iconError.c_str());
  LoadArrow();
  SetCrashText(GetCrashScene().AudioName, "none");
  SetCrashText(GetCrashScene().VideoName, m_Render->DeviceName());
  return true;
}

// The person's own arrow, or the program's, in place of the system's.
void WindowProgram::LoadArrow() {
  const std::string path = FindDataFile("Cursors/Arrow.ani");
  if (!comms::FileExists(path)) return;
  comms::cList<uint8_t> bytes;
  std::vector<CursorStep> steps;
  std::string error;
  if (!comms::ReadWholeFile(path, bytes, error))
    comms::LogWarning("%s", error.c_str());
  else if (!ReadAniCursor(bytes, steps, error) || !m_Window.SetArrow(steps, error))
    comms::LogWarning("%s: %s", path.c_str(), error.c_str());
}

void WindowProgram::FillCrashScene(CrashScene& scene) {
  SetCrashText(scene.UserInfo, comms::Format("Data path: %s\nLanguage: %s\nScale: %.2f", GetDataPath().c_str(),
                                             m_LanguageShown.c_str(), double(m_Widgets->Scale())));
  scene.Pointers = int(GetPool().GetLiveCount());
  const VolumeObject* volume = m_Scene.Current();
  SetCrashText(scene.Object, volume ? volume->Name : std::string());
  scene.Vertices = scene.Polygons = 0;
  if (volume)
    volume->RenderGroups.ForEach([&](const auto&, const RenderGroup& group) {
      scene.Vertices += group.Mesh->NumVertices;
      scene.Polygons += group.Mesh->NumIndices / 3;
    });
  scene.TargetWidth = m_Window.Width();
  scene.TargetHeight = m_Window.Height();
  const StrokeHistory& history = m_Scene.History();
  SetCrashText(scene.Undo, comms::Format("%zu of %zu steps", history.UndoSteps(), history.Steps()));
  SetCrashText(scene.Tool, GetCurrentTool().GetClassName());
  scene.VoxelTool = int(m_Form->VoxelTool().CurrentToolId);
  if (!m_Scene.Mesh() || m_Scene.Mesh() == m_MeshSeen) return;
  m_MeshSeen = m_Scene.Mesh();
  SetCrashText(scene.ObjectFile, m_Scene.MeshName());
  scene.NumMeshLoads++;
  scene.MeshLoadTimeSec = Window::Now();
}

void WindowProgram::StartForm() {
  m_Canvas = std::make_unique<Canvas>(*m_Render, m_Job.ProgramData);
  m_Widgets = std::make_unique<cWidgets>(*m_Canvas);
  m_Messages = std::make_unique<WindowMessages>(*m_Widgets);
  m_Messages->Render = m_Render.get();
  m_Clipboard = std::make_unique<WindowClipboard>(m_Window);
  SetEngineHost(m_Messages.get());
  AddGeneralCommands(m_Commands);
  AddRoomCommands(m_Commands, m_Scene, *m_Messages);
  AddCrashCommand(m_Commands);
  comms::cMeshIO::SetPluginFolder(comms::JoinPath(m_Job.ProgramData, "Plugins/MeshCodecs/"));

  FormHost host;
  host.Close = [this] { m_Loop->Quit(); };
  host.AsksBeforeClose = m_Job.FramesToRun == 0;
  host.KeepAlive = [this] {
    m_Loop->KeepAlive();
    // The dialog is another program's, and nobody may be there to close it.
    if (m_Window.EndSignal() == 0) return;
    const bool isKept = KeepAtSignal();
    StoreSettings();
    _exit(isKept ? 0 : 4);
  };
  host.WorkEnded = [this] { m_Progress->Finish(); };
  host.StoreScreenshot = [this] { m_ScreenshotWanted = true; };
  host.GetPenState = [this] { return m_Window.GetPenState(); };
  host.ListLanguages = [this](ClonesArray<OneLang>& list) { ListLanguages(m_Job.ProgramData, list); };
  host.ApplyOptions = [this] { ApplyOptions(); };
  host.FrameMilliseconds = [this] { return m_Loop->FrameMilliseconds; };
  ApplyOptions();
  m_Form = std::make_unique<MainForm>(MainForm::Parts{*m_Widgets, m_Commands, m_Scene, m_Options, m_Settings}, host);
  const SceneQuality quality = SuggestQuality(m_Render->DeviceName());
  m_Form->SetDeviceQuality(quality);
  // A software driver takes and returns megabytes for every draw call.
  if (quality == SceneQuality::Fast) KeepFreedMemory(size_t(128) << 20);
  m_Loop = std::make_unique<MainLoop>(m_Window, *m_Render, *m_Widgets, *m_Form, m_Settings, m_Options);
  m_Loop->MayClose = [this] {
    if (m_Window.EndSignal() != 0) return true;
    m_Form->RequestClose();
    return m_Loop->IsQuitting();
  };
  m_Loop->PlacementChanged = [this] { StoreWindowRect(); };
  m_Loop->ScaleChanged = [this] { ApplyOptions(); };
  m_Loop->Background = [this] {
    m_Messages->TellMemoryFailure();
    if (std::exchange(m_ScreenshotWanted, false)) {
      StoreScreenshot();
    }
    if (m_DesktopTheme.HasAnswer()) ApplyTheme();
    if (m_Options.Theme == ThemeChoice::System) m_DesktopTheme.FollowChange();
    m_CrashSave->Watch();
    return WorkOnScript();
  };
  m_Loop->EverySecond = [this] {
    RefreshCrashScene();
    m_Form->StoreChanges();
  };
  // Who only measures or takes a picture wants the window as it is.
  if (m_Job.FramesToRun == 0) m_Loop->StartSplash = std::make_unique<Splash>(Title, m_Job.Version, Window::Now());
  m_Messages->PumpOnce = [this] {
    WindowMessage message;
    return m_Loop->cWinMain_OneIterationOfMessageLoop(message, false) && m_Window.EndSignal() == 0;
  };
  m_Progress = std::make_unique<ScreenProgress>();
  m_Progress->Draw = [this](const ProgressFrame& frame) { m_Loop->DrawProgress(frame); };
  m_Progress->IsAsleep = [this] { return m_Window.IsAsleep() || m_Loop->BlockRender; };
  m_Progress->Clock = [] { return Window::Now(); };
  m_Progress->PumpMessages = [this] {
    InputEvent event;
    for (WindowMessage message; (message = m_Window.Poll(event)) != WindowMessage::None;) {
      const bool isInput = message == WindowMessage::Input;
      m_Loop->RequestFrame();  // the work draws none of what changed meanwhile
      if (message == WindowMessage::ScaleChanged) ApplyOptions();
      if (message == WindowMessage::Close || (isInput && m_Form->CancelsProgress(event))) m_Progress->Cancel();
      if (isInput && MainLoop::IsRelease(event)) m_Widgets->Queue(event);
    }
  };
  // Sizes are needed before the first page is laid out.
  m_Widgets->SetSize(m_Window.Width(), m_Window.Height(), m_Options.GetScale(m_Window.Scale()));
  m_Canvas->Begin(m_Window.Width(), m_Window.Height(), m_Widgets->Scale());
  m_Form->Open();
  m_FormOpen = true;
  AddCrashInfo([this](CrashScene& scene) { FillCrashScene(scene); });
  RefreshCrashScene();
  m_CrashSave = std::make_unique<CrashSave>(
      CrashSave::Parts{m_Scene, m_Window, m_Job.ProgramData, comms::JoinPath(m_FirstPath, "UserData"),
                       [this] { return m_Form->IsSceneModified() || m_Form->VoxelTool().IsStroking(); }});
}

void WindowProgram::ApplyTheme() {
  m_DesktopTheme.Take();
  const bool light = m_Options.Theme == ThemeChoice::Light ||
                     (m_Options.Theme == ThemeChoice::System && m_DesktopTheme.Last() == ThemePreference::Light);
  SetTheme(light ? ThemeKind::Light : ThemeKind::Dark);
  if (m_Widgets) {
    m_Widgets->ShowHints = m_Options.ShowHints;
    m_Widgets->HintDelay = double(m_Options.HintDelay);
    m_Widgets->RequestArrange();
  }
  if (m_Loop) m_Loop->RequestFrame();
}

void WindowProgram::ApplyOptions() {
  // The first question was asked before the window was made.
  if (m_Options.Theme == ThemeChoice::System && m_Loop) m_DesktopTheme.Ask();
  ApplyTheme();
  const std::string language = m_Options.LanguageName();
  if (language != m_LanguageShown) {
    StoreMissingTexts();
    std::string error;
    if (!LoadLanguage(m_Job.ProgramData, language, error)) comms::LogWarning("%s", error.c_str());
    m_LanguageShown = language;
    if (m_Form) m_Form->Rebuild();
  }
}

// For whoever completes the language; before the next one is loaded and at the end.
void WindowProgram::StoreMissingTexts() {
  std::string error;
  if (!m_LanguageShown.empty() && !WriteMissingTexts(GetFullPath("Languages"), error)) comms::LogWarning("%s", error.c_str());
}

void WindowProgram::StoreWindowRect() {
  const WindowPlacement placement = m_Window.GetPlacement();
  ::StoreWindowRect({placement.Left, placement.Top, placement.Right, placement.Bottom, placement.Maximised});
}

void WindowProgram::StoreSettings() {
  if (!m_FormOpen) return;
  StoreWindowRect();
  m_Form->Store();
  StoreMissingTexts();
}

// The window is gone, and with it whoever could be asked. The work first: storing settings asks more of a program in the midst of
// its frame.
void WindowProgram::KeepWithoutDisplay() {
  comms::SetProgressSink(nullptr);  // it would draw
  if (m_CrashSave && m_Job.FramesToRun == 0) m_CrashSave->SaveUnasked();
  StoreSettings();
}

// A session that ends waits for no answer. False where work is lost by it.
bool WindowProgram::KeepAtSignal() {
  comms::LogInfo("%s: the program ends without a question", sigabbrev_np(m_Window.EndSignal()));
  m_Form->VoxelTool().FinishStroke();
  // Runs that end by themselves hold nobody's work.
  return m_Job.FramesToRun > 0 || m_CrashSave->SaveUnasked();
}

void WindowProgram::StartScene() {
  std::string error;
  const bool hasBackup = OfferBackup();
  const std::string& file = m_Job.InputFile;
  const bool isThere =
      !file.empty()
          ? m_Form->OpenFile(file, error)
          : hasBackup || m_Script.Load(m_Commands, comms::JoinPath(m_Job.ProgramData, "Samples/first-sculpture.batch"), error);
  if (!isThere) {
    comms::LogWarning("%s", error.c_str());
    m_Form->Say(error, true);
  } else if (!file.empty()) {
    comms::LogInfo("%s is open", file.c_str());
  }
  if (m_Lock.IsSecond()) m_Form->Say(GetText("SECOND_INSTANCE"), true);
  m_Scene.History().Clear();  // here the person begins
  // A backup is there only here now.
  if (!hasBackup) m_Form->KeepSceneState();
  m_CrashSave->Begin();
}

// What a crash left, at the person's choice. True where it is in the scene.
bool WindowProgram::OfferBackup() {
  // Runs that end by themselves have nobody who answers, and what the first instance left waits for its next start.
  if (m_Job.FramesToRun > 0 || m_Lock.IsSecond()) return false;
  const std::string path = FindCrashBackup(ListCrashBackupFolders(comms::JoinPath(m_FirstPath, "UserData")));
  if (path.empty()) return false;
  const std::string question = GetText("PrevBackupFound") + "\n\n" + DescribeCrashBackup(path);
  enum { Load, Delete, Skip };
  switch (m_Messages->Ask("AutoBackup", question.c_str(), {"LOAD", "DELETE", "SKIP"}, Skip)) {
    case Load:
      return LoadBackup(path);
    case Delete:
      std::remove(path.c_str());
      return false;
    default:
      return false;
  }
}

bool WindowProgram::LoadBackup(const std::string& path) {
  std::string error;
  if (!ReadCrashBackup(m_Scene, path, error)) {
    comms::LogError("%s", error.c_str());
    m_Form->Say(error, true);
    return false;
  }
  m_Form->FrameScene();
  // Kept until the next one: the scene is not stored anywhere else yet.
  const std::string old = std::filesystem::path(path).replace_filename("AutoBackupOnCrash.loaded.mvb").string();
  if (std::rename(path.c_str(), old.c_str()) != 0)
    comms::LogWarning("%s can't be renamed to %s: %s", path.c_str(), old.c_str(), std::strerror(errno));
  comms::LogInfo("%s is loaded", path.c_str());
  return true;
}

// The sample grows before the person's eyes, a few strokes a frame; it waits while the person draws a stroke of their own.
bool WindowProgram::WorkOnScript() {
  if (m_Script.IsDone() || m_Form->VoxelTool().IsStroking()) return false;
  const auto started = std::chrono::steady_clock::now();
  const bool isModified = m_Form->IsSceneModified();
  while (!m_Script.IsDone() && std::chrono::steady_clock::now() - started < ScriptBudget) {
    std::string error;
    if (!m_Script.Step(error)) m_Form->Say(error, true);
  }
  m_Progress->Finish();
  if (!isModified) {
    if (m_Script.IsDone()) m_Scene.History().Clear();  // the sample is where the person begins
    m_Form->KeepSceneState();
  }
  m_Form->FollowScene();
  m_CrashSave->Begin();
  if (m_Script.IsDone()) comms::LogInfo("the sample sculpture is done");
  return true;
}

// Nobody waits for a picture in front of a box: what is done meanwhile stays in the queue of the window, in its order.
static bool SaveQuietly(const comms::cImage& image, const std::string& path, std::string& error) {
  comms::ProgressSink* const screen = comms::SetProgressSink(nullptr);
  const bool done = comms::SavePng(image, path, error);
  comms::SetProgressSink(screen);
  return done;
}

// "Screenshots/Morvane 001.png" and on, in the data path, that of the first instance.
void WindowProgram::StoreScreenshot() {
  comms::cImage image;
  std::string path, error;
  for (int number = 1; path.empty() || std::filesystem::exists(path); number++)
    path = comms::JoinPath(m_FirstPath, comms::Format("Screenshots/%s %03d.png", Title, number));
  if (!m_Loop->TakePicture(image))
    m_Form->Say("the window can't be read", true);
  else if (!MakeFolderOf(path) || !SaveQuietly(image, path, error))
    m_Form->Say(error.empty() ? path + ": the folder can't be made" : error, true);
  else
    m_Form->Say(path);
}

// The program has no client library of its own to speak through, and nobody has named one.
void WindowProgram::StartOpenAutomate() {
  if (m_Job.OpenAutomate.empty()) return;
  comms::LogInfo("oaInit args:%s", m_Job.OpenAutomate.c_str());
  comms::LogWarning("oaInit failed");
}

int WindowProgram::Run() {
  std::string error;
  FillKeyTable();
  if (!StartFolders(error)) return Fail(error);
  if (!StartWindow(error)) return Fail(error);
  m_Mask = std::make_unique<MainThreadMask>();
  StartForm();
  if (!m_Window.OpenTablet(error)) comms::LogInfo("no pen: %s", error.c_str());
  m_Window.Show();
  m_Loop->RenderIfPossible();
  const double driver = comms::DriverTime::Finish();
  comms::LogInfo("first frame after %.2f s; CPU time of the main thread: %.3f s in the graphics driver, %.3f s besides",
                 SecondsSinceStart(), driver, comms::GetThreadSeconds() - driver);
  StartOpenAutomate();
  StartScene();
  WindowMessage message;
  while (m_Loop->cWinMain_OneIterationOfMessageLoop(message, m_Job.FramesToRun > 0) && m_Window.EndSignal() == 0) {
    if (m_Job.FramesToRun > 0 && m_Script.IsDone() && m_Loop->FramesDrawn >= m_Job.FramesToRun) break;
    if (m_Job.FramesToRun > 0) m_Loop->RequestFrame();
  }
  if (m_Window.EndSignal() != 0) return KeepAtSignal() ? 0 : 4;
  if (m_Job.Picture.empty()) return 0;
  comms::cImage image;
  if (m_Loop->TakePicture(image) && comms::SavePng(image, m_Job.Picture, error)) return 0;
  comms::LogError("the picture was not stored: %s", error.empty() ? "nothing can be read from the window" : error.c_str());
  return 4;
}

// The pen first, then the scene, which is not saved, then what holds something of the device, the device, the window.
void WindowProgram::Stop() {
  m_Window.CloseTablet();
  m_DesktopTheme.Stop();
  m_CrashSave.reset();
  ForgetCrashInfo();
  StoreSettings();
  m_Progress.reset();
  m_Loop.reset();
  m_Form.reset();
  ReleaseTools();
  m_Scene.Clear();
  SetEngineHost(nullptr);
  m_Clipboard.reset();
  m_Messages.reset();
  m_Widgets.reset();
  m_Canvas.reset();
  m_Render.reset();
  m_Window.Destroy();
  m_Log.reset();
}

}  // namespace

int RunWindow(const WindowJob& job) { return WindowProgram(job).Run(); }
