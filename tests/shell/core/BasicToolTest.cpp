#include "shell/core/BasicTool.h"

#include <gtest/gtest.h>

#include "ClassEngine/ClassHelp.h"
#include "ClassEngine/ValueTypes.h"
#include "shell/core/ToolInput.h"

namespace {

// Writes down what it hears.
class NotingTool : public BasicTool {
  REFLECTED(NotingTool, BasicTool)
 public:
  float Depth = 0.5f;
  bool Takes = true, Pen = true, OnSurface = true;
  std::string Notes;

  bool OnLeftDown(const InputEvent&) override { return Note("L+"); }
  bool OnLeftUp(const InputEvent&) override { return Note("L-"); }
  bool OnRightDown(const InputEvent&) override { return Note("R+"); }
  bool OnRightUp(const InputEvent&) override { return Note("R-"); }
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
  static InputEvent At(InputKind kind, MouseButton button = MouseButton::None, uint8_t modifiers = 0) {
    InputEvent event;
    event.Kind = kind;
    event.Button = button;
    event.Modifiers = modifiers;
    event.X = event.Y = 100;
    return event;
  }
  bool Press(MouseButton button, uint8_t modifiers = 0) { return Input.OnEvent(At(InputKind::ButtonDown, button, modifiers)); }
  bool Release(MouseButton button) { return Input.OnEvent(At(InputKind::ButtonUp, button)); }
  bool Move() { return Input.OnEvent(At(InputKind::PointerMove)); }

  NaviSystem Navi;
  ToolInput Input{Navi};
  bool Hits = true;
  NotingTool& A = CreateTool<NotingTool>();
  NotingTool& B = CreateTool<NotingTool>();
  NotingTool& C = CreateTool<NotingTool>();
};

TEST_F(BasicToolTest, TheActiveFlagsDecide) {
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
  A.Active = false;
  EXPECT_EQ(&GetCurrentTool(), &GetDefaultTool());
}

TEST_F(BasicToolTest, AClickSetsExactlyOne) {
  A.Active = C.Active = true;
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
  std::string shown;
  for (const MemberInfo& member : DescribeMembers(A))
    if (!member.Hidden) shown += member.Name + " ";
  EXPECT_EQ(shown, "Depth ");
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
    EXPECT_EQ(Navi.CurrentAction(), NaviAction::None);
  }
  EXPECT_EQ(A.Notes, "L+");
  const float before = Navi.View.Distance();
  InputEvent wheel = At(InputKind::Wheel);
  wheel.WheelY = 1;
  EXPECT_TRUE(Input.OnEvent(wheel));
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
  Input.OnEvent(At(InputKind::FocusLost));
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
}

TEST_F(BasicToolTest, StrokeModeFollowsControlForPensAlone) {
  RadioActivate(A);
  const auto modeOf = [&](uint8_t modifiers) {
    Press(MouseButton::Left, modifiers);
    Release(MouseButton::Left);
    return StrokeMode;
  };
  EXPECT_EQ(modeOf(ModControl), 1);
  EXPECT_EQ(modeOf(0), 0);
  EXPECT_EQ(modeOf(ModShift), 0);
  A.Pen = false;
  EXPECT_EQ(modeOf(ModControl), 0);
}

}  // namespace
