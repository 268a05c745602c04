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

class DispatchTest : public WidgetTest {};

TEST_F(DispatchTest, InputGoesToTheDeepestWidgetAndUpToWhoWantsIt) {
  auto* outer = Place(new Recorder, {0, 0, 200, 200});
  auto* inner = outer->AddChild(new Recorder);
  inner->Rect = {50, 50, 50, 50};
  inner->Handles = false;
  auto* above = Place(new Recorder, {150, 150, 100, 100}, LayerFloating);
  int unhandled = 0;
  Widgets.Unhandled = [&](const InputEvent&) { return ++unhandled > 0; };

  Move(60, 60);
  EXPECT_EQ(inner->Kinds.size(), 1u);
  EXPECT_EQ(outer->Kinds.size(), 1u);
  EXPECT_TRUE(inner->IsHot());
  Move(160, 160);  // the higher layer covers the lower one
  EXPECT_EQ(above->Kinds.size(), 1u);
  EXPECT_EQ(outer->Kinds.size(), 1u);
  above->Enabled = false;
  Move(161, 161);
  EXPECT_EQ(above->Kinds.size(), 1u);
  EXPECT_EQ(outer->Kinds.size(), 2u);
  inner->Visible = outer->Visible = false;
  Move(60, 60);
  EXPECT_EQ(unhandled, 1);
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
  EXPECT_TRUE(right->Kinds.empty());
  EXPECT_TRUE(right->IsHot());

  // What begins outside all widgets stays outside until the release.
  std::vector<InputKind> outside;
  Widgets.Unhandled = [&](const InputEvent& event) {
    outside.push_back(event.Kind);
    return true;
  };
  Press(500, 500);
  Move(50, 50);
  Release(50, 50);
  EXPECT_EQ(outside, (std::vector{InputKind::ButtonDown, InputKind::PointerMove, InputKind::ButtonUp}));
  EXPECT_EQ(left->Kinds.size(), 5u);

  // A window that loses the keyboard counts as released.
  Press(50, 50);
  InputEvent lost;
  lost.Kind = InputKind::FocusLost;
  Send(lost);
  EXPECT_EQ(left->Kinds.back(), InputKind::ButtonUp);
  EXPECT_EQ(Widgets.Captured(), nullptr);
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
  EXPECT_EQ(Widgets.Captured(), nullptr);
  EXPECT_EQ(Widgets.Hot(), nullptr);
  EXPECT_EQ(Widgets.Focused(), nullptr);
  EXPECT_EQ(Widgets.Dragged(), nullptr);
  EXPECT_FALSE(Widgets.HasPopups()) << "a menu goes with who opened it";
  EXPECT_EQ(ended, 0);
  Move(50, 51);
  Release(50, 51);
  DrawAll();
  EXPECT_EQ(ended, 1);
}

TEST_F(DispatchTest, AButtonMayRemoveItsOwnPanel) {
  auto* panel = Place(new ColumnWidget, {0, 0, 200, 100});
  auto* button = panel->AddChild(new Button("Remove"));
  Notes notes;
  notes.Listen(*button);
  button->Action = [&] { panel->RemoveChildren(); };
  Widgets.ArrangeIfWanted();
  ClickOn(*button);
  EXPECT_EQ(panel->Children.Count, 0);
  EXPECT_EQ(notes.Clicks, 0) << "nobody is told of a widget that has gone";
  DrawAll();
}

TEST_F(DispatchTest, TabWalksInTheOrderOfTheTree) {
  bool on = false;
  auto* panel = Place(new ColumnWidget, {0, 0, 200, 300});
  auto* first = panel->AddChild(new CheckBox("A", Bind<_bool>(on)));
  auto* hidden = panel->AddChild(new WidgetsFolder("B", false));
  auto* inside = hidden->AddChild(new CheckBox("C", Bind<_bool>(on)));
  auto* disabled = panel->AddChild(new CheckBox("D", Bind<_bool>(on)));
  disabled->Enabled = false;
  auto* last = panel->AddChild(new TextEdit);
  Widgets.ArrangeIfWanted();
  int unhandled = 0;
  Widgets.Unhandled = [&](const InputEvent&) { return ++unhandled > 0; };
  Key(KeyTab);
  EXPECT_EQ(unhandled, 1) << "without focus Tab is a hot key like others";
  ClickOn(*last);
  EXPECT_FALSE(Widgets.ShowsFocus());
  Key(KeyTab);
  EXPECT_EQ(Widgets.Focused(), first);
  EXPECT_TRUE(Widgets.ShowsFocus());
  Key(KeySpace);
  EXPECT_TRUE(on);
  Key(KeyTab);
  EXPECT_EQ(Widgets.Focused(), hidden);
  Key(KeyRight);  // opens
  Key(KeyTab);
  EXPECT_EQ(Widgets.Focused(), inside);
  Key(KeyTab);
  EXPECT_EQ(Widgets.Focused(), last);
  Key(KeyTab, ModShift);
  EXPECT_EQ(Widgets.Focused(), inside);
}

TEST_F(DispatchTest, ABoxBlocksAllBelowAndAnswersByKey) {
  auto* below = Place(new Recorder, {0, 0, 800, 600});
  int answer = -1, unhandled = 0;
  Widgets.Unhandled = [&](const InputEvent&) { return ++unhandled > 0; };
  const auto ask = [&] {
    answer = -1;
    MessageBoxWidget::Ask(Widgets, "Title", "Text", {"Yes", "No", "Cancel"}, [&](int index) { answer = index; });
  };
  ask();
  Click(5, 5);
  Key('A');
  EXPECT_TRUE(below->Kinds.empty());
  EXPECT_EQ(unhandled, 0);
  KeyReleased('B');
  EXPECT_EQ(unhandled, 1) << "who saw a key go down must see it come up";
  Key(KeyEnter);
  EXPECT_EQ(answer, 0);
  EXPECT_FALSE(Widgets.HasModal());
  ask();
  Key(KeyEsc);
  EXPECT_EQ(answer, 2);
  ask();
  BaseWidget* box = Widgets.TopModal();
  DrawAll();
  ClickOn(*box->Children[1]);
  EXPECT_EQ(answer, 1);
  // The answer may ask the next question.
  MessageBoxWidget::Ask(Widgets, "1", "", {}, [&](int) { ask(); });
  Key(KeyEnter);
  EXPECT_TRUE(Widgets.HasModal());
  DrawAll();
}

TEST_F(DispatchTest, DraggedObjectsAreDroppedWhereTheyAreAccepted) {
  auto* source = Place(new Recorder, {0, 0, 100, 100});
  auto* target = Place(new Recorder, {100, 0, 100, 100});
  target->Accepts = true;
  Press(50, 50);
  Widgets.BeginDrag(source, "Object", source);
  Move(150, 50);
  EXPECT_EQ(target->Over, 1);
  Release(150, 50);
  EXPECT_EQ(target->Dropped, source);
  EXPECT_EQ(Widgets.Dragged(), nullptr);
  target->Dropped = nullptr;
  Press(50, 50);
  Widgets.BeginDrag(source, "Object", source);
  Key(KeyEsc);
  Release(150, 50);
  EXPECT_EQ(target->Dropped, nullptr);
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
