// What the interface can do: the actions behind menus, hot keys and buttons.
#include <algorithm>
#include <cmath>

#include "MC/room/NewScene.h"
#include "comms/Str.h"
#include "interface/Button.h"
#include "interface/FileBrowser.h"
#include "interface/Language.h"
#include "interface/Layout.h"
#include "interface/MessageBoxWidget.h"
#include "interface/draw/Theme.h"
#include "shell/app/MainForm.h"
#include "shell/core/Pages.h"
#include "shell/platform/FileDialog.h"

static constexpr float RollStep = 15;  // degrees

static Action MakeAction(const char* name, const char* icon, std::vector<std::string> keys, std::function<void()> run,
                         std::function<bool()> isChecked = {}) {
  Action action;
  action.Name = name;
  action.TextKey = name;
  action.Icon = icon;
  action.DefaultKeys = std::move(keys);
  action.Run = std::move(run);
  action.IsChecked = std::move(isChecked);
  return action;
}

void MainForm::AddActions() {
  m_Actions.Add(MakeAction("OpenMesh", "Open", {"Ctrl+O"}, [this] { OpenMeshDialog(); }));
  Action& exporting = m_Actions.Add(MakeAction("ExportScene", "Save", {"Ctrl+E"}, [this] { ExportDialog(); }));
  exporting.IsEnabled = [this] { return !m_Parts.Scene.Volumes().empty(); };
  m_Actions.Add(MakeAction("NewSphere", "Sphere", {"Ctrl+N"}, [this] {
    MakeSphereVolume(m_Parts.Scene, "sphere", 1, 0.02f);
    FrameScene();
  }));
  m_Actions.Add(MakeAction("ClearScene", "Delete", {"Ctrl+Shift+N"}, [this] { ClearScene(); }));
  m_Actions.Add(MakeAction("QuitProgram", "Close", {"Ctrl+Q"}, [this] { RequestClose(); }));
  AddHistoryActions();
  AddCameraActions();
  AddViewActions();
  AddRoomActions();
  AddPanelActions();
}

void MainForm::AddHistoryActions() {
  const auto add = [this](const char* name, const char* textWithStep, std::vector<std::string> keys,
                          std::string (StrokeHistory::*stepName)() const) {
    Action action = MakeAction(name, name, std::move(keys), [this, name] { RunCommand(name); });
    const auto step = [this, stepName] { return (m_Parts.Scene.History().*stepName)(); };
    action.IsEnabled = [step] { return !step().empty(); };
    action.Text = [=] { return step().empty() ? GetText(name) : FillIn(GetText(textWithStep), GetText(step())); };
    m_Actions.Add(std::move(action));
  };
  add("Undo", "UNDO_STEP", {"Ctrl+Z"}, &StrokeHistory::UndoName);
  add("Redo", "REDO_STEP", {"Ctrl+Y", "Ctrl+Shift+Z"}, &StrokeHistory::RedoName);
}

void MainForm::AddCameraActions() {
  m_Actions.Add(MakeAction("FrameObject", "Frame", {"F"}, [this] { FrameObject(); }));
  m_Actions.Add(MakeAction("FrameScene", "Frame", {"Shift+F"}, [this] { FrameScene(); }));
  m_Actions.Add(MakeAction("ViewHome", "Home", {"Home"}, [this] { LookFromHome(); }));
  const struct {
    const char* Name;
    StandardView View;
    const char* Key;
  } views[] = {{"ViewFront", StandardView::Front, "1"}, {"ViewBack", StandardView::Back, "Ctrl+1"},
               {"ViewRight", StandardView::Right, "3"}, {"ViewLeft", StandardView::Left, "Ctrl+3"},
               {"ViewTop", StandardView::Top, "7"},     {"ViewBottom", StandardView::Bottom, "Ctrl+7"}};
  for (const auto& view : views)
    m_Actions.Add(MakeAction(view.Name, "Camera", {view.Key}, [this, side = view.View] { m_Navi.SetStandardView(side); }));
  m_Actions.Add(MakeAction(
      "ToggleOrthographic", "Orthographic", {"5"}, [this] { m_Navi.ToggleOrthographic(); },
      [this] { return m_Navi.View.Orthographic; }));
  const auto addRoll = [this](const char* name, const char* key, float degrees) {
    m_Actions.Add(MakeAction(name, "Camera", {key}, [this, degrees] { m_Navi.RollBy(degrees); })).Repeats = true;
  };
  addRoll("RollLeft", "Shift+4", -RollStep);
  addRoll("RollRight", "Shift+6", RollStep);
  m_Actions.Add(MakeAction("LevelView", "Camera", {"Shift+5"}, [this] { m_Navi.LevelView(); }));
  const auto addZoom = [this](const char* name, const char* icon, const char* key, float notches) {
    m_Actions.Add(MakeAction(name, icon, {key}, [this, notches] { ZoomView(notches); })).Repeats = true;
  };
  addZoom("ZoomIn", "Plus", "=", 1);
  addZoom("ZoomOut", "Minus", "-", -1);
}

void MainForm::AddViewActions() {
  const auto addSwitch = [this](const char* name, const char* icon, const char* key, bool& value) {
    m_Actions.Add(MakeAction(
        name, icon, {key}, [&value] { value = !value; }, [&value] { return value; }));
  };
  addSwitch("ShowGrid", "Grid", "G", m_Parts.Settings.ShowGrid);
  addSwitch("Wireframe", "Surface", "W", m_Parts.Settings.Wireframe);
  addSwitch("ShowStatistics", "Info", "F3", m_Parts.Settings.ShowStatistics);
  addSwitch("ShowStillImages", "Layers", "I", m_StillImages.Visible);
  m_Actions.Add(MakeAction(
      "FullScreen", "Window", {"F11"}, [this] { m_Parts.Settings.FullScreen = !m_Parts.Settings.FullScreen; },
      [this] { return m_Parts.Settings.FullScreen; }));
  m_Actions.Add(MakeAction("StoreScreenshot", "Camera", {"F12"}, [this] { m_Host.StoreScreenshot(); }));
  const auto addTheme = [this](const char* name, const char* icon, ThemeChoice choice) {
    m_Actions.Add(MakeAction(
        name, icon, {},
        [this, choice] {
          m_Parts.Options.Theme = choice;
          m_Host.ApplyOptions();
        },
        [this, choice] { return m_Parts.Options.Theme == choice; }));
  };
  addTheme("ThemeSystem", "Window", ThemeChoice::System);
  addTheme("ThemeDark", "Moon", ThemeChoice::Dark);
  addTheme("ThemeLight", "Sun", ThemeChoice::Light);
  m_Actions.Add(MakeAction("ToggleTheme", "Sun", {"Ctrl+Shift+L"}, [this] {
    m_Parts.Options.Theme = GetTheme().Kind == ThemeKind::Dark ? ThemeChoice::Light : ThemeChoice::Dark;
    m_Host.ApplyOptions();
  }));
  const auto addScale = [this](const char* name, const char* key, int direction) {
    m_Actions.Add(MakeAction(name, "Zoom", {key}, [this, direction] {
      m_Parts.Options.InterfaceScale = direction == 0 ? 0 : NextScale(direction);
      m_Host.ApplyOptions();
    }));
  };
  addScale("ScaleUp", "Ctrl+=", 1);
  addScale("ScaleDown", "Ctrl+-", -1);
  addScale("ScaleAutomatic", "Ctrl+0", 0);
}

// What is wanted counts, before the frame that shows it: two presses are two steps.
int MainForm::NextScale(int direction) const {
  const int now =
      m_Parts.Options.InterfaceScale > 0 ? m_Parts.Options.InterfaceScale : int(std::lround(m_Parts.Widgets.Scale() * 100));
  const std::vector<int>& steps = AppOptions::GetScaleSteps();
  if (direction > 0) {
    const auto next = std::upper_bound(steps.begin(), steps.end(), now);
    return next == steps.end() ? steps.back() : *next;
  }
  const auto next = std::lower_bound(steps.begin(), steps.end(), now);
  return next == steps.begin() ? steps.front() : *(next - 1);
}

void MainForm::AddRoomActions() {
  for (const int page : ListAllowedPages()) {
    const std::string& name = GetPageNames()[size_t(page)];
    m_Actions.Add(MakeAction(("Page" + name).c_str(), name.c_str(), {"F" + std::to_string(5 + page)},
                             [page] { SwitchPage(page); }, [page] { return CurrentPage == page; }));
  }
  for (BasicTool* tool : ToolList) tool->AddActions(m_Actions);
  Action points = MakeAction(
      "EditPoints", "Pin", {"V"}, [] { AlternativeInput = !AlternativeInput; }, [] { return AlternativeInput; });
  points.Release = [] { AlternativeInput = false; };
  points.Hold = true;
  points.IsEnabled = [] { return GetCurrentTool().EditsPoints(); };
  m_Actions.Add(std::move(points));
}

void MainForm::AddPanelActions() {
  const auto addLayout = [this](const char* name, std::function<void()> run) {
    m_Actions.Add(MakeAction(name, "Window", {}, std::move(run)));
  };
  const auto addPanel = [this](const char* name, const char* icon, const char* hotKey, const char* panel) {
    m_Actions.Add(MakeAction(
        name, icon, {hotKey}, [this, panel] { m_Docks->IsOpen(panel) ? m_Docks->Close(panel) : m_Docks->Open(panel); },
        [this, panel] { return m_Docks->IsOpen(panel); }));
  };
  addPanel("Preferences", "Preferences", "Ctrl+Shift+P", "PreferencesPanel");
  addPanel("AssignHotKeys", "Keyboard", "Ctrl+Shift+K", "HotKeysPanel");
  addLayout("ResetThisPageToDefault", ResetThisPageToDefault);
  addLayout("ResetAllPagesToDefault", ResetAllPagesToDefault);
}

// An empty scene; asks first where the present one is in no file.
void MainForm::ClearScene() {
  const auto clear = [this] {
    if (!RunCommand("ClearScene")) return;
    KeepSceneState();
    LookFromHome();
  };
  if (!IsSceneModified()) return clear();
  MessageBoxWidget::Ask(m_Parts.Widgets, "CLEAR_SCENE_HDR", "CLEAR_SCENE", {"CLEAR_SCENE_YES", "CANCEL"}, [clear](int answer) {
    if (answer == 0) clear();
  });
}

// Back to the room's own tool the second time.
void MainForm::SwitchMeasuring() {
  if (!m_MeasureTool.IsActive()) return RadioActivate(m_MeasureTool);
  if (BasicTool* room = FindMainTool(CurrentPage))
    RadioActivate(*room);
  else
    DeactivateTools();
}

void MainForm::BuildRoomTabs() {
  for (const int page : ListAllowedPages()) {
    const Action* action = m_Actions.Find("Page" + GetPageNames()[size_t(page)]);
    auto* tab = m_RoomTabs->AddChild(new Button(action->TextKey, action->Icon));
    tab->Flat = true;
    tab->IsChecked = action->IsChecked;
    tab->Action = action->Run;
    tab->HintKey = action->TextKey;
  }
}

// The desktop's dialog where there is one, else the interface's own browser.
void MainForm::ChooseFile(bool save, const char* titleKey, std::vector<std::string> patterns, const std::string& fileName,
                          std::function<void(const std::string& path)> chosen) {
  FileDialogRequest request;
  request.What = save ? FileDialogRequest::Kind::SaveFile : FileDialogRequest::Kind::OpenFile;
  request.Title = GetText(titleKey);
  request.FileName = fileName;
  request.Filters = {{GetText("MESH_FILES"), patterns}};
  std::vector<std::string> paths;
  switch (ShowFileDialog(request, m_Host.KeepAlive, paths)) {
    case FileDialogResult::Chosen:
      if (!paths.empty()) chosen(paths.front());
      return;
    case FileDialogResult::Cancelled:
      return;
    case FileDialogResult::NotAvailable:
      break;
  }
  FileBrowserRequest own;
  own.What = save ? FileBrowserRequest::Kind::Save : FileBrowserRequest::Kind::Open;
  own.Title = titleKey;
  own.FileName = fileName;
  own.Patterns = std::move(patterns);
  FileBrowser::Open(m_Parts.Widgets, std::move(own), [chosen = std::move(chosen)](const std::string& path) {
    if (!path.empty()) chosen(path);
  });
}

void MainForm::OpenMeshDialog() {
  ChooseFile(false, "OpenMesh", {"*.obj"}, {}, [this](const std::string& path) {
    std::string error;
    if (!OpenFile(path, error)) Say(error, true);
  });
}

void MainForm::ExportDialog(std::function<void()> done) {
  const VolumeObject* volume = m_Parts.Scene.Current();
  ChooseFile(true, "ExportScene", {"*.obj", "*.stl"}, volume ? volume->Name + ".obj" : "",
             [this, done = std::move(done)](const std::string& path) {
               const bool isStl = path.size() > 4 && comms::EqualsNoCase(std::string_view(path).substr(path.size() - 4), ".stl");
               const CommandResult result = Run(
                   {isStl ? "ExportStl" : "ExportMesh", {{"File", path}, {"SwapYZ", m_Parts.Options.SwapYZ ? "true" : "false"}}});
               if (!result.Ok()) return Say(result.Message, true);
               KeepSceneState();
               Say(comms::Format("%s: %s", GetText("EXPORTED").c_str(), path.c_str()));
               if (done) done();
             });
}
