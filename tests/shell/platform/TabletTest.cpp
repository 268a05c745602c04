#include "shell/platform/Tablet.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using Values = std::vector<std::pair<int, double>>;

// A tablet as a driver shows it: pressure on valuator 2 up to 65536, tilt on 3 and 4 from -64 to 63.
class TabletTest : public testing::Test {
 protected:
  void SetUp() override {
    PenDevice pen{7, "Pen stylus", false, {2, 0, 65536}, {3, -64, 63}, {4, -64, 63}};
    PenDevice eraser{8, "Pen eraser", true, {2, 0, 65536}, {}, {}};
    m_Pens.SetDevices({pen, eraser});
  }

  std::vector<InputEvent> Send(RawPenEvent::Kind what, double x, double y, double time, const Values& values, int device = 7,
                               int button = 0) {
    std::vector<InputEvent> events;
    m_Pens.Translate({what, device, button, x, y, time, ModShift, values}, events);
    return events;
  }
  std::vector<InputEvent> Move(double x, double time, const Values& values = {}) {
    return Send(RawPenEvent::Kind::Motion, x, 5, time, values);
  }
  std::vector<InputEvent> Press(double x, double time, const Values& values = {}, int button = 1) {
    return Send(RawPenEvent::Kind::Press, x, 5, time, values, 7, button);
  }
  std::vector<InputEvent> Lift(double x, double time, const Values& values = {}) {
    return Send(RawPenEvent::Kind::Release, x, 5, time, values, 7, 1);
  }

  PenTranslator m_Pens;
};

TEST_F(TabletTest, EverySampleWithItsFractions) {
  const std::vector<InputEvent> events = Send(RawPenEvent::Kind::Motion, 10.25, 20.75, 1.5, {{2, 16384}, {3, 63}, {4, -64}});
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].Kind, InputKind::PointerMove);
  EXPECT_TRUE(events[0].IsPen);
  EXPECT_FALSE(events[0].IsEraser);
  EXPECT_EQ(events[0].X, 10.25f);
  EXPECT_EQ(events[0].Y, 20.75f);
  EXPECT_EQ(events[0].Pressure, 0.25f);
  EXPECT_EQ(events[0].TiltX, 63 / 64.0f);
  EXPECT_EQ(events[0].TiltY, -1);
  EXPECT_EQ(events[0].TimeSec, 1.5);
  EXPECT_EQ(events[0].Modifiers, ModShift);
  // A report holds what changed: the rest stays as it was, for this tool alone.
  EXPECT_EQ(Move(11, 1.6, {{3, 0}})[0].Pressure, 0.25f);
  EXPECT_EQ(Move(11, 1.7)[0].TiltX, 0) << "upright";
  const std::vector<InputEvent> erased = Send(RawPenEvent::Kind::Motion, 1, 2, 1.8, {{2, 70000}}, 8);
  EXPECT_TRUE(erased[0].IsEraser);
  EXPECT_EQ(erased[0].Pressure, 1);
  EXPECT_EQ(erased[0].TiltX, 0);
  EXPECT_TRUE(Send(RawPenEvent::Kind::Motion, 1, 2, 1.9, {{2, 1}}, 99).empty());
}

TEST_F(TabletTest, PressHasTheRealPressure) {
  Move(10, 1.00, {{2, 0}});
  // With the press, or known before it: at once.
  std::vector<InputEvent> events = Press(10, 1.01, {{2, 32768}});
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].Kind, InputKind::ButtonDown);
  EXPECT_EQ(events[0].Button, MouseButton::Left);
  EXPECT_EQ(events[0].Pressure, 0.5f);
  EXPECT_EQ(Lift(10, 1.02, {{2, 0}})[0].Kind, InputKind::ButtonUp);
  // Not yet known: held back to the next report, and not moved by it.
  EXPECT_TRUE(Press(50, 2.00).empty());
  events = Move(51, 2.01, {{2, 8192}});
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].Kind, InputKind::ButtonDown);
  EXPECT_EQ(events[0].X, 50);
  EXPECT_EQ(events[0].TimeSec, 2.00);
  EXPECT_EQ(events[0].Pressure, 0.125f);
  EXPECT_EQ(events[1].Kind, InputKind::PointerMove);
  Lift(51, 2.02, {{2, 0}});
  // A tap that ends before any pressure is a tap all the same.
  EXPECT_TRUE(Press(90, 3.00).empty());
  events = Lift(90, 3.01);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].Kind, InputKind::ButtonDown);
  EXPECT_EQ(events[1].Kind, InputKind::ButtonUp);
  // A button on the side has no pressure to wait for.
  events = Press(90, 4.00, {}, 3);
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].Button, MouseButton::Right);
}

TEST_F(TabletTest, SecondTapIsADoubleClick) {
  const struct {
    double X, TimeSec;
    int Clicks;
  } taps[] = {{10, 1.0, 1}, {12, 1.2, 2}, {12, 1.4, 1}, {40, 1.6, 1}, {40, 2.5, 1}};
  for (const auto& tap : taps) {
    EXPECT_EQ(Press(tap.X, tap.TimeSec, {{2, 40000}}).at(0).Clicks, tap.Clicks) << tap.TimeSec;
    Lift(tap.X, tap.TimeSec + 0.05, {{2, 0}});
  }
}

// A pen pulled out while it draws must not leave the button held; its own release, late, is no second one.
TEST_F(TabletTest, ReleaseEndsWhatIsHeld) {
  Press(10, 1, {{2, 40000}});
  std::vector<InputEvent> events;
  m_Pens.Release(1.5, events);
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].Kind, InputKind::ButtonUp);
  EXPECT_EQ(events[0].Button, MouseButton::Left);
  EXPECT_EQ(events[0].X, 10);
  EXPECT_TRUE(Lift(10, 1.6).empty());
}

TEST_F(TabletTest, StateForThePanel) {
  EXPECT_EQ(m_Pens.GetState(10).LastDevice, "");
  for (int i = 0; i <= 400; ++i) Move(i, 10 + i * 0.005, {{2, 32768}});
  PenState state = m_Pens.GetState(12.9);
  EXPECT_EQ(state.Devices, (std::vector<std::string>{"Pen stylus", "Pen eraser"}));
  EXPECT_EQ(state.LastDevice, "Pen stylus");
  EXPECT_EQ(state.Pressure, 0.5f);
  EXPECT_NEAR(state.SamplesPerSec, 200, 1e-6);
  EXPECT_EQ(m_Pens.GetState(13.1).SamplesPerSec, 0) << "it lies still";
  // The eraser goes, the pen keeps what is known of it.
  m_Pens.SetDevices({m_Pens.Devices()[0]});
  EXPECT_FALSE(m_Pens.Has(8));
  EXPECT_EQ(Move(1, 13)[0].Pressure, 0.5f);
  m_Pens.SetDevices({});
  state = m_Pens.GetState(13);
  EXPECT_TRUE(state.LastDevice.empty() && state.SamplesPerSec == 0 && state.Pressure == 0);
}

// Values that no device should send.
TEST_F(TabletTest, StrangeDevices) {
  for (const Values& values : {Values{{2, -5}}, Values{{2, NAN}}, Values{{77, 5}, {-1, 5}}})
    EXPECT_EQ(Move(1, 1, values)[0].Pressure, 0);
  m_Pens.SetDevices({PenDevice{7, "no range", false, {2, 0, 0}, {}, {}}});
  EXPECT_EQ(Move(1, 2, {{2, 0}})[0].Pressure, 1);
  EXPECT_EQ(Press(1, 2).size(), 1u);
}

TEST(PenDevices, ToolsByTheirWords) {
  EXPECT_EQ(FindPenAxisKind("Abs Pressure"), PenAxisKind::Pressure);
  EXPECT_EQ(FindPenAxisKind("Abs MT Pressure"), PenAxisKind::Other);
  EXPECT_EQ(FindPenAxisKind("Abs Tilt Y"), PenAxisKind::TiltY);
  EXPECT_TRUE(IsPenTool(""));
  EXPECT_TRUE(IsPenTool("ERASER"));
  for (const char* tool : {"PAD", "CURSOR", "TOUCH"}) EXPECT_FALSE(IsPenTool(tool)) << tool;
  EXPECT_TRUE(IsEraserTool("Tablet Pen Eraser (0)", ""));
  EXPECT_FALSE(IsEraserTool("Tablet Pen (0)", ""));
  EXPECT_FALSE(IsEraserTool("Eraser brand stylus", "STYLUS"));
}

// Spacing is the device's, whatever the delays; the wrap of the 32 bit counter goes unnoticed.
TEST(DeviceClock, KeepsTheSpacing) {
  DeviceClock clock;
  const uint32_t start = 0xFFFFFFFFu - 20;
  const double delays[] = {0.004, 0.001, 0.009, 0.002, 0.001, 0.030};
  std::vector<double> times;
  for (int i = 0; i < 60; ++i) times.push_back(clock.ToSeconds(start + uint32_t(i) * 5, 100 + i * 0.005 + delays[i % 6]));
  for (int i = 2; i < 60; ++i) EXPECT_NEAR(times[size_t(i)] - times[size_t(i) - 1], 0.005, 1e-9) << i;
  EXPECT_NEAR(times.back(), 100 + 59 * 0.005 + 0.001, 1e-9);
  // The counter began anew: the clock of the frames goes on.
  EXPECT_NEAR(clock.ToSeconds(500, 5000), 5000, 1e-9);
}

}  // namespace
