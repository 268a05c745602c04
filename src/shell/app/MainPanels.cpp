// The panels of the rooms.
#include <algorithm>
#include <numbers>
#include <utility>

#include "interface/Button.h"
#include "interface/HotKeyWindow.h"
#include "interface/Language.h"
#include "interface/Layout.h"
#include "interface/NaviControl.h"
#include "interface/ObjBrowser.h"
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

/// A text about an action, with its key behind it.
std::string WithKey(const std::string& text, const Action& action, const HotKeys& keys) {
  const std::string key = GetKeyText(keys.KeyText(action.Name));
  return key.empty() ? text : text.empty() ? key : text + " (" + key + ")";
}

/// A button that is enabled while its action is, and tells its key.
class ActionButton : public Button {
  REFLECTED(ActionButton, Button)
 public:
  ActionButton() = default;
  ActionButton(const ::Action& action, const HotKeys& keys)
      : Button(action.TextKey, action.Icon), m_Action(&action), m_Keys(&keys) {
    IsChecked = action.IsChecked;
    Action = action.Run;
    HintKey = action.TextKey;
    Flat = true;
  }
  void Process(double) override {
    if (m_Action) Enabled = m_Action->Enabled();
  }
  std::string GetHintText(float x, float y) const override {
    if (!m_Action) return {};
    // A picture alone says its name.
    return WithKey(Text.Empty() ? ::GetText(m_Action->TextKey) : Button::GetHintText(x, y), *m_Action, *m_Keys);
  }

 private:
  const ::Action* m_Action = nullptr;
  const HotKeys* m_Keys = nullptr;
};
DECLARE_MEMBERS(ActionButton) {}

/// The rows of an object, and above them a line of buttons.
class HeadedPanel : public BaseWidget {
  REFLECTED(HeadedPanel, BaseWidget)
 public:
  HeadedPanel() = default;
  HeadedPanel(BaseWidget* head, BaseClass& object) : m_Head(AddChild(head)), m_Parameters(AddChild(new PanelWidget(&object))) {}
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
  PanelWidget* m_Parameters = nullptr;
};
DECLARE_MEMBERS(HeadedPanel) {}

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
  add("TabletPanel", "Tablet", &MainForm::MakeTabletPanel, DockSide::Right, 264, 220);
  add("PreferencesPanel", "Settings", &MainForm::MakePreferences, DockSide::Right, 320, 480);
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
    m_Parts.Widgets.RequestArrange();
  };
  InitPages(std::move(hooks));
}

void MainForm::BuildDefaultLayout(int page) {
  if (GetPageNames()[size_t(page)] == "Voxels")
    m_Docks->SetDefault({"ToolsPanel", "ToolParamsPanel", "VoxTreePanel"});
  else
    m_Docks->SetDefault({"RoomNotePanel", "ViewPanel", "VoxTreePanel"});
}

BaseWidget* MainForm::MakeToolsPanel() {
  auto* area = new ScrollArea;
  area->Padding = 6;
  const auto addButton = [&](const char* name) {
    area->Content().AddChild(new ActionButton(*m_Actions.Find(name), m_HotKeys))->Align = TextAlign::Left;
  };
  const auto addTitle = [&](const char* key) {
    auto* title = area->Content().AddChild(new TextWidget(key));
    title->Style = TextStyle::Small;
    title->Dim = true;
  };
  addTitle("VOXSURFMODES");
  for (const char* name : {"BrushCarve", "BrushSphere", "BrushSegment", "BrushStamp"}) addButton(name);
  addTitle("SYMMETRY");
  for (const char* name : {"SymmetryX", "SymmetryY", "SymmetryZ"}) addButton(name);
  addTitle("EDIT");
  for (const char* name : {"Undo", "Redo", "FrameObject"}) addButton(name);
  return area;
}

BaseWidget* MainForm::MakeToolParams() {
  auto* presets = new Button("PRESETS", "Menu");
  presets->Align = TextAlign::Left;
  presets->Action = [this, presets] {
    TextMenu::Open(
        m_Parts.Widgets, presets->Rect, [this](TextMenu& menu) { FillPresets(menu); }, presets);
  };
  return new HeadedPanel(presets, m_VoxelTool);
}

// Grid and edges are switches of the program, with keys and menu items of their own.
BaseWidget* MainForm::MakeViewPanel() {
  auto* switches = new RowWidget;
  for (const char* name : {"ShowGrid", "Wireframe"}) switches->AddWeighted(new ActionButton(*m_Actions.Find(name), m_HotKeys), 1);
  return new HeadedPanel(switches, m_ViewOptions);
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
    return WithKey(GetText(action.TextKey), action, m_HotKeys);
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
    control->AddButton(new ActionButton(*m_Actions.Find(name), m_HotKeys));
  return control;
}

BaseWidget* MainForm::MakeVoxTree() { return new ObjBrowser(std::make_shared<VoxTreeModel>(m_Parts.Scene)); }

BaseWidget* MainForm::MakeTabletPanel() { return new TabletPanel(m_Host.GetPenState); }

BaseWidget* MainForm::MakePreferences() {
  auto* panel = new PanelWidget(&m_Parts.Options);
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
