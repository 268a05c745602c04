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
#include "interface/Language.h"
#include "interface/TextMenu.h"
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
    FormHost host;
    host.Close = [this] { Closed++; };
    host.SetFullScreen = [](bool) {};
    host.StoreScreenshot = [this] { Screenshots++; };
    host.GetPenState = [] { return PenState(); };
    host.ApplyOptions = [this] { Applied++; };
    host.FrameMilliseconds = [] { return 1.0f; };
    Widgets.SetSize(Width, Height, 1);
    Form = std::make_unique<MainForm>(MainForm::Parts{Widgets, Commands, Scene, Boxes, Options, Settings}, host);
    Screen.Begin(Width, Height, 1);
    Form->Open();
    Frame();
  }
  ~MainFormTest() override {
    Form.reset();
    ReleaseTools();
    SetEngineHost(nullptr);
    fs::remove_all(m_Folder);
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
    for (const char* list : {"VoxelBrushes", "InterfaceThemes", "NavigationPresets", "PenCursors", "SceneMaterials", "ClayKinds",
                             "MatcapKinds", "SceneQualities"}) {
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
    }
  }
  EXPECT_EQ(Closed, 2);
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
  at(InputKind::PointerMove, 0.5f, 0.5f);
  EXPECT_TRUE(Form->VoxelTool().Hover());
  at(InputKind::ButtonDown, 0.5f, 0.5f);
  EXPECT_TRUE(Form->VoxelTool().IsStroking());
  at(InputKind::PointerMove, 0.56f, 0.5f);
  at(InputKind::ButtonUp, 0.56f, 0.5f);
  EXPECT_FALSE(Form->VoxelTool().IsStroking());
  Form->VoxelTool().GetStatusText(during);
  EXPECT_NE(before, during);
  Press('Z', ModControl);
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
