#include "interface/NaviControl.h"

#include <string>
#include <utility>

#include "ClassEngine/Declare.h"
#include "WidgetFixture.h"
#include "interface/Button.h"
#include "interface/PanelWidget.h"
#include "interface/ScrollArea.h"
#include "interface/draw/Theme.h"

namespace {

using enum StandardView;
constexpr StandardView AllViews[] = {Front, Back, Left, Right, Top, Bottom};

/// A control on a real camera, which it looks through at once.
class NaviControlTest : public WidgetTest {
 protected:
  NaviControlTest() {
    Navi.Settings.SmoothViews = false;
    Navi.SetCamera({.Position = {2, 1, 3}, .Target = {}});
    Control = Place(MakeControl(), {20, 10, 240, 150});
  }
  ~NaviControlTest() override { PanelWidget::MakeNaviControl = {}; }
  NaviControl* MakeControl() {
    NaviLink link;
    link.GetAxes = [this] {
      const comms::cVec3 right = Navi.View.Right(), forward = Navi.View.Forward();
      return ViewAxes{right, comms::Cross(right, forward), -forward};
    };
    link.Look = [this](StandardView view) {
      Calls += "look ";
      Navi.SetStandardView(view);
    };
    link.BeginOrbit = [this] { Calls += "begin "; };
    link.Orbit = [this](comms::cVec2 turn) { Turn = turn, Calls += "turn "; };
    link.EndOrbit = [this] { Calls += "end "; };
    auto* control = new NaviControl(std::move(link));
    for (int i = 0; i < 5; i++) control->AddButton(new Button("Frame all", "Frame"));
    return control;
  }
  NaviBall& Ball() const { return Control->Ball(); }
  comms::cVec2 Center() const { return {Ball().Rect.X + Ball().Rect.W / 2, Ball().Rect.Y + Ball().Rect.H / 2}; }
  bool Faces(StandardView end) const { return Ball().EndDepth(end) > 0.9999f; }
  std::string TakeCalls() { return std::exchange(Calls, ""); }

  NaviSystem Navi;
  NaviControl* Control = nullptr;
  comms::cVec2 Turn;
  std::string Calls;
};

TEST_F(NaviControlTest, AnEndAsksForTheViewFromThere) {
  const comms::cVec3 directions[] = {{0, 0, 1}, {0, 0, -1}, {-1, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, -1, 0}};
  const Camera before = Navi.View;
  for (const StandardView end : AllViews) {
    SCOPED_TRACE(int(end));
    Navi.SetCamera(before);
    const comms::cVec2 place = Ball().EndPlace(end);
    const float right = comms::Dot(directions[int(end)], before.Right()), up = comms::Dot(directions[int(end)], before.Up);
    EXPECT_GT((place.x - Center().x) * right + (Center().y - place.y) * up, 1) << "drawn elsewhere than it is seen";
    for (const float side : {1.0f, -1.0f}) {  // pressed again, from the other side
      const comms::cVec2 at = Ball().EndPlace(end);
      Click(at.x, at.y);
      EXPECT_NEAR(comms::Dot(Navi.View.Forward(), directions[int(end)]), -side, 1e-5);
      EXPECT_NEAR(Ball().EndDepth(end), side, 1e-5);
      EXPECT_EQ(Ball().FindEnd(Center().x, Center().y), side > 0 ? end : StandardView(int(end) ^ 1)) << "what is in front";
    }
    EXPECT_EQ(TakeCalls(), "look look ");
  }
}

TEST_F(NaviControlTest, ADragTurnsAsTheBallDoes) {
  const cRect rect = Ball().Rect;
  const comms::cVec2 end = Ball().EndPlace(Right);
  Press(end.x, end.y);
  Move(end.x + 2, end.y);
  EXPECT_EQ(TakeCalls(), "") << "a hand that trembles";
  Move(end.x + rect.W / 4, end.y - rect.W / 2);
  EXPECT_NEAR(Turn.x, 0.5, 1e-5);
  EXPECT_NEAR(Turn.y, -1, 1e-5);
  Move(end.x, end.y);
  EXPECT_EQ(Turn, comms::cVec2()) << "counted from the press";
  Release(end.x, end.y);
  EXPECT_EQ(TakeCalls(), "begin turn turn end ") << "and no press of the end that it ends on";
  Press(end.x, end.y);
  Move(end.x + 50, end.y);
  Key(KeyEsc);
  EXPECT_EQ(Turn, comms::cVec2());
  Release(end.x - 50, end.y);
  EXPECT_EQ(TakeCalls(), "begin turn turn end ");
  Press(rect.X + 1, rect.Y + 1);
  Move(rect.X + 50, rect.Y + 50);
  Release(rect.X + 50, rect.Y + 50);
  EXPECT_EQ(TakeCalls(), "") << "the corner beside the ball";
  // Whoever is taken away lets the camera go.
  Press(end.x, end.y);
  Move(end.x + 50, end.y);
  Widgets.DeleteLater(Control);
  Widgets.EmptyDeferredList();
  EXPECT_EQ(TakeCalls(), "begin turn end ");
}

// One pair of arrows reaches every end, in its own direction, also where ends hide behind others.
TEST_F(NaviControlTest, KeysChooseAndPressAnEnd) {
  Widgets.MoveFocus(false);
  ASSERT_EQ(Widgets.Focused(), &Ball());
  EXPECT_EQ(Ball().Chosen(), Front) << "what is nearest";
  for (const StandardView from : {Front, Right, Top}) {
    for (const auto& [back, forth] : {std::pair{KeyLeft, KeyRight}, {KeyUp, KeyDown}}) {
      for (int i = 0; i < 6; i++) Key(back);
      unsigned reached = 0;
      for (comms::cVec2 last{-1e9f, -1e9f}; !(reached >> int(*Ball().Chosen()) & 1); Key(forth)) {
        const comms::cVec2 place = Ball().EndPlace(*Ball().Chosen());
        EXPECT_GE(back == KeyLeft ? place.x - last.x : place.y - last.y, -1);
        reached |= 1u << int(*Ball().Chosen());
        last = place;
      }
      EXPECT_EQ(reached, 0x3Fu);
    }
    Navi.SetStandardView(from);
  }
  for (int i = 0; i < 6; i++) Key(KeyLeft);
  Key(KeyEnter);
  EXPECT_TRUE(Faces(Left));
  Key(KeySpace);
  EXPECT_TRUE(Faces(Right));
  Key(KeyTab);
  EXPECT_EQ(Widgets.Focused(), Control->Children[1]) << "the buttons come after the ball";
}

TEST_F(NaviControlTest, LettersAreReadable) {
  for (const ThemeKind kind : {ThemeKind::Light, ThemeKind::Dark}) {
    SetTheme(kind);
    for (const StandardView end : AllViews) {
      SCOPED_TRACE(testing::Message() << "theme " << int(kind) << " end " << int(end));
      for (int i = -10; i <= 10; i++) {
        const AxisEndLook marked = GetAxisEndLook(end, float(i) / 10, true), look = GetAxisEndLook(end, float(i) / 10, false);
        EXPECT_GE(ContrastRatio(marked.Letter, marked.Fill), 4.5f);
        EXPECT_TRUE(look.Letter ? ContrastRatio(look.Letter, look.Fill) >= 4.5f : i < 0) << i;
      }
      for (const uint32_t ground : {GetTheme().Field, GetTheme().Button}) {
        const float near = ContrastRatio(GetAxisEndLook(end, 1, false).Border, ground);
        EXPECT_GE(near, 3.0f);
        EXPECT_LT(ContrastRatio(GetAxisEndLook(end, -1, false).Border, ground), near);
      }
    }
  }
}

class NaviSubject : public BaseClass {
  REFLECTED(NaviSubject, BaseClass)
};
DECLARE_MEMBERS(NaviSubject) { Caption<Delimiter>("@NaviControl@"); }

// In any panel at any scale, nothing of it is cut, and nothing lies over another.
TEST_F(NaviControlTest, AMemberPlacesItInAPanel) {
  NaviSubject subject;
  subject.RegisterMembers();
  EXPECT_EQ(Place(new PanelWidget(&subject), {300, 10, 200, 300})->Area().Content().Children.Count, 0) << "nobody makes one";
  PanelWidget::MakeNaviControl = [this] { return Control = MakeControl(); };
  for (const float scale : {1.0f, 2.0f, 3.0f})
    for (const float width : {120.0f, 264.0f}) {
      Resize(1000, 900, scale);
      auto* panel = Place(new PanelWidget(&subject), {20, 10, width * scale, 800});
      ASSERT_EQ(panel->Area().Content().Children.Count, 1);
      ASSERT_EQ(panel->Area().Content().Children[0], Control);
      for (int i = 0; i < Control->Children.Count; i++) {
        const cRect& rect = Control->Children[i]->Rect;
        EXPECT_EQ(rect.Intersection(panel->Rect), rect);
        EXPECT_GE(std::min(rect.W, rect.H), 12 * scale);
        const cRect common = i ? rect.Intersection(Control->Children[i - 1]->Rect) : cRect();
        EXPECT_TRUE(common.W <= 0 || common.H <= 0) << i;
      }
      DrawAll();
      Widgets.DeleteLater(panel);
    }
}

}  // namespace
