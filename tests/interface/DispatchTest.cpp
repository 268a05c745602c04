#include <vector>

#include "WidgetFixture.h"
#include "interface/Button.h"
#include "interface/CheckBox.h"
#include "interface/Layout.h"
#include "interface/MessageBoxWidget.h"
#include "interface/ScrollArea.h"
#include "interface/TextEdit.h"
#include "interface/TextMenu.h"
#include "interface/WidgetsFolder.h"

namespace {

class Recorder : public BaseWidget {
  REFLECTED(Recorder, BaseWidget)
 public:
  bool OnMouse(const InputEvent& event) override {
    Kinds.push_back(event.Kind);
    return Handles;
  }
  bool AcceptsDrag(const BaseClass*, const BaseWidget*) const override { return Accepts; }
  void OnEvent(const WidgetEvent& event) override {
    if (event.Kind == WidgetEventKind::DragOver) Over++;
    if (event.Kind == WidgetEventKind::Drop) Dropped = event.Dragged;
  }
  ~Recorder() override {
    if (Ended) ++*Ended;
  }
  std::vector<InputKind> Kinds;
  bool Handles = true, Accepts = false;
  int Over = 0;
  int* Ended = nullptr;
  BaseClass* Dropped = nullptr;
};
DECLARE_MEMBERS(Recorder) {}

class DispatchTest : public WidgetTest {
 protected:
  DispatchTest() {
    Widgets.Unhandled = [this](const InputEvent& event) {
      Outside.push_back(event.Kind);
      return true;
    };
  }
  std::vector<InputKind> Outside;  // what no widget wanted
};

TEST_F(DispatchTest, InputGoesToTheDeepestWidgetAndUpToWhoWantsIt) {
  auto* outer = Place(new Recorder, {0, 0, 200, 200});
  auto* inner = outer->AddChild(new Recorder);
  inner->Rect = {50, 50, 50, 50};
  inner->Handles = false;
  auto* above = Place(new Recorder, {150, 150, 100, 100}, LayerFloating);
  const auto counts = [&] { return std::vector{inner->Kinds.size(), outer->Kinds.size(), above->Kinds.size(), Outside.size()}; };
  using Counts = std::vector<size_t>;
  Move(60, 60);
  EXPECT_EQ(counts(), (Counts{1, 1, 0, 0}));
  EXPECT_TRUE(inner->IsHot());
  Move(160, 160);  // the higher layer covers the lower one
  EXPECT_EQ(counts(), (Counts{1, 1, 1, 0}));
  above->Enabled = false;
  Move(161, 161);
  EXPECT_EQ(counts(), (Counts{1, 2, 1, 0}));
  inner->Visible = outer->Visible = false;
  Move(60, 60);
  EXPECT_EQ(counts(), (Counts{1, 2, 1, 1}));
}

TEST_F(DispatchTest, TheMouseStaysWithWhoTookThePress) {
  auto* left = Place(new Recorder, {0, 0, 100, 100});
  auto* right = Place(new Recorder, {100, 0, 100, 100});
  Press(50, 50);
  Move(150, 50);
  EXPECT_TRUE(left->IsCaptured());
  EXPECT_FALSE(right->IsHot());
  Send(InputKind::ButtonDown, 150, 50, MouseButton::Right);
  Release(150, 50);
  EXPECT_TRUE(left->IsCaptured()) << "one button is still down";
  Send(InputKind::ButtonUp, 150, 50, MouseButton::Right);
  EXPECT_EQ(left->Kinds.size(), 5u);
  EXPECT_TRUE(right->Kinds.empty() && right->IsHot());

  // What begins outside all widgets stays outside until the release.
  Outside.clear();
  DragAlong({{500, 500}, {50, 50}});
  EXPECT_EQ(Outside.size(), 4u);
  EXPECT_EQ(left->Kinds.size(), 5u);

  // A window that loses the keyboard counts as released.
  Press(50, 50);
  Send(PointerEvent(InputKind::FocusLost, 0, 0));
  EXPECT_EQ(left->Kinds.back(), InputKind::ButtonUp);
  EXPECT_EQ(Widgets.Captured(), nullptr);
}

TEST_F(DispatchTest, ADragBelongsToTheDeviceThatBeganIt) {
  auto* widget = Place(new Recorder, {0, 0, 100, 100});
  for (const bool pen : {true, false}) {
    const auto send = [&](InputKind kind, bool isPen, MouseButton button = MouseButton::None) {
      InputEvent event = PointerEvent(kind, 50, 50, button);
      event.IsPen = isPen;
      Send(event);
    };
    widget->Kinds.clear();
    send(InputKind::ButtonDown, pen, MouseButton::Left);
    send(InputKind::PointerMove, !pen);
    send(InputKind::ButtonDown, !pen, MouseButton::Left);
    send(InputKind::ButtonUp, !pen, MouseButton::Left);
    EXPECT_TRUE(widget->IsCaptured());
    send(InputKind::PointerMove, pen);
    send(InputKind::FocusLost, false);
    EXPECT_EQ(widget->Kinds, (std::vector{InputKind::ButtonDown, InputKind::PointerMove, InputKind::ButtonUp}));
    send(InputKind::PointerMove, !pen);
    EXPECT_EQ(widget->Kinds.size(), 4u) << "free for the other one";
  }
}

TEST_F(DispatchTest, NothingDanglesWhenACapturedWidgetIsDeleted) {
  int ended = 0;
  auto* outer = Place(new BaseWidget, {0, 0, 200, 200});
  auto* inner = outer->AddChild(new Recorder);
  inner->Rect = {0, 0, 100, 100};
  inner->Ended = &ended;
  auto* edit = outer->AddChild(new TextEdit);
  edit->Rect = {0, 100, 100, 19};
  ClickOn(*edit);
  ASSERT_EQ(Widgets.Focused(), edit);
  Press(50, 50);
  ASSERT_TRUE(inner->IsCaptured());
  TextMenu* menu = TextMenu::Open(
      Widgets, {300, 300, 10, 10}, [](TextMenu& list) { list.Add("A", [] {}); }, inner);
  ASSERT_TRUE(Widgets.IsPopup(menu));
  Widgets.BeginDrag(inner, "drag", inner);
  Widgets.DeleteLater(outer);
  EXPECT_FALSE(Widgets.Captured() || Widgets.Hot() || Widgets.Focused() || Widgets.Dragged());
  EXPECT_FALSE(Widgets.HasPopups()) << "a menu goes with who opened it";
  EXPECT_EQ(ended, 0);
  Move(50, 51);
  Release(50, 51);
  EXPECT_EQ(ended, 1);
}

TEST_F(DispatchTest, TabWalksInTheOrderOfTheTree) {
  bool on = false;
  auto* panel = Place(new ColumnWidget, {0, 0, 200, 300});
  auto* first = panel->AddChild(new CheckBox("A", Bind<_bool>(on)));
  auto* hidden = panel->AddChild(new WidgetsFolder("B", false));
  auto* inside = hidden->AddChild(new CheckBox("C", Bind<_bool>(on)));
  panel->AddChild(new CheckBox("D", Bind<_bool>(on)))->Enabled = false;
  auto* last = panel->AddChild(new TextEdit);
  Widgets.ArrangeIfWanted();
  Key(KeyTab);
  EXPECT_EQ(Outside.size(), 1u) << "without focus Tab is a hot key like others";
  ClickOn(*last);
  EXPECT_FALSE(Widgets.ShowsFocus());
  Key(KeyTab);
  EXPECT_EQ(Widgets.Focused(), first);
  EXPECT_TRUE(Widgets.ShowsFocus());
  Keys({KeySpace, KeyTab});
  EXPECT_TRUE(on);
  EXPECT_EQ(Widgets.Focused(), hidden);
  Keys({KeyRight, KeyTab});  // opens and enters
  EXPECT_EQ(Widgets.Focused(), inside);
  Key(KeyTab);
  EXPECT_EQ(Widgets.Focused(), last);
  Key(KeyTab, ModShift);
  EXPECT_EQ(Widgets.Focused(), inside);
}

TEST_F(DispatchTest, WhatIsCutIsToldWholeByTheHint) {
  for (const bool wide : {true, false}) {
    auto* button = Place(new Button("Unabbreviated"), {100, 100, wide ? 200.0f : 50.0f, 20});
    Widgets.Process(1);
    Move(110, 110);
    Widgets.Process(1 + Widgets.HintDelay);
    DrawAll();
    EXPECT_EQ(button->IsTextCut(), !wide);
    EXPECT_EQ(Widgets.HintRect().W > Screen.TextWidth("Unabbreviated"), !wide);
    Widgets.DeleteLater(button);
    Move(1, 1);
  }
}

TEST_F(DispatchTest, ABoxBlocksAllBelowAndAnswersByKey) {
  auto* below = Place(new Recorder, {0, 0, 800, 600});
  int answer = -1;
  const auto ask = [&] {
    MessageBoxWidget::Ask(Widgets, "Title", "Text", {"Yes", "No", "Cancel"}, [&](int index) { answer = index; });
  };
  ask();
  Click(5, 5);
  Key('A');
  EXPECT_TRUE(below->Kinds.empty() && Outside.empty());
  KeyReleased('B');
  EXPECT_EQ(Outside.size(), 1u) << "who saw a key go down must see it come up";
  Key(KeyEnter);
  EXPECT_EQ(answer, 0);
  EXPECT_FALSE(Widgets.HasModal());
  ask();
  Key(KeyEsc);
  EXPECT_EQ(answer, 2);
  ask();
  DrawAll();
  ClickOn(*Widgets.TopModal()->Children[1]);
  EXPECT_EQ(answer, 1);
  // The answer may ask the next question.
  MessageBoxWidget::Ask(Widgets, "1", "", {}, [&](int) { ask(); });
  Key(KeyEnter);
  EXPECT_TRUE(Widgets.HasModal());
}

TEST_F(DispatchTest, DraggedObjectsAreDroppedWhereTheyAreAccepted) {
  auto* source = Place(new Recorder, {0, 0, 100, 100});
  auto* target = Place(new Recorder, {100, 0, 100, 100});
  target->Accepts = true;
  for (const bool escape : {false, true}) {
    target->Dropped = nullptr;
    Press(50, 50);
    Widgets.BeginDrag(source, "Object", source);
    Move(150, 50);
    EXPECT_EQ(target->Over, 1 + escape);
    if (escape) Key(KeyEsc);
    Release(150, 50);
    EXPECT_EQ(target->Dropped, escape ? nullptr : source);
    EXPECT_EQ(Widgets.Dragged(), nullptr);
  }
}

TEST_F(DispatchTest, ScrollAreaKeepsItsRowsWithinReach) {
  bool on = false;
  auto* area = Place(new ScrollArea, {0, 0, 200, 100});
  for (int i = 0; i < 20; i++) area->Content().AddChild(new CheckBox("Row", Bind<_bool>(on)));
  Widgets.ArrangeIfWanted();
  Send(WheelEvent(50, 50, -100));
  BaseWidget* last = area->Content().Children[19];
  EXPECT_FLOAT_EQ(last->Rect.Bottom(), 100);
  EXPECT_EQ(area->Content().FindAt(10, last->Rect.Y + 200), nullptr);
  area->ShowInside(area->Content().Children[0]->Rect);
  Widgets.ArrangeIfWanted();
  EXPECT_FLOAT_EQ(area->Content().Children[0]->Rect.Y, 0);
  EXPECT_LE(last->Rect.Right(), area->Scroller().Rect.X) << "rows end before the bar";
}

}  // namespace
