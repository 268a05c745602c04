#include "shell/app/MainForm.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <sstream>

#include "ClassEngine/Xml.h"
#include "comms/BaseMesh.h"
#include "comms/Log.h"
#include "comms/Str.h"
#include "interface/ActionWidgets.h"
#include "interface/Language.h"
#include "interface/Layout.h"
#include "interface/MessageBoxWidget.h"
#include "interface/PanelWidget.h"
#include "interface/TextEdit.h"
#include "interface/draw/Theme.h"
#include "shell/core/DataPath.h"
#include "shell/core/KeyTable.h"
#include "shell/core/Pages.h"
#include "shell/core/PresetsManager.h"
#include "shell/core/RunGuarded.h"

using comms::Format;

/// Seconds for which a sentence stays in the status line.
static constexpr double SaySeconds = 6;
/// Seconds after the last move of the view for which it counts as moving.
static constexpr double SettleSeconds = 0.15;
/// Seconds without input and change after which there is time for what is dear.
static constexpr double QuietSeconds = 0.3;
/// In the data path.
static constexpr const char* StillImagesFile = "Xmls/StillImages.xml";
/// How far around the scene its ground is seen, in diagonals of the scene; and the nearest that is seen then, as a part of the
/// farthest.
static constexpr float GroundReach = 3, LeastNearShare = 0.01f;
/// Where the eye of a new window stands: from three quarters and a little above. Radians; 0: in front.
static constexpr float HomeAzimuth = 35 * std::numbers::pi_v<float> / 180, HomeElevation = 16 * std::numbers::pi_v<float> / 180;

/// From the scene to that eye.
static comms::cVec3 HomeDirection() {
  const float level = std::cos(HomeElevation);
  return {std::sin(HomeAzimuth) * level, std::sin(HomeElevation), std::cos(HomeAzimuth) * level};
}

MainForm::MainForm(const Parts& parts, FormHost host)
    : m_Parts(parts),
      m_Host(std::move(host)),
      m_ToolInput(m_Navi),
      m_VoxelTool(CreateTool<VoxelSculptTool>()),
      m_MeasureTool(CreateTool<MeasureTool>()),
      m_StillImages(CreateTool<StillImageTool>()) {
  m_Docks = std::make_unique<DockPanels>(m_Parts.Widgets);
  m_SceneWidget = m_Parts.Widgets.Layer(LayerScene).AddChild(new SceneWidget(m_ToolInput));
  m_Top = m_Parts.Widgets.Layer(LayerDocks).AddChild(new IntfWidget1);
  m_Foot = m_Parts.Widgets.Layer(LayerDocks).AddChild(new IntfWidget2);
  m_MenuBar = m_Top->Menus;
  m_RoomTabs = m_Top->Rooms;
  m_Status = m_Foot->Status;
  m_Parts.Widgets.SetKeyFallback(m_MenuBar);
  m_Parts.Widgets.Unhandled = [this](const InputEvent& event) { return OnUnhandled(event); };

  m_ToolInput.IsBlocked = [this] { return !m_SceneWidget->IsEnabled(); };
  m_ToolInput.IsMouseCaptured = [this] {
    const BaseWidget* captured = m_Parts.Widgets.Captured();
    return captured && captured != m_SceneWidget;
  };
  m_Navi.Pick = [this](float x, float y, comms::cVec3& point) {
    const SurfaceHit hit = PickScene(m_Parts.Scene, PickRay(GetSceneCamera(), GetSceneViewport(), x, y));
    if (hit) point = hit.Position;
    return bool(hit);
  };
  m_Navi.Bounds = [this] { return GetSceneBox(); };
  StartTools();
  ApplyOptions();
  m_KeptState = m_Parts.Scene.State();

  InitRooms();
  AddActions();
  m_HotKeys.RegisterMembers();
  m_HotKeys.SetDefaults(m_Actions, {{{{}, {}, m_MeasureTool.GetToolKey()}, "M"}});
  m_HotKeys.Load(GetDataPath());
  m_KeyRunner = std::make_unique<HotKeyRunner>(m_HotKeys, m_Actions, &m_Parts.Commands);
  m_KeyRunner->RunCommand = [this](const Command& command, const CommandParameters& parameters) {
    return Perform(command, parameters);
  };
  m_KeyRunner->CommandDone = [this](const Command&, const CommandResult& result) {
    if (!result.Ok()) Say(result.Message, true);
  };
  m_KeyRunner->Complain = [this](const std::string& sentence) { Say(sentence, true); };
  m_ViewOptions.Load();
  m_Parts.Widgets.Positions.Load();
  StoreChanges();
  m_ProgressBox.CanCancel = true;
  PanelWidget::MakeNaviControl = [this] { return MakeNaviControl(); };
  SetActionSource(&m_Actions, &m_HotKeys);
  AddPanels();
  BuildRoomTabs();
}

void MainForm::StartTools() {
  m_VoxelTool.SetScene(&m_Parts.Scene);
  m_MeasureTool.SetScene(&m_Parts.Scene);
  for (BasicTool* tool : ToolList) {
    auto& defaults = m_ToolDefaults[tool] = std::make_unique<XmlNode>();
    tool->Save(defaults.get(), tool);
    PresetsManager::Load(*tool);
  }
  LoadObjectFile(m_StillImages, GetFullPath(StillImagesFile));
}

MainForm::~MainForm() {
  SetActionSource(nullptr, nullptr);
  m_VoxelTool.SetScene(nullptr);
  m_MeasureTool.SetScene(nullptr);
  m_Parts.Widgets.SetKeyFallback(nullptr);
  m_Parts.Widgets.Unhandled = {};
  PanelWidget::MakeNaviControl = {};
  // What they show and call is the form's.
  m_Parts.Widgets.ClosePopups();
  for (BaseWidget* widget : std::initializer_list<BaseWidget*>{m_SceneWidget, m_Top, m_Foot}) m_Parts.Widgets.DeleteLater(widget);
  m_Docks.reset();
  m_Parts.Widgets.EmptyDeferredList();
}

void MainForm::Open() {
  const std::vector<int> pages = ListAllowedPages();
  EnterPage(pages.empty() ? 0 : pages.front());
  BuildMenus();
  Arrange();
  Camera camera;
  camera.Position = HomeDirection() * 5;
  m_Navi.SetCamera(camera);
  m_Followed = camera;
  FollowScene();
}

void MainForm::Store() {
  StorePageLayout();
  m_HotKeys.Store(GetDataPath());
  m_Parts.Options.Store();
  m_Parts.Settings.Store();
  m_ViewOptions.Store();
  m_Parts.Widgets.Positions.Store();
  StoreObjectFile(m_StillImages, GetFullPath(StillImagesFile));
}

void MainForm::StoreChanges() {
  if (m_OptionsWatch.IsChanged(m_Parts.Options)) m_Parts.Options.Store();
  if (m_SettingsWatch.IsChanged(m_Parts.Settings)) m_Parts.Settings.Store();
  if (m_ViewWatch.IsChanged(m_ViewOptions)) m_ViewOptions.Store();
  if (m_ImagesWatch.IsChanged(m_StillImages)) StoreObjectFile(m_StillImages, GetFullPath(StillImagesFile));
  if (m_PositionsWatch.IsChanged(m_Parts.Widgets.Positions)) m_Parts.Widgets.Positions.Store();
  if (m_KeysWatch.IsChanged(m_HotKeys)) m_HotKeys.Store(GetDataPath());
  if (m_Docks->IsLayoutChanged() && m_LayoutSeen) StorePageLayout();
  m_LayoutSeen = true;
}

void MainForm::Arrange() {
  Canvas& canvas = m_Parts.Widgets.GetCanvas();
  const float width = float(canvas.Width()), height = float(canvas.Height());
  const float top = m_Top->HeightFor(width, canvas), foot = m_Foot->HeightFor(width, canvas);
  m_Top->Arrange({0, 0, width, top}, canvas);
  m_Foot->Arrange({0, height - foot, width, foot}, canvas);
  m_Docks->Arrange({0, top, width, std::max(0.0f, height - top - foot)}, canvas);
  m_SceneWidget->Rect = m_Docks->SceneRect();
  const cRect& view = m_SceneWidget->Rect;
  m_Navi.SetViewport(view.X, view.Y, view.W, view.H);
}

void MainForm::Rebuild() {
  m_Docks->Rebuild();
  BuildMenus();
  m_Parts.Widgets.RequestArrange();
}

void MainForm::BeginFrame(double timeSec) {
  m_TimeSec = timeSec;
  const Canvas& canvas = m_Parts.Widgets.GetCanvas();
  const int hash = GetMenuStateHash(canvas.Width(), canvas.Height(), CurrentPage);
  if (std::exchange(m_RebuildWanted, false))
    Rebuild();
  else if (hash != m_MenuHash)
    BuildMenus();
  m_MenuHash = hash;
  Arrange();
  m_Navi.View.FovDegrees = m_Parts.Options.FieldOfView;
  TellView();
}

void MainForm::TellView() {
  m_VoxelTool.SetView(GetSceneCamera(), GetSceneViewport());
  m_MeasureTool.SetView(GetSceneCamera(), GetSceneViewport());
}

void MainForm::ProcessNavy(double timeSec) {
  m_Navi.Process(timeSec);
  FitDepth();
  TellView();
}

void MainForm::RunTool(double timeSec) {
  // The work view hears of the pointer only while it is over it, or holds it.
  const BaseWidget *hot = m_Parts.Widgets.Hot(), *captured = m_Parts.Widgets.Captured();
  if ((captured ? captured : hot) != m_SceneWidget) {
    InputEvent leave;
    leave.Kind = InputKind::PointerLeave;
    leave.Modifiers = m_Parts.Widgets.Modifiers();
    GetCurrentTool().ProcessInput(leave);
  }
  for (BasicTool* tool : ListToolsInCycle()) tool->Process(timeSec);
  UpdateStatus();
}

void MainForm::DrawScene(comms::cRender& render, bool atBest) {
  const Theme& theme = GetTheme();
  SceneFrame frame;
  frame.Camera = GetSceneCamera();
  frame.Viewport = GetSceneViewport();
  if (frame.Viewport.Width < 1 || frame.Viewport.Height < 1) return;
  frame.BackgroundTop = theme.ViewTop;
  frame.BackgroundBottom = theme.ViewBottom;
  frame.GridColor = theme.Grid;
  // On a dark ground the full colours would draw the eye away from the sculpture.
  const float dimmed = theme.Kind == ThemeKind::Dark ? 0.25f : 0.0f;
  frame.AxisXColor = MixColor(theme.AxisX, theme.ViewBottom, dimmed);
  frame.AxisZColor = MixColor(theme.AxisZ, theme.ViewBottom, dimmed);
  const comms::cMat4 view = frame.Camera.View * frame.Camera.Projection;
  if (!(view == m_LastView)) m_ViewMovedAt = m_TimeSec;
  m_LastView = view;
  frame.Moving = !atBest && m_TimeSec - std::max(m_ViewMovedAt, m_VoxelTool.LastChange()) < SettleSeconds;
  if (frame.Moving) m_Parts.Widgets.WantFrameIn(SettleSeconds);
  frame.Grid = m_Parts.Settings.ShowGrid;
  frame.Wireframe = m_Parts.Settings.Wireframe;
  frame.DeviceQuality = m_DeviceQuality;
  if (std::exchange(m_InputCount, m_Parts.Widgets.InputCount()) != m_Parts.Widgets.InputCount()) m_DisturbedAt = m_TimeSec;
  frame.Quiet = atBest || (!frame.Moving && m_TimeSec - m_DisturbedAt >= QuietSeconds);
  const std::vector<BasicTool*> tools = ListToolsInCycle();
  frame.DrawMore = [&tools](comms::cRender& device) {
    for (BasicTool* tool : tools) {
      if (!tool->GetDrawState()) continue;
      tool->DrawIn3D(device);
      if (comms::BaseMesh* preview = tool->GetPreviewMesh()) preview->Draw(&device);
    }
  };
  for (const BasicTool* tool : tools) frame.MoreState = frame.MoreState * 0x100000001B3u ^ tool->GetDrawState();
  m_View.Draw(render, m_Parts.Scene, frame, m_ViewOptions);
  m_ViewOptions.SceneHasColors = m_View.SceneHasColors();
  const bool changed = m_View.LastStatistics().Changed;
  if (changed) m_DisturbedAt = m_TimeSec;
  if (changed || !frame.Quiet) m_Parts.Widgets.WantFrameIn(QuietSeconds);
  if (changed && atBest) m_View.Draw(render, m_Parts.Scene, frame, m_ViewOptions);
}

void MainForm::DrawOverlay(Canvas& canvas) {
  const cRect& view = m_SceneWidget->Rect;
  if (view.W < 1 || view.H < 1) return;
  canvas.PushClip(view);
  for (BasicTool* tool : ListToolsInCycle()) tool->DrawOverlay(canvas);
  if (m_Parts.Settings.ShowStatistics && m_Host.FrameMilliseconds) {
    const SceneView::Statistics& seen = m_View.LastStatistics();
    const std::string text = Format("%.1f ms   %d / %d groups   %lld triangles", double(m_Host.FrameMilliseconds()),
                                    seen.VisibleGroups, seen.Groups, static_cast<long long>(seen.Triangles));
    const comms::cVec2 size = GetViewLabelSize(canvas, text);
    DrawViewLabel(canvas, {view.X + canvas.Px(6) + size.x / 2, view.Y + canvas.Px(6) + size.y / 2}, text);
  }
  canvas.PopClip();
}

bool MainForm::OnUnhandled(const InputEvent& event) {
  if (event.Kind == InputKind::Drop) {
    std::string error;
    if (!OpenFile(event.Text, error)) Say(error, true);
    return true;
  }
  if (event.Kind == InputKind::FocusLost) m_ToolInput.OnEvent(event);
  // While a stroke runs the tool hears keys first: Esc takes the stroke back.
  if (event.Kind == InputKind::KeyDown && m_VoxelTool.IsBusy() && GetCurrentTool().ProcessInput(event)) return true;
  if (m_KeyRunner->OnKey(event)) return true;
  return (event.Kind == InputKind::KeyDown || event.Kind == InputKind::KeyUp) && GetCurrentTool().ProcessInput(event);
}

// Who writes keeps the keys that write and edit, and who waits for a key gets it, whichever it is.
static bool KeepsKey(const BaseWidget* focused, const InputEvent& event) {
  if (!focused || !focused->ShowsKeyboard()) return false;
  if (!dynamic_cast<const TextEdit*>(focused)) return true;
  const bool isFunctionKey = event.Key >= KeyF1 && event.Key < KeyF1 + 12;
  const bool isChord = (event.Modifiers & (ModAlt | ModSuper)) || (~event.Modifiers & (ModControl | ModShift)) == 0;
  return !isFunctionKey && !isChord;
}

bool MainForm::OnAnywhere(const InputEvent& event) {
  if (event.Kind != InputKind::KeyDown || event.IsRepeat || KeepsKey(m_Parts.Widgets.Focused(), event)) return false;
  const OneHotKey* key = m_HotKeys.Find(GetKeyCombo(event));
  if (!key || key->Command.View() != "StoreScreenshot") return false;
  return m_Actions.Run("StoreScreenshot");
}

bool MainForm::OpenFile(const std::string& path, std::string& error) {
  const std::string nameBefore = m_Parts.Scene.MeshName();
  std::unique_ptr<comms::cRawMesh> before = m_Parts.Scene.TakeMesh();
  CommandResult result = Run({"ImportMesh", {{"File", path}, {"SwapYZ", m_Parts.Options.SwapYZ ? "true" : "false"}}});
  if (result.Ok()) result = Run({"Voxelize", {{"Resolution", "256"}}});
  if (!result.Ok()) {
    m_Parts.Scene.SetMesh(std::move(before), nameBefore);
    error = result.Message;
    return false;
  }
  FrameScene();
  return true;
}

bool MainForm::RunCommand(const std::string& line) {
  BatchLine words;
  std::string error;
  const CommandResult result = ParseBatchLine(line, words, error) ? Run(words) : CommandResult::Refuse(error);
  if (!result.Ok()) Say(result.Message, true);
  return result.Ok();
}

CommandResult MainForm::Run(const BatchLine& line) {
  const Command* command = m_Parts.Commands.Find(line.Name);
  if (!command) return CommandResult::Refuse(m_Parts.Commands.DescribeUnknown(line.Name));
  std::string error;
  const auto parameters = m_Parts.Commands.ReadParameters(*command, line.Arguments, error);
  return parameters ? Perform(*command, *parameters) : CommandResult::Refuse(error);
}

CommandResult MainForm::Perform(const Command& command, const CommandParameters& parameters) {
  CommandResult result = RunGuarded(command, parameters);
  if (m_Host.WorkEnded) m_Host.WorkEnded();
  return result;
}

void MainForm::ApplyOptions() {
  const AppOptions& options = m_Parts.Options;
  m_Navi.Settings = options.GetNaviSettings();
  m_VoxelTool.RightDragIsOurs = m_Navi.LeavesToTool(MouseButton::Right, 0) && m_Navi.LeavesToTool(MouseButton::Right, ModShift);
  m_Parts.Scene.History().StepBound = size_t(options.UndoDepth);
  m_Parts.Scene.History().ByteBound = size_t(options.UndoMegabytes) << 20;
}

void MainForm::RequestClose() {
  m_VoxelTool.FinishStroke();  // what is being drawn is work too
  if (!m_Host.AsksBeforeClose || !IsSceneModified()) return m_Host.Close();
  if (std::exchange(m_CloseAsked, true)) return;
  MessageBoxWidget::Ask(m_Parts.Widgets, "SAVE_CHANGES_HDR", "SAVE_CHANGES", {"SAVE_AS", "DONT_SAVE", "CANCEL"},
                        [this](int answer) {
                          m_CloseAsked = false;
                          if (answer == 0) ExportDialog(m_Host.Close);
                          if (answer == 1) m_Host.Close();
                        });
}

void MainForm::DrawProgress(Canvas& canvas, const ProgressFrame& progress) {
  m_ProgressBox.Title = progress.TitleKey;
  m_ProgressBox.Value = progress.Share;
  m_ProgressBox.Cancelled = progress.Cancelling;
  m_ProgressBox.Arrange(m_ProgressBox.PlaceIn(canvas.Screen(), canvas), canvas);
  m_ProgressBox.DrawTree(canvas);
}

// Commands speak as part of a line; in the window it is a sentence of its own, unless it begins with a name.
static std::string ToSentence(std::string text) {
  const size_t end = text.find_first_not_of("abcdefghijklmnopqrstuvwxyz");
  if (end != 0 && end != text.npos && text[end] == ' ') text[0] = char(text[0] - 'a' + 'A');
  return text;
}

void MainForm::Say(const std::string& text, bool warning) {
  m_Said = ToSentence(text);
  m_SaidWarning = warning;
  m_SayBegins = true;
  m_Parts.Widgets.WantFrameIn(0);
}

void MainForm::FrameScene() {
  SceneBox box = GetSceneBox();
  if (box.Empty()) box = {{-1, -1, -1}, {1, 1, 1}};
  m_Navi.Frame(box);
}

void MainForm::FrameObject() {
  SceneBox box;
  const VolumeObject* volume = m_Parts.Scene.Current();
  if (!volume || !GetVolumeBounds(*volume, box.Min, box.Max)) return FrameScene();
  m_Navi.Frame(box);
}

void MainForm::FollowScene() {
  if (!(m_Navi.View.Position == m_Followed.Position && m_Navi.View.Target == m_Followed.Target)) return;
  const bool smooth = std::exchange(m_Navi.Settings.SmoothViews, false);
  FrameScene();
  m_Navi.Settings.SmoothViews = smooth;
  // A sculpture fills less of the view than the corners of its box do.
  Camera camera = m_Navi.View;
  camera.Position = camera.Target + (camera.Position - camera.Target) * 0.84f;
  m_Navi.SetCamera(camera);
  m_Followed = m_Navi.View;
}

void MainForm::LookFromHome() {
  const comms::cVec3 forward = -HomeDirection();
  m_Navi.LookAlong(forward, comms::Cross(comms::Normalized(comms::Cross(forward, {0, 1, 0})), forward));
  FrameScene();
}

// As the wheel over the middle of the view.
void MainForm::ZoomView(float notches) {
  const cRect& view = ViewRect();
  InputEvent wheel;
  wheel.Kind = InputKind::Wheel;
  wheel.X = view.X + view.W / 2;
  wheel.Y = view.Y + view.H / 2;
  wheel.WheelY = m_Navi.Settings.InvertWheel ? -notches : notches;
  m_Navi.OnWheel(wheel);
}

bool MainForm::WantsFrame() { return m_VoxelTool.TakeRedraw() || m_View.NeedsAnotherFrame() || m_Navi.IsInTransition(); }

// The net of lines goes on in front of the scene and behind it; the eye's own scale of depth serves what is worked on first.
void MainForm::FitDepth() {
  SceneBox box = GetSceneBox();
  m_StillImages.AddBounds(box);
  m_Navi.FitDepth(box);
  if (!m_Parts.Settings.ShowGrid) return;
  Camera& camera = m_Navi.View;
  const float around = GroundReach * std::max(box.Diagonal(), 2.0f);
  camera.Far += around;
  camera.Near = camera.Orthographic ? camera.Near - around : std::min(camera.Near, LeastNearShare * camera.Far);
}

SceneCamera MainForm::GetSceneCamera() const { return {m_Navi.View.ViewMatrix(), m_Navi.View.ProjectionMatrix(m_Navi.Aspect())}; }

SceneViewport MainForm::GetSceneViewport() const {
  const cRect& view = m_SceneWidget->Rect;
  return {int(view.X), int(view.Y), int(view.W), int(view.H), m_Parts.Widgets.GetCanvas().Height()};
}

SceneBox MainForm::GetSceneBox() const {
  SceneBox box;
  if (!GetSceneBounds(m_Parts.Scene, box.Min, box.Max)) return {};
  return box;
}

// What the current tool says of itself; of a room's objects its main tool knows more than one that leaves that open.
void MainForm::UpdateStatus() {
  BasicTool &tool = GetCurrentTool(), *room = FindMainTool(CurrentPage);
  // It may have been said long after the last frame; its time runs from the first one that shows it.
  if (std::exchange(m_SayBegins, false)) m_SaidUntil = m_TimeSec + SaySeconds;
  if (m_TimeSec < m_SaidUntil) {
    m_Parts.Widgets.WantFrameIn(m_SaidUntil - m_TimeSec);
    m_Status->Message = m_Said;
    m_Status->IsWarning = m_SaidWarning;
  } else {
    m_Status->Message = tool.GetWorkHint();
    if (m_Status->Message.empty() && HasText(tool.GetHintKey())) m_Status->Message = GetText(tool.GetHintKey());
    m_Status->IsWarning = false;
  }
  std::string counts;
  tool.GetStatusText(counts);
  if (counts.empty() && room) room->GetStatusText(counts);
  m_Status->Fields.clear();
  std::istringstream lines(counts);
  for (std::string line; std::getline(lines, line);) m_Status->Fields.push_back(line);
  if (m_Status->HeightFor(m_Status->Rect.W, m_Parts.Widgets.GetCanvas()) != m_Status->Rect.H) Arrange();
}
