#include "WidgetFixture.h"
#include "interface/ActionWidgets.h"
#include "interface/ComboBox.h"
#include "interface/Language.h"
#include "interface/MenuBar.h"
#include "interface/StatusLine.h"
#include "interface/TextMenu.h"
#include "interface/draw/Theme.h"
#include "shell/core/Pages.h"

namespace {

class MenuTest : public WidgetTest {
 protected:
  void Fill(TextMenu& menu) {
    menu.Add("Alpha", [this] { Chosen = "Alpha"; });
    menu.AddLine();
    menu.Add("Beta", [this] { Chosen = "Beta"; })->Enabled = false;
    menu.AddSub("Gamma", [this](TextMenu& sub) {
      sub.Add("Inner one", [this] { Chosen = "Inner one"; });
      sub.Add("Inner two", [this] { Chosen = "Inner two"; });
    });
    menu.Add("Delta", [this] { Chosen = "Delta"; });
    menu.Add("Diver", [this] { Chosen = "Diver"; });
  }
  TextMenu* Open() {
    TextMenu* menu = TextMenu::Open(Widgets, {10, 10, 50, 20}, [this](TextMenu& list) { Fill(list); });
    Widgets.ArrangeIfWanted();
    return menu;
  }
  std::string Chosen;
};

TEST_F(MenuTest, ArrowsSkipWhatCantBeChosen) {
  TextMenu* menu = Open();
  for (const auto& [key, index] : {std::pair{KeyDown, 0}, {KeyDown, 3}, {KeyUp, 0}, {KeyUp, 5}}) {  // from the first to the last
    Key(key);
    EXPECT_EQ(menu->MarkedIndex(), index);
  }
  Keys({KeyHome, KeyEnter});
  EXPECT_EQ(Chosen, "Alpha");
  EXPECT_FALSE(Widgets.HasPopups());
}

TEST_F(MenuTest, NestedMenusOpenAndCloseByKey) {
  TextMenu* menu = Open();
  Keys({KeyEnd, KeyUp, KeyUp, KeyRight});
  ASSERT_NE(menu->SubMenu(), nullptr);
  EXPECT_GE(menu->SubMenu()->Rect.X, menu->Rect.Right() - 1);
  Key(KeyLeft);
  EXPECT_EQ(menu->SubMenu(), nullptr);
  EXPECT_TRUE(Widgets.IsPopup(menu));
  Keys({KeyRight, KeyDown, KeyEnter});
  EXPECT_EQ(Chosen, "Inner two");
  EXPECT_FALSE(Widgets.HasPopups());

  Open();
  Keys({KeyEnd, KeyUp, KeyUp, KeyRight, KeyEsc});
  EXPECT_TRUE(Widgets.HasPopups()) << "Esc closes one menu at a time";
  Key(KeyEsc);
  EXPECT_FALSE(Widgets.HasPopups());
}

TEST_F(MenuTest, HintsOfItemsStandBesideTheMenu) {
  std::string error;
  ASSERT_TRUE(LoadLanguage(MORVANE_DATA_DIR, "English", error)) << error;
  for (const float x : {10.0f, 740.0f}) {  // at the right edge it goes to the left
    TextMenu* menu = TextMenu::Open(Widgets, {x, 10, 50, 20}, [](TextMenu& list) {
      for (int i = 0; i < 3; i++) list.Add("BrushCarve", [] {})->Literal = i == 2;
    });
    DrawAll();
    for (int i = 0; i < 3; i++) {
      const cRect place = menu->Item(i)->Rect;
      Widgets.Process(i);
      Move(place.X + 20, place.Y + place.H / 2);
      EXPECT_EQ(Widgets.HintRect().W, 0) << "at once";
      Widgets.Process(i + Widgets.HintDelay);
      DrawAll();
      const cRect& hint = Widgets.HintRect();
      EXPECT_EQ(hint.W > 0, i < 2) << "what is no key has no hint";
      EXPECT_LE(hint.Intersection(menu->Rect).W, 0) << i;
    }
    Widgets.ClosePopups();
    DrawAll();
  }
}

TEST_F(MenuTest, TypingFindsItems) {
  TextMenu* menu = Open();
  const struct {
    const char* Letter;
    double TimeSec;
    int Marked;
  } rows[] = {{"d", 1, 4}, {"i", 1.2, 5}, {"b", 5, 5}, {"d", 9, 4}, {"d", 9.1, 5}};  // "Beta" is disabled and not found
  for (const auto& row : rows) {
    Send(TextEvent(row.Letter, row.TimeSec));
    EXPECT_EQ(menu->MarkedIndex(), row.Marked) << row.TimeSec;
  }
}

TEST_F(MenuTest, TheMouseChoosesByPressAndByDragging) {
  TextMenu* menu = Open();
  ClickOn(*menu->Item(4));
  EXPECT_EQ(Chosen, "Delta");
  menu = Open();
  ClickOn(*menu->Item(2));
  EXPECT_TRUE(Widgets.HasPopups()) << "a disabled item does nothing";
  ClickOn(*menu->Item(3));
  ASSERT_NE(menu->SubMenu(), nullptr);
  ClickOn(*menu->SubMenu()->Item(0));
  EXPECT_EQ(Chosen, "Inner one");
}

TEST_F(MenuTest, AMenuStaysOnTheScreen) {
  for (const cRect& anchor : {cRect{790, 590, 5, 5}, cRect{0, 0, 5, 5}, cRect{400, 300, 0, 0}}) {
    TextMenu* menu = TextMenu::Open(Widgets, anchor, [](TextMenu& list) {
      for (int i = 0; i < 100; i++) list.Add("Item", [] {});
    });
    Widgets.ArrangeIfWanted();
    EXPECT_EQ(menu->Rect.Intersection({0, 0, 800, 600}), menu->Rect);
    Key(KeyEnd);
    EXPECT_LE(menu->Item(99)->Rect.Bottom(), menu->Rect.Bottom() + 1);
    Widgets.ClosePopups();
  }
}

TEST_F(MenuTest, TheBarWalksAndAltEntersIt) {
  auto* bar = Place(new MenuBar, {0, 0, 800, 26});
  for (const char* title : {"File", "Edit", "View"}) bar->AddMenu(title, [this](TextMenu& menu) { Fill(menu); });
  Widgets.ArrangeIfWanted();
  Click(10, 10);
  EXPECT_EQ(bar->OpenIndex(), 0);
  Move(60, 10);
  EXPECT_EQ(bar->OpenIndex(), 1) << "the pointer walks while a menu is open";
  for (const auto& [key, index] : {std::pair{KeyRight, 2}, {KeyRight, 0}, {KeyLeft, 2}}) {
    Key(key);
    EXPECT_EQ(bar->OpenIndex(), index);
  }
  int presses = 0;
  Widgets.Unhandled = [&](const InputEvent& event) { return event.Kind == InputKind::ButtonDown && ++presses; };
  Click(700, 500);
  EXPECT_EQ(bar->OpenIndex(), -1);
  EXPECT_EQ(presses, 0) << "what closes a menu reaches nobody";
  Click(700, 500);
  EXPECT_EQ(presses, 1);

  Key(KeyAlt);
  Click(700, 500);  // Alt was a modifier
  KeyReleased(KeyAlt);
  EXPECT_EQ(Widgets.Focused(), nullptr);
  Key(KeyAlt);
  KeyReleased(KeyAlt);
  EXPECT_EQ(Widgets.Focused(), bar);
  Keys({KeyRight, KeyDown});
  EXPECT_EQ(bar->OpenIndex(), 1);
  Key(KeyEnter);
  EXPECT_EQ(Chosen, "Alpha");
  EXPECT_EQ(Widgets.Focused(), nullptr) << "hot keys work again";
}

TEST_F(MenuTest, TitlesWithoutRoomAreInTheLastOne) {
  auto* bar = Place(new MenuBar, {0, 0, 130, 26});
  for (const char* title : {"First of all", "Second", "Third", "Fourth"})
    bar->AddMenu(title, [this](TextMenu& menu) { Fill(menu); });
  Widgets.ArrangeIfWanted();
  Click(10, 10);
  Key(KeyLeft);
  EXPECT_EQ(bar->OpenIndex(), 1) << "one fits beside the title of the rest";
  Keys({KeyDown, KeyDown, KeyRight, KeyEnter});
  EXPECT_EQ(Chosen, "Alpha");
  bar->Rect = {0, 0, 800, 26};
  Widgets.RequestArrange();
  Widgets.ArrangeIfWanted();
  bar->OpenMenu(3, false);
  EXPECT_EQ(bar->OpenIndex(), 3) << "all fit again";
}

TEST_F(MenuTest, TheStatusLineLeavesOutWholePartsAndThenTheNumbers) {
  auto* line = Place(new StatusLine, {0, 0, 800, 22});
  line->Message = "Ctrl cuts · the wheel sizes the brush · a third part";
  line->Fields = {"1 234 567 triangles"};
  for (const float width : {800.0f, 400.0f, 250.0f, 100.0f, 60.0f}) {
    line->Arrange({0, 0, width, line->HeightFor(width, Screen)}, Screen);
    Screen.Begin(800, 600, 1);
    line->Draw(Screen);
    EXPECT_EQ(Screen.TextsCut(), 0) << width;
    Screen.End();
    EXPECT_EQ(line->GetHintText(1, 1), width > 300 ? "" : line->Message) << width;
  }
  EXPECT_GT(line->Rect.H, 1.2f * Measures::StatusHeight) << "a part alone breaks into lines";
}

TEST_F(MenuTest, ANestedMenuOpensByItselfUnderThePointerAlone) {
  TextMenu* menu = Open();
  const auto wait = [&](double timeSec) {
    Widgets.Process(timeSec);
    Widgets.ArrangeIfWanted();
  };
  wait(1);
  Keys({KeyDown, KeyDown});
  wait(2);
  EXPECT_EQ(menu->SubMenu(), nullptr) << "the keys walk on in this menu";
  Key(KeyHome);
  const cRect item = menu->Item(3)->Rect;
  Move(item.X + 20, item.Y + 5);
  wait(2.05);
  EXPECT_EQ(menu->SubMenu(), nullptr);
  wait(2.3);
  EXPECT_NE(menu->SubMenu(), nullptr);
  Move(item.X + 20, menu->Item(0)->Rect.Y + 5);
  wait(2.6);
  EXPECT_EQ(menu->SubMenu(), nullptr);
  EXPECT_TRUE(Widgets.IsPopup(menu));
}

TEST_F(MenuTest, AComboBoxWritesTheValueOfTheEntry) {
  Enumerator modes;
  for (const auto& [name, value] : {std::pair{"Low", 10}, {"Middle", 20}, {"High", 40}}) modes.Add(name, value);
  int mode = 20;
  auto* combo = Place(new ComboBox(Bind<_index>(mode, &modes)), {100, 100, 150, 19});
  Notes notes(*combo);
  EXPECT_EQ(combo->GetText(), "Middle");
  ClickOn(*combo);
  Keys({KeyDown, KeyEnter});
  EXPECT_EQ(mode, 40);
  EXPECT_EQ(notes.Done, 1);
  mode = 10;  // changed by somebody else
  EXPECT_EQ(combo->GetText(), "Low");
  for (int press = 0; press < 2; press++) ClickOn(*combo);
  EXPECT_FALSE(Widgets.HasPopups()) << "a second press closes the list";
  mode = 33;  // no entry
  EXPECT_EQ(combo->GetText(), "");
}

// By the tags in an item's text, whoever builds the menu; and the key that an item tells is that of now.
TEST_F(MenuTest, ItemsOfOtherPagesAreLeftOut) {
  Actions actions;
  bool enabled = false;
  for (const char* name : {"Layers[Page1][Page3]", "Everywhere"}) {
    Action action;
    action.IsEnabled = [&] { return enabled; };
    action.Name = action.TextKey = name;
    action.DefaultKeys = {*name == 'L' ? "L" : "E"};
    action.Run = [] {};
    actions.Add(action);
  }
  HotKeys keys;
  keys.RegisterMembers();
  keys.SetDefaults(actions);
  SetActionSource(&actions, &keys);
  for (CurrentPage = 0; CurrentPage < 5; CurrentPage++) {
    SCOPED_TRACE(CurrentPage);
    const bool shown = CurrentPage == 1 || CurrentPage == 3;
    TextMenu menu;
    AddActionItems(menu, {"Layers[Page1][Page3]", "Everywhere"});
    ASSERT_EQ(menu.Children.Count, shown ? 2 : 1);
    EXPECT_EQ(menu.Item(0)->GetText(), shown ? "Layers" : "Everywhere");
    EXPECT_EQ(menu.Item(0)->HotKey, shown ? "L" : "E");
    BaseWidget panel;
    AddActionButtons(panel, "TOOLS", {"Layers[Page1][Page3]"});
    ASSERT_EQ(panel.Children.Count, shown ? 2 : 1) << "below the title";
    EXPECT_TRUE(!shown || panel.Children[1]->GetText() == "Layers");
    auto* bar = Place(new MenuBar, {0, 0, 400, 20});
    bar->AddMenu("Layers[Page1][Page3]", [this](TextMenu& list) { Fill(list); });
    bar->Arrange(bar->Rect, Screen);
    bar->OpenMenu(0, false);
    EXPECT_EQ(Widgets.HasPopups(), shown);
    Widgets.ClosePopups();
  }
  CurrentPage = 0;
  // A button shows what the same frame's input has made possible.
  auto* column = Place(new BaseWidget, {0, 0, 100, 100});
  AddActionButtons(*column, "TOOLS", {"Everywhere"});
  EXPECT_FALSE(column->Children[1]->Enabled) << "before its first frame";
  Widgets.Process(1);
  enabled = true;
  DrawAll();
  EXPECT_TRUE(column->Children[1]->Enabled);
  SetActionSource(nullptr, nullptr);
}

// As a member with choices makes it.
TEST_F(MenuTest, AListOfTextsIsMadeWhenOneIsToBeChosen) {
  _str stamp("gone");
  std::vector<std::string> names;
  auto* combo = Place(new ComboBox(Bind<_str>(stamp), {}), {100, 100, 150, 19});
  combo->ListTexts = [&] { return names; };
  ClickOn(*combo);
  EXPECT_FALSE(Widgets.HasPopups()) << "there is nothing to choose";
  names = {"Nose", "Ear"};
  EXPECT_EQ(combo->GetText(), "gone");
  ClickOn(*combo);
  Keys({KeyDown, KeyDown, KeyEnter});
  EXPECT_TRUE(stamp == "Ear");
}

}  // namespace
