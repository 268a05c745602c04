#pragma once
// The window's interface: menu bar, status line, docks with the panels of the room, the work view in the middle, and the actions
// behind menus and keys.
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "MC/room/SceneView.h"
#include "MC/room/VoxelScene.h"
#include "MC/room/VoxelSculptTool.h"
#include "interface/DockPanels.h"
#include "interface/IntfWidgets.h"
#include "interface/MenuBar.h"
#include "interface/PageLayouts.h"
#include "interface/ProgressBox.h"
#include "interface/StatusLine.h"
#include "interface/cWidgets.h"
#include "shell/app/MeasureTool.h"
#include "shell/app/SceneWidget.h"
#include "shell/app/StillImageTool.h"
#include "shell/core/Actions.h"
#include "shell/core/AppOptions.h"
#include "shell/core/CommandTable.h"
#include "shell/core/HotKeys.h"
#include "shell/core/NaviSystem.h"
#include "shell/core/ObjectFile.h"
#include "shell/core/Progress.h"
#include "shell/core/ToolInput.h"
#include "shell/platform/Tablet.h"

class OneLang;
class TextMenu;
class XmlNode;

/// What the form asks of the window; a test gives its own.
struct FormHost {
  std::function<void()> Close;            ///< the program is to end, and nothing stands against it
  bool AsksBeforeClose = true;            ///< false: changes of the scene don't stand against it (runs without a person)
  std::function<void()> KeepAlive;        ///< many times a second while a dialog of the desktop is open
  std::function<void()> WorkEnded;        ///< a command has ended that may have shown its progress
  std::function<void()> StoreScreenshot;  ///< the next picture of the window goes to a file
  std::function<PenState()> GetPenState;
  std::function<void(ClonesArray<OneLang>&)> ListLanguages;
  std::function<void()> ApplyOptions;        ///< theme, scale or language were changed
  std::function<float()> FrameMilliseconds;  ///< CPU time of the last frames, for the statistics
};

class MainForm {
 public:
  /// All outlive the form.
  struct Parts {
    cWidgets& Widgets;
    CommandTable& Commands;
    VoxelScene& Scene;
    AppOptions& Options;
    cSettings& Settings;
  };
  MainForm(const Parts& parts, FormHost host);
  ~MainForm();
  MainForm(const MainForm&) = delete;
  MainForm& operator=(const MainForm&) = delete;

  /// Builds the first page, from its stored layout where there is one.
  void Open();
  /// Before the end of the program: stores layout, hot keys and options.
  void Store();
  /// Stores options, hot keys and the page's layout that were changed since the last call: what ends without an orderly end loses
  /// none of them.
  void StoreChanges();
  /// Places everything in a window of that size.
  void Arrange();
  /// Makes menus and panels anew, after a change of language, theme or room.
  void Rebuild();

  /// Before the input of a frame: the camera and the work view are told to who needs them.
  void BeginFrame(double timeSec);
  /// Tells the tools where the camera is, as the input or the navigation has left it.
  void TellView();
  /// Lets the navigation move the camera.
  void ProcessNavy(double timeSec);
  /// The body of the frame: the tool's work, then the scene.
  void RunTool(double timeSec);
  /// `atBest`: with what otherwise waits until the view stands, for a picture that is kept.
  void DrawScene(comms::cRender& render, bool atBest = false);
  void DrawOverlay(Canvas& canvas);
  /// Keys that no widget wanted, and dropped files.
  bool OnUnhandled(const InputEvent& event);
  /// The key of the screenshot, which works over menus and boxes too. True: taken, no widget is to hear of it.
  bool OnAnywhere(const InputEvent& event);
  /// Opens a mesh file: imported and voxelised. False with one sentence in `error` and the scene as it was.
  bool OpenFile(const std::string& path, std::string& error);
  /// Says something in the status line for some seconds.
  void Say(const std::string& text, bool warning = false);
  /// Looks at the whole scene.
  void FrameScene();
  /// Looks at the current volume; at the whole scene where it is empty.
  void FrameObject();
  /// Goes on looking at the whole scene while it grows, without a transition, until the person has moved the view.
  void FollowScene();

  /// Ends the program; asks first where the scene holds changes that no file has.
  void RequestClose();
  /// Whether the scene holds volumes and is another than at the last export or KeepSceneState.
  bool IsSceneModified() const { return !m_Parts.Scene.Volumes().empty() && m_Parts.Scene.State() != m_KeptState; }
  /// What the scene holds now is no work that could be lost.
  void KeepSceneState() { m_KeptState = m_Parts.Scene.State(); }

  /// The box of long work, over whatever is there.
  void DrawProgress(Canvas& canvas, const ProgressFrame& progress);
  /// Whether the person asks the work to stop: Esc, or a press on the button of the box that was drawn last.
  bool CancelsProgress(const InputEvent& event) const { return m_ProgressBox.IsCancel(event); }

  /// Whether the next frame would differ from the last one.
  bool WantsFrame();
  const cRect& ViewRect() const { return m_Docks->SceneRect(); }
  NaviSystem& Navi() { return m_Navi; }
  Actions& GetActions() { return m_Actions; }
  HotKeys& Keys() { return m_HotKeys; }
  DockPanels& Docks() { return *m_Docks; }
  SceneViewOptions& ViewOptions() { return m_ViewOptions; }
  /// What a person gets who has chosen no quality of the view.
  void SetDeviceQuality(SceneQuality quality) { m_DeviceQuality = quality; }
  VoxelSculptTool& VoxelTool() { return m_VoxelTool; }
  MeasureTool& Measuring() { return m_MeasureTool; }
  StillImageTool& StillImages() { return m_StillImages; }
  SceneView& View() { return m_View; }
  /// Runs a command with its parameters as on a batch line; what fails is said in the status line.
  bool RunCommand(const std::string& line);
  /// The same for a line that is parsed, with the answer.
  CommandResult Run(const BatchLine& line);
  /// Applies the options that the form itself follows.
  void ApplyOptions();

 private:
  // MainActions.cpp
  void AddActions();
  void AddHistoryActions();
  int NextScale(int direction) const;
  void AddViewActions();
  void AddCameraActions();
  void AddRoomActions();
  void AddPanelActions();
  void ClearScene();
  void SwitchMeasuring();
  void BuildRoomTabs();
  // MainMenus.cpp
  void BuildMenus();
  void FillView(TextMenu& menu);
  void FillWindows(TextMenu& menu);
  void FillLanguages(TextMenu& menu);
  void FillLayouts(TextMenu& menu);
  void FillPresets(TextMenu& menu);
  void AskName(const char* title, const std::string& name, const std::function<bool(const std::string&)>& exists,
               const std::function<bool(const std::string&)>& store);
  void AskToDelete(const std::string& name, std::function<bool()> remove);
  /// A false answer is said in the status line.
  void DoAndSay(const std::function<bool()>& action);
  void ResetTool(BasicTool& tool);
  // MainPanels.cpp
  void AddPanels();
  BaseWidget* MakeToolsPanel();
  BaseWidget* MakeToolParams();
  BaseWidget* MakeViewPanel();
  BaseWidget* MakeStillImages();
  BaseWidget* MakeNaviControl();
  BaseWidget* MakeVoxTree();
  BaseWidget* MakeTabletPanel();
  BaseWidget* MakePreferences();
  BaseWidget* MakeHotKeys();
  BaseWidget* MakeCommands();
  BaseWidget* MakeRoomNote();
  void BuildDefaultLayout(int page);
  void InitRooms();

  SceneCamera GetSceneCamera() const;
  SceneViewport GetSceneViewport() const;
  SceneBox GetSceneBox() const;
  void StartTools();
  void LookFromHome();
  void ZoomView(float notches);
  void FitDepth();
  void UpdateStatus();
  CommandResult Perform(const Command& command, const CommandParameters& parameters);
  void ChooseFile(bool save, const char* titleKey, std::vector<std::string> patterns, const std::string& fileName,
                  std::function<void(const std::string& path)> chosen);
  void OpenMeshDialog();
  /// `done` is called after the file was written.
  void ExportDialog(std::function<void()> done = {});

  Parts m_Parts;
  FormHost m_Host;
  Actions m_Actions;
  HotKeys m_HotKeys;
  std::unique_ptr<HotKeyRunner> m_KeyRunner;
  NaviSystem m_Navi;
  ToolInput m_ToolInput;
  VoxelSculptTool& m_VoxelTool;  // the tools are in ToolList
  MeasureTool& m_MeasureTool;
  StillImageTool& m_StillImages;
  std::map<const BasicTool*, std::unique_ptr<XmlNode>> m_ToolDefaults;  // as the program brings them
  SceneView m_View;
  SceneViewOptions m_ViewOptions;
  SceneQuality m_DeviceQuality = SceneQuality::Normal;
  ChangeWatch m_OptionsWatch, m_SettingsWatch, m_ViewWatch, m_KeysWatch, m_PositionsWatch, m_ImagesWatch;
  std::unique_ptr<DockPanels> m_Docks;
  IntfWidget1* m_Top = nullptr;  // owned by the layer, as is what follows
  IntfWidget2* m_Foot = nullptr;
  MenuBar* m_MenuBar = nullptr;
  RowWidget* m_RoomTabs = nullptr;
  StatusLine* m_Status = nullptr;
  SceneWidget* m_SceneWidget = nullptr;
  std::string m_Said;
  bool m_SaidWarning = false, m_SayBegins = false;
  double m_SaidUntil = 0, m_TimeSec = 0, m_ViewMovedAt = -1, m_DisturbedAt = -1;
  uint32_t m_InputCount = 0;  // at the last frame
  comms::cMat4 m_LastView;
  Camera m_Followed;  // as FollowScene left it
  int m_MenuHash = 0;
  bool m_RebuildWanted = false, m_CloseAsked = false;
  bool m_LayoutSeen = false;                  // by StoreChanges, since the page was entered
  std::pair<uint64_t, uint64_t> m_KeptState;  // of the scene
  ProgressBox m_ProgressBox;
};
