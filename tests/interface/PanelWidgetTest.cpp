#include "interface/PanelWidget.h"

#include "ClassEngine/EngineHost.h"
#include "WidgetFixture.h"
#include "comms/One2DCurve.h"
#include "interface/Button.h"
#include "interface/DockWidgets.h"
#include "interface/FileBrowser.h"
#include "interface/Language.h"
#include "interface/PanelRow.h"
#include "interface/ScrollArea.h"
#include "interface/TextEdit.h"
#include "interface/WidgetsFolder.h"
#include "shell/core/AppOptions.h"

namespace {

class PanelPart : public BaseClass {
  REFLECTED(PanelPart, BaseClass)
 public:
  float Weight = 1;
};
DECLARE_MEMBERS(PanelPart) { Member<_float>("Weight", Weight); }

class PanelHeavyPart : public PanelPart {
  REFLECTED(PanelHeavyPart, PanelPart)
 public:
  int Mass = 3;
};
DECLARE_MEMBERS(PanelHeavyPart) { Member<_int>("Mass", Mass); }
REGISTER_CLASS(PanelPart, "Plain");
REGISTER_CLASS(PanelHeavyPart, "Heavy");

/// A row of a tree that notes what is done with it.
class PanelTwig : public BaseClass {
  REFLECTED(PanelTwig, BaseClass)
 public:
  bool IsRowStateMember(const char* name) const override { return std::string_view(name) == "OpenState"; }
  bool OnRowClick(BaseWidget*, const WidgetEvent*) override { return Clicks++, false; }
  bool CanDragRow() const override { return true; }
  bool OnRowDrop(BaseWidget*, const WidgetEvent* event) override { return Dropped = event->Dragged, true; }
  bool OnRowDraw(BaseWidget*, const RowRect* rect) override { return Height = rect->H, false; }
  bool OpenState = false;
  int Clicks = 0;
  float Height = 0;
  BaseClass* Dropped = nullptr;
};
DECLARE_MEMBERS(PanelTwig) { Member<_bool>("OpenState", OpenState); }

class PanelTree : public BaseClass {
  REFLECTED(PanelTree, BaseClass)
 public:
  ClonesArray<PanelTwig> Twigs;
};
DECLARE_MEMBERS(PanelTree) { Member<ClonesArray<PanelTwig>>("#Twigs", Twigs); }

class PanelCommands : public BaseClass {
  REFLECTED(PanelCommands, BaseClass)
 public:
  void Run() {}
};
DECLARE_MEMBERS(PanelCommands) {
  for (const char* name : {"{1}Carve", "{1}Fill", "{2}Clear", "Last"}) Method(name, &PanelCommands::Run);
}

class PanelWithCommands : public BaseClass {
  REFLECTED(PanelWithCommands, BaseClass)
 public:
  PanelCommands Commands;
};
DECLARE_MEMBERS(PanelWithCommands) { Member<PanelCommands>("*TestCommands", Commands); }

/// One member of every form that a row can have.
class PanelSubject : public BasicTool {
  REFLECTED(PanelSubject, BasicTool)
 public:
  float Strength = 0.5f, Size = 2;
  int Steps = 4, Mode = 1, Secret = 7;
  bool On = false, Ghost = false, Advanced = false;
  uint32_t Tint = 0xFF102030;
  int32_t Texture = 5;
  _WinFont Font{"Tahoma 8"};
  _str Path, Info{"12 voxels"};
  comms::One2DCurve Curve;
  PanelPart Part;
  ClassArray<PanelPart> Parts;
  int Calls = 0, Told = 0;
  bool HidesSize = false;

  void Apply() { Calls++; }
  bool OnParametersChanged(void*, void*, void*, void*) override { return Told++, true; }
  int32_t GetActiveSections() override { return Advanced ? 3 : 1; }
  bool FilterParam(const char* name) override { return !HidesSize || std::string_view(name) != "Size"; }
};
DECLARE_MEMBERS(PanelSubject) {
  Separator("First");
  Member<CtrlFSlider>("Strength", Strength, {0, 1, 0.25f}).Unit("mm").Hint("How strong");
  Member<_float>("Size", Size).Range(0, 10);
  Member<_int>("Steps", Steps);
  Member<_index>("Mode", Mode, "PanelTestModes").Entries({"One", "Two", "Three"});
  Member<_bool>("On", On);
  Member<_bool>("Ghost", Ghost);
  Member<_color>("Tint", Tint);
  Member<_TextureID>("Texture", Texture);
  Member<_WinFont>("Font", Font);
  Member<_str>("Path|*.png;*.jpg", Path);
  Member<_str>("!Info", Info);
  Method("Apply", &PanelSubject::Apply);
  Member<comms::One2DCurve>("Curve", Curve);
  Caption<Delimiter>("@MENU More");
  Member<_int>("Secret", Secret).Hidden();
  Member<_bool>("Advanced", Advanced);
  Caption<Delimiter>("@ENDMENU");
  Member<PanelPart>("Part", Part);
  Member<ClassArray<PanelPart>>("Parts", Parts);
  SECTION(2);
  Member<_int>("%Extra", Steps);
}

class PanelWidgetTest : public WidgetTest {
 protected:
  PanelWidgetTest() { Subject.RegisterMembers(); }
  PanelWidget* Show(float height = 590) { return Panel = Place(new PanelWidget(&Subject), {10, 5, 300, height}); }
  static PanelRow* Find(BaseWidget& widget, std::string_view name) {
    return FindBelow<PanelRow>(widget, [&](PanelRow& row) { return row.Place().FullName == name; });
  }
  PanelRow* Find(std::string_view name) { return Find(*Panel, name); }
  /// By the key of its text: other tests may have loaded a language.
  template <class W>
  W* FindWith(std::string_view text) {
    return FindBelow<W>(*Panel, [&](W& widget) { return widget.Text == text; });
  }
  void NextFrame() {
    Widgets.Process(Time += 0.1);
    DrawAll();
  }
  PanelSubject Subject;
  PanelWidget* Panel = nullptr;
  double Time = 0;
};

TEST(RowSigns, SignsAreTakenOffTheName) {
  const RowSigns scaled = ReadRowSigns("[scale=2]`40`%*Name");
  EXPECT_EQ(scaled.Name, "Name");
  EXPECT_EQ(scaled.HintKey, "*Name_HINT");
  EXPECT_EQ(scaled.Scale, 2);
  EXPECT_EQ(scaled.Height, 40);
  EXPECT_TRUE(scaled.Compact && scaled.Bold && !scaled.NoSeparator);
  const struct {
    const char *Text, *Name;
    bool ReadOnly, NoLabel;
  } rows[] = {{"!InitialPolycount", "", true, true},
              {"^Volume", "Volume", true, false},
              {"$Value", "", false, true},
              {"#~Value", "Value", false, true},
              {"*Name", "Name", false, false}};
  for (const auto& row : rows) {
    const RowSigns signs = ReadRowSigns(row.Text);
    EXPECT_EQ(signs.Name, row.Name);
    EXPECT_TRUE(signs.ReadOnly == row.ReadOnly && signs.NoLabel == row.NoLabel) << row.Text;
    EXPECT_EQ(signs.NoSeparator, row.Text[1] == '~');
  }
  for (const char* broken : {"[scale=Name", "[scale=x]Name", "[scale=-1]Name", "`x`Name", "`Name", "[scale=inf]Name", ""}) {
    EXPECT_EQ(ReadRowSigns(broken).Scale, 1) << broken;
    EXPECT_EQ(ReadRowSigns(broken).Height, 0) << broken;
  }
}

TEST_F(PanelWidgetTest, EachTypeGetsItsControl) {
  Show();
  for (const auto& [name, control] : {std::pair{"Strength", "SimpleSlider"},
                                      {"Size", "NumberField"},
                                      {"Steps", "NumberField"},
                                      {"Mode", "ComboBox"},
                                      {"On", "CheckBox"},
                                      {"Ghost", "IconToggle"},
                                      {"Tint", "ColorSwatch"},
                                      {"Curve", "CurvesWindow"},
                                      {"!Info", "TextEdit"}}) {
    ASSERT_TRUE(Find(name)) << name;
    EXPECT_STREQ(Find(name)->Control()->GetClassName(), control) << name;
  }
  EXPECT_EQ(Find("!Info")->GetText(), "");
  EXPECT_TRUE(dynamic_cast<TextEdit*>(Find("!Info")->Control())->ReadOnly);
  EXPECT_EQ(Find("Path|*.png;*.jpg")->GetText(), "Path");
  EXPECT_EQ(Find("Path|*.png;*.jpg")->Control()->Children.Count, 3) << "field, choose, folder";
  EXPECT_EQ(Find("Strength")->GetHintText(0, 0), "How strong");
  auto* fold = FindWith<WidgetsFolder>("More");
  ASSERT_TRUE(fold && !fold->IsOpen());
  EXPECT_TRUE(Find(*fold, "Advanced"));
  EXPECT_FALSE(Find(*fold, "Weight")) << "the fold-out has ended";
  EXPECT_TRUE(Find("Weight")) << "of the object inside";
  EXPECT_FALSE(Find("Secret") || Find("Active"));
  XmlNode saved;
  Subject.Save(&saved);
  EXPECT_TRUE(saved.FindChild("Secret")) << "hidden members are saved";
}

TEST_F(PanelWidgetTest, ControlsStandInOneColumnWithinThePanel) {
  Show(2000);
  FindWith<WidgetsFolder>("Part")->SetOpen(true);
  NextFrame();
  const cRect first = Find("Strength")->Control()->Rect;
  for (const char* name : {"Size", "Steps", "Mode", "On", "Tint", "Weight"})  // the last one inside a group
    EXPECT_EQ(Find(name)->Control()->Rect.X, first.X) << name;
  EXPECT_GE(first.W, 140) << "controls have half of the row at least";
  EXPECT_EQ(Find("Strength")->Rect.H, 19);
}

TEST_F(PanelWidgetTest, GroupsOfACommandListStandApart) {
  PanelWithCommands owner;
  owner.RegisterMembers();
  auto* panel = Place(new PanelWidget(&owner), {10, 5, 300, 590});
  const auto* first = FindBelow<Button>(*panel, [](const Button& button) { return button.Text == "{1}Carve"; });
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->GetText(), "Carve");
  std::string rows;
  for (const BaseWidget* row : first->Owner->Children) rows += (dynamic_cast<const Button*>(row) ? row->GetText() : "-") + " ";
  EXPECT_EQ(rows, "Carve Fill - Clear - Last ");
}

TEST_F(PanelWidgetTest, ObjectsHearWhatIsDoneWithTheirRows) {
  PanelTree tree;
  tree.RegisterMembers();
  for (int i = 0; i < 2; i++) tree.Twigs.ExpandWith("PanelTwig");
  tree.Twigs[1]->OpenState = true;
  Panel = Place(new PanelWidget(&tree), {10, 5, 300, 590});
  DrawAll();
  const auto row = [&](int number) { return FindWith<WidgetsFolder>("PanelTwig " + std::to_string(number)); };
  ASSERT_TRUE(row(1) && row(2));
  EXPECT_TRUE(!row(1)->IsOpen() && row(2)->IsOpen()) << "as the objects keep it";
  EXPECT_FALSE(Find("OpenState")) << "that is no row of its own";
  EXPECT_GT(tree.Twigs[0]->Height, 0);
  const cRect first = row(1)->Header(Screen), second = row(2)->Header(Screen);
  DragAlong({{first.X + 50, first.Y + 5}, {first.X + 60, first.Y + 15}, {second.X + 50, second.Y + 5}});
  EXPECT_EQ(tree.Twigs[1]->Dropped, tree.Twigs[0]);
  EXPECT_FALSE(tree.Twigs[0]->OpenState) << "a drag does not fold";
  ClickOnRect(first);
  EXPECT_TRUE(tree.Twigs[0]->OpenState && row(1)->IsOpen());
  EXPECT_EQ(tree.Twigs[0]->Clicks, 2);
  tree.Twigs[0]->OpenState = false;
  NextFrame();
  EXPECT_FALSE(row(1)->IsOpen());
}

// The preferences in every language and at every scale, from the narrowest dock to a wide one.
TEST_F(PanelWidgetTest, NothingIsCutInNarrowPanels) {
  AppOptions options;
  options.RegisterMembers();
  std::string error;
  for (const std::string& language : ListLanguages(MORVANE_DATA_DIR))
    for (const float scale : {1.0f, 1.5f, 2.0f, 3.0f})
      for (const float width : {DockLeastWidth - 2, 150.0f, 200.0f, 262.0f}) {
        ASSERT_TRUE(LoadLanguage(MORVANE_DATA_DIR, language, error)) << error;
        Widgets.SetSize(1200, 6000, scale);
        auto* panel = Place(new PanelWidget(&options), {0, 0, width * scale, 6000});
        Screen.Begin(1200, 6000, scale);
        Widgets.DrawLayer(-1);
        EXPECT_EQ(Screen.TextsCut(), 0) << language << " at " << scale << ", " << width << " wide";
        Screen.End();
        Widgets.DeleteLater(panel);
      }
  LoadLanguage(MORVANE_DATA_DIR, "English", error);
}

TEST_F(PanelWidgetTest, ChangesAreWrittenAndToldOnce) {
  Show();
  std::vector<std::string> told;
  Panel->Changed = [&](const char* name) { told.push_back(name); };
  Notes notes(*Panel);
  ClickOn(*Find("On")->Control());
  EXPECT_TRUE(Subject.On);
  EXPECT_EQ(Subject.Told, 1);
  const cRect label = Find("On")->Rect;
  Click(label.X + 5, label.Y + 5);
  EXPECT_FALSE(Subject.On) << "the label is part of the box";
  EXPECT_EQ(Subject.Told, 2);
  EXPECT_EQ(told, (std::vector<std::string>{"On", "On"}));
  const cRect slider = Find("Strength")->Control()->Rect;
  const float y = slider.Y + 5;
  DragAlong({{slider.X + 20, y}, {slider.X + 40, y}, {slider.X + 60, y}});
  EXPECT_GT(Subject.Strength, 0.5f);
  EXPECT_EQ(Subject.Told, 4) << "the end of the drag brings no new value";
  EXPECT_EQ(notes.Done, 3);
  ClickOn(*FindWith<Button>("Apply"));
  EXPECT_EQ(Subject.Calls, 1);
  Subject.Steps = 77;
  EXPECT_EQ(Find("Steps")->Control()->GetText(), "77") << "rows hold no copy";
}

TEST_F(PanelWidgetTest, ATextureIsChosenAsAFileAndClearedByTheRightButton) {
  struct Host : EngineHost {
    int LoadTexture(const char* name) override { return Loaded = name, Loaded.ends_with(".png") ? 7 : -1; }
    std::string GetTextureName(int id) override { return id == 7 ? Loaded : id == 5 ? "old.png" : ""; }
    std::string Loaded;
  } host;
  EngineHost* const before = SetEngineHost(&host);
  Show(2000);
  const BaseWidget& picture = *Find("Texture")->Control()->Children[0];
  const cRect place = picture.Rect;
  // No choice changes nothing, and neither does what can't be read.
  for (const char* file : {"/pictures/skin.png", "", "/pictures/skin.txt"}) {
    ClickOn(picture);
    auto* files = dynamic_cast<FileBrowser*>(Widgets.TopModal());
    ASSERT_TRUE(files);
    files->Answer(file);
    EXPECT_EQ(Subject.Texture, 7) << file;
  }
  EXPECT_EQ(Subject.Told, 1);
  ASSERT_TRUE(Widgets.HasModal()) << "what can't be read is told";
  Key(KeyEnter);
  NextFrame();
  RightClick(place.X + 9, place.Y + 9);
  EXPECT_EQ(Subject.Texture, -1);
  EXPECT_EQ(Subject.Told, 2);
  ClickOn(*Find("Font")->Control());
  Keys({KeyEnd, KeyEnter});
  EXPECT_EQ(Subject.Font, "Tahoma B8");
  SetEngineHost(before);
}

TEST_F(PanelWidgetTest, RowsFollowSectionsFiltersAndKeepFoldsAndFocus) {
  Show(150);
  Panel->Area().Scroller().SetPosition(60);
  NextFrame();
  FindWith<WidgetsFolder>("Part")->SetOpen(true);
  Widgets.Focus(Find("Steps")->Control()->Children[0]);
  EXPECT_FALSE(Find("%Extra"));
  Subject.Advanced = true;
  Subject.HidesSize = true;
  NextFrame();
  EXPECT_TRUE(Find("%Extra"));
  EXPECT_FALSE(Find("Size"));
  EXPECT_TRUE(FindWith<WidgetsFolder>("Part")->IsOpen());
  EXPECT_EQ(Panel->Area().Scroller().Position(), 60);
  ASSERT_TRUE(Widgets.Focused());
  EXPECT_TRUE(Find("Steps")->Holds(Widgets.Focused()));
  BaseWidget* const kept = Find("Steps");
  NextFrame();
  EXPECT_EQ(Find("Steps"), kept) << "nothing is built anew while the rows stay";
  Panel->SetObject(nullptr);
  NextFrame();
  EXPECT_FALSE(Find("Steps"));
}

TEST_F(PanelWidgetTest, ItemsAreAddedAndDeleted) {
  Show(2000);
  FindWith<WidgetsFolder>("Parts")->SetOpen(true);
  NextFrame();
  ClickOn(*FindWith<Button>("add..."));
  EXPECT_EQ(Subject.Parts.Count, 1) << "one class is added without a question";
  EXPECT_STREQ(Subject.Parts[0]->GetClassName(), "PanelHeavyPart");
  NextFrame();
  ASSERT_TRUE(Find("Mass"));
  auto* remove = FindWith<Button>("::DeleteElm");
  ASSERT_TRUE(remove);
  const int told = Subject.Told;
  Notes notes(*remove);
  ClickOn(*remove);
  EXPECT_EQ(Subject.Parts.Count, 0);
  EXPECT_EQ(notes.Clicks, 0) << "nobody is told of a widget that has gone";
  EXPECT_FALSE(Find("Mass")) << "no row outlives its item";
  EXPECT_EQ(Subject.Told, told + 1) << "who holds the container is told";
}

}  // namespace
