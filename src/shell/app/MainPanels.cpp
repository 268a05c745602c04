// The panels of the rooms.
#include <algorithm>
#include <memory>
#include <numbers>
#include <utility>

#include "interface/ActionWidgets.h"
#include "interface/Button.h"
#include "interface/DrawTexRect.h"
#include "interface/HotKeyWindow.h"
#include "interface/Language.h"
#include "interface/Layout.h"
#include "interface/NaviControl.h"
#include "interface/ObjBrowser.h"
#include "interface/PanelRow.h"
#include "interface/PanelWidget.h"
#include "interface/ScrollArea.h"
#include "interface/TextMenu.h"
#include "interface/TextWidget.h"
#include "interface/draw/Theme.h"
#include "shell/app/CommandPanel.h"
#include "shell/app/MainForm.h"
#include "shell/app/TabletPanel.h"
#include "shell/app/VoxTreeModel.h"
#include "shell/core/Pages.h"

namespace {

/// A radio button of a tool: down while the tool is current.
class ToolButton : public Button {
  REFLECTED(ToolButton, Button)
 public:
  ToolButton() = default;
  explicit ToolButton(BasicTool& tool) : Button(tool.GetToolKey(), "Pen"), m_Tool(&tool) {
    Flat = true;
    Align = TextAlign::Left;
    IsChecked = [&tool] { return &GetCurrentTool() == &tool; };
    Action = [&tool] { RadioActivate(tool); };
  }
  std::string GetHintText(float, float) const override {
    const char* key = m_Tool ? m_Tool->GetHintKey() : "";
    return m_Tool ? WithKey(HasText(key) ? ::GetText(key) : std::string(), {{}, {}, m_Tool->GetToolKey()}) : std::string();
  }

 private:
  BasicTool* m_Tool = nullptr;
};
DECLARE_MEMBERS(ToolButton) {}

/// The rows of an object, and above them a line of buttons.
class HeadedPanel : public BaseWidget {
  REFLECTED(HeadedPanel, BaseWidget)
 public:
  HeadedPanel() = default;
  HeadedPanel(BaseWidget* head, BaseClass* object) : m_Head(AddChild(head)), m_Parameters(AddChild(new PanelWidget(object))) {}
  void Arrange(const cRect& rect, Canvas& canvas) override {
    Rect = rect;
    const float pad = canvas.Px(Measures::Padding), head = AboveRows(rect.W, canvas);
    m_Head->Arrange({rect.X + pad, rect.Y + pad, std::max(0.0f, rect.W - 2 * pad), head - pad}, canvas);
    m_Parameters->Arrange({rect.X, rect.Y + head, rect.W, std::max(0.0f, rect.H - head)}, canvas);
  }
  float HeightFor(float width, Canvas& canvas) const override {
    return AboveRows(width, canvas) + m_Parameters->HeightFor(width, canvas);
  }
  float NarrowestFor(Canvas& canvas) const override {
    return std::max(m_Head->NarrowestFor(canvas) + 2 * canvas.Px(Measures::Padding), m_Parameters->NarrowestFor(canvas));
  }

 private:
  float AboveRows(float width, Canvas& canvas) const {
    const float pad = canvas.Px(Measures::Padding);
    return pad + m_Head->HeightFor(std::max(0.0f, width - 2 * pad), canvas) + canvas.Px(4);
  }
  BaseWidget* m_Head = nullptr;

 protected:
  PanelWidget* m_Parameters = nullptr;
};
DECLARE_MEMBERS(HeadedPanel) {}

/// The preview of a tool; nothing where it has none.
class ToolPreview : public DrawTexRect {
  REFLECTED(ToolPreview, DrawTexRect)
 public:
  ToolPreview() { Visible = false; }
  void Show(BasicTool& tool) {
    Texture = tool.GetPreviewTexture();
    Aspect = tool.GetPreviewAspect();
    if (std::exchange(Visible, Texture >= 0) == Visible) return;
    if (cWidgets* manager = Manager()) manager->RequestArrange();
  }
  float HeightFor(float, Canvas& canvas) const override { return canvas.Px(72); }
};
DECLARE_MEMBERS(ToolPreview) {}

/// Name of the current tool where it isn't the room's own.
class ToolName : public TextWidget {
  REFLECTED(ToolName, TextWidget)
 public:
  ToolName() {
    Style = TextStyle::Bold;
    Visible = false;
  }
  void Process(double) override {
    BasicTool& tool = GetCurrentTool();
    const bool shows = &tool != &GetDefaultTool() && &tool != FindMainTool(CurrentPage);
    if (shows) Text = tool.GetToolKey();
    if (std::exchange(Visible, shows) == shows) return;
    if (cWidgets* manager = Manager()) manager->RequestArrange();
  }
};
DECLARE_MEMBERS(ToolName) {}

/// Parameters and preview of a tool; without one, of the current tool, whichever that is.
class ToolPanel : public HeadedPanel {
  REFLECTED(ToolPanel, HeadedPanel)
 public:
  ToolPanel() = default;
  /// `presets`, in the head, is enabled while there is a tool; may be null.
  ToolPanel(ColumnWidget* head, BasicTool* tool, Button* presets = nullptr)
      : HeadedPanel(head, tool), m_Preview(head->AddChild(new ToolPreview)), m_Tool(tool), m_Presets(presets) {}
  void Process(double) override {
    if (!m_Preview) return;
    BasicTool& tool = m_Tool ? *m_Tool : GetCurrentTool();
    const bool isTool = &tool != &GetDefaultTool();
    m_Preview->Show(tool);
    m_Parameters->SetObject(isTool ? &tool : nullptr);
    if (m_Presets) m_Presets->Enabled = isTool;
  }

 private:
  ToolPreview* m_Preview = nullptr;
  BasicTool* m_Tool = nullptr;
  Button* m_Presets = nullptr;
};
DECLARE_MEMBERS(ToolPanel) {}

/// "left drag", "Alt + left drag", "right drag beside the object".
std::string DescribeBinding(const NaviBinding& binding) {
  static constexpr const char* buttons[] = {"", "NAVI_LEFT", "NAVI_RIGHT", "NAVI_MIDDLE"};
  static constexpr std::pair<uint8_t, const char*> modifiers[] = {{ModControl, "Ctrl"}, {ModShift, "Shift"}, {ModAlt, "Alt"}};
  std::string text;
  for (const auto& [bit, name] : modifiers)
    if (binding.Modifiers & bit) text += GetKeyText(name) + " + ";
  text += GetText(buttons[size_t(binding.Button)]);
  return binding.EmptySpaceOnly ? FillIn(GetText("NAVI_BESIDE"), text) : text;
}

/// A line for each way to move the view.
std::string DescribePreset(const NaviPreset& preset) {
  static constexpr std::pair<NaviAction, const char*> ways[] = {{NaviAction::Orbit, "NAVI_ORBIT"},
                                                                {NaviAction::Pan, "NAVI_PAN"},
                                                                {NaviAction::Zoom, "NAVI_ZOOM"},
                                                                {NaviAction::Roll, "NAVI_ROLL"}};
  std::string text;
  for (const auto& [action, key] : ways) {
    std::string line = action == NaviAction::Zoom ? GetText("NAVI_WHEEL") : std::string();
    for (const NaviBinding& binding : preset.Bindings)
      if (binding.Action == action) line += (line.empty() ? "" : ", ") + DescribeBinding(binding);
    text += (text.empty() ? "" : "\n") + GetText(key) + ": " + line;
  }
  return text;
}

/// The options; below the preset of the navigation stands what it does.
class PreferencesPanel : public PanelWidget {
  REFLECTED(PreferencesPanel, PanelWidget)
 public:
  PreferencesPanel() = default;
  explicit PreferencesPanel(AppOptions& options) : PanelWidget(&options), m_Options(&options) {}
  void Process(double timeSec) override {
    PanelWidget::Process(timeSec);
    if (!m_Options) return;
    ClassArray<BaseWidget>& rows = Area().Content().Children;
    for (int32_t i = 0; i < rows.Count; i++) {
      const auto* row = dynamic_cast<const PanelRow*>(rows[i]);
      if (row && row->Place().FullName == "NavigationPreset") return Show(rows, i + 1);
    }
  }

 private:
  void Show(ClassArray<BaseWidget>& rows, int32_t place) {
    auto* note = place < rows.Count ? dynamic_cast<TextWidget*>(rows[place]) : nullptr;
    if (!note) {
      auto made = std::make_unique<TextWidget>();
      note = made.get();
      note->Owner = &Area().Content();
      note->Literal = note->Wraps = note->Dim = true;
      rows.InsertAt(place, made.release());
    }
    const std::vector<NaviPreset>& presets = GetNaviPresets();
    const std::string text = DescribePreset(presets[size_t(std::clamp(m_Options->NavigationPreset, 0, int(presets.size()) - 1))]);
    if (note->Text.View() == text) return;
    note->Text = text.c_str();
    if (cWidgets* manager = Manager()) manager->RequestArrange();
  }
  AppOptions* m_Options = nullptr;
};
DECLARE_MEMBERS(PreferencesPanel) {}

}  // namespace

void MainForm::AddPanels() {
  const auto add = [this](const char* key, const char* icon, BaseWidget* (MainForm::*make)(), DockSide side, float width,
                          float height) {
    m_Docks->Add({key, icon, [this, make] { return (this->*make)(); }, side, width, height});
  };
  add("ToolsPanel", "Brush", &MainForm::MakeToolsPanel, DockSide::Left, 184, 500);
  add("ToolParamsPanel", "Settings", &MainForm::MakeToolParams, DockSide::Right, 264, 420);
  add("VoxTreePanel", "Layers", &MainForm::MakeVoxTree, DockSide::Right, 264, 180);
  add("ViewPanel", "Visible", &MainForm::MakeViewPanel, DockSide::Right, 264, 400);
  add("StillImagesPanel", "Pictures", &MainForm::MakeStillImages, DockSide::Right, 264, 320);
  add("TabletPanel", "Tablet", &MainForm::MakeTabletPanel, DockSide::Right, 264, 220);
  add("PreferencesPanel", "Preferences", &MainForm::MakePreferences, DockSide::Right, 320, 480);
  add("HotKeysPanel", "Keyboard", &MainForm::MakeHotKeys, DockSide::Right, 380, 480);
  add("CommandsPanel", "Menu", &MainForm::MakeCommands, DockSide::Right, 320, 420);
  add("RoomNotePanel", "Info", &MainForm::MakeRoomNote, DockSide::Left, 220, 200);
}

void MainForm::InitRooms() {
  PageHooks hooks;
  hooks.StoreLayout = [this](const std::string& path) { return m_Docks->StoreLayout(path); };
  hooks.RestoreLayout = [this](const std::string& path) { return m_Docks->RestoreLayout(path); };
  hooks.BuildDefaultLayout = [this](int page) { BuildDefaultLayout(page); };
  hooks.RebuildPanels = [this] {
    m_RebuildWanted = true;
    m_LayoutSeen = false;
    m_Parts.Widgets.RequestArrange();
  };
  InitPages(std::move(hooks));
}

void MainForm::BuildDefaultLayout(int page) {
  if (FindMainTool(page))
    m_Docks->SetDefault({"ToolsPanel", "ToolParamsPanel", "VoxTreePanel"});
  else if (!ListRoomTools(page).empty())
    m_Docks->SetDefault({"RoomNotePanel", "ToolsPanel", "ToolParamsPanel", "VoxTreePanel"});
  else
    m_Docks->SetDefault({"RoomNotePanel", "ViewPanel", "VoxTreePanel"});
}

// The lists of the room's main tool, what every room has, and a button for each tool of the room.
BaseWidget* MainForm::MakeToolsPanel() {
  auto* area = new ScrollArea;
  area->Padding = 6;
  BaseWidget& content = area->Content();
  if (BasicTool* room = FindMainTool(CurrentPage)) room->BuildToolButtons(content);
  AddActionButtons(content, "EDIT", {"Undo", "Redo", "FrameObject"});
  AddActionButtons(content, "TOOLS", {});
  for (BasicTool* tool : ListRoomTools(CurrentPage)) content.AddChild(new ToolButton(*tool));
  return area;
}

BaseWidget* MainForm::MakeToolParams() {
  auto* presets = new Button("PRESETS", "Menu");
  presets->Align = TextAlign::Left;
  presets->Action = [this, presets] {
    TextMenu::Open(
        m_Parts.Widgets, presets->Rect, [this](TextMenu& menu) { FillPresets(menu); }, presets);
  };
  auto* head = new ColumnWidget;
  head->AddChild(new ToolName);
  head->AddChild(presets);
  return new ToolPanel(head, nullptr, presets);
}

BaseWidget* MainForm::MakeStillImages() {
  auto* head = new ColumnWidget;
  head->AddChild(new ActionButton(*m_Actions.Find("ShowStillImages")));
  return new ToolPanel(head, &m_StillImages);
}

// Grid and edges are switches of the program, with keys and menu items of their own.
BaseWidget* MainForm::MakeViewPanel() {
  auto* switches = new RowWidget;
  for (const char* name : {"ShowGrid", "Wireframe"}) switches->AddWeighted(new ActionButton(*m_Actions.Find(name)), 1);
  return new HeadedPanel(switches, &m_ViewOptions);
}

// The ball asks for views by the actions of the menu. A drag on it is one across the view, about what is looked at: where it
// began says nothing about the scene.
BaseWidget* MainForm::MakeNaviControl() {
  static constexpr const char* views[] = {"ViewFront", "ViewBack", "ViewLeft", "ViewRight", "ViewTop", "ViewBottom"};
  const auto makeEvent = [this](InputKind kind, comms::cVec2 turn) {
    const cRect& view = ViewRect();
    const float halfTurn = std::min(m_Navi.Width(), m_Navi.Height());
    InputEvent event;
    event.Kind = kind;
    event.Button = MouseButton::Left;
    event.X = view.X + view.W / 2 + turn.x / std::numbers::pi_v<float> * halfTurn;
    event.Y = view.Y + view.H / 2 + turn.y / std::numbers::pi_v<float> * halfTurn;
    return event;
  };
  NaviLink link;
  link.GetAxes = [this] {
    const comms::cVec3 right = m_Navi.View.Right(), forward = m_Navi.View.Forward();
    return ViewAxes{right, comms::Cross(right, forward), -forward};
  };
  link.Look = [this](StandardView view) { m_Actions.Run(views[size_t(view)]); };
  link.GetViewName = [this](StandardView view) {
    const Action& action = *m_Actions.Find(views[size_t(view)]);
    return WithKey(GetText(action.TextKey), {action.Name, {}, {}});
  };
  link.BeginOrbit = [this, makeEvent] {
    const bool aroundPick = std::exchange(m_Navi.Settings.OrbitAroundPick, false);
    m_Navi.BeginDefault(makeEvent(InputKind::ButtonDown, {}));
    m_Navi.Settings.OrbitAroundPick = aroundPick;
  };
  link.Orbit = [this, makeEvent](comms::cVec2 turn) { m_Navi.OnMove(makeEvent(InputKind::PointerMove, turn)); };
  link.EndOrbit = [this, makeEvent] { m_Navi.OnRelease(makeEvent(InputKind::ButtonUp, {})); };
  auto* control = new NaviControl(std::move(link));
  for (const char* name : {"FrameScene", "ViewHome", "ToggleOrthographic", "ZoomOut", "ZoomIn"})
    control->AddButton(new ActionButton(*m_Actions.Find(name)));
  return control;
}

BaseWidget* MainForm::MakeVoxTree() { return new ObjBrowser(std::make_shared<VoxTreeModel>(m_Parts.Scene)); }

BaseWidget* MainForm::MakeTabletPanel() { return new TabletPanel(m_Host.GetPenState); }

BaseWidget* MainForm::MakePreferences() {
  auto* panel = new PreferencesPanel(m_Parts.Options);
  panel->Changed = [this](const char*) {
    ApplyOptions();
    m_Host.ApplyOptions();
  };
  return panel;
}

BaseWidget* MainForm::MakeHotKeys() { return new HotKeyWindow(m_HotKeys, m_Actions, &m_Parts.Commands); }

BaseWidget* MainForm::MakeCommands() {
  return new CommandPanel(m_Parts.Commands, [this](const BatchLine& line) {
    CommandResult result = Run(line);
    if (result.EndsRun) RequestClose();
    return result;
  });
}

BaseWidget* MainForm::MakeRoomNote() {
  auto* column = new ScrollArea;
  column->Padding = 10;
  auto* note = column->Content().AddChild(new TextWidget("ROOM_WITHOUT_TOOLS"));
  note->Wraps = true;
  note->Dim = true;
  return column;
}
