// The panels of the rooms.
#include "interface/Button.h"
#include "interface/HotKeyWindow.h"
#include "interface/Layout.h"
#include "interface/ObjBrowser.h"
#include "interface/PanelWidget.h"
#include "interface/ScrollArea.h"
#include "interface/TextWidget.h"
#include "shell/app/MainForm.h"
#include "shell/app/TabletPanel.h"
#include "shell/app/VoxTreeModel.h"
#include "shell/core/Pages.h"

void MainForm::AddPanels() {
  const auto add = [this](const char* key, const char* icon, BaseWidget* (MainForm::*make)(), DockSide side, float width,
                          float height) {
    m_Docks->Add({key, icon, [this, make] { return (this->*make)(); }, side, width, height});
  };
  add("ToolsPanel", "Brush", &MainForm::MakeToolsPanel, DockSide::Left, 148, 500);
  add("ToolParamsPanel", "Settings", &MainForm::MakeToolParams, DockSide::Right, 264, 420);
  add("VoxTreePanel", "Layers", &MainForm::MakeVoxTree, DockSide::Right, 264, 180);
  add("ViewPanel", "Visible", &MainForm::MakeViewPanel, DockSide::Right, 264, 260);
  add("TabletPanel", "Tablet", &MainForm::MakeTabletPanel, DockSide::Right, 264, 220);
  add("PreferencesPanel", "Settings", &MainForm::MakePreferences, DockSide::Right, 320, 480);
  add("HotKeysPanel", "Keyboard", &MainForm::MakeHotKeys, DockSide::Right, 380, 480);
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
    const Action* action = m_Actions.Find(name);
    auto* button = area->Content().AddChild(new Button(action->TextKey, action->Icon));
    button->Align = TextAlign::Left;
    button->Flat = true;
    button->IsChecked = action->IsChecked;
    button->Action = action->Run;
    button->HintKey = action->TextKey + "_HINT";
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
  for (const char* name : {"Undo", "Redo", "FrameScene"}) addButton(name);
  return area;
}

BaseWidget* MainForm::MakeToolParams() {
  auto* panel = new PanelWidget(&m_VoxelTool);
  panel->Changed = [this](const char*) { m_VoxelTool.OnParametersChanged(nullptr, nullptr, nullptr, nullptr); };
  return panel;
}

BaseWidget* MainForm::MakeViewPanel() { return new PanelWidget(&m_ViewOptions); }

BaseWidget* MainForm::MakeVoxTree() { return new ObjBrowser(std::make_shared<VoxTreeModel>(m_Parts.Scene)); }

BaseWidget* MainForm::MakeTabletPanel() { return new TabletPanel(m_Host.GetPenState); }

BaseWidget* MainForm::MakePreferences() {
  auto* panel = new PanelWidget(&m_Parts.Options);
  panel->Changed = [this](const char*) {
    m_Navi.Settings = m_Parts.Options.GetNaviSettings();
    m_Host.ApplyOptions();
  };
  return panel;
}

BaseWidget* MainForm::MakeHotKeys() { return new HotKeyWindow(m_HotKeys, m_Actions); }

BaseWidget* MainForm::MakeRoomNote() {
  auto* column = new ScrollArea;
  column->Padding = 10;
  auto* note = column->Content().AddChild(new TextWidget("ROOM_WITHOUT_TOOLS"));
  note->Wraps = true;
  note->Dim = true;
  return column;
}
