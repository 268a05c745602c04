// The whole interface without a window: the form on the device that draws nothing, and hands for it.
#include "shell/app/MainForm.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "ClassEngine/ClassHelp.h"
#include "ClassEngine/EngineHost.h"
#include "ClassEngine/Enumerator.h"
#include "ClassEngine/Xml.h"
#include "MC/room/NewScene.h"
#include "MC/room/RoomCommands.h"
#include "comms/SafeFile.h"
#include "comms/cRenderNull.h"
#include "interface/Button.h"
#include "interface/FileBrowser.h"
#include "interface/Language.h"
#include "interface/MessageBoxWidget.h"
#include "interface/TextMenu.h"
#include "shell/app/CommandPanel.h"
#include "shell/app/WindowMessages.h"
#include "shell/core/DataPath.h"
#include "shell/core/GeneralCommands.h"
#include "shell/core/KeyTable.h"
#include "shell/core/Pages.h"

namespace fs = std::filesystem;

namespace {

/// Keys without a text that were asked for since the language was loaded.
std::vector<std::string> MissingTexts() {
  const std::string folder = testing::TempDir() + "MissingTexts" + std::to_string(getpid());
  fs::remove_all(folder);
  fs::create_directories(folder);
  std::string error;
  EXPECT_TRUE(WriteMissingTexts(folder, error)) << error;
  std::vector<std::string> keys;
  std::ifstream file(folder + "/text.xml");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  XmlNode root;
  if (!text.empty()) root.Parse(text);
  for (int32_t i = 0; i < root.GetChildCount(); i++)
    if (const XmlNode* key = root.GetChild(i)->FindChild("Key")) keys.emplace_back(key->GetValueView());
  fs::remove_all(folder);
  return keys;
}

class MainFormTest : public testing::Test {
 protected:
  MainFormTest() : Screen(Render, MORVANE_DATA_DIR), Widgets(Screen), Boxes(Widgets), Scene(MORVANE_DATA_DIR) {
    m_Folder = testing::TempDir() + "MainForm" + std::to_string(getpid()) + "/";
    fs::remove_all(m_Folder);
    fs::create_directories(m_Folder);
    SetDataPath(m_Folder, MORVANE_DATA_DIR);
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
    fs::remove_all(m_Folder);
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
    m_TimeSec += 1;
    Widgets.Process(m_TimeSec);
    Render.BeginFrame(m_TimeSec);
    Widgets.SetSize(Width, Height, 1);
    Screen.Begin(Width, Height, 1);
    Form->BeginFrame(m_TimeSec);
    Widgets.ArrangeIfWanted();
    Widgets.HandleInputEvents();
    Widgets.DrawLayer(LayerScene);
    Form->RunTool(m_TimeSec);
    Form->DrawScene(Render);
    Form->DrawOverlay(Screen);
    Widgets.ArrangeIfWanted();
    for (const int layer : {LayerDocks, LayerFloating, LayerMenus, LayerModal}) Widgets.DrawLayer(layer);
    Screen.End();
    Widgets.EmptyDeferredList();
    Render.EndFrame();
  }
  void Press(int key, uint8_t modifiers = 0) {
    for (const InputKind kind : {InputKind::KeyDown, InputKind::KeyUp}) {
      InputEvent event;
      event.Kind = kind;
      event.Key = key;
      event.Modifiers = modifiers;
      Widgets.Queue(event);
    }
    Frame();
  }
  void Click(float x, float y) {
    for (const InputKind kind : {InputKind::PointerMove, InputKind::ButtonDown, InputKind::ButtonUp}) {
      InputEvent event;
      event.Kind = kind;
      event.X = x;
      event.Y = y;
      if (kind != InputKind::PointerMove) event.Button = MouseButton::Left;
      Widgets.Queue(event);
    }
    Frame();
  }
  void Type(const std::string& text) {
    InputEvent event;
    event.Kind = InputKind::Text;
    event.Text = text;
    Widgets.Queue(event);
    Frame();
  }
  template <class W>
  static W* Find(BaseWidget& root) {
    if (auto* found = dynamic_cast<W*>(&root)) return found;
    for (BaseWidget* child : root.Children)
      if (W* found = Find<W>(*child)) return found;
    return nullptr;
  }
  /// The item of that text in the menu that was opened last; null where there is none.
  TextItem* FindItem(const std::string& text) {
    BaseWidget& layer = Widgets.Layer(LayerMenus);
    if (!layer.Children.Count) return nullptr;
    for (BaseWidget* item : layer.Children[layer.Children.Count - 1]->Children)
      if (item->GetText() == text) return static_cast<TextItem*>(item);
    return nullptr;
  }
  /// Opens the menu of the bar that has such an item; null, with no menu open, where none has.
  TextItem* OpenMenuWith(const std::string& text) {
    auto* bar = Find<MenuBar>(Widgets.Layer(LayerDocks));
    for (int i = 0; i < 6; i++) {
      bar->OpenMenu(i, false);
      Frame();
      if (TextItem* item = FindItem(text)) return item;
      Widgets.ClosePopups();
      Frame();
    }
    return nullptr;
  }
  /// Chooses an item of the bar's menus, or of a menu beside it. False where it is not there.
  bool Choose(const std::vector<std::string>& path) {
    TextItem* item = OpenMenuWith(path.front());
    for (size_t i = 0; item; i++) {
      Click(item->Rect.X + 40, item->Rect.Y + item->Rect.H / 2);
      Frame();
      if (i + 1 == path.size()) return true;
      item = FindItem(path[i + 1]);
    }
    Widgets.ClosePopups();
    Frame();
    return false;
  }
  /// Opens each menu of the bar with the keys; how many there were.
  int WalkMenus() {
    Click(20, 12);
    std::set<std::string> seen;
    for (; Widgets.HasPopups(); Press(KeyRight)) {
      std::string items;
      for (BaseWidget* popup : Widgets.Layer(LayerMenus).Children)
        for (BaseWidget* item : popup->Children) items += item->GetText() + "|";
      if (!seen.insert(items).second) break;
    }
    Widgets.ClosePopups();
    Frame();
    return int(seen.size());
  }
  void OpenAllPanels() {
    for (const DockPanel& panel : Form->Docks().All()) {
      Form->Docks().Open(panel.Key);
      Frame();
      EXPECT_TRUE(Form->Docks().IsOpen(panel.Key)) << panel.Key;
    }
  }

  const std::string& Folder() const { return m_Folder; }

  static constexpr int Width = 1280, Height = 800;
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

 private:
  std::string m_Folder;
  double m_TimeSec = 0;
};

TEST_F(MainFormTest, EveryRoomHasItsMenusAndPanels) {
  for (const int page : ListAllowedPages()) {
    Press(KeyF1 + 4 + page);
    ASSERT_EQ(CurrentPage, page);
    const bool voxels = GetPageNames()[size_t(page)] == "Voxels";
    EXPECT_EQ(WalkMenus(), voxels ? 6 : 5) << GetPageNames()[size_t(page)];
    EXPECT_EQ(Form->Docks().IsOpen("ToolsPanel"), voxels);
    EXPECT_EQ(Form->Docks().IsOpen("RoomNotePanel"), !voxels);
  }
  // Back again: the bar still answers.
  Press(KeyF1 + 4);
  ASSERT_EQ(CurrentPage, 0);
  EXPECT_EQ(WalkMenus(), 6);
  OpenAllPanels();
  EXPECT_GE(Form->ViewRect().W, float(Width) * DockPanels::SceneShare - 1);

  std::ofstream(Folder() + "Pages.txt") << "Render, Paint";
  CloseForm();
  OpenForm();
  EXPECT_EQ(CurrentPage, FindPage("Paint")) << "the first one that is allowed";
}

TEST_F(MainFormTest, TheBoundsOfUndoFollowTheOptions) {
  Options.UndoDepth = 2;
  Form->ApplyOptions();
  ASSERT_TRUE(Form->GetActions().Run("NewSphere"));
  for (int i = 0; i < 3; i++) ASSERT_TRUE(Form->RunCommand("Dab Center=\"1 0 0\" Radius=0.2 Mode=" + std::to_string(i & 1)));
  EXPECT_TRUE(Form->RunCommand("Undo") && Form->RunCommand("Undo"));
  EXPECT_FALSE(Form->RunCommand("Undo"));
  Options.UndoMegabytes = 64;
  Form->ApplyOptions();
  EXPECT_EQ(Scene.History().ByteBound, size_t(64) << 20);
}

std::set<std::string> ReadKeys(const std::string& language) {
  std::vector<uint8_t> bytes;
  std::string error;
  EXPECT_TRUE(comms::ReadWholeFile(std::string(MORVANE_DATA_DIR) + "/Languages/" + language + ".xml", bytes, error)) << error;
  XmlNode root;
  EXPECT_GT(root.Parse(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size())), 0);
  std::set<std::string> keys;
  for (int32_t i = 0; i < root.GetChildCount(); i++) {
    const std::string key(root.GetChild(i)->FindChild("Key")->GetValueView());
    EXPECT_TRUE(keys.insert(key).second) << language << " has " << key << " twice";
    EXPECT_FALSE(root.GetChild(i)->FindChild("Text")->GetValueView().empty()) << language << ": " << key;
  }
  return keys;
}

TEST(Languages, HaveTheSameKeys) { EXPECT_EQ(ReadKeys("English"), ReadKeys("German")); }

// Whatever is asked for while everything is shown, and what is only asked for at times.
TEST_F(MainFormTest, EverythingHasATextInBothLanguages) {
  for (const char* language : {"English", "German"}) {
    LoadTexts(language);
    Form->Rebuild();
    OpenAllPanels();
    for (const int page : ListAllowedPages()) {
      SwitchPage(page);
      Frame();
      WalkMenus();
      OpenAllPanels();
    }
    SwitchPage(0);
    Frame();
    for (const Action& action : Form->GetActions().All()) GetText(action.TextKey);
    Form->Docks().Open("CommandsPanel");
    Frame();
    for (const Command& command : Commands.All()) {
      Find<CommandPanel>(Widgets.Layer(LayerDocks))->Choose(command);
      Frame();
    }
    for (const char* list : {"VoxelBrushes", "InterfaceThemes", "InterfaceScales", "Languages", "NavigationPresets",
                             "SceneMaterials", "ClayKinds", "MatcapKinds", "SceneQualities"}) {
      const Enumerator* entries = EnumRegistry::Find(list);
      ASSERT_TRUE(entries && entries->GetCount()) << list;
      for (int32_t i = 0; i < entries->GetCount(); i++) GetText(entries->EnumName(i));
    }
    for (BaseClass* object : std::initializer_list<BaseClass*>{&Form->VoxelTool(), &Form->ViewOptions(), &Options})
      for (const MemberInfo& member : DescribeMembers(*object)) {
        if (member.Name == "IsRoomTool" || member.Name == "UseFillParams") continue;  // of no panel
        GetText(member.Name);
        if (!member.Unit.empty()) GetText(member.Unit);
      }
    for (const char* brush : {"BrushStamp", "BrushSphere", "BrushSegment", "BrushCarve"}) {
      EXPECT_TRUE(Form->GetActions().Run(brush));
      Frame();
    }
    const std::vector<std::string> missing = MissingTexts();
    std::string list;
    for (const std::string& key : missing) list += key + "\n";
    EXPECT_TRUE(missing.empty()) << language << ":\n" << list;
  }
}

TEST_F(MainFormTest, EveryActionRuns) {
  const std::set<std::string> dialogs{"OpenMesh", "ExportScene"};
  for (int round = 0; round < 2; round++) {  // switches go on and off again
    for (const Action& action : Form->GetActions().All()) {
      if (dialogs.count(action.Name) || !action.Enabled()) continue;
      SCOPED_TRACE(action.Name);
      const bool checked = action.Checked();
      action.Run();
      Frame();
      const bool isSwitch = action.Name.starts_with("Symmetry") || action.Name.starts_with("Show") || action.Name == "Wireframe";
      EXPECT_TRUE(!isSwitch || action.Checked() != checked);
      EXPECT_EQ(Widgets.HasModal(), action.Name == "QuitProgram");
      if (Widgets.HasModal()) Press(KeyEsc);
    }
  }
  EXPECT_EQ(Closed, 0) << "asked, for there is a sphere";
  EXPECT_EQ(Screenshots, 2);
  EXPECT_GT(Applied, 0);
  EXPECT_EQ(Scene.Volumes().size(), 2u) << "a sphere each round";
}

// A press in the view is a stroke; one Ctrl+Z takes it back; the brush goes when the pointer leaves the view.
TEST_F(MainFormTest, StrokeUndoAndHover) {
  ASSERT_TRUE(Form->GetActions().Run("NewSphere"));
  for (int i = 0; i < 3; i++) Frame();
  const cRect view = Form->ViewRect();
  const auto at = [&](InputKind kind, float x, float y) {
    InputEvent event;
    event.Kind = kind;
    event.X = view.X + x * view.W;
    event.Y = view.Y + y * view.H;
    event.Pressure = 1;
    if (kind != InputKind::PointerMove) event.Button = MouseButton::Left;
    Widgets.Queue(event);
    Frame();
  };
  std::string before, during, after;
  Form->VoxelTool().GetStatusText(before);
  EXPECT_EQ(OpenMenuWith("Undo Stroke"), nullptr);
  ASSERT_TRUE(OpenMenuWith("Undo"));
  EXPECT_FALSE(FindItem("Undo")->CanChoose() || FindItem("Redo")->CanChoose());
  Widgets.ClosePopups();
  at(InputKind::PointerMove, 0.5f, 0.5f);
  EXPECT_TRUE(Form->VoxelTool().Hover());
  at(InputKind::ButtonDown, 0.5f, 0.5f);
  EXPECT_TRUE(Form->VoxelTool().IsStroking());
  at(InputKind::PointerMove, 0.56f, 0.5f);
  at(InputKind::ButtonUp, 0.56f, 0.5f);
  EXPECT_FALSE(Form->VoxelTool().IsStroking());
  Form->VoxelTool().GetStatusText(during);
  EXPECT_NE(before, during);
  ASSERT_TRUE(OpenMenuWith("Undo Stroke"));
  EXPECT_TRUE(FindItem("Undo Stroke")->CanChoose());
  Widgets.ClosePopups();
  Press('Z', ModControl);
  ASSERT_TRUE(OpenMenuWith("Redo Stroke"));
  EXPECT_TRUE(FindItem("Redo Stroke")->CanChoose());
  Widgets.ClosePopups();
  Form->VoxelTool().GetStatusText(after);
  EXPECT_EQ(before, after);
  EXPECT_TRUE(Form->VoxelTool().Hover());
  InputEvent away;
  away.Kind = InputKind::PointerMove;
  away.X = 5;
  away.Y = 5;
  Widgets.Queue(away);
  Frame();
  EXPECT_FALSE(Form->VoxelTool().Hover()) << "the brush stays behind";
}

// Work that no file has is not lost by a key.
TEST_F(MainFormTest, ClosingAsksForWhatChanged) {
  Press('Q', ModControl);
  EXPECT_EQ(Closed, 1) << "nothing to lose";
  ASSERT_TRUE(Form->GetActions().Run("NewSphere"));
  EXPECT_TRUE(Form->IsSceneModified());
  Press('Q', ModControl);
  ASSERT_TRUE(Widgets.HasModal());
  Form->RequestClose();  // the window's button, meanwhile
  Press(KeyEsc);
  EXPECT_FALSE(Widgets.HasModal()) << "one question";
  EXPECT_EQ(Closed, 1);

  Form->KeepSceneState();
  ASSERT_TRUE(Form->RunCommand("Dab Center=\"1 0 0\" Radius=0.2"));
  EXPECT_TRUE(Form->IsSceneModified());
  ASSERT_TRUE(Form->RunCommand("Undo"));
  EXPECT_FALSE(Form->IsSceneModified()) << "undone is as it was";
  ASSERT_TRUE(Form->RunCommand("Redo"));
  EXPECT_TRUE(Form->IsSceneModified());
  Press('Q', ModControl);
  auto* box = dynamic_cast<MessageBoxWidget*>(Widgets.TopModal());
  ASSERT_TRUE(box);
  box->Answer(1);
  EXPECT_EQ(Closed, 2);

  // Save: the file is chosen first, and a cancel there keeps the program.
  for (const bool cancels : {true, false}) {
    Form->RequestClose();
    box = dynamic_cast<MessageBoxWidget*>(Widgets.TopModal());
    ASSERT_TRUE(box);
    box->Answer(0);
    Frame();
    auto* browser = dynamic_cast<FileBrowser*>(Widgets.TopModal());
    ASSERT_TRUE(browser);
    EXPECT_EQ(Closed, 2);
    if (cancels) {
      browser->Cancel();
    } else {
      ASSERT_TRUE(browser->Enter(Folder()));
      browser->Accept();
    }
    Frame();
  }
  EXPECT_EQ(Closed, 3);
  EXPECT_TRUE(fs::exists(Folder() + "sphere.obj"));
  EXPECT_FALSE(Form->IsSceneModified());
}

// A person stops an import while it runs; nothing of it is left, and the next work runs to its end.
TEST_F(MainFormTest, StoppedWorkLeavesTheSceneAsItWas) {
  ASSERT_TRUE(Form->GetActions().Run("NewSphere"));
  const std::string path = Folder() + "ball.obj";
  ASSERT_TRUE(Form->RunCommand("ExportMesh File=" + QuoteBatchValue(path)));
  const auto state = Scene.State();

  double seconds = 0;
  int drawn = 0;
  bool asleep = false, byButton = false;
  Progress.Clock = [&] { return seconds += 1; };
  Progress.IsAsleep = [&] { return asleep; };
  Progress.Draw = [&](const ProgressFrame& frame) {
    drawn++;
    EXPECT_TRUE(HasText(frame.TitleKey)) << frame.TitleKey;
    Screen.Begin(Width, Height, 1);
    Form->DrawProgress(Screen, frame);
    Screen.End();
  };
  int until = 2;  // pumps before the person has had enough
  Progress.PumpMessages = [&] {
    InputEvent event;
    event.Kind = InputKind::KeyDown;
    event.Key = 'A';
    EXPECT_FALSE(Form->CancelsProgress(event));
    if (until-- > 0) return;
    event.Key = KeyEsc;
    if (byButton) {
      event.Kind = InputKind::ButtonDown;
      event.Button = MouseButton::Left;
      event.X = 5, event.Y = 5;
      EXPECT_FALSE(Form->CancelsProgress(event));
      for (event.Y = 0; event.Y < Height && !Form->CancelsProgress(event); event.Y += 4)
        for (event.X = 0; event.X < Width && !Form->CancelsProgress(event);) event.X += 8;
    }
    EXPECT_TRUE(Form->CancelsProgress(event));
    Progress.Cancel();
  };
  std::string error;
  for (const int pumps : {0, 1, 2}) {
    byButton = pumps == 2;
    until = pumps;
    drawn = 0;
    EXPECT_FALSE(Form->OpenFile(path, error)) << pumps;
    EXPECT_NE(error.find("cancel"), std::string::npos) << error;
    EXPECT_GT(drawn, 0);
    EXPECT_EQ(Scene.State(), state);
    EXPECT_EQ(Scene.Mesh(), nullptr);
  }
  asleep = true;
  drawn = 0;
  until = 1000000;
  EXPECT_TRUE(Form->OpenFile(path, error)) << error;
  EXPECT_EQ(drawn, 0) << "nobody sees it";
  EXPECT_NE(Scene.State(), state);
}

TEST_F(MainFormTest, LayoutsAndPresetsAreKeptUnderNames) {
  Form->Docks().Open("TabletPanel");
  ASSERT_TRUE(Choose({"Layouts", "Save layout as…"}));
  Type("a/b");
  Press(KeyEnter);
  EXPECT_TRUE(Widgets.HasModal()) << "no name for a file";
  Press('A', ModControl);
  Type("Mine");
  Press(KeyEnter);
  EXPECT_FALSE(Widgets.HasModal());
  ASSERT_TRUE(Choose({"Layouts", "Restore default layout"}));
  EXPECT_FALSE(Form->Docks().IsOpen("TabletPanel"));
  ASSERT_TRUE(Choose({"Layouts", "Mine"}));
  EXPECT_TRUE(Form->Docks().IsOpen("TabletPanel"));
  ASSERT_TRUE(Choose({"Layouts", "Rename", "Mine"}));
  Type("Other");
  Press(KeyEnter);
  EXPECT_EQ(ListPageLayouts(LayoutKind::OnePage), std::vector<std::string>{"Other"});
  ASSERT_TRUE(Choose({"Layouts", "Delete", "Other"}));
  Press(KeyEnter);
  EXPECT_TRUE(ListPageLayouts(LayoutKind::OnePage).empty());

  Form->VoxelTool().Radius = 77;
  ASSERT_TRUE(Choose({"Presets", "Save as preset…"}));
  Type("Broad");
  Press(KeyEnter);
  Form->VoxelTool().Radius = 12;
  ASSERT_TRUE(Choose({"Presets", "Save as preset…"}));
  Type("Broad");
  Press(KeyEnter);
  ASSERT_TRUE(Widgets.HasModal()) << "there is one of that name";
  Press(KeyEsc);
  ASSERT_TRUE(Choose({"Presets", "Broad"}));
  EXPECT_EQ(Form->VoxelTool().Radius, 77);

  // Both outlive the program; the tool starts with what it was told to start with.
  Form->VoxelTool().Radius = 31;
  ASSERT_TRUE(Choose({"Presets", "Start with these settings"}));
  CloseForm();
  OpenForm();
  EXPECT_EQ(Form->VoxelTool().Radius, 31);
  EXPECT_TRUE(Form->VoxelTool().Active) << "no preset holds whether the tool is down";
  ASSERT_TRUE(Choose({"Presets", "Broad"}));
  EXPECT_EQ(Form->VoxelTool().Radius, 77);
  ASSERT_TRUE(Choose({"Presets", "Delete", "Broad"}));
  Press(KeyEnter);
  EXPECT_FALSE(Choose({"Presets", "Broad"}));
  ASSERT_TRUE(Choose({"Presets", "Reset to defaults"}));
  EXPECT_EQ(Form->VoxelTool().Radius, 40);
  EXPECT_TRUE(Form->VoxelTool().Active);
}

// Whatever the program can do is found without reading about it.
TEST_F(MainFormTest, EveryActionAndCommandIsReached) {
  std::set<std::string> items;
  auto* bar = Find<MenuBar>(Widgets.Layer(LayerDocks));
  const std::function<void(BaseWidget&)> collect = [&](BaseWidget& menu) {
    for (BaseWidget* child : menu.Children) {
      items.insert(child->GetText());
      auto* item = static_cast<TextItem*>(child);
      if (!item->Fill) continue;
      TextMenu beside;
      item->Fill(beside);
      collect(beside);
    }
  };
  for (int i = 0; i < 6; i++) {
    bar->OpenMenu(i, false);
    collect(*Widgets.Layer(LayerMenus).Children[0]);
    Widgets.ClosePopups();
    Frame();
  }
  for (const Action& action : Form->GetActions().All()) {
    if (action.Name == "ToggleTheme") continue;  // the themes are there
    EXPECT_TRUE(items.count(action.Text ? action.Text() : GetText(action.TextKey))) << action.Name;
  }

  const std::function<std::string(BaseWidget&)> hintOf = [&](BaseWidget& root) -> std::string {
    if (auto* button = dynamic_cast<Button*>(&root); button && button->GetText() == "Sphere") return button->GetHintText(0, 0);
    for (BaseWidget* child : root.Children)
      if (std::string hint = hintOf(*child); !hint.empty()) return hint;
    return {};
  };
  EXPECT_EQ(hintOf(Widgets.Layer(LayerDocks)), GetText("BrushSphere_HINT") + " (S)");

  Form->Docks().Open("CommandsPanel");
  Frame();
  auto* panel = Find<CommandPanel>(Widgets.Layer(LayerDocks));
  ASSERT_TRUE(panel);
  std::string error;
  for (const Command& command : Commands.All()) {
    panel->Choose(command);
    Frame();
    EXPECT_EQ(panel->GetLine().Name, command.Name);
    EXPECT_LE(panel->GetLine().Arguments.size(), command.Required.size()) << command.Name << " is not at its defaults";
  }
  panel->Choose(*Commands.Find("NewVolume"));
  panel->Run();
  EXPECT_NE(panel->Answer().find("needs Name="), std::string::npos) << panel->Answer();
  ASSERT_TRUE(SetMemberFromText(*panel->Parameters(), "Name", "a \"b\"", error)) << error;
  ASSERT_TRUE(SetMemberFromText(*panel->Parameters(), "VoxelSize", "0.5", error)) << error;
  panel->Run();
  EXPECT_TRUE(Scene.Find("a \"b\"")) << panel->Answer();
  panel->Choose(*Commands.Find("Quit"));
  panel->Run();
  EXPECT_TRUE(Widgets.HasModal()) << "the volume is in no file";
}

// The camera of a scene that grows follows it only until a hand is on the view.
TEST_F(MainFormTest, FollowingEndsWhereThePersonLooks) {
  MakeSphereVolume(Scene, "large", 3, 0.1f);
  Form->FollowScene();
  const Camera followed = Form->Navi().View;
  EXPECT_GT(followed.Distance(), 6);
  EXPECT_GT(followed.Position.y, 0) << "from above";
  EXPECT_GT(followed.Position.x, 0) << "from three quarters";
  Camera own = followed;
  own.Position.x += 1;
  Form->Navi().SetCamera(own);
  MakeSphereVolume(Scene, "larger", 9, 0.5f);
  Form->FollowScene();
  EXPECT_EQ(Form->Navi().View.Position, own.Position);
}

}  // namespace
