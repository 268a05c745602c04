#include "shell/core/BasicTool.h"

#include <gtest/gtest.h>

#include "ClassEngine/ClassHelp.h"
#include "ClassEngine/ValueTypes.h"
#include "interface/Events.h"
#include "shell/core/ToolInput.h"

namespace {

// Writes down what it hears.
class NotingTool : public BasicTool {
  REFLECTED(NotingTool, BasicTool)
 public:
  float Depth = 0.5f;
  bool Takes = true, Pen = true, OnSurface = true, Points = true;
  std::string Notes;

  bool OnLeftDown(const InputEvent&) override { return Note("L+"); }
  bool OnLeftUp(const InputEvent&) override { return Note("L-"); }
  bool OnMiddleDown(const InputEvent&) override { return Note("M+"); }
  bool OnMiddleUp(const InputEvent&) override { return Note("M-"); }
  bool OnAltLeftDown(const InputEvent&) override { return Note("AL+"); }
  bool OnAltLeftUp(const InputEvent&) override { return Note("AL-"); }
  bool ProcessInput(const InputEvent& event) override {
    return event.Kind == InputKind::PointerMove ? Note("m") : (Note("i"), event.Kind != InputKind::Wheel);
  }
  void OnDeactivate() override { Note("off"); }
  bool UsesPen() const override { return Pen; }
  bool UsesStroke() const override { return true; }
  bool WantsSurfacePick() const override { return OnSurface; }
  bool EditsPoints() const override { return Points; }

 private:
  bool Note(const char* what) {
    Notes += (Notes.empty() ? "" : " ") + std::string(what);
    return Takes;
  }
};
DECLARE_MEMBERS(NotingTool) { Member<_float>("Depth", Depth).Hint("A parameter"); }

class BasicToolTest : public testing::Test {
 protected:
  BasicToolTest() {
    StrokeMode = 0;
    AlternativeInput = false;
    CurrentStroke = {};
    Navi.SetViewport(0, 0, 800, 600);
    Navi.Pick = [this](float, float, comms::cVec3& point) { return point = {}, Hits; };
  }
  ~BasicToolTest() override { ReleaseTools(); }
  bool Press(MouseButton button, uint8_t modifiers = 0) {
    return Input.OnEvent(PointerEvent(InputKind::ButtonDown, 100, 100, button, modifiers));
  }
  bool Release(MouseButton button) { return Input.OnEvent(PointerEvent(InputKind::ButtonUp, 100, 100, button)); }
  bool Move() { return Input.OnEvent(PointerEvent(InputKind::PointerMove, 100, 100)); }

  NaviSystem Navi;
  ToolInput Input{Navi};
  bool Hits = true;
  NotingTool& A = CreateTool<NotingTool>();
  NotingTool& B = CreateTool<NotingTool>();
  NotingTool& C = CreateTool<NotingTool>();
};

TEST_F(BasicToolTest, TheActiveFlagsDecideAndAClickSetsExactlyOne) {
  EXPECT_EQ(&GetCurrentTool(), &GetDefaultTool());
  B.Active = true;
  EXPECT_EQ(&GetCurrentTool(), &B);
  A.Active = C.Active = true;
  EXPECT_EQ(&GetCurrentTool(), &B) << "the one last found stays";
  B.Active = false;
  EXPECT_EQ(&GetCurrentTool(), &C) << "going round from there";
  C.Active = false;
  EXPECT_EQ(&GetCurrentTool(), &A);
  CurrentToolIndex = 77;
  EXPECT_EQ(&GetCurrentTool(), &A);

  C.Active = true;
  RadioActivate(B);
  EXPECT_EQ(A.Notes, "off");
  EXPECT_EQ(C.Notes, "");
  EXPECT_EQ(&GetCurrentTool(), &B);
  EXPECT_FALSE(A.Active || C.Active);
  RadioActivate(B);
  EXPECT_EQ(B.Notes, "");
  DeactivateTools();
  EXPECT_EQ(B.Notes, "off");
  EXPECT_EQ(&GetCurrentTool(), &GetDefaultTool());
}

TEST_F(BasicToolTest, FlagsAreNoParameters) {
  for (const MemberInfo& member : DescribeMembers(A)) EXPECT_EQ(member.Hidden, member.Name != "Depth") << member.Name;
  A.Active = true;
  XmlNode node;
  A.Save(&node, &A);
  EXPECT_EQ(node.FindChild("Active"), nullptr);
  EXPECT_NE(node.FindChild("Depth"), nullptr);
}

TEST_F(BasicToolTest, ButtonsReachTheToolUnlessTheNavigationTakesThem) {
  RadioActivate(A);
  EXPECT_TRUE(Press(MouseButton::Left));
  EXPECT_TRUE(CurrentStroke.Running);
  EXPECT_TRUE(Move());
  EXPECT_EQ(CurrentStroke.Samples, 2);
  EXPECT_TRUE(Press(MouseButton::Middle)) << "no camera under a stroke";
  EXPECT_TRUE(Release(MouseButton::Middle));
  EXPECT_TRUE(Release(MouseButton::Left));
  EXPECT_FALSE(CurrentStroke.Running);
  EXPECT_FALSE(Release(MouseButton::Left)) << "there was no press";
  EXPECT_EQ(A.Notes, "L+ m M+ M- L-");

  A.Notes.clear();
  EXPECT_TRUE(Press(MouseButton::Left, ModAlt));
  EXPECT_EQ(Navi.CurrentAction(), NaviAction::Orbit);
  EXPECT_TRUE(Move());
  EXPECT_TRUE(Release(MouseButton::Left));
  Hits = false;
  EXPECT_TRUE(Press(MouseButton::Left)) << "empty space turns the view";
  EXPECT_TRUE(Release(MouseButton::Left));
  EXPECT_EQ(A.Notes, "");
  A.OnSurface = false;
  EXPECT_TRUE(Press(MouseButton::Left)) << "unless the tool works there";
  EXPECT_TRUE(Release(MouseButton::Left));
  EXPECT_EQ(A.Notes, "L+ L-");
}

TEST_F(BasicToolTest, WhatNobodyHandlesMovesTheCamera) {
  for (const bool withTool : {false, true}) {
    if (withTool) RadioActivate(A);
    A.Takes = false;
    EXPECT_TRUE(Press(MouseButton::Left));
    EXPECT_EQ(Navi.CurrentAction(), NaviAction::Orbit);
    EXPECT_FALSE(CurrentStroke.Running);
    EXPECT_TRUE(Release(MouseButton::Left));
    EXPECT_TRUE(Press(MouseButton::Right));
    EXPECT_EQ(Navi.CurrentAction(), NaviAction::Orbit) << "as beside the scene";
    EXPECT_TRUE(Release(MouseButton::Right));
  }
  EXPECT_EQ(A.Notes, "L+");
  const float before = Navi.View.Distance();
  EXPECT_TRUE(Input.OnEvent(WheelEvent(100, 100, 1)));
  EXPECT_LT(Navi.View.Distance(), before);
}

TEST_F(BasicToolTest, WhoGotThePressGetsTheRelease) {
  RadioActivate(A);
  Press(MouseButton::Left);
  RadioActivate(B);
  Move();
  Release(MouseButton::Left);
  EXPECT_EQ(A.Notes, "L+ off m L-");
  EXPECT_EQ(B.Notes, "");
  A.Notes.clear();
  RadioActivate(A);
  Press(MouseButton::Left);
  Input.OnEvent(PointerEvent(InputKind::FocusLost, 100, 100));
  EXPECT_EQ(A.Notes, "L+ L- i");
  EXPECT_FALSE(Release(MouseButton::Left));
}

TEST_F(BasicToolTest, CaptureBlocksAndTheAlternativeStateHasItsOwnHandlers) {
  RadioActivate(A);
  bool captured = true, blocked = false;
  Input.IsMouseCaptured = [&] { return captured; };
  Input.IsBlocked = [&] { return blocked; };
  EXPECT_FALSE(Press(MouseButton::Left));
  EXPECT_FALSE(Move());
  EXPECT_FALSE(Release(MouseButton::Left));
  EXPECT_EQ(A.Notes, "");
  captured = false;
  AlternativeInput = true;
  Press(MouseButton::Left, ModAlt);
  AlternativeInput = false;  // the release still belongs to the press
  Release(MouseButton::Left);
  EXPECT_EQ(A.Notes, "AL+ AL-");
  AlternativeInput = blocked = true;
  Press(MouseButton::Left);
  Release(MouseButton::Left);
  EXPECT_EQ(A.Notes, "AL+ AL- L+ L-");
  A.Points = blocked = false;
  Press(MouseButton::Left);
  Release(MouseButton::Left);
  EXPECT_EQ(A.Notes, "AL+ AL- L+ L- L+ L-") << "a tool without points works on";
}

TEST_F(BasicToolTest, StrokeModeFollowsControlForPensAlone) {
  RadioActivate(A);
  for (const bool pen : {true, false})
    for (const uint8_t modifiers : {0, int(ModControl), int(ModShift)}) {
      A.Pen = pen;
      Press(MouseButton::Left, modifiers);
      Release(MouseButton::Left);
      EXPECT_EQ(StrokeMode, pen && modifiers == ModControl ? 1 : 0) << int(modifiers);
    }
}

}  // namespace
