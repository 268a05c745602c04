// The real window, on a display of the tests' own: Xvfb, started here, and xdotool as the person.
#include "shell/platform/Window.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "interface/BaseWidget.h"
#include "shell/VirtualDisplay.h"

namespace {

class WindowTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!HasProgram("Xvfb") || !HasProgram("xdotool")) MORVANE_SKIP("needs Xvfb and xdotool");
    m_Display = std::make_unique<VirtualDisplay>();
    if (!m_Display->IsThere()) MORVANE_SKIP("Xvfb did not start");
    std::string error;
    ASSERT_TRUE(m_Window.Create("morvane window test", {100, 80, 900, 680, false}, error)) << error;
    m_Window.Show();
    RunUntil([&] { return HasSeen(WindowMessage::Exposed); });
    m_Messages.clear();
    m_Events.clear();
  }
  void TearDown() override { m_Window.Destroy(); }

  static void Do(const std::string& words) { ASSERT_EQ(std::system(("xdotool " + words).c_str()), 0) << words; }
  bool HasSeen(WindowMessage what) const { return std::count(m_Messages.begin(), m_Messages.end(), what) > 0; }
  const InputEvent* Find(InputKind kind) const {
    for (const InputEvent& event : m_Events)
      if (event.Kind == kind) return &event;
    return nullptr;
  }
  /// Takes messages until `isDone`; false after a quiet of two seconds.
  bool RunUntil(const std::function<bool()>& isDone) {
    while (!isDone()) {
      InputEvent event;
      const WindowMessage message = m_Window.Wait(event, 2);
      if (message == WindowMessage::None) return false;
      m_Messages.push_back(message);
      if (message == WindowMessage::Input) m_Events.push_back(event);
    }
    return true;
  }

  std::unique_ptr<VirtualDisplay> m_Display;
  Window m_Window;
  std::vector<WindowMessage> m_Messages;
  std::vector<InputEvent> m_Events;
};

TEST_F(WindowTest, OpensAtItsPlacement) {
  EXPECT_EQ(m_Window.Width(), 800);
  EXPECT_EQ(m_Window.Height(), 600);
  EXPECT_EQ(m_Window.GetPlacement(), (WindowPlacement{100, 80, 900, 680, false}));
  EXPECT_FALSE(m_Window.IsAsleep());
  EXPECT_TRUE(m_Window.SetClipboard("radius 0.25 \u00fc"));
  EXPECT_EQ(m_Window.GetClipboard(), "radius 0.25 \u00fc");
}

// What a damaged file asks for no display can show. On a display of 1600 by 1000.
TEST_F(WindowTest, PlacementIsKeptToWhatTheDisplayHas) {
  constexpr int far = 2000000000;
  const std::pair<WindowPlacement, WindowPlacement> cases[] = {
      {{0, 0, 20000, 20000}, {0, 0, 1600, 1000}},   {{100, 80, 1900, 680}, {0, 80, 1600, 680}},
      {{20, 30, 21, 31}, {640, 380, 960, 620}},     {{-200, 30, 600, 630}, {-200, 30, 600, 630}},
      {{-far, -far, far, far}, {0, 0, 1600, 1000}}, {{0, 0, 0, 0}, {320, 180, 1280, 820}}};
  for (const auto& [asked, given] : cases) {
    std::string error;
    ASSERT_TRUE(m_Window.Create("placed", asked, error)) << error;
    const WindowPlacement got = m_Window.GetPlacement();
    EXPECT_EQ(got, given) << asked.Right << ": " << got.Left << " " << got.Top << " " << got.Right << " " << got.Bottom;
  }
}

// SDL counts on a window manager, which is not there.
TEST_F(WindowTest, FullScreenAndBackWithoutAWindowManager) {
  const WindowPlacement before = m_Window.GetPlacement();
  const auto isGeometry = [](const char* size) {
    const std::string words =
        "xdotool search --name 'morvane window test' getwindowgeometry | grep -q 'Geometry: " + std::string(size) + "$'";
    return std::system(words.c_str()) == 0;
  };
  for (int i = 0; i < 2; i++) {
    m_Window.SetFullScreen(true);
    EXPECT_TRUE(RunUntil([&] { return m_Window.Width() == 1600 && m_Window.Height() == 1000; }));
    EXPECT_TRUE(isGeometry("1600x1000") && m_Window.IsFullScreen());
    EXPECT_EQ(m_Window.GetPlacement(), before);
    m_Window.SetFullScreen(false);
    EXPECT_TRUE(RunUntil([&] { return m_Window.Width() == 800 && m_Window.Height() == 600; }));
    EXPECT_TRUE(isGeometry("800x600") && !m_Window.IsFullScreen());
    EXPECT_EQ(m_Window.GetPlacement(), before);
  }
}

// Position, button, double click, wheel and the modifiers that were held at the press and not those of the moment it was read.
TEST_F(WindowTest, MouseArrives) {
  Do("mousemove 300 280 keydown ctrl click 1 keyup ctrl click --repeat 2 --delay 40 3 click 4");
  ASSERT_TRUE(RunUntil([&] { return Find(InputKind::Wheel) != nullptr; }));
  std::vector<InputEvent> downs;
  for (const InputEvent& event : m_Events)
    if (event.Kind == InputKind::ButtonDown) downs.push_back(event);
  ASSERT_EQ(downs.size(), 3u);
  EXPECT_EQ(downs[0].Button, MouseButton::Left);
  EXPECT_EQ(downs[0].Modifiers, ModControl);
  EXPECT_EQ(downs[0].Pressure, 1);
  EXPECT_FALSE(downs[0].IsPen);
  EXPECT_EQ(downs[1].Button, MouseButton::Right);
  EXPECT_EQ(downs[1].Modifiers, 0);
  EXPECT_EQ(downs[2].Clicks, 2);
  EXPECT_EQ(Find(InputKind::Wheel)->WheelY, 1);
  const auto isThere = [](const InputEvent& event) {
    return event.Kind == InputKind::PointerMove && event.X == 200 && event.Y == 200;
  };
  EXPECT_EQ(std::count_if(m_Events.begin(), m_Events.end(), isThere), 1);
}

// Asleep while nobody can see it; a picture is due when it is back.
TEST_F(WindowTest, SleepsWhileHidden) {
  Do("search --name 'morvane window test' windowunmap");
  ASSERT_TRUE(RunUntil([&] { return HasSeen(WindowMessage::Asleep); }));
  EXPECT_TRUE(m_Window.IsAsleep());
  Do("search --name 'morvane window test' windowmap");
  ASSERT_TRUE(RunUntil([&] { return HasSeen(WindowMessage::Awake) && HasSeen(WindowMessage::Exposed); }));
  EXPECT_FALSE(m_Window.IsAsleep());
}

// The session's word to end comes as a request like the person's.
TEST_F(WindowTest, CloseIsARequest) {
  kill(getpid(), SIGTERM);
  ASSERT_TRUE(RunUntil([&] { return HasSeen(WindowMessage::Close); }));
  EXPECT_EQ(m_Window.EndSignal(), SIGTERM) << "nobody may be there to answer a question";
  EXPECT_EQ(m_Window.Width(), 800);
}

TEST_F(WindowTest, DropHoldsThePath) {
  Do("mousemove 300 280");
  SDL_Event drop{};
  drop.type = SDL_DROPFILE;
  drop.drop.file = SDL_strdup("/models/head \u00fc.obj");
  SDL_PushEvent(&drop);
  ASSERT_TRUE(RunUntil([&] { return Find(InputKind::Drop) != nullptr; }));
  EXPECT_EQ(Find(InputKind::Drop)->Text, "/models/head \u00fc.obj");
  EXPECT_EQ(Find(InputKind::Drop)->X, 200);
}

TEST_F(WindowTest, WaitEndsOnTimeAndOnWake) {
  InputEvent event;
  while (m_Window.Wait(event, 0.2) != WindowMessage::None) {
  }
  Window::Wake();
  EXPECT_EQ(m_Window.Wait(event, 5), WindowMessage::Woken);
  EXPECT_EQ(m_Window.Poll(event), WindowMessage::None);
}

}  // namespace
