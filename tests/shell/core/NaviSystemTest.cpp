#include "shell/core/NaviSystem.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "comms/RenderState.h"
#include "interface/Events.h"

using comms::cMat4;
using comms::cVec3;
using comms::cVec4;

namespace {

constexpr float ScreenX = 40, ScreenY = 30, ScreenWidth = 1200, ScreenHeight = 800;

NaviSystem MakeNavi(float size, bool orthographic) {
  NaviSystem navi;
  navi.SetViewport(ScreenX, ScreenY, ScreenWidth, ScreenHeight);
  Camera camera;
  camera.Position = cVec3{2, 1.5f, 4} * size;
  camera.Target = cVec3{0.1f, 0.2f, 0} * size;
  camera.Orthographic = orthographic;
  navi.SetCamera(camera);
  navi.Settings.SmoothViews = false;
  return navi;
}

// Where the matrices that a shader gets put a point: the slow way, by which Project is held.
void ProjectByMatrices(const NaviSystem& navi, const cVec3& point, double& x, double& y) {
  const cVec3 v = navi.View.ViewMatrix().TransformPoint(point);
  const cMat4 p = navi.View.ProjectionMatrix(navi.Aspect());
  double clip[4];
  for (int i = 0; i < 4; ++i)
    clip[i] = double(v.x) * p.m[0][i] + double(v.y) * p.m[1][i] + double(v.z) * p.m[2][i] + double(p.m[3][i]);
  x = ScreenX + (clip[0] / clip[3] + 1) / 2 * ScreenWidth;
  y = ScreenY + (1 - clip[1] / clip[3]) / 2 * ScreenHeight;
}

void ExpectAt(const NaviSystem& navi, const cVec3& point, float x, float y, double tolerance = 0.1) {
  float px = 0, py = 0;
  ASSERT_TRUE(navi.Project(point, px, py));
  EXPECT_NEAR(px, x, tolerance);
  EXPECT_NEAR(py, y, tolerance);
  double mx, my;
  ProjectByMatrices(navi, point, mx, my);
  EXPECT_NEAR(mx, px, 0.1);
  EXPECT_NEAR(my, py, 0.1);
}

class NaviSizes : public testing::TestWithParam<std::tuple<float, bool>> {
 protected:
  const float Size = std::get<0>(GetParam());
  const bool Orthographic = std::get<1>(GetParam());
  NaviSystem Navi = MakeNavi(Size, Orthographic);
  // A point of the "surface" nearer than the target, and its pixel.
  cVec3 Point = Navi.Unproject(700, 300, Navi.View.Distance() * 0.6f);
  void PickThePoint() {
    Navi.Pick = [this](float, float, cVec3& point) { return point = Point, true; };
  }
};
INSTANTIATE_TEST_SUITE_P(Scenes, NaviSizes, testing::Combine(testing::Values(1e-3f, 1.0f, 1e6f), testing::Bool()));

TEST_P(NaviSizes, MatricesRaysAndPixelsAgree) {
  Navi.FitDepth({cVec3{-1, -1, -1} * Size, cVec3{1, 1, 1} * Size});
  for (const float x : {50.0f, 640.0f, 1230.0f})
    for (const float y : {35.0f, 430.0f, 820.0f})
      for (const float share : {0.3f, 1.0f, 2.0f}) {
        ExpectAt(Navi, Navi.Unproject(x, y, Navi.View.Distance() * share), x, y);
        const ViewRay ray = Navi.GetRay(x, y);
        EXPECT_NEAR(Length(ray.Direction), 1, 1e-5);
        ExpectAt(Navi, ray.Origin + ray.Direction * (Navi.View.Distance() * share), x, y);
      }
  // The other projection shows the same size at the target.
  const cVec3 beside = Navi.Unproject(700, 300, Navi.View.Distance());
  Navi.ToggleOrthographic();
  ExpectAt(Navi, beside, 700, 300);
}

TEST_P(NaviSizes, PanKeepsTheGrabbedPointUnderThePointer) {
  PickThePoint();
  const Camera before = Navi.View;
  Navi.BeginDefault(PointerEvent(InputKind::ButtonDown, 700, 300, MouseButton::Middle));
  for (int i = 0; i <= 1000; ++i) Navi.OnMove(PointerEvent(InputKind::PointerMove, 700 - 0.3f * float(i), 300 + 0.4f * float(i)));
  ExpectAt(Navi, Point, 400, 700);
  EXPECT_NEAR(Navi.View.Distance() / before.Distance(), 1, 1e-4);
  EXPECT_NEAR(Dot(Navi.View.Forward(), before.Forward()), 1, 1e-5);
  Navi.OnMove(PointerEvent(InputKind::PointerMove, 700, 300));
  EXPECT_NEAR(Length(Navi.View.Position - before.Position) / before.Distance(), 0, 1e-5) << "back where the press was";
}

TEST_P(NaviSizes, ZoomKeepsThePointUnderThePointer) {
  for (const bool picked : {false, true}) {
    Navi = MakeNavi(Size, Orthographic);
    if (picked) PickThePoint();
    const cVec3 point = picked ? Point : Navi.Unproject(700, 300, Navi.View.Distance());
    const float before = Length(Navi.View.Position - point);
    for (int i = 0; i < 12; ++i) EXPECT_TRUE(Navi.OnWheel(WheelEvent(700, 300, 1)));
    ExpectAt(Navi, point, 700, 300, 0.6);
    EXPECT_NEAR(Length(Navi.View.Position - point) / before, std::pow(0.8, 12), 1e-3);
    for (int i = 0; i < 12; ++i) Navi.OnWheel(WheelEvent(700, 300, -1));
    EXPECT_NEAR(Length(Navi.View.Position - point) / before, 1, 1e-3);
    Navi.BeginDefault(PointerEvent(InputKind::ButtonDown, 700, 300, MouseButton::Right, ModControl));
    Navi.OnMove(PointerEvent(InputKind::PointerMove, 900, 250));
    ExpectAt(Navi, point, 700, 300, 0.6);
    EXPECT_LT(Length(Navi.View.Position - point), before * 0.5f);
    Navi.EndDrag();
  }
}

TEST_P(NaviSizes, OrbitTurnsAroundThePoint) {
  for (const bool turntable : {true, false}) {
    Navi = MakeNavi(Size, Orthographic);
    PickThePoint();
    Navi.Settings.Turntable = turntable;
    const float before = Length(Navi.View.Position - Point);
    Navi.BeginDefault(PointerEvent(InputKind::ButtonDown, 700, 300, MouseButton::Left));
    for (int i = 0; i < 500; ++i)
      Navi.OnMove(PointerEvent(InputKind::PointerMove, 700 + float(i % 90) * 7, 300 - float(i % 70) * 5));
    EXPECT_GT(Length(Navi.View.Position - cVec3{2, 1.5f, 4} * Size), before * 0.2f) << "it moved at all";
    ExpectAt(Navi, Point, 700, 300, 0.3);
    EXPECT_NEAR(Length(Navi.View.Position - Point) / before, 1, 1e-4);
    EXPECT_NEAR(Dot(Navi.View.Up, Navi.View.Forward()), 0, 1e-4);
    if (turntable) {
      EXPECT_NEAR(Navi.View.Right().y, 0, 1e-4) << "the horizon is level";
    }
    Navi.OnRelease(PointerEvent(InputKind::ButtonUp, 0, 0, MouseButton::Left));
  }
}

TEST_P(NaviSizes, FramedBoxIsSeenWholeAndFillsTheView) {
  const SceneBox box{cVec3{-3, -1, -2} * Size, cVec3{1, 5, 2} * Size};
  for (int view = -1; view < 6; ++view) {
    if (view >= 0) Navi.SetStandardView(StandardView(view));
    Navi.Frame(box);
    Navi.FitDepth(box);
    float widest = 0;
    for (int i = 0; i < 8; ++i) {
      const cVec3 corner{i & 1 ? box.Max.x : box.Min.x, i & 2 ? box.Max.y : box.Min.y, i & 4 ? box.Max.z : box.Min.z};
      float x = 0, y = 0, depth = 0;
      ASSERT_TRUE(Navi.Project(corner, x, y, &depth));
      widest = std::max({widest, std::abs(x - ScreenX - 600) / 600, std::abs(y - ScreenY - 400) / 400});
      EXPECT_GT(depth, Navi.View.Near);
      EXPECT_LT(depth, Navi.View.Far);
    }
    EXPECT_LT(widest, 1) << view;
    EXPECT_GT(widest, 0.7f) << view;
    EXPECT_LT(Navi.View.Far / Navi.View.Near, Orthographic ? HUGE_VALF : 50) << "no depth is wasted";
  }
}

TEST(NaviSystem, DepthRangeInsideAndWithoutAScene) {
  NaviSystem navi = MakeNavi(1, false);
  for (const float distance : {1e-3f, 1e3f}) {
    navi.View.Target = navi.View.Position + navi.View.Forward() * distance;
    for (const SceneBox& box :
         {SceneBox{}, SceneBox{{-1e4f, -1e4f, -1e4f}, {1e4f, 1e4f, 1e4f}}, SceneBox{{50, 50, 50}, {60, 60, 60}}}) {
      navi.FitDepth(box);
      EXPECT_GT(navi.View.Near, 0);
      EXPECT_LT(navi.View.Near, navi.View.Far);
      EXPECT_GE(navi.View.Near / navi.View.Far, 0.99e-5f);
    }
  }
}

// From every view to every other one, opposite ones included: no step leaps, target and distance stay, the end is exact.
TEST(NaviSystem, StandardViewsAndTheWayBetweenThem) {
  const cVec3 forwards[]{{0, 0, -1}, {0, 0, 1}, {1, 0, 0}, {-1, 0, 0}, {0, -1, 0}, {0, 1, 0}};
  for (int from = 0; from < 6; ++from)
    for (int to = 0; to < 6; ++to) {
      NaviSystem navi = MakeNavi(1, false);
      navi.SetStandardView(StandardView(from));
      navi.Settings.SmoothViews = true;
      const float distance = navi.View.Distance();
      const cVec3 target = navi.View.Target;
      navi.SetStandardView(StandardView(to));
      cVec3 last = navi.View.Forward();
      for (int frame = 0; frame <= 60; ++frame) {
        navi.Process(10 + frame * 0.005);
        EXPECT_GT(Dot(last, navi.View.Forward()), 0.99f);
        EXPECT_NEAR(navi.View.Distance(), distance, 1e-3);
        last = navi.View.Forward();
      }
      EXPECT_FALSE(navi.IsInTransition());
      EXPECT_NEAR(Dot(last, forwards[to]), 1, 1e-5);
      EXPECT_NEAR(Length(navi.View.Target - target), 0, 1e-5);
      EXPECT_EQ(std::round(navi.View.Up.y), to < 4 ? 1 : 0);
    }
}

/// The edge that the box comes nearest to: 1 is the edge itself. Infinite where a part is behind the viewer.
float ShareSeen(const NaviSystem& navi, const SceneBox& box) {
  float widest = 0;
  for (int i = 0; i < 8; ++i) {
    const cVec3 corner{i & 1 ? box.Max.x : box.Min.x, i & 2 ? box.Max.y : box.Min.y, i & 4 ? box.Max.z : box.Min.z};
    float x = 0, y = 0;
    if (!navi.Project(corner, x, y)) return HUGE_VALF;
    widest = std::max({widest, std::abs(x - ScreenX - 600) / 600, std::abs(y - ScreenY - 400) / 400});
  }
  return widest;
}

// However the view was turned about places of the surface, what was seen whole is seen whole, in its size.
TEST_P(NaviSizes, StandardViewsShowWhatWasSeen) {
  const SceneBox scene{cVec3{-1, -0.5f, -4} * Size, cVec3{1, 0.5f, 4} * Size};
  const SceneBox part{cVec3{-1, -0.5f, 2} * Size, cVec3{1, 0.5f, 4} * Size};
  Navi.Bounds = [&] { return scene; };
  Navi.Pick = [&](float, float, cVec3& point) { return point = scene.Max, true; };
  const auto drag = [this](MouseButton button, float dx, float dy) {
    Navi.BeginDefault(PointerEvent(InputKind::ButtonDown, 700, 300, button));
    Navi.OnMove(PointerEvent(InputKind::PointerMove, 700 + dx, 300 + dy));
    Navi.OnRelease(PointerEvent(InputKind::ButtonUp, 700 + dx, 300 + dy, button));
  };
  for (const SceneBox& box : {part, scene}) {
    Navi.Frame(box);
    for (int view = 0; view < 6; ++view) {
      for (int i = 0; i < 3; ++i) drag(MouseButton::Left, 130, 40.0f * float(i));
      Navi.SetStandardView(StandardView(view));
      EXPECT_LT(ShareSeen(Navi, box), 1) << view;
      EXPECT_NEAR(Length(Navi.View.Target - box.Center()) / Size, 0, 1e-3);
    }
  }
  // Moved on, it is the scene that counts; far away, it is brought back.
  drag(MouseButton::Middle, 40, 0);
  Navi.SetStandardView(StandardView::Top);
  EXPECT_NEAR(Length(Navi.View.Target - scene.Center()) / Size, 0, 1e-3);
  Navi.View.Target = scene.Max * 3, Navi.View.Position = scene.Max * 3.1f;
  Navi.SetStandardView(StandardView::Front);
  EXPECT_LT(ShareSeen(Navi, scene), 1);
  // Close to a part of it, that is looked at from the other side too.
  const cVec3 detail = cVec3{0.9f, 0, 0.5f} * Size;
  Navi.View.Target = detail, Navi.View.Position = detail + cVec3{0, 0, 0.2f} * Size;
  Navi.SetStandardView(StandardView::Left);
  EXPECT_EQ(Navi.View.Target, detail);
  EXPECT_NEAR(Navi.View.Distance() / Size, 0.2f, 1e-3);
}

TEST_P(NaviSizes, RollsByStepsAndLevels) {
  PickThePoint();
  const Camera before = Navi.View;
  for (const cVec3& forward : {before.Forward(), cVec3{0, -1, 0}}) {
    Navi.LookAlong(forward, forward.y < -0.9f ? cVec3{0, 0, -1} : before.Up - forward * Dot(before.Up, forward));
    Navi.LevelView();
    const Camera level = Navi.View;
    Navi.RollBy(15);
    const cVec3 right = level.Right();
    EXPECT_NEAR(Dot(Navi.View.Up, right), -std::sin(0.2618f), 1e-3) << "the picture turns to the right";
    EXPECT_EQ(Navi.View.Target, level.Target) << "what was picked is no matter";
    Navi.RollBy(-30);
    Navi.LevelView();
    EXPECT_NEAR(Length(Navi.View.Up - level.Up), 0, 1e-4);
  }
  // Two quick presses are two steps, and a drag turns about the middle.
  Navi.Settings.SmoothViews = true;
  for (int i = 0; i < 2; ++i) Navi.RollBy(45);
  for (const double time : {1.0, 2.0}) Navi.Process(time);
  EXPECT_NEAR(std::abs(Navi.View.Up.x), 1, 1e-3);
  const cVec3 target = Navi.View.Target;
  Navi.Settings.Preset = 2;
  Navi.OnPress(PointerEvent(InputKind::ButtonDown, 700, 300, MouseButton::Middle, ModAlt));
  Navi.OnMove(PointerEvent(InputKind::PointerMove, 800, 300));
  EXPECT_EQ(Navi.CurrentAction(), NaviAction::Roll);
  EXPECT_EQ(Navi.View.Target, target);
}

TEST(NaviSystem, ADragTakesTheViewOutOfATransition) {
  NaviSystem navi = MakeNavi(1, false);
  navi.Settings.SmoothViews = true;
  navi.SetStandardView(StandardView::Top);
  for (const double time : {1.0, 1.1}) navi.Process(time);
  const Camera between = navi.View;
  navi.BeginDefault(PointerEvent(InputKind::ButtonDown, 600, 400, MouseButton::Left));
  navi.Process(2);
  EXPECT_EQ(navi.View, between);
}

TEST(NaviSystem, TheTurntableStopsAtThePoles) {
  NaviSystem navi = MakeNavi(1, false);
  for (const float way : {3000.0f, -3000.0f}) {
    navi.BeginDefault(PointerEvent(InputKind::ButtonDown, 600, 400, MouseButton::Left));
    navi.OnMove(PointerEvent(InputKind::PointerMove, 600, 400 + way));
    EXPECT_NEAR(navi.View.Forward().y, way > 0 ? -1 : 1, 1e-4);
    navi.OnMove(PointerEvent(InputKind::PointerMove, 900, 400 + way));
    EXPECT_NEAR(navi.View.Right().y, 0, 1e-4);
    navi.OnRelease(PointerEvent(InputKind::ButtonUp, 900, 400, MouseButton::Left));
    // And back out of the pole, which a lost horizon would not allow.
    navi.BeginDefault(PointerEvent(InputKind::ButtonDown, 600, 400, MouseButton::Left));
    navi.OnMove(PointerEvent(InputKind::PointerMove, 600, 400 - std::copysign(400.0f, way)));
    EXPECT_NEAR(navi.View.Forward().y, 0, 1e-3);
    navi.OnRelease(PointerEvent(InputKind::ButtonUp, 600, 400, MouseButton::Left));
  }
}

TEST(NaviSystem, EndlessZoomStaysUsable) {
  NaviSystem navi = MakeNavi(1, false);
  for (const float notch : {1.0f, -1.0f}) {
    for (int i = 0; i < 2000; ++i) navi.OnWheel(WheelEvent(900, 200, notch));
    EXPECT_TRUE(std::isfinite(navi.View.Distance()) && navi.View.Distance() > 0);
    EXPECT_NEAR(Length(navi.View.Forward()), 1, 1e-4);
  }
  const float far = navi.View.Distance();
  for (int i = 0; i < 20; ++i) navi.OnWheel(WheelEvent(900, 200, 1));
  EXPECT_LT(navi.View.Distance(), far * 0.1f) << "and leads back";
  navi = MakeNavi(1, false);
  navi.Bounds = [] { return SceneBox{{-1, -1, -1}, {1, 1, 1}}; };
  for (int i = 0; i < 2000; ++i) navi.OnWheel(WheelEvent(600, 400, 1));
  EXPECT_GT(navi.View.Distance(), 1e-4f) << "nearer there would be less than a voxel to see";
}

TEST(NaviSystem, BadCamerasAndBoxesAreRefused) {
  NaviSystem navi = MakeNavi(1, false);
  const Camera before = navi.View;
  for (const cVec3& target : {before.Position, cVec3{NAN, 0, 0}}) {
    Camera bad = before;
    bad.Target = target;
    navi.SetCamera(bad);
  }
  navi.Frame({});
  navi.Frame({{0, 0, 0}, {1, INFINITY, 1}});
  navi.Pick = [](float, float, cVec3& point) { return point = {NAN, 0, 0}, true; };
  navi.OnWheel(WheelEvent(600, 400, 0));
  EXPECT_EQ(navi.View, before);
  navi.BeginDefault(PointerEvent(InputKind::ButtonDown, 600, 400, MouseButton::Left));
  navi.OnMove(PointerEvent(InputKind::PointerMove, 650, 400));
  EXPECT_TRUE(IsFinite(navi.View.Position));
}

TEST(NaviPresets, ClaimPressesAndLeaveTheToolItsOwn) {
  for (size_t preset = 0; preset < GetNaviPresets().size(); ++preset) {
    SCOPED_TRACE(GetNaviPresets()[preset].Name);
    NaviSystem navi = MakeNavi(1, false);
    navi.Settings.Preset = int(preset);
    bool hits = true;
    navi.Pick = [&](float, float, cVec3& point) { return point = {0, 0, 0}, hits; };
    std::set<NaviAction> reached;
    for (const MouseButton button : {MouseButton::Left, MouseButton::Right, MouseButton::Middle})
      for (int modifiers = 0; modifiers < 8; ++modifiers)
        reached.insert(navi.FindAction(PointerEvent(InputKind::ButtonDown, 1, 1, button, uint8_t(modifiers)), false));
    for (const NaviAction action : {NaviAction::Orbit, NaviAction::Pan, NaviAction::Zoom, NaviAction::Roll})
      EXPECT_TRUE(reached.count(action)) << int(action);
    // A pen on the surface always sculpts, smooths and cuts.
    for (const int modifiers : {0, int(ModShift), int(ModControl)})
      EXPECT_FALSE(navi.OnPress(PointerEvent(InputKind::ButtonDown, 1, 1, MouseButton::Left, uint8_t(modifiers))));
    hits = false;
    const InputEvent empty = PointerEvent(InputKind::ButtonDown, 1, 1, MouseButton::Left);
    EXPECT_FALSE(navi.OnPress(empty, false)) << "a tool that works on empty space";
    EXPECT_TRUE(navi.OnPress(empty));
    EXPECT_EQ(navi.CurrentAction(), NaviAction::Orbit);
    EXPECT_TRUE(navi.OnPress(PointerEvent(InputKind::ButtonDown, 1, 1, MouseButton::Middle, ModShift))) << "during the drag";
    EXPECT_TRUE(navi.OnRelease(PointerEvent(InputKind::ButtonUp, 1, 1, MouseButton::Middle)));
    EXPECT_EQ(navi.CurrentAction(), NaviAction::Orbit);
    EXPECT_TRUE(navi.OnRelease(PointerEvent(InputKind::ButtonUp, 1, 1, MouseButton::Left)));
    EXPECT_FALSE(navi.OnMove(PointerEvent(InputKind::PointerMove, 9, 9)));
  }
}

}  // namespace
