#include "WidgetFixture.h"
#include "interface/ComboBox.h"
#include "interface/MenuBar.h"
#include "interface/TextMenu.h"

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
  Key(KeyDown);
  EXPECT_EQ(menu->MarkedIndex(), 0);
  Key(KeyDown);
  EXPECT_EQ(menu->MarkedIndex(), 3);
  Key(KeyUp);
  Key(KeyUp);
  EXPECT_EQ(menu->MarkedIndex(), 5) << "from the first to the last";
  Key(KeyHome);
  Key(KeyEnter);
  EXPECT_EQ(Chosen, "Alpha");
  EXPECT_FALSE(Widgets.HasPopups());
  DrawAll();
}

TEST_F(MenuTest, NestedMenusOpenAndCloseByKey) {
  TextMenu* menu = Open();
  Key(KeyEnd);
  for (int i = 0; i < 2; i++) Key(KeyUp);
  Key(KeyRight);
  ASSERT_NE(menu->SubMenu(), nullptr);
  EXPECT_GE(menu->SubMenu()->Rect.X, menu->Rect.Right() - 1);
  Key(KeyLeft);
  EXPECT_EQ(menu->SubMenu(), nullptr);
  EXPECT_TRUE(Widgets.IsPopup(menu));
  Key(KeyRight);
  Key(KeyDown);
  Key(KeyEnter);
  EXPECT_EQ(Chosen, "Inner two");
  EXPECT_FALSE(Widgets.HasPopups());

  menu = Open();
  Key(KeyEnd);
  for (int i = 0; i < 2; i++) Key(KeyUp);
  Key(KeyRight);
  Key(KeyEsc);
  EXPECT_TRUE(Widgets.HasPopups()) << "Esc closes one menu at a time";
  Key(KeyEsc);
  EXPECT_FALSE(Widgets.HasPopups());
  DrawAll();
}

TEST_F(MenuTest, TypingFindsItems) {
  TextMenu* menu = Open();
  Send(TextEvent("d", 1));
  EXPECT_EQ(menu->MarkedIndex(), 4);
  Send(TextEvent("i", 1.2));
  EXPECT_EQ(menu->MarkedIndex(), 5);
  Send(TextEvent("b", 5));
  EXPECT_EQ(menu->MarkedIndex(), 5) << "a disabled item is not found";
  Send(TextEvent("d", 9));
  Send(TextEvent("d", 9.1));
  EXPECT_EQ(menu->MarkedIndex(), 5);
}

TEST_F(MenuTest, APressOutsideClosesAndReachesNobody) {
  int presses = 0;
  Widgets.Unhandled = [&](const InputEvent& event) { return event.Kind == InputKind::ButtonDown && ++presses; };
  Open();
  Click(700, 500);
  EXPECT_FALSE(Widgets.HasPopups());
  EXPECT_EQ(presses, 0);
  Click(700, 500);
  EXPECT_EQ(presses, 1);
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
  Widgets.ArrangeIfWanted();
  ClickOn(*menu->SubMenu()->Item(0));
  EXPECT_EQ(Chosen, "Inner one");
}

TEST_F(MenuTest, AMenuStaysOnTheScreen) {
  for (const cRect& anchor : {cRect{790, 590, 5, 5}, cRect{0, 0, 5, 5}, cRect{400, 300, 0, 0}}) {
    TextMenu* menu = TextMenu::Open(Widgets, anchor, [](TextMenu& list) {
      for (int i = 0; i < 100; i++) list.Add("Item", [] {});
    });
    Widgets.ArrangeIfWanted();
    EXPECT_GE(menu->Rect.X, 0);
    EXPECT_GE(menu->Rect.Y, 0);
    EXPECT_LE(menu->Rect.Right(), 800);
    EXPECT_LE(menu->Rect.Bottom(), 600);
    Key(KeyEnd);
    Widgets.ArrangeIfWanted();
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
  Key(KeyRight);
  EXPECT_EQ(bar->OpenIndex(), 2);
  Key(KeyRight);
  EXPECT_EQ(bar->OpenIndex(), 0);
  Key(KeyLeft);
  EXPECT_EQ(bar->OpenIndex(), 2);
  Click(700, 500);
  EXPECT_EQ(bar->OpenIndex(), -1);

  Key(KeyAlt);
  Click(700, 500);  // Alt was a modifier
  KeyReleased(KeyAlt);
  EXPECT_EQ(Widgets.Focused(), nullptr);
  Key(KeyAlt);
  KeyReleased(KeyAlt);
  EXPECT_EQ(Widgets.Focused(), bar);
  Key(KeyRight);
  Key(KeyDown);
  EXPECT_EQ(bar->OpenIndex(), 1);
  Key(KeyEnter);
  EXPECT_EQ(Chosen, "Alpha");
  EXPECT_EQ(Widgets.Focused(), nullptr) << "hot keys work again";
  DrawAll();
}

TEST_F(MenuTest, ANestedMenuOpensByItselfUnderThePointerAlone) {
  TextMenu* menu = Open();
  const auto wait = [&](double timeSec) {
    Widgets.Process(timeSec);
    Widgets.ArrangeIfWanted();
  };
  wait(1);
  Key(KeyDown);
  Key(KeyDown);
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
  modes.Add("Low", 10);
  modes.Add("Middle", 20);
  modes.Add("High", 40);
  int mode = 20;
  auto* combo = Place(new ComboBox(Bind<_index>(mode, &modes)), {100, 100, 150, 19});
  Notes notes;
  notes.Listen(*combo);
  EXPECT_EQ(combo->GetText(), "Middle");
  ClickOn(*combo);
  Key(KeyDown);
  Key(KeyEnter);
  EXPECT_EQ(mode, 40);
  EXPECT_EQ(notes.Done, 1);
  mode = 10;  // changed by somebody else
  EXPECT_EQ(combo->GetText(), "Low");
  ClickOn(*combo);
  ClickOn(*combo);
  EXPECT_FALSE(Widgets.HasPopups()) << "a second press closes the list";
  mode = 33;  // no entry
  EXPECT_EQ(combo->GetText(), "");
  DrawAll();
}

}  // namespace
