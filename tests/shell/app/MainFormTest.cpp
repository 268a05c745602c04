// What a person does at the form, and what is kept of it.
#include <algorithm>
#include <cmath>

#include "ClassEngine/ClassHelp.h"
#include "MC/room/NewScene.h"
#include "comms/Log.h"
#include "interface/Button.h"
#include "interface/FileBrowser.h"
#include "interface/HotKeyWindow.h"
#include "interface/MessageBoxWidget.h"
#include "interface/ObjBrowser.h"
#include "interface/TextEdit.h"
#include "interface/TextWidget.h"
#include "shell/app/MainFormFixture.h"

namespace {

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

// Whatever is asked for while everything is shown, and what is only asked for at times.
TEST_F(MainFormTest, EverythingHasATextInBothLanguages) {
  for (const char* language : {"English", "German"}) {
    LoadTexts(language);
    Form->Rebuild();
    for (const int page : ListAllowedPages()) {
      SwitchPage(page);
      Frame();
      ReadMenus();
      OpenAllPanels();
    }
    SwitchPage(0);
    for (const Action& action : Form->GetActions().All()) GetText(action.TextKey);
    for (const Command& command : Commands.All()) OpenCommand(command.Name);
    for (const BasicTool* tool : ToolList) {
      if (!*tool->GetToolKey()) continue;
      GetText(tool->GetToolKey());
      GetText(tool->GetHintKey());
    }
    StillImage picture;
    picture.RegisterMembers();
    for (BaseClass* object : std::initializer_list<BaseClass*>{&Form->VoxelTool(), &Form->Measuring(), &Form->StillImages(),
                                                               &picture, &Form->ViewOptions(), &Options})
      for (const MemberInfo& member : DescribeMembers(*object)) {
        if (member.Hidden) continue;  // of no panel
        GetText(ReadRowSigns(member.Name).Name);
        if (!member.Unit.empty()) GetText(member.Unit);
        for (const std::string& entry : member.Entries) GetText(entry);
      }
    for (const char* brush : {"BrushStamp", "BrushSphere", "BrushSegment", "BrushCarve"}) {
      EXPECT_TRUE(Form->GetActions().Run(brush));
      Frame();
    }
    std::string error;
    EXPECT_TRUE(WriteMissingTexts(Files.Path(), error)) << error;
    EXPECT_EQ(Files.Read("text.xml"), "") << language;
    const std::set<std::string> declared = ListDeclaredHints(Widgets.Layer(LayerDocks));
    EXPECT_EQ(declared.empty(), language != std::string("English")) << language << ": " << testing::PrintToString(declared);
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
      EXPECT_EQ(Widgets.HasModal(), action.Name == "QuitProgram" || action.Name == "ClearScene");
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
  Scene.History().Clear();
  for (int i = 0; i < 3; i++) Frame();
  const cRect view = Form->ViewRect();
  const auto at = [&](InputKind kind, float x, float y) {
    const MouseButton button = kind == InputKind::PointerMove ? MouseButton::None : MouseButton::Left;
    Send(PointerEvent(kind, view.X + x * view.W, view.Y + y * view.H, button));
  };
  const auto before = Scene.State();
  ASSERT_TRUE(OpenMenuWith("Undo"));
  EXPECT_FALSE(FindItem("Undo")->CanChoose() || FindItem("Redo")->CanChoose());
  Widgets.ClosePopups();
  at(InputKind::PointerMove, 0.5f, 0.5f);
  EXPECT_TRUE(Form->VoxelTool().Hover());
  at(InputKind::ButtonDown, 0.5f, 0.5f);
  at(InputKind::PointerMove, 0.56f, 0.5f);
  at(InputKind::ButtonUp, 0.56f, 0.5f);
  EXPECT_NE(Scene.State(), before);
  EXPECT_TRUE(OpenMenuWith("Undo Stroke") && FindItem("Undo Stroke")->CanChoose());
  Widgets.ClosePopups();
  Press('Z', ModControl);
  EXPECT_TRUE(OpenMenuWith("Redo Stroke") && FindItem("Redo Stroke")->CanChoose());
  Widgets.ClosePopups();
  EXPECT_EQ(Scene.State(), before);
  EXPECT_TRUE(Form->VoxelTool().Hover());
  Send(PointerEvent(InputKind::PointerMove, 5, 5));
  EXPECT_FALSE(Form->VoxelTool().Hover()) << "the brush stays behind";
}

// With every preset: what the line below the view says works, and moves no view; beside the object the right button does.
TEST_F(MainFormTest, TheBrushIsSizedAsTheStatusLineSays) {
  ASSERT_TRUE(Form->GetActions().Run("NewSphere"));
  for (int i = 0; i < 3; i++) Frame();
  VoxelSculptTool& tool = Form->VoxelTool();
  int byDrag = 0;
  for (size_t preset = 0; preset < GetNaviPresets().size(); preset++) {
    SCOPED_TRACE(GetNaviPresets()[preset].Name);
    Options.NavigationPreset = int(preset);
    Form->ApplyOptions();
    const std::string hint = tool.GetWorkHint();
    const bool drags = hint.find("Shift + right drag") != std::string::npos;
    EXPECT_NE(hint.find(drags ? "right drag or B:" : "hold B and move:"), std::string::npos) << hint;
    byDrag += drags;
    const auto gesture = [&](float x, float y, bool withKey, uint8_t modifiers) {
      const cRect view = Form->ViewRect();
      x = view.X + x * view.W, y = view.Y + y * view.H;
      const MouseButton button = withKey ? MouseButton::None : MouseButton::Right;
      Send(PointerEvent(InputKind::PointerMove, x, y, MouseButton::None, modifiers));
      Send(withKey ? KeyEvent('B', modifiers) : PointerEvent(InputKind::ButtonDown, x, y, button, modifiers));
      Send(PointerEvent(InputKind::PointerMove, x + 30, y, MouseButton::None, modifiers));
      Send(withKey ? KeyEvent('B', modifiers, InputKind::KeyUp)
                   : PointerEvent(InputKind::ButtonUp, x + 30, y, button, modifiers));
    };
    for (const bool withKey : {true, false}) {
      const Camera before = Form->Navi().View;
      tool.Radius = 40, tool.Smoothness = 0.5f;
      gesture(0.5f, 0.5f, withKey, 0);
      EXPECT_EQ(tool.Radius, withKey || drags ? 70 : 40);
      gesture(0.5f, 0.5f, withKey, ModShift);
      EXPECT_NEAR(tool.Smoothness, withKey || drags ? 0.65 : 0.5, 1e-3);
      EXPECT_EQ(Form->Navi().View.Position == before.Position, withKey || drags);
      LookAtAll();
    }
    const Camera before = Form->Navi().View;
    const float radius = tool.Radius;
    gesture(0.02f, 0.05f, false, 0);
    EXPECT_EQ(tool.Radius, radius);
    EXPECT_FALSE(Form->Navi().View.Position == before.Position) << "beside the object";
    LookAtAll();
  }
  EXPECT_EQ(byDrag, 4) << "all but the one that has the right button for the view";
  // Told are the keys that the person has, by what is printed on them.
  Options.NavigationPreset = 3;
  Form->ApplyOptions();
  ASSERT_TRUE(Form->Keys().Assign({"SizeBrush", {}, {}}, {'K', ModControl}));
  const auto tells = [&tool](const char* words) { return tool.GetWorkHint().find(words) != std::string::npos; };
  EXPECT_TRUE(tells(" [ ] radius") && tells("hold Ctrl+K and move:")) << tool.GetWorkHint();
  SetKeySigns({{KeyLeftBracket, "Ü"}, {KeyRightBracket, "+"}});
  EXPECT_TRUE(tells(" Comma Period radius")) << tool.GetWorkHint();
  SetKeySigns({{KeyLeftBracket, "Ü"}, {KeyRightBracket, "+"}, {KeyComma, ""}, {KeyPeriod, ""}});
  EXPECT_TRUE(tells(" Ü + radius")) << tool.GetWorkHint();
  SetKeySigns({});
  const float radius = tool.Radius;
  Press(KeyComma);
  EXPECT_LT(tool.Radius, radius);
}

// Whoever writes, or gives keys, keeps what is pressed; elsewhere the picture is taken.
TEST_F(MainFormTest, TheKeyOfThePictureLeavesLettersToFields) {
  constexpr int f12 = KeyF1 + 11;
  const HotKeyTarget picture{"StoreScreenshot", {}, {}};
  Form->Docks().Open("HotKeysPanel");
  Frame();
  auto* window = Find<HotKeyWindow>(Widgets.Layer(LayerDocks));
  ASSERT_TRUE(window && Form->Keys().Assign(picture, {'K', 0}));
  EXPECT_TRUE(Form->OnAnywhere(KeyEvent('K')));
  const cRect field = Find<TextEdit>(*window)->Rect;
  Click(field.X + field.W / 2, field.Y + field.H / 2);
  EXPECT_FALSE(Form->OnAnywhere(KeyEvent('K')));
  ASSERT_TRUE(Form->Keys().Assign(picture, {f12, 0}));
  EXPECT_TRUE(Form->OnAnywhere(KeyEvent(f12)));
  window->BeginCapture({"ViewHome", {}, {}});
  EXPECT_FALSE(Form->OnAnywhere(KeyEvent(f12)));
}

// Whatever the preset, a person reads what its buttons do.
TEST_F(MainFormTest, PreferencesTellThePresetOfTheNavigation) {
  Form->Docks().Open("PreferencesPanel");
  for (size_t preset = 0; preset < GetNaviPresets().size(); preset++) {
    Options.NavigationPreset = int(preset);
    Frame();
    std::string told;
    for (TextWidget* text : FindAll<TextWidget>(Widgets.Layer(LayerDocks)))
      if (const std::string all = text->GetText(); all.find("Turn: ") == 0) told += all;
    EXPECT_NE(told.find("\nZoom: wheel"), std::string::npos) << told;
    EXPECT_EQ(told.find("\nRoll: Alt + middle drag") != std::string::npos, preset == 2) << told;
    EXPECT_EQ(told.find("Turn: ", 1), std::string::npos) << "one table";
  }
}

// A crash loses no choice, and every box of the View panel is about what is drawn.
TEST_F(MainFormTest, ChoicesAreKeptAsTheyAreMade) {
  comms::LogRecorder log;
  Form->Docks().Open("ViewPanel");
  Frame();
  auto* edges = Find<Button>(Widgets.Layer(LayerDocks), "Wireframe");
  ASSERT_TRUE(edges);
  Click(edges->Rect.X + 5, edges->Rect.Y + 5);
  EXPECT_TRUE(Settings.Wireframe && edges->IsChecked());
  Form->ViewOptions().Quality = SceneQuality::Fine;
  Options.OrbitSpeed = 2;
  ASSERT_TRUE(Form->Keys().Assign({"ViewHome", {}, {}}, {'J', ModControl}));
  Form->StoreChanges();
  EXPECT_NE(Files.Read("Xmls/Settings.xml").find("<Wireframe>true"), std::string::npos);
  EXPECT_NE(Files.Read("Options.xml").find("<OrbitSpeed>2"), std::string::npos);
  EXPECT_NE(Files.Read("HotKeys.xml").find("ViewHome"), std::string::npos);
  Files.Write("Options.xml", "");
  Form->StoreChanges();
  EXPECT_EQ(Files.Read("Options.xml"), "") << "written without a change";
  EXPECT_FALSE(Files.Has("Temp/page_0.xml")) << "as the program brings it";
  Form->Docks().Open("TabletPanel");
  Form->StoreChanges();
  EXPECT_NE(Files.Read("Temp/page_0.xml").find("TabletPanel"), std::string::npos);
  CloseForm();
  OpenForm();
  EXPECT_EQ(Form->ViewOptions().Quality, SceneQuality::Fine);
  CloseForm();
  Files.Write("Xmls/View.xml", "<SceneViewOptions><Quality>Fast</Quality>");
  OpenForm();
  EXPECT_EQ(Form->ViewOptions().Quality, SceneQuality::Automatic);
  EXPECT_NE(log.Text().find("View.xml"), std::string::npos);
}

// Work that no file has is not lost by a key.
TEST_F(MainFormTest, ClosingAsksForWhatChanged) {
  Press('Q', ModControl);
  EXPECT_EQ(Closed, 1) << "nothing to lose";
  ASSERT_TRUE(Form->GetActions().Run("NewSphere"));
  Press('Q', ModControl);
  ASSERT_TRUE(Widgets.HasModal());
  Form->RequestClose();  // the window's button, meanwhile
  Press(KeyEsc);
  EXPECT_FALSE(Widgets.HasModal()) << "one question";
  EXPECT_EQ(Closed, 1);

  Form->KeepSceneState();
  for (const auto& [command, modified] :
       {std::pair{"Dab Center=\"1 0 0\" Radius=0.2", true}, std::pair{"Undo", false}, std::pair{"Redo", true}}) {
    ASSERT_TRUE(Form->RunCommand(command));
    EXPECT_EQ(Form->IsSceneModified(), modified) << command;
  }
  const auto answer = [&](int index) {
    auto* box = dynamic_cast<MessageBoxWidget*>(Widgets.TopModal());
    ASSERT_TRUE(box);
    box->Answer(index);
    Frame();
  };
  Press('Q', ModControl);
  answer(1);
  EXPECT_EQ(Closed, 2);

  // Save: the file is chosen first, and a cancel there keeps the program.
  for (const bool cancels : {true, false}) {
    EXPECT_EQ(Closed, 2);
    Form->RequestClose();
    answer(0);
    auto* browser = dynamic_cast<FileBrowser*>(Widgets.TopModal());
    ASSERT_TRUE(browser && browser->Enter(Files.Path()));
    cancels ? browser->Cancel() : browser->Accept();
    Frame();
  }
  EXPECT_EQ(Closed, 3);
  EXPECT_TRUE(Files.Has("sphere.obj"));
  EXPECT_FALSE(Form->IsSceneModified());
}

// The only volume goes by a key in its panel: nothing asks, for the next key brings it back; without it there is nothing to
// store.
TEST_F(MainFormTest, WhatIsDeletedInThePanelComesBack) {
  ASSERT_TRUE(Form->GetActions().Run("NewSphere"));
  Frame();
  VolumeObject* const sphere = Scene.Current();
  const auto stands = [&](bool there) {
    Frame();
    EXPECT_EQ(Scene.Current(), there ? sphere : nullptr);
    EXPECT_EQ(Form->View().LastStatistics().Groups > 0, there) << "as it is seen";
    EXPECT_EQ(Form->GetActions().Find("ExportScene")->Enabled(), there);
    EXPECT_EQ(Form->IsSceneModified(), there);
  };
  stands(true);
  const cRect row = Find<ObjBrowser>(Widgets.Layer(LayerDocks))->RowRect(sphere);
  Click(row.X + row.W / 2, row.Y + row.H / 2);
  Press(KeyDelete);
  stands(false);
  Press('Z', ModControl);
  stands(true);
  Press('Y', ModControl);
  stands(false);
  Press('Q', ModControl);
  EXPECT_EQ(Closed, 1);
}

// A person stops an import while it runs; nothing of it is left, and the next work runs to its end.
TEST_F(MainFormTest, StoppedWorkLeavesTheSceneAsItWas) {
  ASSERT_TRUE(Form->GetActions().Run("NewSphere"));
  const std::string path = Files.Path("ball.obj");
  ASSERT_TRUE(Form->RunCommand("ExportMesh File=" + QuoteBatchValue(path)));
  const auto state = Scene.State();

  double seconds = 0;
  int drawn = 0, pumpsLeft = 0;
  Progress.Clock = [&] { return seconds += 1; };
  Progress.Draw = [&](const ProgressFrame& frame) {
    drawn++;
    EXPECT_TRUE(HasText(frame.TitleKey)) << frame.TitleKey;
    Screen.Begin(Width, Height, 1);
    Form->DrawProgress(Screen, frame);
    Screen.End();
  };
  Progress.PumpMessages = [&] {
    if (pumpsLeft-- > 0) return;
    EXPECT_FALSE(Form->CancelsProgress(KeyEvent('A')));
    EXPECT_TRUE(Form->CancelsProgress(KeyEvent(KeyEsc)));
    int hits = 0, misses = 0;  // of the button
    for (float y = 0; y < Height; y += 8)
      for (float x = 0; x < Width; x += 8)
        ++(Form->CancelsProgress(PointerEvent(InputKind::ButtonDown, x, y, MouseButton::Left)) ? hits : misses);
    EXPECT_TRUE(hits < misses && (hits > 10 || drawn == 0)) << hits;
    Progress.Cancel();
  };
  std::string error;
  for (const int pumps : {0, 1, 2}) {
    pumpsLeft = pumps;
    drawn = 0;
    EXPECT_FALSE(Form->OpenFile(path, error)) << pumps;
    EXPECT_NE(error.find("cancel"), std::string::npos) << error;
    EXPECT_GT(drawn, 0);
    EXPECT_EQ(Scene.State(), state);
    EXPECT_EQ(Scene.Mesh(), nullptr);
  }
  pumpsLeft = 1000000;
  EXPECT_TRUE(Form->OpenFile(path, error)) << error;
  EXPECT_NE(Scene.State(), state);
}

TEST_F(MainFormTest, LayoutsAndPresetsAreKeptUnderNames) {
  Form->Docks().Open("TabletPanel");
  ASSERT_TRUE(Choose({"Layouts", "Save layout as…"}));
  Enter("a/b");
  EXPECT_TRUE(Widgets.HasModal()) << "no name for a file";
  Press('A', ModControl);
  Enter(".Mine. ");
  ASSERT_TRUE(Choose({"Layouts", "Restore default layout"}));
  EXPECT_FALSE(Form->Docks().IsOpen("TabletPanel"));
  ASSERT_TRUE(Choose({"Layouts", "Mine"}));
  EXPECT_TRUE(Form->Docks().IsOpen("TabletPanel"));
  ASSERT_TRUE(Choose({"Layouts", "Rename", "Mine"}));
  Enter("Other");
  EXPECT_EQ(ListPageLayouts(LayoutKind::OnePage), std::vector<std::string>{"Other"});
  ASSERT_TRUE(Choose({"Layouts", "Delete", "Other"}));
  Press(KeyEnter);
  EXPECT_TRUE(ListPageLayouts(LayoutKind::OnePage).empty());

  float& radius = Form->VoxelTool().Radius;
  for (const float value : {77.0f, 12.0f}) {
    radius = value;
    ASSERT_TRUE(Choose({"Presets", "Save as preset…"}));
    Enter("Broad");
  }
  ASSERT_TRUE(Widgets.HasModal()) << "there is one of that name";
  Press(KeyEsc);
  ASSERT_TRUE(Choose({"Presets", "Broad"}));
  EXPECT_EQ(radius, 77);

  // It outlives the program; the tool starts with what it was told to start with.
  radius = 31;
  ASSERT_TRUE(Choose({"Presets", "Start with these settings"}));
  CloseForm();
  OpenForm();
  EXPECT_EQ(Form->VoxelTool().Radius, 31);
  EXPECT_TRUE(Form->VoxelTool().Active) << "no preset holds whether the tool is down";
  ASSERT_TRUE(Choose({"Presets", "Delete", "Broad"}));
  Press(KeyEnter);
  EXPECT_FALSE(Choose({"Presets", "Broad"}));
  ASSERT_TRUE(Choose({"Presets", "Reset to defaults"}));
  EXPECT_TRUE(Form->VoxelTool().Radius == 40 && Form->VoxelTool().Active);
}

// Whatever the program can do is found without reading about it.
TEST_F(MainFormTest, EveryActionAndCommandIsReached) {
  std::set<std::string> items;
  for (const std::set<std::string>& menu : ReadMenus()) items.insert(menu.begin(), menu.end());
  for (const Action& action : Form->GetActions().All()) {
    if (action.Name == "ToggleTheme") continue;  // the themes are there
    EXPECT_TRUE(items.count(action.Text ? action.Text() : GetText(action.TextKey))) << action.Name;
  }

  Form->Docks().Open("HotKeysPanel");
  Frame();
  auto* keys = Find<HotKeyWindow>(Widgets.Layer(LayerDocks));
  for (const BasicTool* tool : ToolList) {
    const HotKeyTarget target{{}, {}, tool->GetToolKey()};
    const std::vector<HotKeyTarget> listed = keys->Listed();
    EXPECT_EQ(std::count(listed.begin(), listed.end(), target), *tool->GetToolKey() ? 1 : 0) << tool->GetToolKey();
  }
  keys->Assign({{}, {}, "MEASURE_TOOL"}, {'K', 0});
  Press('K');
  EXPECT_EQ(&GetCurrentTool(), &Form->Measuring());
  Press('C');
  EXPECT_EQ(&GetCurrentTool(), &Form->VoxelTool()) << "who chooses a brush sculpts";

  EXPECT_EQ(Find<Button>(Widgets.Layer(LayerDocks), "Sphere")->GetHintText(0, 0), GetText("BrushSphere_HINT") + " (S)");

  for (const Command& command : Commands.All()) {
    const BatchLine line = OpenCommand(command.Name)->GetLine();
    EXPECT_EQ(line.Name, command.Name);
    EXPECT_LE(line.Arguments.size(), command.Required.size()) << command.Name << " is not at its defaults";
  }
  CommandPanel* panel = OpenCommand("NewVolume");
  panel->Run();
  EXPECT_NE(panel->Answer().find("needs Name="), std::string::npos) << panel->Answer();
  std::string error;
  ASSERT_TRUE(SetMemberFromText(*panel->Parameters(), "Name", "a \"b\"", error)) << error;
  panel->Run();
  EXPECT_TRUE(Scene.Find("a \"b\"")) << panel->Answer();
  OpenCommand("Quit")->Run();
  EXPECT_TRUE(Widgets.HasModal()) << "the volume is in no file";
}

TEST_F(MainFormTest, FramesTheObjectOrEverything) {
  Press('F');
  for (int i = 0; i < 2; i++) Frame();
  MakeSphereVolume(Scene, "large", 3, 0.1f);
  MakeSphereVolume(Scene, "small", 1, 0.1f);
  const auto distance = [&](uint8_t modifiers) {
    Press('F', modifiers);
    for (int i = 0; i < 2; i++) Frame();
    return Form->Navi().View.Distance();
  };
  EXPECT_NEAR(distance(ModShift) / distance(0), 3, 0.3);
}

// The camera of a scene that grows follows it only until a hand is on the view.
TEST_F(MainFormTest, FollowingEndsWhereThePersonLooks) {
  MakeSphereVolume(Scene, "large", 3, 0.1f);
  Form->FollowScene();
  const Camera followed = Form->Navi().View;
  EXPECT_GT(followed.Distance(), 6);
  EXPECT_TRUE(followed.Position.x > 0 && followed.Position.y > 0) << "from above and three quarters";
  Camera own = followed;
  own.Position.x += 1;
  Form->Navi().SetCamera(own);
  MakeSphereVolume(Scene, "larger", 9, 0.5f);
  Form->FollowScene();
  EXPECT_EQ(Form->Navi().View.Position, own.Position);
}

}  // namespace
