#pragma once
// The whole interface without a window: the form on the device that draws nothing, and hands for it.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "ClassEngine/EngineHost.h"
#include "MC/room/RoomCommands.h"
#include "comms/cRenderNull.h"
#include "interface/Events.h"
#include "interface/Language.h"
#include "interface/PanelRow.h"
#include "interface/TextMenu.h"
#include "shell/TestFolder.h"
#include "shell/app/CommandPanel.h"
#include "shell/app/MainForm.h"
#include "shell/app/WindowMessages.h"
#include "shell/core/DataPath.h"
#include "shell/core/GeneralCommands.h"
#include "shell/core/KeyTable.h"
#include "shell/core/Pages.h"

class MainFormTest : public testing::Test {
 protected:
  MainFormTest() : Screen(Render, MORVANE_DATA_DIR), Widgets(Screen), Boxes(Widgets), Scene(MORVANE_DATA_DIR) {
    SetDataPath(Files.Path(), MORVANE_DATA_DIR);
    FillKeyTable();
    LoadTexts("English");
    SetEngineHost(&Boxes);
    AddGeneralCommands(Commands);
    AddRoomCommands(Commands, Scene, Boxes);
    Settings.RegisterMembers();
    Options.RegisterMembers();
    OpenForm();
  }
  ~MainFormTest() override {
    CloseForm();
    SetEngineHost(nullptr);
  }
  void OpenForm() {
    FormHost host;
    host.Close = [this] { Closed++; };
    host.WorkEnded = [this] { Progress.Finish(); };
    host.StoreScreenshot = [this] { Screenshots++; };
    host.GetPenState = [] { return PenState(); };
    host.ApplyOptions = [this] { Applied++; };
    host.FrameMilliseconds = [] { return 1.0f; };
    Widgets.SetSize(Width, Height, 1);
    Form = std::make_unique<MainForm>(MainForm::Parts{Widgets, Commands, Scene, Options, Settings}, host);
    Screen.Begin(Width, Height, 1);
    Form->Open();
    Frame();
  }
  void CloseForm() {
    Form.reset();
    ReleaseTools();
  }

  static void LoadTexts(const char* language) {
    std::string error;
    ASSERT_TRUE(LoadLanguage(MORVANE_DATA_DIR, language, error)) << error;
  }
  /// A frame, in the order of the window's.
  void Frame() {
    TimeSec += 1;
    Widgets.Process(TimeSec);
    Render.BeginFrame(TimeSec);
    Screen.Begin(Width, Height, 1);
    Form->BeginFrame(TimeSec);
    Widgets.ArrangeIfWanted();
    Widgets.HandleInputEvents();
    Widgets.DrawLayer(LayerScene);
    Form->ProcessNavy(TimeSec);
    Form->RunTool(TimeSec);
    Form->DrawScene(Render);
    Form->DrawOverlay(Screen);
    Widgets.ArrangeIfWanted();
    for (const int layer : {LayerDocks, LayerFloating, LayerMenus, LayerModal}) Widgets.DrawLayer(layer);
    Screen.End();
    Widgets.EmptyDeferredList();
    Render.EndFrame();
  }
  void Send(const InputEvent& event) {
    Widgets.Queue(event);
    Frame();
  }
  void Press(int key, uint8_t modifiers = 0) {
    Widgets.Queue(KeyEvent(key, modifiers));
    Send(KeyEvent(key, modifiers, InputKind::KeyUp));
  }
  void Click(float x, float y) {
    Widgets.Queue(PointerEvent(InputKind::PointerMove, x, y));
    Widgets.Queue(PointerEvent(InputKind::ButtonDown, x, y, MouseButton::Left));
    Send(PointerEvent(InputKind::ButtonUp, x, y, MouseButton::Left));
  }
  /// Into the box for a name.
  void Enter(const std::string& text) {
    Send(TextEvent(text));
    Press(KeyEnter);
  }
  template <class W>
  static W* Find(BaseWidget& root, const char* text = nullptr) {
    if (auto* found = dynamic_cast<W*>(&root); found && (!text || found->GetText() == text)) return found;
    for (BaseWidget* child : root.Children)
      if (W* found = Find<W>(*child, text)) return found;
    return nullptr;
  }
  template <class W>
  static std::vector<W*> FindAll(BaseWidget& root) {
    std::vector<W*> all;
    if (auto* found = dynamic_cast<W*>(&root)) all.push_back(found);
    for (BaseWidget* child : root.Children)
      for (W* found : FindAll<W>(*child)) all.push_back(found);
    return all;
  }
  /// The item of that text in the menu that was opened last; null where there is none.
  TextItem* FindItem(const std::string& text) {
    BaseWidget& layer = Widgets.Layer(LayerMenus);
    return layer.Children.Count ? Find<TextItem>(*layer.Children[layer.Children.Count - 1], text.c_str()) : nullptr;
  }
  void CloseMenus() {
    Widgets.ClosePopups();
    Frame();
  }
  /// Opens the menu of the bar that has such an item; null, with no menu open, where none has.
  TextItem* OpenMenuWith(const std::string& text) {
    auto* bar = Find<MenuBar>(Widgets.Layer(LayerDocks));
    for (int i = 0; i < 7; i++) {
      bar->OpenMenu(i, false);
      Frame();
      if (TextItem* item = FindItem(text)) return item;
      CloseMenus();
    }
    return nullptr;
  }
  /// Chooses an item of the bar's menus, or of a menu beside it. False where it is not there.
  bool Choose(const std::vector<std::string>& path) {
    TextItem* item = OpenMenuWith(path.front());
    for (size_t i = 0; item; i++) {
      Click(item->Rect.X + 40, item->Rect.Y + item->Rect.H / 2);
      if (i + 1 == path.size()) return true;
      item = FindItem(path[i + 1]);
    }
    CloseMenus();
    return false;
  }
  /// The texts of each menu of the bar and of the menus beside it.
  std::vector<std::set<std::string>> ReadMenus() {
    std::vector<std::set<std::string>> menus;
    const std::function<void(BaseWidget&)> collect = [&](BaseWidget& menu) {
      for (BaseWidget* child : menu.Children) {
        menus.back().insert(child->GetText());
        TextMenu beside;
        if (const auto& fill = static_cast<TextItem*>(child)->Fill) fill(beside);
        collect(beside);
      }
    };
    auto* bar = Find<MenuBar>(Widgets.Layer(LayerDocks));
    for (bar->OpenMenu(0, false); size_t(bar->OpenIndex()) == menus.size(); bar->OpenMenu(int(menus.size()), false)) {
      Frame();
      menus.emplace_back();
      collect(*Widgets.Layer(LayerMenus).Children[0]);
      CloseMenus();
    }
    return menus;
  }
  /// Names of the rows whose hint is the English of their declaration.
  static std::set<std::string> ListDeclaredHints(const BaseWidget& root) {
    std::set<std::string> names;
    if (const auto* row = dynamic_cast<const PanelRow*>(&root); row && row->Place().Member) {
      const std::string& declared = row->Place().Member->Help.Hint;
      if (!declared.empty() && row->GetHintText(0, 0) == declared) names.insert(row->Place().FullName);
    }
    for (const BaseWidget* child : root.Children) names.merge(ListDeclaredHints(*child));
    return names;
  }
  void OpenAllPanels() {
    for (const DockPanel& panel : Form->Docks().All()) {
      Form->Docks().Open(panel.Key);
      Frame();
      EXPECT_TRUE(Form->Docks().IsOpen(panel.Key)) << panel.Key;
    }
  }

  /// The whole scene, at once.
  void LookAtAll() {
    Form->Navi().Settings.SmoothViews = false;
    Form->FrameScene();
    Frame();
  }

  /// The panel of the commands, with one of them.
  CommandPanel* OpenCommand(const std::string& name) {
    Form->Docks().Open("CommandsPanel");
    Frame();
    auto* panel = Find<CommandPanel>(Widgets.Layer(LayerDocks));
    panel->Choose(*Commands.Find(name));
    Frame();
    return panel;
  }

  static constexpr int Width = 1280, Height = 800;
  TestFolder Files{"MainForm"};
  comms::cRenderNull Render;
  Canvas Screen;
  cWidgets Widgets;
  WindowMessages Boxes;
  CommandTable Commands;
  VoxelScene Scene;
  AppOptions Options;
  cSettings Settings;
  std::unique_ptr<MainForm> Form;
  ScreenProgress Progress;
  int Closed = 0, Screenshots = 0, Applied = 0;
  double TimeSec = 0;
};
